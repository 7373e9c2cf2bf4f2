// The family's properties as a host sees them: which of the three places (root attribute,
// category parameter constant, string document) each getter reads and each setter writes, the
// numbered dispatch and the member revisions it bumps, constants and status masks.

#include "FamilyTestSupport.h"

#include "torvex/family/CEncapConstFamilyColumn.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/FamilyNames.h"

#include <gtest/gtest.h>

#include <functional>

namespace torvex::test {
namespace {

namespace N = FamilyNames;

// Display name and description are localized parameters; the manufacturer's is not. The
// standard has no constant. A constant for "angle" reaches a template parameter.
const WideString kFamily = WideString(LR"(<Family InternalName="fam" DisplayName="Root name"
    Description="Root description" RevisionId="rev-1" Manufacturer="RootMaker"
    StandardsOrg="RootOrg" Standard="RootStd" FolderName="root-folder" Library="lib"
    FromSource="src-lib" SourceMoniker="src-fam" HealthStatus="3" EditStatus="a"
    ParentLibraryName="plib" ParentFamilyName="pfam"
    DataTypeCategory="9ce1a3c8-5164-4421-8b65-e51b0a387cfc">
  <Categories>
    <Category InternalName="props" Hidden="true">
      <CategoryParameter InternalName=")") +
                           N::ParamDisplayName + LR"(" ValueLocalized="true"/>
      <CategoryParameter InternalName=")" +
                           N::ParamDescription + LR"(" ValueLocalized="true"/>
      <CategoryParameter InternalName=")" +
                           N::ParamManufacturer + LR"(" ValueLocalized="false"/>
      <CategoryParameter InternalName="angle"/>
    </Category>
    <Category InternalName="top" Hidden="false">
      <Category InternalName="mid"><Category InternalName="leaf"/></Category>
      <Category InternalName="second"/>
    </Category>
  </Categories>
  <ParameterMap><FamilyParametersMap><ParamsToTemplate>
    <ParamTemplateValue ConstantValue="Const name"><CategoryParameterRef CategoryParameter=")" +
                           N::ParamDisplayName + LR"("/></ParamTemplateValue>
    <ParamTemplateValue ConstantValue="ConstMaker"><CategoryParameterRef CategoryParameter=")" +
                           N::ParamManufacturer + LR"("/></ParamTemplateValue>
    <ParamTemplateValue ConstantValue="60"><CategoryParameterRef CategoryParameter="angle"/>
      <TemplatesParameter><TemplateParameter TemplateName="T" ParameterId="8"/></TemplatesParameter>
    </ParamTemplateValue>
  </ParamsToTemplate></FamilyParametersMap></ParameterMap>
  <FamilyTable>
    <Columns><Column ColumnId="MEMBER_REVISION" Hidden="true" ValueType="string"/></Columns>
    <Rows><Row RowId="r1"><Cell ColumnId="MEMBER_REVISION">m1</Cell></Row></Rows>
  </FamilyTable>
</Family>)";

const wchar_t* const kEnglish = LR"(<FamilyStrings xml:lang="en-US">
  <DisplayName>English name</DisplayName>
  <ConstantValues><ConstantValue CategoryParameter="05415f3d-3907-474b-a020-eb9d644f4cf3">Localized const</ConstantValue></ConstantValues>
</FamilyStrings>)";
const wchar_t* const kGerman = LR"(<FamilyStrings xml:lang="de-DE">
  <DisplayName/><Description/>
</FamilyStrings>)";

using Getter = void (CEncapFamily::*)(WideString&) const;

// The member revision cell of the one row, as the document holds it.
WideString MemberRevision(const CEncapFamily& family) {
    XMLNode cell;
    family.GetFamilyXML().GetRootNode().GetChildNode(
        L"FamilyTable/Rows/Row/Cell[@ColumnId='MEMBER_REVISION']", cell);
    WideString text;
    cell.GetNodeText(text);
    return text;
}

WideString Attribute(const CEncapFamily& family, const wchar_t* name) {
    WideString value = L"(none)";
    family.GetFamilyXML().GetRootNode().GetProperty(name, value);
    return value;
}

WideString Constant(const CEncapFamily& family, const wchar_t* parameter) {
    XMLNode node;
    WideString value = L"(none)";
    if (family.GetFamilyXML().GetRootNode().GetChildNode(
            (L"ParameterMap/FamilyParametersMap/ParamsToTemplate/ParamTemplateValue["
             L"CategoryParameterRef/@CategoryParameter='" +
             WideString(parameter) + L"']")
                .c_str(),
            node))
        node.GetProperty(N::AttrConstantValue, value);
    return value;
}

TEST(FamilyProperties, EachGetterReadsItsPlace) {
    const struct {
        const char* name;
        Getter get;
        const wchar_t* english; // English first
        const wchar_t* german;  // German first: empty elements
        const wchar_t* none;    // no string documents
    } cases[] = {
        // Element, else constant (with the actual language's localized text), else attribute.
        {"display", &CEncapFamily::GetDisplayName, L"English name", L"Const name", L"Const name"},
        // An element present (even empty) is the answer, else a constant, else the attribute.
        {"description", &CEncapFamily::GetDescription, L"Root description", L"",
         L"Root description"},
        {"manufacturer", &CEncapFamily::GetManufacturer, L"ConstMaker", L"ConstMaker",
         L"ConstMaker"},
        {"standard (no constant)", &CEncapFamily::GetStandard, L"untouched", L"untouched",
         L"untouched"},
        {"revision", &CEncapFamily::GetRevisionID, L"rev-1", L"rev-1", L"rev-1"},
        {"copy from", &CEncapFamily::GetCopyFrom, L"src-lib", L"src-lib", L"src-lib"},
        {"library", &CEncapFamily::GetLibInterName, L"lib", L"lib", L"lib"},
        {"moniker", &CEncapFamily::GetSourceMoniker, L"src-fam", L"src-fam", L"src-fam"},
        {"parent library", &CEncapFamily::GetParenLibName, L"plib", L"plib", L"plib"},
        {"parent family", &CEncapFamily::GetParentFamilyName, L"pfam", L"pfam", L"pfam"},
        {"folder (no constant)", &CEncapFamily::GetFolderName, L"untouched", L"untouched",
         L"untouched"},
        {"thumbnail (no element)", &CEncapFamily::GetThumbnailPath, L"untouched", L"untouched",
         L"untouched"},
        {"category id", &CEncapFamily::GetCategoryID, L"leaf", L"leaf", L"leaf"},
    };
    const WideStringList englishFirst{kEnglish, kGerman};
    const WideStringList germanFirst{kGerman, kEnglish};
    for (const auto& c : cases) {
        for (const auto& [strings, expected] :
             {std::pair{englishFirst, c.english}, std::pair{germanFirst, c.german},
              std::pair{WideStringList{}, c.none}}) {
            auto family = OpenFamily(kFamily.c_str(), strings);
            // The display name keeps what the caller passed; start each read empty but for
            // the getters that leave their output alone.
            WideString out = WideString(expected) == L"untouched" ? L"untouched" : L"";
            ((*family).*c.get)(out);
            EXPECT_EQ(out, expected) << c.name << " with " << strings.size() << " documents";
        }
    }
}

TEST(FamilyProperties, EachSetterWritesItsPlaces) {
    using Setter = std::function<void(CEncapFamily&, const wchar_t*)>;
    const struct {
        const char* name;
        Setter set;
        const wchar_t* attribute; // null: not written
        const wchar_t* parameter; // null: no constant written
        const wchar_t* element;   // null: no string document element
    } cases[] = {
        {"display", &CEncapFamily::SetDisplayName, N::AttrDisplayName, N::ParamDisplayName,
         N::ElemDisplayName},
        {"description", &CEncapFamily::SetDescription, N::AttrDescription, N::ParamDescription,
         N::ElemDescription},
        {"manufacturer", &CEncapFamily::SetManufacturer, N::AttrManufacturer, N::ParamManufacturer,
         nullptr},
        {"standards org", &CEncapFamily::SetStandardOrg, N::AttrStandardsOrg, N::ParamStandardOrg,
         nullptr},
        {"standard", &CEncapFamily::SetStandard, N::AttrStandard, N::ParamStandard, nullptr},
        {"folder", &CEncapFamily::SetFolderName, N::AttrFolderName, N::ParamFolderName, nullptr},
        {"family revision", &CEncapFamily::SetFamilyRevision, nullptr, N::ParamFamilyRevision,
         nullptr},
        {"standard revision", &CEncapFamily::SetStandardRevision, nullptr, N::ParamStandardRevision,
         nullptr},
        {"internal name", &CEncapFamily::SetInternalName, N::AttrInternalName, N::ParamInternalName,
         nullptr},
        {"revision", &CEncapFamily::SetRevisionID, N::AttrRevisionId, nullptr, nullptr},
        {"copy from", &CEncapFamily::SetCopyFrom, N::AttrFromSource, nullptr, nullptr},
        {"library", [](CEncapFamily& f, const wchar_t* v) { f.SetLibInterName(v); }, N::AttrLibrary,
         nullptr, nullptr},
        {"health", &CEncapFamily::SetHealthStatus, N::AttrHealthStatus, nullptr, nullptr},
    };
    for (const auto& c : cases) {
        auto family = OpenFamily(kFamily.c_str(), {kEnglish, kGerman});
        c.set(*family, L"New");
        if (c.attribute) {
            EXPECT_EQ(Attribute(*family, c.attribute), L"New") << c.name;
        }
        if (c.parameter) {
            EXPECT_EQ(Constant(*family, c.parameter), L"New") << c.name;
        }
        for (int i = 0; i < 2; ++i) {
            XMLParser strings;
            ASSERT_TRUE(family->GetStringsFamilyXML(i, strings));
            XMLNode element;
            const bool has = strings.GetRootNode().GetChildNode(
                c.element ? c.element : L"NoSuchElement", element);
            EXPECT_EQ(has, c.element != nullptr) << c.name;
            WideString text;
            element.GetNodeText(text);
            if (c.element) {
                EXPECT_EQ(text, L"New") << c.name;
            }
        }
        // No member is touched by the named setters themselves.
        EXPECT_EQ(MemberRevision(*family), L"m1") << c.name;
    }
}

TEST(FamilyProperties, ConstantsNeedTheirPlaceInTheDocument) {
    auto family = OpenFamily(L"<Family Manufacturer='old'/>");
    family->SetManufacturer(L"New");
    EXPECT_EQ(Attribute(*family, N::AttrManufacturer), L"New");
    WideString out = L"untouched";
    family->GetManufacturer(out);
    EXPECT_EQ(out, L"untouched");
    EXPECT_EQ(RootXml(*family), L"<Family Manufacturer=\"New\"/>");
}

TEST(FamilyProperties, NumberedDispatchAndTheRevisionsItBumps) {
    const struct {
        int type;
        bool settable;
        bool bumps;
    } cases[] = {{0, true, true},    {1, true, true},    {2, true, true},    {3, true, true},
                 {4, true, true},    {5, true, true},    {6, true, false},   {7, true, true},
                 {8, true, false},   {9, false, false},  {10, false, false}, {11, true, false},
                 {12, false, false}, {16, false, false}, {-1, false, false}};
    for (const auto& c : cases) {
        auto family = OpenFamily(kFamily.c_str(), {kEnglish});
        const WideString before = RootXml(*family);
        const auto type = static_cast<FamilyPropType>(c.type);
        EXPECT_EQ(family->SetFamilyProperty(type, L"x"), c.settable) << c.type;
        EXPECT_EQ(MemberRevision(*family) != L"m1", c.bumps) << c.type;
        if (!c.settable) {
            EXPECT_EQ(RootXml(*family), before) << c.type;
        }
        WideString out = L"untouched";
        EXPECT_EQ(family->GetFamilyProperty(type, out), c.type >= 0 && c.type <= 11) << c.type;
        if (c.settable) {
            EXPECT_EQ(out, L"x") << c.type; // read back from where the set wrote it
        }
    }
    // The two read-only properties read.
    auto family = OpenFamily(kFamily.c_str());
    WideString out;
    family->GetFamilyProperty(FamilyPropInternalName, out);
    EXPECT_EQ(out, L"fam");
    family->GetFamilyProperty(FamilyPropLibrary, out);
    EXPECT_EQ(out, L"lib");
}

TEST(FamilyConstants, LocalizedTextsFollowTheValue) {
    auto family = OpenFamily(kFamily.c_str(), {kEnglish, kGerman});
    const WideString display = N::ParamDisplayName;
    auto localized = [&](int language) {
        XMLParser strings;
        family->GetStringsFamilyXML(language, strings);
        XMLNode root = strings.GetRootNode();
        XMLNode node;
        WideString text = L"(none)";
        if (root.GetChildNode(
                (L"ConstantValues/ConstantValue[@CategoryParameter='" + display + L"']").c_str(),
                node))
            node.GetNodeText(text);
        return text;
    };
    // The actual language's localized text wins over the family document's constant.
    WideString constant;
    EXPECT_TRUE(family->GetCatParamConstValue(display.c_str(), constant));
    EXPECT_EQ(constant, L"Localized const");
    family->SetCatParamConstValue(display.c_str(), L"Both");
    EXPECT_EQ(localized(0), L"Both");
    EXPECT_EQ(localized(1), L"Both"); // added where it was missing
    family->SetCatParamConstValue(display.c_str(), L"");
    EXPECT_EQ(localized(0), L"(none)");                 // an empty value removes the localized text
    EXPECT_EQ(Constant(*family, display.c_str()), L""); // but the constant stays, empty

    // A non-localized constant keeps an empty value in place.
    family->SetCatParamConstValue(N::ParamManufacturer, L"");
    EXPECT_EQ(Constant(*family, N::ParamManufacturer), L"");
    WideString out = L"untouched";
    EXPECT_TRUE(family->GetCatParamConstValue(N::ParamManufacturer, out));
    EXPECT_EQ(out, L"");
}

TEST(FamilyConstants, OnlyAConstantThatReachesATemplateBumpsTheMembers) {
    auto family = OpenFamily(kFamily.c_str());
    family->SetCatParamConstValue(L"new-parameter", L"1"); // added: bumps nothing
    EXPECT_EQ(MemberRevision(*family), L"m1");
    EXPECT_EQ(Constant(*family, L"new-parameter"), L"1");
    family->SetCatParamConstValue(N::ParamManufacturer, L"Other"); // no template
    EXPECT_EQ(MemberRevision(*family), L"m1");
    family->SetCatParamConstValue(L"angle", L"45");
    EXPECT_NE(MemberRevision(*family), L"m1");
}

TEST(FamilyConstants, TemplateParameterValueStandsOnTheTemplatesParameter) {
    auto family = OpenFamily(kFamily.c_str());
    EXPECT_EQ(family->SetTemplateParameterValue(L"T", L"9", L"45"), 1);
    EXPECT_EQ(family->SetTemplateParameterValue(L"Other", L"8", L"45"), 1);
    EXPECT_EQ(MemberRevision(*family), L"m1");
    EXPECT_EQ(family->SetTemplateParameterValue(L"T", L"8", L"45"), 0);
    EXPECT_NE(MemberRevision(*family), L"m1");
    XMLNode list;
    family->GetFamilyXML().GetRootNode().GetChildNode(
        L"ParameterMap/FamilyParametersMap/ParamsToTemplate/ParamTemplateValue/"
        L"TemplatesParameter",
        list);
    WideString value;
    list.GetProperty(N::AttrConstantValue, value);
    EXPECT_EQ(value, L"45");
    family->GetCatParamConstValue(L"angle", value);
    EXPECT_EQ(value, L"60"); // the parameter's own constant is unchanged

    auto bare = OpenFamily(L"<Family/>");
    EXPECT_EQ(bare->SetTemplateParameterValue(L"T", L"8", L"45"), 1);
}

TEST(FamilyConstants, ConstantColumnsAreMadeOnce) {
    auto family = OpenFamily(kFamily.c_str());
    CEncapFamilyColumn* first = family->GetCategoryParamColumn(N::ParamManufacturer);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(family->GetCategoryParamColumn(N::ParamManufacturer), first);
    EXPECT_NE(dynamic_cast<CEncapConstFamilyColumn*>(first), nullptr);
    WideString value;
    first->GetValue(L"r1", value);
    EXPECT_EQ(value, L"ConstMaker");
    // A snapshot: later changes of the constant do not reach it.
    family->SetManufacturer(L"Other");
    first->GetValue(L"r1", value);
    EXPECT_EQ(value, L"ConstMaker");
    EXPECT_EQ(family->GetCategoryParamColumn(L"unknown"), nullptr);
    EXPECT_EQ(family->GetCategoryParamColumn(nullptr), nullptr);
}

TEST(FamilyStatus, MasksFlagsAndLinks) {
    const struct {
        const wchar_t* health;
        bool sick;
    } health[] = {{L"3", true},   {L"1", false},  {L"", false},  {L"0x2", true},
                  {L"  6", true}, {L"zz", false}, {L"12", true}, {L"2g", true}};
    for (const auto& c : health) {
        auto family = OpenFamily(kFamily.c_str());
        family->SetHealthStatus(c.health);
        EXPECT_EQ(family->IsSickFamilyTable(), c.sick) << c.health;
    }
    const struct {
        const wchar_t* before; // null: no attribute
        unsigned long bits;
        const wchar_t* after;
    } edits[] = {{L"a", 1, L"B"},
                 {nullptr, 1, L"1"},
                 {L"0x10", 1, L"11"},
                 {L"zz", 4, L"4"},
                 {L"F0", 0x0F, L"FF"}};
    for (const auto& c : edits) {
        auto family = OpenFamily(L"<Family/>");
        if (c.before)
            family->GetFamilyXML().GetRootNode().SetProperty(N::AttrEditStatus, c.before);
        family->UpdateEditStatus(c.bits);
        EXPECT_EQ(Attribute(*family, N::AttrEditStatus), c.after) << (c.before ? c.before : L"");
    }
    const struct {
        const wchar_t* attributes;
        bool active;
        bool feature;
    } roots[] = {
        {L"", true, false},
        {L"SrcActive='false'", false, false},
        {L"SrcActive='FALSE'", false, false},
        {L"SrcActive='no'", true, false},
        {L"DataTypeCategory='9ce1a3c8-5164-4421-8b65-e51b0a387cfc'", true, true},
        {L"DataTypeCategory='9CE1A3C8-5164-4421-8B65-E51B0A387CFC'", true, false},
    };
    for (const auto& c : roots) {
        auto family = OpenFamily((L"<Family " + WideString(c.attributes) + L"/>").c_str());
        EXPECT_EQ(family->IsSrcActive(), c.active) << c.attributes;
        EXPECT_EQ(family->IsFeature(), c.feature) << c.attributes;
    }
}

TEST(FamilyStatus, ThumbnailIsMadeAndMarksTheEdit) {
    auto family = OpenFamily(L"<Family EditStatus='4'/>");
    family->SetThumbnailPath(L"C:\\pics\\thumb.png");
    EXPECT_EQ(RootXml(*family), L"<Family EditStatus=\"5\"><Thumbnail><File "
                                L"FullFileName=\"C:\\pics\\thumb.png\"/></Thumbnail></Family>");
    WideString path;
    family->GetThumbnailPath(path);
    EXPECT_EQ(path, L"C:\\pics\\thumb.png");
}

} // namespace
} // namespace torvex::test

// CTocCategory and CTocFamily: the named readers over a category and a family entry.

#include "toc/TocTestSupport.h"

#include <iterator>
#include <set>

namespace torvex {
namespace {

using toctest::Key;
using toctest::Keys;

XMLNode Node(const XMLParser& parser, const wchar_t* xpath) {
    XMLNode node;
    EXPECT_TRUE(parser.GetRootNode().GetChildNode(xpath, node)) << "no match";
    return node;
}

const wchar_t* const kCategories = LR"(<Categories>
  <Category InternalName="c" DisplayName="Screws" RevisionId="r1" Library="lib" Domain="Mech"
            Hidden="True" SpecialAuthoring="1">
    <FamilyReference InternalName="b"/>
    <FamilyReference InternalName="a"/>
    <FamilyReference InternalName="b"/>
    <FamilyReference Other="x"/>
    <Category InternalName="sub"><FamilyReference InternalName="deep"/>
      <Category InternalName="grandchild"/></Category>
    <category InternalName="lower"/>
    <Category InternalName="sub2" Hidden="0" SpecialAuthoring="false"/>
  </Category>
  <Category InternalName="bare"/>
</Categories>)";

// The string readers name one attribute each; an absent one answers false with an empty output.
TEST(TocViews, CategoryStringReaders) {
    const XMLParser parser(kCategories);
    const CTocCategory category(Node(parser, L"Category[@InternalName='c']"));
    const CTocCategory bare(Node(parser, L"Category[@InternalName='bare']"));
    using Reader = bool (CTocCategory::*)(WideString&) const;
    const struct {
        Reader read;
        const wchar_t* expected;
    } cases[] = {
        {&CTocCategory::GetInternalName, L"c"}, {&CTocCategory::GetDisplayName, L"Screws"},
        {&CTocCategory::GetRevisionID, L"r1"},  {&CTocCategory::GetLibraryID, L"lib"},
        {&CTocCategory::GetDomain, L"Mech"},
    };
    for (const auto& c : cases) {
        WideString out = L"old";
        EXPECT_TRUE((category.*c.read)(out));
        EXPECT_EQ(out, c.expected);
        if (c.read != &CTocCategory::GetInternalName) {
            out = L"old";
            EXPECT_FALSE((bare.*c.read)(out));
            EXPECT_EQ(out, L"");
        }
        out = L"old";
        EXPECT_FALSE((CTocCategory().*c.read)(out));
    }
}

// Hidden and SpecialAuthoring are booleans: "true" in any case and numbers other than 0 are
// true; "0", "false", other words and an absent attribute are false.
TEST(TocViews, HiddenAndSpecialAuthoringAreBooleans) {
    const struct {
        const wchar_t* text; // null: absent
        bool expected;
    } cases[] = {{L"true", true}, {L"TRUE", true}, {L"tRuE", true},   {L"1", true},
                 {L"-1", true},   {L"0", false},   {L"false", false}, {L"yes", false},
                 {L"", false},    {nullptr, false}};
    for (const auto& c : cases) {
        XMLParser parser(L"<Category/>");
        XMLNode node = parser.GetRootNode();
        if (c.text) {
            node.SetProperty(L"Hidden", c.text);
            node.SetProperty(L"SpecialAuthoring", c.text);
        }
        const CTocCategory category(node);
        EXPECT_EQ(category.IsHidden(), c.expected) << (c.text ? "" : "absent");
        EXPECT_EQ(category.SpecialAuthoring(), c.expected);
    }
    EXPECT_FALSE(CTocCategory().IsHidden());
    EXPECT_FALSE(CTocCategory().SpecialAuthoring());
}

// IsCategoryNode compares the name exactly; GetParent hands out the parent in every case and
// answers whether it is a category.
TEST(TocViews, ParentAndCategoryNodes) {
    const XMLParser parser(kCategories);
    const CTocCategory top(Node(parser, L"Category[@InternalName='c']"));
    const CTocCategory sub(Node(parser, L"Category/Category[@InternalName='sub']"));
    EXPECT_TRUE(top.IsCategoryNode());
    EXPECT_FALSE(CTocCategory(Node(parser, L"Category/category")).IsCategoryNode());
    EXPECT_FALSE(CTocCategory(Node(parser, L"Category/FamilyReference")).IsCategoryNode());
    EXPECT_FALSE(CTocCategory().IsCategoryNode());

    CTocCategory parent;
    EXPECT_TRUE(sub.GetParent(parent));
    EXPECT_TRUE(parent.IsSameNode(top));
    EXPECT_FALSE(top.GetParent(parent));
    WideString name;
    EXPECT_TRUE(parent.GetNodeName(name));
    EXPECT_EQ(name, L"Categories") << "out is on the parent all the same";
    parent = sub;
    EXPECT_FALSE(CTocCategory().GetParent(parent));
    EXPECT_FALSE(parent.IsNode());
    // Derived handles share the node like XMLNode.
    CTocCategory copy = sub;
    EXPECT_TRUE(copy.IsSameNode(sub));
    XMLNode base = copy;
    EXPECT_TRUE(base.IsSameNode(sub));
}

// Subcategories are the direct children named exactly "Category": no grandchildren, no other
// spelling.
TEST(TocViews, SubcategoriesAreDirectAndExact) {
    const XMLParser parser(kCategories);
    const CTocCategory top(Node(parser, L"Category[@InternalName='c']"));
    XMLNodeArray subs;
    subs.Add(XMLNode());
    EXPECT_TRUE(top.GetSubCategoryNodes(subs));
    EXPECT_EQ(Keys(subs), L"sub,sub2");
    EXPECT_TRUE(
        CTocCategory(Node(parser, L"Category[@InternalName='bare']")).GetSubCategoryNodes(subs));
    EXPECT_TRUE(subs.IsEmpty());
    EXPECT_FALSE(CTocCategory().GetSubCategoryNodes(subs));
}

// The referenced families are the direct references' InternalNames; one without it gives the
// empty string. The set sorts and folds, the list keeps document order and duplicates. Both
// empty their output first.
TEST(TocViews, ReferencedFamilies) {
    const XMLParser parser(kCategories);
    const CTocCategory top(Node(parser, L"Category[@InternalName='c']"));
    std::set<WideString> set{L"old"};
    WideStringList list{L"old"};
    EXPECT_TRUE(top.GetReferencedFamilies(set));
    EXPECT_EQ(set, (std::set<WideString>{L"", L"a", L"b"}));
    EXPECT_TRUE(top.GetReferencedFamilies(list));
    EXPECT_EQ(list, (WideStringList{L"b", L"a", L"b", L""}));
    const CTocCategory bare(Node(parser, L"Category[@InternalName='bare']"));
    EXPECT_TRUE(bare.GetReferencedFamilies(set));
    EXPECT_TRUE(set.empty());
    list = {L"old"};
    EXPECT_FALSE(CTocCategory().GetReferencedFamilies(list));
    EXPECT_TRUE(list.empty());
}

const wchar_t* const kFamily =
    LR"(<Family InternalName="id" DisplayName="Screws" Description="desc" Standard="ISO 4762"
        StandardsOrg="ISO" Manufacturer="Acme" FolderName="iso4762" RevisionId="rev"
        Library="lib" SourceMoniker="moniker" FromSource="srclib" SourceRevisionId="srcrev"
        SrcActive="true" LastModifiedTime="2024-03-18T09:30:00Z" ThumbnailPath="t.png"
        StandardRevision="2004" FamilyRevision="3"/>)";

// Each reader of CTocFamily names one attribute.
TEST(TocViews, FamilyReaders) {
    const CTocFamily family(XMLParser(kFamily).GetRootNode());
    using Reader = bool (CTocFamily::*)(WideString&) const;
    const struct {
        Reader read;
        const wchar_t* expected;
    } cases[] = {
        {&CTocFamily::GetInternalName, L"id"},  {&CTocFamily::GetDisplayName, L"Screws"},
        {&CTocFamily::GetSourceLib, L"srclib"}, {&CTocFamily::GetSourceFamily, L"moniker"},
        {&CTocFamily::GetStandardOrg, L"ISO"},  {&CTocFamily::GetSourceRevision, L"srcrev"},
        {&CTocFamily::GetRevision, L"rev"},
    };
    const CTocFamily bare(XMLParser(L"<Family/>").GetRootNode());
    for (const auto& c : cases) {
        WideString out;
        EXPECT_TRUE((family.*c.read)(out));
        EXPECT_EQ(out, c.expected);
        out = L"old";
        EXPECT_FALSE((bare.*c.read)(out));
        EXPECT_EQ(out, L"");
        EXPECT_FALSE((CTocFamily().*c.read)(out));
    }
}

// GetFamilyProperty reads the attribute of the FamilyPropType table; the values without one
// (and those outside 0 to 16) answer false with an empty output, whatever the element holds.
TEST(TocViews, FamilyPropertyByType) {
    const CTocFamily family(XMLParser(kFamily).GetRootNode());
    const wchar_t* const expected[] = {L"Screws",
                                       L"desc",
                                       L"ISO 4762",
                                       L"ISO",
                                       L"Acme",
                                       nullptr,
                                       nullptr,
                                       L"iso4762",
                                       L"rev",
                                       L"id",
                                       L"lib",
                                       nullptr,
                                       L"moniker",
                                       nullptr,
                                       nullptr,
                                       L"true",
                                       L"2024-03-18T09:30:00Z"};
    static_assert(std::size(expected) == size_t{FamilyPropLastModifiedTime} + 1);
    for (int type = 0; type <= FamilyPropLastModifiedTime; ++type) {
        WideString out = L"old";
        const bool found = family.GetFamilyProperty(static_cast<FamilyPropType>(type), out);
        EXPECT_EQ(found, expected[type] != nullptr) << "type " << type;
        EXPECT_EQ(out, expected[type] ? expected[type] : L"") << "type " << type;
    }
    for (int type : {-1, 17, 1000}) {
        WideString out = L"old";
        EXPECT_FALSE(family.GetFamilyProperty(static_cast<FamilyPropType>(type), out));
        EXPECT_EQ(out, L"");
    }
    WideString out = L"old";
    EXPECT_FALSE(CTocFamily().GetFamilyProperty(FamilyPropDisplayName, out));
    EXPECT_EQ(out, L"");
    // The enumeration's values are part of the boundary.
    EXPECT_EQ(FamilyPropStandardOrg, 3);
    EXPECT_EQ(FamilyPropThumbnailPath, 11);
    EXPECT_EQ(FamilyPropSrcActive, 15);
}

} // namespace
} // namespace torvex

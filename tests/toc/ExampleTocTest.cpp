// The example catalogue's table of contents (examples/toc.xml) read through CToc: a tree of
// several levels that references every example family, one of them from two categories, with a
// hidden category, and every attribute of the format filled.

#include "toc/TocTestSupport.h"

#include "torvex/platform/Utf16.h"

#include <map>
#include <string>

namespace torvex {
namespace {

using toctest::Entries;

const wchar_t* const kFolders[] = {L"iso4762", L"iso4032", L"iso7089"};

CToc ExampleToc() {
    XMLParser parser;
    EXPECT_TRUE(parser.LoadXmlDocument(platform::FromUtf8(TORVEX_EXAMPLES_DIR "/toc.xml").c_str()));
    CToc toc;
    toc.SetToc(parser);
    return toc;
}

// The InternalName of the example family document in `folder`.
WideString FamilyDocumentId(const wchar_t* folder) {
    XMLParser parser;
    const WideString path =
        platform::FromUtf8(TORVEX_EXAMPLES_DIR "/") + folder + WideString(L"/Family.xml");
    EXPECT_TRUE(parser.LoadXmlDocument(path.c_str()));
    WideString id;
    EXPECT_TRUE(parser.GetRootNode().GetProperty(L"InternalName", id));
    return id;
}

WideString DisplayName(const XMLNode& node) {
    WideString name;
    node.GetProperty(L"DisplayName", name);
    return name;
}

// Every example family is listed under its document's InternalName, with its folder as
// FolderName, and referenced from a category.
TEST(ExampleToc, ListsAndReferencesEveryExampleFamily) {
    const CToc toc = ExampleToc();
    CToc::FamilyCategoryMap referenced;
    toc.GetFam2CatMap(referenced, false);
    for (const wchar_t* folder : kFolders) {
        const WideString id = FamilyDocumentId(folder);
        CTocFamily family;
        ASSERT_TRUE(toc.GetFamilyInfo(id.c_str(), family)) << platform::ToUtf8(folder);
        WideString folderName;
        EXPECT_TRUE(family.GetFamilyProperty(FamilyPropFolderName, folderName));
        EXPECT_EQ(folderName, folder);
        EXPECT_EQ(referenced.count(id), 1u) << platform::ToUtf8(folder);
    }
}

// Eight categories in a tree of three levels under two first-level categories; Kits is hidden;
// ISO 4032 and ISO 7089 are referenced from two categories each.
TEST(ExampleToc, IsATreeWithAHiddenCategoryAndAFamilyInTwoCategories) {
    const CToc toc = ExampleToc();
    EXPECT_EQ(toc.GetCategoryCount(), 8);
    XMLNodeArray first;
    ASSERT_TRUE(toc.GetFirstLevelCategories(first));
    ASSERT_EQ(first.GetSize(), 2);
    EXPECT_EQ(DisplayName(first[0]), L"Fasteners");
    EXPECT_EQ(DisplayName(first[1]), L"Kits");
    EXPECT_FALSE(CTocCategory(first[0]).IsHidden());
    EXPECT_TRUE(CTocCategory(first[1]).IsHidden());
    EXPECT_TRUE(CTocCategory(first[1]).SpecialAuthoring());

    XMLNodeArray path;
    ASSERT_TRUE(toc.GetCategoryPath(L"730a9d98-2469-56d8-a164-0a6ac29ad9e7", path));
    ASSERT_EQ(path.GetSize(), 3);
    EXPECT_EQ(DisplayName(path[0]), L"Socket Head Bolts");
    EXPECT_EQ(DisplayName(path[1]), L"Bolts");
    EXPECT_EQ(DisplayName(path[2]), L"Fasteners");

    std::map<WideString, int> references;
    CToc copy = toc;
    copy.ResetCatIter();
    XMLNode node;
    while (copy.NextCategory(node)) {
        WideStringList names;
        ASSERT_TRUE(CTocCategory(node).GetReferencedFamilies(names));
        for (const WideString& name : names)
            ++references[name];
    }
    EXPECT_EQ(references[L"27219c4c-e376-5e19-b12c-b1c53cc8dffb"], 1);
    EXPECT_EQ(references[L"afe40b03-9e55-5d8b-b90c-4312f4dc8ab2"], 2);
    EXPECT_EQ(references[L"28261eda-9c78-5ba1-9e5b-1e5493637cdf"], 2);
}

// With hidden categories skipped every family maps to its leaf; with them, the category whose
// id sorts last wins: ISO 4032 stays with Hex Nuts (ab9a... > 95ac...), ISO 7089 goes to Kits
// (95ac... > 2a7f...). So examples/README.md says.
TEST(ExampleToc, FamilyToCategoryMapAsTheReadmeSays) {
    const CToc toc = ExampleToc();
    CToc::FamilyCategoryMap visible, all;
    toc.GetFam2CatMap(visible, true);
    toc.GetFam2CatMap(all, false);
    EXPECT_EQ(Entries(visible), L"27219c4c-e376-5e19-b12c-b1c53cc8dffb>730a9d98-2469-56d8-a164-"
                                L"0a6ac29ad9e7,"
                                L"28261eda-9c78-5ba1-9e5b-1e5493637cdf>2a7ff081-e153-5e20-9ef6-"
                                L"57b0a3dcd8de,"
                                L"afe40b03-9e55-5d8b-b90c-4312f4dc8ab2>ab9a6844-e8aa-55cf-8d73-"
                                L"6dfe74fffb96");
    EXPECT_EQ(all[L"afe40b03-9e55-5d8b-b90c-4312f4dc8ab2"],
              L"ab9a6844-e8aa-55cf-8d73-6dfe74fffb96");
    EXPECT_EQ(all[L"28261eda-9c78-5ba1-9e5b-1e5493637cdf"],
              L"95acddd7-27ed-5bbb-8bed-2e83110a2db5");
}

// Every attribute of the format is filled on every family and every category.
TEST(ExampleToc, EveryAttributeOfTheFormatIsFilled) {
    CToc toc = ExampleToc();
    const wchar_t* const familyAttributes[] = {
        L"InternalName", L"DisplayName",      L"Description", L"Standard",        L"StandardsOrg",
        L"Manufacturer", L"FolderName",       L"RevisionId",  L"Library",         L"SourceMoniker",
        L"FromSource",   L"SourceRevisionId", L"SrcActive",   L"LastModifiedTime"};
    const wchar_t* const categoryAttributes[] = {
        L"InternalName", L"DisplayName",      L"RevisionId", L"Library",
        L"Domain",       L"SpecialAuthoring", L"Hidden"};
    XMLNode node;
    int families = 0;
    toc.ResetIter();
    while (toc.NextNode(node)) {
        ++families;
        for (const wchar_t* attribute : familyAttributes) {
            WideString value;
            EXPECT_TRUE(node.GetProperty(attribute, value) && !value.empty())
                << platform::ToUtf8(attribute);
        }
    }
    EXPECT_EQ(families, 3);
    int categories = 0;
    toc.ResetCatIter();
    while (toc.NextCategory(node)) {
        ++categories;
        for (const wchar_t* attribute : categoryAttributes) {
            WideString value;
            EXPECT_TRUE(node.GetProperty(attribute, value) && !value.empty())
                << platform::ToUtf8(attribute);
        }
    }
    EXPECT_EQ(categories, 8);
}

} // namespace
} // namespace torvex

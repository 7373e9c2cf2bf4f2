// CToc: category paths, the family-to-category map and the first-level categories.

#include "toc/TocTestSupport.h"

namespace torvex {
namespace {

using toctest::Entries;
using toctest::kCatalogue;
using toctest::Key;
using toctest::Keys;
using toctest::TocOf;

// The path runs from the asked category up to its first-level ancestor: the leaf first, the
// Categories element not included. A first-level category is a path of one.
TEST(TocPaths, ThePathRunsLeafFirst) {
    const CToc toc = TocOf(kCatalogue);
    XMLNodeArray path;
    ASSERT_TRUE(toc.GetCategoryPath(L"m-2-1", path));
    EXPECT_EQ(Keys(path), L"m-2-1,m-2,m");
    ASSERT_TRUE(toc.GetCategoryPath(L"x-1", path));
    EXPECT_EQ(Keys(path), L"x-1,x");
    ASSERT_TRUE(toc.GetCategoryPath(L"m", path));
    EXPECT_EQ(Keys(path), L"m");
    XMLNode node;
    ASSERT_TRUE(toc.GetCategoryInfo(L"m-2-1", node));
    ASSERT_TRUE(toc.GetCategoryPath(L"m-2-1", path));
    EXPECT_TRUE(path[0].IsSameNode(node));
}

// An unknown name (or one that differs in case) answers false with an empty array.
TEST(TocPaths, AnUnknownCategoryHasAnEmptyPath) {
    const CToc toc = TocOf(kCatalogue);
    XMLNodeArray path;
    path.Add(toc.GetToc().GetRootNode());
    EXPECT_FALSE(toc.GetCategoryPath(L"M-2-1", path));
    EXPECT_TRUE(path.IsEmpty());
    path.Add(toc.GetToc().GetRootNode());
    EXPECT_FALSE(toc.GetCategoryPath(nullptr, path));
    EXPECT_TRUE(path.IsEmpty());
}

// The walk up takes any element whose name is "Category" ignoring case (although the map holds
// only the exact name, and CTocCategory::GetParent counts case); it stops at anything else. A
// Category outside Categories is a path of its own.
TEST(TocPaths, TheWalkUpIgnoresCaseAndStopsAtOtherElements) {
    const CToc toc = TocOf(LR"(<TableOfContents><Families/><Categories>
        <CATEGORY InternalName="upper"><Category InternalName="low">
          <Group><Category InternalName="grouped"/></Group></Category></CATEGORY>
        </Categories><Category InternalName="outside"><Category InternalName="in-outside"/>
        </Category></TableOfContents>)");
    XMLNodeArray path;
    ASSERT_TRUE(toc.GetCategoryPath(L"low", path));
    EXPECT_EQ(Keys(path), L"low,upper");
    XMLNode upper;
    EXPECT_FALSE(toc.GetCategoryInfo(L"upper", upper));
    CTocCategory parent;
    EXPECT_FALSE(CTocCategory(path[0]).GetParent(parent));
    ASSERT_TRUE(toc.GetCategoryPath(L"grouped", path));
    EXPECT_EQ(Keys(path), L"grouped");
    ASSERT_TRUE(toc.GetCategoryPath(L"in-outside", path));
    EXPECT_EQ(Keys(path), L"in-outside,outside");
    // A document element called Category stops at the document node.
    const CToc bare = TocOf(LR"(<Category InternalName="root"><Categories>
        <Category InternalName="c"/></Categories></Category>)");
    XMLNode out;
    EXPECT_FALSE(bare.GetCategoryInfo(L"c", out)) << "no TableOfContents/Categories";
}

// A category taken out of its tree (through the shared document) ends the walk up off the top:
// false, with the path as far as it got.
TEST(TocPaths, AWalkOffTheTopAnswersFalseWithThePathSoFar) {
    const CToc toc = TocOf(kCatalogue);
    XMLNode m;
    ASSERT_TRUE(toc.GetCategoryInfo(L"m", m));
    ASSERT_TRUE(m.RemoveThisNode(false));
    XMLNodeArray path;
    EXPECT_FALSE(toc.GetCategoryPath(L"m-2-1", path));
    EXPECT_EQ(Keys(path), L"m-2-1,m-2,m");
    EXPECT_FALSE(toc.GetCategoryPath(L"m", path));
    EXPECT_EQ(Keys(path), L"m");
}

// Walking the categories in key order, the category whose key sorts last wins a family
// referenced from several. With skipHidden a family referenced only from a hidden category has
// no entry, one also referenced from a visible category has that one, and a visible subcategory
// of a hidden one counts. References to unlisted families count too.
TEST(TocPaths, TheFamilyToCategoryMapWithAndWithoutHiddenCategories) {
    const CToc toc = TocOf(kCatalogue);
    CToc::FamilyCategoryMap all, visible;
    EXPECT_TRUE(toc.GetFam2CatMap(all, false));
    EXPECT_EQ(Entries(all), L"f-a>x,f-b>m-1,f-c>x,f-d>x-1");
    EXPECT_TRUE(toc.GetFam2CatMap(visible, true));
    EXPECT_EQ(Entries(visible), L"f-a>m-2-1,f-b>m-1,f-d>x-1");
}

// The map is added to, not emptied: entries of other families stay, a family found again takes
// the new category.
TEST(TocPaths, TheFamilyToCategoryMapIsAddedTo) {
    const CToc toc = TocOf(kCatalogue);
    CToc::FamilyCategoryMap map{{L"other", L"kept"}, {L"f-b", L"replaced"}};
    EXPECT_TRUE(toc.GetFam2CatMap(map, true));
    EXPECT_EQ(Entries(map), L"f-a>m-2-1,f-b>m-1,f-d>x-1,other>kept");
}

// Only direct references count, references without InternalName are passed over, and Hidden is
// read as a boolean ("1" and "TRUE" hide, "0" and "yes" do not).
TEST(TocPaths, OnlyDirectNamedReferencesCount) {
    const CToc toc = TocOf(LR"(<TableOfContents><Families/><Categories>
        <Category InternalName="a" Hidden="1"><FamilyReference InternalName="f1"/></Category>
        <Category InternalName="b" Hidden="TRUE"><FamilyReference InternalName="f2"/></Category>
        <Category InternalName="c" Hidden="0"><FamilyReference InternalName="f3"/>
          <FamilyReference/><Deeper><FamilyReference InternalName="f4"/></Deeper></Category>
        <Category InternalName="d" Hidden="yes"><FamilyReference InternalName="f5"/></Category>
        </Categories></TableOfContents>)");
    CToc::FamilyCategoryMap all, visible;
    toc.GetFam2CatMap(all, false);
    EXPECT_EQ(Entries(all), L"f1>a,f2>b,f3>c,f5>d");
    toc.GetFam2CatMap(visible, true);
    EXPECT_EQ(Entries(visible), L"f3>c,f5>d");
}

// The first-level categories are the direct Category children of Categories under the document
// element, in document order; false without Categories there.
TEST(TocPaths, FirstLevelCategoriesInDocumentOrder) {
    const CToc toc = TocOf(kCatalogue);
    XMLNodeArray first;
    ASSERT_TRUE(toc.GetFirstLevelCategories(first));
    EXPECT_EQ(Keys(first), L"x,m");
    // Also under another document element (the maps are empty then).
    const CToc other = TocOf(LR"(<Catalogue><Categories><Category InternalName="c"/>
        <category InternalName="lower"/></Categories></Catalogue>)");
    ASSERT_TRUE(other.GetFirstLevelCategories(first));
    EXPECT_EQ(Keys(first), L"c");
    const CToc none = TocOf(LR"(<TableOfContents><Families/><Group><Categories>
        <Category InternalName="c"/></Categories></Group></TableOfContents>)");
    first.RemoveAll();
    EXPECT_FALSE(none.GetFirstLevelCategories(first));
    // An empty Categories answers true with nothing.
    const CToc empty = TocOf(L"<TableOfContents><Categories/></TableOfContents>");
    first.Add(XMLNode());
    EXPECT_TRUE(empty.GetFirstLevelCategories(first));
    EXPECT_TRUE(first.IsEmpty());
}

} // namespace
} // namespace torvex

// CToc: the two walks, their flags, and copies.

#include "toc/TocTestSupport.h"

namespace torvex {
namespace {

using toctest::kCatalogue;
using toctest::Key;
using toctest::TocOf;
using toctest::WalkCategories;
using toctest::WalkFamilies;

// The walks run in key order (code units: upper case before lower case), not document order.
// Every family walk begun with ResetIter gives the whole map, and an ended walk stays ended.
TEST(TocWalks, TheFamilyWalkRunsInKeyOrderFromEveryReset) {
    CToc toc = TocOf(kCatalogue);
    toc.ResetIter();
    EXPECT_EQ(WalkFamilies(toc), L"F-A,f-a,f-b,f-c");
    XMLNode out;
    EXPECT_FALSE(toc.NextNode(out));
    EXPECT_FALSE(toc.NextNode(out));
    toc.ResetIter();
    EXPECT_EQ(WalkFamilies(toc), L"F-A,f-a,f-b,f-c");
}

// ResetCatIter sets the family walk's flag and not its own, which is true only from
// construction to the first NextCategory. So the first category walk gives every key, and every
// later one starts at the second key: one entry fewer, walk after walk.
TEST(TocWalks, ASecondCategoryWalkGivesOneEntryFewer) {
    CToc toc = TocOf(kCatalogue);
    toc.ResetCatIter();
    EXPECT_EQ(WalkCategories(toc), L"m,m-1,m-2,m-2-1,x,x-1");
    toc.ResetCatIter();
    EXPECT_EQ(WalkCategories(toc), L"m-1,m-2,m-2-1,x,x-1");
    toc.ResetCatIter();
    EXPECT_EQ(WalkCategories(toc), L"m-1,m-2,m-2-1,x,x-1");
    // ResetIter does not give the category walk its flag back either.
    toc.ResetIter();
    toc.ResetCatIter();
    EXPECT_EQ(WalkCategories(toc), L"m-1,m-2,m-2-1,x,x-1");
    // Breaking off the first walk early uses the flag up all the same.
    CToc early = TocOf(kCatalogue);
    XMLNode out;
    early.ResetCatIter();
    ASSERT_TRUE(early.NextCategory(out));
    EXPECT_EQ(Key(out), L"m");
    early.ResetCatIter();
    ASSERT_TRUE(early.NextCategory(out));
    EXPECT_EQ(Key(out), L"m-1");
}

// After ResetCatIter the next NextNode gives again the family it gave last, because the family
// flag is true again; the walk then goes on from there.
TEST(TocWalks, ResetCatIterMakesTheFamilyWalkRepeatItsLastEntry) {
    CToc toc = TocOf(kCatalogue);
    XMLNode out;
    toc.ResetIter();
    ASSERT_TRUE(toc.NextNode(out));
    EXPECT_EQ(Key(out), L"F-A");
    ASSERT_TRUE(toc.NextNode(out));
    EXPECT_EQ(Key(out), L"f-a");
    toc.ResetCatIter();
    ASSERT_TRUE(toc.NextNode(out));
    EXPECT_EQ(Key(out), L"f-a") << "repeated";
    ASSERT_TRUE(toc.NextCategory(out));
    EXPECT_EQ(Key(out), L"m");
    ASSERT_TRUE(toc.NextNode(out));
    EXPECT_EQ(Key(out), L"f-b");
    toc.ResetCatIter();
    toc.ResetCatIter();
    ASSERT_TRUE(toc.NextNode(out));
    EXPECT_EQ(Key(out), L"f-b") << "repeated once, however often the reset came";
    EXPECT_EQ(WalkFamilies(toc), L"f-c");
    // At the end the repeat finds the end again.
    toc.ResetCatIter();
    EXPECT_FALSE(toc.NextNode(out));
    EXPECT_FALSE(toc.NextNode(out));
}

// A walk before any reset answers false and leaves its output alone; it uses no flag, so the
// first walk after the reset is whole.
TEST(TocWalks, AWalkBeforeAnyResetAnswersFalse) {
    CToc toc = TocOf(kCatalogue);
    XMLNode out;
    EXPECT_FALSE(toc.NextNode(out));
    EXPECT_FALSE(toc.NextCategory(out));
    EXPECT_FALSE(out.IsNode());
    toc.ResetCatIter();
    EXPECT_EQ(WalkCategories(toc), L"m,m-1,m-2,m-2-1,x,x-1");
}

// SetToc rebuilds the maps and leaves the flags as they were: the walks need a reset, and a
// category walk after a former one still starts at the second key.
TEST(TocWalks, SetTocLeavesTheFlagsAndNeedsAReset) {
    CToc toc = TocOf(kCatalogue);
    toc.ResetCatIter();
    EXPECT_EQ(WalkCategories(toc), L"m,m-1,m-2,m-2-1,x,x-1");
    toc.ResetIter();
    XMLNode out;
    toc.NextNode(out);
    toc.SetToc(XMLParser(LR"(<TableOfContents><Families><F InternalName="p"/><F InternalName="q"/>
        </Families><Categories><Category InternalName="a"/><Category InternalName="b"/>
        </Categories></TableOfContents>)"));
    EXPECT_FALSE(toc.NextNode(out));
    EXPECT_FALSE(toc.NextCategory(out));
    toc.ResetIter();
    EXPECT_EQ(WalkFamilies(toc), L"p,q");
    toc.ResetCatIter();
    EXPECT_EQ(WalkCategories(toc), L"b");
}

// A copy shares the document and the nodes and copies both flags, but its walks need ResetIter
// and ResetCatIter first: until then they answer false. The copy walks its own maps, also after
// the source has been set to another document. Assignment does the same.
TEST(TocWalks, ACopyNeedsAResetBeforeItWalks) {
    CToc source = TocOf(kCatalogue);
    source.ResetIter();
    XMLNode out;
    source.NextNode(out);
    source.NextNode(out);

    CToc copy(source);
    EXPECT_FALSE(copy.NextNode(out));
    EXPECT_FALSE(copy.NextCategory(out));
    EXPECT_TRUE(copy.GetToc().GetRootNode().IsSameNode(source.GetToc().GetRootNode()));
    XMLNode mine, theirs;
    ASSERT_TRUE(copy.GetCategoryInfo(L"m-2", mine));
    ASSERT_TRUE(source.GetCategoryInfo(L"m-2", theirs));
    EXPECT_TRUE(mine.IsSameNode(theirs));

    source.SetToc(XMLParser(L"<TableOfContents><Families/><Categories/></TableOfContents>"));
    copy.ResetIter();
    EXPECT_EQ(WalkFamilies(copy), L"F-A,f-a,f-b,f-c");
    copy.ResetCatIter();
    EXPECT_EQ(WalkCategories(copy), L"m,m-1,m-2,m-2-1,x,x-1") << "the source's flag was true";
    // The source's own walks need a reset after its SetToc.
    EXPECT_FALSE(source.NextNode(out));

    // A copy of a toc whose category flag is used up starts its category walks at the second key.
    CToc assigned;
    assigned = copy;
    EXPECT_FALSE(assigned.NextCategory(out));
    assigned.ResetCatIter();
    EXPECT_EQ(WalkCategories(assigned), L"m-1,m-2,m-2-1,x,x-1");
    assigned.ResetIter();
    EXPECT_EQ(WalkFamilies(assigned), L"F-A,f-a,f-b,f-c");

    // Self-assignment changes nothing, the walks' positions included.
    assigned.ResetIter();
    ASSERT_TRUE(assigned.NextNode(out));
    const CToc& alias = assigned;
    assigned = alias;
    EXPECT_EQ(WalkFamilies(assigned), L"f-a,f-b,f-c");
    EXPECT_EQ(assigned.GetCategoryCount(), 6);
}

} // namespace
} // namespace torvex

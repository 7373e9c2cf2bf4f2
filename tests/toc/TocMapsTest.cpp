// CToc: building the two maps from the document, and the lookups.

#include "toc/TocTestSupport.h"

namespace torvex {
namespace {

using toctest::kCatalogue;
using toctest::Key;
using toctest::TocOf;
using toctest::WalkCategories;
using toctest::WalkFamilies;

// A fresh CToc answers from nothing: lookups false with outputs untouched, count 0, walks false
// (also after no reset at all), a documentless parser, and an empty family-to-category map.
TEST(TocMaps, AFreshTocAnswersFromNothing) {
    CToc toc;
    XMLNode out = XMLParser(L"<keep/>").GetRootNode();
    EXPECT_FALSE(toc.GetFamilyInfo(L"f-a", out));
    EXPECT_FALSE(toc.GetCategoryInfo(L"m", out));
    EXPECT_FALSE(toc.NextNode(out));
    EXPECT_FALSE(toc.NextCategory(out));
    WideString name;
    EXPECT_TRUE(out.GetNodeName(name) && name == L"keep") << "outputs stay untouched";
    EXPECT_EQ(toc.GetCategoryCount(), 0);
    EXPECT_FALSE(toc.GetToc().HasDocument());
    EXPECT_FALSE(toc.GetDocument().HasDocument());
    XMLNodeArray array;
    array.Add(out);
    EXPECT_FALSE(toc.GetFirstLevelCategories(array));
    EXPECT_EQ(array.GetSize(), 1) << "untouched on false";
    EXPECT_FALSE(toc.GetCategoryPath(L"m", array));
    EXPECT_TRUE(array.IsEmpty());
    CToc::FamilyCategoryMap map;
    EXPECT_TRUE(toc.GetFam2CatMap(map, false));
    EXPECT_TRUE(map.empty());
    // After a reset the empty maps just end.
    toc.ResetIter();
    toc.ResetCatIter();
    EXPECT_FALSE(toc.NextNode(out));
    EXPECT_FALSE(toc.NextCategory(out));
}

// Lookups are exact: the keys are the InternalNames as written, and a name that differs in case
// is another key or a miss. A miss leaves the output alone; a hit shares the document's node.
TEST(TocMaps, LookupsAreExactAndShareTheDocumentsNodes) {
    const CToc toc = TocOf(kCatalogue);
    XMLNode lower, upper, category;
    ASSERT_TRUE(toc.GetFamilyInfo(L"f-a", lower));
    ASSERT_TRUE(toc.GetFamilyInfo(L"F-A", upper));
    WideString display;
    EXPECT_TRUE(lower.GetProperty(L"DisplayName", display) && display == L"Anchors");
    EXPECT_TRUE(upper.GetProperty(L"DisplayName", display) && display == L"Anchors, upper case");
    XMLNode out = lower;
    EXPECT_FALSE(toc.GetFamilyInfo(L"F-B", out));
    EXPECT_FALSE(toc.GetFamilyInfo(L"f-a ", out));
    EXPECT_FALSE(toc.GetFamilyInfo(nullptr, out));
    EXPECT_FALSE(toc.GetFamilyInfo(L"m", out)) << "categories are not families";
    EXPECT_TRUE(out.IsSameNode(lower));
    EXPECT_TRUE(toc.GetCategoryInfo(L"m-2-1", category));
    EXPECT_FALSE(toc.GetCategoryInfo(L"M-2-1", out));
    EXPECT_FALSE(toc.GetCategoryInfo(L"f-a", out));
    EXPECT_TRUE(out.IsSameNode(lower));
    XMLNode again;
    toc.GetDocument().GetRootNode().GetChildNode(
        L"Categories/Category/Category/Category[@InternalName='m-2-1']", again);
    EXPECT_TRUE(category.IsSameNode(again));
    EXPECT_EQ(toc.GetCategoryCount(), 6);
}

// The family map takes the children of Families in order and stops at the first one without
// InternalName: the siblings behind it are not found. A later entry of a name replaces the
// earlier. The element's name is not looked at.
TEST(TocMaps, AFamilyWithoutInternalNameEndsTheFamilyMap) {
    CToc toc = TocOf(LR"(<TableOfContents><Families>
        <Family InternalName="a" DisplayName="first"/>
        <Anything InternalName="b"/>
        <Family InternalName="a" DisplayName="second"/>
        <Family DisplayName="no name"/>
        <Family InternalName="c"/>
      </Families><Categories/></TableOfContents>)");
    toc.ResetIter();
    EXPECT_EQ(WalkFamilies(toc), L"a,b");
    XMLNode out;
    EXPECT_FALSE(toc.GetFamilyInfo(L"c", out));
    ASSERT_TRUE(toc.GetFamilyInfo(L"a", out));
    WideString display;
    EXPECT_TRUE(out.GetProperty(L"DisplayName", display) && display == L"second");
    // An empty InternalName is a name like any other.
    toc.SetToc(XMLParser(LR"(<TableOfContents><Families><F InternalName=""/><F InternalName="d"/>
        </Families></TableOfContents>)"));
    EXPECT_TRUE(toc.GetFamilyInfo(L"", out));
    EXPECT_TRUE(toc.GetFamilyInfo(L"d", out));
}

// A category without InternalName only loses itself: what it holds is still found, and so is
// every Category of the document that "//Category" reaches, also outside Categories, as long as
// Categories exists. A later duplicate replaces the earlier.
TEST(TocMaps, ACategoryWithoutInternalNameOnlyLosesItself) {
    const CToc toc = TocOf(LR"(<TableOfContents>
        <Families><Family InternalName="f"/></Families>
        <Categories>
          <Category DisplayName="nameless"><Category InternalName="inner"/></Category>
          <Category InternalName="dup" DisplayName="first"/>
          <category InternalName="lower"/>
        </Categories>
        <Category InternalName="stray"/>
        <Elsewhere><Category InternalName="dup" DisplayName="second"/></Elsewhere>
      </TableOfContents>)");
    XMLNode out;
    EXPECT_TRUE(toc.GetCategoryInfo(L"inner", out));
    EXPECT_TRUE(toc.GetCategoryInfo(L"stray", out));
    EXPECT_FALSE(toc.GetCategoryInfo(L"lower", out)) << "the XPath name test is exact";
    ASSERT_TRUE(toc.GetCategoryInfo(L"dup", out));
    WideString display;
    EXPECT_TRUE(out.GetProperty(L"DisplayName", display) && display == L"second");
    EXPECT_EQ(toc.GetCategoryCount(), 3);
}

// Without Categories no category is found, wherever Category elements stand; without Families
// the category map still works. Another root gives empty maps; a childless Families too.
TEST(TocMaps, EachMapNeedsItsOwnElementOnly) {
    XMLNode out;
    CToc noCategories = TocOf(LR"(<TableOfContents><Families><F InternalName="f"/></Families>
        <Category InternalName="stray"/></TableOfContents>)");
    EXPECT_EQ(noCategories.GetCategoryCount(), 0);
    EXPECT_TRUE(noCategories.GetFamilyInfo(L"f", out));
    XMLNodeArray first;
    EXPECT_FALSE(noCategories.GetFirstLevelCategories(first));

    CToc noFamilies = TocOf(LR"(<TableOfContents><Categories><Category InternalName="c"/>
        </Categories></TableOfContents>)");
    EXPECT_TRUE(noFamilies.GetCategoryInfo(L"c", out));
    noFamilies.ResetIter();
    EXPECT_FALSE(noFamilies.NextNode(out));

    CToc otherRoot = TocOf(LR"(<Catalogue><Families><F InternalName="f"/></Families>
        <Categories><Category InternalName="c"/></Categories></Catalogue>)");
    EXPECT_FALSE(otherRoot.GetFamilyInfo(L"f", out));
    EXPECT_FALSE(otherRoot.GetCategoryInfo(L"c", out));

    CToc malformed = TocOf(L"<TableOfContents><Families>");
    EXPECT_TRUE(malformed.GetToc().HasDocument());
    EXPECT_EQ(malformed.GetCategoryCount(), 0);

    CToc childless = TocOf(L"<TableOfContents><Families/></TableOfContents>");
    childless.ResetIter();
    EXPECT_FALSE(childless.NextNode(out));
}

// Anything but an element among the families raises ComError out of SetToc: a comment, text, a
// processing instruction, also in the first place. The entries before it are in the map, and
// the category map has not been rebuilt.
TEST(TocMaps, ACommentAmongTheFamiliesRaisesOutOfSetToc) {
    const wchar_t* const documents[] = {
        LR"(<TableOfContents><Families><F InternalName="a"/><!-- note --><F InternalName="b"/>
            </Families><Categories><Category InternalName="new"/></Categories></TableOfContents>)",
        LR"(<TableOfContents><Families><F InternalName="a"/>text<F InternalName="b"/>
            </Families><Categories><Category InternalName="new"/></Categories></TableOfContents>)",
        LR"(<TableOfContents><Families><F InternalName="a"/><?pi data?><F InternalName="b"/>
            </Families><Categories><Category InternalName="new"/></Categories></TableOfContents>)",
    };
    for (const wchar_t* document : documents) {
        CToc toc = TocOf(kCatalogue);
        try {
            toc.SetToc(XMLParser(document));
            ADD_FAILURE() << "SetToc must raise";
        } catch (const ComError& e) {
            EXPECT_EQ(e.Code(), XmlStatus::Pointer);
        }
        XMLNode out;
        EXPECT_TRUE(toc.GetFamilyInfo(L"a", out));
        EXPECT_FALSE(toc.GetFamilyInfo(L"b", out));
        EXPECT_FALSE(toc.GetFamilyInfo(L"f-a", out)) << "the family map was rebuilt";
        EXPECT_FALSE(toc.GetCategoryInfo(L"new", out));
        EXPECT_TRUE(toc.GetCategoryInfo(L"m", out)) << "the category map was not";
        EXPECT_TRUE(toc.GetToc().GetRootNode().GetChildNode(L"Families", out))
            << "the document was taken";
    }
    CToc first;
    EXPECT_THROW(first.SetToc(XMLParser(
                     L"<TableOfContents><Families><!--c--><F InternalName=\"a\"/></Families>"
                     L"</TableOfContents>")),
                 ComError);
    XMLNode out;
    EXPECT_FALSE(first.GetFamilyInfo(L"a", out));
}

// SetToc again rebuilds both maps from the new document; the former document's nodes stay
// valid in handles taken before. A documentless parser empties the family map only.
TEST(TocMaps, SetTocAgainRebuildsBothMaps) {
    CToc toc = TocOf(kCatalogue);
    XMLNode former;
    ASSERT_TRUE(toc.GetCategoryInfo(L"m", former));
    toc.SetToc(XMLParser(LR"(<TableOfContents><Families><F InternalName="n"/></Families>
        <Categories><Category InternalName="k"/></Categories></TableOfContents>)"));
    XMLNode out;
    EXPECT_FALSE(toc.GetFamilyInfo(L"f-a", out));
    EXPECT_FALSE(toc.GetCategoryInfo(L"m", out));
    EXPECT_TRUE(toc.GetFamilyInfo(L"n", out));
    EXPECT_TRUE(toc.GetCategoryInfo(L"k", out));
    EXPECT_EQ(Key(former), L"m");

    XMLParser none = toc.GetToc();
    XMLParser taken(std::move(none)); // `none` is documentless now
    toc.SetToc(none);
    EXPECT_FALSE(toc.GetToc().HasDocument());
    EXPECT_FALSE(toc.GetFamilyInfo(L"n", out));
    EXPECT_TRUE(toc.GetCategoryInfo(L"k", out));
}

// GetToc and GetDocument share the document that was set: an edit through one is seen by the
// other, and the maps hold nodes of that very document.
TEST(TocMaps, GetTocSharesTheDocument) {
    XMLParser parser(kCatalogue);
    CToc toc;
    toc.SetToc(parser);
    EXPECT_TRUE(toc.GetToc().GetRootNode().IsSameNode(parser.GetRootNode()));
    EXPECT_TRUE(toc.GetDocument().GetRootNode().IsSameNode(parser.GetRootNode()));
    XMLNode family;
    ASSERT_TRUE(toc.GetFamilyInfo(L"f-c", family));
    family.SetProperty(L"Note", L"seen");
    WideString note;
    XMLNode again;
    ASSERT_TRUE(parser.GetRootNode().GetChildNode(L"Families/Family[@InternalName='f-c']", again));
    EXPECT_TRUE(again.GetProperty(L"Note", note) && note == L"seen");
}

} // namespace
} // namespace torvex

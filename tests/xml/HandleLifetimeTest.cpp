// Counted handles: nodes and documents live as long as a handle holds them, detached nodes too.
// These tests mean most under the address sanitizer, which reports any use after free or leak.

#include <optional>

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Find;
using xmltest::Name;
using xmltest::Xml;

TEST(XmlHandles, ANodeOutlivesItsParser) {
    XMLNode b;
    {
        XMLParser parser(L"<a><b k='v'>t</b></a>");
        b = Find(parser.GetRootNode(), L"b");
    }
    EXPECT_EQ(Xml(b), L"<b k=\"v\">t</b>");
    EXPECT_EQ(Name(b.GetParentNode()), L"a");
    EXPECT_EQ(Name(b.GetParentNode().GetParentNode()), L"#document");
    EXPECT_TRUE(b.AddNode(L"more").IsNode()) << "the document is still there to edit";
}

TEST(XmlHandles, AHandleInsideADetachedSubtreeKeepsAllOfIt) {
    XMLParser parser(L"<r><a><b><c/></b></a></r>");
    XMLNode c = Find(parser.GetRootNode(), L"a/b/c");
    {
        XMLNode a = Find(parser.GetRootNode(), L"a");
        ASSERT_TRUE(a.RemoveThisNode(false));
    }
    EXPECT_EQ(Xml(parser), L"<r/>\n");
    XMLNode a = c.GetParentNode().GetParentNode();
    EXPECT_EQ(Xml(a), L"<a><b><c/></b></a>");
    a = XMLNode();
    XMLNode b = c.GetParentNode();
    ASSERT_TRUE(c.RemoveThisNode(false)) << "c leaves the detached subtree, which then goes";
    b = XMLNode();
    EXPECT_EQ(Xml(c), L"<c/>");
    EXPECT_TRUE(parser.GetRootNode().AppendChild(c).IsNode());
    EXPECT_EQ(Xml(parser), L"<r><c/></r>\n");
}

TEST(XmlHandles, ADetachedNodeIsNotLostWhileItsDocumentChanges) {
    XMLParser parser(L"<r><keep id='1'><child>text</child></keep><other/></r>");
    XMLNode kept = Find(parser.GetRootNode(), L"keep");
    ASSERT_TRUE(kept.RemoveThisNode(false));
    EXPECT_TRUE(parser.SetXml(L"<new/>"));
    EXPECT_TRUE(parser.SetXml(L"<newer><x/></newer>"));
    parser.GetRootNode().AddNode(L"y");
    EXPECT_TRUE(parser.GetRootNode().InsertChild(kept, 1).IsNode());
    EXPECT_EQ(Xml(parser), L"<newer><x/><keep id=\"1\"><child>text</child></keep><y/></newer>\n");
}

TEST(XmlHandles, HandlesFromBeforeSetXmlStayOnTheOldTree) {
    XMLParser parser(L"<old xml:lang='en'><a k='1'>t</a></old>");
    XMLNode oldRoot = parser.GetRootNode();
    XMLNode oldAttr = Find(oldRoot, L"a/@k");
    XMLNode lang = Find(oldRoot, L"@xml:lang");
    ASSERT_TRUE(parser.SetXml(L"<?xml version='1.0'?><new xml:lang='de'/>"));
    EXPECT_EQ(Name(lang), L"xml:lang");
    EXPECT_EQ(Name(Find(parser.GetRootNode(), L"@xml:lang")), L"xml:lang");
    EXPECT_EQ(Xml(oldRoot), L"<old xml:lang=\"en\"><a k=\"1\">t</a></old>");
    EXPECT_FALSE(oldRoot.GetParentNode().IsNode());
    WideString value;
    EXPECT_TRUE(oldAttr.GetNodeValue(value));
    EXPECT_EQ(value, L"1");
    XMLNode a = Find(oldRoot, L"a");
    EXPECT_TRUE(parser.GetRootNode().AppendChild(a).IsNode())
        << "old nodes can move into the new tree";
    oldRoot = XMLNode();
    lang = XMLNode();
    EXPECT_EQ(Xml(parser), L"<?xml version='1.0'?>\n<new xml:lang=\"de\"><a k=\"1\">t</a></new>\n");
}

TEST(XmlHandles, NodesMoveBetweenDocumentsAndOutliveTheirFirstOne) {
    XMLNode moved;
    std::optional<XMLParser> target(std::in_place, L"<target/>");
    {
        XMLParser source(L"<src xmlns:p='urn:p'><p:item xml:lang='en' "
                         L"p:k='v'><sub/></p:item></src>");
        moved = Find(source.GetRootNode(), L"*");
        XMLNode sub = Find(moved, L"sub");
        EXPECT_TRUE(target->GetRootNode().AppendChild(moved).IsNode());
        EXPECT_EQ(Xml(source), L"<src xmlns:p=\"urn:p\"/>\n");
        EXPECT_TRUE(sub.GetParentNode().IsSameNode(moved));
    }
    EXPECT_EQ(
        Xml(*target),
        L"<target><p:item xmlns:p=\"urn:p\" xml:lang=\"en\" p:k=\"v\"><sub/></p:item></target>\n");
    target.reset();
    EXPECT_EQ(Name(moved), L"p:item");
    EXPECT_EQ(Name(Find(moved, L"@xml:lang")), L"xml:lang");
    XMLNodeArray prefixed;
    EXPECT_TRUE(moved.SelectChildNodes(
        L"self::*[namespace-uri()='urn:p']/@*[namespace-uri()='urn:p']", prefixed));
    EXPECT_EQ(xmltest::Names(prefixed), L"p:k");
    XMLParser back(L"<back/>");
    EXPECT_TRUE(back.GetRootNode().AppendChild(moved.GetParentNode()).IsNode());
    EXPECT_EQ(Xml(back), L"<back><target><p:item xmlns:p=\"urn:p\" xml:lang=\"en\" "
                         L"p:k=\"v\"><sub/></p:item></target></back>\n");
}

TEST(XmlHandles, PrefixesSurviveTheLossOfTheirDeclaration) {
    XMLParser parser(L"<r xmlns:p='urn:p'><p:a p:x='1'><p:b/></p:a></r>");
    XMLNode b = Find(parser.GetRootNode(), L"*/*");
    XMLNode a = b.GetParentNode();
    ASSERT_TRUE(a.RemoveThisNode(false));
    ASSERT_TRUE(parser.SetXml(L"<other/>")) << "frees the old root and its declaration";
    EXPECT_EQ(Xml(a), L"<p:a xmlns:p=\"urn:p\" p:x=\"1\"><p:b/></p:a>") << "declared anew";
    XMLNode copy = a.CloneNode(true);
    a = XMLNode();
    ASSERT_TRUE(b.RemoveThisNode(false));
    EXPECT_EQ(Xml(b), L"<p:b xmlns:p=\"urn:p\"/>");
    EXPECT_EQ(Xml(copy), L"<p:a xmlns:p=\"urn:p\" p:x=\"1\"><p:b/></p:a>");
    EXPECT_TRUE(parser.GetRootNode().AppendChild(copy).IsNode());
    XMLParser reparsed(Xml(parser).c_str());
    EXPECT_TRUE(
        Find(reparsed.GetRootNode(), L"*[namespace-uri()='urn:p']/@*[namespace-uri()='urn:p']")
            .IsNode())
        << "the written document keeps its namespaces";
}

TEST(XmlHandles, AttributeAndTextHandlesSurviveReplacement) {
    XMLParser parser(L"<r a='1' b='2'>old</r>");
    XMLNode r = parser.GetRootNode();
    XMLNode a = Find(r, L"@a");
    XMLNode bText;
    ASSERT_TRUE(Find(r, L"@b").GetFirstChildNode(bText));
    XMLNode text = Find(r, L"text()");
    EXPECT_TRUE(r.RemoveProperty(L"a"));
    EXPECT_TRUE(r.SetProperty(L"b", L"3"));
    EXPECT_TRUE(r.SetNodeText(L"new"));
    WideString value;
    EXPECT_TRUE(a.GetNodeValue(value));
    EXPECT_EQ(value, L"1");
    EXPECT_TRUE(bText.GetNodeValue(value));
    EXPECT_EQ(value, L"2");
    EXPECT_TRUE(text.GetNodeValue(value));
    EXPECT_EQ(value, L"old");
    EXPECT_EQ(Xml(parser), L"<r b=\"3\">new</r>\n");
}

TEST(XmlHandles, ArraysOfHandlesAcrossManyEdits) {
    XMLParser parser(L"<r/>");
    XMLNode r = parser.GetRootNode();
    for (int i = 0; i < 200; ++i) {
        r.AddNode(L"Row", nullptr, L"RowId", std::to_wstring(i).c_str()).AddNode(L"Cell", L"v");
    }
    XMLNodeArray rows;
    ASSERT_TRUE(r.SelectChildNodes(L"Row", rows));
    XMLNodeArray cells;
    ASSERT_TRUE(parser.GetNodesByTag(L"Cell", cells));
    for (intptr_t i = 0; i < rows.GetSize(); i += 2) {
        ASSERT_TRUE(rows[i].RemoveThisNode(i % 4 == 0));
    }
    ASSERT_TRUE(parser.SetXml(L"<r2/>"));
    for (intptr_t i = 1; i < rows.GetSize(); i += 4) {
        EXPECT_TRUE(parser.GetRootNode().AppendChild(rows[i]).IsNode());
    }
    rows.RemoveAll();
    EXPECT_EQ(parser.GetNodesCount(), 50);
    WideString text;
    for (const XMLNode& cell : cells) {
        EXPECT_TRUE(cell.GetNodeText(text));
        EXPECT_EQ(text, L"v");
    }
}

TEST(XmlHandles, VeryDeepTreesAreHandledWithoutRecursion) {
    const int depth = 100000;
    XMLParser parser(L"<root/>");
    XMLNode node = parser.GetRootNode();
    for (int i = 0; i < depth; ++i) {
        node = node.AddNode(L"n");
    }
    node.SetNodeText(L"leaf");
    WideString text;
    EXPECT_TRUE(parser.GetRootNode().GetNodeText(text));
    EXPECT_EQ(text, L"leaf");
    ASSERT_TRUE(parser.GetXml(text));
    EXPECT_EQ(text.size(), 18u + depth * 7u);
    XMLNodeArray all;
    EXPECT_TRUE(parser.GetRootNode().SelectChildNodes(L"descendant::n", all));
    EXPECT_EQ(all.GetSize(), depth);
    all.RemoveAll();
    XMLNode copy = parser.GetRootNode().CloneNode(true);
    EXPECT_EQ(Xml(copy).size(), text.size() - 1);
    XMLNode imported = XMLParser(L"<t/>").GetRootNode().ImportNode(copy, true);
    EXPECT_TRUE(imported.IsNode());
    XMLNode first;
    ASSERT_TRUE(parser.GetRootNode().GetFirstChildNode(first));
    EXPECT_TRUE(first.RemoveThisNode(false));
    EXPECT_TRUE(parser.GetRootNode().AppendChild(first).IsNode());
}

} // namespace
} // namespace torvex

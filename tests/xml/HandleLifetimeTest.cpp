// Counted handles: nodes and documents live as long as a handle holds them, detached nodes too.
// These tests mean most under the address sanitizer, which reports any use after free or leak.

#include <optional>

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Find;
using xmltest::Name;
using xmltest::Xml;

// A node outlives its parser, and a node moved to another document outlives the first one,
// keeping its prefixes; the document stays there to edit.
TEST(XmlHandles, NodesOutliveTheirParsersAndMoveBetweenDocuments) {
    XMLNode b;
    {
        XMLParser parser(L"<a><b k='v'>t</b></a>");
        b = Find(parser.GetRootNode(), L"b");
    }
    EXPECT_EQ(Xml(b), L"<b k=\"v\">t</b>");
    EXPECT_EQ(Name(b.GetParentNode().GetParentNode()), L"#document");
    EXPECT_TRUE(b.AddNode(L"more").IsNode());

    XMLNode moved;
    std::optional<XMLParser> target(std::in_place, L"<target/>");
    {
        XMLParser source(
            L"<src xmlns:p='urn:p'><p:item xml:lang='en' p:k='v'><sub/></p:item></src>");
        moved = Find(source.GetRootNode(), L"*");
        XMLNode sub = Find(moved, L"sub");
        EXPECT_TRUE(target->GetRootNode().AppendChild(moved).IsNode());
        EXPECT_EQ(Xml(source), L"<src xmlns:p=\"urn:p\"/>\n");
        EXPECT_TRUE(sub.GetParentNode().IsSameNode(moved));
    }
    const WideString item = L"<p:item xmlns:p=\"urn:p\" xml:lang=\"en\" p:k=\"v\"><sub/></p:item>";
    EXPECT_EQ(Xml(*target), L"<target>" + item + L"</target>\n");
    target.reset();
    EXPECT_EQ(Name(Find(moved, L"@xml:lang")), L"xml:lang");
    XMLNodeArray prefixed;
    EXPECT_TRUE(moved.SelectChildNodes(
        L"self::*[namespace-uri()='urn:p']/@*[namespace-uri()='urn:p']", prefixed));
    EXPECT_EQ(xmltest::Names(prefixed), L"p:k");
    XMLParser back(L"<back/>");
    EXPECT_TRUE(back.GetRootNode().AppendChild(moved.GetParentNode()).IsNode());
    EXPECT_EQ(Xml(back), L"<back><target>" + item + L"</target></back>\n");
}

// A parsed document keeps names and short texts once, for the whole document; a copied one keeps
// its own copies. A subtree that moves takes its strings along, whatever the target keeps and
// whichever document goes first.
TEST(XmlHandles, MovedSubtreesKeepTheirNamesAndTextsAfterTheirSourceGoes) {
    const WideString subtree =
        L"<s a=\"1\" bb=\"xyz\"><e>ab</e><?pi d?><!--c--><![CDATA[x]]><f>a longer text</f></s>";
    // The root element of a parsed document, or of a deep copy of one.
    auto root = [](const WideString& xml, bool parsed) {
        XMLParser parser(xml.c_str());
        XMLNode top = parser.GetRootNode();
        return parsed ? top : Find(top.GetParentNode().CloneNode(true), L"*");
    };
    struct Case {
        const char* label;
        bool sourceParsed;
        bool targetParsed;
        bool targetFirst; // the target goes before the moved subtree's handle
    };
    const Case cases[] = {
        {"parsed into parsed", true, true, false},
        {"parsed into parsed, target goes first", true, true, true},
        {"parsed into copied", true, false, false},
        {"copied into parsed", false, true, false},
        {"copied into parsed, target goes first", false, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        std::optional<XMLNode> target(root(L"<t><k>ab</k></t>", c.targetParsed));
        XMLNode s = Find(root(L"<src>" + subtree + L"</src>", c.sourceParsed), L"s");
        ASSERT_TRUE(target->AppendChild(s).IsNode()); // the source's last handle goes here
        EXPECT_EQ(Xml(s), subtree);
        // Replacing a kept text frees it the way its new document keeps it.
        XMLNode text = Find(s, L"e/text()");
        XMLNode attr = Find(s, L"@a");
        if (c.targetFirst) {
            target.reset();
        }
        EXPECT_TRUE(text.SetNodeValue(L"cd"));
        EXPECT_TRUE(attr.SetNodeValue(L"2"));
        const WideString edited =
            L"<s a=\"2\" bb=\"xyz\"><e>cd</e><?pi d?><!--c--><![CDATA[x]]><f>a longer text</f></s>";
        EXPECT_EQ(Xml(s), edited);
        // And on into a document of the other kind, the former holders all gone.
        XMLNode next = root(L"<n/>", !c.targetParsed);
        ASSERT_TRUE(next.AppendChild(s).IsNode());
        s = text = attr = XMLNode();
        target.reset();
        EXPECT_EQ(Xml(next), L"<n>" + edited + L"</n>");
    }
}

// A handle anywhere in a detached subtree keeps all of it, through SetXml of its former document
// and the loss of the other handles, until it is put back; handles on the replaced tree keep it.
TEST(XmlHandles, ADetachedNodeIsNotLostWhileItsDocumentChanges) {
    XMLParser parser(L"<r><a k='1'><b><c/></b>t</a><other/></r>");
    XMLNode c = Find(parser.GetRootNode(), L"a/b/c");
    XMLNode attr = Find(parser.GetRootNode(), L"a/@k");
    ASSERT_TRUE(Find(parser.GetRootNode(), L"a").RemoveThisNode(false));
    EXPECT_EQ(Xml(parser), L"<r><other/></r>\n");
    XMLNode oldRoot = parser.GetRootNode();
    EXPECT_TRUE(parser.SetXml(L"<new/>"));
    EXPECT_EQ(Xml(oldRoot), L"<r><other/></r>") << "a handle from before SetXml keeps the old tree";
    EXPECT_FALSE(oldRoot.GetParentNode().IsNode());
    EXPECT_TRUE(parser.SetXml(L"<newer><x/><y/></newer>"));
    XMLNode a = c.GetParentNode().GetParentNode();
    EXPECT_EQ(Xml(a), L"<a k=\"1\"><b><c/></b>t</a>");
    EXPECT_TRUE(parser.GetRootNode().InsertChild(a, 1).IsNode());
    EXPECT_EQ(Xml(parser), L"<newer><x/><a k=\"1\"><b><c/></b>t</a><y/></newer>\n");

    // c leaves its subtree, which then goes with its last handle.
    XMLNode b = c.GetParentNode();
    ASSERT_TRUE(b.RemoveThisNode(false));
    ASSERT_TRUE(c.RemoveThisNode(false));
    b = XMLNode();
    EXPECT_EQ(Xml(c), L"<c/>");
    WideString value;
    EXPECT_TRUE(attr.GetNodeValue(value));
    EXPECT_EQ(value, L"1");
}

// Attribute and text nodes replaced by edits keep their values in the handles that hold them.
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
    for (const auto& [node, expected] : {std::pair{a, L"1"}, {bText, L"2"}, {text, L"old"}}) {
        EXPECT_TRUE(node.GetNodeValue(value));
        EXPECT_EQ(value, expected);
    }
    EXPECT_EQ(Xml(parser), L"<r b=\"3\">new</r>\n");
}

// Prefixed nodes whose declaration goes with the old tree declare their prefix anew, and a
// written document keeps its namespaces.
TEST(XmlHandles, PrefixesSurviveTheLossOfTheirDeclaration) {
    XMLParser parser(L"<r xmlns:p='urn:p'><p:a p:x='1'><p:b/></p:a></r>");
    XMLNode b = Find(parser.GetRootNode(), L"*/*");
    XMLNode a = b.GetParentNode();
    ASSERT_TRUE(a.RemoveThisNode(false));
    ASSERT_TRUE(parser.SetXml(L"<other/>")) << "frees the old root and its declaration";
    EXPECT_EQ(Xml(a), L"<p:a xmlns:p=\"urn:p\" p:x=\"1\"><p:b/></p:a>");
    XMLNode copy = a.CloneNode(true);
    a = XMLNode();
    ASSERT_TRUE(b.RemoveThisNode(false));
    EXPECT_EQ(Xml(b), L"<p:b xmlns:p=\"urn:p\"/>");
    EXPECT_TRUE(parser.GetRootNode().AppendChild(copy).IsNode());
    XMLParser reparsed(Xml(parser).c_str());
    EXPECT_TRUE(
        Find(reparsed.GetRootNode(), L"*[namespace-uri()='urn:p']/@*[namespace-uri()='urn:p']")
            .IsNode());
}

// Reading, writing, selecting, copying, importing and moving trees 100000 levels deep don't
// recurse.
TEST(XmlHandles, VeryDeepTreesAreHandledWithoutRecursion) {
    const int depth = 100000;
    XMLParser parser(L"<root/>");
    XMLNode node = parser.GetRootNode();
    for (int i = 0; i < depth; ++i)
        node = node.AddNode(L"n");
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
    EXPECT_TRUE(XMLParser(L"<t/>").GetRootNode().ImportNode(copy, true).IsNode());
    XMLNode first;
    ASSERT_TRUE(parser.GetRootNode().GetFirstChildNode(first));
    EXPECT_TRUE(first.RemoveThisNode(false));
    EXPECT_TRUE(parser.GetRootNode().AppendChild(first).IsNode());
}

} // namespace
} // namespace torvex

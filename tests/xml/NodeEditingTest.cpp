// XMLNode, write side; every edit is checked on the serialised document.

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Find;
using xmltest::Name;
using xmltest::Xml;

TEST(XmlNodeEditing, AddNodeTakesTextAndAttributePairs) {
    struct Case {
        const wchar_t* text;
        const wchar_t* attr1;
        const wchar_t* value1;
        const wchar_t* attr2;
        const wchar_t* value2;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {nullptr, nullptr, nullptr, nullptr, nullptr, L"<r><n/></r>\n"},
        {L"", L"a", L"", nullptr, nullptr, L"<r><n a=\"\"/></r>\n"},
        {L"t<&>", L"a", L"\"1\"", L"b", L"2",
         L"<r><n a=\"&quot;1&quot;\" b=\"2\">t&lt;&amp;&gt;</n></r>\n"},
        {nullptr, nullptr, L"lost", L"b", nullptr, L"<r><n/></r>\n"},
        {nullptr, L"xml:lang", L"en-US", nullptr, nullptr, L"<r><n xml:lang=\"en-US\"/></r>\n"},
    };
    for (const Case& c : cases) {
        XMLParser parser(L"<r/>");
        XMLNode added =
            parser.GetRootNode().AddNode(L"n", c.text, c.attr1, c.value1, c.attr2, c.value2);
        EXPECT_EQ(Name(added), L"n");
        EXPECT_EQ(Xml(parser), c.expected);
    }
    XMLParser parser(L"<r/>");
    XMLNode r = parser.GetRootNode();
    EXPECT_EQ(r.AddNode(L"n", L"").GetChildCount(), 0) << "empty text adds no child";
    EXPECT_FALSE(r.AddNode(L"a/b").IsNode()) << "no valid element name";
    EXPECT_FALSE(r.AddNode(L"").IsNode());
    EXPECT_FALSE(r.AddNode(nullptr).IsNode());
    EXPECT_FALSE(r.AddNode(L"m", nullptr, L"x", L"1", L"bad name", L"2").IsNode());
    EXPECT_EQ(Xml(parser), L"<r><n/><m x=\"1\"/></r>\n") << "what was appended stays";
    XMLNode docNode = r.GetParentNode();
    EXPECT_FALSE(docNode.AddNode(L"x").IsNode()) << "the document node has no owner document";
}

TEST(XmlNodeEditing, AddNodeBeforeBuildsTheElementFirst) {
    XMLParser parser(L"<r><b/></r>");
    XMLNode b = Find(parser.GetRootNode(), L"b");
    XMLNode a = b.AddNodeBefore(L"a", L"t", L"k", L"v");
    EXPECT_EQ(Xml(parser), L"<r><a k=\"v\">t</a><b/></r>\n");
    EXPECT_FALSE(b.AddNodeBefore(L"c", nullptr, L"bad name", L"v").IsNode());
    EXPECT_EQ(Xml(parser), L"<r><a k=\"v\">t</a><b/></r>\n") << "the tree stays unchanged";
    EXPECT_FALSE(parser.GetRootNode().AddNodeBefore(L"x").IsNode()) << "no second root";
    EXPECT_FALSE(Find(a, L"@k").AddNodeBefore(L"x").IsNode()) << "an attribute has no parent";
}

TEST(XmlNodeEditing, GetOrAddNodeNeverBuildsAPath) {
    XMLParser parser(L"<r><a><b/></a></r>");
    XMLNode r = parser.GetRootNode();
    EXPECT_TRUE(r.GetOrAddNode(L"a/b").IsSameNode(Find(r, L"a/b")));
    EXPECT_FALSE(r.GetOrAddNode(L"a/c").IsNode());
    EXPECT_EQ(Xml(parser), L"<r><a><b/></a></r>\n");
    XMLNode c = r.GetOrAddNode(L"c");
    EXPECT_TRUE(r.GetOrAddNode(L"c").IsSameNode(c));
    EXPECT_EQ(Xml(parser), L"<r><a><b/></a><c/></r>\n");
}

TEST(XmlNodeEditing, SetPropertyWritesTextThatReadsBack) {
    XMLParser parser(L"<r keep='k' s='old'/>");
    XMLNode r = parser.GetRootNode();
    EXPECT_TRUE(r.SetProperty(L"i", 42));
    EXPECT_TRUE(r.SetProperty(L"l", -7L));
    EXPECT_TRUE(r.SetProperty(L"b", true));
    EXPECT_TRUE(r.SetProperty(L"d", 2.5));
    EXPECT_TRUE(r.SetProperty(L"big", 1e15));
    EXPECT_TRUE(r.SetStrBoolProperty(L"f", false));
    EXPECT_TRUE(r.SetProperty(L"s", WideString(L"new"))) << "replaced in place";
    EXPECT_FALSE(r.SetProperty(L"keep", nullptr));
    const wchar_t* nullText = nullptr;
    EXPECT_FALSE(r.SetProperty(L"keep", nullText));
    EXPECT_FALSE(r.SetProperty(L"bad name", L"x"));
    EXPECT_FALSE(r.SetProperty(L"xmlns:p", L"")) << "a prefix can't be undeclared";
    EXPECT_TRUE(r.SetProperty(L"xmlns:p", L"urn:p"));
    EXPECT_TRUE(r.SetProperty(L"p:x", L"1"));
    EXPECT_EQ(Xml(parser),
              L"<r xmlns:p=\"urn:p\" keep=\"k\" s=\"new\" i=\"42\" l=\"-7\" b=\"true\" "
              L"d=\"2.500000000000\" big=\"1000000000000000.000000000000\" f=\"false\" "
              L"p:x=\"1\"/>\n");
    double d = 0;
    EXPECT_TRUE(r.GetProperty(L"d", d));
    EXPECT_EQ(d, 2.5);
    bool b = false;
    EXPECT_TRUE(r.GetProperty(L"b", b));
    EXPECT_TRUE(b);
    XMLNodeArray prefixed;
    EXPECT_TRUE(r.SelectChildNodes(L"@*[namespace-uri()='urn:p']", prefixed));
    EXPECT_EQ(xmltest::Names(prefixed), L"p:x") << "the prefix binds to its declaration";
}

TEST(XmlNodeEditing, RemovePropertyAndTheTextOfNodes) {
    XMLParser parser(L"<r xmlns:p='urn:p' a='1' b='2'><t>x<i/>y</t><!--c--></r>");
    XMLNode r = parser.GetRootNode();
    EXPECT_TRUE(r.RemoveProperty(L"a"));
    EXPECT_TRUE(r.RemoveProperty(L"absent"));
    EXPECT_FALSE(r.RemoveProperty(L"xmlns:p")) << "a declaration stays";
    XMLNode t = Find(r, L"t");
    XMLNode textNode;
    ASSERT_TRUE(t.GetFirstChildNode(textNode));
    EXPECT_FALSE(textNode.RemoveProperty(L"a")) << "not an element";
    EXPECT_TRUE(textNode.SetNodeValue(L"X"));
    EXPECT_FALSE(t.SetNodeValue(L"v")) << "an element has no value";
    EXPECT_EQ(Xml(parser), L"<r xmlns:p=\"urn:p\" b=\"2\"><t>X<i/>y</t><!--c--></r>\n");
    EXPECT_TRUE(t.SetNodeText(WideString(L"plain")));
    EXPECT_EQ(t.GetChildCount(), 1);
    XMLNode comment = Find(r, L"comment()");
    EXPECT_TRUE(comment.SetNodeText(L" new "));
    EXPECT_FALSE(comment.SetNodeText(L"a--b"));
    EXPECT_TRUE(Find(r, L"@b").SetNodeText(L"3"));
    EXPECT_EQ(Xml(parser), L"<r xmlns:p=\"urn:p\" b=\"3\"><t>plain</t><!-- new --></r>\n");
    EXPECT_TRUE(t.SetNodeText(L""));
    EXPECT_EQ(Xml(t), L"<t/>");
    EXPECT_FALSE(r.GetParentNode().SetNodeText(L"x")) << "the document takes no text";
    EXPECT_EQ(textNode.GetParentNode().IsNode(), false) << "the replaced text node is detached";
}

TEST(XmlNodeEditing, RemovingNodes) {
    XMLParser parser(L"<r><a/><b/><b id='2'/></r>");
    XMLNode r = parser.GetRootNode();
    XMLNode a = Find(r, L"a");
    EXPECT_TRUE(a.RemoveThisNode(false));
    EXPECT_EQ(Name(a), L"a") << "the handle keeps the detached node";
    EXPECT_FALSE(a.RemoveThisNode(false)) << "it has no parent now";
    EXPECT_TRUE(r.RemoveChildNode(L"b"));
    EXPECT_EQ(Xml(parser), L"<r><b id=\"2\"/></r>\n") << "only the first match goes";
    EXPECT_TRUE(r.RemoveChildNode(L"missing"));
    XMLNode b = Find(r, L"b");
    EXPECT_TRUE(b.RemoveThisNode(true));
    EXPECT_FALSE(b.IsNode());
    EXPECT_EQ(Xml(parser), L"<r/>\n");
    EXPECT_TRUE(r.AppendChild(a).IsSameNode(a)) << "a detached node can be put back";
    EXPECT_EQ(Xml(parser), L"<r><a/></r>\n");
}

TEST(XmlNodeEditing, InsertChildCountsChildrenOfEveryKind) {
    struct Case {
        int idx;
        const wchar_t* expected;
    };
    for (const Case& c : {Case{0, L"<r><n/>t<a/><b/></r>\n"}, Case{1, L"<r>t<n/><a/><b/></r>\n"},
                          Case{3, L"<r>t<a/><b/><n/></r>\n"}, Case{99, L"<r>t<a/><b/><n/></r>\n"},
                          Case{-1, L"<r>t<a/><b/><n/></r>\n"}}) {
        XMLParser parser(L"<r>t<a/><b/></r>");
        XMLNode r = parser.GetRootNode();
        XMLNode n = r.AddNode(L"x").CloneNode(false);
        ASSERT_TRUE(Find(r, L"x").RemoveThisNode(true));
        XMLParser other(L"<n/>");
        XMLNode child = other.GetRootNode();
        XMLNode result = r.InsertChild(child, c.idx);
        EXPECT_TRUE(result.IsNode());
        EXPECT_TRUE(child.IsSameNode(result));
        EXPECT_EQ(Xml(parser), c.expected) << c.idx;
        EXPECT_EQ(Xml(other), L"") << "moved out of its document";
    }
    XMLParser parser(L"<r><a/><b/></r>");
    XMLNode r = parser.GetRootNode();
    XMLNode b = Find(r, L"b");
    EXPECT_TRUE(r.InsertChild(b, 0).IsSameNode(b)) << "moving within the parent";
    EXPECT_EQ(Xml(parser), L"<r><b/><a/></r>\n");
    XMLNode self = r;
    EXPECT_FALSE(b.InsertChild(self, 0).IsNode()) << "an ancestor can't go below itself";
    EXPECT_TRUE(self.IsSameNode(r));
}

TEST(XmlNodeEditing, ImportNodeCopiesByTheCopyRule) {
    XMLParser source(L"<s a='1' b='2'>text<e x='y'>inner</e><!--c-->tail<?pi d?></s>");
    XMLNode s = source.GetRootNode();
    struct Case {
        const wchar_t* what;
        bool deep;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {L".", false, L"<t><s a=\"1\" b=\"2\"/></t>\n"},
        {L".", true, L"<t><s a=\"1\" b=\"2\"><e x=\"y\">inner</e><pi>d</pi></s></t>\n"},
        {L"e", true, L"<t><e x=\"y\">inner</e></t>\n"},
        {L"e", false, L"<t><e x=\"y\"/></t>\n"},
        {L"text()", true, L"<t/>\n"},
        {L"comment()", true, L"<t/>\n"},
    };
    for (const Case& c : cases) {
        XMLParser target(L"<t/>");
        XMLNode imported = target.GetRootNode().ImportNode(Find(s, c.what), c.deep);
        EXPECT_EQ(imported.IsNode(), WideString(c.expected) != L"<t/>\n")
            << xmltest::Narrow(c.what);
        EXPECT_EQ(Xml(target), c.expected) << xmltest::Narrow(c.what);
    }
    EXPECT_EQ(Xml(source), L"<s a=\"1\" b=\"2\">text<e x=\"y\">inner</e><!--c-->tail<?pi d?></s>\n")
        << "the source stays untouched";
    XMLNode e = Find(s, L"e");
    EXPECT_TRUE(e.ImportNode(s, true).IsNode()) << "into its own subtree, from a copy";
    EXPECT_EQ(Xml(e), L"<e x=\"y\">inner<s a=\"1\" b=\"2\"><e x=\"y\">inner</e><pi>d</pi></s></e>");
    EXPECT_FALSE(s.GetParentNode().ImportNode(e, true).IsNode()) << "the document node";
}

TEST(XmlNodeEditing, CloneAndAppend) {
    XMLParser parser(L"<r xmlns:p='urn:p'><p:a k='v'>t<b/></p:a></r>");
    XMLNode r = parser.GetRootNode();
    XMLNode a = Find(r, L"*[local-name()='a']");
    XMLNode shallow = a.CloneNode(false);
    XMLNode deep = a.CloneNode(true);
    EXPECT_FALSE(deep.GetParentNode().IsNode()) << "a detached copy";
    EXPECT_EQ(Xml(shallow), L"<p:a xmlns:p=\"urn:p\" k=\"v\"/>") << "a copy declares its prefix";
    EXPECT_EQ(Xml(deep), L"<p:a xmlns:p=\"urn:p\" k=\"v\">t<b/></p:a>");
    EXPECT_TRUE(r.AppendChild(deep).IsSameNode(deep));
    EXPECT_TRUE(Find(r, L"*[2]/b").IsNode());
    EXPECT_FALSE(a.AppendChild(r).IsNode()) << "an ancestor into its descendant";
    EXPECT_FALSE(Find(a, L"text()").AppendChild(shallow).IsNode()) << "text has no children";
    EXPECT_FALSE(a.AppendChild(Find(a, L"@k")).IsNode()) << "an attribute is no child";
    EXPECT_EQ(Xml(parser), L"<r xmlns:p=\"urn:p\"><p:a k=\"v\">t<b/></p:a>"
                           L"<p:a xmlns:p=\"urn:p\" k=\"v\">t<b/></p:a></r>\n");

    XMLNode docCopy = r.GetParentNode().CloneNode(true);
    EXPECT_EQ(Name(docCopy), L"#document");
    EXPECT_EQ(Xml(docCopy), Xml(parser));
    Find(docCopy, L"r").AddNode(L"only-in-copy");
    EXPECT_EQ(Xml(parser).find(L"only-in-copy"), WideString::npos) << "a new document";
}

} // namespace
} // namespace torvex

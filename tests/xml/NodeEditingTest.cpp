// XMLNode, write side; every edit is checked on the serialised document.

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Find;
using xmltest::Name;
using xmltest::Xml;

// AddNode appends an element with its text and attribute pairs (a pair without a name is
// skipped); an invalid element or attribute name fails, leaving what was appended already.
TEST(XmlNodeEditing, AddNodeTakesTextAndAttributePairs) {
    using Case = std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*,
                            const wchar_t*, const wchar_t*>;
    const Case cases[] = {
        {nullptr, nullptr, nullptr, nullptr, nullptr, L"<r><n/></r>\n"},
        {L"", L"a", L"", nullptr, nullptr, L"<r><n a=\"\"/></r>\n"},
        {L"t<&>", L"a", L"\"1\"", L"b", L"2",
         L"<r><n a=\"&quot;1&quot;\" b=\"2\">t&lt;&amp;&gt;</n></r>\n"},
        {nullptr, nullptr, L"lost", L"b", nullptr, L"<r><n/></r>\n"},
        {nullptr, L"xml:lang", L"en-US", nullptr, nullptr, L"<r><n xml:lang=\"en-US\"/></r>\n"},
    };
    for (const auto& [text, attr1, value1, attr2, value2, expected] : cases) {
        XMLParser parser(L"<r/>");
        XMLNode added = parser.GetRootNode().AddNode(L"n", text, attr1, value1, attr2, value2);
        EXPECT_EQ(Name(added), L"n");
        EXPECT_EQ(Xml(parser), expected);
    }
    XMLParser parser(L"<r/>");
    XMLNode r = parser.GetRootNode();
    EXPECT_EQ(r.AddNode(L"n", L"").GetChildCount(), 0) << "empty text adds no child";
    for (const wchar_t* name : {L"a/b", L"", static_cast<const wchar_t*>(nullptr)})
        EXPECT_FALSE(r.AddNode(name).IsNode());
    EXPECT_FALSE(r.AddNode(L"m", nullptr, L"x", L"1", L"bad name", L"2").IsNode());
    EXPECT_EQ(Xml(parser), L"<r><n/><m x=\"1\"/></r>\n") << "what was appended stays";
    EXPECT_FALSE(r.GetParentNode().AddNode(L"x").IsNode()) << "the document node has no owner";

    // AddNodeBefore builds the element first and inserts it only when complete.
    XMLNode m = Find(r, L"m");
    XMLNode a = m.AddNodeBefore(L"a", L"t", L"k", L"v");
    EXPECT_FALSE(m.AddNodeBefore(L"c", nullptr, L"bad name", L"v").IsNode());
    EXPECT_EQ(Xml(parser), L"<r><n/><a k=\"v\">t</a><m x=\"1\"/></r>\n");
    EXPECT_FALSE(r.AddNodeBefore(L"x").IsNode()) << "no second root";
    EXPECT_FALSE(Find(a, L"@k").AddNodeBefore(L"x").IsNode()) << "an attribute has no parent";

    // GetOrAddNode finds a path but adds only a direct child.
    EXPECT_TRUE(r.GetOrAddNode(L"a/@k").IsSameNode(Find(r, L"a/@k")));
    EXPECT_FALSE(r.GetOrAddNode(L"a/c").IsNode());
    XMLNode c = r.GetOrAddNode(L"c");
    EXPECT_TRUE(r.GetOrAddNode(L"c").IsSameNode(c));
    EXPECT_EQ(Xml(parser), L"<r><n/><a k=\"v\">t</a><m x=\"1\"/><c/></r>\n");
}

// SetProperty writes each type's text in place or at the end; names that can't be written and
// a prefix undeclared fail; a prefix binds to its declaration.
TEST(XmlNodeEditing, SetPropertyWritesTextThatReadsBack) {
    XMLParser parser(L"<r keep='k' s='old'/>");
    XMLNode r = parser.GetRootNode();
    EXPECT_TRUE(r.SetProperty(L"i", 42));
    EXPECT_TRUE(r.SetProperty(L"l", -7L));
    EXPECT_TRUE(r.SetProperty(L"b", true));
    EXPECT_TRUE(r.SetProperty(L"d", 2.5));
    EXPECT_TRUE(r.SetProperty(L"big", 1e15));
    EXPECT_TRUE(r.SetStrBoolProperty(L"f", false));
    EXPECT_TRUE(r.SetProperty(L"s", WideString(L"new")));
    EXPECT_FALSE(r.SetProperty(L"keep", nullptr));
    EXPECT_FALSE(r.SetProperty(L"keep", static_cast<const wchar_t*>(nullptr)));
    EXPECT_FALSE(r.SetProperty(L"bad name", L"x"));
    EXPECT_FALSE(r.SetProperty(L"xmlns:p", L"")) << "a prefix can't be undeclared";
    EXPECT_TRUE(r.SetProperty(L"xmlns:p", L"urn:p"));
    EXPECT_TRUE(r.SetProperty(L"p:x", L"1"));
    EXPECT_EQ(Xml(parser),
              L"<r xmlns:p=\"urn:p\" keep=\"k\" s=\"new\" i=\"42\" l=\"-7\" b=\"true\" "
              L"d=\"2.500000000000\" big=\"1000000000000000.000000000000\" f=\"false\" "
              L"p:x=\"1\"/>\n");
    bool b = false;
    EXPECT_TRUE(r.GetProperty(L"b", b));
    EXPECT_TRUE(b);
    XMLNodeArray prefixed;
    EXPECT_TRUE(r.SelectChildNodes(L"@*[namespace-uri()='urn:p']", prefixed));
    EXPECT_EQ(xmltest::Names(prefixed), L"p:x");
}

// RemoveProperty keeps declarations; SetNodeValue takes non-elements only; SetNodeText replaces
// an element's children (detaching them), a comment's or an attribute's text.
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
    XMLNode comment = Find(r, L"comment()");
    EXPECT_TRUE(comment.SetNodeText(L" new "));
    EXPECT_FALSE(comment.SetNodeText(L"a--b"));
    EXPECT_TRUE(Find(r, L"@b").SetNodeText(L"3"));
    EXPECT_EQ(Xml(parser), L"<r xmlns:p=\"urn:p\" b=\"3\"><t>plain</t><!-- new --></r>\n");
    EXPECT_TRUE(t.SetNodeText(L""));
    EXPECT_EQ(Xml(t), L"<t/>");
    EXPECT_FALSE(r.GetParentNode().SetNodeText(L"x")) << "the document takes no text";
    EXPECT_FALSE(textNode.GetParentNode().IsNode()) << "the replaced text node is detached";
}

// Removed nodes stay with their handle (unless it is cleared) and can be put back; removing by
// name takes the first match only.
TEST(XmlNodeEditing, RemovingNodes) {
    XMLParser parser(L"<r><a/><b/><b id='2'/></r>");
    XMLNode r = parser.GetRootNode();
    XMLNode a = Find(r, L"a");
    EXPECT_TRUE(a.RemoveThisNode(false));
    EXPECT_FALSE(a.RemoveThisNode(false)) << "it has no parent now";
    EXPECT_TRUE(r.RemoveChildNode(L"b"));
    EXPECT_EQ(Xml(parser), L"<r><b id=\"2\"/></r>\n");
    EXPECT_TRUE(r.RemoveChildNode(L"missing"));
    XMLNode b = Find(r, L"b");
    EXPECT_TRUE(b.RemoveThisNode(true));
    EXPECT_FALSE(b.IsNode());
    EXPECT_TRUE(r.AppendChild(a).IsSameNode(a));
    EXPECT_EQ(Xml(parser), L"<r><a/></r>\n");
}

// InsertChild counts children of every kind; an index out of range appends; a node from
// another document moves; an ancestor can't go below itself.
TEST(XmlNodeEditing, InsertChildCountsChildrenOfEveryKind) {
    for (const auto& [idx, expected] : {std::pair{0, L"<r><n/>t<a/><b/></r>\n"},
                                        {1, L"<r>t<n/><a/><b/></r>\n"},
                                        {3, L"<r>t<a/><b/><n/></r>\n"},
                                        {99, L"<r>t<a/><b/><n/></r>\n"},
                                        {-1, L"<r>t<a/><b/><n/></r>\n"}}) {
        XMLParser parser(L"<r>t<a/><b/></r>");
        XMLParser other(L"<n/>");
        XMLNode child = other.GetRootNode();
        EXPECT_TRUE(parser.GetRootNode().InsertChild(child, idx).IsSameNode(child));
        EXPECT_EQ(Xml(parser), expected) << idx;
        EXPECT_EQ(Xml(other), L"") << "moved out of its document";
    }
    XMLParser parser(L"<r><a/><b/></r>");
    XMLNode r = parser.GetRootNode();
    XMLNode b = Find(r, L"b");
    EXPECT_TRUE(r.InsertChild(b, 0).IsSameNode(b));
    EXPECT_EQ(Xml(parser), L"<r><b/><a/></r>\n");
    XMLNode self = r;
    EXPECT_FALSE(b.InsertChild(self, 0).IsNode());
    EXPECT_TRUE(self.IsSameNode(r));
}

// ImportNode copies elements (deep: with element children and processing instructions as
// elements), not text or comments; the source stays; the document node imports nothing.
TEST(XmlNodeEditing, ImportNodeCopiesByTheCopyRule) {
    XMLParser source(L"<s a='1' b='2'>text<e x='y'>inner</e><!--c-->tail<?pi d?></s>");
    XMLNode s = source.GetRootNode();
    const WideString before = Xml(source);
    using Case = std::tuple<const wchar_t*, bool, const wchar_t*>;
    const Case cases[] = {
        {L".", false, L"<t><s a=\"1\" b=\"2\"/></t>\n"},
        {L".", true, L"<t><s a=\"1\" b=\"2\"><e x=\"y\">inner</e><pi>d</pi></s></t>\n"},
        {L"e", true, L"<t><e x=\"y\">inner</e></t>\n"},
        {L"e", false, L"<t><e x=\"y\"/></t>\n"},
        {L"text()", true, L"<t/>\n"},
        {L"comment()", true, L"<t/>\n"},
    };
    for (const auto& [what, deep, expected] : cases) {
        XMLParser target(L"<t/>");
        XMLNode imported = target.GetRootNode().ImportNode(Find(s, what), deep);
        EXPECT_EQ(imported.IsNode(), WideString(expected) != L"<t/>\n") << what;
        EXPECT_EQ(Xml(target), expected) << xmltest::Narrow(what);
    }
    EXPECT_EQ(Xml(source), before);
    XMLNode e = Find(s, L"e");
    EXPECT_TRUE(e.ImportNode(s, true).IsNode()) << "into its own subtree, from a copy";
    EXPECT_EQ(Xml(e), L"<e x=\"y\">inner<s a=\"1\" b=\"2\"><e x=\"y\">inner</e><pi>d</pi></s></e>");
    EXPECT_FALSE(s.GetParentNode().ImportNode(e, true).IsNode());
}

// Clones are detached and declare their prefix; AppendChild refuses ancestors, children of text
// and attributes; a clone of the document node is a new document.
TEST(XmlNodeEditing, CloneAndAppend) {
    XMLParser parser(L"<r xmlns:p='urn:p'><p:a k='v'>t<b/></p:a></r>");
    XMLNode r = parser.GetRootNode();
    XMLNode a = Find(r, L"*[local-name()='a']");
    XMLNode shallow = a.CloneNode(false);
    XMLNode deep = a.CloneNode(true);
    EXPECT_FALSE(deep.GetParentNode().IsNode());
    EXPECT_EQ(Xml(shallow), L"<p:a xmlns:p=\"urn:p\" k=\"v\"/>");
    EXPECT_EQ(Xml(deep), L"<p:a xmlns:p=\"urn:p\" k=\"v\">t<b/></p:a>");
    EXPECT_TRUE(r.AppendChild(deep).IsSameNode(deep));
    EXPECT_FALSE(a.AppendChild(r).IsNode());
    EXPECT_FALSE(Find(a, L"text()").AppendChild(shallow).IsNode());
    EXPECT_FALSE(a.AppendChild(Find(a, L"@k")).IsNode());
    EXPECT_EQ(Xml(parser), L"<r xmlns:p=\"urn:p\"><p:a k=\"v\">t<b/></p:a>"
                           L"<p:a xmlns:p=\"urn:p\" k=\"v\">t<b/></p:a></r>\n");

    XMLNode docCopy = r.GetParentNode().CloneNode(true);
    EXPECT_EQ(Name(docCopy), L"#document");
    Find(docCopy, L"r").AddNode(L"only-in-copy");
    EXPECT_EQ(Xml(parser).find(L"only-in-copy"), WideString::npos);
}

} // namespace
} // namespace torvex

// XMLNode, read side: empty handles, attribute conversions, navigation.

#include <clocale>
#include <cwchar>
#include <functional>
#include <map>

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Name;

TEST(XmlNodeReading, AnEmptyHandleAnswersNothingAndNeverRaises) {
    XMLNode empty;
    WideString text = L"keep";
    WideStringList list{L"x"};
    XMLNodeArray array;
    array.Add(empty);
    XMLNode out = XMLParser(L"<a/>").GetRootNode();
    int i = 5;
    short s = 5;
    long l = 5;
    double d = 5.0;
    bool b = true;
    const std::pair<const char*, std::function<bool()>> calls[] = {
        {"GetNodeName", [&] { return empty.GetNodeName(text); }},
        {"GetNodeText", [&] { return empty.GetNodeText(text); }},
        {"GetNodeValue", [&] { return empty.GetNodeValue(text); }},
        {"GetChildNode", [&] { return empty.GetChildNode(L"a", out); }},
        {"GetFirstChildNode", [&] { return empty.GetFirstChildNode(out); }},
        {"GetLastChildNode", [&] { return empty.GetLastChildNode(out); }},
        {"GetNextSibling", [&] { return empty.GetNextSibling(out); }},
        {"GetChildNodeByIdx", [&] { return empty.GetChildNodeByIdx(0, out); }},
        {"GetProperty(int)", [&] { return empty.GetProperty(L"a", i); }},
        {"GetProperty(short)", [&] { return empty.GetProperty(L"a", s); }},
        {"GetProperty(long)", [&] { return empty.GetProperty(L"a", l); }},
        {"GetProperty(double)", [&] { return empty.GetProperty(L"a", d); }},
        {"GetProperty(bool)", [&] { return empty.GetProperty(L"a", b); }},
        {"GetStrBoolProperty", [&] { return empty.GetStrBoolProperty(L"a", b); }},
        {"SetProperty", [&] { return empty.SetProperty(L"a", L"b"); }},
        {"RemoveProperty", [&] { return empty.RemoveProperty(L"a"); }},
        {"SetNodeText", [&] { return empty.SetNodeText(WideString(L"t")); }},
        {"SetNodeValue", [&] { return empty.SetNodeValue(L"t"); }},
        {"RemoveThisNode", [&] { return empty.RemoveThisNode(false); }},
        {"RemoveChildNode", [&] { return empty.RemoveChildNode(L"a"); }},
    };
    for (const auto& [label, call] : calls) {
        EXPECT_FALSE(call()) << label;
    }
    EXPECT_EQ(text, L"keep");
    EXPECT_EQ(Name(out), L"a") << "outputs stay untouched";
    EXPECT_FALSE(empty.GetXml(text));
    EXPECT_EQ(text, L"") << "GetXml empties its output first";
    EXPECT_FALSE(empty.GetChildNames(list));
    EXPECT_TRUE(list.empty());
    EXPECT_FALSE(empty.GetChildNodes(L"a", array));
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(empty.GetChildCount(), 0);
    EXPECT_EQ(empty.GetNodeType(), XMLNode::NodeNone);
    EXPECT_TRUE(empty.GetChildNodes().IsEmpty());
    const XMLNode results[] = {empty.GetParentNode(),      empty.AddNode(L"a"),
                               empty.CloneNode(true),      empty.GetOrAddNode(L"a"),
                               empty.AppendChild(out),     empty.AddNodeBefore(L"a"),
                               empty.ImportNode(out, true)};
    for (const XMLNode& result : results) {
        EXPECT_FALSE(result.IsNode());
    }
    EXPECT_TRUE(empty.IsSameNode(XMLNode()));
    EXPECT_FALSE(empty.IsSameNode(out));
}

TEST(XmlNodeReading, TypedAttributeReads) {
    XMLParser parser(LR"(<a s="" i1="42" i2=" -7 " i3="abc" i4="2147483648" i5="1.5" i6=""
        h1="32767" h2="32768" d1="1,5" d2="abc" d3="2.500000000000" d4="-1e3"
        b1="1" b2="0" b3="TRUE" b4="False" b5="yes" b6="2.5" b7="0.0" b8=" true "/>)");
    XMLNode a = parser.GetRootNode();
    WideString text = L"old";
    EXPECT_FALSE(a.GetProperty(L"absent", text));
    EXPECT_EQ(text, L"");
    EXPECT_TRUE(a.GetProperty(L"s", text));
    EXPECT_EQ(text, L"");

    struct IntCase {
        const wchar_t* name;
        bool ok;
        int value;
    };
    for (const IntCase& c : std::initializer_list<IntCase>{{L"i1", true, 42},
                                                           {L"i2", true, -7},
                                                           {L"i3", false, 0},
                                                           {L"i4", false, 0},
                                                           {L"i5", false, 0},
                                                           {L"i6", false, 0},
                                                           {L"absent", false, 0}}) {
        int value = 99;
        EXPECT_EQ(a.GetProperty(c.name, value), c.ok) << xmltest::Narrow(c.name);
        EXPECT_EQ(value, c.value) << xmltest::Narrow(c.name);
    }
    short h = 9;
    EXPECT_TRUE(a.GetProperty(L"h1", h));
    EXPECT_EQ(h, 32767);
    EXPECT_FALSE(a.GetProperty(L"h2", h)) << "out of range counts as not converting";
    EXPECT_EQ(h, 0);

    long l = 77;
    EXPECT_FALSE(a.GetProperty(L"absent", l));
    EXPECT_EQ(l, 77);
    EXPECT_TRUE(a.GetProperty(L"i2", l));
    EXPECT_EQ(l, -7);
    struct Raising {
        const wchar_t* name;
        int32_t code;
    };
    for (const Raising& c :
         {Raising{L"i3", XmlStatus::TypeMismatch}, Raising{L"i4", XmlStatus::Overflow}}) {
        try {
            a.GetProperty(c.name, l);
            ADD_FAILURE() << "the long form lets the failure through";
        } catch (const ComError& e) {
            EXPECT_EQ(e.Code(), c.code);
        }
    }

    struct DoubleCase {
        const wchar_t* name;
        double value;
    };
    for (const DoubleCase& c : {DoubleCase{L"d1", 1.0}, DoubleCase{L"d2", 0.0},
                                DoubleCase{L"d3", 2.5}, DoubleCase{L"d4", -1000.0}}) {
        double value = 9.0;
        EXPECT_TRUE(a.GetProperty(c.name, value)) << xmltest::Narrow(c.name);
        EXPECT_EQ(value, c.value) << xmltest::Narrow(c.name);
    }

    struct BoolCase {
        const wchar_t* name;
        bool value;
    };
    for (const BoolCase& c : {BoolCase{L"b1", true}, BoolCase{L"b2", false}, BoolCase{L"b3", true},
                              BoolCase{L"b4", false}, BoolCase{L"b5", false}, BoolCase{L"b6", true},
                              BoolCase{L"b7", false}, BoolCase{L"b8", true}}) {
        bool value = !c.value;
        EXPECT_TRUE(a.GetProperty(c.name, value)) << xmltest::Narrow(c.name);
        EXPECT_EQ(value, c.value) << xmltest::Narrow(c.name);
    }
    bool flag = true;
    EXPECT_FALSE(a.GetProperty(L"absent", flag));
    EXPECT_FALSE(flag) << "reset before the read";

    struct StrBoolCase {
        const wchar_t* name;
        bool value;
    };
    for (const StrBoolCase& c : {StrBoolCase{L"b3", true}, StrBoolCase{L"b1", false},
                                 StrBoolCase{L"b8", false}, StrBoolCase{L"b4", false}}) {
        bool value = !c.value;
        EXPECT_TRUE(a.GetStrBoolProperty(c.name, value)) << xmltest::Narrow(c.name);
        EXPECT_EQ(value, c.value) << xmltest::Narrow(c.name);
    }
    flag = true;
    EXPECT_FALSE(a.GetStrBoolProperty(L"absent", flag));
    EXPECT_TRUE(flag) << "left at its old value";
}

TEST(XmlNodeReading, NumbersDoNotDependOnTheProcessLocale) {
    const char* former = std::setlocale(LC_ALL, nullptr);
    std::string saved = former != nullptr ? former : "C";
    if (std::setlocale(LC_ALL, "de_DE.utf8") == nullptr) {
        GTEST_SKIP() << "no German locale installed";
    }
    XMLParser parser(L"<a d=\"1.25\"/>");
    XMLNode a = parser.GetRootNode();
    double value = 0;
    EXPECT_TRUE(a.GetProperty(L"d", value));
    EXPECT_EQ(value, 1.25);
    EXPECT_TRUE(a.SetProperty(L"w", 2.5));
    EXPECT_EQ(xmltest::Xml(a), L"<a d=\"1.25\" w=\"2.500000000000\"/>");
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "de_DE.utf8") << "the locale stays as set";
    std::setlocale(LC_ALL, saved.c_str());
}

TEST(XmlNodeReading, NavigationOverChildrenOfEveryKind) {
    XMLParser parser(
        L"<r a='1' xmlns:p='urn:p' b='2'><category/>text<!--c--><x>in<y/>side</x><leaf/></r>");
    XMLNode r = parser.GetRootNode();
    EXPECT_EQ(r.GetChildCount(), 5);
    WideStringList names;
    EXPECT_TRUE(r.GetChildNames(names));
    EXPECT_EQ(names, (WideStringList{L"category", L"#text", L"#comment", L"x", L"leaf"}));
    EXPECT_TRUE(r.GetProperties(names));
    EXPECT_EQ(names, (WideStringList{L"xmlns:p", L"a", L"b"}));
    XMLNodeArray nodes;
    EXPECT_TRUE(r.GetChildNodes(L"Category", nodes)) << "exact, case-sensitive, true anyway";
    EXPECT_TRUE(nodes.IsEmpty());
    EXPECT_TRUE(r.GetChildNodes(L"category", nodes));
    EXPECT_EQ(nodes.GetSize(), 1);
    EXPECT_TRUE(r.GetChildNodes(nodes));
    EXPECT_EQ(xmltest::Names(nodes), L"category,#text,#comment,x,leaf");
    EXPECT_EQ(xmltest::Names(r.GetChildNodes()), L"category,#text,#comment,x,leaf");

    XMLNode leaf = xmltest::Find(r, L"leaf");
    XMLNode out = r;
    EXPECT_TRUE(leaf.GetFirstChildNode(out)) << "a childless node answers true";
    EXPECT_FALSE(out.IsNode());
    out = r;
    EXPECT_FALSE(leaf.GetLastChildNode(out)) << "but has no last child";
    EXPECT_TRUE(out.IsSameNode(r));
    EXPECT_FALSE(leaf.GetNextSibling(out));
    EXPECT_FALSE(out.IsNode());

    struct IndexCase {
        int idx;
        const wchar_t* name;
    };
    for (const IndexCase& c :
         {IndexCase{0, L"category"}, IndexCase{1, L"#text"}, IndexCase{4, L"leaf"},
          IndexCase{5, nullptr}, IndexCase{-1, nullptr}}) {
        XMLNode child = r;
        EXPECT_EQ(r.GetChildNodeByIdx(c.idx, child), c.name != nullptr) << c.idx;
        EXPECT_EQ(Name(child), c.name != nullptr ? c.name : L"r") << c.idx;
    }

    XMLNode x = xmltest::Find(r, L"x");
    WideString text;
    EXPECT_TRUE(x.GetNodeText(text));
    EXPECT_EQ(text, L"inside");
    EXPECT_FALSE(x.GetNodeValue(text)) << "an element has no value";
    EXPECT_FALSE(x.GetNodeValueOrEmpty(text));
    EXPECT_EQ(text, L"");
    XMLNode textNode;
    ASSERT_TRUE(x.GetFirstChildNode(textNode));
    EXPECT_EQ(textNode.GetNodeType(), XMLNode::NodeText);
    EXPECT_TRUE(textNode.GetNodeValue(text));
    EXPECT_EQ(text, L"in");
    EXPECT_EQ(xmltest::Find(r, L"category").GetChildCount(), 0);
    EXPECT_EQ(x.GetChildCount(), 3) << "text children count";
    EXPECT_EQ(xmltest::Xml(x), L"<x>in<y/>side</x>");

    XMLNode attr = xmltest::Find(r, L"@b");
    EXPECT_EQ(attr.GetNodeType(), XMLNode::NodeAttribute);
    EXPECT_TRUE(attr.GetNodeValue(text));
    EXPECT_EQ(text, L"2");
    EXPECT_EQ(xmltest::Xml(attr), L"b=\"2\"");
    EXPECT_FALSE(attr.GetParentNode().IsNode()) << "an attribute has no parent";
    EXPECT_EQ(attr.GetChildCount(), 1);

    XMLNode docNode = r.GetParentNode();
    EXPECT_EQ(Name(docNode), L"#document");
    EXPECT_EQ(docNode.GetNodeType(), XMLNode::NodeDocument);
    EXPECT_FALSE(docNode.GetParentNode().IsNode());
    EXPECT_FALSE(docNode.GetProperties(names)) << "the document has no attribute map";
}

// FindChildElement answers what the path name[@attribute="value"] selects among the children.
TEST(XmlNodeReading, FindChildElementAgreesWithThePath) {
    XMLParser parser(
        LR"(<Row xmlns:p="urn:p"><Cell ColumnId="a">1</Cell><!-- c -->)"
        LR"(<Other ColumnId="b">x</Other><Cell ColumnId="B">2</Cell>)"
        LR"(<Cell ColumnId="b">3</Cell><Cell ColumnId="b">4</Cell>)"
        LR"(<p:Cell ColumnId="c">5</p:Cell><Cell p:ColumnId="d">6</Cell>)"
        LR"(<Cell ColumnId="&lt;e&amp;&gt;">7</Cell><Cell ColumnId="">8</Cell></Row>)");
    const XMLNode row = parser.GetRootNode();
    struct Case {
        const wchar_t* name;
        const wchar_t* attribute;
        const wchar_t* value;
        const wchar_t* path;
    } cases[] = {
        {L"Cell", L"ColumnId", L"a", LR"(Cell[@ColumnId="a"])"},
        {L"Cell", L"ColumnId", L"b", LR"(Cell[@ColumnId="b"])"},
        {L"Cell", L"ColumnId", L"B", LR"(Cell[@ColumnId="B"])"},
        {L"Cell", L"ColumnId", L"c", LR"(Cell[@ColumnId="c"])"},
        {L"p:Cell", L"ColumnId", L"c", LR"(p:Cell[@ColumnId="c"])"},
        {L"Cell", L"p:ColumnId", L"d", LR"(Cell[@p:ColumnId="d"])"},
        {L"Cell", L"ColumnId", L"<e&>", LR"(Cell[@ColumnId="<e&>"])"},
        {L"Cell", L"ColumnId", L"", LR"(Cell[@ColumnId=""])"},
        {L"Cell", L"ColumnId", L"z", LR"(Cell[@ColumnId="z"])"},
    };
    for (const Case& c : cases) {
        XMLNode found;
        XMLNode selected;
        const bool byWalk = row.FindChildElement(c.name, c.attribute, c.value, found);
        // The prefix p is not bound in XPath, so the prefixed cases have no path answer.
        const bool prefixed = std::wcschr(c.name, L':') || std::wcschr(c.attribute, L':');
        WideString text;
        if (!prefixed) {
            EXPECT_EQ(byWalk, row.GetChildNode(c.path, selected)) << c.path;
            EXPECT_TRUE(found.IsSameNode(selected)) << c.path;
        }
        if (byWalk)
            found.GetNodeText(text);
        const std::map<std::wstring, std::wstring> expected = {
            {L"a", L"1"}, {L"b", L"3"},    {L"B", L"2"}, {L"c", L"5"},
            {L"d", L"6"}, {L"<e&>", L"7"}, {L"", L"8"}};
        const bool expectFound =
            !(c.value == std::wstring(L"z")) &&
            !(std::wstring(c.name) == L"Cell" && c.value == std::wstring(L"c"));
        EXPECT_EQ(byWalk, expectFound) << c.path;
        if (expectFound) {
            EXPECT_EQ(text, expected.at(c.value)) << c.path;
        }
    }
    XMLNode untouched;
    EXPECT_FALSE(XMLNode().FindChildElement(L"Cell", L"ColumnId", L"a", untouched));
    EXPECT_FALSE(row.FindChildElement(L"Cell", nullptr, L"a", untouched));
    EXPECT_FALSE(untouched.IsNode());
}

TEST(XmlNodeReading, IdentityIsThatOfTheNode) {
    XMLParser parser(L"<r><c id='1'/><c id='2'/></r>");
    XMLNode first = xmltest::Find(parser.GetRootNode(), L"c[@id='1']");
    XMLNode again;
    ASSERT_TRUE(parser.GetRootNode().GetFirstChildNode(again));
    EXPECT_TRUE(first.IsSameNode(again));
    EXPECT_FALSE(first.IsSameNode(xmltest::Find(parser.GetRootNode(), L"c[@id='2']")));
    XMLNode copy = first;
    EXPECT_TRUE(copy.IsSameNode(first));
    copy.SetNode(XMLNode());
    EXPECT_FALSE(copy.IsNode());
    EXPECT_TRUE(first.GetNode().IsSameNode(first));
}

} // namespace
} // namespace torvex

// XMLNode, read side: empty handles, attribute conversions, navigation.

#include <algorithm>
#include <clocale>
#include <vector>

#include "platform/RequireLocale.h"
#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Find;
using xmltest::Name;
using xmltest::Narrow;
using xmltest::Xml;

// Every operation on an empty handle answers false, null or nothing, leaves outputs alone
// (GetXml and the lists empty theirs) and never raises.
TEST(XmlNodeReading, AnEmptyHandleAnswersNothingAndNeverRaises) {
    XMLNode empty;
    WideString text = L"keep";
    XMLNode out = XMLParser(L"<a/>").GetRootNode();
    int i = 5;
    short s = 5;
    long l = 5;
    double d = 5.0;
    bool b = true;
    // Bitwise or: every call runs.
    const bool anyAnswered =
        empty.GetNodeName(text) | empty.GetNodeText(text) | empty.GetNodeValue(text) |
        empty.GetChildNode(L"a", out) | empty.GetFirstChildNode(out) | empty.GetLastChildNode(out) |
        empty.GetNextSibling(out) | empty.GetChildNodeByIdx(0, out) | empty.GetProperty(L"a", i) |
        empty.GetProperty(L"a", s) | empty.GetProperty(L"a", l) | empty.GetProperty(L"a", d) |
        empty.GetProperty(L"a", b) | empty.GetStrBoolProperty(L"a", b) |
        empty.SetProperty(L"a", L"b") | empty.RemoveProperty(L"a") |
        empty.SetNodeText(WideString(L"t")) | empty.SetNodeValue(L"t") |
        empty.RemoveThisNode(false) | empty.RemoveChildNode(L"a");
    EXPECT_FALSE(anyAnswered);
    EXPECT_EQ(text, L"keep");
    EXPECT_EQ(Name(out), L"a") << "outputs stay untouched";
    EXPECT_FALSE(empty.GetXml(text));
    EXPECT_EQ(text, L"") << "GetXml empties its output first";
    WideStringList list{L"x"};
    EXPECT_FALSE(empty.GetChildNames(list));
    EXPECT_TRUE(list.empty());
    XMLNodeArray array;
    array.Add(empty);
    EXPECT_FALSE(empty.GetChildNodes(L"a", array));
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(empty.GetChildCount(), 0);
    EXPECT_EQ(empty.GetNodeType(), XMLNode::NodeNone);
    EXPECT_TRUE(empty.GetChildNodes().IsEmpty());
    for (const XMLNode& result : {empty.GetParentNode(), empty.AddNode(L"a"), empty.CloneNode(true),
                                  empty.GetOrAddNode(L"a"), empty.AppendChild(out),
                                  empty.AddNodeBefore(L"a"), empty.ImportNode(out, true)})
        EXPECT_FALSE(result.IsNode());
    EXPECT_TRUE(empty.IsSameNode(XMLNode()));
    EXPECT_FALSE(empty.IsSameNode(out));
}

template <typename T> std::pair<bool, T> Read(const XMLNode& node, const wchar_t* name, T value) {
    const bool found = node.GetProperty(name, value);
    return {found, value};
}

// Typed reads: what converts, what counts as not converting (and the output then), and the
// long form, which lets the conversion failure escape as ComError.
TEST(XmlNodeReading, TypedAttributeReads) {
    XMLParser parser(LR"(<a s="" i1="42" i2=" -7 " i3="abc" i4="2147483648" i5="1.5" i6=""
        h1="32767" h2="32768" d1="1,5" d2="abc" d3="2.500000000000" d4="-1e3"
        b1="1" b2="0" b3="TRUE" b4="False" b5="yes" b6="2.5" b7="0.0" b8=" true "/>)");
    const XMLNode a = parser.GetRootNode();
    EXPECT_EQ(Read(a, L"absent", WideString(L"old")), std::pair(false, WideString()));
    EXPECT_EQ(Read(a, L"s", WideString(L"old")), std::pair(true, WideString()));

    const std::pair<const wchar_t*, std::pair<bool, int>> ints[] = {
        {L"i1", {true, 42}}, {L"i2", {true, -7}}, {L"i3", {false, 0}},     {L"i4", {false, 0}},
        {L"i5", {false, 0}}, {L"i6", {false, 0}}, {L"absent", {false, 0}},
    };
    for (const auto& [name, expected] : ints)
        EXPECT_EQ(Read(a, name, 99), expected) << Narrow(name);
    EXPECT_EQ(Read(a, L"h1", short{9}), std::pair(true, short{32767}));
    EXPECT_EQ(Read(a, L"h2", short{9}), std::pair(false, short{0})) << "out of range";

    EXPECT_EQ(Read(a, L"absent", 77L), std::pair(false, 77L));
    EXPECT_EQ(Read(a, L"i2", 77L), std::pair(true, -7L));
    for (const auto& [name, code] :
         {std::pair{L"i3", XmlStatus::TypeMismatch}, {L"i4", XmlStatus::Overflow}}) {
        try {
            Read(a, name, 0L);
            ADD_FAILURE() << "the long form lets the failure through";
        } catch (const ComError& e) {
            EXPECT_EQ(e.Code(), code);
        }
    }

    const std::pair<const wchar_t*, double> doubles[] = {
        {L"d1", 1.0}, {L"d2", 0.0}, {L"d3", 2.5}, {L"d4", -1000.0}};
    for (const auto& [name, value] : doubles)
        EXPECT_EQ(Read(a, name, 9.0), std::pair(true, value)) << Narrow(name);

    // Numbers are true when not zero; other words need the variant rules.
    const std::pair<const wchar_t*, bool> bools[] = {{L"b1", true},  {L"b2", false}, {L"b3", true},
                                                     {L"b4", false}, {L"b5", false}, {L"b6", true},
                                                     {L"b7", false}, {L"b8", true}};
    for (const auto& [name, value] : bools)
        EXPECT_EQ(Read(a, name, !value), std::pair(true, value)) << Narrow(name);
    EXPECT_EQ(Read(a, L"absent", true), std::pair(false, false)) << "reset before the read";

    // The text form: exactly "TRUE" ignoring case is true; an absent attribute keeps the output.
    const std::pair<const wchar_t*, bool> strBools[] = {
        {L"b3", true}, {L"b1", false}, {L"b8", false}, {L"b4", false}};
    for (const auto& [name, value] : strBools) {
        bool out = !value;
        EXPECT_TRUE(a.GetStrBoolProperty(name, out)) << Narrow(name);
        EXPECT_EQ(out, value) << Narrow(name);
    }
    bool flag = true;
    EXPECT_FALSE(a.GetStrBoolProperty(L"absent", flag));
    EXPECT_TRUE(flag);
}

// Under a comma process locale doubles are read and written with a point, and the process
// locale is left as set.
TEST(XmlNodeReading, NumbersDoNotDependOnTheProcessLocale) {
    TORVEX_REQUIRE_LOCALE("de_DE.UTF-8");
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.utf8"), nullptr);
    XMLParser parser(L"<a d=\"1.25\"/>");
    XMLNode a = parser.GetRootNode();
    EXPECT_EQ(Read(a, L"d", 0.0), std::pair(true, 1.25));
    EXPECT_TRUE(a.SetProperty(L"w", 2.5));
    EXPECT_EQ(Xml(a), L"<a d=\"1.25\" w=\"2.500000000000\"/>");
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "de_DE.utf8");
    std::setlocale(LC_ALL, saved.c_str());
}

// Children of every kind count and are listed; names select elements exactly; a childless node
// answers true with an empty first child but false for the last; attributes have no parent.
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

    XMLNode leaf = Find(r, L"leaf");
    XMLNode out = r;
    EXPECT_TRUE(leaf.GetFirstChildNode(out));
    EXPECT_FALSE(out.IsNode());
    out = r;
    EXPECT_FALSE(leaf.GetLastChildNode(out));
    EXPECT_TRUE(out.IsSameNode(r));
    EXPECT_FALSE(leaf.GetNextSibling(out));
    EXPECT_FALSE(out.IsNode());
    for (const auto& [idx, name] : {std::pair{0, L"category"},
                                    {1, L"#text"},
                                    {4, L"leaf"},
                                    {5, static_cast<const wchar_t*>(nullptr)},
                                    {-1, nullptr}}) {
        XMLNode child = r;
        EXPECT_EQ(r.GetChildNodeByIdx(idx, child), name != nullptr) << idx;
        EXPECT_EQ(Name(child), name != nullptr ? name : L"r") << idx;
    }

    XMLNode x = Find(r, L"x");
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
    EXPECT_EQ(x.GetChildCount(), 3) << "text children count";

    XMLNode attr = Find(r, L"@b");
    EXPECT_EQ(attr.GetNodeType(), XMLNode::NodeAttribute);
    EXPECT_EQ(Xml(attr), L"b=\"2\"");
    EXPECT_FALSE(attr.GetParentNode().IsNode()) << "an attribute has no parent";
    EXPECT_EQ(attr.GetChildCount(), 1);
    XMLNode docNode = r.GetParentNode();
    EXPECT_EQ(docNode.GetNodeType(), XMLNode::NodeDocument);
    EXPECT_FALSE(docNode.GetParentNode().IsNode());
    EXPECT_FALSE(docNode.GetProperties(names)) << "the document has no attribute map";
}

// FindChildElement answers what the path name[@attribute="value"] selects among the children:
// the first match, by exact name and value, also for values no XPath literal could hold.
TEST(XmlNodeReading, FindChildElementAgreesWithThePath) {
    XMLParser parser(
        LR"(<Row xmlns:p="urn:p"><Cell ColumnId="a">1</Cell><!-- c -->)"
        LR"(<Other ColumnId="b">x</Other><Cell ColumnId="B">2</Cell>)"
        LR"(<Cell ColumnId="b">3</Cell><Cell ColumnId="b">4</Cell>)"
        LR"(<p:Cell ColumnId="c">5</p:Cell><Cell p:ColumnId="d">6</Cell>)"
        LR"(<Cell ColumnId="&lt;e&amp;&gt;">7</Cell><Cell ColumnId="">8</Cell>)"
        LR"(<Cell Other="q" ColumnId="r">9</Cell><Cell p:ColumnId="s" ColumnId="s">10</Cell>)"
        LR"(<Cell ColumnId="n">x<i>y</i><![CDATA[z]]></Cell><Cell ColumnId="m"/>)"
        LR"(</Row>)");
    const XMLNode row = parser.GetRootNode();
    // The collected children answer as the lookup does, each key by its first entry.
    std::vector<XMLNode::KeyedChild> collected(20, {L"stale", L"stale"});
    ASSERT_TRUE(row.CollectKeyedChildren(L"Cell", L"ColumnId", collected));
    struct Case {
        const wchar_t* name;
        const wchar_t* attribute;
        const wchar_t* value;
        const wchar_t* text; // null: not found
    };
    const Case cases[] = {
        {L"Cell", L"ColumnId", L"a", L"1"},    {L"Cell", L"ColumnId", L"b", L"3"},
        {L"Cell", L"ColumnId", L"B", L"2"},    {L"Cell", L"ColumnId", L"c", nullptr},
        {L"p:Cell", L"ColumnId", L"c", L"5"},  {L"Cell", L"p:ColumnId", L"d", L"6"},
        {L"Cell", L"ColumnId", L"<e&>", L"7"}, {L"Cell", L"ColumnId", L"", L"8"},
        {L"Cell", L"ColumnId", L"z", nullptr}, {L"Cell", L"ColumnId", L"q", nullptr},
        {L"Cell", L"ColumnId", L"r", L"9"},    {L"Cell", L"ColumnId", L"s", L"10"},
        {L"Cell", L"Other", L"r", nullptr},    {L"Cell", L"ColumnId", L"n", L"xyz"},
        {L"Cell", L"ColumnId", L"m", L""},
    };
    for (const Case& c : cases) {
        const std::wstring path =
            std::wstring(c.name) + L"[@" + c.attribute + L"=\"" + c.value + L"\"]";
        XMLNode found;
        ASSERT_EQ(row.FindChildElement(c.name, c.attribute, c.value, found), c.text != nullptr)
            << Narrow(path);
        WideString text;
        found.GetNodeText(text);
        EXPECT_EQ(text, c.text ? c.text : L"") << Narrow(path);
        if (path.find(L':') == std::wstring::npos && std::wstring(c.attribute) == L"ColumnId") {
            const auto first = std::find_if(
                collected.begin(), collected.end(),
                [&c](const XMLNode::KeyedChild& child) { return child.key == c.value; });
            EXPECT_EQ(first != collected.end(), c.text != nullptr) << Narrow(path);
            if (first != collected.end()) {
                EXPECT_EQ(first->text, text) << Narrow(path);
            }
        }
        // The prefix p is not bound in XPath, so the prefixed cases have no path answer.
        if (path.find(L':') == std::wstring::npos) {
            XMLNode selected;
            EXPECT_EQ(row.GetChildNode(path.c_str(), selected), c.text != nullptr) << Narrow(path);
            EXPECT_TRUE(found.IsSameNode(selected)) << Narrow(path);
        }
    }
    XMLNode untouched;
    EXPECT_FALSE(XMLNode().FindChildElement(L"Cell", L"ColumnId", L"a", untouched));
    EXPECT_FALSE(row.FindChildElement(L"Cell", nullptr, L"a", untouched));
    EXPECT_FALSE(untouched.IsNode());
    EXPECT_EQ(collected.size(), 10u) << "the Cells with an unprefixed ColumnId, and only those";
    EXPECT_FALSE(row.CollectKeyedChildren(L"p:Cell", L"ColumnId", collected));
    EXPECT_TRUE(collected.empty());
}

// A watched parse notes, in document order, every element of the name whose attribute of the
// name has the value ignoring case, also written with references or prefixes; the notes hold
// only while the document stands as parsed.
TEST(XmlNodeReading, AWatchedParseNotesItsElementsUntilTheDocumentChanges) {
    const XMLParser::ElementWatch watch{L"Cell", L"ColumnId", L"STATUS"};
    XMLParser parser;
    ASSERT_TRUE(parser.SetXml(
        LR"(<R xmlns:p="urn:p"><Row><Cell ColumnId="d">1</Cell><Cell ColumnId="status">2</Cell>)"
        LR"(<Cell ColumnId="STATU">3</Cell><Cell Other="STATUS">4</Cell></Row>)"
        LR"(<Row><p:Cell ColumnId="Status">5</p:Cell><Cell p:ColumnId="STATUS">6</Cell>)"
        LR"(<Cell ColumnId="&#83;TATUS">7</Cell><Cell ColumnId="S&amp;TATUS">8</Cell></Row>)"
        LR"(<Other ColumnId="STATUS">9</Other><Deep><Cell ColumnId="STATUS">10</Cell></Deep></R>)",
        watch));
    const XMLNode root = parser.GetRootNode();
    auto noted = [&root] {
        XMLNodeArray elements;
        std::wstring texts = root.GetWatchedElements(elements) ? L"" : L"none";
        for (const XMLNode& element : elements) {
            WideString text;
            element.GetNodeText(text);
            texts += text + L" ";
        }
        return texts;
    };
    EXPECT_EQ(noted(), L"2 5 6 7 8 10 ");
    EXPECT_EQ(noted(), L"2 5 6 7 8 10 ") << "reading keeps the notes";

    XMLNode first;
    ASSERT_TRUE(root.GetChildNode(L"Row", first));
    first.SetProperty(L"x", L"1");
    EXPECT_EQ(noted(), L"none") << "an edit ends them";
    ASSERT_TRUE(parser.SetXml(L"<R><Cell ColumnId=\"STATUS\">1</Cell></R>"));
    EXPECT_EQ(noted(), L"none") << "a parse without a watch notes nothing";
    EXPECT_FALSE(parser.SetXml(L"<R><Cell ColumnId=\"STATUS\">1</Cell>", watch));
    EXPECT_EQ(noted(), L"none") << "nor does a malformed text";
    XMLNodeArray none;
    EXPECT_FALSE(XMLNode().GetWatchedElements(none));
}

} // namespace
} // namespace torvex

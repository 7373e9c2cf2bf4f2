// XPath through GetChildNode and SelectChildNodes: every expression form the model uses.

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Names;

const wchar_t* const kDocument = LR"(<Root>
  <TableOfContents><Families><F id="f1"/></Families>
    <Categories><Category id="c1"><Category id="c2"/></Category></Categories></TableOfContents>
  <FamilyStrings id="fs"><File id="file1" Lang="en-US"/><File id="file2" Lang="DE-de"/></FamilyStrings>
  <Family>
    <FamilyTable id="t">
      <Rows id="rows">
        <Row id="r1" RowId="1" Rev="2"><Cell id="r1a" ColumnId="a">x</Cell><Cell id="r1d" ColumnId="d">y</Cell></Row>
        <Row id="r2" RowId="2" Rev="3"><Cell id="r2d" ColumnId="d">z</Cell></Row>
      </Rows>
    </FamilyTable>
    <MemberParametersMap>
      <ParamsToColumn><ParamToColumn id="p1" Param="Length" Col="L"/><ParamToColumn id="p2" Param="Width" Col="W"/></ParamsToColumn>
      <ColumnsToTemplate>
        <ColumnToTemplate id="ct1"><Template Name="TmplA"/></ColumnToTemplate>
        <ColumnToTemplate id="ct2"><Template Name="tmplb"/></ColumnToTemplate>
      </ColumnsToTemplate>
    </MemberParametersMap>
  </Family>
</Root>)";

#define UPPER L"'ABCDEFGHIJKLMNOPQRSTUVWXYZ'"
#define LOWER L"'abcdefghijklmnopqrstuvwxyz'"

// Every expression form the model builds selects the expected nodes in document order, through
// both SelectChildNodes and GetChildNode (the first match).
TEST(XmlXPath, EveryExpressionFormOfTheModelSelects) {
    XMLParser parser(kDocument);
    XMLNode root = parser.GetRootNode();
    struct Case {
        const wchar_t* context; // relative to the root; null: the root itself
        const wchar_t* expression;
        const wchar_t* expected; // ids (or names) of the matches in document order
    };
    const Case cases[] = {
        // Child steps relative to the context node.
        {nullptr, L"TableOfContents/Families", L"Families"},
        {L"Family", L"MemberParametersMap/ColumnsToTemplate/ColumnToTemplate", L"ct1,ct2"},
        {L"Family/FamilyTable", L"./Rows", L"rows"},
        // The absolute descendant form, also from deep inside.
        {nullptr, L"//Category", L"c1,c2"},
        {L"Family/FamilyTable/Rows/Row/Cell", L"//FamilyStrings", L"fs"},
        {nullptr, L"//Rows/Row[@RowId=\"2\" and @Rev=\"3\" ]", L"r2"},
        // A descendant step inside a path.
        {nullptr, L"Family/FamilyTable//Cell", L"r1a,r1d,r2d"},
        // Attribute tests with and without blanks, double and single quotes.
        {nullptr, L"FamilyStrings[@id=\"fs\"]", L"fs"},
        {L"FamilyStrings", L"File[@Lang = \"en-US\"]", L"file1"},
        {nullptr, L"Family/FamilyTable/Rows[@id='rows']", L"rows"},
        // The attribute of a child in a predicate.
        {L"Family/FamilyTable", L"Rows[Row/@RowId = \"2\"]", L"rows"},
        // Tests joined with `and`, and predicates in a row.
        {nullptr,
         L"Family/MemberParametersMap/ParamsToColumn/ParamToColumn[@Param = \"Width\" and @Col = "
         L"\"W\"]",
         L"p2"},
        {L"Family/FamilyTable", L"Rows/Row[Cell/@ColumnId = \"a\"][Cell/@ColumnId = \"d\"]", L"r1"},
        // Predicates in the middle of a path.
        {L"Family", L"FamilyTable/Rows[@id=\"rows\"]/Row/Cell[@ColumnId=\"d\"]", L"r1d,r2d"},
        // translate() to compare without regard to case.
        {nullptr,
         L"FamilyStrings/"
         L"File[translate(@"
         L"Lang"
         L"," UPPER L"," LOWER L")=\"de-de\" and translate(@id," UPPER L"," LOWER L")=\"file2\"]",
         L"file2"},
        // ms:string-compare: 0 for equal, case-insensitive with 'i', ordinal -1/1 otherwise.
        {nullptr,
         L"Family/MemberParametersMap/ColumnsToTemplate/"
         L"ColumnToTemplate[ms:string-compare(Template/@Name, 'TMPLB', '' , 'i' ) = 0 ]",
         L"ct2"},
        {L"Family/MemberParametersMap/ColumnsToTemplate",
         L"ColumnToTemplate[ms:string-compare(Template/@Name, 'TMPLB') = 0]", L""},
        {L"Family/MemberParametersMap/ColumnsToTemplate",
         L"ColumnToTemplate[ms:string-compare(Template/@Name, 'tmplb', '') = 0]", L"ct2"},
        {L"Family/MemberParametersMap/ColumnsToTemplate",
         L"ColumnToTemplate[ms:string-compare(Template/@Name, 'TmplZ') = -1]", L"ct1"},
        {L"Family/MemberParametersMap/ColumnsToTemplate",
         L"ColumnToTemplate[ms:string-compare(Template/@Name, 'TmplZ') = 1]", L"ct2"},
        {nullptr,
         L"self::node()[ms:string-compare('\u00c4\u00d6\u0160x', '\u00e4\u00f6\u0161X', '', 'i') = "
         L"0]",
         L"Root"},
        {nullptr, L"self::node()[ms:string-compare('ab', 'abc', '', 'i') = -1]", L"Root"},
        // A cell of one row, by its column.
        {L"Family/FamilyTable/Rows/Row[@id='r2']", L"Cell[@ColumnId=\"d\"]", L"r2d"},
        {L"Family/FamilyTable/Rows/Row", L"Cell[@ColumnId=\"d\"]", L"r1d"},
        {nullptr, L"Missing/Path", L""},
    };
    for (const Case& c : cases) {
        XMLNode context = c.context != nullptr ? xmltest::Find(root, c.context) : root;
        XMLNodeArray matches;
        EXPECT_TRUE(context.SelectChildNodes(c.expression, matches))
            << xmltest::Narrow(c.expression);
        EXPECT_EQ(Names(matches), c.expected) << xmltest::Narrow(c.expression);
        XMLNode first;
        bool found = context.GetChildNode(c.expression, first);
        EXPECT_EQ(found, !matches.IsEmpty()) << xmltest::Narrow(c.expression);
        if (found) {
            EXPECT_TRUE(first.IsSameNode(matches[0])) << "the first match in document order";
        }
    }
}

// Expressions the engine rejects fail quietly: false, outputs unchanged or emptied, nothing on
// stderr.
TEST(XmlXPath, RejectedExpressionsFailWithoutRaisingOrPrinting) {
    XMLParser parser(kDocument);
    XMLNode row = xmltest::Find(parser.GetRootNode(), L"//Row");
    const wchar_t* rejected[] = {
        L"Cell[@ColumnId=\"a\"",     // an unclosed predicate
        L"Cell[@ColumnId=\"a\"b\"]", // a value holding the quote of its literal
        L"count(Cell)",              // no node-set
        L"ms:no-such-function(1)",
        L"Cell[ms:string-compare(@ColumnId) = 0]", // wrong arity
        L"undeclared:Cell",
        L"",
    };
    for (const wchar_t* expression : rejected) {
        testing::internal::CaptureStderr();
        XMLNode out = row;
        EXPECT_FALSE(row.GetChildNode(expression, out)) << xmltest::Narrow(expression);
        EXPECT_TRUE(out.IsSameNode(row)) << "output unchanged";
        XMLNodeArray matches;
        matches.Add(row);
        EXPECT_FALSE(row.SelectChildNodes(expression, matches)) << xmltest::Narrow(expression);
        EXPECT_TRUE(matches.IsEmpty());
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    XMLNode out;
    EXPECT_FALSE(row.GetChildNode(nullptr, out));
}

// Selections see edits at once, relative paths work on a detached row, and a namespace node,
// which an array can't hold, stays an empty handle.
TEST(XmlXPath, SelectionsSeeEditsAndDetachedSubtrees) {
    XMLParser parser(kDocument);
    XMLNode row = xmltest::Find(parser.GetRootNode(), L"//Row[@id='r2']");
    XMLNode added = row.AddNode(L"Cell", L"w", L"ColumnId", L"e");
    EXPECT_TRUE(xmltest::Find(row, L"Cell[@ColumnId=\"e\"]").IsSameNode(added));
    ASSERT_TRUE(row.RemoveThisNode(false));
    EXPECT_TRUE(xmltest::Find(row, L"Cell[@ColumnId=\"e\"]").IsSameNode(added));
    XMLNodeArray nodes;
    EXPECT_TRUE(parser.GetRootNode().SelectChildNodes(L"//Row", nodes));
    EXPECT_EQ(Names(nodes), L"r1");
    EXPECT_TRUE(row.SelectChildNodes(L"@*", nodes));
    EXPECT_EQ(Names(nodes), L"id,RowId,Rev");
    EXPECT_TRUE(row.SelectChildNodes(L"namespace::*", nodes));
    ASSERT_EQ(nodes.GetSize(), 1) << "the xml namespace";
    EXPECT_FALSE(nodes[0].IsNode());
}

// Paths of plain names, walked without XPath, select what XPath selects: elements only, in
// document order, across several parents, neither deeper nor in a namespace (a default one
// included), nor elements of a prefixed name. "./" in front sends a path through XPath.
TEST(XmlXPath, ChildElementsOfChildElementsAsThePathSelects) {
    const wchar_t* const documents[] = {
        L"<t><Rows><Row n='1'/><!-- c --><Row n='2'>x<Row n='deep'/></Row>text<Other/></Rows>"
        L"<Rows/><Rows><Row n='3'/></Rows><Columns><Row n='no'/></Columns></t>",
        L"<t xmlns='urn:d'><Rows><Row n='1'/></Rows></t>",
        L"<t xmlns:p='urn:p'><p:Rows><Row n='1'/></p:Rows><Rows><p:Row n='2'/><Row n='3' "
        L"xmlns='urn:e'/><Row n='4'/></Rows></t>",
        L"<t/>",
    };
    auto same = [](const XMLNodeArray& found, const XMLNodeArray& expected, const wchar_t* what) {
        ASSERT_EQ(found.GetSize(), expected.GetSize()) << xmltest::Narrow(what);
        for (intptr_t i = 0; i < found.GetSize(); ++i)
            EXPECT_TRUE(found[i].IsSameNode(expected[i])) << xmltest::Narrow(what) << " " << i;
    };
    for (const wchar_t* document : documents) {
        XMLParser parser(document);
        XMLNodeArray expected, found;
        ASSERT_TRUE(parser.GetRootNode().SelectChildNodes(L"./Rows/Row", expected));
        EXPECT_TRUE(parser.GetRootNode().SelectChildElements(L"Rows", L"Row", found));
        same(found, expected, document);
        for (const WideString path : {L"Rows", L"Rows/Row", L"Rows/Row/Row", L"Row", L"t/Rows"}) {
            for (const XMLNode& context :
                 {parser.GetRootNode(), parser.GetRootNode().GetParentNode()}) {
                EXPECT_TRUE(context.SelectChildNodes(path.c_str(), found));
                ASSERT_TRUE(context.SelectChildNodes((L"./" + path).c_str(), expected));
                same(found, expected, (path + L" in " + document).c_str());
            }
        }
    }
    XMLNodeArray found;
    EXPECT_FALSE(XMLNode().SelectChildElements(L"Rows", L"Row", found));
    // A prefix goes to XPath, which knows no prefix the context didn't declare.
    XMLParser prefixed(L"<t xmlns:p='urn:p'><p:Rows><p:Row/></p:Rows></t>");
    XMLNodeArray expected;
    EXPECT_EQ(prefixed.GetRootNode().SelectChildElements(L"p:Rows", L"p:Row", found),
              prefixed.GetRootNode().SelectChildNodes(L"p:Rows/p:Row", expected));
    EXPECT_EQ(found.GetSize(), expected.GetSize());
}

} // namespace
} // namespace torvex

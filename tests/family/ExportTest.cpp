// The table exported as it stands and with every cell evaluated: which cells get values, where
// the added ones go, what fails the whole export, and that the family stays as it was.

#include "FamilyTestSupport.h"

#include "torvex/xml/XMLTextWriter.h"

#include <gtest/gtest.h>

namespace torvex {

namespace test {
namespace {

// The test host computes nothing: `twice` (a Real formula) fails, the string formula and the
// literals evaluate on their own.
const wchar_t* const kFamily = LR"(<Family><FamilyTable>
  <Columns>
    <Column ColumnId="d" ValueType="string"/>
    <Column ColumnId="name" ValueType="string" ColumnwideValue="&quot;M&quot; &amp; {d}"/>
    <Column ColumnId="twice" ValueType="double" ColumnwideValue="{d}*2"/>
  </Columns>
  <Rows>
    <Row RowId="r1"/>
    <Row RowId="r2"><Cell ColumnId="twice">7</Cell><Cell ColumnId="d">5</Cell></Row>
  </Rows>
</FamilyTable></Family>)";

TEST(TableExport, EveryCellThatEvaluatesHoldsItsValue) {
    auto family = OpenFamily(kFamily);
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    const WideString before = RootXml(*family);
    WideString raw;
    ASSERT_TRUE(table.GetXml(raw));
    EXPECT_EQ(raw, TableXml(*family));

    WideString evaluated = L"untouched";
    ASSERT_TRUE(table.GetEvaluatedXml(evaluated));
    // r1 had no cells: one for each column that evaluates, in column order, even to an empty
    // value ("twice" fails and stays absent). r2 keeps its own cells first, in their order, the
    // literal 7 in place, then the added ones.
    EXPECT_NE(
        evaluated.find(
            L"<Row RowId=\"r1\"><Cell ColumnId=\"d\"/><Cell ColumnId=\"name\">M</Cell></Row>"),
        WideString::npos)
        << evaluated;
    EXPECT_NE(evaluated.find(L"<Row RowId=\"r2\"><Cell ColumnId=\"twice\">7</Cell>"
                             L"<Cell ColumnId=\"d\">5</Cell><Cell ColumnId=\"name\">M5</Cell>"
                             L"</Row>"),
              WideString::npos)
        << evaluated;
    EXPECT_EQ(evaluated.rfind(L"<?xml", 0), 0u);
    EXPECT_EQ(RootXml(*family), before);
    EXPECT_EQ(table.GetRowsCount(), 2u);
}

TEST(TableExport, ARowOrCellWithoutItsIdFailsTheWholeExport) {
    const struct {
        const wchar_t* path;
        const wchar_t* attribute; // removed after the load
    } cases[] = {{L"FamilyTable/Rows/Row[2]", L"RowId"},
                 {L"FamilyTable/Rows/Row[2]/Cell[2]", L"ColumnId"}};
    for (const auto& c : cases) {
        auto family = OpenFamily(kFamily);
        XMLNode node;
        ASSERT_TRUE(family->GetFamilyXML().GetRootNode().GetChildNode(c.path, node));
        node.RemoveProperty(c.attribute);
        WideString out = L"untouched";
        EXPECT_FALSE(family->GetEncapFamilyTable()->GetEvaluatedXml(out)) << c.path;
        EXPECT_EQ(out, L"untouched");
    }
    // A row the load skipped for lack of an id fails the export all the same.
    auto family = OpenFamily(LR"(<Family><FamilyTable><Columns><Column ColumnId="d"/></Columns>
        <Rows><Row RowId="r1"/><Row/></Rows></FamilyTable></Family>)");
    EXPECT_EQ(family->GetEncapFamilyTable()->GetRowsCount(), 1u);
    WideString out;
    EXPECT_FALSE(family->GetEncapFamilyTable()->GetEvaluatedXml(out));
}

// Tables whose every piece the writer must write as the serialiser writes it: texts and
// attributes needing escapes, non-ASCII text, comments, CDATA and instructions between and
// inside rows, cells with markup, empty and missing containers, elements of other names.
TEST(TableExport, WrittenInPiecesEqualsTheEditedCopy) {
    const WideString columns = LR"(<Columns><Column ColumnId="d" ValueType="string"/>
        <Column ColumnId="name" ValueType="string" ColumnwideValue="&quot;M&quot; &amp; {d}"/>
        <Column ColumnId="twice" ValueType="double" ColumnwideValue="{d}*2"/>
        <Column ColumnId="Länge" ValueType="string"/></Columns>)";
    const WideString tables[] = {
        L"<FamilyTable Note=\"a&amp;b&lt;&gt;&quot;'&#10;&#13;&#9;ä\">" + columns +
            LR"(<Rows><Row RowId="r&amp;1"/><!-- a comment --><Row RowId="r2" Extra="x"><Cell
            ColumnId="twice">7</Cell><Cell ColumnId="d">a&lt;b&amp;c&gt;&#13;'"</Cell><?pi data?></Row>
            <Row RowId="r3"><Cell ColumnId="d"><![CDATA[<raw>]]></Cell><Cell ColumnId="Länge">𝄞 ü</Cell></Row>
            <Row RowId="r4"><Cell ColumnId="d">x<b>bold</b>y</Cell><Cell ColumnId="name"/></Row>
            <Row RowId="r5"><!-- only a comment --></Row><Member RowId="r6"><Value
            ColumnId="d">6</Value></Member></Rows></FamilyTable>)",
        L"<FamilyTable>" + columns + L"<Rows/></FamilyTable>",
        L"<FamilyTable>" + columns + L"</FamilyTable>",
        L"<FamilyTable><Rows><Row RowId=\"a\"/></Rows>" + columns +
            L"<Rows><Row RowId=\"b\"/></Rows></FamilyTable>",
        L"<FamilyTable/>",
        L"<FamilyTable><Rows><Row RowId=\"a\"/><Row "
        L"RowId=\"b\"><!--c--></Row></Rows></FamilyTable>",
    };
    for (const WideString& xml : tables) {
        auto family = OpenFamily((L"<Family>" + xml + L"</Family>").c_str());
        ASSERT_TRUE(family) << xml;
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        EXPECT_TRUE(XMLTextWriter::CanWritePieces(table.GetXMLNode()));
        WideString pieces, copy;
        const bool written = table.GetEvaluatedXml(pieces);
        EXPECT_EQ(written, CEncapFamilyTableTestPeer::ExportThroughCopy(table, copy)) << xml;
        EXPECT_EQ(pieces, copy) << xml;
    }

    // Values set by edits: markup characters, an empty value, a lone surrogate.
    auto family = OpenFamily(kFamily);
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    table.SetValue(L"r1", L"d", L"<&>\r\n\t\"'", false);
    table.SetValue(L"r2", L"d", L"", false);
    table.SetValue(L"r2", L"twice", L"\xD800", false);
    WideString pieces, copy;
    ASSERT_TRUE(table.GetEvaluatedXml(pieces));
    ASSERT_TRUE(CEncapFamilyTableTestPeer::ExportThroughCopy(table, copy));
    EXPECT_EQ(pieces, copy);
}

// Namespaces keep the export on the way through a copy, which declares them on its root.
TEST(TableExport, NamespacesTakeTheWayThroughACopy) {
    auto family = OpenFamily(LR"(<Family xmlns:v="urn:v"><FamilyTable><Columns><Column
        ColumnId="d"/></Columns><Rows><Row RowId="r"><Cell ColumnId="d" v:unit="mm">5</Cell></Row>
        </Rows></FamilyTable></Family>)");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    EXPECT_FALSE(XMLTextWriter::CanWritePieces(table.GetXMLNode()));
    WideString out;
    ASSERT_TRUE(table.GetEvaluatedXml(out));
    EXPECT_NE(out.find(L"<FamilyTable xmlns:v=\"urn:v\">"), WideString::npos) << out;
    EXPECT_NE(out.find(L"<Cell ColumnId=\"d\" v:unit=\"mm\">5</Cell>"), WideString::npos) << out;
}

} // namespace
} // namespace test
} // namespace torvex

// The table exported as it stands and with every cell evaluated: which cells get values, where
// the added ones go, what fails the whole export, and that the family stays as it was.

#include "FamilyTestSupport.h"

#include <gtest/gtest.h>

namespace torvex::test {
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

} // namespace
} // namespace torvex::test

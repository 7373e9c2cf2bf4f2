// Rows: raw cell writes as they reach the document, row state and suppression.

#include "FamilyTestSupport.h"

#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <gtest/gtest.h>

namespace torvex {
namespace {

using test::OpenFamily;

constexpr const wchar_t* kColumns =
    L"<Columns>"
    L"<Column ColumnId=\"a\" ValueType=\"string\"/>"
    L"<Column ColumnId=\"MEMBER_REVISION\" ValueType=\"string\"/>"
    L"<Column ColumnId=\"SOURCE_MEMBER_REVISION\" ValueType=\"string\"/>"
    L"<Column ColumnId=\"member_revision_x\" ValueType=\"string\"/>"
    L"</Columns>";

WideString FamilyWithRow(const WideString& row) {
    return L"<F><FamilyTable>" + WideString(kColumns) + L"<Rows>" + row +
           L"</Rows></FamilyTable></F>";
}

WideString RowXml(const CEncapFamilyRow& row) {
    WideString xml;
    row.GetXMLNode().GetXml(xml);
    return xml;
}

TEST(FamilyRow, CellWritesReachTheDocumentAndMarkTheRow) {
    struct Case {
        const wchar_t* before;
        const wchar_t* column;
        const wchar_t* value;
        const wchar_t* after;
        CEncapFamilyRow::RowState state;
    };
    const Case cases[] = {
        // A new Cell goes last, keeping unknown attributes and elements of the row.
        {L"<Row RowId=\"r\" Extra=\"1\"><Note>n</Note></Row>", L"a", L"x",
         L"<Row RowId=\"r\" Extra=\"1\"><Note>n</Note><Cell ColumnId=\"a\">x</Cell></Row>",
         CEncapFamilyRow::RowModified},
        // An existing Cell gets the text, in place.
        {L"<Row RowId=\"r\"><Cell ColumnId=\"a\" Mnemonic=\"m\">x</Cell><Note/></Row>", L"A", L"y",
         L"<Row RowId=\"r\"><Cell ColumnId=\"a\" Mnemonic=\"m\">y</Cell><Note/></Row>",
         CEncapFamilyRow::RowModified},
        // Writing the same text again still counts as a change.
        {L"<Row RowId=\"r\"><Cell ColumnId=\"a\">x</Cell></Row>", L"a", L"x",
         L"<Row RowId=\"r\"><Cell ColumnId=\"a\">x</Cell></Row>", CEncapFamilyRow::RowModified},
        // An empty value removes the Cell.
        {L"<Row RowId=\"r\"><Cell ColumnId=\"a\">x</Cell><Note/></Row>", L"a", L"",
         L"<Row RowId=\"r\"><Note/></Row>", CEncapFamilyRow::RowModified},
        // An empty value without a Cell changes nothing in the document, yet marks the row.
        {L"<Row RowId=\"r\"/>", L"a", L"", L"<Row RowId=\"r\"/>", CEncapFamilyRow::RowModified},
        // The revision columns, spelled exactly, leave the state alone.
        {L"<Row RowId=\"r\"/>", L"member_revision", L"g1",
         L"<Row RowId=\"r\"><Cell ColumnId=\"MEMBER_REVISION\">g1</Cell></Row>",
         CEncapFamilyRow::RowUnchanged},
        {L"<Row RowId=\"r\"/>", L"SOURCE_MEMBER_REVISION", L"g2",
         L"<Row RowId=\"r\"><Cell ColumnId=\"SOURCE_MEMBER_REVISION\">g2</Cell></Row>",
         CEncapFamilyRow::RowUnchanged},
        {L"<Row RowId=\"r\"/>", L"member_revision_x", L"g3",
         L"<Row RowId=\"r\"><Cell ColumnId=\"member_revision_x\">g3</Cell></Row>",
         CEncapFamilyRow::RowModified},
        // An unknown column: nothing at all.
        {L"<Row RowId=\"r\"/>", L"zz", L"x", L"<Row RowId=\"r\"/>", CEncapFamilyRow::RowUnchanged},
    };
    for (const Case& c : cases) {
        auto family = OpenFamily(FamilyWithRow(c.before).c_str());
        CEncapFamilyRow* row = family->GetEncapFamilyTable()->GetFamilyRowByID(L"r");
        ASSERT_NE(row, nullptr) << c.before;
        ASSERT_EQ(row->GetRowState(), CEncapFamilyRow::RowUnchanged);
        row->SetValue(c.column, c.value, false);
        EXPECT_EQ(RowXml(*row), c.after) << c.before << " / " << c.column;
        EXPECT_EQ(row->GetRowState(), c.state) << c.before << " / " << c.column;
    }
}

TEST(FamilyRow, RevisionColumnSpelledOtherwiseCountsAsAChange) {
    // The exception compares the column id exactly: a column spelled "member_revision" is
    // ordinary for the row, though the table finds it under MEMBER_REVISION.
    auto family = OpenFamily(
        L"<F><FamilyTable><Columns><Column ColumnId=\"member_revision\" ValueType=\"string\"/>"
        L"</Columns><Rows><Row RowId=\"r\"/></Rows></FamilyTable></F>");
    CEncapFamilyRow* row = family->GetEncapFamilyTable()->GetFamilyRowByID(L"r");
    ASSERT_NE(row, nullptr);
    row->SetValue(L"MEMBER_REVISION", L"g", false);
    EXPECT_EQ(RowXml(*row), L"<Row RowId=\"r\"><Cell ColumnId=\"member_revision\">g</Cell></Row>");
    EXPECT_EQ(row->GetRowState(), CEncapFamilyRow::RowModified);
}

TEST(FamilyRow, StateAndSuppressionLiveInMemoryOnly) {
    auto family = OpenFamily(FamilyWithRow(L"<Row RowId=\"r\"/>").c_str());
    const WideString document = test::RootXml(*family);
    CEncapFamilyRow* row = family->GetEncapFamilyTable()->GetFamilyRowByID(L"r");
    ASSERT_NE(row, nullptr);
    EXPECT_FALSE(row->IsRowModified());

    row->SetRowState(CEncapFamilyRow::RowInserted);
    EXPECT_TRUE(row->IsRowModified()) << "an inserted row counts as modified";
    row->SetIsSuppressed(true);
    EXPECT_TRUE(row->IsSuppressed());
    EXPECT_EQ(test::RootXml(*family), document);

    // A write of an ordinary column brings an inserted row back to modified.
    row->SetValue(L"a", L"v", false);
    EXPECT_EQ(row->GetRowState(), CEncapFamilyRow::RowModified);
    row->SetRowState(CEncapFamilyRow::RowUnchanged);
    EXPECT_FALSE(row->IsRowModified());
    row->SetValue(L"MEMBER_REVISION", L"g", false);
    EXPECT_FALSE(row->IsRowModified());

    // Copies share the element and copy the state.
    CEncapFamilyRow copy(*row);
    EXPECT_TRUE(copy.GetXMLNode().IsSameNode(row->GetXMLNode()));
    EXPECT_TRUE(copy.IsSuppressed());

    const CEncapFamilyRow empty;
    EXPECT_FALSE(empty.GetXMLNode().IsNode());
    EXPECT_FALSE(empty.IsSuppressed());
    EXPECT_EQ(empty.GetRowState(), CEncapFamilyRow::RowUnchanged);
    EXPECT_FALSE(empty.HasRawValue(L"a"));
}

TEST(FamilyRow, EmptyCellElementIsARawValue) {
    auto family =
        OpenFamily(FamilyWithRow(L"<Row RowId=\"r\"><Cell ColumnId=\"a\"></Cell></Row>").c_str());
    CEncapFamilyRow* row = family->GetEncapFamilyTable()->GetFamilyRowByID(L"r");
    ASSERT_NE(row, nullptr);
    EXPECT_TRUE(row->HasRawValue(L"a"));
    WideString value = L"old";
    row->GetValue(L"a", value);
    EXPECT_EQ(value, L"");
}

TEST(FamilyRow, DeleteCellsColumnValuesRemovesCellAndCachedValue) {
    auto family =
        OpenFamily(L"<F><FamilyTable><Columns><Column ColumnId=\"a\" ValueType=\"string\" "
                   L"ColumnwideValue=\"default\"/></Columns><Rows><Row RowId=\"r\" Extra=\"e\">"
                   L"<Cell ColumnId=\"a\">own</Cell><Note/></Row></Rows></FamilyTable></F>");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    CEncapFamilyRow* row = table->GetFamilyRowByID(L"r");
    ASSERT_NE(row, nullptr);
    WideString value;
    row->GetValue(L"a", value);
    EXPECT_EQ(value, L"own");

    row->DeleteCellsColumnValues(L"a", true);
    EXPECT_EQ(RowXml(*row), L"<Row RowId=\"r\" Extra=\"e\"><Note/></Row>");
    EXPECT_EQ(row->GetRowState(), CEncapFamilyRow::RowUnchanged);
    row->GetValue(L"a", value);
    EXPECT_EQ(value, L"default") << "the cached value went with the cell";
}

TEST(FamilyRow, SetRowIdWritesOnlyTheAttribute) {
    auto family = OpenFamily(FamilyWithRow(L"<Row RowId=\"r\"/>").c_str());
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    CEncapFamilyRow* row = table->GetFamilyRowByID(L"r");
    ASSERT_NE(row, nullptr);
    row->SetRowID(L"q");
    WideString id;
    row->GetRowID(id);
    EXPECT_EQ(id, L"q");
    EXPECT_EQ(RowXml(*row), L"<Row RowId=\"q\"/>");
    EXPECT_EQ(table->GetFamilyRowByID(L"q"), nullptr);
    EXPECT_EQ(table->GetFamilyRowByID(L"r"), row);
    EXPECT_EQ(table->GetAllRowIDs(), WideStringList{L"r"});
}

TEST(FamilyRow, EditsKeepUnknownAttributesAndElementsOfTheDocument) {
    auto family = test::OpenFamily(
        L"<Family Extra=\"x\"><Unknown a=\"1\">text</Unknown><FamilyTable Note=\"n\"><Columns>"
        L"<Column ColumnId=\"a\" ValueType=\"string\" DefaultValue=\"d\"/></Columns><Rows>"
        L"<Row RowId=\"r\" Optional=\"o\"><Cell ColumnId=\"a\">old</Cell><Cell "
        L"ColumnId=\"z\">z</Cell>"
        L"</Row></Rows></FamilyTable></Family>");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    table->GetFamilyColumnByID(L"a")->SetTitle(L"A");
    table->GetFamilyColumnByID(L"a")->SetKeyWeight(1);
    table->SetValue(L"r", L"a", L"", true);
    table->SetValue(L"r", L"a", L"new", true);
    WideString xml;
    family->GetFamilyXML().GetXml(xml);
    EXPECT_EQ(xml, L"<Family Extra=\"x\"><Unknown a=\"1\">text</Unknown><FamilyTable Note=\"n\">"
                   L"<Columns><Column ColumnId=\"a\" ValueType=\"string\" DefaultValue=\"d\" "
                   L"Title=\"A\" KeyWeight=\"1\"/></Columns><Rows><Row RowId=\"r\" Optional=\"o\">"
                   L"<Cell ColumnId=\"z\">z</Cell><Cell ColumnId=\"a\">new</Cell></Row></Rows>"
                   L"</FamilyTable></Family>\n");
}

} // namespace
} // namespace torvex

// Rows: raw cell writes as they reach the document, row state and suppression.

#include "FamilyTestSupport.h"

#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <gtest/gtest.h>

namespace torvex {
namespace {

using test::OpenFamily;

WideString FamilyWithRow(const WideString& row, const WideString& revision = L"MEMBER_REVISION") {
    return L"<F><FamilyTable><Columns><Column ColumnId=\"a\" ValueType=\"string\"/>"
           L"<Column ColumnId=\"" +
           revision +
           L"\" ValueType=\"string\"/>"
           L"<Column ColumnId=\"SOURCE_MEMBER_REVISION\" ValueType=\"string\"/>"
           L"<Column ColumnId=\"member_revision_x\" ValueType=\"string\"/></Columns><Rows>" +
           row + L"</Rows></FamilyTable></F>";
}

WideString RowXml(const CEncapFamilyRow& row) {
    WideString xml;
    row.GetXMLNode().GetXml(xml);
    return xml;
}

// A write puts the text in the existing Cell or a new last one, keeping the row's unknown
// attributes and elements; an empty value removes the Cell. Any write of a known column marks
// the row modified, even one that changes nothing, except one of the revision columns as the
// row spells them (exactly: a column spelled "member_revision" is ordinary for the row, though
// the table finds it under MEMBER_REVISION); an unknown column does nothing.
TEST(FamilyRow, CellWritesReachTheDocumentAndMarkTheRow) {
    struct Case {
        const wchar_t* before;
        const wchar_t* column;
        const wchar_t* value;
        const wchar_t* after;
        bool modified;
        const wchar_t* revision = L"MEMBER_REVISION";
    };
    const Case cases[] = {
        {L"<Row RowId=\"r\" Extra=\"1\"><Note>n</Note></Row>", L"a", L"x",
         L"<Row RowId=\"r\" Extra=\"1\"><Note>n</Note><Cell ColumnId=\"a\">x</Cell></Row>", true},
        {L"<Row RowId=\"r\"><Cell ColumnId=\"a\" Mnemonic=\"m\">x</Cell><Note/></Row>", L"A", L"y",
         L"<Row RowId=\"r\"><Cell ColumnId=\"a\" Mnemonic=\"m\">y</Cell><Note/></Row>", true},
        {L"<Row RowId=\"r\"><Cell ColumnId=\"a\">x</Cell></Row>", L"a", L"x",
         L"<Row RowId=\"r\"><Cell ColumnId=\"a\">x</Cell></Row>", true},
        {L"<Row RowId=\"r\"><Cell ColumnId=\"a\">x</Cell><Note/></Row>", L"a", L"",
         L"<Row RowId=\"r\"><Note/></Row>", true},
        {L"<Row RowId=\"r\"/>", L"a", L"", L"<Row RowId=\"r\"/>", true},
        {L"<Row RowId=\"r\"/>", L"member_revision", L"g1",
         L"<Row RowId=\"r\"><Cell ColumnId=\"MEMBER_REVISION\">g1</Cell></Row>", false},
        {L"<Row RowId=\"r\"/>", L"SOURCE_MEMBER_REVISION", L"g2",
         L"<Row RowId=\"r\"><Cell ColumnId=\"SOURCE_MEMBER_REVISION\">g2</Cell></Row>", false},
        {L"<Row RowId=\"r\"/>", L"member_revision_x", L"g3",
         L"<Row RowId=\"r\"><Cell ColumnId=\"member_revision_x\">g3</Cell></Row>", true},
        {L"<Row RowId=\"r\"/>", L"MEMBER_REVISION", L"g",
         L"<Row RowId=\"r\"><Cell ColumnId=\"member_revision\">g</Cell></Row>", true,
         L"member_revision"},
        {L"<Row RowId=\"r\"/>", L"zz", L"x", L"<Row RowId=\"r\"/>", false},
    };
    for (const Case& c : cases) {
        auto family = OpenFamily(FamilyWithRow(c.before, c.revision).c_str());
        CEncapFamilyRow* row = family->GetEncapFamilyTable()->GetFamilyRowByID(L"r");
        ASSERT_EQ(row->GetRowState(), CEncapFamilyRow::RowUnchanged);
        row->SetValue(c.column, c.value, false);
        EXPECT_EQ(RowXml(*row), c.after) << c.before << " / " << c.column;
        EXPECT_EQ(row->GetRowState(),
                  c.modified ? CEncapFamilyRow::RowModified : CEncapFamilyRow::RowUnchanged)
            << c.before << " / " << c.column;
    }
}

// A row's cells read one after another come from what was collected of the row; any change of
// the document between two reads, through the table or on the nodes directly, shows at once.
TEST(FamilyRow, RawReadsSeeEveryEditBetweenThem) {
    auto family = OpenFamily(FamilyWithRow(L"<Row RowId=\"r\"><Cell ColumnId=\"a\">1</Cell>"
                                           L"<Cell ColumnId=\"a\">2</Cell></Row>"
                                           L"<Row RowId=\"s\"><Cell ColumnId=\"a\">9</Cell></Row>")
                                 .c_str());
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    auto raw = [&table](const wchar_t* row, const wchar_t* column) {
        WideString out = L"stale";
        const long status = CEncapFamilyTableTestPeer::GetRawValue(table, row, column, out);
        return std::to_wstring(status) + L":" + out;
    };
    for (int pass = 0; pass < 3; ++pass) {
        EXPECT_EQ(raw(L"r", L"a"), L"0:1");
        EXPECT_EQ(raw(L"r", L"A"), L"1:") << "ids compare exactly";
        EXPECT_EQ(raw(L"r", L"a\""), L"1:");
        EXPECT_EQ(raw(L"r", L"MEMBER_REVISION"), L"1:");
    }
    XMLNode first;
    table.GetFamilyRowByID(L"r")->GetXMLNode().GetFirstChildNode(first);
    first.SetNodeText(WideString(L"7"));
    EXPECT_EQ(raw(L"r", L"a"), L"0:7");
    first.RemoveThisNode(true);
    EXPECT_EQ(raw(L"r", L"a"), L"0:2");
    CEncapFamilyTableTestPeer::SetRawValue(table, L"r", L"MEMBER_REVISION", L"g");
    EXPECT_EQ(raw(L"r", L"MEMBER_REVISION"), L"0:g");
    EXPECT_EQ(raw(L"s", L"a"), L"0:9");
    EXPECT_EQ(raw(L"s", L"a"), L"0:9");
    EXPECT_EQ(raw(L"r", L"a"), L"0:2");
}

// State and suppression live in memory only; an inserted row counts as modified and a write
// makes it modified; copies share the element and copy the state.
TEST(FamilyRow, StateAndSuppressionLiveInMemoryOnly) {
    auto family =
        OpenFamily(FamilyWithRow(L"<Row RowId=\"r\"><Cell ColumnId=\"a\"></Cell></Row>").c_str());
    const WideString document = test::RootXml(*family);
    CEncapFamilyRow* row = family->GetEncapFamilyTable()->GetFamilyRowByID(L"r");
    EXPECT_TRUE(row->HasRawValue(L"a")) << "an empty Cell is a raw value";
    row->SetRowState(CEncapFamilyRow::RowInserted);
    EXPECT_TRUE(row->IsRowModified());
    row->SetIsSuppressed(true);
    EXPECT_TRUE(row->IsSuppressed());
    EXPECT_EQ(test::RootXml(*family), document);
    row->SetValue(L"a", L"v", false);
    EXPECT_EQ(row->GetRowState(), CEncapFamilyRow::RowModified);
    row->SetRowState(CEncapFamilyRow::RowUnchanged);
    EXPECT_FALSE(row->IsRowModified());

    CEncapFamilyRow copy(*row);
    EXPECT_TRUE(copy.GetXMLNode().IsSameNode(row->GetXMLNode()));
    EXPECT_TRUE(copy.IsSuppressed());
    const CEncapFamilyRow empty;
    EXPECT_FALSE(empty.IsSuppressed() || empty.HasRawValue(L"a") || empty.GetXMLNode().IsNode());
}

// DeleteCellsColumnValues takes the Cell and its cached value, leaving the state; SetRowID
// writes the attribute only, the table's map keeping the old id.
TEST(FamilyRow, DeleteCellsAndSetRowId) {
    auto family =
        OpenFamily(L"<F><FamilyTable><Columns><Column ColumnId=\"a\" ValueType=\"string\" "
                   L"ColumnwideValue=\"default\"/></Columns><Rows><Row RowId=\"r\" Extra=\"e\">"
                   L"<Cell ColumnId=\"a\">own</Cell><Note/></Row></Rows></FamilyTable></F>");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    CEncapFamilyRow* row = table->GetFamilyRowByID(L"r");
    WideString value;
    row->GetValue(L"a", value);
    EXPECT_EQ(value, L"own");
    row->DeleteCellsColumnValues(L"a", true);
    EXPECT_EQ(RowXml(*row), L"<Row RowId=\"r\" Extra=\"e\"><Note/></Row>");
    EXPECT_EQ(row->GetRowState(), CEncapFamilyRow::RowUnchanged);
    row->GetValue(L"a", value);
    EXPECT_EQ(value, L"default") << "the cached value went with the cell";

    row->SetRowID(L"q");
    row->GetRowID(value);
    EXPECT_EQ(value, L"q");
    EXPECT_EQ(RowXml(*row), L"<Row RowId=\"q\" Extra=\"e\"><Note/></Row>");
    EXPECT_EQ(table->GetFamilyRowByID(L"q"), nullptr);
    EXPECT_EQ(table->GetFamilyRowByID(L"r"), row);
}

// Edits of columns and cells keep the unknown attributes and elements everywhere in the document.
TEST(FamilyRow, EditsKeepUnknownAttributesAndElementsOfTheDocument) {
    auto family = test::OpenFamily(
        L"<Family Extra=\"x\"><Unknown a=\"1\">text</Unknown><FamilyTable Note=\"n\"><Columns>"
        L"<Column ColumnId=\"a\" ValueType=\"string\" DefaultValue=\"d\"/></Columns><Rows>"
        L"<Row RowId=\"r\" Optional=\"o\"><Cell ColumnId=\"a\">old</Cell><Cell "
        L"ColumnId=\"z\">z</Cell></Row></Rows></FamilyTable></Family>");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    table->GetFamilyColumnByID(L"a")->SetTitle(L"A");
    table->GetFamilyColumnByID(L"a")->SetKeyWeight(1);
    table->SetValue(L"r", L"a", L"", true);
    table->SetValue(L"r", L"a", L"new", true);
    EXPECT_EQ(test::RootXml(*family),
              L"<Family Extra=\"x\"><Unknown a=\"1\">text</Unknown><FamilyTable Note=\"n\">"
              L"<Columns><Column ColumnId=\"a\" ValueType=\"string\" DefaultValue=\"d\" "
              L"Title=\"A\" KeyWeight=\"1\"/></Columns><Rows><Row RowId=\"r\" Optional=\"o\">"
              L"<Cell ColumnId=\"z\">z</Cell><Cell ColumnId=\"a\">new</Cell></Row></Rows>"
              L"</FamilyTable></Family>");
}

} // namespace
} // namespace torvex

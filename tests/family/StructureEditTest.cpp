// Adding, removing, copying and moving rows and columns: where the place rule puts a new element,
// what each edit leaves in the document (compared serialised), and that the document, the id
// lists, the maps and the value cache agree after every edit.

#include "FamilyTestSupport.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

namespace torvex {
namespace {

using test::ExpectTableInStep;
using test::TableXml;

std::unique_ptr<CEncapFamily> Open(const WideString& columns, const WideString& rows) {
    const WideString xml = L"<F><FamilyTable><Columns>" + columns + L"</Columns><Rows>" + rows +
                           L"</Rows></FamilyTable></F>";
    return test::OpenFamily(xml.c_str());
}

WideString Col(const WideString& id, const WideString& more = L"") {
    return L"<Column ColumnId=\"" + id + L"\" ValueType=\"string\"" + more + L"/>";
}

// Every cell read, so that the cache holds the whole table before an edit.
void ReadAll(CEncapFamilyTable& table) {
    for (const WideString& row : table.GetAllRowIDs())
        for (const WideString& column : table.GetAllColumnIDs()) {
            WideString value;
            table.GetValue(row.c_str(), column.c_str(), value);
        }
}

// The text with every occurrence of `from` replaced.
WideString Replace(WideString text, const WideString& from, const wchar_t* to) {
    for (size_t at = text.find(from); !from.empty() && at != WideString::npos;
         at = text.find(from, at))
        text.replace(at, from.size(), to);
    return text;
}

const WideString kThreeRows = L"<Row RowId=\"a\"/><Row RowId=\"b\"/><Row RowId=\"c\"/>";

// The place rule: before the element at the index, a negative index as 0, at or past the end
// appended; an empty table always appends.
TEST(StructureEdits, PlaceRuleOfANewRow) {
    const std::tuple<WideString, int, WideStringList> cases[] = {
        {kThreeRows, -1, {L"n", L"a", L"b", L"c"}},
        {kThreeRows, 0, {L"n", L"a", L"b", L"c"}},
        {kThreeRows, 1, {L"a", L"n", L"b", L"c"}},
        {kThreeRows, 2, {L"a", L"b", L"n", L"c"}},
        {kThreeRows, 3, {L"a", L"b", L"c", L"n"}},
        {kThreeRows, 99, {L"a", L"b", L"c", L"n"}},
        {L"", -1, {L"n"}},
        {L"", 5, {L"n"}},
    };
    for (const auto& [rows, index, expected] : cases) {
        auto family = Open(Col(L"RID"), rows);
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        ReadAll(table);
        CEncapFamilyRow* row = table.InsertNewRow(index, L"n");
        ASSERT_TRUE(row) << index;
        EXPECT_EQ(table.GetAllRowIDs(), expected) << index;
        EXPECT_EQ(row->GetRowState(), CEncapFamilyRow::RowInserted);
        ExpectTableInStep(table, "InsertNewRow");
    }
}

// A new row holds its id in RID (whether or not the column exists) and a revision; an empty id
// becomes a GUID.
TEST(StructureEdits, NewRowHoldsItsIdAndARevision) {
    auto family = Open(Col(L"MEMBER_REVISION"), L"<Row RowId=\"a\"/>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    CEncapFamilyRow* row = table.InsertNewRow(0, L"");
    ASSERT_TRUE(row);
    const WideString id = table.GetRowIDByIndex(0);
    EXPECT_EQ(id.size(), 36u);
    WideString revision;
    ASSERT_EQ(table.GetValue(id.c_str(), L"MEMBER_REVISION", revision), CTableEvaluator::EvalOk);
    EXPECT_EQ(revision.size(), 36u);
    EXPECT_EQ(Replace(Replace(TableXml(*family), id, L"ID"), revision, L"REV"),
              L"<FamilyTable><Columns><Column ColumnId=\"MEMBER_REVISION\" "
              L"ValueType=\"string\"/></Columns><Rows><Row RowId=\"ID\"><Cell "
              L"ColumnId=\"RID\">ID</Cell><Cell ColumnId=\"MEMBER_REVISION\">REV</Cell></Row>"
              L"<Row RowId=\"a\"/></Rows></FamilyTable>");
    ExpectTableInStep(table, "InsertNewRow with a GUID");
}

// A row deleted and entered again under the same id is read afresh, also by the evaluation that
// read the former row last.
TEST(StructureEdits, ARowEnteredAgainUnderItsIdIsReadAfresh) {
    auto family = Open(Col(L"x") + Col(L"y", L" ColumnwideValue=\"{x}-{x}\""),
                       L"<Row RowId=\"a\"><Cell ColumnId=\"x\">1</Cell></Row>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    WideString value;
    ASSERT_EQ(table.GetValue(L"a", L"y", value), CTableEvaluator::EvalOk);
    EXPECT_EQ(value, L"1-1");
    ASSERT_TRUE(table.DeleteRow(0));
    ASSERT_TRUE(table.InsertNewRow(0, L"a"));
    table.SetValue(L"a", L"x", L"2", true);
    ASSERT_EQ(table.GetValue(L"a", L"y", value), CTableEvaluator::EvalOk);
    EXPECT_EQ(value, L"2-2");
}

// Each edit on the same small table: the document it leaves and, after it, the invariant.
TEST(StructureEdits, EachEditLeavesTheTableInStep) {
    const WideString columns =
        Col(L"RID") + Col(L"STATUS") + Col(L"x") + Col(L"e", L" ColumnwideValue=\"{x}\"");
    const WideString rows = L"<Row RowId=\"a\"><Cell ColumnId=\"RID\">a</Cell><Cell "
                            L"ColumnId=\"x\">1</Cell></Row><Row RowId=\"b\"><Cell "
                            L"ColumnId=\"RID\">b</Cell><Cell ColumnId=\"STATUS\">Suppressed</"
                            L"Cell><Cell ColumnId=\"x\">2</Cell></Row>";
    using Edit = std::function<bool(CEncapFamilyTable&)>;
    const std::tuple<const char*, Edit, WideString, WideString> cases[] = {
        {"DeleteRow 0", [](auto& t) { return t.DeleteRow(0); }, columns,
         L"<Row RowId=\"b\"><Cell ColumnId=\"RID\">b</Cell><Cell ColumnId=\"STATUS\">Suppressed"
         L"</Cell><Cell ColumnId=\"x\">2</Cell></Row>"},
        {"DeleteRow 2 (no such row)", [](auto& t) { return !t.DeleteRow(2) && !t.DeleteRow(-1); },
         columns, rows},
        {"PasteRow keeps RID and STATUS; the formula value becomes a cell",
         [](auto& t) { return t.PasteRow(1, 0); }, columns,
         L"<Row RowId=\"a\"><Cell ColumnId=\"RID\">a</Cell><Cell ColumnId=\"x\">1</Cell></Row>"
         L"<Row RowId=\"b\"><Cell ColumnId=\"RID\">b</Cell><Cell ColumnId=\"STATUS\">Suppressed"
         L"</Cell><Cell ColumnId=\"x\">1</Cell><Cell ColumnId=\"e\">1</Cell></Row>"},
        {"PasteRow from a row that isn't there", [](auto& t) { return !t.PasteRow(0, 5); }, columns,
         rows},
        {"InsertNewColumn 1", [](auto& t) { return t.InsertNewColumn(1, L"n") != nullptr; },
         Col(L"RID") + L"<Column ColumnId=\"n\" Title=\"n\" KeyWeight=\"0\" Hidden=\"false\"/>" +
             Col(L"STATUS") + Col(L"x") + Col(L"e", L" ColumnwideValue=\"{x}\""),
         rows},
        {"InsertNewColumn of an id differing only in case",
         [](auto& t) { return t.InsertNewColumn(0, L"X") == nullptr; }, columns, rows},
        {"DuplicateColumn copies attributes and cells",
         [](auto& t) { return t.DuplicateColumn(99, L"x", L"y") != nullptr; },
         columns + L"<Column ColumnId=\"y\" ValueType=\"string\" KeyWeight=\"0\" "
                   L"Hidden=\"false\"/>",
         L"<Row RowId=\"a\"><Cell ColumnId=\"RID\">a</Cell><Cell ColumnId=\"x\">1</Cell><Cell "
         L"ColumnId=\"y\">1</Cell></Row><Row RowId=\"b\"><Cell ColumnId=\"RID\">b</Cell><Cell "
         L"ColumnId=\"STATUS\">Suppressed</Cell><Cell ColumnId=\"x\">2</Cell><Cell "
         L"ColumnId=\"y\">2</Cell></Row>"},
        {"DuplicateColumn onto a name starting with a digit",
         [](auto& t) { return t.DuplicateColumn(0, L"x", L"1y") == nullptr; }, columns, rows},
        {"DuplicateColumn of an unknown column",
         [](auto& t) { return t.DuplicateColumn(0, L"q", L"y") == nullptr; }, columns, rows},
        {"DeleteColumn x takes its cells", [](auto& t) { return t.DeleteColumn(2); },
         Col(L"RID") + Col(L"STATUS") + Col(L"e", L" ColumnwideValue=\"{x}\""),
         L"<Row RowId=\"a\"><Cell ColumnId=\"RID\">a</Cell></Row><Row RowId=\"b\"><Cell "
         L"ColumnId=\"RID\">b</Cell><Cell ColumnId=\"STATUS\">Suppressed</Cell></Row>"},
        {"DeleteColumn 9 (no such column)", [](auto& t) { return !t.DeleteColumn(9); }, columns,
         rows},
        {"ChangeRowIndex past the end moves to the last place",
         [](auto& t) {
             int index = 7;
             t.ChangeRowIndex(L"a", index);
             return index == 1;
         },
         columns,
         L"<Row RowId=\"b\"><Cell ColumnId=\"RID\">b</Cell><Cell ColumnId=\"STATUS\">Suppressed"
         L"</Cell><Cell ColumnId=\"x\">2</Cell></Row><Row RowId=\"a\"><Cell ColumnId=\"RID\">a"
         L"</Cell><Cell ColumnId=\"x\">1</Cell></Row>"},
        {"ChangeColumnIndex to the front",
         [](auto& t) {
             int index = 0;
             t.ChangeColumnIndex(L"e", index);
             return index == 0;
         },
         Col(L"e", L" ColumnwideValue=\"{x}\"") + Col(L"RID") + Col(L"STATUS") + Col(L"x"), rows},
        {"ChangeColumnIndex of an id differing in case does nothing",
         [](auto& t) {
             int index = 0;
             t.ChangeColumnIndex(L"E", index);
             return index == 0;
         },
         columns, rows},
    };
    for (const auto& [name, edit, expectedColumns, expectedRows] : cases) {
        auto family = Open(columns, rows);
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        ReadAll(table);
        EXPECT_TRUE(edit(table)) << name;
        EXPECT_EQ(TableXml(*family), L"<FamilyTable><Columns>" + expectedColumns +
                                         L"</Columns><Rows>" + expectedRows +
                                         L"</Rows></FamilyTable>")
            << name;
        ExpectTableInStep(table, name);
        // Every cell still reads after the edit, and nothing answers for what is gone.
        ReadAll(table);
        ExpectTableInStep(table, name);
    }
}

// Inserts and moves count the children of Rows in the document and the places in the id list
// with the same index; with a child that isn't a listed row the two orders part. An id the
// document can't hold leaves its new element behind without id, and the insert answers null.
TEST(StructureEdits, UnlistedChildrenOfRowsShiftTheDocumentIndex) {
    auto family = Open(Col(L"RID"), L"<!--c-->" + kThreeRows);
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    int index = 2;
    table.ChangeRowIndex(L"a", index);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(table.GetAllRowIDs(), (WideStringList{L"b", L"c", L"a"}));
    EXPECT_EQ(TableXml(*family), L"<FamilyTable><Columns>" + Col(L"RID") +
                                     L"</Columns><Rows><!--c--><Row RowId=\"b\"/><Row "
                                     L"RowId=\"a\"/><Row RowId=\"c\"/></Rows></FamilyTable>");
    ExpectTableInStep(table, "ChangeRowIndex behind a comment");

    auto refused = Open(Col(L"RID"), kThreeRows);
    CEncapFamilyTable& other = *refused->GetEncapFamilyTable();
    EXPECT_EQ(other.InsertNewRow(99, L"\b"), nullptr);
    EXPECT_EQ(other.GetAllRowIDs(), (WideStringList{L"a", L"b", L"c"}));
    EXPECT_EQ(TableXml(*refused), L"<FamilyTable><Columns>" + Col(L"RID") + L"</Columns><Rows>" +
                                      kThreeRows + L"<Row/></Rows></FamilyTable>");
    ExpectTableInStep(other, "InsertNewRow of an id the document refuses");
}

// A copy takes the evaluated value of an override, not its formula text; columns without a
// cell in the source stay empty and compute from their formula.
TEST(StructureEdits, CopyRowGivesAnOverrideItsValue) {
    auto family =
        Open(Col(L"RID") + Col(L"x") + Col(L"y") + Col(L"e", L" ColumnwideValue=\"{x}\""),
             L"<Row RowId=\"a\"><Cell ColumnId=\"RID\">a</Cell><Cell ColumnId=\"x\">1"
             L"</Cell><Cell ColumnId=\"y\">9</Cell><Cell ColumnId=\"e\">{y}</Cell></Row>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    CEncapFamilyRow* copy = table.CopyRow(L"A");
    ASSERT_TRUE(copy);
    const WideString id = table.GetRowIDByIndex(1);
    WideString xml;
    copy->GetXMLNode().GetXml(xml);
    EXPECT_EQ(Replace(xml, id, L"ID"),
              L"<Row RowId=\"ID\"><Cell ColumnId=\"RID\">ID</Cell><Cell ColumnId=\"x\">1</Cell>"
              L"<Cell ColumnId=\"y\">9</Cell><Cell ColumnId=\"e\">9</Cell></Row>");
    EXPECT_EQ(table.CopyRow(L"nobody"), nullptr);
    ExpectTableInStep(table, "CopyRow");
}

// Deleting a key column keeps the weights dense from 1; the order of the others stays.
TEST(StructureEdits, DeleteColumnKeepsKeyWeightsDense) {
    auto weight = [](const wchar_t* id, int w) {
        return L"<Column ColumnId=\"" + WideString(id) + L"\" KeyWeight=\"" + std::to_wstring(w) +
               L"\"/>";
    };
    const WideString columns =
        weight(L"k1", 1) + weight(L"k2", 2) + weight(L"k3", 3) + weight(L"n", 0);
    const std::tuple<int, WideString> cases[] = {
        {0, weight(L"k2", 1) + weight(L"k3", 2) + weight(L"n", 0)},
        {1, weight(L"k1", 1) + weight(L"k3", 2) + weight(L"n", 0)},
        {2, weight(L"k1", 1) + weight(L"k2", 2) + weight(L"n", 0)},
        {3, weight(L"k1", 1) + weight(L"k2", 2) + weight(L"k3", 3)},
    };
    for (const auto& [index, expected] : cases) {
        auto family = Open(columns, L"");
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        ASSERT_TRUE(table.DeleteColumn(index));
        EXPECT_EQ(TableXml(*family),
                  L"<FamilyTable><Columns>" + expected + L"</Columns><Rows/></FamilyTable>")
            << index;
        EXPECT_EQ(table.GetKeyColumns().size(), index == 3 ? 3u : 2u);
        ExpectTableInStep(table, "DeleteColumn of a key column");
    }
}

// Deleting a column that others refer to leaves them unresolved, not pointing at the deleted
// column: they fail as a read of an unknown column does, and no longer count as its dependants.
TEST(StructureEdits, DeletedColumnLeavesNoReferenceBehind) {
    auto family = Open(Col(L"x") + Col(L"e", L" ColumnwideValue=\"{x}-1\"") +
                           Col(L"f", L" ColumnwideValue=\"{e}\""),
                       L"<Row RowId=\"a\"><Cell ColumnId=\"x\">1</Cell></Row>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    ReadAll(table);
    ASSERT_TRUE(table.DeleteColumn(1));
    ExpectTableInStep(table, "DeleteColumn e");
    EXPECT_FALSE(table.GetFamilyColumnByID(L"x")->IsReferencedByOther());
    WideString value;
    EXPECT_EQ(table.GetValue(L"a", L"f", value), CTableEvaluator::EvalExpressionFailed);
}

} // namespace
} // namespace torvex

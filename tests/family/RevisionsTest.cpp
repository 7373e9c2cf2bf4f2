// Member revisions: which edits give a member a new revision, the row states they leave, the
// snapshot of the source revisions in a linked family, and the column insertion it rests on.

#include "FamilyTestSupport.h"

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>
#include <vector>

namespace torvex {
namespace {

using test::OpenFamily;
using test::TableXml;

// shape = {size}{pick} is a geometry column, host a host property column; pick is a range
// column, note and label = {note} change nothing that a member looks like.
constexpr const wchar_t* kColumns =
    L"<Column ColumnId=\"size\" ValueType=\"string\"/>"
    L"<Column ColumnId=\"pick\" ValueType=\"string\" Custom=\"true\"/>"
    L"<Column ColumnId=\"shape\" ValueType=\"string\" ColumnwideValue=\"{size}{pick}\"/>"
    L"<Column ColumnId=\"host\" ValueType=\"string\"/>"
    L"<Column ColumnId=\"note\" ValueType=\"string\"/>"
    L"<Column ColumnId=\"label\" ValueType=\"string\" ColumnwideValue=\"{note}\"/>"
    L"<Column ColumnId=\"MEMBER_REVISION\" ValueType=\"string\" Hidden=\"true\"/>";

constexpr const wchar_t* kRows = L"<Row RowId=\"r1\"><Cell ColumnId=\"size\">M5</Cell>"
                                 L"<Cell ColumnId=\"MEMBER_REVISION\">rev1</Cell></Row>"
                                 L"<Row RowId=\"r2\"><Cell ColumnId=\"size\">M6</Cell>"
                                 L"<Cell ColumnId=\"MEMBER_REVISION\">rev2</Cell></Row>";

WideString Family(const WideString& columns, const WideString& rows,
                  const WideString& rootAttributes = L"") {
    return L"<F" + rootAttributes + L"><FamilyTable><Columns>" + columns + L"</Columns><Rows>" +
           rows + L"</Rows></FamilyTable></F>";
}

WideStringList Revisions(CEncapFamilyTable& table) {
    WideStringList revisions;
    for (const WideString& row : table.GetAllRowIDs()) {
        WideString value;
        table.GetValue(row.c_str(), FamilyNames::ColMemberRevision, value);
        revisions.push_back(value);
    }
    return revisions;
}

std::vector<bool> Modified(const CEncapFamilyTable& table) {
    std::vector<bool> modified;
    for (unsigned int i = 0; i < table.GetRowsCount(); ++i)
        modified.push_back(table.GetFamilyRowByIndex(static_cast<int>(i))->IsRowModified());
    return modified;
}

CEncapFamilyColumn& Column(CEncapFamilyTable& table, const wchar_t* id) {
    return *table.GetFamilyColumnByID(id);
}

// A cell edit moves its member's revision when the column, or one depending on it, changes what
// a member looks like (a range column stops the walk); a formula edit of such a column moves all
// members to one new GUID; row states follow the cells written only.
TEST(Revisions, MoveExactlyWhenAMemberChanges) {
    enum Moves { None, First, Second, AllAlike };
    using Edit = std::function<void(CEncapFamilyTable&)>;
    auto set = [](const wchar_t* row, const wchar_t* column, bool invalidate) -> Edit {
        return [=](CEncapFamilyTable& t) { t.SetValue(row, column, L"x", invalidate); };
    };
    auto formula = [](const wchar_t* column, const wchar_t* text) -> Edit {
        return [=](CEncapFamilyTable& t) {
            text ? Column(t, column).SetFormula(text) : Column(t, column).SetEmptyFormula();
        };
    };
    using Case = std::tuple<const char*, Edit, Moves, std::vector<bool>>;
    const Case cases[] = {
        {"geometry cell", set(L"r1", L"shape", false), First, {true, false}},
        {"host property cell", set(L"r2", L"host", false), Second, {false, true}},
        {"cell a geometry column refers to", set(L"r1", L"size", true), First, {true, false}},
        {"range cell", set(L"r1", L"pick", true), None, {true, false}},
        {"plain cell", set(L"r1", L"note", true), None, {true, false}},
        {"cell of a dependent of nothing", set(L"r2", L"label", true), None, {false, true}},
        {"geometry formula", formula(L"shape", L"{pick}{size}"), AllAlike, {false, false}},
        {"formula of what a geometry column refers to",
         formula(L"size", L"{note}"),
         AllAlike,
         {false, false}},
        {"empty geometry formula", formula(L"shape", nullptr), AllAlike, {false, false}},
        {"plain formula", formula(L"note", L"z"), None, {false, false}},
        {"bump of all",
         [](auto& t) { t.BumpAllMemberRevisions(nullptr); },
         AllAlike,
         {false, false}},
    };
    for (const auto& [name, edit, moves, modified] : cases) {
        auto family = OpenFamily(Family(kColumns, kRows).c_str());
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        Column(table, L"shape").SetIsGeometryColumn(true);
        Column(table, L"host").SetIsHostPropertyColumn(true);
        edit(table);
        const WideStringList revisions = Revisions(table);
        EXPECT_EQ(revisions[0] != L"rev1", moves == First || moves == AllAlike) << name;
        EXPECT_EQ(revisions[1] != L"rev2", moves == Second || moves == AllAlike) << name;
        for (const WideString& revision : revisions)
            EXPECT_TRUE(revision.size() == 36 || revision.rfind(L"rev", 0) == 0) << name;
        EXPECT_EQ(moves == AllAlike, revisions[0] == revisions[1]) << name;
        EXPECT_EQ(Modified(table), modified) << name;
    }
}

// Writes to the revision column stay as written and mark no row, an explicit revision goes to
// every member; a revision column that itself changes what a member looks like bumps once.
TEST(Revisions, WritesToTheRevisionColumnStayAsWritten) {
    auto family = OpenFamily(Family(kColumns, kRows).c_str());
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    table.SetValue(L"r1", FamilyNames::ColMemberRevision, L"manual", true);
    table.BumpAllMemberRevisions(L"rev-7");
    table.SetValue(L"r2", FamilyNames::ColMemberRevision, L"other", true);
    EXPECT_EQ(Revisions(table), (WideStringList{L"rev-7", L"other"}));
    EXPECT_EQ(Modified(table), (std::vector<bool>{false, false}));
    Column(table, FamilyNames::ColMemberRevision).SetIsGeometryColumn(true);
    table.SetValue(L"r1", FamilyNames::ColMemberRevision, L"manual", true);
    const WideStringList revisions = Revisions(table);
    EXPECT_EQ(revisions[0].size(), 36u);
    EXPECT_EQ(revisions[1], L"other");
}

// Without a revision column nothing moves and no column is made, linked family or not.
TEST(Revisions, WithoutRevisionColumnNothingMoves) {
    for (const wchar_t* root : {L"", L" FromSource=\"Lib\""}) {
        auto family = OpenFamily(
            Family(L"<Column ColumnId=\"g\" ValueType=\"string\"/>", L"<Row RowId=\"r\"/>", root)
                .c_str());
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        Column(table, L"g").SetIsGeometryColumn(true);
        table.SetValue(L"r", L"g", L"1", false);
        table.BumpAllMemberRevisions(nullptr);
        EXPECT_EQ(TableXml(*family),
                  L"<FamilyTable><Columns><Column ColumnId=\"g\" ValueType=\"string\"/></Columns>"
                  L"<Rows><Row RowId=\"r\"><Cell ColumnId=\"g\">1</Cell></Row></Rows>"
                  L"</FamilyTable>")
            << root;
        EXPECT_EQ(table.CreateSourceMemberRevisionColumn(), nullptr);
    }
}

// The first bump in a linked family makes the hidden column SOURCE_MEMBER_REVISION and copies
// each member's revision before it moves (members without one get no cell); later bumps leave
// the snapshot alone.
TEST(Revisions, FirstBumpInALinkedFamilyKeepsTheSourceRevisions) {
    auto family =
        OpenFamily(Family(L"<Column ColumnId=\"g\" ValueType=\"string\"/>"
                          L"<Column ColumnId=\"MEMBER_REVISION\" ValueType=\"string\"/>",
                          L"<Row RowId=\"r1\"><Cell ColumnId=\"MEMBER_REVISION\">old1</Cell></Row>"
                          L"<Row RowId=\"r2\"><Cell ColumnId=\"MEMBER_REVISION\">old2</Cell></Row>"
                          L"<Row RowId=\"r3\"/>",
                          L" FromSource=\"Lib\"")
                       .c_str());
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    Column(table, L"g").SetIsGeometryColumn(true);
    table.SetValue(L"r1", L"g", L"1", false);
    const WideStringList first = Revisions(table);
    EXPECT_EQ(first[0].size(), 36u);
    const CEncapFamilyColumn* source = table.GetFamilyColumnByID(L"source_member_revision");
    ASSERT_NE(source, nullptr);
    EXPECT_TRUE(source->IsHidden());
    const WideString columns =
        L"<Columns><Column ColumnId=\"g\" ValueType=\"string\"/>"
        L"<Column ColumnId=\"MEMBER_REVISION\" ValueType=\"string\"/>"
        L"<Column ColumnId=\"SOURCE_MEMBER_REVISION\" Title=\"\" KeyWeight=\"0\" Hidden=\"true\" "
        L"ValueType=\"string\"/></Columns>";
    auto rows = [](const WideStringList& revisions) {
        return L"<Rows><Row RowId=\"r1\"><Cell ColumnId=\"MEMBER_REVISION\">" + revisions[0] +
               L"</Cell><Cell ColumnId=\"g\">1</Cell><Cell ColumnId=\"SOURCE_MEMBER_REVISION\">"
               L"old1</Cell></Row><Row RowId=\"r2\"><Cell ColumnId=\"MEMBER_REVISION\">" +
               revisions[1] +
               L"</Cell><Cell ColumnId=\"SOURCE_MEMBER_REVISION\">old2</Cell></Row>" +
               (revisions[2].empty() ? L"<Row RowId=\"r3\"/>"
                                     : L"<Row RowId=\"r3\"><Cell ColumnId=\"MEMBER_REVISION\">" +
                                           revisions[2] + L"</Cell></Row>") +
               L"</Rows>";
    };
    EXPECT_EQ(TableXml(*family), L"<FamilyTable>" + columns + rows(first) + L"</FamilyTable>");
    EXPECT_EQ(Modified(table), (std::vector<bool>{true, false, false}));
    table.BumpAllMemberRevisions(nullptr);
    const WideStringList second = Revisions(table);
    EXPECT_NE(second[0], first[0]);
    EXPECT_EQ(second[0], second[2]);
    EXPECT_EQ(TableXml(*family), L"<FamilyTable>" + columns + rows(second) + L"</FamilyTable>");
    EXPECT_EQ(table.CreateSourceMemberRevisionColumn(), nullptr) << "the column exists";
}

// A new column goes at the index (first for negative, last beyond the end), with Title, KeyWeight
// and Hidden written, and no value kept for a former column of its id; Columns is made when
// missing; an id equal ignoring case or a family without table element gives null.
TEST(Revisions, InsertNewColumnFollowsThePlaceRule) {
    const std::pair<int, WideStringList> cases[] = {
        {-1, {L"n", L"a", L"b"}}, {0, {L"n", L"a", L"b"}},  {1, {L"a", L"n", L"b"}},
        {2, {L"a", L"b", L"n"}},  {99, {L"a", L"b", L"n"}},
    };
    const WideString added =
        L"<Column ColumnId=\"n\" Title=\"n\" KeyWeight=\"0\" Hidden=\"false\"/>";
    for (const auto& [index, ids] : cases) {
        auto family = OpenFamily(
            Family(L"<Column ColumnId=\"a\"/><Column ColumnId=\"b\"/>", L"<Row RowId=\"r\"/>")
                .c_str());
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        table.GetValueCache()->SetValue(L"r", L"n", L"", L"stale");
        CEncapFamilyColumn* column = table.InsertNewColumn(index, L"n");
        EXPECT_EQ(table.GetAllColumnIDs(), ids) << index;
        EXPECT_EQ(table.GetFamilyColumnByID(L"N"), column);
        WideString columns;
        for (const WideString& id : ids)
            columns += id == L"n" ? added : L"<Column ColumnId=\"" + id + L"\"/>";
        EXPECT_EQ(TableXml(*family), L"<FamilyTable><Columns>" + columns +
                                         L"</Columns><Rows><Row RowId=\"r\"/></Rows>"
                                         L"</FamilyTable>")
            << index;
        WideString value = L"x";
        EXPECT_EQ(table.GetValue(L"r", L"n", value), CTableEvaluator::EvalOk);
        EXPECT_EQ(value, L"");
    }
    auto family = OpenFamily(L"<F><FamilyTable/></F>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    EXPECT_NE(table.InsertNewColumn(0, L"a"), nullptr);
    EXPECT_EQ(table.InsertNewColumn(0, L"A"), nullptr);
    EXPECT_EQ(TableXml(*family), L"<FamilyTable><Columns><Column ColumnId=\"a\" Title=\"a\" "
                                 L"KeyWeight=\"0\" Hidden=\"false\"/></Columns></FamilyTable>");
    EXPECT_EQ(OpenFamily(L"<F/>")->GetEncapFamilyTable()->InsertNewColumn(0, L"a"), nullptr);
}

} // namespace
} // namespace torvex

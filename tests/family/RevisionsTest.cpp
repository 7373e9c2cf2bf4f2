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

TEST(Revisions, MoveExactlyWhenAMemberChanges) {
    enum Moves { None, First, Second, AllAlike };
    const struct {
        const char* name;
        std::function<void(CEncapFamilyTable&)> edit;
        Moves moves;
        std::vector<bool> modified;
    } cases[] = {
        {"geometry cell",
         [](auto& t) { t.SetValue(L"r1", L"shape", L"x", false); },
         First,
         {true, false}},
        {"host property cell",
         [](auto& t) { t.SetValue(L"r2", L"host", L"x", false); },
         Second,
         {false, true}},
        {"cell a geometry column refers to",
         [](auto& t) { t.SetValue(L"r1", L"size", L"M8", true); },
         First,
         {true, false}},
        {"range cell",
         [](auto& t) { t.SetValue(L"r1", L"pick", L"p", true); },
         None,
         {true, false}},
        {"plain cell",
         [](auto& t) { t.SetValue(L"r1", L"note", L"n", true); },
         None,
         {true, false}},
        {"cell of a dependent of nothing",
         [](auto& t) { t.SetValue(L"r2", L"label", L"l", true); },
         None,
         {false, true}},
        {"geometry formula",
         [](auto& t) { Column(t, L"shape").SetFormula(L"{pick}{size}"); },
         AllAlike,
         {false, false}},
        {"formula of what a geometry column refers to",
         [](auto& t) { Column(t, L"size").SetFormula(L"{note}"); },
         AllAlike,
         {false, false}},
        {"empty geometry formula",
         [](auto& t) { Column(t, L"shape").SetEmptyFormula(); },
         AllAlike,
         {false, false}},
        {"plain formula",
         [](auto& t) { Column(t, L"note").SetFormula(L"z"); },
         None,
         {false, false}},
        {"bump of all",
         [](auto& t) { t.BumpAllMemberRevisions(nullptr); },
         AllAlike,
         {false, false}},
    };
    for (const auto& c : cases) {
        auto family = OpenFamily(Family(kColumns, kRows).c_str());
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        Column(table, L"shape").SetIsGeometryColumn(true);
        Column(table, L"host").SetIsHostPropertyColumn(true);
        c.edit(table);
        const WideStringList revisions = Revisions(table);
        ASSERT_EQ(revisions.size(), 2u);
        EXPECT_EQ(revisions[0] != L"rev1", c.moves == First || c.moves == AllAlike) << c.name;
        EXPECT_EQ(revisions[1] != L"rev2", c.moves == Second || c.moves == AllAlike) << c.name;
        for (const WideString& revision : revisions)
            EXPECT_TRUE(revision.size() == 36 || revision.rfind(L"rev", 0) == 0) << c.name;
        if (c.moves == AllAlike) {
            EXPECT_EQ(revisions[0], revisions[1]) << c.name;
        }
        EXPECT_EQ(Modified(table), c.modified) << c.name;
    }
}

TEST(Revisions, WritesToTheRevisionColumnStayAsWritten) {
    auto family = OpenFamily(Family(kColumns, kRows).c_str());
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    table.SetValue(L"r1", FamilyNames::ColMemberRevision, L"manual", true);
    table.BumpAllMemberRevisions(L"rev-7");
    table.SetValue(L"r2", FamilyNames::ColMemberRevision, L"other", true);
    EXPECT_EQ(Revisions(table), (WideStringList{L"rev-7", L"other"}));
    EXPECT_EQ(Modified(table), (std::vector<bool>{false, false}));

    // A revision column that itself changes what a member looks like bumps once and ends: the
    // written text gives way to one new revision.
    Column(table, FamilyNames::ColMemberRevision).SetIsGeometryColumn(true);
    table.SetValue(L"r1", FamilyNames::ColMemberRevision, L"manual", true);
    const WideStringList revisions = Revisions(table);
    EXPECT_EQ(revisions[0].size(), 36u);
    EXPECT_EQ(revisions[1], L"other");
}

TEST(Revisions, LoopOfFormulasReadFromTheDocumentEndsTheWalks) {
    // x = {y} and y = {x} can only come from a document; z = {x} is a geometry column.
    auto family =
        OpenFamily(Family(L"<Column ColumnId=\"x\" ValueType=\"string\" ColumnwideValue=\"{y}\"/>"
                          L"<Column ColumnId=\"y\" ValueType=\"string\" ColumnwideValue=\"{x}\"/>"
                          L"<Column ColumnId=\"z\" ValueType=\"string\" ColumnwideValue=\"{x}\"/>"
                          L"<Column ColumnId=\"u\" ValueType=\"string\"/>"
                          L"<Column ColumnId=\"MEMBER_REVISION\" ValueType=\"string\"/>",
                          L"<Row RowId=\"r\"><Cell ColumnId=\"u\">1</Cell></Row>")
                       .c_str());
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    EXPECT_FALSE(Column(table, L"x").ChangeInColumnCausesRefresh());
    table.GetValueCache()->SetValue(L"r", L"u", L"", L"1");
    table.SetValue(L"r", L"x", L"2", true);
    EXPECT_EQ(Revisions(table), WideStringList{L""});

    Column(table, L"z").SetIsGeometryColumn(true);
    EXPECT_TRUE(Column(table, L"y").ChangeInColumnCausesRefresh());
    table.GetValueCache()->SetValue(L"r", L"y", L"", L"old");
    table.SetValue(L"r", L"x", L"3", true);
    EXPECT_EQ(Revisions(table)[0].size(), 36u);
    WideString cached;
    EXPECT_EQ(table.GetValueCache()->GetValue(L"r", L"u", L"", cached), 0) << "outside the loop";
    EXPECT_EQ(table.GetValueCache()->GetValue(L"r", L"y", L"", cached), 1);
}

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
    EXPECT_EQ(table.GetAllColumnIDs(),
              (WideStringList{L"g", L"MEMBER_REVISION", L"SOURCE_MEMBER_REVISION"}));
    const CEncapFamilyColumn* source = table.GetFamilyColumnByID(L"source_member_revision");
    ASSERT_NE(source, nullptr);
    EXPECT_TRUE(source->IsHidden());
    EXPECT_EQ(source->GetDataType(), DataTypes::DataString);
    EXPECT_EQ(source->GetKeyWeight(), 0);
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

    // Later bumps leave the source revisions alone.
    table.BumpAllMemberRevisions(nullptr);
    const WideStringList second = Revisions(table);
    EXPECT_NE(second[0], first[0]);
    EXPECT_EQ(second[0], second[2]);
    EXPECT_EQ(TableXml(*family), L"<FamilyTable>" + columns + rows(second) + L"</FamilyTable>");
    EXPECT_EQ(table.CreateSourceMemberRevisionColumn(), nullptr) << "the column exists";
}

TEST(Revisions, InsertNewColumnFollowsThePlaceRule) {
    const struct {
        int index;
        WideStringList ids;
    } cases[] = {
        {-1, {L"n", L"a", L"b"}}, {0, {L"n", L"a", L"b"}},  {1, {L"a", L"n", L"b"}},
        {2, {L"a", L"b", L"n"}},  {99, {L"a", L"b", L"n"}},
    };
    for (const auto& c : cases) {
        auto family = OpenFamily(
            Family(L"<Column ColumnId=\"a\"/><Column ColumnId=\"b\"/>", L"<Row RowId=\"r\"/>")
                .c_str());
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        // A value kept for a former column of that id isn't served for the new one.
        table.GetValueCache()->SetValue(L"r", L"n", L"", L"stale");
        CEncapFamilyColumn* column = table.InsertNewColumn(c.index, L"n");
        ASSERT_NE(column, nullptr) << c.index;
        EXPECT_EQ(table.GetAllColumnIDs(), c.ids) << c.index;
        EXPECT_EQ(table.GetFamilyColumnByID(L"N"), column);
        WideString columns;
        for (const WideString& id : c.ids)
            columns += id == L"n" ? L"<Column ColumnId=\"n\" Title=\"n\" KeyWeight=\"0\" "
                                    L"Hidden=\"false\"/>"
                                  : L"<Column ColumnId=\"" + id + L"\"/>";
        EXPECT_EQ(TableXml(*family), L"<FamilyTable><Columns>" + columns +
                                         L"</Columns><Rows><Row RowId=\"r\"/></Rows>"
                                         L"</FamilyTable>")
            << c.index;
        EXPECT_EQ(column->GetColumnType(), CEncapFamilyColumn::ColumnTypeNormal);
        EXPECT_FALSE(column->IsPropertyColumn() || column->IsStatusColumn());
        WideString value = L"x";
        EXPECT_EQ(table.GetValue(L"r", L"n", value), CTableEvaluator::EvalOk);
        EXPECT_EQ(value, L"");
    }

    auto family = OpenFamily(L"<F><FamilyTable/></F>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    EXPECT_NE(table.InsertNewColumn(0, L"a"), nullptr) << "Columns is made when missing";
    EXPECT_EQ(table.InsertNewColumn(0, L"A"), nullptr) << "an id equal ignoring case";
    EXPECT_EQ(table.GetColumnsCount(), 1u);
    EXPECT_EQ(TableXml(*family), L"<FamilyTable><Columns><Column ColumnId=\"a\" Title=\"a\" "
                                 L"KeyWeight=\"0\" Hidden=\"false\"/></Columns></FamilyTable>");

    auto bare = OpenFamily(L"<F/>");
    EXPECT_EQ(bare->GetEncapFamilyTable()->InsertNewColumn(0, L"a"), nullptr) << "no table node";
}

} // namespace
} // namespace torvex

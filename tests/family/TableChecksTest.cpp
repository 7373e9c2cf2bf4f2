// The checks a host runs before and after an edit: values with their rewrites, range columns,
// new column names, the data check of a range column and the repair of a column whose type
// changed, key and custom columns, the file name column; and the cache file of a family that
// has no string documents.

#include "FamilyTestSupport.h"

#include "../evaluation/TestProvider.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

namespace torvex {
namespace {

using test::TableXml;

std::unique_ptr<CEncapFamily> Open(const WideString& columns, const WideString& rows,
                                   const WideString& more = L"",
                                   IEvaluatorProvider* provider = nullptr,
                                   const wchar_t* cacheFolder = nullptr) {
    const WideString xml = L"<F>" + more + L"<FamilyTable><Columns>" + columns +
                           L"</Columns><Rows>" + rows + L"</Rows></FamilyTable></F>";
    return std::make_unique<CEncapFamily>(xml.c_str(), WideStringList{}, cacheFolder,
                                          provider ? provider : new test::TestProvider(), false);
}

WideString Col(const WideString& id, const wchar_t* type, const WideString& more = L"") {
    return L"<Column ColumnId=\"" + id + L"\" ValueType=\"" + type + L"\"" + more + L"/>";
}

// Values that pass and fail by data type, with the text an expression is rewritten to; range
// columns check bounds and a step counted from the minimum instead of the integer check.
TEST(TableChecks, CellValuesThatPassAndFail) {
    const WideString columns =
        Col(L"s", L"string") + Col(L"b", L"boolean") + Col(L"i", L"integer") +
        Col(L"r", L"double", L" UnitType=\"mm\"") + Col(L"u", L"double", L" UnitType=\"ul\"") +
        Col(L"ci", L"integer", L" Custom=\"true\" ColumnwideValue=\"[1;10;2;]\"") +
        Col(L"cn", L"integer", L" Custom=\"true\" ColumnwideValue=\"[1;10;;]\"") +
        Col(L"co", L"double", L" Custom=\"true\" ColumnwideValue=\"[;10;2;]\"") +
        Col(L"cr", L"double", L" Custom=\"true\" UnitType=\"mm\" ColumnwideValue=\"[{r};;;]\"");
    auto family = Open(columns, L"<Row RowId=\"a\"><Cell ColumnId=\"r\">5</Cell></Row>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    const std::tuple<const wchar_t*, const wchar_t*, bool, const wchar_t*> cases[] = {
        {L"s", L"anything {x}", true, L"anything {x}"},
        {L"b", L"True", true, L"True"},
        {L"b", L"maybe", false, L"maybe"},
        {L"i", L"3", true, L"3"},
        {L"i", L"3.000001", true, L"3.000001"},
        {L"i", L"2.5", false, L"2.5"},
        {L"i", L"1+1", true, L"2"},
        {L"r", L"1+1", true, L"2"},        // in the column's unit: 2 mm
        {L"r", L"1cm+1", true, L"11"},     // 1 cm + 1 mm in mm
        {L"r", L"1/3", true, L"0.333333"}, // six digits survive the conversion from "cm"
        {L"r", L"1+", false, L"1+"},
        {L"u", L"7/2", true, L"3.5"},
        {L"ci", L"3", true, L"3"},
        {L"ci", L"4", false, L"4"}, // the step counts from 1
        {L"ci", L"11", false, L"11"},
        {L"ci", L"0", false, L"0"},
        {L"cn", L"2.5", true, L"2.5"}, // no integer check on a range column
        {L"co", L"4", false, L"4"},    // no minimum: the step has no origin
        {L"co", L"-1000", false, L"-1000"},
        {L"cr", L"5", true, L"5"}, // the minimum refers to the row's own cell
        {L"cr", L"4.9", false, L"4.9"},
        {L"unknown", L"1", false, L"1"},
    };
    for (const auto& [column, input, valid, rewritten] : cases) {
        WideString value = input;
        EXPECT_EQ(table.IsCellValueValid(L"a", column, value), valid)
            << platform::ToUtf8(column) << " " << platform::ToUtf8(input);
        EXPECT_EQ(value, rewritten) << platform::ToUtf8(column) << " " << platform::ToUtf8(input);
    }
}

TEST(TableChecks, NewColumnNames) {
    auto family = Open(Col(L"Length", L"double"), L"");
    const CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    const std::tuple<const wchar_t*, bool> cases[] = {
        {L"A_1-b", true},   {L"x", true},       {L"_A", false}, {L"1a", false},
        {L"A B", false},    {L"a.b", false},    {L"", false},   {nullptr, false},
        {L"length", false}, {L"Length2", true}, {L"-a", false},
    };
    for (const auto& [name, valid] : cases)
        EXPECT_EQ(table.IsValidNewColumnName(name), valid)
            << (name ? platform::ToUtf8(name) : "null");
}

// The index of the first row whose value leaves the range; -1 when all fit or there is no row,
// and 0 for an unknown column.
TEST(TableChecks, RangeColumnData) {
    const WideString column =
        Col(L"c", L"integer", L" Custom=\"true\" ColumnwideValue=\"[2;8;2;4]\"");
    auto cell = [](const wchar_t* id, const wchar_t* value) {
        return L"<Row RowId=\"" + WideString(id) + L"\"><Cell ColumnId=\"c\">" + value +
               L"</Cell></Row>";
    };
    const std::tuple<WideString, const wchar_t*, int> cases[] = {
        {L"", L"c", -1},
        {cell(L"a", L"2") + cell(L"b", L"8"), L"c", -1},
        {cell(L"a", L"2") + cell(L"b", L"7") + cell(L"c", L"9"), L"c", 1},
        {cell(L"a", L"10"), L"c", 0},
        {cell(L"a", L"2"), L"nothing", 0},
    };
    for (const auto& [rows, id, expected] : cases) {
        auto family = Open(column, rows);
        EXPECT_EQ(family->GetEncapFamilyTable()->CheckRangeColumnData(id, nullptr), expected)
            << platform::ToUtf8(rows);
    }
}

// A column whose type changed under its cells: cells that no longer fit the type go, and the
// rows fall back to the formula; cells that fit stay.
TEST(TableChecks, RepairRemovesCellsOfTheWrongType) {
    auto family = Open(Col(L"b", L"string", L" ColumnwideValue=\"false\""),
                       L"<Row RowId=\"a\"><Cell ColumnId=\"b\">yes please</Cell></Row>"
                       L"<Row RowId=\"c\"><Cell ColumnId=\"b\">true</Cell></Row>");
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    WideString value;
    ASSERT_EQ(table.GetValue(L"a", L"b", value), CTableEvaluator::EvalOk);
    table.SetColumnDataType(L"b", DataTypes::DataBoolean);
    table.ValidateAndRepairColumnData(table.GetFamilyColumnByID(L"b"));
    EXPECT_EQ(TableXml(*family),
              L"<FamilyTable><Columns><Column ColumnId=\"b\" ValueType=\"boolean\" "
              L"ColumnwideValue=\"false\"/></Columns><Rows><Row RowId=\"a\"/><Row RowId=\"c\">"
              L"<Cell ColumnId=\"b\">true</Cell></Row></Rows></FamilyTable>");
    ASSERT_EQ(table.GetValue(L"a", L"b", value), CTableEvaluator::EvalOk);
    EXPECT_EQ(value, L"false");
    table.ValidateAndRepairColumnData(nullptr);
}

TEST(TableChecks, KeyAndCustomColumnsAndRowStates) {
    auto plain = Open(Col(L"a", L"string"), L"<Row RowId=\"r\"/>");
    EXPECT_TRUE(plain->GetEncapFamilyTable()->GetKeyColumns().empty());
    EXPECT_FALSE(plain->GetEncapFamilyTable()->HasCustomColumns());
    auto keyed =
        Open(Col(L"a", L"string", L" KeyWeight=\"2\"") +
                 Col(L"b", L"integer", L" Custom=\"true\" KeyWeight=\"1\"") + Col(L"c", L"string"),
             L"<Row RowId=\"r\"/><Row RowId=\"s\"/>");
    CEncapFamilyTable& table = *keyed->GetEncapFamilyTable();
    EXPECT_EQ(table.GetKeyColumns().size(), 2u);
    EXPECT_TRUE(table.HasCustomColumns());
    table.SetRowStateOfAllRows(CEncapFamilyRow::RowModified);
    EXPECT_TRUE(table.GetFamilyRowByID(L"s")->IsRowModified());
    table.SetRowStateOfAllRows(CEncapFamilyRow::RowUnchanged);
    EXPECT_FALSE(table.GetFamilyRowByID(L"r")->IsRowModified());
}

// Whether the file name reaches every custom column, directly or through other columns.
TEST(TableChecks, FileNameOfCustomParts) {
    const WideString map =
        L"<ParameterMap><MemberParametersMap><ParamsToColumn><ParamToColumn TableColumn=\"FN\">"
        L"<CategoryParameterRef Category=\"c\" "
        L"CategoryParameter=\"8b46a4cc-9585-4fed-90c3-899f57e09a73\"/></ParamToColumn>"
        L"</ParamsToColumn></MemberParametersMap></ParameterMap>";
    const WideString custom = Col(L"L", L"integer", L" Title=\"Length\" Custom=\"true\"") +
                              Col(L"D", L"integer", L" Title=\"Diameter\" Custom=\"true\"") +
                              Col(L"M", L"string", L" ColumnwideValue=\"{D}\"");
    auto fileName = [](const wchar_t* formula) {
        return Col(L"FN", L"string",
                   formula ? L" ColumnwideValue=\"" + WideString(formula) + L"\"" : WideString());
    };
    const std::tuple<const char*, WideString, WideString, bool, WideStringList> cases[] = {
        {"no custom columns", fileName(L"x"), L"", true, {}},
        {"reaches both, one through M", custom + fileName(L"{L}-{M}"), L"", true, {}},
        {"misses one", custom + fileName(L"{L}"), L"", false, {L"Diameter"}},
        {"no formula", custom + fileName(nullptr), L"", false, {L"Length", L"Diameter"}},
        {"an override",
         custom + fileName(L"{L}-{D}"),
         L"<Row RowId=\"r\"><Cell ColumnId=\"FN\">own</Cell></Row>",
         false,
         {L"Length", L"Diameter"}},
    };
    for (const auto& [name, columns, rows, unique, missing] : cases) {
        auto family = Open(columns, rows, map);
        WideStringList titles{L"left over"};
        EXPECT_EQ(family->GetEncapFamilyTable()->FileNameOfCustomPartIsUnique(titles), unique)
            << name;
        EXPECT_EQ(titles, missing) << name;
    }
    auto none = Open(Col(L"FN", L"string"), L"");
    WideStringList titles;
    EXPECT_FALSE(none->GetEncapFamilyTable()->FileNameOfCustomPartIsUnique(titles));
}

// A family without string documents has the empty text for its language. Its cache file holds
// that language like any other, so the next open serves every value from the file without one
// call to the host.
TEST(TableChecks, CacheFileOfAFamilyWithoutStringDocuments) {
    const std::filesystem::path folder = test::FreshDirectory();
    const WideString columns = Col(L"x", L"double", L" UnitType=\"mm\"") +
                               Col(L"y", L"double", L" UnitType=\"mm\" ColumnwideValue=\"{x}*2\"");
    const WideString rows = L"<Row RowId=\"r\"><Cell ColumnId=\"x\">3</Cell></Row>";
    {
        auto* provider = new test::TestProvider();
        auto family = Open(columns, rows, L"", provider, folder.wstring().c_str());
        WideString value;
        ASSERT_EQ(family->GetEncapFamilyTable()->GetValue(L"r", L"y", value),
                  CTableEvaluator::EvalOk);
        EXPECT_EQ(value, L"6");
        EXPECT_FALSE(provider->calls.empty());
    }
    ASSERT_EQ(test::CacheFilesIn(folder), 1u);
    std::string bytes;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        ASSERT_TRUE(platform::ReadFileBytes(entry.path().wstring(), bytes));
    // version 1; two columns "x" and "y"; then language count 1 and the empty wide string.
    const std::string head =
        std::string("\x01\x00\x00\x00\x02\x00", 6) + std::string("\xFF\xFE\xFF\x01x\x00", 6) +
        std::string("\xFF\xFE\xFF\x01y\x00", 6) + std::string("\x01\x00\xFF\xFE\xFF\x00", 6);
    EXPECT_EQ(bytes.substr(0, head.size()), head);
    {
        auto* provider = new test::TestProvider();
        auto family = Open(columns, rows, L"", provider, folder.wstring().c_str());
        WideString value;
        ASSERT_EQ(family->GetEncapFamilyTable()->GetValue(L"r", L"y", value),
                  CTableEvaluator::EvalOk);
        EXPECT_EQ(value, L"6");
        EXPECT_TRUE(provider->calls.empty());
    }
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace torvex

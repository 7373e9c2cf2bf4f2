// Cell evaluation as a host sees it: where a cell's text comes from, what the host is asked,
// units and the unitless fall-back, the decimal separator, Strings, Booleans, ranges, materials,
// loops, free expressions, and host exceptions.

#include "TestProvider.h"

#include "platform/RequireLocale.h"
#include "platform/ScopedEnvironment.h"
#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyColumn.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace torvex {
namespace {

using test::FamilyXml;
using test::TestFamily;
using E = CTableEvaluator;
using Result = E::EvaluateResult;

// len (mm) and cnt (no unit) are 3 in every row; w is 3 in a unit the host doesn't know.
const WideString kColumns =
    L"<Column ColumnId=\"len\" ValueType=\"double\" UnitType=\"mm\"/>"
    L"<Column ColumnId=\"cnt\" ValueType=\"integer\"/>"
    L"<Column ColumnId=\"w\" ValueType=\"double\" UnitType=\"kg\"/>"
    L"<Column ColumnId=\"ok\" ValueType=\"boolean\"/>"
    L"<Column ColumnId=\"twice\" ValueType=\"double\" UnitType=\"mm\" ColumnwideValue=\"{len}*2\"/>"
    L"<Column ColumnId=\"inch\" ValueType=\"double\" UnitType=\"in\" ColumnwideValue=\"{len}*2\"/>"
    L"<Column ColumnId=\"plus\" ValueType=\"double\" ColumnwideValue=\"{cnt}*2\"/>"
    L"<Column ColumnId=\"mixed\" ValueType=\"double\" UnitType=\"mm\" "
    L"ColumnwideValue=\"{len}+{cnt}\"/>"
    L"<Column ColumnId=\"heavy\" ValueType=\"double\" UnitType=\"kg\" "
    L"ColumnwideValue=\"{len}*2\"/>"
    L"<Column ColumnId=\"wide\" ValueType=\"double\" ColumnwideValue=\"{w}*2\"/>"
    L"<Column ColumnId=\"never\" ValueType=\"double\" ColumnwideValue=\"{len}*\"/>"
    L"<Column ColumnId=\"seven\" ValueType=\"integer\" ColumnwideValue=\"7.5\"/>"
    L"<Column ColumnId=\"name\" ValueType=\"string\" "
    L"ColumnwideValue=\"&quot;M&quot; &amp; {len} &amp; &quot;x&quot; &amp; {cnt}\"/>"
    L"<Column ColumnId=\"quoted\" ValueType=\"string\" ColumnwideValue=\"&quot;abc&quot;\"/>"
    L"<Column ColumnId=\"last0\" ValueType=\"string\" "
    L"ColumnwideValue=\"{mixed} &amp; {len}\"/>"
    L"<Column ColumnId=\"last8\" ValueType=\"string\" "
    L"ColumnwideValue=\"{len} &amp; {mixed}\"/>"
    L"<Column ColumnId=\"flag\" ValueType=\"boolean\" ColumnwideValue=\"{ok}\"/>"
    L"<Column ColumnId=\"ja\" ValueType=\"boolean\" ColumnwideValue=\"Ja\"/>"
    L"<Column ColumnId=\"noflag\" ValueType=\"boolean\"/>"
    L"<Column ColumnId=\"nothing\" ValueType=\"double\"/>"
    L"<Column ColumnId=\"unknown\" ValueType=\"double\" ColumnwideValue=\"{nope}*2\"/>"
    L"<Column ColumnId=\"braces\" ValueType=\"double\" ColumnwideValue=\"{len\"/>"
    L"<Column ColumnId=\"self\" ValueType=\"double\" ColumnwideValue=\"{self}+1\"/>"
    L"<Column ColumnId=\"outer\" ValueType=\"double\" ColumnwideValue=\"{self}\"/>"
    L"<Column ColumnId=\"p\" ValueType=\"double\"/>"
    L"<Column ColumnId=\"q\" ValueType=\"double\"/>"
    L"<Column ColumnId=\"RID\"/><Column ColumnId=\"STATUS\" ColumnwideValue=\"{len}\"/>";

const WideString kRows =
    L"<Row RowId=\"r1\"><Cell ColumnId=\"len\">3</Cell><Cell ColumnId=\"cnt\">3</Cell>"
    L"<Cell ColumnId=\"w\">3</Cell><Cell ColumnId=\"ok\">yes</Cell>"
    L"<Cell ColumnId=\"p\">{q}</Cell><Cell ColumnId=\"q\">{p}*2</Cell>"
    L"<Cell ColumnId=\"RID\">r1</Cell><Cell ColumnId=\"STATUS\">{cnt}</Cell></Row>"
    // The row's own texts win over the column formula: a literal, a formula, an empty text.
    L"<Row RowId=\"r2\"><Cell ColumnId=\"len\">3</Cell><Cell ColumnId=\"twice\">10</Cell>"
    L"<Cell ColumnId=\"plus\">{len}*3</Cell><Cell ColumnId=\"seven\"></Cell>"
    L"<Cell ColumnId=\"nothing\">12.50</Cell></Row>";

struct Read {
    Result result;
    WideString value;
};

Read ReadCell(CEncapFamilyTable& table, const wchar_t* row, const wchar_t* column) {
    Read read{E::EvalOk, L"untouched"};
    read.result = table.GetValue(row, column, read.value);
    return read;
}

// Each cell read against the calls the host gets: unit words on references ("3mm*2", "3ul*2"),
// conversion back from the internal unit, the unitless fall-back (8), plain numbers without the
// host, the row's text over the column formula, String concatenation, Boolean checks, unknown
// columns (3), broken braces (2), loops over columns and over cells (1), the raw status cell.
TEST(CellEvaluation, ValuesAndWhatTheHostIsAsked) {
    // value: "untouched" when the read gave none
    // calls: every call to the host during the read
    using Case = std::tuple<const wchar_t*, const wchar_t*, Result, const wchar_t*, const wchar_t*>;
    const Case cases[] = {
        // Unit words attached to references; the answer comes back from cm to the unit.
        {L"r1", L"twice", E::EvalOk, L"6", L"Internal(mm) Evaluate(3mm*2|mm) Convert(0.6|cm|mm)"},
        {L"r1", L"inch", E::EvalOk, L"0.23622047",
         L"Internal(in) Evaluate(3mm*2|in) Convert(0.6|cm|in)"},
        {L"r1", L"plus", E::EvalOk, L"6", L"Internal(ul) Evaluate(3ul*2|ul)"},
        // Units that don't fit: the text without units is computed, never converted.
        {L"r1", L"mixed", E::EvalUnitMismatch, L"6",
         L"Internal(mm) Evaluate(3mm+3ul|mm) Evaluate(3+3|ul)"},
        {L"r1", L"heavy", E::EvalExpressionFailed, L"untouched", L"Internal(kg)"},
        {L"r1", L"never", E::EvalExpressionFailed, L"untouched",
         L"Internal(ul) Evaluate(3mm*|ul) Evaluate(3*|ul)"},
        // A unit word the host doesn't know fails the first attempt only.
        {L"r1", L"wide", E::EvalUnitMismatch, L"6",
         L"Internal(ul) Evaluate(3kg*2|ul) Evaluate(3*2|ul)"},
        // A plain number stays as written, without the host; an Integer isn't checked.
        {L"r1", L"seven", E::EvalOk, L"7.5", L""},
        {L"r2", L"nothing", E::EvalOk, L"12.50", L""},
        {L"r1", L"nothing", E::EvalOk, L"", L""}, // empty counts as a number
        // The row's text wins over the column formula.
        {L"r2", L"twice", E::EvalOk, L"10", L""},
        {L"r2", L"plus", E::EvalOk, L"0.9", L"Internal(ul) Evaluate(3mm*3|ul)"},
        {L"r2", L"seven", E::EvalOk, L"", L""},
        // Strings: references without units, tokens unquoted; a lone quoted text keeps quotes.
        {L"r1", L"name", E::EvalOk, L"M3x3", L""},
        {L"r1", L"quoted", E::EvalOk, L"\"abc\"", L""},
        // Only the last reference's code survives.
        {L"r1", L"last0", E::EvalOk, L"63", L"Internal(mm) Evaluate(3mm+3ul|mm) Evaluate(3+3|ul)"},
        {L"r1", L"last8", E::EvalUnitMismatch, L"36",
         L"Internal(mm) Evaluate(3mm+3ul|mm) Evaluate(3+3|ul)"},
        // Booleans are checked, not normalised.
        {L"r1", L"flag", E::EvalOk, L"yes", L""},
        {L"r1", L"ja", E::EvalTypeMismatch, L"untouched", L""},
        {L"r1", L"noflag", E::EvalTypeMismatch, L"untouched", L""},
        // Failures of the text itself.
        {L"r1", L"unknown", E::EvalExpressionFailed, L"untouched", L""},
        {L"r1", L"braces", E::EvalSyntaxError, L"untouched", L""},
        {L"r1", L"zz", E::EvalExpressionFailed, L"untouched", L""},
        // Loops: a column on itself, through another column, and through two cells.
        {L"r1", L"self", E::EvalCircularDependency, L"untouched", L""},
        {L"r1", L"outer", E::EvalCircularDependency, L"untouched", L""},
        {L"r1", L"p", E::EvalCircularDependency, L"untouched", L""},
        // The status answers its raw cell and is never evaluated.
        {L"r1", L"Status", E::EvalOk, L"{cnt}", L""},
        // An empty row id, while the cache knows no row, keeps no value: nor do its references.
        {L"", L"seven", E::EvalNoValue, L"untouched", L""},
        {L"", L"twice", E::EvalNoValue, L"untouched", L""},
    };
    for (const auto& [row, column, result, value, calls] : cases) {
        // A family of its own for each read, so that nothing comes from the cache.
        TestFamily f(FamilyXml(kColumns, kRows));
        const Read read = ReadCell(f.Table(), row, column);
        EXPECT_EQ(read.result, result) << row << " " << column;
        EXPECT_EQ(read.value, value) << row << " " << column;
        EXPECT_EQ(f.host->Log(), calls) << row << " " << column;
        EXPECT_TRUE(f.Table().GetEvaluator()->GetCellsInProgress().empty());
    }
}

// A string document serves only localized columns; values are kept in the actual language.
TEST(CellEvaluation, StringDocumentsServeOnlyLocalizedColumns) {
    // The string document holds a cell text and a formula for "twice", which the family doesn't
    // localize: the family document's texts decide, and the values are kept in the language.
    const WideString strings =
        L"<FamilyStrings xml:lang=\"de-DE\"><Table><ColumnStrings ColumnId=\"twice\">"
        L"<ColumnwideValue>{len}*5</ColumnwideValue>"
        L"<Rows><CellString RowId=\"r2\">99</CellString></Rows></ColumnStrings></Table>"
        L"</FamilyStrings>";
    TestFamily f(FamilyXml(kColumns, kRows), false, {strings});
    EXPECT_EQ(ReadCell(f.Table(), L"r1", L"twice").value, L"6");
    EXPECT_EQ(ReadCell(f.Table(), L"r2", L"twice").value, L"10");
    WideString cached;
    EXPECT_EQ(f.Table().GetValueCache()->GetValue(L"r1", L"twice", L"de-DE", cached), 0);
    EXPECT_EQ(cached, L"6");
}

// Values, and references read on the way, are cached and answered without the host; a value
// made without units (8) is delivered every time and never kept; a failed read keeps nothing.
TEST(CellEvaluation, CacheKeepsValuesButNotThoseWithoutUnits) {
    TestFamily f(FamilyXml(kColumns, kRows));
    CEncapFamilyTable& table = f.Table();
    CTableValueCache& cache = *table.GetValueCache();
    WideString cached;

    EXPECT_EQ(ReadCell(table, L"r1", L"twice").value, L"6");
    // The reference on the way is cached too.
    EXPECT_EQ(cache.GetValue(L"r1", L"len", L"", cached), 0);
    EXPECT_EQ(cached, L"3");
    EXPECT_EQ(cache.GetValue(L"r1", L"twice", L"", cached), 0);
    EXPECT_EQ(cached, L"6");
    f.host->calls.clear();
    EXPECT_EQ(ReadCell(table, L"r1", L"twice").value, L"6");
    EXPECT_TRUE(f.host->calls.empty());

    // The unitless value is delivered every time and never kept: each read asks the host again.
    for (int i = 0; i < 2; ++i) {
        f.host->calls.clear();
        const Read read = ReadCell(table, L"r1", L"mixed");
        EXPECT_EQ(read.result, E::EvalUnitMismatch);
        EXPECT_EQ(read.value, L"6");
        EXPECT_EQ(cache.GetValue(L"r1", L"mixed", L"", cached), 1);
        EXPECT_EQ(f.host->calls.size(), 3u);
    }

    // A failed evaluation writes nothing.
    ReadCell(table, L"r1", L"ja");
    EXPECT_EQ(cache.GetValue(L"r1", L"ja", L"", cached), 1);
}

// A localized family writes numbers with the user's separator: Real literals and computed values
// (in "%g" of 6 digits after conversion), references handed to the host; Integer literals stay.
TEST(CellEvaluation, LocalizedFamilyUsesTheUserSeparator) {
    TORVEX_REQUIRE_LOCALE("de_DE.UTF-8");
    testing::ScopedEnvironment environment;
    environment.ClearLocale();
    environment.Set("LC_ALL", "de_DE.UTF-8");
    const WideString columns =
        L"<Column ColumnId=\"len\" ValueType=\"double\" UnitType=\"mm\"/>"
        L"<Column ColumnId=\"half\" ValueType=\"double\" ColumnwideValue=\"1.5\"/>"
        L"<Column ColumnId=\"area\" ValueType=\"double\" UnitType=\"mm\" "
        L"ColumnwideValue=\"{len}*{half}\"/>"
        L"<Column ColumnId=\"third\" ValueType=\"double\" UnitType=\"mm\" "
        L"ColumnwideValue=\"{len}/3\"/>"
        L"<Column ColumnId=\"count\" ValueType=\"integer\" ColumnwideValue=\"1.5\"/>";
    using Case = std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*>;
    const Case cases[] = {
        {L"r1", L"len", L"12,50", L""},
        {L"r2", L"len", L"1,5", L""},
        {L"r1", L"half", L"1,5", L""},
        {L"r1", L"count", L"1.5", L""}, // Integer literals are left alone
        {L"r2", L"area", L"2,25", L"Evaluate(1,5mm*1,5ul|mm)"},
        // Only 6 digits survive the conversion.
        {L"r1", L"third", L"4,16667", L"Evaluate(12,50mm/3|mm)"},
    };
    for (const auto& [row, column, value, evaluations] : cases) {
        TestFamily f(FamilyXml(columns, L"<Row RowId=\"r1\"><Cell ColumnId=\"len\">12.50</Cell>"
                                        L"</Row><Row RowId=\"r2\"><Cell ColumnId=\"len\">1,5"
                                        L"</Cell></Row>"),
                     true);
        const Read read = ReadCell(f.Table(), row, column);
        EXPECT_EQ(read.result, E::EvalOk) << row << " " << column;
        EXPECT_EQ(read.value, value) << row << " " << column;
        EXPECT_EQ(f.host->Log(L"Evaluate("), evaluations) << column;
    }
}

// A range column answers the chosen value (by exact id), else its default, else its minimum,
// each evaluated; a range text in a column that isn't a range column goes to the host.
TEST(CellEvaluation, RangeColumnsTakeChosenValueDefaultOrMinimum) {
    const WideString columns =
        L"<Column ColumnId=\"len\" ValueType=\"double\" UnitType=\"mm\"/>"
        L"<Column ColumnId=\"a\" ValueType=\"double\" Custom=\"true\" "
        L"ColumnwideValue=\"[1;10;1;]\"/>"
        L"<Column ColumnId=\"b\" ValueType=\"double\" Custom=\"true\" "
        L"ColumnwideValue=\"[ 1 ; 10 ; ; 5 ]\"/>"
        L"<Column ColumnId=\"c\" ValueType=\"double\" UnitType=\"mm\" Custom=\"true\" "
        L"ColumnwideValue=\"[{len}*2;100;;]\"/>"
        L"<Column ColumnId=\"d\" ValueType=\"double\" UnitType=\"mm\" Custom=\"true\" "
        L"ColumnwideValue=\"8\"/>"
        L"<Column ColumnId=\"e\" ValueType=\"double\" ColumnwideValue=\"[1;10;1;4]\"/>";
    using Case =
        std::tuple<const wchar_t*, std::map<WideString, WideString>, Result, const wchar_t*>;
    const Case cases[] = {
        {L"a", {}, E::EvalOk, L"1"},
        {L"b", {}, E::EvalOk, L"5"},
        {L"c", {}, E::EvalOk, L"6"},
        {L"d", {}, E::EvalOk, L"8"}, // no range: the text as it is
        {L"b", {{L"b", L"7"}}, E::EvalOk, L"7"},
        {L"b", {{L"B", L"7"}}, E::EvalOk, L"5"}, // chosen ids compare exactly
        {L"d", {{L"d", L"{len}"}}, E::EvalOk, L"3"},
        // Not a range column: the range text goes to the host, which refuses it.
        {L"e", {}, E::EvalExpressionFailed, L"untouched"},
    };
    for (const auto& [column, chosen, result, value] : cases) {
        TestFamily f(FamilyXml(columns, L"<Row RowId=\"r\"><Cell ColumnId=\"len\">3</Cell></Row>"));
        f.Table().SetRangeColumnValues(chosen);
        const Read read = ReadCell(f.Table(), L"r", column);
        EXPECT_EQ(read.result, result) << column;
        EXPECT_EQ(read.value, value) << column;
    }
}

// A material column's literals are keys the host names; references stay as they are.
TEST(CellEvaluation, MaterialLiteralsAreNamedByTheHost) {
    TestFamily f(FamilyXml(L"<Column ColumnId=\"mat\" ColumnwideValue=\"ST\"/>"
                           L"<Column ColumnId=\"len\" ValueType=\"double\"/>",
                           L"<Row RowId=\"r1\"/><Row RowId=\"r2\"><Cell ColumnId=\"mat\">"
                           L"AL{len}</Cell><Cell ColumnId=\"len\">2</Cell></Row>"));
    CEncapFamilyTable& table = f.Table();
    table.GetFamilyColumnByID(L"mat")->SetColumnType(CEncapFamilyColumn::ColumnTypeMaterial);
    EXPECT_EQ(ReadCell(table, L"r1", L"mat").value, L"<ST>");
    EXPECT_EQ(ReadCell(table, L"r2", L"mat").value, L"<AL>2");
    EXPECT_EQ(f.host->Log(L"Material("), L"Material(ST) Material(AL)");
    EXPECT_EQ(table.GetMaterialName(L"CU"), L"<CU>");
    EXPECT_EQ(table.GetMaterialRefKey(L"CU"), L"ref:CU");
}

// What the host throws passes through the table and leaves no cell in progress, so the next
// read isn't taken for a loop.
TEST(CellEvaluation, HostExceptionsPassThroughAndLeaveNoCellInProgress) {
    TestFamily f(FamilyXml(kColumns, kRows));
    CEncapFamilyTable& table = f.Table();
    f.host->throwOn = L"3mm*2";
    WideString value;
    EXPECT_THROW(table.GetValue(L"r1", L"twice", value), std::runtime_error);
    EXPECT_THROW(table.GetValue(L"r1", L"twice", value), std::runtime_error); // not a loop
    EXPECT_TRUE(table.GetEvaluator()->GetCellsInProgress().empty());
    EXPECT_THROW(table.Evaluate(L"{len}mm*2", DataTypes::FormulaExpression, DataTypes::DataReal,
                                L"r1", L"mm", value),
                 std::runtime_error);
    f.host->throwOn.clear();
    // A positive status is success for cells only.
    f.host->successStatus = 1;
    EXPECT_EQ(ReadCell(table, L"r1", L"twice").value, L"6");
    WideString out = L"untouched";
    EXPECT_EQ(table.Evaluate(L"{len}*2", DataTypes::FormulaExpression, DataTypes::DataReal, L"r1",
                             L"mm", out),
              E::EvalTypeMismatch);
    EXPECT_EQ(out, L"untouched");
}

// A host may come back into the table while a cell waits for it: a cell of another row
// evaluates, the waiting cell itself counts as a loop, and afterwards nothing is left in
// progress.
TEST(CellEvaluation, AHostThatComesBackSeesTheCellInProgress) {
    TestFamily f(FamilyXml(kColumns, kRows));
    CEncapFamilyTable& table = f.Table();
    std::set<WideString> inProgress;
    std::vector<int> nested;
    f.host->onEvaluate = [&] {
        if (!nested.empty())
            return;
        inProgress = table.GetEvaluator()->GetCellsInProgress();
        nested.push_back(table.Evaluate(L"r1", L"twice", L""));
        nested.push_back(table.Evaluate(L"r1", L"plus", L""));
        nested.push_back(table.Evaluate(L"r2", L"twice", L""));
    };
    EXPECT_EQ(ReadCell(table, L"r1", L"twice").value, L"6");
    EXPECT_EQ(inProgress, (std::set<WideString>{L"r1{twice"}));
    EXPECT_EQ(nested, (std::vector<int>{E::EvalCircularDependency, E::EvalOk, E::EvalOk}));
    EXPECT_TRUE(table.GetEvaluator()->GetCellsInProgress().empty());
    f.host->onEvaluate = nullptr;
    EXPECT_EQ(ReadCell(table, L"r1", L"plus").value, L"6");
    EXPECT_EQ(ReadCell(table, L"r2", L"twice").value, L"10");
}

// A free expression for a row: references keep no unit word, one in another unit is converted
// first; a reference's 8 stops here; ranges give their default or minimum.
TEST(CellEvaluation, FreeExpressionsForARow) {
    const auto range = DataTypes::FormulaRange;
    const auto material = DataTypes::FormulaMaterial;
    struct Case {
        const wchar_t* text;
        const wchar_t* unit;
        Result result;
        const wchar_t* value;
        const wchar_t* calls;
        DataTypes::ColumnDataType dataType = DataTypes::DataReal;
        DataTypes::ColumnFormulaType type = DataTypes::FormulaExpression;
    };
    const Case cases[] = {
        {L"{len}*2", L"mm", E::EvalOk, L"6", L"Evaluate(3*2|mm) Convert(0.6|cm|mm)"},
        {L"{len}*2", L"cm", E::EvalOk, L"0.6", L"Convert(3|mm|cm) Evaluate(0.3*2|cm)"},
        {L"{len}*{cnt}", L"", E::EvalOk, L"9", L"Evaluate(3*3|) Convert(9|cm|)"},
        {L"{len}", L"mm", E::EvalOk, L"3", L"", DataTypes::DataInteger},
        {L"{len}+", L"mm", E::EvalExpressionFailed, L"untouched", L"Evaluate(3+|mm)"},
        {L"[1;10;;4]", L"mm", E::EvalOk, L"4", L"", DataTypes::DataReal, range},
        {L"[{len}+1;10;;]", L"mm", E::EvalOk, L"4", L"Evaluate(3+1|mm) Convert(0.4|cm|mm)",
         DataTypes::DataReal, range},
        {L"4", L"mm", E::EvalInvalidRange, L"untouched", L"", DataTypes::DataReal, range},
        {L"{mixed}", L"mm", E::EvalUnitMismatch, L"untouched",
         L"Internal(mm) Evaluate(3mm+3ul|mm) Evaluate(3+3|ul)"},
        {L"{nope}", L"mm", E::EvalExpressionFailed, L"untouched", L""},
        {L"{len", L"mm", E::EvalSyntaxError, L"untouched", L""},
        {L"\"a\" & {len}", L"mm", E::EvalOk, L"a3", L"", DataTypes::DataString},
        {L"{ok}", L"", E::EvalOk, L"yes", L"", DataTypes::DataBoolean},
        {L"maybe", L"", E::EvalTypeMismatch, L"untouched", L"", DataTypes::DataBoolean},
        {L"ST", L"", E::EvalOk, L"<ST>", L"Material(ST)", DataTypes::DataString, material},
    };
    for (const Case& c : cases) {
        TestFamily f(FamilyXml(kColumns, kRows));
        WideString out = L"untouched";
        EXPECT_EQ(f.Table().Evaluate(c.text, c.type, c.dataType, L"r1", c.unit, out), c.result)
            << c.text << " " << c.unit;
        EXPECT_EQ(out, c.value) << c.text << " " << c.unit;
        EXPECT_EQ(f.host->Log(), c.calls) << c.text << " " << c.unit;
    }
}

// EvaluateInUnit caches the value converted to the unit asked for; the column's own unit or none
// keeps it; a value without units answers 8.
TEST(CellEvaluation, EvaluateInUnitCachesTheConvertedValue) {
    TestFamily f(FamilyXml(kColumns, kRows));
    CTableEvaluator& evaluator = *f.Table().GetEvaluator();
    EXPECT_EQ(evaluator.EvaluateInUnit(L"r1", L"twice", L"", L"cm"), E::EvalOk);
    EXPECT_EQ(ReadCell(f.Table(), L"r1", L"twice").value, L"0.6");
    // The column's own unit or none: the value stays.
    EXPECT_EQ(evaluator.EvaluateInUnit(L"r1", L"inch", L"", L"in"), E::EvalOk);
    EXPECT_EQ(ReadCell(f.Table(), L"r1", L"inch").value, L"0.23622047");
    EXPECT_EQ(evaluator.EvaluateInUnit(L"r1", L"mixed", L"", L"cm"), E::EvalUnitMismatch);
}

// c0 ... c<n-1>, Real without a unit, one row "r": c<i> = {c<i+1>}+1 and the last column holds
// `lastText` in its Cell, or (empty) refers back to c0, closing a loop through every column.
WideString ChainFamily(size_t length, const WideString& lastText) {
    WideString columns;
    for (size_t i = 0; i + 1 < length; ++i)
        columns += L"<Column ColumnId=\"c" + std::to_wstring(i) +
                   L"\" ValueType=\"double\" ColumnwideValue=\"{c" + std::to_wstring(i + 1) +
                   L"}+1\"/>";
    const WideString last = L"c" + std::to_wstring(length - 1);
    if (lastText.empty())
        return FamilyXml(columns + L"<Column ColumnId=\"" + last +
                             L"\" ValueType=\"double\" ColumnwideValue=\"{c0}+1\"/>",
                         L"<Row RowId=\"r\"/>");
    return FamilyXml(columns + L"<Column ColumnId=\"" + last + L"\" ValueType=\"double\"/>",
                     L"<Row RowId=\"r\"><Cell ColumnId=\"" + last + L"\">" + lastText +
                         L"</Cell></Row>");
}

WideString Id(size_t index) {
    return L"c" + std::to_wstring(index);
}

// A chain of references of any depth evaluates, read from its top first, without exhausting the
// stack (the cells waiting for their references are kept on the heap): no result 1 where there
// is no loop. 20,000 nested cells are far more than the stack of a sanitized build holds as
// calls.
TEST(CellEvaluation, ChainsOfAnyDepthEvaluate) {
    const size_t length = 20000;
    TestFamily f(ChainFamily(length, L"1"));
    CEncapFamilyTable& table = f.Table();
    const Read top = ReadCell(table, L"r", L"c0");
    EXPECT_EQ(top.result, E::EvalOk);
    EXPECT_EQ(top.value, std::to_wstring(length));
    EXPECT_TRUE(table.GetEvaluator()->GetCellsInProgress().empty());
    // Every cell on the way was evaluated once and cached: the host computed each once.
    size_t evaluations = 0;
    for (const WideString& call : f.host->calls)
        evaluations += call.rfind(L"Evaluate(", 0) == 0;
    EXPECT_EQ(evaluations, length - 1);
    f.host->calls.clear();
    for (size_t i = 0; i < length; ++i) {
        const Read read = ReadCell(table, L"r", Id(i).c_str());
        ASSERT_EQ(read.result, E::EvalOk) << i;
        ASSERT_EQ(read.value, std::to_wstring(length - i)) << i;
    }
    EXPECT_TRUE(f.host->calls.empty());
}

// The same deep chain when its last cell fails: every cell gives that failure (the first one
// read after walking the whole chain, the others from what was remembered of the cells they
// refer to: the host is asked about the failing cell once per read of it, and not once per cell
// above it).
TEST(CellEvaluation, DeepChainPassesAFailureUp) {
    const size_t length = 5000;
    // "1kg": a unit the host refuses in a Real column without a unit, which it evaluates as an
    // expression (3), as with the unitless text.
    TestFamily f(ChainFamily(length, L"1kg"));
    CEncapFamilyTable& table = f.Table();
    for (size_t i = 0; i < length; ++i) {
        const Read read = ReadCell(table, L"r", Id(i).c_str());
        ASSERT_EQ(read.result, E::EvalExpressionFailed) << i;
        ASSERT_EQ(read.value, L"untouched") << i;
    }
    EXPECT_TRUE(table.GetEvaluator()->GetCellsInProgress().empty());
    // The failing cell was evaluated by the first read (through the chain) and by its own read.
    EXPECT_EQ(f.host->Log(L"Evaluate"), L"Evaluate(1kg|ul) Evaluate(1kg|ul) Evaluate(1kg|ul) "
                                        L"Evaluate(1kg|ul)");
}

// A loop through thousands of columns: every cell gives 1, and reading them all walks the loop
// once, not once per cell. A column formula set to break the loop is taken, and then every cell
// has its value: nothing remembered of the loop outlives the edit.
TEST(CellEvaluation, LoopThroughManyColumnsAndItsRepair) {
    const size_t length = 5000;
    TestFamily f(ChainFamily(length, L""));
    CEncapFamilyTable& table = f.Table();
    for (size_t i = 0; i < length; ++i) {
        const Read read = ReadCell(table, L"r", Id(i).c_str());
        ASSERT_EQ(read.result, E::EvalCircularDependency) << i;
        ASSERT_EQ(read.value, L"untouched") << i;
    }
    EXPECT_TRUE(table.GetEvaluator()->GetCellsInProgress().empty());
    EXPECT_TRUE(f.host->calls.empty());

    CEncapFamilyColumn* last = table.GetFamilyColumnByID(Id(length - 1).c_str());
    EXPECT_EQ(last->SetFormula(L"{c0}*2"), E::EvalCircularDependency);
    EXPECT_EQ(last->SetFormula(L"7"), E::EvalOk);
    // From the top: every cell of the former loop is evaluated again, none recalled.
    for (size_t i = 0; i < length; ++i) {
        const Read read = ReadCell(table, L"r", Id(i).c_str());
        ASSERT_EQ(read.result, E::EvalOk) << i;
        ASSERT_EQ(read.value, std::to_wstring(length - 1 - i + 7)) << i;
    }
}

// Cells that give 8 (units that don't fit, the text without units computed) in a chain: every
// read delivers 8 with its value, the cell read is computed again each time (the host is asked
// anew about it), and the cells it refers to are each computed once per pass, also where two
// paths meet.
TEST(CellEvaluation, UnitMismatchChainsAndDiamonds) {
    // m<i> = {m<i+1>}+{cnt} in mm: "6mm+3ul" fails, "6+3" doesn't; m<n> = {len}+{cnt}.
    // d0 = {d1}+{d2}, d1 = {d3}+{cnt}, d2 = {d3}+{cnt}, d3 = {len}+{cnt}: a diamond.
    const size_t length = 300;
    WideString columns = L"<Column ColumnId=\"len\" ValueType=\"double\" UnitType=\"mm\"/>"
                         L"<Column ColumnId=\"cnt\" ValueType=\"integer\"/>";
    for (size_t i = 0; i < length; ++i)
        columns += L"<Column ColumnId=\"m" + std::to_wstring(i) +
                   L"\" ValueType=\"double\" UnitType=\"mm\" ColumnwideValue=\"{m" +
                   std::to_wstring(i + 1) + L"}+{cnt}\"/>";
    columns += L"<Column ColumnId=\"m" + std::to_wstring(length) +
               L"\" ValueType=\"double\" UnitType=\"mm\" ColumnwideValue=\"{len}+{cnt}\"/>";
    columns += L"<Column ColumnId=\"d0\" ValueType=\"double\" UnitType=\"mm\" "
               L"ColumnwideValue=\"{d1}+{d2}\"/>"
               L"<Column ColumnId=\"d1\" ValueType=\"double\" UnitType=\"mm\" "
               L"ColumnwideValue=\"{d3}+{cnt}\"/>"
               L"<Column ColumnId=\"d2\" ValueType=\"double\" UnitType=\"mm\" "
               L"ColumnwideValue=\"{d3}+{cnt}\"/>"
               L"<Column ColumnId=\"d3\" ValueType=\"double\" UnitType=\"mm\" "
               L"ColumnwideValue=\"{len}+{cnt}\"/>";
    TestFamily f(FamilyXml(columns, L"<Row RowId=\"r\"><Cell ColumnId=\"len\">3</Cell>"
                                    L"<Cell ColumnId=\"cnt\">3</Cell></Row>"));
    CEncapFamilyTable& table = f.Table();
    auto evaluations = [&f] {
        size_t count = 0;
        for (const WideString& call : f.host->calls)
            count += call.rfind(L"Evaluate(", 0) == 0;
        f.host->calls.clear();
        return count;
    };

    // m0 is 3 + 3 * (length + 1); the first read computes every cell of the chain once, with
    // two attempts each (with units, then without).
    Read read = ReadCell(table, L"r", L"m0");
    EXPECT_EQ(read.result, E::EvalUnitMismatch);
    EXPECT_EQ(read.value, std::to_wstring(3 + 3 * (length + 1)));
    EXPECT_EQ(evaluations(), 2 * (length + 1));
    // Every further read computes the cell read again, and only that one.
    for (size_t i = 0; i <= length; ++i) {
        read = ReadCell(table, L"r", (L"m" + std::to_wstring(i)).c_str());
        ASSERT_EQ(read.result, E::EvalUnitMismatch) << i;
        ASSERT_EQ(read.value, std::to_wstring(3 + 3 * (length + 1 - i))) << i;
        ASSERT_EQ(evaluations(), 2u) << i;
    }
    WideString cached;
    EXPECT_EQ(table.GetValueCache()->GetValue(L"r", L"m0", L"", cached), 1);

    // Where two paths meet, the cell below is computed once: d3, d1 and d2 with two attempts
    // each, d0 (9mm+9mm) with one.
    read = ReadCell(table, L"r", L"d0");
    EXPECT_EQ(read.result, E::EvalUnitMismatch);
    EXPECT_EQ(read.value, L"18");
    EXPECT_EQ(evaluations(), 7u);

    // An edit makes the cells computed anew: len is 4 now.
    table.SetValue(L"r", L"len", L"4", true);
    read = ReadCell(table, L"r", L"m1");
    EXPECT_EQ(read.value, std::to_wstring(4 + 3 * length));
    EXPECT_EQ(evaluations(), 2 * length);
}

// What is remembered of cells that gave no lasting value goes with every edit that can change
// them: a value written into a loop of cells, a value forgotten, a range value chosen.
TEST(CellEvaluation, RememberedOutcomesGoWithEdits) {
    TestFamily f(FamilyXml(kColumns, kRows));
    CEncapFamilyTable& table = f.Table();
    // p = {q} and q = {p}*2 by their cells: a loop; outer = {self}, self = {self}+1.
    EXPECT_EQ(ReadCell(table, L"r1", L"p").result, E::EvalCircularDependency);
    EXPECT_EQ(ReadCell(table, L"r1", L"q").result, E::EvalCircularDependency);
    table.SetValue(L"r1", L"q", L"5", true);
    EXPECT_EQ(ReadCell(table, L"r1", L"p").value, L"5");

    // A value in the cache that a failure was computed around: the loop of "self" read through
    // "outer" fails; a value of self stored in the cache by the host is taken, and forgetting it
    // brings the failure back.
    EXPECT_EQ(ReadCell(table, L"r1", L"outer").result, E::EvalCircularDependency);
    table.SetValue(L"r1", L"self", L"4", false);
    EXPECT_EQ(ReadCell(table, L"r1", L"outer").value, L"4");
    table.ClearCachedValue(L"r1", L"self");
    table.ClearCachedValue(L"r1", L"outer");
    EXPECT_EQ(ReadCell(table, L"r1", L"outer").value, L"4"); // the Cell written above
    table.SetValue(L"r1", L"self", L"", false);
    table.ClearCachedValue(L"r1", L"self");
    table.ClearCachedValue(L"r1", L"outer");
    EXPECT_EQ(ReadCell(table, L"r1", L"outer").result, E::EvalCircularDependency);

    // The unit of a column that failed (kg, which the host refuses) changes: what refers to it
    // computes.
    TestFamily g(FamilyXml(
        L"<Column ColumnId=\"a\" ValueType=\"double\" UnitType=\"kg\" ColumnwideValue=\"2*2\"/>"
        L"<Column ColumnId=\"b\" ColumnwideValue=\"{a}\"/>"
        L"<Column ColumnId=\"c\" ColumnwideValue=\"{b}\"/>",
        L"<Row RowId=\"r\"/>"));
    CEncapFamilyTable& other = g.Table();
    EXPECT_EQ(ReadCell(other, L"r", L"c").result, E::EvalExpressionFailed);
    EXPECT_EQ(ReadCell(other, L"r", L"c").result, E::EvalExpressionFailed);
    other.GetFamilyColumnByID(L"a")->SetUnitType(L"mm");
    const Read read = ReadCell(other, L"r", L"c");
    EXPECT_EQ(read.result, E::EvalOk);
    EXPECT_EQ(read.value, L"4");
}

} // namespace
} // namespace torvex
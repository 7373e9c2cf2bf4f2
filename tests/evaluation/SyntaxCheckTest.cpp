// Formula checks before any row is known: probing the host with "1.1" and "1", the range check,
// the guarded host helpers, and the table's entries for checks and plain host computations.

#include "TestProvider.h"

#include "family/FamilyTestSupport.h"
#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/family/CEncapFamilyColumn.h"

#include <gtest/gtest.h>
#include <tuple>

namespace torvex {
namespace {

using test::FamilyXml;
using test::TestFamily;
using E = CTableEvaluator;
using Result = E::EvaluateResult;

const WideString kColumns = L"<Column ColumnId=\"r\" ValueType=\"double\" UnitType=\"mm\"/>"
                            L"<Column ColumnId=\"i\" ValueType=\"integer\"/>"
                            L"<Column ColumnId=\"s\" ValueType=\"string\"/>"
                            L"<Column ColumnId=\"b\" ValueType=\"boolean\"/>"
                            L"<Column ColumnId=\"b2\" ValueType=\"boolean\"/>";

// Without a row, references are replaced by stand-ins ("1.1" Real, "1" Integer, with the column's
// unit when none is given) and the text probed at the host; Strings take any reference, Booleans
// exactly one Boolean; the flag tells whether references were met.
TEST(SyntaxCheck, ExpressionsAreProbedWithStandInNumbers) {
    const auto real = DataTypes::DataReal;
    const auto integer = DataTypes::DataInteger;
    const auto boolean = DataTypes::DataBoolean;
    const auto string = DataTypes::DataString;
    const struct {
        const wchar_t* text;
        DataTypes::ColumnDataType type;
        const wchar_t* unit;
        Result result;
        bool flagBefore;
        bool flagAfter;
        const wchar_t* calls;
    } cases[] = {
        // Without references the text itself is checked.
        {L"1+2", real, L"mm", E::EvalOk, true, false, L"Evaluate(1+2|mm)"},
        {L"1+", integer, L"", E::EvalTypeMismatch, true, false, L"Evaluate(1+|ul)"},
        {L"any text", string, L"", E::EvalOk, true, false, L""},
        {L"yes", boolean, L"", E::EvalOk, true, false, L""},
        {L"Ja", boolean, L"", E::EvalTypeMismatch, true, false, L""},
        // A reference becomes "1.1" (Real) or "1" (Integer), with its unit when none is given.
        {L"{r}*2", real, L"", E::EvalOk, false, true, L"Evaluate(1.1mm*2|ul)"},
        {L"{r}*2", real, L"cm", E::EvalOk, false, true, L"Evaluate(1.1*2|cm)"},
        {L"{i}+{r}+{i}", real, L"mm", E::EvalOk, false, true, L"Evaluate(1+1.1+1|mm)"},
        {L"{i}*3", integer, L"", E::EvalOk, false, true, L"Evaluate(1*3|ul)"},
        // What isn't replaced keeps its braces, and the host refuses it.
        {L"{r}+1", integer, L"mm", E::EvalTypeMismatch, false, true, L"Evaluate({r}+1|mm)"},
        {L"{ r }*2", real, L"mm", E::EvalTypeMismatch, false, true, L"Evaluate({ r }*2|mm)"},
        {L"{R}*2", real, L"mm", E::EvalTypeMismatch, false, true, L"Evaluate({R}*2|mm)"},
        {L"{s}", real, L"", E::EvalTypeMismatch, false, true, L"Evaluate({s}|ul)"},
        // Strings take any reference; a Boolean takes exactly one Boolean.
        {L"{s} & {r} & {b}", string, L"", E::EvalOk, false, true, L""},
        {L"{b}", boolean, L"", E::EvalOk, false, true, L""},
        {L"{b}{B}", boolean, L"", E::EvalOk, false, true, L""},
        {L"{b}{b2}", boolean, L"", E::EvalTypeMismatch, false, true, L""},
        {L"{r}", boolean, L"", E::EvalTypeMismatch, false, true, L""},
        // Unknown columns and broken braces come first; the flag stays.
        {L"{nope}*2", real, L"", E::EvalUnknownColumn, true, true, L""},
        {L"{}", string, L"", E::EvalUnknownColumn, false, false, L""},
        {L"{r", real, L"", E::EvalSyntaxError, true, true, L""},
    };
    for (const auto& c : cases) {
        TestFamily f(FamilyXml(kColumns, L""));
        CTableEvaluator& evaluator = *f.Table().GetEvaluator();
        bool flag = c.flagBefore;
        EXPECT_EQ(evaluator.CheckExpression(c.text, c.type, c.unit, flag), c.result) << c.text;
        EXPECT_EQ(flag, c.flagAfter) << c.text;
        EXPECT_EQ(f.host->Log(), c.calls) << c.text;
        // The table's entry gives the same answer for an expression.
        EXPECT_EQ(
            f.Table().CheckFormulaSyntax(c.text, DataTypes::FormulaExpression, c.type, c.unit),
            c.result)
            << c.text;
    }
}

// A range is checked for its shape, then each part (a literal must be a number, in Real or
// Integer columns only), then the literal parts against each other in the host's internal unit
// (1 cm is more than 5 mm); a part absent or with a reference takes no part in the comparison.
TEST(SyntaxCheck, RangesAreCheckedPartByPartAndThenAsNumbers) {
    const auto real = DataTypes::DataReal;
    using Case = std::tuple<DataTypes::ColumnDataType, Result, std::vector<const wchar_t*>>;
    const Case groups[] = {
        {real,
         E::EvalOk,
         {L"[1;10;1;5]", L"[;;;]", L"[5;5;0;5]", L"[1mm;2cm;1mm;5mm]", L"[1cm;5mm;;1cm]",
          L"[5;1;;3]", L"[{r};1;1;3]"}},
        {DataTypes::DataInteger, E::EvalOk, {L"[1;10;1;5]"}},
        {real,
         E::EvalInvalidRange,
         {L"1;10;1;5", L"[1;10;1]", L"[1;10;1;5]x", L"5", L"[5;1;1;3]", L"[1;5;10;3]", L"[1;5;1;9]",
          L"[1;5;1;0]", L"[1cm;5mm;1mm;1cm]"}},
        {real, E::EvalTypeMismatch, {L"[1;a;1;5]"}},
        {real, E::EvalUnknownColumn, {L"[1;{nope};;]"}},
        {real, E::EvalSyntaxError, {L"[1;{r;;]"}},
        {DataTypes::DataString, E::EvalTypeMismatch, {L"[1;10;1;5]"}},
        {DataTypes::DataBoolean, E::EvalTypeMismatch, {L"[1;10;1;5]"}},
        {DataTypes::DataBoolean, E::EvalInvalidRange, {L"x"}},
    };
    TestFamily f(FamilyXml(kColumns, L""));
    for (const auto& [type, result, texts] : groups)
        for (const wchar_t* text : texts)
            EXPECT_EQ(f.Table().CheckFormulaSyntax(text, DataTypes::FormulaRange, type, L""),
                      result)
                << text << " " << type;
    // Materials are never checked here.
    EXPECT_EQ(
        f.Table().CheckFormulaSyntax(L"ST", DataTypes::FormulaMaterial, DataTypes::DataString, L""),
        E::EvalUnknownColumn);
}

// The probing helpers: a value in a unit is the expression's over that of "1.0" in the unit (0
// on failure, also for a status other than 0); GetValueFromExpression converts from the internal
// unit; a host that throws fails every check without the exception escaping; without a host
// nothing is evaluable and a value is the text's leading number.
TEST(SyntaxCheck, ProbingHelpersCatchWhatTheHostThrows) {
    TestFamily f(FamilyXml(kColumns, L""));
    CTableEvaluator& evaluator = *f.Table().GetEvaluator();
    const struct {
        const wchar_t* text;
        const wchar_t* unit;
        double value;
    } cases[] = {
        {L"30mm", L"cm", 3.0}, {L"3", L"in", 3.0}, {L"1in", L"mm", 25.4},
        {L"2+2", L"", 4.0},    {L"x", L"mm", 0.0}, {L"1", L"kg", 0.0},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(evaluator.ExpressionValueInUnit(c.text, c.unit), c.value, 1e-9) << c.text;
        double value = -1.0;
        EXPECT_EQ(f.Table().GetValueFromExpression(c.text, c.unit, value), c.value != 0.0)
            << c.text;
        EXPECT_NEAR(value, c.value != 0.0 ? c.value : -1.0, 1e-9) << c.text;
    }
    EXPECT_TRUE(evaluator.ExpressionIsEvaluable(L"1+1", L""));
    EXPECT_EQ(f.host->calls.back(), L"Evaluate(1+1|ul)");
    EXPECT_FALSE(evaluator.ExpressionIsEvaluable(L"1+", L"mm"));
    f.host->successStatus = 1;
    EXPECT_TRUE(evaluator.ExpressionIsEvaluable(L"1+1", L""));
    EXPECT_DOUBLE_EQ(evaluator.ExpressionValueInUnit(L"2", L""), 0.0);
    f.host->successStatus = 0;
    f.host->throwOn = L"1";
    EXPECT_FALSE(evaluator.ExpressionIsEvaluable(L"1+1", L""));
    EXPECT_DOUBLE_EQ(evaluator.ExpressionValueInUnit(L"21", L"mm"), 0.0);
    EXPECT_EQ(f.Table().CheckFormulaSyntax(L"{r}*2", DataTypes::FormulaExpression,
                                           DataTypes::DataReal, L""),
              E::EvalTypeMismatch);
    EXPECT_EQ(f.Table().CheckFormulaSyntax(L"[1;10;;]", DataTypes::FormulaRange,
                                           DataTypes::DataReal, L""),
              E::EvalTypeMismatch);
    CEncapFamilyTable bare;
    EXPECT_FALSE(bare.GetEvaluator()->ExpressionIsEvaluable(L"1", L""));
    EXPECT_DOUBLE_EQ(bare.GetEvaluator()->ExpressionValueInUnit(L"2.5mm", L"cm"), 2.5);
    double value = 0.0;
    EXPECT_FALSE(bare.GetValueFromExpression(L"1", L"", value));
}

// IsFormulaValid checks a formula for a column by id as SetFormula would, loops included, and
// leaves document and graph alone.
TEST(SyntaxCheck, FormulaValidityLeavesDocumentAndGraphAlone) {
    TestFamily f(FamilyXml(
        L"<Column ColumnId=\"a\" ValueType=\"double\" UnitType=\"mm\"/>"
        L"<Column ColumnId=\"b\" ValueType=\"double\" UnitType=\"mm\" ColumnwideValue=\"{a}*2\"/>"
        L"<Column ColumnId=\"c\" ValueType=\"double\" Custom=\"true\" "
        L"ColumnwideValue=\"[1;10;;]\"/>"
        L"<Column ColumnId=\"s\" ValueType=\"string\" Custom=\"true\"/>",
        L"<Row RowId=\"r\"/>"));
    CEncapFamilyTable& table = f.Table();
    const WideString document = test::RootXml(*f.family);
    CEncapFamilyColumn* a = table.GetFamilyColumnByID(L"a");
    CEncapFamilyColumn* b = table.GetFamilyColumnByID(L"b");
    // A range column: any bad part makes a bad range.
    const Result ok = E::EvalOk, loop = E::EvalCircularDependency, range = E::EvalInvalidRange;
    const struct {
        const wchar_t* column;
        const wchar_t* formula;
        Result result;
    } cases[] = {
        {L"b", L"{a}*3", ok},
        {L"a", L"{b}", loop},
        {L"a", L"{a}+1", loop},
        {L"b", L"{zz}", E::EvalUnknownColumn},
        {L"b", L"{a", E::EvalSyntaxError},
        {L"b", L"{s}", E::EvalTypeMismatch},
        {L"c", L"[1;{a};;]", ok},
        {L"c", L"5", range},
        {L"c", L"[1;{zz};;]", range},
        {L"c", L"[{c};10;;]", range},
        {L"c", L"[1;x;;]", range},
        {L"s", L"[1;2;;]", E::EvalTypeMismatch},
        {L"zz", L"1", E::EvalUnknownColumn},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(table.IsFormulaValid(c.column, c.formula), c.result) << c.column << c.formula;
        EXPECT_EQ(test::RootXml(*f.family), document) << c.column << c.formula;
        EXPECT_EQ(a->GetDependantColumns(), CTableEvaluator::ColumnSet{b}) << c.formula;
        EXPECT_TRUE(b->GetDependantColumns().empty()) << c.formula;
        EXPECT_TRUE(table.GetFamilyColumnByID(L"c")->GetDependantColumns().empty()) << c.formula;
    }
}

} // namespace
} // namespace torvex

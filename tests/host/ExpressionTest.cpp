// Expressions: arithmetic, numbers with unit words, the default unit, decimal separators,
// kinds of quantity, and texts that must fail without harm.

#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <tuple>
#include <vector>

namespace torvex {
namespace {

using hosttest::Evaluate;
using hosttest::Narrow;
using hosttest::Near;

constexpr double kPi = std::numbers::pi;

// Values come in the internal unit: arithmetic with right-associative powers and functions,
// numbers with unit words ("ul" for none), plain numbers beside a quantity of the default unit's
// kind taken in the default unit, and angles (trigonometry of plain numbers in an angle default
// unit, else radians).
TEST(HostExpression, ComputesInTheInternalUnit) {
    using Case = std::tuple<const wchar_t*, const wchar_t*, double>;
    const Case cases[] = {
        {L"1+2*3", L"ul", 7},
        {L"(1+2)*3", L"ul", 9},
        {L"2^3^2", L"ul", 512},
        {L"-2^2", L"ul", -4},
        {L"2^-1", L"ul", 0.5},
        {L" 1 +\t2\n", L"ul", 3},
        {L"1e3+.5+5.", L"ul", 1005.5},
        {L"sqrt(16)+abs(-3)", L"ul", 7},
        {L"min(3,1,2)+max(1;5)", L"ul", 6},
        {L"floor(2.7)+ceil(2.1)", L"ul", 5},
        {L"round(2.5)+round(-2.5)", L"ul", 0},
        {L"exp(0)+ln(1)+log10(100)", L"ul", 3},
        {L"1e-400", L"ul", 0},
        {L"3mm*2", L"mm", 0.6},
        {L"1.5e+01mm", L"mm", 1.5},
        {L"3ul*2", L"mm", 0.6},
        {L"3ul*2", L"ul", 6},
        {L"1.1", L"mm", 0.11},
        {L"1", L"", 1},
        {L"1.1mm/1mm", L"ul", 1.1},
        {L"1ft-12in", L"mm", 0},
        {L"90deg", L"ul", kPi / 2},
        {L"1kg+500g", L"kg", 1.5},
        {L"1h+30min", L"s", 5400},
        {L"2N*3m", L"Nm", 60000},
        {L"5%", L"ul", 0.05},
        {L"50", L"%", 0.5},
        {L"20", L"degC", 293.15},
        {L"3mm^2", L"mm2", 0.09},
        {L"sqrt(9mm2)", L"mm", 0.3},
        {L"sqrt(9mm^2)", L"mm", 0.9}, // (9mm)^2
        {L"3in+2", L"mm", 7.82},
        {L"(2+3)*4mm", L"mm", 2},
        {L"max(1;2in)", L"mm", 5.08},
        {L"10mm*sin(30deg)", L"mm", 0.5},
        {L"tan(45)", L"deg", kPi / 180},
        {L"sin(pi/2)", L"ul", 1},
        {L"asin(0.5)", L"deg", kPi / 6},
        {L"atan2(1mm;1mm)", L"deg", kPi / 4},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& [expression, unit, expected] : cases) {
        auto result = Evaluate(provider, expression, unit);
        EXPECT_EQ(result.status, 0) << Narrow(expression) << " in " << Narrow(unit);
        EXPECT_TRUE(Near(result.value, expected))
            << Narrow(expression) << " in " << Narrow(unit) << " gave " << result.value;
    }
}

// Each fault has its status, and the value is left alone: kinds that don't meet, unknown words,
// argument counts, results that are no finite number, malformed texts.
TEST(HostExpression, FailsWithTheStatusOfTheFault) {
    using Case = std::tuple<int32_t, const wchar_t*, std::vector<const wchar_t*>>;
    const Case groups[] = {
        {CHostStatus::kUnitMismatch,
         L"ul",
         {L"3mm+2kg", L"3mm+2", L"1.1mm*2", L"min(1mm;2kg)", L"sin(3mm)", L"asin(1deg)",
          L"exp(1mm)", L"2^3mm", L"3mm^(2)", L"3mm^0.3", L"sqrt(2mm)+1mm"}},
        {CHostStatus::kUnitMismatch, L"mm", {L"3mm+2kg", L"90deg+1"}},
        {CHostStatus::kUnitMismatch, L"kg", {L"3mm*2"}},
        {CHostStatus::kUnitMismatch, L"%", {L"3mm*2"}},
        {CHostStatus::kUnknownUnit, L"ul", {L"3foo", L"3dB"}},
        {CHostStatus::kUnknownUnit, L"foo", {L"3"}},
        {CHostStatus::kUnknownName, L"ul", {L"foo(1)", L"x+1", L"_pi"}},
        {CHostStatus::kArgumentCount, L"ul", {L"sqrt(1;2)", L"min()"}},
        {CHostStatus::kNotFinite, L"ul", {L"1/0", L"sqrt(-1)", L"1e308*10", L"1e999"}},
        {CHostStatus::kNotFinite, L"mm", {L"0/0"}},
        {CHostStatus::kSyntaxError,
         L"ul",
         {L"", L"   ", L"1+", L"(1", L"1)", L"3 mm", L"1..2", L"{a}*2", L"1,5+2"}},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& [status, unit, expressions] : groups) {
        for (const wchar_t* expression : expressions) {
            double value = 42.0;
            EXPECT_EQ(provider.EvaluateToDouble(expression, unit, &value), status)
                << Narrow(expression) << " in " << Narrow(unit);
            EXPECT_EQ(value, 42.0) << "value touched by " << Narrow(expression);
        }
    }
    double value = 0.0;
    EXPECT_EQ(provider.EvaluateToDouble(nullptr, L"mm", &value), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.EvaluateToDouble(L"1", L"mm", nullptr), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.EvaluateToDouble(L"3mm/1mm", nullptr, &value), 0) << "null unit: no unit";
    EXPECT_TRUE(Near(value, 3));
    EXPECT_EQ(provider.EvaluateToDouble(L"3mm", nullptr, &value), CHostStatus::kUnitMismatch);
}

// With '.' a comma separates arguments; with ',' it is the decimal separator, '.' still reads as
// one, and ';' separates arguments.
TEST(HostExpression, DecimalSeparatorsNeverSplitANumber) {
    // expected: internal unit, when status is 0
    using Case = std::tuple<wchar_t, const wchar_t*, int32_t, double>;
    const Case cases[] = {
        {L'.', L"2.5mm", 0, 0.25},
        {L'.', L"min(1,5)", 0, 0.1},
        {L'.', L"min(1;5)", 0, 0.1},
        {L'.', L"1,5+2", CHostStatus::kSyntaxError, 0},
        {L'.', L"2,5mm", CHostStatus::kSyntaxError, 0},
        {L',', L"2,5mm", 0, 0.25},
        {L',', L"1,5+2", 0, 0.35},
        {L',', L"1.5+1,5", 0, 0.3},
        {L',', L"min(1,5;2)", 0, 0.15},
        {L',', L"min(1, 5)", CHostStatus::kSyntaxError, 0},
        {L',', L"1,5,3", CHostStatus::kSyntaxError, 0},
        {L',', L"1,5e1", 0, 1.5},
    };
    for (const auto& [separator, expression, status, expected] : cases) {
        CUnitsEvaluatorProvider provider;
        provider.SetDecimalSeparator(separator);
        auto result = Evaluate(provider, expression, L"mm");
        EXPECT_EQ(result.status, status)
            << Narrow(expression) << " with '" << static_cast<char>(separator) << "'";
        if (status == 0) {
            EXPECT_TRUE(Near(result.value, expected)) << Narrow(expression);
        }
    }
}

// Hostile texts (control characters, stray operators, non-finite words, huge exponents, deep
// nesting, very long texts, every character of a short range alone) fail with a negative status
// and leave the value alone; long but reasonable texts still work.
TEST(HostExpression, HostileTextsFailWithoutHarm) {
    std::vector<std::wstring> texts = {
        L"\x01", L"3\x7F",  L"\uFFFF", L"3\u00B5", L"3%%",   L"3\u00B0\u00B0",
        L"1e+",  L".",      L"..",     L"--",      L"^",     L"2^^2",
        L"sin",  L"sin()",  L"pi(1)",  L"pi pi",   L"()",    L"(;)",
        L"1;2",  L"min(;)", L"nan",    L"inf",     L"-inf",  L"3m\u00B2",
        L"3mm)", L"mm",     L"3mm(2)", L"3ul)",    L"3lg",   L"1 2",
        L"+",    L"*",      L"/1",     L"1/",      L"sqrt(", L")",
        L"3mm^", L"3mm^-",  L"3mm^x",  L"0x10",    L"3_",    L"3\u00B0C\u00B0"};
    texts.insert(texts.end(),
                 {L"9999999999999999999999e99999", L"3m^1000*1m^1000*1m^1000", L"1e1000000000000"});
    texts.push_back(std::wstring(1000, L'(') + L"1" + std::wstring(1000, L')'));
    texts.push_back(std::wstring(300, L'-') + L"1");
    texts.push_back(std::wstring(20000, L'1'));
    std::wstring products, sums, calls;
    for (int i = 0; i < 1100; ++i)
        products += L"1*";
    for (int i = 0; i < 600; ++i)
        sums += L"1+";
    for (int i = 0; i < 150; ++i)
        calls += L"sqrt(";
    texts.insert(texts.end(),
                 {products + L"1", sums + L"1", calls + L"1" + std::wstring(150, L')')});
    for (wchar_t c = 1; c < 0x300; ++c)
        if (!((c >= L'0' && c <= L'9') || std::wstring(L". \t\n\r%").find(c) != std::wstring::npos))
            texts.push_back(std::wstring(1, c));

    CUnitsEvaluatorProvider provider;
    for (const wchar_t* unit : {L"ul", L"mm", L"deg"}) {
        for (const std::wstring& text : texts) {
            double value = 42.0;
            EXPECT_LT(provider.EvaluateToDouble(text.c_str(), unit, &value), 0)
                << Narrow(text.substr(0, 40)) << " in " << Narrow(unit);
            EXPECT_EQ(value, 42.0);
        }
    }
    std::wstring sum;
    for (int i = 0; i < 300; ++i)
        sum += L"1mm+";
    EXPECT_TRUE(Near(Evaluate(provider, (sum + L"1").c_str(), L"mm").value, 30.1));
    const std::wstring nested = std::wstring(60, L'(') + L"2mm" + std::wstring(60, L')');
    EXPECT_TRUE(Near(Evaluate(provider, nested.c_str(), L"mm").value, 0.2));
}

} // namespace
} // namespace torvex

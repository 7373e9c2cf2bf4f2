// Expressions: arithmetic, numbers with unit words, the default unit, decimal separators,
// kinds of quantity, and texts that must fail without harm.

#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <vector>

namespace torvex {
namespace {

using hosttest::Evaluate;
using hosttest::Narrow;
using hosttest::Near;

constexpr double kPi = std::numbers::pi;
constexpr double kDeg = kPi / 180.0;

struct Case {
    const wchar_t* expression;
    const wchar_t* unit;
    double expected; // in the internal unit
};

TEST(HostExpression, ComputesInTheInternalUnit) {
    const Case cases[] = {
        // Arithmetic with plain numbers.
        {L"1+2*3", L"ul", 7},
        {L"(1+2)*3", L"ul", 9},
        {L"10/4-1", L"ul", 1.5},
        {L"2^3^2", L"ul", 512},
        {L"-2^2", L"ul", -4},
        {L"2^-1", L"ul", 0.5},
        {L"--3", L"ul", 3},
        {L" 1 +\t2\n", L"ul", 3},
        {L"1e3+.5+5.", L"ul", 1005.5},
        {L"sqrt(16)+abs(-3)", L"ul", 7},
        {L"min(3,1,2)+max(1;5)", L"ul", 6},
        {L"floor(2.7)+ceil(2.1)", L"ul", 5},
        {L"round(2.5)+round(-2.5)", L"ul", 0},
        {L"exp(0)+ln(1)+log10(100)", L"ul", 3},
        {L"pi", L"ul", kPi},
        {L"cos(0)", L"ul", 1},
        {L"1e-400", L"ul", 0},
        // What the library sends: numbers with unit words, "ul" for none, probes.
        {L"3mm*2", L"mm", 0.6},
        {L"-3mm*2", L"mm", -0.6},
        {L"1.5e+01mm", L"mm", 1.5},
        {L"3ul*2", L"mm", 0.6},
        {L"3ul*2", L"ul", 6},
        {L"1.1", L"mm", 0.11},
        {L"1", L"", 1},
        {L"1.1mm/1mm", L"ul", 1.1},
        {L"1.0", L"in", 2.54},
        {L"2.5in", L"mm", 6.35},
        {L"1ft-12in", L"mm", 0},
        {L"90deg", L"deg", kPi / 2},
        {L"90deg", L"ul", kPi / 2},
        {L"1kg+500g", L"kg", 1.5},
        {L"1h+30min", L"s", 5400},
        {L"2N*3m", L"Nm", 60000},
        {L"5%", L"ul", 0.05},
        {L"50", L"%", 0.5},
        {L"20", L"degC", 293.15},
        {L"3mm^2", L"mm2", 0.09},
        {L"2mm2*3", L"mm2", 0.06},
        {L"sqrt(9mm2)", L"mm", 0.3},
        {L"sqrt(9mm^2)", L"mm", 0.9}, // (9mm)^2
        {L"10mm/2mm", L"ul", 5},
        // A plain number beside a quantity of the default unit's kind is in the default unit.
        {L"3in+2", L"mm", 7.82},
        {L"3mm*2+1", L"mm", 0.7},
        {L"(2+3)*4mm", L"mm", 2},
        {L"max(1;2in)", L"mm", 5.08},
        // Angles: sin/cos/tan take angles, or plain numbers in an angle default unit, else in
        // radians; the inverse functions give angles.
        {L"sin(30deg)", L"ul", 0.5},
        {L"10mm*sin(30deg)", L"mm", 0.5},
        {L"tan(45)", L"deg", 1.0 * kDeg},
        {L"sin(pi/2)", L"ul", 1},
        {L"asin(0.5)", L"deg", kPi / 6},
        {L"atan2(1mm;1mm)", L"deg", kPi / 4},
        {L"2*atan(1)", L"ul", kPi / 2},
    };
    CUnitsEvaluatorProvider provider;
    for (const Case& c : cases) {
        auto result = Evaluate(provider, c.expression, c.unit);
        EXPECT_EQ(result.status, 0) << Narrow(c.expression) << " in " << Narrow(c.unit);
        EXPECT_TRUE(Near(result.value, c.expected))
            << Narrow(c.expression) << " in " << Narrow(c.unit) << " gave " << result.value
            << ", expected " << c.expected;
    }
}

struct Failure {
    const wchar_t* expression;
    const wchar_t* unit;
    int32_t status;
};

TEST(HostExpression, FailsWithTheStatusOfTheFault) {
    const Failure cases[] = {
        // Kinds that don't meet.
        {L"3mm+2kg", L"ul", CHostStatus::kUnitMismatch},
        {L"3mm+2kg", L"mm", CHostStatus::kUnitMismatch},
        {L"3mm*2", L"kg", CHostStatus::kUnitMismatch},
        {L"3mm+2", L"ul", CHostStatus::kUnitMismatch},
        {L"1.1mm*2", L"ul", CHostStatus::kUnitMismatch},
        {L"3m/2s", L"", CHostStatus::kUnitMismatch},
        {L"90deg+1", L"mm", CHostStatus::kUnitMismatch},
        {L"min(1mm;2kg)", L"ul", CHostStatus::kUnitMismatch},
        {L"sin(3mm)", L"ul", CHostStatus::kUnitMismatch},
        {L"asin(1deg)", L"ul", CHostStatus::kUnitMismatch},
        {L"exp(1mm)", L"ul", CHostStatus::kUnitMismatch},
        {L"2^3mm", L"ul", CHostStatus::kUnitMismatch},
        {L"3mm^(2)", L"ul", CHostStatus::kUnitMismatch},
        {L"3mm^0.3", L"ul", CHostStatus::kUnitMismatch},
        {L"sqrt(2mm)+1mm", L"ul", CHostStatus::kUnitMismatch},
        {L"3mm*2", L"%", CHostStatus::kUnitMismatch},
        // Unknown words.
        {L"3foo", L"ul", CHostStatus::kUnknownUnit},
        {L"3", L"foo", CHostStatus::kUnknownUnit},
        {L"3", L"mm)", CHostStatus::kUnknownUnit},
        {L"3dB", L"ul", CHostStatus::kUnknownUnit},
        {L"foo(1)", L"ul", CHostStatus::kUnknownName},
        {L"x+1", L"ul", CHostStatus::kUnknownName},
        {L"_pi", L"ul", CHostStatus::kUnknownName},
        {L"sqrt(1;2)", L"ul", CHostStatus::kArgumentCount},
        {L"min()", L"ul", CHostStatus::kArgumentCount},
        // Results that are no finite number.
        {L"1/0", L"ul", CHostStatus::kNotFinite},
        {L"0/0", L"mm", CHostStatus::kNotFinite},
        {L"sqrt(-1)", L"ul", CHostStatus::kNotFinite},
        {L"1e308*10", L"ul", CHostStatus::kNotFinite},
        {L"1e999", L"ul", CHostStatus::kNotFinite},
        // Malformed texts.
        {L"", L"ul", CHostStatus::kSyntaxError},
        {L"   ", L"mm", CHostStatus::kSyntaxError},
        {L"1+", L"ul", CHostStatus::kSyntaxError},
        {L"(1", L"ul", CHostStatus::kSyntaxError},
        {L"1)", L"ul", CHostStatus::kSyntaxError},
        {L"3 mm", L"ul", CHostStatus::kSyntaxError},
        {L"1..2", L"ul", CHostStatus::kSyntaxError},
        {L"{a}*2", L"ul", CHostStatus::kSyntaxError},
        {L"1,5+2", L"ul", CHostStatus::kSyntaxError},
    };
    CUnitsEvaluatorProvider provider;
    for (const Failure& c : cases) {
        double value = 42.0;
        EXPECT_EQ(provider.EvaluateToDouble(c.expression, c.unit, &value), c.status)
            << Narrow(c.expression) << " in " << Narrow(c.unit);
        EXPECT_EQ(value, 42.0) << "value touched by " << Narrow(c.expression);
    }
}

TEST(HostExpression, NullArgumentsFailAndANullUnitIsNoUnit) {
    CUnitsEvaluatorProvider provider;
    double value = 0.0;
    EXPECT_EQ(provider.EvaluateToDouble(nullptr, L"mm", &value), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.EvaluateToDouble(L"1", L"mm", nullptr), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.EvaluateToDouble(L"3mm/1mm", nullptr, &value), 0);
    EXPECT_TRUE(Near(value, 3));
    EXPECT_EQ(provider.EvaluateToDouble(L"3mm", nullptr, &value), CHostStatus::kUnitMismatch);
}

struct SeparatorCase {
    wchar_t separator;
    const wchar_t* expression;
    int32_t status;
    double expected; // internal unit, when status is 0
};

TEST(HostExpression, DecimalSeparatorsNeverSplitANumber) {
    const SeparatorCase cases[] = {
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
    for (const SeparatorCase& c : cases) {
        CUnitsEvaluatorProvider provider;
        provider.SetDecimalSeparator(c.separator);
        auto result = Evaluate(provider, c.expression, L"mm");
        EXPECT_EQ(result.status, c.status)
            << Narrow(c.expression) << " with '" << static_cast<char>(c.separator) << "'";
        if (c.status == 0) {
            EXPECT_TRUE(Near(result.value, c.expected)) << Narrow(c.expression);
        }
    }
}

TEST(HostExpression, HostileTextsFailWithoutHarm) {
    std::vector<std::wstring> texts = {
        L"\x01",
        L"3\x7F",
        L"\uFFFF",
        L"3\u00B5",
        L"3%%",
        L"3\u00B0\u00B0",
        L"1e+",
        L".",
        L"..",
        L"--",
        L"^",
        L"2^^2",
        L"sin",
        L"sin()",
        L"pi(1)",
        L"pi pi",
        L"()",
        L"(;)",
        L"1;2",
        L"min(;)",
        L"nan",
        L"inf",
        L"-inf",
        L"3m\u00B2",
        L"3mm)",
        L"mm",
        L"3mm(2)",
        L"3\u00B0C\u00B0",
        L"9999999999999999999999e99999",
        L"3ul)",
        L"3lg",
        L"1 2",
        L"+",
        L"*",
        L"/1",
        L"1/",
        L"sqrt(",
        L")",
        L"3mm^",
        L"3mm^-",
        L"3mm^x",
        L"3m^1000*1m^1000*1m^1000",
        L"1e1000000000000",
        L"0x10",
        L"3_",
    };
    // Deep and long texts.
    texts.push_back(std::wstring(1000, L'(') + L"1" + std::wstring(1000, L')'));
    texts.push_back(std::wstring(300, L'-') + L"1");
    texts.push_back(std::wstring(20000, L'1'));
    std::wstring manyNumbers;
    for (int i = 0; i < 1100; ++i) {
        manyNumbers += L"1*";
    }
    texts.push_back(manyNumbers + L"1");
    std::wstring longChain;
    for (int i = 0; i < 600; ++i) {
        longChain += L"1+";
    }
    texts.push_back(longChain + L"1");
    std::wstring deepCalls;
    for (int i = 0; i < 150; ++i) {
        deepCalls += L"sqrt(";
    }
    texts.push_back(deepCalls + L"1" + std::wstring(150, L')'));
    // Every character of a short range, alone and after a number.
    for (wchar_t c = 1; c < 0x300; ++c) {
        bool meaningful = (c >= L'0' && c <= L'9') || c == L'.' || c == L' ' || c == L'\t' ||
                          c == L'\n' || c == L'\r' || c == L'%';
        if (!meaningful) {
            texts.push_back(std::wstring(1, c));
        }
    }

    CUnitsEvaluatorProvider provider;
    for (const wchar_t* unit : {L"ul", L"mm", L"deg"}) {
        for (const std::wstring& text : texts) {
            double value = 42.0;
            int32_t status = provider.EvaluateToDouble(text.c_str(), unit, &value);
            EXPECT_LT(status, 0) << Narrow(text.substr(0, 40)) << " in " << Narrow(unit);
            EXPECT_EQ(value, 42.0);
        }
    }
}

TEST(HostExpression, LongButReasonableTextsStillWork) {
    std::wstring sum;
    for (int i = 0; i < 300; ++i) {
        sum += L"1mm+";
    }
    sum += L"1";
    CUnitsEvaluatorProvider provider;
    auto result = Evaluate(provider, sum.c_str(), L"mm");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Near(result.value, 30.1));

    std::wstring nested = std::wstring(60, L'(') + L"2mm" + std::wstring(60, L')');
    result = Evaluate(provider, nested.c_str(), L"mm");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Near(result.value, 0.2));
}

} // namespace
} // namespace torvex

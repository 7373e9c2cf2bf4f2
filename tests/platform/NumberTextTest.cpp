#include "torvex/platform/NumberText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <limits>
#include <string>
#include <vector>

namespace torvex::platform {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

// Equal values with equal signs (so -0.0 differs from 0.0), or both NaN.
bool SameDouble(double a, double b) {
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b);
    return a == b && std::signbit(a) == std::signbit(b);
}

std::wstring Printf(const char* format, int precision, double value) {
    std::vector<char> buffer(static_cast<size_t>(std::max(precision, 0)) + 1024);
    std::snprintf(buffer.data(), buffer.size(), format, precision, value);
    return std::wstring(buffer.data(), buffer.data() + std::strlen(buffer.data()));
}

TEST(NumberText, FormatsOfDocumentsAndEvaluatedValues) {
    struct Case {
        double value;
        int precision;
        const wchar_t* fixed;   // FormatFixed
        const wchar_t* general; // FormatGeneral
    };
    const Case cases[] = {
        {1.5, 12, L"1.500000000000", L"1.5"},
        {-0.0, 12, L"-0.000000000000", L"-0"},
        {1e20, 12, L"100000000000000000000.000000000000", L"1e+20"},
        {123456789.0, 8, L"123456789.00000000", L"1.2345679e+08"},
        {1e-5, 8, L"0.00001000", L"1e-05"},
        {1.0 / 3.0, 8, L"0.33333333", L"0.33333333"},
        {1e6, 6, L"1000000.000000", L"1e+06"},
        {2.5, 0, L"2", L"2"},               // ties go to even; precision 0 counts as 1 for %g
        {0.125, -1, L"0.125000", L"0.125"}, // a negative precision counts as none given
        {-std::numeric_limits<double>::infinity(), 8, L"-inf", L"-inf"},
        {kNaN, 8, L"nan", L"nan"}};
    for (const Case& c : cases) {
        EXPECT_EQ(FormatFixed(c.value, c.precision), c.fixed) << c.value << " " << c.precision;
        EXPECT_EQ(FormatGeneral(c.value, c.precision), c.general) << c.value << " " << c.precision;
    }
    EXPECT_EQ(FormatGeneral(123456.0), L"123456");
}

TEST(NumberText, FormatsAgreeWithPrintfInTheCLocale) {
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    const double values[] = {0.0,
                             -0.0,
                             1.5,
                             2.5,
                             0.125,
                             1e20,
                             1e300,
                             5e-324,
                             1.0 / 3,
                             1e-5,
                             123456789,
                             1.7976931348623157e308,
                             -1e-7,
                             0.05,
                             999999.5,
                             9.9999995,
                             2.2250738585072014e-308};
    const int precisions[] = {-1, 0, 1, 6, 8, 12, 17, 30, 400, 800, 2000};
    for (double value : values) {
        for (int precision : precisions) {
            EXPECT_EQ(FormatFixed(value, precision), Printf("%.*f", precision, value))
                << value << " " << precision;
            EXPECT_EQ(FormatGeneral(value, precision), Printf("%.*g", precision, value))
                << value << " " << precision;
        }
    }
}

struct ParseCase {
    std::wstring text;
    double value;
    size_t consumed;
};

std::vector<ParseCase> ParseCases() {
    const std::wstring zeros(400, L'0');
    return {{L"1.5", 1.5, 3},
            {L"  \t\n-2e3x", -2000.0, 8},
            {L"+.5", 0.5, 3},
            {L"1,5", 1.0, 1},
            {L"12abc", 12.0, 2},
            {L"1e", 1.0, 1},
            {L"1e+", 1.0, 1},
            {L"1e5.2", 1e5, 3},
            {L"-0", -0.0, 2},
            {L".", 0.0, 0},
            {L"-", 0.0, 0},
            {L"", 0.0, 0},
            {L"   ", 0.0, 0},
            {L"abc", 0.0, 0},
            {L"\u00a01", 0.0, 0}, // no-break space is no C white space
            {L"\u0661", 0.0, 0},  // nor is an Arabic-Indic digit a digit
            {L"0x1A", 26.0, 4},
            {L"0X1P+3", 8.0, 6},
            {L"0x.8", 0.5, 4},
            {L"0x1p", 1.0, 3},
            {L"0x", 0.0, 1},
            {L"0xg", 0.0, 1},
            {L"0x.p1", 0.0, 1},
            {L"inf", kInf, 3},
            {L"-Infinity", -kInf, 9},
            {L"infinit", kInf, 3},
            {L"nan", kNaN, 3},
            {L"NaN(12)", kNaN, 7},
            {L"nan(", kNaN, 3},
            {L"1e400", kInf, 5},
            {L"-1e400", -kInf, 6},
            {L"1e-400", 0.0, 6},
            {L"1e99999999999999999999", kInf, 22},
            {L"0e99999999999999999999", 0.0, 22},
            {L"4.9406564584124654e-324", 4.9406564584124654e-324, 23},
            // Out of range by the digits, not by the exponent's sign.
            {L"1" + zeros + L"e-10", kInf, 405},
            {L"0." + zeros + L"1e10", 0.0, 406},
            {L"0x1" + std::wstring(300, L'0') + L"p-10", kInf, 307},
            {L"0x0." + std::wstring(300, L'0') + L"1p10", 0.0, 308}};
}

TEST(NumberText, ParseLeadingDoubleTakesTheLongestNumber) {
    for (const ParseCase& c : ParseCases()) {
        size_t consumed = 99;
        const double value = ParseLeadingDouble(c.text.c_str(), &consumed);
        EXPECT_TRUE(SameDouble(value, c.value)) << "'" << c.text << "' gave " << value;
        EXPECT_EQ(consumed, c.consumed) << "'" << c.text << "'";
    }
    size_t consumed = 99;
    EXPECT_EQ(ParseLeadingDouble(nullptr, &consumed), 0.0);
    EXPECT_EQ(consumed, 0u);
    EXPECT_EQ(ParseLeadingDouble(L"2.25"), 2.25);
}

TEST(NumberText, ParseLeadingDoubleAgreesWithWcstodInTheCLocale) {
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    for (const ParseCase& c : ParseCases()) {
        wchar_t* end = nullptr;
        const double expected = std::wcstod(c.text.c_str(), &end);
        size_t consumed = 0;
        EXPECT_TRUE(SameDouble(ParseLeadingDouble(c.text.c_str(), &consumed), expected))
            << "'" << c.text << "'";
        EXPECT_EQ(consumed, static_cast<size_t>(end - c.text.c_str())) << "'" << c.text << "'";
    }
}

TEST(NumberText, IsWholeDoubleNeedsEverythingConsumed) {
    struct Case {
        const wchar_t* text;
        bool whole;
    };
    const Case cases[] = {{nullptr, true},  {L"", true},    {L"1.5", true},  {L" 1.5", true},
                          {L"1e5", true},   {L"inf", true}, {L"0x10", true}, {L"1.5 ", false},
                          {L" ", false},    {L"1e", false}, {L"1,5", false}, {L"-", false},
                          {L"1.5.", false}, {L"abc", false}};
    for (const Case& c : cases)
        EXPECT_EQ(IsWholeDouble(c.text), c.whole) << (c.text ? c.text : L"(null)");
}

} // namespace
} // namespace torvex::platform

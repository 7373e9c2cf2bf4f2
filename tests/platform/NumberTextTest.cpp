#include "torvex/platform/NumberText.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <limits>
#include <random>
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

// The document format "%.*f" and the value format "%.*g" as the C locale's printf writes them,
// for ties, extremes, non-finite values and precisions that are negative, zero or huge.
TEST(NumberText, FormatsAgreeWithPrintfInTheCLocale) {
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    const double values[] = {0.0,    -0.0, 1.5,       2.5,       0.125,   1e20,     1e300,
                             5e-324, 1e-5, 1e6,       -1e-7,     0.05,    999999.5, 1.0 / 3,
                             -kInf,  kNaN, 9.9999995, 123456789, DBL_MAX, DBL_MIN};
    const int precisions[] = {-1, 0, 1, 6, 8, 12, 17, 30, 400, 800, 2000};
    for (double value : values) {
        for (int precision : precisions) {
            EXPECT_EQ(FormatFixed(value, precision), Printf("%.*f", precision, value))
                << value << " " << precision;
            EXPECT_EQ(FormatGeneral(value, precision), Printf("%.*g", precision, value))
                << value << " " << precision;
        }
    }
    EXPECT_EQ(FormatGeneral(123456.0), L"123456");
}

// The value format on values of every kind: random bit patterns, short decimals as a host's
// arithmetic gives them, halves that tie at the precision (exactly or one step off), and the
// neighbours of powers of ten, where the rounding carries into the next decade.
TEST(NumberText, FormatGeneralAgreesWithPrintfOnManyValues) {
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    std::mt19937_64 random(20261123);
    std::vector<double> values;
    for (int i = 0; i < 6000; ++i) {
        double bits = 0.0;
        const uint64_t pattern = random();
        std::memcpy(&bits, &pattern, sizeof bits);
        if (std::isfinite(bits))
            values.push_back(bits);
    }
    for (int i = 0; i < 6000; ++i) {
        const double whole = static_cast<double>(random() % 100000000);
        const int scale = static_cast<int>(random() % 30) - 15;
        values.push_back(whole * std::pow(10.0, scale) * (i % 2 ? -1 : 1));
        values.push_back((whole + 0.5) / std::pow(10.0, static_cast<int>(random() % 12)));
        values.push_back(whole * 25.4 / 3.0);
    }
    for (int decade = -30; decade <= 30; ++decade) {
        const double power = std::pow(10.0, decade);
        for (double near : {power, std::nextafter(power, 0.0), std::nextafter(power, 1e300),
                            power * 0.99999995, power * 0.999999995, power * 9.5, power * 2.5})
            values.push_back(near);
    }
    for (double value : values) {
        for (int precision = 1; precision <= 17; ++precision) {
            ASSERT_EQ(FormatGeneral(value, precision), Printf("%.*g", precision, value))
                << std::hexfloat << value << " " << precision;
        }
    }
}

// ParseLeadingDouble takes the longest number wcstod takes in the C locale, and says how much it
// took: white space, hex, inf/nan, cut exponents, overflow and underflow by digits or exponent.
TEST(NumberText, ParseLeadingDoubleAgreesWithWcstodInTheCLocale) {
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    // A no-break space is no C white space, nor is an Arabic-Indic digit a digit.
    std::vector<std::wstring> texts = {
        L"1.5",     L"  \t\n-2e3x", L"+.5",    L"1,5",       L"12abc",   L"1e",   L"1e+",
        L"1e5.2",   L"-0",          L".",      L"-",         L"",        L"   ",  L"abc",
        L"\u00a01", L"\u0661",      L"0x1A",   L"0X1P+3",    L"0x.8",    L"0x1p", L"0x",
        L"0xg",     L"0x.p1",       L"inf",    L"-Infinity", L"infinit", L"nan",  L"NaN(12)",
        L"nan(",    L"1e400",       L"-1e400", L"1e-400"};
    const std::wstring zeros(400, L'0');
    const std::wstring hexZeros(300, L'0');
    texts.insert(texts.end(),
                 {L"1e99999999999999999999", L"0e99999999999999999999", L"4.9406564584124654e-324",
                  L"1" + zeros + L"e-10", L"0." + zeros + L"1e10", L"0x1" + hexZeros + L"p-10",
                  L"0x0." + hexZeros + L"1p10"});
    for (const std::wstring& text : texts) {
        wchar_t* end = nullptr;
        const double expected = std::wcstod(text.c_str(), &end);
        size_t consumed = 99;
        EXPECT_TRUE(SameDouble(ParseLeadingDouble(text.c_str(), &consumed), expected))
            << "'" << text << "'";
        EXPECT_EQ(consumed, static_cast<size_t>(end - text.c_str())) << "'" << text << "'";
    }
    size_t consumed = 99;
    EXPECT_EQ(ParseLeadingDouble(nullptr, &consumed), 0.0);
    EXPECT_EQ(consumed, 0u);
    EXPECT_TRUE(IsWholeDouble(nullptr));
}

} // namespace
} // namespace torvex::platform

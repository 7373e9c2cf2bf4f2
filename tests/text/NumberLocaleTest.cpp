// Number text against the process locale and the user's locale: the first must never leak into
// documents, the second decides the separator offered to users.

#include "torvex/platform/NumberText.h"
#include "torvex/text/CStringUtil.h"

#include "platform/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <string>

namespace torvex {
namespace {

using torvex::testing::LocaleInstalled;
using torvex::testing::ScopedEnvironment;

constexpr const char* kGerman = "de_DE.UTF-8";

// Sets the whole process locale, as a host may do, and puts the old one back afterwards.
class ProcessLocale {
public:
    explicit ProcessLocale(const char* name) : saved_(std::setlocale(LC_ALL, nullptr)) {
        active_ = std::setlocale(LC_ALL, name) != nullptr;
    }
    ~ProcessLocale() { std::setlocale(LC_ALL, saved_.c_str()); }
    bool Active() const { return active_; }

private:
    std::string saved_;
    bool active_ = false;
};

TEST(NumberLocale, CommaProcessLocaleDoesNotLeakIntoNumberText) {
    ProcessLocale locale(kGerman);
    if (!locale.Active())
        GTEST_SKIP() << kGerman << " is not installed";
    // The runtime's own formatting now writes a comma, so a leak would show.
    char runtime[16];
    std::snprintf(runtime, sizeof runtime, "%.1f", 1.5);
    ASSERT_STREQ(runtime, "1,5");

    EXPECT_EQ(platform::FormatFixed(1.5, 12), L"1.500000000000");
    EXPECT_EQ(platform::FormatGeneral(1234.5678, 8), L"1234.5678");
    EXPECT_EQ(platform::FormatGeneral(1.5e-7, 8), L"1.5e-07");
    size_t consumed = 0;
    EXPECT_EQ(platform::ParseLeadingDouble(L"1.25", &consumed), 1.25);
    EXPECT_EQ(consumed, 4u);
    EXPECT_EQ(platform::ParseLeadingDouble(L"1,25", &consumed), 1.0);
    EXPECT_EQ(consumed, 1u);

    EXPECT_EQ(CStringUtil::ToDouble(L"2.5"), 2.5);
    EXPECT_EQ(CStringUtil::ToDouble(L"2,5"), 2.0);
    EXPECT_TRUE(CStringUtil::IsNumberStr(L"2.5"));
    EXPECT_FALSE(CStringUtil::IsNumberStr(L"2,5"));
    // The white space of the C locale only: a no-break space is no blank in any locale here.
    EXPECT_FALSE(CStringUtil::IsLogicalValue(L"\u00a0yes"));
    EXPECT_TRUE(CStringUtil::IsLogicalValue(L" yes\t"));
}

TEST(NumberLocale, DecimalSeparatorFollowsTheUserEnvironment) {
    struct Case {
        const char* lcAll;
        const char* lcNumeric;
        const char* lang;
        wchar_t separator;
    };
    const Case cases[] = {
        {nullptr, nullptr, nullptr, L'.'}, {nullptr, nullptr, "C", L'.'},
        {nullptr, nullptr, "POSIX", L'.'}, {nullptr, nullptr, "xx_YY.UTF-8", L'.'}, // unknown
        {kGerman, nullptr, nullptr, L','}, {nullptr, kGerman, nullptr, L','},
        {nullptr, nullptr, kGerman, L','}, {"C", nullptr, kGerman, L'.'}, // LC_ALL comes first
        {nullptr, "C", kGerman, L'.'},                                    // then LC_NUMERIC
        {"", nullptr, kGerman, L','} // an empty variable counts as unset
    };
    const bool germanInstalled = LocaleInstalled(kGerman);
    for (const Case& c : cases) {
        ScopedEnvironment environment;
        environment.ClearLocale();
        if (c.lcAll)
            environment.Set("LC_ALL", c.lcAll);
        if (c.lcNumeric)
            environment.Set("LC_NUMERIC", c.lcNumeric);
        if (c.lang)
            environment.Set("LANG", c.lang);
        if (c.separator == L',' && !germanInstalled)
            continue;
        EXPECT_EQ(CStringUtil::GetDecimalSeparator(), c.separator)
            << (c.lcAll ? c.lcAll : "-") << " " << (c.lcNumeric ? c.lcNumeric : "-") << " "
            << (c.lang ? c.lang : "-");
    }
    if (!germanInstalled)
        GTEST_SKIP() << kGerman << " is not installed";
}

TEST(NumberLocale, ColumnExpressionTakesTheUserSeparator) {
    struct Case {
        const char* locale;
        const wchar_t* text;
        const wchar_t* result;
    };
    const Case cases[] = {{"C", L"1,5+{a,b}", L"1.5+{a,b}"},
                          {"C", L"1.5+{a.b}", L"1.5+{a.b}"},
                          {kGerman, L"1.5+{a.b}", L"1,5+{a.b}"},
                          {kGerman, L"1,5*2.0", L"1,5*2,0"},
                          {kGerman, L"{x}", L"{x}"}};
    for (const Case& c : cases) {
        if (!LocaleInstalled(c.locale))
            continue;
        ScopedEnvironment environment;
        environment.ClearLocale();
        environment.Set("LC_ALL", c.locale);
        WideString text = c.text;
        EXPECT_EQ(CStringUtil::ReplaceDecimalPointOfColumnExpression(text, false), c.result)
            << c.locale << " '" << c.text << "'";
        EXPECT_EQ(text, c.result);
    }
    // Towards the period the user's separator plays no part.
    ScopedEnvironment environment;
    environment.ClearLocale();
    environment.Set("LC_ALL", kGerman);
    WideString text = L"1,5*{a,b}";
    EXPECT_EQ(CStringUtil::ReplaceDecimalPointOfColumnExpression(text, true), L"1.5*{a,b}");
}

} // namespace
} // namespace torvex

// Number text against the process locale and the user's locale: the first must never leak into
// documents, the second decides the separator offered to users.

#include "torvex/platform/NumberText.h"
#include "torvex/text/CStringUtil.h"

#include "platform/RequireLocale.h"
#include "platform/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <string>
#include <tuple>

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

// Under a comma process locale, numbers are still written and read with a point, and white
// space is still that of the C locale.
TEST(NumberLocale, CommaProcessLocaleDoesNotLeakIntoNumberText) {
    TORVEX_REQUIRE_LOCALE(kGerman);
    ProcessLocale locale(kGerman);
    ASSERT_TRUE(locale.Active());
    char runtime[16]; // the runtime's own formatting now writes a comma, so a leak would show
    std::snprintf(runtime, sizeof runtime, "%.1f", 1.5);
    ASSERT_STREQ(runtime, "1,5");

    EXPECT_EQ(platform::FormatFixed(1.5, 12), L"1.500000000000");
    EXPECT_EQ(platform::FormatGeneral(1234.5678, 8), L"1234.5678");
    EXPECT_EQ(platform::FormatGeneral(1.5e-7, 8), L"1.5e-07");
    size_t consumed = 0;
    EXPECT_EQ(platform::ParseLeadingDouble(L"1,25", &consumed), 1.0);
    EXPECT_EQ(consumed, 1u);
    EXPECT_EQ(CStringUtil::ToDouble(L"2.5"), 2.5);
    EXPECT_TRUE(CStringUtil::IsNumberStr(L"2.5"));
    EXPECT_FALSE(CStringUtil::IsNumberStr(L"2,5"));
    EXPECT_FALSE(CStringUtil::IsLogicalValue(L"\u00a0yes"));
    EXPECT_TRUE(CStringUtil::IsLogicalValue(L" yes\t"));
}

// The separator is the numeric one of LC_ALL, else LC_NUMERIC, else LANG (an empty variable
// counts as unset); unknown or absent locales give '.'; the process locale stays as it is.
TEST(NumberLocale, DecimalSeparatorFollowsTheUserEnvironment) {
    using Case = std::tuple<const char*, const char*, const char*, wchar_t>;
    const Case cases[] = {
        {nullptr, nullptr, nullptr, L'.'}, {nullptr, nullptr, "C", L'.'},
        {nullptr, nullptr, "POSIX", L'.'}, {nullptr, nullptr, "xx_YY.UTF-8", L'.'},
        {kGerman, nullptr, nullptr, L','}, {nullptr, kGerman, nullptr, L','},
        {nullptr, nullptr, kGerman, L','}, {"C", nullptr, kGerman, L'.'},
        {nullptr, "C", kGerman, L'.'},     {"", nullptr, kGerman, L','},
    };
    const bool germanInstalled = LocaleInstalled(kGerman);
    for (const auto& [lcAll, lcNumeric, lang, separator] : cases) {
        if (separator == L',' && !germanInstalled)
            continue;
        ScopedEnvironment environment;
        environment.ClearLocale();
        for (const auto& [name, value] :
             {std::pair{"LC_ALL", lcAll}, {"LC_NUMERIC", lcNumeric}, {"LANG", lang}})
            if (value)
                environment.Set(name, value);
        EXPECT_EQ(CStringUtil::GetDecimalSeparator(), separator)
            << (lcAll ? lcAll : "-") << " " << (lcNumeric ? lcNumeric : "-") << " "
            << (lang ? lang : "-");
    }
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    TORVEX_REQUIRE_LOCALE(kGerman); // the comma cases were left out
}

// Towards the user's separator, a column expression's separators outside braces take it;
// towards the period, the user's separator plays no part.
TEST(NumberLocale, ColumnExpressionTakesTheUserSeparator) {
    struct Case {
        const char* locale;
        bool toPeriod;
        const wchar_t* text;
        const wchar_t* result;
    };
    const Case cases[] = {{"C", false, L"1,5+{a,b}", L"1.5+{a,b}"},
                          {"C", false, L"1.5+{a.b}", L"1.5+{a.b}"},
                          {kGerman, false, L"1.5+{a.b}", L"1,5+{a.b}"},
                          {kGerman, false, L"1,5*2.0", L"1,5*2,0"},
                          {kGerman, false, L"{x}", L"{x}"},
                          {kGerman, true, L"1,5*{a,b}", L"1.5*{a,b}"}};
    for (const Case& c : cases) {
        if (!LocaleInstalled(c.locale))
            continue;
        ScopedEnvironment environment;
        environment.ClearLocale();
        environment.Set("LC_ALL", c.locale);
        WideString text = c.text;
        EXPECT_EQ(CStringUtil::ReplaceDecimalPointOfColumnExpression(text, c.toPeriod), c.result)
            << c.locale << " '" << c.text << "'";
        EXPECT_EQ(text, c.result);
    }
    TORVEX_REQUIRE_LOCALE(kGerman); // the comma cases were left out
}

} // namespace
} // namespace torvex

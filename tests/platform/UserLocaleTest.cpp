#include "torvex/platform/UserLocale.h"

#include "platform/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace torvex::platform {
namespace {

using torvex::testing::LocaleInstalled;
using torvex::testing::ScopedEnvironment;

TEST(UserLocale, LocaleIdOfNamesLanguageAndTerritory) {
    struct Case {
        const char* name;
        uint32_t id;
    };
    const Case cases[] = {{"en_US", 1033},
                          {"en_US.UTF-8", 1033},
                          {"de_DE.UTF-8", 1031},
                          {"de_DE", 1031},
                          {"de_AT.UTF-8", 3079},
                          {"fr_FR", 1036},
                          {"fr_FR.UTF-8@euro", 1036},
                          {"it_IT", 1040},
                          {"es_ES", 3082},
                          {"ja_JP.eucJP", 1041},
                          {"zh_CN", 2052},
                          {"de", 1031},    // a bare language takes its first territory
                          {"de_XX", 1031}, // so does an unknown territory
                          {"C", 1033},
                          {"C.UTF-8", 1033},
                          {"POSIX", 1033},
                          {"", 1033},
                          {"xx_YY", 1033},
                          {"english", 1033},
                          {".UTF-8", 1033}};
    for (const Case& c : cases)
        EXPECT_EQ(LocaleIdOf(c.name), c.id) << "'" << c.name << "'";
}

TEST(UserLocale, LcAllBeforeLcNumericBeforeLang) {
    struct Case {
        const char* lcAll;
        const char* lcNumeric;
        const char* lang;
        const char* expected;
    };
    const Case cases[] = {{nullptr, nullptr, nullptr, ""},
                          {nullptr, nullptr, "fr_FR", "fr_FR"},
                          {nullptr, "it_IT", "fr_FR", "it_IT"},
                          {"de_DE", "it_IT", "fr_FR", "de_DE"},
                          {"", "it_IT", "fr_FR", "it_IT"}, // an empty variable counts as unset
                          {"", "", "", ""}};
    for (const Case& c : cases) {
        ScopedEnvironment environment;
        environment.ClearLocale();
        if (c.lcAll)
            environment.Set("LC_ALL", c.lcAll);
        if (c.lcNumeric)
            environment.Set("LC_NUMERIC", c.lcNumeric);
        if (c.lang)
            environment.Set("LANG", c.lang);
        EXPECT_EQ(UserLocaleName(), c.expected);
        EXPECT_EQ(UserLocaleId(), LocaleIdOf(c.expected));
    }
}

TEST(UserLocale, DecimalSeparatorOfTheNamedLocale) {
    ScopedEnvironment environment;
    environment.ClearLocale();
    EXPECT_EQ(UserDecimalSeparator(), L'.');
    environment.Set("LANG", "C");
    EXPECT_EQ(UserDecimalSeparator(), L'.');
    environment.Set("LANG", "xx_YY.UTF-8");
    EXPECT_EQ(UserDecimalSeparator(), L'.');
    if (!LocaleInstalled("de_DE.UTF-8"))
        GTEST_SKIP() << "de_DE.UTF-8 is not installed";
    environment.Set("LANG", "de_DE.UTF-8");
    EXPECT_EQ(UserDecimalSeparator(), L',');
    environment.Set("LC_ALL", "C");
    EXPECT_EQ(UserDecimalSeparator(), L'.');
    // Reading the user's separator leaves the process locale alone.
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
}

} // namespace
} // namespace torvex::platform

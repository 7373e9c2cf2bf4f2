#include "torvex/platform/UserLocale.h"

#include "platform/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace torvex::platform {
namespace {

using torvex::testing::ScopedEnvironment;

// Locale ids by language and territory; a bare language or an unknown territory takes the
// language's first territory, anything else is 1033.
TEST(UserLocale, LocaleIdOfNamesLanguageAndTerritory) {
    using Case = std::tuple<uint32_t, std::vector<const char*>>;
    const Case cases[] = {
        {1033, {"en_US", "en_US.UTF-8", "C", "C.UTF-8", "POSIX", "", "xx_YY", "english", ".UTF-8"}},
        {1031, {"de_DE.UTF-8", "de_DE", "de", "de_XX"}},
        {3079, {"de_AT.UTF-8"}},
        {1036, {"fr_FR", "fr_FR.UTF-8@euro"}},
        {1040, {"it_IT"}},
        {3082, {"es_ES"}},
        {1041, {"ja_JP.eucJP"}},
        {2052, {"zh_CN"}},
    };
    for (const auto& [id, names] : cases)
        for (const char* name : names)
            EXPECT_EQ(LocaleIdOf(name), id) << "'" << name << "'";
}

// LC_ALL before LC_NUMERIC before LANG; an empty variable counts as unset.
TEST(UserLocale, LcAllBeforeLcNumericBeforeLang) {
    using Case = std::tuple<const char*, const char*, const char*, const char*>;
    const Case cases[] = {
        {nullptr, nullptr, nullptr, ""},      {nullptr, nullptr, "fr_FR", "fr_FR"},
        {nullptr, "it_IT", "fr_FR", "it_IT"}, {"de_DE", "it_IT", "fr_FR", "de_DE"},
        {"", "it_IT", "fr_FR", "it_IT"},      {"", "", "", ""}};
    for (const auto& [lcAll, lcNumeric, lang, expected] : cases) {
        ScopedEnvironment environment;
        environment.ClearLocale();
        for (const auto& [name, value] :
             {std::pair{"LC_ALL", lcAll}, {"LC_NUMERIC", lcNumeric}, {"LANG", lang}})
            if (value)
                environment.Set(name, value);
        EXPECT_EQ(UserLocaleName(), expected);
        EXPECT_EQ(UserLocaleId(), LocaleIdOf(expected));
    }
}

} // namespace
} // namespace torvex::platform

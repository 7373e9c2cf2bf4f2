#pragma once
// Tests that need a locale: skipped when it is missing, unless the test command runs them.
// scripts/test.sh makes the locales and exports TORVEX_REQUIRE_LOCALES=1, so there a missing
// locale fails the test instead of letting its checks silently go. A developer who runs a test
// program by hand without the variable still gets a skip.

#include "platform/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace torvex::testing {

/// True when TORVEX_REQUIRE_LOCALES is set to anything but "" or "0".
inline bool LocalesRequired() {
    const char* value = std::getenv("TORVEX_REQUIRE_LOCALES");
    return value && *value && std::strcmp(value, "0") != 0;
}

} // namespace torvex::testing

/// In a test body: ends the test when the named locale is not installed, with a failure when
/// locales are required (see above), else with a skip.
#define TORVEX_REQUIRE_LOCALE(name)                                                                \
    do {                                                                                           \
        if (!::torvex::testing::LocaleInstalled(name)) {                                           \
            if (::torvex::testing::LocalesRequired())                                              \
                FAIL() << (name) << " is not installed, and TORVEX_REQUIRE_LOCALES is set";        \
            else                                                                                   \
                GTEST_SKIP() << (name) << " is not installed";                                     \
        }                                                                                          \
    } while (0)

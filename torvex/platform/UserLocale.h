#pragma once
// The user's locale as the environment names it (LC_ALL, then LC_NUMERIC, then LANG). Reading it
// never changes the process locale.

#include <cstdint>
#include <string>

namespace torvex::platform {

/// Name of the user's numeric locale, such as "de_DE.UTF-8"; empty when none is set.
std::string UserLocaleName();
/// First code unit of the user's decimal separator; '.' for an unset, "C" or unknown locale.
wchar_t UserDecimalSeparator();
/// Windows-style locale id of the user's locale (de_DE gives 1031); 1033 for "C", "POSIX",
/// an unset or an unknown locale.
uint32_t UserLocaleId();
/// Locale id of a POSIX locale name ("fr_FR.UTF-8@euro" gives 1036); 1033 when unknown.
uint32_t LocaleIdOf(const std::string& posixName);

} // namespace torvex::platform

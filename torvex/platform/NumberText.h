#pragma once
// Number text that never depends on the process locale: what printf and wcstod give in the
// "C" locale, whatever locale the host has set.

#include <cstddef>
#include <string>

namespace torvex::platform {

/// printf("%.*f", decimals, value) as in the "C" locale; never fails.
std::wstring FormatFixed(double value, int decimals);
/// printf("%.*g", precision, value) as in the "C" locale; never fails.
std::wstring FormatGeneral(double value, int precision = 6);
/// The same into `out`, whose room is reused; never fails.
void FormatGeneral(double value, int precision, std::wstring& out);
/// wcstod in the "C" locale: leading white space, a sign, then the longest decimal, hexadecimal,
/// infinity or NaN form. Gives 0.0 and *consumed == 0 when no number starts the text; a null
/// text counts as empty. Out-of-range values give +-HUGE_VAL or 0 as wcstod does.
double ParseLeadingDouble(const wchar_t* text, size_t* consumed = nullptr);
/// True when the whole text (after optional leading white space) is one number for
/// ParseLeadingDouble; the empty text counts as a number, as wcstod with an end check does.
bool IsWholeDouble(const wchar_t* text);

} // namespace torvex::platform

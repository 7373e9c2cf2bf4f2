#pragma once
// Conversions between the library's wide text (UTF-32 wchar_t on Linux), UTF-8 and UTF-16.
// Invalid input never fails: an unpaired surrogate or a bad byte becomes U+FFFD.

#include <string>
#include <string_view>

namespace torvex::platform {

/// UTF-8 of wide text; never fails (invalid code points become U+FFFD).
std::string ToUtf8(std::wstring_view text);
/// Wide text of UTF-8 bytes; never fails (invalid sequences become U+FFFD).
std::wstring FromUtf8(std::string_view bytes);
/// UTF-16 code units of wide text: characters above U+FFFF become surrogate pairs.
std::u16string ToUtf16(std::wstring_view text);
/// Wide text of UTF-16 code units: pairs are joined, a lone surrogate becomes U+FFFD.
std::wstring FromUtf16(std::u16string_view units);
/// Number of UTF-16 code units that ToUtf16(text) would give.
size_t Utf16Length(std::wstring_view text);

} // namespace torvex::platform

#pragma once
// Conversions between the library's wide text (UTF-32 wchar_t on Linux), UTF-8 and UTF-16.
// Invalid input never fails: an unpaired surrogate or a bad byte becomes U+FFFD.

#include <cstddef>
#include <string>
#include <string_view>

namespace torvex::platform {

/// UTF-8 of wide text; never fails (invalid code points become U+FFFD).
std::string ToUtf8(std::wstring_view text);
/// The same written to `out`, which must have room for 4 bytes a character; the number of
/// bytes written. Never fails.
size_t ToUtf8(std::wstring_view text, char* out);
/// Wide text of UTF-8 bytes; never fails (invalid sequences become U+FFFD).
std::wstring FromUtf8(std::string_view bytes);
/// FromUtf8 appended to `out`; never fails.
void AppendUtf8(std::string_view bytes, std::wstring& out);
/// UTF-16 code units of wide text: characters above U+FFFF become surrogate pairs.
std::u16string ToUtf16(std::wstring_view text);
/// Wide text of UTF-16 code units: pairs are joined, a lone surrogate becomes U+FFFD.
std::wstring FromUtf16(std::u16string_view units);
/// Number of UTF-16 code units that ToUtf16(text) would give.
size_t Utf16Length(std::wstring_view text);
/// The one or two UTF-16 code units of a character, written to `out`; their count. Never fails
/// (an invalid code point gives U+FFFD).
inline size_t EncodeUtf16(wchar_t character, char16_t out[2]) {
    char32_t c = static_cast<char32_t>(character);
    if (c >= 0x110000 || (c >= 0xD800 && c <= 0xDFFF))
        c = 0xFFFD;
    if (c < 0x10000) {
        out[0] = static_cast<char16_t>(c);
        return 1;
    }
    c -= 0x10000;
    out[0] = static_cast<char16_t>(0xD800 + (c >> 10));
    out[1] = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    return 2;
}

} // namespace torvex::platform

#pragma once
// Character classes of the "C" locale, whatever locale the process has set: white space and
// ASCII-only case folding. Ids, logical words and type names compare this way, so that no host
// locale can make another letter equal one of them.

#include "torvex/platform/WideString.h"

#include <string_view>

namespace torvex::platform {

/// Space, '\t', '\n', '\v', '\f' or '\r'.
inline bool IsCSpace(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\n' || c == L'\v' || c == L'\f' || c == L'\r';
}

/// 'a'..'z' raised to 'A'..'Z'; every other character as it is.
inline wchar_t AsciiUpper(wchar_t c) {
    return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - (L'a' - L'A')) : c;
}

/// 'A'..'Z' lowered to 'a'..'z'; every other character as it is.
inline wchar_t AsciiLower(wchar_t c) {
    return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
}

/// The text without C-locale white space at either end.
inline WideString TrimCSpace(std::wstring_view text) {
    size_t first = 0;
    size_t last = text.size();
    while (first < last && IsCSpace(text[first]))
        ++first;
    while (last > first && IsCSpace(text[last - 1]))
        --last;
    return WideString(text.substr(first, last - first));
}

namespace detail {
template <class C>
bool EqualsIgnoringAsciiCase(std::basic_string_view<C> a, std::basic_string_view<C> b) {
    auto upper = [](C c) { return (c >= C('a') && c <= C('z')) ? static_cast<C>(c - 32) : c; };
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (upper(a[i]) != upper(b[i]))
            return false;
    return true;
}
} // namespace detail

/// True when the texts are equal with ASCII letters folded.
inline bool EqualsIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) {
    return detail::EqualsIgnoringAsciiCase(a, b);
}

/// The same for UTF-8 texts: only the ASCII bytes fold, so no byte of a longer sequence does.
inline bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    return detail::EqualsIgnoringAsciiCase(a, b);
}

} // namespace torvex::platform

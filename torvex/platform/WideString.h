#pragma once
// The one string type of the library and its list.

#include <cstddef>
#include <cwchar>
#include <string>
#include <string_view>
#include <vector>

namespace torvex {

/// Cell values, ids, formulas and units: wide text, empty by default.
using WideString = std::wstring;
/// A growable ordered list of WideString.
using WideStringList = std::vector<WideString>;

/// True when the null-terminated `text` is exactly `kept`, in one pass that stops at the first
/// difference: a text is compared without being measured first. Never fails.
inline bool EqualsCText(std::wstring_view kept, const wchar_t* text) {
    const size_t size = kept.size();
    if (size < 16) { // a language, a column id: a short loop in place beats two calls
        for (size_t i = 0; i < size; ++i)
            if (text[i] != kept[i] || !text[i])
                return false;
        return !text[size];
    }
    // A row id: both steps stop at the text's end and run over many characters at a time; a
    // NUL kept within `kept` ends the text there, which the length then tells apart.
    return std::wcsncmp(text, kept.data(), size) == 0 && std::wcslen(text) == size;
}

} // namespace torvex

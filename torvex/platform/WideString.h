#pragma once
// The one string type of the library and its list.

#include <cstddef>
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
    for (size_t i = 0; i < size; ++i)
        if (text[i] != kept[i] || !text[i])
            return false;
    return !text[size];
}

} // namespace torvex

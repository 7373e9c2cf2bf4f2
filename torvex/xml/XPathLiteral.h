#pragma once
// Texts that go into the string literals of XPath expressions. XPath 1.0 has no escape inside a
// literal: a text holding the literal's quote would end it early and could add conditions or a
// union of its own. A lookup for such a text is not made, and so finds nothing.

#include "torvex/platform/WideString.h"

namespace torvex {

/// Whether the text (null counts as empty) can stand between two `quote` characters. Never
/// fails.
bool FitsXPathLiteral(const wchar_t* text, wchar_t quote = L'"');

/// The same for a text.
inline bool FitsXPathLiteral(const WideString& text, wchar_t quote = L'"') {
    return text.find(quote) == WideString::npos;
}

} // namespace torvex

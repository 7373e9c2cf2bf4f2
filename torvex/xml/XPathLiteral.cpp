#include "torvex/xml/XPathLiteral.h"

#include <cwchar>

namespace torvex {

bool FitsXPathLiteral(const wchar_t* text, wchar_t quote) {
    return !text || !std::wcschr(text, quote);
}

} // namespace torvex

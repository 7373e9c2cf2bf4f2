#include "torvex/evaluation/CRangeParser.h"

#include "torvex/platform/AsciiText.h"
#include "torvex/text/CStringUtil.h"

#include <algorithm>

namespace torvex {

namespace {

constexpr wchar_t kOpen = L'[';
constexpr wchar_t kClose = L']';
constexpr wchar_t kSeparator = L';';

// White space as the "C" locale has it, whatever the process locale is.
WideString Trimmed(const WideString& text) {
    return platform::TrimCSpace(text);
}

// The text strictly between two delimiter positions, trimmed.
WideString PartBetween(const WideString& text, size_t open, size_t close) {
    if (close <= open + 1)
        return WideString();
    return Trimmed(text.substr(open + 1, close - open - 1));
}

// Position of the next ';' after `from`, or npos; npos stays npos.
size_t NextSeparator(const WideString& text, size_t from) {
    return from == WideString::npos ? WideString::npos : text.find(kSeparator, from + 1);
}

} // namespace

CRangeParser::CRangeParser(const wchar_t* text) : m_source(text ? text : L"") {
    Parse();
}

bool CRangeParser::IsRange(const WideString& text) {
    if (text.find(kOpen) != 0)
        return false;
    const size_t close = text.find(kClose);
    if (close == WideString::npos || close != text.size() - 1)
        return false;
    const size_t first = text.find(kSeparator);
    if (first == WideString::npos)
        return false;
    const size_t third = NextSeparator(text, NextSeparator(text, first));
    return third != WideString::npos && third < close;
}

void CRangeParser::Parse() {
    m_valid = true;
    const size_t open = m_source.find(kOpen);
    if (open == WideString::npos) {
        m_valid = false;
        return;
    }
    const size_t close = m_source.find(kClose, open);
    const size_t first = m_source.find(kSeparator, open);
    const size_t second = NextSeparator(m_source, first);
    const size_t third = NextSeparator(m_source, second);
    if (close == WideString::npos || first == WideString::npos || second == WideString::npos ||
        third == WideString::npos) {
        m_valid = false;
        return;
    }
    // The separators ascend by construction; the ']' must come after the third of them.
    if (!(open < first && first < second && second < third && third < close)) {
        m_valid = false;
        return;
    }
    m_min = PartBetween(m_source, open, first);
    m_max = PartBetween(m_source, first, second);
    m_step = PartBetween(m_source, second, third);
    m_default = PartBetween(m_source, third, close);

    if (CStringUtil::IsNumericValue(m_min.c_str()) && CStringUtil::IsNumericValue(m_max.c_str()))
        m_value = m_default.empty() ? m_min : m_default;
    else
        m_valid = false;
}

bool CRangeParser::GetStrValue(WideString& out, wchar_t separator) const {
    out = m_value;
    if (separator == L'.')
        std::replace(out.begin(), out.end(), L',', L'.');
    else if (separator == L',')
        std::replace(out.begin(), out.end(), L'.', L',');
    return m_valid;
}

} // namespace torvex

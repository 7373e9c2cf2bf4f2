#include "torvex/text/CStringUtil.h"

#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Guid.h"
#include "torvex/platform/NumberText.h"
#include "torvex/platform/UserLocale.h"

#include <cstdint>
#include <cstdio>

namespace torvex {
namespace {

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

void Trim(WideString& text) {
    text = platform::TrimCSpace(text);
}

// Only ASCII letters fold, so no locale can make another letter equal a logical word.
bool EqualsNoCase(const WideString& a, const wchar_t* b) {
    return platform::EqualsIgnoringAsciiCase(a, b);
}

void ReplaceAll(WideString& text, wchar_t from, wchar_t to) {
    for (wchar_t& c : text)
        if (c == from)
            c = to;
}

} // namespace

CStringUtil::CStringUtil() = default;
CStringUtil::~CStringUtil() = default;

void CStringUtil::Split(const WideString& source, const WideString& delimiter, WideStringList* list,
                        const WideString& defaultValue) {
    if (source.empty() || delimiter.empty() || !list)
        return;
    size_t position = 0;
    for (size_t hit = source.find(delimiter); hit != WideString::npos;
         hit = source.find(delimiter, position)) {
        list->push_back(hit == position ? defaultValue : source.substr(position, hit - position));
        position = hit + delimiter.size();
    }
    const WideString rest = source.substr(position);
    list->push_back(rest.empty() ? defaultValue : rest);
}

bool CStringUtil::ExtractByBracket(const WideString& source, const WideString& open,
                                   const WideString& close, WideStringList* list) {
    if (source.empty() || open.empty() || close.empty() || !list)
        return false;
    // Any character of open separates tokens; runs of them give no empty token.
    size_t begin = source.find_first_not_of(open);
    while (begin != WideString::npos) {
        size_t end = source.find_first_of(open, begin);
        if (end == WideString::npos)
            end = source.size();
        const WideString token = source.substr(begin, end - begin);
        const size_t closeAt = token.find(close);
        if (closeAt != WideString::npos) {
            WideString inside = token.substr(0, closeAt);
            Trim(inside);
            if (!inside.empty())
                list->push_back(inside);
        }
        begin = source.find_first_not_of(open, end);
    }
    return true;
}

WideString CStringUtil::TranslateStringSymbol(const WideString& text) {
    WideStringList fields;
    Split(text, L"&", &fields, WideString());
    WideString result;
    for (WideString& field : fields) {
        Trim(field);
        if (!field.empty() && field.front() == L'"' && field.back() == L'"') {
            // First the opening quote, then the closing one: a lone quote leaves nothing.
            field.erase(0, 1);
            if (!field.empty())
                field.pop_back();
        }
        result += field;
    }
    return result;
}

bool CStringUtil::IsNumberStr(const WideString& text) {
    return platform::IsWholeDouble(text.c_str());
}

WideString CStringUtil::NewGuid() {
    const platform::Guid g = platform::NewGuid();
    if (platform::IsNullGuid(g))
        return WideString();
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                  static_cast<unsigned>(g.data1), static_cast<unsigned>(g.data2),
                  static_cast<unsigned>(g.data3), g.data4[0], g.data4[1], g.data4[2], g.data4[3],
                  g.data4[4], g.data4[5], g.data4[6], g.data4[7]);
    return WideString(buffer, buffer + 36);
}

bool CStringUtil::TrimDoubleString(WideString& text) {
    // No search for a decimal point first: "100" becomes "1", as the callers expect.
    while (!text.empty() && text.back() == L'0')
        text.pop_back();
    if (!text.empty() && text.back() == L'.') {
        while (!text.empty() && text.back() == L'.')
            text.pop_back();
    }
    return true;
}

bool CStringUtil::LegalizeForFileName(WideString& text) {
    for (wchar_t c : {L'?', L'\\', L'/', L'<', L'>', L':', L'*', L'|', L'"'})
        ReplaceAll(text, c, L'_');
    Trim(text);
    return true;
}

wchar_t CStringUtil::GetDecimalSeparator() {
    return platform::UserDecimalSeparator();
}

bool CStringUtil::IsNumericValue(const wchar_t* text) {
    if (!text || !*text)
        return true;
    bool sawPoint = false;
    bool sawExponent = false;
    bool sawDigit = false;
    for (size_t i = 0; text[i]; ++i) {
        const wchar_t c = text[i];
        if (c == L'+' || c == L'-') {
            if (i != 0 && text[i - 1] != L'e' && text[i - 1] != L'E')
                return false;
        } else if (c == L',' || c == L'.') {
            if (sawPoint || sawExponent)
                return false;
            sawPoint = true;
        } else if (IsDigit(c)) {
            sawDigit = true;
        } else if (c == L'e' || c == L'E') {
            if (sawExponent)
                return false;
            sawExponent = true;
            if (i == 0 || !IsDigit(text[i - 1]))
                return false;
        } else {
            return false;
        }
    }
    return sawDigit;
}

double CStringUtil::ToDouble(const wchar_t* text) {
    return platform::ParseLeadingDouble(text);
}

bool CStringUtil::IsIntegerValue(double value, double tolerance) {
    // Only a value whose truncation fits a signed 32-bit integer can be whole; NaN fails here too.
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return false;
    const double d = value - static_cast<double>(static_cast<int32_t>(value));
    return -tolerance < d && d < tolerance;
}

bool CStringUtil::IsLogicalValue(const wchar_t* text) {
    if (!text)
        return false;
    WideString word = text;
    Trim(word);
    for (const wchar_t* logical :
         {L"TRUE", L"FALSE", L"T", L"F", L"yes", L"no", L"Y", L"N", L"1", L"0"})
        if (EqualsNoCase(word, logical))
            return true;
    return false;
}

WideString CStringUtil::ReplaceDecimalPointOfCell(WideString& text) {
    if (IsNumericValue(text.c_str()))
        ReplaceAll(text, L',', L'.');
    return text;
}

WideString CStringUtil::ReplaceDecimalPointOfColumnExpression(WideString& text, bool toPeriod) {
    if (text.find_first_of(L".,") == WideString::npos)
        return text;
    const wchar_t target = toPeriod ? L'.' : GetDecimalSeparator();
    bool outside = true;
    for (wchar_t& c : text) {
        if (c == L'{')
            outside = false;
        else if (c == L'}')
            outside = true;
        // The brace that opens a reference is already inside, the one that closes it outside.
        const bool mark = toPeriod ? c == L',' : ((c == L',' || c == L'.') && c != target);
        if (outside && mark)
            c = target;
    }
    return text;
}

} // namespace torvex

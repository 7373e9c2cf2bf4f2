#include "host/CExpressionScanner.h"

#include "host/CHostStatus.h"
#include "host/CUnitSystem.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <cwchar>

namespace torvex {

namespace {

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

bool IsBlank(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

bool IsNameStart(wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_';
}

bool IsNameChar(wchar_t c) {
    return IsNameStart(c) || IsDigit(c);
}

// Scans a number at `pos` (digits, one decimal point, an exponent that has digits) into ASCII
// `digits`; returns the length taken, 0 when no number starts there.
size_t ScanNumberText(std::wstring_view text, size_t pos, wchar_t separator, std::string& digits) {
    digits.clear();
    size_t p = pos;
    bool mantissa = false;
    while (p < text.size() && IsDigit(text[p])) {
        digits += static_cast<char>(text[p++]);
        mantissa = true;
    }
    if (p < text.size() && (text[p] == L'.' || text[p] == separator) &&
        (mantissa || (p + 1 < text.size() && IsDigit(text[p + 1])))) {
        digits += '.';
        ++p;
        while (p < text.size() && IsDigit(text[p])) {
            digits += static_cast<char>(text[p++]);
            mantissa = true;
        }
    }
    if (!mantissa) {
        return 0;
    }
    if (p < text.size() && (text[p] == L'e' || text[p] == L'E')) {
        size_t q = p + 1;
        char sign = 0;
        if (q < text.size() && (text[q] == L'+' || text[q] == L'-')) {
            sign = static_cast<char>(text[q++]);
        }
        if (q < text.size() && IsDigit(text[q])) {
            digits += 'e';
            if (sign) {
                digits += sign;
            }
            p = q;
            while (p < text.size() && IsDigit(text[p])) {
                digits += static_cast<char>(text[p++]);
            }
        }
    }
    return p - pos;
}

// Value of the ASCII number text; kNotFinite when it is too large for a double.
int32_t ConvertNumberText(const std::string& digits, double* value) {
    double result = 0.0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result,
                                        std::chars_format::general);
    if (error == std::errc::result_out_of_range) {
        // Too small rounds to zero; too large is no finite number.
        size_t e = digits.find('e');
        bool tiny = e != std::string::npos && e + 1 < digits.size() && digits[e + 1] == '-';
        bool zero =
            digits.find_first_of("123456789") >= (e == std::string::npos ? digits.size() : e);
        if (tiny || zero) {
            *value = 0.0;
            return 0;
        }
        return CHostStatus::kNotFinite;
    }
    if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(result)) {
        return CHostStatus::kSyntaxError;
    }
    *value = result;
    return 0;
}

void AppendBits(std::wstring& key, double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    static const wchar_t kHex[] = L"0123456789abcdef";
    for (int shift = 60; shift >= 0; shift -= 4) {
        key += kHex[(bits >> shift) & 0xF];
    }
}

} // namespace

int32_t CExpressionScanner::Scan(const wchar_t* rawText, wchar_t decimalSeparator) {
    m_tokens.clear();
    m_numbers.clear();
    m_key.clear();
    if (!rawText) {
        return CHostStatus::kNullArgument;
    }
    size_t length = wcsnlen(rawText, kMaxTextLength + 1);
    if (length > kMaxTextLength) {
        return CHostStatus::kTooComplex;
    }
    std::wstring_view text(rawText, length);
    const bool commaSeparatesArguments = decimalSeparator != L',';
    size_t pos = 0;
    while (pos < text.size()) {
        wchar_t c = text[pos];
        if (IsBlank(c)) {
            ++pos;
            continue;
        }
        Token token;
        size_t numberLength = ScanNumberText(text, pos, decimalSeparator, m_digits);
        if (numberLength > 0) {
            if (m_numbers.size() >= kMaxNumbers) {
                return CHostStatus::kTooComplex;
            }
            double value = 0.0;
            int32_t status = ConvertNumberText(m_digits, &value);
            if (status < 0) {
                return status;
            }
            pos += numberLength;
            size_t unitLength = CUnitSystem::ScanUnitName(text.substr(pos));
            if (unitLength > 0) {
                while (pos + unitLength < text.size() && IsDigit(text[pos + unitLength])) {
                    ++unitLength;
                }
            }
            std::wstring_view unit = text.substr(pos, unitLength);
            pos += unitLength;
            token.kind = TokenKind::Number;
            token.unit = unit == L"ul" ? std::wstring_view() : unit;
            token.slot = static_cast<uint32_t>(m_numbers.size());
            size_t count = m_tokens.size();
            token.exponent = (count >= 1 && m_tokens[count - 1].kind == TokenKind::Caret) ||
                             (count >= 2 && m_tokens[count - 2].kind == TokenKind::Caret &&
                              (m_tokens[count - 1].kind == TokenKind::Plus ||
                               m_tokens[count - 1].kind == TokenKind::Minus));
            m_numbers.push_back(value);
            if (token.exponent) {
                m_key += L'E';
                AppendBits(m_key, value);
            } else {
                m_key += L'#';
            }
            m_key.append(token.unit);
            m_key += L'\x1F';
            m_tokens.push_back(token);
            continue;
        }
        if (IsNameStart(c)) {
            size_t end = pos + 1;
            while (end < text.size() && IsNameChar(text[end])) {
                ++end;
            }
            token.kind = TokenKind::Name;
            token.name = text.substr(pos, end - pos);
            m_key += L'$';
            m_key.append(token.name);
            m_key += L'\x1F';
            m_tokens.push_back(token);
            pos = end;
            continue;
        }
        switch (c) {
        case L'+':
            token.kind = TokenKind::Plus;
            break;
        case L'-':
            token.kind = TokenKind::Minus;
            break;
        case L'*':
            token.kind = TokenKind::Star;
            break;
        case L'/':
            token.kind = TokenKind::Slash;
            break;
        case L'^':
            token.kind = TokenKind::Caret;
            break;
        case L'(':
            token.kind = TokenKind::LeftParen;
            break;
        case L')':
            token.kind = TokenKind::RightParen;
            break;
        case L';':
            token.kind = TokenKind::Separator;
            break;
        case L',':
            if (!commaSeparatesArguments) {
                return CHostStatus::kSyntaxError;
            }
            token.kind = TokenKind::Separator;
            break;
        default:
            return CHostStatus::kSyntaxError;
        }
        m_key += token.kind == TokenKind::Separator ? L';' : c;
        m_tokens.push_back(token);
        ++pos;
    }
    return 0;
}

bool CExpressionScanner::ParseNumber(std::wstring_view text, wchar_t decimalSeparator,
                                     double* value) {
    text = CUnitSystem::Trim(text);
    if (text.size() > kMaxTextLength || !value) {
        return false;
    }
    bool negative = false;
    size_t pos = 0;
    if (!text.empty() && (text[0] == L'-' || text[0] == L'+')) {
        negative = text[0] == L'-';
        pos = 1;
    }
    std::string digits;
    size_t length = ScanNumberText(text, pos, decimalSeparator, digits);
    if (length == 0 || pos + length != text.size()) {
        return false;
    }
    double result = 0.0;
    if (ConvertNumberText(digits, &result) < 0) {
        return false;
    }
    *value = negative ? -result : result;
    return true;
}

} // namespace torvex

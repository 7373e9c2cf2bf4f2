#pragma once
// Cuts an expression text into tokens. A number may carry a unit word with no blank between
// ("3mm", "2.5in", "90deg"; "ul" means none). Besides the tokens it builds the expression's
// shape key: the text with every number's value left out but its unit word kept, so that
// "3mm*2" and "4mm*2" share one key and one compiled form.
//
// Decimal separators: '.' always, and the family's separator when it is another character.
// Function arguments are separated by ';' always, and by ',' unless ',' is the decimal
// separator. A ',' that can't be either is a syntax error, so no number is ever split silently.

#include "torvex/platform/WideString.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace torvex {

/// Tokens, numbers and shape key of one expression text.
class CExpressionScanner {
public:
    enum class TokenKind : uint8_t {
        Number,
        Name,
        Plus,
        Minus,
        Star,
        Slash,
        Caret,
        LeftParen,
        RightParen,
        Separator,
    };

    /// One token. Views point into the scanned text, which must outlive their use.
    struct Token {
        TokenKind kind = TokenKind::Number;
        /// Number: its unit word, empty for none ("ul" is given as empty).
        std::wstring_view unit;
        /// Name: the identifier.
        std::wstring_view name;
        /// Number: index into Numbers().
        uint32_t slot = 0;
        /// Number: written directly after '^' (a sign between allowed); its value is part of
        /// the key.
        bool exponent = false;
    };

    /// Longest text scanned; longer texts fail with kTooComplex.
    static constexpr size_t kMaxTextLength = 16384;
    /// Most numbers in one text; more fail with kTooComplex.
    static constexpr size_t kMaxNumbers = 1024;

    /// Scans a null-terminated text. Fails with kNullArgument (null text), kTooComplex (too long,
    /// too many numbers), kSyntaxError (a character that starts no token, a bad number),
    /// kNotFinite (a number too large for a double). Tokens and key are valid only on success.
    int32_t Scan(const wchar_t* text, wchar_t decimalSeparator);

    /// Reads a whole text as one plain number (blanks around allowed, no unit word). False for
    /// anything else, and for a value that is not finite.
    static bool ParseNumber(std::wstring_view text, wchar_t decimalSeparator, double* value);

    const std::vector<Token>& Tokens() const { return m_tokens; }
    const std::vector<double>& Numbers() const { return m_numbers; }
    const std::wstring& Key() const { return m_key; }

private:
    std::vector<Token> m_tokens;
    std::vector<double> m_numbers;
    std::wstring m_key;
    std::string m_digits;
};

} // namespace torvex

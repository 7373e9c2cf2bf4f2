#pragma once
// Rules over the text of cell values: what is a number and a logical word, decimal separators,
// file-name safety and identifiers. The whole evaluation rests on these character classes.
//
// White space, wherever these functions trim, is the "C" locale's: space, '\t', '\n', '\v', '\f'
// and '\r', whatever locale the process has set. Number text never depends on the process
// locale either: only the period is a decimal separator for IsNumberStr and ToDouble.

#include "torvex/platform/WideString.h"

namespace torvex {

/// Static functions only; the object has no state. No function reports errors other than by its
/// result.
class CStringUtil {
public:
    /// Does nothing; cannot fail.
    CStringUtil();
    /// Does nothing; cannot fail.
    ~CStringUtil();

    /// Appends the fields of source between whole-string delimiters, an empty field becoming
    /// defaultValue; appends nothing when source or delimiter is empty or the list is null.
    static void Split(const WideString& source, const WideString& delimiter, WideStringList* list,
                      const WideString& defaultValue);
    /// Appends the trimmed texts that end at close in each token between open characters; false
    /// when source, open or close is empty or the list is null.
    static bool ExtractByBracket(const WideString& source, const WideString& open,
                                 const WideString& close, WideStringList* list);
    /// Value of a string expression such as "\"abc\" & \"def\""; never fails (empty for empty
    /// text).
    static WideString TranslateStringSymbol(const WideString& text);
    /// True when wcstod in the "C" locale consumes the whole text (empty text included); false
    /// when anything is left over.
    static bool IsNumberStr(const WideString& text);
    /// New GUID in lower case without braces; empty when the system gives no GUID.
    static WideString NewGuid();
    /// Drops trailing '0' characters, then trailing '.' characters if one is last; always true.
    static bool TrimDoubleString(WideString& text);
    /// Replaces ? \ / < > : * | " with '_' and trims white space at both ends; always true.
    static bool LegalizeForFileName(WideString& text);
    /// The user's decimal separator; '.' for an unset, "C" or unknown locale.
    static wchar_t GetDecimalSeparator();
    /// True when the text is a plain number (',' and '.' both decimal points); true for null or
    /// empty text, false for anything with white space or other characters.
    static bool IsNumericValue(const wchar_t* text);
    /// The longest leading number of the text in the "C" locale; 0.0 when there is none or the
    /// text is null.
    static double ToDouble(const wchar_t* text);
    /// True when value minus its 32-bit truncation lies strictly inside +-tolerance; false for a
    /// value whose truncation does not fit 32 bits, for NaN and for a tolerance <= 0.
    static bool IsIntegerValue(double value, double tolerance);
    /// True when the trimmed text is one of TRUE FALSE T F yes no Y N 1 0, ignoring case; false
    /// for null or empty text.
    static bool IsLogicalValue(const wchar_t* text);
    /// A numeric text gets '.' for every ',' in place; returns a copy of the text as it then
    /// stands. Never fails.
    static WideString ReplaceDecimalPointOfCell(WideString& text);
    /// Turns the decimal separators of a formula outside {references} into '.' (toPeriod) or
    /// the user's separator, in place; returns a copy of the result. Never fails.
    static WideString ReplaceDecimalPointOfColumnExpression(WideString& text, bool toPeriod);
};

} // namespace torvex

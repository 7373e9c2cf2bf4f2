#pragma once
// The text of a range column's formula: "[min;max;step;default]", each part possibly empty.

#include "torvex/platform/WideString.h"

namespace torvex {

/// Parses a range text at construction. Copyable. The getters answer whatever was cut out,
/// valid or not.
class CRangeParser {
public:
    /// Parses the text (null counts as empty); failure only shows in the valid flag.
    explicit CRangeParser(const wchar_t* text);

    /// True when the text has the range shape: '[' first, the first ']' last, and three ';'
    /// before it. The parts are not looked at. False otherwise.
    static bool IsRange(const WideString& text);

    /// The trimmed minimum; empty when absent or when the text did not parse.
    WideString getMin() const { return m_min; }
    /// The trimmed maximum; empty when absent or when the text did not parse.
    WideString getMax() const { return m_max; }
    /// The trimmed step; empty when absent or when the text did not parse.
    WideString getStep() const { return m_step; }
    /// The trimmed default (everything after the third ';'); empty when absent or unparsed.
    WideString getDefault() const { return m_default; }
    /// True when the minimum is not empty.
    bool hasMin() const { return !m_min.empty(); }
    /// True when the maximum is not empty.
    bool hasMax() const { return !m_max.empty(); }
    /// True when the step is not empty.
    bool hasStep() const { return !m_step.empty(); }
    /// True when the default is not empty.
    bool hasDefault() const { return !m_default.empty(); }

    /// Copies the value (the default, else the minimum; empty when not valid) to `out`, with
    /// ',' turned into '.' for the separator '.', and '.' into ',' for ','. Answers the valid
    /// flag: false when the text did not parse or a limit is not a plain number.
    bool GetStrValue(WideString& out, wchar_t separator) const;

private:
    void Parse();

    WideString m_source;
    WideString m_min;
    WideString m_max;
    WideString m_step;
    WideString m_default;
    WideString m_value;
    bool m_valid = false;
};

} // namespace torvex

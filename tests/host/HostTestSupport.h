#pragma once
// Shared helpers of the host's tests.

#include "host/CHostStatus.h"
#include "host/CUnitsEvaluatorProvider.h"

#include <cmath>
#include <string>

namespace torvex::hosttest {

/// Status and value of one evaluation; the value is NaN when the provider set none.
struct Result {
    int32_t status;
    double value;
};

inline Result Evaluate(CUnitsEvaluatorProvider& provider, const wchar_t* expression,
                       const wchar_t* unit) {
    double value = std::nan("");
    int32_t status = provider.EvaluateToDouble(expression, unit, &value);
    return {status, value};
}

inline Result Convert(CUnitsEvaluatorProvider& provider, const wchar_t* text, const wchar_t* from,
                      const wchar_t* to) {
    double value = std::nan("");
    int32_t status = provider.ConvertUnits(text, from, to, &value);
    return {status, value};
}

/// Relative closeness for values that went through unit factors.
inline bool Near(double actual, double expected) {
    return std::fabs(actual - expected) <= 1e-9 * std::fmax(1.0, std::fabs(expected));
}

inline std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (wchar_t c : text) {
        narrow += c < 128 ? static_cast<char>(c) : '?';
    }
    return narrow;
}

} // namespace torvex::hosttest

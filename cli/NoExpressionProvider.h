#pragma once
// A provider for commands that read raw values only: it evaluates nothing and knows no units.

#include "torvex/evaluation/IEvaluatorProvider.h"

namespace torvex::cli {

class NoExpressionProvider : public IEvaluatorProvider {
public:
    /// Always -1: this provider computes nothing.
    int32_t EvaluateToDouble(const wchar_t*, const wchar_t*, double*) override { return -1; }
    /// Always -1.
    int32_t ConvertUnits(const wchar_t*, const wchar_t*, const wchar_t*, double*) override {
        return -1;
    }
    /// Always -1.
    int32_t GetInternalUnit(const wchar_t*, WideString*) override { return -1; }
    /// Leaves the name as it is; -1.
    int32_t GetMaterialName(const wchar_t*, WideString*) override { return -1; }
    /// Leaves the key as it is; -1.
    int32_t GetMaterialRefKey(const wchar_t*, WideString*) override { return -1; }
};

} // namespace torvex::cli

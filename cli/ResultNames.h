#pragma once
// Names of evaluation results, as the tool prints them.

#include "torvex/evaluation/CTableEvaluator.h"

namespace torvex::cli {

/// "EvalOk" ... "EvalUnitMismatch"; "Eval<n>" for a number outside the enumeration.
const char* ResultName(CTableEvaluator::EvaluateResult result);

/// True for the two results that deliver a value (0 and 8).
inline bool HasValue(CTableEvaluator::EvaluateResult result) {
    return result == CTableEvaluator::EvalOk || result == CTableEvaluator::EvalUnitMismatch;
}

} // namespace torvex::cli

#include "ResultNames.h"

namespace torvex::cli {

const char* ResultName(CTableEvaluator::EvaluateResult result) {
    static const char* const names[] = {
        "EvalOk",           "EvalCircularDependency", "EvalSyntaxError",  "EvalExpressionFailed",
        "EvalInvalidRange", "EvalUnknownColumn",      "EvalTypeMismatch", "EvalNoValue",
        "EvalUnitMismatch"};
    const int index = static_cast<int>(result);
    if (index < 0 || index >= static_cast<int>(sizeof names / sizeof names[0]))
        return "EvalUnknownResult";
    return names[index];
}

} // namespace torvex::cli

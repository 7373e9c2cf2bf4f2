#pragma once
// Computes the value of one cell of a family table and stores it in the table's value cache.
//
// This first version answers only cells whose text is a literal: the row's Cell text, else the
// column's ColumnwideValue, holding no {reference} and no expression. Everything that needs the
// formula scanner, the range parser or the host (references, String concatenation, numeric
// expressions with units, materials, range columns) answers EvalExpressionFailed until the
// evaluation is built.

#include "torvex/platform/WideString.h"

namespace torvex {

class CEncapFamilyTable;
class IEvaluatorProvider;

/// The evaluator of one table; created and deleted by the table.
class CTableEvaluator {
public:
    /// The one result type of every operation that evaluates or checks a cell or a formula. 0 and
    /// 8 both mean that a value was produced.
    enum EvaluateResult : int {
        EvalOk = 0,
        EvalCircularDependency = 1,
        EvalSyntaxError = 2,
        EvalExpressionFailed = 3,
        EvalInvalidRange = 4,
        EvalUnknownColumn = 5,
        EvalTypeMismatch = 6,
        EvalNoValue = 7,
        EvalUnitMismatch = 8,
    };

    /// Records the table and the provider of the table's family (null without a family). Never
    /// fails.
    explicit CTableEvaluator(CEncapFamilyTable* table);
    virtual ~CTableEvaluator();
    CTableEvaluator(const CTableEvaluator&) = delete;
    CTableEvaluator& operator=(const CTableEvaluator&) = delete;

    /// Computes the cell and stores its value in the cache; the value does not go to the caller.
    /// EvalNoValue for an unknown column, EvalTypeMismatch for a Boolean text that is no logical
    /// word, EvalExpressionFailed for any text that needs more than a literal.
    EvaluateResult EvaluateCell(WideString rowId, WideString columnId, WideString language);

private:
    CEncapFamilyTable* m_table = nullptr;
    IEvaluatorProvider* m_provider = nullptr;
};

} // namespace torvex

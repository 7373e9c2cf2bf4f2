#pragma once
// Guard of one cell evaluation: it marks the cell as in progress for its own lifetime, so that
// an evaluation that comes back to a cell still being evaluated can tell.

#include "torvex/platform/WideString.h"

#include <set>

namespace torvex {

/// Not copyable. The set belongs to the evaluator and must outlive the checker.
class CCircularDependencyChecker {
public:
    /// Marks the cell (key "row{column"; the language plays no part) as in progress, or raises
    /// the flag when it already is. Never fails.
    CCircularDependencyChecker(const WideString& rowId, const WideString& columnId,
                               std::set<WideString>* inProgress);
    /// Takes the mark away again unless the flag is raised. Never fails.
    virtual ~CCircularDependencyChecker();
    CCircularDependencyChecker(const CCircularDependencyChecker&) = delete;
    CCircularDependencyChecker& operator=(const CCircularDependencyChecker&) = delete;

    /// True when the cell was already in progress at construction.
    bool IsAlreadyInProgress() const { return m_alreadyInProgress; }

private:
    std::set<WideString>* m_inProgress = nullptr;
    bool m_alreadyInProgress = false;
    WideString m_key;
};

} // namespace torvex

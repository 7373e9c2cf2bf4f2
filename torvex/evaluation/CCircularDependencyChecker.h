#pragma once
// Guard of one cell evaluation: it marks the cell as in progress for its own lifetime, so that
// an evaluation that comes back to a cell still being evaluated can tell.

#include "torvex/platform/WideString.h"

#include <set>
#include <vector>

namespace torvex {

/// Not copyable. The set belongs to the evaluator and must outlive the checker.
class CCircularDependencyChecker {
public:
    /// The set's detached entries, kept for reuse by the next checkers.
    using SpareEntries = std::vector<std::set<WideString>::node_type>;

    /// Marks the cell (key "row{column"; the language plays no part) as in progress, or raises
    /// the flag when it already is. Never fails.
    CCircularDependencyChecker(const WideString& rowId, const WideString& columnId,
                               std::set<WideString>* inProgress);
    /// The same, taking the entry for the key from `spare` and giving it back there at the end,
    /// so that once warm a guard allocates nothing. `spare` must outlive the checker. Never
    /// fails.
    CCircularDependencyChecker(const WideString& rowId, const WideString& columnId,
                               std::set<WideString>* inProgress, SpareEntries* spare);
    /// Takes the mark away again unless the flag is raised. Never fails.
    virtual ~CCircularDependencyChecker();
    CCircularDependencyChecker(const CCircularDependencyChecker&) = delete;
    CCircularDependencyChecker& operator=(const CCircularDependencyChecker&) = delete;

    /// True when the cell was already in progress at construction.
    bool IsAlreadyInProgress() const { return m_alreadyInProgress; }

private:
    std::set<WideString>* m_inProgress = nullptr;
    bool m_alreadyInProgress = false;
    std::set<WideString>::iterator m_entry; // the key this checker entered
    SpareEntries* m_spare = nullptr;
};

} // namespace torvex

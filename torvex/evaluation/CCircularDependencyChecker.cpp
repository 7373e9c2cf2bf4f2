#include "torvex/evaluation/CCircularDependencyChecker.h"

#include <utility>

namespace torvex {

namespace {

// The key of a cell: "%s{%s" of row id and column id.
void FormatKey(WideString& key, const WideString& rowId, const WideString& columnId) {
    key.assign(rowId);
    key.push_back(L'{');
    key.append(columnId);
}

} // namespace

CCircularDependencyChecker::CCircularDependencyChecker(const WideString& rowId,
                                                       const WideString& columnId,
                                                       std::set<WideString>* inProgress)
    : CCircularDependencyChecker(rowId, columnId, inProgress, nullptr) {}

CCircularDependencyChecker::CCircularDependencyChecker(const WideString& rowId,
                                                       const WideString& columnId,
                                                       std::set<WideString>* inProgress,
                                                       SpareEntries* spare)
    : m_inProgress(inProgress), m_spare(spare) {
    if (!m_inProgress)
        return;
    if (!m_spare || m_spare->empty()) {
        WideString key;
        FormatKey(key, rowId, columnId);
        auto [entry, inserted] = m_inProgress->insert(std::move(key));
        m_alreadyInProgress = !inserted;
        m_entry = entry;
        return;
    }
    // A spare entry keeps the capacity of an earlier key, so formatting into it allocates
    // nothing.
    auto node = std::move(m_spare->back());
    m_spare->pop_back();
    FormatKey(node.value(), rowId, columnId);
    auto result = m_inProgress->insert(std::move(node));
    m_alreadyInProgress = !result.inserted;
    if (m_alreadyInProgress)
        m_spare->push_back(std::move(result.node));
    else
        m_entry = result.position;
}

CCircularDependencyChecker::~CCircularDependencyChecker() {
    if (!m_inProgress || m_alreadyInProgress)
        return;
    if (!m_spare) {
        m_inProgress->erase(m_entry);
        return;
    }
    auto node = m_inProgress->extract(m_entry);
    try {
        m_spare->push_back(std::move(node));
    } catch (...) {
        // No room to keep it: the entry is simply freed.
    }
}

} // namespace torvex

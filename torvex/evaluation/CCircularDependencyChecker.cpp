#include "torvex/evaluation/CCircularDependencyChecker.h"

namespace torvex {

CCircularDependencyChecker::CCircularDependencyChecker(const WideString& rowId,
                                                       const WideString& columnId,
                                                       std::set<WideString>* inProgress)
    : m_inProgress(inProgress), m_key(rowId + L"{" + columnId) {
    if (!m_inProgress)
        return;
    m_alreadyInProgress = !m_inProgress->insert(m_key).second;
}

CCircularDependencyChecker::~CCircularDependencyChecker() {
    if (m_inProgress && !m_alreadyInProgress)
        m_inProgress->erase(m_key);
}

} // namespace torvex

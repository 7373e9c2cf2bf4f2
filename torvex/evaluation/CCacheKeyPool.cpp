#include "torvex/evaluation/CCacheKeyPool.h"

namespace torvex {

const WideString* CCacheKeyPool::Intern(std::wstring_view text) {
    if (const WideString* found = Find(text))
        return found;
    m_last = &*m_keys.emplace(text).first;
    return m_last;
}

const WideString* CCacheKeyPool::Find(std::wstring_view text) const {
    if (m_last && *m_last == text)
        return m_last;
    auto found = m_keys.find(text);
    if (found == m_keys.end())
        return nullptr;
    m_last = &*found;
    return m_last;
}

} // namespace torvex

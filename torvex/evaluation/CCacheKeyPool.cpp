#include "torvex/evaluation/CCacheKeyPool.h"

#include <atomic>

namespace torvex {

uint64_t CCacheKeyPool::NextGeneration() {
    // Shared by every pool, so that a generation names one pool in one state.
    static std::atomic<uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

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

#include "host/CExpressionCache.h"

namespace torvex {

CExpressionCache::CExpressionCache(size_t capacity) : m_capacity(capacity) {}

CCompiledExpression* CExpressionCache::Find(const std::wstring& key) {
    auto found = m_index.find(key);
    if (found == m_index.end()) {
        return nullptr;
    }
    m_order.splice(m_order.begin(), m_order, found->second);
    return found->second->shape.get();
}

std::unique_ptr<CCompiledExpression>
CExpressionCache::Insert(const std::wstring& key, std::unique_ptr<CCompiledExpression> shape) {
    if (m_capacity == 0) {
        return shape;
    }
    auto found = m_index.find(key);
    if (found != m_index.end()) {
        found->second->shape = std::move(shape);
        m_order.splice(m_order.begin(), m_order, found->second);
        return nullptr;
    }
    Trim(m_capacity - 1);
    m_order.push_front(Entry{key, std::move(shape)});
    // The index's key views the entry's own string, which a list node never moves.
    m_index.emplace(std::wstring_view(m_order.front().key), m_order.begin());
    return nullptr;
}

void CExpressionCache::Clear() {
    m_index.clear();
    m_order.clear();
}

void CExpressionCache::SetCapacity(size_t capacity) {
    m_capacity = capacity;
    Trim(capacity);
}

void CExpressionCache::Trim(size_t size) {
    while (m_order.size() > size) {
        m_index.erase(std::wstring_view(m_order.back().key));
        m_order.pop_back();
    }
}

} // namespace torvex

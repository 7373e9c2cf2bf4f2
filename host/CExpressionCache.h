#pragma once
// Compiled expression shapes by key, least recently used first out. One cache per provider;
// not locked (the provider locks around it).

#include "host/CCompiledExpression.h"

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace torvex {

/// A bounded least-recently-used map from shape key to compiled shape.
class CExpressionCache {
public:
    /// Shapes kept by default.
    static constexpr size_t kDefaultCapacity = 1024;

    /// An empty cache holding up to `capacity` shapes. Never fails.
    explicit CExpressionCache(size_t capacity = kDefaultCapacity);

    /// The shape stored under the key, now the most recently used; null when absent.
    CCompiledExpression* Find(const std::wstring& key);
    /// Stores a shape under the key (replacing one there) and drops the least recently used
    /// shape when full. With capacity 0 nothing is kept and the shape is handed back to be
    /// used once; otherwise the result is null and the shape is in the cache.
    std::unique_ptr<CCompiledExpression> Insert(const std::wstring& key,
                                                std::unique_ptr<CCompiledExpression> shape);

    /// Drops every shape. Never fails.
    void Clear();
    /// Number of shapes held. Never fails.
    size_t Size() const { return m_index.size(); }
    /// Capacity; 0 means no caching. Never fails.
    size_t Capacity() const { return m_capacity; }
    /// Changes the capacity, dropping the least recently used shapes beyond it. Never fails.
    void SetCapacity(size_t capacity);

private:
    struct Entry {
        std::wstring key;
        std::unique_ptr<CCompiledExpression> shape;
    };
    void Trim(size_t size);

    size_t m_capacity;
    std::list<Entry> m_order;
    std::unordered_map<std::wstring_view, std::list<Entry>::iterator> m_index;
};

} // namespace torvex

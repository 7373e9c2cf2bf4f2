#pragma once
// One shared copy of each column id and language the value caches of a table use as keys, so
// that a cached value carries a pointer instead of its own copy of the key.

#include "torvex/platform/WideString.h"
#include "torvex/text/TextHash.h"

#include <cstddef>
#include <functional>
#include <string_view>
#include <unordered_set>

namespace torvex {

/// A set of texts whose addresses stay fixed until Clear. Not copyable.
class CCacheKeyPool {
public:
    CCacheKeyPool() = default;
    CCacheKeyPool(const CCacheKeyPool&) = delete;
    CCacheKeyPool& operator=(const CCacheKeyPool&) = delete;

    /// The pooled copy of the text, made on first use. Never fails (but for memory).
    const WideString* Intern(std::wstring_view text);
    /// The pooled copy of the text; null when it was never interned. Copies nothing.
    const WideString* Find(std::wstring_view text) const;
    /// Forgets every text; every pointer handed out before dangles. Never fails.
    void Clear() {
        m_keys.clear();
        m_last = nullptr;
    }
    /// Number of pooled texts.
    size_t GetSize() const { return m_keys.size(); }
    /// Calls fn(const WideString*) for each pooled text, in no particular order.
    template <class F> void ForEach(F&& fn) const {
        for (const WideString& key : m_keys)
            fn(&key);
    }

private:
    std::unordered_set<WideString, TextHash, std::equal_to<>> m_keys;
    // The key found or entered last: a cell's value is looked up, stored and read back in a row.
    mutable const WideString* m_last = nullptr;
};

} // namespace torvex

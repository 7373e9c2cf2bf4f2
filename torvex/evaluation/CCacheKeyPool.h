#pragma once
// One shared copy of each column id and language the value caches of a table use as keys, so
// that a cached value carries a pointer instead of its own copy of the key.

#include "torvex/platform/WideString.h"
#include "torvex/text/TextHash.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <unordered_set>

namespace torvex {

/// A set of texts whose addresses stay fixed until Clear. Not copyable.
class CCacheKeyPool {
public:
    CCacheKeyPool() : m_generation(NextGeneration()) {}
    CCacheKeyPool(const CCacheKeyPool&) = delete;
    CCacheKeyPool& operator=(const CCacheKeyPool&) = delete;

    /// The pooled copy of the text, made on first use. Never fails (but for memory).
    const WideString* Intern(std::wstring_view text);
    /// The pooled copy of the text; null when it was never interned. Copies nothing.
    const WideString* Find(std::wstring_view text) const;
    /// Forgets every text; every pointer handed out before dangles, and the generation moves
    /// on. Never fails.
    void Clear() {
        m_keys.clear();
        m_last = nullptr;
        m_generation = NextGeneration();
    }
    /// Names the pool's present set of addresses: a pointer handed out stays valid while the
    /// generation it was handed out in is current. No two pools, and no two states of one pool
    /// between Clears, share a generation, and none is 0. Never fails.
    uint64_t Generation() const { return m_generation; }
    /// Number of pooled texts.
    size_t GetSize() const { return m_keys.size(); }
    /// Calls fn(const WideString*) for each pooled text, in no particular order.
    template <class F> void ForEach(F&& fn) const {
        for (const WideString& key : m_keys)
            fn(&key);
    }

private:
    static uint64_t NextGeneration();

    std::unordered_set<WideString, TextHash, std::equal_to<>> m_keys;
    // The key found or entered last: a cell's value is looked up, stored and read back in a row.
    mutable const WideString* m_last = nullptr;
    uint64_t m_generation;
};

} // namespace torvex

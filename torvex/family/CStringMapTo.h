#pragma once
// The string-keyed hash map of the library. Keys are folded to upper case on every access, so
// keyed access ignores case, and the keys kept (and seen on a walk) are the folded ones. The
// walk order is that of a plain chained table of 17 buckets: bucket after bucket, and within a
// bucket the newest entry first, since a new node goes to the head of its bucket's chain. That
// order is visible to callers (the first column of a kind, the key columns, the dependency
// build), so it is kept exactly. The entries themselves sit in a TextKeyedTable, whose index
// serves the lookups (a table of many thousand rows walks no long chain per lookup) and whose
// memory order serves ForEachStored and RemoveAll.
//
// The map never owns what its values point to: owners walk the map (ForEachStored is the fast
// walk) and delete before RemoveAll.

#include "torvex/platform/AsciiText.h"
#include "torvex/platform/WideString.h"
#include "torvex/text/TextKeyedTable.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace torvex {

/// Folds a key to upper case. Only the ASCII letters fold, as in the "C" locale; every other
/// character stands as it is, whatever locale the host has set. Never fails.
inline WideString FoldMapKey(const wchar_t* key) {
    WideString folded = key ? key : L"";
    for (wchar_t& c : folded)
        c = platform::AsciiUpper(c);
    return folded;
}

/// True when the two texts are equal once folded as map keys are (ASCII letters only). Ids and
/// object kinds compare this way wherever they compare ignoring case. Never fails.
inline bool SameTextIgnoringCase(std::wstring_view a, std::wstring_view b) {
    return platform::EqualsIgnoringAsciiCase(a, b);
}

/// The bucket of an already folded key in a table of `buckets` buckets: hash = hash * 33 + unit
/// over the UTF-16 code units of the key, in 32 bits, modulo the bucket count. Never fails.
inline uint32_t StringMapBucketOf(std::wstring_view foldedKey, uint32_t buckets) {
    uint32_t hash = 0;
    for (wchar_t w : foldedKey) {
        uint32_t c = static_cast<uint32_t>(w);
        if (c > 0xFFFF && c <= 0x10FFFF) {
            c -= 0x10000;
            hash = hash * 33u + (0xD800u + (c >> 10));
            hash = hash * 33u + (0xDC00u + (c & 0x3FFu));
        } else {
            hash = hash * 33u + (c & 0xFFFFu);
        }
    }
    return hash % buckets;
}

template <class V, class ARG_V = const V&> class CStringMapTo {
    // An entry of the table: the key is the folded one, and the chain links make the walk.
    struct Linked;
    using Table = TextKeyedTable<Linked>;
    using Node = typename Table::Entry;
    struct Linked {
        Node* next = nullptr; // in its bucket's chain
        uint32_t bucket = 0;
        V value;
    };

public:
    /// A place in a walk; null when the walk is over.
    using Position = const void*;

    static constexpr uint32_t kBucketCount = 17;

    CStringMapTo() = default;
    ~CStringMapTo() { RemoveAll(); }
    CStringMapTo(const CStringMapTo&) = delete;
    CStringMapTo& operator=(const CStringMapTo&) = delete;

    /// Number of entries. Never fails.
    size_t GetCount() const { return m_table.Size(); }
    /// Number of entries. Never fails.
    size_t GetSize() const { return m_table.Size(); }
    /// True when there is no entry. Never fails.
    bool IsEmpty() const { return m_table.Empty(); }
    /// Moves on with every change that may alter what a key finds (SetAt, operator[], RemoveKey,
    /// RemoveAll), so that a caller can keep what it looked up while the count stands. Never
    /// fails.
    uint64_t GetGeneration() const { return m_generation; }

    /// Enters or overwrites the value under the folded key; an overwritten value is not
    /// released. A null key counts as the empty string. Fails only by running out of memory.
    void SetAt(const wchar_t* key, ARG_V value) {
        auto [node, made] = Enter(FoldMapKey(key), value);
        if (!made)
            node->value.value = value;
        ++m_generation;
    }
    /// Enters or overwrites; see the other form.
    void SetAt(const WideString& key, ARG_V value) { SetAt(key.c_str(), value); }

    /// The value under the folded key, entered with a value-initialised V when absent. Fails
    /// only by running out of memory.
    V& operator[](const wchar_t* key) {
        ++m_generation; // the caller may store through the reference
        return Enter(FoldMapKey(key), V()).first->value.value;
    }
    /// See the other form.
    V& operator[](const WideString& key) { return (*this)[key.c_str()]; }

    /// True and a copy of the value in `out`; false and `out` untouched when the key is absent.
    bool Lookup(const wchar_t* key, V& out) const {
        const wchar_t* text = key ? key : L"";
        // The same text asked again (a row read column after column) is answered from the last
        // hit, compared as written: the same text folds to the same key.
        if (m_lastHit && EqualsCText(m_lastKey, text)) {
            out = m_lastHit->value.value;
            return true;
        }
        // A text asked again where the caller keeps it (a loop over a list of ids) is answered
        // from the entry it found last, once the text is seen to still match that entry.
        Remembered* set = m_remembered ? &m_remembered[RememberedSet(text) * kWays] : nullptr;
        if (set) {
            for (size_t way = 0; way < kWays; ++way) {
                if (set[way].text == text && MatchesFolded(set[way].node->key, text)) {
                    out = set[way].node->value.value;
                    return true;
                }
            }
        }
        const Node* node = FindFolding(text);
        if (!node)
            return false;
        m_lastKey.assign(text);
        m_lastHit = node;
        if (!set) {
            m_remembered = std::make_unique<Remembered[]>(kRememberedSets * kWays);
            set = &m_remembered[RememberedSet(text) * kWays];
        }
        // A set's ways go from newest to oldest; the oldest gives way, or the text's own way
        // when it is there already.
        size_t last = kWays - 1;
        for (size_t way = 0; way < kWays - 1; ++way) {
            if (set[way].text == text) {
                last = way;
                break;
            }
        }
        for (size_t way = last; way > 0; --way)
            set[way] = set[way - 1];
        set[0] = Remembered{text, node};
        out = node->value.value;
        return true;
    }
    /// See the other form.
    bool Lookup(const WideString& key, V& out) const { return Lookup(key.c_str(), out); }

    /// Removes the entry; false when there was none. The value is not released.
    bool RemoveKey(const wchar_t* key) {
        const WideString folded = FoldMapKey(key);
        Node* node = Find(folded);
        if (!node)
            return false;
        Forget();
        ++m_generation;
        Node** link = &m_buckets[node->value.bucket];
        while (*link != node)
            link = &(*link)->value.next;
        *link = node->value.next;
        m_table.Erase(node);
        return true;
    }
    /// See the other form.
    bool RemoveKey(const WideString& key) { return RemoveKey(key.c_str()); }

    /// Drops every entry and the bucket array; pointed-to objects are not released.
    void RemoveAll() {
        Forget();
        ++m_generation;
        m_buckets.clear();
        m_buckets.shrink_to_fit();
        m_table.Clear(); // entry after entry in memory, not chain after chain
    }

    /// Start of a walk; null for an empty map.
    Position GetStartPosition() const { return FirstInBucketFrom(0); }

    /// Gives the folded key and the value at `pos` and moves `pos` on; `pos` becomes null after
    /// the last entry. `pos` must come from GetStartPosition or an earlier call. The entry just
    /// given may be removed before the next call.
    void GetNextAssoc(Position& pos, WideString& key, V& value) const {
        const Node* node = static_cast<const Node*>(pos);
        key = node->key;
        value = node->value.value;
        pos = node->value.next ? node->value.next : FirstInBucketFrom(node->value.bucket + 1);
    }

    /// Calls fn(foldedKey, value) for each entry in walk order. fn must not change the map.
    template <class F> void ForEach(F&& fn) const {
        for (const Node* head : m_buckets) {
            for (const Node* node = head; node; node = node->value.next)
                fn(node->key, node->value.value);
        }
    }

    /// Calls fn(foldedKey, value) for each entry in the order they lie in memory, which is
    /// faster than the walk order on a large map (owners deleting what the values point to).
    /// fn must not change the map.
    template <class F> void ForEachStored(F&& fn) const {
        m_table.ForEach([&fn](const Node& node) { fn(node.key, node.value.value); });
    }

private:
    Node* Find(std::wstring_view folded) const { return m_table.Find(folded); }

    // The entry of the key once folded, found in one pass over the key that folds and hashes
    // it, and a comparison that folds again: nothing is copied.
    const Node* FindFolding(const wchar_t* text) const {
        if (m_table.Empty())
            return nullptr;
        uint64_t hash = TextHash::Start();
        size_t length = 0;
        for (; text[length]; ++length)
            hash = TextHash::Add(hash, platform::AsciiUpper(text[length]));
        return m_table.FindHashed(TextHash::Finish(hash), [text, length](const WideString& kept) {
            if (kept.size() != length)
                return false;
            for (size_t i = 0; i < length; ++i)
                if (platform::AsciiUpper(text[i]) != kept[i])
                    return false;
            return true;
        });
    }

    // True when the null-terminated text folds to the key `kept`; stops at the first difference.
    static bool MatchesFolded(const WideString& kept, const wchar_t* text) {
        const size_t size = kept.size();
        // Ids are mostly written as they are kept (upper case): one comparison of the whole.
        if (std::wcsncmp(text, kept.c_str(), size) == 0)
            return !text[size];
        for (size_t i = 0; i < size; ++i)
            if (platform::AsciiUpper(text[i]) != kept[i] || !text[i])
                return false;
        return !text[size];
    }

    // The set of m_remembered for a text's address; spreads the addresses of a list of texts.
    static size_t RememberedSet(const wchar_t* text) {
        const auto address = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(text));
        return static_cast<size_t>(((address >> 2) * 0x9E3779B97F4A7C15ull) >> 58);
    }

    // Drops every memo of a lookup: an entry they name may be gone.
    void Forget() {
        m_lastHit = nullptr;
        m_remembered.reset();
    }

    // The node of the folded key and false; or a new node with `value`, at the head of its
    // bucket's chain, and true. One lookup either way.
    std::pair<Node*, bool> Enter(WideString&& folded, ARG_V value) {
        if (m_buckets.empty())
            m_buckets.assign(kBucketCount, nullptr);
        const uint32_t bucket = StringMapBucketOf(folded, kBucketCount);
        auto entered =
            m_table.TryEmplace(std::move(folded), Linked{m_buckets[bucket], bucket, value});
        if (entered.second)
            m_buckets[bucket] = entered.first;
        return entered;
    }

    const Node* FirstInBucketFrom(uint32_t bucket) const {
        for (uint32_t b = bucket; b < m_buckets.size(); ++b) {
            if (m_buckets[b])
                return m_buckets[b];
        }
        return nullptr;
    }

    std::vector<Node*> m_buckets;
    Table m_table;
    // The last key found by Lookup, as written, and its entry (entries stay where they are
    // until removed).
    mutable WideString m_lastKey;
    mutable const Node* m_lastHit = nullptr;
    uint64_t m_generation = 0;
    // By the address of the text asked, the entry found for it, in sets of two ways; made at
    // the first hit.
    struct Remembered {
        const wchar_t* text = nullptr;
        const Node* node = nullptr;
    };
    // A table's ids in a caller's list (a row's columns) land a few to a set; four ways keep
    // them all.
    static constexpr size_t kRememberedSets = 64; // RememberedSet gives 6 bits
    static constexpr size_t kWays = 4;
    mutable std::unique_ptr<Remembered[]> m_remembered;
};

} // namespace torvex

#pragma once
// A hash table from text keys to values, for the tables of a family that grow with its rows.
//
// Entries never move: the address of an entry stays valid until the entry is erased. They lie in
// blocks in the order they were made (a freed place is reused), and the walk and the destruction
// follow that order. Closing a table of many thousand rows then reads memory front to back
// instead of hopping from node to node, which is what kept a large table's close from growing
// in step with its rows. The index is open addressing with linear probing over a power-of-two
// array kept at most half full; keys compare exactly.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "torvex/platform/WideString.h"
#include "torvex/text/TextHash.h"

namespace torvex {

template <class V> class TextKeyedTable {
public:
    struct Entry {
        WideString key;
        V value;
    };

    TextKeyedTable() = default;
    TextKeyedTable(const TextKeyedTable&) = delete;
    TextKeyedTable& operator=(const TextKeyedTable&) = delete;

    /// Number of entries. Never fails.
    size_t Size() const noexcept { return m_count; }
    /// True when there is no entry. Never fails.
    bool Empty() const noexcept { return m_count == 0; }

    /// The entry under exactly this key, or null. Never fails.
    Entry* Find(std::wstring_view key) const noexcept {
        if (m_count == 0)
            return nullptr;
        const size_t hash = TextHash()(key);
        for (size_t at = hash & m_mask;; at = (at + 1) & m_mask) {
            Slot* slot = m_index[at];
            if (!slot)
                return nullptr;
            if (slot->hash == hash && slot->entry->key == key)
                return &*slot->entry;
        }
    }

    /// The entry whose key has the hash `hash` (see TextHash) and satisfies
    /// `matches(const WideString& key)`, or null: for a lookup that hashes its key on the way.
    /// Fails only as `matches` does.
    template <class Matches> Entry* FindHashed(size_t hash, Matches&& matches) const {
        if (m_count == 0)
            return nullptr;
        for (size_t at = hash & m_mask;; at = (at + 1) & m_mask) {
            Slot* slot = m_index[at];
            if (!slot)
                return nullptr;
            if (slot->hash == hash && matches(static_cast<const WideString&>(slot->entry->key)))
                return &*slot->entry;
        }
    }

    /// The entry under the key and true when it was made here from `args`; the entry already
    /// there and false otherwise (then neither the key nor the arguments are used). Throws only
    /// what allocation or V's constructor throws, and then nothing changed.
    template <class... Args> std::pair<Entry*, bool> TryEmplace(WideString&& key, Args&&... args) {
        if (Entry* found = Find(key))
            return {found, false};
        if ((m_count + 1) * 2 > m_index.size())
            Reindex(m_index.empty() ? 32 : m_index.size() * 2);
        Slot* slot = TakeFreeSlot();
        try {
            slot->entry.emplace(Entry{std::move(key), V(std::forward<Args>(args)...)});
        } catch (...) {
            slot->nextFree = m_free;
            m_free = slot;
            throw;
        }
        slot->hash = TextHash()(slot->entry->key);
        Place(slot);
        ++m_count;
        return {&*slot->entry, true};
    }

    /// Erases an entry of this table (from Find or TryEmplace). Never fails.
    void Erase(Entry* entry) noexcept {
        const size_t hash = TextHash()(entry->key);
        size_t gap = hash & m_mask;
        while (&*m_index[gap]->entry != entry)
            gap = (gap + 1) & m_mask;
        Slot* slot = m_index[gap];
        m_index[gap] = nullptr;
        // Later slots of the probe run move back into the gap unless their home lies in the
        // cyclic range (gap, at]; otherwise a lookup would stop at the gap short of them.
        for (size_t at = (gap + 1) & m_mask; m_index[at]; at = (at + 1) & m_mask) {
            const size_t home = m_index[at]->hash & m_mask;
            const bool stays = gap <= at ? (gap < home && home <= at) : (gap < home || home <= at);
            if (!stays) {
                m_index[gap] = m_index[at];
                m_index[at] = nullptr;
                gap = at;
            }
        }
        slot->entry.reset();
        slot->nextFree = m_free;
        m_free = slot;
        --m_count;
    }

    /// Erases every entry and gives all memory back. Never fails.
    void Clear() noexcept {
        m_index.clear();
        m_index.shrink_to_fit();
        m_mask = 0;
        m_blocks.clear(); // block after block, entry after entry
        m_free = nullptr;
        m_count = 0;
    }

    /// Calls fn(Entry&) for each entry in the order they lie in memory. fn must not add or erase.
    template <class F> void ForEach(F&& fn) {
        for (Block& block : m_blocks) {
            for (size_t i = 0; i < block.size; ++i) {
                if (block.slots[i].entry)
                    fn(*block.slots[i].entry);
            }
        }
    }
    /// See the other form.
    template <class F> void ForEach(F&& fn) const {
        for (const Block& block : m_blocks) {
            for (size_t i = 0; i < block.size; ++i) {
                if (block.slots[i].entry)
                    fn(static_cast<const Entry&>(*block.slots[i].entry));
            }
        }
    }

private:
    struct Slot {
        std::optional<Entry> entry;
        size_t hash = 0;
        Slot* nextFree = nullptr;
    };
    struct Block {
        std::unique_ptr<Slot[]> slots;
        size_t size = 0;
    };

    // Blocks grow with the table, from 8 entries up to 1024.
    Slot* TakeFreeSlot() {
        if (!m_free) {
            const size_t size = std::clamp<size_t>(m_count, 8, 1024);
            m_blocks.push_back(Block{std::make_unique<Slot[]>(size), size});
            Slot* slots = m_blocks.back().slots.get();
            for (size_t i = size; i-- > 0;) {
                slots[i].nextFree = m_free;
                m_free = &slots[i];
            }
        }
        Slot* slot = m_free;
        m_free = slot->nextFree;
        slot->nextFree = nullptr;
        return slot;
    }

    void Place(Slot* slot) noexcept {
        size_t at = slot->hash & m_mask;
        while (m_index[at])
            at = (at + 1) & m_mask;
        m_index[at] = slot;
    }

    void Reindex(size_t size) {
        std::vector<Slot*> former(size, nullptr);
        former.swap(m_index);
        m_mask = size - 1;
        for (Slot* slot : former) {
            if (slot)
                Place(slot);
        }
    }

    std::vector<Slot*> m_index;
    size_t m_mask = 0;
    std::vector<Block> m_blocks;
    Slot* m_free = nullptr;
    size_t m_count = 0;
};

} // namespace torvex

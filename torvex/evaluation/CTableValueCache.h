#pragma once
// The value caches of one table: every computed cell value by row, language and column, kept
// across runs in the table cache file "TableCache_<locale id>.dat".

#include "torvex/evaluation/CCacheKeyPool.h"
#include "torvex/evaluation/CValueCacheLoc.h"
#include "torvex/platform/WideString.h"
#include "torvex/text/TextKeyedTable.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>

namespace torvex {

class CValueCache;

/// Owner of the row caches of one table and of its cache file. Not copyable.
class CTableValueCache {
public:
    /// Builds the file path from the directory (empty directory: no file) and loads the file;
    /// a file that is missing or unreadable leaves the cache empty, silently.
    explicit CTableValueCache(const WideString& cacheDirectory);
    /// Deletes the row caches; does not save (the table calls Save first).
    ~CTableValueCache();
    CTableValueCache(const CTableValueCache&) = delete;
    CTableValueCache& operator=(const CTableValueCache&) = delete;

    /// The row's cache; with `create`, a new one is made when absent. Null when absent and not
    /// created (also for an empty row id while no row is remembered). Counts as a change (see
    /// GetChangeCount): the caller may edit the row's values.
    CValueCache* GetRowCache(const WideString& rowId, bool create);
    /// Copies a cached value: 0 on a hit, 1 on a miss (nothing is created). Looks up by view, so
    /// that a read copies no key.
    int GetValue(std::wstring_view rowId, std::wstring_view columnId, std::wstring_view language,
                 WideString& value);
    /// What the reader of one column keeps between reads, so that a read neither hashes the
    /// column id nor scans the row: the column's pooled key with the pool generation it was
    /// found in, and where the column's value sat in the row read last (rows are filled in the
    /// same order). Starts empty; a reader must start a new one when its column id changes.
    struct ColumnReadHint {
        const WideString* key = nullptr;
        uint64_t generation = 0;
        uint32_t place = 0;
    };
    /// GetValue for the reader of one column, with its hint, which it brings up to date, and
    /// the row id and language as null-terminated texts, which a hit never measures: 0 on a
    /// hit, 1 on a miss. A stale or wrong place only costs a lookup.
    int GetValue(const wchar_t* rowId, std::wstring_view columnId, const wchar_t* language,
                 ColumnReadHint& hint, WideString& value);
    /// Stores or overwrites a value, creating the row cache; never fails.
    void SetValue(std::wstring_view rowId, std::wstring_view columnId, std::wstring_view language,
                  std::wstring_view value);
    /// SetValue for the writer of one column, with the hint it reads with: the pooled key is
    /// taken from the hint while the pool stands (and put there otherwise), so that a store
    /// hashes no column id. Never fails: true when the value is stored, false for an empty row
    /// id while no row is remembered.
    bool SetValue(std::wstring_view rowId, std::wstring_view columnId, std::wstring_view language,
                  std::wstring_view value, ColumnReadHint& hint);
    /// Forgets one value; silent when it is not cached.
    void ClearValue(const WideString& rowId, const WideString& columnId,
                    const WideString& language);
    /// ClearValue without counting a change: for the value from the unitless fall-back, which
    /// CEncapFamilyColumn::GetValue takes back as soon as it has read it. Nothing an evaluation
    /// relied on goes with it.
    void ClearFallbackValue(std::wstring_view rowId, std::wstring_view columnId,
                            std::wstring_view language);
    /// Forgets a column of one row in every language; silent when not cached.
    void ClearColumnInRow(const WideString& rowId, const WideString& columnId);
    /// Forgets a column in every row and language; silent when not cached.
    void ClearColumn(const WideString& columnId);
    /// Deletes a row's cache; silent when the row has none.
    void DropRow(const WideString& rowId);
    /// Deletes every row cache and the language and column indexes; keeps the path and the dirty
    /// flag. Never fails.
    void Clear();
    /// Records that something changed since the load; never fails.
    void MarkDirty();
    /// Forgets the file path, so that Save never writes; never fails. Every edit of the family
    /// through the library calls it, so it counts as a change.
    void DetachFile();

    /// How many times the values or what they came from may have changed: every operation here
    /// that forgets values or hands out a row cache, Load, DetachFile (called by every edit) and
    /// NoteChange count; storing a value (SetValue) and ClearFallbackValue don't. The evaluator
    /// forgets the outcomes it remembers when the count moves. Never fails.
    uint64_t GetChangeCount() const { return m_changes; }
    /// Counts a change that touches no value: an edit that can change what a cell evaluates to
    /// without passing through this cache. Never fails.
    void NoteChange() { ++m_changes; }

    /// Reloads the cache from the file: false when there is no path, the file cannot be opened,
    /// it holds no row or it is damaged (what was read before the damage stays); true for a
    /// complete file and for a file of another version (then empty).
    bool Load();
    /// Writes the file, with `columnIds` as the column table, when there is a path, at least one
    /// row cache and a change since the load; any failure is silent (a cut file may remain).
    void Save(const WideStringList& columnIds);

    /// Path of the cache file; empty when there is none.
    const WideString& GetFilePath() const { return m_filePath; }
    /// True when something changed since the load.
    bool IsDirty() const { return m_dirty; }
    /// Number of row caches.
    size_t GetRowCount() const { return m_rows.Size(); }
    /// Calls fn(rowId, columnId, language) for every value held. Never fails.
    template <class F> void ForEachCachedKey(F&& fn) const {
        m_rows.ForEach([&fn](const auto& row) {
            row.value.cache.ForEachKey([&](const WideString& columnId, const WideString& language) {
                fn(row.key, columnId, language);
            });
        });
    }
    /// Index of a language in the file's language table; -1 when it has none.
    int GetLanguageIndex(const WideString& language) const;
    /// Index of a column in the column table of the last save; -1 when it has none.
    int GetColumnIndex(const WideString& columnId) const;
    /// Where a key of the key pool stands while the cache is saved: the index of its column
    /// (-1 when it has none) and its place among all pooled keys in text order.
    struct KeyOrder {
        int columnIndex = -1;
        uint32_t rank = 0;
    };
    /// The KeyOrder of a pooled key, looked up by address; a key that was not pooled when Save
    /// began gets its column index by text and the last rank. Never fails.
    KeyOrder GetKeyOrder(const WideString* key) const;
    /// Column ids read from the file, by index; empty before a load.
    const WideStringList& GetColumnNames() const { return m_columnNames; }
    /// Languages read from the file, by index; empty before a load.
    const WideStringList& GetLanguageNames() const { return m_languageNames; }
    /// The column ids and languages the row caches use as keys; emptied by Clear.
    CCacheKeyPool& GetKeyPool() { return m_keys; }
    const CCacheKeyPool& GetKeyPool() const { return m_keys; }

    /// Notes the sizes of the row language last stored into: rows are mostly read one after
    /// another, so a new row's lists are made at the size of the row before it once, instead of
    /// growing value by value and keeping up to half their room unused. Only sizes of values
    /// really held are noted, so a row of many or long values makes no later row bigger than
    /// itself. Never fails.
    void NoteStored(size_t values, size_t characters) {
        m_lastRowValues = values;
        m_lastRowCharacters = characters;
    }
    /// How many values and characters a new row's language is likely to hold; 0 at first.
    size_t ValuesHint() const { return m_lastRowValues; }
    size_t CharactersHint() const { return m_lastRowCharacters; }

private:
    // A row's cache, and the row read after it the last time a reader went on from it: rows
    // are mostly read in one order, walk after walk, so the next walk finds that row without
    // hashing its id.
    struct Row;
    using Rows = TextKeyedTable<Row>;
    struct Row {
        explicit Row(CTableValueCache* owner) : cache(owner) {}
        explicit Row(CValueCacheLoc&& loaded) : cache(std::move(loaded)) {}
        CValueCacheLoc cache;
        Rows::Entry* next = nullptr;
        uint64_t nextGeneration = 0; // of m_rowsGeneration, when `next` was noted
    };

    // GetRowCache by view: a hit on the memo or the map copies no key.
    CValueCacheLoc* RowCache(std::wstring_view rowId, bool create);
    // Enters a language stored into in the language index.
    void NoteLanguage(std::wstring_view language);

    CCacheKeyPool m_keys; // declared before the rows, which point into it: it outlives them
    // Hashed, so that a lookup walks no tree of row ids; Save still writes the rows in id order.
    // The row caches never move, and lie in the order they were made.
    Rows m_rows;
    // Moves on whenever a row is erased, so that no row's `next` names an erased row.
    uint64_t m_rowsGeneration = 0;
    std::map<WideString, uint16_t, std::less<>> m_languageIndexes;
    std::map<WideString, uint16_t> m_columnIndexes;
    WideStringList m_columnNames;
    WideStringList m_languageNames;
    WideString m_filePath;
    bool m_dirty = false;
    uint64_t m_changes = 0;
    // The sizes of the row language stored into last (see NoteStored).
    size_t m_lastRowValues = 0;
    size_t m_lastRowCharacters = 0;
    Rows::Entry* m_lastRow = nullptr; // the row looked up last
    // The key in m_languageIndexes that SetValue entered last; null until one is entered, so
    // that the empty language (no string documents) is entered too.
    const WideString* m_lastLanguage = nullptr;
    std::unordered_map<const WideString*, KeyOrder> m_keyOrders; // made by each Save
};

} // namespace torvex

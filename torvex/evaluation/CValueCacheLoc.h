#pragma once
// Row cache with a language level: language, then column id, then value.

#include "torvex/evaluation/CValueCache.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace torvex {

class CCacheKeyPool;
class CTableValueCache;

/// The row cache the library creates. Keys compare exactly. Changes mark the owner dirty.
///
/// A row holds a few languages and a few dozen columns, so both levels are flat vectors whose
/// entries point at the owner's pooled keys, and the characters of a language's values sit one
/// after another in one buffer: a row costs a handful of allocations however many values it
/// holds. Languages are kept in order; values in the order they came, sorted when the file is
/// written. A language with many values (a table of thousands of columns) also keeps an index
/// from column to value, so that a lookup doesn't scan them all, and a value forgotten leaves a
/// gap until gaps are half the list, so that forgetting one doesn't move all the others.
class CValueCacheLoc : public CValueCache {
public:
    /// A cache of the owner (not owned, may be null: then the cache pools its own keys); never
    /// fails.
    explicit CValueCacheLoc(CTableValueCache* owner);
    ~CValueCacheLoc() override;
    /// Moves keep the owner; the source is left empty. Never fail.
    CValueCacheLoc(CValueCacheLoc&&) noexcept = default;
    CValueCacheLoc& operator=(CValueCacheLoc&&) noexcept = default;

    /// Stores or overwrites a value; never fails.
    void SetCachedValue(const WideString& columnId, const WideString& language,
                        const WideString& value) override;
    /// 0 on a hit (value copied), 1 on a miss of language or column.
    int GetCachedValue(const WideString& columnId, const WideString& language,
                       WideString& value) override;
    /// Forgets the column in every language; silent on a miss.
    void ClearColumn(const WideString& columnId) override;
    /// Forgets the column in one language, and the language once it is empty; silent on a miss.
    void ClearColumnInLanguage(const WideString& columnId, const WideString& language) override;
    /// Forgets everything; never fails.
    void ClearAll() override;
    /// 1 on success; on failure 0 when something was read, -1 when nothing was. Never throws.
    int Load(CCacheArchive& archive) override;
    /// Answers 1; throws CCacheArchive::Failure when the file cannot be written.
    int Save(CCacheArchive& archive) override;
    /// See CValueCache.
    bool FindCachedValue(std::wstring_view columnId, std::wstring_view language,
                         std::wstring_view& value) const override;

    /// FindCachedValue by a key of the owner's pool and a null-terminated language, trying first
    /// the place `place` in the language's values and setting it to where the value was found; a
    /// place out of range or holding another column only costs a lookup. Never fails.
    bool FindPooledValue(const WideString* column, const wchar_t* language, uint32_t& place,
                         std::wstring_view& value) const;
    /// SetCachedValue by view: copies the key texts only the first time the table meets them.
    void StoreValue(std::wstring_view columnId, std::wstring_view language,
                    std::wstring_view value);
    /// StoreValue by a key of the owner's pool, which a writer of one column keeps: hashes no
    /// column id. Never fails.
    void StorePooled(const WideString* column, std::wstring_view language, std::wstring_view value);
    /// Number of languages that hold values.
    size_t GetLanguageCount() const { return m_languages.size(); }
    /// Calls fn(columnId, language) for every value held, language by language. Never fails.
    template <class F> void ForEachKey(F&& fn) const {
        for (const Language& language : m_languages)
            for (const Value& value : language.values)
                if (value.column)
                    fn(*value.column, *language.name);
    }

private:
    struct Value {
        const WideString* column; // pooled; null for a value forgotten (a gap)
        uint32_t offset;          // of the characters in the language's texts
        uint32_t length;
    };
    // The longest the texts of one language may grow.
    static constexpr size_t kMaxTexts = UINT32_MAX;
    // From this many values on, a language keeps an index.
    static constexpr size_t kIndexFrom = 32;
    using Index = std::unordered_map<const WideString*, uint32_t>;
    struct Language {
        const WideString* name;       // pooled
        std::vector<Value> values;    // in the order they were stored, with gaps
        WideString texts;             // the values' characters, one after another
        size_t unused = 0;            // characters of texts that no value holds any more
        size_t gaps = 0;              // values forgotten but still in the list
        std::unique_ptr<Index> index; // column to place in values, for many values

        size_t Count() const { return values.size() - gaps; }
    };
    // Where the language holds the column, or values.size().
    static size_t Find(const Language& language, const WideString* column);
    // Appends a value, and the index once there are many.
    static void Append(Language& language, const Value& value);
    // Forgets the value at that place (a gap); closes the gaps once they are half the list.
    static void Erase(Language& language, size_t at);

    CCacheKeyPool& Keys();
    void MarkOwnerDirty();
    // The language's entry, or end.
    std::vector<Language>::iterator FindLanguage(std::wstring_view language);
    std::vector<Language>::const_iterator FindLanguage(std::wstring_view language) const;
    // The entry of the language, made in order when absent.
    Language& LanguageEntry(std::wstring_view language);
    // Stores into one language: overwrites, or appends.
    void StoreIn(Language& language, const WideString* column, std::wstring_view text);
    // Rewrites the texts without the unused characters once they are most of the buffer.
    static void CompactIfWasteful(Language& language);
    // Erases the column from the language, and the language once it is empty. True when a value
    // was erased.
    bool ClearIn(std::vector<Language>::iterator language, const WideString* column);

    CTableValueCache* m_owner;
    std::unique_ptr<CCacheKeyPool> m_ownKeys; // only without an owner
    std::vector<Language> m_languages;        // in language order
};

} // namespace torvex

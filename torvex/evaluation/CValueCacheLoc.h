#pragma once
// Row cache with a language level: language, then column id, then value.

#include "torvex/evaluation/CValueCache.h"

#include <cstddef>
#include <map>

namespace torvex {

class CTableValueCache;

/// The row cache the library creates. Keys compare exactly. Changes mark the owner dirty.
class CValueCacheLoc : public CValueCache {
public:
    /// A cache of the owner (not owned, may be null); never fails.
    explicit CValueCacheLoc(CTableValueCache* owner);

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

    /// The value or null; see CValueCache.
    const WideString* FindCachedValue(std::wstring_view columnId,
                                      std::wstring_view language) const override;

    /// Number of languages that hold values.
    size_t GetLanguageCount() const { return m_languages.size(); }

private:
    void MarkOwnerDirty();
    // Maps with transparent comparison, so that a lookup by string view copies no key.
    using ColumnValues = std::map<WideString, WideString, std::less<>>;
    using LanguageMap = std::map<WideString, ColumnValues, std::less<>>;
    bool ClearIn(LanguageMap::iterator language, const WideString& columnId);

    CTableValueCache* m_owner;
    LanguageMap m_languages;
};

} // namespace torvex

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

    /// Number of languages that hold values.
    size_t GetLanguageCount() const { return m_languages.size(); }

private:
    void MarkOwnerDirty();
    bool ClearIn(std::map<WideString, std::map<WideString, WideString>>::iterator language,
                 const WideString& columnId);

    CTableValueCache* m_owner;
    std::map<WideString, std::map<WideString, WideString>> m_languages;
};

} // namespace torvex

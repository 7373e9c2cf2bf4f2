#pragma once
// Row cache without a language level: column id, then value; language arguments are ignored.

#include "torvex/evaluation/CValueCache.h"

#include <cstddef>
#include <map>

namespace torvex {

class CTableValueCache;

/// The same contract as CValueCacheLoc on a single map. Keys compare exactly.
class CValueCacheSimple : public CValueCache {
public:
    /// A cache of the owner (not owned, may be null); never fails.
    explicit CValueCacheSimple(CTableValueCache* owner);

    /// Stores or overwrites a value; the language is ignored. Never fails.
    void SetCachedValue(const WideString& columnId, const WideString& language,
                        const WideString& value) override;
    /// 0 on a hit (value copied), 1 on a miss; the language is ignored.
    int GetCachedValue(const WideString& columnId, const WideString& language,
                       WideString& value) override;
    /// See CValueCache; the language plays no part.
    bool FindCachedValue(std::wstring_view columnId, std::wstring_view language,
                         std::wstring_view& value) const override;
    /// Forgets the column; silent on a miss.
    void ClearColumn(const WideString& columnId) override;
    /// Forgets the column (the language is ignored); silent on a miss.
    void ClearColumnInLanguage(const WideString& columnId, const WideString& language) override;
    /// Forgets everything; never fails.
    void ClearAll() override;
    /// 1 on success; on failure 0 when something was read, -1 when nothing was. Never throws.
    int Load(CCacheArchive& archive) override;
    /// Answers 1; throws CCacheArchive::Failure when the file cannot be written.
    int Save(CCacheArchive& archive) override;

    /// Number of cached values.
    size_t GetValueCount() const { return m_values.size(); }

private:
    void MarkOwnerDirty();

    CTableValueCache* m_owner;
    std::map<WideString, WideString, std::less<>> m_values;
};

} // namespace torvex

#pragma once
// The value cache of one table row: the text of computed cell values by column (and language).

#include "torvex/platform/WideString.h"

#include <string_view>

namespace torvex {

class CCacheArchive;

/// Abstract cache of the values of one row. The table's CTableValueCache owns one per row.
class CValueCache {
public:
    virtual ~CValueCache() = default;

    /// Stores or overwrites the value of a column in a language; never fails.
    virtual void SetCachedValue(const WideString& columnId, const WideString& language,
                                const WideString& value) = 0;
    /// Copies the cached value to `value`: 0 on a hit, 1 on a miss (`value` untouched).
    virtual int GetCachedValue(const WideString& columnId, const WideString& language,
                               WideString& value) = 0;
    /// Forgets the column in every language; silent when it is not cached.
    virtual void ClearColumn(const WideString& columnId) = 0;
    /// Forgets the column in one language; silent when it is not cached.
    virtual void ClearColumnInLanguage(const WideString& columnId, const WideString& language) = 0;
    /// Forgets every value; never fails.
    virtual void ClearAll() = 0;
    /// Reads the row's values from the cache file: 1 on success; on failure 0 when something
    /// was read (it stays), -1 when nothing was. Never throws.
    virtual int Load(CCacheArchive& archive) = 0;
    /// Writes the row's values to the cache file; answers 1. Throws CCacheArchive::Failure when
    /// the file cannot be written.
    virtual int Save(CCacheArchive& archive) = 0;
    /// The cached value of a column in a language, put in `value` without a copy: true on a
    /// hit, false on a miss (`value` untouched). The read path of the table, which copies no
    /// key; the view is valid until the next change of this cache.
    virtual bool FindCachedValue(std::wstring_view columnId, std::wstring_view language,
                                 std::wstring_view& value) const = 0;
};

} // namespace torvex

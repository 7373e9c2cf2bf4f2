#include "torvex/evaluation/CTableValueCache.h"

#include "torvex/evaluation/CCacheArchive.h"
#include "torvex/evaluation/CValueCacheLoc.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/UserLocale.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace torvex {

namespace {

// The only version of the file this system writes; a file of any other version is ignored.
constexpr int32_t kFileVersion = 1;

// The cache file is per user language: "TableCache_<locale id>.dat" in the cache directory.
WideString CacheFilePath(const WideString& directory) {
    if (directory.empty())
        return WideString();
    WideString path = directory;
    if (path.back() != L'\\' && path.back() != L'/')
        path.push_back(L'/');
    path += L"TableCache_" + std::to_wstring(platform::UserLocaleId()) + L".dat";
    return path;
}

} // namespace

CTableValueCache::CTableValueCache(const WideString& cacheDirectory)
    : m_filePath(CacheFilePath(cacheDirectory)) {
    Load();
}

CTableValueCache::~CTableValueCache() = default;

CValueCache* CTableValueCache::GetRowCache(const WideString& rowId, bool create) {
    ++m_changes;
    return RowCache(rowId, create);
}

CValueCacheLoc* CTableValueCache::RowCache(std::wstring_view rowId, bool create) {
    // A column walks its cells row by row, so the last row looked up is remembered. An empty
    // row id while no row is remembered names no row.
    if (!m_lastRow ? rowId.empty() : m_lastRow->key == rowId)
        return m_lastRow ? &m_lastRow->value.cache : nullptr;
    Rows::Entry* row = nullptr;
    Row* before = m_lastRow ? &m_lastRow->value : nullptr;
    if (before && before->next && before->nextGeneration == m_rowsGeneration &&
        before->next->key == rowId) {
        row = before->next;
    } else {
        row = m_rows.Find(rowId);
        if (!row) {
            if (!create)
                return nullptr;
            row = m_rows.TryEmplace(WideString(rowId), this).first;
            m_dirty = true;
        }
        if (before) {
            before->next = row;
            before->nextGeneration = m_rowsGeneration;
        }
    }
    m_lastRow = row;
    return &row->value.cache;
}

int CTableValueCache::GetValue(std::wstring_view rowId, std::wstring_view columnId,
                               std::wstring_view language, WideString& value) {
    const CValueCacheLoc* row = RowCache(rowId, false);
    if (!row)
        return 1;
    std::wstring_view cached;
    if (!row->FindCachedValue(columnId, language, cached))
        return 1;
    value.assign(cached);
    return 0;
}

int CTableValueCache::GetValue(const wchar_t* rowId, std::wstring_view columnId,
                               const wchar_t* language, ColumnReadHint& hint, WideString& value) {
    const CValueCacheLoc* row = RowCache(rowId, false);
    if (!row)
        return 1;
    // The pooled key stays valid until the pool is cleared; a column no row held yet is looked
    // up again, since it may have been pooled since.
    if (!hint.key || hint.generation != m_keys.Generation()) {
        hint.key = m_keys.Find(columnId);
        hint.generation = m_keys.Generation();
        if (!hint.key)
            return 1;
    }
    std::wstring_view cached;
    if (!row->FindPooledValue(hint.key, language, hint.place, cached))
        return 1;
    value.assign(cached);
    return 0;
}

void CTableValueCache::SetValue(std::wstring_view rowId, std::wstring_view columnId,
                                std::wstring_view language, std::wstring_view value) {
    CValueCacheLoc* row = RowCache(rowId, true);
    if (!row)
        return; // an empty row id while no row is remembered has no cache
    row->StoreValue(columnId, language, value);
    NoteLanguage(language);
}

bool CTableValueCache::SetValue(std::wstring_view rowId, std::wstring_view columnId,
                                std::wstring_view language, std::wstring_view value,
                                ColumnReadHint& hint) {
    CValueCacheLoc* row = RowCache(rowId, true);
    if (!row)
        return false;
    if (!hint.key || hint.generation != m_keys.Generation()) {
        hint.key = m_keys.Intern(columnId);
        hint.generation = m_keys.Generation();
    }
    row->StorePooled(hint.key, language, value);
    NoteLanguage(language);
    return true;
}

void CTableValueCache::NoteLanguage(std::wstring_view language) {
    // The languages are few: the last one entered is compared first.
    if (m_lastLanguage && language == *m_lastLanguage)
        return;
    auto known = m_languageIndexes.find(language);
    if (known == m_languageIndexes.end()) {
        const auto index = static_cast<uint16_t>(m_languageIndexes.size());
        known = m_languageIndexes.emplace(WideString(language), index).first;
    }
    m_lastLanguage = &known->first;
}

void CTableValueCache::ClearValue(const WideString& rowId, const WideString& columnId,
                                  const WideString& language) {
    ++m_changes;
    ClearFallbackValue(rowId, columnId, language);
}

void CTableValueCache::ClearFallbackValue(std::wstring_view rowId, std::wstring_view columnId,
                                          std::wstring_view language) {
    if (CValueCache* row = RowCache(rowId, false))
        row->ClearColumnInLanguage(WideString(columnId), WideString(language));
}

void CTableValueCache::ClearColumnInRow(const WideString& rowId, const WideString& columnId) {
    ++m_changes;
    if (CValueCache* row = RowCache(rowId, false))
        row->ClearColumn(columnId);
}

void CTableValueCache::ClearColumn(const WideString& columnId) {
    ++m_changes;
    m_rows.ForEach([&](auto& row) { row.value.cache.ClearColumn(columnId); });
}

void CTableValueCache::DropRow(const WideString& rowId) {
    ++m_changes;
    auto* row = m_rows.Find(rowId);
    if (!row)
        return;
    if (row == m_lastRow)
        m_lastRow = nullptr;
    m_rows.Erase(row);
    ++m_rowsGeneration;
    m_dirty = true;
}

void CTableValueCache::Clear() {
    ++m_changes;
    m_rows.Clear();
    m_keys.Clear();
    m_keyOrders.clear();
    m_lastLanguage = nullptr;
    m_lastRow = nullptr;
    ++m_rowsGeneration;
    m_languageIndexes.clear();
    m_columnIndexes.clear();
    m_columnNames.clear();
    m_languageNames.clear();
}

void CTableValueCache::MarkDirty() {
    m_dirty = true;
}

void CTableValueCache::DetachFile() {
    ++m_changes;
    m_filePath.clear();
}

int CTableValueCache::GetLanguageIndex(const WideString& language) const {
    auto found = m_languageIndexes.find(language);
    return found == m_languageIndexes.end() ? -1 : found->second;
}

int CTableValueCache::GetColumnIndex(const WideString& columnId) const {
    auto found = m_columnIndexes.find(columnId);
    return found == m_columnIndexes.end() ? -1 : found->second;
}

CTableValueCache::KeyOrder CTableValueCache::GetKeyOrder(const WideString* key) const {
    auto found = m_keyOrders.find(key);
    return found != m_keyOrders.end() ? found->second : KeyOrder{GetColumnIndex(*key), UINT32_MAX};
}

bool CTableValueCache::Load() {
    Clear();
    m_dirty = false;
    if (m_filePath.empty())
        return false;
    // The whole file is read at once: whatever its lengths and counts claim, reading never
    // needs more memory than the file's size and stops at its end.
    std::string bytes;
    if (!platform::ReadFileBytes(m_filePath, bytes))
        return false;
    CCacheArchive archive(std::move(bytes));
    try {
        if (archive.ReadInt32() != kFileVersion)
            return true; // another version is no error; the cache starts empty

        // Counts are written as unsigned 16-bit words but read as signed: 32768 or more reads
        // negative, and then no entry is read.
        const int16_t columnCount = archive.ReadInt16();
        for (int i = 0; i < columnCount; ++i)
            m_columnNames.push_back(archive.ReadString());

        const int16_t languageCount = archive.ReadInt16();
        for (int i = 0; i < languageCount; ++i) {
            WideString language = archive.ReadString();
            // A language named twice keeps the later index.
            m_languageIndexes[language] = static_cast<uint16_t>(i);
            m_languageNames.push_back(std::move(language));
        }

        const int32_t rowCount = archive.ReadInt32();
        if (rowCount < 1)
            return false;
        for (int32_t i = 0; i < rowCount; ++i) {
            WideString rowId = archive.ReadString();
            if (rowId.empty())
                return false;
            CValueCacheLoc cache(this);
            const int result = cache.Load(archive);
            if (result == -1)
                return false;
            // A row id met twice: the later record wins.
            auto [row, made] = m_rows.TryEmplace(std::move(rowId), std::move(cache));
            if (!made)
                row->value.cache = std::move(cache);
            if (result == 0)
                return false;
        }
        return true;
    } catch (...) {
        // A cut or damaged file: what was read in full stays and is served.
        return false;
    }
}

void CTableValueCache::Save(const WideStringList& columnIds) {
    if (m_filePath.empty() || m_rows.Empty() || !m_dirty)
        return;
    try {
        CCacheArchive archive = CCacheArchive::OpenForWriting(m_filePath);
        if (!archive.IsOpen())
            return;
        archive.WriteInt32(kFileVersion);

        // The column table: position in it is the column index the rows refer to.
        archive.WriteUInt16(static_cast<uint16_t>(columnIds.size()));
        m_columnIndexes.clear();
        m_keyOrders.clear();
        uint16_t counter = 0;
        for (const WideString& columnId : columnIds) {
            m_columnIndexes[columnId] = counter++;
            archive.WriteString(columnId);
        }
        // A row lists its values by column id: each pooled key gets its rank in text order
        // once, so that a row sorts by number.
        std::vector<const WideString*> keys;
        keys.reserve(m_keys.GetSize());
        m_keys.ForEach([&](const WideString* key) { keys.push_back(key); });
        std::sort(keys.begin(), keys.end(),
                  [](const WideString* a, const WideString* b) { return *a < *b; });
        m_keyOrders.clear();
        m_keyOrders.reserve(keys.size());
        for (uint32_t rank = 0; rank < keys.size(); ++rank)
            m_keyOrders[keys[rank]] = KeyOrder{GetColumnIndex(*keys[rank]), rank};

        std::map<uint16_t, WideString> languagesByIndex;
        for (const auto& [language, index] : m_languageIndexes)
            languagesByIndex[index] = language;
        archive.WriteUInt16(static_cast<uint16_t>(languagesByIndex.size()));
        for (const auto& entry : languagesByIndex)
            archive.WriteString(entry.second);

        // Rows in id order, so that the same cache always gives the same file. The ids are
        // sorted as copies side by side: comparing them where they lie, all over the heap, made
        // sorting a large table grow much faster than its rows.
        using Entry = Rows::Entry;
        size_t idsLength = 0;
        m_rows.ForEach([&](const Entry& row) { idsLength += row.key.size(); });
        WideString ids;
        ids.reserve(idsLength);
        m_rows.ForEach([&](const Entry& row) { ids += row.key; });
        std::vector<std::pair<std::wstring_view, Entry*>> rows;
        rows.reserve(m_rows.Size());
        size_t offset = 0;
        m_rows.ForEach([&](Entry& row) {
            rows.emplace_back(std::wstring_view(ids).substr(offset, row.key.size()), &row);
            offset += row.key.size();
        });
        std::sort(rows.begin(), rows.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        archive.WriteInt32(static_cast<int32_t>(rows.size()));
        for (const auto& [id, row] : rows) {
            archive.WriteString(id);
            row->value.cache.Save(archive);
        }
        archive.Close();
    } catch (...) {
        // Nobody is told; a file cut short may stay behind and is read as far as it goes.
    }
}

} // namespace torvex

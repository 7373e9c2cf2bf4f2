#include "torvex/evaluation/CValueCacheLoc.h"

#include "torvex/evaluation/CCacheArchive.h"
#include "torvex/evaluation/CTableValueCache.h"

#include <cstdint>

namespace torvex {

namespace {

const WideStringList kNoNames;

// Index as the file writes it: 0xFFFF for a key that has no index.
uint16_t FileIndex(int index) {
    return index < 0 ? uint16_t(0xFFFF) : static_cast<uint16_t>(index);
}

} // namespace

CValueCacheLoc::CValueCacheLoc(CTableValueCache* owner) : m_owner(owner) {}

void CValueCacheLoc::MarkOwnerDirty() {
    if (m_owner)
        m_owner->MarkDirty();
}

void CValueCacheLoc::SetCachedValue(const WideString& columnId, const WideString& language,
                                    const WideString& value) {
    m_languages[language][columnId] = value;
    MarkOwnerDirty();
}

int CValueCacheLoc::GetCachedValue(const WideString& columnId, const WideString& language,
                                   WideString& value) {
    const WideString* found = FindCachedValue(columnId, language);
    if (!found)
        return 1;
    value = *found;
    return 0;
}

const WideString* CValueCacheLoc::FindCachedValue(std::wstring_view columnId,
                                                  std::wstring_view language) const {
    auto lang = m_languages.find(language);
    if (lang == m_languages.end())
        return nullptr;
    auto column = lang->second.find(columnId);
    return column == lang->second.end() ? nullptr : &column->second;
}

// Erases the column from one language, and the language once it holds nothing more. True when
// the language was erased.
bool CValueCacheLoc::ClearIn(LanguageMap::iterator language, const WideString& columnId) {
    auto column = language->second.find(columnId);
    if (column == language->second.end())
        return false;
    language->second.erase(column);
    MarkOwnerDirty();
    if (!language->second.empty())
        return false;
    m_languages.erase(language);
    return true;
}

void CValueCacheLoc::ClearColumnInLanguage(const WideString& columnId, const WideString& language) {
    auto lang = m_languages.find(language);
    if (lang != m_languages.end())
        ClearIn(lang, columnId);
}

void CValueCacheLoc::ClearColumn(const WideString& columnId) {
    for (auto lang = m_languages.begin(); lang != m_languages.end();) {
        auto next = std::next(lang);
        ClearIn(lang, columnId);
        lang = next;
    }
}

void CValueCacheLoc::ClearAll() {
    m_languages.clear();
    MarkOwnerDirty();
}

int CValueCacheLoc::Load(CCacheArchive& archive) {
    const WideStringList& languageNames = m_owner ? m_owner->GetLanguageNames() : kNoNames;
    const WideStringList& columnNames = m_owner ? m_owner->GetColumnNames() : kNoNames;
    auto current = m_languages.end();
    try {
        const int32_t languageCount = archive.ReadInt32();
        for (int32_t i = 0; i < languageCount; ++i) {
            const int16_t languageIndex = archive.ReadInt16();
            if (languageIndex < 0 || size_t(languageIndex) >= languageNames.size()) {
                // The entry is passed over without reading its body, so what follows is read
                // out of step: it fails or is taken for further entries.
                continue;
            }
            auto [entry, inserted] = m_languages.try_emplace(languageNames[languageIndex]);
            if (!inserted)
                throw CCacheArchive::Failure("language entered twice in a row of the cache file");
            current = entry;
            const int32_t valueCount = archive.ReadInt32();
            for (int32_t j = 0; j < valueCount; ++j) {
                const int16_t columnIndex = archive.ReadInt16();
                WideString value = archive.ReadString();
                if (columnIndex < 0 || size_t(columnIndex) >= columnNames.size())
                    continue; // a column without an index: the value is dropped
                entry->second[columnNames[columnIndex]] = std::move(value);
            }
            current = m_languages.end();
        }
        return 1;
    } catch (...) {
        if (current != m_languages.end() && current->second.empty())
            m_languages.erase(current);
        return m_languages.empty() ? -1 : 0;
    }
}

int CValueCacheLoc::Save(CCacheArchive& archive) {
    archive.WriteInt32(static_cast<int32_t>(m_languages.size()));
    for (const auto& [language, columns] : m_languages) {
        archive.WriteUInt16(FileIndex(m_owner ? m_owner->GetLanguageIndex(language) : -1));
        archive.WriteInt32(static_cast<int32_t>(columns.size()));
        for (const auto& [columnId, value] : columns) {
            archive.WriteUInt16(FileIndex(m_owner ? m_owner->GetColumnIndex(columnId) : -1));
            archive.WriteString(value);
        }
    }
    return 1;
}

} // namespace torvex

#include "torvex/evaluation/CValueCacheLoc.h"

#include "torvex/evaluation/CCacheArchive.h"
#include "torvex/evaluation/CCacheKeyPool.h"
#include "torvex/evaluation/CTableValueCache.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace torvex {

namespace {

const WideStringList kNoNames;

// Index as the file writes it: 0xFFFF for a key that has no index.
uint16_t FileIndex(int index) {
    return index < 0 ? uint16_t(0xFFFF) : static_cast<uint16_t>(index);
}

} // namespace

CValueCacheLoc::CValueCacheLoc(CTableValueCache* owner) : m_owner(owner) {
    if (!m_owner)
        m_ownKeys = std::make_unique<CCacheKeyPool>();
}

CValueCacheLoc::~CValueCacheLoc() = default;

CCacheKeyPool& CValueCacheLoc::Keys() {
    return m_owner ? m_owner->GetKeyPool() : *m_ownKeys;
}

void CValueCacheLoc::MarkOwnerDirty() {
    if (m_owner)
        m_owner->MarkDirty();
}

std::vector<CValueCacheLoc::Language>::iterator
CValueCacheLoc::FindLanguage(std::wstring_view language) {
    // A row holds one or two languages: a scan beats any lookup.
    return std::find_if(m_languages.begin(), m_languages.end(),
                        [language](const Language& entry) { return *entry.name == language; });
}

std::vector<CValueCacheLoc::Language>::const_iterator
CValueCacheLoc::FindLanguage(std::wstring_view language) const {
    return std::find_if(m_languages.begin(), m_languages.end(),
                        [language](const Language& entry) { return *entry.name == language; });
}

CValueCacheLoc::Language& CValueCacheLoc::LanguageEntry(std::wstring_view language) {
    auto found = FindLanguage(language);
    if (found != m_languages.end())
        return *found;
    auto at = std::lower_bound(
        m_languages.begin(), m_languages.end(), language,
        [](const Language& entry, std::wstring_view name) { return *entry.name < name; });
    Language& entry =
        *m_languages.insert(at, Language{Keys().Intern(language), {}, {}, 0, 0, nullptr});
    // Made at the size of the row stored into before: grown value by value, the lists would
    // keep up to half their room unused in every row.
    // A little more, since rows differ by a value or two (overrides, cells left empty).
    if (m_owner && m_owner->ValuesHint() > 0) {
        const size_t values = m_owner->ValuesHint(), characters = m_owner->CharactersHint();
        entry.values.reserve(values + values / 8 + 1);
        entry.texts.reserve(characters + characters / 8 + 8);
    }
    return entry;
}

size_t CValueCacheLoc::Find(const Language& language, const WideString* column) {
    if (language.index) {
        const auto found = language.index->find(column);
        return found == language.index->end() ? language.values.size() : found->second;
    }
    // Pooled keys compare by address; a gap's null matches no column.
    const auto& values = language.values;
    return static_cast<size_t>(
        std::find_if(values.begin(), values.end(),
                     [column](const Value& value) { return value.column == column; }) -
        values.begin());
}

void CValueCacheLoc::Append(Language& language, const Value& value) {
    auto& values = language.values;
    values.push_back(value);
    if (language.index) {
        language.index->emplace(value.column, static_cast<uint32_t>(values.size() - 1));
    } else if (values.size() >= kIndexFrom) {
        language.index = std::make_unique<Index>();
        language.index->reserve(values.size() * 2);
        for (size_t i = 0; i < values.size(); ++i)
            if (values[i].column)
                language.index->emplace(values[i].column, static_cast<uint32_t>(i));
    }
}

void CValueCacheLoc::Erase(Language& language, size_t at) {
    auto& values = language.values;
    language.unused += values[at].length;
    if (language.index)
        language.index->erase(values[at].column);
    values[at].column = nullptr;
    ++language.gaps;
    if (language.gaps * 2 < values.size())
        return;
    // Closing the gaps keeps the order of the values; the index follows them.
    size_t kept = 0;
    for (const Value& value : values) {
        if (!value.column)
            continue;
        if (language.index)
            (*language.index)[value.column] = static_cast<uint32_t>(kept);
        values[kept++] = value;
    }
    values.resize(kept);
    language.gaps = 0;
}

void CValueCacheLoc::StoreIn(Language& language, const WideString* column, std::wstring_view text) {
    // Pooled keys compare by address.
    auto& values = language.values;
    const size_t at = Find(language, column);
    const auto same = values.begin() + static_cast<std::ptrdiff_t>(at);
    if (same != values.end() && text.size() <= same->length) {
        // The new text fits where the old one was; it may be a view of that very text.
        std::char_traits<wchar_t>::move(language.texts.data() + same->offset, text.data(),
                                        text.size());
        language.unused += same->length - text.size();
        same->length = static_cast<uint32_t>(text.size());
        return;
    }
    if (text.size() > kMaxTexts - language.texts.size()) {
        // Beyond what 32-bit offsets reach (the buffer is rewritten long before that unless it
        // holds billions of live characters): the value is not kept, and a read misses.
        if (same != values.end())
            Erase(language, at);
        return;
    }
    const auto offset = static_cast<uint32_t>(language.texts.size());
    language.texts.append(text);
    if (same != values.end()) {
        language.unused += same->length;
        same->offset = offset;
        same->length = static_cast<uint32_t>(text.size());
        CompactIfWasteful(language);
        return;
    }
    Append(language, Value{column, offset, static_cast<uint32_t>(text.size())});
    if (m_owner)
        m_owner->NoteStored(language.values.size(), language.texts.size());
}

void CValueCacheLoc::CompactIfWasteful(Language& language) {
    if (language.unused < 64 || language.unused * 2 < language.texts.size())
        return;
    WideString texts;
    texts.reserve(language.texts.size() - language.unused);
    for (Value& value : language.values) {
        if (!value.column)
            continue; // a gap: its characters are counted unused
        const auto offset = static_cast<uint32_t>(texts.size());
        texts.append(language.texts, value.offset, value.length);
        value.offset = offset;
    }
    language.texts = std::move(texts);
    language.unused = 0;
}

void CValueCacheLoc::StoreValue(std::wstring_view columnId, std::wstring_view language,
                                std::wstring_view value) {
    StorePooled(Keys().Intern(columnId), language, value);
}

void CValueCacheLoc::StorePooled(const WideString* column, std::wstring_view language,
                                 std::wstring_view value) {
    Language& entry = LanguageEntry(language);
    StoreIn(entry, column, value);
    if (entry.Count() == 0) // only a value too long to keep gets here
        m_languages.erase(FindLanguage(language));
    MarkOwnerDirty();
}

void CValueCacheLoc::SetCachedValue(const WideString& columnId, const WideString& language,
                                    const WideString& value) {
    StoreValue(columnId, language, value);
}

bool CValueCacheLoc::FindCachedValue(std::wstring_view columnId, std::wstring_view language,
                                     std::wstring_view& value) const {
    auto lang = FindLanguage(language);
    if (lang == m_languages.end())
        return false;
    const CCacheKeyPool& keys = m_owner ? m_owner->GetKeyPool() : *m_ownKeys;
    const WideString* column = keys.Find(columnId);
    if (!column)
        return false; // no row of the table holds that column
    const size_t at = Find(*lang, column);
    if (at == lang->values.size())
        return false;
    const Value& entry = lang->values[at];
    value = std::wstring_view(lang->texts).substr(entry.offset, entry.length);
    return true;
}

bool CValueCacheLoc::FindPooledValue(const WideString* column, const wchar_t* language,
                                     uint32_t& place, std::wstring_view& value) const {
    auto lang = std::find_if(m_languages.begin(), m_languages.end(), [language](const auto& entry) {
        return EqualsCText(*entry.name, language);
    });
    if (lang == m_languages.end())
        return false;
    const auto& values = lang->values;
    // Pooled keys compare by address, so a place can hold no other column's value: a gap's
    // null matches no key.
    size_t at = place;
    if (at >= values.size() || values[at].column != column) {
        at = Find(*lang, column);
        if (at == values.size())
            return false;
        place = static_cast<uint32_t>(at);
    }
    const Value& entry = values[at];
    value = std::wstring_view(lang->texts).substr(entry.offset, entry.length);
    return true;
}

int CValueCacheLoc::GetCachedValue(const WideString& columnId, const WideString& language,
                                   WideString& value) {
    std::wstring_view found;
    if (!FindCachedValue(columnId, language, found))
        return 1;
    value.assign(found);
    return 0;
}

bool CValueCacheLoc::ClearIn(std::vector<Language>::iterator language, const WideString* column) {
    const size_t at = Find(*language, column);
    if (at == language->values.size())
        return false;
    Erase(*language, at);
    MarkOwnerDirty();
    if (language->Count() == 0)
        m_languages.erase(language);
    else
        CompactIfWasteful(*language);
    return true;
}

void CValueCacheLoc::ClearColumnInLanguage(const WideString& columnId, const WideString& language) {
    auto lang = FindLanguage(language);
    const WideString* column = Keys().Find(columnId);
    if (lang != m_languages.end() && column)
        ClearIn(lang, column);
}

void CValueCacheLoc::ClearColumn(const WideString& columnId) {
    const WideString* column = Keys().Find(columnId);
    if (!column)
        return;
    for (size_t i = 0; i < m_languages.size();) {
        const size_t before = m_languages.size();
        ClearIn(m_languages.begin() + static_cast<std::ptrdiff_t>(i), column);
        if (m_languages.size() == before)
            ++i; // the language stays: go on with the next one
    }
}

void CValueCacheLoc::ClearAll() {
    m_languages.clear();
    MarkOwnerDirty();
}

int CValueCacheLoc::Load(CCacheArchive& archive) {
    const WideStringList& languageNames = m_owner ? m_owner->GetLanguageNames() : kNoNames;
    const WideStringList& columnNames = m_owner ? m_owner->GetColumnNames() : kNoNames;
    const WideString* current = nullptr; // the language being read
    try {
        const int32_t languageCount = archive.ReadInt32();
        for (int32_t i = 0; i < languageCount; ++i) {
            const int16_t languageIndex = archive.ReadInt16();
            if (languageIndex < 0 || size_t(languageIndex) >= languageNames.size()) {
                // The entry is passed over without reading its body, so what follows is read
                // out of step: it fails or is taken for further entries.
                continue;
            }
            const WideString& name = languageNames[languageIndex];
            if (FindLanguage(name) != m_languages.end())
                throw CCacheArchive::Failure("language entered twice in a row of the cache file");
            Language& entry = LanguageEntry(name); // entered even when it gets no value
            current = entry.name;
            const int32_t valueCount = archive.ReadInt32();
            for (int32_t j = 0; j < valueCount; ++j) {
                const int16_t columnIndex = archive.ReadInt16();
                WideString value = archive.ReadString();
                if (columnIndex < 0 || size_t(columnIndex) >= columnNames.size())
                    continue; // a column without an index: the value is dropped
                StoreIn(entry, Keys().Intern(columnNames[columnIndex]), value);
            }
            current = nullptr;
        }
        return 1;
    } catch (...) {
        if (current) {
            auto failing = FindLanguage(*current);
            if (failing != m_languages.end() && failing->Count() == 0)
                m_languages.erase(failing);
        }
        return m_languages.empty() ? -1 : 0;
    }
}

int CValueCacheLoc::Save(CCacheArchive& archive) {
    archive.WriteInt32(static_cast<int32_t>(m_languages.size()));
    for (const Language& language : m_languages) {
        archive.WriteUInt16(FileIndex(m_owner ? m_owner->GetLanguageIndex(*language.name) : -1));
        // Values are kept in the order they came; the file lists them by column id.
        struct Ordered {
            CTableValueCache::KeyOrder order;
            const Value* value;
        };
        std::vector<Ordered> ordered;
        ordered.reserve(language.Count());
        for (const Value& value : language.values)
            if (value.column)
                ordered.push_back({m_owner ? m_owner->GetKeyOrder(value.column)
                                           : CTableValueCache::KeyOrder{-1, UINT32_MAX},
                                   &value});
        std::sort(ordered.begin(), ordered.end(), [](const Ordered& a, const Ordered& b) {
            if (a.order.rank != b.order.rank)
                return a.order.rank < b.order.rank;
            return *a.value->column < *b.value->column; // keys that are not pooled
        });
        archive.WriteInt32(static_cast<int32_t>(ordered.size()));
        for (const Ordered& entry : ordered) {
            archive.WriteUInt16(FileIndex(entry.order.columnIndex));
            archive.WriteString(
                std::wstring_view(language.texts).substr(entry.value->offset, entry.value->length));
        }
    }
    return 1;
}

} // namespace torvex

#include "torvex/evaluation/CValueCacheSimple.h"

#include "torvex/evaluation/CCacheArchive.h"
#include "torvex/evaluation/CTableValueCache.h"

#include <cstdint>

namespace torvex {

CValueCacheSimple::CValueCacheSimple(CTableValueCache* owner) : m_owner(owner) {}

void CValueCacheSimple::MarkOwnerDirty() {
    if (m_owner)
        m_owner->MarkDirty();
}

void CValueCacheSimple::SetCachedValue(const WideString& columnId, const WideString&,
                                       const WideString& value) {
    m_values[columnId] = value;
    MarkOwnerDirty();
}

bool CValueCacheSimple::FindCachedValue(std::wstring_view columnId, std::wstring_view,
                                        std::wstring_view& value) const {
    auto column = m_values.find(columnId);
    if (column == m_values.end())
        return false;
    value = column->second;
    return true;
}

int CValueCacheSimple::GetCachedValue(const WideString& columnId, const WideString&,
                                      WideString& value) {
    auto column = m_values.find(columnId);
    if (column == m_values.end())
        return 1;
    value = column->second;
    return 0;
}

void CValueCacheSimple::ClearColumn(const WideString& columnId) {
    if (m_values.erase(columnId) > 0)
        MarkOwnerDirty();
}

void CValueCacheSimple::ClearColumnInLanguage(const WideString& columnId, const WideString&) {
    ClearColumn(columnId);
}

void CValueCacheSimple::ClearAll() {
    m_values.clear();
    MarkOwnerDirty();
}

int CValueCacheSimple::Load(CCacheArchive& archive) {
    static const WideStringList noNames;
    const WideStringList& columnNames = m_owner ? m_owner->GetColumnNames() : noNames;
    try {
        const int32_t valueCount = archive.ReadInt32();
        for (int32_t j = 0; j < valueCount; ++j) {
            const int16_t columnIndex = archive.ReadInt16();
            WideString value = archive.ReadString();
            if (columnIndex < 0 || size_t(columnIndex) >= columnNames.size())
                continue; // a column without an index: the value is dropped
            m_values[columnNames[columnIndex]] = std::move(value);
        }
        return 1;
    } catch (...) {
        return m_values.empty() ? -1 : 0;
    }
}

int CValueCacheSimple::Save(CCacheArchive& archive) {
    archive.WriteInt32(static_cast<int32_t>(m_values.size()));
    for (const auto& [columnId, value] : m_values) {
        const int index = m_owner ? m_owner->GetColumnIndex(columnId) : -1;
        archive.WriteUInt16(index < 0 ? uint16_t(0xFFFF) : static_cast<uint16_t>(index));
        archive.WriteString(value);
    }
    return 1;
}

} // namespace torvex

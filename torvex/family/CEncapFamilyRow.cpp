#include "torvex/family/CEncapFamilyRow.h"

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/CStringMapTo.h"
#include "torvex/family/FamilyNames.h"

#include <cwchar>
#include <utility>

namespace torvex {

CEncapFamilyRow::CEncapFamilyRow() = default;

CEncapFamilyRow::CEncapFamilyRow(const XMLNode& node, CEncapFamilyTable* table)
    : m_node(node), m_table(table) {
    InitializeData();
}

CEncapFamilyRow::CEncapFamilyRow(XMLNode&& node, CEncapFamilyTable* table, bool readStatus)
    : m_node(std::move(node)), m_table(table) {
    if (readStatus)
        InitializeData();
}

CEncapFamilyRow::~CEncapFamilyRow() = default;

void CEncapFamilyRow::InitializeData() {
    if (!m_table)
        return;
    const wchar_t* statusColumn = m_table->GetStatusColIDStr();
    if (!statusColumn || !*statusColumn)
        return;
    WideString status;
    if (GetRawValue(statusColumn, status) == 0 &&
        SameTextIgnoringCase(status, FamilyNames::ValueSuppressed))
        m_suppressed = true;
}

void CEncapFamilyRow::GetRowID(WideString& out) const {
    out.clear();
    m_node.GetProperty(FamilyNames::AttrRowId, out);
}

void CEncapFamilyRow::SetRowID(const wchar_t* id) {
    m_node.SetProperty(FamilyNames::AttrRowId, id);
    // The evaluator's remembered outcomes go by row id.
    if (m_table && m_table->GetValueCache())
        m_table->GetValueCache()->NoteChange();
}

bool CEncapFamilyRow::GetCellNode(const wchar_t* columnId, XMLNode& out) const {
    // The match of the path Cell[@ColumnId="<id>"] relative to the row: the first child element
    // Cell whose ColumnId equals the id exactly, found without evaluating the path, which would
    // cost many times more on every row of a large table. An id holding a double quote would
    // end the path's literal and break the expression, so such an id addresses no cell.
    const wchar_t* id = columnId ? columnId : L"";
    if (std::wcschr(id, L'"'))
        return false;
    return m_node.FindChildElement(FamilyNames::ElemCell, FamilyNames::AttrColumnId, id, out);
}

long CEncapFamilyRow::GetRawValue(const wchar_t* columnId, WideString& out) const {
    out.clear();
    // The row's cells, collected once while its cells are read one after another.
    if (const auto* cells = m_table ? m_table->CellsOfRow(*this) : nullptr) {
        const std::wstring_view id = columnId ? columnId : L"";
        if (id.find(L'"') != std::wstring_view::npos)
            return 1; // as GetCellNode: no such cell can be addressed
        for (const XMLNode::KeyedChild& cell : *cells) {
            if (cell.key == id) {
                out = cell.text;
                return 0;
            }
        }
        return 1;
    }
    XMLNode cell;
    if (!GetCellNode(columnId, cell))
        return 1;
    cell.GetNodeText(out);
    return 0;
}

void CEncapFamilyRow::SetRawValue(const wchar_t* columnId, const wchar_t* value) {
    XMLNode cell;
    const bool found = GetCellNode(columnId, cell);
    if (!value || !*value) {
        if (found)
            cell.RemoveThisNode(true);
    } else if (found) {
        cell.SetNodeText(WideString(value));
    } else {
        m_node.AddNode(FamilyNames::ElemCell, value, FamilyNames::AttrColumnId, columnId);
    }
    // Revision writes follow from other edits and don't count as a change of the member.
    const wchar_t* id = columnId ? columnId : L"";
    if (std::wcscmp(id, FamilyNames::ColMemberRevision) != 0 &&
        std::wcscmp(id, FamilyNames::ColSourceMemberRevision) != 0)
        m_state = RowModified;
}

void CEncapFamilyRow::GetValue(const wchar_t* columnId, WideString& out) const {
    if (!m_table)
        return;
    WideString rowId;
    GetRowID(rowId);
    m_table->GetValue(rowId.c_str(), columnId, out);
}

void CEncapFamilyRow::SetValue(const wchar_t* columnId, const wchar_t* value, bool invalidate) {
    if (!m_table)
        return;
    WideString rowId;
    GetRowID(rowId);
    m_table->SetValue(rowId.c_str(), columnId, value, invalidate);
}

bool CEncapFamilyRow::HasRawValue(const wchar_t* columnId) const {
    XMLNode cell;
    return GetCellNode(columnId, cell);
}

void CEncapFamilyRow::DeleteCellsColumnValues(const wchar_t* columnId, bool allLanguages) {
    XMLNode cell;
    if (GetCellNode(columnId, cell))
        cell.RemoveThisNode(true);
    if (!m_table)
        return;
    WideString rowId;
    GetRowID(rowId);
    m_table->ClearCachedValue(rowId.c_str(), columnId);
    m_table->DeleteLocalizedCellsValues(rowId.c_str(), columnId, allLanguages);
}

} // namespace torvex

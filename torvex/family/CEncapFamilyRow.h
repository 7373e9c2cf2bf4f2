#pragma once
// One member of a family: a thin object over one Row element of the family document. It holds
// no cell data; each cell is a Cell child of the row, found on demand. What it adds to the node
// is its table, the suppressed flag and the row state, both of which live only in memory.

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"

namespace torvex {

class CEncapFamilyTable;

/// Owned by its table; copies refer to the same element.
class CEncapFamilyRow {
public:
    /// How the row changed since the host last reset it.
    enum RowState : int {
        RowUnchanged = 0,
        RowModified = 1,
        RowInserted = 2,
    };

    /// Empty node, no table, not suppressed, state RowUnchanged. Never fails.
    CEncapFamilyRow();
    /// Copies the node handle, records the table, then reads the status cell (suppression).
    /// Never fails.
    CEncapFamilyRow(const XMLNode& node, CEncapFamilyTable* table);
    /// The same, taking the handle over; `readStatus` false when the caller knows the row has
    /// no status cell. Never fails.
    CEncapFamilyRow(XMLNode&& node, CEncapFamilyTable* table, bool readStatus = true);
    /// Copies all four members; the node copy shares the element. Never fails.
    CEncapFamilyRow(const CEncapFamilyRow&) = default;
    /// Copies all four members; the node copy shares the element. Never fails.
    CEncapFamilyRow& operator=(const CEncapFamilyRow&) = default;
    virtual ~CEncapFamilyRow();

    /// The Row element.
    XMLNode& GetXMLNode() { return m_node; }
    /// The Row element.
    const XMLNode& GetXMLNode() const { return m_node; }
    /// Attribute RowId of the element; `out` empty when it has none or the node is empty.
    void GetRowID(WideString& out) const;
    /// Writes attribute RowId; the table's map and id list are not touched. Silent on failure.
    void SetRowID(const wchar_t* id);

    /// The suppressed flag. Never fails.
    bool IsSuppressed() const { return m_suppressed; }
    /// Sets the flag in memory only. Never fails.
    void SetIsSuppressed(bool suppressed) { m_suppressed = suppressed; }
    /// The state. Never fails.
    RowState GetRowState() const { return m_state; }
    /// Sets the state in memory only. Never fails.
    void SetRowState(RowState state) { m_state = state; }
    /// True when the state is not RowUnchanged (an inserted row counts as modified).
    bool IsRowModified() const { return m_state != RowUnchanged; }

    /// The table's GetValue for this row; the result code is dropped, so `out` keeps what the
    /// column left there on a failure. Nothing happens without a table.
    void GetValue(const wchar_t* columnId, WideString& out) const;
    /// The table's SetValue for this row; silent for an unknown column or without a table.
    void SetValue(const wchar_t* columnId, const wchar_t* value, bool invalidate);
    /// True when the row has a Cell element for exactly this column id.
    bool HasRawValue(const wchar_t* columnId) const;
    /// Removes the row's Cell of the column, then the cached value, then the cell's text in the
    /// string documents (the first language, or all). Leaves the state alone. Silent.
    void DeleteCellsColumnValues(const wchar_t* columnId, bool allLanguages);

private:
    friend class CEncapFamilyTable;
    friend class CEncapFamilyColumn;
    friend class CTableEvaluator;

    /// Reads the status cell: a text "Suppressed" (ignoring case) sets the suppressed flag.
    void InitializeData();
    /// 0 and the Cell's text; 1 and an empty `out` when the row has no Cell for the column.
    long GetRawValue(const wchar_t* columnId, WideString& out) const;
    /// The Cell element whose ColumnId equals the id exactly; false and `out` untouched when
    /// there is none (also for an id holding a double quote, which can't be addressed).
    bool GetCellNode(const wchar_t* columnId, XMLNode& out) const;
    /// Writes the Cell (an empty value removes it) and marks the row modified, unless the id is
    /// exactly MEMBER_REVISION or SOURCE_MEMBER_REVISION. Silent on failure.
    void SetRawValue(const wchar_t* columnId, const wchar_t* value);

    XMLNode m_node;
    CEncapFamilyTable* m_table = nullptr;
    bool m_suppressed = false;
    RowState m_state = RowUnchanged;
};

} // namespace torvex

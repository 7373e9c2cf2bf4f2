#pragma once
// One string document of a family (the texts of one language) with an index of its localized
// texts: the CellString of each column and row and the Title and ColumnwideValue of each column.
//
// Every read answers what the XPath lookups below would answer, ids compared exactly:
//   Table/ColumnStrings[@ColumnId="<column>"]/Rows/CellString[@RowId="<row>"]
//   Table/ColumnStrings[@ColumnId="<column>"]/<property>
// but from hash maps, so that reading every cell of a large family stays linear in its rows.
// The writes here keep the index in step. Any other edit of the document (through a handle the
// host holds, say) is noticed by the document's change count, and the index is rebuilt at the
// next read. A document whose shape the index can't stand for (two Table elements, two
// ColumnStrings for one column, two CellString for one row, ...) is served by the XPath lookups
// themselves, and so are ids that contain a double quote (never found, as in XPath).

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLParser.h"

#include <cstdint>
#include <memory>

namespace torvex {

/// Owned by its family. Not copyable.
class CStringDocument {
public:
    /// Keeps a handle on the document; the index is built at the first read. Never fails.
    explicit CStringDocument(const XMLParser& document);
    ~CStringDocument();
    CStringDocument(const CStringDocument&) = delete;
    CStringDocument& operator=(const CStringDocument&) = delete;

    /// The document (a handle on the same document).
    const XMLParser& GetDocument() const { return m_document; }

    /// The CellString text: 0 found, 1 not found (`out` untouched).
    long GetCellText(const wchar_t* rowId, const wchar_t* columnId, WideString& out);
    /// The column's Title or ColumnwideValue (`property`) text: 0 found, 1 not found (`out`
    /// untouched).
    long GetColumnProperty(const wchar_t* property, const wchar_t* columnId, WideString& out);

    /// Writes a cell's text: Table, ColumnStrings and Rows are made as needed; an empty value
    /// removes the CellString and leaves the rest. Silent on failure.
    void SetCellText(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* value);
    /// Writes a column's Title or ColumnwideValue: Table and ColumnStrings are made as needed;
    /// an empty value removes the element. Silent on failure.
    void SetColumnProperty(const wchar_t* property, const wchar_t* columnId, const wchar_t* value);
    /// Removes the cell's CellString if there is one.
    void RemoveCell(const wchar_t* rowId, const wchar_t* columnId);
    /// Removes the CellString of the row in every column.
    void RemoveRowCells(const wchar_t* rowId);
    /// Removes the column's ColumnwideValue, then its Title; ColumnStrings and its Rows stay.
    void RemoveColumnProperties(const wchar_t* columnId);

private:
    struct Index;
    /// The index, brought up to date with the document; null when the document's shape or the
    /// ids can't be served by it (the XPath lookups then serve).
    Index* Current(const wchar_t* first, const wchar_t* second = nullptr);
    /// After a write through the index: the document's edits so far are the index's own.
    void Accept();

    XMLParser m_document;
    std::unique_ptr<Index> m_index;
};

} // namespace torvex

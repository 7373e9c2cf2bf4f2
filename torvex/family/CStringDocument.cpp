#include "torvex/family/CStringDocument.h"

#include "torvex/family/FamilyNames.h"
#include "torvex/text/TextHash.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XPathLiteral.h"

#include <cwchar>
#include <functional>
#include <unordered_map>

namespace torvex {
namespace {

namespace N = FamilyNames;

const wchar_t* Text(const wchar_t* text) {
    return text ? text : L"";
}

bool Addressable(const wchar_t* id) {
    return id && !std::wcschr(id, L'"');
}

// Table/ColumnStrings[@ColumnId="<column>"]
WideString ColumnPath(const wchar_t* columnId) {
    return WideString(N::ElemTable) + L"/" + N::ElemColumnStrings + L"[@" + N::AttrColumnId +
           L"=\"" + Text(columnId) + L"\"]";
}

// Table/ColumnStrings[@ColumnId="<column>"]/Rows/CellString[@RowId="<row>"]
WideString CellPath(const wchar_t* rowId, const wchar_t* columnId) {
    return ColumnPath(columnId) + L"/" + N::ElemRows + L"/" + N::ElemCellString + L"[@" +
           N::AttrRowId + L"=\"" + Text(rowId) + L"\"]";
}

// Table (made when missing), then its ColumnStrings[@ColumnId="<column>"] (made when missing), as
// the lookups spell them.
XMLNode FindOrAddColumnStrings(XMLNode& root, const wchar_t* columnId) {
    XMLNode table = root.GetOrAddNode(N::ElemTable);
    const WideString step = WideString(N::ElemColumnStrings) + L"[@" + N::AttrColumnId + L"=\"" +
                            Text(columnId) + L"\"]";
    XMLNode strings;
    if (!FitsXPathLiteral(columnId) || !table.GetChildNode(step.c_str(), strings))
        strings = table.AddNode(N::ElemColumnStrings, nullptr, N::AttrColumnId, Text(columnId));
    return strings;
}

// The one child element `name` of `parent`: false when there are two or more; `out` empty when
// there is none.
bool Single(const XMLNode& parent, const wchar_t* name, XMLNode& out) {
    XMLNodeArray found;
    parent.SelectChildNodes(name, found);
    if (found.GetSize() > 1)
        return false;
    out = found.IsEmpty() ? XMLNode() : found[0];
    return true;
}

} // namespace

struct CStringDocument::Index {
    struct Column {
        XMLNode strings; // ColumnStrings
        XMLNode rows;    // its Rows, or empty
        XMLNode title;
        XMLNode columnwide;
        std::unordered_map<WideString, XMLNode, TextHash, std::equal_to<>> cells; // by RowId
    };

    uint64_t stamp = 0;
    bool regular = true;
    XMLNode table; // the one Table, or empty
    std::unordered_map<WideString, Column, TextHash, std::equal_to<>> columns; // by ColumnId

    XMLNode& Property(Column& column, const wchar_t* property) {
        return std::wcscmp(property, N::ElemTitle) == 0 ? column.title : column.columnwide;
    }

    // False when the document has a shape that the maps can't stand for.
    bool Build(const XMLNode& root) {
        if (!Single(root, N::ElemTable, table))
            return false;
        XMLNodeArray strings;
        table.SelectChildNodes(N::ElemColumnStrings, strings);
        for (const XMLNode& node : strings) {
            WideString id;
            if (!node.GetProperty(N::AttrColumnId, id))
                continue; // no lookup by id ever finds it
            auto [entry, made] = columns.try_emplace(std::move(id));
            if (!made)
                return false;
            Column& column = entry->second;
            column.strings = node;
            if (!Single(node, N::ElemRows, column.rows) ||
                !Single(node, N::ElemTitle, column.title) ||
                !Single(node, N::ElemColumnwideValue, column.columnwide))
                return false;
            XMLNodeArray cells;
            column.rows.SelectChildNodes(N::ElemCellString, cells);
            for (const XMLNode& cell : cells) {
                WideString row;
                if (cell.GetProperty(N::AttrRowId, row) &&
                    !column.cells.emplace(std::move(row), cell).second)
                    return false;
            }
        }
        return true;
    }

    // The column's entry, its ColumnStrings (and Table) made when missing; null on failure.
    Column* Ensure(const XMLNode& root, const wchar_t* columnId) {
        if (!table.IsNode())
            table = const_cast<XMLNode&>(root).GetOrAddNode(N::ElemTable);
        if (!table.IsNode())
            return nullptr;
        auto found = columns.find(columnId);
        if (found != columns.end())
            return &found->second;
        XMLNode node = table.AddNode(N::ElemColumnStrings, nullptr, N::AttrColumnId, columnId);
        if (!node.IsNode())
            return nullptr;
        Column& column = columns[columnId];
        column.strings = node;
        return &column;
    }
};

CStringDocument::CStringDocument(const XMLParser& document) : m_document(document) {}

CStringDocument::~CStringDocument() = default;

CStringDocument::Index* CStringDocument::Current(const wchar_t* first, const wchar_t* second) {
    if (!Addressable(first) || (second && !Addressable(second)))
        return nullptr;
    const uint64_t changes = m_document.GetChangeCount();
    if (!m_index || m_index->stamp != changes) {
        m_index = std::make_unique<Index>();
        m_index->stamp = changes;
        m_index->regular = m_index->Build(m_document.GetRootNode());
    }
    return m_index->regular ? m_index.get() : nullptr;
}

void CStringDocument::Accept() {
    if (m_index)
        m_index->stamp = m_document.GetChangeCount();
}

// ---- Reads ----

long CStringDocument::GetCellText(const wchar_t* rowId, const wchar_t* columnId, WideString& out) {
    if (!FitsXPathLiteral(rowId) || !FitsXPathLiteral(columnId))
        return 1;

    if (!rowId || !columnId)
        return 1;
    if (Index* index = Current(rowId, columnId)) {
        auto column = index->columns.find(columnId);
        if (column == index->columns.end())
            return 1;
        auto cell = column->second.cells.find(rowId);
        if (cell == column->second.cells.end())
            return 1;
        cell->second.GetNodeText(out); // read in place: no handle is copied
        return 0;
    }
    XMLNode node;
    if (!m_document.GetRootNode().GetChildNode(CellPath(rowId, columnId).c_str(), node))
        return 1;
    node.GetNodeText(out);
    return 0;
}

long CStringDocument::GetColumnProperty(const wchar_t* property, const wchar_t* columnId,
                                        WideString& out) {
    if (!property || !columnId || !FitsXPathLiteral(columnId))
        return 1;
    XMLNode node;
    const bool known = std::wcscmp(property, N::ElemTitle) == 0 ||
                       std::wcscmp(property, N::ElemColumnwideValue) == 0;
    if (Index* index = known ? Current(columnId) : nullptr) {
        auto column = index->columns.find(columnId);
        if (column == index->columns.end())
            return 1;
        node = index->Property(column->second, property);
        if (!node.IsNode())
            return 1;
    } else if (!m_document.GetRootNode().GetChildNode(
                   (ColumnPath(columnId) + L"/" + property).c_str(), node)) {
        return 1;
    }
    node.GetNodeText(out);
    return 0;
}

// ---- Writes ----

void CStringDocument::SetCellText(const wchar_t* rowId, const wchar_t* columnId,
                                  const wchar_t* value) {

    const WideString text = Text(value);
    XMLNode root = m_document.GetRootNode();
    Index* index = Current(rowId, columnId);
    if (!index) {
        // Table, ColumnStrings[@ColumnId], Rows, then CellString[@RowId].
        XMLNode strings = FindOrAddColumnStrings(root, columnId);
        XMLNode rows = strings.GetOrAddNode(N::ElemRows);
        const WideString cellStep =
            WideString(N::ElemCellString) + L"[@" + N::AttrRowId + L"=\"" + Text(rowId) + L"\"]";
        XMLNode cell;
        const bool found = FitsXPathLiteral(rowId) && rows.GetChildNode(cellStep.c_str(), cell);
        if (!found && !text.empty())
            rows.AddNode(N::ElemCellString, text.c_str(), N::AttrRowId, Text(rowId));
        else if (found && !text.empty())
            cell.SetNodeText(text);
        else if (found)
            cell.RemoveThisNode(true);
        return;
    }

    Index::Column* column = index->Ensure(root, columnId);
    if (!column)
        return;
    if (!column->rows.IsNode()) {
        column->rows = column->strings.AddNode(N::ElemRows);
        if (!column->rows.IsNode())
            return;
    }
    auto cell = column->cells.find(rowId);
    if (cell == column->cells.end()) {
        if (!text.empty()) {
            XMLNode added =
                column->rows.AddNode(N::ElemCellString, text.c_str(), N::AttrRowId, rowId);
            if (!added.IsNode())
                return; // the change count tells the next read to look again
            column->cells.emplace(rowId, added);
        }
    } else if (!text.empty()) {
        if (!cell->second.SetNodeText(text.c_str()))
            return;
    } else {
        cell->second.RemoveThisNode(true);
        column->cells.erase(cell);
    }
    Accept();
}

void CStringDocument::SetColumnProperty(const wchar_t* property, const wchar_t* columnId,
                                        const wchar_t* value) {

    if (!property)
        return;
    const WideString text = Text(value);
    XMLNode root = m_document.GetRootNode();
    const bool known = std::wcscmp(property, N::ElemTitle) == 0 ||
                       std::wcscmp(property, N::ElemColumnwideValue) == 0;
    Index* index = known ? Current(columnId) : nullptr;
    if (!index) {
        XMLNode strings = FindOrAddColumnStrings(root, columnId);
        if (text.empty())
            strings.RemoveChildNode(property);
        else
            strings.GetOrAddNode(property).SetNodeText(text);
        return;
    }

    Index::Column* column = index->Ensure(root, columnId);
    if (!column)
        return;
    XMLNode& slot = index->Property(*column, property);
    if (text.empty()) {
        if (slot.IsNode())
            slot.RemoveThisNode(true);
        slot = XMLNode();
    } else {
        if (!slot.IsNode())
            slot = column->strings.AddNode(property);
        if (!slot.IsNode() || !slot.SetNodeText(text.c_str()))
            return;
    }
    Accept();
}

void CStringDocument::RemoveCell(const wchar_t* rowId, const wchar_t* columnId) {
    if (!FitsXPathLiteral(rowId) || !FitsXPathLiteral(columnId))
        return;

    Index* index = Current(rowId, columnId);
    if (!index) {
        XMLNode cell;
        if (m_document.GetRootNode().GetChildNode(CellPath(rowId, columnId).c_str(), cell))
            cell.RemoveThisNode(true);
        return;
    }
    auto column = index->columns.find(columnId);
    if (column == index->columns.end())
        return;
    auto cell = column->second.cells.find(rowId);
    if (cell == column->second.cells.end())
        return;
    cell->second.RemoveThisNode(true);
    column->second.cells.erase(cell);
    Accept();
}

void CStringDocument::RemoveRowCells(const wchar_t* rowId) {
    if (!FitsXPathLiteral(rowId))
        return;

    Index* index = Current(rowId);
    if (!index) {
        // Table/ColumnStrings/Rows/CellString[@RowId="<row>"], every one of them.
        const WideString path = WideString(N::ElemTable) + L"/" + N::ElemColumnStrings + L"/" +
                                N::ElemRows + L"/" + N::ElemCellString + L"[@" + N::AttrRowId +
                                L"=\"" + Text(rowId) + L"\"]";
        XMLNodeArray cells;
        m_document.GetRootNode().SelectChildNodes(path.c_str(), cells);
        for (XMLNode& cell : cells)
            cell.RemoveThisNode(true);
        return;
    }
    for (auto& [id, column] : index->columns) {
        auto cell = column.cells.find(rowId);
        if (cell != column.cells.end()) {
            cell->second.RemoveThisNode(true);
            column.cells.erase(cell);
        }
    }
    Accept();
}

void CStringDocument::RemoveColumnProperties(const wchar_t* columnId) {
    if (!FitsXPathLiteral(columnId))
        return;

    Index* index = Current(columnId);
    if (!index) {
        XMLNode root = m_document.GetRootNode();
        root.RemoveChildNode((ColumnPath(columnId) + L"/" + N::ElemColumnwideValue).c_str());
        root.RemoveChildNode((ColumnPath(columnId) + L"/" + N::ElemTitle).c_str());
        return;
    }
    auto column = index->columns.find(columnId);
    if (column == index->columns.end())
        return;
    for (XMLNode* slot : {&column->second.columnwide, &column->second.title}) {
        if (slot->IsNode())
            slot->RemoveThisNode(true);
        *slot = XMLNode();
    }
    Accept();
}

} // namespace torvex

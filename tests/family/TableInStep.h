#pragma once
// The four things a structure edit keeps in step, checked without a test framework so that the
// fuzz targets can use it too: the order of the listed elements in the document, the id lists,
// the maps (each listed id reaches the object on that very element, and nothing else is mapped)
// and the value cache (it holds nothing for a row or column that is gone).
//
// Inserts and moves place by child index in the document and by the same index in the id list.
// While the Rows or Columns element holds only listed elements the two orders agree; once it
// holds anything else (a comment, an element without id, say one left by an insert whose id
// the document refused) they may drift apart, and then only the sets of ids are compared.

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"

#include <algorithm>
#include <string>
#include <vector>

namespace torvex::test {

/// The first disagreement found, described; empty when the table is in step.
inline std::string TableOutOfStep(const CEncapFamilyTable& table) {
    struct Kind {
        const wchar_t* parent;
        const wchar_t* path;
        const wchar_t* attribute;
        bool columns;
        const WideStringList& ids;
    };
    const Kind kinds[] = {
        {L"Columns/node()", L"Columns/Column", L"ColumnId", true, table.GetAllColumnIDs()},
        {L"Rows/node()", L"Rows/Row", L"RowId", false, table.GetAllRowIDs()}};
    for (const Kind& kind : kinds) {
        XMLNodeArray elements;
        table.GetXMLNode().SelectChildNodes(kind.path, elements);
        WideStringList listed;
        std::vector<XMLNode> nodes;
        for (const XMLNode& element : elements) {
            WideString id;
            if (element.GetProperty(kind.attribute, id)) {
                listed.push_back(id);
                nodes.push_back(element);
            }
        }
        XMLNodeArray children;
        table.GetXMLNode().SelectChildNodes(kind.parent, children);
        WideStringList ids = kind.ids;
        if (static_cast<size_t>(children.GetSize()) != listed.size()) {
            // Pair each id with its element before sorting, so that the map check below still
            // compares an id with its own element.
            std::vector<size_t> order(listed.size());
            for (size_t i = 0; i < order.size(); ++i)
                order[i] = i;
            std::stable_sort(order.begin(), order.end(),
                             [&](size_t a, size_t b) { return listed[a] < listed[b]; });
            WideStringList sortedListed;
            std::vector<XMLNode> sortedNodes;
            for (size_t i : order) {
                sortedListed.push_back(listed[i]);
                sortedNodes.push_back(nodes[i]);
            }
            listed.swap(sortedListed);
            nodes.swap(sortedNodes);
            std::sort(ids.begin(), ids.end());
        }
        if (listed != ids)
            return "element order and id list differ";
        for (size_t i = 0; i < listed.size(); ++i) {
            const XMLNode* node = nullptr;
            if (kind.columns) {
                const CEncapFamilyColumn* column = table.GetFamilyColumnByID(listed[i].c_str());
                node = column ? &column->GetXMLNode() : nullptr;
            } else {
                const CEncapFamilyRow* row = table.GetFamilyRowByID(listed[i].c_str());
                node = row ? &row->GetXMLNode() : nullptr;
            }
            if (!node || !node->IsSameNode(nodes[i]))
                return "the map doesn't reach the element of " + platform::ToUtf8(listed[i]);
        }
    }
    CEncapFamilyColumn::ColumnSet all;
    if (table.GetAllColumns(all).size() != table.GetColumnsCount())
        return "columns mapped but not listed";
    std::string problem;
    if (const CTableValueCache* cache = table.GetValueCache()) {
        cache->ForEachCachedKey(
            [&](const WideString& row, const WideString& column, const WideString&) {
                if (!problem.empty())
                    return;
                if (!table.GetFamilyRowByID(row.c_str()))
                    problem = "cached value of a row that is gone: " + platform::ToUtf8(row);
                else if (!table.GetFamilyColumnByID(column.c_str()))
                    problem = "cached value of a column that is gone: " + platform::ToUtf8(column);
            });
    }
    return problem;
}

} // namespace torvex::test

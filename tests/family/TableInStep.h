#pragma once
// The four things a structure edit keeps in step, checked without a test framework so that the
// fuzz targets can use it too: the order of the listed elements in the document, the id lists,
// the maps (each listed id reaches the object on that very element, and nothing else is mapped)
// and the value cache (it holds nothing for a row or column that is gone).

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"

#include <string>
#include <vector>

namespace torvex::test {

/// The first disagreement found, described; empty when the table is in step.
inline std::string TableOutOfStep(const CEncapFamilyTable& table) {
    struct Kind {
        const wchar_t* path;
        const wchar_t* attribute;
        bool columns;
        const WideStringList& ids;
    };
    const Kind kinds[] = {{L"Columns/Column", L"ColumnId", true, table.GetAllColumnIDs()},
                          {L"Rows/Row", L"RowId", false, table.GetAllRowIDs()}};
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
        if (listed != kind.ids)
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

#include "GraphFamilyGenerator.h"

#include <algorithm>

namespace torvex::bench {
namespace {

std::wstring Id(size_t index) {
    return L"c" + std::to_wstring(index);
}

void AppendFormulaColumn(std::wstring& xml, size_t index, const std::wstring& formula) {
    xml += L"      <Column ColumnId=\"" + Id(index) + L"\" Title=\"Column " +
           std::to_wstring(index) + L"\" ValueType=\"double\" UnitType=\"mm\" ColumnwideValue=\"" +
           formula + L"\"/>\n";
}

void AppendLiteralColumn(std::wstring& xml, size_t index) {
    xml += L"      <Column ColumnId=\"" + Id(index) + L"\" Title=\"Column " +
           std::to_wstring(index) + L"\" ValueType=\"double\" UnitType=\"mm\"/>\n";
}

std::wstring Ref(size_t index) {
    return L"{" + Id(index) + L"}";
}

} // namespace

const char* GraphShapeName(GraphShape shape) {
    switch (shape) {
    case GraphShape::Chain:
        return "chain";
    case GraphShape::FanOut:
        return "fan-out";
    case GraphShape::Diamond:
        return "diamond";
    case GraphShape::Cycle:
        return "cycle";
    }
    return "?";
}

bool ParseGraphShape(const std::string& name, GraphShape& shape) {
    for (GraphShape candidate :
         {GraphShape::Chain, GraphShape::FanOut, GraphShape::Diamond, GraphShape::Cycle}) {
        if (name == GraphShapeName(candidate)) {
            shape = candidate;
            return true;
        }
    }
    return false;
}

GraphFamily GenerateGraphFamily(GraphShape shape, size_t columns) {
    columns = std::max<size_t>(columns, 2);
    GraphFamily family;
    family.shape = shape;
    family.columns = columns;
    std::wstring& xml = family.familyXml;
    xml.reserve(columns * 120 + 1024);
    xml += L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Family DisplayName=\"Graph ";
    for (const char* c = GraphShapeName(shape); *c; ++c)
        xml += static_cast<wchar_t>(*c);
    xml += L" of " + std::to_wstring(columns) + L" columns\">\n  <FamilyTable>\n    <Columns>\n";

    // Columns from `literalsFrom` on hold a Cell "1" in the row.
    size_t literalsFrom = columns;
    switch (shape) {
    case GraphShape::Chain:
        for (size_t i = 0; i + 1 < columns; ++i)
            AppendFormulaColumn(xml, i, Ref(i + 1) + L"+1");
        literalsFrom = columns - 1;
        family.firstValue = std::to_wstring(columns);
        break;
    case GraphShape::FanOut:
        for (size_t i = 0; i + 1 < columns; ++i)
            AppendFormulaColumn(xml, i, Ref(columns - 1) + L"*2");
        literalsFrom = columns - 1;
        family.firstValue = L"2";
        break;
    case GraphShape::Diamond: {
        // Levels of kDiamondWidth columns; the last level, possibly narrower, holds the literals.
        const size_t width = std::min(kDiamondWidth, columns);
        literalsFrom = columns - width;
        for (size_t i = 0; i < literalsFrom; ++i) {
            const size_t level = i / width, column = i % width;
            const size_t next = (level + 1) * width;
            const size_t a = std::min(next + column, columns - 1);
            const size_t b = std::min(next + (column + 1) % width, columns - 1);
            AppendFormulaColumn(xml, i, L"(" + Ref(a) + L"+" + Ref(b) + L")/2");
        }
        family.firstValue = L"1";
        break;
    }
    case GraphShape::Cycle:
        for (size_t i = 0; i < columns; ++i)
            AppendFormulaColumn(xml, i, Ref((i + 1) % columns) + L"+1");
        break;
    }
    for (size_t i = literalsFrom; i < columns; ++i)
        AppendLiteralColumn(xml, i);
    xml += L"    </Columns>\n    <Rows>\n      <Row RowId=\"r1\">";
    for (size_t i = literalsFrom; i < columns; ++i)
        xml += L"<Cell ColumnId=\"" + Id(i) + L"\">1</Cell>";
    xml += L"</Row>\n    </Rows>\n  </FamilyTable>\n</Family>\n";
    return family;
}

} // namespace torvex::bench

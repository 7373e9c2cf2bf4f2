// The index of a string document against the lookups it stands for: random writes, reads and
// deletes applied both through the index and by the plain XPath forms must leave the same
// document and give the same answers, also when the host edits the document behind its back
// or gives it a shape the index can't hold.

#include "torvex/family/CStringDocument.h"

#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XMLParser.h"

#include <gtest/gtest.h>

#include <random>

namespace torvex::test {
namespace {

// The lookups and writes spelled out as XPath, as the string documents are addressed.
struct Reference {
    XMLParser document;

    WideString Column(const WideString& c) {
        return L"Table/ColumnStrings[@ColumnId=\"" + c + L"\"]";
    }
    WideString Cell(const WideString& r, const WideString& c) {
        return Column(c) + L"/Rows/CellString[@RowId=\"" + r + L"\"]";
    }
    long Get(const WideString& path, WideString& out) {
        XMLNode node;
        if (!document.GetRootNode().GetChildNode(path.c_str(), node))
            return 1;
        node.GetNodeText(out);
        return 0;
    }
    XMLNode Strings(const WideString& c) {
        XMLNode table = document.GetRootNode().GetOrAddNode(L"Table");
        XMLNode strings;
        if (!table.GetChildNode((L"ColumnStrings[@ColumnId=\"" + c + L"\"]").c_str(), strings))
            strings = table.AddNode(L"ColumnStrings", nullptr, L"ColumnId", c.c_str());
        return strings;
    }
    void SetCell(const WideString& r, const WideString& c, const WideString& v) {
        XMLNode rows = Strings(c).GetOrAddNode(L"Rows");
        XMLNode cell;
        const bool found = rows.GetChildNode((L"CellString[@RowId=\"" + r + L"\"]").c_str(), cell);
        if (!found && !v.empty())
            rows.AddNode(L"CellString", v.c_str(), L"RowId", r.c_str());
        else if (found && !v.empty())
            cell.SetNodeText(v);
        else if (found)
            cell.RemoveThisNode(true);
    }
    void SetProperty(const wchar_t* p, const WideString& c, const WideString& v) {
        XMLNode strings = Strings(c);
        if (v.empty())
            strings.RemoveChildNode(p);
        else
            strings.GetOrAddNode(p).SetNodeText(v);
    }
    void RemoveCell(const WideString& r, const WideString& c) {
        document.GetRootNode().RemoveChildNode(Cell(r, c).c_str());
    }
    void RemoveRow(const WideString& r) {
        XMLNodeArray cells;
        document.GetRootNode().SelectChildNodes(
            (L"Table/ColumnStrings/Rows/CellString[@RowId=\"" + r + L"\"]").c_str(), cells);
        for (XMLNode& cell : cells)
            cell.RemoveThisNode(true);
    }
    void RemoveProperties(const WideString& c) {
        document.GetRootNode().RemoveChildNode((Column(c) + L"/ColumnwideValue").c_str());
        document.GetRootNode().RemoveChildNode((Column(c) + L"/Title").c_str());
    }
};

XMLParser Parse(const wchar_t* text) {
    XMLParser document;
    document.SetXml(text);
    return document;
}

WideString Xml(const XMLParser& document) {
    WideString xml;
    document.GetXml(xml);
    return xml;
}

// Starting documents: empty, regular, and shapes the index can't hold (checked the same way).
const wchar_t* const kStarts[] = {
    L"<S xml:lang='en'/>",
    L"<S><Table><ColumnStrings ColumnId='a'><Title>A</Title><Rows><CellString RowId='1'>x"
    L"</CellString></Rows></ColumnStrings><ColumnStrings/></Table></S>",
    L"<S><Table><ColumnStrings ColumnId='a'/></Table><Table><ColumnStrings ColumnId='b'>"
    L"<Rows><CellString RowId='1'>y</CellString></Rows></ColumnStrings></Table></S>",
    L"<S><Table><ColumnStrings ColumnId='a'><Rows><CellString RowId='1'>first</CellString>"
    L"<CellString RowId='1'>second</CellString></Rows></ColumnStrings>"
    L"<ColumnStrings ColumnId='a'><Title>T1</Title></ColumnStrings></Table></S>",
};

TEST(StringDocumentIndex, AgreesWithTheXPathFormsUnderRandomEdits) {
    const WideString rows[] = {L"1", L"2", L"3", L"q\"uote"};
    const WideString columns[] = {L"a", L"b", L"A", L"c"};
    const WideString values[] = {L"", L"v", L"w", L"long text"};
    const wchar_t* properties[] = {L"Title", L"ColumnwideValue"};
    std::mt19937 random(2026);
    for (const wchar_t* start : kStarts) {
        Reference reference{Parse(start)};
        XMLParser indexed = Parse(start);
        CStringDocument strings(indexed);
        for (int step = 0; step < 600; ++step) {
            const WideString& r = rows[random() % 4];
            const WideString& c = columns[random() % 4];
            const WideString& v = values[random() % 4];
            const wchar_t* p = properties[random() % 2];
            switch (random() % 9) {
            case 0:
            case 1:
                strings.SetCellText(r.c_str(), c.c_str(), v.c_str());
                reference.SetCell(r, c, v);
                break;
            case 2:
                strings.SetColumnProperty(p, c.c_str(), v.c_str());
                reference.SetProperty(p, c, v);
                break;
            case 3:
                strings.RemoveCell(r.c_str(), c.c_str());
                reference.RemoveCell(r, c);
                break;
            case 4:
                strings.RemoveRowCells(r.c_str());
                reference.RemoveRow(r);
                break;
            case 5:
                strings.RemoveColumnProperties(c.c_str());
                reference.RemoveProperties(c);
                break;
            case 6: {
                // The host edits both documents behind the index's back.
                for (XMLParser* document : {&reference.document, &indexed}) {
                    XMLNodeArray cells;
                    document->GetRootNode().SelectChildNodes(L"Table/ColumnStrings/Rows/*", cells);
                    if (!cells.IsEmpty())
                        cells[0].RemoveThisNode(true);
                    else
                        document->GetRootNode().GetOrAddNode(L"Table").AddNode(
                            L"ColumnStrings", nullptr, L"ColumnId", c.c_str());
                }
                break;
            }
            default: {
                WideString expected = L"untouched", actual = L"untouched";
                EXPECT_EQ(strings.GetCellText(r.c_str(), c.c_str(), actual),
                          reference.Get(reference.Cell(r, c), expected));
                EXPECT_EQ(actual, expected);
                expected = actual = L"untouched";
                EXPECT_EQ(strings.GetColumnProperty(p, c.c_str(), actual),
                          reference.Get(reference.Column(c) + L"/" + p, expected));
                EXPECT_EQ(actual, expected);
            }
            }
            ASSERT_EQ(Xml(indexed), Xml(reference.document))
                << "step " << step << " from " << start;
        }
    }
}

TEST(StringDocumentIndex, ReadsSeeTheDocumentAsItIsNow) {
    XMLParser document = Parse(L"<S><Table><ColumnStrings ColumnId='a'><Rows>"
                               L"<CellString RowId='1'>x</CellString></Rows></ColumnStrings>"
                               L"</Table></S>");
    CStringDocument strings(document);
    WideString text;
    ASSERT_EQ(strings.GetCellText(L"1", L"a", text), 0);
    // A text changed through another handle reads back at once; an element added too.
    XMLNode rows;
    document.GetRootNode().GetChildNode(L"Table/ColumnStrings/Rows", rows);
    XMLNode cell;
    rows.GetChildNode(L"CellString", cell);
    cell.SetNodeText(L"changed");
    rows.AddNode(L"CellString", L"new", L"RowId", L"2");
    EXPECT_EQ(strings.GetCellText(L"1", L"a", text), 0);
    EXPECT_EQ(text, L"changed");
    EXPECT_EQ(strings.GetCellText(L"2", L"a", text), 0);
    EXPECT_EQ(text, L"new");
    // Ids compare exactly.
    EXPECT_EQ(strings.GetCellText(L"2", L"A", text), 1);
    EXPECT_EQ(strings.GetCellText(nullptr, L"a", text), 1);
}

} // namespace
} // namespace torvex::test

// The example catalogue evaluated through the reference host: every cell of every family
// evaluates, and each formula column equals the value computed here from the row's literals.

#include "host/CMaterialTable.h"
#include "host/CUnitsEvaluatorProvider.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/NumberText.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLParser.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace torvex {
namespace {

WideString ReadExample(const std::string& relative) {
    std::string bytes;
    EXPECT_TRUE(
        platform::ReadFileBytes(platform::FromUtf8(TORVEX_EXAMPLES_DIR "/" + relative), bytes))
        << relative;
    return platform::FromUtf8(bytes);
}

std::unique_ptr<CEncapFamily> OpenExample(const std::string& folder) {
    auto materials = std::make_shared<CMaterialTable>();
    materials->LoadFile(platform::FromUtf8(TORVEX_EXAMPLES_DIR "/materials.tsv"));
    const WideString family = ReadExample(folder + "/Family.xml");
    const WideStringList strings{ReadExample(folder + "/FamilyStrings.EN-US.xml"),
                                 ReadExample(folder + "/FamilyStrings.DE-DE.xml")};
    return std::make_unique<CEncapFamily>(family.c_str(), strings, nullptr,
                                          new CUnitsEvaluatorProvider(materials), false);
}

// A cell's value; the test fails when the cell does not evaluate cleanly.
WideString Value(CEncapFamilyTable& table, const WideString& row, const wchar_t* column) {
    WideString value;
    EXPECT_EQ(table.GetValue(row.c_str(), column, value), CTableEvaluator::EvalOk)
        << column << " of row " << platform::ToUtf8(row);
    return value;
}

double Number(CEncapFamilyTable& table, const WideString& row, const wchar_t* column) {
    return platform::ParseLeadingDouble(Value(table, row, column).c_str());
}

// A column's values against a rule computed in the test from the same row.
struct NumericRule {
    const wchar_t* column;
    std::function<double(CEncapFamilyTable&, const WideString&)> expected;
};
struct TextRule {
    const wchar_t* column;
    std::function<WideString(CEncapFamilyTable&, const WideString&)> expected;
};

void CheckFamily(const std::string& folder, unsigned rows, const std::vector<NumericRule>& numeric,
                 const std::vector<TextRule>& texts) {
    SCOPED_TRACE(folder);
    auto family = OpenExample(folder);
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    ASSERT_NE(table, nullptr);
    ASSERT_EQ(table->GetRowsCount(), rows);
    // Every cell evaluates, with no unit fall-back.
    for (const WideString& row : table->GetAllRowIDs())
        for (const WideString& column : table->GetAllColumnIDs())
            Value(*table, row, column.c_str());
    for (const WideString& row : table->GetAllRowIDs()) {
        for (const NumericRule& rule : numeric)
            EXPECT_NEAR(Number(*table, row, rule.column), rule.expected(*table, row), 1e-6)
                << platform::ToUtf8(rule.column);
        for (const TextRule& rule : texts)
            EXPECT_EQ(Value(*table, row, rule.column), rule.expected(*table, row));
    }
}

// The row's own Cell, when it has one, overrides the column formula.
std::function<double(CEncapFamilyTable&, const WideString&)>
UnlessOverridden(const wchar_t* column, double (*formula)(CEncapFamilyTable&, const WideString&)) {
    return [column, formula](CEncapFamilyTable& table, const WideString& row) {
        const CEncapFamilyRow* familyRow = table.GetFamilyRowByID(row.c_str());
        if (familyRow && familyRow->HasRawValue(column))
            return Number(table, row, column);
        return formula(table, row);
    };
}

TEST(ExampleFamilies, SocketHeadCapScrews) {
    auto d = [](CEncapFamilyTable& t, const WideString& r) { return Number(t, r, L"d"); };
    auto l = [](CEncapFamilyTable& t, const WideString& r) { return Number(t, r, L"l"); };
    CheckFamily(
        "iso4762", 17,
        {{L"dk", UnlessOverridden(L"dk",
                                  [](CEncapFamilyTable& t, const WideString& r) {
                                      return Number(t, r, L"d") * 1.5 + 1;
                                  })},
         {L"k", d},
         {L"b", [&](auto& t, auto& r) { return 2 * d(t, r) + 12; }},
         {L"L_TOTAL", [&](auto& t, auto& r) { return l(t, r) + Number(t, r, L"k"); }}},
        {{L"DESIGNATION",
          [](auto& t, auto& r) { return L"M" + Value(t, r, L"d") + L"x" + Value(t, r, L"l"); }},
         {L"FILENAME", [](auto& t, auto& r) {
              return L"ISO 4762 M" + Value(t, r, L"d") + L"x" + Value(t, r, L"l");
          }}});
}

TEST(ExampleFamilies, HexNuts) {
    CheckFamily("iso4032", 7,
                {{L"THREAD_TURNS",
                  [](auto& t, auto& r) { return Number(t, r, L"m") / Number(t, r, L"P"); }},
                 {L"ROTATION", [](auto&, auto&) { return 30.0; }}},
                {{L"DESIGNATION", [](auto& t, auto& r) { return L"M" + Value(t, r, L"d"); }}});
}

TEST(ExampleFamilies, PlainWashers) {
    CheckFamily("iso7089", 7,
                {{L"WIDTH",
                  [](auto& t, auto& r) { return (Number(t, r, L"d2") - Number(t, r, L"d1")) / 2; }},
                 {L"HARDNESS", [](auto&, auto&) { return 200.0; }}},
                {{L"DESIGNATION", [](auto& t, auto& r) {
                      return L"ISO 7089 - " + Value(t, r, L"d") + L" - 200 HV";
                  }}});
}

// Results keep 8 significant digits: the host's value of m/P is formatted, not rounded away.
TEST(ExampleFamilies, QuotientsKeepEightDigits) {
    auto family = OpenExample("iso4032");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    for (const WideString& row : table->GetAllRowIDs()) {
        const double expected = Number(*table, row, L"m") / Number(*table, row, L"P");
        EXPECT_EQ(Value(*table, row, L"THREAD_TURNS"), platform::FormatGeneral(expected, 8));
    }
}

} // namespace
} // namespace torvex

namespace torvex {
namespace {

// The evaluated export of each example family, parsed back, holds in every cell what a reader of
// the table gets from GetValue (a fresh family each, so neither reads the other's cache).
TEST(ExampleFamilies, EvaluatedExportHoldsTheTableValues) {
    for (const char* folder : {"iso4762", "iso4032", "iso7089"}) {
        SCOPED_TRACE(folder);
        WideString xml;
        ASSERT_TRUE(OpenExample(folder)->GetEncapFamilyTable()->GetEvaluatedXml(xml));
        XMLParser exported;
        ASSERT_TRUE(exported.SetXml(xml.c_str()));
        auto family = OpenExample(folder);
        CEncapFamilyTable& table = *family->GetEncapFamilyTable();
        size_t cells = 0;
        for (const WideString& row : table.GetAllRowIDs()) {
            for (const WideString& column : table.GetAllColumnIDs()) {
                XMLNode cell;
                ASSERT_TRUE(exported.GetRootNode().GetChildNode(
                    (L"Rows/Row[@RowId='" + row + L"']/Cell[@ColumnId='" + column + L"']").c_str(),
                    cell));
                WideString text;
                cell.GetNodeText(text);
                EXPECT_EQ(text, Value(table, row, column.c_str()));
                ++cells;
            }
        }
        EXPECT_EQ(cells, table.GetRowsCount() * table.GetColumnsCount());
    }
}

} // namespace
} // namespace torvex

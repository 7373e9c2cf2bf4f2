// Values typed into columns of each kind of quantity, checked through the reference host: an
// expression comes back as the number in the column's unit. The library hands the host the
// internal value as six-digit text named "cm" whatever the kind, which the host reads as the
// internal unit of the column's kind.

#include "host/CHostStatus.h"
#include "host/CUnitsEvaluatorProvider.h"

#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <tuple>

namespace torvex {
namespace {

TEST(HostValueCheck, ExpressionsInColumnsOfEveryKind) {
    const wchar_t* xml = L"<F><FamilyTable><Columns>"
                         L"<Column ColumnId=\"len\" ValueType=\"double\" UnitType=\"mm\"/>"
                         L"<Column ColumnId=\"ang\" ValueType=\"double\" UnitType=\"deg\"/>"
                         L"<Column ColumnId=\"mass\" ValueType=\"double\" UnitType=\"g\"/>"
                         L"<Column ColumnId=\"temp\" ValueType=\"double\" UnitType=\"degC\"/>"
                         L"<Column ColumnId=\"pct\" ValueType=\"double\" UnitType=\"%\"/>"
                         L"<Column ColumnId=\"num\" ValueType=\"integer\" UnitType=\"ul\"/>"
                         L"</Columns><Rows><Row RowId=\"r\"/></Rows></FamilyTable></F>";
    CEncapFamily family(xml, {}, nullptr, new CUnitsEvaluatorProvider(), false);
    CEncapFamilyTable& table = *family.GetEncapFamilyTable();
    const std::tuple<const wchar_t*, const wchar_t*, bool, const wchar_t*> cases[] = {
        {L"len", L"1+1", true, L"2"},
        {L"len", L"1in", true, L"25.4"},
        {L"len", L"1/3", true, L"0.333333"},
        {L"ang", L"1+1", true, L"2.0000009"},     // 0.0349066 rad
        {L"ang", L"30deg/2", true, L"14.999978"}, // 0.261799 rad: six digits survive
        {L"ang", L"pi*1rad", true, L"179.99985"},
        {L"mass", L"1+1", true, L"2"},
        {L"mass", L"1kg/4", true, L"250"},
        {L"temp", L"20+1", true, L"21"},
        {L"pct", L"25+25", true, L"50"},
        {L"num", L"6/2", true, L"3"},
        {L"num", L"7/2", false, L"3.5"},
        {L"ang", L"1mm", false, L"1mm"},
        {L"len", L"2kg", false, L"2kg"},
    };
    for (const auto& [column, input, valid, rewritten] : cases) {
        WideString value = input;
        EXPECT_EQ(table.IsCellValueValid(L"r", column, value), valid)
            << platform::ToUtf8(column) << " " << platform::ToUtf8(input);
        EXPECT_EQ(value, rewritten) << platform::ToUtf8(column) << " " << platform::ToUtf8(input);
    }
}

// "cm" beside a unit of another kind is that kind's internal unit; beside a length it is the
// centimetre, and beside a plain kind the number one.
TEST(HostValueCheck, CentimetreStandsForTheInternalUnit) {
    const std::tuple<const wchar_t*, const wchar_t*, double> cases[] = {
        {L"2", L"mm", 20.0},       {L"1", L"kg", 1.0}, {L"1000", L"g", 1e6}, {L"3", L"rad", 3.0},
        {L"273.15", L"degC", 0.0}, {L"2", L"ul", 2.0}, {L"0.5", L"%", 50.0},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& [text, to, expected] : cases) {
        double value = 0.0;
        EXPECT_EQ(provider.ConvertUnits(text, L"cm", to, &value), CHostStatus::kOk)
            << platform::ToUtf8(to);
        EXPECT_NEAR(value, expected, 1e-9) << platform::ToUtf8(to);
    }
    double value = 42.0;
    EXPECT_EQ(provider.ConvertUnits(L"1", L"mm", L"kg", &value), CHostStatus::kUnitMismatch);
}

} // namespace
} // namespace torvex

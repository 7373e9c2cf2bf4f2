// Units: internal units, conversions, and the agreement of EvaluateToDouble, GetInternalUnit and
// ConvertUnits that the library relies on.

#include "HostTestSupport.h"

#include "torvex/platform/NumberText.h"

#include <gtest/gtest.h>

#include <numbers>
#include <tuple>

namespace torvex {
namespace {

using hosttest::Convert;
using hosttest::Evaluate;
using hosttest::Narrow;
using hosttest::Near;

// Each kind's internal unit is built of cm, kg, s, rad and K; an internal unit is its own, and
// converts to itself unchanged; malformed or unknown unit texts fail and leave the output alone.
TEST(HostUnits, InternalUnitOfEachKind) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"mm", L"cm"},          {L"in", L"cm"},
        {L" mm ", L"cm"},        {L"\u00B5m", L"cm"},
        {L"deg", L"rad"},        {L"\u00B0", L"rad"},
        {L"g", L"kg"},           {L"min", L"s"},
        {L"N", L"cm.kg.s-2"},    {L"Nm", L"cm2.kg.s-2"},
        {L"N.m", L"cm2.kg.s-2"}, {L"N*mm", L"cm2.kg.s-2"},
        {L"mm^3", L"cm3"},       {L"m/s", L"cm.s-1"},
        {L"kg/m3", L"cm-3.kg"},  {L"MPa", L"cm-1.kg.s-2"},
        {L"rpm", L"s-1.rad"},    {L"degC", L"K"},
        {L"ul", L"ul"},          {L"", L"ul"},
        {L"%", L"ul"},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& [unit, expected] : cases) {
        WideString internal = L"unchanged";
        EXPECT_EQ(provider.GetInternalUnit(unit, &internal), 0) << Narrow(unit);
        EXPECT_EQ(internal, expected) << Narrow(unit);
        WideString again;
        EXPECT_EQ(provider.GetInternalUnit(internal.c_str(), &again), 0) << Narrow(internal);
        EXPECT_EQ(again, internal);
        auto same = Convert(provider, L"2.5", internal.c_str(), internal.c_str());
        EXPECT_EQ(same.status, 0);
        EXPECT_TRUE(Near(same.value, 2.5)) << Narrow(internal);
    }
    std::vector<std::wstring> malformed = {
        L"foo", L"mm)", L"(mm)",  L"m//s",   L"m.",           L".m",         L"m^",
        L"m^x", L"mm%", L"%m",    L"m m",    L"dB",           L"m-",         L"m2x",
        L"1",   L"2mm", L"m1234", L"\uFFFF", L"\u00B0\u00B0", L"lg(re 1 mW)"};
    malformed.push_back(std::wstring(140, L'm'));
    for (const std::wstring& unit : malformed) {
        WideString internal = L"unchanged";
        EXPECT_EQ(provider.GetInternalUnit(unit.c_str(), &internal), CHostStatus::kUnknownUnit)
            << Narrow(unit);
        EXPECT_EQ(internal, L"unchanged");
    }
    EXPECT_EQ(provider.GetInternalUnit(nullptr, nullptr), CHostStatus::kNullArgument);
}

// Conversions between units of one kind, offsets of temperatures included; "ul" is the number
// one beside a plain kind and no conversion beside any other.
TEST(HostUnits, ConvertsBetweenUnitsOfOneKind) {
    using Case = std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, double>;
    const Case cases[] = {
        {L"1", L"in", L"mm", 25.4},
        {L"1e-05", L"m", L"mm", 0.01},
        {L" -2 ", L"ft", L"in", -24},
        {L"1.5708", L"rad", L"deg", 1.5708 / std::numbers::pi * 180},
        {L"1", L"Nm", L"N.mm", 1000},
        {L"293.15", L"K", L"degC", 20},
        {L"212", L"degF", L"degC", 100},
        {L"10", L"N/mm2", L"MPa", 10},
        {L"3", L"ul", L"mm", 3},
        {L"3", L"mm", L"ul", 3},
        {L"3", L"", L"deg", 3},
        {L"0.5", L"ul", L"%", 50},
        {L"50", L"%", L"ul", 0.5},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& [text, from, to, expected] : cases) {
        auto result = Convert(provider, text, from, to);
        EXPECT_EQ(result.status, 0) << Narrow(text) << " " << Narrow(from) << "->" << Narrow(to);
        EXPECT_TRUE(Near(result.value, expected)) << Narrow(text) << " " << Narrow(from) << "->"
                                                  << Narrow(to) << " gave " << result.value;
    }
    provider.SetDecimalSeparator(L',');
    auto result = Convert(provider, L"2,5", L"cm", L"mm");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Near(result.value, 25)) << "the family's decimal separator";
}

// A conversion fails for other kinds, unknown units, text that is no plain number, a result
// that is no finite number, and null arguments; the value is left alone.
TEST(HostUnits, ConversionFailures) {
    using Case = std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, int32_t>;
    const Case cases[] = {
        {L"1", L"mm", L"kg", CHostStatus::kUnitMismatch},
        {L"1", L"deg", L"%", CHostStatus::kUnitMismatch},
        {L"1", L"foo", L"mm", CHostStatus::kUnknownUnit},
        {L"1", L"mm", L"mm)", CHostStatus::kUnknownUnit},
        {L"1mm", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"inf", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"1+1", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"2,5", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"1e308", L"m", L"mm", CHostStatus::kNotFinite},
        {nullptr, L"mm", L"cm", CHostStatus::kNullArgument},
        {L"1", nullptr, L"cm", CHostStatus::kNullArgument},
        {L"1", L"mm", nullptr, CHostStatus::kNullArgument},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& [text, from, to, status] : cases) {
        double value = 42.0;
        EXPECT_EQ(provider.ConvertUnits(text, from, to, &value), status)
            << Narrow(text ? text : L"(null)") << " " << Narrow(from ? from : L"(null)");
        EXPECT_EQ(value, 42.0);
    }
    EXPECT_EQ(provider.ConvertUnits(L"1", L"mm", L"cm", nullptr), CHostStatus::kNullArgument);
}

// The library's round trips: a cell's value is EvaluateToDouble in the internal unit, then
// ConvertUnits("%g" text, internal unit, column unit); ExpressionValueInUnit divides the value
// by that of "1.0" in the unit. Both must give the number back in the column's unit.
TEST(HostUnits, EvaluationAndConversionAgree) {
    const wchar_t* units[] = {L"mm", L"cm", L"in",  L"ft", L"deg", L"rad", L"kg",  L"g",    L"N",
                              L"Nm", L"s",  L"min", L"%",  L"mm2", L"MPa", L"rpm", L"degC", L"ul"};
    CUnitsEvaluatorProvider provider;
    for (const wchar_t* unit : units) {
        auto value = Evaluate(provider, L"2.5", unit);
        auto scale = Evaluate(provider, L"1.0", unit);
        ASSERT_EQ(value.status, 0) << Narrow(unit);
        ASSERT_EQ(scale.status, 0) << Narrow(unit);
        if (std::wstring(unit) != L"degC") { // an origin makes the ratio meaningless
            EXPECT_TRUE(Near(value.value / scale.value, 2.5)) << Narrow(unit);
        }
        WideString internal;
        ASSERT_EQ(provider.GetInternalUnit(unit, &internal), 0) << Narrow(unit);
        std::wstring text = platform::FormatGeneral(value.value, 15);
        auto back = Convert(provider, text.c_str(), internal.c_str(), unit);
        EXPECT_EQ(back.status, 0) << Narrow(unit);
        EXPECT_TRUE(Near(back.value, 2.5)) << Narrow(unit) << " gave " << back.value;
    }
    EXPECT_TRUE(Near(
        Evaluate(provider, L"3in", L"mm").value / Evaluate(provider, L"1.0", L"mm").value, 76.2));
}

} // namespace
} // namespace torvex

// Units: internal units, conversions, and the agreement of EvaluateToDouble, GetInternalUnit and
// ConvertUnits that the library relies on.

#include "HostTestSupport.h"

#include "torvex/platform/NumberText.h"

#include <gtest/gtest.h>

#include <numbers>

namespace torvex {
namespace {

using hosttest::Convert;
using hosttest::Evaluate;
using hosttest::Narrow;
using hosttest::Near;

TEST(HostUnits, InternalUnitOfEachKind) {
    const struct {
        const wchar_t* unit;
        const wchar_t* internal;
    } cases[] = {
        {L"mm", L"cm"},
        {L"in", L"cm"},
        {L"m", L"cm"},
        {L" mm ", L"cm"},
        {L"\u00B5m", L"cm"},
        {L"deg", L"rad"},
        {L"rad", L"rad"},
        {L"\u00B0", L"rad"},
        {L"kg", L"kg"},
        {L"g", L"kg"},
        {L"s", L"s"},
        {L"min", L"s"},
        {L"N", L"cm.kg.s-2"},
        {L"Nm", L"cm2.kg.s-2"},
        {L"N.m", L"cm2.kg.s-2"},
        {L"N*mm", L"cm2.kg.s-2"},
        {L"mm2", L"cm2"},
        {L"mm^3", L"cm3"},
        {L"m/s", L"cm.s-1"},
        {L"kg/m3", L"cm-3.kg"},
        {L"N/mm2", L"cm-1.kg.s-2"},
        {L"MPa", L"cm-1.kg.s-2"},
        {L"rpm", L"s-1.rad"},
        {L"degC", L"K"},
        {L"ul", L"ul"},
        {L"", L"ul"},
        {L"%", L"ul"},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& c : cases) {
        WideString internal = L"unchanged";
        EXPECT_EQ(provider.GetInternalUnit(c.unit, &internal), 0) << Narrow(c.unit);
        EXPECT_EQ(internal, c.internal) << Narrow(c.unit);
        // An internal unit is its own internal unit, and converts to itself unchanged.
        WideString again;
        EXPECT_EQ(provider.GetInternalUnit(internal.c_str(), &again), 0) << Narrow(internal);
        EXPECT_EQ(again, internal);
        auto same = Convert(provider, L"2.5", internal.c_str(), internal.c_str());
        EXPECT_EQ(same.status, 0);
        EXPECT_TRUE(Near(same.value, 2.5)) << Narrow(internal);
    }
}

TEST(HostUnits, MalformedOrUnknownUnitsFail) {
    const wchar_t* units[] = {
        L"foo",
        L"mm)",
        L"(mm)",
        L"m//s",
        L"m.",
        L".m",
        L"m^",
        L"m^x",
        L"mm%",
        L"%m",
        L"m m",
        L"dB",
        L"lg(re 1 mW)",
        L"m-",
        L"m2x",
        L"m1234",
        L"\u00B0\u00B0",
        L"1",
        L"2mm",
        L"\uFFFF",
        L"mmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmm"
        L"mmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmm",
    };
    CUnitsEvaluatorProvider provider;
    for (const wchar_t* unit : units) {
        WideString internal = L"unchanged";
        EXPECT_EQ(provider.GetInternalUnit(unit, &internal), CHostStatus::kUnknownUnit)
            << Narrow(unit);
        EXPECT_EQ(internal, L"unchanged");
    }
    EXPECT_EQ(provider.GetInternalUnit(nullptr, nullptr), CHostStatus::kNullArgument);
}

TEST(HostUnits, ConvertsBetweenUnitsOfOneKind) {
    const struct {
        const wchar_t* text;
        const wchar_t* from;
        const wchar_t* to;
        double expected;
    } cases[] = {
        {L"1", L"in", L"mm", 25.4},
        {L"25.4", L"mm", L"in", 1},
        {L"0.6", L"cm", L"mm", 6},
        {L"1e-05", L"m", L"mm", 0.01},
        {L" -2 ", L"ft", L"in", -24},
        {L"1.5708", L"rad", L"deg", 1.5708 / std::numbers::pi * 180},
        {L"1", L"Nm", L"N.mm", 1000},
        {L"1", L"kg", L"g", 1000},
        {L"20", L"degC", L"K", 293.15},
        {L"293.15", L"K", L"degC", 20},
        {L"212", L"degF", L"degC", 100},
        {L"10", L"N/mm2", L"MPa", 10},
        // "ul" is the number one beside a plain kind, and no conversion beside any other.
        {L"3", L"ul", L"mm", 3},
        {L"3", L"mm", L"ul", 3},
        {L"3", L"", L"deg", 3},
        {L"3", L"ul", L"ul", 3},
        {L"0.5", L"ul", L"%", 50},
        {L"50", L"%", L"ul", 0.5},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& c : cases) {
        auto result = Convert(provider, c.text, c.from, c.to);
        EXPECT_EQ(result.status, 0)
            << Narrow(c.text) << " " << Narrow(c.from) << "->" << Narrow(c.to);
        EXPECT_TRUE(Near(result.value, c.expected))
            << Narrow(c.text) << " " << Narrow(c.from) << "->" << Narrow(c.to) << " gave "
            << result.value;
    }
}

TEST(HostUnits, ConversionFailures) {
    const struct {
        const wchar_t* text;
        const wchar_t* from;
        const wchar_t* to;
        int32_t status;
    } cases[] = {
        {L"1", L"mm", L"kg", CHostStatus::kUnitMismatch},
        {L"1", L"deg", L"%", CHostStatus::kUnitMismatch},
        {L"1", L"foo", L"mm", CHostStatus::kUnknownUnit},
        {L"1", L"mm", L"mm)", CHostStatus::kUnknownUnit},
        {L"abc", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"1mm", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"inf", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"1+1", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"2,5", L"mm", L"cm", CHostStatus::kSyntaxError},
        {L"1e308", L"m", L"mm", CHostStatus::kNotFinite},
    };
    CUnitsEvaluatorProvider provider;
    for (const auto& c : cases) {
        double value = 42.0;
        EXPECT_EQ(provider.ConvertUnits(c.text, c.from, c.to, &value), c.status)
            << Narrow(c.text) << " " << Narrow(c.from) << "->" << Narrow(c.to);
        EXPECT_EQ(value, 42.0);
    }
    double value = 0;
    EXPECT_EQ(provider.ConvertUnits(nullptr, L"mm", L"cm", &value), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.ConvertUnits(L"1", nullptr, L"cm", &value), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.ConvertUnits(L"1", L"mm", nullptr, &value), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.ConvertUnits(L"1", L"mm", L"cm", nullptr), CHostStatus::kNullArgument);
}

TEST(HostUnits, ConvertReadsTheFamilysDecimalSeparator) {
    CUnitsEvaluatorProvider provider;
    provider.SetDecimalSeparator(L',');
    auto result = Convert(provider, L"2,5", L"cm", L"mm");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Near(result.value, 25));
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
    // The same with a number carrying its own unit.
    auto inches = Evaluate(provider, L"3in", L"mm");
    auto millimetre = Evaluate(provider, L"1.0", L"mm");
    EXPECT_TRUE(Near(inches.value / millimetre.value, 76.2));
}

} // namespace
} // namespace torvex

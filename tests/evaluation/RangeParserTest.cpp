// Range texts "[min;max;step;default]": shape, parts, validity and the value handed out.

#include "torvex/evaluation/CRangeParser.h"

#include <gtest/gtest.h>

using namespace torvex;

namespace {

TEST(RangeParser, IsRange) {
    struct Case {
        const wchar_t* text;
        bool range;
    };
    const Case cases[] = {
        {L"[1;10;1;5]", true},   {L"[1;10;;]", true},
        {L"[;;;]", true},        {L"[1;2;3;4;5]", true},
        {L"[{a};10;1;5]", true}, {L"[1;a;1;5]", true},
        {L"1;10;1;5", false},    {L"[1;10;1]", false},
        {L"[1;10;1;5]x", false}, {L"x[1;10;1;5]", false},
        {L"[1;10;1;5", false},   {L"[1;10];1;5]", false},
        {L"[1;10;1;5]]", false}, {L"", false},
        {L"[]", false},          {L"[;;]", false},
        {L"]", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CRangeParser::IsRange(c.text), c.range) << c.text;
}

TEST(RangeParser, Parts) {
    struct Case {
        const wchar_t* text;
        const wchar_t* min;
        const wchar_t* max;
        const wchar_t* step;
        const wchar_t* def;
        bool valid;
        const wchar_t* value; // GetStrValue with '.'
    };
    const Case cases[] = {
        {L"[1;10;1;5]", L"1", L"10", L"1", L"5", true, L"5"},
        {L"[1;10;1;]", L"1", L"10", L"1", L"", true, L"1"},
        {L"[ 1 ; 10 ; ; 5 ]", L"1", L"10", L"", L"5", true, L"5"},
        {L"[\t1\r\n;10;1; ]", L"1", L"10", L"1", L"", true, L"1"},
        {L"[;;;]", L"", L"", L"", L"", true, L""},
        {L"[1;2;3;4;5]", L"1", L"2", L"3", L"4;5", true, L"4;5"},
        {L"[{a};10;1;5]", L"{a}", L"10", L"1", L"5", false, L""},
        {L"[1;a;1;5]", L"1", L"a", L"1", L"5", false, L""},
        {L"[1;10;{s};{d}]", L"1", L"10", L"{s}", L"{d}", true, L"{d}"},
        {L"[1,5;10;1;]", L"1,5", L"10", L"1", L"", true, L"1.5"},
        {L"x[1;10;1;5]y", L"1", L"10", L"1", L"5", true, L"5"}, // only IsRange objects
        {L"[1;10;1]", L"", L"", L"", L"", false, L""},
        {L"[1;10];1;5", L"", L"", L"", L"", false, L""},
        {L"1;10;1;5]", L"", L"", L"", L"", false, L""},
        {L"", L"", L"", L"", L"", false, L""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "text: " << c.text);
        CRangeParser parser(c.text);
        EXPECT_EQ(parser.getMin(), c.min);
        EXPECT_EQ(parser.getMax(), c.max);
        EXPECT_EQ(parser.getStep(), c.step);
        EXPECT_EQ(parser.getDefault(), c.def);
        EXPECT_EQ(parser.hasMin(), *c.min != 0);
        EXPECT_EQ(parser.hasMax(), *c.max != 0);
        EXPECT_EQ(parser.hasStep(), *c.step != 0);
        EXPECT_EQ(parser.hasDefault(), *c.def != 0);
        WideString value = L"stale";
        EXPECT_EQ(parser.GetStrValue(value, L'.'), c.valid);
        EXPECT_EQ(value, c.value);
    }
}

TEST(RangeParser, StrValueSeparator) {
    struct Case {
        const wchar_t* text;
        wchar_t separator;
        const wchar_t* value;
    };
    const Case cases[] = {
        {L"[1,5;10;1;]", L'.', L"1.5"},  {L"[1.5;10;1;]", L',', L"1,5"},
        {L"[1.5;10;1;]", L'.', L"1.5"},  {L"[1,5;10;1;]", L';', L"1,5"},
        {L"[1;10;1;2.5]", L',', L"2,5"},
    };
    for (const Case& c : cases) {
        WideString value;
        EXPECT_TRUE(CRangeParser(c.text).GetStrValue(value, c.separator));
        EXPECT_EQ(value, c.value) << c.text << " " << static_cast<char>(c.separator);
    }
}

TEST(RangeParser, NullTextAndCopies) {
    CRangeParser none(nullptr);
    WideString value;
    EXPECT_FALSE(none.GetStrValue(value, L'.'));
    CRangeParser parsed(L"[2;4;1;3]");
    CRangeParser copy = parsed;
    parsed = none;
    EXPECT_TRUE(copy.GetStrValue(value, L'.'));
    EXPECT_EQ(value, L"3");
    EXPECT_FALSE(parsed.hasMin());
}

} // namespace

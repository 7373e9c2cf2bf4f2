// Range texts "[min;max;step;default]": shape, parts, validity and the value handed out.

#include "torvex/evaluation/CRangeParser.h"

#include <gtest/gtest.h>

using namespace torvex;

namespace {

// A range is the whole text in brackets with at least four parts; extra parts go to the default.
TEST(RangeParser, IsRange) {
    const wchar_t* ranges[] = {L"[1;10;1;5]",  L"[1;10;;]",     L"[;;;]",
                               L"[1;2;3;4;5]", L"[{a};10;1;5]", L"[1;a;1;5]"};
    const wchar_t* others[] = {
        L"1;10;1;5",    L"[1;10;1]", L"[1;10;1;5]x", L"x[1;10;1;5]", L"[1;10;1;5", L"[1;10];1;5]",
        L"[1;10;1;5]]", L"",         L"[]",          L"[;;]",        L"]"};
    for (const wchar_t* text : ranges)
        EXPECT_TRUE(CRangeParser::IsRange(text)) << text;
    for (const wchar_t* text : others)
        EXPECT_FALSE(CRangeParser::IsRange(text)) << text;
}

// The parts are trimmed; the value is the default, else the minimum, with its decimal separator
// made the given one; a literal part that isn't a number makes the range invalid, one with a
// reference doesn't count; text around the brackets is the caller's to object to.
TEST(RangeParser, PartsValidityAndValue) {
    struct Case {
        const wchar_t* text;
        const wchar_t* parts; // min|max|step|default
        bool valid;
        const wchar_t* value; // GetStrValue with the separator
        wchar_t separator = L'.';
    };
    const Case cases[] = {
        {L"[1;10;1;5]", L"1|10|1|5", true, L"5"},
        {L"[1;10;1;]", L"1|10|1|", true, L"1"},
        {L"[ 1 ; 10 ; ; 5 ]", L"1|10||5", true, L"5"},
        {L"[\t1\r\n;10;1; ]", L"1|10|1|", true, L"1"},
        {L"[;;;]", L"|||", true, L""},
        {L"[1;2;3;4;5]", L"1|2|3|4;5", true, L"4;5"},
        {L"[{a};10;1;5]", L"{a}|10|1|5", false, L""},
        {L"[1;a;1;5]", L"1|a|1|5", false, L""},
        {L"[1;10;{s};{d}]", L"1|10|{s}|{d}", true, L"{d}"},
        {L"[1,5;10;1;]", L"1,5|10|1|", true, L"1.5"},
        {L"x[1;10;1;5]y", L"1|10|1|5", true, L"5"},
        {L"[1;10;1]", L"|||", false, L""},
        {L"[1;10];1;5", L"|||", false, L""},
        {L"1;10;1;5]", L"|||", false, L""},
        {L"", L"|||", false, L""},
        {L"[1.5;10;1;]", L"1.5|10|1|", true, L"1,5", L','},
        {L"[1,5;10;1;]", L"1,5|10|1|", true, L"1,5", L';'},
        {L"[1;10;1;2.5]", L"1|10|1|2.5", true, L"2,5", L','},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "text: " << c.text);
        CRangeParser parser(c.text);
        const WideString parts = parser.getMin() + L"|" + parser.getMax() + L"|" +
                                 parser.getStep() + L"|" + parser.getDefault();
        EXPECT_EQ(parts, c.parts);
        WideString value = L"stale";
        EXPECT_EQ(parser.GetStrValue(value, c.separator), c.valid);
        EXPECT_EQ(value, c.value);
    }
    WideString value;
    EXPECT_FALSE(CRangeParser(nullptr).GetStrValue(value, L'.'));
}

} // namespace

#include "torvex/text/CStringUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <regex>
#include <string>

namespace torvex {
namespace {

std::wstring Shown(const wchar_t* text) {
    return text ? L"'" + std::wstring(text) + L"'" : L"null";
}

TEST(CStringUtil, IsNumericValueCharacterClasses) {
    struct Case {
        const wchar_t* text;
        bool numeric;
    };
    // Callers rely on empty text counting as a number.
    const Case cases[] = {{nullptr, true},      {L"", true},        {L"0", true},
                          {L"12", true},        {L"-1", true},      {L"+1", true},
                          {L"1.5", true},       {L"1,5", true}, // comma and period count alike
                          {L"5,", true},        {L".5", true},      {L"-.5", true},
                          {L"+.5", true},       {L"1e", true},      {L"1e+", true},
                          {L"5E", true},        {L"1E-5", true},    {L"1e5", true},
                          {L"1.5e", true},      {L"1,5e-3", true},  {L"-1.5e+10", true},
                          {L"007", true},       {L".", false},      {L",", false},
                          {L"+", false},        {L"-", false},      {L"e5", false},
                          {L"E", false},        {L"-e5", false},    {L".e1", false},
                          {L"1.e5", false}, // the exponent letter must follow a digit
                          {L"1,5,2", false},    {L"1.5.2", false},  {L"1.5,2", false},
                          {L"1e5.2", false},    {L"1e,5", false},   {L"1e5e2", false},
                          {L"1E5E", false},     {L"--1", false},    {L"+-1", false},
                          {L"1-2", false},      {L"1e--5", false},  {L"1e+-5", false},
                          {L"1e5-", false},     {L"1e+5+", false},  {L" 1", false},
                          {L"1 ", false},       {L"\t1", false},    {L"1\n", false},
                          {L"1\u00a0", false},  {L"1a", false},     {L"0x10", false},
                          {L"inf", false},      {L"nan", false},    {L"1_000", false},
                          {L"1'000", false},    {L"\uff11", false}, // fullwidth digit one
                          {L"\u0661", false},                       // Arabic-Indic digit one
                          {L"2\u00b2", false},                      // superscript two
                          {L"1\u066b5", false},                     // Arabic decimal separator
                          {L"{a}", false}};
    for (const Case& c : cases)
        EXPECT_EQ(CStringUtil::IsNumericValue(c.text), c.numeric) << Shown(c.text);
}

TEST(CStringUtil, IsNumberStrIsTheRuntimeParserNotTheCellRule) {
    struct Case {
        const wchar_t* text;
        bool numberStr;
        bool numericValue;
    };
    const Case cases[] = {
        {L"", true, true},       {L"1.5", true, true},   {L"+.5", true, true},
        {L"1e5", true, true},    {L" 1.5", true, false}, {L"inf", true, false},
        {L"nan", true, false},   {L"0x1A", true, false}, {L"1.e5", true, false},
        {L"1,5", false, true},   {L"1e", false, true},   {L"5,", false, true},
        {L"1.5 ", false, false}, {L" ", false, false},   {L"-", false, false},
        {L".", false, false},    {L"abc", false, false}, {L"1e5.2", false, false}};
    for (const Case& c : cases) {
        EXPECT_EQ(CStringUtil::IsNumberStr(c.text), c.numberStr) << Shown(c.text);
        EXPECT_EQ(CStringUtil::IsNumericValue(c.text), c.numericValue) << Shown(c.text);
    }
}

TEST(CStringUtil, ToDoubleTakesTheLeadingNumber) {
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        const wchar_t* text;
        double value;
    };
    const Case cases[] = {{L"2.5", 2.5},   {L"  -3", -3.0}, {L"1,5", 1.0},     {L"abc", 0.0},
                          {L"", 0.0},      {nullptr, 0.0},  {L"1e3x", 1e3},    {L"12abc", 12.0},
                          {L"0x10", 16.0}, {L"1e400", inf}, {L"-1e400", -inf}, {L".5e1", 5.0},
                          {L"1.5e", 1.5}};
    for (const Case& c : cases)
        EXPECT_EQ(CStringUtil::ToDouble(c.text), c.value) << Shown(c.text);
}

TEST(CStringUtil, IsIntegerValueLimitsAreExclusive) {
    const double nan = std::nan("");
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        double value;
        double tolerance;
        bool integer;
    };
    const Case cases[] = {{3.0, 1e-05, true},
                          {3.0, 0.0, false}, // a zero tolerance accepts nothing
                          {0.0, 0.0, false},
                          {3.0, -1.0, false},
                          {2.000001, 1e-05, true},
                          {2.5, 1e-05, false},
                          {-2.000001, 1e-05, true}, // negative difference, still inside
                          {1.999999, 1e-05, false}, // truncated to 1, not rounded to 2
                          {-1.999999, 1e-05, false},
                          {2.99999999, 1e-05, false},
                          {2.4, 0.5, true},
                          {2.5, 0.5, false},
                          {-2.5, 0.5, false},
                          {2147483647.0, 1e-05, true},
                          {-2147483648.0, 1e-05, true},
                          {2147483647.5, 1.0, true},
                          {-2147483648.5, 1.0, true},
                          {2147483648.0, 1e-05, false}, // beyond 32 bits
                          {-2147483649.0, 1e-05, false},
                          {-2147483649.0, 10.0, false},
                          {1e300, 1e-05, false},
                          {inf, 1e-05, false},
                          {-inf, 1e-05, false},
                          {nan, 1e-05, false},
                          {nan, inf, false}};
    for (const Case& c : cases)
        EXPECT_EQ(CStringUtil::IsIntegerValue(c.value, c.tolerance), c.integer)
            << c.value << " +- " << c.tolerance;
}

TEST(CStringUtil, IsLogicalValueWords) {
    struct Case {
        const wchar_t* text;
        bool logical;
    };
    const Case cases[] = {
        {L"TRUE", true},     {L"true", true},    {L"tRuE", true},  {L"FALSE", true},
        {L"false", true},    {L"T", true},       {L"t", true},     {L"F", true},
        {L"f", true},        {L"yes", true},     {L"YES", true},   {L"no", true},
        {L"No", true},       {L"Y", true},       {L"y", true},     {L"N", true},
        {L"n", true},        {L"1", true},       {L"0", true},     {L" yes ", true},
        {L"\tno\n", true},   {L"\v1\f\r", true}, {nullptr, false}, {L"", false},
        {L"  ", false},      {L"Ja", false},     {L"yes!", false}, {L"y es", false},
        {L"2", false},       {L"01", false},     {L"1.0", false},  {L"-1", false},
        {L"TRUEx", false},   {L"ye", false},     {L"on", false},   {L"\u00a0yes", false},
        {L"ye\u017f", false} // long s, which some case maps fold to S
    };
    for (const Case& c : cases)
        EXPECT_EQ(CStringUtil::IsLogicalValue(c.text), c.logical) << Shown(c.text);
}

TEST(CStringUtil, TrimDoubleStringDropsTrailingZerosWherever) {
    struct Case {
        const wchar_t* text;
        const wchar_t* trimmed;
    };
    const Case cases[] = {
        {L"1.500", L"1.5"}, {L"10.100", L"10.1"}, {L"1.0", L"1"},   {L"1.", L"1"},
        {L"1...", L"1"},    {L"1.0.0", L"1.0"},   {L"100", L"1"},   {L"0", L""},
        {L"0.000", L"0"},   {L".0", L""},         {L"-0.0", L"-0"}, {L"1,50", L"1,5"},
        {L"1,0", L"1,"},    {L"", L""},           {L"abc", L"abc"}, {L"1.5e10", L"1.5e1"}};
    for (const Case& c : cases) {
        WideString text = c.text;
        EXPECT_TRUE(CStringUtil::TrimDoubleString(text));
        EXPECT_EQ(text, c.trimmed) << "'" << c.text << "'";
    }
}

TEST(CStringUtil, SplitOnWholeDelimiter) {
    struct Case {
        const wchar_t* source;
        const wchar_t* delimiter;
        const wchar_t* defaultValue;
        WideStringList fields;
    };
    const Case cases[] = {{L"a;;b", L";", L"x", {L"a", L"x", L"b"}},
                          {L"a;", L";", L"x", {L"a", L"x"}},
                          {L";a", L";", L"x", {L"x", L"a"}},
                          {L";", L";", L"x", {L"x", L"x"}},
                          {L";;;", L";", L"", {L"", L"", L"", L""}},
                          {L"a; b ;c", L";", L"", {L"a", L" b ", L"c"}},
                          {L"a::b::c", L"::", L"-", {L"a", L"b", L"c"}},
                          {L"a:b", L"::", L"-", {L"a:b"}},
                          {L"aaa", L"aa", L"x", {L"x", L"a"}},
                          {L"abc", L"abc", L"x", {L"x", L"x"}},
                          {L"", L";", L"x", {}},
                          {L"abc", L"", L"x", {}}};
    for (const Case& c : cases) {
        WideStringList list = {L"kept"};
        CStringUtil::Split(c.source, c.delimiter, &list, c.defaultValue);
        WideStringList expected = {L"kept"};
        expected.insert(expected.end(), c.fields.begin(), c.fields.end());
        EXPECT_EQ(list, expected) << "'" << c.source << "' on '" << c.delimiter << "'";
    }
    CStringUtil::Split(L"a;b", L";", nullptr, L""); // no list: nothing happens
}

TEST(CStringUtil, ExtractByBracketKeepsTextBeforeClose) {
    struct Case {
        const wchar_t* source;
        const wchar_t* open;
        const wchar_t* close;
        WideStringList texts;
    };
    const Case cases[] = {
        {L"a}b{c}", L"{", L"}", {L"a", L"c"}}, // text ahead of the first open is a token too
        {L"{ x }*{y}", L"{", L"}", {L"x", L"y"}},
        {L"{{a}}", L"{", L"}", {L"a"}},
        {L"{}{ \t}", L"{", L"}", {}},
        {L"{abc", L"{", L"}", {}},
        {L"{a}{b", L"{", L"}", {L"a"}},
        {L"(a)[b]x])", L"([", L"])", {L"b]x"}}, // open is a set of characters, close a whole string
        {L"<<a>>x<<b>>", L"<", L">>", {L"a", L"b"}},
        {L"{a}}", L"{", L"}}", {L"a"}},
        {L"{a b} {c}", L"{", L"}", {L"a b", L"c"}}};
    for (const Case& c : cases) {
        WideStringList list = {L"kept"};
        EXPECT_TRUE(CStringUtil::ExtractByBracket(c.source, c.open, c.close, &list));
        WideStringList expected = {L"kept"};
        expected.insert(expected.end(), c.texts.begin(), c.texts.end());
        EXPECT_EQ(list, expected) << "'" << c.source << "'";
    }

    WideStringList list;
    EXPECT_FALSE(CStringUtil::ExtractByBracket(L"", L"{", L"}", &list));
    EXPECT_FALSE(CStringUtil::ExtractByBracket(L"{a}", L"", L"}", &list));
    EXPECT_FALSE(CStringUtil::ExtractByBracket(L"{a}", L"{", L"", &list));
    EXPECT_FALSE(CStringUtil::ExtractByBracket(L"{a}", L"{", L"}", nullptr));
    EXPECT_TRUE(list.empty());
}

TEST(CStringUtil, TranslateStringSymbolJoinsQuotedFields) {
    struct Case {
        const wchar_t* text;
        const wchar_t* value;
    };
    const Case cases[] = {{L"\"a\" & b & \"c\"", L"abc"},
                          {L"\"abc\" & \"def\"", L"abcdef"},
                          {L"\"", L""}, // a lone quote is first and last character at once
                          {L"\"\"", L""},
                          {L"  \"a b\"  ", L"a b"},
                          {L"\" x \" & \" y \"", L" x  y "},
                          {L"\"a\"b\"", L"a\"b"},
                          {L"\"a", L"\"a"},
                          {L"a\"", L"a\""},
                          {L"a&&b", L"ab"},
                          {L"\"&\"", L""},
                          {L"\"a\"&", L"a"},
                          {L"", L""}};
    for (const Case& c : cases)
        EXPECT_EQ(CStringUtil::TranslateStringSymbol(c.text), c.value) << "'" << c.text << "'";
}

TEST(CStringUtil, LegalizeForFileName) {
    struct Case {
        const wchar_t* text;
        const wchar_t* legal;
    };
    const Case cases[] = {{L" a:b ", L"a_b"},   {L"?\\/<>:*|\"", L"_________"},
                          {L"a?b?c", L"a_b_c"}, {L"\t name \n", L"name"},
                          {L" ", L""},          {L"normal.txt", L"normal.txt"},
                          {L"a b", L"a b"},     {L"\u00a0x", L"\u00a0x"}};
    for (const Case& c : cases) {
        WideString text = c.text;
        EXPECT_TRUE(CStringUtil::LegalizeForFileName(text));
        EXPECT_EQ(text, c.legal) << "'" << c.text << "'";
    }
}

TEST(CStringUtil, ReplaceDecimalPointOfCellOnlyInNumbers) {
    struct Case {
        const wchar_t* text;
        const wchar_t* result;
    };
    const Case cases[] = {
        {L"1,5", L"1.5"},     {L",5", L".5"},   {L"1,5e3", L"1.5e3"}, {L"1.5", L"1.5"},
        {L"1,5,2", L"1,5,2"}, {L"a,b", L"a,b"}, {L"1, 5", L"1, 5"},   {L"", L""}};
    for (const Case& c : cases) {
        WideString text = c.text;
        EXPECT_EQ(CStringUtil::ReplaceDecimalPointOfCell(text), c.result) << "'" << c.text << "'";
        EXPECT_EQ(text, c.result) << "changed in place";
    }
}

TEST(CStringUtil, ReplaceDecimalPointOfColumnExpressionToPeriod) {
    struct Case {
        const wchar_t* text;
        const wchar_t* result;
    };
    const Case cases[] = {
        {L"{a.b}*1,5", L"{a.b}*1.5"},
        {L"{a,b}+1,5", L"{a,b}+1.5"},
        {L"max(1,2)", L"max(1.2)"}, // argument commas are taken for decimal separators
        {L"\"x,y\"", L"\"x.y\""},
        {L"{a}}1,5{b,c}", L"{a}}1.5{b,c}"},
        {L"}1,5{", L"}1.5{"},
        {L"{a,{b,}c,", L"{a,{b,}c."},
        {L"1.5", L"1.5"},
        {L"abc", L"abc"},
        {L"", L""}};
    for (const Case& c : cases) {
        WideString text = c.text;
        EXPECT_EQ(CStringUtil::ReplaceDecimalPointOfColumnExpression(text, true), c.result)
            << "'" << c.text << "'";
        EXPECT_EQ(text, c.result) << "changed in place";
    }
}

TEST(CStringUtil, NewGuidIsLowerCaseWithoutBraces) {
    const std::wregex form(L"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    const WideString first = CStringUtil::NewGuid();
    const WideString second = CStringUtil::NewGuid();
    EXPECT_TRUE(std::regex_match(first, form)) << first;
    EXPECT_TRUE(std::regex_match(second, form)) << second;
    EXPECT_NE(first, second);
}

} // namespace
} // namespace torvex

#include "torvex/text/CStringUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <regex>
#include <string>
#include <tuple>

namespace torvex {
namespace {

std::wstring Shown(const wchar_t* text) {
    return text ? L"'" + std::wstring(text) + L"'" : L"null";
}

// What a cell may hold as a number: ASCII digits, one sign, one '.' or ',', an exponent letter
// after a digit with an optional signed exponent; empty text counts as a number.
TEST(CStringUtil, IsNumericValueCharacterClasses) {
    const wchar_t* numeric[] = {nullptr, L"",     L"0",   L"12",   L"-1",     L"+1",       L"1.5",
                                L"1,5",  L"5,",   L".5",  L"-.5",  L"+.5",    L"1e",       L"1e+",
                                L"5E",   L"1E-5", L"1e5", L"1.5e", L"1,5e-3", L"-1.5e+10", L"007"};
    const wchar_t* other[] = {
        L".",     L",",     L"+",      L"-",       L"e5",      L"E",        L"-e5",   L".e1",
        L"1.e5",  L"1,5,2", L"1.5.2",  L"1.5,2",   L"1e5.2",   L"1e,5",     L"1e5e2", L"1E5E",
        L"--1",   L"+-1",   L"1-2",    L"1e--5",   L"1e+-5",   L"1e5-",     L"1e+5+", L" 1",
        L"1 ",    L"\t1",   L"1\n",    L"1\u00a0", L"1a",      L"0x10",     L"inf",   L"nan",
        L"1_000", L"1'000", L"\uff11", L"\u0661",  L"2\u00b2", L"1\u066b5", L"{a}"};
    for (const wchar_t* text : numeric)
        EXPECT_TRUE(CStringUtil::IsNumericValue(text)) << Shown(text);
    for (const wchar_t* text : other)
        EXPECT_FALSE(CStringUtil::IsNumericValue(text)) << Shown(text);
}

// IsNumberStr is the runtime's parser taking the whole text, which differs from the cell rule.
TEST(CStringUtil, IsNumberStrIsTheRuntimeParserNotTheCellRule) {
    const wchar_t* numbers[] = {L"",    L"1.5", L"+.5",  L"1e5", L" 1.5",
                                L"inf", L"nan", L"0x1A", L"1.e5"};
    const wchar_t* others[] = {L"1,5", L"1e", L"5,",  L"1.5 ",  L"  ",
                               L"-",   L".",  L"abc", L"1e5.2", L"1.5."};
    for (const wchar_t* text : numbers)
        EXPECT_TRUE(CStringUtil::IsNumberStr(text)) << Shown(text);
    for (const wchar_t* text : others)
        EXPECT_FALSE(CStringUtil::IsNumberStr(text)) << Shown(text);
}

// The truncated value must lie strictly within the tolerance and fit 32 bits.
TEST(CStringUtil, IsIntegerValueLimitsAreExclusive) {
    const double nan = std::nan("");
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        double value;
        double tolerance;
        bool integer;
    };
    const double max = 2147483647.0;
    const double min = -2147483648.0;
    const Case cases[] = {
        {3.0, 1e-05, true},         {3.0, 0.0, false},        {0.0, 0.0, false},
        {3.0, -1.0, false},         {2.000001, 1e-05, true},  {2.5, 1e-05, false},
        {-2.000001, 1e-05, true},   {1.999999, 1e-05, false}, {-1.999999, 1e-05, false},
        {2.99999999, 1e-05, false}, {2.4, 0.5, true},         {2.5, 0.5, false},
        {-2.5, 0.5, false},         {max, 1e-05, true},       {min, 1e-05, true},
        {max + 0.5, 1.0, true},     {min - 0.5, 1.0, true},   {max + 1, 1e-05, false},
        {min - 1, 1e-05, false},    {min - 1, 10.0, false},   {1e300, 1e-05, false},
        {inf, 1e-05, false},        {-inf, 1e-05, false},     {nan, 1e-05, false},
        {nan, inf, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CStringUtil::IsIntegerValue(c.value, c.tolerance), c.integer)
            << c.value << " +- " << c.tolerance;
}

// Logical words in any ASCII case, between C white space only.
TEST(CStringUtil, IsLogicalValueWords) {
    const wchar_t* logical[] = {L"TRUE", L"true",  L"tRuE",   L"FALSE",  L"false", L"T",
                                L"t",    L"F",     L"f",      L"yes",    L"YES",   L"no",
                                L"No",   L"Y",     L"y",      L"N",      L"n",     L"1",
                                L"0",    L" yes ", L"\tno\n", L"\v1\f\r"};
    // The last is a long s, which some case maps fold to S.
    const wchar_t* other[] = {nullptr,  L"",   L"  ",        L"Ja",  L"yes!",
                              L"y es",  L"2",  L"01",        L"1.0", L"-1",
                              L"TRUEx", L"ye", L"\u00a0yes", L"on",  L"ye\u017f"};
    for (const wchar_t* text : logical)
        EXPECT_TRUE(CStringUtil::IsLogicalValue(text)) << Shown(text);
    for (const wchar_t* text : other)
        EXPECT_FALSE(CStringUtil::IsLogicalValue(text)) << Shown(text);
}

// Each rewrite answers the new text (or true) and leaves it in its argument.
template <size_t N>
void ExpectRewrites(const char* name, const std::function<WideString(WideString&)>& rewrite,
                    const std::pair<const wchar_t*, const wchar_t*> (&cases)[N]) {
    for (const auto& [text, result] : cases) {
        WideString changed = text;
        EXPECT_EQ(rewrite(changed), result) << name << " '" << text << "'";
        EXPECT_EQ(changed, result) << name << " '" << text << "' in place";
    }
}

// TrimDoubleString drops trailing zeros wherever they are, then a trailing point.
TEST(CStringUtil, TrimDoubleStringDropsTrailingZerosWherever) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"1.500", L"1.5"}, {L"10.100", L"10.1"}, {L"1.0", L"1"},   {L"1.", L"1"},
        {L"1...", L"1"},    {L"1.0.0", L"1.0"},   {L"100", L"1"},   {L"0", L""},
        {L"0.000", L"0"},   {L".0", L""},         {L"-0.0", L"-0"}, {L"1,50", L"1,5"},
        {L"1,0", L"1,"},    {L"", L""},           {L"abc", L"abc"}, {L"1.5e10", L"1.5e1"},
    };
    ExpectRewrites(
        "TrimDoubleString",
        [](WideString& t) { return CStringUtil::TrimDoubleString(t) ? t : L"<false>"; }, cases);
}

// LegalizeForFileName trims C white space and makes each of ?\/<>:*|" a '_'.
TEST(CStringUtil, LegalizeForFileName) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L" a:b ", L"a_b"},   {L"?\\/<>:*|\"", L"_________"},
        {L"a?b?c", L"a_b_c"}, {L"\t name \n", L"name"},
        {L" ", L""},          {L"normal.txt", L"normal.txt"},
        {L"a b", L"a b"},     {L"\u00a0x", L"\u00a0x"},
    };
    ExpectRewrites(
        "LegalizeForFileName",
        [](WideString& t) { return CStringUtil::LegalizeForFileName(t) ? t : L"<false>"; }, cases);
}

// A cell's comma becomes a point only in a number; a column expression's commas become points
// outside braces, argument commas and quoted ones too.
TEST(CStringUtil, ReplaceDecimalPointOfCellOrExpression) {
    const std::pair<const wchar_t*, const wchar_t*> cells[] = {
        {L"1,5", L"1.5"},     {L",5", L".5"},   {L"1,5e3", L"1.5e3"}, {L"1.5", L"1.5"},
        {L"1,5,2", L"1,5,2"}, {L"a,b", L"a,b"}, {L"1, 5", L"1, 5"},   {L"", L""},
    };
    ExpectRewrites("ReplaceDecimalPointOfCell", CStringUtil::ReplaceDecimalPointOfCell, cells);
    const std::pair<const wchar_t*, const wchar_t*> expressions[] = {
        {L"{a.b}*1,5", L"{a.b}*1.5"},
        {L"{a,b}+1,5", L"{a,b}+1.5"},
        {L"max(1,2)", L"max(1.2)"},
        {L"\"x,y\"", L"\"x.y\""},
        {L"{a}}1,5{b,c}", L"{a}}1.5{b,c}"},
        {L"}1,5{", L"}1.5{"},
        {L"{a,{b,}c,", L"{a,{b,}c."},
        {L"1.5", L"1.5"},
        {L"abc", L"abc"},
        {L"", L""},
    };
    ExpectRewrites(
        "ReplaceDecimalPointOfColumnExpression",
        [](WideString& t) { return CStringUtil::ReplaceDecimalPointOfColumnExpression(t, true); },
        expressions);
}

// Quoted fields joined by '&'; a lone quote is first and last character at once.
TEST(CStringUtil, TranslateStringSymbolJoinsQuotedFields) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"\"a\" & b & \"c\"", L"abc"},
        {L"\"", L""},
        {L"\"\"", L""},
        {L"  \"a b\"  ", L"a b"},
        {L"\" x \" & \" y \"", L" x  y "},
        {L"\"a\"b\"", L"a\"b"},
        {L"\"a", L"\"a"},
        {L"a&&b", L"ab"},
        {L"\"&\"", L""},
        {L"\"a\"&", L"a"},
        {L"", L""},
    };
    ExpectRewrites(
        "TranslateStringSymbol",
        [](WideString& t) { return t = CStringUtil::TranslateStringSymbol(t); }, cases);
}

WideString Joined(const WideStringList& list) {
    WideString joined;
    for (const WideString& item : list)
        joined += (joined.empty() ? L"" : L"|") + item;
    return joined;
}

// Split appends the fields between whole delimiters, the default for empty ones; an empty
// source or delimiter appends nothing.
TEST(CStringUtil, SplitOnWholeDelimiter) {
    // fields: after "kept", joined with '|'
    using Case = std::tuple<const wchar_t*, const wchar_t*, const wchar_t*>;
    const Case cases[] = {
        {L"a;;b", L";", L"a|x|b"}, {L"a;", L";", L"a|x"},          {L";a", L";", L"x|a"},
        {L";", L";", L"x|x"},      {L"a; b ;c", L";", L"a| b |c"}, {L"a::b::c", L"::", L"a|b|c"},
        {L"a:b", L"::", L"a:b"},   {L"aaa", L"aa", L"x|a"},        {L"abc", L"abc", L"x|x"},
    };
    for (const auto& [source, delimiter, fields] : cases) {
        WideStringList list = {L"kept"};
        CStringUtil::Split(source, delimiter, &list, L"x");
        EXPECT_EQ(Joined(list), L"kept" + WideString(*fields ? L"|" : L"") + fields)
            << "'" << source << "' on '" << delimiter << "'";
    }
    WideStringList list;
    CStringUtil::Split(L"", L";", &list, L"x");
    CStringUtil::Split(L"abc", L"", &list, L"x");
    EXPECT_TRUE(list.empty());
    CStringUtil::Split(L";;;", L";", &list, L"");
    EXPECT_EQ(list, WideStringList(4));
    CStringUtil::Split(L"a;b", L";", nullptr, L""); // no list: nothing happens
}

// The text before each close, after the last character of the open set; text ahead of the first
// open is a token too; blank tokens are dropped; empty texts or no list fail.
TEST(CStringUtil, ExtractByBracketKeepsTextBeforeClose) {
    // texts: after "kept", joined with '|'
    using Case = std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*>;
    const Case cases[] = {
        {L"a}b{c}", L"{", L"}", L"a|c"},      {L"{ x }*{y}", L"{", L"}", L"x|y"},
        {L"{{a}}", L"{", L"}", L"a"},         {L"{}{ \t}", L"{", L"}", L""},
        {L"{abc", L"{", L"}", L""},           {L"{a}{b", L"{", L"}", L"a"},
        {L"(a)[b]x])", L"([", L"])", L"b]x"}, {L"<<a>>x<<b>>", L"<", L">>", L"a|b"},
        {L"{a}}", L"{", L"}}", L"a"},         {L"{a b} {c}", L"{", L"}", L"a b|c"},
    };
    for (const auto& [source, open, close, texts] : cases) {
        WideStringList list = {L"kept"};
        EXPECT_TRUE(CStringUtil::ExtractByBracket(source, open, close, &list));
        EXPECT_EQ(Joined(list), L"kept" + WideString(*texts ? L"|" : L"") + texts)
            << "'" << source << "'";
    }
    WideStringList list;
    EXPECT_FALSE(CStringUtil::ExtractByBracket(L"", L"{", L"}", &list) ||
                 CStringUtil::ExtractByBracket(L"{a}", L"", L"}", &list) ||
                 CStringUtil::ExtractByBracket(L"{a}", L"{", L"", &list) ||
                 CStringUtil::ExtractByBracket(L"{a}", L"{", L"}", nullptr));
    EXPECT_TRUE(list.empty());
}

// New GUIDs are random version 4 GUIDs, lower case, without braces.
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

// Formula text scanning: pieces and references, the memo of split texts, String concatenation
// and its quote rules, and the reference collectors.

#include "TestProvider.h"

#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/family/CEncapFamilyColumn.h"

#include <gtest/gtest.h>

namespace torvex {
namespace {

using test::FamilyXml;
using test::TestFamily;

FormulaPiece Ref(const wchar_t* id) {
    return FormulaPiece{true, id};
}
FormulaPiece Lit(const wchar_t* text) {
    return FormulaPiece{false, text};
}

// A text splits into literals and trimmed {references} in source-text order; a '}' before any
// '{' or an unclosed '{' fails, keeping what was cut before it.
TEST(FormulaScan, SplitCutsLiteralsAndReferences) {
    struct Case {
        const wchar_t* text;
        int result;
        FormulaPieceList pieces; // on failure: what was cut before it
    };
    const Case cases[] = {
        {L"", 0, {Lit(L"")}},
        {L"12.5", 0, {Lit(L"12.5")}},
        {L"a}b", 0, {Lit(L"a}b")}}, // no '{' at all: one literal, whatever it holds
        {L"{a}", 0, {Ref(L"a")}},
        {L"{ b }+1", 0, {Ref(L"b"), Lit(L"+1")}},
        {L"{a}{b}", 0, {Ref(L"a"), Ref(L"b")}}, // no empty literal between
        {L"x{a}*{ long id }y", 0, {Lit(L"x"), Ref(L"a"), Lit(L"*"), Ref(L"long id"), Lit(L"y")}},
        {L"{a{b}", 0, {Ref(L"a{b")}},
        {L"{}", 0, {Ref(L"")}},
        {L"\"{q}\"", 0, {Lit(L"\""), Ref(L"q"), Lit(L"\"")}}, // quotes protect nothing
        {L"a}{b}", 1, {}},
        {L"{b}c}", 1, {Ref(L"b")}},
        {L"{b", 1, {}},
        {L"{", 1, {}},
        {L"x{", 1, {Lit(L"x")}},
    };
    TestFamily f(FamilyXml(L"", L""));
    CTableEvaluator& evaluator = *f.Table().GetEvaluator();
    for (const Case& c : cases) {
        FormulaPieceList pieces{Lit(L"stale")};
        EXPECT_EQ(evaluator.SplitFormula(c.text, pieces), c.result) << c.text;
        EXPECT_EQ(pieces, c.pieces) << c.text;
    }
    FormulaPieceList pieces;
    EXPECT_EQ(evaluator.SplitFormula(nullptr, pieces), 0);
    EXPECT_EQ(pieces, FormulaPieceList{Lit(L"")});
}

// String formulas: tokens between runs of '&' are trimmed outside quotes, unquoted ('""' is a
// quote) and joined; a text without '&' after a first token stays as given, quotes and all.
TEST(FormulaScan, ConcatenateStringsJoinsUnquotedTokens) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"\"abc\"", L"\"abc\""},
        {L"abc", L"abc"},
        {L"", L""},
        {L"&&", L"&&"},
        {L"&\"abc\"", L"&\"abc\""},
        {L"\"a\" & x", L"ax"},
        {L"\"a\" && \"b\"&&", L"ab"},
        {L" \"a \" &  b c ", L"a b c"},
        {L"\"say \"\"hi\"\"\" & !", L"say \"hi\"!"},
        {L"\"x&y\" & z", L"xyz"}, // a quoted '&' is not protected
        {L"a& &b", L"ab"},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(CTableEvaluator::ConcatenateStrings(text), value) << text;
    const std::pair<const wchar_t*, const wchar_t*> unquoted[] = {
        {L"", L""},         {L"\"abc\"", L"abc"},   {L"a\"\"b", L"a\"b"},
        {L"\"\"\"", L"\""}, {L"\"\"\"\"", L"\"\""}, {L"a\"b\"c", L"abc"}};
    for (const auto& [text, value] : unquoted)
        EXPECT_EQ(CTableEvaluator::UnquoteString(text), value) << text;
}

// The collectors add the columns a text refers to (deep: and what those refer to, each once),
// answering the first unknown column or broken text.
TEST(FormulaScan, CollectorsFindColumnsOfTheTable) {
    // c refers to b, b to a; d's formula names a column that doesn't exist; e and f refer to
    // each other.
    TestFamily f(
        FamilyXml(L"<Column ColumnId=\"a\" ValueType=\"double\"/>"
                  L"<Column ColumnId=\"b\" ValueType=\"double\" ColumnwideValue=\"{A}*2\"/>"
                  L"<Column ColumnId=\"c\" ValueType=\"double\" ColumnwideValue=\"{b}+1\"/>"
                  L"<Column ColumnId=\"d\" ColumnwideValue=\"{a}{zz}{c}\"/>"
                  L"<Column ColumnId=\"e\" ColumnwideValue=\"{f}\"/>"
                  L"<Column ColumnId=\"f\" ColumnwideValue=\"{e}\"/>",
                  L""));
    CEncapFamilyTable& table = f.Table();
    CTableEvaluator& evaluator = *table.GetEvaluator();
    auto column = [&table](const wchar_t* id) { return table.GetFamilyColumnByID(id); };
    using Set = CTableEvaluator::ColumnSet;

    const struct {
        const wchar_t* text;
        bool deep;
        CTableEvaluator::EvaluateResult result;
        Set columns;
    } cases[] = {
        {L"1+2", false, CTableEvaluator::EvalOk, {}},
        {L"{c}*{ A }", false, CTableEvaluator::EvalOk, {column(L"c"), column(L"a")}},
        {L"{c}", true, CTableEvaluator::EvalOk, {column(L"a"), column(L"b"), column(L"c")}},
        {L"{a}{zz}{c}", false, CTableEvaluator::EvalUnknownColumn, {column(L"a")}},
        {L"{}", false, CTableEvaluator::EvalUnknownColumn, {}},
        {L"{a", false, CTableEvaluator::EvalSyntaxError, {}},
        // A broken formula further down plays no part in the result.
        {L"{d}", true, CTableEvaluator::EvalOk, {column(L"d"), column(L"a")}},
        // A loop of formulas ends on the set.
        {L"{e}", true, CTableEvaluator::EvalOk, {column(L"e"), column(L"f")}},
    };
    for (const auto& c : cases) {
        Set found;
        const auto result = c.deep ? evaluator.CollectReferencesDeep(c.text, found)
                                   : evaluator.CollectReferences(c.text, found);
        EXPECT_EQ(result, c.result) << c.text;
        EXPECT_EQ(found, c.columns) << c.text;
    }

    // The set isn't cleared first, and a column already in it isn't followed.
    Set found{column(L"b")};
    EXPECT_EQ(evaluator.CollectReferencesDeep(L"{c}", found), CTableEvaluator::EvalOk);
    EXPECT_EQ(found, (Set{column(L"b"), column(L"c")}));
}

} // namespace
} // namespace torvex

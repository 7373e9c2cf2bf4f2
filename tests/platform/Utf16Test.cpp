#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace torvex::platform {
namespace {

// Text round-trips through UTF-8 and UTF-16, with embedded NULs and surrogate pairs.
TEST(Utf16, RoundTripsThroughUtf8AndUtf16) {
    using Case = std::tuple<std::wstring, std::string, std::u16string>;
    const Case cases[] = {
        {L"", "", u""},
        {L"abc", "abc", u"abc"},
        {std::wstring(L"a\0b", 3), std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
        {L"\u00e4\u00df", "\xC3\xA4\xC3\x9F", u"\u00e4\u00df"},
        {L"\u20ac", "\xE2\x82\xAC", u"\u20ac"},
        {L"\uffff", "\xEF\xBF\xBF", u"\uffff"},
        {L"\U00010000", "\xF0\x90\x80\x80", {0xD800, 0xDC00}},
        {L"x\U0001F600y", "x\xF0\x9F\x98\x80y", {u'x', 0xD83D, 0xDE00, u'y'}},
        {L"\U0010FFFF", "\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}}};
    for (const auto& [text, utf8, utf16] : cases) {
        EXPECT_EQ(ToUtf8(text), utf8);
        EXPECT_EQ(FromUtf8(utf8), text);
        EXPECT_EQ(ToUtf16(text), utf16);
        EXPECT_EQ(FromUtf16(utf16), text);
        EXPECT_EQ(Utf16Length(text), utf16.size());
    }
}

// Bad UTF-8 (lone continuation bytes, cut sequences, overlong forms, encoded surrogates, code
// points beyond U+10FFFF, five-byte leads, FE/FF) gives one U+FFFD per bad byte or sequence.
TEST(Utf16, BadInputBecomesReplacementCharacters) {
    const std::pair<std::string, std::wstring> utf8[] = {
        {"\x80", L"\ufffd"},
        {"\xC3", L"\ufffd"},
        {"\xC3(", L"\ufffd("},
        {"\xE2\x82", L"\ufffd"},
        {"\xE2\x82x", L"\ufffdx"},
        {"\xC0\x80", L"\ufffd"},
        {"\xE0\x80\xAF", L"\ufffd"},
        {"\xED\xA0\x80", L"\ufffd"},
        {"\xF4\x90\x80\x80", L"\ufffd"},
        {"\xF8\x88\x80\x80\x80", L"\ufffd\ufffd\ufffd\ufffd\ufffd"},
        {"a\xFF"
         "b",
         L"a\ufffdb"},
        {"\xFE\xFF", L"\ufffd\ufffd"}};
    for (const auto& [bytes, text] : utf8)
        EXPECT_EQ(FromUtf8(bytes), text) << ::testing::PrintToString(bytes);

    // Lone surrogates, pairs in the wrong order, and wide characters that are no code point.
    const std::pair<std::u16string, std::wstring> utf16[] = {
        {{0xD800}, L"\ufffd"},
        {{0xDC00}, L"\ufffd"},
        {{u'a', 0xD83D}, L"a\ufffd"},
        {{0xDE00, 0xD83D}, L"\ufffd\ufffd"},
        {{0xD83D, u'x', 0xDE00}, L"\ufffdx\ufffd"},
        {{0xD83D, 0xD83D, 0xDE00}, L"\ufffd\U0001F600"}};
    for (const auto& [units, text] : utf16)
        EXPECT_EQ(FromUtf16(units), text);
    const std::wstring bad = {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000),
                              static_cast<wchar_t>(-1)};
    EXPECT_EQ(ToUtf16(bad), u"\ufffd\ufffd\ufffd");
    EXPECT_EQ(ToUtf8(bad), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(Utf16Length(bad), 3u);
}

// Long runs of ASCII are converted many characters at a time: whatever follows such a run, at any
// distance from its start, converts as it does alone.
TEST(Utf16, ConvertsTheSameWhereverARunOfAsciiEnds) {
    const std::pair<std::wstring, std::string> tails[] = {
        {L"\u00e9\u20ac\U0001F600", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {{static_cast<wchar_t>(0xD800), static_cast<wchar_t>(-1)}, "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {std::wstring(L"\0", 1), std::string("\0", 1)}};
    const std::pair<std::string, std::wstring> badTails[] = {
        {"\xFF", L"\ufffd"}, {"\xE2\x82", L"\ufffd"}, {"\xC0\x80", L"\ufffd"}};
    for (size_t run = 0; run <= 40; ++run) {
        const std::wstring head(run, L'a');
        const std::wstring after(run % 7 + 17, L'b');
        for (const auto& [wide, utf8] : tails) {
            const std::wstring text = head + wide + after;
            const std::string bytes = std::string(run, 'a') + utf8 + std::string(after.size(), 'b');
            EXPECT_EQ(ToUtf8(text), bytes) << run;
            if (wide[0] != 0xD800) {
                EXPECT_EQ(FromUtf8(bytes), text) << run;
            }
        }
        for (const auto& [bytes, wide] : badTails) {
            EXPECT_EQ(FromUtf8(std::string(run, 'a') + bytes), head + wide) << run;
            EXPECT_EQ(FromUtf8(std::string(run, 'a') + bytes + "bbbbbbbbbbbbbbbbb"),
                      head + wide + L"bbbbbbbbbbbbbbbbb")
                << run;
        }
    }
}

} // namespace
} // namespace torvex::platform

#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <string>

namespace torvex::platform {
namespace {

TEST(Utf16, RoundTripsThroughUtf8AndUtf16) {
    struct Case {
        std::wstring text;
        std::string utf8;
        std::u16string utf16;
    };
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
    for (const Case& c : cases) {
        EXPECT_EQ(ToUtf8(c.text), c.utf8);
        EXPECT_EQ(FromUtf8(c.utf8), c.text);
        EXPECT_EQ(ToUtf16(c.text), c.utf16);
        EXPECT_EQ(FromUtf16(c.utf16), c.text);
        EXPECT_EQ(Utf16Length(c.text), c.utf16.size());
    }
}

TEST(Utf16, BadUtf8BecomesReplacementCharacters) {
    struct Case {
        std::string bytes;
        std::wstring text;
    };
    const Case cases[] = {
        {"\x80", L"\ufffd"},             // lone continuation byte
        {"\xC3", L"\ufffd"},             // truncated at the end
        {"\xC3(", L"\ufffd("},           // truncated before an ASCII byte
        {"\xE2\x82", L"\ufffd"},         // three-byte form cut short
        {"\xE2\x82x", L"\ufffdx"},       //
        {"\xC0\x80", L"\ufffd"},         // overlong NUL
        {"\xE0\x80\xAF", L"\ufffd"},     // overlong '/'
        {"\xED\xA0\x80", L"\ufffd"},     // encoded surrogate
        {"\xF4\x90\x80\x80", L"\ufffd"}, // beyond U+10FFFF
        {"\xF8\x88\x80\x80\x80", L"\ufffd\ufffd\ufffd\ufffd\ufffd"}, // five-byte lead
        {"a\xFF"
         "b",
         L"a\ufffdb"},
        {"\xFE\xFF", L"\ufffd\ufffd"}};
    for (const Case& c : cases)
        EXPECT_EQ(FromUtf8(c.bytes), c.text) << ::testing::PrintToString(c.bytes);
}

TEST(Utf16, LoneSurrogatesAndBadCodePointsBecomeReplacementCharacters) {
    struct Case {
        std::u16string units;
        std::wstring text;
    };
    const Case cases[] = {{{0xD800}, L"\ufffd"},
                          {{0xDC00}, L"\ufffd"},
                          {{u'a', 0xD83D}, L"a\ufffd"},
                          {{0xDE00, 0xD83D}, L"\ufffd\ufffd"}, // a pair in the wrong order
                          {{0xD83D, u'x', 0xDE00}, L"\ufffdx\ufffd"},
                          {{0xD83D, 0xD83D, 0xDE00}, L"\ufffd\U0001F600"}};
    for (const Case& c : cases)
        EXPECT_EQ(FromUtf16(c.units), c.text);

    const std::wstring bad = {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000),
                              static_cast<wchar_t>(-1)};
    EXPECT_EQ(ToUtf16(bad), u"\ufffd\ufffd\ufffd");
    EXPECT_EQ(ToUtf8(bad), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(Utf16Length(bad), 3u);
}

} // namespace
} // namespace torvex::platform

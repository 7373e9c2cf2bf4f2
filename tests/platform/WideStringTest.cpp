#include "torvex/platform/WideString.h"

#include <gtest/gtest.h>

#include <string>

namespace torvex {
namespace {

// A kept text equals a C text only when every character and the length agree: short and long
// texts, a C text that stops early or goes on, and a kept text holding a NUL, which no C text
// can equal.
TEST(WideString, EqualsCTextComparesWholeTexts) {
    const std::wstring id = L"8f3c0a11-2b4d-4e6f-9a7b-1c2d3e4f5a6b";
    const std::wstring withNul(L"ab\0cd", 5);
    const std::wstring longWithNul = id.substr(0, 20) + std::wstring(1, L'\0') + id.substr(21);
    struct Case {
        std::wstring kept;
        std::wstring text;
        bool equal;
    };
    const Case cases[] = {
        {L"", L"", true},
        {L"", L"a", false},
        {L"en-US", L"en-US", true},
        {L"en-US", L"en-U", false},
        {L"en-US", L"en-USA", false},
        {L"en-US", L"en-us", false},
        {id, id, true},
        {id, id.substr(0, 35), false},
        {id, id + L"0", false},
        {id, id.substr(0, 35) + L"c", false},
        {withNul, L"ab", false},
        {longWithNul, id.substr(0, 20), false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(EqualsCText(c.kept, c.text.c_str()), c.equal)
            << std::string(c.kept.begin(), c.kept.end()) << " / "
            << std::string(c.text.begin(), c.text.end());
}

} // namespace
} // namespace torvex

#include "torvex/family/CStringMapTo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace torvex {
namespace {

using Map = CStringMapTo<int>;

std::vector<std::pair<WideString, int>> Walk(const Map& map) {
    std::vector<std::pair<WideString, int>> entries;
    for (Map::Position pos = map.GetStartPosition(); pos;) {
        WideString key;
        int value = 0;
        map.GetNextAssoc(pos, key, value);
        entries.emplace_back(key, value);
    }
    return entries;
}

// The bucket as the classic table computes it, written out here on its own: upper-case ASCII,
// then hash * 33 + UTF-16 unit in 32 bits, modulo 17.
unsigned ExpectedBucket(const std::u16string& units) {
    uint32_t hash = 0;
    for (char16_t unit : units) {
        char16_t c = unit;
        if (c >= u'a' && c <= u'z')
            c = static_cast<char16_t>(c - 32);
        hash = hash * 33u + c;
    }
    return hash % 17u;
}

TEST(CStringMapTo, WalksBucketAfterBucketNewestFirstWithinABucket) {
    // Buckets worked by hand: "A" 65 % 17 = 14, "R" 82 % 17 = 14, "B" 66 % 17 = 15,
    // "AB" (65 * 33 + 66) % 17 = 1, U+1F600 as D83D DE00 gives 13.
    Map map;
    map.SetAt(L"a", 1);
    map.SetAt(L"B", 2);
    map.SetAt(L"ab", 3);
    map.SetAt(L"r", 4);
    map.SetAt(L"\U0001F600", 5);
    const std::vector<std::pair<WideString, int>> expected = {
        {L"AB", 3}, {L"\U0001F600", 5}, {L"R", 4}, {L"A", 1}, {L"B", 2}};
    EXPECT_EQ(Walk(map), expected);
}

TEST(CStringMapTo, WalkOrderMatchesTheBucketsForManyKeys) {
    const std::vector<std::pair<std::wstring, std::u16string>> keys = {
        {L"RID", u"RID"},
        {L"Status", u"STATUS"},
        {L"MEMBER_REVISION", u"MEMBER_REVISION"},
        {L"d", u"D"},
        {L"l", u"L"},
        {L"Length", u"LENGTH"},
        {L"Thread", u"THREAD"},
        {L"k", u"K"},
        {L"dk", u"DK"},
        {L"Material", u"MATERIAL"},
        {L"s", u"S"},
        {L"e", u"E"},
        {L"FILENAME", u"FILENAME"},
        {L"b", u"B"},
        {L"x1", u"X1"},
        {L"x2", u"X2"},
        {L"x3", u"X3"},
        {L"zz", u"ZZ"}};
    Map map;
    // Expected: by bucket; inside a bucket, latest insertion first.
    std::vector<std::pair<unsigned, int>> order;
    for (size_t i = 0; i < keys.size(); ++i) {
        map.SetAt(keys[i].first.c_str(), static_cast<int>(i));
        order.emplace_back(ExpectedBucket(keys[i].second), -static_cast<int>(i));
    }
    std::sort(order.begin(), order.end());
    std::vector<int> expected;
    for (const auto& entry : order)
        expected.push_back(-entry.second);

    std::vector<int> walked;
    for (const auto& entry : Walk(map))
        walked.push_back(entry.second);
    EXPECT_EQ(walked, expected);

    std::vector<int> visited;
    map.ForEach([&visited](const WideString&, int value) { visited.push_back(value); });
    EXPECT_EQ(visited, expected);
}

TEST(CStringMapTo, KeysFoldToUpperCaseAndLookupsIgnoreCase) {
    Map map;
    map.SetAt(L"Status", 1);
    map.SetAt(L"STATUS", 2); // same key: overwrites
    int value = 0;
    EXPECT_TRUE(map.Lookup(L"status", value));
    EXPECT_EQ(value, 2);
    EXPECT_EQ(map.GetCount(), 1u);
    EXPECT_EQ(Walk(map).front().first, L"STATUS");

    // Only ASCII letters fold.
    map.SetAt(L"\u00e4", 3);
    EXPECT_FALSE(map.Lookup(L"\u00c4", value));
    EXPECT_EQ(value, 2) << "a failed lookup leaves the output alone";

    // operator[] reaches the same entry, and enters a zero value for a new key.
    map[L"sTaTuS"] = 7;
    EXPECT_TRUE(map.Lookup(L"STATUS", value));
    EXPECT_EQ(value, 7);
    EXPECT_EQ(map[L"fresh"], 0);
    EXPECT_EQ(map.GetCount(), 3u);

    // A null key is the empty key.
    map.SetAt(static_cast<const wchar_t*>(nullptr), 4);
    EXPECT_TRUE(map.Lookup(L"", value));
    EXPECT_EQ(value, 4);
}

TEST(CStringMapTo, ManyEntriesStayReachable) {
    Map map;
    const int count = 10000;
    for (int i = 0; i < count; ++i)
        map.SetAt((L"row-" + std::to_wstring(i)).c_str(), i);
    for (int i = 0; i < count; i += 2)
        EXPECT_TRUE(map.RemoveKey(L"ROW-" + std::to_wstring(i)));
    EXPECT_EQ(map.GetCount(), static_cast<size_t>(count / 2));
    for (int i = 0; i < count; ++i) {
        int value = -1;
        EXPECT_EQ(map.Lookup(L"Row-" + std::to_wstring(i), value), i % 2 == 1);
    }
    // Freed nodes are drawn again.
    for (int i = 0; i < count; i += 2)
        map.SetAt(L"row-" + std::to_wstring(i), -i);
    int value = 0;
    EXPECT_TRUE(map.Lookup(L"row-42", value));
    EXPECT_EQ(value, -42);
    EXPECT_EQ(Walk(map).size(), static_cast<size_t>(count));
    EXPECT_FALSE(map.RemoveKey(L"row-x"));

    map.RemoveAll();
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.GetStartPosition(), nullptr);
}

} // namespace
} // namespace torvex

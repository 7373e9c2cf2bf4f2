#include "torvex/family/CStringMapTo.h"

#include <gtest/gtest.h>

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

// The walk goes bucket after bucket of 17, newest first within a bucket, the bucket being the
// hash * 33 + UTF-16 unit of the folded key. Worked by hand: "A" 65 % 17 = 14, "R" 82 % 17 = 14,
// "B" 66 % 17 = 15, "AB" (65 * 33 + 66) % 17 = 1, "RID" ((82 * 33 + 73) * 33 + 68) % 17 = 9,
// U+1F600 as D83D DE00 gives 13; "SOURCE_MEMBER_REVISION" gives 3 with the hash kept in 32
// bits (11 in 64); "STATUS" shares bucket 1 with "AB" (16 with a multiplier of 31). ForEach walks
// alike.
TEST(CStringMapTo, WalksBucketAfterBucketNewestFirstWithinABucket) {
    Map map;
    map.SetAt(L"a", 1);
    map.SetAt(L"B", 2);
    map.SetAt(L"ab", 3);
    map.SetAt(L"r", 4);
    map.SetAt(L"\U0001F600", 5);
    map.SetAt(L"Rid", 6);
    map.SetAt(L"Source_Member_Revision", 7);
    map.SetAt(L"Status", 8);
    const std::vector<std::pair<WideString, int>> expected = {
        {L"STATUS", 8}, {L"AB", 3},         {L"SOURCE_MEMBER_REVISION", 7},
        {L"RID", 6},    {L"\U0001F600", 5}, {L"R", 4},
        {L"A", 1},      {L"B", 2}};
    EXPECT_EQ(Walk(map), expected);
    std::vector<std::pair<WideString, int>> visited;
    map.ForEach([&visited](const WideString& key, int value) { visited.emplace_back(key, value); });
    EXPECT_EQ(visited, expected);
}

// Keys fold to upper case (ASCII only), so lookups, overwrites and operator[] ignore case; a
// failed lookup leaves the output alone; a null key is the empty key.
TEST(CStringMapTo, KeysFoldToUpperCaseAndLookupsIgnoreCase) {
    Map map;
    map.SetAt(L"Status", 1);
    map.SetAt(L"STATUS", 2);
    int value = 0;
    EXPECT_TRUE(map.Lookup(L"status", value));
    EXPECT_EQ(value, 2);
    EXPECT_EQ(map.GetCount(), 1u);
    map.SetAt(L"\u00e4", 3);
    EXPECT_FALSE(map.Lookup(L"\u00c4", value));
    EXPECT_EQ(value, 2);
    map[L"sTaTuS"] = 7;
    EXPECT_EQ(map[L"fresh"], 0);
    EXPECT_EQ(map.GetCount(), 3u);
    map.SetAt(static_cast<const wchar_t*>(nullptr), 4);
    EXPECT_TRUE(map.Lookup(L"", value));
    EXPECT_EQ(value, 4);
    EXPECT_EQ(Walk(map), (std::vector<std::pair<WideString, int>>{
                             {L"", 4}, {L"STATUS", 7}, {L"\u00e4", 3}, {L"FRESH", 0}}));
}

// Ten thousand keys, half removed and entered again, all stay reachable.
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

#include "torvex/family/CStringMapTo.h"

#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
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

// A lookup remembers the entry it found by the address of the text asked: the same buffer asked
// again once its text changed in place (another key, another case, a prefix, a longer text, a
// key removed or entered since) gets what the text names now.
TEST(CStringMapTo, ATextChangedInPlaceIsLookedUpAfresh) {
    Map map;
    map.SetAt(L"DK", 1);
    map.SetAt(L"D", 2);
    map.SetAt(L"K", 3);
    const std::pair<const wchar_t*, int> steps[] = {
        {L"dk", 1}, {L"d", 2},         {L"dk", 1}, {L"Dk", 1},     {L"dkx", -1},
        {L"k", 3},  {L"remove k", -1}, {L"k", -1}, {L"add k", -1}, {L"k", 4},
    };
    wchar_t buffer[16] = {};
    for (const auto& [text, expected] : steps) {
        const WideString step = text;
        if (step == L"remove k") {
            map.RemoveKey(L"K");
            continue;
        }
        if (step == L"add k") {
            map.SetAt(L"K", 4);
            continue;
        }
        std::copy(step.c_str(), step.c_str() + step.size() + 1, buffer);
        int value = -1;
        map.Lookup(buffer, value);
        EXPECT_EQ(value, expected) << platform::ToUtf8(step);
    }

    // Many buffers, more than a set of remembered texts holds, asked round after round while
    // every third one changes its text between rounds.
    Map many;
    for (int i = 0; i < 60; ++i)
        many.SetAt(std::to_wstring(i).c_str(), i);
    std::vector<std::array<wchar_t, 4>> buffers(200);
    for (int round = 0; round < 4; ++round) {
        for (size_t i = 0; i < buffers.size(); ++i) {
            const int key = static_cast<int>((i + (i % 3 == 0 ? round : 0)) % 70);
            const std::wstring text = std::to_wstring(key);
            std::copy(text.c_str(), text.c_str() + text.size() + 1, buffers[i].data());
            int value = -1;
            many.Lookup(buffers[i].data(), value);
            EXPECT_EQ(value, key < 60 ? key : -1) << "round " << round << ", buffer " << i;
        }
    }
}

// Random entries and removals over a small key space, so that probe runs in the index form, are
// broken by removals and wrap around the table: the map agrees with a plain ordered map at every
// step, and both of its walks visit exactly the live entries.
TEST(CStringMapTo, AgreesWithAPlainMapThroughEntriesAndRemovals) {
    Map map;
    std::map<WideString, int> model;
    std::mt19937 random(20261122);
    auto key = [&](unsigned n) { return L"row-" + std::to_wstring(n); };
    auto folded = [&](unsigned n) { return L"ROW-" + std::to_wstring(n); };
    for (int step = 0; step < 30000; ++step) {
        const unsigned n = random() % 700;
        const int value = static_cast<int>(random() % 1000);
        switch (random() % 3) {
        case 0:
        case 1:
            map.SetAt(key(n).c_str(), value);
            model[folded(n)] = value;
            break;
        default:
            ASSERT_EQ(map.RemoveKey(key(n)), model.erase(folded(n)) == 1) << step;
        }
        int found = -1;
        const auto it = model.find(folded(random() % 700));
        if (it != model.end()) {
            ASSERT_TRUE(map.Lookup(it->first, found)) << step;
            ASSERT_EQ(found, it->second) << step;
        }
        if (step % 5000 == 4999 || step == 29999) {
            ASSERT_EQ(map.GetCount(), model.size());
            std::vector<std::pair<WideString, int>> walked = Walk(map);
            std::vector<std::pair<WideString, int>> stored;
            map.ForEachStored([&](const WideString& k, int v) { stored.emplace_back(k, v); });
            std::sort(walked.begin(), walked.end());
            std::sort(stored.begin(), stored.end());
            const std::vector<std::pair<WideString, int>> expected(model.begin(), model.end());
            EXPECT_EQ(walked, expected) << step;
            EXPECT_EQ(stored, expected) << step;
            for (unsigned k = 0; k < 700; ++k)
                ASSERT_EQ(map.Lookup(key(k), found), model.count(folded(k)) == 1) << k;
        }
    }
    map.RemoveAll();
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.GetStartPosition(), nullptr);
    EXPECT_FALSE(map.RemoveKey(L"row-1"));
    map.SetAt(L"again", 1);
    EXPECT_EQ(Walk(map), (std::vector<std::pair<WideString, int>>{{L"AGAIN", 1}}));
}

} // namespace
} // namespace torvex

#include "torvex/text/TextKeyedTable.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace torvex {
namespace {

// Entries keep their addresses while the table grows and other entries go; the walk follows
// the order they were made, a freed place being taken by the next new entry; keys compare
// exactly (no folding).
TEST(TextKeyedTable, EntriesStayPutAndWalkInTheOrderTheyWereMade) {
    TextKeyedTable<int> table;
    std::vector<TextKeyedTable<int>::Entry*> made;
    for (int i = 0; i < 5000; ++i) {
        auto [entry, fresh] = table.TryEmplace(L"R" + std::to_wstring(i), i);
        ASSERT_TRUE(fresh);
        made.push_back(entry);
    }
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(table.Find(L"R" + std::to_wstring(i)), made[static_cast<size_t>(i)]) << i;
    EXPECT_EQ(table.Find(L"r1"), nullptr);

    WideString key = L"R7";
    auto [existing, fresh] = table.TryEmplace(std::move(key), -1);
    EXPECT_FALSE(fresh);
    EXPECT_EQ(existing, made[7]);
    EXPECT_EQ(existing->value, 7) << "an entry already there keeps its value";
    EXPECT_EQ(key, L"R7") << "the key is not taken when nothing is made";

    table.Erase(made[1]);
    table.Erase(made[3]);
    EXPECT_EQ(table.Size(), 4998u);
    EXPECT_EQ(table.Find(L"R1"), nullptr);
    auto* reused = table.TryEmplace(L"new", 99).first;
    EXPECT_EQ(reused, made[3]) << "the last freed place is taken first";
    std::vector<int> walked;
    table.ForEach([&](const TextKeyedTable<int>::Entry& entry) {
        if (walked.size() < 5)
            walked.push_back(entry.value);
    });
    EXPECT_EQ(walked, (std::vector<int>{0, 2, 99, 4, 5}));

    table.Clear();
    EXPECT_TRUE(table.Empty());
    EXPECT_EQ(table.Find(L"R0"), nullptr);
    EXPECT_TRUE(table.TryEmplace(L"R0", 1).second);
}

struct Fragile {
    explicit Fragile(bool fail) {
        if (fail)
            throw std::runtime_error("no");
    }
};

// A value whose construction throws leaves the table as it was, and the place is used later.
TEST(TextKeyedTable, AThrowingValueLeavesTheTableAsItWas) {
    TextKeyedTable<Fragile> table;
    ASSERT_TRUE(table.TryEmplace(L"a", false).second);
    EXPECT_THROW(table.TryEmplace(L"b", true), std::runtime_error);
    EXPECT_EQ(table.Size(), 1u);
    EXPECT_EQ(table.Find(L"b"), nullptr);
    ASSERT_TRUE(table.TryEmplace(L"b", false).second);
    int count = 0;
    table.ForEach([&](const auto&) { ++count; });
    EXPECT_EQ(count, 2);
}

} // namespace
} // namespace torvex

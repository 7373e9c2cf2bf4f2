// The value caches in memory: rows, languages and columns, the row memo, the dirty flag and when
// the file is written.

#include "CacheTestSupport.h"

#include "torvex/evaluation/CCacheArchive.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/evaluation/CValueCacheLoc.h"
#include "torvex/evaluation/CValueCacheSimple.h"

#include <gtest/gtest.h>

#include <optional>

using namespace torvex;
using torvex::testing::Cached;
using torvex::testing::FileBytes;
using torvex::testing::Header;
using torvex::testing::ScratchDirectory;

namespace {

// A file with the column A, the language en and the row R1, whose value of A is `value` (none
// when empty).
std::string OneRowFile(const std::u16string& value) {
    FileBytes b = Header({u"A"}, {u"en"});
    b.I32(1).Str(u"R1").I32(1).U16(0);
    if (value.empty())
        b.I32(0);
    else
        b.I32(1).U16(0).Str(value);
    return b.Bytes();
}

size_t LanguagesOf(CTableValueCache& cache, const WideString& row) {
    auto* loc = dynamic_cast<CValueCacheLoc*>(cache.GetRowCache(row, false));
    return loc ? loc->GetLanguageCount() : 0;
}

TEST(ValueCache, MissCreatesNothing) {
    CTableValueCache cache(L"");
    WideString value = L"untouched";
    EXPECT_EQ(cache.GetValue(L"R1", L"A", L"en", value), 1);
    EXPECT_EQ(value, L"untouched");
    EXPECT_EQ(cache.GetRowCount(), 0u);
    EXPECT_EQ(cache.GetRowCache(L"R1", false), nullptr);
    EXPECT_FALSE(cache.IsDirty());
    EXPECT_EQ(cache.GetFilePath(), L"");
}

TEST(ValueCache, OverwriteKeepsOneEntryWithTheSecondValue) {
    ScratchDirectory dir;
    {
        CTableValueCache cache(dir.Path());
        cache.SetValue(L"R1", L"A", L"en", L"1");
        cache.SetValue(L"R1", L"A", L"en", L"2");
        EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), L"2");
        cache.Save({L"A"});
    }
    EXPECT_EQ(dir.Read(), OneRowFile(u"2"));
}

TEST(ValueCache, LanguagesAreIndependentAndEmptyLanguagesGo) {
    CTableValueCache cache(L"");
    cache.SetValue(L"R1", L"A", L"en", L"1");
    cache.SetValue(L"R1", L"A", L"de", L"eins");
    cache.SetValue(L"R1", L"B", L"de", L"zwei");
    cache.SetValue(L"R2", L"A", L"en", L"one");
    EXPECT_EQ(cache.GetLanguageIndex(L"en"), 0);
    EXPECT_EQ(cache.GetLanguageIndex(L"de"), 1);
    EXPECT_EQ(cache.GetLanguageIndex(L"EN"), -1); // keys compare exactly
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"EN"), std::nullopt);
    EXPECT_EQ(Cached(cache, L"r1", L"A", L"en"), std::nullopt);

    // Clearing the last column of a language removes the language from the row.
    cache.ClearValue(L"R1", L"A", L"en");
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), std::nullopt);
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"de"), L"eins");
    EXPECT_EQ(LanguagesOf(cache, L"R1"), 1u);

    // ClearColumnInRow takes every language of one row; ClearColumn every row.
    cache.SetValue(L"R1", L"A", L"en", L"1");
    cache.ClearColumnInRow(L"R1", L"A");
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"de"), std::nullopt);
    EXPECT_EQ(Cached(cache, L"R1", L"B", L"de"), L"zwei");
    EXPECT_EQ(Cached(cache, L"R2", L"A", L"en"), L"one");
    EXPECT_EQ(LanguagesOf(cache, L"R1"), 1u);

    cache.SetValue(L"R1", L"A", L"en", L"1");
    cache.ClearColumn(L"A");
    cache.ClearColumn(L"B");
    EXPECT_EQ(Cached(cache, L"R2", L"A", L"en"), std::nullopt);
    EXPECT_EQ(Cached(cache, L"R1", L"B", L"de"), std::nullopt);
    // The row caches stay, empty.
    EXPECT_EQ(cache.GetRowCount(), 2u);
    EXPECT_EQ(LanguagesOf(cache, L"R1"), 0u);
}

TEST(ValueCache, DirtyFlag) {
    ScratchDirectory dir;
    dir.Write(OneRowFile(u"v"));
    struct Case {
        const char* name;
        void (*change)(CTableValueCache&);
        bool dirty;
    };
    const Case cases[] = {
        {"read",
         [](CTableValueCache& c) {
             WideString v;
             c.GetValue(L"R1", L"A", L"en", v);
         },
         false},
        {"clear a miss", [](CTableValueCache& c) { c.ClearValue(L"R1", L"B", L"en"); }, false},
        {"clear a hit", [](CTableValueCache& c) { c.ClearValue(L"R1", L"A", L"en"); }, true},
        {"drop a missing row", [](CTableValueCache& c) { c.DropRow(L"R9"); }, false},
        {"drop a row", [](CTableValueCache& c) { c.DropRow(L"R1"); }, true},
        {"look up a new row", [](CTableValueCache& c) { c.GetRowCache(L"R2", true); }, true},
        {"set", [](CTableValueCache& c) { c.SetValue(L"R1", L"A", L"en", L"v"); }, true},
        {"clear all", [](CTableValueCache& c) { c.GetRowCache(L"R1", false)->ClearAll(); }, true},
    };
    for (const Case& c : cases) {
        CTableValueCache cache(dir.Path());
        ASSERT_FALSE(cache.IsDirty()) << c.name;
        c.change(cache);
        EXPECT_EQ(cache.IsDirty(), c.dirty) << c.name;
    }
}

TEST(ValueCache, RowMemoNeverOutlivesItsRow) {
    CTableValueCache cache(L"");
    cache.SetValue(L"R1", L"A", L"en", L"1");
    cache.SetValue(L"R2", L"A", L"en", L"2");
    CValueCache* r2 = cache.GetRowCache(L"R2", false);
    EXPECT_EQ(cache.GetRowCache(L"R2", true), r2); // the memo answers
    cache.DropRow(L"R2");                          // the memo's row
    EXPECT_EQ(cache.GetRowCache(L"R2", false), nullptr);
    EXPECT_EQ(Cached(cache, L"R2", L"A", L"en"), std::nullopt);
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), L"1");
    cache.DropRow(L"R1"); // the memo again, after the read above
    EXPECT_EQ(cache.GetRowCount(), 0u);
    cache.SetValue(L"R1", L"A", L"en", L"new");
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), L"new");

    // Clear forgets rows, memo and indexes, but keeps the dirty flag.
    cache.Clear();
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), std::nullopt);
    EXPECT_EQ(cache.GetLanguageIndex(L"en"), -1);
    EXPECT_TRUE(cache.IsDirty());

    // An empty row id names no row while none is remembered.
    EXPECT_EQ(cache.GetRowCache(L"", true), nullptr);
    cache.SetValue(L"", L"A", L"en", L"ignored");
    EXPECT_EQ(cache.GetRowCount(), 0u);
}

TEST(ValueCache, SaveWritesOnlyWithPathRowsAndChanges) {
    const std::string original = OneRowFile(u"");
    {
        SCOPED_TRACE("no directory");
        CTableValueCache cache(L"");
        cache.SetValue(L"R1", L"A", L"en", L"1");
        cache.Save({L"A"}); // nowhere to write; nothing to check but that it is quiet
        EXPECT_EQ(cache.GetFilePath(), L"");
    }
    {
        SCOPED_TRACE("changed but no rows");
        ScratchDirectory dir;
        CTableValueCache cache(dir.Path());
        cache.MarkDirty();
        cache.Save({L"A"});
        EXPECT_FALSE(dir.HasFile());
    }
    {
        SCOPED_TRACE("rows but unchanged since the load");
        ScratchDirectory dir;
        dir.Write(original);
        CTableValueCache cache(dir.Path());
        cache.Save({L"B", L"A"});
        EXPECT_EQ(dir.Read(), original);
        cache.MarkDirty();
        cache.Save({L"A"});
        EXPECT_EQ(dir.Read(), original); // written anew, with the same content
        cache.MarkDirty();
        cache.Save({L"B", L"A"});
        EXPECT_NE(dir.Read(), original);
    }
    {
        SCOPED_TRACE("detached");
        ScratchDirectory dir;
        dir.Write(original);
        CTableValueCache cache(dir.Path());
        cache.SetValue(L"R1", L"A", L"en", L"changed");
        cache.DetachFile();
        EXPECT_EQ(cache.GetFilePath(), L"");
        cache.Save({L"A"});
        EXPECT_EQ(dir.Read(), original);
    }
    {
        SCOPED_TRACE("directory that does not exist");
        CTableValueCache cache(L"/nonexistent-torvex-dir/sub");
        cache.SetValue(L"R1", L"A", L"en", L"1");
        cache.Save({L"A"});
        EXPECT_FALSE(platform::PathExists(cache.GetFilePath()));
    }
}

TEST(ValueCache, SimpleCacheIgnoresLanguages) {
    // The owner's column table comes from a file without rows.
    ScratchDirectory dir;
    dir.Write(Header({u"A", u"B"}, {}).I32(0).Bytes());
    CTableValueCache owner(dir.Path());
    ASSERT_EQ(owner.GetColumnNames(), (WideStringList{L"A", L"B"}));

    CValueCacheSimple simple(&owner);
    simple.SetCachedValue(L"A", L"en", L"1");
    simple.SetCachedValue(L"A", L"de", L"2");
    WideString value;
    EXPECT_EQ(simple.GetCachedValue(L"A", L"fr", value), 0);
    EXPECT_EQ(value, L"2");
    simple.ClearColumnInLanguage(L"A", L"xx");
    EXPECT_EQ(simple.GetCachedValue(L"A", L"de", value), 1);

    // Its record: value count, then column index and value; indexes out of the table drop.
    CCacheArchive in(
        FileBytes().I32(3).U16(1).Str(u"b").U16(0xFFFF).Str(u"lost").U16(0).Str(u"a").Bytes());
    EXPECT_EQ(simple.Load(in), 1);
    EXPECT_EQ(simple.GetValueCount(), 2u);
    CCacheArchive cut(FileBytes().I32(2).U16(1).Str(u"b").U16(0).Bytes());
    CValueCacheSimple partial(&owner);
    EXPECT_EQ(partial.Load(cut), 0);
    CCacheArchive empty{std::string()};
    EXPECT_EQ(partial.Load(empty), 0); // keeps what it has
    CValueCacheSimple nothing(&owner);
    CCacheArchive empty2{std::string()};
    EXPECT_EQ(nothing.Load(empty2), -1);
}

} // namespace

// The value caches in memory: rows, languages and columns, the row memo, the dirty flag and when
// the file is written.

#include "CacheTestSupport.h"

#include "torvex/evaluation/CCacheArchive.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/evaluation/CValueCacheLoc.h"
#include "torvex/evaluation/CValueCacheSimple.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>

using namespace torvex;
using torvex::testing::Cached;
using torvex::testing::Fields;
using torvex::testing::Header;
using torvex::testing::ScratchDirectory;

namespace {

// A file with the column A, the language en and the row R1, whose value of A is "v".
std::string OneRowFile() {
    return Header({u"A"}, {u"en"}).Bytes() + Fields("i:1 s:R1 i:1 h:0 i:1 h:0 s:v");
}

size_t LanguagesOf(CTableValueCache& cache, const WideString& row) {
    auto* loc = dynamic_cast<CValueCacheLoc*>(cache.GetRowCache(row, false));
    return loc ? loc->GetLanguageCount() : 0;
}

// Rows, languages and column ids compare exactly; a miss creates nothing; clearing the last
// column of a language removes the language from the row, while rows stay, empty.
TEST(ValueCache, LanguagesAreIndependentAndEmptyLanguagesGo) {
    CTableValueCache cache(L"");
    WideString value = L"untouched";
    EXPECT_EQ(cache.GetValue(L"R1", L"A", L"en", value), 1);
    EXPECT_EQ(value, L"untouched");
    EXPECT_EQ(cache.GetRowCount(), 0u);
    EXPECT_FALSE(cache.IsDirty());
    cache.SetValue(L"R1", L"A", L"en", L"0");
    cache.SetValue(L"R1", L"A", L"en", L"1");
    cache.SetValue(L"R1", L"A", L"de", L"eins");
    cache.SetValue(L"R1", L"B", L"de", L"zwei");
    cache.SetValue(L"R2", L"A", L"en", L"one");
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), L"1");
    EXPECT_EQ(cache.GetLanguageIndex(L"de"), 1);
    EXPECT_EQ(cache.GetLanguageIndex(L"EN"), -1);
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"EN"), std::nullopt);
    EXPECT_EQ(Cached(cache, L"r1", L"A", L"en"), std::nullopt);

    cache.ClearValue(L"R1", L"A", L"en");
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
    EXPECT_EQ(cache.GetRowCount(), 2u);
    EXPECT_EQ(LanguagesOf(cache, L"R1"), 0u);
}

// Values overwritten with shorter, longer and equal texts, cleared, and stored from a view of a
// value the cache itself holds, keep every other value of the row intact, also across the
// rewriting of the row's text buffer that many overwrites cause.
TEST(ValueCache, OverwritesKeepEveryValue) {
    CTableValueCache cache(L"");
    std::map<WideString, WideString> expected;
    auto set = [&](const WideString& column, std::wstring_view value) {
        const WideString copy(value);
        cache.SetValue(L"R1", column, L"en", value);
        expected[column] = copy;
    };
    for (const wchar_t* column : {L"A", L"B", L"C", L"D", L"E"})
        set(column, WideString(L"first value of ") + column);
    for (int i = 0; i < 300; ++i) {
        set(L"B", WideString(static_cast<size_t>(i * 7 % 41), L'b')); // longer and shorter
        set(L"D", L"same length");
        if (i % 50 == 0) {
            cache.ClearValue(L"R1", L"C", L"en");
            expected.erase(L"C");
            set(L"C", std::to_wstring(i));
        }
    }
    // Views into the cache's own storage: copied to another column, and shrunk in place.
    std::wstring_view own;
    ASSERT_TRUE(cache.GetRowCache(L"R1", false)->FindCachedValue(L"A", L"en", own));
    set(L"F", own);
    ASSERT_TRUE(cache.GetRowCache(L"R1", false)->FindCachedValue(L"A", L"en", own));
    set(L"A", own.substr(6));
    for (const auto& [column, value] : expected)
        EXPECT_EQ(Cached(cache, L"R1", column, L"en"), value) << platform::ToUtf8(column);
    EXPECT_EQ(Cached(cache, L"R1", L"B", L"de"), std::nullopt);
}

// Reads and clears that find nothing keep the cache clean; every change dirties it.
TEST(ValueCache, DirtyFlag) {
    ScratchDirectory dir;
    dir.Write(OneRowFile());
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

// The memo of the last row never outlives its row; Clear forgets rows, memo and indexes but
// keeps the dirty flag; an empty row id names no row.
TEST(ValueCache, RowMemoNeverOutlivesItsRow) {
    CTableValueCache cache(L"");
    cache.SetValue(L"R1", L"A", L"en", L"1");
    cache.SetValue(L"R2", L"A", L"en", L"2");
    CValueCache* r2 = cache.GetRowCache(L"R2", false);
    EXPECT_EQ(cache.GetRowCache(L"R2", true), r2);
    cache.DropRow(L"R2");
    EXPECT_EQ(cache.GetRowCache(L"R2", false), nullptr);
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), L"1");
    cache.DropRow(L"R1"); // the memo again, after the read above
    EXPECT_EQ(cache.GetRowCount(), 0u);
    cache.SetValue(L"R1", L"A", L"en", L"new");
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), L"new");
    cache.Clear();
    EXPECT_EQ(Cached(cache, L"R1", L"A", L"en"), std::nullopt);
    EXPECT_EQ(cache.GetLanguageIndex(L"en"), -1);
    EXPECT_TRUE(cache.IsDirty());
    EXPECT_EQ(cache.GetRowCache(L"", true), nullptr);
    cache.SetValue(L"", L"A", L"en", L"ignored");
    EXPECT_EQ(cache.GetRowCount(), 0u);
}

// Save writes only with a folder that exists, with rows, with changes and while attached.
TEST(ValueCache, SaveWritesOnlyWithPathRowsAndChanges) {
    const std::string original = OneRowFile();
    {
        ScratchDirectory dir;
        CTableValueCache cache(dir.Path());
        cache.MarkDirty();
        cache.Save({L"A"});
        EXPECT_FALSE(dir.HasFile()) << "changed but no rows";
    }
    {
        ScratchDirectory dir;
        dir.Write(original);
        CTableValueCache cache(dir.Path());
        cache.Save({L"B", L"A"});
        EXPECT_EQ(dir.Read(), original) << "rows but unchanged since the load";
        cache.SetValue(L"R1", L"A", L"en", L"w");
        cache.SetValue(L"R1", L"A", L"en", L"v");
        cache.Save({L"A"});
        EXPECT_EQ(dir.Read(), original) << "an overwrite keeps one entry";
        cache.MarkDirty();
        cache.Save({L"B", L"A"});
        EXPECT_NE(dir.Read(), original);
    }
    {
        ScratchDirectory dir;
        dir.Write(original);
        CTableValueCache cache(dir.Path());
        cache.SetValue(L"R1", L"A", L"en", L"changed");
        cache.DetachFile();
        EXPECT_EQ(cache.GetFilePath(), L"");
        cache.Save({L"A"});
        EXPECT_EQ(dir.Read(), original) << "detached";
    }
    CTableValueCache cache(L"/nonexistent-torvex-dir/sub");
    cache.SetValue(L"R1", L"A", L"en", L"1");
    cache.Save({L"A"});
    EXPECT_FALSE(platform::PathExists(cache.GetFilePath()));
}

// The simple cache ignores languages; its record is a value count, then column index and value,
// indexes outside the owner's column table dropped; a cut record keeps what was read.
TEST(ValueCache, SimpleCacheIgnoresLanguages) {
    ScratchDirectory dir;
    dir.Write(Header({u"A", u"B"}, {}).Bytes() + Fields("i:0"));
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

    CCacheArchive in(Fields("i:3 h:1 s:b h:0xFFFF s:lost h:0 s:a"));
    EXPECT_EQ(simple.Load(in), 1);
    EXPECT_EQ(simple.GetValueCount(), 2u);
    CCacheArchive cut(Fields("i:2 h:1 s:b h:0"));
    CValueCacheSimple partial(&owner);
    EXPECT_EQ(partial.Load(cut), 0);
    CCacheArchive empty{std::string()};
    EXPECT_EQ(partial.Load(empty), 0); // keeps what it has
    CValueCacheSimple nothing(&owner);
    CCacheArchive empty2{std::string()};
    EXPECT_EQ(nothing.Load(empty2), -1);
}

} // namespace

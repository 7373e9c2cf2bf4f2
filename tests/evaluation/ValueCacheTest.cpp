// The value caches in memory: rows, languages and columns, the row memo, the dirty flag and when
// the file is written.

#include "CacheTestSupport.h"

#include "torvex/evaluation/CCacheArchive.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/evaluation/CValueCacheLoc.h"
#include "torvex/evaluation/CValueCacheSimple.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

// What the reads of columns A, B and C in one row give with the readers' hints: values or "-".
WideString ReadWithHints(CTableValueCache& cache, const WideString& row,
                         CTableValueCache::ColumnReadHint (&hints)[3]) {
    const wchar_t* const columns[] = {L"A", L"B", L"C"};
    WideString read;
    for (size_t i = 0; i < 3; ++i) {
        WideString value;
        read +=
            (i ? L"|" : L"") +
            (cache.GetValue(row.c_str(), columns[i], L"en", hints[i], value) == 0 ? value : L"-");
    }
    return read;
}

// A reader keeps the place of its column's value in the row read last and tries it first; rows
// that hold the columns in other orders, with gaps, only in another language or so many that
// they are indexed give each reader its own column's value all the same, in either direction.
TEST(ValueCache, ReadHintsGiveEachColumnItsOwnValue) {
    struct Row {
        const wchar_t* id;
        std::vector<const wchar_t*> steps; // a column stored as "<row>.<column>", or "-" forgets
        const wchar_t* read;               // A|B|C in "en"
    };
    const Row rows[] = {
        {L"R1", {L"A", L"B", L"C"}, L"R1.A|R1.B|R1.C"},
        {L"R2", {L"C", L"A"}, L"R2.A|-|R2.C"},
        {L"R3", {L"A", L"B", L"C", L"-B"}, L"R3.A|-|R3.C"},
        {L"R4", {L"A", L"B", L"C", L"-A", L"A"}, L"R4.A|R4.B|R4.C"},
        {L"R6", {L"de:A", L"de:B"}, L"-|-|-"},
        {L"R7", {L"many", L"C", L"B", L"A"}, L"R7.A|R7.B|R7.C"},
        {L"R8", {L"C", L"B", L"A", L"many", L"-C"}, L"R8.A|R8.B|-"},
    };
    CTableValueCache cache(L"");
    for (const Row& row : rows) {
        const WideString id = row.id;
        for (const WideString step : row.steps) {
            if (step == L"many") { // enough values for the row's language to keep an index
                for (int i = 0; i < 40; ++i)
                    cache.SetValue(id, L"X" + std::to_wstring(i), L"en", L"x");
            } else if (step[0] == L'-') {
                cache.ClearValue(id, step.substr(1), L"en");
            } else if (step.starts_with(L"de:")) {
                cache.SetValue(id, step.substr(3), L"de", id + L"." + step.substr(3));
            } else {
                cache.SetValue(id, step, L"en", id + L"." + step);
            }
        }
    }
    CTableValueCache::ColumnReadHint forward[3], backward[3];
    for (const Row& row : rows)
        EXPECT_EQ(ReadWithHints(cache, row.id, forward), row.read) << platform::ToUtf8(row.id);
    for (size_t i = std::size(rows); i-- > 0;)
        EXPECT_EQ(ReadWithHints(cache, rows[i].id, backward), rows[i].read)
            << platform::ToUtf8(rows[i].id);
}

// Between two walks over the rows with the same hints, which teach each row the row read after
// it and each reader its pooled key: walks in other orders, and rows dropped, made again,
// cleared or loaded (a new key pool: keys at other addresses, values in another order) still
// give each cell its own value. The ids are short enough to lie inside the rows' entries, so
// that a note naming a dropped row would still match its id and hand out the dropped row.
TEST(ValueCache, WalksWithHintsFindEachCellWhateverCameBetween) {
    static const WideString ids[] = {L"r0", L"r1", L"r2"};
    using Between = void (*)(CTableValueCache&);
    struct Case {
        const char* name;
        Between between;
        std::vector<int> walk; // indexes into ids; -1 is the empty id
        const wchar_t* read;   // A|B|C of each row read
    };
    const Case cases[] = {
        {"backward", [](CTableValueCache&) {}, {2, 1, 0}, L"2A|2B|2C 1A|1B|1C 0A|0B|0C"},
        {"the empty id between", [](CTableValueCache&) {}, {0, -1, 2}, L"0A|0B|0C -|-|- 2A|2B|2C"},
        {"a row dropped",
         [](CTableValueCache& c) { c.DropRow(ids[1]); },
         {0, 1, 2},
         L"0A|0B|0C -|-|- 2A|2B|2C"},
        {"a row dropped and made again in another order",
         [](CTableValueCache& c) {
             c.DropRow(ids[1]);
             c.SetValue(ids[1], L"C", L"en", L"new C");
             c.SetValue(ids[1], L"A", L"en", L"new A");
         },
         {0, 1, 2},
         L"0A|0B|0C new A|-|new C 2A|2B|2C"},
        {"cleared and filled again in another order",
         [](CTableValueCache& c) {
             c.Clear();
             for (const wchar_t* column : {L"Z", L"C", L"B", L"A"})
                 c.SetValue(ids[1], column, L"en", WideString(L"new ") + column);
         },
         {0, 1},
         L"-|-|- new A|new B|new C"},
        {"loaded from the file",
         [](CTableValueCache& c) { c.Load(); },
         {0, 1},
         L"saved A|saved B|- -|-|-"},
    };
    ScratchDirectory dir;
    {
        CTableValueCache file(dir.Path());
        file.SetValue(ids[0], L"B", L"en", L"saved B");
        file.SetValue(ids[0], L"A", L"en", L"saved A");
        file.Save({L"A", L"B"});
    }
    for (const Case& c : cases) {
        CTableValueCache cache(dir.Path());
        cache.Clear();
        for (size_t i = 0; i < std::size(ids); ++i)
            for (const wchar_t* column : {L"A", L"B", L"C"})
                cache.SetValue(ids[i], column, L"en", std::to_wstring(i) + column);
        CTableValueCache::ColumnReadHint hints[3];
        for (const WideString& id : ids)
            ReadWithHints(cache, id, hints);
        c.between(cache);
        WideString read;
        for (int i : c.walk)
            read += (read.empty() ? L"" : L" ") +
                    ReadWithHints(cache, i < 0 ? WideString() : ids[i], hints);
        EXPECT_EQ(read, c.read) << c.name;
    }
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

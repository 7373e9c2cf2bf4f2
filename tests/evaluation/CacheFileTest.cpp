// The table cache file: the bytes the writer produces, and what the reader makes of complete,
// foreign, cut and damaged files.

#include "CacheTestSupport.h"

#include "platform/ScopedEnvironment.h"

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/platform/UserLocale.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

using namespace torvex;
using torvex::testing::Cached;
using torvex::testing::Fields;
using torvex::testing::FileBytes;
using torvex::testing::Header;
using torvex::testing::ScratchDirectory;

namespace {

// The written file matches bytes built by hand from the layout (version, column and language
// tables, rows with their languages and values; a column outside the table as 0xFFFF), and
// reads back to the same values.
TEST(CacheFile, WritesTheLayoutAndReadsItBack) {
    ScratchDirectory dir;
    {
        CTableValueCache cache(dir.Path());
        cache.SetValue(L"R2", L"Length", L"en", L"20");
        cache.SetValue(L"R1", L"Width", L"de", L"2,5");
        cache.SetValue(L"R1", L"Length", L"en", L"10");
        cache.SetValue(L"R1", L"Old", L"en", L"x"); // not in the column table
        cache.SetValue(L"R1", L"Emoji", L"de", L"\U0001F600 \u00e4");
        cache.Save({L"Length", L"Width", L"Emoji"});
    }
    FileBytes expected = Header({u"Length", u"Width", u"Emoji"}, {u"en", u"de"});
    expected.I32(2);
    expected.Str(u"R1").I32(2);
    expected.U16(1).I32(2).U16(2).Str(u"\U0001F600 \u00e4").U16(1).Str(u"2,5");
    expected.U16(0).I32(2).U16(0).Str(u"10").U16(0xFFFF).Str(u"x");
    expected.Str(u"R2").I32(1).U16(0).I32(1).U16(0).Str(u"20");
    ASSERT_EQ(dir.Read(), expected.Bytes());

    CTableValueCache loaded(dir.Path());
    EXPECT_TRUE(loaded.Load());
    EXPECT_FALSE(loaded.IsDirty());
    EXPECT_EQ(loaded.GetColumnNames(), (WideStringList{L"Length", L"Width", L"Emoji"}));
    EXPECT_EQ(loaded.GetLanguageNames(), (WideStringList{L"en", L"de"}));
    EXPECT_EQ(Cached(loaded, L"R1", L"Length", L"en"), L"10");
    EXPECT_EQ(Cached(loaded, L"R1", L"Width", L"de"), L"2,5");
    EXPECT_EQ(Cached(loaded, L"R1", L"Emoji", L"de"), L"\U0001F600 \u00e4");
    EXPECT_EQ(Cached(loaded, L"R2", L"Length", L"en"), L"20");
    EXPECT_EQ(Cached(loaded, L"R1", L"Old", L"en"), std::nullopt); // 0xFFFF: dropped
    EXPECT_EQ(Cached(loaded, L"R1", L"Length", L"de"), std::nullopt);
}

// Rows, languages and values are written in id order, whatever order they were stored in, so
// that one cache always gives the same file.
TEST(CacheFile, WritesRowsLanguagesAndValuesInIdOrder) {
    ScratchDirectory dir;
    std::vector<std::u16string> rows;
    for (int i = 0; i < 40; ++i)
        rows.push_back(u"R" + platform::ToUtf16(std::to_wstring((i * 17) % 40)));
    {
        CTableValueCache cache(dir.Path());
        for (const std::u16string& row : rows) {
            const WideString id = platform::FromUtf16(row);
            cache.SetValue(id, L"c", L"en", L"3");
            cache.SetValue(id, L"b", L"de", L"2");
            cache.SetValue(id, L"a", L"en", L"1");
        }
        cache.Save({L"a", L"b", L"c"});
    }
    std::sort(rows.begin(), rows.end());
    FileBytes expected = Header({u"a", u"b", u"c"}, {u"en", u"de"});
    expected.I32(static_cast<int32_t>(rows.size()));
    for (const std::u16string& row : rows) {
        expected.Str(row).I32(2);
        expected.U16(1).I32(1).U16(1).Str(u"2");
        expected.U16(0).I32(2).U16(0).Str(u"1").U16(2).Str(u"3");
    }
    EXPECT_EQ(dir.Read(), expected.Bytes());
}

// Strings use the byte, 16-bit or 32-bit length form by their length, at the exact limits, and
// read back.
TEST(CacheFile, WriterUsesTheShortestLengthForm) {
    const std::vector<size_t> lengths = {0, 1, 254, 255, 65533, 65534, 70000};
    ScratchDirectory dir;
    std::vector<std::u16string> columns;
    {
        CTableValueCache cache(dir.Path());
        WideStringList ids;
        for (size_t i = 0; i < lengths.size(); ++i) {
            ids.push_back(L"C" + std::to_wstring(i));
            columns.push_back(u"C" + std::u16string(1, char16_t(u'0' + i)));
            cache.SetValue(L"R", ids.back(), L"en", WideString(lengths[i], L'v'));
        }
        cache.Save(ids);
    }
    FileBytes expected = Header(columns, {u"en"});
    expected.I32(1).Str(u"R").I32(1).U16(0).I32(static_cast<int32_t>(lengths.size()));
    for (size_t i = 0; i < lengths.size(); ++i)
        expected.U16(static_cast<uint16_t>(i)).Str(std::u16string(lengths[i], u'v'));
    const std::string bytes = dir.Read();
    ASSERT_EQ(bytes, expected.Bytes());
    // Spot checks of the builder's three forms in the written bytes.
    EXPECT_NE(bytes.find(std::string("\xFF\xFE\xFF\xFE", 4)), std::string::npos);         // 254
    EXPECT_NE(bytes.find(std::string("\xFF\xFE\xFF\xFF\xFF\x00", 6)), std::string::npos); // 255
    EXPECT_NE(bytes.find(std::string("\xFF\xFE\xFF\xFF\xFF\xFF\xFE\xFF\x00\x00", 10)),
              std::string::npos); // 65534

    CTableValueCache loaded(dir.Path());
    for (size_t i = 0; i < lengths.size(); ++i)
        EXPECT_EQ(Cached(loaded, L"R", L"C" + std::to_wstring(i), L"en"),
                  WideString(lengths[i], L'v'))
            << lengths[i];
}

// The reader takes every length form, wide or narrow (narrow bytes read as Latin-1), anywhere a
// string stands.
TEST(CacheFile, ReaderAcceptsEveryStringForm) {
    FileBytes b;
    b.I32(1).U16(5).Str(u"byte").StrWordLength(u"word").StrDwordLength(u"dword");
    b.Narrow("narrow\xE4").Narrow(std::string(300, 'n') + "\xFF");
    b.U16(1).Narrow("en");
    b.I32(1).StrWordLength(u"Row").I32(1).U16(0).I32(5);
    b.U16(0).Str(u"\u20ac1");
    b.U16(1).StrWordLength(u"");
    b.U16(2).StrDwordLength(u"\U0001F600");
    b.U16(3).Narrow("\xB5m");
    b.U16(4).Narrow(std::string(300, 'x'));
    ScratchDirectory dir;
    dir.Write(b.Bytes());

    CTableValueCache cache(dir.Path());
    EXPECT_TRUE(cache.Load());
    const WideString longNarrow = WideString(300, L'n') + L"\u00ff";
    EXPECT_EQ(cache.GetColumnNames(),
              (WideStringList{L"byte", L"word", L"dword", L"narrow\u00e4", longNarrow}));
    EXPECT_EQ(Cached(cache, L"Row", L"byte", L"en"), L"\u20ac1");
    EXPECT_EQ(Cached(cache, L"Row", L"word", L"en"), L"");
    EXPECT_EQ(Cached(cache, L"Row", L"dword", L"en"), L"\U0001F600");
    EXPECT_EQ(Cached(cache, L"Row", L"narrow\u00e4", L"en"), L"\u00b5m");
    EXPECT_EQ(Cached(cache, L"Row", longNarrow, L"en"), WideString(300, L'x'));
}

// A file whose rows end at known offsets; a cut anywhere keeps the rows read in full, and the row
// in which the cut falls once its first value has been read.
TEST(CacheFile, CutFileKeepsWhatWasReadInFull) {
    FileBytes b = Header({u"A", u"B"}, {u"en", u"de"});
    b.I32(3);
    struct RowMarks {
        WideString id;
        size_t firstValueEnd;
        size_t end;
    };
    std::vector<RowMarks> rows;
    for (const char16_t* id : {u"R1", u"R2", u"R3"}) {
        b.Str(id).I32(2).U16(0).I32(2).U16(0).Str(u"a-en");
        const size_t firstValueEnd = b.Size();
        b.U16(1).Str(u"b-en").U16(1).I32(1).U16(0).Str(u"a-de");
        rows.push_back({platform::FromUtf16(id), firstValueEnd, b.Size()});
    }
    const std::string whole = b.Bytes();

    ScratchDirectory dir;
    for (size_t cut = 0; cut <= whole.size(); ++cut) {
        SCOPED_TRACE(cut);
        dir.Write(whole.substr(0, cut));
        CTableValueCache cache(dir.Path());
        EXPECT_EQ(cache.Load(), cut == whole.size());
        EXPECT_FALSE(cache.IsDirty());
        size_t expectedRows = 0;
        for (const RowMarks& row : rows) {
            if (cut >= row.firstValueEnd)
                ++expectedRows;
            const bool present = cut >= row.firstValueEnd;
            EXPECT_EQ(Cached(cache, row.id, L"A", L"en"),
                      present ? std::optional<WideString>(L"a-en") : std::nullopt);
            if (cut >= row.end) {
                EXPECT_EQ(Cached(cache, row.id, L"B", L"en"), L"b-en");
                EXPECT_EQ(Cached(cache, row.id, L"A", L"de"), L"a-de");
            }
        }
        EXPECT_EQ(cache.GetRowCount(), expectedRows);
    }
}

// A file of another version loads as an empty cache (true), and is written over as version 1.
TEST(CacheFile, OtherVersionGivesAnEmptyCacheAndTrue) {
    ScratchDirectory dir;
    FileBytes b;
    b.I32(2).U16(1).Str(u"A").U16(1).Str(u"en").I32(1).Str(u"R1");
    dir.Write(b.Bytes());
    CTableValueCache cache(dir.Path());
    EXPECT_TRUE(cache.Load());
    EXPECT_EQ(cache.GetRowCount(), 0u);
    EXPECT_TRUE(cache.GetColumnNames().empty());

    // The table writes a version 1 file over it when values were added.
    cache.SetValue(L"R1", L"A", L"en", L"1");
    cache.Save({L"A"});
    FileBytes expected = Header({u"A"}, {u"en"});
    expected.I32(1).Str(u"R1").I32(1).U16(0).I32(1).U16(0).Str(u"1");
    EXPECT_EQ(dir.Read(), expected.Bytes());
}

// Damaged or unusual files: what the reader keeps (cells of R1 in en) and what it answers.
TEST(CacheFile, LoadRules) {
    struct Case {
        const char* name;
        std::string bytes;
        bool loads;
        size_t rows;
        std::vector<std::pair<WideString, std::optional<WideString>>> cells;
    };
    const std::string a = Header({u"A"}, {u"en"}).Bytes();
    const std::string ab = Header({u"A", u"B"}, {u"en"}).Bytes();
    const std::vector<Case> cases = {
        {"column index 0xFFFF is dropped, reading stays in step",
         ab + Fields("i:1 s:R1 i:1 h:0 i:3 h:0 s:a h:0xFFFF s:lost h:1 s:b"),
         true,
         1,
         {{L"A", L"a"}, {L"B", L"b"}}},
        {"column index beyond the column table is dropped",
         a + Fields("i:1 s:R1 i:1 h:0 i:2 h:1 s:lost h:0 s:a"),
         true,
         1,
         {{L"A", L"a"}}},
        {"column count of 32768 reads negative: no column is read",
         Fields("i:1 h:0x8000 h:1 s:en i:1 s:R1 i:1 h:0 i:1 h:0 s:v"),
         true,
         1,
         {{L"A", std::nullopt}}},
        {"language count of 65535 reads negative: no language is read",
         Fields("i:1 h:1 s:A h:0xFFFF i:2 s:R1 i:0 s:R2 i:0"),
         true,
         2,
         {{L"A", std::nullopt}}},
        {"negative row count", a + Fields("i:-1 s:R1 i:1 h:0 i:1 h:0 s:v"), false, 0, {}},
        {"no rows", a + Fields("i:0"), false, 0, {}},
        {"language index out of range: the entry's body is not read",
         a + Fields("i:1 s:R1 i:3 h:1 h:0x8001 h:0 i:1 h:0 s:a"),
         true,
         1,
         {{L"A", L"a"}}},
        {"language entered twice in a row: the row keeps what came before",
         a + Fields("i:2 s:R1 i:2 h:0 i:1 h:0 s:a h:0 i:1 h:0 s:again s:R2 i:0"),
         false,
         1,
         {{L"A", L"a"}}},
        {"empty row id stops the reading",
         a + Fields("i:2 s:R1 i:1 h:0 i:1 h:0 s:a s: i:0"),
         false,
         1,
         {{L"A", L"a"}}},
        {"row id met twice: the later record wins",
         a + Fields("i:2 s:R1 i:1 h:0 i:1 h:0 s:first s:R1 i:1 h:0 i:1 h:0 s:second"),
         true,
         1,
         {{L"A", L"second"}}},
        {"negative counts of languages and values read nothing",
         a + Fields("i:2 s:R1 i:-5 s:R2 i:1 h:0 i:-1"),
         true,
         2,
         {{L"A", std::nullopt}}},
        {"32-bit string length far beyond the file",
         a + Fields("i:1 s:R1 i:1 h:0 i:1 h:0 b:0xFF h:0xFFFE b:0xFF h:0xFFFF i:-1 s:tail"),
         false,
         0,
         {}},
        {"narrow 32-bit length far beyond the file",
         Fields("i:1 h:1 b:0xFF h:0xFFFF i:0x7FFFFFFF"),
         false,
         0,
         {}},
        {"short version field", std::string("\x01\x00", 2), false, 0, {}},
        {"empty file", std::string(), false, 0, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScratchDirectory dir;
        dir.Write(c.bytes);
        CTableValueCache cache(dir.Path());
        EXPECT_EQ(cache.Load(), c.loads);
        EXPECT_EQ(cache.GetRowCount(), c.rows);
        for (const auto& [column, value] : c.cells)
            EXPECT_EQ(Cached(cache, L"R1", column, L"en"), value) << platform::ToUtf8(column);
    }
}

// The empty language, that of a family without string documents, enters the language table like
// any other: as the first language of a new cache and after a load, so its values read back.
TEST(CacheFile, EmptyLanguageReadsBack) {
    ScratchDirectory dir;
    {
        CTableValueCache cache(dir.Path());
        cache.SetValue(L"R1", L"Length", L"", L"1,5");
        EXPECT_EQ(cache.GetLanguageIndex(L""), 0);
        cache.Save({L"Length"});
    }
    {
        CTableValueCache loaded(dir.Path());
        EXPECT_EQ(loaded.GetLanguageNames(), (WideStringList{L""}));
        EXPECT_EQ(Cached(loaded, L"R1", L"Length", L""), L"1,5");
    }
    dir.Write(Header({u"Length"}, {u"en"}).I32(0).Bytes());
    CTableValueCache loaded(dir.Path());
    loaded.SetValue(L"R1", L"Length", L"", L"2");
    EXPECT_EQ(loaded.GetLanguageIndex(L""), 1);
}

// The file is named after the user's locale id, in the folder as given; no folder, no file.
TEST(CacheFile, NameFollowsTheUserLocale) {
    const std::tuple<const char*, const wchar_t*, const wchar_t*> cases[] = {
        {"de_DE.UTF-8", L"/cache", L"/cache/TableCache_1031.dat"},
        {"C", L"/cache/", L"/cache/TableCache_1033.dat"},
        {"C", L"C:\\cache\\", L"C:\\cache\\TableCache_1033.dat"},
        {"fr_FR.UTF-8", L"dir", L"dir/TableCache_1036.dat"},
        {"C", L"", L""},
    };
    torvex::testing::ScopedEnvironment environment;
    for (const auto& [locale, directory, path] : cases) {
        environment.Set("LC_ALL", locale);
        EXPECT_EQ(CTableValueCache(directory).GetFilePath(), path) << locale;
    }
}

} // namespace

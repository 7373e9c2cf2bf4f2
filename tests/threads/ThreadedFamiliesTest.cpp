// Different families opened, evaluated, exported and cached on several threads at once: every
// thread gets what the same family gives on one thread.

#include "FamilyGenerator.h"

#include "host/CMaterialTable.h"
#include "host/CUnitsEvaluatorProvider.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Guid.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace torvex {
namespace {

// Rows of the generated family: large enough that the threads overlap for long, small enough
// for a run under ThreadSanitizer.
constexpr size_t kGeneratedRows = 240;
constexpr int kThreads = 4;

struct FamilyTexts {
    std::string name;
    WideString family;
    WideStringList strings; // the actual language first
};

struct Cell {
    int result = 0;
    WideString value;
    bool operator==(const Cell&) const = default;
};

// What one family gives: every cell in document order in the actual language and in the second
// one, the evaluated export, and, after closing (which writes the cache file) and opening again
// from the same folder, the number of rows the cache file brought back and every cell again.
struct Results {
    std::vector<Cell> cells;
    std::vector<Cell> secondLanguage;
    WideString evaluatedXml;
    size_t cachedRows = 0;
    std::vector<Cell> cellsFromCache;
};

std::string Narrow(const WideString& text) {
    return platform::ToUtf8(text);
}

WideString ReadExample(const std::string& relative) {
    std::string bytes;
    platform::ReadFileBytes(platform::FromUtf8(TORVEX_EXAMPLES_DIR "/" + relative), bytes);
    return platform::FromUtf8(bytes);
}

std::vector<FamilyTexts> AllFamilies() {
    std::vector<FamilyTexts> families;
    for (const char* folder : {"iso4762", "iso4032", "iso7089"}) {
        const std::string at = std::string(folder) + "/";
        families.push_back({folder,
                            ReadExample(at + "Family.xml"),
                            {ReadExample(at + "FamilyStrings.EN-US.xml"),
                             ReadExample(at + "FamilyStrings.DE-DE.xml")}});
    }
    bench::GeneratedFamily generated = bench::GenerateFamily(kGeneratedRows);
    families.push_back(
        {"generated", std::move(generated.familyXml), std::move(generated.stringDocuments)});
    return families;
}

std::vector<Cell> ReadCells(CEncapFamilyTable& table, const wchar_t* language) {
    std::vector<Cell> cells;
    for (const WideString& row : table.GetAllRowIDs()) {
        for (const WideString& column : table.GetAllColumnIDs()) {
            Cell cell;
            cell.result = language
                              ? table.GetValue(row.c_str(), column.c_str(), language, cell.value)
                              : table.GetValue(row.c_str(), column.c_str(), cell.value);
            cells.push_back(std::move(cell));
        }
    }
    return cells;
}

// Runs one family start to end with a provider of its own; the cache file goes into `folder`.
Results RunFamily(const FamilyTexts& texts, const std::shared_ptr<const CMaterialTable>& materials,
                  const std::filesystem::path& folder) {
    Results results;
    const WideString cacheFolder = folder.wstring();
    {
        CEncapFamily family(texts.family.c_str(), texts.strings, cacheFolder.c_str(),
                            new CUnitsEvaluatorProvider(materials), false);
        CEncapFamilyTable* table = family.GetEncapFamilyTable();
        if (!table)
            return results;
        results.cells = ReadCells(*table, nullptr);
        results.secondLanguage = ReadCells(*table, L"de-DE");
        table->GetEvaluatedXml(results.evaluatedXml);
    }
    CEncapFamily again(texts.family.c_str(), texts.strings, cacheFolder.c_str(),
                       new CUnitsEvaluatorProvider(materials), false);
    if (CEncapFamilyTable* table = again.GetEncapFamilyTable()) {
        results.cachedRows = table->GetValueCache() ? table->GetValueCache()->GetRowCount() : 0;
        results.cellsFromCache = ReadCells(*table, nullptr);
    }
    return results;
}

// Empty when both lists are equal, else where they first differ.
std::string CellDifference(const char* what, const std::vector<Cell>& expected,
                           const std::vector<Cell>& actual) {
    if (expected.size() != actual.size())
        return std::string(what) + ": " + std::to_string(actual.size()) + " cells, expected " +
               std::to_string(expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        if (!(expected[i] == actual[i]))
            return std::string(what) + " cell " + std::to_string(i) + ": " +
                   std::to_string(actual[i].result) + " \"" + Narrow(actual[i].value) +
                   "\", expected " + std::to_string(expected[i].result) + " \"" +
                   Narrow(expected[i].value) + "\"";
    }
    return {};
}

// Empty when both ran alike, else where they first differ.
std::string Difference(const Results& expected, const Results& actual) {
    for (const std::string& difference :
         {CellDifference("value", expected.cells, actual.cells),
          CellDifference("second language", expected.secondLanguage, actual.secondLanguage),
          CellDifference("value after reopening", expected.cellsFromCache,
                         actual.cellsFromCache)}) {
        if (!difference.empty())
            return difference;
    }
    if (expected.evaluatedXml != actual.evaluatedXml)
        return "the evaluated export differs";
    if (expected.cachedRows != actual.cachedRows)
        return "the cache file brought back " + std::to_string(actual.cachedRows) +
               " rows, expected " + std::to_string(expected.cachedRows);
    return {};
}

// A folder under the temporary directory for the test's cache files, removed at the end.
class ScratchFolder {
public:
    ScratchFolder()
        : m_path(std::filesystem::path(platform::TempDirectory()) /
                 ("torvex_threads_" + Narrow(platform::FormatGuidBraced(platform::NewGuid())))) {
        std::filesystem::create_directories(m_path);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    // A new empty folder below this one.
    std::filesystem::path Make(const std::string& name) const {
        std::filesystem::path folder = m_path / name;
        std::filesystem::create_directories(folder);
        return folder;
    }

private:
    std::filesystem::path m_path;
};

// Four threads start together, each going through every family twice, each thread starting at
// another family, so that different families are open, evaluated, exported, closed (writing
// their cache files) and reopened at the same time. The threads are the first users of the
// library in this process: its start is raced too. Then each family runs alone, and every
// thread's results must equal those.
TEST(ThreadedFamilies, DifferentFamiliesOnSeveralThreadsGiveTheSingleThreadResults) {
    const std::vector<FamilyTexts> families = AllFamilies();
    for (const FamilyTexts& texts : families)
        ASSERT_FALSE(texts.family.empty()) << texts.name;
    auto materials = std::make_shared<CMaterialTable>();
    ASSERT_GE(materials->LoadFile(platform::FromUtf8(TORVEX_EXAMPLES_DIR "/materials.tsv")), 0);
    const ScratchFolder scratch;

    constexpr int kRounds = 2;
    const size_t count = families.size();
    // results[thread][round * count + family]
    std::vector<std::vector<Results>> results(kThreads, std::vector<Results>(kRounds * count));
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                for (size_t i = 0; i < count; ++i) {
                    const size_t f = (static_cast<size_t>(t) + i) % count;
                    const std::string name = "t" + std::to_string(t) + "-r" +
                                             std::to_string(round) + "-" + families[f].name;
                    results[t][round * count + f] =
                        RunFamily(families[f], materials, scratch.Make(name));
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    for (size_t f = 0; f < count; ++f) {
        SCOPED_TRACE(families[f].name);
        const Results alone =
            RunFamily(families[f], materials, scratch.Make("alone-" + families[f].name));
        ASSERT_FALSE(alone.cells.empty());
        ASSERT_GT(alone.cachedRows, 0u);
        ASSERT_EQ(CellDifference("value after reopening", alone.cells, alone.cellsFromCache), "");
        for (int t = 0; t < kThreads; ++t) {
            for (int round = 0; round < kRounds; ++round)
                EXPECT_EQ(Difference(alone, results[t][round * count + f]), "")
                    << "thread " << t << ", round " << round;
        }
    }
}

} // namespace
} // namespace torvex

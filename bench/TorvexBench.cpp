// Benchmarks of opening and evaluating generated families of 100 to 100,000 rows, beside the
// baselines measured in the same run on the same texts: libxml2 alone, and the reference host
// alone. bench/report.py turns the JSON output into the table of ratios against the targets.
//
// Extra flags, before Google Benchmark's own:
//   --sizes=100,1000      row counts to run (default 100,1000,10000,50000,100000)
//   --graph-sizes=1000    column counts of the graph shapes (default 1000,10000,50000)
//   --write-graph-family=SHAPE:COLUMNS FILE
//                         write a graph family (GraphFamilyGenerator.h) as UTF-8 XML and leave
//   --write-family=ROWS DIR
//                         write a one-family catalogue (DIR/toc.xml, DIR/bench/Family.xml and
//                         its two string documents) of the generated family and leave
//   --wall-clock          time the steps by the wall clock, not by the thread's CPU time
//   --show-cells=ROWS     print the first rows' values and results and leave
//   --memory-child=...    internal: the body of a memory child process

#include "Baselines.h"
#include "BenchFamily.h"
#include "FamilyGenerator.h"
#include "GraphFamilyGenerator.h"
#include "MemoryProbe.h"

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/NumberText.h"
#include "torvex/platform/Utf16.h"

#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace torvex::bench {
namespace {

// The generated families' second string document: a reader of this language sees the localized
// texts of its own document.
constexpr const wchar_t* kSecondLanguage = L"de-DE";

// The clock of the measured steps: by default the CPU time (user and system) of the measuring
// thread, so that other work on a shared machine does not count; --wall-clock takes the
// monotonic clock instead. Every measured step runs on this one thread.
bool g_wallClock = false;

// Small blocks freed are kept aside by the C library and merged at the next large allocation,
// whichever step makes it: a timed step would pay for what the untimed code before it freed
// (the family of the last iteration, or the baseline's document). One large allocation before
// the clock starts merges them, so that each step starts from a settled heap.
void SettleHeap() {
    void* block = std::malloc(64 * 1024);
    benchmark::DoNotOptimize(block);
    std::free(block);
}

struct Clock {
    using time_point = double;
    static double now() {
        timespec time{};
        clock_gettime(g_wallClock ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }
    // The start of a timed step, on a settled heap.
    static double start() {
        SettleHeap();
        return now();
    }
};

double SecondsSince(Clock::time_point start) {
    return Clock::now() - start;
}

// How often each kind of benchmark runs at a size: the whole run stays within minutes on two
// cores, and the largest families are opened only a handful of times.
struct Schedule {
    int heavy; // open, evaluate, close, parse: one family per iteration
    int warm;  // passes over an evaluated family
    int edit;  // single-row edits
};

Schedule ScheduleFor(size_t rows) {
    if (rows <= 100)
        return {50, 200, 2000};
    if (rows <= 1000)
        return {30, 30, 2000};
    if (rows <= 10000)
        return {8, 8, 1000};
    return {2, 2, 300};
}

// The data of the size being benchmarked: made on first use, dropped when another size starts
// (the benchmarks are registered size by size).
class Workspace {
public:
    static Workspace& Get() {
        static Workspace workspace;
        return workspace;
    }

    ~Workspace() {
        m_evaluated.reset();
        if (!m_tempRoot.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(m_tempRoot, ignored);
        }
    }

    const GeneratedFamily& Family(size_t rows, FamilyShape shape = FamilyShape::Screws) {
        if (!m_family || m_family->rowCount != rows || m_family->shape != shape) {
            m_evaluated.reset();
            m_family.reset();
            m_family = std::make_unique<GeneratedFamily>(GenerateFamily(rows, shape));
            if (shape != FamilyShape::Screws)
                RecordHostCalls(*m_family);
        }
        return *m_family;
    }

    // An open family whose every cell has been read once; shared by the passes and edits.
    CEncapFamily& EvaluatedFamily(size_t rows) {
        const GeneratedFamily& family = Family(rows);
        if (!m_evaluated) {
            m_evaluated = OpenFamily(family, std::wstring());
            ReadAllCells(*m_evaluated);
        }
        return *m_evaluated;
    }

    // A directory of its own for the cache file of each size; empty when none can be made.
    std::filesystem::path CacheFolder(size_t rows) {
        if (m_tempRoot.empty()) {
            std::string pattern =
                platform::NativePath(platform::TempDirectory()) + "torvex-bench-XXXXXX";
            if (!mkdtemp(pattern.data()))
                return {};
            m_tempRoot = pattern;
        }
        std::filesystem::path folder = m_tempRoot / std::to_string(rows);
        std::error_code ignored;
        std::filesystem::create_directories(folder, ignored);
        return folder;
    }

private:
    Workspace() = default;

    std::unique_ptr<GeneratedFamily> m_family;
    std::unique_ptr<CEncapFamily> m_evaluated;
    std::filesystem::path m_tempRoot;
};

// Size of the cache files in the folder (the file name depends on the user's locale).
uintmax_t CacheFileBytes(const std::filesystem::path& folder) {
    uintmax_t bytes = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.is_regular_file(error))
            bytes += entry.file_size(error);
    }
    return bytes;
}

void RemoveCacheFiles(const std::filesystem::path& folder) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        std::filesystem::remove(entry.path(), error);
}

bool Opened(CEncapFamily& family, size_t rows) {
    CEncapFamilyTable* table = family.GetEncapFamilyTable();
    return table && table->GetRowsCount() == rows;
}

void SetTallyCounters(benchmark::State& state, const CellTally& tally) {
    state.counters["cells"] = static_cast<double>(tally.Cells());
    state.counters["with_value"] = static_cast<double>(tally.WithValue());
    state.counters["unit_mismatch"] =
        static_cast<double>(tally.byResult[CTableEvaluator::EvalUnitMismatch]);
    state.counters["failed"] = static_cast<double>(tally.Cells() - tally.WithValue());
}

// ---- Baselines ----

void BareParse(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    BareDocuments().Parse(family); // warm-up: the heap has grown to the size once
    for (auto _ : state) {
        BareDocuments documents;
        const auto start = Clock::start();
        const bool parsed = documents.Parse(family);
        state.SetIterationTime(SecondsSince(start));
        if (!parsed) {
            state.SkipWithError("libxml2 did not parse the generated texts");
            break;
        }
    }
    state.counters["bytes"] = static_cast<double>(family.Utf8Bytes());
}

// libxml2 freeing the documents it parsed: what closing a family is compared with.
void BareFree(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    BareDocuments().Parse(family); // warm-up
    for (auto _ : state) {
        BareDocuments documents;
        if (!documents.Parse(family)) {
            state.SkipWithError("libxml2 did not parse the generated texts");
            break;
        }
        const auto start = Clock::start();
        documents.Free();
        state.SetIterationTime(SecondsSince(start));
    }
}

void BareParseWalk(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    BareDocuments().Parse(family); // warm-up
    size_t cells = 0;
    for (auto _ : state) {
        BareDocuments documents;
        const auto start = Clock::start();
        const bool parsed = documents.Parse(family);
        cells = documents.WalkCells();
        state.SetIterationTime(SecondsSince(start));
        if (!parsed) {
            state.SkipWithError("libxml2 did not parse the generated texts");
            break;
        }
    }
    state.counters["cells"] = static_cast<double>(cells);
}

void HostAlone(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    HostTally tally = RunHostAlone(family); // warm-up
    for (auto _ : state) {
        const auto start = Clock::start();
        tally = RunHostAlone(family);
        state.SetIterationTime(SecondsSince(start));
        benchmark::DoNotOptimize(tally.checksum);
    }
    state.counters["calls"] = static_cast<double>(tally.calls);
    state.counters["failed"] = static_cast<double>(tally.failed);
}

// ---- The library ----

// The baselines timed inside the library's iterations, in alternating order with the library's
// step, give the ratios of the report: a load on the machine that comes and goes between two
// benchmarks then falls on both sides alike.
double TimeBareParse(const GeneratedFamily& family, bool walk) {
    BareDocuments documents;
    const auto start = Clock::start();
    documents.Parse(family);
    if (walk)
        benchmark::DoNotOptimize(documents.WalkCells());
    return SecondsSince(start);
}

double TimeHostAlone(const GeneratedFamily& family) {
    const auto start = Clock::start();
    const HostTally tally = RunHostAlone(family);
    benchmark::DoNotOptimize(tally.checksum);
    return SecondsSince(start);
}

// Counter `paired_parse_ms`: the bare parse, timed in the same iterations.
void Open(benchmark::State& state, size_t rows, FamilyShape shape) {
    const GeneratedFamily& family = Workspace::Get().Family(rows, shape);
    OpenFamily(family, std::wstring()); // warm-up
    double parse = 0.0;
    int iteration = 0;
    for (auto _ : state) {
        if (iteration % 2 == 1)
            parse += TimeBareParse(family, false);
        const auto start = Clock::start();
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        state.SetIterationTime(SecondsSince(start));
        const bool complete = Opened(*opened, rows);
        // The family goes before the parse that follows it, as in FirstEvaluation: each side
        // then starts on a heap that has just taken back a document. A parse beside the open
        // family would take fresh memory while the open always reuses freed memory.
        opened.reset();
        if (iteration++ % 2 == 0)
            parse += TimeBareParse(family, false);
        if (!complete) {
            state.SkipWithError("the generated family did not open with all its rows");
            break;
        }
    }
    state.counters["rows"] = static_cast<double>(rows);
    if (iteration > 0)
        state.counters["paired_parse_ms"] = parse * 1e3 / iteration;
}

// Counters `open_ms` (the open before the evaluation) and `paired_baseline_ms` (bare parse and
// walk plus the host alone, timed in the same iterations).
void FirstEvaluation(benchmark::State& state, size_t rows, FamilyShape shape) {
    const GeneratedFamily& family = Workspace::Get().Family(rows, shape);
    CellTally tally;
    double open = 0.0, baseline = 0.0;
    int iteration = 0;
    for (auto _ : state) {
        const bool baselineFirst = iteration++ % 2 == 1;
        if (baselineFirst)
            baseline += TimeBareParse(family, true) + TimeHostAlone(family);
        const auto opening = Clock::start();
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        open += SecondsSince(opening);
        const auto start = Clock::start();
        tally = ReadAllCells(*opened);
        state.SetIterationTime(SecondsSince(start));
        opened.reset();
        if (!baselineFirst)
            baseline += TimeBareParse(family, true) + TimeHostAlone(family);
    }
    SetTallyCounters(state, tally);
    if (iteration > 0) {
        state.counters["open_ms"] = open * 1e3 / iteration;
        state.counters["paired_baseline_ms"] = baseline * 1e3 / iteration;
    }
}

// Every cell read for the first time in the second language: the localized texts come from the
// string document's index, so this grows with the rows as the first evaluation does.
// Counter `paired_first_ms`: the same read in the first language, on a family of its own, timed
// in the same iterations in alternating order. Each read starts right after a family was freed,
// so that both meet the same heap; the first evaluation's own benchmark runs its reads after
// the bare parse instead.
void SecondLanguageRead(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    CellTally tally;
    double first = 0.0;
    int iteration = 0;
    auto timeFirst = [&] {
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        const auto start = Clock::start();
        benchmark::DoNotOptimize(ReadAllCells(*opened).Cells());
        first += SecondsSince(start);
    };
    for (auto _ : state) {
        const bool firstBefore = iteration++ % 2 == 1;
        if (firstBefore)
            timeFirst();
        {
            std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
            const auto start = Clock::start();
            tally = ReadAllCells(*opened, kSecondLanguage);
            state.SetIterationTime(SecondsSince(start));
        }
        if (!firstBefore)
            timeFirst();
    }
    SetTallyCounters(state, tally);
    if (iteration > 0)
        state.counters["paired_first_ms"] = first * 1e3 / iteration;
}

// The evaluated export of a freshly opened family: every cell evaluated and written into a copy
// of the table. Counter `first_evaluation_ms`: the first evaluation alone, in the same
// iterations, which the export should cost little more than.
void EvaluatedExport(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    double evaluation = 0.0;
    size_t characters = 0;
    int iteration = 0;
    for (auto _ : state) {
        {
            std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
            const auto start = Clock::start();
            benchmark::DoNotOptimize(ReadAllCells(*opened).Cells());
            evaluation += SecondsSince(start);
        }
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        WideString xml;
        const auto start = Clock::start();
        const bool exported = opened->GetEncapFamilyTable()->GetEvaluatedXml(xml);
        state.SetIterationTime(SecondsSince(start));
        ++iteration;
        characters = xml.size();
        if (!exported) {
            state.SkipWithError("the generated family did not export");
            break;
        }
    }
    state.counters["characters"] = static_cast<double>(characters);
    if (iteration > 0)
        state.counters["first_evaluation_ms"] = evaluation * 1e3 / iteration;
}

void WarmRead(benchmark::State& state, size_t rows) {
    CEncapFamily& family = Workspace::Get().EvaluatedFamily(rows);
    ReadAllCells(family); // whatever an edit benchmark left uncached is cached again
    CellTally tally;
    for (auto _ : state) {
        const auto start = Clock::start();
        tally = ReadAllCells(family);
        state.SetIterationTime(SecondsSince(start));
    }
    SetTallyCounters(state, tally);
}

// Sets `l` of one row (referenced by three formula columns) and reads the row back. The counter
// `dependants_updated` is the share of edits after which L_TOTAL equals the new l plus k.
void SetValueRow(benchmark::State& state, size_t rows) {
    CEncapFamily& family = Workspace::Get().EvaluatedFamily(rows);
    CEncapFamilyTable* table = family.GetEncapFamilyTable();
    if (!table || table->GetRowsCount() == 0) {
        state.SkipWithError("the generated family did not open");
        return;
    }
    static constexpr const wchar_t* kValues[] = {L"33", L"77"};
    CellTally tally;
    size_t edits = 0;
    size_t updated = 0;
    WideString total, head;
    for (auto _ : state) {
        const WideString rowId =
            table->GetRowIDByIndex(static_cast<int>((edits * 7919) % table->GetRowsCount()));
        const wchar_t* value = kValues[(edits / table->GetRowsCount()) % 2];
        const auto start = Clock::start();
        table->SetValue(rowId.c_str(), kEditedColumn, value, true);
        tally = ReadRow(family, rowId);
        state.SetIterationTime(SecondsSince(start));
        ++edits;
        total.clear();
        head.clear();
        table->GetValue(rowId.c_str(), L"L_TOTAL", total);
        table->GetValue(rowId.c_str(), L"k", head);
        const double expected =
            platform::ParseLeadingDouble(value) + platform::ParseLeadingDouble(head.c_str());
        if (!total.empty() && !head.empty() &&
            platform::ParseLeadingDouble(total.c_str()) == expected)
            ++updated;
    }
    SetTallyCounters(state, tally);
    state.counters["dependants_updated"] =
        edits ? static_cast<double>(updated) / static_cast<double>(edits) : 0.0;
}

void Close(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    for (auto _ : state) {
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        ReadAllCells(*opened);
        const auto start = Clock::start();
        opened.reset();
        state.SetIterationTime(SecondsSince(start));
    }
}

// Closing an evaluated family whose table has a cache folder writes the cache file. The same
// iteration also closes an evaluated family without a folder, in alternating order, so that the
// counter `save_ms` (the difference) is measured under the same load of the machine.
void CloseSave(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    const std::filesystem::path folder = Workspace::Get().CacheFolder(rows);
    if (folder.empty()) {
        state.SkipWithError("no temporary folder for the cache file");
        return;
    }
    double withFile = 0.0, without = 0.0;
    int iteration = 0;
    for (auto _ : state) {
        RemoveCacheFiles(folder);
        std::unique_ptr<CEncapFamily> saving = OpenFamily(family, folder.wstring());
        ReadAllCells(*saving);
        std::unique_ptr<CEncapFamily> plain = OpenFamily(family, std::wstring());
        ReadAllCells(*plain);
        auto close = [](std::unique_ptr<CEncapFamily>& opened) {
            const auto start = Clock::start();
            opened.reset();
            return SecondsSince(start);
        };
        double saved = 0.0;
        if (iteration++ % 2 == 0) {
            saved = close(saving);
            without += close(plain);
        } else {
            without += close(plain);
            saved = close(saving);
        }
        withFile += saved;
        state.SetIterationTime(saved);
    }
    state.counters["file_bytes"] = static_cast<double>(CacheFileBytes(folder));
    if (iteration > 0)
        state.counters["save_ms"] = (withFile - without) * 1e3 / iteration;
}

// Opening with a cache file in the folder loads it. Each iteration also opens without the
// folder, in alternating order; the counter `load_ms` is the difference.
void OpenLoad(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    const std::filesystem::path folder = Workspace::Get().CacheFolder(rows);
    if (folder.empty()) {
        state.SkipWithError("no temporary folder for the cache file");
        return;
    }
    if (CacheFileBytes(folder) == 0) {
        std::unique_ptr<CEncapFamily> writer = OpenFamily(family, folder.wstring());
        ReadAllCells(*writer);
    }
    size_t cachedRows = 0;
    double withFile = 0.0, without = 0.0;
    int iteration = 0;
    auto open = [&](const std::wstring& cacheFolder, std::unique_ptr<CEncapFamily>& opened) {
        const auto start = Clock::start();
        opened = OpenFamily(family, cacheFolder);
        return SecondsSince(start);
    };
    for (auto _ : state) {
        std::unique_ptr<CEncapFamily> loaded, plain;
        double load = 0.0;
        if (iteration++ % 2 == 0) {
            load = open(folder.wstring(), loaded);
            loaded.reset();
            without += open(std::wstring(), plain);
        } else {
            without += open(std::wstring(), plain);
            plain.reset();
            load = open(folder.wstring(), loaded);
        }
        withFile += load;
        state.SetIterationTime(load);
        if (loaded) {
            CEncapFamilyTable* table = loaded->GetEncapFamilyTable();
            cachedRows =
                table && table->GetValueCache() ? table->GetValueCache()->GetRowCount() : 0;
        }
    }
    state.counters["file_bytes"] = static_cast<double>(CacheFileBytes(folder));
    state.counters["cached_rows"] = static_cast<double>(cachedRows);
    if (iteration > 0)
        state.counters["load_ms"] = (withFile - without) * 1e3 / iteration;
}

// ---- Growth measured in pairs ----
//
// The growth of a step from a smaller family to a larger one, with both sizes timed in the same
// iterations, in alternating order: the machine's slow and fast spells, which last longer than
// a benchmark, then fall on both sides alike. Each iteration times the step once on the larger
// family and (larger / smaller) times on the smaller; the counters `lo_ms` and `hi_ms` are the
// mean times of one step at each size, and the report takes their ratio.

enum class Step { Open, FirstEvaluation, SecondLanguageRead, WarmRead, Close, CloseSave, OpenLoad };

// One family of a pair with what its steps need: a folder for the cache file and, for the warm
// read, a family evaluated once.
struct PairSide {
    const GeneratedFamily* family = nullptr;
    size_t rows = 0;
    std::filesystem::path folder;
    std::unique_ptr<CEncapFamily> evaluated;
};

// Seconds of one step; what comes before and after it is not timed.
double TimeStep(Step step, PairSide& side) {
    const GeneratedFamily& family = *side.family;
    double seconds = 0.0;
    switch (step) {
    case Step::Open: {
        const auto start = Clock::start();
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        seconds = SecondsSince(start);
        break;
    }
    case Step::FirstEvaluation: {
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        const auto start = Clock::start();
        benchmark::DoNotOptimize(ReadAllCells(*opened).Cells());
        seconds = SecondsSince(start);
        break;
    }
    case Step::SecondLanguageRead: {
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        const auto start = Clock::start();
        benchmark::DoNotOptimize(ReadAllCells(*opened, kSecondLanguage).Cells());
        seconds = SecondsSince(start);
        break;
    }
    case Step::WarmRead: {
        const auto start = Clock::start();
        benchmark::DoNotOptimize(ReadAllCells(*side.evaluated).Cells());
        seconds = SecondsSince(start);
        break;
    }
    case Step::Close:
    case Step::CloseSave: {
        const bool save = step == Step::CloseSave;
        if (save)
            RemoveCacheFiles(side.folder);
        std::unique_ptr<CEncapFamily> opened =
            OpenFamily(family, save ? side.folder.wstring() : std::wstring());
        ReadAllCells(*opened);
        const auto start = Clock::start();
        opened.reset();
        seconds = SecondsSince(start);
        break;
    }
    case Step::OpenLoad: {
        const auto start = Clock::start();
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, side.folder.wstring());
        seconds = SecondsSince(start);
        break;
    }
    }
    return seconds;
}

void PairedGrowth(benchmark::State& state, Step step, size_t smaller, size_t larger) {
    const GeneratedFamily small = GenerateFamily(smaller);
    PairSide sides[2];
    sides[0].family = &small;
    sides[0].rows = smaller;
    sides[1].family = &Workspace::Get().Family(larger);
    sides[1].rows = larger;
    for (PairSide& side : sides) {
        side.folder = Workspace::Get().CacheFolder(side.rows);
        if (side.folder.empty()) {
            state.SkipWithError("no temporary folder for the cache file");
            return;
        }
        if (step == Step::WarmRead) {
            side.evaluated = OpenFamily(*side.family, std::wstring());
            ReadAllCells(*side.evaluated);
        }
        if (step == Step::OpenLoad) {
            RemoveCacheFiles(side.folder);
            std::unique_ptr<CEncapFamily> writer = OpenFamily(*side.family, side.folder.wstring());
            ReadAllCells(*writer);
        }
        TimeStep(step, side); // warm-up
    }
    const size_t repeats = larger / smaller;
    double small_seconds = 0.0, large_seconds = 0.0;
    int iteration = 0;
    for (auto _ : state) {
        const bool largeFirst = iteration++ % 2 == 0;
        double large = 0.0;
        if (largeFirst)
            large = TimeStep(step, sides[1]);
        for (size_t i = 0; i < repeats; ++i)
            small_seconds += TimeStep(step, sides[0]);
        if (!largeFirst)
            large = TimeStep(step, sides[1]);
        large_seconds += large;
        state.SetIterationTime(large);
    }
    if (iteration > 0) {
        state.counters["lo_ms"] = small_seconds * 1e3 / (iteration * static_cast<double>(repeats));
        state.counters["hi_ms"] = large_seconds * 1e3 / iteration;
        state.counters["lo_rows"] = static_cast<double>(smaller);
    }
}

// ---- Graph shapes ----
//
// Families of one row whose N columns depend on each other in one shape (GraphFamilyGenerator.h):
// opening and reading every cell in document order, which starts at the top of the graph, so
// that the first read evaluates the whole graph beneath it. The growth from 1,000 to 10,000 and
// from 10,000 to 50,000 columns is measured in pairs, as that of the row counts.

constexpr GraphShape kGraphShapes[] = {GraphShape::Chain, GraphShape::FanOut, GraphShape::Diamond,
                                       GraphShape::Cycle};

// Seconds of opening the family and reading every cell once; closing it is not timed.
double TimeGraphStep(const GraphFamily& family, CellTally* tally) {
    const auto start = Clock::start();
    std::unique_ptr<CEncapFamily> opened = OpenGraphFamily(family);
    const CellTally read = ReadAllCells(*opened);
    const double seconds = SecondsSince(start);
    if (tally)
        *tally = read;
    return seconds;
}

// What a pass over a graph family must give: every cell a value (0) and c0 the value the
// generator names; in the loop every cell 1. Empty when it does, else what went wrong.
std::string CheckGraphPass(const GraphFamily& family, const CellTally& tally) {
    if (tally.Cells() != family.columns)
        return "not every cell was read";
    const size_t expected = family.shape == GraphShape::Cycle
                                ? tally.byResult[CTableEvaluator::EvalCircularDependency]
                                : tally.byResult[CTableEvaluator::EvalOk];
    if (expected != family.columns)
        return family.shape == GraphShape::Cycle ? "a cell of the loop did not give 1"
                                                 : "a cell of the graph did not evaluate";
    if (family.shape == GraphShape::Cycle)
        return std::string();
    std::unique_ptr<CEncapFamily> opened = OpenGraphFamily(family);
    WideString value;
    opened->GetEncapFamilyTable()->GetValue(L"r1", L"c0", value);
    return value == family.firstValue ? std::string() : "c0 has the wrong value";
}

void Graph(benchmark::State& state, GraphShape shape, size_t columns) {
    const GraphFamily family = GenerateGraphFamily(shape, columns);
    CellTally tally;
    TimeGraphStep(family, &tally); // warm-up
    const std::string wrong = CheckGraphPass(family, tally);
    if (!wrong.empty()) {
        state.SkipWithError(wrong.c_str());
        return;
    }
    for (auto _ : state)
        state.SetIterationTime(TimeGraphStep(family, &tally));
    SetTallyCounters(state, tally);
    state.counters["columns"] = static_cast<double>(columns);
    state.counters["bytes"] = static_cast<double>(family.familyXml.size());
}

// The growth of a graph step: each iteration times the larger family once and the smaller
// (larger / smaller) times, in alternating order; counters `lo_ms` and `hi_ms`, one step each.
void PairedGraph(benchmark::State& state, GraphShape shape, size_t smaller, size_t larger) {
    const GraphFamily small = GenerateGraphFamily(shape, smaller);
    const GraphFamily large = GenerateGraphFamily(shape, larger);
    TimeGraphStep(small, nullptr); // warm-up
    TimeGraphStep(large, nullptr);
    const size_t repeats = larger / smaller;
    double smallSeconds = 0.0, largeSeconds = 0.0;
    int iteration = 0;
    for (auto _ : state) {
        const bool largeFirst = iteration++ % 2 == 0;
        double seconds = 0.0;
        if (largeFirst)
            seconds = TimeGraphStep(large, nullptr);
        for (size_t i = 0; i < repeats; ++i)
            smallSeconds += TimeGraphStep(small, nullptr);
        if (!largeFirst)
            seconds = TimeGraphStep(large, nullptr);
        largeSeconds += seconds;
        state.SetIterationTime(seconds);
    }
    if (iteration > 0) {
        state.counters["lo_ms"] = smallSeconds * 1e3 / (iteration * static_cast<double>(repeats));
        state.counters["hi_ms"] = largeSeconds * 1e3 / iteration;
        state.counters["lo_columns"] = static_cast<double>(smaller);
    }
}

void RegisterGraphs(const std::vector<size_t>& sizes) {
    for (const GraphShape shape : kGraphShapes) {
        const std::string name = std::string("Graph/") + GraphShapeName(shape) + "/";
        for (const size_t columns : sizes) {
            const int iterations = columns <= 1000 ? 20 : columns <= 10000 ? 5 : 2;
            benchmark::RegisterBenchmark((name + std::to_string(columns)).c_str(), Graph, shape,
                                         columns)
                ->Iterations(iterations)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
        for (const auto& [smaller, larger] :
             {std::pair<size_t, size_t>{1000, 10000}, {10000, 50000}}) {
            if (std::find(sizes.begin(), sizes.end(), smaller) == sizes.end() ||
                std::find(sizes.begin(), sizes.end(), larger) == sizes.end())
                continue;
            benchmark::RegisterBenchmark(
                (std::string("PairedGraph/") + GraphShapeName(shape) + "/" + std::to_string(larger))
                    .c_str(),
                PairedGraph, shape, smaller, larger)
                ->Iterations(larger <= 10000 ? 3 : 2)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
}

// ---- Several families on several threads ----
//
// A host evaluates many families, each on one thread at a time, different families on different
// threads at once. kThreadFamilies families of the same size are each opened, read cell by cell
// and closed, on one thread and then shared out among two, in the same iterations and in
// alternating order; the counters `one_thread_ms` and `two_threads_ms` are the mean wall-clock
// times of the whole set, `speedup` their ratio. Wall clock whatever --wall-clock says: the
// threads' CPU times add up to at least the time on one thread. Beside them, in the same
// iterations, libxml2 alone parses and walks the same texts as often on one thread and on two
// (`baseline_speedup`): what the machine gives two threads of such work at that moment. And
// `cpu_ratio`, the process's CPU time on two threads over that on one, tells on a busy machine
// too what running side by side costs in extra work (1 when nothing is shared).

constexpr size_t kThreadFamilies = 8;

double Seconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

struct SetTimes {
    double wall = 0.0;
    double cpu = 0.0; // of the whole process

    void Add(const SetTimes& other) {
        wall += other.wall;
        cpu += other.cpu;
    }
};

// Times `job` run `count` times on `threads` threads, each thread taking the next run when it is
// done with one.
SetTimes TimeOnThreads(size_t count, unsigned threads, const std::function<void()>& job) {
    std::atomic<size_t> next{0};
    auto work = [&] {
        while (next.fetch_add(1) < count)
            job();
    };
    const double wallStart = Seconds(CLOCK_MONOTONIC);
    const double cpuStart = Seconds(CLOCK_PROCESS_CPUTIME_ID);
    std::vector<std::thread> pool;
    for (unsigned t = 1; t < threads; ++t)
        pool.emplace_back(work);
    work();
    for (std::thread& thread : pool)
        thread.join();
    SetTimes times;
    times.wall = Seconds(CLOCK_MONOTONIC) - wallStart;
    times.cpu = Seconds(CLOCK_PROCESS_CPUTIME_ID) - cpuStart;
    return times;
}

void FamiliesOnThreads(benchmark::State& state, size_t rows) {
    const GeneratedFamily& family = Workspace::Get().Family(rows);
    const CellTally expected = ReadAllCells(*OpenFamily(family, std::wstring()));
    // Every family, on whichever thread, must give what the family gives alone.
    std::atomic<bool> same{expected.Cells() > 0};
    auto evaluate = [&] {
        std::unique_ptr<CEncapFamily> opened = OpenFamily(family, std::wstring());
        const CellTally tally = ReadAllCells(*opened);
        if (tally.byResult != expected.byResult || tally.characters != expected.characters)
            same = false;
    };
    auto parse = [&] {
        BareDocuments documents;
        documents.Parse(family);
        benchmark::DoNotOptimize(documents.WalkCells());
    };
    TimeOnThreads(2, 2, evaluate); // warm-up
    SetTimes one, two, bareOne, bareTwo;
    int iteration = 0;
    for (auto _ : state) {
        const bool oneFirst = iteration++ % 2 == 0;
        if (oneFirst) {
            one.Add(TimeOnThreads(kThreadFamilies, 1, evaluate));
            bareOne.Add(TimeOnThreads(kThreadFamilies, 1, parse));
        }
        const SetTimes times = TimeOnThreads(kThreadFamilies, 2, evaluate);
        two.Add(times);
        bareTwo.Add(TimeOnThreads(kThreadFamilies, 2, parse));
        if (!oneFirst) {
            one.Add(TimeOnThreads(kThreadFamilies, 1, evaluate));
            bareOne.Add(TimeOnThreads(kThreadFamilies, 1, parse));
        }
        state.SetIterationTime(times.wall);
    }
    if (!same) {
        state.SkipWithError("a family evaluated beside another gave other results than alone");
        return;
    }
    state.counters["families"] = static_cast<double>(kThreadFamilies);
    if (iteration > 0 && two.wall > 0.0 && one.cpu > 0.0 && bareTwo.wall > 0.0) {
        state.counters["one_thread_ms"] = one.wall * 1e3 / iteration;
        state.counters["two_threads_ms"] = two.wall * 1e3 / iteration;
        state.counters["speedup"] = one.wall / two.wall;
        state.counters["cpu_ratio"] = two.cpu / one.cpu;
        state.counters["baseline_speedup"] = bareOne.wall / bareTwo.wall;
    }
}

void Memory(benchmark::State& state, size_t rows) {
    MemoryFigures figures;
    for (auto _ : state) {
        const auto start = Clock::start();
        std::string error;
        if (!MeasureMemory(rows, figures, error)) {
            state.SkipWithError(error.c_str());
            break;
        }
        state.SetIterationTime(SecondsSince(start));
    }
    state.counters["torvex_kb"] = static_cast<double>(figures.torvexKb);
    state.counters["libxml2_kb"] = static_cast<double>(figures.libxml2Kb);
    state.counters["torvex_peak_kb"] = static_cast<double>(figures.torvexPeakKb);
    state.counters["libxml2_peak_kb"] = static_cast<double>(figures.libxml2PeakKb);
    state.counters["idle_peak_kb"] = static_cast<double>(figures.idlePeakKb);
    state.counters["peak_reset"] = figures.peakReset ? 1.0 : 0.0;
    state.counters["with_value"] = static_cast<double>(figures.torvexCellsWithValue);
}

using BenchmarkFunction = void (*)(benchmark::State&, size_t);

void Register(const char* name, size_t rows, BenchmarkFunction function, int iterations,
              benchmark::TimeUnit unit = benchmark::kMillisecond) {
    const std::string fullName = std::string(name) + "/" + std::to_string(rows);
    benchmark::RegisterBenchmark(fullName.c_str(), function, rows)
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(unit);
}

using ShapedFunction = void (*)(benchmark::State&, size_t, FamilyShape);

void Register(const char* name, size_t rows, ShapedFunction function, FamilyShape shape,
              int iterations) {
    const std::string fullName = std::string(name) + "/" + std::to_string(rows);
    benchmark::RegisterBenchmark(fullName.c_str(), function, rows, shape)
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void RegisterAll(const std::vector<size_t>& sizes) {
    for (size_t rows : sizes) {
        const Schedule schedule = ScheduleFor(rows);
        Register("Baseline/Parse", rows, BareParse, schedule.heavy);
        Register("Baseline/ParseWalk", rows, BareParseWalk, schedule.heavy);
        Register("Baseline/HostAlone", rows, HostAlone, schedule.heavy);
        Register("Baseline/Free", rows, BareFree, schedule.heavy);
        Register("Torvex/Open", rows, Open, FamilyShape::Screws, schedule.heavy);
        Register("Torvex/FirstEvaluation", rows, FirstEvaluation, FamilyShape::Screws,
                 schedule.heavy);
        Register("Torvex/SecondLanguageRead", rows, SecondLanguageRead, schedule.heavy);
        Register("Torvex/EvaluatedExport", rows, EvaluatedExport, schedule.heavy);
        Register("Torvex/WarmRead", rows, WarmRead, schedule.warm);
        Register("Torvex/SetValueRow", rows, SetValueRow, schedule.edit, benchmark::kMicrosecond);
        Register("Torvex/Close", rows, Close, schedule.heavy);
        Register("Torvex/CloseSave", rows, CloseSave, schedule.heavy);
        Register("Torvex/OpenLoad", rows, OpenLoad, schedule.heavy);
        // The second shape, formulas over literals, where the evaluation dominates.
        Register("Chains/Open", rows, Open, FamilyShape::Chains, schedule.heavy);
        Register("Chains/FirstEvaluation", rows, FirstEvaluation, FamilyShape::Chains,
                 schedule.heavy);
    }
    // Growth in pairs, after the sizes: from 1,000 to 10,000 rows, and from 10,000 to 50,000 and
    // to 100,000, where those sizes are run.
    static const std::pair<const char*, Step> kSteps[] = {
        {"Open", Step::Open},
        {"FirstEvaluation", Step::FirstEvaluation},
        {"SecondLanguageRead", Step::SecondLanguageRead},
        {"WarmRead", Step::WarmRead},
        {"Close", Step::Close},
        {"CloseSave", Step::CloseSave},
        {"OpenLoad", Step::OpenLoad}};
    for (const auto& [smaller, larger] :
         {std::pair<size_t, size_t>{1000, 10000}, {10000, 50000}, {10000, 100000}}) {
        if (std::find(sizes.begin(), sizes.end(), smaller) == sizes.end() ||
            std::find(sizes.begin(), sizes.end(), larger) == sizes.end())
            continue;
        const int iterations = ScheduleFor(larger).heavy;
        for (const auto& [name, step] : kSteps) {
            const std::string fullName =
                "Paired/" + std::string(name) + "/" + std::to_string(larger);
            benchmark::RegisterBenchmark(fullName.c_str(), PairedGrowth, step, smaller, larger)
                ->Iterations(iterations)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
    // Several families on two threads, at 10,000 rows (or the largest size below).
    const size_t largest = *std::max_element(sizes.begin(), sizes.end());
    size_t threaded = 0;
    for (size_t rows : sizes)
        if (rows <= 10000)
            threaded = std::max(threaded, rows);
    if (threaded > 0)
        Register("Threads/Families", threaded, FamiliesOnThreads, 3);
    // Peak memory is measured once, at the largest size.
    Register("Memory", largest, Memory, 1, benchmark::kSecond);
}

constexpr const char* kWriteGraphFamilyFlag = "--write-graph-family=";

// --write-graph-family=SHAPE:COLUMNS FILE: writes a generated graph family as UTF-8 XML, for
// trying the command-line tool on it. 0, or 2 for bad arguments or a file that can't be written.
int WriteGraphFamily(const std::string& argument, const char* path) {
    const size_t colon = argument.find(':');
    GraphShape shape = GraphShape::Chain;
    char* end = nullptr;
    const unsigned long columns =
        colon == std::string::npos ? 0 : std::strtoul(argument.c_str() + colon + 1, &end, 10);
    if (!path || colon == std::string::npos || !ParseGraphShape(argument.substr(0, colon), shape) ||
        columns < 2 || !end || *end) {
        std::fprintf(stderr,
                     "usage: torvex_bench %sSHAPE:COLUMNS FILE (SHAPE: chain, fan-out, "
                     "diamond, cycle; COLUMNS at least 2)\n",
                     kWriteGraphFamilyFlag);
        return 2;
    }
    const std::string text = platform::ToUtf8(GenerateGraphFamily(shape, columns).familyXml);
    std::FILE* file = std::fopen(path, "wb");
    const bool written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (file && std::fclose(file) != 0)
        return 2;
    if (!written) {
        std::fprintf(stderr, "cannot write %s\n", path);
        return 2;
    }
    return 0;
}

constexpr const char* kWriteFamilyFlag = "--write-family=";

// --write-family=ROWS DIR: writes the generated family of ROWS rows as a catalogue of one family,
// laid out as examples/ is, for trying the command-line tool on it (torvex table, torvex site).
// 0, or 2 for bad arguments or a file that can't be written.
int WriteFamilyCatalogue(const std::string& argument, const char* dir) {
    char* end = nullptr;
    const unsigned long rows = std::strtoul(argument.c_str(), &end, 10);
    if (!dir || rows == 0 || !end || *end) {
        std::fprintf(stderr, "usage: torvex_bench %sROWS DIR (ROWS at least 1)\n",
                     kWriteFamilyFlag);
        return 2;
    }
    const GeneratedFamily family = GenerateFamily(rows);
    const std::filesystem::path root(dir);
    std::error_code code;
    std::filesystem::create_directories(root / "bench", code);
    const std::string id = platform::ToUtf8(family.internalName);
    const std::string toc =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<TableOfContents>\n  <Families>\n"
        "    <Family InternalName=\"" +
        id + "\" DisplayName=\"Benchmark screws " + std::to_string(rows) +
        "\" Standard=\"ISO 4762\" StandardsOrg=\"ISO\" Manufacturer=\"Torvex Samples\" "
        "FolderName=\"bench\"/>\n  </Families>\n  <Categories>\n"
        "    <Category InternalName=\"41e9806d-9023-5df4-8199-5288187afd7a\" "
        "DisplayName=\"Fasteners\" Hidden=\"false\">\n"
        "      <FamilyReference InternalName=\"" +
        id +
        "\"/>\n    </Category>\n"
        "  </Categories>\n</TableOfContents>\n";
    const std::pair<std::filesystem::path, const std::string*> files[] = {
        {root / "toc.xml", &toc},
        {root / "bench" / "Family.xml", &family.familyUtf8},
        {root / "bench" / "FamilyStrings.EN-US.xml", &family.stringDocumentsUtf8[0]},
        {root / "bench" / "FamilyStrings.DE-DE.xml", &family.stringDocumentsUtf8[1]},
    };
    for (const auto& [path, text] : files) {
        if (code || !platform::WriteFileBytes(platform::FromUtf8(path.string()), *text)) {
            std::fprintf(stderr, "cannot write %s\n", path.string().c_str());
            return 2;
        }
    }
    return 0;
}

// "100,1000" into sizes; false for anything else.
bool ParseSizes(const char* text, std::vector<size_t>& sizes) {
    sizes.clear();
    const char* cursor = text;
    while (*cursor) {
        char* end = nullptr;
        const unsigned long value = std::strtoul(cursor, &end, 10);
        if (end == cursor || value == 0)
            return false;
        sizes.push_back(value);
        cursor = end;
        if (*cursor == ',')
            ++cursor;
        else if (*cursor)
            return false;
    }
    return !sizes.empty();
}

} // namespace
} // namespace torvex::bench

int main(int argc, char** argv) {
    using namespace torvex::bench;
    std::vector<size_t> sizes = {100, 1000, 10000, 50000, 100000};
    std::vector<size_t> graphSizes = {1000, 10000, 50000};
    std::vector<char*> rest = {argv[0]};
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.rfind(kMemoryChildFlag, 0) == 0)
            return RunMemoryChild(argument.substr(std::strlen(kMemoryChildFlag)));
        if (argument.rfind(kWriteGraphFamilyFlag, 0) == 0)
            return WriteGraphFamily(argument.substr(std::strlen(kWriteGraphFamilyFlag)),
                                    i + 1 < argc ? argv[i + 1] : nullptr);
        if (argument.rfind(kWriteFamilyFlag, 0) == 0)
            return WriteFamilyCatalogue(argument.substr(std::strlen(kWriteFamilyFlag)),
                                        i + 1 < argc ? argv[i + 1] : nullptr);
        if (argument.rfind("--show-cells=", 0) == 0) {
            WarmUpHost();
            return ShowCells(std::strtoul(argument.c_str() + 13, nullptr, 10), 3);
        }
        if (argument == "--wall-clock") {
            g_wallClock = true;
            continue;
        }
        if (argument.rfind("--graph-sizes=", 0) == 0) {
            if (!ParseSizes(argument.c_str() + 14, graphSizes)) {
                std::fprintf(stderr, "bad --graph-sizes: %s\n", argument.c_str());
                return 2;
            }
            continue;
        }
        if (argument.rfind("--sizes=", 0) == 0) {
            if (!ParseSizes(argument.c_str() + 8, sizes)) {
                std::fprintf(stderr, "bad --sizes: %s\n", argument.c_str());
                return 2;
            }
            continue;
        }
        rest.push_back(argv[i]);
    }
    int restCount = static_cast<int>(rest.size());
    rest.push_back(nullptr);
    benchmark::Initialize(&restCount, rest.data());
    if (benchmark::ReportUnrecognizedArguments(restCount, rest.data()))
        return 2;
    benchmark::AddCustomContext("torvex_clock", g_wallClock ? "wall clock" : "thread CPU time");
    WarmUpHost();
    RegisterAll(sizes);
    RegisterGraphs(graphSizes);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

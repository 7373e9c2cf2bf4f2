#include "MemoryProbe.h"

#include "Baselines.h"
#include "BenchFamily.h"
#include "FamilyGenerator.h"

#include <malloc.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

extern char** environ;

namespace torvex::bench {
namespace {

// A field of /proc/self/status in kB ("VmHWM", "VmRSS"); -1 when it can't be read.
long StatusKb(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    const size_t length = std::strlen(field);
    while (std::getline(status, line)) {
        if (line.compare(0, length, field) == 0 && line.size() > length && line[length] == ':')
            return std::strtol(line.c_str() + length + 1, nullptr, 10);
    }
    return -1;
}

// Sets the peak resident size back to the present one (Linux 4.0 and later); true when the
// peak then stands where the resident size does.
bool ResetPeak() {
    {
        std::ofstream clear("/proc/self/clear_refs");
        clear << "5";
        clear.flush();
        if (!clear)
            return false;
    }
    const long peak = StatusKb("VmHWM");
    const long resident = StatusKb("VmRSS");
    return peak >= 0 && resident >= 0 && peak <= resident + 1024;
}

const char* WorkName(MemoryWork work) {
    switch (work) {
    case MemoryWork::Idle:
        return "idle";
    case MemoryWork::Libxml2:
        return "libxml2";
    case MemoryWork::Torvex:
        return "torvex";
    }
    return "idle";
}

struct ChildFigures {
    long peakKb = -1;
    long beforeKb = -1;
    int reset = 0;
    size_t cellsWithValue = 0;
};

// Runs this binary as a memory child and reads its line of figures.
bool RunChild(MemoryWork work, size_t rows, ChildFigures& figures, std::string& error) {
    int pipeFds[2];
    if (pipe(pipeFds) != 0) {
        error = "pipe failed";
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    posix_spawn_file_actions_addclose(&actions, pipeFds[1]);

    std::string flag = std::string(kMemoryChildFlag) + WorkName(work) + ":" + std::to_string(rows);
    char program[] = "/proc/self/exe";
    char* argv[] = {program, flag.data(), nullptr};
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (spawned != 0) {
        close(pipeFds[0]);
        error = "could not start a memory child";
        return false;
    }
    std::string output;
    char buffer[512];
    ssize_t got = 0;
    while ((got = read(pipeFds[0], buffer, sizeof buffer)) > 0)
        output.append(buffer, static_cast<size_t>(got));
    close(pipeFds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        error = std::string("memory child '") + WorkName(work) + "' failed";
        return false;
    }
    if (std::sscanf(output.c_str(), "peak_kb=%ld before_kb=%ld reset=%d with_value=%zu",
                    &figures.peakKb, &figures.beforeKb, &figures.reset,
                    &figures.cellsWithValue) != 4 ||
        figures.peakKb < 0 || figures.beforeKb < 0) {
        error = std::string("memory child '") + WorkName(work) + "' answered: " + output;
        return false;
    }
    return true;
}

} // namespace

bool MeasureMemory(size_t rows, MemoryFigures& figures, std::string& error) {
    ChildFigures idle, libxml2, torvex;
    if (!RunChild(MemoryWork::Idle, rows, idle, error) ||
        !RunChild(MemoryWork::Libxml2, rows, libxml2, error) ||
        !RunChild(MemoryWork::Torvex, rows, torvex, error))
        return false;
    figures.peakReset = idle.reset && libxml2.reset && torvex.reset;
    figures.idlePeakKb = idle.peakKb;
    figures.libxml2PeakKb = libxml2.peakKb;
    figures.torvexPeakKb = torvex.peakKb;
    if (figures.peakReset) {
        figures.libxml2Kb = libxml2.peakKb - libxml2.beforeKb;
        figures.torvexKb = torvex.peakKb - torvex.beforeKb;
    } else {
        figures.libxml2Kb = libxml2.peakKb - idle.peakKb;
        figures.torvexKb = torvex.peakKb - idle.peakKb;
    }
    figures.torvexCellsWithValue = torvex.cellsWithValue;
    return true;
}

int RunMemoryChild(const std::string& argument) {
    const size_t colon = argument.find(':');
    if (colon == std::string::npos)
        return 2;
    const std::string work = argument.substr(0, colon);
    const size_t rows = std::strtoul(argument.c_str() + colon + 1, nullptr, 10);
    if (rows == 0 || (work != "idle" && work != "libxml2" && work != "torvex"))
        return 2;

    // The same preparation in every child: both forms of the texts and the unit database.
    const GeneratedFamily family = GenerateFamily(rows);
    WarmUpHost();
    malloc_trim(0);
    const long beforeKb = StatusKb("VmRSS");
    const bool reset = ResetPeak();

    size_t withValue = 0;
    BareDocuments documents;
    std::unique_ptr<CEncapFamily> opened;
    if (work == "libxml2") {
        if (!documents.Parse(family) || documents.WalkCells() == 0)
            return 1;
    } else if (work == "torvex") {
        opened = OpenFamily(family, std::wstring());
        withValue = ReadAllCells(*opened).WithValue();
    }
    const long peakKb = StatusKb("VmHWM");
    std::printf("peak_kb=%ld before_kb=%ld reset=%d with_value=%zu\n", peakKb, beforeKb,
                reset ? 1 : 0, withValue);
    std::fflush(stdout);
    // The held documents and family go with the process; tearing them down costs only time.
    std::_Exit(0);
}

} // namespace torvex::bench

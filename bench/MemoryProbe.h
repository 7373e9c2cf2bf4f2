#pragma once
// Peak memory of holding a family, measured in child processes of the benchmark binary so that
// nothing of the parent's heap counts. Each child builds the texts, loads the host's unit
// database, returns freed memory to the system and notes its resident size; it then resets its
// peak (where the kernel allows it), does the work and reads its peak (VmHWM). The figure of a
// child is its peak minus its resident size before the work; without a peak reset, the peak
// minus the peak of an idle child that did only the preparation.

#include <cstddef>
#include <string>

namespace torvex::bench {

/// What one child does after the preparation.
enum class MemoryWork {
    Idle,    // nothing
    Libxml2, // libxml2 parses the three texts and walks the cells, holding the documents
    Torvex,  // the family opens and every cell is evaluated, the family held
};

/// The flag that turns the benchmark binary into a memory child; the value is "<work>:<rows>".
inline constexpr const char* kMemoryChildFlag = "--memory-child=";

/// Figures of the three children, in kB.
struct MemoryFigures {
    long idlePeakKb = 0;
    long libxml2Kb = 0;
    long torvexKb = 0;
    long libxml2PeakKb = 0; // absolute peaks, for the record
    long torvexPeakKb = 0;
    bool peakReset = false; // all children could reset their peak
    size_t torvexCellsWithValue = 0;
};

/// Runs the three children for a family of `rows` rows; false with `error` set when a child
/// could not be started or answered nonsense.
bool MeasureMemory(size_t rows, MemoryFigures& figures, std::string& error);

/// The body of a child: `argument` is the flag's value. Prints one line of figures on stdout
/// and answers the process's exit code (2 for a bad argument).
int RunMemoryChild(const std::string& argument);

} // namespace torvex::bench

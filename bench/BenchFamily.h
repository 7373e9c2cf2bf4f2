#pragma once
// The library side of the benchmarks: opening a generated family with the reference host, and
// reading its cells the way a host shows a whole table.

#include "FamilyGenerator.h"
#include "GraphFamilyGenerator.h"

#include "torvex/family/CEncapFamily.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace torvex::bench {

/// How many cells a pass read, and with which result (CTableEvaluator::EvaluateResult 0-8).
struct CellTally {
    std::array<size_t, 9> byResult{};
    size_t other = 0; // a result outside 0-8
    size_t characters = 0;

    size_t Cells() const;
    /// Results 0 and 8: a value was produced.
    size_t WithValue() const;
    void Add(const CellTally& other);
};

/// Opens the family from its texts with a new reference provider; `cacheFolder` empty means no
/// cache file. Never fails (a family whose text doesn't parse has a null table).
std::unique_ptr<CEncapFamily> OpenFamily(const GeneratedFamily& family,
                                         const std::wstring& cacheFolder);

/// Fills the family's host calls with what the library asks of the reference host when every
/// cell is read once (for shapes whose calls the generator doesn't write). Never fails.
void RecordHostCalls(GeneratedFamily& family);

/// Opens a generated graph family (no string documents, no cache folder) with a new reference
/// provider. Never fails.
std::unique_ptr<CEncapFamily> OpenGraphFamily(const GraphFamily& family);

/// Reads every cell through CEncapFamilyTable::GetValue, row by row in document order, columns
/// in document order. An empty tally for a family without a table.
CellTally ReadAllCells(CEncapFamily& family);
/// The same in the language given (a string document's tag; null: the actual language), as a
/// reader of another language sees the table.
CellTally ReadAllCells(CEncapFamily& family, const wchar_t* language);

/// Reads every cell of one row. An empty tally for a family without a table.
CellTally ReadRow(CEncapFamily& family, const std::wstring& rowId);

/// Prints the columns of the first rows with each value and result, for checking what the
/// evaluator produces; answers 0, or 1 when the family didn't open.
int ShowCells(size_t rows, size_t shownRows);

} // namespace torvex::bench

#pragma once
// What the benchmarks compare the library with, on the same texts: libxml2 alone parsing the
// documents and walking their cells, and the reference host computing the formula cells'
// expressions without the library.

#include "FamilyGenerator.h"

#include <cstddef>

namespace torvex::bench {

/// The family document and both string documents parsed by libxml2 alone (the UTF-8 texts, the
/// parse options a plain host would use: no network, no blank text nodes). Not copyable.
class BareDocuments {
public:
    BareDocuments() = default;
    ~BareDocuments();
    BareDocuments(const BareDocuments&) = delete;
    BareDocuments& operator=(const BareDocuments&) = delete;

    /// Parses every text of the family; false when one doesn't parse (what parsed is kept).
    bool Parse(const GeneratedFamily& family);
    /// Visits every element and, for each Cell and CellString, its ColumnId or RowId attribute
    /// and its text; answers the number of such elements. 0 when nothing is parsed.
    size_t WalkCells() const;
    /// Frees the documents; never fails.
    void Free();

private:
    void* m_docs[3] = {nullptr, nullptr, nullptr}; // xmlDocPtr
};

/// Results of the host's pass over the expressions.
struct HostTally {
    size_t calls = 0;
    size_t failed = 0;
    size_t checksum = 0; // characters of the formatted results, so nothing is optimised away
};

/// Computes every expression of the family as the evaluator would, with a new reference
/// provider (cold shape cache): internal unit, the expression, the conversion back to the
/// column's unit, and "%.8g". Failures are counted, not reported.
HostTally RunHostAlone(const GeneratedFamily& family);

/// Loads the host's unit database once per process, so that no measurement pays for it.
void WarmUpHost();

} // namespace torvex::bench

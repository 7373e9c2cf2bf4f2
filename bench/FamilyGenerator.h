#pragma once
// Deterministic families of any number of rows for the benchmarks: the family document, two
// string documents (en-US, de-DE), their UTF-8 copies for the bare libxml2 baseline, and the
// expressions the library hands to the host when it evaluates the whole table.
//
// The table has 20 columns, modelled on a catalogue of socket head cap screws:
//   RID, STATUS, MEMBER_REVISION                  fixed-meaning columns (hidden strings)
//   d, l, P, s, t (mm), CHAMFER (deg)             literal numbers in cells
//   FULL_THREAD                                   Boolean literal
//   dk, k, b, L_TOTAL (mm), THREAD_TURNS (ul)     formulas with references and units
//   DESIGNATION                                   String concatenation of references
//   MATERIAL                                      column-wide key, some cells override it
//   FINISH                                        localized String: column-wide value, and cells
//                                                 with a CellString in both string documents
//   DESCRIPTION                                   localized String formula
//   ROTATION                                      custom range column "[0;60;15;30]"
// The literal `l` is referenced by exactly three formula columns: DESIGNATION, L_TOTAL and
// THREAD_TURNS (what the edit benchmark changes).
//
// The second shape, `Chains`, is made for the evaluation path rather than the parse: 24 columns
// of which 20 are formulas, four chains five deep over the literals d, l and P (all in mm), so
// that a cell refers to one computed a step before, down to the literals:
//   RID                                     row id
//   d, l, P (mm)                            literal numbers in cells
//   a1..a5, b1..b5, c1..c5, e1..e5 (mm)     a1 = {d}*1.5, a2 = {a1}+{P}, ...; b5, c1 and e1 join
//                                           chains, so the deepest cell is 12 references down
// Its host calls are not written by the generator: the benchmark records them once from the
// library (RecordHostCalls), since each depends on values computed before it.

#include "torvex/platform/WideString.h"

#include <cstddef>
#include <string>
#include <vector>

namespace torvex::bench {

/// The kinds of generated family.
enum class FamilyShape { Screws, Chains };

/// One expression as the library hands it to the host for one formula cell.
struct HostCall {
    std::wstring expression; // "3mm*1.5+1": references replaced by value and unit
    std::wstring unit;       // the column's unit, "ul" when it has none
};

/// Everything a benchmark needs of one generated family.
struct GeneratedFamily {
    FamilyShape shape = FamilyShape::Screws;
    size_t rowCount = 0;
    std::wstring internalName; // of the family, as its root says
    std::wstring familyXml;
    WideStringList stringDocuments; // en-US first (the actual language), then de-DE
    std::string familyUtf8;
    std::vector<std::string> stringDocumentsUtf8;
    WideStringList rowIds;    // document order
    WideStringList columnIds; // document order
    std::vector<HostCall> hostCalls;
    size_t cellElements = 0; // Cell elements in the family document

    /// Bytes of all texts as UTF-8 (family and string documents).
    size_t Utf8Bytes() const;
};

/// Column edited by the SetValue benchmark, and the formula columns that refer to it.
inline constexpr const wchar_t* kEditedColumn = L"l";
inline constexpr size_t kColumnsReferringToEdited = 3;

/// Builds the family of `rows` rows of the shape; the same arguments always give the same texts.
/// Never fails.
GeneratedFamily GenerateFamily(size_t rows, FamilyShape shape = FamilyShape::Screws);

/// "screws" or "chains".
const char* FamilyShapeName(FamilyShape shape);

} // namespace torvex::bench

#pragma once
// The reference host's provider for the commands that evaluate.

#include "FamilyFile.h"

#include "torvex/evaluation/IEvaluatorProvider.h"

#include <memory>
#include <ostream>
#include <string>

namespace torvex {
class CMaterialTable;
}

namespace torvex::cli {

/// The materials table of `materialsPath` (an empty table when it is empty), to be shared by the
/// providers of several families; null with a message in `error` when the table cannot be
/// read. Malformed lines are reported on `err`.
std::shared_ptr<const CMaterialTable> LoadMaterials(const std::string& materialsPath,
                                                    std::ostream& err, std::string& error);

/// A units provider on a materials table loaded before. Never fails (but for memory).
std::unique_ptr<IEvaluatorProvider>
MakeUnitsProvider(std::shared_ptr<const CMaterialTable> materials);

/// A units provider with the materials table of `materialsPath` (none when empty); null with a
/// message in `error` when the table cannot be read. Malformed lines are reported on `err`.
std::unique_ptr<IEvaluatorProvider> MakeUnitsProvider(const std::string& materialsPath,
                                                      std::ostream& err, std::string& error);

/// Opens the family with a units provider (materials from `materialsPath`, none when empty) for
/// the commands that evaluate; null, with "torvex: <why>" written to `err`, when the materials
/// table or a document cannot be read.
std::unique_ptr<CEncapFamily>
OpenEvaluatingFamily(const FamilyInput& input, const std::string& materialsPath, std::ostream& err);

} // namespace torvex::cli

#pragma once
// Opens a family from files for the commands: the family document and its string documents are
// read from disk, decoded and handed to the library as wide text.

#include "torvex/family/CEncapFamily.h"

#include <memory>
#include <string>
#include <vector>

namespace torvex::cli {

/// Opens the family; null with a one-line message in `error` when a file cannot be read or the
/// family document does not open. The family takes the provider over in every case.
std::unique_ptr<CEncapFamily> OpenFamily(const std::string& familyPath,
                                         const std::vector<std::string>& stringPaths,
                                         std::unique_ptr<IEvaluatorProvider> provider,
                                         std::string& error);

/// UTF-8 text of wide text.
std::string Narrow(const WideString& text);

} // namespace torvex::cli

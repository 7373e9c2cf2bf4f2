#pragma once
// The families that `torvex table` and `torvex check` are given: one family document as before,
// or several documents and folders, whose families run on several threads.

#include "FamilyFile.h"
#include "RunInOrder.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace torvex {
class CEncapFamily;
class CMaterialTable;
} // namespace torvex

namespace torvex::cli {

/// One family of a batch: how to open it, or why there is nothing to open (`error`, with the
/// argument in `input.familyPath`).
struct BatchFamily {
    FamilyInput input;
    std::string error;
};

/// Whether the words name several families: more than one word, or a folder. Never fails.
bool NamesSeveralFamilies(const std::vector<std::string>& words);

/// The families that the words name, in their order: a family document as it is, a folder as
/// every Family.xml below it in path order. Each takes the language and the localize flag of
/// `common` and opens the string documents found beside it. A folder that can't be read or
/// holds no Family.xml gives one entry with an error. Never fails.
std::vector<BatchFamily> ListFamilies(const std::vector<std::string>& words,
                                      const FamilyInput& common);

/// The threads for -j: `asked`, or the number of cores when it is 0. Never fails.
unsigned JobThreads(unsigned asked);

/// Opens the family of a batch with the reference host and the materials. Null when it can't be
/// opened: the message naming it then goes to `err` and, with `json`, an object with "family"
/// and "error" to `out`. Never throws.
std::unique_ptr<CEncapFamily> OpenBatchFamily(const BatchFamily& entry,
                                              std::shared_ptr<const CMaterialTable> materials,
                                              bool json, std::ostream& out, std::ostream& err);

/// One family's job of a batch: opens it (OpenBatchFamily) and runs print(family, out, err) on
/// it, with what both write held back for RunInOrder. print's exit code, or `notOpened` when the
/// family didn't open. Throws what print throws.
JobOutput
RunBatchFamily(const BatchFamily& entry, std::shared_ptr<const CMaterialTable> materials, bool json,
               int notOpened,
               const std::function<int(CEncapFamily&, std::ostream&, std::ostream&)>& print);

/// A message about the family at `path`: `message` itself when it names the path, else the path
/// and the message. Never fails.
std::string MessageNaming(const std::string& path, const std::string& message);

} // namespace torvex::cli

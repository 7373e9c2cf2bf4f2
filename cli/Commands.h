#pragma once
// The commands of the torvex tool. Each writes its result to `out` and one-line messages to
// `err`, and returns the process exit code.

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace torvex::cli {

struct ShowOptions {
    std::string familyPath;
    std::vector<std::string> stringPaths;
    size_t width = 0; // 0: the terminal's width
};

/// `torvex show`: 0 on success, 1 when a file cannot be read or the family does not open.
int RunShow(const ShowOptions& options, std::ostream& out, std::ostream& err);

} // namespace torvex::cli

#pragma once
// Renders Graphviz DOT text as SVG through the `dot` program, run as a child process.

#include <string>

namespace torvex::cli {

class GraphvizRenderer {
public:
    /// Looks `dot` up on PATH.
    GraphvizRenderer();
    /// Uses the program at `dotProgram` (empty: none).
    explicit GraphvizRenderer(std::string dotProgram) : dot_(std::move(dotProgram)) {}

    /// Whether there is a `dot` to run.
    bool Available() const { return !dot_.empty(); }
    /// Writes the SVG of the DOT text to `svgPath` (beside it first, then renamed over it).
    /// False with a one-line message in `error` when dot can't be run, fails (its first line
    /// of complaint is given) or the file can't be written. Safe on several threads at once.
    bool RenderSvg(const std::string& dotText, const std::string& svgPath,
                   std::string& error) const;

private:
    std::string dot_;
};

} // namespace torvex::cli

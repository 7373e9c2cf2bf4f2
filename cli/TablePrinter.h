#pragma once
// Prints a table of text cells aligned in columns, split into blocks of columns so that each
// line fits the terminal. The first column (the row label) is repeated in every block.

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace torvex::cli {

class TablePrinter {
public:
    /// `header` names the columns; every row should have as many cells (missing cells are empty).
    explicit TablePrinter(std::vector<std::string> header);
    void AddRow(std::vector<std::string> cells);
    /// Writes the table in blocks no wider than `width` characters; cells longer than
    /// `maxCellWidth` are cut and end in "...".
    void Print(std::ostream& out, size_t width, size_t maxCellWidth = 40) const;

    /// Number of characters a UTF-8 text takes on screen (one per code point).
    static size_t DisplayWidth(const std::string& text);
    /// Width of the terminal on standard output: COLUMNS, the terminal's own, else 120.
    static size_t TerminalWidth();

private:
    std::vector<std::string> header_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace torvex::cli

#include "TablePrinter.h"

#include <algorithm>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace torvex::cli {
namespace {

// Cuts a UTF-8 text to at most `width` code points, marking the cut with "...".
std::string Fit(const std::string& text, size_t width) {
    if (TablePrinter::DisplayWidth(text) <= width)
        return text;
    const size_t keep = width > 3 ? width - 3 : 0;
    std::string out;
    size_t points = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if ((c & 0xC0) != 0x80) {
            if (points == keep)
                break;
            ++points;
        }
        out.push_back(text[i]);
    }
    return out + std::string("...").substr(0, width - keep);
}

void Pad(std::ostream& out, const std::string& text, size_t width) {
    out << text;
    for (size_t n = TablePrinter::DisplayWidth(text); n < width; ++n)
        out << ' ';
}

} // namespace

TablePrinter::TablePrinter(std::vector<std::string> header) : header_(std::move(header)) {}

void TablePrinter::AddRow(std::vector<std::string> cells) {
    cells.resize(std::max(cells.size(), header_.size()));
    rows_.push_back(std::move(cells));
}

size_t TablePrinter::DisplayWidth(const std::string& text) {
    size_t n = 0;
    for (char c : text)
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
            ++n;
    return n;
}

size_t TablePrinter::TerminalWidth() {
    if (const char* columns = std::getenv("COLUMNS")) {
        const long value = std::strtol(columns, nullptr, 10);
        if (value >= 20)
            return static_cast<size_t>(value);
    }
    struct winsize size {};
    if (::isatty(STDOUT_FILENO) && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 &&
        size.ws_col >= 20)
        return size.ws_col;
    return 120;
}

void TablePrinter::Print(std::ostream& out, size_t width, size_t maxCellWidth) const {
    const size_t count = header_.size();
    if (count == 0)
        return;
    maxCellWidth = std::max<size_t>(maxCellWidth, 4);
    std::vector<size_t> widths(count, 0);
    for (size_t c = 0; c < count; ++c) {
        widths[c] = std::min(DisplayWidth(header_[c]), maxCellWidth);
        for (const auto& row : rows_)
            widths[c] = std::max(widths[c], std::min(DisplayWidth(row[c]), maxCellWidth));
    }
    const std::string gap = "  ";
    // The rule under the header, made once: made for each block, it grew with the square of the
    // columns (a block holds a few of them).
    std::vector<std::string> rule(count);
    for (size_t c = 0; c < count; ++c)
        rule[c] = std::string(widths[c], '-');
    size_t first = 1;
    bool firstBlock = true;
    do {
        // Columns [first, last) fit beside the label column.
        size_t used = widths[0];
        size_t last = first;
        while (last < count && (last == first || used + gap.size() + widths[last] <= width)) {
            used += gap.size() + widths[last];
            ++last;
        }
        if (!firstBlock)
            out << '\n';
        firstBlock = false;
        auto line = [&](const std::vector<std::string>& cells) {
            Pad(out, Fit(cells[0], widths[0]), widths[0]);
            for (size_t c = first; c < last; ++c) {
                out << gap;
                if (c + 1 == last)
                    out << Fit(cells[c], widths[c]);
                else
                    Pad(out, Fit(cells[c], widths[c]), widths[c]);
            }
            out << '\n';
        };
        line(header_);
        line(rule);
        for (const auto& row : rows_)
            line(row);
        first = last;
    } while (first < count);
}

} // namespace torvex::cli

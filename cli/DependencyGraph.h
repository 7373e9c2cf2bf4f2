#pragma once
// Which column of a family depends on which: every column with its title and formula, and the
// columns whose formulas refer to it.

#include <ostream>
#include <string>
#include <vector>

namespace torvex {
class CEncapFamilyTable;
}

namespace torvex::cli {

class DependencyGraph {
public:
    struct Column {
        std::string id;
        std::string title;   // in the actual language; empty when it has none
        std::string formula; // empty when it has none
        bool hidden = false;
        bool key = false;
        std::vector<std::string> dependents; // sorted by id
    };

    /// The table's columns in table order.
    explicit DependencyGraph(const CEncapFamilyTable& table);

    const std::vector<Column>& Columns() const { return columns_; }
    /// Number of edges (column, dependent).
    size_t EdgeCount() const;
    /// The graph in Graphviz DOT, named `name`: a box per column labelled with id, title and
    /// formula (hidden columns dashed, key columns bold), an edge from a column to each of its
    /// dependents.
    void WriteDot(const std::string& name, std::ostream& out) const;

private:
    std::vector<Column> columns_;
};

} // namespace torvex::cli

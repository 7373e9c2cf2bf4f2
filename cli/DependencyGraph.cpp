#include "DependencyGraph.h"

#include "FamilyFile.h"
#include "TextFormats.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <algorithm>

namespace torvex::cli {

DependencyGraph::DependencyGraph(const CEncapFamilyTable& table) {
    for (const WideString& id : table.GetAllColumnIDs()) {
        const CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str());
        if (!column)
            continue;
        Column node;
        node.id = Narrow(id);
        WideString title, formula;
        column->GetTitle(title);
        column->GetFormula(formula);
        if (title != id)
            node.title = Narrow(title);
        node.formula = Narrow(formula);
        node.hidden = column->IsHidden();
        node.key = column->IsKeyColumn();
        // The set is ordered by address; sorted by id, the output is the same every run.
        for (const CEncapFamilyColumn* dependent : column->GetDependantColumns()) {
            WideString dependentId;
            dependent->GetColumnID(dependentId);
            node.dependents.push_back(Narrow(dependentId));
        }
        std::sort(node.dependents.begin(), node.dependents.end());
        columns_.push_back(std::move(node));
    }
}

size_t DependencyGraph::EdgeCount() const {
    size_t edges = 0;
    for (const Column& column : columns_)
        edges += column.dependents.size();
    return edges;
}

void DependencyGraph::WriteDot(const std::string& name, std::ostream& out) const {
    out << "// An edge runs from a column to each column whose formula refers to it.\n";
    out << "digraph " << DotString(name)
        << " {\n  rankdir=LR;\n  node [shape=box, fontname=\"Helvetica\"];\n";
    for (const Column& column : columns_) {
        std::string label = column.id;
        if (!column.title.empty())
            label += "\n" + column.title;
        if (!column.formula.empty())
            label += "\n= " + column.formula;
        out << "  " << DotString(column.id) << " [label=" << DotString(label);
        if (column.hidden)
            out << ", style=dashed";
        if (column.key)
            out << ", penwidth=2";
        out << "];\n";
    }
    for (const Column& column : columns_)
        for (const std::string& dependent : column.dependents)
            out << "  " << DotString(column.id) << " -> " << DotString(dependent) << ";\n";
    out << "}\n";
}

} // namespace torvex::cli

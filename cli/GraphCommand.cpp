// torvex graph: which column depends on which, as Graphviz DOT.

#include "Commands.h"

#include "NoExpressionProvider.h"
#include "TextFormats.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <algorithm>

namespace torvex::cli {

int RunGraph(const GraphOptions& options, std::ostream& out, std::ostream& err) {
    std::string error;
    auto family = OpenFamily(options.input, std::make_unique<NoExpressionProvider>(), error);
    if (!family) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    WideString name;
    family->GetFamilyXML().GetRootNode().GetProperty(L"DisplayName", name);
    out << "// An edge runs from a column to each column whose formula refers to it.\n";
    out << "digraph " << DotString(name.empty() ? options.input.familyPath : Narrow(name))
        << " {\n  rankdir=LR;\n  node [shape=box, fontname=\"Helvetica\"];\n";
    for (const WideString& id : table.GetAllColumnIDs()) {
        CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str());
        if (!column)
            continue;
        WideString title, formula;
        column->GetTitle(title);
        column->GetFormula(formula);
        std::string label = Narrow(id);
        if (!title.empty() && title != id)
            label += "\n" + Narrow(title);
        if (!formula.empty())
            label += "\n= " + Narrow(formula);
        out << "  " << DotString(Narrow(id)) << " [label=" << DotString(label);
        if (column->IsHidden())
            out << ", style=dashed";
        if (column->IsKeyColumn())
            out << ", penwidth=2";
        out << "];\n";
    }
    for (const WideString& id : table.GetAllColumnIDs()) {
        CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str());
        if (!column)
            continue;
        // The set is ordered by address; sort by id so that the output is the same every run.
        std::vector<std::string> dependents;
        for (const CEncapFamilyColumn* dependent : column->GetDependantColumns()) {
            WideString dependentId;
            dependent->GetColumnID(dependentId);
            dependents.push_back(Narrow(dependentId));
        }
        std::sort(dependents.begin(), dependents.end());
        for (const std::string& dependent : dependents)
            out << "  " << DotString(Narrow(id)) << " -> " << DotString(dependent) << ";\n";
    }
    out << "}\n";
    return kExitOk;
}

} // namespace torvex::cli

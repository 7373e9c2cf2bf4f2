// torvex graph: which column depends on which, as Graphviz DOT.

#include "Commands.h"

#include "DependencyGraph.h"
#include "NoExpressionProvider.h"

#include "torvex/family/CEncapFamilyTable.h"

namespace torvex::cli {

int RunGraph(const GraphOptions& options, std::ostream& out, std::ostream& err) {
    std::string error;
    auto family = OpenFamily(options.input, std::make_unique<NoExpressionProvider>(), error);
    if (!family) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    WideString name;
    family->GetFamilyXML().GetRootNode().GetProperty(L"DisplayName", name);
    DependencyGraph(*family->GetEncapFamilyTable())
        .WriteDot(name.empty() ? options.input.familyPath : Narrow(name), out);
    return kExitOk;
}

} // namespace torvex::cli

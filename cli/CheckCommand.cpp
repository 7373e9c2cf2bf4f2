// torvex check: every column formula checked with the table's syntax check.

#include "Commands.h"

#include "HostProvider.h"
#include "ResultNames.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"

namespace torvex::cli {

int RunCheck(const CheckOptions& options, std::ostream& out, std::ostream& err) {
    std::string error;
    auto provider = MakeUnitsProvider({}, err, error);
    auto family = provider ? OpenFamily(options.input, std::move(provider), error) : nullptr;
    if (!family) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    size_t checked = 0;
    size_t problems = 0;
    for (const WideString& id : table.GetAllColumnIDs()) {
        CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str());
        if (!column)
            continue;
        WideString formula, unit;
        column->GetFormula(formula);
        if (formula.empty())
            continue;
        column->GetUnitType(unit);
        const auto type =
            column->IsCustom() ? DataTypes::FormulaRange : DataTypes::FormulaExpression;
        CTableEvaluator::EvaluateResult result =
            table.CheckFormulaSyntax(formula.c_str(), type, column->GetDataType(), unit.c_str());
        // A loop of column formulas read from the document passes the syntax check; name it too.
        if (result == CTableEvaluator::EvalOk)
            result = column->CheckCircularDependency(nullptr);
        ++checked;
        if (result != CTableEvaluator::EvalOk) {
            ++problems;
            out << Narrow(id) << ": " << Narrow(formula) << ": " << ResultName(result) << '\n';
        }
    }
    out << options.input.familyPath << ": " << checked << (checked == 1 ? " formula" : " formulas")
        << " checked, " << problems << (problems == 1 ? " problem" : " problems") << '\n';
    return problems ? kExitFailed : kExitOk;
}

} // namespace torvex::cli

// torvex check: every column formula checked with the table's syntax check, every row's values
// against their column, and on request the repair of cells that no longer fit their column.

#include "Commands.h"

#include "FamilySave.h"
#include "HostProvider.h"
#include "ResultNames.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLNodeArray.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace torvex::cli {

namespace {

// Number of Cell elements in the table.
size_t CellCount(const CEncapFamilyTable& table) {
    XMLNodeArray cells;
    table.GetXMLNode().SelectChildNodes(L"Rows/Row/Cell", cells);
    return static_cast<size_t>(cells.GetSize());
}

int Repair(CEncapFamily& family, const CheckOptions& options, std::ostream& out,
           std::ostream& err) {
    CEncapFamilyTable& table = *family.GetEncapFamilyTable();
    const std::vector<WideString> stringsBefore = StringTexts(family);
    const size_t before = CellCount(table);
    const WideStringList columnIds = table.GetAllColumnIDs();
    for (const WideString& id : columnIds)
        table.ValidateAndRepairColumnData(table.GetFamilyColumnByID(id.c_str()));
    const size_t removed = before - CellCount(table);
    out << "repair: " << removed << (removed == 1 ? " cell" : " cells") << " removed\n";
    std::string bytes, error;
    platform::ReadFileBytes(platform::FromUtf8(options.input.familyPath), bytes);
    std::vector<std::string> written;
    const std::string& target = options.inPlace ? options.input.familyPath : options.output;
    if (!SaveFamily(family, target, DetectEncoding(bytes), StringTexts(family) != stringsBefore,
                    written, error)) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    for (const std::string& path : written)
        out << "wrote " << path << '\n';
    return kExitOk;
}

// The columns for which CheckCircularDependency(nullptr) answers 1: those from which a loop of
// column formulas can be reached through the dependents (a column on a loop among them). Asking
// each column would walk a chain of N columns N times; this finds them all in one pass over the
// graph: a column reaches no loop exactly when none of its dependents does, so peeling off the
// columns without dependents, then those whose dependents are all peeled off, and so on, leaves
// the others.
std::unordered_set<const CEncapFamilyColumn*> ColumnsReachingALoop(const CEncapFamilyTable& table) {
    // Every column of the table and every dependent, each once, with its dependents not yet
    // peeled off, and for each the columns it is a dependent of.
    std::unordered_map<const CEncapFamilyColumn*, size_t> remaining;
    std::vector<const CEncapFamilyColumn*> columns;
    auto meet = [&](const CEncapFamilyColumn* column) {
        if (column && remaining.emplace(column, column->GetDependantColumns().size()).second)
            columns.push_back(column);
    };
    for (const WideString& id : table.GetAllColumnIDs())
        meet(table.GetFamilyColumnByID(id.c_str()));
    for (size_t i = 0; i < columns.size(); ++i) {
        for (const CEncapFamilyColumn* dependent : columns[i]->GetDependantColumns())
            meet(dependent);
    }
    std::unordered_map<const CEncapFamilyColumn*, std::vector<const CEncapFamilyColumn*>>
        dependedOn;
    std::vector<const CEncapFamilyColumn*> peeled;
    for (const CEncapFamilyColumn* column : columns) {
        for (const CEncapFamilyColumn* dependent : column->GetDependantColumns())
            dependedOn[dependent].push_back(column);
        if (remaining[column] == 0)
            peeled.push_back(column);
    }
    for (size_t i = 0; i < peeled.size(); ++i) {
        const auto found = dependedOn.find(peeled[i]);
        if (found == dependedOn.end())
            continue;
        for (const CEncapFamilyColumn* column : found->second) {
            if (--remaining[column] == 0)
                peeled.push_back(column);
        }
    }
    std::unordered_set<const CEncapFamilyColumn*> reaching;
    for (const CEncapFamilyColumn* column : columns) {
        if (remaining[column] != 0)
            reaching.insert(column);
    }
    return reaching;
}

} // namespace

int RunCheck(const CheckOptions& options, std::ostream& out, std::ostream& err) {
    if (options.repair && options.inPlace == !options.output.empty()) {
        err << "torvex check: --repair needs either --in-place or --output FILE\n";
        return kExitUsage;
    }
    if (!options.repair && (options.inPlace || !options.output.empty())) {
        err << "torvex check: --in-place and --output go with --repair\n";
        return kExitUsage;
    }
    auto family = OpenEvaluatingFamily(options.input, {}, err);
    if (!family)
        return kExitFailed;
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    const std::unordered_set<const CEncapFamilyColumn*> looping = ColumnsReachingALoop(table);
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
        // A loop of column formulas read from the document passes the syntax check; name it too
        // (the answer of CheckCircularDependency(nullptr), for every column at once).
        if (result == CTableEvaluator::EvalOk && looping.count(column))
            result = CTableEvaluator::EvalCircularDependency;
        ++checked;
        if (result != CTableEvaluator::EvalOk) {
            ++problems;
            out << Narrow(id) << ": " << Narrow(formula) << ": " << ResultName(result) << '\n';
        }
    }
    // Every row's value against its column: the first row of each column that doesn't fit.
    for (const WideString& id : table.GetAllColumnIDs()) {
        const CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str());
        if (!column || column->GetDataType() == DataTypes::DataString)
            continue;
        const int bad = table.CheckRangeColumnData(id.c_str(), nullptr);
        if (bad < 0)
            continue;
        ++problems;
        const WideString rowId = table.GetRowIDByIndex(bad);
        WideString value;
        table.GetValue(rowId.c_str(), id.c_str(), value);
        out << Narrow(id) << ": row " << bad + 1 << " (" << Narrow(rowId) << "): \""
            << Narrow(value) << "\" doesn't fit the column\n";
    }
    out << options.input.familyPath << ": " << checked << (checked == 1 ? " formula" : " formulas")
        << " checked, " << problems << (problems == 1 ? " problem" : " problems") << '\n';
    if (options.repair)
        return Repair(*family, options, out, err);
    return problems ? kExitFailed : kExitOk;
}

} // namespace torvex::cli

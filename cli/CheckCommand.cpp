// torvex check: every column formula checked with the table's syntax check, every row's values
// against their column, and on request the repair of cells that no longer fit their column.

#include "Commands.h"

#include "FamilyBatch.h"
#include "FamilySave.h"
#include "HostProvider.h"
#include "ResultNames.h"
#include "RunInOrder.h"

#include "host/CMaterialTable.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLNodeArray.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace torvex::cli {

namespace {

using Json = nlohmann::ordered_json;

// Number of Cell elements in the table.
size_t CellCount(const CEncapFamilyTable& table) {
    XMLNodeArray cells;
    table.GetXMLNode().SelectChildNodes(L"Rows/Row/Cell", cells);
    return static_cast<size_t>(cells.GetSize());
}

int Repair(CEncapFamily& family, const FamilyInput& input, const CheckOptions& options,
           std::ostream& out, std::ostream& err) {
    CEncapFamilyTable& table = *family.GetEncapFamilyTable();
    const std::vector<WideString> stringsBefore = StringTexts(family);
    const size_t before = CellCount(table);
    const WideStringList columnIds = table.GetAllColumnIDs();
    for (const WideString& id : columnIds)
        table.ValidateAndRepairColumnData(table.GetFamilyColumnByID(id.c_str()));
    const size_t removed = before - CellCount(table);
    out << "repair: " << removed << (removed == 1 ? " cell" : " cells") << " removed\n";
    std::string bytes, error;
    platform::ReadFileBytes(platform::FromUtf8(input.familyPath), bytes);
    std::vector<std::string> written;
    const std::string& target = options.inPlace ? input.familyPath : options.output;
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

// One problem that check finds: a column formula with its result, or a row whose value
// doesn't fit its column (row > 0).
struct Problem {
    std::string column;
    std::string formula;
    std::string result;
    int row = 0; // from 1
    std::string rowId;
    std::string value;
};

struct Report {
    size_t checked = 0; // formulas
    std::vector<Problem> problems;
};

Report CheckTable(CEncapFamilyTable& table) {
    Report report;
    const std::unordered_set<const CEncapFamilyColumn*> looping = ColumnsReachingALoop(table);
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
        ++report.checked;
        if (result != CTableEvaluator::EvalOk) {
            Problem problem;
            problem.column = Narrow(id);
            problem.formula = Narrow(formula);
            problem.result = ResultName(result);
            report.problems.push_back(std::move(problem));
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
        const WideString rowId = table.GetRowIDByIndex(bad);
        WideString value;
        table.GetValue(rowId.c_str(), id.c_str(), value);
        Problem problem;
        problem.column = Narrow(id);
        problem.row = bad + 1;
        problem.rowId = Narrow(rowId);
        problem.value = Narrow(value);
        report.problems.push_back(std::move(problem));
    }
    return report;
}

void PrintText(const Report& report, const std::string& path, std::ostream& out) {
    for (const Problem& problem : report.problems) {
        if (problem.row == 0)
            out << problem.column << ": " << problem.formula << ": " << problem.result << '\n';
        else
            out << problem.column << ": row " << problem.row << " (" << problem.rowId << "): \""
                << problem.value << "\" doesn't fit the column\n";
    }
    const size_t problems = report.problems.size();
    out << path << ": " << report.checked << (report.checked == 1 ? " formula" : " formulas")
        << " checked, " << problems << (problems == 1 ? " problem" : " problems") << '\n';
}

void PrintJson(const Report& report, const std::string& path, std::ostream& out) {
    Json problems = Json::array();
    for (const Problem& problem : report.problems) {
        if (problem.row == 0)
            problems.push_back({{"column", problem.column},
                                {"formula", problem.formula},
                                {"result", problem.result}});
        else
            problems.push_back({{"column", problem.column},
                                {"row", problem.row},
                                {"rowId", problem.rowId},
                                {"value", problem.value},
                                {"result", "doesn't fit the column"}});
    }
    out << Json{{"family", path}, {"formulas", report.checked}, {"problems", problems}}.dump(2)
        << '\n';
}

// Several families, each opened with the string documents beside it, checked on the threads of
// -j and printed in the order given, with a count of the families at the end (text) or as a
// JSON array.
int RunChecks(const CheckOptions& options, std::ostream& out, std::ostream& err) {
    if (options.repair) {
        err << "torvex check: --repair takes one family document\n";
        return kExitUsage;
    }
    if (!options.input.stringPaths.empty()) {
        err << "torvex check: --strings goes with one family document; several families and "
               "folders open the string documents beside each family\n";
        return kExitUsage;
    }
    const std::vector<BatchFamily> families = ListFamilies(options.families, options.input);
    const bool json = options.format == "json";
    const std::shared_ptr<const CMaterialTable> materials = std::make_shared<CMaterialTable>();

    enum Outcome : int { Clean = 0, WithProblems = 1, NotOpened = 2 };
    auto job = [&](size_t i) {
        const std::string& path = families[i].input.familyPath;
        return RunBatchFamily(families[i], materials, json, NotOpened,
                              [&](CEncapFamily& family, std::ostream& familyOut, std::ostream&) {
                                  const Report report = CheckTable(*family.GetEncapFamilyTable());
                                  if (json)
                                      PrintJson(report, path, familyOut);
                                  else
                                      PrintText(report, path, familyOut);
                                  return report.problems.empty() ? Clean : WithProblems;
                              });
    };

    size_t counts[3] = {0, 0, 0};
    auto emit = [&](size_t i, JobOutput& output) {
        if (json) {
            if (!output.out.empty() && output.out.back() == '\n')
                output.out.pop_back();
            out << (i ? ",\n" : "[\n") << output.out;
        } else {
            out << output.out;
        }
        err << output.err;
        ++counts[output.exitCode == Clean          ? Clean
                 : output.exitCode == WithProblems ? WithProblems
                                                   : NotOpened];
    };
    RunInOrder(families.size(), JobThreads(options.jobs), job, emit);
    if (json) {
        out << (families.empty() ? "[" : "\n") << "]\n";
    } else {
        out << families.size() << (families.size() == 1 ? " family: " : " families: ")
            << counts[Clean] << " without problems, " << counts[WithProblems] << " with problems, "
            << counts[NotOpened] << " did not open\n";
    }
    return counts[WithProblems] || counts[NotOpened] ? kExitFailed : kExitOk;
}

} // namespace

int RunCheck(const CheckOptions& options, std::ostream& out, std::ostream& err) {
    if (options.format != "text" && options.format != "json") {
        err << "torvex: unknown format " << options.format << " (text or json)\n";
        return kExitUsage;
    }
    if (options.repair && options.inPlace == !options.output.empty()) {
        err << "torvex check: --repair needs either --in-place or --output FILE\n";
        return kExitUsage;
    }
    if (!options.repair && (options.inPlace || !options.output.empty())) {
        err << "torvex check: --in-place and --output go with --repair\n";
        return kExitUsage;
    }
    if (options.repair && options.format == "json") {
        err << "torvex check: --repair reports in text; leave --format json out\n";
        return kExitUsage;
    }
    if (NamesSeveralFamilies(options.families))
        return RunChecks(options, out, err);
    FamilyInput input = options.input;
    if (!options.families.empty())
        input.familyPath = options.families.front();
    auto family = OpenEvaluatingFamily(input, {}, err);
    if (!family)
        return kExitFailed;
    const Report report = CheckTable(*family->GetEncapFamilyTable());
    if (options.format == "json")
        PrintJson(report, input.familyPath, out);
    else
        PrintText(report, input.familyPath, out);
    if (options.repair)
        return Repair(*family, input, options, out, err);
    return report.problems.empty() ? kExitOk : kExitFailed;
}

} // namespace torvex::cli

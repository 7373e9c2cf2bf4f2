// torvex table: every cell of a family evaluated through the reference host.

#include "Commands.h"

#include "FamilyBatch.h"
#include "HostProvider.h"
#include "ResultNames.h"
#include "RunInOrder.h"
#include "TablePrinter.h"
#include "TextFormats.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/text/DataTypes.h"

#include <memory>

namespace torvex::cli {
namespace {

struct Column {
    WideString id;
    std::string title;
    std::string type;
    std::string unit;
    WideString columnwideValue;
};

struct Cell {
    std::string text;
    CTableEvaluator::EvaluateResult result = CTableEvaluator::EvalOk;
};

struct Row {
    std::string id;
    bool suppressed = false;
    std::vector<Cell> cells;
};

void PrintText(const std::vector<Column>& columns, const std::vector<Row>& rows, size_t width,
               std::ostream& out) {
    // People read titles, in the actual language; machines read the ids of CSV and JSON.
    std::vector<std::string> header{"#"};
    for (const Column& column : columns)
        header.push_back(column.title.empty() ? Narrow(column.id) : column.title);
    TablePrinter printer(header);
    for (size_t r = 0; r < rows.size(); ++r) {
        std::vector<std::string> line{std::to_string(r + 1) + (rows[r].suppressed ? "*" : "")};
        for (const Cell& cell : rows[r].cells)
            line.push_back(HasValue(cell.result)
                               ? cell.text
                               : std::string("<") + ResultName(cell.result) + ">");
        printer.AddRow(std::move(line));
    }
    printer.Print(out, width, 32);
}

void PrintCsv(const std::vector<Column>& columns, const std::vector<Row>& rows, std::ostream& out) {
    out << "RowId";
    for (const Column& column : columns)
        out << ',' << CsvField(Narrow(column.id));
    out << "\r\n";
    for (const Row& row : rows) {
        out << CsvField(row.id);
        for (const Cell& cell : row.cells)
            out << ','
                << CsvField(HasValue(cell.result) ? cell.text
                                                  : std::string("#") + ResultName(cell.result));
        out << "\r\n";
    }
}

void PrintJson(const std::string& family, const std::string& language,
               const std::vector<Column>& columns, const std::vector<Row>& rows, bool raw,
               std::ostream& out) {
    out << "{\n  \"family\": " << JsonString(family)
        << ",\n  \"language\": " << JsonString(language)
        << ",\n  \"values\": " << JsonString(raw ? "raw" : "evaluated") << ",\n  \"columns\": [";
    for (size_t c = 0; c < columns.size(); ++c) {
        const Column& column = columns[c];
        out << (c ? "," : "") << "\n    {\"id\": " << JsonString(Narrow(column.id))
            << ", \"title\": " << JsonString(column.title)
            << ", \"type\": " << JsonString(column.type)
            << ", \"unit\": " << JsonString(column.unit) << "}";
    }
    out << "\n  ],\n  \"rows\": [";
    for (size_t r = 0; r < rows.size(); ++r) {
        const Row& row = rows[r];
        out << (r ? "," : "") << "\n    {\"id\": " << JsonString(row.id)
            << ", \"suppressed\": " << (row.suppressed ? "true" : "false") << ", \"cells\": {";
        for (size_t c = 0; c < columns.size(); ++c) {
            const Cell& cell = row.cells[c];
            out << (c ? ", " : "") << JsonString(Narrow(columns[c].id)) << ": ";
            if (cell.result == CTableEvaluator::EvalOk)
                out << JsonString(cell.text);
            else if (HasValue(cell.result))
                out << "{\"value\": " << JsonString(cell.text)
                    << ", \"result\": " << JsonString(ResultName(cell.result)) << "}";
            else
                out << "{\"error\": " << JsonString(ResultName(cell.result)) << "}";
        }
        out << "}}";
    }
    out << "\n  ]\n}\n";
}

// Writes the family's table in the format asked; the exit code of the family. `several`: the
// family is one of several, and its messages name it.
int PrintTable(CEncapFamily& family, const std::string& path, const TableOptions& options,
               size_t width, bool several, std::ostream& out, std::ostream& err) {
    CEncapFamilyTable& table = *family.GetEncapFamilyTable();
    WideString language;
    family.GetActualLanguage(language);

    std::vector<Column> columns;
    for (const WideString& id : table.GetAllColumnIDs()) {
        CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str());
        if (!column)
            continue;
        Column info;
        info.id = id;
        WideString text;
        column->GetTitle(text);
        info.title = Narrow(text);
        info.type = Narrow(DataTypes::ItemTypeNum2Str(column->GetDataType()));
        column->GetUnitType(text);
        info.unit = Narrow(text);
        column->GetXMLNode().GetProperty(L"ColumnwideValue", info.columnwideValue);
        columns.push_back(std::move(info));
    }

    size_t failed = 0;
    std::vector<Row> rows;
    for (const WideString& rowId : table.GetAllRowIDs()) {
        CEncapFamilyRow* familyRow = table.GetFamilyRowByID(rowId.c_str());
        if (!familyRow)
            continue;
        Row row;
        row.id = Narrow(rowId);
        row.suppressed = familyRow->IsSuppressed();
        for (const Column& column : columns) {
            Cell cell;
            WideString value;
            if (options.raw) {
                value = RawCellText(*familyRow, column.id, column.columnwideValue);
            } else {
                cell.result = table.GetValue(rowId.c_str(), column.id.c_str(), value);
                if (!HasValue(cell.result))
                    ++failed;
            }
            cell.text = Narrow(value);
            row.cells.push_back(std::move(cell));
        }
        rows.push_back(std::move(row));
    }

    if (options.format == "csv")
        PrintCsv(columns, rows, out);
    else if (options.format == "json")
        PrintJson(path, Narrow(language), columns, rows, options.raw, out);
    else
        PrintText(columns, rows, width, out);

    if (failed) {
        err << "torvex: " << (several ? path + ": " : "") << failed
            << (failed == 1 ? " cell" : " cells") << " failed to evaluate\n";
        return kExitCellsFailed;
    }
    return kExitOk;
}

// Several families, each opened with the string documents beside it, evaluated on the threads
// of -j and printed in the order given: text tables under a heading each, or a JSON array.
int RunTables(const TableOptions& options, std::ostream& out, std::ostream& err) {
    if (!options.input.stringPaths.empty()) {
        err << "torvex table: --strings goes with one family document; several families and "
               "folders open the string documents beside each family\n";
        return kExitUsage;
    }
    if (options.format == "csv") {
        err << "torvex table: --format csv holds one family; use text or json for several\n";
        return kExitUsage;
    }
    std::string error;
    const std::shared_ptr<const CMaterialTable> materials =
        LoadMaterials(options.materials, err, error);
    if (!materials) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    const std::vector<BatchFamily> families = ListFamilies(options.families, options.input);
    const bool json = options.format == "json";
    const size_t width = options.width ? options.width : TablePrinter::TerminalWidth();

    auto job = [&](size_t i) {
        const std::string& path = families[i].input.familyPath;
        return RunBatchFamily(
            families[i], materials, json, kExitFailed,
            [&](CEncapFamily& family, std::ostream& familyOut, std::ostream& familyErr) {
                if (!json)
                    familyOut << "== " << path << " ==\n";
                return PrintTable(family, path, options, width, true, familyOut, familyErr);
            });
    };

    size_t notOpened = 0;
    bool cellsFailed = false;
    bool printed = false; // a table before this one: a blank line between them
    auto emit = [&](size_t i, JobOutput& output) {
        if (json) {
            // Each family's object, without its last line feed, as an element of the array.
            if (!output.out.empty() && output.out.back() == '\n')
                output.out.pop_back();
            out << (i ? ",\n" : "[\n") << output.out;
        } else if (!output.out.empty()) {
            out << (printed ? "\n" : "") << output.out;
            printed = true;
        }
        err << output.err;
        notOpened += output.exitCode == kExitFailed;
        cellsFailed = cellsFailed || output.exitCode == kExitCellsFailed;
    };
    RunInOrder(families.size(), JobThreads(options.jobs), job, emit);
    if (json)
        out << (families.empty() ? "[" : "\n") << "]\n";
    if (notOpened) {
        err << "torvex: " << notOpened << " of " << families.size()
            << (families.size() == 1 ? " family" : " families") << " did not open\n";
        return kExitFailed;
    }
    return cellsFailed ? kExitCellsFailed : kExitOk;
}

} // namespace

int RunTable(const TableOptions& options, std::ostream& out, std::ostream& err) {
    if (options.format != "text" && options.format != "csv" && options.format != "json") {
        err << "torvex: unknown format " << options.format << " (text, csv or json)\n";
        return kExitUsage;
    }
    if (NamesSeveralFamilies(options.families))
        return RunTables(options, out, err);
    FamilyInput input = options.input;
    if (!options.families.empty())
        input.familyPath = options.families.front();
    auto family = OpenEvaluatingFamily(input, options.materials, err);
    if (!family)
        return kExitFailed;
    return PrintTable(*family, input.familyPath, options,
                      options.width ? options.width : TablePrinter::TerminalWidth(), false, out,
                      err);
}

} // namespace torvex::cli

// torvex table: every cell of a family evaluated through the reference host.

#include "Commands.h"

#include "HostProvider.h"
#include "ResultNames.h"
#include "TablePrinter.h"
#include "TextFormats.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/text/DataTypes.h"

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

} // namespace

int RunTable(const TableOptions& options, std::ostream& out, std::ostream& err) {
    if (options.format != "text" && options.format != "csv" && options.format != "json") {
        err << "torvex: unknown format " << options.format << " (text, csv or json)\n";
        return kExitUsage;
    }
    auto family = OpenEvaluatingFamily(options.input, options.materials, err);
    if (!family)
        return kExitFailed;
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    WideString language;
    family->GetActualLanguage(language);

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
        PrintJson(options.input.familyPath, Narrow(language), columns, rows, options.raw, out);
    else
        PrintText(columns, rows, options.width ? options.width : TablePrinter::TerminalWidth(),
                  out);

    if (failed) {
        err << "torvex: " << failed << (failed == 1 ? " cell" : " cells")
            << " failed to evaluate\n";
        return kExitCellsFailed;
    }
    return kExitOk;
}

} // namespace torvex::cli

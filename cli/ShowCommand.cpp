// torvex show: a family's columns and its rows with their raw cell values.

#include "Commands.h"

#include "ColumnMapping.h"
#include "FamilyFile.h"
#include "NoExpressionProvider.h"
#include "TablePrinter.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/text/DataTypes.h"

namespace torvex::cli {
namespace {

// One letter a property, so that the flags of a column fit a narrow cell.
std::string ColumnFlags(const CEncapFamilyColumn& column, const WideString& formula) {
    std::string flags;
    if (column.IsKeyColumn()) {
        flags += 'K';
        flags += std::to_string(column.GetKeyWeight());
        flags += ' ';
    }
    if (!formula.empty())
        flags += column.IsCustom() ? "range " : "formula ";
    if (column.IsHidden())
        flags += "hidden ";
    if (column.IsStatusColumn())
        flags += "status ";
    if (column.GetColumnType() != CEncapFamilyColumn::ColumnTypeNormal)
        flags += ColumnKindName(column.GetColumnType()) + " ";
    if (column.IsGeometryColumn())
        flags += "geometry ";
    if (column.IsHostPropertyColumn())
        flags += "host-property ";
    else if (column.IsPropertyColumn() && !column.IsGeometryColumn())
        flags += "property ";
    if (column.IsLocalized())
        flags += "localized ";
    if (!flags.empty())
        flags.pop_back();
    return flags;
}

} // namespace

int RunShow(const ShowOptions& options, std::ostream& out, std::ostream& err) {
    std::string error;
    auto family = OpenFamily(options.input, std::make_unique<NoExpressionProvider>(), error);
    if (!family) {
        err << "torvex: " << error << '\n';
        return 1;
    }
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    const size_t width = options.width ? options.width : TablePrinter::TerminalWidth();

    WideString language;
    family->GetActualLanguage(language);
    out << options.input.familyPath << ": " << table.GetColumnsCount() << " columns, "
        << table.GetRowsCount() << " rows";
    if (!language.empty())
        out << ", language " << Narrow(language);
    out << '\n';
    if (family->IsLinked()) {
        WideString library, moniker;
        family->GetCopyFrom(library);
        family->GetSourceMoniker(moniker);
        out << "linked to family " << Narrow(moniker) << " of library " << Narrow(library)
            << (family->IsSrcActive() ? "" : " (inactive)") << '\n';
    } else {
        out << "not linked to a source family\n";
    }
    out << '\n';

    TablePrinter columns({"column", "title", "type", "unit", "flags", "column-wide value"});
    std::vector<WideString> ids;
    std::vector<WideString> columnwide;
    for (const WideString& id : table.GetAllColumnIDs()) {
        CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str());
        if (!column)
            continue;
        WideString title, unit, formula;
        column->GetTitle(title);
        column->GetUnitType(unit);
        column->GetXMLNode().GetProperty(L"ColumnwideValue", formula);
        columns.AddRow({Narrow(id), Narrow(title),
                        Narrow(DataTypes::ItemTypeNum2Str(column->GetDataType())), Narrow(unit),
                        ColumnFlags(*column, formula), Narrow(formula)});
        ids.push_back(id);
        columnwide.push_back(formula);
    }
    columns.Print(out, width, 48);
    out << "\nMapping (template parameters driven, category parameters borne):\n";
    PrintColumnMappings(DescribeColumns(*family), width, out);

    std::vector<std::string> header{"#"};
    for (const WideString& id : ids)
        header.push_back(Narrow(id));
    TablePrinter rows(header);
    const WideStringList& rowIds = table.GetAllRowIDs();
    for (size_t r = 0; r < rowIds.size(); ++r) {
        CEncapFamilyRow* row = table.GetFamilyRowByID(rowIds[r].c_str());
        if (!row)
            continue;
        std::vector<std::string> cells{std::to_string(r + 1) + (row->IsSuppressed() ? "*" : "")};
        for (size_t c = 0; c < ids.size(); ++c)
            cells.push_back(Narrow(RawCellText(*row, ids[c], columnwide[c])));
        rows.AddRow(std::move(cells));
    }
    out << '\n';
    rows.Print(out, width, 24);
    out << "\n* suppressed member. Cells without a value of their own show the column-wide "
           "value.\n";
    return 0;
}

} // namespace torvex::cli

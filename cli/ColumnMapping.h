#pragma once
// What the mapping says about one column, gathered for the commands that show it: its kind and
// flags, the template parameters it drives and the category parameters it bears.

#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyColumn.h"

#include <nlohmann/json.hpp>

#include <ostream>
#include <string>
#include <vector>

namespace torvex::cli {

/// One template parameter that a column drives, as its ColumnToTemplate entry names it.
struct DrivenParameter {
    std::string templateName;
    int id = 0;
    /// Whether the template and the parameter exist; a dangling entry is shown, not dropped.
    bool exists = false;
    std::string objectType;
};

struct ColumnMapping {
    std::string kind;               // "normal", "file name", "material", "category 3" ...
    std::vector<std::string> flags; // key, custom, hidden, geometry, host-property, property
    std::vector<DrivenParameter> templateParameters;
    std::vector<std::string> categoryParameters;
};

/// A column of the family with what the mapping says about it.
struct DescribedColumn {
    std::string id;
    ColumnMapping mapping;
};

/// The kind's word; "normal" for kind 0.
std::string ColumnKindName(CEncapFamilyColumn::ColumnType kind);
/// Kind, flags and mapping of the column; empty lists for a family without a mapping.
ColumnMapping DescribeColumn(CEncapFamily& family, const CEncapFamilyColumn& column);
/// Every column of the family's table in table order; empty without a table.
std::vector<DescribedColumn> DescribeColumns(CEncapFamily& family);
/// "Template1#3" for each driven parameter, with "(missing)" where it does not exist.
std::string DrivenText(const ColumnMapping& mapping);
/// A table of the columns that drive a template parameter or bear a category parameter: id,
/// kind, flags, what they drive and bear. "(none)" when no column does.
void PrintColumnMappings(const std::vector<DescribedColumn>& columns, size_t width,
                         std::ostream& out);
/// The column as a JSON object: id, kind, flags, templateParameters, categoryParameters.
nlohmann::ordered_json ColumnMappingJson(const DescribedColumn& column);

} // namespace torvex::cli

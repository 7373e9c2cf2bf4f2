#include "ColumnMapping.h"

#include "FamilyFile.h"
#include "TablePrinter.h"

#include "torvex/family/CEncapFamilyTable.h"

#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyMapping.h"
#include "torvex/mapping/CEncapFamilyTemplate.h"
#include "torvex/mapping/CEncapMemberColToParam.h"
#include "torvex/mapping/CEncapMemberColToTemplate.h"
#include "torvex/xml/XMLNodeArray.h"

namespace torvex::cli {

std::string ColumnKindName(CEncapFamilyColumn::ColumnType kind) {
    switch (kind) {
    case CEncapFamilyColumn::ColumnTypeNormal:
        return "normal";
    case CEncapFamilyColumn::ColumnTypeFileName:
        return "file name";
    case CEncapFamilyColumn::ColumnTypeMaterial:
        return "material";
    default:
        return "category " + std::to_string(static_cast<int>(kind));
    }
}

ColumnMapping DescribeColumn(CEncapFamily& family, const CEncapFamilyColumn& column) {
    ColumnMapping described;
    described.kind = ColumnKindName(column.GetColumnType());
    const std::pair<bool, const char*> flags[] = {
        {column.IsKeyColumn(), "key"},
        {column.IsCustom(), "custom"},
        {column.IsHidden(), "hidden"},
        {column.IsGeometryColumn(), "geometry"},
        {column.IsHostPropertyColumn(), "host-property"},
        {column.IsPropertyColumn(), "property"},
    };
    for (const auto& [set, word] : flags) {
        if (set)
            described.flags.push_back(word);
    }

    CEncapFamilyMapping* mapping = family.GetEncapFamilyMapping();
    if (!mapping)
        return described;
    WideString id;
    column.GetColumnID(id);
    if (CEncapMemberColToTemplate* driven = mapping->GetMemberColToTemplate(id.c_str())) {
        XMLNodeArray entries;
        driven->GetXMLNode().SelectChildNodes(L"TemplatesParameter/TemplateParameter", entries);
        for (const XMLNode& entry : entries) {
            DrivenParameter parameter;
            WideString name;
            entry.GetProperty(FamilyNames::AttrTemplateName, name);
            entry.GetProperty(FamilyNames::AttrParameterId, parameter.id);
            parameter.templateName = Narrow(name);
            CEncapFamilyTemplate* familyTemplate = mapping->GetFamilyTemplate(name.c_str());
            if (CEncapFamilyTemplateParameter* found =
                    familyTemplate ? familyTemplate->GetParameter(parameter.id) : nullptr) {
                parameter.exists = true;
                WideString type;
                found->GetObjectType(type);
                parameter.objectType = Narrow(type);
            }
            described.templateParameters.push_back(std::move(parameter));
        }
    }
    if (CEncapMemberColToParam* borne = mapping->GetMemberColToParam(id.c_str())) {
        WideStringList parameters;
        borne->GetCategoryParams(parameters);
        for (const WideString& parameter : parameters)
            described.categoryParameters.push_back(Narrow(parameter));
    }
    return described;
}

std::vector<DescribedColumn> DescribeColumns(CEncapFamily& family) {
    std::vector<DescribedColumn> columns;
    CEncapFamilyTable* table = family.GetEncapFamilyTable();
    if (!table)
        return columns;
    for (const WideString& id : table->GetAllColumnIDs()) {
        if (const CEncapFamilyColumn* column = table->GetFamilyColumnByID(id.c_str()))
            columns.push_back({Narrow(id), DescribeColumn(family, *column)});
    }
    return columns;
}

namespace {

std::string Joined(const std::vector<std::string>& words, const char* separator) {
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : separator) + word;
    return joined;
}

} // namespace

std::string DrivenText(const ColumnMapping& mapping) {
    std::vector<std::string> words;
    for (const DrivenParameter& parameter : mapping.templateParameters)
        words.push_back(parameter.templateName + "#" + std::to_string(parameter.id) +
                        (parameter.exists ? "" : " (missing)"));
    return Joined(words, ", ");
}

void PrintColumnMappings(const std::vector<DescribedColumn>& columns, size_t width,
                         std::ostream& out) {
    TablePrinter printer({"column", "kind", "flags", "drives", "bears category parameters"});
    size_t rows = 0;
    for (const DescribedColumn& column : columns) {
        const ColumnMapping& m = column.mapping;
        if (m.templateParameters.empty() && m.categoryParameters.empty())
            continue;
        printer.AddRow({column.id, m.kind, Joined(m.flags, " "), DrivenText(m),
                        Joined(m.categoryParameters, ", ")});
        ++rows;
    }
    if (rows == 0)
        out << "(none)\n";
    else
        printer.Print(out, width, 80); // wide enough for two category parameter ids
}

nlohmann::ordered_json ColumnMappingJson(const DescribedColumn& column) {
    nlohmann::ordered_json driven = nlohmann::ordered_json::array();
    for (const DrivenParameter& parameter : column.mapping.templateParameters) {
        driven.push_back({{"template", parameter.templateName},
                          {"id", parameter.id},
                          {"exists", parameter.exists},
                          {"objectType", parameter.objectType}});
    }
    return {{"id", column.id},
            {"kind", column.mapping.kind},
            {"flags", column.mapping.flags},
            {"templateParameters", driven},
            {"categoryParameters", column.mapping.categoryParameters}};
}

} // namespace torvex::cli

// torvex mapping: a family's templates with their parameter trees, and what each column drives.

#include "Commands.h"

#include "ColumnMapping.h"
#include "FamilyFile.h"
#include "NoExpressionProvider.h"
#include "TablePrinter.h"

#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyMapping.h"
#include "torvex/mapping/CEncapFamilyTemplate.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Utf16.h"

#include <nlohmann/json.hpp>

#include <map>

namespace torvex::cli {
namespace {

using Json = nlohmann::ordered_json;

// Template name (folded, as the mapping finds templates) and parameter id -> driving columns.
using Drivers = std::map<std::pair<WideString, int>, std::vector<std::string>>;

WideString Folded(const std::string& text) {
    WideString folded = platform::FromUtf8(text);
    for (wchar_t& c : folded)
        c = platform::AsciiUpper(c);
    return folded;
}

std::string Attribute(const XMLNode& node, const wchar_t* name) {
    WideString value;
    node.GetProperty(name, value);
    return Narrow(value);
}

Drivers CollectDrivers(const std::vector<DescribedColumn>& columns) {
    Drivers drivers;
    for (const DescribedColumn& column : columns) {
        for (const DrivenParameter& parameter : column.mapping.templateParameters)
            drivers[{Folded(parameter.templateName), parameter.id}].push_back(column.id);
    }
    return drivers;
}

std::string Joined(const std::vector<std::string>& words, const char* separator) {
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : separator) + word;
    return joined;
}

// The nesting a family file can hold is bounded by the parser's depth limit, so these walks
// recurse.
void AddParameterRows(TablePrinter& printer, const CEncapFamilyTemplate::ParameterMap& parameters,
                      const WideString& templateName, const Drivers& drivers, size_t depth) {
    for (const auto& [id, parameter] : parameters) {
        if (!parameter)
            continue;
        const XMLNode& node = parameter->GetXMLNode();
        auto driven = drivers.find({templateName, id});
        printer.AddRow({std::string(2 * depth, ' ') + std::to_string(id),
                        Attribute(node, FamilyNames::AttrObjectType),
                        Attribute(node, FamilyNames::AttrObjectReferenceKey),
                        Attribute(node, FamilyNames::AttrSubObjectId),
                        Attribute(node, FamilyNames::AttrValueType),
                        Attribute(node, FamilyNames::AttrUnitType),
                        driven == drivers.end() ? "" : Joined(driven->second, ", ")});
        AddParameterRows(printer, parameter->GetChildren(), templateName, drivers, depth + 1);
    }
}

Json ParametersJson(const CEncapFamilyTemplate::ParameterMap& parameters,
                    const WideString& templateName, const Drivers& drivers) {
    Json list = Json::array();
    for (const auto& [id, parameter] : parameters) {
        if (!parameter)
            continue;
        const XMLNode& node = parameter->GetXMLNode();
        auto driven = drivers.find({templateName, id});
        list.push_back({
            {"id", id},
            {"objectType", Attribute(node, FamilyNames::AttrObjectType)},
            {"objectReferenceKey", Attribute(node, FamilyNames::AttrObjectReferenceKey)},
            {"subObjectId", Attribute(node, FamilyNames::AttrSubObjectId)},
            {"valueType", Attribute(node, FamilyNames::AttrValueType)},
            {"unitType", Attribute(node, FamilyNames::AttrUnitType)},
            {"drivenBy", driven == drivers.end() ? Json::array() : Json(driven->second)},
            {"children", ParametersJson(parameter->GetChildren(), templateName, drivers)},
        });
    }
    return list;
}

void PrintText(const std::string& path, CEncapFamilyMapping& mapping,
               const std::vector<DescribedColumn>& columns, const Drivers& drivers, size_t width,
               std::ostream& out) {
    const WideStringList& names = mapping.GetTemplateNames();
    out << path << ": " << names.size() << (names.size() == 1 ? " template" : " templates") << '\n';
    for (size_t i = 0; i < names.size(); ++i) {
        CEncapFamilyTemplate* familyTemplate = mapping.GetFamilyTemplate(names[i].c_str());
        if (!familyTemplate)
            continue;
        WideString file;
        familyTemplate->GetFileName(file);
        out << '\n'
            << Narrow(names[i]) << (i == 0 ? " (main)" : "") << ": "
            << (file.empty() ? "no file" : Narrow(file)) << '\n';
        TablePrinter printer(
            {"id", "object type", "key", "sub-object", "value type", "unit", "driven by"});
        AddParameterRows(printer, familyTemplate->GetParameters(), Folded(Narrow(names[i])),
                         drivers, 0);
        printer.Print(out, width, 40);
    }

    out << "\nColumns that drive template parameters or bear category parameters:\n";
    PrintColumnMappings(columns, width, out);
}

} // namespace

int RunMapping(const MappingOptions& options, std::ostream& out, std::ostream& err) {
    std::string error;
    auto family = OpenFamily(options.input, std::make_unique<NoExpressionProvider>(), error);
    if (!family) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    CEncapFamilyMapping& mapping = *family->GetEncapFamilyMapping();
    const std::vector<DescribedColumn> columns = DescribeColumns(*family);
    const Drivers drivers = CollectDrivers(columns);

    if (options.format == "json") {
        Json templates = Json::array();
        const WideStringList& names = mapping.GetTemplateNames();
        for (size_t i = 0; i < names.size(); ++i) {
            CEncapFamilyTemplate* familyTemplate = mapping.GetFamilyTemplate(names[i].c_str());
            if (!familyTemplate)
                continue;
            WideString file;
            familyTemplate->GetFileName(file);
            templates.push_back(
                {{"name", Narrow(names[i])},
                 {"fileName", Narrow(file)},
                 {"main", i == 0},
                 {"parameters", ParametersJson(familyTemplate->GetParameters(),
                                               Folded(Narrow(names[i])), drivers)}});
        }
        Json columnList = Json::array();
        for (const DescribedColumn& column : columns)
            columnList.push_back(ColumnMappingJson(column));
        out << Json{{"family", options.input.familyPath},
                    {"templates", templates},
                    {"columns", columnList}}
                   .dump(2)
            << '\n';
        return kExitOk;
    }
    PrintText(options.input.familyPath, mapping, columns, drivers,
              options.width ? options.width : TablePrinter::TerminalWidth(), out);
    return kExitOk;
}

} // namespace torvex::cli

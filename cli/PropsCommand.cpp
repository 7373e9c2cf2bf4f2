// torvex props: a family's properties and the constants of its category parameters, in the
// chosen language.

#include "Commands.h"

#include "FamilyFile.h"
#include "NoExpressionProvider.h"
#include "PropertyNames.h"
#include "TablePrinter.h"

#include "torvex/family/FamilyNames.h"
#include "torvex/text/FamilyPropType.h"
#include "torvex/xml/XMLNodeArray.h"

#include <nlohmann/json.hpp>

namespace torvex::cli {
namespace {

using Json = nlohmann::ordered_json;

// The word for a category parameter that the library knows by id; empty for others.
const char* KnownParameter(const WideString& id) {
    namespace N = FamilyNames;
    const std::pair<const wchar_t*, const char*> known[] = {
        {N::ParamDisplayName, "display name"},
        {N::ParamDescription, "description"},
        {N::ParamStandard, "standard"},
        {N::ParamStandardOrg, "standards organisation"},
        {N::ParamManufacturer, "manufacturer"},
        {N::ParamStandardRevision, "standard revision"},
        {N::ParamFamilyRevision, "family revision"},
        {N::ParamFolderName, "folder name"},
        {N::ParamInternalName, "internal name"},
    };
    for (const auto& [param, word] : known) {
        if (id == param)
            return word;
    }
    return "";
}

struct Constant {
    std::string parameter;
    std::string meaning;
    bool localized = false;
    std::string value;
};

// Every category parameter with a constant, in document order, valued as the family reads it.
std::vector<Constant> Constants(CEncapFamily& family) {
    std::vector<Constant> constants;
    XMLNodeArray references;
    family.GetFamilyXML().GetRootNode().SelectChildNodes(
        L"ParameterMap/FamilyParametersMap/ParamsToTemplate/ParamTemplateValue/"
        L"CategoryParameterRef",
        references);
    for (const XMLNode& reference : references) {
        WideString name;
        if (!reference.GetProperty(FamilyNames::AttrCategoryParameter, name))
            continue;
        WideString value;
        family.GetCatParamConstValue(name.c_str(), value);
        constants.push_back({Narrow(name), KnownParameter(name),
                             family.IsCatParamLocalized(name.c_str()), Narrow(value)});
    }
    return constants;
}

} // namespace

int RunProps(const PropsOptions& options, std::ostream& out, std::ostream& err) {
    std::string error;
    auto family = OpenFamily(options.input, std::make_unique<NoExpressionProvider>(), error);
    if (!family) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    WideString language;
    family->GetActualLanguage(language);
    const std::vector<Constant> constants = Constants(*family);

    if (options.format == "json") {
        Json properties = Json::object();
        for ([[maybe_unused]] const auto& [type, name, settable] : kFamilyProperties) {
            WideString value;
            family->GetFamilyProperty(type, value);
            properties[name] = Narrow(value);
        }
        Json list = Json::array();
        for (const Constant& c : constants)
            list.push_back({{"parameter", c.parameter},
                            {"meaning", c.meaning},
                            {"localized", c.localized},
                            {"value", c.value}});
        out << Json{{"family", options.input.familyPath},
                    {"language", Narrow(language)},
                    {"properties", properties},
                    {"constants", list}}
                   .dump(2)
            << '\n';
        return kExitOk;
    }

    const size_t width = options.width ? options.width : TablePrinter::TerminalWidth();
    out << options.input.familyPath;
    if (!language.empty())
        out << ", language " << Narrow(language);
    out << "\n\n";
    TablePrinter properties({"property", "value"});
    for ([[maybe_unused]] const auto& [type, name, settable] : kFamilyProperties) {
        WideString value;
        family->GetFamilyProperty(type, value);
        properties.AddRow({name, Narrow(value)});
    }
    properties.Print(out, width, 80);
    out << "\nCategory parameter constants:\n";
    if (constants.empty()) {
        out << "(none)\n";
        return kExitOk;
    }
    TablePrinter table({"category parameter", "meaning", "localized", "value"});
    for (const Constant& c : constants)
        table.AddRow({c.parameter, c.meaning, c.localized ? "yes" : "", c.value});
    table.Print(out, width, 48);
    return kExitOk;
}

} // namespace torvex::cli

#include "FamilyFile.h"

#include "TextFile.h"

#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Utf16.h"

namespace torvex::cli {

std::string Narrow(const WideString& text) {
    return platform::ToUtf8(text);
}

std::unique_ptr<CEncapFamily> OpenFamily(const std::string& familyPath,
                                         const std::vector<std::string>& stringPaths,
                                         std::unique_ptr<IEvaluatorProvider> provider,
                                         std::string& error) {
    std::wstring familyText;
    if (!ReadDocument(familyPath, familyText, error))
        return nullptr;
    WideStringList strings;
    for (const std::string& path : stringPaths) {
        std::wstring text;
        if (!ReadDocument(path, text, error))
            return nullptr;
        strings.push_back(std::move(text));
    }
    auto family = std::make_unique<CEncapFamily>(familyText.c_str(), strings, nullptr,
                                                 provider.release(), false);
    if (!family->GetEncapFamilyTable()) {
        error = familyPath + " is not a family document (the XML does not parse)";
        return nullptr;
    }
    if (family->GetFamStringsCount() < static_cast<int>(stringPaths.size())) {
        error = "a string document does not parse (" + std::to_string(stringPaths.size()) +
                " given, " + std::to_string(family->GetFamStringsCount()) + " opened)";
        return nullptr;
    }
    return family;
}

} // namespace torvex::cli

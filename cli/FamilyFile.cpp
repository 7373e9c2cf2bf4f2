#include "FamilyFile.h"

#include "TextFile.h"

#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLParser.h"

#include <algorithm>
#include <filesystem>

namespace torvex::cli {

WideString LanguageOf(const std::wstring& stringDocument) {
    XMLParser parser(stringDocument.c_str());
    WideString language;
    parser.GetRootNode().GetProperty(L"xml:lang", language);
    return language;
}

namespace {

// The FamilyStrings/File name of a family document; empty when it has none.
WideString NamedStringsFile(const std::wstring& familyText) {
    XMLParser parser(familyText.c_str());
    XMLNode file;
    WideString name;
    const WideString path =
        WideString(FamilyNames::ElemFamilyStrings) + L"/" + FamilyNames::ElemFile;
    if (parser.GetRootNode().GetChildNode(path.c_str(), file))
        file.GetProperty(FamilyNames::AttrFullFileName, name);
    return name;
}

bool IsStringsFileName(const std::string& name) {
    const std::string head = "FamilyStrings.", tail = ".xml";
    return name.size() > head.size() + tail.size() && name.starts_with(head) &&
           name.ends_with(tail);
}

} // namespace

std::vector<std::string> StringDocumentsBeside(const std::string& familyPath,
                                               const std::wstring& familyText) {
    namespace fs = std::filesystem;
    const fs::path familyFolder = fs::path(familyPath).parent_path();
    auto list = [](const fs::path& folder) {
        std::vector<std::string> paths;
        std::error_code error;
        for (fs::directory_iterator it(folder.empty() ? fs::path(".") : folder, error), end;
             !error && it != end; it.increment(error)) {
            std::error_code ignored;
            if (IsStringsFileName(it->path().filename().string()) && it->is_regular_file(ignored))
                paths.push_back(it->path().string());
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    };
    fs::path folder = familyFolder;
    std::string named;
    const std::string name = Narrow(platform::NormalizePath(NamedStringsFile(familyText)));
    // A name with a drive letter or from the root is no place beside the family.
    if (!name.empty() && name[0] != '/' && !(name.size() > 1 && name[1] == ':')) {
        folder = (familyFolder / fs::path(name).parent_path()).lexically_normal();
        named = fs::path(name).filename().string();
    }
    std::vector<std::string> paths = list(folder);
    const auto first = std::find_if(paths.begin(), paths.end(), [&](const std::string& path) {
        return fs::path(path).filename().string() == named;
    });
    if (first != paths.end())
        std::rotate(paths.begin(), first, first + 1);
    return paths;
}

std::string Narrow(const WideString& text) {
    return platform::ToUtf8(text);
}

std::unique_ptr<CEncapFamily> OpenFamily(const FamilyInput& input,
                                         std::unique_ptr<IEvaluatorProvider> provider,
                                         std::string& error) {
    std::wstring familyText;
    if (!ReadDocument(input.familyPath, familyText, error))
        return nullptr;
    const std::vector<std::string> stringPaths =
        input.findStrings ? StringDocumentsBeside(input.familyPath, familyText) : input.stringPaths;
    WideStringList strings;
    for (const std::string& path : stringPaths) {
        std::wstring text;
        if (!ReadDocument(path, text, error))
            return nullptr;
        strings.push_back(std::move(text));
    }
    if (!input.language.empty()) {
        const WideString wanted = platform::FromUtf8(input.language);
        std::string known;
        auto match = strings.end();
        for (auto it = strings.begin(); it != strings.end(); ++it) {
            const WideString language = LanguageOf(*it);
            if (match == strings.end() && platform::EqualsIgnoringAsciiCase(language, wanted))
                match = it;
            known += (known.empty() ? "" : ", ") + Narrow(language);
        }
        if (match == strings.end()) {
            error = "no string document has the language " + input.language +
                    (known.empty() ? std::string(" (none given)") : " (given: " + known + ")");
            return nullptr;
        }
        std::rotate(strings.begin(), match, match + 1);
    }
    auto family = std::make_unique<CEncapFamily>(familyText.c_str(), strings, nullptr,
                                                 provider.release(), input.localize);
    if (!family->GetEncapFamilyTable()) {
        error = input.familyPath + " is not a family document (the XML does not parse)";
        return nullptr;
    }
    if (family->GetFamStringsCount() < static_cast<int>(stringPaths.size())) {
        error = "a string document does not parse (" + std::to_string(stringPaths.size()) +
                " given, " + std::to_string(family->GetFamStringsCount()) + " opened)";
        return nullptr;
    }
    return family;
}

WideString RawCellText(CEncapFamilyRow& row, const WideString& columnId,
                       const WideString& columnwideValue) {
    XMLNode cell;
    const WideString path = L"Cell[@ColumnId=\"" + columnId + L"\"]";
    WideString text;
    if (row.GetXMLNode().GetChildNode(path.c_str(), cell)) {
        cell.GetNodeText(text);
        return text;
    }
    return columnwideValue;
}

} // namespace torvex::cli

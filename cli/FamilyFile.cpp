#include "FamilyFile.h"

#include "TextFile.h"

#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLParser.h"

#include <algorithm>

namespace torvex::cli {
WideString LanguageOf(const std::wstring& stringDocument) {
    XMLParser parser(stringDocument.c_str());
    WideString language;
    parser.GetRootNode().GetProperty(L"xml:lang", language);
    return language;
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
    WideStringList strings;
    for (const std::string& path : input.stringPaths) {
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
    if (family->GetFamStringsCount() < static_cast<int>(input.stringPaths.size())) {
        error = "a string document does not parse (" + std::to_string(input.stringPaths.size()) +
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

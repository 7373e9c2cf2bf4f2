#include "host/CMaterialTable.h"

#include "host/CHostStatus.h"
#include "host/CUnitSystem.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <string>

namespace torvex {

namespace {

// ASCII upper case, with '_' read as '-': the form in which keys and languages are compared.
WideString Fold(std::wstring_view text) {
    WideString folded(CUnitSystem::Trim(text));
    for (wchar_t& c : folded) {
        if (c >= L'a' && c <= L'z') {
            c = static_cast<wchar_t>(c - L'a' + L'A');
        }
    }
    return folded;
}

WideString FoldLanguage(std::wstring_view language) {
    WideString folded = Fold(language);
    for (wchar_t& c : folded) {
        if (c == L'_') {
            c = L'-';
        }
    }
    return folded;
}

WideString PrimaryTag(const WideString& language) {
    return language.substr(0, language.find(L'-'));
}

} // namespace

int32_t CMaterialTable::LoadFile(const WideString& path) {
    std::string bytes;
    if (!platform::ReadFileBytes(path, bytes)) {
        return CHostStatus::kFileError;
    }
    return LoadText(bytes);
}

int32_t CMaterialTable::LoadText(std::string_view utf8) {
    if (utf8.substr(0, 3) == "\xEF\xBB\xBF") {
        utf8.remove_prefix(3);
    }
    std::wstring text = platform::FromUtf8(utf8);
    std::vector<Material> materials;
    std::unordered_map<WideString, size_t> byKey;
    std::vector<size_t> skipped;

    size_t lineNumber = 0;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(L'\n', start);
        if (end == std::wstring::npos) {
            end = text.size();
        }
        std::wstring_view line(text.data() + start, end - start);
        start = end + 1;
        ++lineNumber;
        std::wstring_view trimmed = CUnitSystem::Trim(line);
        if (trimmed.empty() || trimmed[0] == L'#') {
            continue;
        }
        std::vector<std::wstring_view> fields;
        size_t fieldStart = 0;
        while (true) {
            size_t tab = line.find(L'\t', fieldStart);
            fields.push_back(CUnitSystem::Trim(line.substr(fieldStart, tab - fieldStart)));
            if (tab == std::wstring_view::npos) {
                break;
            }
            fieldStart = tab + 1;
        }
        if (fields.size() != 3 || fields[0].empty() || fields[1].empty() || fields[2].empty()) {
            skipped.push_back(lineNumber);
            continue;
        }
        WideString foldedKey = Fold(fields[0]);
        auto found = byKey.find(foldedKey);
        size_t index = 0;
        if (found == byKey.end()) {
            index = materials.size();
            materials.push_back(Material{WideString(fields[0]), WideString(fields[0]), {}});
            byKey.emplace(foldedKey, index);
        } else {
            index = found->second;
        }
        Material& material = materials[index];
        if (fields[1] == L"ref") {
            material.refKey = WideString(fields[2]);
            continue;
        }
        WideString language = FoldLanguage(fields[1]);
        bool replaced = false;
        for (auto& [existing, name] : material.names) {
            if (existing == language) {
                name = WideString(fields[2]);
                replaced = true;
            }
        }
        if (!replaced) {
            material.names.emplace_back(language, WideString(fields[2]));
        }
    }

    std::unordered_map<WideString, size_t> byText;
    for (size_t i = 0; i < materials.size(); ++i) {
        for (const auto& entry : materials[i].names) {
            byText.emplace(Fold(entry.second), i);
        }
    }
    // Keys win over names when a name of one material is the key of another.
    for (const auto& [key, index] : byKey) {
        byText[key] = index;
    }

    m_materials = std::move(materials);
    m_byKey = std::move(byKey);
    m_byText = std::move(byText);
    m_skipped = std::move(skipped);
    return m_skipped.empty() ? CHostStatus::kOk : CHostStatus::kLinesSkipped;
}

bool CMaterialTable::FindName(std::wstring_view key, std::wstring_view language,
                              WideString* name) const {
    if (!name) {
        return false;
    }
    auto found = m_byKey.find(Fold(key));
    if (found == m_byKey.end()) {
        return false;
    }
    const Material& material = m_materials[found->second];
    if (material.names.empty()) {
        return false;
    }
    WideString wanted = FoldLanguage(language);
    WideString primary = PrimaryTag(wanted);
    const WideString* samePrimary = nullptr;
    for (const auto& [entryLanguage, entryName] : material.names) {
        if (entryLanguage == wanted) {
            *name = entryName;
            return true;
        }
        if (!samePrimary && !primary.empty() && PrimaryTag(entryLanguage) == primary) {
            samePrimary = &entryName;
        }
    }
    *name = samePrimary ? *samePrimary : material.names.front().second;
    return true;
}

bool CMaterialTable::FindRefKey(std::wstring_view text, WideString* refKey) const {
    if (!refKey) {
        return false;
    }
    auto found = m_byText.find(Fold(text));
    if (found == m_byText.end()) {
        return false;
    }
    *refKey = m_materials[found->second].refKey;
    return true;
}

} // namespace torvex

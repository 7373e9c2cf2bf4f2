#include "FamilySave.h"

#include "FamilyFile.h"

#include "torvex/family/FamilyNames.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLParser.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwctype>
#include <filesystem>

namespace torvex::cli {
namespace {

// FamilyStrings/File of the family document; empty when there is none.
XMLNode StringsFileNode(const CEncapFamily& family) {
    XMLNode file;
    const WideString path =
        WideString(FamilyNames::ElemFamilyStrings) + L"/" + FamilyNames::ElemFile;
    family.GetFamilyXML().GetRootNode().GetChildNode(path.c_str(), file);
    return file;
}

// Restores an attribute's text when the scope ends.
class AttributeRestorer {
public:
    AttributeRestorer(XMLNode node, const wchar_t* name, WideString value)
        : m_node(std::move(node)), m_name(name), m_value(std::move(value)) {}
    ~AttributeRestorer() { m_node.SetProperty(m_name, m_value.c_str()); }
    AttributeRestorer(const AttributeRestorer&) = delete;
    AttributeRestorer& operator=(const AttributeRestorer&) = delete;

private:
    XMLNode m_node;
    const wchar_t* m_name;
    WideString m_value;
};

} // namespace

DocumentEncoding DetectEncoding(const std::string& bytes) {
    auto at = [&](size_t i) {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : -1;
    };
    if (at(0) == 0xFF && at(1) == 0xFE)
        return DocumentEncoding::Utf16LeBom;
    if (at(0) == 0xFE && at(1) == 0xFF)
        return DocumentEncoding::Utf16BeBom;
    if (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF)
        return DocumentEncoding::Utf8Bom;
    if (at(0) == '<' && at(1) == 0)
        return DocumentEncoding::Utf16Le;
    return DocumentEncoding::Utf8;
}

const char* EncodingName(DocumentEncoding encoding) {
    switch (encoding) {
    case DocumentEncoding::Utf8Bom:
        return "UTF-8 with BOM";
    case DocumentEncoding::Utf16LeBom:
        return "UTF-16LE with BOM";
    case DocumentEncoding::Utf16BeBom:
        return "UTF-16BE with BOM";
    case DocumentEncoding::Utf16Le:
        return "UTF-16LE";
    case DocumentEncoding::Utf8:
        break;
    }
    return "UTF-8";
}

std::string EncodeDocument(const WideString& text, DocumentEncoding encoding) {
    switch (encoding) {
    case DocumentEncoding::Utf8:
        return platform::ToUtf8(text);
    case DocumentEncoding::Utf8Bom:
        return "\xEF\xBB\xBF" + platform::ToUtf8(text);
    default:
        break;
    }
    const bool bigEndian = encoding == DocumentEncoding::Utf16BeBom;
    std::string bytes;
    if (encoding != DocumentEncoding::Utf16Le)
        bytes = bigEndian ? std::string("\xFE\xFF") : std::string("\xFF\xFE");
    for (char16_t unit : platform::ToUtf16(text)) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit & 0xFF);
        bytes.push_back(bigEndian ? high : low);
        bytes.push_back(bigEndian ? low : high);
    }
    return bytes;
}

std::vector<WideString> StringTexts(const CEncapFamily& family) {
    std::vector<WideString> texts;
    for (int i = 0; i < family.GetFamStringsCount(); ++i) {
        XMLParser strings;
        WideString text;
        if (family.GetStringsFamilyXML(i, strings))
            strings.GetXml(text);
        texts.push_back(std::move(text));
    }
    return texts;
}

bool SaveFamily(CEncapFamily& family, const std::string& familyPath, DocumentEncoding encoding,
                bool saveStrings, std::vector<std::string>& written, std::string& error) {
    namespace fs = std::filesystem;
    const fs::path target(familyPath);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    // What can be known to fail fails before any file is written: the string files go first.
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) {
        error = "cannot write " + familyPath + ": " + folder.string() + " is not a folder";
        return false;
    }
    if (fs::is_directory(target, ec)) {
        error = "cannot write " + familyPath + ": it is a folder";
        return false;
    }
    if (saveStrings && family.GetFamStringsCount() > 0) {
        XMLNode file = StringsFileNode(family);
        WideString fullName;
        if (!file.GetProperty(FamilyNames::AttrFullFileName, fullName) || fullName.empty()) {
            error = "cannot save the string documents: the family names no string file "
                    "(FamilyStrings/File/@FullFileName)";
            return false;
        }
        // The string files lie where FamilyStrings/File says, taken from the family's folder.
        // The attribute says so again once they are written.
        const WideString normalized = platform::NormalizePath(fullName);
        const size_t slash = normalized.rfind(L'/');
        const WideString relative = slash == WideString::npos ? L"" : normalized.substr(0, slash);
        if (!relative.empty() &&
            (relative[0] == L'/' || (relative.size() > 1 && relative[1] == L':'))) {
            error = "cannot save the string documents: FamilyStrings/File/@FullFileName names "
                    "the folder " +
                    Narrow(relative) + ", not one beside the family";
            return false;
        }
        const fs::path stringsFolder = (folder / fs::path(Narrow(relative))).lexically_normal();
        {
            AttributeRestorer restore(file, FamilyNames::AttrFullFileName, fullName);
            const WideString resolved =
                platform::FromUtf8((stringsFolder / "FamilyStrings.xml").string());
            file.SetProperty(FamilyNames::AttrFullFileName, resolved.c_str());
            if (!family.SaveFamilyStringsXMLs()) {
                error = "cannot write the string files in " + stringsFolder.string() + ": " +
                        std::strerror(errno ? errno : EIO);
                return false;
            }
        }
        for (int i = 0; i < family.GetFamStringsCount(); ++i) {
            XMLParser strings;
            WideString language;
            if (family.GetStringsFamilyXML(i, strings))
                strings.GetRootNode().GetProperty(L"xml:lang", language);
            for (wchar_t& c : language)
                c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
            const std::string path =
                (stringsFolder / ("FamilyStrings." + Narrow(language) + ".xml")).string();
            if (std::find(written.begin(), written.end(), path) == written.end())
                written.push_back(path);
        }
    }
    WideString text;
    if (!family.GetFamilyXML().GetXml(text)) {
        error = "cannot serialise the family document";
        return false;
    }
    errno = 0;
    if (!platform::ReplaceFileBytes(platform::FromUtf8(familyPath),
                                    EncodeDocument(text, encoding))) {
        error = "cannot write " + familyPath + ": " + std::strerror(errno ? errno : EIO);
        return false;
    }
    written.push_back(familyPath + " (" + EncodingName(encoding) + ")");
    return true;
}

} // namespace torvex::cli

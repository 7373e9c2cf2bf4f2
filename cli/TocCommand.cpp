// torvex toc: the category tree of a catalogue's table of contents, the categories of one
// family, and which listed families have a family document in a folder.

#include "Commands.h"

#include "TextFile.h"
#include "TextFormats.h"
#include "TocTree.h"

#include "torvex/platform/Utf16.h"
#include "torvex/toc/CToc.h"
#include "torvex/toc/CTocCategory.h"
#include "torvex/toc/CTocFamily.h"
#include "torvex/xml/XMLParser.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace torvex::cli {
namespace {

std::string JsonOrNull(const std::optional<std::string>& text) {
    return text ? JsonString(*text) : "null";
}

std::string Indent(size_t depth) {
    return std::string(2 * depth, ' ');
}

using FamilyView = TocTree::Family;
using CategoryView = TocTree::Category;
using TreeEvent = TocTree::Event;

std::string FamilyText(const FamilyView& family) {
    std::string text = family.Title();
    if (!family.listed)
        return text + " (not listed under Families)";
    std::vector<std::string> details;
    if (family.standard && !family.standard->empty())
        details.push_back("standard " + *family.standard);
    if (family.manufacturer && !family.manufacturer->empty())
        details.push_back("manufacturer " + *family.manufacturer);
    for (size_t i = 0; i < details.size(); ++i)
        text += (i ? ", " : " (") + details[i];
    return details.empty() ? text : text + ")";
}

std::string FamilyJson(const FamilyView& family) {
    return "{\"internalName\": " + JsonString(family.internalName) +
           ", \"displayName\": " + JsonOrNull(family.displayName) +
           ", \"standard\": " + JsonOrNull(family.standard) +
           ", \"manufacturer\": " + JsonOrNull(family.manufacturer) +
           ", \"listed\": " + (family.listed ? "true" : "false") + "}";
}

std::string CategoryText(const CategoryView& category) {
    return category.Title() + (category.hidden ? " [hidden]" : "");
}

std::string CategoryJsonFields(const CategoryView& category) {
    return "\"internalName\": " + JsonOrNull(category.internalName) +
           ", \"displayName\": " + JsonOrNull(category.displayName) +
           ", \"hidden\": " + (category.hidden ? "true" : "false");
}

void PrintTreeText(const std::vector<TreeEvent>& events, std::ostream& out) {
    size_t depth = 0;
    for (const TreeEvent& event : events) {
        switch (event.kind) {
        case TreeEvent::Open:
            out << Indent(depth) << CategoryText(event.category) << '\n';
            ++depth;
            break;
        case TreeEvent::Family:
            out << Indent(depth) << "- " << FamilyText(event.family) << '\n';
            break;
        case TreeEvent::Close:
            --depth;
            break;
        }
    }
}

// Nested objects: {"internalName", "displayName", "hidden", "families": [...],
// "categories": [...]}, written from the flat walk with one state per open category.
void PrintTreeJson(const std::vector<TreeEvent>& events, std::ostream& out) {
    struct Level {
        bool inCategories = false;
        bool firstFamily = true;
        bool firstCategory = true;
    };
    std::vector<Level> levels{{true, true, true}};
    out << "[";
    for (const TreeEvent& event : events) {
        Level& level = levels.back();
        std::string indent(1, '\n');
        indent += Indent(levels.size() + 1);
        switch (event.kind) {
        case TreeEvent::Open:
            if (!level.inCategories) {
                out << "], \"categories\": [";
                level.inCategories = true;
            }
            out << (level.firstCategory ? "" : ",") << indent << "{"
                << CategoryJsonFields(event.category) << ", \"families\": [";
            level.firstCategory = false;
            levels.push_back({});
            break;
        case TreeEvent::Family:
            out << (level.firstFamily ? "" : ",") << indent << FamilyJson(event.family);
            level.firstFamily = false;
            break;
        case TreeEvent::Close:
            if (!level.inCategories)
                out << "], \"categories\": [";
            out << "]}";
            levels.pop_back();
            break;
        }
    }
    out << "]";
}

// ---- --family ---------------------------------------------------------------------------------

// The family's InternalName: NAME itself when the toc lists or references it, else the one
// listed family whose DisplayName is NAME. Empty with a message when none or several are.
WideString FindFamily(CToc& toc, const CToc::FamilyCategoryMap& references, const std::string& name,
                      std::string& error) {
    const WideString wanted = platform::FromUtf8(name);
    XMLNode node;
    if (toc.GetFamilyInfo(wanted.c_str(), node) || references.count(wanted))
        return wanted;
    std::vector<WideString> matches;
    toc.ResetIter();
    while (toc.NextNode(node)) {
        WideString displayName, internalName;
        if (node.GetProperty(L"DisplayName", displayName) && displayName == wanted &&
            node.GetProperty(L"InternalName", internalName))
            matches.push_back(internalName);
    }
    if (matches.size() == 1)
        return matches.front();
    if (matches.empty())
        error = "no family " + name + " (give its InternalName or its DisplayName)";
    else
        error = std::to_string(matches.size()) + " families are called " + name +
                "; give the InternalName of one";
    return WideString();
}

int PrintFamilyPath(TocTree& tree, const TocOptions& options, std::ostream& out,
                    std::ostream& err) {
    CToc& toc = tree.Toc();
    CToc::FamilyCategoryMap referencedAll, categories;
    toc.GetFam2CatMap(referencedAll, false);
    toc.GetFam2CatMap(categories, options.skipHidden);
    std::string error;
    const WideString id = FindFamily(toc, referencedAll, options.family, error);
    if (id.empty()) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    const FamilyView family = tree.ViewFamily(id);
    // The path, leaf first as the table of contents gives it; shown from the top down.
    std::vector<CategoryView> path;
    const auto found = categories.find(id);
    if (found != categories.end()) {
        XMLNodeArray nodes;
        toc.GetCategoryPath(found->second.c_str(), nodes);
        for (intptr_t i = nodes.GetSize() - 1; i >= 0; --i)
            path.push_back(TocTree::ViewCategory(CTocCategory(nodes[i])));
    }
    if (options.format == "json") {
        out << "{\n  \"toc\": " << JsonString(options.tocPath)
            << ",\n  \"family\": " << FamilyJson(family) << ",\n  \"path\": [";
        for (size_t i = 0; i < path.size(); ++i)
            out << (i ? ", " : "") << "{" << CategoryJsonFields(path[i]) << "}";
        out << "]";
        return kExitOk; // the caller closes the object
    }
    out << FamilyText(family) << '\n';
    if (path.empty()) {
        out << "  in no category" << (options.skipHidden ? " that is not hidden" : "") << '\n';
        return kExitOk;
    }
    out << "  ";
    for (size_t i = 0; i < path.size(); ++i)
        out << (i ? " > " : "") << CategoryText(path[i]);
    out << '\n';
    return kExitOk;
}

// ---- --families -------------------------------------------------------------------------------

// Where a listed family's document is looked for, and whether it is there.
struct DocumentCheck {
    FamilyView family;
    std::string path;   // relative to the folder given
    std::string status; // "found", "missing" or "other family"
};

// DIR/<FolderName>/Family.xml (the InternalName when FolderName is absent or empty), found when
// that file is a document whose root has the family's InternalName.
DocumentCheck CheckDocument(const std::filesystem::path& dir, FamilyView family) {
    DocumentCheck check{std::move(family), {}, "missing"};
    check.path = check.family.Folder() + "/Family.xml";
    std::wstring text;
    std::string ignored;
    if (!ReadDocument((dir / check.path).string(), text, ignored))
        return check;
    WideString id;
    XMLParser document(text.c_str());
    XMLNode root = document.GetRootNode();
    WideString rootName;
    const bool isFamily = root.GetNodeName(rootName) && rootName == L"Family" &&
                          root.GetProperty(L"InternalName", id);
    check.status = isFamily && Narrow(id) == check.family.internalName ? "found" : "other family";
    return check;
}

std::vector<DocumentCheck> CheckDocuments(TocTree& tree, const std::filesystem::path& dir) {
    std::vector<DocumentCheck> checks;
    for (const WideString& id : tree.ListedFamilies())
        checks.push_back(CheckDocument(dir, tree.ViewFamily(id)));
    std::stable_sort(checks.begin(), checks.end(), [](const auto& a, const auto& b) {
        return a.family.Title() < b.family.Title();
    });
    return checks;
}

void PrintDocumentsText(const std::vector<DocumentCheck>& checks, const std::string& dir,
                        std::ostream& out) {
    size_t found = 0;
    out << "\nFamily documents in " << dir << ":\n";
    for (const DocumentCheck& check : checks) {
        found += check.status == "found";
        out << "  " << check.status << std::string(13 - check.status.size(), ' ')
            << check.family.Title() << "  " << check.path << '\n';
    }
    out << found << " of " << checks.size() << " listed families have a family document\n";
}

void PrintDocumentsJson(const std::vector<DocumentCheck>& checks, std::ostream& out) {
    out << ",\n  \"documents\": [";
    for (size_t i = 0; i < checks.size(); ++i) {
        const DocumentCheck& check = checks[i];
        out << (i ? "," : "")
            << "\n    {\"internalName\": " << JsonString(check.family.internalName)
            << ", \"displayName\": " << JsonOrNull(check.family.displayName)
            << ", \"path\": " << JsonString(check.path)
            << ", \"status\": " << JsonString(check.status) << "}";
    }
    out << "]";
}

} // namespace

int RunToc(const TocOptions& options, std::ostream& out, std::ostream& err) {
    TocTree tree;
    std::string error;
    if (!tree.Load(options.tocPath, error)) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    CToc& toc = tree.Toc();
    std::filesystem::path dir;
    if (!options.familiesDir.empty()) {
        std::error_code code;
        dir = options.familiesDir;
        if (!std::filesystem::is_directory(dir, code)) {
            err << "torvex: cannot read " << options.familiesDir << ": not a directory\n";
            return kExitFailed;
        }
    }

    const bool json = options.format == "json";
    if (!options.family.empty()) {
        const int code = PrintFamilyPath(tree, options, out, err);
        if (code != kExitOk)
            return code;
    } else if (json) {
        out << "{\n  \"toc\": " << JsonString(options.tocPath) << ",\n  \"categories\": ";
        PrintTreeJson(tree.Walk(options.skipHidden), out);
    } else {
        int families = 0;
        XMLNode node;
        toc.ResetIter();
        while (toc.NextNode(node))
            ++families;
        out << options.tocPath << ": " << toc.GetCategoryCount() << " categories, " << families
            << " families listed" << (options.skipHidden ? ", hidden categories left out" : "")
            << "\n";
        PrintTreeText(tree.Walk(options.skipHidden), out);
    }

    size_t missing = 0;
    if (!options.familiesDir.empty()) {
        const std::vector<DocumentCheck> checks = CheckDocuments(tree, dir);
        for (const DocumentCheck& check : checks)
            missing += check.status != "found";
        if (json)
            PrintDocumentsJson(checks, out);
        else
            PrintDocumentsText(checks, options.familiesDir, out);
    }
    if (json)
        out << "\n}\n";
    if (missing) {
        err << "torvex: " << missing
            << (missing == 1 ? " listed family has" : " listed families have")
            << " no family document in " << options.familiesDir << '\n';
        return kExitFailed;
    }
    return kExitOk;
}

} // namespace torvex::cli

// torvex toc: the category tree of a catalogue's table of contents, the categories of one
// family, and which listed families have a family document in a folder.

#include "Commands.h"

#include "TextFile.h"
#include "TextFormats.h"

#include "torvex/platform/Utf16.h"
#include "torvex/toc/CToc.h"
#include "torvex/toc/CTocCategory.h"
#include "torvex/toc/CTocFamily.h"
#include "torvex/xml/ComError.h"
#include "torvex/xml/XMLParser.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace torvex::cli {
namespace {

// An attribute as UTF-8; nothing when absent.
std::optional<std::string> Attribute(const XMLNode& node, const wchar_t* name) {
    WideString value;
    if (!node.GetProperty(name, value))
        return std::nullopt;
    return Narrow(value);
}

std::string JsonOrNull(const std::optional<std::string>& text) {
    return text ? JsonString(*text) : "null";
}

std::string Indent(size_t depth) {
    return std::string(2 * depth, ' ');
}

// What the tool shows of a family: its entry under Families, if it is listed.
struct FamilyView {
    std::string internalName;
    bool listed = false;
    std::optional<std::string> displayName, standard, manufacturer, folderName;

    std::string Title() const {
        return displayName && !displayName->empty() ? *displayName : internalName;
    }
};

FamilyView ViewFamily(const CToc& toc, const WideString& internalName) {
    FamilyView view;
    view.internalName = Narrow(internalName);
    CTocFamily family;
    if (!toc.GetFamilyInfo(internalName.c_str(), family))
        return view;
    view.listed = true;
    view.displayName = Attribute(family, L"DisplayName");
    view.standard = Attribute(family, L"Standard");
    view.manufacturer = Attribute(family, L"Manufacturer");
    view.folderName = Attribute(family, L"FolderName");
    return view;
}

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

struct CategoryView {
    std::optional<std::string> internalName, displayName;
    bool hidden = false;

    std::string Title() const {
        if (displayName && !displayName->empty())
            return *displayName;
        return internalName ? *internalName : std::string("(unnamed category)");
    }
};

CategoryView ViewCategory(const CTocCategory& category) {
    return {Attribute(category, L"InternalName"), Attribute(category, L"DisplayName"),
            category.IsHidden()};
}

std::string CategoryText(const CategoryView& category) {
    return category.Title() + (category.hidden ? " [hidden]" : "");
}

std::string CategoryJsonFields(const CategoryView& category) {
    return "\"internalName\": " + JsonOrNull(category.internalName) +
           ", \"displayName\": " + JsonOrNull(category.displayName) +
           ", \"hidden\": " + (category.hidden ? "true" : "false");
}

// The tree, flattened into a walk: a category opens, its families follow, then its
// subcategories, and it closes. Built with a stack of its own, so that no nesting, however deep,
// recurses on the call stack.
struct TreeEvent {
    enum Kind { Open, Family, Close } kind;
    CategoryView category;
    FamilyView family;
};

std::vector<TreeEvent> WalkTree(const CToc& toc, bool skipHidden) {
    std::vector<TreeEvent> events;
    XMLNodeArray firstLevel;
    toc.GetFirstLevelCategories(firstLevel);
    struct Frame {
        XMLNodeArray categories;
        intptr_t next = 0;
        bool closes = false; // the frame's categories are the subcategories of an open one
    };
    std::vector<Frame> stack;
    stack.push_back({firstLevel, 0, false});
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.categories.GetSize()) {
            const bool closes = frame.closes;
            stack.pop_back();
            if (closes)
                events.push_back({TreeEvent::Close, {}, {}});
            continue;
        }
        const CTocCategory category(frame.categories[frame.next++]);
        XMLNodeArray subcategories;
        category.GetSubCategoryNodes(subcategories);
        if (skipHidden && category.IsHidden()) {
            // Left out; its subcategories are judged by their own Hidden and take its place.
            stack.push_back({std::move(subcategories), 0, false});
            continue;
        }
        events.push_back({TreeEvent::Open, ViewCategory(category), {}});
        WideStringList families;
        category.GetReferencedFamilies(families);
        for (const WideString& family : families)
            events.push_back({TreeEvent::Family, {}, ViewFamily(toc, family)});
        stack.push_back({std::move(subcategories), 0, true});
    }
    return events;
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
        const std::string indent = "\n" + Indent(levels.size() + 1);
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

int PrintFamilyPath(CToc& toc, const TocOptions& options, std::ostream& out, std::ostream& err) {
    CToc::FamilyCategoryMap referencedAll, categories;
    toc.GetFam2CatMap(referencedAll, false);
    toc.GetFam2CatMap(categories, options.skipHidden);
    std::string error;
    const WideString id = FindFamily(toc, referencedAll, options.family, error);
    if (id.empty()) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    const FamilyView family = ViewFamily(toc, id);
    // The path, leaf first as the table of contents gives it; shown from the top down.
    std::vector<CategoryView> path;
    const auto found = categories.find(id);
    if (found != categories.end()) {
        XMLNodeArray nodes;
        toc.GetCategoryPath(found->second.c_str(), nodes);
        for (intptr_t i = nodes.GetSize() - 1; i >= 0; --i)
            path.push_back(ViewCategory(CTocCategory(nodes[i])));
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
    const std::string folder = check.family.folderName && !check.family.folderName->empty()
                                   ? *check.family.folderName
                                   : check.family.internalName;
    check.path = folder + "/Family.xml";
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

std::vector<DocumentCheck> CheckDocuments(CToc& toc, const std::filesystem::path& dir) {
    std::vector<DocumentCheck> checks;
    XMLNode node;
    toc.ResetIter();
    while (toc.NextNode(node)) {
        WideString id;
        CTocFamily(node).GetInternalName(id);
        checks.push_back(CheckDocument(dir, ViewFamily(toc, id)));
    }
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
    std::wstring text;
    std::string error;
    if (!ReadDocument(options.tocPath, text, error)) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    XMLParser parser;
    WideString rootName;
    if (!parser.SetXml(text.c_str())) {
        err << "torvex: " << options.tocPath
            << " is not a table of contents (the XML does not parse)\n";
        return kExitFailed;
    }
    parser.GetRootNode().GetNodeName(rootName);
    if (rootName != L"TableOfContents") {
        err << "torvex: " << options.tocPath << " is not a table of contents (its root is "
            << Narrow(rootName) << ", not TableOfContents)\n";
        return kExitFailed;
    }
    CToc toc;
    try {
        toc.SetToc(parser);
    } catch (const ComError&) {
        err << "torvex: " << options.tocPath
            << " is not a table of contents (Families holds something other than elements, "
               "such as a comment)\n";
        return kExitFailed;
    }
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
        const int code = PrintFamilyPath(toc, options, out, err);
        if (code != kExitOk)
            return code;
    } else if (json) {
        out << "{\n  \"toc\": " << JsonString(options.tocPath) << ",\n  \"categories\": ";
        PrintTreeJson(WalkTree(toc, options.skipHidden), out);
    } else {
        int families = 0;
        XMLNode node;
        toc.ResetIter();
        while (toc.NextNode(node))
            ++families;
        out << options.tocPath << ": " << toc.GetCategoryCount() << " categories, " << families
            << " families listed" << (options.skipHidden ? ", hidden categories left out" : "")
            << "\n";
        PrintTreeText(WalkTree(toc, options.skipHidden), out);
    }

    size_t missing = 0;
    if (!options.familiesDir.empty()) {
        const std::vector<DocumentCheck> checks = CheckDocuments(toc, dir);
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

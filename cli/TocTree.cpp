#include "TocTree.h"

#include "FamilyFile.h"
#include "TextFile.h"

#include "torvex/toc/CTocCategory.h"
#include "torvex/toc/CTocFamily.h"
#include "torvex/xml/ComError.h"

namespace torvex::cli {
namespace {

// An attribute as UTF-8; nothing when absent.
std::optional<std::string> Attribute(const XMLNode& node, const wchar_t* name) {
    WideString value;
    if (!node.GetProperty(name, value))
        return std::nullopt;
    return Narrow(value);
}

} // namespace

std::string TocTree::Family::Title() const {
    return displayName && !displayName->empty() ? *displayName : internalName;
}

std::string TocTree::Family::Folder() const {
    return folderName && !folderName->empty() ? *folderName : internalName;
}

std::string TocTree::Category::Title() const {
    if (displayName && !displayName->empty())
        return *displayName;
    return internalName ? *internalName : std::string("(unnamed category)");
}

bool TocTree::Load(const std::string& path, std::string& error) {
    std::wstring text;
    if (!ReadDocument(path, text, error))
        return false;
    if (!parser_.SetXml(text.c_str())) {
        error = path + " is not a table of contents (the XML does not parse)";
        return false;
    }
    WideString rootName;
    parser_.GetRootNode().GetNodeName(rootName);
    if (rootName != L"TableOfContents") {
        error = path + " is not a table of contents (its root is " + Narrow(rootName) +
                ", not TableOfContents)";
        return false;
    }
    try {
        toc_.SetToc(parser_);
    } catch (const ComError&) {
        error = path + " is not a table of contents (Families holds something other than "
                       "elements, such as a comment)";
        return false;
    }
    return true;
}

TocTree::Family TocTree::ViewFamily(const WideString& internalName) const {
    Family view;
    view.internalName = Narrow(internalName);
    CTocFamily family;
    if (!toc_.GetFamilyInfo(internalName.c_str(), family))
        return view;
    view.listed = true;
    view.displayName = Attribute(family, L"DisplayName");
    view.standard = Attribute(family, L"Standard");
    view.manufacturer = Attribute(family, L"Manufacturer");
    view.folderName = Attribute(family, L"FolderName");
    return view;
}

TocTree::Category TocTree::ViewCategory(const CTocCategory& category) {
    return {Attribute(category, L"InternalName"), Attribute(category, L"DisplayName"),
            category.IsHidden()};
}

std::vector<TocTree::Event> TocTree::Walk(bool skipHidden) const {
    std::vector<Event> events;
    XMLNodeArray firstLevel;
    toc_.GetFirstLevelCategories(firstLevel);
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
                events.push_back({Event::Close, {}, {}});
            continue;
        }
        const CTocCategory category(frame.categories[frame.next++]);
        XMLNodeArray subcategories;
        category.GetSubCategoryNodes(subcategories);
        if (skipHidden && category.IsHidden()) {
            stack.push_back({std::move(subcategories), 0, false});
            continue;
        }
        events.push_back({Event::Open, ViewCategory(category), {}});
        WideStringList families;
        category.GetReferencedFamilies(families);
        for (const WideString& family : families)
            events.push_back({Event::Family, {}, ViewFamily(family)});
        stack.push_back({std::move(subcategories), 0, true});
    }
    return events;
}

std::vector<WideString> TocTree::ListedFamilies() {
    std::vector<WideString> names;
    XMLNode node;
    toc_.ResetIter();
    while (toc_.NextNode(node)) {
        WideString id;
        CTocFamily(node).GetInternalName(id);
        names.push_back(id);
    }
    return names;
}

} // namespace torvex::cli

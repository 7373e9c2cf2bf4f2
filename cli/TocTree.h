#pragma once
// A catalogue's table of contents read from a file, and the views of it that the commands show:
// its families as listed, its categories, and the category tree as a flat walk.

#include "torvex/platform/WideString.h"
#include "torvex/toc/CToc.h"
#include "torvex/xml/XMLParser.h"

#include <optional>
#include <string>
#include <vector>

namespace torvex {
class CTocCategory;
}

namespace torvex::cli {

class TocTree {
public:
    /// What is shown of a family: its entry under Families, if it is listed.
    struct Family {
        std::string internalName;
        bool listed = false;
        std::optional<std::string> displayName, standard, manufacturer, folderName;

        /// The display name, else the internal name.
        std::string Title() const;
        /// The folder of its documents: FolderName, else (absent or empty) the internal name.
        std::string Folder() const;
    };

    struct Category {
        std::optional<std::string> internalName, displayName;
        bool hidden = false;

        /// The display name, else the internal name, else "(unnamed category)".
        std::string Title() const;
    };

    /// One step of the walk: a category opens, its families follow, then its subcategories,
    /// and it closes.
    struct Event {
        enum Kind { Open, Family, Close } kind;
        Category category;      // Open
        TocTree::Family family; // Family
    };

    /// Reads and parses the document; false with a one-line message in `error` when the file
    /// can't be read or is no table of contents.
    bool Load(const std::string& path, std::string& error);

    CToc& Toc() { return toc_; }
    const CToc& Toc() const { return toc_; }

    /// The family as listed; `listed` false when the table of contents does not list it.
    Family ViewFamily(const WideString& internalName) const;
    static Category ViewCategory(const CTocCategory& category);
    /// The tree as a flat walk, made with a stack of its own so that no nesting, however deep,
    /// recurses on the call stack. With `skipHidden`, a hidden category is left out and its
    /// subcategories (judged by their own Hidden) take its place.
    std::vector<Event> Walk(bool skipHidden) const;
    /// The internal names of the families listed under Families, in key order.
    std::vector<WideString> ListedFamilies();

private:
    XMLParser parser_;
    CToc toc_;
};

} // namespace torvex::cli

#pragma once
// The body of the web catalogue's index: the category tree with each family's name, standard and
// manufacturer, a box that filters the families as one types, and the listed families that no
// shown category holds.

#include "HtmlWriter.h"
#include "SiteText.h"
#include "TocTree.h"

#include <map>
#include <string>
#include <vector>

namespace torvex::cli {

class IndexPage {
public:
    /// A family as the index shows it in one language.
    struct Entry {
        std::string href; // its page; empty: no page (not listed)
        std::string name;
        std::string standard;
        std::string manufacturer;
        bool failed = false; // it did not open; its page says why
    };

    /// `events`: the tree without hidden categories; `entries`: by internal name, for every
    /// listed family; `others`: internal names of the listed families the tree does not hold.
    static void Write(HtmlWriter& out, const std::vector<TocTree::Event>& events,
                      const std::map<std::string, Entry>& entries,
                      const std::vector<std::string>& others, const SiteText& text);
};

} // namespace torvex::cli

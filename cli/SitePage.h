#pragma once
// What every page of the web catalogue has: the document's head, a bar with the way back to the
// catalogue and the language switch, and the footer.

#include "HtmlWriter.h"
#include "SiteText.h"

#include <string>
#include <string_view>
#include <vector>

namespace torvex::cli {

class SitePage {
public:
    /// One entry of the language switch: the language and the same page in it.
    struct Language {
        std::string tag;
        std::string href;
    };

    struct Head {
        std::string language; // the lang attribute
        std::string title;
        std::string assets;   // the assets folder relative to the page, ending in '/'
        std::string style;    // CSS of the page's own, in a style element; empty: none
        std::string homeHref; // the catalogue's index in this language
        std::vector<Language> languages;
        size_t current = 0; // index of this page's language in `languages`
    };

    /// From <!DOCTYPE html> to the opening of <main>.
    static void Begin(HtmlWriter& out, const Head& head, const SiteText& text);
    /// Closes <main>, writes the footer and ends the document.
    static void End(HtmlWriter& out, const SiteText& text);
};

} // namespace torvex::cli

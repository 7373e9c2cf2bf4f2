#pragma once
// The body of a family's page in the web catalogue: its properties, its members with every cell
// evaluated (failed cells named, a member's own values over the column's formula marked,
// suppressed members marked) behind a filter, its columns with what they drive, its dependency
// graph and its pictures. Rows are evaluated and written one at a time.

#include "DependencyGraph.h"
#include "HtmlWriter.h"
#include "SiteText.h"

#include "torvex/family/CEncapFamily.h"

#include <cstdint>
#include <string>
#include <vector>

namespace torvex::cli {

class FamilyPage {
public:
    struct Picture {
        std::string href;
        uint32_t width = 0;
        uint32_t height = 0;
    };

    /// What the page shows beside the family itself.
    struct Extras {
        std::vector<Picture> thumbnails; // shown at the top
        std::vector<Picture> icons;
        std::string graphHref; // the dependency graph as SVG; empty: only the list
        std::string note;      // a line shown under the title (such as a language fallback)
    };

    /// Gathers the family's columns and properties. The family must have a table.
    explicit FamilyPage(CEncapFamily& family);

    /// The title: the display name, else the internal name.
    const std::string& Title() const { return title_; }
    const std::string& Standard() const { return standard_; }
    const std::string& Manufacturer() const { return manufacturer_; }
    /// CSS of the page's own: hides the hidden columns of the member table until asked.
    std::string Style() const;

    /// Writes the body, evaluating every cell. Returns the number of cells that failed.
    size_t Write(HtmlWriter& out, const DependencyGraph& graph, const Extras& extras,
                 const SiteText& text);

    /// The body of the page of a family that does not open: its title and why.
    static void WriteFailure(HtmlWriter& out, const std::string& title, const std::string& reason,
                             const SiteText& text);

private:
    struct Column {
        WideString id;
        std::string idText;
        std::string title;
        std::string type;
        std::string unit;
        std::string formula;
        bool hidden = false;
        bool hasColumnwideValue = false;
    };

    void WriteProperties(HtmlWriter& out, const SiteText& text) const;
    size_t WriteMembers(HtmlWriter& out, const SiteText& text) const;
    void WriteColumns(HtmlWriter& out, const SiteText& text) const;
    static void WriteGraph(HtmlWriter& out, const DependencyGraph& graph, const Extras& extras,
                           const SiteText& text);
    static void WriteIcons(HtmlWriter& out, const Extras& extras, const SiteText& text);

    CEncapFamily& family_;
    std::vector<Column> columns_;
    std::string title_, standard_, manufacturer_;
};

} // namespace torvex::cli

#include "IndexPage.h"

namespace torvex::cli {
namespace {

void WriteFamily(HtmlWriter& out, const TocTree::Family& family,
                 const std::map<std::string, IndexPage::Entry>& entries, const SiteText& text) {
    const auto found = entries.find(family.internalName);
    IndexPage::Entry entry;
    if (found != entries.end())
        entry = found->second;
    else
        entry.name = family.Title();
    out.Raw(entry.failed ? "<li class=\"family failed\">" : "<li class=\"family\">");
    if (entry.href.empty())
        out.Text(entry.name);
    else
        out.Raw("<a").Attribute("href", entry.href).Raw(">").Text(entry.name).Raw("</a>");
    if (!entry.standard.empty() || !entry.manufacturer.empty()) {
        out.Raw(" <span class=\"meta\">");
        if (!entry.standard.empty())
            out.Text(text.standard)
                .Raw(" <span class=\"standard\">")
                .Text(entry.standard)
                .Raw("</span>");
        if (!entry.standard.empty() && !entry.manufacturer.empty())
            out.Raw(" · ");
        if (!entry.manufacturer.empty())
            out.Text(text.manufacturer)
                .Raw(" <span class=\"manufacturer\">")
                .Text(entry.manufacturer)
                .Raw("</span>");
        out.Raw("</span>");
    }
    if (entry.failed)
        out.Raw(" <span class=\"tag\">").Text(text.familyFailed).Raw("</span>");
    out.Raw("</li>\n");
}

} // namespace

void IndexPage::Write(HtmlWriter& out, const std::vector<TocTree::Event>& events,
                      const std::map<std::string, Entry>& entries,
                      const std::vector<std::string>& others, const SiteText& text) {
    out.Element("h1", text.catalogue).Raw("\n");
    out.Raw("<div class=\"tools\"><input type=\"search\" id=\"family-filter\" data-filter "
            "aria-controls=\"family-tree\" data-count=\"family-count\"");
    out.Attribute("placeholder", text.filterFamilies).Attribute("aria-label", text.filterFamilies);
    out.Raw("><output id=\"family-count\" class=\"count\" for=\"family-filter\"></output></div>\n");
    out.Raw("<nav class=\"tree\" id=\"family-tree\"").Attribute("aria-label", text.catalogue);
    out.Raw(">\n<ul>\n");
    // A category's list holds its families, then its subcategories.
    for (const TocTree::Event& event : events) {
        switch (event.kind) {
        case TocTree::Event::Open:
            out.Raw("<li class=\"category\"><span class=\"cat\"");
            if (event.category.internalName)
                out.Attribute("data-id", *event.category.internalName);
            out.Raw(">").Text(event.category.Title()).Raw("</span>\n<ul>\n");
            break;
        case TocTree::Event::Family:
            WriteFamily(out, event.family, entries, text);
            break;
        case TocTree::Event::Close:
            out.Raw("</ul>\n</li>\n");
            break;
        }
    }
    if (!others.empty()) {
        out.Raw("<li class=\"category\"><span class=\"cat other\">").Text(text.otherFamilies);
        out.Raw("</span>\n<ul>\n");
        for (const std::string& name : others) {
            TocTree::Family family;
            family.internalName = name;
            WriteFamily(out, family, entries, text);
        }
        out.Raw("</ul>\n</li>\n");
    }
    out.Raw("</ul>\n</nav>\n");
}

} // namespace torvex::cli

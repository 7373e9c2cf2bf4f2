#include "SitePage.h"

namespace torvex::cli {

void SitePage::Begin(HtmlWriter& out, const Head& head, const SiteText& text) {
    out.Raw("<!DOCTYPE html>\n<html").Attribute("lang", head.language).Raw(">\n<head>\n");
    out.Raw("<meta charset=\"utf-8\">\n");
    out.Raw("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n");
    out.Element("title", head.title).Raw("\n");
    out.Raw("<link rel=\"stylesheet\"").Attribute("href", head.assets + "site.css").Raw(">\n");
    out.Raw("<script").Attribute("src", head.assets + "site.js").Raw(" defer></script>\n");
    if (!head.style.empty())
        out.Raw("<style>").Raw(head.style).Raw("</style>\n");
    out.Raw("</head>\n<body>\n<header class=\"bar\">");
    out.Raw("<a class=\"home\"").Attribute("href", head.homeHref).Raw(">");
    out.Text(text.catalogue).Raw("</a>");
    if (head.languages.size() > 1) {
        out.Raw("<nav class=\"languages\"").Attribute("aria-label", text.language).Raw(">");
        for (size_t i = 0; i < head.languages.size(); ++i) {
            const Language& language = head.languages[i];
            if (i == head.current) {
                out.Raw("<span aria-current=\"page\"").Attribute("lang", language.tag).Raw(">");
                out.Text(language.tag).Raw("</span>");
                continue;
            }
            out.Raw("<a").Attribute("href", language.href).Attribute("hreflang", language.tag);
            out.Attribute("lang", language.tag).Raw(" data-keep-query>");
            out.Text(language.tag).Raw("</a>");
        }
        out.Raw("</nav>");
    }
    out.Raw("</header>\n<main>\n");
}

void SitePage::End(HtmlWriter& out, const SiteText& text) {
    out.Raw("</main>\n<footer>").Text(text.generated).Raw("</footer>\n</body>\n</html>\n");
}

} // namespace torvex::cli

// The pieces every page of the web catalogue is made of: escaping, file names and the frame of
// a page.

#include "HtmlWriter.h"
#include "SiteLayout.h"
#include "SitePage.h"

#include <gtest/gtest.h>

#include <sstream>

namespace torvex::cli {
namespace {

TEST(HtmlEscape, MarkupCharactersBecomeReferences) {
    EXPECT_EQ(HtmlWriter::Escape("a<b>&\"c\"'d'"), "a&lt;b&gt;&amp;&quot;c&quot;&#39;d&#39;");
    EXPECT_EQ(HtmlWriter::Escape("&amp;"), "&amp;amp;"); // no double meaning
    EXPECT_EQ(HtmlWriter::Escape(""), "");
}

TEST(HtmlEscape, Utf8PassesAndWhatNoPageMayHoldIsReplaced) {
    // Two-, three- and four-byte letters stay; tab, line feed and carriage return stay.
    EXPECT_EQ(HtmlWriter::Escape("brüniert 25 €\t\xF0\x9D\x84\x9E\r\n"),
              "brüniert 25 €\t\xF0\x9D\x84\x9E\r\n");
    const std::string fffd = "\xEF\xBF\xBD";
    const std::pair<std::string, std::string> cases[] = {
        {std::string("a\0b", 3), "a" + fffd + "b"}, // NUL
        {"a\x01\x1F\x7F"
         "b",
         "a" + fffd + fffd + fffd + "b"}, // C0 controls and DEL
        {"a\xC2\x85"
         "b",
         "a" + fffd + "b"}, // C1 control NEL
        {"a\x80"
         "b",
         "a" + fffd + "b"},    // a lone continuation byte
        {"a\xC3", "a" + fffd}, // cut at the end
        {"a\xE2\x82"
         "b",
         "a" + fffd + fffd + "b"},                       // cut before an ASCII letter
        {"\xC0\xAF", fffd + fffd},                       // overlong
        {"\xED\xA0\x80", fffd + fffd + fffd},            // a surrogate
        {"\xF4\x90\x80\x80", fffd + fffd + fffd + fffd}, // past U+10FFFF
        {"\xC2\xA0<", "\xC2\xA0&lt;"},                   // no-break space, the first after C1
    };
    for (const auto& [in, expected] : cases)
        EXPECT_EQ(HtmlWriter::Escape(in), expected) << testing::PrintToString(in);
}

TEST(HtmlWriter, AttributesAndElementsEscapeTheirValues) {
    std::ostringstream text;
    HtmlWriter out(text);
    out.Raw("<a").Attribute("href", "x.html?q=\"M10\"&y").Raw(">");
    out.Element("td", "<EvalSyntaxError>", "f").Number(42);
    EXPECT_EQ(text.str(), "<a href=\"x.html?q=&quot;M10&quot;&amp;y\">"
                          "<td class=\"f\">&lt;EvalSyntaxError&gt;</td>42");
}

TEST(SiteLayout, NamesAreCleanUniqueAndPerLanguage) {
    EXPECT_EQ(SiteLayout::Clean("iso 4762/../x.y"), "iso_4762____x_y");
    EXPECT_EQ(SiteLayout::Clean(""), "_");
    EXPECT_EQ(SiteLayout::Clean("Größe"), "Gr____e"); // bytes of UTF-8, each one

    SiteLayout layout({"en-US", "de DE"});
    EXPECT_EQ(layout.AddFamily("bolts"), "bolts");
    EXPECT_EQ(layout.AddFamily("Bolts"), "Bolts-2"); // differs only by case
    EXPECT_EQ(layout.AddFamily("bolts-2"), "bolts-2-2");
    EXPECT_EQ(layout.AddFamily("bolts"), "bolts-3");
    EXPECT_EQ(layout.IndexFile(0), "index.html");
    EXPECT_EQ(layout.IndexFile(1), "index.de_DE.html");
    EXPECT_EQ(layout.FamilyFile("bolts", 0), "bolts.html");
    EXPECT_EQ(layout.FamilyFile("bolts", 1), "bolts.de_DE.html");
}

std::string Frame(const SitePage::Head& head) {
    std::ostringstream text;
    HtmlWriter out(text);
    SitePage::Begin(out, head, SiteText::For(head.language));
    SitePage::End(out, SiteText::For(head.language));
    return text.str();
}

TEST(SitePage, FrameIsHtml5WithLanguageAndASwitchToTheOthers) {
    SitePage::Head head;
    head.language = "de-DE";
    head.title = "Muttern & <Schrauben>";
    head.assets = "../assets/";
    head.homeHref = "../index.de-DE.html";
    head.languages = {{"en-US", "nuts.html"}, {"de-DE", "nuts.de-DE.html"}};
    head.current = 1;
    head.style = "#t{display:none}";
    const std::string page = Frame(head);
    EXPECT_EQ(
        page.rfind("<!DOCTYPE html>\n<html lang=\"de-DE\">\n<head>\n<meta charset=\"utf-8\">\n"
                   "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">",
                   0),
        0u)
        << page;
    EXPECT_NE(page.find("<title>Muttern &amp; &lt;Schrauben&gt;</title>"), std::string::npos);
    EXPECT_NE(page.find("href=\"../assets/site.css\""), std::string::npos);
    EXPECT_NE(page.find("<script src=\"../assets/site.js\" defer></script>"), std::string::npos);
    EXPECT_NE(page.find("<style>#t{display:none}</style>"), std::string::npos);
    EXPECT_NE(page.find("<a class=\"home\" href=\"../index.de-DE.html\">Katalog</a>"),
              std::string::npos);
    EXPECT_NE(page.find("<a href=\"nuts.html\" hreflang=\"en-US\" lang=\"en-US\" data-keep-query>"
                        "en-US</a>"),
              std::string::npos);
    EXPECT_NE(page.find("<span aria-current=\"page\" lang=\"de-DE\">de-DE</span>"),
              std::string::npos);
    EXPECT_EQ(page.find("nuts.de-DE.html"), std::string::npos); // no link to itself
    EXPECT_EQ(page.substr(page.size() - 16), "</body>\n</html>\n");

    head.languages.resize(1);
    head.current = 0;
    EXPECT_EQ(Frame(head).find("<nav"), std::string::npos); // one language: no switch
}

} // namespace
} // namespace torvex::cli

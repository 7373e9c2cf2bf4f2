// The family pages and the index of the web catalogue, written from the example catalogue and
// from a family whose formulas fail.

#include "FamilyFile.h"
#include "FamilyPage.h"
#include "HostProvider.h"
#include "IndexPage.h"
#include "TocTree.h"

#include "torvex/family/CEncapFamilyTable.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace torvex::cli {
namespace {

const std::string kExamples = TORVEX_EXAMPLES_DIR;

std::unique_ptr<CEncapFamily> Open(const std::string& folder, const std::string& language) {
    FamilyInput input;
    input.familyPath = folder + "/Family.xml";
    input.stringPaths = {folder + "/FamilyStrings.EN-US.xml", folder + "/FamilyStrings.DE-DE.xml"};
    input.language = language;
    std::ostringstream err;
    std::string error;
    auto family =
        OpenFamily(input, MakeUnitsProvider(kExamples + "/materials.tsv", err, error), error);
    EXPECT_TRUE(family) << error;
    return family;
}

std::string Body(CEncapFamily& family, const FamilyPage::Extras& extras, size_t* failed,
                 const std::string& language = "en-US") {
    FamilyPage page(family);
    std::ostringstream text;
    HtmlWriter out(text);
    const size_t count = page.Write(out, DependencyGraph(*family.GetEncapFamilyTable()), extras,
                                    SiteText::For(language));
    if (failed)
        *failed = count;
    return text.str();
}

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The members' table marks suppressed members, the member's own values over a column's formula
// or value, and nothing else.
TEST(FamilyPage, MembersAreMarkedAsTheFamilySaysAndNothingFails) {
    auto family = Open(kExamples + "/iso4762", "");
    ASSERT_TRUE(family);
    size_t failed = 99;
    const std::string page = Body(*family, {}, &failed);
    EXPECT_EQ(failed, 0u);
    EXPECT_TRUE(Has(page, "<tr class=\"s\" data-id=\"17b169a8-582f-5fa5-a9fa-31c3d507267f\"><td>15 "
                          "<span class=\"tag\">suppressed</span></td>"))
        << page;
    std::smatch match;
    // M12x30 (row 16): dk is its own "18" over the formula; d is its own cell, with no
    // column-wide value to stand in for.
    ASSERT_TRUE(
        std::regex_search(page, match, std::regex("<tr data-id=\"bec6206b[^\"]*\">.*</tr>")));
    const std::string row = match.str();
    EXPECT_TRUE(Has(row, "<td class=\"o\">18</td>")) << row;
    EXPECT_TRUE(Has(row, "<td>12</td>")) << row;
    EXPECT_FALSE(Has(row, "<td class=\"o\">12</td>")) << row;
    // M3 rows name their own material over the column's default.
    EXPECT_TRUE(Has(page, "<td class=\"o\">Stainless steel A2-70</td>"));
    EXPECT_TRUE(Has(page, "<td>Steel, property class 8.8</td>"));
}

// The page's style hides exactly the hidden columns, and the filter skips the same cells.
TEST(FamilyPage, StyleAndFilterNameTheHiddenColumnsCells) {
    auto family = Open(kExamples + "/iso4762", "");
    ASSERT_TRUE(family);
    const std::string page = Body(*family, {}, nullptr);
    std::vector<std::string> headers{"#"};
    const std::regex th("<th scope=\"col\" data-column=\"([^\"]*)\"");
    for (auto it = std::sregex_iterator(page.begin(), page.end(), th); it != std::sregex_iterator();
         ++it)
        headers.push_back((*it)[1]);
    ASSERT_EQ(headers.size(), 19u); // # and 18 columns

    const std::string style = FamilyPage(*family).Style();
    std::vector<std::string> hiddenByStyle;
    const std::regex nth("nth-child\\((\\d+)\\)");
    for (auto it = std::sregex_iterator(style.begin(), style.end(), nth);
         it != std::sregex_iterator(); ++it)
        hiddenByStyle.push_back(headers.at(std::stoul((*it)[1]) - 1));
    EXPECT_EQ(hiddenByStyle, (std::vector<std::string>{"RID", "STATUS", "MEMBER_REVISION"}));

    std::smatch match;
    ASSERT_TRUE(std::regex_search(page, match, std::regex("data-hidden-columns=\"([^\"]*)\"")));
    std::vector<std::string> skipped;
    std::istringstream cells(match[1]);
    for (size_t cell; cells >> cell;)
        skipped.push_back(headers.at(cell));
    EXPECT_EQ(skipped, hiddenByStyle);
}

TEST(FamilyPage, GermanPageHasGermanTextsAndWords) {
    auto family = Open(kExamples + "/iso4762", "de-DE");
    ASSERT_TRUE(family);
    const std::string page = Body(*family, {}, nullptr, "de-DE");
    EXPECT_TRUE(Has(page, "<h1>Zylinderschrauben mit Innensechskant ISO 4762</h1>"));
    EXPECT_TRUE(Has(page, "<td>brüniert</td>"));
    EXPECT_TRUE(Has(page, "Mitglieder"));
    EXPECT_TRUE(Has(page, "Stahl, Festigkeitsklasse 8.8"));
}

TEST(FamilyPage, FailedCellsAreNamedAndCounted) {
    std::string error;
    std::ostringstream err;
    FamilyInput input;
    input.familyPath = std::string(TORVEX_SOURCE_DIR) + "/tests/cli/data/broken.xml";
    auto family = OpenFamily(input, MakeUnitsProvider("", err, error), error);
    ASSERT_TRUE(family) << error;
    size_t failed = 0;
    const std::string page = Body(*family, {}, &failed);
    EXPECT_EQ(failed, 2u);
    EXPECT_TRUE(Has(page, "<td>5</td><td>10</td><td class=\"f\">&lt;EvalExpressionFailed&gt;</td>"
                          "<td class=\"f\">&lt;EvalSyntaxError&gt;</td><td>4</td></tr>"))
        << page;
    EXPECT_TRUE(Has(page, "<code>{c*2</code>")); // the formula as written
}

TEST(FamilyPage, GraphIsAPictureWithTheListBesideItOrTheListAlone) {
    auto family = Open(kExamples + "/iso7089", "");
    ASSERT_TRUE(family);
    const std::string list = Body(*family, {}, nullptr);
    EXPECT_TRUE(Has(list, "<li><code>d1</code> used by: <code>WIDTH</code></li>")) << list;
    EXPECT_FALSE(Has(list, "<figure class=\"graph\">"));

    FamilyPage::Extras extras;
    extras.graphHref = "iso7089/graph.svg";
    extras.icons = {{"iso7089/icon-1.png", 16, 16}};
    extras.thumbnails = {{"iso7089/thumbnail-1.png", 96, 64}};
    extras.note = "Shown in <en-US>.";
    const std::string page = Body(*family, extras, nullptr);
    EXPECT_TRUE(Has(page, "<figure class=\"graph\"><img src=\"iso7089/graph.svg\""));
    EXPECT_TRUE(Has(page, "<details><summary>As a list</summary>"));
    EXPECT_TRUE(Has(page, "<img src=\"iso7089/icon-1.png\" alt=\"16×16\" width=\"16\" "
                          "height=\"16\"><figcaption>16×16</figcaption>"));
    EXPECT_TRUE(Has(page, "<img src=\"iso7089/thumbnail-1.png\" alt=\"Thumbnail\" width=\"96\""));
    EXPECT_TRUE(Has(page, "<p class=\"note\">Shown in &lt;en-US&gt;.</p>"));
}

TEST(FamilyPage, FailurePageSaysWhy) {
    std::ostringstream text;
    HtmlWriter out(text);
    FamilyPage::WriteFailure(out, "Nuts <M3>", "cannot read x/Family.xml: No such file",
                             SiteText::For("en-US"));
    EXPECT_EQ(text.str(), "<h1>Nuts &lt;M3&gt;</h1><p class=\"failed\">This family could not be "
                          "opened: cannot read x/Family.xml: No such file</p>\n");
}

TEST(IndexPage, TreeWithoutHiddenCategoriesAndTheFamiliesNoneHolds) {
    TocTree tree;
    std::string error;
    ASSERT_TRUE(tree.Load(kExamples + "/toc.xml", error)) << error;
    std::map<std::string, IndexPage::Entry> entries;
    entries["27219c4c-e376-5e19-b12c-b1c53cc8dffb"] = {"families/iso4762.html", "Screws & bolts",
                                                       "ISO 4762", "Torvex Samples", false};
    entries["afe40b03-9e55-5d8b-b90c-4312f4dc8ab2"] = {"families/iso4032.html", "Nuts", "", "",
                                                       true};
    entries["lost"] = {"families/lost.html", "Lost", "", "", false};
    std::ostringstream text;
    HtmlWriter out(text);
    IndexPage::Write(out, tree.Walk(true), entries, {"lost"}, SiteText::For("en-US"));
    const std::string page = text.str();

    EXPECT_FALSE(Has(page, "Kits"));
    for (const char* category : {"Fasteners", "Bolts", "Socket Head Bolts", "Nuts", "Hex Nuts",
                                 "Washers", "Plain Washers", "Families in no category"})
        EXPECT_TRUE(Has(page, std::string(">") + category + "</span>")) << category;
    EXPECT_TRUE(Has(page, "<li class=\"family\"><a href=\"families/iso4762.html\">Screws &amp; "
                          "bolts</a> <span class=\"meta\">Standard <span class=\"standard\">ISO "
                          "4762</span> · Manufacturer <span class=\"manufacturer\">Torvex "
                          "Samples</span></span></li>"))
        << page;
    EXPECT_TRUE(Has(page, "<li class=\"family failed\"><a href=\"families/iso4032.html\">Nuts</a> "
                          "<span class=\"tag\">failed to open</span></li>"));
    // Without an entry the table of contents' name stands, with no link.
    EXPECT_TRUE(Has(page, "<li class=\"family\">Plain washers ISO 7089</li>"));
    EXPECT_TRUE(Has(page, "<a href=\"families/lost.html\">Lost</a>"));
    // Lists are balanced: each category opens one and closes it.
    const auto count = [&](const std::string& part) {
        size_t n = 0;
        for (size_t at = page.find(part); at != std::string::npos; at = page.find(part, at + 1))
            ++n;
        return n;
    };
    EXPECT_EQ(count("<ul>"), count("</ul>"));
    EXPECT_EQ(count("<li"), count("</li>"));
    EXPECT_EQ(count("<li class=\"category\">"), 8u);
}

} // namespace
} // namespace torvex::cli

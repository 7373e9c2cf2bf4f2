#include "FamilyPage.h"

#include "ColumnMapping.h"
#include "FamilyFile.h"
#include "PropertyNames.h"
#include "ResultNames.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/text/DataTypes.h"

#include <unordered_map>

namespace torvex::cli {
namespace {

std::string Property(const CEncapFamily& family, FamilyPropType type) {
    WideString value;
    family.GetFamilyProperty(type, value);
    return Narrow(value);
}

std::string Joined(const std::vector<std::string>& words, const char* separator) {
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : separator) + word;
    return joined;
}

void WritePicture(HtmlWriter& out, const FamilyPage::Picture& picture, const std::string& alt) {
    out.Raw("<img").Attribute("src", picture.href).Attribute("alt", alt);
    if (picture.width && picture.height)
        out.Raw(" width=\"")
            .Number(picture.width)
            .Raw("\" height=\"")
            .Number(picture.height)
            .Raw("\"");
    out.Raw(">");
}

} // namespace

FamilyPage::FamilyPage(CEncapFamily& family) : family_(family) {
    const CEncapFamilyTable& table = *family.GetEncapFamilyTable();
    for (const WideString& id : table.GetAllColumnIDs()) {
        const CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str());
        if (!column)
            continue;
        Column info;
        info.id = id;
        info.idText = Narrow(id);
        WideString text;
        column->GetTitle(text);
        info.title = Narrow(text);
        info.type = Narrow(DataTypes::ItemTypeNum2Str(column->GetDataType()));
        info.unit = Narrow(column->GetUnitTypeRef());
        column->GetFormula(text);
        info.formula = Narrow(text);
        WideString columnwide;
        column->GetXMLNode().GetProperty(L"ColumnwideValue", columnwide);
        info.hasColumnwideValue = !columnwide.empty();
        info.hidden = column->IsHidden();
        columns_.push_back(std::move(info));
    }
    title_ = Property(family, FamilyPropDisplayName);
    if (title_.empty())
        title_ = Property(family, FamilyPropInternalName);
    standard_ = Property(family, FamilyPropStandard);
    manufacturer_ = Property(family, FamilyPropManufacturer);
}

std::string FamilyPage::Style() const {
    // Cell 1 of a row is the member's number; column c is cell c + 2 for nth-child.
    std::string selectors;
    for (size_t c = 0; c < columns_.size(); ++c) {
        if (columns_[c].hidden)
            selectors += std::string(selectors.empty() ? "" : ",") +
                         "#member-table:not(.all) tr>:nth-child(" + std::to_string(c + 2) + ")";
    }
    return selectors.empty() ? selectors : selectors + "{display:none}";
}

size_t FamilyPage::Write(HtmlWriter& out, const DependencyGraph& graph, const Extras& extras,
                         const SiteText& text) {
    out.Raw("<div class=\"intro\">");
    for (const Picture& thumbnail : extras.thumbnails)
        WritePicture(out, thumbnail, text.thumbnail);
    out.Raw("<div>");
    out.Element("h1", title_);
    std::vector<std::string> lead;
    if (!standard_.empty())
        lead.push_back(std::string(text.standard) + " " + standard_);
    if (!manufacturer_.empty())
        lead.push_back(std::string(text.manufacturer) + " " + manufacturer_);
    if (!lead.empty())
        out.Element("p", Joined(lead, " · "), "lead");
    WideString description;
    family_.GetDescription(description);
    if (!description.empty())
        out.Element("p", Narrow(description));
    if (!extras.note.empty())
        out.Element("p", extras.note, "note");
    out.Raw("</div></div>\n");

    const size_t failed = WriteMembers(out, text);
    WriteProperties(out, text);
    WriteColumns(out, text);
    WriteGraph(out, graph, extras, text);
    WriteIcons(out, extras, text);
    return failed;
}

void FamilyPage::WriteProperties(HtmlWriter& out, const SiteText& text) const {
    out.Raw("<section id=\"properties\">")
        .Element("h2", text.properties)
        .Raw("\n<dl class=\"props\">");
    for ([[maybe_unused]] const auto& [type, name, settable] : kFamilyProperties) {
        const std::string value = Property(family_, type);
        if (value.empty())
            continue;
        out.Element("dt", name).Element("dd", value).Raw("\n");
    }
    out.Raw("</dl></section>\n");
}

size_t FamilyPage::WriteMembers(HtmlWriter& out, const SiteText& text) const {
    CEncapFamilyTable& table = *family_.GetEncapFamilyTable();
    const WideStringList& rowIds = table.GetAllRowIDs();
    std::string hiddenCells; // cell indexes of the hidden columns, for the filter
    std::unordered_map<WideString, size_t> position;
    for (size_t c = 0; c < columns_.size(); ++c) {
        position.emplace(columns_[c].id, c);
        if (columns_[c].hidden) {
            if (!hiddenCells.empty())
                hiddenCells += ' ';
            hiddenCells += std::to_string(c + 1);
        }
    }

    out.Raw("<section id=\"members\"><h2>").Text(text.members);
    out.Raw(" <span class=\"count\">").Number(rowIds.size()).Raw("</span></h2>\n");
    out.Raw("<div class=\"tools\"><input type=\"search\" id=\"member-filter\" "
            "data-filter aria-controls=\"member-table\" data-count=\"member-count\"");
    out.Attribute("placeholder", text.filterMembers).Attribute("aria-label", text.filterMembers);
    out.Raw("><output id=\"member-count\" class=\"count\" for=\"member-filter\"></output>");
    if (!hiddenCells.empty()) {
        out.Raw("<label><input type=\"checkbox\" data-show-hidden=\"member-table\"> ");
        out.Text(text.showHidden).Raw("</label>");
    }
    out.Raw("</div>\n<p class=\"legend\"><span class=\"o\">").Text(text.legendOverride);
    out.Raw("</span> <span class=\"f\">")
        .Text(text.legendFailed)
        .Raw("</span> <span class=\"tag\">");
    out.Text(text.suppressed).Raw("</span> ").Text(text.legendSuppressed).Raw("</p>\n");

    out.Raw("<div class=\"scroll\"><table id=\"member-table\" class=\"members\"");
    out.Attribute("data-hidden-columns", hiddenCells).Raw(">\n<thead><tr><th scope=\"col\">#</th>");
    for (const Column& column : columns_) {
        out.Raw("<th scope=\"col\"").Attribute("data-column", column.idText);
        if (!column.title.empty() && column.title != column.idText)
            out.Attribute("title", column.idText);
        out.Raw(">").Text(column.title.empty() ? column.idText : column.title);
        if (!column.unit.empty() && column.unit != "ul")
            out.Raw("<span class=\"unit\">").Text(column.unit).Raw("</span>");
        out.Raw("</th>");
    }
    out.Raw("</tr></thead>\n<tbody>\n");

    size_t failed = 0;
    std::vector<char> own(columns_.size());
    WideString value, name, columnId;
    for (size_t r = 0; r < rowIds.size(); ++r) {
        CEncapFamilyRow* row = table.GetFamilyRowByID(rowIds[r].c_str());
        if (!row)
            continue;
        // Which columns the row has a Cell of its own for: one walk over its children.
        std::fill(own.begin(), own.end(), 0);
        XMLNode child, next;
        for (bool more = row->GetXMLNode().GetFirstChildNode(child); more;
             more = child.GetNextSibling(next), child = next) {
            if (child.GetNodeName(name) && name == L"Cell" &&
                child.GetProperty(L"ColumnId", columnId)) {
                const auto found = position.find(columnId);
                if (found != position.end())
                    own[found->second] = 1;
            }
        }
        const bool suppressed = row->IsSuppressed();
        out.Raw(suppressed ? "<tr class=\"s\"" : "<tr").Attribute("data-id", Narrow(rowIds[r]));
        out.Raw("><td>").Number(r + 1);
        if (suppressed)
            out.Raw(" <span class=\"tag\">").Text(text.suppressed).Raw("</span>");
        out.Raw("</td>");
        for (size_t c = 0; c < columns_.size(); ++c) {
            const auto result = table.GetValue(rowIds[r].c_str(), columns_[c].id.c_str(), value);
            if (!HasValue(result)) {
                ++failed;
                out.Raw("<td class=\"f\">&lt;").Raw(ResultName(result)).Raw("&gt;</td>");
                continue;
            }
            out.Raw(own[c] && columns_[c].hasColumnwideValue ? "<td class=\"o\"" : "<td");
            if (result != CTableEvaluator::EvalOk)
                out.Attribute("title", ResultName(result));
            out.Raw(">").Text(Narrow(value)).Raw("</td>");
        }
        out.Raw("</tr>\n");
    }
    out.Raw("</tbody></table></div></section>\n");
    return failed;
}

void FamilyPage::WriteColumns(HtmlWriter& out, const SiteText& text) const {
    out.Raw("<section id=\"columns\">").Element("h2", text.columns);
    out.Raw("\n<div class=\"scroll\"><table class=\"columns\"><thead><tr>");
    for (const char* heading : {text.column, text.title, text.type, text.unit, text.kind,
                                text.flags, text.formula, text.drives, text.bears})
        out.Raw("<th scope=\"col\">").Text(heading).Raw("</th>");
    out.Raw("</tr></thead>\n<tbody>\n");
    CEncapFamilyTable& table = *family_.GetEncapFamilyTable();
    for (const Column& column : columns_) {
        const CEncapFamilyColumn* familyColumn = table.GetFamilyColumnByID(column.id.c_str());
        const ColumnMapping mapping =
            familyColumn ? DescribeColumn(family_, *familyColumn) : ColumnMapping{};
        out.Raw("<tr><td><code>").Text(column.idText).Raw("</code></td>");
        out.Element("td", column.title).Element("td", column.type).Element("td", column.unit);
        out.Element("td", mapping.kind).Element("td", Joined(mapping.flags, " "));
        out.Raw("<td><code>").Text(column.formula).Raw("</code></td>");
        out.Element("td", DrivenText(mapping));
        out.Element("td", Joined(mapping.categoryParameters, ", ")).Raw("</tr>\n");
    }
    out.Raw("</tbody></table></div></section>\n");
}

void FamilyPage::WriteGraph(HtmlWriter& out, const DependencyGraph& graph, const Extras& extras,
                            const SiteText& text) {
    out.Raw("<section id=\"dependencies\">").Element("h2", text.dependencies).Raw("\n");
    if (graph.EdgeCount() == 0) {
        out.Element("p", text.noDependencies).Raw("</section>\n");
        return;
    }
    if (!extras.graphHref.empty()) {
        out.Raw("<figure class=\"graph\"><img").Attribute("src", extras.graphHref);
        out.Attribute("alt", text.dependencies).Raw("></figure>\n<details><summary>");
        out.Text(text.asList).Raw("</summary>\n");
    }
    out.Raw("<ul class=\"deps\">\n");
    for (const DependencyGraph::Column& column : graph.Columns()) {
        if (column.dependents.empty())
            continue;
        out.Raw("<li><code>").Text(column.id).Raw("</code> ").Text(text.usedBy).Raw(": ");
        for (size_t i = 0; i < column.dependents.size(); ++i)
            out.Raw(i ? ", <code>" : "<code>").Text(column.dependents[i]).Raw("</code>");
        out.Raw("</li>\n");
    }
    out.Raw("</ul>\n");
    if (!extras.graphHref.empty())
        out.Raw("</details>\n");
    out.Raw("</section>\n");
}

void FamilyPage::WriteIcons(HtmlWriter& out, const Extras& extras, const SiteText& text) {
    if (extras.icons.empty())
        return;
    out.Raw("<section id=\"pictures\">").Element("h2", text.pictures);
    out.Raw("\n<div class=\"pictures\">");
    for (const Picture& icon : extras.icons) {
        const std::string size = std::to_string(icon.width) + "×" + std::to_string(icon.height);
        out.Raw("<figure>");
        WritePicture(out, icon, size);
        out.Element("figcaption", size).Raw("</figure>");
    }
    out.Raw("</div></section>\n");
}

void FamilyPage::WriteFailure(HtmlWriter& out, const std::string& title, const std::string& reason,
                              const SiteText& text) {
    out.Element("h1", title);
    out.Raw("<p class=\"failed\">").Text(text.cannotOpen).Raw(" ").Text(reason).Raw("</p>\n");
}

} // namespace torvex::cli

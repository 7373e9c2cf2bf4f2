// torvex site: the catalogue as static web pages, an index per language and a page per family
// and language, with the families evaluated on a few threads.

#include "Commands.h"

#include "DependencyGraph.h"
#include "FamilyPage.h"
#include "GraphvizRenderer.h"
#include "HostProvider.h"
#include "HtmlWriter.h"
#include "IndexPage.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "SiteAssets.h"
#include "SiteLayout.h"
#include "SitePage.h"
#include "TextFile.h"
#include "TocTree.h"
#include "WorkerPool.h"

#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Utf16.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <thread>

namespace torvex::cli {
namespace {

namespace fs = std::filesystem;

bool SameTag(const std::string& a, const std::string& b) {
    return platform::EqualsIgnoringAsciiCase(platform::FromUtf8(a), platform::FromUtf8(b));
}

// A listed family and where its documents are.
struct FamilySource {
    TocTree::Family view;
    fs::path folder;
    std::string familyPath;
    std::vector<std::string> stringPaths; // the family's own first language first
    std::vector<std::string> tags;        // xml:lang of each string document, in that order
    std::string name;                     // of its files in the site (SiteLayout)
};

// FamilyStrings.*.xml of the folder; the one that the family document names under
// FamilyStrings/File goes first, the rest by name.
void FindStringDocuments(FamilySource& family) {
    std::error_code code;
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(family.folder, code)) {
        const std::string name = entry.path().filename().string();
        if (name.size() > 17 && name.rfind("FamilyStrings.", 0) == 0 &&
            name.compare(name.size() - 4, 4, ".xml") == 0 && entry.is_regular_file(code))
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    std::wstring text;
    std::string ignored;
    if (ReadDocument(family.familyPath, text, ignored)) {
        XMLParser document(text.c_str());
        XMLNode file;
        WideString named;
        if (document.GetRootNode().GetChildNode(
                FamilyNames::JoinSteps({FamilyNames::ElemFamilyStrings, FamilyNames::ElemFile})
                    .c_str(),
                file) &&
            file.GetProperty(L"FullFileName", named)) {
            std::string base = Narrow(named);
            std::replace(base.begin(), base.end(), '\\', '/');
            base = base.substr(base.find_last_of('/') + 1);
            const auto first = std::find(names.begin(), names.end(), base);
            if (first != names.end())
                std::rotate(names.begin(), first, first + 1);
        }
    }
    for (const std::string& name : names) {
        const std::string path = (family.folder / name).string();
        std::wstring strings;
        if (!ReadDocument(path, strings, ignored))
            continue;
        family.stringPaths.push_back(path);
        family.tags.push_back(Narrow(LanguageOf(strings)));
    }
}

// The site's languages: those asked for (each once), else every language of the families, in
// the order of the families and of each family's own.
std::vector<std::string> SiteLanguages(const std::vector<std::string>& asked,
                                       const std::vector<FamilySource>& families) {
    std::vector<std::string> languages;
    const auto add = [&](const std::string& tag) {
        if (tag.empty())
            return;
        for (const std::string& known : languages)
            if (SameTag(known, tag))
                return;
        languages.push_back(tag);
    };
    if (!asked.empty()) {
        for (const std::string& tag : asked)
            add(tag);
        return languages;
    }
    for (const FamilySource& family : families)
        for (const std::string& tag : family.tags)
            add(tag);
    if (languages.empty())
        languages.push_back("en");
    return languages;
}

struct UnitResult {
    bool opened = false;
    bool written = false;
    IndexPage::Entry entry;
    size_t members = 0;
    size_t failedCells = 0;
    std::string error;                 // why the family did not open
    std::vector<std::string> messages; // lines for standard error
};

class SiteBuilder {
public:
    SiteBuilder(const SiteOptions& options, fs::path output, SiteLayout& layout,
                std::vector<FamilySource>& families)
        : options_(options), output_(std::move(output)), layout_(layout), families_(families) {}

    void WriteUnit(size_t family, size_t language, UnitResult& result) const;

private:
    std::vector<FamilyPage::Picture> Pictures(const FamilySource& source,
                                              const std::vector<fs::path>& files, bool write,
                                              const std::string& prefix, UnitResult& result) const;
    std::vector<fs::path> IconFiles(const FamilySource& source) const;
    fs::path ThumbnailFile(const FamilySource& source, CEncapFamily& family) const;
    SitePage::Head Head(const FamilySource& source, size_t language) const;

    const SiteOptions& options_;
    fs::path output_;
    SiteLayout& layout_;
    std::vector<FamilySource>& families_;
    GraphvizRenderer graphviz_;
};

SitePage::Head SiteBuilder::Head(const FamilySource& source, size_t language) const {
    SitePage::Head head;
    head.language = layout_.Languages()[language];
    head.assets = "../assets/";
    head.homeHref = "../" + layout_.IndexFile(language);
    head.current = language;
    for (size_t l = 0; l < layout_.Languages().size(); ++l)
        head.languages.push_back({layout_.Languages()[l], layout_.FamilyFile(source.name, l)});
    return head;
}

fs::path SiteBuilder::ThumbnailFile(const FamilySource& source, CEncapFamily& family) const {
    WideString named;
    family.GetThumbnailPath(named);
    std::string path = Narrow(named);
    if (path.empty())
        return fs::path();
    // Written as the catalogue's authors wrote it, often relative and with '\'.
    std::replace(path.begin(), path.end(), '\\', '/');
    fs::path file = fs::path(path).is_absolute() ? fs::path(path) : source.folder / path;
    std::error_code code;
    if (!fs::exists(file, code))
        file = source.folder / fs::path(path).filename();
    return file;
}

std::vector<fs::path> SiteBuilder::IconFiles(const FamilySource& source) const {
    std::vector<fs::path> files;
    std::error_code code;
    for (const fs::directory_entry& entry : fs::directory_iterator(source.folder, code)) {
        std::string extension = entry.path().extension().string();
        std::transform(extension.begin(), extension.end(), extension.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (extension == ".ico" && entry.is_regular_file(code))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The pictures of the files as PNG files named <prefix>-<n>.png in the family's folder of the
// site; written only when `write` (one language's page writes them, the others link to them).
std::vector<FamilyPage::Picture> SiteBuilder::Pictures(const FamilySource& source,
                                                       const std::vector<fs::path>& files,
                                                       bool write, const std::string& prefix,
                                                       UnitResult& result) const {
    std::vector<FamilyPage::Picture> pictures;
    for (const fs::path& file : files) {
        std::vector<HICON> decoded;
        std::string error;
        if (!PictureFile::Read(file.string(), decoded, error)) {
            if (write)
                result.messages.push_back("torvex: " + source.familyPath + ": " + error);
            continue;
        }
        for (const HICON& picture : decoded) {
            const std::string name = prefix + "-" + std::to_string(pictures.size() + 1) + ".png";
            if (write) {
                std::error_code code;
                fs::create_directories(output_ / "families" / source.name, code);
                const std::string path = (output_ / "families" / source.name / name).string();
                if (!PictureFile::WritePng(*picture, path, error)) {
                    result.messages.push_back("torvex: " + error);
                    continue;
                }
            }
            pictures.push_back({source.name + "/" + name, picture->width, picture->height});
        }
    }
    return pictures;
}

void SiteBuilder::WriteUnit(size_t index, size_t language, UnitResult& result) const {
    const FamilySource& source = families_[index];
    const std::string& tag = layout_.Languages()[language];
    const SiteText& text = SiteText::For(tag);
    const std::string pagePath =
        (output_ / "families" / layout_.FamilyFile(source.name, language)).string();
    result.entry.href = "families/" + layout_.FamilyFile(source.name, language);
    result.entry.name = source.view.Title();
    result.entry.standard = source.view.standard.value_or("");
    result.entry.manufacturer = source.view.manufacturer.value_or("");

    FamilyInput input;
    input.familyPath = source.familyPath;
    input.stringPaths = source.stringPaths;
    for (const std::string& known : source.tags)
        if (SameTag(known, tag))
            input.language = known;
    std::string error;
    std::ostream quiet(nullptr); // the materials table's complaints were reported once already
    auto provider = MakeUnitsProvider(options_.materials, quiet, error);
    auto family = provider ? OpenFamily(input, std::move(provider), error) : nullptr;

    OutputFile file(pagePath);
    if (!file.IsOpen()) {
        result.messages.push_back("torvex: " + file.Error());
        return;
    }
    HtmlWriter out(file.Stream());
    SitePage::Head head = Head(source, language);
    if (!family) {
        result.error = error;
        result.entry.failed = true;
        result.messages.push_back("torvex: " + source.view.Title() + ": " + error);
        head.title = source.view.Title();
        SitePage::Begin(out, head, text);
        FamilyPage::WriteFailure(out, source.view.Title(), error, text);
        SitePage::End(out, text);
    } else {
        result.opened = true;
        FamilyPage page(*family);
        const DependencyGraph graph(*family->GetEncapFamilyTable());
        FamilyPage::Extras extras;
        const bool writesPictures = language == 0;
        const fs::path thumbnail = ThumbnailFile(source, *family);
        if (!thumbnail.empty()) {
            auto pictures = Pictures(source, {thumbnail}, writesPictures, "thumbnail", result);
            // The largest image of an icon file stands for the family.
            if (!pictures.empty())
                extras.thumbnails.push_back(*std::max_element(
                    pictures.begin(), pictures.end(), [](const auto& a, const auto& b) {
                        return uint64_t(a.width) * a.height < uint64_t(b.width) * b.height;
                    }));
        }
        extras.icons = Pictures(source, IconFiles(source), writesPictures, "icon", result);
        if (graphviz_.Available() && graph.EdgeCount()) {
            std::ostringstream dot;
            graph.WriteDot(page.Title(), dot);
            const std::string svg =
                "graph" + (language ? "." + SiteLayout::Clean(tag) : "") + ".svg";
            std::error_code code;
            fs::create_directories(output_ / "families" / source.name, code);
            if (graphviz_.RenderSvg(dot.str(), (output_ / "families" / source.name / svg).string(),
                                    error))
                extras.graphHref = source.name + "/" + svg;
            else
                result.messages.push_back("torvex: " + source.view.Title() +
                                          ": the dependency graph is shown as a list: " + error);
        }
        WideString actual;
        family->GetActualLanguage(actual);
        if (input.language.empty() && !actual.empty())
            extras.note = std::string(text.shownIn) + " " + Narrow(actual) + ".";

        head.title = page.Title();
        head.style = page.Style();
        SitePage::Begin(out, head, text);
        result.failedCells = page.Write(out, graph, extras, text);
        SitePage::End(out, text);
        result.members = family->GetEncapFamilyTable()->GetRowsCount();
        result.entry.name = page.Title();
        if (result.entry.standard.empty())
            result.entry.standard = page.Standard();
        if (result.entry.manufacturer.empty())
            result.entry.manufacturer = page.Manufacturer();
    }
    if (file.Commit())
        result.written = true;
    else
        result.messages.push_back("torvex: " + file.Error());
}

bool WriteAsset(const fs::path& path, std::string_view content, std::ostream& err) {
    OutputFile file(path.string());
    if (file.IsOpen())
        file.Stream().write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.Commit()) {
        err << "torvex: " << file.Error() << '\n';
        return false;
    }
    return true;
}

} // namespace

int RunSite(const SiteOptions& options, std::ostream& out, std::ostream& err) {
    if (options.format != "text" && options.format != "json") {
        err << "torvex: unknown format " << options.format << " (text or json)\n";
        return kExitUsage;
    }
    if (options.outputDir.empty()) {
        err << "torvex: name the folder to write the site to with -o\n";
        return kExitUsage;
    }
    std::error_code code;
    const fs::path catalogue = options.catalogueDir;
    if (!fs::is_directory(catalogue, code)) {
        err << "torvex: cannot read " << options.catalogueDir << ": not a directory\n";
        return kExitFailed;
    }
    TocTree tree;
    std::string error;
    if (!tree.Load((catalogue / "toc.xml").string(), error)) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    if (!options.materials.empty() && !MakeUnitsProvider(options.materials, err, error)) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }

    std::vector<FamilySource> families;
    for (const WideString& id : tree.ListedFamilies()) {
        FamilySource family;
        family.view = tree.ViewFamily(id);
        family.folder = catalogue / family.view.Folder();
        family.familyPath = (family.folder / "Family.xml").string();
        families.push_back(std::move(family));
    }
    const size_t jobs =
        options.jobs ? options.jobs : std::max(1u, std::thread::hardware_concurrency());
    WorkerPool::Run(jobs, families.size(), [&](size_t f) { FindStringDocuments(families[f]); });
    SiteLayout layout(SiteLanguages(options.languages, families));
    for (FamilySource& family : families)
        family.name = layout.AddFamily(family.view.Folder());
    for (const std::string& tag : layout.Languages()) {
        const bool anyHas = std::any_of(families.begin(), families.end(), [&](const auto& f) {
            return std::any_of(f.tags.begin(), f.tags.end(),
                               [&](const std::string& t) { return SameTag(t, tag); });
        });
        if (!anyHas && !families.empty())
            err << "torvex: no family has texts in " << tag
                << "; its pages show each family's first language\n";
    }

    const fs::path output = options.outputDir;
    fs::create_directories(output / "assets", code);
    if (!code)
        fs::create_directories(output / "families", code);
    if (code) {
        err << "torvex: cannot write " << options.outputDir << ": " << code.message() << '\n';
        return kExitFailed;
    }
    bool writeFailed = !WriteAsset(output / "assets" / "site.css", SiteAssets::StyleSheet(), err) ||
                       !WriteAsset(output / "assets" / "site.js", SiteAssets::Script(), err);

    const size_t languages = layout.Languages().size();
    std::vector<UnitResult> results(families.size() * languages);
    SiteBuilder builder(options, output, layout, families);
    WorkerPool::Run(jobs, results.size(), [&](size_t unit) {
        builder.WriteUnit(unit / languages, unit % languages, results[unit]);
    });

    size_t pages = 0, failedCells = 0;
    std::vector<size_t> failedFamilies;
    for (size_t f = 0; f < families.size(); ++f) {
        bool failed = false;
        std::vector<std::string> said; // a family that fails, fails alike in every language
        for (size_t l = 0; l < languages; ++l) {
            const UnitResult& result = results[f * languages + l];
            for (const std::string& message : result.messages) {
                if (std::find(said.begin(), said.end(), message) == said.end())
                    err << message << '\n';
                said.push_back(message);
            }
            pages += result.written;
            writeFailed |= !result.written;
            failed |= !result.opened;
            if (l == 0)
                failedCells += result.failedCells;
        }
        if (failed)
            failedFamilies.push_back(f);
    }

    // The index in each language, without hidden categories; listed families that no shown
    // category holds are gathered at the end.
    const std::vector<TocTree::Event> events = tree.Walk(true);
    std::vector<std::string> others;
    for (const FamilySource& family : families) {
        const bool shown = std::any_of(events.begin(), events.end(), [&](const auto& event) {
            return event.kind == TocTree::Event::Family &&
                   event.family.internalName == family.view.internalName;
        });
        if (!shown)
            others.push_back(family.view.internalName);
    }
    for (size_t l = 0; l < languages; ++l) {
        const std::string& tag = layout.Languages()[l];
        const SiteText& text = SiteText::For(tag);
        std::map<std::string, IndexPage::Entry> entries;
        for (size_t f = 0; f < families.size(); ++f)
            entries[families[f].view.internalName] = results[f * languages + l].entry;
        SitePage::Head head;
        head.language = tag;
        head.title = text.catalogue;
        head.assets = "assets/";
        head.homeHref = layout.IndexFile(l);
        head.current = l;
        for (size_t k = 0; k < languages; ++k)
            head.languages.push_back({layout.Languages()[k], layout.IndexFile(k)});
        OutputFile file((output / layout.IndexFile(l)).string());
        if (file.IsOpen()) {
            HtmlWriter html(file.Stream());
            SitePage::Begin(html, head, text);
            IndexPage::Write(html, events, entries, others, text);
            SitePage::End(html, text);
        }
        if (file.Commit()) {
            ++pages;
        } else {
            err << "torvex: " << file.Error() << '\n';
            writeFailed = true;
        }
    }

    if (options.format == "json") {
        nlohmann::ordered_json failed = nlohmann::ordered_json::array();
        for (size_t f : failedFamilies) {
            const UnitResult& result = results[f * languages];
            failed.push_back({{"family", families[f].view.Title()},
                              {"folder", families[f].view.Folder()},
                              {"error", result.error}});
        }
        out << nlohmann::ordered_json{{"output", options.outputDir},
                                      {"languages", layout.Languages()},
                                      {"families", families.size()},
                                      {"pages", pages},
                                      {"familiesFailed", failedFamilies.size()},
                                      {"failed", failed},
                                      {"cellsFailed", failedCells}}
                   .dump(2)
            << '\n';
    } else {
        out << pages << (pages == 1 ? " page" : " pages") << " written to " << options.outputDir
            << " (" << families.size() << (families.size() == 1 ? " family" : " families") << " in "
            << languages << (languages == 1 ? " language" : " languages") << "), "
            << failedFamilies.size() << (failedFamilies.size() == 1 ? " family" : " families")
            << " failed";
        if (failedCells)
            out << ", " << failedCells << (failedCells == 1 ? " cell" : " cells")
                << " failed to evaluate";
        out << '\n';
    }
    return failedFamilies.empty() && !writeFailed ? kExitOk : kExitFailed;
}

} // namespace torvex::cli

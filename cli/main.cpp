// torvex: opens, shows and evaluates families of a catalogue of standard parts.

#include "Commands.h"
#include "IconCommand.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>
#include <vector>

namespace {

void AddFamilyOptions(CLI::App* command, torvex::cli::FamilyInput& input, bool language) {
    command->add_option("family", input.familyPath, "Family document (XML)")->required();
    command->add_option("--strings,-s", input.stringPaths,
                        "String document of one language (repeatable; the first is the actual "
                        "language unless --lang says otherwise)");
    if (language)
        command->add_option("--lang,-l", input.language,
                            "Language tag whose string document is the actual language");
}

// The families of table and check: one family document as for the other commands, or several
// documents and folders, run on the threads of -j.
void AddBatchOptions(CLI::App* command, std::vector<std::string>& families,
                     torvex::cli::FamilyInput& input, unsigned& jobs, bool language) {
    command
        ->add_option("family", families,
                     "Family document (XML); or several, or folders: a folder stands for every "
                     "Family.xml below it. With several families or a folder, each family opens "
                     "the string documents beside it (FamilyStrings.<LANG>.xml, the one its "
                     "FamilyStrings/File names first) and is named in the output; families run "
                     "on several threads and print in the order given")
        ->required();
    command->add_option("--strings,-s", input.stringPaths,
                        "String document of one language (repeatable; the first is the actual "
                        "language unless --lang says otherwise); with one family document only");
    if (language)
        command->add_option("--lang,-l", input.language,
                            "Language tag whose string document is the actual language");
    command
        ->add_option("--jobs,-j", jobs,
                     "Families run at once on their own threads (default: the number of cores)")
        ->check(CLI::PositiveNumber);
}

// --localize, for the commands that evaluate (torvex edit reads it among its own words).
void AddLocalizeOption(CLI::App* command, torvex::cli::FamilyInput& input) {
    command->add_flag("--localize", input.localize,
                      "Open the family to localize its decimal separator: numbers are read and "
                      "written with the separator of the user's locale (LC_ALL, LC_NUMERIC, LANG)");
}

} // namespace

int main(int argc, char** argv) {
    using namespace torvex::cli;
    CLI::App app{"torvex: open, show and evaluate families of a catalogue of standard parts"};
    app.require_subcommand(1);
    app.footer("Exit codes: 0 success; 1 a file cannot be read, a document does not open or "
               "(check) a formula has a problem or (toc --families) a family document is "
               "missing or (site) a family does not open or (edit) an action is refused or the "
               "save fails; 2 usage error; 3 (table) a cell failed to evaluate. With several "
               "families (table, check): 1 when one of them gives 1, else 3 when one gives 3.");

    ShowOptions show;
    CLI::App* showCommand =
        app.add_subcommand("show", "Print a family's columns and its rows with raw cell values");
    AddFamilyOptions(showCommand, show.input, true);
    showCommand->add_option("--width,-w", show.width,
                            "Width of the output in characters (default: the terminal's)");

    TableOptions table;
    CLI::App* tableCommand = app.add_subcommand(
        "table", "Print a family's rows with every cell evaluated by the reference host");
    AddBatchOptions(tableCommand, table.families, table.input, table.jobs, true);
    AddLocalizeOption(tableCommand, table.input);
    tableCommand
        ->add_option("--format,-f", table.format,
                     "Output format (csv: one family only; json: an array of the families' "
                     "results with several)")
        ->check(CLI::IsMember({"text", "csv", "json"}));
    tableCommand->add_flag("--raw", table.raw, "Raw cell texts instead of evaluated values");
    tableCommand->add_option("--materials,-m", table.materials,
                             "Materials table for material names (see examples/materials.tsv)");
    tableCommand->add_option("--width,-w", table.width,
                             "Width of text output in characters (default: the terminal's)");

    CheckOptions check;
    CLI::App* checkCommand =
        app.add_subcommand("check", "Check every column formula; report each problem");
    AddBatchOptions(checkCommand, check.families, check.input, check.jobs, false);
    AddLocalizeOption(checkCommand, check.input);
    checkCommand
        ->add_option("--format,-f", check.format,
                     "Output format (json: an array of the families' results with several)")
        ->check(CLI::IsMember({"text", "json"}));

    checkCommand->add_flag("--repair", check.repair,
                           "Remove the cells that no longer fit their column's type (the row then "
                           "shows the column's formula), then save; needs --in-place or --output; "
                           "one family document only");
    checkCommand->add_flag("--in-place", check.inPlace, "With --repair: save over the family");
    checkCommand->add_option("--output,-o", check.output,
                             "With --repair: save the family document to this file");

    // The actions of edit are ordered and some take several words, so its words are read by
    // ParseEditArguments.
    EditOptions edit;
    CLI::App* editCommand = app.add_subcommand(
        "edit", "Apply actions to a family's table and properties, checking each, and save");
    editCommand->allow_extras();
    editCommand->footer(
        "Usage: torvex edit FAMILY.xml [--strings FILE]... [--localize] ACTION... "
        "(--output FILE | --in-place)\n"
        "Actions, applied in order (ROW: a row id or its number as torvex table prints it; "
        "INDEX: a 1-based place):\n"
        "  --set ROW COLUMN VALUE      write a cell (an empty VALUE removes it)\n"
        "  --formula COLUMN FORMULA    set a column's formula (empty: none)\n"
        "  --insert-row [INDEX]        add a row (at the end without INDEX)\n"
        "  --copy-row ROW              append a copy of a row\n"
        "  --delete-row ROW\n"
        "  --add-column ID             append a column\n"
        "  --duplicate-column SOURCE NEW\n"
        "  --delete-column ID\n"
        "  --move-row ROW INDEX\n"
        "  --move-column ID INDEX\n"
        "  --set-property NAME VALUE   DisplayName, Description, Standard, StandardsOrg, "
        "Manufacturer, StandardRevision, FamilyRevision, FolderName, RevisionId, ThumbnailPath\n"
        "  --bind COLUMN KEY SUB-OBJECT TYPE  drive a host property (TYPE: 0-7 or a name such as "
        "kPropertyObject; sub-object Visible or Suppressed makes it a feature flag)\n"
        "  --unbind COLUMN             drive no host property\n"
        "  --geometry COLUMN on|off    make the column drive a user parameter in every template, "
        "or "
        "release it\n"
        "  --category-param COLUMN CATEGORY PARAMETER  make the column bear a category parameter\n"
        "  --link SOURCE.xml [--inactive]  link to the family this one was copied from, "
        "remembering every member's source revision\n"
        "  --unlink                    remove the link and the source revisions\n"
        "A refused action names action, cell and reason, exits 1 and writes nothing. Each file is "
        "written beside its target and renamed over it; the family document keeps its "
        "encoding, string files are written only when an action changed them.");

    GraphOptions graph;
    CLI::App* graphCommand = app.add_subcommand(
        "graph", "Print the column dependency graph in Graphviz DOT (render with dot -Tsvg)");
    AddFamilyOptions(graphCommand, graph.input, false);

    PropsOptions props;
    CLI::App* propsCommand = app.add_subcommand(
        "props", "Print a family's properties and its category parameter constants in the "
                 "actual language");
    AddFamilyOptions(propsCommand, props.input, true);
    propsCommand->add_option("--format,-f", props.format, "Output format")
        ->check(CLI::IsMember({"text", "json"}));
    propsCommand->add_option("--width,-w", props.width,
                             "Width of text output in characters (default: the terminal's)");

    ExportOptions exportOptions;
    CLI::App* exportCommand = app.add_subcommand(
        "export", "Write a family's table as XML: as it stands, with every cell evaluated "
                  "(--evaluated), or the family merged with its string documents (--merged)");
    AddFamilyOptions(exportCommand, exportOptions.input, true);
    AddLocalizeOption(exportCommand, exportOptions.input);
    exportCommand->add_flag("--evaluated", exportOptions.evaluated,
                            "Every cell holds its value in the actual language; cells that fail "
                            "keep their raw text or stay absent");
    exportCommand->add_flag("--merged", exportOptions.merged,
                            "The family document with every string document below its root and "
                            "no reference to string files");
    exportCommand->add_option("--materials,-m", exportOptions.materials,
                              "Materials table for material names (see examples/materials.tsv)");
    exportCommand->add_option("--output,-o", exportOptions.output,
                              "Write to FILE (beside it first, then renamed over it) instead of "
                              "standard output");

    DiffRevisionsOptions diff;
    CLI::App* diffCommand = app.add_subcommand(
        "diff-revisions", "List the members of a linked copy that changed at its source since the "
                          "link was made (SOURCE_MEMBER_REVISION against the source's "
                          "MEMBER_REVISION)");
    diffCommand->add_option("copy", diff.copyPath, "The linked copy (family XML)")->required();
    diffCommand->add_option("source", diff.sourcePath, "Its source family (XML)")->required();
    diffCommand->add_option("--format,-f", diff.format, "Output format")
        ->check(CLI::IsMember({"text", "json"}));
    diffCommand->add_option("--width,-w", diff.width,
                            "Width of text output in characters (default: the terminal's)");

    MappingOptions mapping;
    CLI::App* mappingCommand = app.add_subcommand(
        "mapping", "Print a family's templates with their parameter trees, and what each column "
                   "drives and bears");
    AddFamilyOptions(mappingCommand, mapping.input, false);
    mappingCommand->add_option("--format,-f", mapping.format, "Output format")
        ->check(CLI::IsMember({"text", "json"}));
    mappingCommand->add_option("--width,-w", mapping.width,
                               "Width of text output in characters (default: the terminal's)");

    TocOptions toc;
    CLI::App* tocCommand = app.add_subcommand(
        "toc", "Print a catalogue's category tree with the families in each category");
    tocCommand->add_option("toc", toc.tocPath, "Table of contents (XML)")->required();
    tocCommand->add_option("--format,-f", toc.format, "Output format")
        ->check(CLI::IsMember({"text", "json"}));
    tocCommand->add_flag("--skip-hidden", toc.skipHidden,
                         "Leave hidden categories out (a visible subcategory of a hidden one "
                         "takes its place)");
    tocCommand->add_option("--family", toc.family,
                           "Print the path of categories of this family (InternalName or "
                           "DisplayName) instead of the tree");
    tocCommand
        ->add_option("--families", toc.familiesDir,
                     "Also say which listed families have a family document in DIR: "
                     "DIR/<FolderName>/Family.xml (the InternalName when there is no "
                     "FolderName) whose root has the family's InternalName")
        ->option_text("DIR");

    IconOptions icon;
    CLI::App* iconCommand = AddIconCommand(app, icon);

    SiteOptions site;
    CLI::App* siteCommand = app.add_subcommand(
        "site", "Write the catalogue as static web pages: an index of its categories and "
                "families, and a page per family and language with every member evaluated");
    siteCommand
        ->add_option("catalogue", site.catalogueDir,
                     "Folder holding toc.xml and a folder per family (<FolderName>/"
                     "Family.xml with its FamilyStrings.<LANGUAGE>.xml)")
        ->required();
    siteCommand->add_option("--output,-o", site.outputDir, "Folder to write the site to")
        ->required();
    siteCommand->add_option("--lang,-l", site.languages,
                            "A language of the site (repeatable; the first is the default; "
                            "default: every language the families have)");
    siteCommand->add_option("--materials,-m", site.materials,
                            "Materials table for material names (see examples/materials.tsv)");
    siteCommand
        ->add_option("--jobs,-j", site.jobs, "Families evaluated at once (default: one per core)")
        ->check(CLI::Range(size_t(1), size_t(256)));
    siteCommand->add_option("--format,-f", site.format, "Format of the summary")
        ->check(CLI::IsMember({"text", "json"}));
    siteCommand->footer(
        "Writes index.html (and index.<LANGUAGE>.html), assets/ and families/ into the output "
        "folder; pages work from disk without a network. A family whose documents do not open "
        "gets a page that says why; the exit code is then 1. The dependency graph is drawn "
        "as SVG when Graphviz's dot is installed, else listed. A family's thumbnail "
        "(Thumbnail/File) and the .ico files of its folder are shown as PNG.");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // Help is no error; every other word the parser refuses is a usage error.
        return app.exit(e) == 0 ? kExitOk : kExitUsage;
    }

    try {
        if (showCommand->parsed())
            return RunShow(show, std::cout, std::cerr);
        if (tableCommand->parsed())
            return RunTable(table, std::cout, std::cerr);
        if (checkCommand->parsed())
            return RunCheck(check, std::cout, std::cerr);
        if (editCommand->parsed()) {
            std::string error;
            if (!ParseEditArguments(editCommand->remaining(), edit, error)) {
                std::cerr << "torvex edit: " << error << " (see torvex edit --help)\n";
                return kExitUsage;
            }
            return RunEdit(edit, std::cout, std::cerr);
        }
        if (graphCommand->parsed())
            return RunGraph(graph, std::cout, std::cerr);
        if (propsCommand->parsed())
            return RunProps(props, std::cout, std::cerr);
        if (exportCommand->parsed())
            return RunExport(exportOptions, std::cout, std::cerr);
        if (diffCommand->parsed())
            return RunDiffRevisions(diff, std::cout, std::cerr);
        if (mappingCommand->parsed())
            return RunMapping(mapping, std::cout, std::cerr);
        if (tocCommand->parsed())
            return RunToc(toc, std::cout, std::cerr);
        if (iconCommand->parsed())
            return RunIcon(icon, std::cout, std::cerr);
        if (siteCommand->parsed())
            return RunSite(site, std::cout, std::cerr);
    } catch (const std::exception& e) {
        std::cerr << "torvex: " << e.what() << '\n';
        return kExitFailed;
    }
    return kExitOk;
}

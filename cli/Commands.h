#pragma once
// The commands of the torvex tool. Each writes its result to `out` and one-line messages to
// `err`, and returns the process exit code:
//   0 success; 1 a file cannot be read, a document does not open, (check) a formula has a
//   problem or (toc --families) a family document is missing; 2 a usage error; 3 (table) at
//   least one cell failed to evaluate. With several families: 1 when one of them gives 1, else
//   3 when one gives 3.

#include "FamilyFile.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace torvex::cli {

enum ExitCode : int { kExitOk = 0, kExitFailed = 1, kExitUsage = 2, kExitCellsFailed = 3 };

struct ShowOptions {
    FamilyInput input;
    size_t width = 0; // 0: the terminal's width
};

struct TableOptions {
    // Family documents and folders (FamilyBatch.h); empty: the one family of input.familyPath.
    std::vector<std::string> families;
    FamilyInput input;           // strings, language and localize; the path of one family
    std::string format = "text"; // text, csv or json
    bool raw = false;            // raw cell texts instead of evaluated values
    std::string materials;       // materials table for the provider; empty: none
    size_t width = 0;            // 0: the terminal's width
    unsigned jobs = 0;           // families evaluated at once; 0: the number of cores
};

struct CheckOptions {
    // Family documents and folders (FamilyBatch.h); empty: the one family of input.familyPath.
    std::vector<std::string> families;
    FamilyInput input;
    std::string format = "text"; // text or json
    bool repair = false;         // repair every column whose cells no longer fit its type
    bool inPlace = false;        // with repair: save over the family's own files
    std::string output;          // with repair: save the family document here instead
    unsigned jobs = 0;           // families checked at once; 0: the number of cores
};

/// One action of `torvex edit`: its option (e.g. "--set") and its arguments.
struct EditAction {
    std::string name;
    std::vector<std::string> arguments;
    bool inactive = false; // --link: the link is made inactive (--inactive after it)
};

struct EditOptions {
    FamilyInput input;
    std::vector<EditAction> actions; // in the order given
    std::string output;              // save the family document here
    bool inPlace = false;            // save over the family's own files
};

struct GraphOptions {
    FamilyInput input;
};

struct PropsOptions {
    FamilyInput input;
    std::string format = "text"; // text or json
    size_t width = 0;            // 0: the terminal's width
};

struct ExportOptions {
    FamilyInput input;
    bool evaluated = false; // every cell evaluated
    bool merged = false;    // the family with its string documents in one document
    std::string materials;  // materials table for the provider; empty: none
    std::string output;     // empty: standard output
};

struct DiffRevisionsOptions {
    std::string copyPath;
    std::string sourcePath;
    std::string format = "text"; // text or json
    size_t width = 0;            // 0: the terminal's width
};

struct MappingOptions {
    FamilyInput input;
    std::string format = "text"; // text or json
    size_t width = 0;            // 0: the terminal's width
};

struct TocOptions {
    std::string tocPath;
    std::string format = "text"; // text or json
    bool skipHidden = false;     // leave hidden categories out
    std::string family;          // print this family's categories instead of the tree
    std::string familiesDir;     // also check which listed families have a document here
};

struct SiteOptions {
    std::string catalogueDir;           // holds toc.xml and a folder per family
    std::string outputDir;              // where the pages go
    std::vector<std::string> languages; // the site's languages, the first the default; empty: all
    std::string materials;              // materials table for the provider; empty: none
    size_t jobs = 0;                    // families evaluated at once; 0: one per core
    std::string format = "text";        // of the summary: text or json
};

/// `torvex show`: columns and raw rows. 0, or 1 when the family does not open.
int RunShow(const ShowOptions& options, std::ostream& out, std::ostream& err);
/// `torvex table`: every cell evaluated, of one family or of several in the order given. 0, 1
/// when a family does not open, else 3 when a cell failed; 2 for csv or --strings with several.
int RunTable(const TableOptions& options, std::ostream& out, std::ostream& err);
/// `torvex check`: every column formula checked and every row's values against their column, of
/// one family or of several in the order given. 0, or 1 when a family does not open, a formula
/// or a row has a problem, or (--repair) the save fails; 2 for --repair or --strings with
/// several families.
int RunCheck(const CheckOptions& options, std::ostream& out, std::ostream& err);
/// `torvex edit`: reads the words after "edit" (family, --strings, --localize, actions,
/// --output or --in-place); false with a one-line message in `error` for a usage error.
bool ParseEditArguments(const std::vector<std::string>& words, EditOptions& options,
                        std::string& error);
/// `torvex edit`: applies the actions in order and saves. 0, or 1 when the family does not
/// open, an action is refused (nothing is written then) or the save fails (the old files stay
/// whole).
int RunEdit(const EditOptions& options, std::ostream& out, std::ostream& err);
/// `torvex graph`: the column dependency graph as Graphviz DOT. 0, or 1 when the family does
/// not open.
int RunGraph(const GraphOptions& options, std::ostream& out, std::ostream& err);
/// `torvex props`: every family property and the category parameter constants in the actual
/// language. 0, or 1 when the family does not open.
int RunProps(const PropsOptions& options, std::ostream& out, std::ostream& err);
/// `torvex export`: the table as XML (as it stands, or evaluated), or the merged family. 0, 1
/// when the family does not open or can't be exported or written, 2 for both --evaluated and
/// --merged.
int RunExport(const ExportOptions& options, std::ostream& out, std::ostream& err);
/// `torvex diff-revisions`: the members of a linked copy that changed at the source since the
/// link. 0, or 1 when a family does not open or the copy is not linked.
int RunDiffRevisions(const DiffRevisionsOptions& options, std::ostream& out, std::ostream& err);
/// `torvex mapping`: templates with their parameter trees and what each column drives. 0, or 1
/// when the family does not open.
int RunMapping(const MappingOptions& options, std::ostream& out, std::ostream& err);
/// `torvex toc`: a table of contents' category tree, or one family's categories. 0, or 1 when
/// the document does not open, the family is unknown or (--families) a listed family has no
/// family document.
int RunToc(const TocOptions& options, std::ostream& out, std::ostream& err);

/// `torvex site`: a static web catalogue, an index per language and a page per family and
/// language. 0, 1 when the catalogue can't be read, a page can't be written or a family does
/// not open (its page then says why and the rest is written), 2 for a usage error.
int RunSite(const SiteOptions& options, std::ostream& out, std::ostream& err);

} // namespace torvex::cli

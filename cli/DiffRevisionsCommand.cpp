// torvex diff-revisions: the members of a linked copy whose recorded source revision differs from
// the source family's revision now, that is the members that changed at the source since the
// link was made.

#include "Commands.h"

#include "FamilyFile.h"
#include "NoExpressionProvider.h"
#include "TablePrinter.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"

#include <nlohmann/json.hpp>

namespace torvex::cli {
namespace {

struct Changed {
    size_t number = 0; // 1-based, as torvex table prints rows
    std::string rowId;
    std::string recorded; // SOURCE_MEMBER_REVISION of the copy
    std::string current;  // MEMBER_REVISION of the source; empty when the source lacks the row
    bool missing = false; // the source has no member of that id
};

std::string Cell(CEncapFamilyTable& table, const WideString& rowId, const wchar_t* column) {
    WideString value;
    table.GetValue(rowId.c_str(), column, value);
    return Narrow(value);
}

} // namespace

int RunDiffRevisions(const DiffRevisionsOptions& options, std::ostream& out, std::ostream& err) {
    std::string error;
    FamilyInput copyInput;
    copyInput.familyPath = options.copyPath;
    auto copy = OpenFamily(copyInput, std::make_unique<NoExpressionProvider>(), error);
    if (!copy) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    FamilyInput sourceInput;
    sourceInput.familyPath = options.sourcePath;
    auto source = OpenFamily(sourceInput, std::make_unique<NoExpressionProvider>(), error);
    if (!source) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    CEncapFamilyTable& copied = *copy->GetEncapFamilyTable();
    CEncapFamilyTable& original = *source->GetEncapFamilyTable();
    if (!copied.GetFamilyColumnByID(FamilyNames::ColSourceMemberRevision)) {
        err << "torvex: " << options.copyPath
            << " is not linked to a source (it has no SOURCE_MEMBER_REVISION column)\n";
        return kExitFailed;
    }
    if (!original.GetFamilyColumnByID(FamilyNames::ColMemberRevision)) {
        err << "torvex: " << options.sourcePath << " has no MEMBER_REVISION column\n";
        return kExitFailed;
    }

    std::vector<Changed> changed;
    const WideStringList& rowIds = copied.GetAllRowIDs();
    for (size_t i = 0; i < rowIds.size(); ++i) {
        Changed member;
        member.number = i + 1;
        member.rowId = Narrow(rowIds[i]);
        member.recorded = Cell(copied, rowIds[i], FamilyNames::ColSourceMemberRevision);
        member.missing = !original.GetFamilyRowByID(rowIds[i].c_str());
        if (!member.missing)
            member.current = Cell(original, rowIds[i], FamilyNames::ColMemberRevision);
        if (member.missing || member.current != member.recorded)
            changed.push_back(std::move(member));
    }

    if (options.format == "json") {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const Changed& c : changed)
            list.push_back({{"row", c.number},
                            {"rowId", c.rowId},
                            {"recorded", c.recorded},
                            {"source", c.missing ? nlohmann::ordered_json()
                                                 : nlohmann::ordered_json(c.current)}});
        out << nlohmann::ordered_json{{"copy", options.copyPath},
                                      {"source", options.sourcePath},
                                      {"members", rowIds.size()},
                                      {"changed", list}}
                   .dump(2)
            << '\n';
        return kExitOk;
    }
    out << changed.size() << " of " << rowIds.size()
        << (rowIds.size() == 1 ? " member" : " members")
        << " changed at the source since the link\n";
    if (changed.empty())
        return kExitOk;
    TablePrinter printer({"#", "RowId", "recorded revision", "source revision"});
    for (const Changed& c : changed)
        printer.AddRow({std::to_string(c.number), c.rowId, c.recorded,
                        c.missing ? "(no such member)" : c.current});
    out << '\n';
    printer.Print(out, options.width ? options.width : TablePrinter::TerminalWidth(), 40);
    return kExitOk;
}

} // namespace torvex::cli

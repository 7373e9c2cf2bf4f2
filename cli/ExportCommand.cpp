// torvex export: the family table as XML, as it stands or with every cell evaluated, or the
// family merged with its string documents into one document.

#include "Commands.h"

#include "FamilyFile.h"
#include "HostProvider.h"

#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLParser.h"

namespace torvex::cli {
namespace {

// The library serialises with the declaration of the UTF-16 document it built; the tool writes
// UTF-8, and says so.
std::string Utf8Document(const WideString& xml) {
    std::string text = platform::ToUtf8(xml);
    const std::string declared = "encoding='UTF-16'";
    const size_t at = text.find(declared);
    if (at != std::string::npos && at < text.find('>'))
        text.replace(at, declared.size(), "encoding='UTF-8'");
    return text;
}

} // namespace

int RunExport(const ExportOptions& options, std::ostream& out, std::ostream& err) {
    if (options.evaluated && options.merged) {
        err << "torvex: --evaluated and --merged exclude each other\n";
        return kExitUsage;
    }
    auto family = OpenEvaluatingFamily(options.input, options.materials, err);
    if (!family)
        return kExitFailed;

    WideString xml;
    bool made = false;
    if (options.merged) {
        XMLParser merged;
        made = family->GetFamilyXMLCopyWithStrings(merged) && merged.GetXml(xml);
    } else if (options.evaluated) {
        made = family->GetEncapFamilyTable()->GetEvaluatedXml(xml);
    } else {
        made = family->GetEncapFamilyTable()->GetXml(xml);
        xml += L'\n';
    }
    if (!made) {
        err << "torvex: the family could not be exported (a Row without RowId or a Cell without "
               "ColumnId, or a string document without a root)\n";
        return kExitFailed;
    }

    const std::string text = Utf8Document(xml);
    if (options.output.empty()) {
        out << text;
        return kExitOk;
    }
    // Written beside the target and renamed over it: a failed write leaves the old file whole.
    if (!platform::ReplaceFileBytes(platform::FromUtf8(options.output), text)) {
        err << "torvex: cannot write " << options.output << '\n';
        return kExitFailed;
    }
    return kExitOk;
}

} // namespace torvex::cli

// Opens a family from three texts cut out of the input at the separator byte (the family
// document and two string documents), evaluates every cell with the reference host in the
// actual language and in each other, lets the family write its cache file, and opens it again
// from that file. Whatever the bytes, this must end without a crash or a hang, and a cell that
// had a value must read the same value back from the cache file (it aborts otherwise).

#include "FamilyFuzzSupport.h"

#include "host/CUnitsEvaluatorProvider.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <system_error>
#include <unistd.h>
#include <utility>

using namespace torvex;
using torvex::fuzz::Check;

namespace {

// Cells read per opening at most, so that a large table can't make one input slow.
constexpr size_t kMaxCells = 2000;

const std::filesystem::path& WorkDirectory() {
    static const std::filesystem::path dir =
        std::filesystem::path(platform::TempDirectory()) /
        ("torvex_family_fuzz_" + std::to_string(static_cast<long>(::getpid())));
    return dir;
}

void RemoveWorkDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(WorkDirectory(), ignored);
}

using Values = std::map<std::pair<WideString, WideString>, WideString>;

// Reads every cell (up to the limit) and answers those with result 0.
Values ReadCells(CEncapFamily& family) {
    Values values;
    CEncapFamilyTable* table = family.GetEncapFamilyTable();
    if (!table)
        return values;
    const WideStringList rows = table->GetAllRowIDs();
    const WideStringList columns = table->GetAllColumnIDs();
    size_t cells = 0;
    WideString value;
    for (const WideString& row : rows) {
        for (const WideString& column : columns) {
            if (++cells > kMaxCells)
                return values;
            value.clear();
            if (table->GetValue(row.c_str(), column.c_str(), value) == CTableEvaluator::EvalOk)
                values[{row, column}] = value;
        }
    }
    return values;
}

// Reads a few cells in every language the family has.
void ReadLanguages(CEncapFamily& family) {
    CEncapFamilyTable* table = family.GetEncapFamilyTable();
    if (!table || table->GetRowsCount() == 0)
        return;
    const WideString row = table->GetRowIDByIndex(0);
    WideString value;
    for (const wchar_t* language : {L"DE-DE", L"EN-US", L"FR-FR"}) {
        size_t cells = 0;
        for (const WideString& column : table->GetAllColumnIDs()) {
            if (++cells > 64)
                break;
            value.clear();
            table->GetValue(row.c_str(), column.c_str(), language, value);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::atexit(RemoveWorkDirectory);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<std::string_view> parts = fuzz::SplitInput(data, size, 3);
    const WideString familyXml = platform::FromUtf8(parts[0]);
    WideStringList strings;
    for (size_t i = 1; i < parts.size(); ++i)
        strings.push_back(platform::FromUtf8(parts[i]));

    RemoveWorkDirectory();
    std::filesystem::create_directories(WorkDirectory());
    const WideString folder = WorkDirectory().wstring() + L"/";

    Values first;
    {
        CEncapFamily family(familyXml.c_str(), strings, folder.c_str(),
                            new CUnitsEvaluatorProvider(), false);
        first = ReadCells(family);
        ReadLanguages(family);
    }
    // The second opening reads the cache file the first one wrote.
    CEncapFamily family(familyXml.c_str(), strings, folder.c_str(), new CUnitsEvaluatorProvider(),
                        false);
    const Values second = ReadCells(family);
    for (const auto& [cell, value] : first) {
        const auto found = second.find(cell);
        Check(found != second.end() && found->second == value);
    }
    return 0;
}

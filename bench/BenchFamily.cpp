#include "BenchFamily.h"

#include "host/CUnitsEvaluatorProvider.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Utf16.h"

#include <cstdio>

namespace torvex::bench {
namespace {

void Tally(CellTally& tally, CTableEvaluator::EvaluateResult result, const WideString& value) {
    const int code = static_cast<int>(result);
    if (code >= 0 && code < static_cast<int>(tally.byResult.size()))
        ++tally.byResult[static_cast<size_t>(code)];
    else
        ++tally.other;
    tally.characters += value.size();
}

// The reference host, noting each expression it is asked to compute with units.
class RecordingProvider : public CUnitsEvaluatorProvider {
public:
    explicit RecordingProvider(std::vector<HostCall>& calls) : m_calls(calls) {}
    int32_t EvaluateToDouble(const wchar_t* expression, const wchar_t* unit,
                             double* value) override {
        m_calls.push_back({expression ? expression : L"", unit ? unit : L""});
        return CUnitsEvaluatorProvider::EvaluateToDouble(expression, unit, value);
    }

private:
    std::vector<HostCall>& m_calls;
};

} // namespace

void RecordHostCalls(GeneratedFamily& family) {
    family.hostCalls.clear();
    CEncapFamily opened(family.familyXml.c_str(), family.stringDocuments, nullptr,
                        new RecordingProvider(family.hostCalls), false);
    ReadAllCells(opened);
}

size_t CellTally::Cells() const {
    size_t cells = other;
    for (size_t count : byResult)
        cells += count;
    return cells;
}

size_t CellTally::WithValue() const {
    return byResult[CTableEvaluator::EvalOk] + byResult[CTableEvaluator::EvalUnitMismatch];
}

void CellTally::Add(const CellTally& more) {
    for (size_t i = 0; i < byResult.size(); ++i)
        byResult[i] += more.byResult[i];
    other += more.other;
    characters += more.characters;
}

std::unique_ptr<CEncapFamily> OpenFamily(const GeneratedFamily& family,
                                         const std::wstring& cacheFolder) {
    return std::make_unique<CEncapFamily>(family.familyXml.c_str(), family.stringDocuments,
                                          cacheFolder.empty() ? nullptr : cacheFolder.c_str(),
                                          new CUnitsEvaluatorProvider(), false);
}

std::unique_ptr<CEncapFamily> OpenGraphFamily(const GraphFamily& family) {
    return std::make_unique<CEncapFamily>(family.familyXml.c_str(), WideStringList(), nullptr,
                                          new CUnitsEvaluatorProvider(), false);
}

CellTally ReadAllCells(CEncapFamily& family) {
    return ReadAllCells(family, nullptr);
}

CellTally ReadAllCells(CEncapFamily& family, const wchar_t* language) {
    CellTally tally;
    CEncapFamilyTable* table = family.GetEncapFamilyTable();
    if (!table)
        return tally;
    WideString value;
    const WideStringList columnIds = table->GetAllColumnIDs();
    for (const WideString& rowId : table->GetAllRowIDs()) {
        for (const WideString& columnId : columnIds) {
            value.clear();
            Tally(tally,
                  language ? table->GetValue(rowId.c_str(), columnId.c_str(), language, value)
                           : table->GetValue(rowId.c_str(), columnId.c_str(), value),
                  value);
        }
    }
    return tally;
}

CellTally ReadRow(CEncapFamily& family, const std::wstring& rowId) {
    CellTally tally;
    CEncapFamilyTable* table = family.GetEncapFamilyTable();
    if (!table)
        return tally;
    WideString value;
    for (const WideString& columnId : table->GetAllColumnIDs()) {
        value.clear();
        Tally(tally, table->GetValue(rowId.c_str(), columnId.c_str(), value), value);
    }
    return tally;
}

int ShowCells(size_t rows, size_t shownRows) {
    const GeneratedFamily generated = GenerateFamily(rows);
    std::unique_ptr<CEncapFamily> family = OpenFamily(generated, std::wstring());
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    if (!table) {
        std::fprintf(stderr, "the generated family did not open\n");
        return 1;
    }
    std::printf("%u rows, %u columns\n", table->GetRowsCount(), table->GetColumnsCount());
    WideString value;
    for (size_t r = 0; r < shownRows && r < table->GetRowsCount(); ++r) {
        const WideString rowId = table->GetRowIDByIndex(static_cast<int>(r));
        std::printf("row %zu %s\n", r, platform::ToUtf8(rowId).c_str());
        for (const WideString& columnId : table->GetAllColumnIDs()) {
            value.clear();
            const int result = table->GetValue(rowId.c_str(), columnId.c_str(), value);
            std::printf("  %-16s %d  %s\n", platform::ToUtf8(columnId).c_str(), result,
                        platform::ToUtf8(value).c_str());
        }
    }
    const CellTally tally = ReadAllCells(*family);
    std::printf("all cells: %zu, with a value %zu; by result:", tally.Cells(), tally.WithValue());
    for (size_t code = 0; code < tally.byResult.size(); ++code)
        std::printf(" %zu:%zu", code, tally.byResult[code]);
    std::printf("\n");
    return 0;
}

} // namespace torvex::bench

// Decodes a sequence of edits from the input and applies them to the example family: values
// and formulas written (also in a language), rows and columns inserted, copied, deleted and
// moved, cells read in between. After every edit the table must be in step: the order of the
// elements in the document, the id lists, the maps and the value cache agree (it aborts
// otherwise). Whatever the bytes, this must end without a crash or a hang.
//
// An edit is one byte for its kind, then its arguments: a byte for an index or a choice, and
// for a text a length byte and that many bytes of UTF-8.

#include "FamilyFuzzSupport.h"

#include "family/TableInStep.h"
#include "host/CUnitsEvaluatorProvider.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

using namespace torvex;
using torvex::fuzz::Check;

namespace {

const fuzz::ExampleFamily& Example() {
    static const fuzz::ExampleFamily example = fuzz::ReadExampleFamily("iso4762");
    return example;
}

// Reads the edits' arguments; past the end every byte is 0 and every text empty.
class Reader {
public:
    Reader(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    bool AtEnd() const { return m_at >= m_size; }
    size_t Offset() const { return m_at; }
    uint8_t Byte() { return m_at < m_size ? m_data[m_at++] : 0; }
    WideString Text() {
        const size_t length = Byte() % 48;
        const size_t take = length < m_size - m_at ? length : m_size - m_at;
        const WideString text = platform::FromUtf8(
            std::string_view(reinterpret_cast<const char*>(m_data + m_at), take));
        m_at += take;
        // Ids and values are C strings to the table: a text ends at a null character.
        return text.c_str();
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_at = 0;
};

// A listed id picked by a byte; empty for an empty list. Cell writes and reads take their row
// from here: the value cache keeps what is written or read under any row id it is given, and
// the callers see to it that the row exists.
WideString PickListed(Reader& in, const WideStringList& ids) {
    const uint8_t choice = in.Byte();
    return ids.empty() ? WideString() : ids[choice % ids.size()];
}

// An id of the list picked by a byte, or (for the last choice) a text of the input.
WideString PickId(Reader& in, const WideStringList& ids) {
    const uint8_t choice = in.Byte();
    if (ids.empty() || choice == 0xff)
        return in.Text();
    return ids[choice % ids.size()];
}

WideString PickLanguage(Reader& in) {
    switch (in.Byte() % 5) {
    case 0:
        return L"DE-DE";
    case 1:
        return L"EN-US";
    case 2:
        return L"de-de";
    case 3:
        return L"FR-FR";
    default:
        return in.Text();
    }
}

int PickIndex(Reader& in) {
    return static_cast<int>(in.Byte()) - 8;
}

void ApplyEdit(Reader& in, CEncapFamilyTable& table) {
    const WideStringList rows = table.GetAllRowIDs();
    const WideStringList columns = table.GetAllColumnIDs();
    WideString value;
    switch (in.Byte() % 16) {
    case 0: {
        const WideString row = PickListed(in, rows), column = PickId(in, columns);
        const bool invalidate = in.Byte() & 1;
        table.SetValue(row.c_str(), column.c_str(), in.Text().c_str(), invalidate);
        break;
    }
    case 1: {
        const WideString row = PickListed(in, rows), column = PickId(in, columns);
        const WideString language = PickLanguage(in);
        const bool invalidate = in.Byte() & 1;
        table.SetValue(row.c_str(), column.c_str(), language.c_str(), in.Text().c_str(),
                       invalidate);
        break;
    }
    case 2:
    case 3: {
        const WideString id = PickId(in, columns);
        if (CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str()))
            column->SetFormula(in.Text().c_str());
        break;
    }
    case 4: {
        const WideString id = PickId(in, columns);
        const WideString language = PickLanguage(in);
        if (CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str()))
            column->SetFormula(in.Text().c_str(), language.c_str());
        break;
    }
    case 5: {
        const WideString id = PickId(in, columns);
        if (CEncapFamilyColumn* column = table.GetFamilyColumnByID(id.c_str()))
            column->SetEmptyFormula();
        break;
    }
    case 6: {
        const int index = PickIndex(in);
        const WideString id = (in.Byte() & 1) ? in.Text() : WideString();
        // The table takes a given row id as it is: its callers see to it that it is new.
        if (id.empty() || !table.GetFamilyRowByID(id.c_str()))
            table.InsertNewRow(index, id);
        break;
    }
    case 7: {
        const int index = PickIndex(in);
        table.InsertNewColumn(index, in.Text().c_str());
        break;
    }
    case 8:
        table.CopyRow(PickId(in, rows));
        break;
    case 9: {
        const int target = PickIndex(in);
        table.PasteRow(target, PickIndex(in));
        break;
    }
    case 10: {
        const int index = PickIndex(in);
        const WideString source = PickId(in, columns);
        table.DuplicateColumn(index, source.c_str(), in.Text().c_str());
        break;
    }
    case 11:
        table.DeleteRow(PickIndex(in));
        break;
    case 12:
        table.DeleteColumn(PickIndex(in));
        break;
    case 13: {
        const WideString id = PickId(in, columns);
        int index = PickIndex(in);
        table.ChangeColumnIndex(id.c_str(), index);
        break;
    }
    case 14: {
        const WideString id = PickId(in, rows);
        int index = PickIndex(in);
        table.ChangeRowIndex(id.c_str(), index);
        break;
    }
    default: {
        // Reading evaluates, which fills the value cache that later edits must keep in step.
        // Only listed cells: a read of an unknown row caches its value under that id too.
        if (rows.empty() || columns.empty())
            break;
        const WideString& row = rows[in.Byte() % rows.size()];
        const WideString& column = columns[in.Byte() % columns.size()];
        if (in.Byte() & 1)
            table.GetValue(row.c_str(), column.c_str(), value);
        else
            table.GetValue(row.c_str(), column.c_str(), PickLanguage(in).c_str(), value);
        break;
    }
    }
}

void CheckInStep(const CEncapFamilyTable& table, size_t edit) {
    const std::string problem = test::TableOutOfStep(table);
    if (!problem.empty()) {
        std::fprintf(stderr, "after edit %zu: %s\n", edit, problem.c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Check(!Example().familyXml.empty());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::ExampleFamily& example = Example();
    CEncapFamily family(example.familyXml.c_str(), example.stringDocuments, nullptr,
                        new CUnitsEvaluatorProvider(), false);
    CEncapFamilyTable* table = family.GetEncapFamilyTable();
    Check(table != nullptr);
    CheckInStep(*table, 0);
    Reader in(data, size);
    static const bool trace = std::getenv("TORVEX_FUZZ_TRACE") != nullptr;
    for (size_t edit = 1; !in.AtEnd() && edit <= 64; ++edit) {
        if (trace)
            std::fprintf(stderr, "edit %zu: kind %d, %u rows, %u columns\n", edit,
                         data[in.Offset()] % 16, table->GetRowsCount(), table->GetColumnsCount());
        ApplyEdit(in, *table);
        CheckInStep(*table, edit);
    }
    return 0;
}

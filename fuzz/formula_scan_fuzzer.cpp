// Feeds arbitrary text to the formula scanner and to the range parser on their own. The first
// byte picks the data type, the formula type and the unit; the rest is the text (UTF-8). The
// scanner works over the table of the example family, so that references can be known or
// unknown. Whatever the text, this must end without a crash or a hang, and what the scanner
// answers must agree with itself (which aborts otherwise).

#include "FamilyFuzzSupport.h"

#include "host/CUnitsEvaluatorProvider.h"
#include "torvex/evaluation/CRangeParser.h"
#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <cstddef>
#include <cstdint>
#include <memory>

using namespace torvex;
using torvex::fuzz::Check;

namespace {

CEncapFamily* Family() {
    static std::unique_ptr<CEncapFamily> family = [] {
        const fuzz::ExampleFamily example = fuzz::ReadExampleFamily("iso4762");
        return std::make_unique<CEncapFamily>(example.familyXml.c_str(), example.stringDocuments,
                                              nullptr, new CUnitsEvaluatorProvider(), false);
    }();
    return family.get();
}

void ScanRange(const WideString& text) {
    const CRangeParser range(text.c_str());
    const CRangeParser copy = range;
    WideString dot, comma;
    const bool validDot = range.GetStrValue(dot, L'.');
    const bool validComma = copy.GetStrValue(comma, L',');
    Check(validDot == validComma);
    Check(dot.size() == comma.size());
    // Without an opening bracket nothing is cut out. (The parser is laxer than IsRange: the
    // bracket need not come first, nor the closing one last.)
    if (text.find(L'[') == WideString::npos) {
        Check(!validDot);
        Check(range.getMin().empty() && range.getMax().empty() && range.getStep().empty() &&
              range.getDefault().empty());
    }
    if (!validDot)
        Check(dot.empty());
    Check(range.hasMin() == !range.getMin().empty());
    Check(range.hasDefault() == !range.getDefault().empty());
}

void ScanFormula(const WideString& text, uint8_t selector) {
    CEncapFamilyTable* table = Family()->GetEncapFamilyTable();
    Check(table != nullptr);
    CTableEvaluator evaluator(table);

    FormulaPieceList pieces, again;
    const int split = evaluator.SplitFormula(text.c_str(), pieces);
    Check(split == 0 || split == 1);
    // The memo answers what the first cut answered.
    Check(evaluator.SplitFormula(text.c_str(), again) == split);
    Check(pieces == again);
    // A text without a brace is one literal; a cut one holds no closing brace but in its end.
    if (text.find(L'{') == WideString::npos) {
        Check(split == 0 && pieces.size() == 1 && !pieces[0].isReference);
    } else if (split == 0) {
        for (const FormulaPiece& piece : pieces) {
            Check(piece.text.find(L'}') == WideString::npos);
            if (!piece.isReference)
                Check(!piece.text.empty());
        }
    }
    CTableEvaluator::ColumnSet shallow, deep;
    const CTableEvaluator::EvaluateResult direct =
        evaluator.CollectReferences(text.c_str(), shallow);
    const CTableEvaluator::EvaluateResult reached =
        evaluator.CollectReferencesDeep(text.c_str(), deep);
    Check(direct == reached);
    Check(split == 0 || direct == CTableEvaluator::EvalSyntaxError);
    for (CEncapFamilyColumn* column : shallow)
        Check(deep.count(column) == 1);

    static const DataTypes::ColumnDataType dataTypes[] = {
        DataTypes::DataString, DataTypes::DataReal, DataTypes::DataInteger, DataTypes::DataBoolean};
    static const DataTypes::ColumnFormulaType formulaTypes[] = {
        DataTypes::FormulaRange, DataTypes::FormulaExpression, DataTypes::FormulaMaterial};
    static const wchar_t* const units[] = {L"", L"mm", L"ul", L"deg"};
    const DataTypes::ColumnDataType dataType = dataTypes[selector & 3];
    const DataTypes::ColumnFormulaType formulaType = formulaTypes[((selector >> 2) & 3) % 3];
    const wchar_t* unit = units[(selector >> 4) & 3];
    evaluator.CheckSyntax(text.c_str(), formulaType, dataType, unit);
    bool hasReferences = false;
    evaluator.CheckExpression(text.c_str(), dataType, unit, hasReferences);

    if (selector & 0x40) {
        WideString out;
        const WideString rowId = table->GetRowIDByIndex(0);
        evaluator.EvaluateExpression(text, formulaType, dataType, rowId, unit, out);
    }
    CTableEvaluator::ConcatenateStrings(text);
    const WideString unquoted = CTableEvaluator::UnquoteString(text);
    Check(unquoted.size() <= text.size());
    Check(evaluator.GetCellsInProgress().empty());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Family();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    // The scanner takes C strings: the text ends at the first null character.
    const WideString bytes =
        platform::FromUtf8(std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));
    const WideString text = bytes.c_str();
    ScanRange(text);
    ScanFormula(text, data[0]);
    return 0;
}

#include "torvex/evaluation/CTableEvaluator.h"

#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/text/CStringUtil.h"
#include "torvex/text/DataTypes.h"

namespace torvex {

CTableEvaluator::CTableEvaluator(CEncapFamilyTable* table) : m_table(table) {
    if (m_table && m_table->GetFamily())
        m_provider = m_table->GetFamily()->GetEvaluatorProvider();
}

CTableEvaluator::~CTableEvaluator() = default;

CTableEvaluator::EvaluateResult CTableEvaluator::EvaluateCell(WideString rowId, WideString columnId,
                                                              WideString language) {
    if (!m_table)
        return EvalNoValue;
    CEncapFamilyColumn* column = m_table->GetFamilyColumnByID(columnId.c_str());
    if (!column)
        return EvalNoValue;

    // The cell's source text: the localized cell, the Cell, the localized column formula, the
    // column formula; each next place only when nothing was found so far.
    WideString text;
    long status = 1;
    const bool localized = column->IsLocalized();
    if (localized)
        status =
            m_table->GetLocalizedCellValue(rowId.c_str(), columnId.c_str(), language.c_str(), text);
    if (status == 1)
        status = m_table->GetRawValue(rowId.c_str(), columnId.c_str(), text);
    if (status == 1 && localized)
        status = m_table->GetLocalizedFormula(columnId.c_str(), language.c_str(), text);
    if (status == 1)
        column->GetFormula(text, language.c_str());

    // Range columns, references, materials: not evaluated in this version.
    if (column->IsCustom() || column->IsMaterial())
        return EvalExpressionFailed;
    if (text.find_first_of(L"{}") != WideString::npos)
        return EvalExpressionFailed;

    WideString value = text;
    switch (column->GetDataType()) {
    case DataTypes::DataString:
        // A '&' joins strings: an expression, not a literal.
        if (text.find(L'&') != WideString::npos)
            return EvalExpressionFailed;
        break;
    case DataTypes::DataBoolean:
        if (!CStringUtil::IsLogicalValue(text.c_str()))
            return EvalTypeMismatch;
        break;
    default:
        // A Real or Integer literal stays exactly as written; anything else is an expression
        // for the host.
        if (!CStringUtil::IsNumericValue(text.c_str()))
            return EvalExpressionFailed;
        if (column->GetDataType() == DataTypes::DataReal && m_table->LocalizeDecimalSeparator()) {
            const wchar_t separator = m_table->GetDecimalSeparator();
            const wchar_t from = value.find(L'.') != WideString::npos ? L'.' : L',';
            for (wchar_t& c : value) {
                if (c == from)
                    c = separator;
            }
        }
        break;
    }

    column->SetCacheValue(rowId.c_str(), language.c_str(), value.c_str());
    return EvalOk;
}

} // namespace torvex

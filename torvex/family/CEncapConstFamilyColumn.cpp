#include "torvex/family/CEncapConstFamilyColumn.h"

#include "torvex/family/CEncapFamily.h"

namespace torvex {

CEncapConstFamilyColumn::CEncapConstFamilyColumn() : CEncapFamilyColumn(false) {}

CEncapConstFamilyColumn::CEncapConstFamilyColumn(const wchar_t* parameterName, const wchar_t* value,
                                                 CEncapFamilyTable* table)
    : CEncapFamilyColumn(table, false), m_parameterName(parameterName ? parameterName : L""),
      m_value(value ? value : L"") {}

CEncapConstFamilyColumn::~CEncapConstFamilyColumn() = default;

CTableEvaluator::EvaluateResult CEncapConstFamilyColumn::GetValue(const wchar_t*, WideString& out) {
    out = m_value;
    return CTableEvaluator::EvalOk;
}

void CEncapConstFamilyColumn::SetValue(const wchar_t*, const wchar_t* value, bool) {
    // The constant held here is a snapshot; it stays until the family hands out a new object.
    if (CEncapFamily* family = GetFamily())
        family->SetCatParamConstValue(m_parameterName.c_str(), value ? value : L"");
}

} // namespace torvex

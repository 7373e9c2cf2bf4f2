#pragma once
// A column-shaped object that answers with one fixed value: the constant of a category
// parameter, handed out by the family for a parameter that no table column bears.

#include "torvex/family/CEncapFamilyColumn.h"

namespace torvex {

/// Owned by the family. Has no node and no attributes; its column id stays empty.
class CEncapConstFamilyColumn : public CEncapFamilyColumn {
public:
    /// No table, empty name and value. Never fails.
    CEncapConstFamilyColumn();
    /// Keeps the parameter name and its value (null counts as empty) and the table. Never fails.
    CEncapConstFamilyColumn(const wchar_t* parameterName, const wchar_t* value,
                            CEncapFamilyTable* table);
    ~CEncapConstFamilyColumn() override;

    using CEncapFamilyColumn::GetValue;
    using CEncapFamilyColumn::SetValue;

    /// The constant, whatever the row; always EvalOk.
    CTableEvaluator::EvaluateResult GetValue(const wchar_t* rowId, WideString& out) override;
    /// Gives the value to the family as the parameter's constant; the object's own constant
    /// stays as it was. Nothing without a family.
    void SetValue(const wchar_t* rowId, const wchar_t* value, bool invalidate) override;

    /// The category parameter's name.
    const WideString& GetParameterName() const { return m_parameterName; }

private:
    WideString m_parameterName;
    WideString m_value;
};

} // namespace torvex

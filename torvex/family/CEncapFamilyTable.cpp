#include "torvex/family/CEncapFamilyTable.h"

#include "torvex/evaluation/CRangeParser.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/evaluation/IEvaluatorProvider.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/platform/NumberText.h"
#include "torvex/text/CStringUtil.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XMLTextWriter.h"

#include <algorithm>
#include <cstddef>
#include <cwctype>
#include <limits>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace torvex {
namespace {

const wchar_t* Text(const wchar_t* text) {
    return text ? text : L"";
}

// Raises a flag for the lifetime of the object.
class FlagGuard {
public:
    explicit FlagGuard(bool& flag) : m_flag(flag) { m_flag = true; }
    ~FlagGuard() { m_flag = false; }
    FlagGuard(const FlagGuard&) = delete;
    FlagGuard& operator=(const FlagGuard&) = delete;

private:
    bool& m_flag;
};

} // namespace

CEncapFamilyTable::CEncapFamilyTable() {
    ClearData();
    m_evaluator = new CTableEvaluator(this);
}

CEncapFamilyTable::CEncapFamilyTable(const XMLNode& tableNode, CEncapFamily* family,
                                     const wchar_t* cacheFolder)
    : m_node(tableNode), m_family(family) {
    m_evaluator = new CTableEvaluator(this);
    // The cache comes before the first column: each column keeps the cache pointer.
    m_cache = new CTableValueCache(WideString(Text(cacheFolder)));
    InitializeData();
}

CEncapFamilyTable::~CEncapFamilyTable() {
    if (m_cache) {
        m_cache->Save(m_columnIds);
        delete m_cache;
        m_cache = nullptr;
    }
    ClearData();
    delete m_evaluator;
    m_evaluator = nullptr;
}

// ---- Load ----

void CEncapFamilyTable::InitializeData() {
    ClearData();

    XMLNodeArray columnNodes;
    m_node.SelectChildElements(FamilyNames::ElemColumns, FamilyNames::ElemColumn, columnNodes);
    bool statusFound = false;
    for (const XMLNode& node : columnNodes) {
        WideString id;
        if (!node.GetProperty(FamilyNames::AttrColumnId, id))
            continue;
        CEncapFamilyColumn* column = new CEncapFamilyColumn(node, this);
        // Of two ids equal but for case the later object wins; nothing can reach the earlier
        // one any more, so it goes now.
        CEncapFamilyColumn*& slot = m_columns[id];
        delete slot;
        slot = column;
        m_columnIds.push_back(id);
        if (m_family) {
            m_family->InitializeColumnData(column);
            WideString category;
            if (m_family->GetColumnCategory(id.c_str(), category))
                column->UpdateColumnType(category);
        }
        if (!statusFound && SameTextIgnoringCase(id, FamilyNames::ColStatus)) {
            column->SetIsStatusColumn(true);
            m_statusColumnId = id;
            statusFound = true;
        }
    }

    // All columns exist and no row does yet; a family with broken formulas still opens.
    BuildColumnsDependency();

    // Rows come after the status column is settled: each row reads its status cell.
    XMLNodeArray rowNodes;
    // Found without XPath, which would sort every row by document order.
    m_node.SelectChildElements(FamilyNames::ElemRows, FamilyNames::ElemRow, rowNodes);
    // When the parse noted every cell that may be a status cell, a row holding none of them
    // has no status to read; its cells are not searched.
    std::unordered_set<const void*> mayHoldStatus;
    XMLNodeArray statusCells;
    const bool statusNoted = statusFound && m_node.GetWatchedElements(statusCells);
    for (const XMLNode& cell : statusCells)
        mayHoldStatus.insert(cell.GetParentNode().GetIdentity());
    m_rowIds.reserve(static_cast<size_t>(rowNodes.GetSize()));
    m_loadedRows.reserve(static_cast<size_t>(rowNodes.GetSize()));
    for (XMLNode& node : rowNodes) {
        WideString id;
        if (!node.GetProperty(FamilyNames::AttrRowId, id))
            continue;
        m_rowIds.push_back(std::move(id));
        try {
            // The row takes the handle the list holds, which goes with the list.
            const bool readStatus = !statusNoted || mayHoldStatus.count(node.GetIdentity()) != 0;
            m_loadedRows.push_back(
                new CEncapFamilyRow(std::move(node), this, readStatus)); // room was made
        } catch (...) {
            m_rowIds.pop_back();
            throw;
        }
    }
}

void CEncapFamilyTable::MapLoadedRows() const {
    if (m_loadedRows.empty())
        return;
    for (size_t i = 0; i < m_loadedRows.size(); ++i) {
        CEncapFamilyRow* row = m_loadedRows[i];
        if (!row)
            continue; // entered by a call that ran out of memory later
        CEncapFamilyRow*& slot = m_rows[m_rowIds[i]];
        delete slot; // the earlier row of an id equal but for case
        slot = row;
        m_loadedRows[i] = nullptr;
    }
    std::vector<CEncapFamilyRow*>().swap(m_loadedRows);
}

void CEncapFamilyTable::ClearData() {
    m_columns.ForEachStored([](const WideString&, CEncapFamilyColumn* column) { delete column; });
    m_columns.RemoveAll();
    m_rows.ForEachStored([](const WideString&, CEncapFamilyRow* row) { delete row; });
    m_rows.RemoveAll();
    for (CEncapFamilyRow* row : m_loadedRows)
        delete row;
    m_loadedRows.clear();
    m_columnIds.clear();
    m_rowIds.clear();
}

CTableEvaluator::EvaluateResult CEncapFamilyTable::BuildColumnsDependency() {
    // UpdateColumnsDependency for each formula, in map order. The columns are all new (the one
    // caller is InitializeData), so no column is among any dependents yet and what that call
    // would forget first is nothing: each formula only adds its edges. Forgetting would visit
    // every column of the table for every formula, which grew with the square of the columns.
    CTableEvaluator::EvaluateResult result = CTableEvaluator::EvalOk;
    CEncapFamilyColumn::ColumnSet references;
    for (CStringMapTo<CEncapFamilyColumn*>::Position pos = m_columns.GetStartPosition(); pos;) {
        WideString id;
        CEncapFamilyColumn* column = nullptr;
        m_columns.GetNextAssoc(pos, id, column);
        if (!column)
            continue;
        WideString formula;
        column->GetFormula(formula);
        if (formula.empty())
            continue;
        references.clear();
        result = m_evaluator->CollectReferences(formula.c_str(), references);
        if (result != CTableEvaluator::EvalOk)
            break;
        for (CEncapFamilyColumn* referenced : references)
            referenced->AddDependentColumn(column);
    }
    return result;
}

CTableEvaluator::EvaluateResult
CEncapFamilyTable::UpdateColumnsDependency(CEncapFamilyColumn* column, const wchar_t* formula) {
    CEncapFamilyColumn::ColumnSet references;
    const CTableEvaluator::EvaluateResult result =
        m_evaluator->CollectReferences(formula, references);
    if (result != CTableEvaluator::EvalOk)
        return result;
    RemoveColumnDependencies(column);
    for (CEncapFamilyColumn* referenced : references)
        referenced->AddDependentColumn(column);
    return CTableEvaluator::EvalOk;
}

void CEncapFamilyTable::RemoveColumnDependencies(CEncapFamilyColumn* column) {
    m_columns.ForEach([column](const WideString&, CEncapFamilyColumn* other) {
        if (other)
            other->RemoveDependentColumn(column);
    });
}

// ---- Order and lookups ----

WideString CEncapFamilyTable::GetRowIDByIndex(int index) const {
    if (index < 0 || static_cast<size_t>(index) >= m_rowIds.size())
        return WideString();
    return m_rowIds[static_cast<size_t>(index)];
}

WideString CEncapFamilyTable::GetFamilyColumnIDByIndex(int index) const {
    if (index < 0 || static_cast<size_t>(index) >= m_columnIds.size())
        return WideString();
    return m_columnIds[static_cast<size_t>(index)];
}

CEncapFamilyRow* CEncapFamilyTable::GetFamilyRowByID(const wchar_t* rowId) const {
    MapLoadedRows();
    CEncapFamilyRow* row = nullptr;
    m_rows.Lookup(rowId, row);
    return row;
}

uint64_t CEncapFamilyTable::GetRowsGeneration() const {
    MapLoadedRows();
    return m_rows.GetGeneration();
}

CEncapFamilyColumn* CEncapFamilyTable::GetFamilyColumnByID(const wchar_t* columnId) const {
    CEncapFamilyColumn* column = nullptr;
    m_columns.Lookup(columnId, column);
    return column;
}

CEncapFamilyRow* CEncapFamilyTable::GetFamilyRowByIndex(int index) const {
    if (index < 0 || static_cast<size_t>(index) >= m_rowIds.size())
        return nullptr;
    return GetFamilyRowByID(m_rowIds[static_cast<size_t>(index)].c_str());
}

CEncapFamilyColumn* CEncapFamilyTable::GetFamilyColumnByIndex(int index) const {
    if (index < 0 || static_cast<size_t>(index) >= m_columnIds.size())
        return nullptr;
    return GetFamilyColumnByID(m_columnIds[static_cast<size_t>(index)].c_str());
}

int CEncapFamilyTable::GetFamilyRowIndexByID(const wchar_t* rowId) const {
    const wchar_t* id = Text(rowId);
    for (size_t i = 0; i < m_rowIds.size(); ++i) {
        if (SameTextIgnoringCase(m_rowIds[i], id))
            return static_cast<int>(i);
    }
    return -1;
}

int CEncapFamilyTable::GetFamilyColumnIndexByID(const wchar_t* columnId) const {
    const wchar_t* id = Text(columnId);
    for (size_t i = 0; i < m_columnIds.size(); ++i) {
        if (SameTextIgnoringCase(m_columnIds[i], id))
            return static_cast<int>(i);
    }
    return -1;
}

CEncapFamilyColumn*
CEncapFamilyTable::GetFamilyColumnByType(CEncapFamilyColumn::ColumnType type) const {
    for (CStringMapTo<CEncapFamilyColumn*>::Position pos = m_columns.GetStartPosition(); pos;) {
        WideString id;
        CEncapFamilyColumn* column = nullptr;
        m_columns.GetNextAssoc(pos, id, column);
        if (column && column->GetColumnType() == type)
            return column;
    }
    return nullptr;
}

CEncapFamilyColumn::ColumnSet&
CEncapFamilyTable::GetAllColumns(CEncapFamilyColumn::ColumnSet& out) const {
    m_columns.ForEach(
        [&out](const WideString&, CEncapFamilyColumn* column) { out.insert(column); });
    return out;
}

// ---- Forwarded to the family ----

void CEncapFamilyTable::GetActualLanguage(WideString& out) const {
    if (m_family)
        m_family->GetActualLanguage(out);
    else
        out.clear();
}

bool CEncapFamilyTable::LocalizeDecimalSeparator() const {
    return m_family && m_family->LocalizeDecimalSeparator();
}

wchar_t CEncapFamilyTable::GetDecimalSeparator() const {
    return m_family ? m_family->GetDecimalSeparator() : 0;
}

bool CEncapFamilyTable::IsColumnLocalized(const wchar_t* columnId) const {
    return m_family && m_family->IsFamilyColumnLocalized(columnId);
}

bool CEncapFamilyTable::IsColumnMaterial(const wchar_t* columnId) const {
    const CEncapFamilyColumn* column = GetFamilyColumnByID(columnId);
    return column && column->IsMaterial();
}

// ---- Cells ----

CTableEvaluator::EvaluateResult
CEncapFamilyTable::GetValue(const wchar_t* rowId, const wchar_t* columnId, WideString& out) {
    // The actual language is read in place: a read of a cached cell copies no text but the value.
    return GetValue(rowId, columnId, m_family ? m_family->ActualLanguage().c_str() : L"", out);
}

CTableEvaluator::EvaluateResult CEncapFamilyTable::GetValue(const wchar_t* rowId,
                                                            const wchar_t* columnId,
                                                            const wchar_t* language,
                                                            WideString& out) {
    CEncapFamilyColumn* column = GetFamilyColumnByID(columnId);
    if (!column)
        return CTableEvaluator::EvalExpressionFailed;
    return column->GetValue(rowId, language, out);
}

void CEncapFamilyTable::SetValue(const wchar_t* rowId, const wchar_t* columnId,
                                 const wchar_t* value, bool invalidate) {
    WideString language;
    GetActualLanguage(language);
    SetValue(rowId, columnId, language.c_str(), value, invalidate);
}

void CEncapFamilyTable::SetValue(const wchar_t* rowId, const wchar_t* columnId,
                                 const wchar_t* language, const wchar_t* value, bool invalidate) {
    if (CEncapFamilyColumn* column = GetFamilyColumnByID(columnId))
        column->SetValue(rowId, language, value, invalidate);
}

void CEncapFamilyTable::SetValue(int rowIndex, const wchar_t* columnId, const wchar_t* value,
                                 bool invalidate) {
    // Callers pass a valid index; any other finds no row and writes nothing.
    const CEncapFamilyRow* row = GetFamilyRowByIndex(rowIndex);
    if (!row)
        return;
    WideString rowId;
    row->GetRowID(rowId);
    SetValue(rowId.c_str(), columnId, value, invalidate);
}

void CEncapFamilyTable::SetStatusColValue(int rowIndex, const wchar_t* value) {
    // Callers pass a valid index; any other finds no row and writes nothing.
    CEncapFamilyRow* row = GetFamilyRowByIndex(rowIndex);
    if (!row)
        return;
    // Straight to the row: no string document and no cached value is touched. The document
    // changed all the same, so the cache file must not be written over.
    row->SetRawValue(m_statusColumnId.c_str(), value);
    row->SetIsSuppressed(SameTextIgnoringCase(Text(value), FamilyNames::ValueSuppressed));
    if (m_cache)
        m_cache->DetachFile();
}

bool CEncapFamilyTable::IsRowSuppressed(const wchar_t* rowId) const {
    const CEncapFamilyRow* row = GetFamilyRowByID(rowId);
    return row && row->IsSuppressed();
}

bool CEncapFamilyTable::isCellOverride(const WideString& rowId, const WideString& columnId) const {
    // Callers pass a known row and column; any other is no override.
    const CEncapFamilyColumn* column = GetFamilyColumnByID(columnId.c_str());
    const CEncapFamilyRow* row = GetFamilyRowByID(rowId.c_str());
    if (!column || !row)
        return false;
    WideString id;
    column->GetColumnID(id);
    return column->IsExpressionColumn() && row->HasRawValue(id.c_str());
}

bool CEncapFamilyTable::hasColumnExpression(WideString& columnId) const {
    // Callers pass a known column; any other has no expression.
    const CEncapFamilyColumn* column = GetFamilyColumnByID(columnId.c_str());
    return column && column->IsExpressionColumn();
}

DataTypes::ColumnDataType CEncapFamilyTable::GetColumnDataType(const wchar_t* columnId) const {
    // Callers pass a known column; any other reads as a String column.
    const CEncapFamilyColumn* column = GetFamilyColumnByID(columnId);
    return column ? column->GetDataType() : DataTypes::DataString;
}

void CEncapFamilyTable::SetColumnDataType(const wchar_t* columnId,
                                          DataTypes::ColumnDataType dataType) {
    // Callers pass a known column; any other is left alone.
    if (CEncapFamilyColumn* column = GetFamilyColumnByID(columnId))
        column->SetDataType(dataType);
}

bool CEncapFamilyTable::HasColumnUniqueValues(const wchar_t* columnId,
                                              CTableEvaluator::EvaluateResult& result) {
    // Callers pass a known column; any other answers as an unknown reference would.
    CEncapFamilyColumn* column = GetFamilyColumnByID(columnId);
    if (!column) {
        result = CTableEvaluator::EvalUnknownColumn;
        return false;
    }
    return column->HasUniqueValues(result);
}

bool CEncapFamilyTable::GetMemberMaterialRefId(const wchar_t* rowId, WideString& out) const {
    const CEncapFamilyColumn* column =
        GetFamilyColumnByType(CEncapFamilyColumn::ColumnTypeMaterial);
    if (!column)
        return false;
    WideString columnId;
    column->GetColumnID(columnId);
    // A member without a material of its own has the family's default material.
    if (GetRawValue(rowId, columnId.c_str(), out) == 1)
        column->GetFormula(out);
    return true;
}

void CEncapFamilyTable::ClearCachedValue(const wchar_t* rowId, const wchar_t* columnId) {
    WideString language;
    GetActualLanguage(language);
    ClearCachedValue(rowId, columnId, language.c_str());
}

void CEncapFamilyTable::ClearCachedValue(const wchar_t* rowId, const wchar_t* columnId,
                                         const wchar_t* language) {
    if (CEncapFamilyColumn* column = GetFamilyColumnByID(columnId))
        column->ClearCachedValue(rowId, language);
}

CTableEvaluator::EvaluateResult CEncapFamilyTable::Evaluate(WideString rowId, WideString columnId,
                                                            WideString language) {
    return m_evaluator->EvaluateCell(std::move(rowId), std::move(columnId), std::move(language));
}

CTableEvaluator::EvaluateResult
CEncapFamilyTable::Evaluate(const wchar_t* expression, DataTypes::ColumnFormulaType formulaType,
                            DataTypes::ColumnDataType dataType, const wchar_t* rowId,
                            const wchar_t* unit, WideString& out) {
    return m_evaluator->EvaluateExpression(Text(expression), formulaType, dataType, Text(rowId),
                                           Text(unit), out);
}

bool CEncapFamilyTable::GetRangeColumnValue(const wchar_t* columnId, WideString& out) const {
    const auto found = m_rangeColumnValues.find(Text(columnId));
    if (found == m_rangeColumnValues.end())
        return false;
    out = found->second;
    return true;
}

void CEncapFamilyTable::SetRangeColumnValues(const std::map<WideString, WideString>& values) {
    m_rangeColumnValues = values;
    // Range columns evaluate to these values now: what the evaluator remembers may not hold.
    if (m_cache)
        m_cache->NoteChange();
}

// ---- Checks and host services ----

CTableEvaluator::EvaluateResult
CEncapFamilyTable::CheckFormulaSyntax(const wchar_t* formula,
                                      DataTypes::ColumnFormulaType formulaType,
                                      DataTypes::ColumnDataType dataType, const wchar_t* unit) {
    return m_evaluator->CheckSyntax(formula, formulaType, dataType, unit);
}

CTableEvaluator::EvaluateResult CEncapFamilyTable::IsFormulaValid(const wchar_t* columnId,
                                                                  const wchar_t* formula) {
    CEncapFamilyColumn* column = GetFamilyColumnByID(columnId);
    if (!column)
        return CTableEvaluator::EvalUnknownColumn;
    if (!column->IsCustom())
        return column->ValidateNormalFormula(formula, WideString());
    const DataTypes::ColumnDataType type = column->GetDataType();
    if (type == DataTypes::DataString || type == DataTypes::DataBoolean)
        return CTableEvaluator::EvalTypeMismatch;
    const WideString text = Text(formula);
    if (!CRangeParser::IsRange(text))
        return CTableEvaluator::EvalInvalidRange;
    // Whatever a part's own code, a range with a bad part is a bad range.
    const CRangeParser range(text.c_str());
    for (const WideString& part :
         {range.getMin(), range.getMax(), range.getStep(), range.getDefault()}) {
        if (!part.empty() &&
            column->ValidateNormalFormula(part.c_str(), WideString()) != CTableEvaluator::EvalOk)
            return CTableEvaluator::EvalInvalidRange;
    }
    return CTableEvaluator::EvalOk;
}

bool CEncapFamilyTable::GetValueFromExpression(const wchar_t* expression, const wchar_t* unit,
                                               double& value) const {
    IEvaluatorProvider* provider = m_evaluator->GetProvider();
    if (!provider)
        return false;
    const WideString target = *Text(unit) ? WideString(unit) : WideString(L"ul");
    if (provider->EvaluateToDouble(Text(expression), target.c_str(), &value) < 0)
        return false;
    // The host answers in its internal unit; a length comes back in "cm".
    if (target != L"cm") {
        const WideString internal = platform::FormatGeneral(value, 6);
        if (provider->ConvertUnits(internal.c_str(), L"cm", target.c_str(), &value) < 0)
            return false;
    }
    return true;
}

bool CEncapFamilyTable::IsCellValueValid(const wchar_t* rowId, const wchar_t* columnId,
                                         WideString& value) const {
    const CEncapFamilyColumn* column = GetFamilyColumnByID(columnId);
    if (!column)
        return false;
    switch (column->GetDataType()) {
    case DataTypes::DataString:
        return true;
    case DataTypes::DataBoolean:
        return CStringUtil::IsLogicalValue(value.c_str());
    case DataTypes::DataReal:
    case DataTypes::DataInteger:
        break;
    default:
        return false;
    }
    double number = CStringUtil::ToDouble(value.c_str());
    if (!CStringUtil::IsNumericValue(value.c_str())) {
        // An expression is computed in the column's unit and handed back as its number.
        if (!GetValueFromExpression(value.c_str(), column->GetUnitTypeRef().c_str(), number))
            return false;
        value = platform::FormatGeneral(number, 8);
    }
    if (column->IsCustom())
        return IsInRange(*column, rowId, number);
    return column->GetDataType() == DataTypes::DataReal ||
           CStringUtil::IsIntegerValue(number, 1e-05);
}

bool CEncapFamilyTable::IsInRange(const CEncapFamilyColumn& column, const wchar_t* rowId,
                                  double number) const {
    WideString formula;
    column.GetFormula(formula);
    const CRangeParser range(formula.c_str());
    const WideString& unit = column.GetUnitTypeRef();
    // A part that fails to evaluate counts as absent: the bound is open.
    auto evaluate = [&](const WideString& part) {
        WideString out;
        if (!part.empty())
            m_evaluator->EvaluateExpression(part, DataTypes::FormulaExpression, DataTypes::DataReal,
                                            Text(rowId), unit, out);
        return out;
    };
    const WideString minimum = evaluate(range.getMin());
    const WideString maximum = evaluate(range.getMax());
    const double lower = minimum.empty() ? -std::numeric_limits<double>::infinity()
                                         : CStringUtil::ToDouble(minimum.c_str());
    const double upper = maximum.empty() ? std::numeric_limits<double>::infinity()
                                         : CStringUtil::ToDouble(maximum.c_str());
    if (number < lower || number > upper)
        return false;
    if (range.hasStep()) {
        const WideString step = evaluate(range.getStep());
        // The step counts from the minimum; without one the quotient is infinite and fails.
        if (!step.empty())
            return CStringUtil::IsIntegerValue(
                (number - lower) / CStringUtil::ToDouble(step.c_str()), 1e-05);
    }
    return true;
}

int CEncapFamilyTable::CheckRangeColumnData(const wchar_t* columnId, const wchar_t* formula) {
    CEncapFamilyColumn* column = GetFamilyColumnByID(columnId);
    if (!column)
        return 0;
    // The formula is accepted for the callers' sake; the rows are checked against the column.
    static_cast<void>(formula);
    const WideStringList rowIds = m_rowIds;
    for (size_t i = 0; i < rowIds.size(); ++i) {
        WideString value;
        GetValue(rowIds[i].c_str(), columnId, value);
        if (!IsCellValueValid(rowIds[i].c_str(), columnId, value))
            return static_cast<int>(i);
    }
    return -1;
}

void CEncapFamilyTable::ValidateAndRepairColumnData(CEncapFamilyColumn* column) {
    if (!column)
        return;
    column->InvalidateCache(WideString(), WideString());
    WideString columnId;
    column->GetColumnID(columnId);
    const WideStringList rowIds = m_rowIds;
    for (const WideString& rowId : rowIds) {
        CEncapFamilyRow* row = GetFamilyRowByID(rowId.c_str());
        if (!row)
            continue;
        WideString value;
        if (GetValue(rowId.c_str(), columnId.c_str(), value) == CTableEvaluator::EvalTypeMismatch)
            row->DeleteCellsColumnValues(columnId.c_str(), true);
    }
}

bool CEncapFamilyTable::IsValidNewColumnName(const wchar_t* name) const {
    const WideString text = Text(name);
    if (text.empty() || !std::iswalpha(static_cast<wint_t>(text[0])))
        return false;
    if (GetFamilyColumnIndexByID(text.c_str()) != -1)
        return false;
    return std::all_of(text.begin() + 1, text.end(), [](wchar_t c) {
        return c == L'_' || c == L'-' || std::iswdigit(static_cast<wint_t>(c)) ||
               std::iswalpha(static_cast<wint_t>(c));
    });
}

bool CEncapFamilyTable::FileNameOfCustomPartIsUnique(WideStringList& missingTitles) {
    missingTitles.clear();
    CEncapFamilyColumn* fileName = GetFamilyColumnByType(CEncapFamilyColumn::ColumnTypeFileName);
    if (!fileName)
        return false;
    std::vector<CEncapFamilyColumn*> custom;
    for (const WideString& id : m_columnIds) {
        CEncapFamilyColumn* column = GetFamilyColumnByID(id.c_str());
        if (column && column->IsCustom()) {
            custom.push_back(column);
            WideString title;
            column->GetTitle(title);
            missingTitles.push_back(std::move(title));
        }
    }
    if (!fileName->IsExpressionColumn())
        return false;
    WideString fileNameId;
    fileName->GetColumnID(fileNameId);
    for (const WideString& rowId : m_rowIds) {
        if (isCellOverride(rowId, fileNameId))
            return false;
    }
    missingTitles.clear();
    WideString formula;
    fileName->GetFormula(formula);
    CEncapFamilyColumn::ColumnSet reached;
    if (m_evaluator->CollectReferencesDeep(formula.c_str(), reached) != CTableEvaluator::EvalOk)
        return false;
    for (CEncapFamilyColumn* column : custom) {
        if (reached.count(column) == 0) {
            WideString title;
            column->GetTitle(title);
            missingTitles.push_back(std::move(title));
        }
    }
    return missingTitles.empty();
}

std::vector<CEncapFamilyColumn*> CEncapFamilyTable::GetKeyColumns() const {
    std::vector<CEncapFamilyColumn*> keys;
    for (CStringMapTo<CEncapFamilyColumn*>::Position pos = m_columns.GetStartPosition(); pos;) {
        WideString id;
        CEncapFamilyColumn* column = nullptr;
        m_columns.GetNextAssoc(pos, id, column);
        if (column && column->IsKeyColumn())
            keys.push_back(column);
    }
    return keys;
}

bool CEncapFamilyTable::HasCustomColumns() const {
    for (size_t i = 0; i < m_columnIds.size(); ++i) {
        const CEncapFamilyColumn* column = GetFamilyColumnByIndex(static_cast<int>(i));
        if (column && column->IsCustom())
            return true;
    }
    return false;
}

void CEncapFamilyTable::SetRowStateOfAllRows(CEncapFamilyRow::RowState state) {
    MapLoadedRows();
    m_rows.ForEach([state](const WideString&, CEncapFamilyRow* row) {
        if (row)
            row->SetRowState(state);
    });
}

WideString CEncapFamilyTable::GetMaterialName(const wchar_t* key) const {
    WideString name;
    if (IEvaluatorProvider* provider = m_evaluator->GetProvider())
        provider->GetMaterialName(Text(key), &name);
    return name;
}

WideString CEncapFamilyTable::GetMaterialRefKey(const wchar_t* key) const {
    WideString refKey;
    if (IEvaluatorProvider* provider = m_evaluator->GetProvider())
        provider->GetMaterialRefKey(Text(key), &refKey);
    return refKey;
}

// ---- Raw and localized routing ----

const std::vector<XMLNode::KeyedChild>*
CEncapFamilyTable::CellsOfRow(const CEncapFamilyRow& row) const {
    // An evaluation reads the cells of one row after another; a row read once (a status cell
    // at the load) is not worth collecting.
    const XMLNode& node = row.GetXMLNode();
    const uint64_t changes = node.GetDocumentChangeCount();
    if (!m_rowCells.row.IsSameNode(node) || m_rowCells.changes != changes) {
        m_rowCells.row = node;
        m_rowCells.changes = changes;
        m_rowCells.collected = false;
        return nullptr;
    }
    if (!m_rowCells.collected) {
        if (!node.CollectKeyedChildren(FamilyNames::ElemCell, FamilyNames::AttrColumnId,
                                       m_rowCells.cells))
            return nullptr;
        m_rowCells.collected = true;
    }
    return &m_rowCells.cells;
}

long CEncapFamilyTable::GetRawValue(const wchar_t* rowId, const wchar_t* columnId,
                                    WideString& out) const {
    const CEncapFamilyRow* row = GetFamilyRowByID(rowId);
    if (!row)
        return 1;
    return row->GetRawValue(columnId, out);
}

void CEncapFamilyTable::SetRawValue(const wchar_t* rowId, const wchar_t* columnId,
                                    const wchar_t* value) {
    SetRawValue(GetFamilyRowByID(rowId), columnId, L"", value);
}

void CEncapFamilyTable::SetRawValue(const wchar_t* rowId, const wchar_t* columnId,
                                    const wchar_t* language, const wchar_t* value) {
    SetRawValue(GetFamilyRowByID(rowId), columnId, language, value);
}

void CEncapFamilyTable::SetRawValue(int rowIndex, const wchar_t* columnId, const wchar_t* value) {
    SetRawValue(GetFamilyRowByIndex(rowIndex), columnId, L"", value);
}

void CEncapFamilyTable::SetRawValue(CEncapFamilyRow* row, const wchar_t* columnId,
                                    const wchar_t* language, const wchar_t* value) {
    if (!row)
        return;
    // The family document first, the string document second.
    row->SetRawValue(columnId, value);
    WideString lang = Text(language);
    if (lang.empty())
        GetActualLanguage(lang);
    WideString rowId;
    row->GetRowID(rowId);
    SetLocalizedCellValue(rowId.c_str(), columnId, lang.c_str(), value);
}

long CEncapFamilyTable::GetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                              const wchar_t* language, WideString& out) const {
    if (!m_family)
        return 1;
    return m_family->GetLocalizedCellValue(rowId, columnId, language, out);
}

void CEncapFamilyTable::SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                              const wchar_t* language, const wchar_t* value) {
    if (m_family)
        m_family->SetLocalizedCellValue(rowId, columnId, language, value);
}

void CEncapFamilyTable::SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                              const wchar_t* value) {
    if (m_family)
        m_family->SetLocalizedCellValue(rowId, columnId, value);
}

long CEncapFamilyTable::GetLocalizedFormula(const wchar_t* columnId, const wchar_t* language,
                                            WideString& out) const {
    if (!m_family)
        return 1;
    return m_family->GetLocalizedColumnPropertyValue(FamilyNames::ElemColumnwideValue, columnId,
                                                     language, out);
}

void CEncapFamilyTable::DeleteLocalizedCellsValues(const wchar_t* rowId, const wchar_t* columnId,
                                                   bool allLanguages) {
    if (m_family)
        m_family->DeleteLocalizedCellsValues(rowId, columnId, allLanguages);
}

// ---- Member revisions ----

CEncapFamilyColumn* CEncapFamilyTable::RevisionColumnForBump() {
    CEncapFamilyColumn* revision = GetFamilyColumnByID(FamilyNames::ColMemberRevision);
    if (!revision)
        return nullptr;
    // In a linked family the revisions move only once the source revisions are kept safe.
    WideString copyFrom;
    if (m_family)
        m_family->GetCopyFrom(copyFrom);
    if (!copyFrom.empty() && !GetFamilyColumnByID(FamilyNames::ColSourceMemberRevision) &&
        !CreateSourceMemberRevisionColumn())
        return nullptr;
    return revision;
}

void CEncapFamilyTable::BumpMemberRevision(const wchar_t* rowId) {
    // A revision column that itself causes a refresh would bump again from inside its own
    // write, without end; the write of the bump is the last one.
    if (m_bumping)
        return;
    CEncapFamilyColumn* revision = RevisionColumnForBump();
    if (!revision)
        return;
    FlagGuard guard(m_bumping);
    const WideString guid = CStringUtil::NewGuid();
    revision->SetValue(rowId, guid.c_str(), false);
}

void CEncapFamilyTable::BumpAllMemberRevisions(const wchar_t* revision) {
    // No bump inside a bump (see BumpMemberRevision).
    if (m_bumping)
        return;
    CEncapFamilyColumn* column = RevisionColumnForBump();
    if (!column)
        return;
    FlagGuard guard(m_bumping);
    const WideStringList rowIds = m_rowIds;
    const WideString value = revision ? WideString(revision) : CStringUtil::NewGuid();
    for (const WideString& rowId : rowIds)
        column->SetValue(rowId.c_str(), value.c_str(), false);
}

CEncapFamilyColumn* CEncapFamilyTable::CreateSourceMemberRevisionColumn() {
    CEncapFamilyColumn* revision = GetFamilyColumnByID(FamilyNames::ColMemberRevision);
    if (!revision)
        return nullptr;
    CEncapFamilyColumn* source =
        InsertNewColumn(static_cast<int>(GetColumnsCount()), FamilyNames::ColSourceMemberRevision);
    if (!source)
        return nullptr;
    source->SetIsHidden(true);
    source->SetDataType(DataTypes::DataString);
    source->SetTitle(L"");
    WideString formula;
    revision->GetFormula(formula);
    source->SetFormula(formula.c_str());
    // A snapshot of the revisions as they are now.
    const WideStringList rowIds = m_rowIds;
    for (const WideString& rowId : rowIds) {
        WideString value;
        if (revision->GetValue(rowId.c_str(), value) != CTableEvaluator::EvalOk)
            return nullptr;
        source->SetValue(rowId.c_str(), value.c_str(), false);
    }
    return source;
}

// ---- Structure ----

XMLNode CEncapFamilyTable::PlaceNewElement(XMLNode& parent, XMLNode* node, const wchar_t* name,
                                           const wchar_t* attribute, const WideString& id,
                                           int index, WideStringList& ids) {
    // The place rule: before the child at the index, or appended when the index is at or past
    // the end; a negative index counts as 0.
    const long count = parent.GetChildCount();
    const int at = index < 0 ? 0 : index;
    XMLNode placed;
    size_t listIndex = ids.size();
    if (count > 0 && at < count) {
        XMLNode next;
        if (!parent.GetChildNodeByIdx(at, next))
            return XMLNode();
        placed =
            node ? parent.InsertChild(*node, at)
                 : next.AddNodeBefore(
                       name, nullptr, attribute, id.c_str(),
                       attribute == FamilyNames::AttrColumnId ? FamilyNames::AttrTitle : nullptr,
                       attribute == FamilyNames::AttrColumnId ? id.c_str() : nullptr);
        // Children that aren't listed (elements without an id, comments) can put the index
        // past the end of the list: the id then goes last.
        listIndex = std::min(static_cast<size_t>(at), ids.size());
    } else {
        placed =
            node ? parent.AppendChild(*node)
                 : parent.AddNode(name, nullptr, attribute, id.c_str(),
                                  attribute == FamilyNames::AttrColumnId ? FamilyNames::AttrTitle
                                                                         : nullptr,
                                  attribute == FamilyNames::AttrColumnId ? id.c_str() : nullptr);
    }
    if (!placed.IsNode())
        return XMLNode();
    ids.insert(ids.begin() + static_cast<std::ptrdiff_t>(listIndex), id);
    return placed;
}

CEncapFamilyColumn* CEncapFamilyTable::InsertNewColumn(int index, const wchar_t* columnId) {
    XMLNode columns = m_node.GetOrAddNode(FamilyNames::ElemColumns);
    if (!columns.IsNode())
        return nullptr;
    const WideString id = Text(columnId);
    if (GetFamilyColumnIndexByID(id.c_str()) != -1)
        return nullptr;
    const XMLNode node = PlaceNewElement(columns, nullptr, FamilyNames::ElemColumn,
                                         FamilyNames::AttrColumnId, id, index, m_columnIds);
    if (!node.IsNode())
        return nullptr;

    CEncapFamilyColumn* column = new CEncapFamilyColumn(node, this);
    m_columns.SetAt(id.c_str(), column);
    column->SetKeyWeight(0);
    column->SetIsHidden(false);
    // The new column has no values yet: values that a cache file kept for a former column of
    // that id must not be served, and the file no longer matches the document.
    if (m_cache) {
        m_cache->ClearColumn(id);
        m_cache->DetachFile();
    }
    return column;
}

// ---- Export ----

bool CEncapFamilyTable::GetXml(WideString& out) const {
    return m_node.GetXml(out);
}

namespace {

const wchar_t kEvaluatedXmlDeclaration[] = L"<?xml version='1.0' encoding='UTF-16'?>\n";

} // namespace

bool CEncapFamilyTable::GetEvaluatedXml(WideString& out) const {
    // The export is written straight from the table, as the serialiser would write an edited
    // copy of it, so that no copy has to be made, edited and serialised. A table with
    // namespaces, whose copy would declare them anew, takes the way through a copy.
    if (!m_node.IsNode())
        return false;
    if (!XMLTextWriter::CanWritePieces(m_node))
        return GetEvaluatedXmlThroughCopy(out);
    XMLTextWriter writer;
    switch (WriteEvaluatedTable(writer)) {
    case ExportWritten:
        writer.TakeText(out);
        return true;
    case ExportRefused:
        return false;
    default:
        return GetEvaluatedXmlThroughCopy(out);
    }
}

std::unordered_map<std::wstring_view, size_t> CEncapFamilyTable::ColumnPlaces() const {
    std::unordered_map<std::wstring_view, size_t> places;
    places.reserve(m_columnIds.size());
    for (size_t i = 0; i < m_columnIds.size(); ++i)
        places.emplace(m_columnIds[i], i);
    return places;
}

CEncapFamilyTable::ExportOutcome
CEncapFamilyTable::WriteEvaluatedTable(XMLTextWriter& writer) const {
    writer.WriteMarkup(kEvaluatedXmlDeclaration);
    XMLNode rows;
    m_node.GetChildNode((L"./" + WideString(FamilyNames::ElemRows)).c_str(), rows);
    if (!rows.IsNode()) {
        if (!writer.WriteNode(m_node))
            return ExportRefused;
        writer.WriteMarkup(L"\n");
        return ExportWritten;
    }

    // Reads go through GetValue, which fills the value cache: the table stays logically const.
    auto* self = const_cast<CEncapFamilyTable*>(this);
    // A row marks the columns it has cells for, and the others are added in list order.
    const std::unordered_map<std::wstring_view, size_t> places = ColumnPlaces();
    std::vector<char> seen(m_columnIds.size());
    WideString rowId, columnId, value;

    // Writes one row with its values.
    auto writeRow = [&](const XMLNode& row) -> ExportOutcome {
        if (!row.GetProperty(FamilyNames::AttrRowId, rowId))
            return ExportRefused;
        std::fill(seen.begin(), seen.end(), 0);
        writer.WriteStartTag(row);
        XMLNode cell;
        row.GetFirstChildNode(cell);
        const bool hadChildren = cell.IsNode();
        for (; cell.IsNode(); cell.GetNextSibling(cell)) {
            if (cell.GetNodeType() != XMLNode::NodeElement) {
                if (!writer.WriteNode(cell))
                    return ExportRefused;
                continue;
            }
            if (!cell.GetProperty(FamilyNames::AttrColumnId, columnId))
                return ExportRefused;
            value.clear();
            // A value the document can't hold leaves the cell as it was.
            const bool written =
                self->GetValue(rowId.c_str(), columnId.c_str(), value) == CTableEvaluator::EvalOk &&
                XMLTextWriter::IsXmlText(value) && writer.WriteElementWithText(cell, value);
            if (!written && !writer.WriteNode(cell))
                return ExportRefused;
            const auto place = places.find(columnId);
            if (place != places.end())
                seen[place->second] = 1;
        }
        bool added = false;
        for (size_t i = 0; i < m_columnIds.size(); ++i) {
            if (seen[i])
                continue;
            value.clear();
            if (self->GetValue(rowId.c_str(), m_columnIds[i].c_str(), value) !=
                CTableEvaluator::EvalOk)
                continue;
            if (!writer.WriteNewElement(FamilyNames::ElemCell, value, FamilyNames::AttrColumnId,
                                        m_columnIds[i].c_str()))
                return ExportNeedsCopy;
            added = true;
        }
        writer.WriteEndTag(row, !hadChildren && !added);
        return ExportWritten;
    };

    writer.WriteStartTag(m_node);
    XMLNode child;
    for (m_node.GetFirstChildNode(child); child.IsNode(); child.GetNextSibling(child)) {
        if (!child.IsSameNode(rows)) {
            if (!writer.WriteNode(child))
                return ExportRefused;
            continue;
        }
        writer.WriteStartTag(rows);
        XMLNode row;
        rows.GetFirstChildNode(row);
        const bool hasRows = row.IsNode();
        for (; row.IsNode(); row.GetNextSibling(row)) {
            if (row.GetNodeType() != XMLNode::NodeElement) {
                if (!writer.WriteNode(row))
                    return ExportRefused;
                continue;
            }
            const ExportOutcome outcome = writeRow(row);
            if (outcome != ExportWritten)
                return outcome;
        }
        writer.WriteEndTag(rows, !hasRows);
    }
    writer.WriteEndTag(m_node, false);
    writer.WriteMarkup(L"\n");
    return ExportWritten;
}

bool CEncapFamilyTable::GetEvaluatedXmlThroughCopy(WideString& out) const {
    // A deep copy of the FamilyTable element, detached from the family's tree, serialised at the
    // end as the root of a UTF-16 document would be. Copying within the document keeps the
    // copy's names and texts where they are; a new document would have to take every string
    // of the table over.
    XMLNode table = m_node.CloneNode(true);
    if (!table.IsNode())
        return false;

    // Reads go through GetValue, which fills the value cache: the table stays logically const.
    auto* self = const_cast<CEncapFamilyTable*>(this);
    // A row marks the columns it has cells for, and the others are added in list order.
    const std::unordered_map<std::wstring_view, size_t> places = ColumnPlaces();
    std::vector<char> seen(m_columnIds.size());
    XMLNode rows;
    table.GetChildNode((L"./" + WideString(FamilyNames::ElemRows)).c_str(), rows);
    XMLNode row;
    WideString rowId, columnId, value;
    if (rows.IsNode() && rows.GetFirstChildNode(row)) {
        for (; row.IsNode(); row.GetNextSibling(row)) {
            if (row.GetNodeType() != XMLNode::NodeElement)
                continue;
            if (!row.GetProperty(FamilyNames::AttrRowId, rowId))
                return false;
            std::fill(seen.begin(), seen.end(), 0);
            XMLNode cell;
            row.GetFirstChildNode(cell);
            for (; cell.IsNode(); cell.GetNextSibling(cell)) {
                if (cell.GetNodeType() != XMLNode::NodeElement)
                    continue;
                if (!cell.GetProperty(FamilyNames::AttrColumnId, columnId))
                    return false;
                value.clear();
                if (self->GetValue(rowId.c_str(), columnId.c_str(), value) ==
                    CTableEvaluator::EvalOk)
                    cell.SetNodeText(value);
                const auto place = places.find(columnId);
                if (place != places.end())
                    seen[place->second] = 1;
            }
            for (size_t i = 0; i < m_columnIds.size(); ++i) {
                if (seen[i])
                    continue;
                value.clear();
                if (self->GetValue(rowId.c_str(), m_columnIds[i].c_str(), value) ==
                    CTableEvaluator::EvalOk)
                    row.AddNode(FamilyNames::ElemCell, value.c_str(), FamilyNames::AttrColumnId,
                                m_columnIds[i].c_str());
            }
        }
    }
    WideString text;
    if (!table.GetXml(text))
        return false;
    out = kEvaluatedXmlDeclaration + text + L"\n";
    return true;
}

CEncapFamilyRow* CEncapFamilyTable::InsertNewRow(int index, const WideString& rowId) {
    XMLNode rows = m_node.GetOrAddNode(FamilyNames::ElemRows);
    if (!rows.IsNode())
        return nullptr;
    // A given id isn't checked: a duplicate hides the earlier row as at load.
    const WideString id = rowId.empty() ? CStringUtil::NewGuid() : rowId;
    MapLoadedRows(); // before the list of ids changes
    const XMLNode node = PlaceNewElement(rows, nullptr, FamilyNames::ElemRow,
                                         FamilyNames::AttrRowId, id, index, m_rowIds);
    if (!node.IsNode())
        return nullptr;

    CEncapFamilyRow* row = new CEncapFamilyRow(node, this);
    row->SetRawValue(FamilyNames::ColRid, id.c_str());
    // As at load, of two ids equal but for case the later object wins and the earlier goes.
    CEncapFamilyRow*& slot = m_rows[id];
    delete slot;
    slot = row;
    row->SetRowState(CEncapFamilyRow::RowInserted);
    // Values that a cache file kept for a former row of that id must not be served.
    if (m_cache) {
        m_cache->DropRow(id);
        m_cache->DetachFile();
    }
    BumpMemberRevision(id.c_str());
    return row;
}

bool CEncapFamilyTable::DeleteRow(int index) {
    CEncapFamilyRow* row = GetFamilyRowByIndex(index);
    if (!row)
        return false;
    const WideString rowId = m_rowIds[static_cast<size_t>(index)];
    DeleteLocalizedCellsValues(rowId.c_str(), L"", true);
    row->GetXMLNode().RemoveThisNode(true);
    m_rowIds.erase(m_rowIds.begin() + index);
    m_rows.RemoveKey(rowId);
    if (m_cache) {
        m_cache->DropRow(rowId);
        m_cache->DetachFile();
    }
    delete row;
    return true;
}

CEncapFamilyRow* CEncapFamilyTable::CopyRow(const WideString& rowId) {
    CEncapFamilyRow* source = GetFamilyRowByID(rowId.c_str());
    if (!source)
        return nullptr;
    CEncapFamilyRow* copy = InsertNewRow(static_cast<int>(GetRowsCount()), WideString());
    if (!copy)
        return nullptr;
    WideString copyId;
    copy->GetRowID(copyId);
    const WideStringList columnIds = m_columnIds;
    for (const WideString& columnId : columnIds) {
        if (SameTextIgnoringCase(columnId, FamilyNames::ColRid) ||
            SameTextIgnoringCase(columnId, FamilyNames::ColStatus) ||
            !source->HasRawValue(columnId.c_str()))
            continue;
        // Read through the row, so that an override comes out evaluated.
        WideString value;
        source->GetValue(columnId.c_str(), value);
        const CEncapFamilyColumn* column = GetFamilyColumnByID(columnId.c_str());
        SetValue(copyId.c_str(), columnId.c_str(), value.c_str(),
                 column && column->IsReferencedByOther());
    }
    return copy;
}

bool CEncapFamilyTable::PasteRow(int targetIndex, int sourceIndex) {
    CEncapFamilyRow* target = GetFamilyRowByIndex(targetIndex);
    const CEncapFamilyRow* source = GetFamilyRowByIndex(sourceIndex);
    if (!target || !source)
        return false;
    const WideStringList columnIds = m_columnIds;
    for (const WideString& columnId : columnIds) {
        if (SameTextIgnoringCase(columnId, FamilyNames::ColRid) ||
            SameTextIgnoringCase(columnId, FamilyNames::ColStatus))
            continue;
        WideString value;
        source->GetValue(columnId.c_str(), value);
        target->SetValue(columnId.c_str(), value.c_str(), true);
    }
    return true;
}

CEncapFamilyColumn* CEncapFamilyTable::DuplicateColumn(int index, const wchar_t* sourceColumnId,
                                                       const wchar_t* newColumnId) {
    const CEncapFamilyColumn* source = GetFamilyColumnByID(sourceColumnId);
    if (!source || !IsValidNewColumnName(newColumnId))
        return nullptr;
    XMLNode clone = source->GetXMLNode().CloneNode(false);
    if (!clone.IsNode())
        return nullptr;
    XMLNode columns = m_node.GetOrAddNode(FamilyNames::ElemColumns);
    if (!columns.IsNode())
        return nullptr;
    const WideString id = newColumnId;
    const XMLNode node = PlaceNewElement(columns, &clone, nullptr, FamilyNames::AttrColumnId, id,
                                         index, m_columnIds);
    if (!node.IsNode())
        return nullptr;

    // The column reads the source's attributes, its old id too, and then takes the new one.
    CEncapFamilyColumn* column = new CEncapFamilyColumn(node, this);
    m_columns.SetAt(id.c_str(), column);
    column->SetColumnID(id.c_str());
    column->SetKeyWeight(0);
    column->SetIsHidden(false);
    if (m_cache) {
        m_cache->ClearColumn(id);
        m_cache->DetachFile();
    }
    const WideStringList rowIds = m_rowIds;
    for (const WideString& rowId : rowIds) {
        WideString value;
        if (GetRawValue(rowId.c_str(), sourceColumnId, value) == 0)
            SetValue(rowId.c_str(), id.c_str(), value.c_str(), false);
    }
    return column;
}

bool CEncapFamilyTable::DeleteColumn(int index) {
    CEncapFamilyColumn* column = GetFamilyColumnByIndex(index);
    if (!column)
        return false;
    // While the columns that depend on this one are still known.
    if (column->ChangeInColumnCausesRefresh())
        BumpAllMemberRevisions(nullptr);
    column->InvalidateCache(WideString(), WideString());
    RemoveColumnDependencies(column);
    // Key weights stay dense from 1.
    const int weight = column->GetKeyWeight();
    if (weight > 0) {
        m_columns.ForEach([weight](const WideString&, CEncapFamilyColumn* other) {
            if (other && other->GetKeyWeight() > weight)
                other->SetKeyWeight(other->GetKeyWeight() - 1);
        });
    }
    WideString columnId;
    column->GetColumnID(columnId);
    column->GetXMLNode().RemoveThisNode(true);
    MapLoadedRows();
    m_rows.ForEach([&columnId](const WideString&, CEncapFamilyRow* row) {
        if (row)
            row->DeleteCellsColumnValues(columnId.c_str(), true);
    });
    if (m_family) {
        m_family->RemoveAllColumnMapping(column);
        m_family->DeleteLocalizedColumnPropertyValues(columnId.c_str());
    }
    const WideString listedId = m_columnIds[static_cast<size_t>(index)];
    m_columnIds.erase(m_columnIds.begin() + index);
    m_columns.RemoveKey(listedId);
    if (m_cache) {
        m_cache->ClearColumn(columnId);
        m_cache->DetachFile();
    }
    delete column;
    return true;
}

void CEncapFamilyTable::MoveElement(bool columns, const wchar_t* id, int& index) {
    if (!columns)
        MapLoadedRows(); // before the list of ids changes
    WideStringList& ids = columns ? m_columnIds : m_rowIds;
    const auto found = std::find(ids.begin(), ids.end(), WideString(Text(id)));
    if (found == ids.end())
        return;
    const int count = static_cast<int>(ids.size());
    if (index >= count)
        index = count - 1;
    if (index == static_cast<int>(found - ids.begin()))
        return;
    XMLNode element;
    if (columns) {
        if (const CEncapFamilyColumn* column = GetFamilyColumnByID(found->c_str()))
            element = column->GetXMLNode();
    } else if (const CEncapFamilyRow* row = GetFamilyRowByID(found->c_str())) {
        element = row->GetXMLNode();
    }
    if (!element.RemoveThisNode(false))
        return;
    const WideString moved = *found;
    ids.erase(found);
    XMLNode parent =
        m_node.GetOrAddNode(columns ? FamilyNames::ElemColumns : FamilyNames::ElemRows);
    // A negative index isn't corrected; the element then goes last, and so does the id.
    if (parent.IsNode() && parent.InsertChild(element, index).IsNode()) {
        const size_t at = index < 0 ? ids.size() : std::min(static_cast<size_t>(index), ids.size());
        ids.insert(ids.begin() + static_cast<std::ptrdiff_t>(at), moved);
    }
    if (m_cache)
        m_cache->DetachFile();
}

void CEncapFamilyTable::ChangeColumnIndex(const wchar_t* columnId, int& index) {
    MoveElement(true, columnId, index);
}

void CEncapFamilyTable::ChangeRowIndex(const wchar_t* rowId, int& index) {
    MoveElement(false, rowId, index);
}

} // namespace torvex

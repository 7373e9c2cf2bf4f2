#include "torvex/family/CEncapFamilyColumn.h"

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/CStringMapTo.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/text/CStringUtil.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XPathLiteral.h"

#include <cwchar>
#include <cwctype>
#include <map>
#include <set>
#include <vector>

namespace torvex {
namespace {

const wchar_t* Text(const wchar_t* text) {
    return text ? text : L"";
}

using Result = CTableEvaluator::EvaluateResult;

// `start` and every column reached from it through the dependents, each once, breadth first;
// `excluded` is never entered (unless it is `start`), and the walk doesn't go on from a column
// for which `stop` answers true. The visited set ends a loop of formulas read from a document,
// and the work list keeps a long chain off the stack.
template <typename Stop>
std::vector<CEncapFamilyColumn*> ReachableColumns(CEncapFamilyColumn* start,
                                                  const CEncapFamilyColumn* excluded, Stop stop) {
    std::vector<CEncapFamilyColumn*> order{start};
    std::set<const CEncapFamilyColumn*> visited{start};
    for (size_t i = 0; i < order.size(); ++i) {
        if (stop(order[i]))
            continue;
        for (CEncapFamilyColumn* dependent : order[i]->GetDependantColumns()) {
            if (dependent && dependent != excluded && visited.insert(dependent).second)
                order.push_back(dependent);
        }
    }
    return order;
}

} // namespace

CEncapFamilyColumn::CEncapFamilyColumn(bool) {}

CEncapFamilyColumn::CEncapFamilyColumn(CEncapFamilyTable* table, bool)
    : m_table(table), m_cache(table ? table->GetValueCache() : nullptr) {}

CEncapFamilyColumn::CEncapFamilyColumn(const XMLNode& node, CEncapFamilyTable* table)
    : m_table(table), m_node(node), m_cache(table ? table->GetValueCache() : nullptr) {
    InitMemoryCache();
}

CEncapFamilyColumn::~CEncapFamilyColumn() = default;

void CEncapFamilyColumn::InitMemoryCache() {
    WideString text;
    if (m_node.GetProperty(FamilyNames::AttrColumnId, text))
        SetIdInMemory(text);
    if (m_node.GetProperty(FamilyNames::AttrColumnwideValue, text))
        m_formula = text;
    if (m_node.GetProperty(FamilyNames::AttrTitle, text))
        m_title = text;
    m_node.GetStrBoolProperty(FamilyNames::AttrCustom, m_custom);
    m_node.GetStrBoolProperty(FamilyNames::AttrHidden, m_hidden);
    int weight = 0;
    if (m_node.GetProperty(FamilyNames::AttrKeyWeight, weight))
        m_keyWeight = weight;
    if (m_node.GetProperty(FamilyNames::AttrUnitType, text))
        m_unitType = text;
    // A missing ValueType reads as the empty text, which is DataString.
    text.clear();
    m_node.GetProperty(FamilyNames::AttrValueType, text);
    m_dataType = DataTypes::DataTypeStr2Num(text);
}

void CEncapFamilyColumn::SetIdInMemory(const WideString& columnId) {
    m_columnId = columnId;
    m_rawOnly = SameTextIgnoringCase(m_columnId, FamilyNames::ColRid) ||
                SameTextIgnoringCase(m_columnId, FamilyNames::ColStatus);
    m_readHint = {};  // the key pooled for the old id is not this column's
    m_localized = {}; // nor the answer
    m_foundInTable = UINT64_MAX;
}

CEncapFamily* CEncapFamilyColumn::GetFamily() const {
    return m_table ? m_table->GetFamily() : nullptr;
}

WideString CEncapFamilyColumn::ActualLanguage() const {
    WideString language;
    if (m_table)
        m_table->GetActualLanguage(language);
    return language;
}

// ---- Cell values ----

Result CEncapFamilyColumn::GetValue(const wchar_t* rowId, const wchar_t* language,
                                    WideString& out) {
    if (!m_table)
        return CTableEvaluator::EvalNoValue;
    // A hit, the common case, is answered without a further call.
    if (ReadCached(rowId, language, out) || ReadRawColumn(rowId, language, out))
        return CTableEvaluator::EvalOk;
    const wchar_t* row = Text(rowId);
    const wchar_t* lang = Text(language);
    // The table's Evaluate, without copies of the texts. The table finds this very column by
    // its id while its columns stand as they did when that was last seen.
    const uint64_t generation = m_table->GetColumnsGeneration();
    if (m_foundInTable != generation) {
        m_foundInTable =
            m_table->GetFamilyColumnByID(m_columnId.c_str()) == this ? generation : UINT64_MAX;
    }
    CEncapFamilyColumn* known = m_foundInTable == generation ? this : nullptr;
    bool handedOver = false;
    const Result evaluated =
        m_table->GetEvaluator()->EvaluateCellOf(row, m_columnId, lang, known, &out, &handedOver);
    return ReadBackEvaluated(row, lang, evaluated, out, handedOver);
}

bool CEncapFamilyColumn::ReadWithoutEvaluating(const wchar_t* rowId, const wchar_t* language,
                                               WideString& out, Result& result) {
    if (!m_table) {
        result = CTableEvaluator::EvalNoValue;
        return true;
    }
    result = CTableEvaluator::EvalOk;
    return ReadCached(rowId, language, out) || ReadRawColumn(rowId, language, out);
}

bool CEncapFamilyColumn::ReadCached(const wchar_t* rowId, const wchar_t* language,
                                    WideString& out) {
    // Copies no key.
    return m_cache && m_cache->GetValue(rowId ? rowId : L"", m_columnId, language ? language : L"",
                                        m_readHint, out) == 0;
}

bool CEncapFamilyColumn::ReadRawColumn(const wchar_t* rowId, const wchar_t* language,
                                       WideString& out) {
    // The row id and the status are never evaluated: they answer the raw cell.
    if (m_rawOnly) {
        const wchar_t* row = Text(rowId);
        m_table->GetRawValue(row, m_columnId.c_str(), out);
        SetCacheValue(row, Text(language), out.c_str());
        return true;
    }
    return false;
}

Result CEncapFamilyColumn::ReadBackEvaluated(const wchar_t* rowId, const wchar_t* language,
                                             Result evaluated, WideString& out, bool handedOver) {
    if (evaluated != CTableEvaluator::EvalOk && evaluated != CTableEvaluator::EvalUnitMismatch)
        return evaluated;
    if (!handedOver &&
        (!m_cache || m_cache->GetValue(rowId, m_columnId, language, m_readHint, out) != 0))
        return CTableEvaluator::EvalNoValue;
    if (evaluated == CTableEvaluator::EvalUnitMismatch) {
        // A value from the unitless fall-back is never kept, so each read warns anew.
        m_cache->ClearFallbackValue(rowId, m_columnId, language);
        return CTableEvaluator::EvalUnitMismatch;
    }
    return CTableEvaluator::EvalOk;
}

Result CEncapFamilyColumn::GetValue(const wchar_t* rowId, WideString& out) {
    const WideString language = ActualLanguage();
    return GetValue(rowId, language.c_str(), out);
}

void CEncapFamilyColumn::SetValue(const wchar_t* rowId, const wchar_t* language,
                                  const wchar_t* value, bool invalidate) {
    if (!m_table)
        return;
    const WideString row = Text(rowId);
    const WideString lang = Text(language);
    WideString text = Text(value);
    if (invalidate)
        InvalidateCache(row, lang);
    // After any write the cache file no longer matches the document.
    if (m_cache)
        m_cache->DetachFile();
    // An empty value on an expression column falls back to the formula; a material column
    // caches the material's name, not the reference written here.
    if (!(text.empty() && IsExpressionColumn()) && !IsMaterial())
        SetCacheValue(row.c_str(), lang.c_str(), text.c_str());
    if (m_dataType == DataTypes::DataReal)
        CStringUtil::ReplaceDecimalPointOfCell(text);
    m_table->SetRawValue(row.c_str(), m_columnId.c_str(), lang.c_str(), text.c_str());
    if (ChangeInColumnCausesRefresh())
        m_table->BumpMemberRevision(row.c_str());
}

void CEncapFamilyColumn::SetValue(const wchar_t* rowId, const wchar_t* value, bool invalidate) {
    const WideString language = ActualLanguage();
    SetValue(rowId, language.c_str(), value, invalidate);
}

void CEncapFamilyColumn::ClearCachedValue(const wchar_t* rowId, const wchar_t* language) {
    if (m_cache)
        m_cache->ClearValue(Text(rowId), m_columnId, Text(language));
}

void CEncapFamilyColumn::ClearCachedValue(const wchar_t* rowId) {
    if (m_cache)
        m_cache->ClearColumnInRow(Text(rowId), m_columnId);
}

void CEncapFamilyColumn::SetCacheValue(const wchar_t* rowId, const wchar_t* value) {
    const WideString language = ActualLanguage();
    SetCacheValue(rowId, language.c_str(), value);
}

void CEncapFamilyColumn::SetCacheValue(const wchar_t* rowId, const wchar_t* language,
                                       const wchar_t* value) {
    if (m_cache)
        m_cache->SetValue(rowId ? rowId : L"", m_columnId, Text(language), Text(value), m_readHint);
}

bool CEncapFamilyColumn::CacheEvaluatedValue(const wchar_t* rowId, const wchar_t* language,
                                             WideString& value) {
    value.resize(std::wcslen(value.c_str()));
    return m_cache &&
           m_cache->SetValue(rowId ? rowId : L"", m_columnId, Text(language), value, m_readHint);
}

void CEncapFamilyColumn::InvalidateCache(const WideString& rowId, const WideString& language) {
    for (CEncapFamilyColumn* column :
         ReachableColumns(this, nullptr, [](auto*) { return false; })) {
        if (!column->m_cache)
            continue;
        column->m_cache->DetachFile();
        if (rowId.empty())
            column->m_cache->ClearColumn(column->m_columnId);
        else
            column->m_cache->ClearValue(rowId, column->m_columnId, language);
    }
}

bool CEncapFamilyColumn::ChangeInColumnCausesRefresh() {
    // A custom column answers false without asking its own dependents; the first geometry or
    // host property column reached answers true.
    bool refresh = false;
    ReachableColumns(this, nullptr, [&refresh](const CEncapFamilyColumn* column) {
        if (!refresh && !column->IsCustom())
            refresh = column->IsGeometryColumn() || column->IsHostPropertyColumn();
        return refresh || column->IsCustom();
    });
    return refresh;
}

// ---- Dependencies ----

void CEncapFamilyColumn::AddDependentColumn(CEncapFamilyColumn* column) {
    if (column)
        m_dependants.insert(column);
}

void CEncapFamilyColumn::RemoveDependentColumn(CEncapFamilyColumn* column) {
    m_dependants.erase(column);
}

Result CEncapFamilyColumn::CheckCircularDependency(CEncapFamilyColumn* origin) {
    const CEncapFamilyColumn* target = origin ? origin : this;
    // Depth first over the dependents, with the path kept: a column met again while still on
    // the path is a loop, which only a document can bring (every edit is checked), and counts
    // as circular. A column already finished answered 0 and isn't walked again.
    struct Frame {
        const CEncapFamilyColumn* column;
        ColumnSet::const_iterator next;
    };
    std::map<const CEncapFamilyColumn*, bool> onPath;
    std::vector<Frame> path;
    auto enter = [&](const CEncapFamilyColumn* column) {
        if (column->m_dependants.count(const_cast<CEncapFamilyColumn*>(target)) != 0)
            return true;
        onPath[column] = true;
        path.push_back(Frame{column, column->m_dependants.begin()});
        return false;
    };
    if (enter(this))
        return CTableEvaluator::EvalCircularDependency;
    while (!path.empty()) {
        Frame& top = path.back();
        if (top.next == top.column->m_dependants.end()) {
            onPath[top.column] = false;
            path.pop_back();
            continue;
        }
        const CEncapFamilyColumn* dependent = *top.next++;
        const auto seen = onPath.find(dependent);
        if (seen != onPath.end()) {
            if (seen->second)
                return CTableEvaluator::EvalCircularDependency;
            continue;
        }
        if (enter(dependent))
            return CTableEvaluator::EvalCircularDependency;
    }
    return CTableEvaluator::EvalOk;
}

CEncapFamilyColumn::ColumnSet&
CEncapFamilyColumn::GetAllDependentColumns(ColumnSet& result, const CEncapFamilyColumn* root) {
    const CEncapFamilyColumn* excluded = root ? root : this;
    for (CEncapFamilyColumn* column : ReachableColumns(this, excluded, [](auto*) { return false; }))
        result.insert(column);
    return result;
}

bool CEncapFamilyColumn::IsReferencedDirectlyBy(CEncapFamilyColumn* column) const {
    return column && m_dependants.count(column) != 0;
}

bool CEncapFamilyColumn::IsReferencedBy(CEncapFamilyColumn* column) const {
    return IsReferencedBy2(column, 0);
}

bool CEncapFamilyColumn::IsReferencedBy2(CEncapFamilyColumn* column, int) const {
    if (!column)
        return false;
    // Asked of this column and of every column that depends on it, each once.
    bool found = false;
    ReachableColumns(const_cast<CEncapFamilyColumn*>(this), nullptr,
                     [column, &found](const CEncapFamilyColumn* reached) {
                         found = found || reached->IsReferencedDirectlyBy(column);
                         return found;
                     });
    return found;
}

Result CEncapFamilyColumn::ValidateNormalFormula(const wchar_t* formula,
                                                 const WideString& language) {
    if (!m_table)
        return CTableEvaluator::EvalNoValue;
    Result result = m_table->CheckFormulaSyntax(formula, DataTypes::FormulaExpression, m_dataType,
                                                m_unitType.c_str());
    if (result != CTableEvaluator::EvalOk)
        return result;
    result = m_table->UpdateColumnsDependency(this, formula);
    if (result != CTableEvaluator::EvalOk)
        return result;
    result = CheckCircularDependency(nullptr);
    // A pure check: the graph goes back to the formula in force whatever the answer.
    RestoreDependencies(language);
    return result;
}

// The graph back on the formula in force: in `language`, or the actual language when it is empty.
void CEncapFamilyColumn::RestoreDependencies(const WideString& language) {
    WideString former;
    if (language.empty())
        GetFormula(former);
    else
        GetFormula(former, language.c_str());
    m_table->UpdateColumnsDependency(this, former.c_str());
}

Result CEncapFamilyColumn::ValidateFormulaBeforeSet(const wchar_t* formula,
                                                    const WideString& language) {
    if (!m_table)
        return CTableEvaluator::EvalNoValue;
    const DataTypes::ColumnFormulaType type =
        m_custom ? DataTypes::FormulaRange : DataTypes::FormulaExpression;
    Result result = m_table->CheckFormulaSyntax(formula, type, m_dataType, m_unitType.c_str());
    if (result != CTableEvaluator::EvalOk)
        return result;
    // From here the graph reflects the new formula; it stays so when the formula is accepted.
    result = m_table->UpdateColumnsDependency(this, formula);
    if (result != CTableEvaluator::EvalOk)
        return result;
    result = CheckCircularDependency(nullptr);
    if (result == CTableEvaluator::EvalOk)
        return result;
    RestoreDependencies(language);
    return result;
}

// ---- Derived readings ----

bool CEncapFamilyColumn::IsExpressionColumn() const {
    WideString formula;
    GetFormula(formula);
    return !formula.empty();
}

bool CEncapFamilyColumn::IsLocalized() const {
    if (!m_table)
        return false;
    // Asked for every cell evaluated: the answer is kept while the mapping's answers stand.
    const CEncapFamily* family = m_table->GetFamily();
    const uint64_t generation = family ? family->GetLocalizedGeneration() : 0;
    if (generation != 0 && m_localized.generation == generation)
        return m_localized.answer;
    const bool answer = m_table->IsColumnLocalized(m_columnId.c_str());
    m_localized = {generation, answer};
    return answer;
}

bool CEncapFamilyColumn::IsLegacyMapColumn() const {
    CEncapFamily* family = GetFamily();
    if (!family)
        return false;
    WideString category;
    if (!family->GetColumnCategory(m_columnId.c_str(), category))
        return false;
    for (const wchar_t* id : FamilyNames::LegacyMapParams) {
        if (SameTextIgnoringCase(category, id))
            return true;
    }
    return false;
}

// ---- Title ----

void CEncapFamilyColumn::GetTitle(WideString& out) const {
    const WideString language = ActualLanguage();
    GetTitle(out, language.c_str());
}

void CEncapFamilyColumn::GetTitle(WideString& out, const wchar_t*) const {
    // Hidden columns have no localized title. The language asked for plays no part: the
    // localized title is always that of the actual language.
    CEncapFamily* family = GetFamily();
    if (family && !m_hidden &&
        family->GetLocalizedColumnPropertyValue(FamilyNames::ElemTitle, m_columnId.c_str(), out) ==
            0)
        return;
    out = m_title;
}

void CEncapFamilyColumn::SetTitle(const wchar_t* title) {
    const WideString text = Text(title);
    m_node.SetProperty(FamilyNames::AttrTitle, text.c_str());
    m_title = text;
    CEncapFamily* family = GetFamily();
    if (family && !m_hidden)
        family->SetLocalizedColumnPropertyValue(FamilyNames::ElemTitle, m_columnId.c_str(),
                                                text.c_str());
}

void CEncapFamilyColumn::SetTitle(const wchar_t* title, const wchar_t* language) {
    const WideString text = Text(title);
    m_node.SetProperty(FamilyNames::AttrTitle, text.c_str());
    m_title = text;
    CEncapFamily* family = GetFamily();
    if (family && !m_hidden)
        family->SetLocalizedColumnPropertyValue(FamilyNames::ElemTitle, m_columnId.c_str(),
                                                Text(language), text.c_str());
}

// ---- Setters ----

void CEncapFamilyColumn::SetColumnID(const wchar_t* columnId) {
    const WideString text = Text(columnId);
    m_node.SetProperty(FamilyNames::AttrColumnId, text.c_str());
    SetIdInMemory(text);
    // The column's cells are evaluated under the new id: what the evaluator remembers may not
    // hold.
    if (m_cache)
        m_cache->NoteChange();
}

void CEncapFamilyColumn::SetColumnType(ColumnType type) {
    // A material column's literals are keys the host names: its cells evaluate otherwise.
    if (type != m_columnType && m_cache)
        m_cache->NoteChange();
    m_columnType = type;
}

void CEncapFamilyColumn::SetIsCustom(const bool& custom) {
    m_node.SetStrBoolProperty(FamilyNames::AttrCustom, custom);
    if (custom == m_custom)
        return;
    m_custom = custom;
    // A range column evaluates otherwise: cached values must not reach the cache file.
    if (m_cache)
        m_cache->DetachFile();
    // Asked on the new value: turning custom on never bumps.
    if (ChangeInColumnCausesRefresh() && m_table)
        m_table->BumpAllMemberRevisions(nullptr);
}

void CEncapFamilyColumn::SetIsHidden(const bool& hidden) {
    m_node.SetStrBoolProperty(FamilyNames::AttrHidden, hidden);
    m_hidden = hidden;
}

void CEncapFamilyColumn::SetKeyWeight(const int& keyWeight) {
    m_node.SetProperty(FamilyNames::AttrKeyWeight, keyWeight);
    m_keyWeight = keyWeight;
}

void CEncapFamilyColumn::SetDataType(DataTypes::ColumnDataType dataType) {
    m_node.SetProperty(FamilyNames::AttrValueType, DataTypes::DataTypeNum2Str(dataType).c_str());
    m_dataType = dataType;
    // Values computed under the former type must not reach the cache file.
    if (m_cache)
        m_cache->DetachFile();
}

void CEncapFamilyColumn::SetUnitType(const wchar_t* unitType) {
    const WideString text = Text(unitType);
    if (text == m_unitType)
        return;
    m_node.SetProperty(FamilyNames::AttrUnitType, text.c_str());
    m_unitType = text;
    // Values computed in the former unit must not reach the cache file.
    if (m_cache)
        m_cache->DetachFile();
    if (ChangeInColumnCausesRefresh() && m_table)
        m_table->BumpAllMemberRevisions(nullptr);
}

void CEncapFamilyColumn::SetIsGeometryColumn(bool geometry) {
    m_geometry = geometry;
    m_property = m_geometry || m_hostProperty;
}

void CEncapFamilyColumn::SetIsHostPropertyColumn(bool hostProperty) {
    m_hostProperty = hostProperty;
    m_property = m_geometry || m_hostProperty;
}

void CEncapFamilyColumn::SetColIPropertyData(CEncapFamilyColIPropertyData* data) {
    // Handing back the object already held keeps it (releasing it first would leave the
    // column pointing at freed memory).
    if (data == nullptr || data != m_propertyData.get())
        m_propertyData.reset(data);
    SetIsHostPropertyColumn(data != nullptr);
}

void CEncapFamilyColumn::UpdateColumnType(const WideString& category) {
    ColumnType type = ColumnTypeNormal;
    if (category == FamilyNames::ParamFileName)
        type = ColumnTypeFileName;
    else if (category == FamilyNames::ParamMaterial)
        type = ColumnTypeMaterial;
    else if (category == FamilyNames::ParamCategory3)
        type = ColumnTypeCategory3;
    else if (category == FamilyNames::ParamCategory4)
        type = ColumnTypeCategory4;
    else if (category == FamilyNames::ParamCategory5)
        type = ColumnTypeCategory5;
    SetColumnType(type);
    if (m_columnType != ColumnTypeNormal)
        SetIsHostPropertyColumn(true);
}

// ---- Formula ----

void CEncapFamilyColumn::GetFormula(WideString& out) const {
    const WideString language = ActualLanguage();
    GetFormula(out, language.c_str());
}

void CEncapFamilyColumn::GetFormula(WideString& out, const wchar_t* language) const {
    if (!IsLocalized()) {
        out = m_formula;
        return;
    }
    CEncapFamily* family = GetFamily();
    if (!family)
        return;
    if (family->GetLocalizedColumnPropertyValue(FamilyNames::ElemColumnwideValue,
                                                m_columnId.c_str(), Text(language), out) == 1)
        out = m_formula;
}

Result CEncapFamilyColumn::SetFormula(const wchar_t* formula) {
    const WideString language = ActualLanguage();
    return SetFormula(formula, language.c_str());
}

Result CEncapFamilyColumn::SetFormula(const wchar_t* formula, const wchar_t* language) {
    if (!m_table)
        return CTableEvaluator::EvalNoValue;
    const WideString text = Text(formula);
    const WideString lang = Text(language);
    WideString current;
    GetFormula(current, lang.c_str());
    // The present text changes nothing, not even the cache.
    if (current == text)
        return CTableEvaluator::EvalOk;
    const Result result = ValidateFormulaBeforeSet(text.c_str(), lang);
    if (result != CTableEvaluator::EvalOk)
        return result;

    // The family document keeps a Real column's numbers with a point.
    WideString stored = text;
    if (m_dataType == DataTypes::DataReal)
        CStringUtil::ReplaceDecimalPointOfColumnExpression(stored, true);
    m_node.SetProperty(FamilyNames::AttrColumnwideValue, stored.c_str());
    m_formula = stored;

    // A column that held literals gives its cells up to the formula; a column that had a
    // formula already keeps its overrides.
    if (current.empty()) {
        for (unsigned int i = 0; i < m_table->GetRowsCount(); ++i) {
            if (CEncapFamilyRow* row = m_table->GetFamilyRowByIndex(static_cast<int>(i)))
                row->DeleteCellsColumnValues(m_columnId.c_str(), false);
        }
    }
    if (ChangeInColumnCausesRefresh())
        m_table->BumpAllMemberRevisions(nullptr);
    // The string document takes the caller's text, not the one with a point.
    CEncapFamily* family = GetFamily();
    if (family && IsLocalized())
        family->SetLocalizedColumnPropertyValue(FamilyNames::ElemColumnwideValue,
                                                m_columnId.c_str(), lang.c_str(), text.c_str());
    InvalidateCache(WideString(), WideString());
    return CTableEvaluator::EvalOk;
}

Result CEncapFamilyColumn::SetEmptyFormula() {
    // A column without a formula can't be a range.
    SetIsCustom(false);
    WideString current;
    GetFormula(current);
    if (current.empty())
        return CTableEvaluator::EvalOk;
    m_node.SetProperty(FamilyNames::AttrColumnwideValue, L"");
    m_formula.clear();
    if (m_table && ChangeInColumnCausesRefresh())
        m_table->BumpAllMemberRevisions(nullptr);
    InvalidateCache(WideString(), WideString());
    return CTableEvaluator::EvalOk;
}

// ---- Values across the rows ----

bool CEncapFamilyColumn::HasUniqueValues(Result& result) {
    if (!m_table)
        return true;
    std::set<WideString> seen;
    for (unsigned int i = 0; i < m_table->GetRowsCount(); ++i) {
        const WideString rowId = m_table->GetRowIDByIndex(static_cast<int>(i));
        WideString value;
        result = GetValue(rowId.c_str(), value);
        if (result != CTableEvaluator::EvalOk)
            return false;
        // File names compare without regard to case.
        if (m_columnType == ColumnTypeFileName) {
            for (wchar_t& c : value)
                c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
        }
        if (!seen.insert(std::move(value)).second)
            return false;
    }
    return true;
}

bool CEncapFamilyColumn::GetOverrideRowIds(WideStringList& rowIds) const {
    // Rows/Row/Cell[@ColumnId='<id>']: an id holding a quote is not looked up, and so finds
    // nothing.
    if (!m_table || !FitsXPathLiteral(m_columnId, L'\''))
        return false;
    const WideString path = WideString(FamilyNames::ElemRows) + L"/" + FamilyNames::ElemRow + L"/" +
                            FamilyNames::ElemCell + L"[@" + FamilyNames::AttrColumnId + L"='" +
                            m_columnId + L"']";
    XMLNodeArray cells;
    if (!m_table->GetXMLNode().SelectChildNodes(path.c_str(), cells) || cells.GetSize() == 0)
        return false;
    for (const XMLNode& cell : cells) {
        WideString rowId;
        if (cell.GetParentNode().GetProperty(FamilyNames::AttrRowId, rowId))
            rowIds.push_back(std::move(rowId));
    }
    return true;
}

bool CEncapFamilyColumn::HasExpressionColumnOverrides() const {
    if (!m_table || !IsExpressionColumn())
        return false;
    WideStringList rowIds;
    return GetOverrideRowIds(rowIds);
}

bool CEncapFamilyColumn::GetExpressionColumnOverrides(WideStringList& rowIds) const {
    if (!m_table || !IsExpressionColumn())
        return false;
    return GetOverrideRowIds(rowIds);
}

void CEncapFamilyColumn::GetAllUniqueRawValues(std::set<WideString>& out) const {
    out.clear();
    WideString formula;
    GetFormula(formula);
    if (!formula.empty())
        out.insert(formula);
    WideStringList rowIds;
    if (!GetOverrideRowIds(rowIds))
        return;
    for (const WideString& rowId : rowIds) {
        WideString value;
        m_table->GetRawValue(rowId.c_str(), m_columnId.c_str(), value);
        if (!value.empty())
            out.insert(std::move(value));
    }
}

} // namespace torvex

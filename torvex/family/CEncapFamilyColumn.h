#pragma once
// One column of a family table: an object over one Column element that keeps the element's
// attributes in memory, knows its kind and flags, and reads and writes its cells through the
// table's value cache and the table.
//
// The members mirror the attributes as long as every change goes through the setters here; a
// write through the XMLNode from outside isn't seen.

#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamilyColIPropertyData.h"
#include "torvex/platform/WideString.h"
#include "torvex/text/DataTypes.h"
#include "torvex/xml/XMLNode.h"

#include <memory>
#include <set>

namespace torvex {

class CEncapFamily;
class CEncapFamilyTable;

/// Made by CEncapFamilyTable and CEncapFamily only; owned by the table.
class CEncapFamilyColumn {
public:
    /// The kind of a column, from the category parameter that the mapping ties to it.
    enum ColumnType : int {
        ColumnTypeNormal = 0,
        ColumnTypeFileName = 1,
        ColumnTypeMaterial = 2,
        ColumnTypeCategory3 = 3,
        ColumnTypeCategory4 = 4,
        ColumnTypeCategory5 = 5,
    };

    /// Columns ordered by pointer value, not owned.
    using ColumnSet = std::set<CEncapFamilyColumn*>;

    /// Copies every member; the copy shares the property data with its source. Never fails.
    CEncapFamilyColumn(const CEncapFamilyColumn&) = default;
    /// Copies every member; the copy shares the property data with its source. Never fails.
    CEncapFamilyColumn& operator=(const CEncapFamilyColumn&) = default;
    /// Releases the property data (the last of the columns sharing it deletes it).
    virtual ~CEncapFamilyColumn();

    // Cell values.

    /// The cell from the value cache, or evaluated on a miss (RID and STATUS from the raw cell).
    /// 0 or 8 with a value; the evaluation's code (1-6) on failure; 7 when nothing came to the
    /// cache or without a table.
    virtual CTableEvaluator::EvaluateResult GetValue(const wchar_t* rowId, const wchar_t* language,
                                                     WideString& out);
    /// The same in the actual language.
    virtual CTableEvaluator::EvaluateResult GetValue(const wchar_t* rowId, WideString& out);
    /// Writes the cell: cache first (unless empty on an expression column, or a material
    /// column), then the document and the string documents, then a revision bump when the
    /// column changes what a member looks like. Any text is accepted; silent without a table.
    virtual void SetValue(const wchar_t* rowId, const wchar_t* language, const wchar_t* value,
                          bool invalidate);
    /// The same in the actual language.
    virtual void SetValue(const wchar_t* rowId, const wchar_t* value, bool invalidate);
    /// Drops the cached value of the cell in that language; nothing without a cache.
    virtual void ClearCachedValue(const wchar_t* rowId, const wchar_t* language);
    /// Drops the cached values of the cell in every language; nothing without a cache.
    virtual void ClearCachedValue(const wchar_t* rowId);

    // Plain readings.

    /// The Column element; empty for a column without one.
    XMLNode& GetXMLNode() { return m_node; }
    /// The Column element; empty for a column without one.
    const XMLNode& GetXMLNode() const { return m_node; }
    /// The kind. Never fails.
    ColumnType GetColumnType() const { return m_columnType; }
    /// The geometry flag. Never fails.
    bool IsGeometryColumn() const { return m_geometry; }
    /// The host property flag. Never fails.
    bool IsHostPropertyColumn() const { return m_hostProperty; }
    /// The host property binding; null when there is none.
    CEncapFamilyColIPropertyData* ColIPropertyData() const { return m_propertyData.get(); }
    /// The status flag. Never fails.
    bool IsStatusColumn() const { return m_status; }
    /// The property flag (geometry or host property, or an unknown object kind). Never fails.
    bool IsPropertyColumn() const { return m_property; }
    /// The columns whose column formula refers to this one.
    const ColumnSet& GetDependantColumns() const { return m_dependants; }
    /// The column id as held in memory (not re-read from the attribute).
    void GetColumnID(WideString& out) const { out = m_columnId; }
    /// The custom (range) flag. Never fails.
    bool IsCustom() const { return m_custom; }
    /// The hidden flag. Never fails.
    bool IsHidden() const { return m_hidden; }
    /// The key weight; above 0 for a key column. Never fails.
    int GetKeyWeight() const { return m_keyWeight; }
    /// The data type. Never fails.
    DataTypes::ColumnDataType GetDataType() const { return m_dataType; }
    /// The unit text, empty if none.
    void GetUnitType(WideString& out) const { out = m_unitType; }
    /// The unit, without a copy; valid until the unit changes. Never fails.
    const WideString& GetUnitTypeRef() const { return m_unitType; }

    // Derived readings.

    /// True for kind ColumnTypeMaterial.
    bool IsMaterial() const { return m_columnType == ColumnTypeMaterial; }
    /// True for any kind but ColumnTypeNormal.
    bool IsRestrictedColumn() const { return m_columnType != ColumnTypeNormal; }
    /// True for a key weight above 0.
    bool IsKeyColumn() const { return m_keyWeight > 0; }
    /// True when the formula in the actual language is not empty.
    bool IsExpressionColumn() const;
    /// Whether the family localizes this column; false without a table.
    bool IsLocalized() const;
    /// True when another column's formula refers to this one.
    bool IsReferencedByOther() const { return !m_dependants.empty(); }
    /// True when the column's category parameter is one of the legacy map ids; false without a
    /// family or a category parameter.
    bool IsLegacyMapColumn() const;

    // Title.

    /// The title in the actual language; see the next form.
    void GetTitle(WideString& out) const;
    /// The localized title in the actual language for a visible column of a family, else the
    /// stored title. The `language` argument has no effect, by design.
    void GetTitle(WideString& out, const wchar_t* language) const;
    /// Writes attribute Title and the member, then, for a visible column of a family, the title
    /// of every string document. Silent on failure.
    void SetTitle(const wchar_t* title);
    /// The same with only the given language's string document written.
    void SetTitle(const wchar_t* title, const wchar_t* language);

    // Setters: the document first, the member after. Silent on failure of the document.

    /// Writes attribute ColumnId and the member; the table's map and list are not touched.
    void SetColumnID(const wchar_t* columnId);
    /// Writes attribute Custom always; on a change of value updates the member, keeps the cache
    /// file from being written, and bumps the member revisions if the column now causes a
    /// refresh.
    void SetIsCustom(const bool& custom);
    /// Writes attribute Hidden and the member.
    void SetIsHidden(const bool& hidden);
    /// Writes attribute KeyWeight and the member.
    void SetKeyWeight(const int& keyWeight);
    /// Writes attribute ValueType (the stored type text) and the member; the cache file is no
    /// longer written.
    void SetDataType(DataTypes::ColumnDataType dataType);
    /// Nothing for the present text (exact comparison); else writes attribute UnitType and the
    /// member, keeps the cache file from being written, and bumps the member revisions if the
    /// column causes a refresh.
    void SetUnitType(const wchar_t* unitType);

    // In-memory setters; no trace in the document.

    /// Stores the kind (a material column evaluates its literals otherwise, so a new kind counts
    /// as a change of the value cache).
    void SetColumnType(ColumnType type);
    /// Stores the status flag.
    void SetIsStatusColumn(bool status) { m_status = status; }
    /// Stores the property flag.
    void SetIsPropertyColumn(bool property) { m_property = property; }
    /// Stores the geometry flag; the property flag becomes geometry OR host property.
    void SetIsGeometryColumn(bool geometry);
    /// Stores the host property flag; the property flag becomes geometry OR host property.
    void SetIsHostPropertyColumn(bool hostProperty);
    /// Releases the present binding, sets the host property flag to (data != null) and takes
    /// ownership of `data`.
    void SetColIPropertyData(CEncapFamilyColIPropertyData* data);
    /// Kind from a category parameter id (exact comparison); a kind other than normal also sets
    /// the host property flag, which is never cleared here.
    void UpdateColumnType(const WideString& category);

    // Formula.

    /// The formula in the actual language.
    void GetFormula(WideString& out) const;
    /// The member for a column that isn't localized; for a localized one the string document's
    /// formula in `language`, falling back to the member (left untouched without a family).
    void GetFormula(WideString& out, const wchar_t* language) const;
    /// Whether a change in this column changes what a member looks like: false for a custom
    /// column, true for a geometry or host property column, else whether a dependent column
    /// causes a refresh. Each column is asked once, so a loop of formulas ends the walk.
    bool ChangeInColumnCausesRefresh();
    /// Checks a formula for this column without keeping it: CheckFormulaSyntax as an expression
    /// (2, 5, 6), the dependency update (2, 5), then the loop check (1); the graph always ends on
    /// the formula in force (`language` empty: the actual language). 0 when acceptable.
    CTableEvaluator::EvaluateResult ValidateNormalFormula(const wchar_t* formula,
                                                          const WideString& language);
    /// SetFormula in the actual language.
    CTableEvaluator::EvaluateResult SetFormula(const wchar_t* formula);
    /// Sets the column formula: 0 at once for the present text; the check's code (1, 2, 4, 5,
    /// 6) with document, member and graph unchanged; else 0 after writing attribute and member,
    /// removing the cells of a column that held literals, bumping the revisions when the column
    /// changes what a member looks like, and invalidating the column and its dependents. 7
    /// without a table.
    CTableEvaluator::EvaluateResult SetFormula(const wchar_t* formula, const wchar_t* language);
    /// Clears the custom flag and the formula (attribute and member; no check, no graph update,
    /// localized formulas untouched), then bumps and invalidates as SetFormula. Always 0.
    CTableEvaluator::EvaluateResult SetEmptyFormula();

    // Values across the rows.

    /// Whether every row has a different value (file names of a kind-1 column compared without
    /// regard to case): false, with the code in `result`, at the first read other than 0 (8
    /// included) or the first repeated value. True for a table without rows (`result` untouched).
    bool HasUniqueValues(CTableEvaluator::EvaluateResult& result);
    /// Whether some row overrides the column formula with a Cell; false without a table or for a
    /// column without a formula.
    bool HasExpressionColumnOverrides() const;
    /// Appends the ids of the rows that override the column formula, in document order; false
    /// without a table, for a column without a formula, or when no row overrides it.
    bool GetExpressionColumnOverrides(WideStringList& rowIds) const;
    /// Clears `out`, then adds the formula (when not empty) and every non-empty Cell text of
    /// the column. Never fails; without a table only the formula is added.
    void GetAllUniqueRawValues(std::set<WideString>& out) const;

    // Dependencies: the columns whose column formula refers to this one.

    /// 1 when `origin` (null: this column) is a dependent of this column or of any column that
    /// depends on it, directly or not; also 1 when the walk meets a loop of dependents (one a
    /// document can hold), so that such a graph never hangs it. 0 otherwise.
    CTableEvaluator::EvaluateResult CheckCircularDependency(CEncapFamilyColumn* origin);
    /// Adds this column and every column that depends on it, directly or not, to `result` (not
    /// cleared first) and returns it; the walk doesn't pass through `root` (null: this column).
    /// Ends on a loop of dependents.
    ColumnSet& GetAllDependentColumns(ColumnSet& result, const CEncapFamilyColumn* root);
    /// False for null; true when the column's formula refers to this one.
    bool IsReferencedDirectlyBy(CEncapFamilyColumn* column) const;
    /// False for null; true when the column depends on this one, directly or not. Ends on a loop
    /// of dependents.
    bool IsReferencedBy(CEncapFamilyColumn* column) const;

protected:
    /// No table, no node; the flag has no effect.
    explicit CEncapFamilyColumn(bool unused);
    /// No node; records the table and its value cache. The flag has no effect.
    CEncapFamilyColumn(CEncapFamilyTable* table, bool unused);
    /// Records the table and its value cache and reads the attributes of the node.
    CEncapFamilyColumn(const XMLNode& node, CEncapFamilyTable* table);

    /// The cache forgets its file; then the cell (or, for an empty row id, the column in every
    /// row) is dropped from the cache, here and in every dependent column.
    void InvalidateCache(const WideString& rowId, const WideString& language);
    /// The owning table's family; null without table or family.
    CEncapFamily* GetFamily() const;

private:
    friend class CEncapFamilyTable;
    friend class CEncapFamily;
    friend class CTableEvaluator;

    /// Reads the attributes of the node into the members; a missing attribute leaves the default
    /// (ValueType: DataString).
    void InitMemoryCache();
    /// Stores a value in the cache for the actual language; nothing without a cache.
    void SetCacheValue(const wchar_t* rowId, const wchar_t* value);
    /// Stores a value in the cache; nothing without a cache.
    void SetCacheValue(const wchar_t* rowId, const wchar_t* language, const wchar_t* value);
    /// Sets the column id in memory, and forgets what reads kept for the old one. Never fails.
    void SetIdInMemory(const WideString& columnId);
    /// Actual language of the family; empty without one.
    WideString ActualLanguage() const;
    /// GetValue's answers that need no evaluation: true, with the result (and `out`), without a
    /// table (7), on a cache hit (0), and for RID and STATUS (0, the raw cell, now cached); false
    /// when the cell must be evaluated.
    bool ReadWithoutEvaluating(const wchar_t* rowId, const wchar_t* language, WideString& out,
                               CTableEvaluator::EvaluateResult& result);
    /// The cell from the value cache: true on a hit, with the value in `out`. Never fails.
    bool ReadCached(const wchar_t* rowId, const wchar_t* language, WideString& out);
    /// For RID and STATUS, the raw cell, now cached, and true; false for any other column.
    bool ReadRawColumn(const wchar_t* rowId, const wchar_t* language, WideString& out);
    /// GetValue after the evaluation that answered `evaluated`: that code unless 0 or 8; else the
    /// value from the cache (7 when none), and for 8 the value taken out of the cache again.
    /// With `handedOver`, `out` holds the value the evaluation left in the cache already.
    CTableEvaluator::EvaluateResult ReadBackEvaluated(const wchar_t* rowId, const wchar_t* language,
                                                      CTableEvaluator::EvaluateResult evaluated,
                                                      WideString& out, bool handedOver = false);
    /// SetCacheValue for an evaluated value, which stores a C text: `value` is cut at its first
    /// NUL as well, so that it is what a read of the cell gives back. True when the cache holds
    /// it; false without a cache, or for an empty row id while the cache remembers no row.
    bool CacheEvaluatedValue(const wchar_t* rowId, const wchar_t* language, WideString& value);
    /// Inserts the column among the dependents if absent; nothing for null.
    void AddDependentColumn(CEncapFamilyColumn* column);
    /// Erases the column from the dependents if present.
    void RemoveDependentColumn(CEncapFamilyColumn* column);
    /// IsReferencedBy; the depth is counted and compared with nothing.
    bool IsReferencedBy2(CEncapFamilyColumn* column, int depth) const;
    /// Appends the RowId of every Row holding a Cell of this column (any formula), in document
    /// order; `rowIds` isn't cleared. False without a table or when there is no such Cell.
    bool GetOverrideRowIds(WideStringList& rowIds) const;
    /// The check before a formula is set: like ValidateNormalFormula, with the range type for a
    /// custom column, and the graph left on the new formula when it is accepted (restored only
    /// when the loop check fails).
    CTableEvaluator::EvaluateResult ValidateFormulaBeforeSet(const wchar_t* formula,
                                                             const WideString& language);
    /// Puts the dependency graph back on the formula in force; see ValidateNormalFormula.
    void RestoreDependencies(const WideString& language);

    CEncapFamilyTable* m_table = nullptr;
    XMLNode m_node;
    CTableValueCache* m_cache = nullptr;
    ColumnSet m_dependants;
    ColumnType m_columnType = ColumnTypeNormal;
    bool m_geometry = false;
    bool m_hostProperty = false;
    bool m_property = false;
    std::shared_ptr<CEncapFamilyColIPropertyData> m_propertyData;
    bool m_status = false;
    DataTypes::ColumnDataType m_dataType = DataTypes::DataReal;
    WideString m_unitType;
    WideString m_formula;
    WideString m_columnId;  // set through SetIdInMemory
    bool m_rawOnly = false; // the id is the row id's or the status column's: never evaluated
    CTableValueCache::ColumnReadHint m_readHint; // of m_columnId in m_cache
    // IsLocalized's last answer, and the generation of the mapping's answers it came in.
    struct LocalizedAnswer {
        uint64_t generation = 0; // none yet
        bool answer = false;
    };
    mutable LocalizedAnswer m_localized;
    // The generation of the table's columns in which the table found this column by its id.
    uint64_t m_foundInTable = UINT64_MAX;
    WideString m_title;
    bool m_custom = false;
    bool m_hidden = false;
    int m_keyWeight = 0;
};

} // namespace torvex

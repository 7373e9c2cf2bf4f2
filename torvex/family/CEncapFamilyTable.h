#pragma once
// The table of members of a family: the FamilyTable element with its columns and rows, indexed
// by id (ignoring case) and ordered as in the document (the id lists). Owns its columns, rows,
// evaluator and value cache.

#include "torvex/evaluation/CTableEvaluator.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CStringMapTo.h"
#include "torvex/platform/WideString.h"
#include "torvex/text/DataTypes.h"
#include "torvex/xml/XMLNode.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace torvex {

class CEncapFamily;
class CTableValueCache;
class XMLTextWriter;

/// Built by CEncapFamily from the FamilyTable element; not copyable.
class CEncapFamilyTable {
public:
    /// No node, no family, no value cache, an evaluator, no columns or rows. Never fails.
    CEncapFamilyTable();
    /// Loads the table from the node (which may be empty): evaluator, value cache (loading its
    /// file from `cacheFolder`; null or empty means no file), columns, dependencies, rows.
    /// Never fails: elements without an id are skipped.
    CEncapFamilyTable(const XMLNode& tableNode, CEncapFamily* family, const wchar_t* cacheFolder);
    /// Lets the value cache save its file, then deletes cache, columns, rows and evaluator.
    virtual ~CEncapFamilyTable();
    CEncapFamilyTable(const CEncapFamilyTable&) = delete;
    CEncapFamilyTable& operator=(const CEncapFamilyTable&) = delete;

    // Order and lookups.

    /// Size of the row id list.
    unsigned int GetRowsCount() const { return static_cast<unsigned int>(m_rowIds.size()); }
    /// Size of the column id list.
    unsigned int GetColumnsCount() const { return static_cast<unsigned int>(m_columnIds.size()); }
    /// Copy of the row id at the index; an empty text for an index out of range.
    WideString GetRowIDByIndex(int index) const;
    /// Copy of the column id at the index; an empty text for an index out of range.
    WideString GetFamilyColumnIDByIndex(int index) const;
    /// Row ids in document order, spelled as in the document.
    const WideStringList& GetAllRowIDs() const { return m_rowIds; }
    /// Column ids in document order, spelled as in the document.
    const WideStringList& GetAllColumnIDs() const { return m_columnIds; }
    /// The owning family; null for a default-constructed table.
    CEncapFamily* GetFamily() const { return m_family; }
    /// The evaluator; never null.
    CTableEvaluator* GetEvaluator() const { return m_evaluator; }
    /// The value cache; null for a default-constructed table.
    CTableValueCache* GetValueCache() const { return m_cache; }
    /// The FamilyTable element; empty when the document has none.
    const XMLNode& GetXMLNode() const { return m_node; }

    /// The row with the id, ignoring case; null if absent.
    CEncapFamilyRow* GetFamilyRowByID(const wchar_t* rowId) const;
    /// The column with the id, ignoring case; null if absent.
    CEncapFamilyColumn* GetFamilyColumnByID(const wchar_t* columnId) const;
    /// Moves on whenever a column is added, replaced or removed, so that what was looked up by
    /// id holds while it stands. Never fails.
    uint64_t GetColumnsGeneration() const { return m_columns.GetGeneration(); }
    /// Moves on with every change of which row an id finds (rows entered, removed, the table
    /// cleared), so that a caller can keep a row it looked up while the count stands. Never
    /// fails.
    uint64_t GetRowsGeneration() const;
    /// The row at the index; null for an index out of range.
    CEncapFamilyRow* GetFamilyRowByIndex(int index) const;
    /// The column at the index; null for an index out of range.
    CEncapFamilyColumn* GetFamilyColumnByIndex(int index) const;
    /// First index whose id equals the id ignoring case; -1 if none.
    int GetFamilyRowIndexByID(const wchar_t* rowId) const;
    /// First index whose id equals the id ignoring case; -1 if none.
    int GetFamilyColumnIndexByID(const wchar_t* columnId) const;
    /// The first column of that kind in the column map's own walk order; null if none.
    CEncapFamilyColumn* GetFamilyColumnByType(CEncapFamilyColumn::ColumnType type) const;
    /// Adds every column to `out` (not cleared first) and returns it.
    CEncapFamilyColumn::ColumnSet& GetAllColumns(CEncapFamilyColumn::ColumnSet& out) const;
    /// The id of the status column as spelled in the document; empty if there is none.
    const wchar_t* GetStatusColIDStr() const { return m_statusColumnId.c_str(); }

    // Forwarded to the family.

    /// The family's actual language; empty without a family or without languages.
    void GetActualLanguage(WideString& out) const;
    /// The family's localize-decimal-separator flag; false without a family.
    bool LocalizeDecimalSeparator() const;
    /// The family's decimal separator; 0 without a family.
    wchar_t GetDecimalSeparator() const;
    /// Whether the family localizes the column; false without a family.
    bool IsColumnLocalized(const wchar_t* columnId) const;
    /// False for an unknown id, else whether the column is the material column.
    bool IsColumnMaterial(const wchar_t* columnId) const;

    // Cells.

    /// The cell's value in the actual language; EvalExpressionFailed for an unknown column
    /// (`out` untouched), else the column's result.
    CTableEvaluator::EvaluateResult GetValue(const wchar_t* rowId, const wchar_t* columnId,
                                             WideString& out);
    /// The cell's value in the language; EvalExpressionFailed for an unknown column (`out`
    /// untouched), else the column's result.
    CTableEvaluator::EvaluateResult GetValue(const wchar_t* rowId, const wchar_t* columnId,
                                             const wchar_t* language, WideString& out);
    /// Writes the cell in the actual language; nothing for an unknown column.
    void SetValue(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* value,
                  bool invalidate);
    /// Writes the cell in the language; nothing for an unknown column.
    void SetValue(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* language,
                  const wchar_t* value, bool invalidate);
    /// Writes the cell of the row at the index in the actual language; nothing for an index out
    /// of range or an unknown column.
    void SetValue(int rowIndex, const wchar_t* columnId, const wchar_t* value, bool invalidate);
    /// Writes the status cell of the row at the index in the family document only (no string
    /// document, no cached value) and sets the row's suppressed flag to (value is "Suppressed",
    /// ignoring case); the cache file is no longer written. Nothing for an index out of range.
    void SetStatusColValue(int rowIndex, const wchar_t* value);
    /// False for an unknown row, else the row's suppressed flag.
    bool IsRowSuppressed(const wchar_t* rowId) const;
    /// True when the column has a formula and the row a Cell for it; false for an unknown row
    /// or column.
    bool isCellOverride(const WideString& rowId, const WideString& columnId) const;
    /// Whether the column has a formula; false for an unknown column.
    bool hasColumnExpression(WideString& columnId) const;
    /// The column's data type; DataString for an unknown column.
    DataTypes::ColumnDataType GetColumnDataType(const wchar_t* columnId) const;
    /// Sets the column's data type (attribute ValueType); nothing for an unknown column.
    void SetColumnDataType(const wchar_t* columnId, DataTypes::ColumnDataType dataType);
    /// The column's HasUniqueValues; false with `result` 5 for an unknown column.
    bool HasColumnUniqueValues(const wchar_t* columnId, CTableEvaluator::EvaluateResult& result);
    /// The row's material reference: its Cell in the material column, else that column's formula
    /// (the family's default material). False when there is no material column.
    bool GetMemberMaterialRefId(const wchar_t* rowId, WideString& out) const;
    /// Drops the cached value of the cell in the actual language; nothing for an unknown column.
    void ClearCachedValue(const wchar_t* rowId, const wchar_t* columnId);
    /// Drops the cached value of the cell in the language; nothing for an unknown column.
    void ClearCachedValue(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* language);
    /// Evaluates the cell into the value cache (the evaluator's EvaluateCell, whose codes it
    /// answers).
    CTableEvaluator::EvaluateResult Evaluate(WideString rowId, WideString columnId,
                                             WideString language);
    /// Evaluates a free expression for the row in the unit, caching nothing (the evaluator's
    /// EvaluateExpression, whose codes it answers); `out` is written only on 0.
    CTableEvaluator::EvaluateResult Evaluate(const wchar_t* expression,
                                             DataTypes::ColumnFormulaType formulaType,
                                             DataTypes::ColumnDataType dataType,
                                             const wchar_t* rowId, const wchar_t* unit,
                                             WideString& out);
    /// The value chosen for a range column (id compared exactly): false when none was set.
    bool GetRangeColumnValue(const wchar_t* columnId, WideString& out) const;
    /// Replaces the chosen range column values by a copy of the map. Never fails.
    void SetRangeColumnValues(const std::map<WideString, WideString>& values);

    // Checks and host services.

    /// Checks a formula of that type for a column of that data type and unit (the evaluator's
    /// CheckSyntax): 0, or 2, 4, 5, 6 (5 also for a type other than range or expression).
    CTableEvaluator::EvaluateResult CheckFormulaSyntax(const wchar_t* formula,
                                                       DataTypes::ColumnFormulaType formulaType,
                                                       DataTypes::ColumnDataType dataType,
                                                       const wchar_t* unit);
    /// Whether the formula would be accepted on the column, the graph left as it was: the
    /// column's ValidateNormalFormula, or for a range column 6 (String or Boolean), 4 (no
    /// range, or any part that fails). 5 for an unknown column.
    CTableEvaluator::EvaluateResult IsFormulaValid(const wchar_t* columnId, const wchar_t* formula);
    /// The expression's value in the unit ("ul" for empty) through the host: false when the host
    /// fails to compute or convert it, or without a host.
    bool GetValueFromExpression(const wchar_t* expression, const wchar_t* unit,
                                double& value) const;
    /// Whether the value fits the column: any text for String, a logical word for Boolean; for
    /// Real and Integer a number, or an expression that the host computes (then `value` becomes
    /// its "%.8g" text), an integer within 1e-05 for Integer, and for a range column within
    /// the range's bounds and on its step counted from the minimum. False for an unknown
    /// column, any other data type, or an expression the host can't compute.
    bool IsCellValueValid(const wchar_t* rowId, const wchar_t* columnId, WideString& value) const;
    /// Index of the first row whose value (evaluated, result ignored) fails IsCellValueValid;
    /// -1 when all fit, and 0 for an unknown column. `formula` plays no part.
    int CheckRangeColumnData(const wchar_t* columnId, const wchar_t* formula);
    /// Forgets the column's cached values and removes, in every language, each cell that gives
    /// EvalTypeMismatch, so that the row falls back to the formula. Nothing for null.
    void ValidateAndRepairColumnData(CEncapFamilyColumn* column);
    /// Whether the name can be the id of a new column: a letter first, then letters, digits,
    /// '_' or '-', and no column of that id ignoring case. False otherwise (also for null).
    bool IsValidNewColumnName(const wchar_t* name) const;
    /// Whether the file name column's formula reaches every custom column, so that each custom
    /// part gets a name of its own. False without a file name column, when it has no formula,
    /// when a row overrides it or its formula fails to scan; `missingTitles` then holds the
    /// titles of the custom columns it misses (all of them in the first three cases).
    bool FileNameOfCustomPartIsUnique(WideStringList& missingTitles);
    /// Columns with a key weight above 0, in the column map's own order (not by weight). Never
    /// fails.
    std::vector<CEncapFamilyColumn*> GetKeyColumns() const;
    /// Whether any listed column is a range column.
    bool HasCustomColumns() const;
    /// Sets the state of every row. Never fails.
    void SetRowStateOfAllRows(CEncapFamilyRow::RowState state);
    /// The host's display name of a material key; empty without a host.
    WideString GetMaterialName(const wchar_t* key) const;
    /// The host's reference key of a material text; empty without a host.
    WideString GetMaterialRefKey(const wchar_t* key) const;

    // Member revisions.

    /// Gives every row the same new revision (a new GUID for null) in MEMBER_REVISION; nothing
    /// without that column, or in a linked family whose source revisions can't be kept safe.
    void BumpAllMemberRevisions(const wchar_t* revision);
    /// Appends the hidden String column SOURCE_MEMBER_REVISION with the formula of
    /// MEMBER_REVISION and a copy of every row's revision. Null without MEMBER_REVISION, when
    /// the column can't be inserted (also when it exists), or at the first revision that can't
    /// be read (the column then stays, with the rows done so far).
    CEncapFamilyColumn* CreateSourceMemberRevisionColumn();

    // Structure.

    /// Adds a column of that id (attributes ColumnId and Title, KeyWeight 0, Hidden false)
    /// before the column element at the index, or at the end for an index at or past the end
    /// (a negative index counts as 0). No name check. Cached values under that id are dropped
    /// and the cache file is no longer written. Null when the table has no node, an id equal
    /// ignoring case exists, or the element can't be made.
    CEncapFamilyColumn* InsertNewColumn(int index, const wchar_t* columnId);
    /// Adds a row (a new GUID for an empty id; a given id isn't checked) by the same place rule
    /// as InsertNewColumn, with its id in its own RID cell, state RowInserted and a new
    /// revision. Null when no Rows element can be made or the element can't be placed.
    CEncapFamilyRow* InsertNewRow(int index, const WideString& rowId);
    /// Removes the row at the index with its localized texts and cached values; false for an
    /// index out of range.
    bool DeleteRow(int index);
    /// Appends a row with a new GUID holding the source's value of every column in which the
    /// source has a cell (an override comes evaluated); RID and STATUS aren't copied. Null for
    /// an unknown row or when no row can be added.
    CEncapFamilyRow* CopyRow(const WideString& rowId);
    /// Writes the source row's value of every column but RID and STATUS into the target row (an
    /// empty value removes the target's cell); false when either index is out of range.
    bool PasteRow(int targetIndex, int sourceIndex);
    /// Adds a copy of the source column's element and cells under a new id (key weight 0, not
    /// hidden) by the place rule. Null for an unknown source, a name IsValidNewColumnName
    /// refuses, or when the element can't be made or placed.
    CEncapFamilyColumn* DuplicateColumn(int index, const wchar_t* sourceColumnId,
                                        const wchar_t* newColumnId);
    /// Removes the column at the index: revisions first when it changes members, its
    /// dependencies, key weights above its own moved down by one, its element, its cells and
    /// localized texts, its mapping entries and its cached values. False for an index out of
    /// range.
    bool DeleteColumn(int index);
    /// Moves the column (id compared exactly) to the index, which is first cut to the last
    /// index when at or past the end. Nothing for an unknown id, the same place, or an element
    /// that can't be moved (the id then leaves the list if it was taken out).
    void ChangeColumnIndex(const wchar_t* columnId, int& index);
    /// The same for a row.
    void ChangeRowIndex(const wchar_t* rowId, int& index);

    // Export.

    /// The FamilyTable element as text; false for a table without a node.
    bool GetXml(WideString& out) const;
    /// A copy of the FamilyTable element in which every cell holds its value in the actual
    /// language: a cell that evaluates with result 0 gets its value, any other keeps its raw text;
    /// a column without a cell in a row gets one, at the row's end in column order, when it
    /// evaluates with result 0. Values stay cached. False, and `out` unchanged, when a Row has
    /// no RowId or a child of a row no ColumnId, or the copy can't be made. The family document
    /// is not changed.
    bool GetEvaluatedXml(WideString& out) const;

private:
    /// The Cells of a row asked for twice running, while the family document stands, each with
    /// its column id and text in document order; null for a row asked for the first time (the
    /// caller then reads the document). Valid until the next call.
    const std::vector<XMLNode::KeyedChild>* CellsOfRow(const CEncapFamilyRow& row) const;
    // What CellsOfRow keeps of the row asked for last.
    struct RowCells {
        XMLNode row;
        uint64_t changes = 0; // of the document, when the cells were collected
        bool collected = false;
        std::vector<XMLNode::KeyedChild> cells;
    };
    mutable RowCells m_rowCells;
    friend class CEncapFamily;
    friend class CEncapFamilyTableTestPeer;
    friend class CEncapFamilyRow;
    friend class CEncapFamilyColumn;
    friend class CTableEvaluator;

    /// How writing the evaluated export ended: written, refused (a row or cell without its id,
    /// a failed serialisation), or left to the way through a copy.
    enum ExportOutcome { ExportWritten, ExportRefused, ExportNeedsCopy };
    /// Writes the evaluated export straight from the table (see GetEvaluatedXml).
    ExportOutcome WriteEvaluatedTable(XMLTextWriter& writer) const;
    /// The evaluated export made as an edited copy of the table, serialised: for tables the
    /// writer can't write in pieces. Fails as GetEvaluatedXml.
    bool GetEvaluatedXmlThroughCopy(WideString& out) const;

    /// Column ids as listed, compared exactly, to their place in the list (views of m_columnIds:
    /// valid until the list changes). Never fails.
    std::unordered_map<std::wstring_view, size_t> ColumnPlaces() const;
    /// Builds columns, the dependency graph and rows from the node, in that order.
    void InitializeData();
    /// Deletes columns and rows and empties maps and lists; the status id stays.
    void ClearData();
    /// Enters the rows made at load into the id map, in document order, so that of two ids equal
    /// but for case the later row wins and the earlier goes. Throws only for want of memory, and
    /// then the rows entered stay entered and the others wait for the next call.
    void MapLoadedRows() const;
    /// Builds the graph of dependent columns from every non-empty column formula, in map order;
    /// stops at the first formula that fails (2 or 5) and answers its code, else 0.
    CTableEvaluator::EvaluateResult BuildColumnsDependency();
    /// Makes the graph say that `column` refers to what `formula` refers to: 2 or 5 with the
    /// graph untouched, else 0.
    CTableEvaluator::EvaluateResult UpdateColumnsDependency(CEncapFamilyColumn* column,
                                                            const wchar_t* formula);
    /// Forgets everything `column` refers to; what refers to it stays. Never fails.
    void RemoveColumnDependencies(CEncapFamilyColumn* column);

    /// 1 for an unknown row; else the row's raw value (0 and the Cell text, or 1 and empty).
    long GetRawValue(const wchar_t* rowId, const wchar_t* columnId, WideString& out) const;
    /// Writes the raw value of a row by id in the actual language; nothing for an unknown row.
    void SetRawValue(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* value);
    /// Writes the raw value of a row by id; nothing for an unknown row.
    void SetRawValue(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* language,
                     const wchar_t* value);
    /// Writes the raw value of the row at the index in the actual language; nothing for an
    /// index out of range.
    void SetRawValue(int rowIndex, const wchar_t* columnId, const wchar_t* value);
    /// The family document first, the string document second; nothing for a null row.
    void SetRawValue(CEncapFamilyRow* row, const wchar_t* columnId, const wchar_t* language,
                     const wchar_t* value);
    /// The family's localized cell text: 0 found, 1 not (also without a family).
    long GetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                               const wchar_t* language, WideString& out) const;
    /// Writes the family's localized cell text; nothing without a family.
    void SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                               const wchar_t* language, const wchar_t* value);
    /// Writes the family's localized cell text in the actual language; nothing without a family.
    void SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* value);
    /// The family's localized column formula: 0 found, 1 not (also without a family).
    long GetLocalizedFormula(const wchar_t* columnId, const wchar_t* language,
                             WideString& out) const;
    /// Removes the cell's localized texts; nothing without a family.
    void DeleteLocalizedCellsValues(const wchar_t* rowId, const wchar_t* columnId,
                                    bool allLanguages);
    /// Gives the row a new revision in MEMBER_REVISION, under the same conditions as
    /// BumpAllMemberRevisions.
    void BumpMemberRevision(const wchar_t* rowId);
    /// Steps shared by both bumps: the revision column, or null when revisions must not move.
    CEncapFamilyColumn* RevisionColumnForBump();
    /// Places `node` (a new element, or null to make one called `name` with the attribute
    /// `attribute` = `id`) under `parent` by the place rule and puts `id` into `ids`; the
    /// placed element, or an empty node on failure (the list then untouched).
    static XMLNode PlaceNewElement(XMLNode& parent, XMLNode* node, const wchar_t* name,
                                   const wchar_t* attribute, const WideString& id, int index,
                                   WideStringList& ids);
    /// Moves the element of the listed id (exact comparison) to the index; see
    /// ChangeColumnIndex.
    void MoveElement(bool columns, const wchar_t* id, int& index);
    /// The range check of IsCellValueValid for a range column.
    bool IsInRange(const CEncapFamilyColumn& column, const wchar_t* rowId, double number) const;

    XMLNode m_node;
    std::map<WideString, WideString> m_rangeColumnValues;
    CEncapFamily* m_family = nullptr;
    CTableEvaluator* m_evaluator = nullptr;
    CTableValueCache* m_cache = nullptr;
    CStringMapTo<CEncapFamilyColumn*> m_columns;
    // The rows by id. A load only lists its rows; they go into the map when a row is first
    // looked up or the list changes, so that opening a family hashes no row id.
    mutable CStringMapTo<CEncapFamilyRow*> m_rows;
    mutable std::vector<CEncapFamilyRow*> m_loadedRows; // side by side with m_rowIds until mapped
    WideStringList m_columnIds;
    WideStringList m_rowIds;
    WideString m_statusColumnId;
    // Set while a bump writes revisions, so that a revision column that itself causes a refresh
    // can't start a bump inside the bump.
    bool m_bumping = false;
};

} // namespace torvex

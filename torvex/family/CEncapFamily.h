#pragma once
// A family of standard parts opened from its XML text and its per-language string documents.
// The family owns its table, its mapping, the constant columns it hands out and the host's
// evaluator provider. Opening never throws and never reports: a text that doesn't parse leaves
// an empty family whose table and mapping are null.

#include "torvex/family/CStringMapTo.h"
#include "torvex/platform/WideString.h"
#include "torvex/text/FamilyPropType.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLParser.h"

#include <map>

namespace torvex {

class CEncapFamilyColumn;
class CEncapFamilyMapping;
class CEncapFamilyTable;
class CStringDocument;
class IEvaluatorProvider;

/// Not copyable.
class CEncapFamily {
public:
    /// An empty family: no document, table and mapping null. Takes over `provider`, which must
    /// not be null (it records the family in it). Never fails.
    CEncapFamily(IEvaluatorProvider* provider, bool localizeDecimalSeparator);
    /// Opens a family from the document text and the texts of its string documents; the cache
    /// file of the table lives in `cacheFolder` (null or empty: no file). Takes over `provider`,
    /// which must not be null. Never fails: see the class comment.
    CEncapFamily(const wchar_t* familyXml, const WideStringList& stringDocuments,
                 const wchar_t* cacheFolder, IEvaluatorProvider* provider,
                 bool localizeDecimalSeparator);
    /// Deletes constant columns, table (which may save its cache file), mapping, then the
    /// provider.
    virtual ~CEncapFamily();
    CEncapFamily(const CEncapFamily&) = delete;
    CEncapFamily& operator=(const CEncapFamily&) = delete;

    /// The table; null for an empty family.
    CEncapFamilyTable* GetEncapFamilyTable() const { return m_table; }
    /// The mapping; null for an empty family.
    CEncapFamilyMapping* GetEncapFamilyMapping() const { return m_mapping; }
    /// The provider given at construction.
    IEvaluatorProvider* GetEvaluatorProvider() const { return m_provider; }
    /// Handle on the family document (shares the document).
    XMLParser GetFamilyXML() const { return m_familyXml; }
    /// Number of accepted string documents (a language given twice counts twice).
    int GetFamStringsCount() const { return static_cast<int>(m_languages.size()); }
    /// The flag given at construction.
    bool LocalizeDecimalSeparator() const { return m_localizeDecimalSeparator; }
    /// The user's decimal separator when the flag is set, else 0.
    wchar_t GetDecimalSeparator() const { return m_decimalSeparator; }
    /// Entry 0 of the language list; an empty text when no string document parsed.
    void GetActualLanguage(WideString& out) const;
    /// The actual language without a copy; empty when no string document was opened.
    const WideString& ActualLanguage() const {
        return m_languages.empty() ? NoLanguage() : m_languages.front();
    }
    /// The string document of the language at that index of the list; false for an index out
    /// of range.
    bool GetStringsFamilyXML(int index, XMLParser& out) const;

    /// Whether the column's texts depend on the language: false without a mapping, else the
    /// mapping's answer.
    bool IsFamilyColumnLocalized(const wchar_t* columnId) const;
    /// The generation of the mapping's answers (CEncapFamilyMapping::GetLocalizedGeneration):
    /// an answer taken while it stands still holds. 0 without a mapping. Never fails.
    uint64_t GetLocalizedGeneration() const;
    /// Whether the category parameter of that name (ignoring case) has ValueLocalized "true"
    /// (any case); false for an unknown name or a missing attribute.
    bool IsCatParamLocalized(const wchar_t* name) const;
    /// The category parameter that the column bears: false without a mapping, else the
    /// mapping's answer.
    bool GetColumnCategory(const wchar_t* columnId, WideString& parameter);
    /// Hands the chosen values of range columns (by column id, compared exactly) to the table;
    /// nothing for an empty family.
    void SetRangeColumnValues(const std::map<WideString, WideString>& values);

    // ---- Properties ----
    // Getters read one place (a root attribute, a category parameter constant or a string
    // document) and setters write one to three of them; none reports a failure. A getter that
    // reads a root attribute empties `out` first; one that reads a constant leaves `out` as it
    // was when there is no constant.

    /// Root InternalName.
    void GetInternalName(WideString& out) const;
    /// Root InternalName and the constant that mirrors it.
    void SetInternalName(const wchar_t* name);
    /// The actual language's DisplayName element, else the constant, else the root attribute,
    /// each taken only when the one before gave an empty text. `out` is not emptied first.
    void GetDisplayName(WideString& out) const;
    /// Root attribute, constant and the DisplayName element of every string document.
    void SetDisplayName(const wchar_t* name);
    /// The actual language's Description element when it exists (even empty), else a constant
    /// when there is one (even empty), else the root attribute.
    void GetDescription(WideString& out) const;
    /// Root attribute, constant and the Description element of every string document.
    void SetDescription(const wchar_t* description);
    /// Root RevisionId.
    void GetRevisionID(WideString& out) const;
    /// Root RevisionId.
    void SetRevisionID(const wchar_t* revision);
    /// The manufacturer's constant.
    void GetManufacturer(WideString& out) const;
    /// Root Manufacturer and the constant.
    void SetManufacturer(const wchar_t* manufacturer);
    /// The standards organisation's constant.
    void GetStandardOrg(WideString& out) const;
    /// Root StandardsOrg and the constant.
    void SetStandardOrg(const wchar_t* organisation);
    /// The standard's constant.
    void GetStandard(WideString& out) const;
    /// Root Standard and the constant.
    void SetStandard(const wchar_t* standard);
    /// The folder name's constant.
    void GetFolderName(WideString& out) const;
    /// Root FolderName and the constant.
    void SetFolderName(const wchar_t* folder);
    /// The family revision's constant.
    void GetFamilyRevision(WideString& out) const;
    /// The constant only.
    void SetFamilyRevision(const wchar_t* revision);
    /// The standard revision's constant.
    void GetStandardRevision(WideString& out) const;
    /// The constant only.
    void SetStandardRevision(const wchar_t* revision);
    /// Root attribute FromSource; `out` empty when absent or for an empty family.
    void GetCopyFrom(WideString& out) const;
    /// Root FromSource.
    void SetCopyFrom(const wchar_t* library);
    /// Root Library.
    void GetLibInterName(WideString& out) const;
    /// Root Library.
    void SetLibInterName(const WideString& library);
    /// Root HealthStatus.
    void GetHealthStatus(WideString& out) const;
    /// Root HealthStatus.
    void SetHealthStatus(const wchar_t* status);
    /// Root EditStatus.
    void GetEditStatus(WideString& out) const;
    /// ORs `bits` into the hexadecimal EditStatus (missing or unreadable counts as 0) and
    /// writes it back in upper-case hexadecimal.
    void UpdateEditStatus(unsigned long bits);
    /// FullFileName of Thumbnail/File; `out` untouched when the element is missing.
    void GetThumbnailPath(WideString& out) const;
    /// Makes Thumbnail/File when missing, sets FullFileName, then UpdateEditStatus(1).
    void SetThumbnailPath(const wchar_t* path);
    /// Root SourceMoniker.
    void GetSourceMoniker(WideString& out) const;
    /// Root ParentLibraryName.
    void GetParenLibName(WideString& out) const;
    /// Root ParentFamilyName.
    void GetParentFamilyName(WideString& out) const;
    /// InternalName of the deepest first Category below the first visible top-level category;
    /// `out` untouched when there is no visible top-level category.
    void GetCategoryID(WideString& out) const;

    /// Reads a property by number: true for 0 to 11, false (and `out` untouched) otherwise.
    bool GetFamilyProperty(FamilyPropType type, WideString& out) const;
    /// Sets a property by number; false for 9, 10 and values outside 0..11, which change
    /// nothing. Names, standards, manufacturer and folder give every member a new revision.
    bool SetFamilyProperty(FamilyPropType type, const wchar_t* value);

    /// The constant of a category parameter: the family document's ConstantValue, replaced by
    /// the actual language's text when the parameter is localized. False when neither exists.
    bool GetCatParamConstValue(const wchar_t* name, WideString& value) const;
    /// Stores the constant of a category parameter (and its localized texts). Nothing is
    /// stored in the family document when it has no ParameterMap/FamilyParametersMap/
    /// ParamsToTemplate.
    void SetCatParamConstValue(const wchar_t* name, const wchar_t* value);
    /// Sets ConstantValue on the TemplatesParameter that names the template parameter and bumps
    /// every member revision: 0 done, 1 nothing matched.
    long SetTemplateParameterValue(const wchar_t* templateName, const wchar_t* parameterId,
                                   const wchar_t* value);
    /// The column that bears the category parameter, or a constant column made once for a
    /// parameter that has a constant; null when neither.
    CEncapFamilyColumn* GetCategoryParamColumn(const wchar_t* name);
    /// Bit value 2 of the hexadecimal HealthStatus; false when empty.
    bool IsSickFamilyTable() const;
    /// False only when SrcActive is "false" in any case; an unlinked family is active.
    bool IsSrcActive() const;
    /// Whether DataTypeCategory names the feature category.
    bool IsFeature() const;

    // ---- Links and housekeeping ----

    /// True when the root has FromSource (even empty).
    bool IsLinked() const;
    /// Links the family to `source` (not null): every member's source revision in a new column
    /// SOURCE_MEMBER_REVISION, then FromSource, SourceMoniker and SrcActive. Nothing when the
    /// family is linked already. Stops where a step fails: without MEMBER_REVISION at the source
    /// or a revision that doesn't read, the new column stays and no attribute is written.
    void SetLink(CEncapFamily* source, bool active);
    /// Removes SourceMoniker, FromSource and SrcActive and the column SOURCE_MEMBER_REVISION,
    /// also from a family that is not linked.
    void ClearLink();
    /// Lets go of everything that ties the column to the mapping: its entries in the map of
    /// category parameters and its template and category parameter mappings. Never fails.
    void RemoveAllColumnMapping(CEncapFamilyColumn* column);
    /// The file of the family's main template; `name` untouched when there is none.
    void GetTemplateFileName(WideString& name) const;

    // ---- Localisation ----

    /// Localized column property (Title or ColumnwideValue) in the language: 0 found, 1 for an
    /// unknown language or no such element (`out` untouched).
    long GetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                         const wchar_t* language, WideString& out) const;
    /// The same in the actual language.
    long GetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                         WideString& out) const;
    /// Writes a localized column property in one language; an empty value removes it. Nothing
    /// for an unknown language.
    void SetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                         const wchar_t* language, const wchar_t* value);
    /// The same in every language, in list order.
    void SetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                         const wchar_t* value);
    /// Removes the column's localized ColumnwideValue and Title in every language; its cell
    /// texts stay.
    void DeleteLocalizedColumnPropertyValues(const wchar_t* columnId);
    /// Writes every string document as FamilyStrings.<LANGUAGE>.xml (UTF-16LE, no byte order
    /// mark) into the folder of FamilyStrings/File/@FullFileName. Each file is written beside
    /// its target and renamed over it. False when the attribute is missing or empty, when it
    /// names no folder (and there is a language), or when a file can't be written; files
    /// written before stay.
    bool SaveFamilyStringsXMLs();
    /// `target` becomes a copy of the family document without FamilyStrings and with every
    /// string document's root below its root. False when a step fails.
    bool GetFamilyXMLCopyWithStrings(XMLParser& target) const;

private:
    friend class CEncapFamilyTable;
    friend class CEncapFamilyColumn;

    /// The empty language of a family without string documents. Never fails.
    static const WideString& NoLanguage();
    /// Parses the texts and builds mapping, category parameter index and table, in that order.
    void InitializeData(const wchar_t* familyXml, const WideStringList& stringDocuments,
                        const wchar_t* cacheFolder);
    /// Deletes constant columns, table and mapping and empties maps and language list; the
    /// family document stays.
    void ClearData();
    /// Lets the mapping set the column's flags and binding; nothing without a mapping.
    void InitializeColumnData(CEncapFamilyColumn* column);
    /// Drops the family's hidden domains (all hidden top-level categories but the one that is
    /// always kept) with their mappings, and the hidden columns that served only them.
    void RemoveUnnecessaryHiddenDomains();

    /// Localized cell text (CellString) in the language: 0 found, 1 for an unknown language or
    /// no such element (`out` untouched).
    long GetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                               const wchar_t* language, WideString& out) const;
    /// The same in the actual language.
    long GetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                               WideString& out) const;
    /// Writes a localized cell text of a localized column; an empty value removes it. Nothing
    /// for a column that is not localized or an unknown language.
    void SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                               const wchar_t* language, const wchar_t* value);
    /// The same in the actual language.
    void SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* value);
    /// Removes the cell's localized texts (an empty column id: the whole row's) in every
    /// language, or in the actual language only.
    void DeleteLocalizedCellsValues(const wchar_t* rowId, const wchar_t* columnId,
                                    bool allLanguages);
    /// Tells the table's value cache that what a cell evaluates to may have changed (a string
    /// document was edited), so that the evaluator forgets the outcomes it remembers.
    void NoteTableChange();
    /// The string document of the language (ignoring case); null when unknown.
    CStringDocument* StringsOf(const wchar_t* language) const;
    /// Root attribute `name` into `out` (emptied first).
    void GetRootAttribute(const wchar_t* name, WideString& out) const;
    /// Root attribute `name`; nothing for a null value or an empty family.
    void SetRootAttribute(const wchar_t* name, const wchar_t* value);
    /// Sets the root attribute, the constant and the element of every string document.
    void SetLocalizedFamilyText(const wchar_t* attribute, const wchar_t* parameter,
                                const wchar_t* element, const wchar_t* value);

    XMLParser m_familyXml;
    CStringMapTo<CStringDocument*> m_stringDocuments; // owned
    CStringMapTo<XMLNode> m_categoryParameters;
    CStringMapTo<CEncapFamilyColumn*> m_categoryParamColumns;
    CEncapFamilyTable* m_table = nullptr;
    WideStringList m_languages;
    bool m_localizeDecimalSeparator = false;
    wchar_t m_decimalSeparator = 0;
    CEncapFamilyMapping* m_mapping = nullptr;
    IEvaluatorProvider* m_provider = nullptr;
};

} // namespace torvex

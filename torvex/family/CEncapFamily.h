#pragma once
// A family of standard parts opened from its XML text and its per-language string documents.
// The family owns its table, its mapping, the constant columns it hands out and the host's
// evaluator provider. Opening never throws and never reports: a text that doesn't parse leaves
// an empty family whose table and mapping are null.

#include "torvex/family/CStringMapTo.h"
#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLParser.h"

#include <map>

namespace torvex {

class CEncapFamilyColumn;
class CEncapFamilyMapping;
class CEncapFamilyTable;
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
    const WideString& ActualLanguage() const;
    /// The string document of the language at that index of the list; false for an index out
    /// of range.
    bool GetStringsFamilyXML(int index, XMLParser& out) const;

    /// Whether the column's texts depend on the language: false without a mapping, else the
    /// mapping's answer.
    bool IsFamilyColumnLocalized(const wchar_t* columnId) const;
    /// Whether the category parameter of that name (ignoring case) has ValueLocalized "true"
    /// (any case); false for an unknown name or a missing attribute.
    bool IsCatParamLocalized(const wchar_t* name) const;
    /// The category parameter that the column bears: false without a mapping, else the
    /// mapping's answer.
    bool GetColumnCategory(const wchar_t* columnId, WideString& parameter);
    /// Root attribute FromSource; `out` empty when absent or for an empty family.
    void GetCopyFrom(WideString& out) const;
    /// Hands the chosen values of range columns (by column id, compared exactly) to the table;
    /// nothing for an empty family.
    void SetRangeColumnValues(const std::map<WideString, WideString>& values);
    /// Stores the constant of a category parameter. Not built yet (family properties): writes
    /// nothing.
    void SetCatParamConstValue(const wchar_t* name, const wchar_t* value);

    /// Localized column property (Title or ColumnwideValue) in the language: 0 found, 1 for an
    /// unknown language or no such element (`out` untouched).
    long GetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                         const wchar_t* language, WideString& out) const;
    /// The same in the actual language.
    long GetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                         WideString& out) const;
    /// Writes a localized column property in one language. Not built yet (localisation): writes
    /// nothing.
    void SetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                         const wchar_t* language, const wchar_t* value);
    /// Writes a localized column property in all languages. Not built yet (localisation):
    /// writes nothing.
    void SetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                         const wchar_t* value);

private:
    friend class CEncapFamilyTable;
    friend class CEncapFamilyColumn;

    /// Parses the texts and builds mapping, category parameter index and table, in that order.
    void InitializeData(const wchar_t* familyXml, const WideStringList& stringDocuments,
                        const wchar_t* cacheFolder);
    /// Deletes constant columns, table and mapping and empties maps and language list; the
    /// family document stays.
    void ClearData();
    /// Lets the mapping set the column's flags and binding; nothing without a mapping.
    void InitializeColumnData(CEncapFamilyColumn* column);

    /// Localized cell text (CellString) in the language: 0 found, 1 for an unknown language or
    /// no such element (`out` untouched).
    long GetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                               const wchar_t* language, WideString& out) const;
    /// Writes a localized cell text. Not built yet (localisation): writes nothing.
    void SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                               const wchar_t* language, const wchar_t* value);
    /// Writes a localized cell text in the actual language. Not built yet (localisation): writes
    /// nothing.
    void SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId, const wchar_t* value);
    /// Removes a cell's localized texts. Not built yet (localisation): removes nothing.
    void DeleteLocalizedCellsValues(const wchar_t* rowId, const wchar_t* columnId,
                                    bool allLanguages);

    XMLParser m_familyXml;
    CStringMapTo<XMLParser> m_stringDocuments;
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

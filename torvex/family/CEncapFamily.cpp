#include "torvex/family/CEncapFamily.h"

#include "torvex/evaluation/IEvaluatorProvider.h"
#include "torvex/family/CEncapConstFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyMapping.h"
#include "torvex/text/CStringUtil.h"
#include "torvex/xml/XMLNodeArray.h"

namespace torvex {
namespace {

// Encoding named in the declaration of every document the family parses.
constexpr const wchar_t* kDocumentEncoding = L"UTF-16";

} // namespace

CEncapFamily::CEncapFamily(IEvaluatorProvider* provider, bool localizeDecimalSeparator)
    : m_localizeDecimalSeparator(localizeDecimalSeparator), m_provider(provider) {
    ClearData();
    m_decimalSeparator = localizeDecimalSeparator ? CStringUtil::GetDecimalSeparator() : 0;
    if (m_provider)
        m_provider->SetEncapFamily(this);
}

CEncapFamily::CEncapFamily(const wchar_t* familyXml, const WideStringList& stringDocuments,
                           const wchar_t* cacheFolder, IEvaluatorProvider* provider,
                           bool localizeDecimalSeparator)
    : m_localizeDecimalSeparator(localizeDecimalSeparator), m_provider(provider) {
    m_decimalSeparator = localizeDecimalSeparator ? CStringUtil::GetDecimalSeparator() : 0;
    InitializeData(familyXml, stringDocuments, cacheFolder);
    // Last of all, so that the provider doesn't know its family during the load.
    if (m_provider)
        m_provider->SetEncapFamily(this);
}

CEncapFamily::~CEncapFamily() {
    ClearData();
    delete m_provider;
    m_provider = nullptr;
}

void CEncapFamily::InitializeData(const wchar_t* familyXml, const WideStringList& stringDocuments,
                                  const wchar_t* cacheFolder) {
    ClearData();

    // A text that doesn't parse leaves the family empty, without a word.
    m_familyXml.CreateXmlDocument(kDocumentEncoding);
    if (!m_familyXml.SetXml(familyXml ? familyXml : L""))
        return;

    for (const WideString& text : stringDocuments) {
        XMLParser strings;
        strings.CreateXmlDocument(kDocumentEncoding);
        if (!strings.SetXml(text.c_str()))
            continue;
        WideString language;
        strings.GetRootNode().GetProperty(FamilyNames::AttrXmlLang, language);
        // A language given twice keeps the later document in the map; the list keeps both.
        m_stringDocuments.SetAt(language, strings);
        m_languages.push_back(language);
    }

    const XMLNode root = m_familyXml.GetRootNode();

    // The mapping comes first: the table asks it about each column while it loads.
    XMLNode templates;
    root.GetChildNode(FamilyNames::ElemFamilyTemplates, templates);
    XMLNode parameterMap;
    root.GetChildNode(FamilyNames::ElemParameterMap, parameterMap);
    m_mapping = new CEncapFamilyMapping(templates, parameterMap, this);

    // Categories/Category//CategoryParameter
    WideString path = FamilyNames::ElemCategories;
    path += L'/';
    path += FamilyNames::ElemCategory;
    path += L"//";
    path += FamilyNames::ElemCategoryParameter;
    XMLNodeArray parameters;
    root.SelectChildNodes(path.c_str(), parameters);
    for (const XMLNode& parameter : parameters) {
        WideString name;
        if (parameter.GetProperty(FamilyNames::AttrInternalName, name))
            m_categoryParameters.SetAt(name, parameter);
    }

    XMLNode tableNode;
    root.GetChildNode(FamilyNames::ElemFamilyTable, tableNode);
    m_table = new CEncapFamilyTable(tableNode, this, cacheFolder);
    m_mapping->EndOfLoad();
}

void CEncapFamily::ClearData() {
    // Table columns in this map belong to the table; only the constant columns are ours.
    m_categoryParamColumns.ForEachStored([](const WideString&, CEncapFamilyColumn* column) {
        delete dynamic_cast<CEncapConstFamilyColumn*>(column);
    });
    m_categoryParamColumns.RemoveAll();
    delete m_table;
    m_table = nullptr;
    delete m_mapping;
    m_mapping = nullptr;
    m_categoryParameters.RemoveAll();
    m_stringDocuments.RemoveAll();
    m_languages.clear();
}

const WideString& CEncapFamily::ActualLanguage() const {
    static const WideString none;
    return m_languages.empty() ? none : m_languages.front();
}

void CEncapFamily::GetActualLanguage(WideString& out) const {
    if (m_languages.empty())
        out.clear();
    else
        out = m_languages.front();
}

bool CEncapFamily::GetStringsFamilyXML(int index, XMLParser& out) const {
    if (index < 0 || static_cast<size_t>(index) >= m_languages.size())
        return false;
    return m_stringDocuments.Lookup(m_languages[static_cast<size_t>(index)], out);
}

bool CEncapFamily::IsFamilyColumnLocalized(const wchar_t* columnId) const {
    return m_mapping && m_mapping->IsFamilyColumnLocalized(columnId);
}

bool CEncapFamily::IsCatParamLocalized(const wchar_t* name) const {
    XMLNode parameter;
    bool localized = false;
    if (name && m_categoryParameters.Lookup(name, parameter))
        parameter.GetStrBoolProperty(FamilyNames::AttrValueLocalized, localized);
    return localized;
}

bool CEncapFamily::GetColumnCategory(const wchar_t* columnId, WideString& parameter) {
    return m_mapping && m_mapping->GetColumnCategory(columnId, parameter);
}

void CEncapFamily::InitializeColumnData(CEncapFamilyColumn* column) {
    if (m_mapping)
        m_mapping->InitializeColumnData(column);
}

void CEncapFamily::GetCopyFrom(WideString& out) const {
    out.clear();
    m_familyXml.GetRootNode().GetProperty(FamilyNames::AttrFromSource, out);
}

void CEncapFamily::SetRangeColumnValues(const std::map<WideString, WideString>& values) {
    if (m_table)
        m_table->SetRangeColumnValues(values);
}

// Family properties and the writing side of localisation are not built yet: the writes below
// are what the table and its columns call, and they change no string document and no constant.
// The localized reads answer from the string documents.

void CEncapFamily::SetCatParamConstValue(const wchar_t*, const wchar_t*) {}

long CEncapFamily::GetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                                   const wchar_t* language, WideString& out) const {
    // Table/ColumnStrings[@ColumnId="<id>"]/<property> under the language's root.
    XMLParser strings;
    if (!property || !columnId || !m_stringDocuments.Lookup(language ? language : L"", strings))
        return 1;
    const WideString path = WideString(FamilyNames::ElemTable) + L"/" +
                            FamilyNames::ElemColumnStrings + L"[@" + FamilyNames::AttrColumnId +
                            L"=\"" + columnId + L"\"]/" + property;
    XMLNode node;
    if (!strings.GetRootNode().GetChildNode(path.c_str(), node))
        return 1;
    node.GetNodeText(out);
    return 0;
}

long CEncapFamily::GetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                                   WideString& out) const {
    WideString language;
    GetActualLanguage(language);
    return GetLocalizedColumnPropertyValue(property, columnId, language.c_str(), out);
}

void CEncapFamily::SetLocalizedColumnPropertyValue(const wchar_t*, const wchar_t*, const wchar_t*,
                                                   const wchar_t*) {}

void CEncapFamily::SetLocalizedColumnPropertyValue(const wchar_t*, const wchar_t*, const wchar_t*) {
}

long CEncapFamily::GetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                         const wchar_t* language, WideString& out) const {
    // Table/ColumnStrings[@ColumnId="<id>"]/Rows/CellString[@RowId="<row>"] under the root.
    XMLParser strings;
    if (!rowId || !columnId || !m_stringDocuments.Lookup(language ? language : L"", strings))
        return 1;
    const WideString path =
        WideString(FamilyNames::ElemTable) + L"/" + FamilyNames::ElemColumnStrings + L"[@" +
        FamilyNames::AttrColumnId + L"=\"" + columnId + L"\"]/" + FamilyNames::ElemRows + L"/" +
        FamilyNames::ElemCellString + L"[@" + FamilyNames::AttrRowId + L"=\"" + rowId + L"\"]";
    XMLNode node;
    if (!strings.GetRootNode().GetChildNode(path.c_str(), node))
        return 1;
    node.GetNodeText(out);
    return 0;
}

void CEncapFamily::SetLocalizedCellValue(const wchar_t*, const wchar_t*, const wchar_t*,
                                         const wchar_t*) {}

void CEncapFamily::SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                         const wchar_t* value) {
    WideString language;
    GetActualLanguage(language);
    SetLocalizedCellValue(rowId, columnId, language.c_str(), value);
}

void CEncapFamily::DeleteLocalizedCellsValues(const wchar_t*, const wchar_t*, bool) {}

} // namespace torvex

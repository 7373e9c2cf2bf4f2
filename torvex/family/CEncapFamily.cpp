#include "torvex/family/CEncapFamily.h"

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/evaluation/IEvaluatorProvider.h"
#include "torvex/family/CEncapConstFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/CStringDocument.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyMapping.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"
#include "torvex/text/CStringUtil.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XPathLiteral.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>

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
    // The parse notes the cells that may be status cells, so that the table's load needn't
    // search every row for one.
    XMLParser::ElementWatch statusCells;
    statusCells.element = FamilyNames::ElemCell;
    statusCells.attribute = FamilyNames::AttrColumnId;
    statusCells.value = FamilyNames::ColStatus;
    if (!m_familyXml.SetXml(familyXml ? familyXml : L"", statusCells))
        return;

    for (const WideString& text : stringDocuments) {
        XMLParser strings;
        strings.CreateXmlDocument(kDocumentEncoding);
        if (!strings.SetXml(text.c_str()))
            continue;
        WideString language;
        strings.GetRootNode().GetProperty(FamilyNames::AttrXmlLang, language);
        // A language given twice keeps the later document in the map; the list keeps both.
        CStringDocument*& slot = m_stringDocuments[language];
        delete slot;
        slot = new CStringDocument(strings);
        m_languages.push_back(language);
    }

    const XMLNode root = m_familyXml.GetRootNode();

    // The mapping comes first: the table asks it about each column while it loads.
    XMLNode templates;
    root.GetChildNode(FamilyNames::ElemFamilyTemplates, templates);
    XMLNode parameterMap;
    root.GetChildNode(FamilyNames::ElemParameterMap, parameterMap);
    m_mapping = new CEncapFamilyMapping(templates, parameterMap, this);

    // Categories/Category//CategoryParameter, asked category by category: the path asked from
    // the root at once is matched against every node of the document, rows and cells too. The
    // categories' subtrees don't overlap, so the parameters come in the same order.
    WideString categoriesPath = FamilyNames::ElemCategories;
    categoriesPath += L'/';
    categoriesPath += FamilyNames::ElemCategory;
    const WideString parametersPath = WideString(L".//") + FamilyNames::ElemCategoryParameter;
    XMLNodeArray categories;
    root.SelectChildNodes(categoriesPath.c_str(), categories);
    for (const XMLNode& category : categories) {
        XMLNodeArray parameters;
        category.SelectChildNodes(parametersPath.c_str(), parameters);
        for (const XMLNode& parameter : parameters) {
            WideString name;
            if (parameter.GetProperty(FamilyNames::AttrInternalName, name))
                m_categoryParameters.SetAt(name, parameter);
        }
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
    m_stringDocuments.ForEachStored([](const WideString&, CStringDocument* d) { delete d; });
    m_stringDocuments.RemoveAll();
    m_languages.clear();
}

const WideString& CEncapFamily::NoLanguage() {
    static const WideString none;
    return none;
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
    CStringDocument* strings = StringsOf(m_languages[static_cast<size_t>(index)].c_str());
    if (!strings)
        return false;
    out = strings->GetDocument();
    return true;
}

CStringDocument* CEncapFamily::StringsOf(const wchar_t* language) const {
    CStringDocument* strings = nullptr;
    m_stringDocuments.Lookup(language ? language : L"", strings);
    return strings;
}

bool CEncapFamily::IsFamilyColumnLocalized(const wchar_t* columnId) const {
    return m_mapping && m_mapping->IsFamilyColumnLocalized(columnId);
}

uint64_t CEncapFamily::GetLocalizedGeneration() const {
    return m_mapping ? m_mapping->GetLocalizedGeneration() : 0;
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

void CEncapFamily::SetRangeColumnValues(const std::map<WideString, WideString>& values) {
    if (m_table)
        m_table->SetRangeColumnValues(values);
}

// ---- Properties ----

namespace {

namespace N = FamilyNames;

const wchar_t* Text(const wchar_t* text) {
    return text ? text : L"";
}

using FamilyNames::JoinSteps;

// ParameterMap/FamilyParametersMap/ParamsToTemplate
const WideString& ConstantsPath() {
    static const WideString path =
        JoinSteps({N::ElemParameterMap, N::ElemFamilyParametersMap, N::ElemParamsToTemplate});
    return path;
}

// ParamTemplateValue[CategoryParameterRef/@CategoryParameter = "<name>"]
WideString ConstantStep(const wchar_t* name) {
    return WideString(N::ElemParamTemplateValue) + L"[" + N::ElemCategoryParameterRef + L"/@" +
           N::AttrCategoryParameter + L" = \"" + Text(name) + L"\"]";
}

// ConstantValues/ConstantValue[@CategoryParameter = "<name>"] of a string document.
WideString LocalizedConstantPath(const wchar_t* name) {
    return WideString(N::ElemConstantValues) + L"/" + N::ElemConstantValue + L"[@" +
           N::AttrCategoryParameter + L" = \"" + Text(name) + L"\"]";
}

// Hexadecimal text as a status mask: blanks, an optional sign and "0x" may lead; the number
// ends at the first character that is no hexadecimal digit; nothing readable counts as 0.
unsigned long ParseHex(const WideString& text) {
    size_t i = 0;
    while (i < text.size() && platform::IsCSpace(text[i]))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-'))
        negative = text[i++] == L'-';
    if (i + 2 < text.size() && text[i] == L'0' && (text[i + 1] == L'x' || text[i + 1] == L'X') &&
        std::iswxdigit(static_cast<wint_t>(text[i + 2])))
        i += 2;
    unsigned long value = 0;
    for (; i < text.size(); ++i) {
        const wchar_t c = text[i];
        unsigned digit;
        if (c >= L'0' && c <= L'9')
            digit = static_cast<unsigned>(c - L'0');
        else if (c >= L'a' && c <= L'f')
            digit = static_cast<unsigned>(c - L'a' + 10);
        else if (c >= L'A' && c <= L'F')
            digit = static_cast<unsigned>(c - L'A' + 10);
        else
            break;
        if (value > (~0UL >> 4))
            return ~0UL; // out of range: the largest value, as the C library answers
        value = value * 16 + digit;
    }
    return negative ? 0UL - value : value;
}

} // namespace

void CEncapFamily::GetRootAttribute(const wchar_t* name, WideString& out) const {
    out.clear();
    m_familyXml.GetRootNode().GetProperty(name, out);
}

void CEncapFamily::SetRootAttribute(const wchar_t* name, const wchar_t* value) {
    if (value)
        m_familyXml.GetRootNode().SetProperty(name, value);
}

void CEncapFamily::GetInternalName(WideString& out) const {
    GetRootAttribute(N::AttrInternalName, out);
}

void CEncapFamily::SetInternalName(const wchar_t* name) {
    SetRootAttribute(N::AttrInternalName, name);
    SetCatParamConstValue(N::ParamInternalName, Text(name));
    RemoveUnnecessaryHiddenDomains();
}

void CEncapFamily::GetDisplayName(WideString& out) const {
    // Emptiness decides at each stage, not presence.
    if (CStringDocument* strings = StringsOf(ActualLanguage().c_str())) {
        XMLNode element;
        if (strings->GetDocument().GetRootNode().GetChildNode(N::ElemDisplayName, element))
            element.GetNodeText(out);
    }
    if (out.empty())
        GetCatParamConstValue(N::ParamDisplayName, out);
    if (out.empty())
        GetRootAttribute(N::AttrDisplayName, out);
}

void CEncapFamily::GetDescription(WideString& out) const {
    // Presence decides: an empty element or constant is the answer.
    if (CStringDocument* strings = StringsOf(ActualLanguage().c_str())) {
        XMLNode element;
        if (strings->GetDocument().GetRootNode().GetChildNode(N::ElemDescription, element)) {
            element.GetNodeText(out);
            return;
        }
    }
    if (GetCatParamConstValue(N::ParamDescription, out))
        return;
    GetRootAttribute(N::AttrDescription, out);
}

void CEncapFamily::SetLocalizedFamilyText(const wchar_t* attribute, const wchar_t* parameter,
                                          const wchar_t* element, const wchar_t* value) {
    const WideString text = Text(value);
    SetRootAttribute(attribute, text.c_str());
    SetCatParamConstValue(parameter, text.c_str());
    // An empty value is written as an empty text; the element stays.
    for (const WideString& language : m_languages) {
        CStringDocument* strings = StringsOf(language.c_str());
        if (!strings)
            continue;
        XMLNode root = strings->GetDocument().GetRootNode();
        XMLNode found;
        if (root.GetChildNode(element, found))
            found.SetNodeText(text);
        else
            root.AddNode(element, text.c_str());
    }
}

void CEncapFamily::SetDisplayName(const wchar_t* name) {
    SetLocalizedFamilyText(N::AttrDisplayName, N::ParamDisplayName, N::ElemDisplayName, name);
}

void CEncapFamily::SetDescription(const wchar_t* description) {
    SetLocalizedFamilyText(N::AttrDescription, N::ParamDescription, N::ElemDescription,
                           description);
}

void CEncapFamily::GetRevisionID(WideString& out) const {
    GetRootAttribute(N::AttrRevisionId, out);
}

void CEncapFamily::SetRevisionID(const wchar_t* revision) {
    SetRootAttribute(N::AttrRevisionId, revision);
}

void CEncapFamily::GetManufacturer(WideString& out) const {
    GetCatParamConstValue(N::ParamManufacturer, out);
}

void CEncapFamily::SetManufacturer(const wchar_t* manufacturer) {
    SetRootAttribute(N::AttrManufacturer, manufacturer);
    SetCatParamConstValue(N::ParamManufacturer, manufacturer);
}

void CEncapFamily::GetStandardOrg(WideString& out) const {
    GetCatParamConstValue(N::ParamStandardOrg, out);
}

void CEncapFamily::SetStandardOrg(const wchar_t* organisation) {
    SetRootAttribute(N::AttrStandardsOrg, organisation);
    SetCatParamConstValue(N::ParamStandardOrg, organisation);
}

void CEncapFamily::GetStandard(WideString& out) const {
    GetCatParamConstValue(N::ParamStandard, out);
}

void CEncapFamily::SetStandard(const wchar_t* standard) {
    SetRootAttribute(N::AttrStandard, standard);
    SetCatParamConstValue(N::ParamStandard, standard);
}

void CEncapFamily::GetFolderName(WideString& out) const {
    GetCatParamConstValue(N::ParamFolderName, out);
}

void CEncapFamily::SetFolderName(const wchar_t* folder) {
    SetRootAttribute(N::AttrFolderName, folder);
    SetCatParamConstValue(N::ParamFolderName, folder);
}

void CEncapFamily::GetFamilyRevision(WideString& out) const {
    GetCatParamConstValue(N::ParamFamilyRevision, out);
}

void CEncapFamily::SetFamilyRevision(const wchar_t* revision) {
    SetCatParamConstValue(N::ParamFamilyRevision, revision);
}

void CEncapFamily::GetStandardRevision(WideString& out) const {
    GetCatParamConstValue(N::ParamStandardRevision, out);
}

void CEncapFamily::SetStandardRevision(const wchar_t* revision) {
    SetCatParamConstValue(N::ParamStandardRevision, revision);
}

void CEncapFamily::GetCopyFrom(WideString& out) const {
    GetRootAttribute(N::AttrFromSource, out);
}

void CEncapFamily::SetCopyFrom(const wchar_t* library) {
    SetRootAttribute(N::AttrFromSource, library);
}

void CEncapFamily::GetLibInterName(WideString& out) const {
    GetRootAttribute(N::AttrLibrary, out);
}

void CEncapFamily::SetLibInterName(const WideString& library) {
    SetRootAttribute(N::AttrLibrary, library.c_str());
}

void CEncapFamily::GetHealthStatus(WideString& out) const {
    GetRootAttribute(N::AttrHealthStatus, out);
}

void CEncapFamily::SetHealthStatus(const wchar_t* status) {
    SetRootAttribute(N::AttrHealthStatus, status);
}

void CEncapFamily::GetEditStatus(WideString& out) const {
    GetRootAttribute(N::AttrEditStatus, out);
}

void CEncapFamily::UpdateEditStatus(unsigned long bits) {
    WideString text;
    GetEditStatus(text);
    const unsigned long status = ParseHex(text) | bits;
    wchar_t formatted[32];
    std::swprintf(formatted, 32, L"%lX", status);
    SetRootAttribute(N::AttrEditStatus, formatted);
}

void CEncapFamily::GetThumbnailPath(WideString& out) const {
    XMLNode file;
    if (m_familyXml.GetRootNode().GetChildNode(JoinSteps({N::ElemThumbnail, N::ElemFile}).c_str(),
                                               file))
        file.GetProperty(N::AttrFullFileName, out);
}

void CEncapFamily::SetThumbnailPath(const wchar_t* path) {
    XMLNode root = m_familyXml.GetRootNode();
    if (!root.IsNode())
        return;
    XMLNode file = root.GetOrAddNode(N::ElemThumbnail).GetOrAddNode(N::ElemFile);
    if (path)
        file.SetProperty(N::AttrFullFileName, path);
    UpdateEditStatus(1);
}

void CEncapFamily::GetSourceMoniker(WideString& out) const {
    GetRootAttribute(N::AttrSourceMoniker, out);
}

void CEncapFamily::GetParenLibName(WideString& out) const {
    GetRootAttribute(N::AttrParentLibraryName, out);
}

void CEncapFamily::GetParentFamilyName(WideString& out) const {
    GetRootAttribute(N::AttrParentFamilyName, out);
}

void CEncapFamily::GetCategoryID(WideString& out) const {
    // Categories/Category[@Hidden="false"], then down through the first Category at each level.
    const WideString path = JoinSteps({N::ElemCategories, N::ElemCategory}) + L"[@" +
                            N::AttrHidden + L"=\"" + N::ValueFalse + L"\"]";
    XMLNode category;
    if (!m_familyXml.GetRootNode().GetChildNode(path.c_str(), category))
        return;
    // Iterative, so a deep nesting needs no stack.
    for (XMLNode child; category.GetChildNode(N::ElemCategory, child);)
        category = child;
    category.GetProperty(N::AttrInternalName, out);
}

bool CEncapFamily::IsSickFamilyTable() const {
    WideString status;
    GetHealthStatus(status);
    return !status.empty() && (ParseHex(status) & 2UL) != 0;
}

bool CEncapFamily::IsSrcActive() const {
    WideString active;
    GetRootAttribute(N::AttrSrcActive, active);
    return !platform::EqualsIgnoringAsciiCase(active, N::ValueFalse);
}

bool CEncapFamily::IsFeature() const {
    WideString category;
    return m_familyXml.GetRootNode().GetProperty(N::AttrDataTypeCategory, category) &&
           category == N::FeatureDataTypeCategory;
}

bool CEncapFamily::GetFamilyProperty(FamilyPropType type, WideString& out) const {
    switch (type) {
    case FamilyPropDisplayName:
        GetDisplayName(out);
        return true;
    case FamilyPropDescription:
        GetDescription(out);
        return true;
    case FamilyPropStandard:
        GetStandard(out);
        return true;
    case FamilyPropStandardOrg:
        GetStandardOrg(out);
        return true;
    case FamilyPropManufacturer:
        GetManufacturer(out);
        return true;
    case FamilyPropStandardRevision:
        GetStandardRevision(out);
        return true;
    case FamilyPropFamilyRevision:
        GetFamilyRevision(out);
        return true;
    case FamilyPropFolderName:
        GetFolderName(out);
        return true;
    case FamilyPropRevisionId:
        GetRevisionID(out);
        return true;
    case FamilyPropInternalName:
        GetInternalName(out);
        return true;
    case FamilyPropLibrary:
        GetLibInterName(out);
        return true;
    case FamilyPropThumbnailPath:
        GetThumbnailPath(out);
        return true;
    default:
        return false;
    }
}

bool CEncapFamily::SetFamilyProperty(FamilyPropType type, const wchar_t* value) {
    // What a member looks like changes with its names, standard, maker and folder: every member
    // gets a new revision. The family revision, RevisionId and thumbnail stay out of it.
    bool bump = true;
    switch (type) {
    case FamilyPropDisplayName:
        SetDisplayName(value);
        break;
    case FamilyPropDescription:
        SetDescription(value);
        break;
    case FamilyPropStandard:
        SetStandard(value);
        break;
    case FamilyPropStandardOrg:
        SetStandardOrg(value);
        break;
    case FamilyPropManufacturer:
        SetManufacturer(value);
        break;
    case FamilyPropStandardRevision:
        SetStandardRevision(value);
        break;
    case FamilyPropFamilyRevision:
        SetFamilyRevision(value);
        bump = false;
        break;
    case FamilyPropFolderName:
        SetFolderName(value);
        break;
    case FamilyPropRevisionId:
        SetRevisionID(value);
        bump = false;
        break;
    case FamilyPropThumbnailPath:
        SetThumbnailPath(value);
        bump = false;
        break;
    default:
        return false;
    }
    if (bump && m_table)
        m_table->BumpAllMemberRevisions(nullptr);
    return true;
}

// ---- Category parameter constants ----

bool CEncapFamily::GetCatParamConstValue(const wchar_t* name, WideString& value) const {
    if (!FitsXPathLiteral(name))
        return false;
    bool found = false;
    XMLNode constant;
    if (m_familyXml.GetRootNode().GetChildNode(
            (ConstantsPath() + L"/" + ConstantStep(name)).c_str(), constant)) {
        constant.GetProperty(N::AttrConstantValue, value);
        found = true;
    }
    // The actual language's text wins over the family document.
    if (IsCatParamLocalized(name)) {
        if (CStringDocument* strings = StringsOf(ActualLanguage().c_str())) {
            XMLNode localized;
            if (strings->GetDocument().GetRootNode().GetChildNode(
                    LocalizedConstantPath(name).c_str(), localized)) {
                localized.GetNodeText(value);
                found = true;
            }
        }
    }
    return found;
}

void CEncapFamily::SetCatParamConstValue(const wchar_t* name, const wchar_t* value) {
    const WideString text = Text(value);
    XMLNode constants;
    if (m_familyXml.GetRootNode().GetChildNode(ConstantsPath().c_str(), constants)) {
        XMLNode constant;
        if (!FitsXPathLiteral(name) ||
            !constants.GetChildNode(ConstantStep(name).c_str(), constant)) {
            XMLNode added = constants.AddNode(N::ElemParamTemplateValue, nullptr,
                                              N::AttrConstantValue, text.c_str());
            added.AddNode(N::ElemCategoryParameterRef, nullptr, N::AttrCategoryParameter,
                          Text(name));
        } else {
            constant.SetProperty(N::AttrConstantValue, text);
            // The value reaches a template: every member is touched.
            XMLNode reaches;
            if (constant.GetChildNode(
                    JoinSteps({N::ElemTemplatesParameter, N::ElemTemplateParameter}).c_str(),
                    reaches) &&
                m_table)
                m_table->BumpAllMemberRevisions(nullptr);
        }
    }
    if (!IsCatParamLocalized(name))
        return;
    for (const WideString& language : m_languages) {
        CStringDocument* strings = StringsOf(language.c_str());
        if (!strings)
            continue;
        XMLNode root = strings->GetDocument().GetRootNode();
        XMLNode localized;
        const bool found = FitsXPathLiteral(name) &&
                           root.GetChildNode(LocalizedConstantPath(name).c_str(), localized);
        if (!found && !text.empty())
            root.GetOrAddNode(N::ElemConstantValues)
                .AddNode(N::ElemConstantValue, text.c_str(), N::AttrCategoryParameter, Text(name));
        else if (found && !text.empty())
            localized.SetNodeText(text);
        else if (found)
            localized.RemoveThisNode(true);
    }
}

long CEncapFamily::SetTemplateParameterValue(const wchar_t* templateName,
                                             const wchar_t* parameterId, const wchar_t* value) {
    XMLNode constants;
    if (!FitsXPathLiteral(templateName) || !FitsXPathLiteral(parameterId) ||
        !m_familyXml.GetRootNode().GetChildNode(ConstantsPath().c_str(), constants))
        return 1;
    // ParamTemplateValue/TemplatesParameter[TemplateParameter/@ParameterId = "<id>"]
    //   [TemplateParameter/@TemplateName = "<name>"]: two conditions that stand apart.
    const WideString path = JoinSteps({N::ElemParamTemplateValue, N::ElemTemplatesParameter}) +
                            L"[" + N::ElemTemplateParameter + L"/@" + N::AttrParameterId +
                            L" = \"" + Text(parameterId) + L"\"][" + N::ElemTemplateParameter +
                            L"/@" + N::AttrTemplateName + L" = \"" + Text(templateName) + L"\"]";
    XMLNode target;
    if (!constants.GetChildNode(path.c_str(), target))
        return 1;
    // On the matched TemplatesParameter itself, not on its ParamTemplateValue.
    target.SetProperty(N::AttrConstantValue, Text(value));
    if (m_table)
        m_table->BumpAllMemberRevisions(nullptr);
    return 0;
}

CEncapFamilyColumn* CEncapFamily::GetCategoryParamColumn(const wchar_t* name) {
    if (!name)
        return nullptr;
    CEncapFamilyColumn* column = nullptr;
    if (m_categoryParamColumns.Lookup(name, column))
        return column;
    WideString columnId;
    WideString value;
    if (m_mapping && m_mapping->GetCategoryParamColumn(name, columnId)) {
        column = m_table ? m_table->GetFamilyColumnByID(columnId.c_str()) : nullptr;
    } else if (GetCatParamConstValue(name, value)) {
        // A snapshot of the constant, made once per name and owned here.
        column = new CEncapConstFamilyColumn(name, value.c_str(), m_table);
    }
    if (column)
        m_categoryParamColumns.SetAt(name, column);
    return column;
}

// ---- Localisation ----

long CEncapFamily::GetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                                   const wchar_t* language, WideString& out) const {
    CStringDocument* strings = StringsOf(language);
    return strings ? strings->GetColumnProperty(property, columnId, out) : 1;
}

long CEncapFamily::GetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                                   WideString& out) const {
    return GetLocalizedColumnPropertyValue(property, columnId, ActualLanguage().c_str(), out);
}

void CEncapFamily::SetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                                   const wchar_t* language, const wchar_t* value) {
    if (CStringDocument* strings = StringsOf(language)) {
        strings->SetColumnProperty(property, columnId, value);
        NoteTableChange();
    }
}

void CEncapFamily::SetLocalizedColumnPropertyValue(const wchar_t* property, const wchar_t* columnId,
                                                   const wchar_t* value) {
    for (const WideString& language : m_languages)
        SetLocalizedColumnPropertyValue(property, columnId, language.c_str(), value);
}

void CEncapFamily::DeleteLocalizedColumnPropertyValues(const wchar_t* columnId) {
    for (const WideString& language : m_languages) {
        if (CStringDocument* strings = StringsOf(language.c_str()))
            strings->RemoveColumnProperties(columnId);
    }
    NoteTableChange();
}

long CEncapFamily::GetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                         const wchar_t* language, WideString& out) const {
    CStringDocument* strings = StringsOf(language);
    return strings ? strings->GetCellText(rowId, columnId, out) : 1;
}

long CEncapFamily::GetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                         WideString& out) const {
    return GetLocalizedCellValue(rowId, columnId, ActualLanguage().c_str(), out);
}

void CEncapFamily::SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                         const wchar_t* language, const wchar_t* value) {
    // A column that is not localized has no cell strings.
    if (!IsFamilyColumnLocalized(columnId))
        return;
    if (CStringDocument* strings = StringsOf(language)) {
        strings->SetCellText(rowId, columnId, value);
        NoteTableChange();
    }
}

void CEncapFamily::SetLocalizedCellValue(const wchar_t* rowId, const wchar_t* columnId,
                                         const wchar_t* value) {
    SetLocalizedCellValue(rowId, columnId, ActualLanguage().c_str(), value);
}

void CEncapFamily::DeleteLocalizedCellsValues(const wchar_t* rowId, const wchar_t* columnId,
                                              bool allLanguages) {
    const size_t count =
        allLanguages ? m_languages.size() : std::min<size_t>(1, m_languages.size());
    for (size_t i = 0; i < count; ++i) {
        CStringDocument* strings = StringsOf(m_languages[i].c_str());
        if (!strings)
            continue;
        if (columnId && *columnId)
            strings->RemoveCell(Text(rowId), columnId);
        else
            strings->RemoveRowCells(Text(rowId)); // the whole row
    }
    NoteTableChange();
}

void CEncapFamily::NoteTableChange() {
    if (m_table && m_table->GetValueCache())
        m_table->GetValueCache()->NoteChange();
}

bool CEncapFamily::SaveFamilyStringsXMLs() {
    XMLNode file;
    WideString fullName;
    if (!m_familyXml.GetRootNode().GetChildNode(
            JoinSteps({N::ElemFamilyStrings, N::ElemFile}).c_str(), file) ||
        !file.GetProperty(N::AttrFullFileName, fullName) || fullName.empty())
        return false;
    // The folder ends at the last separator; a name without one gives no folder, and no file
    // can then be written.
    const size_t slash = fullName.find_last_of(L"\\/");
    const bool hasFolder = slash != WideString::npos;
    const WideString folder = hasFolder ? fullName.substr(0, slash + 1) : WideString();

    bool ok = true;
    m_stringDocuments.ForEach([&](const WideString& language, CStringDocument* strings) {
        if (!ok || !strings)
            return;
        WideString text;
        if (!hasFolder || !strings->GetDocument().GetXml(text)) {
            ok = false;
            return;
        }
        // The bytes of the wide text as they stand: UTF-16LE code units, no byte order mark.
        const std::u16string units = platform::ToUtf16(text);
        std::string bytes;
        bytes.reserve(units.size() * 2);
        for (char16_t unit : units) {
            bytes.push_back(static_cast<char>(unit & 0xFF));
            bytes.push_back(static_cast<char>(unit >> 8));
        }
        const WideString path = folder + L"FamilyStrings." + language + L".xml";
        ok = platform::ReplaceFileBytes(path, bytes);
    });
    return ok;
}

bool CEncapFamily::GetFamilyXMLCopyWithStrings(XMLParser& target) const {
    WideString text;
    if (!m_familyXml.GetXml(text) || !target.SetXml(text.c_str()))
        return false;
    XMLNode root = target.GetRootNode();
    if (!root.IsNode())
        return false;
    XMLNodeArray references;
    root.SelectChildNodes(L"//FamilyStrings", references);
    for (XMLNode& reference : references)
        reference.RemoveThisNode(true);
    bool ok = true;
    m_stringDocuments.ForEach([&](const WideString&, CStringDocument* strings) {
        if (!ok || !strings)
            return;
        const XMLNode stringsRoot = strings->GetDocument().GetRootNode();
        ok = stringsRoot.IsNode() && root.ImportNode(stringsRoot, true).IsNode();
    });
    return ok;
}

} // namespace torvex

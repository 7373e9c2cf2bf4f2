#include "torvex/mapping/CEncapFamilyMapping.h"

#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyTemplate.h"
#include "torvex/mapping/CEncapMemberColToParam.h"
#include "torvex/mapping/CEncapMemberColToTemplate.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/text/DataTypes.h"
#include "torvex/xml/XMLNodeArray.h"

#include <string>
#include <unordered_map>

namespace torvex {
namespace {

using platform::EqualsIgnoringAsciiCase;
namespace N = FamilyNames;

WideString Path(std::initializer_list<const wchar_t*> steps) {
    WideString path;
    for (const wchar_t* step : steps) {
        if (!path.empty())
            path += L'/';
        path += step;
    }
    return path;
}

// MemberParametersMap/ParamsToColumn/ParamToColumn
const WideString& ParamToColumnPath() {
    static const WideString path =
        Path({N::ElemMemberParametersMap, N::ElemParamsToColumn, N::ElemParamToColumn});
    return path;
}

WideString AsciiLowerCopy(const wchar_t* text) {
    WideString lower = text ? text : L"";
    for (wchar_t& c : lower)
        c = platform::AsciiLower(c);
    return lower;
}

// An id with a double quote can't stand in the XPath expressions the lookups are made of, so it
// is never found; the load index keeps to that.
bool Addressable(const wchar_t* id) {
    return WideString(id).find(L'"') == WideString::npos;
}

bool IsOneOf(const WideString& text, std::initializer_list<const wchar_t*> words) {
    for (const wchar_t* word : words) {
        if (EqualsIgnoringAsciiCase(text, word))
            return true;
    }
    return false;
}

} // namespace

// Built with the mapping and dropped at the end of the family's load, while nothing edits the
// document: the table asks once per column, and an XPath over all elements each time would make
// opening grow with the square of the columns.
struct CEncapFamilyMapping::LoadIndex {
    // Column id as spelled -> CategoryParameter of the first ParamToColumn (document order)
    // that has a CategoryParameterRef.
    std::unordered_map<WideString, WideString> firstCategory;
    // Column id as spelled -> first Column element whose Hidden is exactly "false"; made on
    // first use.
    std::unordered_map<WideString, XMLNode> visibleColumns;
    bool columnsIndexed = false;
};

CEncapFamilyMapping::CEncapFamilyMapping() = default;

CEncapFamilyMapping::CEncapFamilyMapping(const XMLNode& familyTemplates,
                                         const XMLNode& parameterMap, CEncapFamily* family)
    : m_familyTemplates(familyTemplates), m_parameterMap(parameterMap), m_family(family) {
    InitializeData();
}

CEncapFamilyMapping::~CEncapFamilyMapping() {
    ClearData();
}

// ---- Load ----

void CEncapFamilyMapping::InitializeData() {
    ClearData();
    m_loadIndex = std::make_unique<LoadIndex>();

    XMLNodeArray templates;
    m_familyTemplates.SelectChildNodes(N::ElemFamilyTemplate, templates);
    for (const XMLNode& node : templates) {
        WideString name;
        if (!node.GetProperty(N::AttrName, name))
            continue;
        CEncapFamilyTemplate*& slot = m_templates[name];
        delete slot; // a template of the same name but for case; nothing reaches it any more
        slot = new CEncapFamilyTemplate(node, this);
        m_templateNames.push_back(name);
    }

    XMLNodeArray columnsToTemplate;
    m_parameterMap.SelectChildNodes(
        Path({N::ElemMemberParametersMap, N::ElemColumnsToTemplate, N::ElemColumnToTemplate})
            .c_str(),
        columnsToTemplate);
    for (const XMLNode& node : columnsToTemplate) {
        WideString column;
        if (!node.GetProperty(N::AttrTableColumn, column))
            continue;
        CEncapMemberColToTemplate*& slot = m_colToTemplate[column];
        delete slot; // a second element for the column replaces the first
        slot = new CEncapMemberColToTemplate(node, this);
    }

    XMLNodeArray paramsToColumn;
    m_parameterMap.SelectChildNodes(ParamToColumnPath().c_str(), paramsToColumn);
    for (XMLNode& node : paramsToColumn) {
        WideString column;
        if (!node.GetProperty(N::AttrTableColumn, column))
            continue;
        CEncapMemberColToParam* held = nullptr;
        if (m_colToParam.Lookup(column, held) && held)
            held->AddCategoryParam(node);
        else
            m_colToParam.SetAt(column, new CEncapMemberColToParam(node, this));

        XMLNode reference;
        if (node.GetChildNode(N::ElemCategoryParameterRef, reference)) {
            WideString parameter;
            reference.GetProperty(N::AttrCategoryParameter, parameter);
            m_loadIndex->firstCategory.emplace(column, parameter);
        }
    }
}

void CEncapFamilyMapping::ClearData() {
    m_templates.ForEachStored([](const WideString&, CEncapFamilyTemplate* t) { delete t; });
    m_templates.RemoveAll();
    m_colToTemplate.ForEachStored(
        [](const WideString&, CEncapMemberColToTemplate* map) { delete map; });
    m_colToTemplate.RemoveAll();
    m_colToParam.ForEachStored([](const WideString&, CEncapMemberColToParam* map) { delete map; });
    m_colToParam.RemoveAll();
    m_templateNames.clear();
    m_loadIndex.reset();
}

void CEncapFamilyMapping::EndOfLoad() {
    m_loadIndex.reset();
}

// ---- Lookups ----

CEncapFamilyTemplate* CEncapFamilyMapping::GetFamilyTemplate(const wchar_t* name) const {
    CEncapFamilyTemplate* found = nullptr;
    if (!name || !m_templates.Lookup(name, found))
        return nullptr;
    return found;
}

void CEncapFamilyMapping::GetTemplateFileName(WideString& name) const {
    if (m_templateNames.empty())
        return;
    if (CEncapFamilyTemplate* first = GetFamilyTemplate(m_templateNames.front().c_str()))
        first->GetFileName(name);
}

CEncapMemberColToTemplate*
CEncapFamilyMapping::GetMemberColToTemplate(const wchar_t* columnId) const {
    CEncapMemberColToTemplate* found = nullptr;
    if (!columnId || !m_colToTemplate.Lookup(columnId, found))
        return nullptr;
    return found;
}

CEncapMemberColToParam* CEncapFamilyMapping::GetMemberColToParam(const wchar_t* columnId) const {
    CEncapMemberColToParam* found = nullptr;
    if (!columnId || !m_colToParam.Lookup(columnId, found))
        return nullptr;
    return found;
}

bool CEncapFamilyMapping::GetCategoryParamColumn(const wchar_t* parameter, WideString& columnId) {
    if (!parameter)
        return false;
    // ParamToColumn[CategoryParameterRef/@CategoryParameter = "<parameter>"], then the same
    // ignoring case through ms:string-compare.
    const WideString exact = ParamToColumnPath() + L"[" + N::ElemCategoryParameterRef + L"/@" +
                             N::AttrCategoryParameter + L" = \"" + parameter + L"\"]";
    const WideString folded = ParamToColumnPath() + L"[ms:string-compare(" +
                              N::ElemCategoryParameterRef + L"/@" + N::AttrCategoryParameter +
                              L", '" + parameter + L"', '', 'i') = 0 ]";
    XMLNode found;
    if (!m_parameterMap.GetChildNode(exact.c_str(), found) &&
        !m_parameterMap.GetChildNode(folded.c_str(), found))
        return false;
    found.GetProperty(N::AttrTableColumn, columnId);
    return true;
}

bool CEncapFamilyMapping::GetColumnCategory(const wchar_t* columnId, WideString& parameter) {
    if (!columnId)
        return false;
    if (m_loadIndex) {
        if (!Addressable(columnId))
            return false;
        auto found = m_loadIndex->firstCategory.find(columnId);
        if (found == m_loadIndex->firstCategory.end())
            return false;
        parameter = found->second;
        return true;
    }
    // ParamToColumn[@TableColumn= "<id>"]/CategoryParameterRef
    const WideString path = ParamToColumnPath() + L"[@" + N::AttrTableColumn + L"= \"" + columnId +
                            L"\"]/" + N::ElemCategoryParameterRef;
    XMLNode reference;
    if (!m_parameterMap.GetChildNode(path.c_str(), reference))
        return false;
    parameter.clear();
    reference.GetProperty(N::AttrCategoryParameter, parameter);
    return true;
}

bool CEncapFamilyMapping::FindVisibleColumn(const wchar_t* columnId, XMLNode& column) {
    if (!m_family)
        return false;
    const XMLNode root = m_family->GetFamilyXML().GetRootNode();
    const WideString columns = Path({N::ElemFamilyTable, N::ElemColumns, N::ElemColumn});
    if (m_loadIndex) {
        if (!Addressable(columnId))
            return false;
        if (!m_loadIndex->columnsIndexed) {
            m_loadIndex->columnsIndexed = true;
            XMLNodeArray all;
            root.SelectChildNodes(columns.c_str(), all);
            for (const XMLNode& node : all) {
                WideString id, hidden;
                if (node.GetProperty(N::AttrColumnId, id) &&
                    node.GetProperty(N::AttrHidden, hidden) && hidden == N::ValueFalse)
                    m_loadIndex->visibleColumns.emplace(std::move(id), node);
            }
        }
        auto found = m_loadIndex->visibleColumns.find(columnId);
        if (found == m_loadIndex->visibleColumns.end())
            return false;
        column = found->second;
        return true;
    }
    // FamilyTable/Columns/Column[@ColumnId = "<id>" and @Hidden = "false"]
    const WideString path = columns + L"[@" + N::AttrColumnId + L" = \"" + columnId + L"\" and @" +
                            N::AttrHidden + L" = \"" + N::ValueFalse + L"\"]";
    return root.GetChildNode(path.c_str(), column);
}

bool CEncapFamilyMapping::IsFamilyColumnLocalized(const wchar_t* columnId) {
    if (!columnId)
        return false;
    const auto cached = m_localizedColumns.find(columnId);
    if (cached != m_localizedColumns.end())
        return cached->second;

    bool localized = false;
    if (CEncapMemberColToParam* params = GetMemberColToParam(columnId)) {
        // A column that bears parameters is localized by them, whatever its own type.
        WideStringList parameters;
        params->GetCategoryParams(parameters);
        for (const WideString& parameter : parameters) {
            if (m_family && m_family->IsCatParamLocalized(parameter.c_str())) {
                localized = true;
                break;
            }
        }
    } else {
        XMLNode column;
        WideString type;
        localized =
            FindVisibleColumn(columnId, column) && column.GetProperty(N::AttrValueType, type) &&
            EqualsIgnoringAsciiCase(type, DataTypes::DataTypeNum2Str(DataTypes::DataString));
    }
    m_localizedColumns.emplace(columnId, localized);
    return localized;
}

void CEncapFamilyMapping::InitializeColumnData(CEncapFamilyColumn* column) {
    if (!column)
        return;
    WideString columnId;
    column->GetColumnID(columnId);
    CEncapMemberColToTemplate* driven = GetMemberColToTemplate(columnId.c_str());
    if (!driven)
        return;

    XMLNodeArray entries;
    driven->GetXMLNode().SelectChildNodes(
        Path({N::ElemTemplatesParameter, N::ElemTemplateParameter}).c_str(), entries);
    for (const XMLNode& entry : entries) {
        int id = 0;
        entry.GetProperty(N::AttrParameterId, id);
        WideString templateName;
        entry.GetProperty(N::AttrTemplateName, templateName);
        CEncapFamilyTemplate* familyTemplate = GetFamilyTemplate(templateName.c_str());
        CEncapFamilyTemplateParameter* parameter =
            familyTemplate ? familyTemplate->GetParameter(id) : nullptr;
        if (!parameter)
            continue;

        WideString type, subObject;
        parameter->GetObjectType(type);
        parameter->GetSubObjectId(subObject);
        if (EqualsIgnoringAsciiCase(type, N::ObjUserParameter)) {
            column->SetIsGeometryColumn(true);
        } else if (IsOneOf(type, {N::ObjProperty, N::ObjRenderStyle, N::ObjPartDocument})) {
            column->SetIsHostPropertyColumn(true);
            WideString key;
            parameter->GetObjectReferenceKey(key);
            column->SetColIPropertyData(new CEncapFamilyColIPropertyData(
                key.c_str(), subObject.c_str(),
                CEncapFamilyColIPropertyData::StringToColPropObjType(type.c_str())));
        } else if (EqualsIgnoringAsciiCase(type, N::ObjPartComponentDefinition)) {
            if (EqualsIgnoringAsciiCase(subObject, N::SubObjMaterial)) {
                column->SetIsHostPropertyColumn(true);
                column->SetColIPropertyData(new CEncapFamilyColIPropertyData(
                    L"", N::SubObjMaterial,
                    CEncapFamilyColIPropertyData::kPartComponentDefinitionObject));
            }
        } else if (EqualsIgnoringAsciiCase(type, N::ObjPartFeature)) {
            if (IsOneOf(subObject, {N::SubObjVisible, N::SubObjSuppressed}))
                column->SetIsGeometryColumn(true);
        } else if (!EqualsIgnoringAsciiCase(type, N::ObjModelParameter)) {
            column->SetIsPropertyColumn(true);
        }
    }
}

// ---- Host properties ----

CEncapFamilyColIPropertyData*
CEncapFamilyMapping::GetColIPropertyData(const wchar_t* objectRefKey, const wchar_t* subObjectId,
                                         CEncapFamilyColIPropertyData::ColPropertyObjectType type) {
    const WideString key = objectRefKey ? objectRefKey : L"";
    const WideString subObject = subObjectId ? subObjectId : L"";
    if (key.empty() && subObject.empty())
        return nullptr;
    if (IsPropertyAlreadyUsed(key.c_str(), subObject.c_str()))
        return nullptr;
    return new CEncapFamilyColIPropertyData(key.c_str(), subObject.c_str(), type);
}

bool CEncapFamilyMapping::IsPropertyAlreadyUsed(const wchar_t* objectRefKey,
                                                const wchar_t* subObjectId) {
    // FamilyTemplate/GeneralizedParameter[translate(@ObjectReferenceKey,'A..Z','a..z')="<key>"
    //   and translate(@SubObjectId,'A..Z','a..z')="<sub>"]: only ASCII letters fold.
    const wchar_t* upper = L",'ABCDEFGHIJKLMNOPQRSTUVWXYZ'";
    const wchar_t* lower = L",'abcdefghijklmnopqrstuvwxyz'";
    const WideString path = Path({N::ElemFamilyTemplate, N::ElemGeneralizedParameter}) +
                            L"[translate(@" + N::AttrObjectReferenceKey + upper + lower + L")=\"" +
                            AsciiLowerCopy(objectRefKey) + L"\" and translate(@" +
                            N::AttrSubObjectId + upper + lower + L")=\"" +
                            AsciiLowerCopy(subObjectId) + L"\"]";
    XMLNode parameter;
    if (!m_familyTemplates.GetChildNode(path.c_str(), parameter))
        return false;
    int id = 0;
    parameter.GetProperty(N::AttrId, id);
    WideString templateName;
    parameter.GetParentNode().GetProperty(N::AttrName, templateName);

    // //ColumnToTemplate/TemplatesParameter/TemplateParameter[@TemplateName="<name>" and
    //   @ParameterId="<id>" ]
    const WideString used =
        L"//" +
        Path({N::ElemColumnToTemplate, N::ElemTemplatesParameter, N::ElemTemplateParameter}) +
        L"[@" + N::AttrTemplateName + L"=\"" + templateName + L"\" and @" + N::AttrParameterId +
        L"=\"" + std::to_wstring(id) + L"\" ]";
    XMLNode found;
    return m_parameterMap.GetChildNode(used.c_str(), found);
}

} // namespace torvex

#include "torvex/mapping/CEncapFamilyMapping.h"

#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyTemplate.h"
#include "torvex/mapping/CEncapMemberColToParam.h"
#include "torvex/mapping/CEncapMemberColToTemplate.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/text/DataTypes.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XPathLiteral.h"

#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace torvex {
namespace {

using platform::EqualsIgnoringAsciiCase;
namespace N = FamilyNames;

using FamilyNames::JoinSteps;

// MemberParametersMap/ParamsToColumn/ParamToColumn
const WideString& ParamToColumnPath() {
    static const WideString path =
        JoinSteps({N::ElemMemberParametersMap, N::ElemParamsToColumn, N::ElemParamToColumn});
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
        JoinSteps({N::ElemMemberParametersMap, N::ElemColumnsToTemplate, N::ElemColumnToTemplate})
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
    if (!(FitsXPathLiteral(parameter) && m_parameterMap.GetChildNode(exact.c_str(), found)) &&
        !(FitsXPathLiteral(parameter, L'\'') && m_parameterMap.GetChildNode(folded.c_str(), found)))
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
    if (!Addressable(columnId))
        return false;
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
    const WideString columns = JoinSteps({N::ElemFamilyTable, N::ElemColumns, N::ElemColumn});
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
    if (!Addressable(columnId))
        return false;
    // FamilyTable/Columns/Column[@ColumnId = "<id>" and @Hidden = "false"]
    const WideString path = columns + L"[@" + N::AttrColumnId + L" = \"" + columnId + L"\" and @" +
                            N::AttrHidden + L" = \"" + N::ValueFalse + L"\"]";
    return root.GetChildNode(path.c_str(), column);
}

uint64_t CEncapFamilyMapping::NextLocalizedGeneration() {
    // Shared by every mapping, so that a generation names one mapping in one state.
    static std::atomic<uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

bool CEncapFamilyMapping::IsFamilyColumnLocalized(const wchar_t* columnId) {
    if (!columnId)
        return false;
    const auto cached = m_localizedColumns.find(std::wstring_view(columnId));
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
        JoinSteps({N::ElemTemplatesParameter, N::ElemTemplateParameter}).c_str(), entries);
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
    const WideString path = JoinSteps({N::ElemFamilyTemplate, N::ElemGeneralizedParameter}) +
                            L"[translate(@" + N::AttrObjectReferenceKey + upper + lower + L")=\"" +
                            AsciiLowerCopy(objectRefKey) + L"\" and translate(@" +
                            N::AttrSubObjectId + upper + lower + L")=\"" +
                            AsciiLowerCopy(subObjectId) + L"\"]";
    XMLNode parameter;
    if (!FitsXPathLiteral(objectRefKey) || !FitsXPathLiteral(subObjectId) ||
        !m_familyTemplates.GetChildNode(path.c_str(), parameter))
        return false;
    int id = 0;
    parameter.GetProperty(N::AttrId, id);
    WideString templateName;
    parameter.GetParentNode().GetProperty(N::AttrName, templateName);
    if (!FitsXPathLiteral(templateName))
        return false;

    // //ColumnToTemplate/TemplatesParameter/TemplateParameter[@TemplateName="<name>" and
    //   @ParameterId="<id>" ]
    const WideString used =
        L"//" +
        JoinSteps({N::ElemColumnToTemplate, N::ElemTemplatesParameter, N::ElemTemplateParameter}) +
        L"[@" + N::AttrTemplateName + L"=\"" + templateName + L"\" and @" + N::AttrParameterId +
        L"=\"" + std::to_wstring(id) + L"\" ]";
    XMLNode found;
    return m_parameterMap.GetChildNode(used.c_str(), found);
}

// ---- Updates ----

namespace {

// The unit of a value without unit.
constexpr const wchar_t* kNoUnit = L"ul";

// TemplatesParameter/TemplateParameter
const WideString& TemplateEntriesPath() {
    static const WideString path = JoinSteps({N::ElemTemplatesParameter, N::ElemTemplateParameter});
    return path;
}

// A TemplateParameter entry as read from the document: template name and parameter id.
struct Entry {
    WideString templateName;
    int id = 0;
};

Entry ReadEntry(const XMLNode& node) {
    Entry entry;
    node.GetProperty(N::AttrParameterId, entry.id);
    node.GetProperty(N::AttrTemplateName, entry.templateName);
    return entry;
}

bool IsHostPropertyType(const WideString& type, const WideString& subObject) {
    return IsOneOf(type, {N::ObjProperty, N::ObjPartDocument, N::ObjRenderStyle}) ||
           (EqualsIgnoringAsciiCase(type, N::ObjPartComponentDefinition) &&
            EqualsIgnoringAsciiCase(subObject, N::SubObjMaterial));
}

} // namespace

CEncapFamilyTemplateParameter* CEncapFamilyMapping::FindParameter(const WideString& templateName,
                                                                  int id) const {
    CEncapFamilyTemplate* familyTemplate = GetFamilyTemplate(templateName.c_str());
    return familyTemplate ? familyTemplate->GetParameter(id) : nullptr;
}

void CEncapFamilyMapping::UpdateColumnMapping(
    CEncapFamilyColumn* column, const wchar_t* objectRefKey, const wchar_t* subObjectId,
    CEncapFamilyColIPropertyData::ColPropertyObjectType type) {
    if (!column)
        return;
    const bool refreshedBefore = column->ChangeInColumnCausesRefresh();
    column->SetColIPropertyData(GetColIPropertyData(objectRefKey, subObjectId, type));

    UpdateColumnGeometry(column);
    UpdateIPropertyMapping(column);
    UpdateThreadFeatureColumn(column);

    WideString columnId;
    column->GetColumnID(columnId);
    WideString category;
    if (GetColumnCategory(columnId.c_str(), category))
        column->UpdateColumnType(category);

    CEncapFamilyTable* table = m_family ? m_family->GetEncapFamilyTable() : nullptr;
    if (!table)
        return;
    if (refreshedBefore || column->ChangeInColumnCausesRefresh())
        table->BumpAllMemberRevisions(nullptr);
    ForgetLocalized(columnId);
}

CEncapMemberColToTemplate*
CEncapFamilyMapping::EnsureMemberColToTemplate(const WideString& columnId) {
    if (CEncapMemberColToTemplate* held = GetMemberColToTemplate(columnId.c_str()))
        return held;
    XMLNode columnsToTemplate;
    if (!m_parameterMap.GetChildNode(
            JoinSteps({N::ElemMemberParametersMap, N::ElemColumnsToTemplate}).c_str(),
            columnsToTemplate))
        return nullptr;
    XMLNode node = columnsToTemplate.AddNode(N::ElemColumnToTemplate, nullptr, N::AttrTableColumn,
                                             columnId.c_str());
    if (!node.IsNode())
        return nullptr;
    auto* made = new CEncapMemberColToTemplate(node, this);
    m_colToTemplate.SetAt(columnId, made);
    return made;
}

void CEncapFamilyMapping::UpdateColumnGeometry(CEncapFamilyColumn* column) {
    if (!column)
        return;
    if (m_templateNames.empty())
        AddFamilyTemplate(N::DefaultTemplateName);

    WideString columnId;
    column->GetColumnID(columnId);
    CEncapMemberColToTemplate* driven = GetMemberColToTemplate(columnId.c_str());
    XMLNodeArray entries;
    bool mapped = false;
    if (driven) {
        driven->GetXMLNode().SelectChildNodes(TemplateEntriesPath().c_str(), entries);
        for (const XMLNode& node : entries) {
            const Entry entry = ReadEntry(node);
            CEncapFamilyTemplateParameter* parameter = FindParameter(entry.templateName, entry.id);
            WideString type;
            if (parameter)
                parameter->GetObjectType(type);
            if (EqualsIgnoringAsciiCase(type, N::ObjUserParameter)) {
                mapped = true;
                break;
            }
        }
    }

    if (!column->IsGeometryColumn()) {
        if (!mapped)
            return;
        // Every parameter the column drives goes, whatever its kind.
        for (const XMLNode& node : entries) {
            const Entry entry = ReadEntry(node);
            UpdateTemplateParameters(entry.templateName.c_str(), entry.id);
        }
        driven->DeleteAllMapping();
        return;
    }
    if (mapped)
        return;

    CEncapMemberColToTemplate* target = EnsureMemberColToTemplate(columnId);
    if (!target)
        return; // nowhere to record the mapping: the templates stay as they are
    const WideString valueType = DataTypes::DataTypeNum2Str(column->GetDataType());
    const WideStringList names = m_templateNames;
    for (const WideString& name : names) {
        CEncapFamilyTemplate* familyTemplate = GetFamilyTemplate(name.c_str());
        if (!familyTemplate)
            continue;
        CEncapFamilyTemplateParameter* parameter = familyTemplate->AddParameter(columnId, L"");
        if (!parameter)
            return;
        parameter->SetValueType(valueType.c_str());
        parameter->SetUnitType(column->GetUnitTypeRef().c_str());
        parameter->SetObjectType(N::ObjUserParameter);
        target->AddMapping(name.c_str(), parameter->GetId());
    }
}

void CEncapFamilyMapping::UpdateIPropertyMapping(CEncapFamilyColumn* column) {
    if (!column)
        return;
    if (m_templateNames.empty())
        AddFamilyTemplate(N::DefaultTemplateName);

    WideString columnId;
    column->GetColumnID(columnId);
    // An old binding is always released first, also when the column stays a host-property
    // column: the binding is made anew below.
    bool removed = false;
    std::vector<int> userParameters;
    if (CEncapMemberColToTemplate* driven = GetMemberColToTemplate(columnId.c_str())) {
        XMLNodeArray entries;
        driven->GetXMLNode().SelectChildNodes(TemplateEntriesPath().c_str(), entries);
        for (const XMLNode& node : entries) {
            const Entry entry = ReadEntry(node);
            CEncapFamilyTemplateParameter* parameter = FindParameter(entry.templateName, entry.id);
            if (!parameter)
                continue;
            WideString type, subObject;
            parameter->GetObjectType(type);
            parameter->GetSubObjectId(subObject);
            if (IsHostPropertyType(type, subObject)) {
                UpdateTemplateParameters(entry.templateName.c_str(), entry.id);
                driven->DeleteMapping(entry.templateName.c_str(), entry.id);
                removed = true;
            } else if (EqualsIgnoringAsciiCase(type, N::ObjUserParameter)) {
                userParameters.push_back(entry.id);
            }
        }

        if (!column->IsHostPropertyColumn()) {
            if (!removed)
                return;
            // Whatever else it drove besides user parameters goes with the binding.
            driven->GetXMLNode().SelectChildNodes(TemplateEntriesPath().c_str(), entries);
            for (const XMLNode& node : entries) {
                const Entry entry = ReadEntry(node);
                if (std::find(userParameters.begin(), userParameters.end(), entry.id) !=
                    userParameters.end())
                    continue;
                UpdateTemplateParameters(entry.templateName.c_str(), entry.id);
                driven->DeleteMapping(entry.templateName.c_str(), entry.id);
            }
            return;
        }
    }
    if (!column->IsHostPropertyColumn())
        return;

    const CEncapFamilyColIPropertyData* data = column->ColIPropertyData();
    if (!data)
        return;
    CEncapMemberColToTemplate* target = EnsureMemberColToTemplate(columnId);
    if (!target)
        return; // nowhere to record the mapping: the templates stay as they are
    const WideString& key = data->ObjectRefKey();
    const WideString& subObject = data->SubObjectId();
    const WideString typeText = data->PropObjTypeStr();
    const bool plainProperty = EqualsIgnoringAsciiCase(typeText, N::ObjProperty);
    const WideString valueType = plainProperty ? DataTypes::DataTypeNum2Str(DataTypes::DataString)
                                               : DataTypes::DataTypeNum2Str(column->GetDataType());
    const WideString unit = plainProperty ? WideString(kNoUnit) : column->GetUnitTypeRef();
    const wchar_t* objectType = IsOneOf(subObject, {N::SubObjSuppressed, N::SubObjVisible})
                                    ? N::ObjPartFeature
                                    : typeText.c_str();
    const WideStringList names = m_templateNames;
    for (const WideString& name : names) {
        CEncapFamilyTemplate* familyTemplate = GetFamilyTemplate(name.c_str());
        if (!familyTemplate)
            continue;
        CEncapFamilyTemplateParameter* parameter = familyTemplate->AddParameter(key, subObject);
        if (!parameter)
            return;
        target->AddMapping(name.c_str(), parameter->GetId());
        parameter->SetValueType(valueType.c_str());
        parameter->SetUnitType(unit.c_str());
        parameter->SetObjectType(objectType);
    }
}

void CEncapFamilyMapping::UpdateThreadFeatureColumn(CEncapFamilyColumn*) {}

void CEncapFamilyMapping::UpdateTemplateParameters(const wchar_t* templateName, int parameterId) {
    if (!templateName || !FitsXPathLiteral(templateName))
        return;
    // //TemplatesParameter/TemplateParameter[@TemplateName="<name>" and @ParameterId="<id>" ]:
    // the whole document, so constant values count as well as columns. The reference being
    // released still stands.
    const WideString path = L"//" + TemplateEntriesPath() + L"[@" + N::AttrTemplateName + L"=\"" +
                            templateName + L"\" and @" + N::AttrParameterId + L"=\"" +
                            std::to_wstring(parameterId) + L"\" ]";
    XMLNodeArray references;
    if (!m_parameterMap.SelectChildNodes(path.c_str(), references))
        return; // can't count the references, so the parameter can't be known to be free
    CEncapFamilyTemplate* familyTemplate = GetFamilyTemplate(templateName);
    CEncapFamilyTemplateParameter* parameter =
        familyTemplate ? familyTemplate->GetParameter(parameterId) : nullptr;
    if (!parameter)
        return;
    if (references.GetSize() < 2) {
        familyTemplate->DeleteParameter(parameterId);
    } else {
        parameter->SetUnitType(kNoUnit);
        parameter->SetValueType(DataTypes::DataTypeNum2Str(DataTypes::DataString).c_str());
    }
}

void CEncapFamilyMapping::RemoveColumnMapping(const wchar_t* columnId) {
    if (!columnId)
        return;
    if (CEncapMemberColToTemplate* driven = GetMemberColToTemplate(columnId)) {
        XMLNodeArray entries;
        driven->GetXMLNode().SelectChildNodes(TemplateEntriesPath().c_str(), entries);
        for (const XMLNode& node : entries) {
            const Entry entry = ReadEntry(node);
            UpdateTemplateParameters(entry.templateName.c_str(), entry.id);
        }
        driven->RemoveNodeFromXML();
        delete driven;
        m_colToTemplate.RemoveKey(columnId);
    }
    if (CEncapMemberColToParam* params = GetMemberColToParam(columnId)) {
        params->RemoveNodesFromXML();
        delete params;
        m_colToParam.RemoveKey(columnId);
    }
    ForgetLocalized(columnId);
}

bool CEncapFamilyMapping::AddParamToColumnMapping(CEncapFamilyColumn* column,
                                                  const wchar_t* category,
                                                  const wchar_t* parameter) {
    if (!column || !category || !parameter)
        return false;
    WideString columnId;
    column->GetColumnID(columnId);
    ForgetLocalized(columnId);
    CEncapMemberColToParam* params = GetMemberColToParam(columnId.c_str());
    if (params && params->IsMappedForCatParam(parameter))
        return true;

    XMLNode member = m_parameterMap.GetOrAddNode(N::ElemMemberParametersMap);
    XMLNode list = member.GetOrAddNode(N::ElemParamsToColumn);
    XMLNode node =
        list.AddNode(N::ElemParamToColumn, nullptr, N::AttrTableColumn, columnId.c_str());
    XMLNode reference =
        node.AddNode(N::ElemCategoryParameterRef, nullptr, N::AttrCategory, category);
    if (!reference.IsNode() || !reference.SetProperty(N::AttrCategoryParameter, parameter)) {
        node.RemoveThisNode(true); // a half-made element would be loaded next time
        return false;
    }
    if (!params)
        m_colToParam.SetAt(columnId, new CEncapMemberColToParam(node, this));
    else
        params->AddCategoryParam(node);
    return true;
}

bool CEncapFamilyMapping::RemoveParamToColumnMapping(const wchar_t* parameter) {
    WideString columnId;
    if (!GetCategoryParamColumn(parameter, columnId))
        return false;
    if (CEncapMemberColToParam* params = GetMemberColToParam(columnId.c_str())) {
        params->RemoveCategoryParam(parameter);
        if (params->ParamCount() == 0) {
            delete params;
            m_colToParam.RemoveKey(columnId);
        }
    }
    ForgetLocalized(columnId);
    return true;
}

bool CEncapFamilyMapping::RemoveParamToConstantMapping(const wchar_t* parameter) {
    if (!parameter)
        return true;
    // FamilyParametersMap/ParamsToTemplate/ParamTemplateValue[CategoryParameterRef/
    //   @CategoryParameter = "<parameter>"]; only when that can't be asked (a double quote in
    // the parameter), the same with ms:string-compare ignoring case.
    const WideString values =
        JoinSteps({N::ElemFamilyParametersMap, N::ElemParamsToTemplate, N::ElemParamTemplateValue});
    const WideString exact = values + L"[" + N::ElemCategoryParameterRef + L"/@" +
                             N::AttrCategoryParameter + L" = \"" + parameter + L"\"]";
    XMLNodeArray found;
    if (!FitsXPathLiteral(parameter) || !m_parameterMap.SelectChildNodes(exact.c_str(), found)) {
        const WideString folded = values + L"[ms:string-compare(" + N::ElemCategoryParameterRef +
                                  L"/@" + N::AttrCategoryParameter + L", '" + parameter +
                                  L"', '' , 'i' ) = 0 ]";
        if (FitsXPathLiteral(parameter, L'\''))
            m_parameterMap.SelectChildNodes(folded.c_str(), found);
    }
    for (XMLNode& node : found)
        node.RemoveThisNode(true);
    return true;
}

CEncapFamilyTemplate* CEncapFamilyMapping::AddFamilyTemplate(const WideString& name) {
    if (name.empty())
        return nullptr;
    if (CEncapFamilyTemplate* existing = GetFamilyTemplate(name.c_str()))
        return existing;
    XMLNode node =
        m_familyTemplates.AddNode(N::ElemFamilyTemplate, nullptr, N::AttrName, name.c_str());
    if (!node.IsNode())
        return nullptr;
    auto* made = new CEncapFamilyTemplate(node, this);
    m_templates.SetAt(name, made);
    m_templateNames.push_back(name);
    return made;
}

} // namespace torvex

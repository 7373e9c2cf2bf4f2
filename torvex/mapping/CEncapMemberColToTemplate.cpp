#include "torvex/mapping/CEncapMemberColToTemplate.h"

#include "torvex/family/FamilyNames.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XPathLiteral.h"

#include <string>

namespace torvex {
namespace {

// TemplatesParameter/TemplateParameter[@TemplateName="<name>" and @ParameterId="<id>" ]
WideString MappingPath(const wchar_t* templateName, int parameterId) {
    return WideString(FamilyNames::ElemTemplatesParameter) + L"/" +
           FamilyNames::ElemTemplateParameter + L"[@" + FamilyNames::AttrTemplateName + L"=\"" +
           templateName + L"\" and @" + FamilyNames::AttrParameterId + L"=\"" +
           std::to_wstring(parameterId) + L"\" ]";
}

} // namespace

CEncapMemberColToTemplate::CEncapMemberColToTemplate() = default;

CEncapMemberColToTemplate::CEncapMemberColToTemplate(const XMLNode& node,
                                                     CEncapFamilyMapping* mapping)
    : m_node(node), m_mapping(mapping) {}

CEncapMemberColToTemplate::~CEncapMemberColToTemplate() = default;

void CEncapMemberColToTemplate::GetColumnName(WideString& out) const {
    out.clear();
    m_node.GetProperty(FamilyNames::AttrTableColumn, out);
}

void CEncapMemberColToTemplate::RemoveNodeFromXML() {
    m_node.RemoveThisNode(false);
}

void CEncapMemberColToTemplate::AddMapping(const wchar_t* templateName, int parameterId) {
    if (!templateName || !m_node.IsNode())
        return;
    XMLNode found;
    if (FitsXPathLiteral(templateName) &&
        m_node.GetChildNode(MappingPath(templateName, parameterId).c_str(), found))
        return;
    XMLNode list = m_node.GetOrAddNode(FamilyNames::ElemTemplatesParameter);
    list.AddNode(FamilyNames::ElemTemplateParameter, nullptr, FamilyNames::AttrTemplateName,
                 templateName, FamilyNames::AttrParameterId, std::to_wstring(parameterId).c_str());
}

void CEncapMemberColToTemplate::DeleteMapping(const wchar_t* templateName, int parameterId) {
    if (!templateName || !FitsXPathLiteral(templateName))
        return;
    XMLNode found;
    if (m_node.GetChildNode(MappingPath(templateName, parameterId).c_str(), found))
        found.RemoveThisNode(true);
}

void CEncapMemberColToTemplate::DeleteAllMapping() {
    XMLNode list = m_node.GetOrAddNode(FamilyNames::ElemTemplatesParameter);
    XMLNodeArray entries;
    list.SelectChildNodes(FamilyNames::ElemTemplateParameter, entries);
    for (XMLNode& entry : entries)
        entry.RemoveThisNode(true);
}

} // namespace torvex

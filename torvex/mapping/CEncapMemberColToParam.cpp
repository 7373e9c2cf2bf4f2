#include "torvex/mapping/CEncapMemberColToParam.h"

#include "torvex/family/FamilyNames.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/xml/XPathLiteral.h"

namespace torvex {
namespace {

// The CategoryParameter of the element's CategoryParameterRef child; false when either is
// missing.
bool ReadParameter(const XMLNode& node, WideString& parameter) {
    XMLNode reference;
    return node.GetChildNode(FamilyNames::ElemCategoryParameterRef, reference) &&
           reference.GetProperty(FamilyNames::AttrCategoryParameter, parameter);
}

} // namespace

CEncapMemberColToParam::CEncapMemberColToParam() = default;

CEncapMemberColToParam::CEncapMemberColToParam(const XMLNode& node, CEncapFamilyMapping* mapping)
    : m_mapping(mapping) {
    m_nodes.Add(node);
}

CEncapMemberColToParam::~CEncapMemberColToParam() = default;

void CEncapMemberColToParam::GetColumnName(WideString& out) const {
    if (!m_nodes.IsEmpty()) {
        out.clear();
        m_nodes[0].GetProperty(FamilyNames::AttrTableColumn, out);
    }
}

bool CEncapMemberColToParam::IsMappedForCatParam(const wchar_t* parameter) const {
    if (!parameter || !FitsXPathLiteral(parameter))
        return false;
    // CategoryParameterRef[@CategoryParameter = "<parameter>"]
    const WideString path = WideString(FamilyNames::ElemCategoryParameterRef) + L"[@" +
                            FamilyNames::AttrCategoryParameter + L" = \"" + parameter + L"\"]";
    for (const XMLNode& node : m_nodes) {
        XMLNode found;
        if (node.GetChildNode(path.c_str(), found))
            return true;
    }
    return false;
}

bool CEncapMemberColToParam::GetCategoryParams(WideStringList& parameters) const {
    parameters.clear();
    for (const XMLNode& node : m_nodes) {
        XMLNode reference;
        if (!node.GetChildNode(FamilyNames::ElemCategoryParameterRef, reference))
            continue;
        WideString parameter;
        reference.GetProperty(FamilyNames::AttrCategoryParameter, parameter);
        parameters.push_back(std::move(parameter));
    }
    return !parameters.empty();
}

bool CEncapMemberColToParam::AddCategoryParam(XMLNode& node) {
    WideString parameter;
    if (!ReadParameter(node, parameter) || IsMappedForCatParam(parameter.c_str()))
        return false;
    m_nodes.Add(node);
    return true;
}

bool CEncapMemberColToParam::RemoveCategoryParam(const wchar_t* parameter) {
    const WideString wanted = parameter ? parameter : L"";
    for (intptr_t i = 0; i < m_nodes.GetSize();) {
        WideString held;
        if (ReadParameter(m_nodes[i], held) && platform::EqualsIgnoringAsciiCase(held, wanted)) {
            m_nodes[i].RemoveThisNode(true);
            m_nodes.RemoveAt(i);
        } else {
            ++i;
        }
    }
    return true;
}

void CEncapMemberColToParam::RemoveNodesFromXML() {
    for (XMLNode& node : m_nodes)
        node.RemoveThisNode(true);
    m_nodes.RemoveAll();
}

} // namespace torvex

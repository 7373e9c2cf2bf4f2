#include "torvex/mapping/CEncapFamilyTemplate.h"

#include "torvex/family/FamilyNames.h"
#include "torvex/platform/AsciiText.h"

#include <climits>
#include <string>
#include <utility>

namespace torvex {

CEncapFamilyTemplate::CEncapFamilyTemplate() = default;

CEncapFamilyTemplate::CEncapFamilyTemplate(const XMLNode& node, CEncapFamilyMapping* mapping)
    : m_node(node), m_mapping(mapping) {
    InitializeData();
}

CEncapFamilyTemplate::CEncapFamilyTemplate(const CEncapFamilyTemplate& other)
    : m_nextId(other.m_nextId), m_node(other.m_node), m_mapping(other.m_mapping),
      m_parameters(CEncapFamilyTemplateParameter::CopyTree(other.m_parameters, this)) {}

CEncapFamilyTemplate& CEncapFamilyTemplate::operator=(const CEncapFamilyTemplate& other) {
    if (this == &other)
        return *this;
    ParameterMap parameters = CEncapFamilyTemplateParameter::CopyTree(other.m_parameters, this);
    CEncapFamilyTemplateParameter::DestroyTree(m_parameters);
    m_parameters = std::move(parameters);
    m_nextId = other.m_nextId;
    m_node = other.m_node;
    m_mapping = other.m_mapping;
    return *this;
}

CEncapFamilyTemplate::~CEncapFamilyTemplate() {
    CEncapFamilyTemplateParameter::DestroyTree(m_parameters);
}

void CEncapFamilyTemplate::InitializeData() {
    CEncapFamilyTemplateParameter::DestroyTree(m_parameters);
    CEncapFamilyTemplateParameter::LoadTree(m_node, m_parameters, this);
}

void CEncapFamilyTemplate::RaiseNextId(int id) {
    const long long next = static_cast<long long>(id) + 1;
    if (next > m_nextId)
        m_nextId = next > INT_MAX ? INT_MAX : static_cast<int>(next);
}

void CEncapFamilyTemplate::GetName(WideString& out) const {
    out.clear();
    m_node.GetProperty(FamilyNames::AttrName, out);
}

void CEncapFamilyTemplate::GetFileName(WideString& out) const {
    out.clear();
    m_node.GetProperty(FamilyNames::AttrFileName, out);
}

CEncapFamilyTemplateParameter* CEncapFamilyTemplate::GetParameter(int id) {
    ParameterMap* owner = CEncapFamilyTemplateParameter::FindOwningMap(m_parameters, id);
    return owner ? (*owner)[id].get() : nullptr;
}

CEncapFamilyTemplateParameter* CEncapFamilyTemplate::AddParameter(const WideString& objectRefKey,
                                                                  const WideString& subObjectId) {
    using platform::EqualsIgnoringAsciiCase;
    // Only top-level parameters are reused.
    const bool wantsMaterial = EqualsIgnoringAsciiCase(subObjectId, FamilyNames::SubObjMaterial);
    for (const auto& [id, parameter] : m_parameters) {
        if (!parameter)
            continue;
        WideString key, subObject, type;
        parameter->GetObjectReferenceKey(key);
        parameter->GetSubObjectId(subObject);
        parameter->GetObjectType(type);
        if (EqualsIgnoringAsciiCase(key, objectRefKey) &&
            EqualsIgnoringAsciiCase(subObject, subObjectId))
            return parameter.get();
        // The part has one material, whatever key names it.
        if (wantsMaterial && EqualsIgnoringAsciiCase(subObject, FamilyNames::SubObjMaterial) &&
            EqualsIgnoringAsciiCase(type, FamilyNames::ObjPartComponentDefinition))
            return parameter.get();
    }

    // The id INT_MAX can be given out once; after it no id is left.
    if (m_nextId == INT_MAX && GetParameter(INT_MAX))
        return nullptr;
    const int id = m_nextId;
    XMLNode element = m_node.AddNode(FamilyNames::ElemGeneralizedParameter, nullptr,
                                     FamilyNames::AttrId, std::to_wstring(id).c_str());
    if (!element.IsNode())
        return nullptr;
    auto made = std::make_unique<CEncapFamilyTemplateParameter>(element, this);
    made->SetObjectReferenceKey(objectRefKey.c_str());
    made->SetSubObjectId(subObjectId.c_str());
    CEncapFamilyTemplateParameter* parameter = made.get();
    m_parameters[id] = std::move(made);
    if (m_nextId < INT_MAX)
        ++m_nextId;
    return parameter;
}

bool CEncapFamilyTemplate::DeleteParameter(int id) {
    ParameterMap* owner = CEncapFamilyTemplateParameter::FindOwningMap(m_parameters, id);
    if (!owner)
        return false;
    auto entry = owner->find(id);
    if (entry->second)
        entry->second->RemoveNodeFromXML();
    owner->erase(entry);
    return true;
}

} // namespace torvex

#include "torvex/mapping/CEncapFamilyTemplateParameter.h"

#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyTemplate.h"
#include "torvex/xml/XMLNodeArray.h"

#include <utility>
#include <vector>

namespace torvex {
namespace {

void SetText(XMLNode& node, const wchar_t* attribute, const wchar_t* value) {
    if (value)
        node.SetProperty(attribute, value);
}

void GetText(const XMLNode& node, const wchar_t* attribute, WideString& out) {
    out.clear();
    node.GetProperty(attribute, out);
}

} // namespace

CEncapFamilyTemplateParameter::CEncapFamilyTemplateParameter() = default;

CEncapFamilyTemplateParameter::CEncapFamilyTemplateParameter(const XMLNode& node,
                                                             CEncapFamilyTemplate* parent)
    : m_node(node), m_template(parent) {
    LoadTree(m_node, m_children, m_template);
}

CEncapFamilyTemplateParameter::CEncapFamilyTemplateParameter(const XMLNode& node,
                                                             CEncapFamilyTemplate* parent, NoLoad)
    : m_node(node), m_template(parent) {}

CEncapFamilyTemplateParameter::CEncapFamilyTemplateParameter(
    const CEncapFamilyTemplateParameter& other)
    : m_node(other.m_node), m_template(other.m_template),
      m_children(CopyTree(other.m_children, other.m_template)) {}

CEncapFamilyTemplateParameter&
CEncapFamilyTemplateParameter::operator=(const CEncapFamilyTemplateParameter& other) {
    if (this == &other)
        return *this;
    ParameterMap children = CopyTree(other.m_children, other.m_template);
    DestroyTree(m_children);
    m_children = std::move(children);
    m_node = other.m_node;
    m_template = other.m_template;
    return *this;
}

CEncapFamilyTemplateParameter::~CEncapFamilyTemplateParameter() {
    DestroyTree(m_children);
}

int CEncapFamilyTemplateParameter::GetId() const {
    int id = 0;
    m_node.GetProperty(FamilyNames::AttrId, id);
    return id;
}

void CEncapFamilyTemplateParameter::SetValueType(const wchar_t* type) {
    SetText(m_node, FamilyNames::AttrValueType, type);
}

void CEncapFamilyTemplateParameter::SetUnitType(const wchar_t* unit) {
    SetText(m_node, FamilyNames::AttrUnitType, unit);
}

void CEncapFamilyTemplateParameter::SetObjectType(const wchar_t* type) {
    SetText(m_node, FamilyNames::AttrObjectType, type);
}

void CEncapFamilyTemplateParameter::GetObjectType(WideString& out) const {
    GetText(m_node, FamilyNames::AttrObjectType, out);
}

void CEncapFamilyTemplateParameter::SetObjectReferenceKey(const wchar_t* key) {
    SetText(m_node, FamilyNames::AttrObjectReferenceKey, key);
}

void CEncapFamilyTemplateParameter::GetObjectReferenceKey(WideString& out) const {
    GetText(m_node, FamilyNames::AttrObjectReferenceKey, out);
}

void CEncapFamilyTemplateParameter::SetSubObjectId(const wchar_t* subObjectId) {
    SetText(m_node, FamilyNames::AttrSubObjectId, subObjectId);
}

void CEncapFamilyTemplateParameter::GetSubObjectId(WideString& out) const {
    GetText(m_node, FamilyNames::AttrSubObjectId, out);
}

void CEncapFamilyTemplateParameter::RemoveNodeFromXML() {
    m_node.RemoveThisNode(false);
}

CEncapFamilyTemplateParameter* CEncapFamilyTemplateParameter::GetChild(int id) {
    ParameterMap* owner = FindOwningMap(m_children, id);
    return owner ? (*owner)[id].get() : nullptr;
}

bool CEncapFamilyTemplateParameter::DeleteChild(int id) {
    ParameterMap* owner = FindOwningMap(m_children, id);
    if (!owner)
        return false;
    auto entry = owner->find(id);
    if (entry->second)
        entry->second->RemoveNodeFromXML();
    owner->erase(entry); // the object's own destructor takes its children apart
    return true;
}

// ---- Walks over the nesting, none of them recursive ----

CEncapFamilyTemplateParameter::ParameterMap*
CEncapFamilyTemplateParameter::FindOwningMap(ParameterMap& top, int id) {
    // A map is asked for the id before any of its entries' children are, and the entries are
    // searched in id order, each to its full depth before the next.
    if (top.count(id))
        return &top;
    std::vector<std::pair<ParameterMap::iterator, ParameterMap::iterator>> stack;
    stack.emplace_back(top.begin(), top.end());
    while (!stack.empty()) {
        auto& [next, end] = stack.back();
        if (next == end) {
            stack.pop_back();
            continue;
        }
        CEncapFamilyTemplateParameter* parameter = (next++)->second.get();
        if (!parameter)
            continue;
        ParameterMap& children = parameter->m_children;
        if (children.count(id))
            return &children;
        stack.emplace_back(children.begin(), children.end());
    }
    return nullptr;
}

CEncapFamilyTemplateParameter::ParameterMap
CEncapFamilyTemplateParameter::CopyTree(const ParameterMap& source, CEncapFamilyTemplate* owner) {
    ParameterMap copy;
    std::vector<std::pair<const ParameterMap*, ParameterMap*>> work{{&source, &copy}};
    while (!work.empty()) {
        auto [from, to] = work.back();
        work.pop_back();
        for (const auto& [id, parameter] : *from) {
            if (!parameter) {
                (*to)[id] = nullptr;
                continue;
            }
            std::unique_ptr<CEncapFamilyTemplateParameter> made(
                new CEncapFamilyTemplateParameter(parameter->m_node, owner, NoLoad{}));
            work.emplace_back(&parameter->m_children, &made->m_children);
            (*to)[id] = std::move(made);
        }
    }
    return copy;
}

void CEncapFamilyTemplateParameter::DestroyTree(ParameterMap& map) {
    // Children are taken out before their parent goes, so no destructor nests in another.
    std::vector<std::unique_ptr<CEncapFamilyTemplateParameter>> pending;
    for (auto& entry : map)
        pending.push_back(std::move(entry.second));
    map.clear();
    while (!pending.empty()) {
        std::unique_ptr<CEncapFamilyTemplateParameter> parameter = std::move(pending.back());
        pending.pop_back();
        if (!parameter)
            continue;
        for (auto& entry : parameter->m_children)
            pending.push_back(std::move(entry.second));
        parameter->m_children.clear();
    }
}

void CEncapFamilyTemplateParameter::LoadTree(const XMLNode& node, ParameterMap& map,
                                             CEncapFamilyTemplate* owner) {
    // An entry that a later element of the same id displaces still loads its children (their
    // ids count for the next id), and goes when the whole load is done.
    std::vector<std::unique_ptr<CEncapFamilyTemplateParameter>> displaced;
    std::vector<std::pair<XMLNode, ParameterMap*>> work{{node, &map}};
    while (!work.empty()) {
        auto [parent, into] = std::move(work.back());
        work.pop_back();
        XMLNodeArray elements;
        parent.SelectChildNodes(FamilyNames::ElemGeneralizedParameter, elements);
        for (const XMLNode& element : elements) {
            int id = 0;
            if (!element.GetProperty(FamilyNames::AttrId, id))
                continue;
            if (owner)
                owner->RaiseNextId(id);
            std::unique_ptr<CEncapFamilyTemplateParameter> made(
                new CEncapFamilyTemplateParameter(element, owner, NoLoad{}));
            work.emplace_back(element, &made->m_children);
            std::unique_ptr<CEncapFamilyTemplateParameter>& slot = (*into)[id];
            if (slot)
                displaced.push_back(std::move(slot));
            slot = std::move(made);
        }
    }
    for (auto& parameter : displaced)
        DestroyTree(parameter->m_children);
}

} // namespace torvex

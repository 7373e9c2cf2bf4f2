#pragma once
// One template of a family (a FamilyTemplate element): the model file the family's members are
// generated from, with its generalized parameters. Parameter ids are unique across the whole
// template, nested parameters included, and every lookup by id searches the nesting.
//
// Copies: a copy is a new object over the same element with its own copies of the parameter
// objects (which then point at the copy) and the same next id. Nothing is shared between the
// two object trees, so either may be destroyed first; edits through either go to the one
// document, and each keeps counting ids on its own.

#include "torvex/mapping/CEncapFamilyTemplateParameter.h"
#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"

namespace torvex {

class CEncapFamilyMapping;

class CEncapFamilyTemplate {
public:
    using ParameterMap = CEncapFamilyTemplateParameter::ParameterMap;

    /// No element, no parameters, next id 0. Never fails.
    CEncapFamilyTemplate();
    /// Keeps the element and loads its parameters at every depth; the next id ends one above the
    /// highest id read. Never fails.
    CEncapFamilyTemplate(const XMLNode& node, CEncapFamilyMapping* mapping);
    /// See the file comment. Throws only std::bad_alloc.
    CEncapFamilyTemplate(const CEncapFamilyTemplate& other);
    /// See the file comment. Throws only std::bad_alloc (this object then stays as it was).
    CEncapFamilyTemplate& operator=(const CEncapFamilyTemplate& other);
    /// Deletes the parameter objects; the elements stay.
    virtual ~CEncapFamilyTemplate();

    /// Attribute Name; empty when absent.
    void GetName(WideString& out) const;
    /// Attribute FileName; empty when absent.
    void GetFileName(WideString& out) const;
    /// The parameter of that id at any depth (top level first, then depth first in id order);
    /// null when there is none.
    CEncapFamilyTemplateParameter* GetParameter(int id);
    /// A top-level parameter bound to the same key and sub-object (ignoring case), or the one
    /// "Material" parameter of the part's component definition when `subObjectId` is "Material";
    /// otherwise a new GeneralizedParameter with the next id, key and sub-object set (object
    /// type, value type and unit are the caller's). Null when the element can't be added or no
    /// id is left.
    CEncapFamilyTemplateParameter* AddParameter(const WideString& objectRefKey,
                                                const WideString& subObjectId);
    /// Removes the parameter of that id at any depth: element (with its subtree) and objects.
    /// False when there is none. The id is not given out again.
    bool DeleteParameter(int id);

    /// The id the next added parameter gets.
    int GetNextId() const { return m_nextId; }
    /// The top-level parameters by id.
    const ParameterMap& GetParameters() const { return m_parameters; }
    /// The element; empty for a default-constructed object.
    const XMLNode& GetXMLNode() const { return m_node; }
    /// The owning mapping; may be null.
    CEncapFamilyMapping* GetMapping() const { return m_mapping; }

private:
    friend class CEncapFamilyTemplateParameter;

    /// Empties the map and loads the parameters from the element.
    void InitializeData();
    /// The next id becomes one above `id` if that is more (it never passes INT_MAX).
    void RaiseNextId(int id);

    int m_nextId = 0;
    XMLNode m_node;
    CEncapFamilyMapping* m_mapping = nullptr;
    ParameterMap m_parameters;
};

} // namespace torvex

#pragma once
// One generalized parameter of a template: a value in the model file that the template stands
// for, named by what it addresses (object type, object reference key, sub-object) and typed by
// value type and unit. The object holds no copies of the attributes: every getter and setter
// goes to its GeneralizedParameter element. Parameters nest; the children are loaded by the
// constructor, in ascending id.
//
// Copies: a copy is a new object over the same element, with copies of the child objects over
// the same child elements, and the same owning template. Nothing is shared between the two
// object trees, so either may be destroyed first; edits through either go to the one document.

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"

#include <map>
#include <memory>

namespace torvex {

class CEncapFamilyTemplate;

class CEncapFamilyTemplateParameter {
public:
    /// Child parameters by id, ascending; owned.
    using ParameterMap = std::map<int, std::unique_ptr<CEncapFamilyTemplateParameter>>;

    /// No element, no template, no children. Never fails.
    CEncapFamilyTemplateParameter();
    /// Keeps the element and loads its GeneralizedParameter children (those with an integer Id),
    /// at any depth, raising the next id of `parent` (may be null) for each. Never fails.
    CEncapFamilyTemplateParameter(const XMLNode& node, CEncapFamilyTemplate* parent);
    /// See the file comment. Throws only std::bad_alloc.
    CEncapFamilyTemplateParameter(const CEncapFamilyTemplateParameter& other);
    /// See the file comment. Throws only std::bad_alloc (this object then stays as it was).
    CEncapFamilyTemplateParameter& operator=(const CEncapFamilyTemplateParameter& other);
    /// Deletes the child objects; the elements stay.
    virtual ~CEncapFamilyTemplateParameter();

    /// Attribute Id, read anew on each call; 0 when absent or no integer.
    int GetId() const;
    /// Writes ValueType; a null text writes nothing.
    void SetValueType(const wchar_t* type);
    /// Writes UnitType; a null text writes nothing.
    void SetUnitType(const wchar_t* unit);
    /// Writes ObjectType; a null text writes nothing.
    void SetObjectType(const wchar_t* type);
    /// ObjectType; empty when absent.
    void GetObjectType(WideString& out) const;
    /// Writes ObjectReferenceKey; a null text writes nothing.
    void SetObjectReferenceKey(const wchar_t* key);
    /// ObjectReferenceKey; empty when absent.
    void GetObjectReferenceKey(WideString& out) const;
    /// Writes SubObjectId; a null text writes nothing.
    void SetSubObjectId(const wchar_t* subObjectId);
    /// SubObjectId; empty when absent.
    void GetSubObjectId(WideString& out) const;

    /// Takes the element, its subtree with it, out of the document; the child objects stay.
    void RemoveNodeFromXML();
    /// The child of that id at any depth, searched depth first through the id-ordered maps (this
    /// level before the next); null when there is none.
    CEncapFamilyTemplateParameter* GetChild(int id);
    /// Removes the child of that id found as GetChild finds it: its element leaves the document
    /// and its object, children included, is deleted. False when there is none.
    bool DeleteChild(int id);

    /// The element; empty for a default-constructed object.
    const XMLNode& GetXMLNode() const { return m_node; }
    /// The owning template (also for nested parameters); may be null.
    CEncapFamilyTemplate* GetTemplate() const { return m_template; }
    /// The direct children by id.
    const ParameterMap& GetChildren() const { return m_children; }

private:
    friend class CEncapFamilyTemplate;

    // Helpers over a map of parameters, shared with the template. None recurses, so a nesting
    // of any depth is safe.

    /// Where `id` stands in `top` or below, depth first: the map that holds it, or null.
    static ParameterMap* FindOwningMap(ParameterMap& top, int id);
    /// Deep copies of the entries of `source`, each pointing at `owner`.
    static ParameterMap CopyTree(const ParameterMap& source, CEncapFamilyTemplate* owner);
    /// Deletes every object of `map` and below, and empties it.
    static void DestroyTree(ParameterMap& map);
    /// Loads the GeneralizedParameter children of `node` into `map`, and theirs, at any depth;
    /// raises the next id of `owner` (may be null) for each id read. Of two children with the
    /// same id the later keeps the entry.
    static void LoadTree(const XMLNode& node, ParameterMap& map, CEncapFamilyTemplate* owner);

    /// Keeps the element and the template; loads nothing.
    struct NoLoad {};
    CEncapFamilyTemplateParameter(const XMLNode& node, CEncapFamilyTemplate* parent, NoLoad);

    XMLNode m_node;
    CEncapFamilyTemplate* m_template = nullptr;
    ParameterMap m_children;
};

} // namespace torvex

#pragma once
// The template parameters that one column drives member by member: the object view of one
// ColumnToTemplate element and its TemplatesParameter/TemplateParameter entries.
//
// Copies share the element.

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"

namespace torvex {

class CEncapFamilyMapping;

class CEncapMemberColToTemplate {
public:
    /// No element, no mapping. Never fails.
    CEncapMemberColToTemplate();
    /// Keeps the element and the mapping (may be null). Never fails.
    CEncapMemberColToTemplate(const XMLNode& node, CEncapFamilyMapping* mapping);
    virtual ~CEncapMemberColToTemplate();
    CEncapMemberColToTemplate(const CEncapMemberColToTemplate&) = default;
    CEncapMemberColToTemplate& operator=(const CEncapMemberColToTemplate&) = default;

    /// The ColumnToTemplate element; empty for a default-constructed object.
    XMLNode& GetXMLNode() { return m_node; }
    /// Attribute TableColumn; empty when absent.
    void GetColumnName(WideString& out) const;
    /// Takes the element out of the document.
    void RemoveNodeFromXML();
    /// Adds TemplatesParameter/TemplateParameter for the pair unless it stands already (the
    /// template name compared exactly); TemplatesParameter is made when missing. Nothing
    /// happens for an empty element or a null name.
    void AddMapping(const wchar_t* templateName, int parameterId);
    /// Removes the pair's TemplateParameter; TemplatesParameter stays even when empty. Nothing
    /// happens when the pair is not mapped.
    void DeleteMapping(const wchar_t* templateName, int parameterId);
    /// Removes every TemplateParameter; afterwards TemplatesParameter stands, empty, even if it
    /// did not before.
    void DeleteAllMapping();

    /// The owning mapping; may be null.
    CEncapFamilyMapping* GetMapping() const { return m_mapping; }

private:
    XMLNode m_node;
    CEncapFamilyMapping* m_mapping = nullptr;
};

} // namespace torvex

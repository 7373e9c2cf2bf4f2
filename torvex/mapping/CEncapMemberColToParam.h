#pragma once
// The category parameters that one column bears: the object view of all ParamToColumn elements
// of that column, each naming one parameter in its CategoryParameterRef child.
//
// Copies share the elements.

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"

namespace torvex {

class CEncapFamilyMapping;

class CEncapMemberColToParam {
public:
    /// No elements, no mapping. Never fails.
    CEncapMemberColToParam();
    /// Holds `node` as its first element, whatever it contains. Never fails.
    CEncapMemberColToParam(const XMLNode& node, CEncapFamilyMapping* mapping);
    virtual ~CEncapMemberColToParam();
    CEncapMemberColToParam(const CEncapMemberColToParam&) = default;
    CEncapMemberColToParam& operator=(const CEncapMemberColToParam&) = default;

    /// Number of elements held.
    int ParamCount() const { return static_cast<int>(m_nodes.GetSize()); }
    /// TableColumn of the first element; `out` untouched when none is held.
    void GetColumnName(WideString& out) const;
    /// Whether an element names `parameter`, compared exactly; false for null.
    bool IsMappedForCatParam(const wchar_t* parameter) const;
    /// The parameter of each element that has a CategoryParameterRef, in order; false when the
    /// list ends empty.
    bool GetCategoryParams(WideStringList& parameters) const;
    /// Holds `node` too. False, and nothing held, when it has no CategoryParameterRef with a
    /// CategoryParameter, or when that parameter is held already (compared exactly).
    bool AddCategoryParam(XMLNode& node);
    /// Removes from the document and from this object every element whose parameter equals
    /// `parameter` ignoring case. Always true.
    bool RemoveCategoryParam(const wchar_t* parameter);
    /// Removes every element held from the document and holds none.
    void RemoveNodesFromXML();

    /// The elements held, in order.
    const XMLNodeArray& GetNodes() const { return m_nodes; }
    /// The owning mapping; may be null.
    CEncapFamilyMapping* GetMapping() const { return m_mapping; }

private:
    XMLNodeArray m_nodes;
    CEncapFamilyMapping* m_mapping = nullptr;
};

} // namespace torvex

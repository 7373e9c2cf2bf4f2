#pragma once
// The index of a family's mapping trees (FamilyTemplates and ParameterMap): which template
// parameters a column drives and which category parameters it bears.
//
// Not built yet: this version keeps the two nodes and the family and answers every lookup with
// "nothing": no column has a category parameter, none is localized by its parameters, and the
// load sets no column flags.

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"

namespace torvex {

class CEncapFamily;
class CEncapFamilyColumn;

/// Owned by its family, which builds it at load before the table.
class CEncapFamilyMapping {
public:
    /// No nodes, no family. Never fails.
    CEncapFamilyMapping();
    /// Keeps the nodes (either may be empty) and the family. Never fails.
    CEncapFamilyMapping(const XMLNode& familyTemplates, const XMLNode& parameterMap,
                        CEncapFamily* family);
    virtual ~CEncapFamilyMapping();
    CEncapFamilyMapping(const CEncapFamilyMapping&) = delete;
    CEncapFamilyMapping& operator=(const CEncapFamilyMapping&) = delete;

    /// The FamilyTemplates node; empty when the document has none.
    const XMLNode& GetFamilyTemplatesNode() const { return m_familyTemplates; }
    /// The ParameterMap node; empty when the document has none.
    const XMLNode& GetParameterMapNode() const { return m_parameterMap; }
    /// The owning family; null for a default-constructed object.
    CEncapFamily* GetFamily() const { return m_family; }

private:
    friend class CEncapFamily;

    /// The first category parameter that the column bears. Not built yet: always false, with
    /// `parameter` untouched.
    bool GetColumnCategory(const wchar_t* columnId, WideString& parameter);
    /// Whether the column's texts are language-dependent. Not built yet: always false.
    bool IsFamilyColumnLocalized(const wchar_t* columnId);
    /// Sets the column's geometry and host-property flags and its property binding from the
    /// template parameters it drives. Not built yet: does nothing.
    void InitializeColumnData(CEncapFamilyColumn* column);

    XMLNode m_familyTemplates;
    XMLNode m_parameterMap;
    CEncapFamily* m_family = nullptr;
};

} // namespace torvex

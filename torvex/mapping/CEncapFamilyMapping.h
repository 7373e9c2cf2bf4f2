#pragma once
// The index of a family's two mapping trees, FamilyTemplates and ParameterMap: which templates
// the family has, which template parameters each column drives and which category parameters
// it bears, and whether a column's texts depend on the language. At load it sets each column's
// geometry, host-property and property flags from the parameters the column drives.
//
// The index is built at load and follows every update made through this class; the lookups by
// column id and template name ignore case (CStringMapTo), the XPath lookups compare exactly
// unless said otherwise. Lookups report absence with null or false; nothing throws but the XML
// layer's ComError.
//
// Updates keep the GeneralizedParameter, ColumnToTemplate, TemplateParameter, ParamToColumn and
// ParamTemplateValue elements in step with a column's flags: a geometry column drives a user
// parameter in every template, a host-property column a parameter bound to its property, and a
// column that gives up a role releases what it held. A parameter that another element still
// references survives a release as a "string" parameter without unit.

#include "torvex/family/CEncapFamilyColIPropertyData.h"
#include "torvex/family/CStringMapTo.h"
#include "torvex/platform/WideString.h"
#include "torvex/text/TextHash.h"
#include "torvex/xml/XMLNode.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>

namespace torvex {

class CEncapFamily;
class CEncapFamilyColumn;
class CEncapFamilyTemplate;
class CEncapFamilyTemplateParameter;
class CEncapMemberColToParam;
class CEncapMemberColToTemplate;

/// Owned by its family, which builds it at load before the table. Owns its templates and member
/// column maps. Not copyable.
class CEncapFamilyMapping {
public:
    /// No nodes, no family, every lookup finds nothing. Never fails.
    CEncapFamilyMapping();
    /// Keeps the nodes (either may be empty) and the family (may be null) and loads the
    /// templates and member column maps. Never fails.
    CEncapFamilyMapping(const XMLNode& familyTemplates, const XMLNode& parameterMap,
                        CEncapFamily* family);
    /// ClearData.
    virtual ~CEncapFamilyMapping();
    CEncapFamilyMapping(const CEncapFamilyMapping&) = delete;
    CEncapFamilyMapping& operator=(const CEncapFamilyMapping&) = delete;

    /// The template of that name (ignoring case); null when unknown or for a null name.
    CEncapFamilyTemplate* GetFamilyTemplate(const wchar_t* name) const;
    /// FileName of the first template in the list; `name` untouched when there is none.
    void GetTemplateFileName(WideString& name) const;
    /// A new binding (the caller owns it) of key, sub-object and type; null when both texts are
    /// empty, and null when a column already drives that host property.
    CEncapFamilyColIPropertyData*
    GetColIPropertyData(const wchar_t* objectRefKey, const wchar_t* subObjectId,
                        CEncapFamilyColIPropertyData::ColPropertyObjectType type);
    /// Whether a column drives the first top-level parameter of any template bound to that key
    /// and sub-object (both ignoring ASCII case); false when there is no such parameter.
    bool IsPropertyAlreadyUsed(const wchar_t* objectRefKey, const wchar_t* subObjectId);

    // ---- updates ----

    /// The host changed what the column means: binds it to the property (none when both texts
    /// are empty or a column drives it already), brings its template parameters in step with
    /// its flags, and bumps the member revisions when the column did or now does change what a
    /// member looks like. Nothing for null; reports nothing (a family without
    /// MemberParametersMap/ColumnsToTemplate can't get new mappings).
    void UpdateColumnMapping(CEncapFamilyColumn* column, const wchar_t* objectRefKey,
                             const wchar_t* subObjectId,
                             CEncapFamilyColIPropertyData::ColPropertyObjectType type);
    /// Makes the column bear the category parameter of the category. True also when it bears it
    /// already (parameter compared exactly); false for a null argument, without ParameterMap,
    /// or when an element can't be made (nothing of this call then stays in the document).
    bool AddParamToColumnMapping(CEncapFamilyColumn* column, const wchar_t* category,
                                 const wchar_t* parameter);
    /// The template of that name (ignoring case), made under FamilyTemplates when there is none;
    /// null for an empty name or when the element can't be made (no FamilyTemplates).
    CEncapFamilyTemplate* AddFamilyTemplate(const WideString& name);

    /// Template names in document order, then in order of addition; the first is the family's
    /// main template.
    const WideStringList& GetTemplateNames() const { return m_templateNames; }
    /// The template parameters that the column drives (id ignoring case); null when none.
    CEncapMemberColToTemplate* GetMemberColToTemplate(const wchar_t* columnId) const;
    /// The category parameters that the column bears (id ignoring case); null when none.
    CEncapMemberColToParam* GetMemberColToParam(const wchar_t* columnId) const;
    /// The FamilyTemplates node; empty when the document has none.
    const XMLNode& GetFamilyTemplatesNode() const { return m_familyTemplates; }
    /// The ParameterMap node; empty when the document has none.
    const XMLNode& GetParameterMapNode() const { return m_parameterMap; }
    /// The owning family; null for a default-constructed object.
    CEncapFamily* GetFamily() const { return m_family; }

private:
    friend class CEncapFamily;
    friend struct CEncapFamilyMappingTestPeer; // the tests reach the private lookups

    /// Empties the maps, then loads templates, ColumnToTemplate and ParamToColumn elements.
    void InitializeData();
    /// Deletes templates, column-to-template and column-to-parameter objects, in that order,
    /// and empties the maps and the name list; the localization answers stay.
    void ClearData();
    /// The end of the family's load: the document may change from now on, so the lookups made
    /// for the load stop answering from the index built with it.
    void EndOfLoad();

    /// The TableColumn of the first ParamToColumn naming the parameter, compared exactly, or
    /// failing that ignoring case; false when none does.
    bool GetCategoryParamColumn(const wchar_t* parameter, WideString& columnId);
    /// The first category parameter in document order that the column (compared exactly)
    /// bears; false when it bears none.
    bool GetColumnCategory(const wchar_t* columnId, WideString& parameter);
    /// True when a category parameter the column bears is localized, or when it bears none and
    /// is a visible string column. Answers are kept per id as spelled.
    bool IsFamilyColumnLocalized(const wchar_t* columnId);
    /// Names the present state of those answers: it moves on whenever one is dropped, and no
    /// two mappings share one, so that an answer taken while it stands still holds. Never fails.
    uint64_t GetLocalizedGeneration() const { return m_localizedGeneration; }
    /// Sets the column's flags and binding from the template parameters it drives; nothing for
    /// null or a column that drives none.
    void InitializeColumnData(CEncapFamilyColumn* column);

    // ---- update steps ----

    /// A geometry column not yet driving a user parameter gets one in every template; a column
    /// that is no longer geometry releases all it drives once one of them is a user parameter.
    /// Stops at the first template whose parameter can't be added. Nothing for null.
    void UpdateColumnGeometry(CEncapFamilyColumn* column);
    /// Releases the host-property parameters the column drives, then binds a host-property
    /// column anew in every template. Stops at the first template whose parameter can't be
    /// added. Nothing for null.
    void UpdateIPropertyMapping(CEncapFamilyColumn* column);
    /// Thread features need nothing of the mapping yet; the step stays in the sequence.
    void UpdateThreadFeatureColumn(CEncapFamilyColumn* column);
    /// The column is deleted: releases the template parameters it drives and removes its
    /// ColumnToTemplate and ParamToColumn elements with their objects. Nothing for null or a
    /// column without mapping.
    void RemoveColumnMapping(const wchar_t* columnId);
    /// Releases one reference to the template's parameter: the last one deletes it, otherwise
    /// it becomes "string" without unit ("ul"). Nothing for an unknown template or parameter,
    /// or a name the reference count can't be asked for (a double quote in it).
    void UpdateTemplateParameters(const wchar_t* templateName, int parameterId);
    /// The column bearing the parameter (exactly, else ignoring case) bears it no more (any
    /// case). False when no column bears it.
    bool RemoveParamToColumnMapping(const wchar_t* parameter);
    /// Removes the constant values given for the category parameter, compared exactly; only a
    /// parameter that can't stand in that query is compared ignoring case. Always true.
    bool RemoveParamToConstantMapping(const wchar_t* parameter);
    /// The column's ColumnToTemplate object, made with its element under
    /// MemberParametersMap/ColumnsToTemplate when missing; null when that element is missing.
    CEncapMemberColToTemplate* EnsureMemberColToTemplate(const WideString& columnId);
    /// The parameter of that id in the template of that name (ignoring case); null when either
    /// is missing.
    CEncapFamilyTemplateParameter* FindParameter(const WideString& templateName, int id) const;
    /// Drops the column's localization answer (id as spelled), and moves the answers'
    /// generation on.
    void ForgetLocalized(const WideString& columnId) {
        if (const auto found = m_localizedColumns.find(columnId); found != m_localizedColumns.end())
            m_localizedColumns.erase(found);
        m_localizedGeneration = NextLocalizedGeneration();
    }
    static uint64_t NextLocalizedGeneration();

    /// What the load looks up once per column, gathered in one pass over the document.
    struct LoadIndex;
    /// The first visible (Hidden exactly "false") Column element of that id under the document
    /// root's FamilyTable/Columns, compared exactly; false when there is none.
    bool FindVisibleColumn(const wchar_t* columnId, XMLNode& column);

    XMLNode m_familyTemplates;
    XMLNode m_parameterMap;
    CEncapFamily* m_family = nullptr;
    CStringMapTo<CEncapFamilyTemplate*> m_templates;
    WideStringList m_templateNames;
    CStringMapTo<CEncapMemberColToTemplate*> m_colToTemplate;
    CStringMapTo<CEncapMemberColToParam*> m_colToParam;
    // Hashed and looked up by view: each evaluated cell asks.
    std::unordered_map<WideString, bool, TextHash, std::equal_to<>> m_localizedColumns;
    uint64_t m_localizedGeneration = NextLocalizedGeneration(); // see GetLocalizedGeneration
    std::unique_ptr<LoadIndex> m_loadIndex;
};

} // namespace torvex

// The family's link to the family it was copied from, and the tidying of mappings when a column
// or a hidden domain goes away.

#include "torvex/family/CEncapFamily.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyMapping.h"
#include "torvex/platform/AsciiText.h"
#include "torvex/toc/CTocCategory.h"
#include "torvex/xml/XMLNodeArray.h"

namespace torvex {

namespace N = FamilyNames;

bool CEncapFamily::IsLinked() const {
    WideString library;
    return m_familyXml.GetRootNode().GetProperty(N::AttrFromSource, library);
}

void CEncapFamily::SetLink(CEncapFamily* source, bool active) {
    // An existing link is never replaced.
    if (!source || IsLinked())
        return;
    CEncapFamilyTable* sourceTable = source->GetEncapFamilyTable();
    if (m_table && !m_table->GetFamilyColumnByID(N::ColSourceMemberRevision)) {
        CEncapFamilyColumn* revisions =
            sourceTable ? sourceTable->GetFamilyColumnByID(N::ColMemberRevision) : nullptr;
        CEncapFamilyColumn* copied = m_table->CreateSourceMemberRevisionColumn();
        // What is done by a failure stays: the new column, partly filled.
        if (!revisions || !copied)
            return;
        for (const WideString& rowId : m_table->GetAllRowIDs()) {
            WideString revision;
            if (revisions->GetValue(rowId.c_str(), revision) != CTableEvaluator::EvalOk)
                return;
            copied->SetValue(rowId.c_str(), revision.c_str(), false);
        }
    }
    WideString name, library;
    source->GetInternalName(name);
    source->GetLibInterName(library);
    SetRootAttribute(N::AttrFromSource, library.c_str());
    SetRootAttribute(N::AttrSourceMoniker, name.c_str());
    SetRootAttribute(N::AttrSrcActive, active ? N::ValueTrue : N::ValueFalse);
}

void CEncapFamily::ClearLink() {
    // The same steps on an unlinked family: the table is then asked to delete index -1.
    XMLNode root = m_familyXml.GetRootNode();
    root.RemoveProperty(N::AttrSourceMoniker);
    root.RemoveProperty(N::AttrFromSource);
    root.RemoveProperty(N::AttrSrcActive);
    if (m_table)
        m_table->DeleteColumn(m_table->GetFamilyColumnIndexByID(N::ColSourceMemberRevision));
}

void CEncapFamily::RemoveAllColumnMapping(CEncapFamilyColumn* column) {
    WideStringList names;
    m_categoryParamColumns.ForEach([&](const WideString& name, CEncapFamilyColumn* bearer) {
        if (bearer == column)
            names.push_back(name);
    });
    for (const WideString& name : names)
        m_categoryParamColumns.RemoveKey(name);
    if (m_mapping && column) {
        WideString columnId;
        column->GetColumnID(columnId);
        m_mapping->RemoveColumnMapping(columnId.c_str());
    }
}

void CEncapFamily::GetTemplateFileName(WideString& name) const {
    if (m_mapping)
        m_mapping->GetTemplateFileName(name);
}

void CEncapFamily::RemoveUnnecessaryHiddenDomains() {
    XMLNode categories;
    if (!m_familyXml.GetRootNode().GetChildNode(N::ElemCategories, categories))
        return;
    XMLNodeArray domains;
    if (!categories.SelectChildNodes(N::ElemCategory, domains) || domains.IsEmpty())
        return;
    for (XMLNode& node : domains) {
        const CTocCategory category(node);
        WideString name;
        if (!category.IsHidden() || !category.GetInternalName(name) ||
            platform::EqualsIgnoringAsciiCase(name, N::KeptHiddenCategory))
            continue;
        XMLNodeArray parameters;
        if (!node.SelectChildNodes(N::ElemCategoryParameter, parameters))
            continue;
        for (const XMLNode& parameter : parameters) {
            WideString parameterName;
            if (!parameter.GetProperty(N::AttrInternalName, parameterName) || !m_mapping)
                continue;
            WideString columnId;
            if (!m_mapping->GetCategoryParamColumn(parameterName.c_str(), columnId)) {
                m_mapping->RemoveParamToConstantMapping(parameterName.c_str());
                continue;
            }
            CEncapFamilyColumn* column =
                m_table ? m_table->GetFamilyColumnByID(columnId.c_str()) : nullptr;
            // A column that serves more than this domain stays; only its mapping goes.
            if (!column || !column->IsHidden() ||
                platform::EqualsIgnoringAsciiCase(columnId, N::ColRid) ||
                column->IsReferencedByOther()) {
                m_mapping->RemoveParamToColumnMapping(parameterName.c_str());
                continue;
            }
            m_table->DeleteColumn(m_table->GetFamilyColumnIndexByID(columnId.c_str()));
        }
        node.RemoveThisNode(true);
    }
}

} // namespace torvex

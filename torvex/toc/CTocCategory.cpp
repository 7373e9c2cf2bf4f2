#include "torvex/toc/CTocCategory.h"

#include <cwchar>
#include <utility>

#include "torvex/toc/TocNames.h"

namespace torvex {

namespace {

// Every reference's InternalName, in document order; false when the selection fails.
template <typename Add> bool ForEachReference(const XMLNode& category, Add add) {
    XMLNodeArray references;
    if (!category.SelectChildNodes(TocNames::ElemFamilyReference, references)) {
        return false;
    }
    for (const XMLNode& reference : references) {
        WideString name; // a reference without the attribute contributes the empty string
        reference.GetProperty(TocNames::AttrInternalName, name);
        add(std::move(name));
    }
    return true;
}

} // namespace

bool CTocCategory::GetInternalName(WideString& out) const {
    return GetProperty(TocNames::AttrInternalName, out);
}

bool CTocCategory::GetDisplayName(WideString& out) const {
    return GetProperty(TocNames::AttrDisplayName, out);
}

bool CTocCategory::GetRevisionID(WideString& out) const {
    return GetProperty(TocNames::AttrRevisionId, out);
}

bool CTocCategory::GetLibraryID(WideString& out) const {
    return GetProperty(TocNames::AttrLibrary, out);
}

bool CTocCategory::GetDomain(WideString& out) const {
    return GetProperty(TocNames::AttrDomain, out);
}

bool CTocCategory::IsHidden() const {
    bool hidden = false;
    GetProperty(TocNames::AttrHidden, hidden);
    return hidden;
}

bool CTocCategory::SpecialAuthoring() const {
    bool special = false;
    GetProperty(TocNames::AttrSpecialAuthoring, special);
    return special;
}

bool CTocCategory::IsCategoryNode() const {
    WideString name;
    return IsNode() && GetNodeName(name) && std::wcscmp(name.c_str(), TocNames::ElemCategory) == 0;
}

bool CTocCategory::GetParent(CTocCategory& out) const {
    out = CTocCategory(GetParentNode());
    return out.IsCategoryNode();
}

bool CTocCategory::GetSubCategoryNodes(XMLNodeArray& out) const {
    return GetChildNodes(TocNames::ElemCategory, out);
}

bool CTocCategory::GetReferencedFamilies(std::set<WideString>& out) const {
    out.clear();
    return ForEachReference(*this, [&out](WideString name) { out.insert(std::move(name)); });
}

bool CTocCategory::GetReferencedFamilies(WideStringList& out) const {
    out.clear();
    return ForEachReference(*this, [&out](WideString name) { out.push_back(std::move(name)); });
}

} // namespace torvex

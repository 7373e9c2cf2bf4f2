#pragma once
// A Category element of the table of contents, with names for its attributes. A handle like
// XMLNode (it adds no data): copies share the node. Every reader works on an empty node too,
// answering false or leaving an empty output; nothing here raises.

#include <set>

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"

namespace torvex {

class CTocCategory : public XMLNode {
public:
    /// An empty node.
    CTocCategory() = default;
    /// Shares the node (any node: nothing checks that it is a Category).
    CTocCategory(const XMLNode& node) : XMLNode(node) {}
    CTocCategory(const CTocCategory&) = default;
    CTocCategory& operator=(const CTocCategory&) = default;
    ~CTocCategory() override = default;

    // The string readers: false with an empty output when the attribute is absent.

    /// "InternalName".
    bool GetInternalName(WideString& out) const;
    /// "DisplayName".
    bool GetDisplayName(WideString& out) const;
    /// "RevisionId".
    bool GetRevisionID(WideString& out) const;
    /// "Library".
    bool GetLibraryID(WideString& out) const;
    /// "Domain".
    bool GetDomain(WideString& out) const;

    /// "Hidden" read as a boolean ("true" in any case, or a number other than 0); false when
    /// absent.
    bool IsHidden() const;
    /// "SpecialAuthoring", read as IsHidden reads "Hidden".
    bool SpecialAuthoring() const;

    /// True when the node is not empty and its name is exactly "Category" (case counts, unlike
    /// in CToc::GetCategoryPath).
    bool IsCategoryNode() const;
    /// `out` takes the parent in every case (also one that is no category, or none); the answer
    /// is out.IsCategoryNode(). A first-level category answers false with `out` on Categories.
    bool GetParent(CTocCategory& out) const;
    /// The direct children named exactly "Category", in document order; `out` emptied first;
    /// false for an empty node.
    bool GetSubCategoryNodes(XMLNodeArray& out) const;

    /// The InternalName of each direct FamilyReference child, sorted, duplicates folded; a
    /// reference without the attribute gives the empty string. `out` emptied first; false for
    /// an empty node.
    bool GetReferencedFamilies(std::set<WideString>& out) const;
    /// As the set form, in document order with duplicates.
    bool GetReferencedFamilies(WideStringList& out) const;
};

} // namespace torvex

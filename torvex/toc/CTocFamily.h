#pragma once
// A family entry of the table of contents (a child element of Families), with names for its
// attributes. A handle like XMLNode (it adds no data): copies share the node. Every reader
// answers false with an empty output when the attribute is absent, also on an empty node;
// nothing here raises.

#include "torvex/platform/WideString.h"
#include "torvex/text/FamilyPropType.h"
#include "torvex/xml/XMLNode.h"

namespace torvex {

class CTocFamily : public XMLNode {
public:
    /// An empty node.
    CTocFamily() = default;
    /// Shares the node.
    CTocFamily(const XMLNode& node) : XMLNode(node) {}
    CTocFamily(const CTocFamily&) = default;
    CTocFamily& operator=(const CTocFamily&) = default;
    ~CTocFamily() override = default;

    /// "InternalName".
    bool GetInternalName(WideString& out) const;
    /// "DisplayName".
    bool GetDisplayName(WideString& out) const;
    /// "FromSource".
    bool GetSourceLib(WideString& out) const;
    /// "SourceMoniker".
    bool GetSourceFamily(WideString& out) const;
    /// "StandardsOrg".
    bool GetStandardOrg(WideString& out) const;
    /// "SourceRevisionId".
    bool GetSourceRevision(WideString& out) const;
    /// "RevisionId".
    bool GetRevision(WideString& out) const;
    /// The attribute that FamilyPropType names for `type`; a value without an attribute here
    /// (FamilyPropStandardRevision, FamilyPropFamilyRevision, FamilyPropThumbnailPath, 13, 14)
    /// or outside 0 to 16 answers false with an empty output.
    bool GetFamilyProperty(FamilyPropType type, WideString& out) const;

private:
    /// The attribute name for `type`; empty for the values without one and those above 16.
    static WideString GetFamilyStringId(FamilyPropType type);
};

} // namespace torvex

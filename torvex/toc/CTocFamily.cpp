#include "torvex/toc/CTocFamily.h"

#include "torvex/toc/TocNames.h"

namespace torvex {

bool CTocFamily::GetInternalName(WideString& out) const {
    return GetProperty(TocNames::AttrInternalName, out);
}

bool CTocFamily::GetDisplayName(WideString& out) const {
    return GetProperty(TocNames::AttrDisplayName, out);
}

bool CTocFamily::GetSourceLib(WideString& out) const {
    return GetProperty(TocNames::AttrFromSource, out);
}

bool CTocFamily::GetSourceFamily(WideString& out) const {
    return GetProperty(TocNames::AttrSourceMoniker, out);
}

bool CTocFamily::GetStandardOrg(WideString& out) const {
    return GetProperty(TocNames::AttrStandardsOrg, out);
}

bool CTocFamily::GetSourceRevision(WideString& out) const {
    return GetProperty(TocNames::AttrSourceRevisionId, out);
}

bool CTocFamily::GetRevision(WideString& out) const {
    return GetProperty(TocNames::AttrRevisionId, out);
}

bool CTocFamily::GetFamilyProperty(FamilyPropType type, WideString& out) const {
    const WideString attribute = GetFamilyStringId(type);
    if (attribute.empty()) {
        out.clear(); // an empty name finds nothing
        return false;
    }
    return GetProperty(attribute.c_str(), out);
}

WideString CTocFamily::GetFamilyStringId(FamilyPropType type) {
    switch (type) {
    case FamilyPropDisplayName:
        return TocNames::AttrDisplayName;
    case FamilyPropDescription:
        return TocNames::AttrDescription;
    case FamilyPropStandard:
        return TocNames::AttrStandard;
    case FamilyPropStandardOrg:
        return TocNames::AttrStandardsOrg;
    case FamilyPropManufacturer:
        return TocNames::AttrManufacturer;
    case FamilyPropFolderName:
        return TocNames::AttrFolderName;
    case FamilyPropRevisionId:
        return TocNames::AttrRevisionId;
    case FamilyPropInternalName:
        return TocNames::AttrInternalName;
    case FamilyPropLibrary:
        return TocNames::AttrLibrary;
    case FamilyPropSourceMoniker:
        return TocNames::AttrSourceMoniker;
    case FamilyPropSrcActive:
        return TocNames::AttrSrcActive;
    case FamilyPropLastModifiedTime:
        return TocNames::AttrLastModifiedTime;
    case FamilyPropStandardRevision:
    case FamilyPropFamilyRevision:
    case FamilyPropThumbnailPath:
    case FamilyPropValue13:
    case FamilyPropValue14:
        break;
    }
    return WideString(); // also for values outside the enumeration
}

} // namespace torvex

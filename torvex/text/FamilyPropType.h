#pragma once
// The named properties of a family, shared by the family (values 0 to 11 can be read, most of
// them set) and by the table of contents (which reads the ones stored as attributes of its
// family elements).

namespace torvex {

enum FamilyPropType : int {
    FamilyPropDisplayName = 0,
    FamilyPropDescription = 1,
    FamilyPropStandard = 2,
    FamilyPropStandardOrg = 3,
    FamilyPropManufacturer = 4,
    FamilyPropStandardRevision = 5,
    FamilyPropFamilyRevision = 6,
    FamilyPropFolderName = 7,
    FamilyPropRevisionId = 8,
    FamilyPropInternalName = 9,
    FamilyPropLibrary = 10,
    FamilyPropThumbnailPath = 11,
    FamilyPropSourceMoniker = 12,
    FamilyPropValue13 = 13,
    FamilyPropValue14 = 14,
    FamilyPropSrcActive = 15,
    FamilyPropLastModifiedTime = 16,
};

} // namespace torvex

#pragma once
// The family properties, by number, shared by the family and the table of contents. Values 0 to
// 11 serve the family's own property readers and writers, and CTocFamily::GetFamilyProperty reads
// the table-of-contents attribute named beside each value (none: no attribute there). The
// underlying type is fixed, so that any int converts and a value outside 0 to 16 is one with no
// attribute, not undefined.

namespace torvex {

enum FamilyPropType : int {
    FamilyPropDisplayName = 0,      // "DisplayName"
    FamilyPropDescription = 1,      // "Description"
    FamilyPropStandard = 2,         // "Standard"
    FamilyPropStandardOrg = 3,      // "StandardsOrg"
    FamilyPropManufacturer = 4,     // "Manufacturer"
    FamilyPropStandardRevision = 5, // none
    FamilyPropFamilyRevision = 6,   // none
    FamilyPropFolderName = 7,       // "FolderName"
    FamilyPropRevisionId = 8,       // "RevisionId"
    FamilyPropInternalName = 9,     // "InternalName"
    FamilyPropLibrary = 10,         // "Library"
    FamilyPropThumbnailPath = 11,   // none
    FamilyPropSourceMoniker = 12,   // "SourceMoniker"
    FamilyPropValue13 = 13,         // none
    FamilyPropValue14 = 14,         // none
    FamilyPropSrcActive = 15,       // "SrcActive"
    FamilyPropLastModifiedTime = 16 // "LastModifiedTime"
};

} // namespace torvex

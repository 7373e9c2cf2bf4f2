#pragma once
// The family properties the library answers by number, with the names people know them by.

#include "torvex/text/FamilyPropType.h"

namespace torvex::cli {

struct PropertyName {
    FamilyPropType type;
    const char* name;
    bool settable; // SetFamilyProperty takes it
};

inline constexpr PropertyName kFamilyProperties[] = {
    {FamilyPropDisplayName, "DisplayName", true},
    {FamilyPropDescription, "Description", true},
    {FamilyPropStandard, "Standard", true},
    {FamilyPropStandardOrg, "StandardsOrg", true},
    {FamilyPropManufacturer, "Manufacturer", true},
    {FamilyPropStandardRevision, "StandardRevision", true},
    {FamilyPropFamilyRevision, "FamilyRevision", true},
    {FamilyPropFolderName, "FolderName", true},
    {FamilyPropRevisionId, "RevisionId", true},
    {FamilyPropInternalName, "InternalName", false},
    {FamilyPropLibrary, "Library", false},
    {FamilyPropThumbnailPath, "ThumbnailPath", true},
};

} // namespace torvex::cli

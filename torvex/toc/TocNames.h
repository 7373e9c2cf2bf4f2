#pragma once
// Names of the table-of-contents document. They compare exactly, as spelled.

namespace torvex::TocNames {

// Elements.
inline constexpr const wchar_t* ElemTableOfContents = L"TableOfContents";
inline constexpr const wchar_t* ElemFamilies = L"Families";
inline constexpr const wchar_t* ElemCategories = L"Categories";
inline constexpr const wchar_t* ElemCategory = L"Category";
inline constexpr const wchar_t* ElemFamilyReference = L"FamilyReference";

// Attributes of a family entry (the element under Families, whatever its name).
inline constexpr const wchar_t* AttrInternalName = L"InternalName";
inline constexpr const wchar_t* AttrDisplayName = L"DisplayName";
inline constexpr const wchar_t* AttrDescription = L"Description";
inline constexpr const wchar_t* AttrStandard = L"Standard";
inline constexpr const wchar_t* AttrStandardsOrg = L"StandardsOrg";
inline constexpr const wchar_t* AttrManufacturer = L"Manufacturer";
inline constexpr const wchar_t* AttrFolderName = L"FolderName";
inline constexpr const wchar_t* AttrRevisionId = L"RevisionId";
inline constexpr const wchar_t* AttrLibrary = L"Library";
inline constexpr const wchar_t* AttrSourceMoniker = L"SourceMoniker";
inline constexpr const wchar_t* AttrFromSource = L"FromSource";
inline constexpr const wchar_t* AttrSourceRevisionId = L"SourceRevisionId";
inline constexpr const wchar_t* AttrSrcActive = L"SrcActive";
inline constexpr const wchar_t* AttrLastModifiedTime = L"LastModifiedTime";

// Attributes of a Category beyond InternalName, DisplayName, RevisionId and Library.
inline constexpr const wchar_t* AttrDomain = L"Domain";
inline constexpr const wchar_t* AttrSpecialAuthoring = L"SpecialAuthoring";
inline constexpr const wchar_t* AttrHidden = L"Hidden";

// XPath expressions of the map building, relative to the document node.
inline constexpr const wchar_t* PathFamilies = L"TableOfContents/Families";
inline constexpr const wchar_t* PathCategories = L"TableOfContents/Categories";
// From the document root: every Category of the document, inside Categories or not.
inline constexpr const wchar_t* PathAllCategories = L"//Category";

} // namespace torvex::TocNames

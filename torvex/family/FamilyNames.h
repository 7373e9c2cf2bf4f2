#pragma once
// Names of the family document and of the string documents, and the ids with a fixed meaning.
// Names compare exactly, as spelled. XPath expressions are put together from these constants,
// with no escaping of the values inserted into them.

#include "torvex/platform/WideString.h"

#include <initializer_list>

namespace torvex::FamilyNames {

/// Element names joined into a child path ("A/B/C"), as the XPath lookups are put together.
inline WideString JoinSteps(std::initializer_list<const wchar_t*> steps) {
    WideString path;
    for (const wchar_t* step : steps) {
        if (!path.empty())
            path += L'/';
        path += step;
    }
    return path;
}

// Elements of the family document.
inline constexpr const wchar_t* ElemCategories = L"Categories";
inline constexpr const wchar_t* ElemCategory = L"Category";
inline constexpr const wchar_t* ElemCategoryParameter = L"CategoryParameter";
inline constexpr const wchar_t* ElemFamilyStrings = L"FamilyStrings";
inline constexpr const wchar_t* ElemFile = L"File";
inline constexpr const wchar_t* ElemThumbnail = L"Thumbnail";
inline constexpr const wchar_t* ElemFamilyTemplates = L"FamilyTemplates";
inline constexpr const wchar_t* ElemFamilyTemplate = L"FamilyTemplate";
inline constexpr const wchar_t* ElemGeneralizedParameter = L"GeneralizedParameter";
inline constexpr const wchar_t* ElemParameterMap = L"ParameterMap";
inline constexpr const wchar_t* ElemFamilyParametersMap = L"FamilyParametersMap";
inline constexpr const wchar_t* ElemParamsToTemplate = L"ParamsToTemplate";
inline constexpr const wchar_t* ElemParamTemplateValue = L"ParamTemplateValue";
inline constexpr const wchar_t* ElemCategoryParameterRef = L"CategoryParameterRef";
inline constexpr const wchar_t* ElemTemplatesParameter = L"TemplatesParameter";
inline constexpr const wchar_t* ElemTemplateParameter = L"TemplateParameter";
inline constexpr const wchar_t* ElemMemberParametersMap = L"MemberParametersMap";
inline constexpr const wchar_t* ElemColumnsToTemplate = L"ColumnsToTemplate";
inline constexpr const wchar_t* ElemColumnToTemplate = L"ColumnToTemplate";
inline constexpr const wchar_t* ElemParamsToColumn = L"ParamsToColumn";
inline constexpr const wchar_t* ElemParamToColumn = L"ParamToColumn";
inline constexpr const wchar_t* ElemFamilyTable = L"FamilyTable";
inline constexpr const wchar_t* ElemColumns = L"Columns";
inline constexpr const wchar_t* ElemColumn = L"Column";
inline constexpr const wchar_t* ElemRows = L"Rows";
inline constexpr const wchar_t* ElemRow = L"Row";
inline constexpr const wchar_t* ElemCell = L"Cell";

// Elements of a string document (Rows is shared with the family document).
inline constexpr const wchar_t* ElemDisplayName = L"DisplayName";
inline constexpr const wchar_t* ElemDescription = L"Description";
inline constexpr const wchar_t* ElemConstantValues = L"ConstantValues";
inline constexpr const wchar_t* ElemConstantValue = L"ConstantValue";
inline constexpr const wchar_t* ElemTable = L"Table";
inline constexpr const wchar_t* ElemColumnStrings = L"ColumnStrings";
inline constexpr const wchar_t* ElemTitle = L"Title";
inline constexpr const wchar_t* ElemColumnwideValue = L"ColumnwideValue";
inline constexpr const wchar_t* ElemCellString = L"CellString";

// Attributes of the root of the family document.
inline constexpr const wchar_t* AttrInternalName = L"InternalName";
inline constexpr const wchar_t* AttrDisplayName = L"DisplayName";
inline constexpr const wchar_t* AttrDescription = L"Description";
inline constexpr const wchar_t* AttrRevisionId = L"RevisionId";
inline constexpr const wchar_t* AttrManufacturer = L"Manufacturer";
inline constexpr const wchar_t* AttrStandardsOrg = L"StandardsOrg";
inline constexpr const wchar_t* AttrStandard = L"Standard";
inline constexpr const wchar_t* AttrFolderName = L"FolderName";
inline constexpr const wchar_t* AttrLibrary = L"Library";
inline constexpr const wchar_t* AttrFromSource = L"FromSource";
inline constexpr const wchar_t* AttrSourceMoniker = L"SourceMoniker";
inline constexpr const wchar_t* AttrSrcActive = L"SrcActive";
inline constexpr const wchar_t* AttrHealthStatus = L"HealthStatus";
inline constexpr const wchar_t* AttrEditStatus = L"EditStatus";
inline constexpr const wchar_t* AttrParentLibraryName = L"ParentLibraryName";
inline constexpr const wchar_t* AttrParentFamilyName = L"ParentFamilyName";
inline constexpr const wchar_t* AttrDataTypeCategory = L"DataTypeCategory";

// Attributes of categories, templates and the parameter map.
inline constexpr const wchar_t* AttrHidden = L"Hidden";
inline constexpr const wchar_t* AttrDomain = L"Domain";
inline constexpr const wchar_t* AttrSpecialAuthoring = L"SpecialAuthoring";
inline constexpr const wchar_t* AttrValueLocalized = L"ValueLocalized";
inline constexpr const wchar_t* AttrFullFileName = L"FullFileName";
inline constexpr const wchar_t* AttrName = L"Name";
inline constexpr const wchar_t* AttrFileName = L"FileName";
inline constexpr const wchar_t* AttrId = L"Id";
inline constexpr const wchar_t* AttrObjectType = L"ObjectType";
inline constexpr const wchar_t* AttrObjectReferenceKey = L"ObjectReferenceKey";
inline constexpr const wchar_t* AttrSubObjectId = L"SubObjectId";
inline constexpr const wchar_t* AttrValueType = L"ValueType";
inline constexpr const wchar_t* AttrUnitType = L"UnitType";
inline constexpr const wchar_t* AttrConstantValue = L"ConstantValue";
inline constexpr const wchar_t* AttrCategoryParameter = L"CategoryParameter";
inline constexpr const wchar_t* AttrCategory = L"Category";
inline constexpr const wchar_t* AttrTemplateName = L"TemplateName";
inline constexpr const wchar_t* AttrParameterId = L"ParameterId";
inline constexpr const wchar_t* AttrTableColumn = L"TableColumn";

// Attributes of the table.
inline constexpr const wchar_t* AttrColumnId = L"ColumnId";
inline constexpr const wchar_t* AttrTitle = L"Title";
inline constexpr const wchar_t* AttrColumnwideValue = L"ColumnwideValue";
inline constexpr const wchar_t* AttrCustom = L"Custom";
inline constexpr const wchar_t* AttrKeyWeight = L"KeyWeight";
inline constexpr const wchar_t* AttrRowId = L"RowId";

// Attribute of the root of a string document.
inline constexpr const wchar_t* AttrXmlLang = L"xml:lang";

// Declared names that no operation touches; they pass through documents untouched.
inline constexpr const wchar_t* AttrMnemonic = L"Mnemonic";
inline constexpr const wchar_t* AttrAppliesToMember = L"AppliesToMember";
inline constexpr const wchar_t* AttrDefinitionOnly = L"DefinitionOnly";
inline constexpr const wchar_t* AttrIndexedSearch = L"IndexedSearch";
inline constexpr const wchar_t* AttrOptional = L"Optional";
inline constexpr const wchar_t* AttrUsesDefinition = L"UsesDefinition";
inline constexpr const wchar_t* AttrRepeatable = L"Repeatable";
inline constexpr const wchar_t* AttrDefaultValue = L"DefaultValue";
inline constexpr const wchar_t* AttrIcon = L"Icon";
inline constexpr const wchar_t* AttrDataType = L"DataType";
inline constexpr const wchar_t* ColFeature = L"FEATURE";
inline constexpr const wchar_t* ColMaterialAlias = L"MATERIAL_ALIAS";
inline constexpr const wchar_t* ColOriginalFileName = L"original_FILENAME";

// Boolean texts.
inline constexpr const wchar_t* ValueTrue = L"true";
inline constexpr const wchar_t* ValueFalse = L"false";

// Column ids and cell values with a fixed meaning.
inline constexpr const wchar_t* ColRid = L"RID";
inline constexpr const wchar_t* ColStatus = L"STATUS";
inline constexpr const wchar_t* ColMemberRevision = L"MEMBER_REVISION";
inline constexpr const wchar_t* ColSourceMemberRevision = L"SOURCE_MEMBER_REVISION";
inline constexpr const wchar_t* ValueSuppressed = L"Suppressed";

// Name of the template that a mapping update makes when a family has none.
inline constexpr const wchar_t* DefaultTemplateName = L"Template1";

// Object kinds of a generalized parameter (ObjectType) and the sub-objects named beside them.
inline constexpr const wchar_t* ObjUnknown = L"Unknown";
inline constexpr const wchar_t* ObjUserParameter = L"kUserParameterObject";
inline constexpr const wchar_t* ObjProperty = L"kPropertyObject";
inline constexpr const wchar_t* ObjPartComponentDefinition = L"kPartComponentDefinitionObject";
inline constexpr const wchar_t* ObjPartDocument = L"kPartDocumentObject";
inline constexpr const wchar_t* ObjModelParameter = L"kModelParameterObject";
inline constexpr const wchar_t* ObjPartFeature = L"kPartFeatureObject";
inline constexpr const wchar_t* ObjRenderStyle = L"kRenderStyleObject";
inline constexpr const wchar_t* ObjThreadFeature = L"kThreadFeatureObject";
inline constexpr const wchar_t* SubObjMaterial = L"Material";
inline constexpr const wchar_t* SubObjVisible = L"Visible";
inline constexpr const wchar_t* SubObjSuppressed = L"Suppressed";
inline constexpr const wchar_t* SubObjRenderStyle = L"RenderStyle";

// Category parameters of the family's own properties (matched exactly, inside XPath).
inline constexpr const wchar_t* ParamFolderName = L"3f06958e-8713-4116-9be7-ed6184ecc97b";
inline constexpr const wchar_t* ParamDisplayName = L"05415f3d-3907-474b-a020-eb9d644f4cf3";
inline constexpr const wchar_t* ParamDescription = L"13903e3d-64b1-4950-80da-f627842ea37f";
inline constexpr const wchar_t* ParamStandardRevision = L"91d5a463-65c2-4fde-b823-3b7fea5e8e17";
inline constexpr const wchar_t* ParamInternalName = L"cf1d0246-76d9-4b4a-8305-fa0409afb5c1";
inline constexpr const wchar_t* ParamStandardOrg = L"8f5914e1-4693-403f-8ab5-d37768198c9d";
inline constexpr const wchar_t* ParamStandard = L"0c0a119c-1e12-4c84-803f-101930972f5e";
inline constexpr const wchar_t* ParamFamilyRevision = L"914462f6-6e19-4b14-ba84-155b9680b1d0";
inline constexpr const wchar_t* ParamManufacturer = L"cd6c7a72-a28a-4e50-99a9-2c7f4e13e5ad";

// Category parameters that give a column its kind (matched exactly).
inline constexpr const wchar_t* ParamFileName = L"8b46a4cc-9585-4fed-90c3-899f57e09a73";
inline constexpr const wchar_t* ParamMaterial = L"818a152a-d3c3-49ca-80ee-df7d91421b8e";
inline constexpr const wchar_t* ParamCategory3 = L"2675968c-4ce5-49e0-a4f5-552d29089031";
inline constexpr const wchar_t* ParamCategory4 = L"016b6077-bfbe-49bd-92c9-d8d59c39c941";
inline constexpr const wchar_t* ParamCategory5 = L"4dba7c1c-e26c-444e-836c-b08b433409a8";

// Category parameters of legacy map columns (matched ignoring case).
inline constexpr const wchar_t* LegacyMapParams[] = {
    L"8e5e0294-fc51-4c8f-b3d7-003dc5ed94f6", L"e705e1f4-09cb-413e-91f9-551b4188271e",
    L"d99d1e27-aa94-4de2-af4c-c348882a6f4f", L"5193edd4-b2b0-4ab4-9d54-de900eee34e0",
    L"0918ad47-427f-4fed-ae26-24c81c58f590", L"316934ee-8fe1-4c7a-9c36-f2d79e1add1a",
    L"e2cc04c6-09a4-4218-9b13-cc2651121187", L"9345fe05-da15-4943-be2b-92536398cd61",
};

// DataTypeCategory of a feature family (matched exactly).
inline constexpr const wchar_t* FeatureDataTypeCategory = L"9ce1a3c8-5164-4421-8b65-e51b0a387cfc";
// The one hidden category that the tidying of hidden domains keeps (matched ignoring case).
inline constexpr const wchar_t* KeptHiddenCategory = L"23b78d0f-2648-40c6-8793-ca6db495c9e8";

// Declared beside the others; no operation names them.
inline constexpr const wchar_t* ReservedIds[] = {
    L"bc51e27b-3422-4e78-93ef-cec197ddf230", L"874eb879-aff3-4e19-89f6-8a59f8e70faf",
    L"e2385c5b-1ea4-4823-96a8-8de651266ec3", L"45a75005-10b1-4dfc-8d6d-dfe629f0b93c",
    L"2af9ec52-faaa-4026-b378-f9fa4afca842",
};

} // namespace torvex::FamilyNames

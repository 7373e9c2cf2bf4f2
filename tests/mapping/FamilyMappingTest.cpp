// The mapping of a family as a host sees it: what the load makes of each column, the lookups of
// category parameters, localized columns and host properties, and the templates.

#include "torvex/mapping/CEncapFamilyMapping.h"

#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/mapping/CEncapFamilyTemplate.h"
#include "torvex/mapping/CEncapMemberColToParam.h"
#include "torvex/mapping/CEncapMemberColToTemplate.h"

#include "family/FamilyTestSupport.h"
#include "mapping/MappingTestSupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace torvex::test {
namespace {

using PropType = CEncapFamilyColIPropertyData::ColPropertyObjectType;

struct Parts {
    std::wstring categories;
    std::wstring templates;
    std::wstring columnsToTemplate;
    std::wstring paramsToColumn;
    std::wstring columns;
};

std::wstring FamilyXml(const Parts& p) {
    return L"<Family><Categories><Category InternalName='cat' Hidden='false'>" + p.categories +
           L"</Category></Categories><FamilyTemplates>" + p.templates +
           L"</FamilyTemplates><ParameterMap><MemberParametersMap><ColumnsToTemplate>" +
           p.columnsToTemplate + L"</ColumnsToTemplate><ParamsToColumn>" + p.paramsToColumn +
           L"</ParamsToColumn></MemberParametersMap></ParameterMap><FamilyTable><Columns>" +
           p.columns + L"</Columns></FamilyTable></Family>";
}

std::unique_ptr<CEncapFamily> Open(const Parts& p) {
    return OpenFamily(FamilyXml(p).c_str());
}

CEncapFamilyColumn* Column(const CEncapFamily& family, const wchar_t* id) {
    return family.GetEncapFamilyTable()->GetFamilyColumnByID(id);
}

std::wstring DrivesColumn(const wchar_t* column, const wchar_t* entries) {
    return std::wstring(L"<ColumnToTemplate TableColumn='") + column + L"'><TemplatesParameter>" +
           entries + L"</TemplatesParameter></ColumnToTemplate>";
}

std::wstring Bears(const wchar_t* column, const wchar_t* parameter) {
    return std::wstring(L"<ParamToColumn TableColumn='") + column +
           L"'><CategoryParameterRef Category='cat' CategoryParameter='" + parameter +
           L"'/></ParamToColumn>";
}

TEST(MappingLoad, ObjectTypesSetTheColumnFlags) {
    const struct {
        const wchar_t* type; // null: no ObjectType attribute
        const wchar_t* subObject;
        bool geometry, hostProperty, property;
        PropType binding; // Unknown: no binding
        const wchar_t* bindingKey;
    } cases[] = {
        {L"kUserParameterObject", L"d", true, false, true, PropType::Unknown, L""},
        {L"KUSERPARAMETEROBJECT", L"d", true, false, true, PropType::Unknown, L""},
        {L"kPropertyObject", L"PartNumber", false, true, true, PropType::kPropertyObject, L"Key"},
        {L"kRenderStyleObject", L"Red", false, true, true, PropType::kRenderStyleObject, L"Key"},
        {L"kPartDocumentObject", L"File", false, true, true, PropType::kPartDocumentObject, L"Key"},
        {L"kPartComponentDefinitionObject", L"MATERIAL", false, true, true,
         PropType::kPartComponentDefinitionObject, L""},
        {L"kPartComponentDefinitionObject", L"Mass", false, false, false, PropType::Unknown, L""},
        {L"kPartFeatureObject", L"visible", true, false, true, PropType::Unknown, L""},
        {L"kPartFeatureObject", L"Suppressed", true, false, true, PropType::Unknown, L""},
        {L"kPartFeatureObject", L"Depth", false, false, false, PropType::Unknown, L""},
        {L"kModelParameterObject", L"Pitch", false, false, false, PropType::Unknown, L""},
        {L"kThreadFeatureObject", L"Pitch", false, false, true, PropType::Unknown, L""},
        {L"", L"x", false, false, true, PropType::Unknown, L""},
        {nullptr, L"x", false, false, true, PropType::Unknown, L""},
    };
    for (const auto& c : cases) {
        Parts p;
        p.templates = L"<FamilyTemplate Name='Main'><GeneralizedParameter Id='1' "
                      L"ObjectReferenceKey='Key' SubObjectId='" +
                      std::wstring(c.subObject) + L"'" +
                      (c.type ? L" ObjectType='" + std::wstring(c.type) + L"'" : L"") +
                      L"/></FamilyTemplate>";
        p.columnsToTemplate =
            DrivesColumn(L"C", L"<TemplateParameter TemplateName='Main' ParameterId='1'/>");
        p.columns = L"<Column ColumnId='C' ValueType='string'/><Column ColumnId='Free'/>";
        auto family = Open(p);
        const std::wstring label = std::wstring(c.type ? c.type : L"(none)") + L"/" + c.subObject;
        CEncapFamilyColumn* column = Column(*family, L"C");
        ASSERT_NE(column, nullptr);
        EXPECT_EQ(column->IsGeometryColumn(), c.geometry) << label;
        EXPECT_EQ(column->IsHostPropertyColumn(), c.hostProperty) << label;
        EXPECT_EQ(column->IsPropertyColumn(), c.property) << label;
        CEncapFamilyColIPropertyData* binding = column->ColIPropertyData();
        if (c.binding == PropType::Unknown) {
            EXPECT_EQ(binding, nullptr) << label;
        } else {
            ASSERT_NE(binding, nullptr) << label;
            EXPECT_EQ(binding->PropObjType(), c.binding) << label;
            EXPECT_EQ(binding->ObjectRefKey(), c.bindingKey) << label;
            EXPECT_EQ(binding->SubObjectId(), c.binding == PropType::kPartComponentDefinitionObject
                                                  ? L"Material"
                                                  : c.subObject)
                << label;
        }
        CEncapFamilyColumn* free = Column(*family, L"Free");
        EXPECT_FALSE(free->IsGeometryColumn() || free->IsHostPropertyColumn() ||
                     free->IsPropertyColumn())
            << label;
    }
}

TEST(MappingLoad, AColumnCollectsTheFlagsOfAllItDrivesAndSkipsWhatIsMissing) {
    Parts p;
    p.templates = L"<FamilyTemplate Name='Main'>"
                  L"<GeneralizedParameter Id='1' ObjectType='kPropertyObject' "
                  L"ObjectReferenceKey='Props' SubObjectId='Length'/>"
                  L"<GeneralizedParameter Id='2' ObjectType='kModelParameterObject'>"
                  L"<GeneralizedParameter Id='3' ObjectType='kUserParameterObject'/>"
                  L"</GeneralizedParameter></FamilyTemplate>";
    p.columnsToTemplate =
        DrivesColumn(L"L", L"<TemplateParameter TemplateName='Main' ParameterId='1'/>"
                           L"<TemplateParameter TemplateName='main' ParameterId='3'/>") +
        // unknown template, unknown parameter: skipped
        DrivesColumn(L"U", L"<TemplateParameter TemplateName='Other' ParameterId='1'/>"
                           L"<TemplateParameter TemplateName='Main' ParameterId='9'/>") +
        // a second element for a column replaces the first
        DrivesColumn(L"R", L"<TemplateParameter TemplateName='Main' ParameterId='1'/>") +
        DrivesColumn(L"r", L"<TemplateParameter TemplateName='Main' ParameterId='2'/>");
    p.columns = L"<Column ColumnId='L'/><Column ColumnId='U'/><Column ColumnId='R'/>";
    auto family = Open(p);

    CEncapFamilyColumn* l = Column(*family, L"L");
    EXPECT_TRUE(l->IsGeometryColumn()); // the nested parameter 3, template name ignoring case
    EXPECT_TRUE(l->IsHostPropertyColumn());
    ASSERT_NE(l->ColIPropertyData(), nullptr);
    EXPECT_EQ(l->ColIPropertyData()->SubObjectId(), L"Length");
    CEncapFamilyColumn* u = Column(*family, L"U");
    EXPECT_FALSE(u->IsGeometryColumn() || u->IsHostPropertyColumn() || u->IsPropertyColumn());
    CEncapFamilyColumn* r = Column(*family, L"R");
    EXPECT_FALSE(r->IsHostPropertyColumn()); // only parameter 2, which sets nothing
    WideString name;
    family->GetEncapFamilyMapping()->GetMemberColToTemplate(L"R")->GetColumnName(name);
    EXPECT_EQ(name, L"r");
}

struct CategoryFixture {
    Parts parts = [] {
        Parts p;
        p.categories = L"<CategoryParameter InternalName='Size' ValueLocalized='false'/>"
                       L"<CategoryParameter InternalName='Label' ValueLocalized='TRUE'/>"
                       L"<CategoryParameter InternalName='818a152a-d3c3-49ca-80ee-df7d91421b8e'/>";
        p.paramsToColumn =
            L"<ParamToColumn TableColumn='M'/>" + Bears(L"M", L"Size") + Bears(L"M", L"Label") +
            Bears(L"Mat", L"818a152a-d3c3-49ca-80ee-df7d91421b8e") + Bears(L"m", L"Lower");
        p.columns = L"<Column ColumnId='M' Hidden='true' ValueType='double'/>"
                    L"<Column ColumnId='Mat' Hidden='false' ValueType='string'/>";
        return p;
    }();
    std::unique_ptr<CEncapFamily> family = Open(parts);
    CEncapFamilyMapping& mapping = *family->GetEncapFamilyMapping();
};

TEST(MappingCategories, TheFirstParameterInDocumentOrderExactly) {
    CategoryFixture f;
    const struct {
        const wchar_t* column;
        const wchar_t* parameter; // null: none
    } cases[] = {{L"M", L"Size"},
                 {L"m", L"Lower"},
                 {L"Mat", L"818a152a-d3c3-49ca-80ee-df7d91421b8e"},
                 {L"MAT", nullptr},
                 {L"Other", nullptr}};
    for (const auto& c : cases) {
        WideString parameter = L"untouched";
        EXPECT_EQ(f.family->GetColumnCategory(c.column, parameter), c.parameter != nullptr)
            << c.column;
        EXPECT_EQ(parameter, c.parameter ? c.parameter : L"untouched") << c.column;
    }
    // Column ids of the map ignore case: "m" joins "M", the empty first element stays held.
    EXPECT_EQ(f.mapping.GetMemberColToParam(L"M")->ParamCount(), 4);
    // The load made the column bearing the material parameter a material column.
    EXPECT_TRUE(Column(*f.family, L"Mat")->IsMaterial());
    EXPECT_TRUE(Column(*f.family, L"Mat")->IsHostPropertyColumn());
}

TEST(MappingCategories, AfterTheLoadTheDocumentIsAskedAgain) {
    CategoryFixture f;
    // An element put first into the document is the first one now.
    XMLNode list;
    f.family->GetFamilyXML().GetRootNode().GetChildNode(
        L"ParameterMap/MemberParametersMap/ParamsToColumn", list);
    XMLNode first;
    list.GetFirstChildNode(first);
    XMLNode added = first.AddNodeBefore(L"ParamToColumn", nullptr, L"TableColumn", L"M");
    added.AddNode(L"CategoryParameterRef", nullptr, L"CategoryParameter", L"Newer");
    WideString parameter;
    EXPECT_TRUE(f.family->GetColumnCategory(L"M", parameter));
    EXPECT_EQ(parameter, L"Newer");
}

TEST(MappingCategories, ColumnOfAParameterExactlyOrElseIgnoringCase) {
    CategoryFixture f;
    const struct {
        const wchar_t* parameter;
        const wchar_t* column; // null: none
    } cases[] = {{L"Label", L"M"},
                 {L"LABEL", L"M"},
                 {L"lower", L"m"},
                 {L"Unknown", nullptr},
                 // A ParamToColumn without a reference compares as the empty text.
                 {L"", L"M"}};
    for (const auto& c : cases) {
        WideString column;
        EXPECT_EQ(CEncapFamilyMappingTestPeer::CategoryParamColumn(f.mapping, c.parameter, column),
                  c.column != nullptr)
            << c.parameter;
        if (c.column) {
            EXPECT_EQ(column, c.column) << c.parameter;
        }
    }
}

TEST(MappingLocalized, ParametersDecideElseVisibleStringColumns) {
    Parts p;
    p.categories = L"<CategoryParameter InternalName='Local' ValueLocalized='true'/>"
                   L"<CategoryParameter InternalName='Plain' ValueLocalized='false'/>";
    p.paramsToColumn = Bears(L"HiddenLocal", L"Local") + Bears(L"VisiblePlain", L"Plain") +
                       Bears(L"Both", L"Plain") + Bears(L"Both", L"Local") +
                       Bears(L"Unknown", L"NoSuchParameter");
    p.columns = L"<Column ColumnId='HiddenString' Hidden='true' ValueType='string'/>"
                L"<Column ColumnId='HiddenLocal' Hidden='true' ValueType='double'/>"
                L"<Column ColumnId='VisibleString' Hidden='false' ValueType='String'/>"
                L"<Column ColumnId='VisibleReal' Hidden='false' ValueType='double'/>"
                L"<Column ColumnId='NoHidden' ValueType='string'/>"
                L"<Column ColumnId='VisiblePlain' Hidden='false' ValueType='string'/>"
                L"<Column ColumnId='Both' Hidden='true' ValueType='string'/>"
                L"<Column ColumnId='Unknown' Hidden='false' ValueType='string'/>"
                L"<Column ColumnId='Cased' Hidden='FALSE' ValueType='string'/>";
    auto family = Open(p);
    const struct {
        const wchar_t* column;
        bool localized;
    } cases[] = {
        {L"HiddenString", false},  {L"HiddenLocal", true}, {L"VisibleString", true},
        {L"visiblestring", false}, // the document is asked with the id as spelled
        {L"VisibleReal", false},   {L"NoHidden", false},   {L"VisiblePlain", false},
        {L"Both", true},           {L"Unknown", false},    {L"Cased", false},
        {L"NoSuchColumn", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(family->IsFamilyColumnLocalized(c.column), c.localized) << c.column;

    // Answers are kept: a later change of the column does not show.
    Column(*family, L"VisibleReal")->GetXMLNode().SetProperty(L"ValueType", L"string");
    Column(*family, L"HiddenString")->GetXMLNode().SetProperty(L"Hidden", L"false");
    EXPECT_FALSE(family->IsFamilyColumnLocalized(L"VisibleReal"));
    EXPECT_FALSE(family->IsFamilyColumnLocalized(L"HiddenString"));
}

// A column keeps its answer between cells; binding or freeing a parameter changes it at once.
TEST(MappingLocalized, AColumnFollowsItsParametersAsTheyChange) {
    Parts p;
    p.categories = L"<CategoryParameter InternalName='Local' ValueLocalized='true'/>";
    p.columns = L"<Column ColumnId='Size' Hidden='false' ValueType='double'/>";
    auto family = Open(p);
    CEncapFamilyColumn* size = Column(*family, L"Size");
    CEncapFamilyMapping& mapping = *family->GetEncapFamilyMapping();
    EXPECT_FALSE(size->IsLocalized());
    EXPECT_FALSE(size->IsLocalized());
    ASSERT_TRUE(mapping.AddParamToColumnMapping(size, L"cat", L"Local"));
    EXPECT_TRUE(size->IsLocalized());
    EXPECT_TRUE(CEncapFamilyMappingTestPeer::RemoveParamToColumn(mapping, L"Local"));
    EXPECT_FALSE(size->IsLocalized());
}

TEST(MappingLocalized, AColumnFirstAskedAfterTheLoadReadsTheDocument) {
    Parts p;
    p.columns = L"<Column ColumnId='Early' Hidden='false' ValueType='string'/>";
    auto family = Open(p);
    XMLNode columns;
    family->GetFamilyXML().GetRootNode().GetChildNode(L"FamilyTable/Columns", columns);
    columns.AddNode(L"Column", nullptr, L"ColumnId", L"Late", L"Hidden", L"false", L"ValueType",
                    L"string");
    EXPECT_TRUE(family->IsFamilyColumnLocalized(L"Late"));
    EXPECT_TRUE(family->IsFamilyColumnLocalized(L"Early"));
}

struct PropertyFixture {
    Parts parts = [] {
        Parts p;
        p.templates =
            L"<FamilyTemplate Name='Main'>"
            L"<GeneralizedParameter Id='1' ObjectType='kPropertyObject' "
            L"ObjectReferenceKey='DesignProps' SubObjectId='PartNumber'>"
            L"<GeneralizedParameter Id='5' ObjectReferenceKey='Nested' SubObjectId='Deep'/>"
            L"</GeneralizedParameter>"
            L"<GeneralizedParameter Id='2' ObjectType='kPropertyObject' "
            L"ObjectReferenceKey='DesignProps' SubObjectId='Description'/>"
            L"<GeneralizedParameter Id='3' ObjectReferenceKey='Ünits' SubObjectId='x'/>"
            L"</FamilyTemplate>"
            L"<FamilyTemplate Name='Second'>"
            L"<GeneralizedParameter Id='1' ObjectReferenceKey='Other' SubObjectId='Used'/>"
            L"</FamilyTemplate>";
        p.columnsToTemplate =
            DrivesColumn(L"PN", L"<TemplateParameter TemplateName='Main' ParameterId='1'/>") +
            DrivesColumn(L"Deep", L"<TemplateParameter TemplateName='Main' ParameterId='5'/>") +
            DrivesColumn(L"U", L"<TemplateParameter TemplateName='Second' ParameterId='1'/>") +
            DrivesColumn(L"X", L"<TemplateParameter TemplateName='Main' ParameterId='3'/>");
        p.columns = L"<Column ColumnId='PN'/>";
        return p;
    }();
    std::unique_ptr<CEncapFamily> family = Open(parts);
    CEncapFamilyMapping& mapping = *family->GetEncapFamilyMapping();
};

TEST(MappingProperties, UsedWhenADrivenTopLevelParameterMatchesIgnoringAsciiCase) {
    PropertyFixture f;
    const struct {
        const wchar_t* key;
        const wchar_t* subObject;
        bool used;
    } cases[] = {
        {L"DesignProps", L"PartNumber", true},
        {L"DESIGNPROPS", L"partnumber", true},
        {L"DesignProps", L"Description", false}, // in a template but driven by no column
        {L"Nested", L"Deep", false},             // only top-level parameters are searched
        {L"Other", L"Used", true},               // the second template
        {L"ünits", L"x", false},                 // only ASCII letters fold
        {L"Ünits", L"x", true},
        {L"Missing", L"Nothing", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(f.mapping.IsPropertyAlreadyUsed(c.key, c.subObject), c.used)
            << c.key << L"/" << c.subObject;
}

TEST(MappingProperties, NewBindingUnlessEmptyOrUsed) {
    PropertyFixture f;
    EXPECT_EQ(f.mapping.GetColIPropertyData(L"", L"", PropType::kPropertyObject), nullptr);
    EXPECT_EQ(f.mapping.GetColIPropertyData(nullptr, nullptr, PropType::kPropertyObject), nullptr);
    EXPECT_EQ(
        f.mapping.GetColIPropertyData(L"DesignProps", L"PartNumber", PropType::kPropertyObject),
        nullptr);
    std::unique_ptr<CEncapFamilyColIPropertyData> fresh(
        f.mapping.GetColIPropertyData(L"DesignProps", L"Description", PropType::kPropertyObject));
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh->ObjectRefKey(), L"DesignProps");
    EXPECT_EQ(fresh->SubObjectId(), L"Description");
    EXPECT_EQ(fresh->PropObjType(), PropType::kPropertyObject);
    std::unique_ptr<CEncapFamilyColIPropertyData> keyOnly(
        f.mapping.GetColIPropertyData(L"", L"Material", PropType::kPartComponentDefinitionObject));
    ASSERT_NE(keyOnly, nullptr);
}

TEST(MappingTemplates, FirstTemplateIsTheMainOne) {
    Parts p;
    p.templates = L"<FamilyTemplate FileName='nameless.model'/>"
                  L"<FamilyTemplate Name='B' FileName='b.model'/>"
                  L"<FamilyTemplate Name='A' FileName='a.model'/>";
    auto family = Open(p);
    CEncapFamilyMapping& mapping = *family->GetEncapFamilyMapping();
    EXPECT_EQ(mapping.GetTemplateNames(), (WideStringList{L"B", L"A"}));
    WideString file = L"untouched";
    mapping.GetTemplateFileName(file);
    EXPECT_EQ(file, L"b.model");
    ASSERT_NE(mapping.GetFamilyTemplate(L"a"), nullptr);
    mapping.GetFamilyTemplate(L"a")->GetFileName(file);
    EXPECT_EQ(file, L"a.model");
    EXPECT_EQ(mapping.GetFamilyTemplate(L"nameless"), nullptr);
    EXPECT_EQ(mapping.GetFamilyTemplate(nullptr), nullptr);

    CEncapFamilyMapping empty;
    file = L"untouched";
    empty.GetTemplateFileName(file);
    EXPECT_EQ(file, L"untouched");
    EXPECT_FALSE(empty.IsPropertyAlreadyUsed(L"a", L"b"));
    EXPECT_EQ(empty.GetMemberColToParam(L"a"), nullptr);
}

TEST(MappingTemplates, AFamilyWithoutMappingTreesLoadsNothing) {
    auto family = OpenFamily(L"<Family><FamilyTable><Columns><Column ColumnId='a' "
                             L"Hidden='false' ValueType='string'/></Columns></FamilyTable>"
                             L"</Family>");
    CEncapFamilyMapping& mapping = *family->GetEncapFamilyMapping();
    EXPECT_TRUE(mapping.GetTemplateNames().empty());
    EXPECT_FALSE(mapping.GetFamilyTemplatesNode().IsNode());
    WideString parameter;
    EXPECT_FALSE(family->GetColumnCategory(L"a", parameter));
    EXPECT_TRUE(family->IsFamilyColumnLocalized(L"a"));
}

} // namespace
} // namespace torvex::test

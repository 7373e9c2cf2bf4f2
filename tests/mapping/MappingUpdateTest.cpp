// The write side of the mapping: what a column's new role does to the templates and the
// parameter map, checked as the serialised mapping trees before and after each edit, and when
// the member revisions move.

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

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace torvex::test {
namespace {

using Peer = CEncapFamilyMappingTestPeer;
using PropType = CEncapFamilyColIPropertyData::ColPropertyObjectType;

// The parts of a family document that the mapping edits.
struct Doc {
    Doc(std::wstring templates = L"", std::wstring columnsToTemplate = L"",
        std::wstring paramsToColumn = L"", std::wstring constants = L"",
        bool hasColumnsToTemplate = true)
        : templates(std::move(templates)), columnsToTemplate(std::move(columnsToTemplate)),
          paramsToColumn(std::move(paramsToColumn)), constants(std::move(constants)),
          hasColumnsToTemplate(hasColumnsToTemplate) {}
    std::wstring templates;         // inside FamilyTemplates
    std::wstring columnsToTemplate; // inside MemberParametersMap/ColumnsToTemplate
    std::wstring paramsToColumn;    // inside MemberParametersMap/ParamsToColumn
    std::wstring constants;         // inside FamilyParametersMap/ParamsToTemplate
    bool hasColumnsToTemplate;
};

// Columns: D (double, mm), Part and Part2 (string), and the revisions of rows r1 and r2.
std::wstring FamilyXml(const Doc& d) {
    return L"<Family><Categories><Category InternalName='cat' Hidden='false'>"
           L"<CategoryParameter InternalName='Size' ValueLocalized='false'/>"
           L"<CategoryParameter InternalName='Label' ValueLocalized='true'/>"
           L"</Category></Categories><FamilyTemplates>" +
           d.templates +
           L"</FamilyTemplates><ParameterMap><FamilyParametersMap><ParamsToTemplate>" +
           d.constants + L"</ParamsToTemplate></FamilyParametersMap><MemberParametersMap>" +
           (d.hasColumnsToTemplate
                ? L"<ColumnsToTemplate>" + d.columnsToTemplate + L"</ColumnsToTemplate>"
                : L"") +
           L"<ParamsToColumn>" + d.paramsToColumn +
           L"</ParamsToColumn></MemberParametersMap></ParameterMap><FamilyTable><Columns>"
           L"<Column ColumnId='D' ValueType='double' UnitType='mm' Hidden='false'/>"
           L"<Column ColumnId='Part' ValueType='string' Hidden='false'/>"
           L"<Column ColumnId='Part2' ValueType='string' Hidden='false'/>"
           L"<Column ColumnId='MEMBER_REVISION' ValueType='string' Hidden='true'/></Columns>"
           L"<Rows><Row RowId='r1'><Cell ColumnId='MEMBER_REVISION'>rev1</Cell></Row>"
           L"<Row RowId='r2'><Cell ColumnId='MEMBER_REVISION'>rev2</Cell></Row></Rows>"
           L"</FamilyTable></Family>";
}

// Everything but the rows, serialised: the mapping trees and the columns.
WideString MappingXml(const XMLParser& document) {
    return Xml(Select(document, L"FamilyTemplates")) + Xml(Select(document, L"ParameterMap")) +
           Xml(Select(document, L"FamilyTable/Columns"));
}

WideString Expected(const Doc& d) {
    return MappingXml(Parse(FamilyXml(d).c_str()));
}

std::wstring Revision(const CEncapFamily& family, const wchar_t* row) {
    WideString text;
    Select(family.GetFamilyXML(), (L"FamilyTable/Rows/Row[@RowId='" + std::wstring(row) +
                                   L"']/Cell[@ColumnId='MEMBER_REVISION']")
                                      .c_str())
        .GetNodeText(text);
    return text;
}

// One template with the given parameters; one column's TemplatesParameter with the given
// entries of template Main.
std::wstring Template(const wchar_t* name, const std::wstring& parameters = L"") {
    return L"<FamilyTemplate Name='" + std::wstring(name) + L"'>" + parameters +
           L"</FamilyTemplate>";
}
std::wstring Drives(const wchar_t* column, std::initializer_list<int> ids) {
    std::wstring entries;
    for (int id : ids)
        entries +=
            L"<TemplateParameter TemplateName='Main' ParameterId='" + std::to_wstring(id) + L"'/>";
    return L"<ColumnToTemplate TableColumn='" + std::wstring(column) + L"'>" +
           (ids.size() ? L"<TemplatesParameter>" + entries + L"</TemplatesParameter>"
                       : L"<TemplatesParameter/>") +
           L"</ColumnToTemplate>";
}
std::wstring Bears(const wchar_t* column, const wchar_t* parameter) {
    return L"<ParamToColumn TableColumn='" + std::wstring(column) +
           L"'><CategoryParameterRef Category='cat' CategoryParameter='" + parameter +
           L"'/></ParamToColumn>";
}
std::wstring Constant(const wchar_t* parameter, const wchar_t* value, int id = -1) {
    return L"<ParamTemplateValue ConstantValue='" + std::wstring(value) +
           L"'><CategoryParameterRef CategoryParameter='" + parameter + L"'/>" +
           (id < 0 ? L""
                   : L"<TemplatesParameter><TemplateParameter TemplateName='Main' ParameterId='" +
                         std::to_wstring(id) + L"'/></TemplatesParameter>") +
           L"</ParamTemplateValue>";
}
// A generalized parameter as the updates write it: key, sub-object, value type, unit, kind.
std::wstring Param(int id, const wchar_t* key, const wchar_t* sub, const wchar_t* valueType,
                   const wchar_t* unit, const wchar_t* type) {
    return L"<GeneralizedParameter Id='" + std::to_wstring(id) + L"' ObjectReferenceKey='" + key +
           L"' SubObjectId='" + sub + L"' ValueType='" + valueType + L"' UnitType='" + unit +
           L"' ObjectType='" + type + L"'/>";
}

const std::wstring kPartNumber =
    Param(1, L"Props", L"PartNumber", L"string", L"ul", L"KPROPERTYOBJECT");
const std::wstring kUserD = Param(2, L"D", L"", L"double", L"mm", L"kUserParameterObject");
const std::wstring kPitch =
    Param(4, L"Thread", L"Pitch", L"double", L"mm", L"kModelParameterObject");

struct Opened {
    explicit Opened(const Doc& d) : family(OpenFamily(FamilyXml(d).c_str())) {}
    std::unique_ptr<CEncapFamily> family;
    CEncapFamilyMapping& mapping = *family->GetEncapFamilyMapping();
    CEncapFamilyColumn* Column(const wchar_t* id) const {
        return family->GetEncapFamilyTable()->GetFamilyColumnByID(id);
    }
    WideString Now() const { return MappingXml(family->GetFamilyXML()); }
};

// What the host does to one column: the geometry flag first (-1 left alone, 0 off, 1 on), then
// the update with a property binding.
struct Update {
    const wchar_t* column;
    int geometry;
    const wchar_t* key;
    const wchar_t* sub;
    PropType type;
};

TEST(MappingUpdate, DocumentsBeforeAndAfterAndTheRevisions) {
    const Update plainPart{L"Part", -1, L"", L"", PropType::Unknown};
    const Doc noColumnsToTemplate{Template(L"Main", kPartNumber), L"", L"", L"", false};
    const struct {
        const char* what;
        Doc before;
        Update update;
        Doc after;
        bool bumped;
    } cases[] = {
        {"no template: Template1 comes even for a plain column",
         {},
         plainPart,
         {Template(L"Template1")},
         false},
        {"no template: a binding goes to Template1 with id 0",
         {},
         {L"Part", -1, L"Props", L"PartNumber", PropType::kPropertyObject},
         {Template(L"Template1",
                   Param(0, L"Props", L"PartNumber", L"string", L"ul", L"kPropertyObject")),
          L"<ColumnToTemplate TableColumn='Part'><TemplatesParameter><TemplateParameter "
          L"TemplateName='Template1' ParameterId='0'/></TemplatesParameter></ColumnToTemplate>"},
         true},
        {"another property: the old parameter goes, the new one takes the next id",
         {Template(L"Main", kPartNumber + kUserD), Drives(L"Part", {1}) + Drives(L"D", {2})},
         {L"Part", -1, L"Props", L"Description", PropType::kPropertyObject},
         {Template(L"Main", kUserD + Param(3, L"Props", L"Description", L"string", L"ul",
                                           L"kPropertyObject")),
          Drives(L"Part", {3}) + Drives(L"D", {2})},
         true},
        {"Visible is a feature whatever the type; a property is a string",
         {Template(L"Main", kUserD), Drives(L"D", {2})},
         {L"Part", -1, L"Hole", L"Visible", PropType::kPropertyObject},
         {Template(L"Main",
                   kUserD + Param(3, L"Hole", L"Visible", L"string", L"ul", L"kPartFeatureObject")),
          Drives(L"D", {2}) + Drives(L"Part", {3})},
         true},
        {"suppressed of another type keeps the column's type and unit and its user parameter",
         {Template(L"Main", kUserD), Drives(L"D", {2})},
         {L"D", -1, L"Hole", L"suppressed", PropType::kModelParameterObject},
         {Template(L"Main", kUserD + Param(3, L"Hole", L"suppressed", L"double", L"mm",
                                           L"kPartFeatureObject")),
          Drives(L"D", {2, 3})},
         true},
        {"unbinding releases the binding and all but the user parameters",
         {Template(L"Main", kPartNumber + kUserD + kPitch), Drives(L"Part", {1, 2, 4})},
         plainPart,
         {Template(L"Main", kUserD), Drives(L"Part", {2})},
         true},
        {"binding again to the property the column drives finds it used, and unbinds",
         {Template(L"Main", kPartNumber), Drives(L"Part", {1})},
         {L"Part", -1, L"Props", L"PartNumber", PropType::kPropertyObject},
         {Template(L"Main"), Drives(L"Part", {})},
         true},
        {"geometry on: a user parameter in every template",
         {Template(L"Main", kPartNumber) + Template(L"Second"), Drives(L"Part", {1})},
         {L"D", 1, L"", L"", PropType::Unknown},
         {Template(L"Main",
                   kPartNumber + Param(2, L"D", L"", L"double", L"mm", L"kUserParameterObject")) +
              Template(L"Second", Param(0, L"D", L"", L"double", L"mm", L"kUserParameterObject")),
          Drives(L"Part", {1}) + L"<ColumnToTemplate TableColumn='D'><TemplatesParameter>"
                                 L"<TemplateParameter TemplateName='Main' ParameterId='2'/>"
                                 L"<TemplateParameter TemplateName='Second' ParameterId='0'/>"
                                 L"</TemplatesParameter></ColumnToTemplate>"},
         true},
        {"geometry still on: left as it is",
         {Template(L"Main", kUserD), Drives(L"D", {2})},
         {L"D", 1, L"", L"", PropType::Unknown},
         {Template(L"Main", kUserD), Drives(L"D", {2})},
         true},
        {"geometry off: everything the column drives goes",
         {Template(L"Main", kUserD + kPitch), Drives(L"D", {2, 4})},
         {L"D", 0, L"", L"", PropType::Unknown},
         {Template(L"Main"), Drives(L"D", {})},
         false},
        {"without ColumnsToTemplate a geometry column maps nothing",
         noColumnsToTemplate,
         {L"D", 1, L"", L"", PropType::Unknown},
         noColumnsToTemplate,
         true},
        {"without ColumnsToTemplate a binding maps nothing",
         noColumnsToTemplate,
         {L"Part", -1, L"Props", L"Other", PropType::kPropertyObject},
         noColumnsToTemplate,
         true},
    };
    for (const auto& c : cases) {
        Opened f(c.before);
        ASSERT_EQ(f.Now(), Expected(c.before)) << c.what;
        CEncapFamilyColumn* column = f.Column(c.update.column);
        if (c.update.geometry >= 0)
            column->SetIsGeometryColumn(c.update.geometry == 1);
        f.mapping.UpdateColumnMapping(column, c.update.key, c.update.sub, c.update.type);
        EXPECT_EQ(f.Now(), Expected(c.after)) << c.what;
        const std::wstring r1 = Revision(*f.family, L"r1");
        EXPECT_EQ(r1 != L"rev1", c.bumped) << c.what;
        EXPECT_EQ(Revision(*f.family, L"r2"), c.bumped ? r1 : L"rev2") << c.what;
    }
}

TEST(MappingUpdate, ASharedParameterSurvivesUntilItsLastReferenceGoes) {
    // Parameter 1 is driven by Part and Part2, parameter 4 by Part and a constant value.
    const std::wstring sharedType =
        Param(1, L"Doc", L"File", L"double", L"mm", L"kPartDocumentObject");
    const std::wstring released =
        Param(1, L"Doc", L"File", L"string", L"ul", L"kPartDocumentObject");
    Opened f({Template(L"Main", sharedType + kPitch),
              Drives(L"Part", {1, 4}) + Drives(L"Part2", {1}), Bears(L"Part", L"Size"),
              Constant(L"Other", L"1", 4)});
    const std::wstring pitchReleased =
        Param(4, L"Thread", L"Pitch", L"string", L"ul", L"kModelParameterObject");
    const struct {
        const wchar_t* column;
        Doc after;
    } steps[] = {
        {L"Part",
         {Template(L"Main", released + pitchReleased), Drives(L"Part2", {1}), L"",
          Constant(L"Other", L"1", 4)}},
        {L"Part2", {Template(L"Main", pitchReleased), L"", L"", Constant(L"Other", L"1", 4)}},
        {L"Part2", {Template(L"Main", pitchReleased), L"", L"", Constant(L"Other", L"1", 4)}},
    };
    for (const auto& step : steps) {
        Peer::RemoveColumnMapping(f.mapping, step.column);
        EXPECT_EQ(f.Now(), Expected(step.after)) << step.column;
        EXPECT_EQ(f.mapping.GetMemberColToTemplate(step.column), nullptr);
        EXPECT_EQ(f.mapping.GetMemberColToParam(step.column), nullptr);
    }
}

TEST(MappingUpdate, ReleasingAReferenceThatCanNotBeFoundChangesNothing) {
    Opened f({Template(L"Main", kPartNumber), Drives(L"Part", {1})});
    const WideString before = f.Now();
    for (const auto& [name, id] : {std::pair<const wchar_t*, int>{L"Main", 99},
                                   {L"Nope", 1},
                                   {L"Ma\"in", 1},
                                   {nullptr, 1}}) {
        Peer::UpdateTemplateParameters(f.mapping, name, id);
        EXPECT_EQ(f.Now(), before) << (name ? name : L"(null)");
    }
}

TEST(MappingUpdate, CategoryParameterOfAColumnAddedOnce) {
    Opened f({Template(L"Main"), L"", Bears(L"Part2", L"Size")});
    const struct {
        const wchar_t* parameter;
        std::wstring paramsToColumn;
        int count;
    } steps[] = {
        {L"Size", Bears(L"Part2", L"Size") + Bears(L"Part", L"Size"), 1},
        {L"Size", Bears(L"Part2", L"Size") + Bears(L"Part", L"Size"), 1},
        {L"Label", Bears(L"Part2", L"Size") + Bears(L"Part", L"Size") + Bears(L"Part", L"Label"),
         2},
    };
    for (const auto& step : steps) {
        EXPECT_TRUE(f.mapping.AddParamToColumnMapping(f.Column(L"Part"), L"cat", step.parameter));
        EXPECT_EQ(f.Now(), Expected({Template(L"Main"), L"", step.paramsToColumn}));
        EXPECT_EQ(f.mapping.GetMemberColToParam(L"Part")->ParamCount(), step.count);
    }

    const WideString before = f.Now();
    EXPECT_FALSE(f.mapping.AddParamToColumnMapping(nullptr, L"cat", L"Grade"));
    EXPECT_FALSE(f.mapping.AddParamToColumnMapping(f.Column(L"Part"), L"cat", nullptr));
    EXPECT_FALSE(f.mapping.AddParamToColumnMapping(f.Column(L"Part"), L"cat", L"bad\x1"));
    EXPECT_EQ(f.Now(), before);
}

TEST(MappingUpdate, WithoutParameterMapOrFamilyTemplatesNothingIsMade) {
    auto bare = OpenFamily(L"<Family><FamilyTable><Columns><Column ColumnId='Part'/></Columns>"
                           L"</FamilyTable></Family>");
    CEncapFamilyMapping& mapping = *bare->GetEncapFamilyMapping();
    const WideString before = RootXml(*bare);
    CEncapFamilyColumn* part = bare->GetEncapFamilyTable()->GetFamilyColumnByID(L"Part");
    EXPECT_FALSE(mapping.AddParamToColumnMapping(part, L"cat", L"Size"));
    EXPECT_EQ(mapping.AddFamilyTemplate(L"Main"), nullptr);
    mapping.UpdateColumnMapping(part, L"Props", L"PartNumber", PropType::kPropertyObject);
    EXPECT_EQ(RootXml(*bare), before);
    EXPECT_TRUE(mapping.GetTemplateNames().empty());
}

TEST(MappingUpdate, CategoryParameterRemovedFromItsColumn) {
    const Doc before{Template(L"Main"), L"",
                     Bears(L"Part", L"Size") + Bears(L"Part", L"Label") +
                         Bears(L"Part2", L"Grade")};
    const struct {
        const wchar_t* parameter;
        bool found;
        std::wstring after;
        int partCount, part2Count; // 0: no object
    } cases[] = {
        {L"Unknown", false, before.paramsToColumn, 2, 1},
        {L"Size", true, Bears(L"Part", L"Label") + Bears(L"Part2", L"Grade"), 1, 1},
        {L"SIZE", true, Bears(L"Part", L"Label") + Bears(L"Part2", L"Grade"), 1, 1},
        {L"Grade", true, Bears(L"Part", L"Size") + Bears(L"Part", L"Label"), 2, 0},
    };
    for (const auto& c : cases) {
        Opened f(before);
        EXPECT_EQ(Peer::RemoveParamToColumn(f.mapping, c.parameter), c.found) << c.parameter;
        EXPECT_EQ(f.Now(), Expected({Template(L"Main"), L"", c.after})) << c.parameter;
        const auto count = [&](const wchar_t* column) {
            CEncapMemberColToParam* params = f.mapping.GetMemberColToParam(column);
            return params ? params->ParamCount() : 0;
        };
        EXPECT_EQ(count(L"Part"), c.partCount) << c.parameter;
        EXPECT_EQ(count(L"Part2"), c.part2Count) << c.parameter;
    }
}

TEST(MappingUpdate, ConstantValuesRemovedExactlyUnlessTheQueryFails) {
    const std::wstring size = Constant(L"Size", L"10") + Constant(L"Size", L"20");
    const std::wstring quoted = Constant(L"q\"uote", L"x");
    const std::wstring label = Constant(L"Label", L"y");
    const struct {
        const wchar_t* parameter;
        std::wstring after;
    } cases[] = {
        {L"Unknown", size + quoted + label},
        {L"Size", quoted + label},
        {L"SIZE", size + quoted + label},
        // A double quote can't stand in the exact query: the second one ignores case.
        {L"Q\"UOTE", size + label},
        {nullptr, size + quoted + label},
    };
    for (const auto& c : cases) {
        Opened f({Template(L"Main"), L"", L"", size + quoted + label});
        EXPECT_TRUE(Peer::RemoveParamToConstant(f.mapping, c.parameter));
        EXPECT_EQ(f.Now(), Expected({Template(L"Main"), L"", L"", c.after}))
            << (c.parameter ? c.parameter : L"(null)");
    }
}

TEST(MappingUpdate, TemplatesAddedOrFound) {
    Opened f(Doc{Template(L"Main")});
    const struct {
        const wchar_t* name;
        const wchar_t* answer; // the template answered, by name; null: none
        std::wstring templates;
    } cases[] = {
        {L"", nullptr, Template(L"Main")},
        {L"MAIN", L"Main", Template(L"Main")},
        {L"Second", L"Second", Template(L"Main") + Template(L"Second")},
        {L"second", L"Second", Template(L"Main") + Template(L"Second")},
    };
    for (const auto& c : cases) {
        CEncapFamilyTemplate* answer = f.mapping.AddFamilyTemplate(c.name);
        EXPECT_EQ(answer, c.answer ? f.mapping.GetFamilyTemplate(c.answer) : nullptr) << c.name;
        EXPECT_EQ(f.Now(), Expected({c.templates})) << c.name;
    }
    EXPECT_EQ(f.mapping.GetTemplateNames(), (WideStringList{L"Main", L"Second"}));
}

TEST(MappingUpdate, EveryMappingChangeOfAColumnDropsItsLocalizationAnswer) {
    Opened f(Doc{Template(L"Main")});
    XMLNode partColumn = f.Column(L"Part")->GetXMLNode();
    const auto hidden = [&](bool hide) { partColumn.SetProperty(L"Hidden", hide); };
    const struct {
        const char* what;
        bool hide; // written behind the mapping's back: not seen before a mapping change
        std::function<void()> mappingChange;
        bool localized;
    } steps[] = {
        {"a binding", true,
         [&] { f.mapping.UpdateColumnMapping(f.Column(L"Part"), L"", L"", PropType::Unknown); },
         false},
        {"a localized parameter", false,
         [&] { f.mapping.AddParamToColumnMapping(f.Column(L"Part"), L"cat", L"Label"); }, true},
        {"the parameter gone", true, [&] { Peer::RemoveParamToColumn(f.mapping, L"Label"); },
         false},
        {"the column deleted", false, [&] { Peer::RemoveColumnMapping(f.mapping, L"Part"); }, true},
    };
    EXPECT_TRUE(f.family->IsFamilyColumnLocalized(L"Part"));
    for (const auto& step : steps) {
        const bool was = f.family->IsFamilyColumnLocalized(L"Part");
        hidden(step.hide);
        EXPECT_EQ(f.family->IsFamilyColumnLocalized(L"Part"), was) << step.what;
        step.mappingChange();
        EXPECT_EQ(f.family->IsFamilyColumnLocalized(L"Part"), step.localized) << step.what;
    }
}

} // namespace
} // namespace torvex::test

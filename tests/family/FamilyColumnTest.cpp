// Columns: attributes read at load, setters that write the document first, kinds and flags,
// member revision bumps, property data and constant columns.

#include "FamilyTestSupport.h"

#include "torvex/family/CEncapConstFamilyColumn.h"
#include "torvex/family/CEncapFamilyColIPropertyData.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/family/FamilyNames.h"

#include <gtest/gtest.h>

#include <functional>

namespace torvex {
namespace {

using test::OpenFamily;

std::unique_ptr<CEncapFamily> FamilyWithColumn(const WideString& column,
                                               const WideString& more = L"") {
    const WideString xml = L"<F><FamilyTable><Columns>" + column + more +
                           L"</Columns><Rows><Row RowId=\"r1\"/><Row RowId=\"r2\"/></Rows>"
                           L"</FamilyTable></F>";
    return OpenFamily(xml.c_str());
}

WideString ColumnXml(const CEncapFamilyColumn& column) {
    WideString xml;
    column.GetXMLNode().GetXml(xml);
    return xml;
}

TEST(FamilyColumn, AttributesAreReadAtLoad) {
    struct Case {
        const wchar_t* xml;
        const wchar_t* title;
        const wchar_t* formula;
        const wchar_t* unit;
        bool custom;
        bool hidden;
        int keyWeight;
        DataTypes::ColumnDataType type;
    };
    const Case cases[] = {
        {L"<Column ColumnId=\"c\"/>", L"", L"", L"", false, false, 0, DataTypes::DataString},
        {L"<Column ColumnId=\"c\" Title=\"T\" ColumnwideValue=\"{a}*2\" UnitType=\"mm\" "
         L"Custom=\"TRUE\" Hidden=\"true\" KeyWeight=\"3\" ValueType=\"DOUBLE\"/>",
         L"T", L"{a}*2", L"mm", true, true, 3, DataTypes::DataReal},
        {L"<Column ColumnId=\"c\" Custom=\"1\" Hidden=\"yes\" KeyWeight=\"x\" ValueType=\"Real\"/>",
         L"", L"", L"", false, false, 0, DataTypes::DataString},
        {L"<Column ColumnId=\"c\" KeyWeight=\"-2\" ValueType=\"integer\"/>", L"", L"", L"", false,
         false, -2, DataTypes::DataInteger},
        {L"<Column ColumnId=\"c\" ValueType=\"boolean\"/>", L"", L"", L"", false, false, 0,
         DataTypes::DataBoolean},
    };
    for (const Case& c : cases) {
        auto family = FamilyWithColumn(c.xml);
        const CEncapFamilyColumn* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
        ASSERT_NE(column, nullptr) << c.xml;
        WideString text;
        column->GetTitle(text);
        EXPECT_EQ(text, c.title) << c.xml;
        column->GetFormula(text);
        EXPECT_EQ(text, c.formula) << c.xml;
        column->GetUnitType(text);
        EXPECT_EQ(text, c.unit) << c.xml;
        EXPECT_EQ(column->IsCustom(), c.custom) << c.xml;
        EXPECT_EQ(column->IsHidden(), c.hidden) << c.xml;
        EXPECT_EQ(column->GetKeyWeight(), c.keyWeight) << c.xml;
        EXPECT_EQ(column->IsKeyColumn(), c.keyWeight > 0) << c.xml;
        EXPECT_EQ(column->GetDataType(), c.type) << c.xml;
        EXPECT_EQ(column->IsExpressionColumn(), *c.formula != 0) << c.xml;
        EXPECT_EQ(column->GetColumnType(), CEncapFamilyColumn::ColumnTypeNormal);
        EXPECT_FALSE(column->IsPropertyColumn() || column->IsGeometryColumn() ||
                     column->IsHostPropertyColumn() || column->IsStatusColumn() ||
                     column->IsReferencedByOther() || column->IsLocalized() ||
                     column->IsLegacyMapColumn());
    }
}

TEST(FamilyColumn, SettersWriteTheDocumentAndTheMember) {
    // Each edit of the column below, and the attributes that the element holds afterwards; the
    // unknown attribute Mnemonic and element Icon stay in place.
    auto title = [](const CEncapFamilyColumn& c) {
        WideString t;
        c.GetTitle(t, L"xx"); // the language plays no part
        return t;
    };
    auto id = [](const CEncapFamilyColumn& c) {
        WideString t;
        c.GetColumnID(t);
        return t;
    };
    auto unit = [](const CEncapFamilyColumn& c) {
        WideString t;
        c.GetUnitType(t);
        return t;
    };
    struct Case {
        std::function<void(CEncapFamilyColumn&)> edit;
        const wchar_t* attributes;
        std::function<bool(const CEncapFamilyColumn&)> member;
    };
    const Case cases[] = {
        {[](auto& c) { c.SetTitle(L"New"); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"New\" UnitType=\"mm\"",
         [&](auto& c) { return title(c) == L"New"; }},
        {[](auto& c) { c.SetTitle(L"Neu", L"de-DE"); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"Neu\" UnitType=\"mm\"",
         [&](auto& c) { return title(c) == L"Neu"; }},
        {[](auto& c) { c.SetColumnID(L"k"); },
         L"ColumnId=\"k\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\"",
         [&](auto& c) { return id(c) == L"k"; }},
        {[](auto& c) { c.SetIsCustom(true); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\" Custom=\"true\"",
         [](auto& c) { return c.IsCustom(); }},
        // Written even when the value stays.
        {[](auto& c) { c.SetIsCustom(false); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\" Custom=\"false\"",
         [](auto& c) { return !c.IsCustom(); }},
        {[](auto& c) { c.SetIsHidden(true); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\" Hidden=\"true\"",
         [](auto& c) { return c.IsHidden(); }},
        {[](auto& c) { c.SetKeyWeight(2); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\" KeyWeight=\"2\"",
         [](auto& c) { return c.GetKeyWeight() == 2 && c.IsKeyColumn(); }},
        {[](auto& c) { c.SetDataType(DataTypes::DataBoolean); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\" ValueType=\"boolean\"",
         [](auto& c) { return c.GetDataType() == DataTypes::DataBoolean; }},
        {[](auto& c) { c.SetUnitType(L"in"); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"in\"",
         [&](auto& c) { return unit(c) == L"in"; }},
        // The present unit writes nothing.
        {[](auto& c) { c.SetUnitType(L"mm"); },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\"",
         [&](auto& c) { return unit(c) == L"mm"; }},
        // In-memory setters leave no trace in the document.
        {[](auto& c) {
             c.SetColumnType(CEncapFamilyColumn::ColumnTypeMaterial);
             c.SetIsStatusColumn(true);
             c.SetIsGeometryColumn(true);
         },
         L"ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\"",
         [](auto& c) {
             return c.IsMaterial() && c.IsRestrictedColumn() && c.IsStatusColumn() &&
                    c.IsPropertyColumn();
         }},
    };
    for (const Case& c : cases) {
        auto family = FamilyWithColumn(
            L"<Column ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\"><Icon/></Column>");
        CEncapFamilyColumn* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
        ASSERT_NE(column, nullptr);
        c.edit(*column);
        EXPECT_EQ(ColumnXml(*column),
                  L"<Column " + WideString(c.attributes) + L"><Icon/></Column>");
        EXPECT_TRUE(c.member(*column)) << c.attributes;
    }
}

// Cells of MEMBER_REVISION in both rows, in row order.
WideStringList Revisions(CEncapFamilyTable& table) {
    WideStringList revisions;
    for (const WideString& id : table.GetAllRowIDs()) {
        WideString value;
        table.GetValue(id.c_str(), FamilyNames::ColMemberRevision, value);
        revisions.push_back(value);
    }
    return revisions;
}

TEST(FamilyColumn, ChangesOfGeometryColumnsBumpMemberRevisions) {
    auto family = FamilyWithColumn(
        L"<Column ColumnId=\"g\" Custom=\"true\" UnitType=\"mm\"/>",
        L"<Column ColumnId=\"MEMBER_REVISION\" ValueType=\"string\" Hidden=\"true\"/>");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    CEncapFamilyColumn* geometry = table->GetFamilyColumnByID(L"g");
    ASSERT_NE(geometry, nullptr);
    geometry->SetIsGeometryColumn(true);
    EXPECT_FALSE(geometry->ChangeInColumnCausesRefresh()) << "a custom column never refreshes";
    EXPECT_EQ(Revisions(*table), (WideStringList{L"", L""}));

    // Turning custom off asks on the new value: the geometry column now refreshes.
    geometry->SetIsCustom(false);
    const WideStringList first = Revisions(*table);
    ASSERT_EQ(first.size(), 2u);
    EXPECT_EQ(first[0].size(), 36u);
    EXPECT_EQ(first[0], first[1]) << "one revision for all members";
    for (int i = 0; i < 2; ++i)
        EXPECT_FALSE(table->GetFamilyRowByIndex(i)->IsRowModified());

    // Turning custom on never bumps.
    geometry->SetIsCustom(true);
    EXPECT_EQ(Revisions(*table), first);
    geometry->SetIsCustom(false);
    const WideStringList second = Revisions(*table);
    EXPECT_NE(second, first);

    // The unit bumps when it changes, and not when it stays.
    geometry->SetUnitType(L"mm");
    EXPECT_EQ(Revisions(*table), second);
    geometry->SetUnitType(L"in");
    const WideStringList third = Revisions(*table);
    EXPECT_NE(third, second);

    // A column that nothing depends on and that is no geometry or property column doesn't bump.
    geometry->SetIsGeometryColumn(false);
    geometry->SetUnitType(L"cm");
    EXPECT_EQ(Revisions(*table), third);

    // An explicit revision goes to every member.
    table->BumpAllMemberRevisions(L"rev-7");
    EXPECT_EQ(Revisions(*table), (WideStringList{L"rev-7", L"rev-7"}));
}

TEST(FamilyColumn, WithoutRevisionColumnABumpChangesNothing) {
    auto family = FamilyWithColumn(L"<Column ColumnId=\"g\" Custom=\"true\"/>");
    const WideString before = test::RootXml(*family);
    CEncapFamilyColumn* geometry = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"g");
    geometry->SetIsHostPropertyColumn(true);
    geometry->SetIsCustom(false);
    const WideString after = test::RootXml(*family);
    EXPECT_EQ(after.find(L"<Cell"), WideString::npos);
    EXPECT_NE(after.find(L"Custom=\"false\""), WideString::npos);
}

TEST(FamilyColumn, PropertyFlagFollowsGeometryAndHostProperty) {
    auto family = FamilyWithColumn(L"<Column ColumnId=\"c\"/>");
    CEncapFamilyColumn* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
    column->SetColIPropertyData(new CEncapFamilyColIPropertyData(
        L"key", L"Material", CEncapFamilyColIPropertyData::kPartComponentDefinitionObject));
    EXPECT_TRUE(column->IsHostPropertyColumn());
    EXPECT_TRUE(column->IsPropertyColumn());
    ASSERT_NE(column->ColIPropertyData(), nullptr);
    EXPECT_EQ(column->ColIPropertyData()->PropObjTypeStr(), L"kPartComponentDefinitionObject");

    // Handing back the held object keeps it.
    column->SetColIPropertyData(column->ColIPropertyData());
    EXPECT_EQ(column->ColIPropertyData()->SubObjectId(), L"Material");

    column->SetColIPropertyData(nullptr);
    EXPECT_FALSE(column->IsHostPropertyColumn());
    EXPECT_FALSE(column->IsPropertyColumn());

    column->SetIsGeometryColumn(true);
    column->SetColIPropertyData(new CEncapFamilyColIPropertyData());
    column->SetColIPropertyData(nullptr);
    EXPECT_TRUE(column->IsPropertyColumn()) << "still a geometry column";

    // A copy shares the binding; both may go.
    column->SetColIPropertyData(new CEncapFamilyColIPropertyData(L"k", L"s", {}));
    {
        CEncapFamilyColumn copy(*column);
        EXPECT_EQ(copy.ColIPropertyData(), column->ColIPropertyData());
    }
    EXPECT_EQ(column->ColIPropertyData()->ObjectRefKey(), L"k");
}

TEST(FamilyColumn, KindFollowsTheCategoryParameterExactly) {
    struct Case {
        const wchar_t* category;
        CEncapFamilyColumn::ColumnType type;
    };
    const Case cases[] = {
        {L"8b46a4cc-9585-4fed-90c3-899f57e09a73", CEncapFamilyColumn::ColumnTypeFileName},
        {L"818a152a-d3c3-49ca-80ee-df7d91421b8e", CEncapFamilyColumn::ColumnTypeMaterial},
        {L"2675968c-4ce5-49e0-a4f5-552d29089031", CEncapFamilyColumn::ColumnTypeCategory3},
        {L"016b6077-bfbe-49bd-92c9-d8d59c39c941", CEncapFamilyColumn::ColumnTypeCategory4},
        {L"4dba7c1c-e26c-444e-836c-b08b433409a8", CEncapFamilyColumn::ColumnTypeCategory5},
        {L"818A152A-D3C3-49CA-80EE-DF7D91421B8E", CEncapFamilyColumn::ColumnTypeNormal},
        {L"", CEncapFamilyColumn::ColumnTypeNormal},
    };
    for (const Case& c : cases) {
        auto family = FamilyWithColumn(L"<Column ColumnId=\"c\"/>");
        CEncapFamilyColumn* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
        column->SetColumnType(CEncapFamilyColumn::ColumnTypeCategory4);
        column->UpdateColumnType(c.category);
        EXPECT_EQ(column->GetColumnType(), c.type) << c.category;
        EXPECT_EQ(column->IsHostPropertyColumn(), c.type != CEncapFamilyColumn::ColumnTypeNormal)
            << c.category;
    }

    // The host property flag is set here and never cleared here.
    auto family = FamilyWithColumn(L"<Column ColumnId=\"c\"/>");
    CEncapFamilyColumn* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
    column->UpdateColumnType(FamilyNames::ParamMaterial);
    column->UpdateColumnType(L"other");
    EXPECT_TRUE(column->IsHostPropertyColumn());
    EXPECT_FALSE(column->IsRestrictedColumn());
}

TEST(FamilyColumn, ObjectTypeTextsConvertBothWays) {
    using P = CEncapFamilyColIPropertyData;
    struct Case {
        const wchar_t* text;
        P::ColPropertyObjectType type;
    };
    const Case cases[] = {
        {L"kUserParameterObject", P::kUserParameterObject},
        {L"KPROPERTYOBJECT", P::kPropertyObject},
        {L"kpartcomponentdefinitionobject", P::kPartComponentDefinitionObject},
        {L"kPartDocumentObject", P::kPartDocumentObject},
        {L"kRenderStyleObject", P::kRenderStyleObject},
        {L"kModelParameterObject", P::kModelParameterObject},
        {L"kPartFeatureObject", P::kPartFeatureObject},
        {L"Unknown", P::Unknown},
        {L"kThreadFeatureObject", P::Unknown},
        {L" kPropertyObject", P::Unknown},
        {L"", P::Unknown},
        {nullptr, P::Unknown},
    };
    for (const Case& c : cases)
        EXPECT_EQ(P::StringToColPropObjType(c.text), c.type) << (c.text ? c.text : L"(null)");

    EXPECT_EQ(P::ColPropObjTypeToString(P::kPropertyObject), L"kPropertyObject");
    EXPECT_EQ(P::ColPropObjTypeToString(P::kRenderStyleObject), L"kRenderStyleObject");
    EXPECT_EQ(P::ColPropObjTypeToString(P::Unknown), L"Unknown");
    EXPECT_EQ(P::ColPropObjTypeToString(static_cast<P::ColPropertyObjectType>(9)), L"Unknown");
    EXPECT_EQ(P::ColPropObjTypeToString(static_cast<P::ColPropertyObjectType>(-1)), L"Unknown");

    P data;
    data.SetPropObjTypeStr(L"kpartfeatureobject");
    EXPECT_EQ(data.PropObjType(), P::kPartFeatureObject);
    data.SetObjectRefKey(nullptr);
    EXPECT_EQ(data.ObjectRefKey(), L"");
}

TEST(FamilyColumn, ConstantColumnAnswersItsValueForAnyRow) {
    auto family = FamilyWithColumn(L"<Column ColumnId=\"c\"/>");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    CEncapConstFamilyColumn constant(L"param", L"42", table);
    WideString value;
    for (const wchar_t* row : {L"r1", L"nope", L""}) {
        EXPECT_EQ(constant.GetValue(row, value), CTableEvaluator::EvalOk);
        EXPECT_EQ(value, L"42");
    }
    WideString id = L"x";
    constant.GetColumnID(id);
    EXPECT_EQ(id, L"");
    EXPECT_FALSE(constant.GetXMLNode().IsNode());

    const WideString before = test::RootXml(*family);
    constant.SetValue(L"r1", L"43", true);
    EXPECT_EQ(constant.GetValue(L"r1", value), CTableEvaluator::EvalOk);
    EXPECT_EQ(value, L"42") << "the object's constant is a snapshot";
    EXPECT_EQ(test::RootXml(*family), before);

    CEncapConstFamilyColumn empty;
    EXPECT_EQ(empty.GetValue(L"r", value), CTableEvaluator::EvalOk);
    EXPECT_EQ(value, L"");
    EXPECT_EQ(empty.GetValue(L"r", L"en", value), CTableEvaluator::EvalNoValue);
}

} // namespace
} // namespace torvex

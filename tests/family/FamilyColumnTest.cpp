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

// What a column answers about itself: id|title|formula|unit|flags, the flags being c(ustom),
// h(idden), k(ey column), e(xpression column) and the key weight and data type as numbers.
WideString Describe(const CEncapFamilyColumn& column) {
    WideString id, title, formula, unit;
    column.GetColumnID(id);
    column.GetTitle(title, L"xx"); // the language plays no part
    column.GetFormula(formula);
    column.GetUnitType(unit);
    return id + L"|" + title + L"|" + formula + L"|" + unit + L"|" +
           (column.IsCustom() ? L"c" : L"") + (column.IsHidden() ? L"h" : L"") +
           (column.IsKeyColumn() ? L"k" : L"") + (column.IsExpressionColumn() ? L"e" : L"") +
           std::to_wstring(column.GetKeyWeight()) + L"," + std::to_wstring(column.GetDataType());
}

// Attributes at load: Boolean attributes are "true" ignoring case only, KeyWeight an integer,
// ValueType a stored type text ignoring case; the kinds and flags kept in memory start unset.
TEST(FamilyColumn, AttributesAreReadAtLoad) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"<Column ColumnId=\"c\"/>", L"c||||0,0"},
        {L"<Column ColumnId=\"c\" Title=\"T\" ColumnwideValue=\"{a}*2\" UnitType=\"mm\" "
         L"Custom=\"TRUE\" Hidden=\"true\" KeyWeight=\"3\" ValueType=\"DOUBLE\"/>",
         L"c|T|{a}*2|mm|chke3,1"},
        {L"<Column ColumnId=\"c\" Custom=\"1\" Hidden=\"yes\" KeyWeight=\"x\" ValueType=\"Real\"/>",
         L"c||||0,0"},
        {L"<Column ColumnId=\"c\" KeyWeight=\"-2\" ValueType=\"integer\"/>", L"c||||-2,2"},
    };
    for (const auto& [xml, expected] : cases) {
        auto family = FamilyWithColumn(xml);
        const CEncapFamilyColumn* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
        EXPECT_EQ(Describe(*column), expected) << xml;
        EXPECT_EQ(column->GetColumnType(), CEncapFamilyColumn::ColumnTypeNormal);
        EXPECT_FALSE(column->IsPropertyColumn() || column->IsGeometryColumn() ||
                     column->IsHostPropertyColumn() || column->IsStatusColumn() ||
                     column->IsReferencedByOther() || column->IsLocalized() ||
                     column->IsLegacyMapColumn());
    }
}

// Each setter writes the attribute (in place, else last; a Boolean even when it stays, a unit
// only when it changes) and the member, so that the column reads as one loaded from the edited
// document; the unknown attribute Mnemonic and element Icon stay.
TEST(FamilyColumn, SettersWriteTheDocumentAndTheMember) {
    using Column = CEncapFamilyColumn;
    const std::pair<std::function<void(Column&)>, const wchar_t*> cases[] = {
        {[](Column& c) { c.SetTitle(L"New"); }, L"Title=\"New\" UnitType=\"mm\""},
        {[](Column& c) { c.SetTitle(L"Neu", L"de-DE"); }, L"Title=\"Neu\" UnitType=\"mm\""},
        {[](Column& c) { c.SetIsCustom(true); }, L"Title=\"T\" UnitType=\"mm\" Custom=\"true\""},
        {[](Column& c) { c.SetIsCustom(false); }, L"Title=\"T\" UnitType=\"mm\" Custom=\"false\""},
        {[](Column& c) { c.SetIsHidden(true); }, L"Title=\"T\" UnitType=\"mm\" Hidden=\"true\""},
        {[](Column& c) { c.SetKeyWeight(2); }, L"Title=\"T\" UnitType=\"mm\" KeyWeight=\"2\""},
        {[](Column& c) { c.SetDataType(DataTypes::DataBoolean); },
         L"Title=\"T\" UnitType=\"mm\" ValueType=\"boolean\""},
        {[](Column& c) { c.SetUnitType(L"in"); }, L"Title=\"T\" UnitType=\"in\""},
        {[](Column& c) { c.SetUnitType(L"mm"); }, L"Title=\"T\" UnitType=\"mm\""},
    };
    const WideString before =
        L"<Column ColumnId=\"c\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\"><Icon/></Column>";
    for (const auto& [edit, attributes] : cases) {
        auto family = FamilyWithColumn(before);
        Column* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
        edit(*column);
        WideString xml;
        column->GetXMLNode().GetXml(xml);
        EXPECT_EQ(xml, L"<Column ColumnId=\"c\" Mnemonic=\"m\" " + WideString(attributes) +
                           L"><Icon/></Column>");
        auto reloaded = OpenFamily(test::RootXml(*family).c_str());
        EXPECT_EQ(Describe(*column),
                  Describe(*reloaded->GetEncapFamilyTable()->GetFamilyColumnByID(L"c")))
            << attributes;
    }
    // The id is written too, though the table's map keeps the old one; the kinds and flags in
    // memory leave no trace in the document.
    auto family = FamilyWithColumn(before);
    Column* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
    column->SetColumnID(L"k");
    column->SetColumnType(Column::ColumnTypeMaterial);
    column->SetIsStatusColumn(true);
    column->SetIsGeometryColumn(true);
    EXPECT_EQ(Describe(*column), L"k|T||mm|0,0");
    EXPECT_TRUE(column->IsMaterial() && column->IsRestrictedColumn() && column->IsStatusColumn() &&
                column->IsPropertyColumn());
    WideString xml;
    column->GetXMLNode().GetXml(xml);
    EXPECT_EQ(
        xml, L"<Column ColumnId=\"k\" Mnemonic=\"m\" Title=\"T\" UnitType=\"mm\"><Icon/></Column>");
}

// A renamed column reads its cells from the cache under its new id, whatever it kept from the
// reads under the ids it had before.
TEST(FamilyColumn, RenamedColumnReadsUnderItsNewId) {
    auto family = FamilyWithColumn(L"<Column ColumnId=\"c\"/>", L"<Column ColumnId=\"k\"/>");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    for (const WideString row : {L"r1", L"r2"})
        for (const WideString column : {L"c", L"k"})
            table->GetValueCache()->SetValue(row, column, L"", row + L" of " + column);
    CEncapFamilyColumn* column = table->GetFamilyColumnByID(L"c");
    for (const WideString id : {L"c", L"k", L"c"}) {
        column->SetColumnID(id.c_str());
        WideString first, second;
        column->GetValue(L"r1", L"", first);
        column->GetValue(L"r2", L"", second);
        EXPECT_EQ(first + L"|" + second, L"r1 of " + id + L"|r2 of " + id) << platform::ToUtf8(id);
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

// A geometry column that isn't custom bumps all members to one new revision when its custom
// flag is turned off (asked on the new value) or its unit changes, and leaves the rows'
// states; a custom column, a kept unit, or a column of no consequence bump nothing.
TEST(FamilyColumn, ChangesOfGeometryColumnsBumpMemberRevisions) {
    auto family = FamilyWithColumn(
        L"<Column ColumnId=\"g\" Custom=\"true\" UnitType=\"mm\"/>",
        L"<Column ColumnId=\"MEMBER_REVISION\" ValueType=\"string\" Hidden=\"true\"/>");
    CEncapFamilyTable* table = family->GetEncapFamilyTable();
    CEncapFamilyColumn* geometry = table->GetFamilyColumnByID(L"g");
    geometry->SetIsGeometryColumn(true);
    EXPECT_FALSE(geometry->ChangeInColumnCausesRefresh()) << "a custom column never refreshes";
    geometry->SetIsCustom(false);
    const WideStringList first = Revisions(*table);
    EXPECT_EQ(first[0].size(), 36u);
    EXPECT_EQ(first[0], first[1]) << "one revision for all members";
    EXPECT_FALSE(table->GetFamilyRowByIndex(0)->IsRowModified());
    geometry->SetIsCustom(true);
    EXPECT_EQ(Revisions(*table), first) << "custom on never bumps";
    geometry->SetIsCustom(false);
    const WideStringList second = Revisions(*table);
    EXPECT_NE(second, first);
    geometry->SetUnitType(L"mm");
    EXPECT_EQ(Revisions(*table), second);
    geometry->SetUnitType(L"in");
    const WideStringList third = Revisions(*table);
    EXPECT_NE(third, second);
    geometry->SetIsGeometryColumn(false);
    geometry->SetUnitType(L"cm");
    EXPECT_EQ(Revisions(*table), third);
}

// A host property binding makes a host property column; the column owns it, and a copy of the
// column shares it; dropping it leaves a geometry column a property column.
TEST(FamilyColumn, PropertyFlagFollowsGeometryAndHostProperty) {
    auto family = FamilyWithColumn(L"<Column ColumnId=\"c\"/>");
    CEncapFamilyColumn* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
    column->SetColIPropertyData(new CEncapFamilyColIPropertyData(
        L"key", L"Material", CEncapFamilyColIPropertyData::kPartComponentDefinitionObject));
    EXPECT_TRUE(column->IsHostPropertyColumn() && column->IsPropertyColumn());
    column->SetColIPropertyData(column->ColIPropertyData()); // the held object is kept
    EXPECT_EQ(column->ColIPropertyData()->SubObjectId(), L"Material");
    column->SetColIPropertyData(nullptr);
    EXPECT_FALSE(column->IsHostPropertyColumn() || column->IsPropertyColumn());
    column->SetIsGeometryColumn(true);
    column->SetColIPropertyData(new CEncapFamilyColIPropertyData());
    column->SetColIPropertyData(nullptr);
    EXPECT_TRUE(column->IsPropertyColumn());
    column->SetColIPropertyData(new CEncapFamilyColIPropertyData(L"k", L"s", {}));
    {
        CEncapFamilyColumn copy(*column);
        EXPECT_EQ(copy.ColIPropertyData(), column->ColIPropertyData());
    }
    EXPECT_EQ(column->ColIPropertyData()->ObjectRefKey(), L"k");
}

// The category parameter's GUID, compared exactly, sets the kind and the host property flag;
// another GUID sets Normal but never clears the flag.
TEST(FamilyColumn, KindFollowsTheCategoryParameterExactly) {
    using Column = CEncapFamilyColumn;
    const std::pair<const wchar_t*, Column::ColumnType> cases[] = {
        {L"8b46a4cc-9585-4fed-90c3-899f57e09a73", Column::ColumnTypeFileName},
        {L"818a152a-d3c3-49ca-80ee-df7d91421b8e", Column::ColumnTypeMaterial},
        {L"2675968c-4ce5-49e0-a4f5-552d29089031", Column::ColumnTypeCategory3},
        {L"016b6077-bfbe-49bd-92c9-d8d59c39c941", Column::ColumnTypeCategory4},
        {L"4dba7c1c-e26c-444e-836c-b08b433409a8", Column::ColumnTypeCategory5},
        {L"818A152A-D3C3-49CA-80EE-DF7D91421B8E", Column::ColumnTypeNormal},
        {L"", Column::ColumnTypeNormal},
    };
    auto family = FamilyWithColumn(L"<Column ColumnId=\"c\"/><Column ColumnId=\"d\"/>");
    Column* column = family->GetEncapFamilyTable()->GetFamilyColumnByID(L"c");
    for (const auto& [category, type] : cases) {
        Column copy(*column);
        copy.SetColumnType(Column::ColumnTypeCategory4);
        copy.UpdateColumnType(category);
        EXPECT_EQ(copy.GetColumnType(), type) << category;
        EXPECT_EQ(copy.IsHostPropertyColumn(), type != Column::ColumnTypeNormal) << category;
    }
    column->UpdateColumnType(FamilyNames::ParamMaterial);
    column->UpdateColumnType(L"other");
    EXPECT_TRUE(column->IsHostPropertyColumn());
    EXPECT_FALSE(column->IsRestrictedColumn());
}

// Object type texts compare ignoring case; anything else, and any number outside, is Unknown.
TEST(FamilyColumn, ObjectTypeTextsConvertBothWays) {
    using P = CEncapFamilyColIPropertyData;
    const std::pair<const wchar_t*, P::ColPropertyObjectType> cases[] = {
        {L"kUserParameterObject", P::kUserParameterObject},
        {L"KPROPERTYOBJECT", P::kPropertyObject},
        {L"kpartcomponentdefinitionobject", P::kPartComponentDefinitionObject},
        {L"kPartDocumentObject", P::kPartDocumentObject},
        {L"kRenderStyleObject", P::kRenderStyleObject},
        {L"kModelParameterObject", P::kModelParameterObject},
        {L"kPartFeatureObject", P::kPartFeatureObject},
        {L"kThreadFeatureObject", P::Unknown},
        {L" kPropertyObject", P::Unknown},
        {nullptr, P::Unknown},
    };
    for (const auto& [text, type] : cases)
        EXPECT_EQ(P::StringToColPropObjType(text), type) << (text ? text : L"(null)");
    EXPECT_EQ(P::ColPropObjTypeToString(P::kRenderStyleObject), L"kRenderStyleObject");
    EXPECT_EQ(P::ColPropObjTypeToString(P::Unknown), L"Unknown");
    EXPECT_EQ(P::ColPropObjTypeToString(static_cast<P::ColPropertyObjectType>(9)), L"Unknown");
    EXPECT_EQ(P::ColPropObjTypeToString(static_cast<P::ColPropertyObjectType>(-1)), L"Unknown");
}

// A constant column answers its value, a snapshot, for any row, has no id or element, and
// writes nothing; an empty one answers nothing in a language.
TEST(FamilyColumn, ConstantColumnAnswersItsValueForAnyRow) {
    auto family = FamilyWithColumn(L"<Column ColumnId=\"c\"/>");
    const WideString before = test::RootXml(*family);
    CEncapConstFamilyColumn constant(L"param", L"42", family->GetEncapFamilyTable());
    constant.SetValue(L"r1", L"43", true);
    WideString value;
    for (const wchar_t* row : {L"r1", L"nope", L""}) {
        EXPECT_EQ(constant.GetValue(row, value), CTableEvaluator::EvalOk);
        EXPECT_EQ(value, L"42");
    }
    EXPECT_EQ(test::RootXml(*family), before);
    EXPECT_EQ(Describe(constant).substr(0, 1), L"|");
    EXPECT_FALSE(constant.GetXMLNode().IsNode());
    CEncapConstFamilyColumn empty;
    EXPECT_EQ(empty.GetValue(L"r", value), CTableEvaluator::EvalOk);
    EXPECT_EQ(value, L"");
    EXPECT_EQ(empty.GetValue(L"r", L"en", value), CTableEvaluator::EvalNoValue);
}

} // namespace
} // namespace torvex

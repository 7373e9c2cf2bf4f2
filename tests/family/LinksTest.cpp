// A family linked to the family it was copied from, and the housekeeping that drops hidden
// domains and the mappings of deleted columns; documents compared after each step.

#include "FamilyTestSupport.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/FamilyNames.h"
#include "torvex/mapping/CEncapFamilyMapping.h"
#include "torvex/mapping/CEncapMemberColToParam.h"

#include <gtest/gtest.h>

namespace torvex::test {
namespace {

WideString Table(const wchar_t* rootAttributes, const wchar_t* revisions) {
    return WideString(L"<Family ") + rootAttributes +
           L"><FamilyTable><Columns><Column ColumnId='RID'/>" + revisions +
           L"</Columns><Rows><Row RowId='r1'><Cell ColumnId='MEMBER_REVISION'>a1</Cell></Row>"
           L"<Row RowId='r2'><Cell ColumnId='MEMBER_REVISION'>a2</Cell></Row></Rows>"
           L"</FamilyTable></Family>";
}
const wchar_t* const kRevision = L"<Column ColumnId='MEMBER_REVISION'/>";

std::unique_ptr<CEncapFamily> Source(bool withRevisions = true) {
    auto source = OpenFamily(
        Table(L"InternalName='src-name' Library='src-lib'", withRevisions ? kRevision : L"")
            .c_str());
    // The source's members have revisions of their own.
    if (withRevisions) {
        source->GetEncapFamilyTable()->SetValue(L"r1", L"MEMBER_REVISION", L"s1", false);
        source->GetEncapFamilyTable()->SetValue(L"r2", L"MEMBER_REVISION", L"s2", false);
    }
    return source;
}

WideString SourceRevision(CEncapFamily& family, const wchar_t* row) {
    WideString value = L"(none)";
    if (CEncapFamilyColumn* column =
            family.GetEncapFamilyTable()->GetFamilyColumnByID(L"SOURCE_MEMBER_REVISION"))
        column->GetValue(row, value);
    return value;
}

TEST(FamilyLink, TheLinkRemembersTheSourceAndEachMembersRevision) {
    auto source = Source();
    for (bool active : {true, false}) {
        auto copy = OpenFamily(Table(L"InternalName='copy'", kRevision).c_str());
        EXPECT_FALSE(copy->IsLinked());
        copy->SetLink(source.get(), active);
        EXPECT_TRUE(copy->IsLinked());
        EXPECT_EQ(copy->IsSrcActive(), active);
        EXPECT_EQ(SourceRevision(*copy, L"r1"), L"s1");
        EXPECT_EQ(SourceRevision(*copy, L"r2"), L"s2");
        const WideString root = RootXml(*copy);
        EXPECT_EQ(root.substr(0, root.find(L'>') + 1),
                  WideString(L"<Family InternalName=\"copy\" FromSource=\"src-lib\" "
                             L"SourceMoniker=\"src-name\" SrcActive=\"") +
                      (active ? L"true" : L"false") + L"\">");
    }
}

TEST(FamilyLink, AnExistingLinkOrAMissingSourceColumnStopsIt) {
    auto source = Source();
    // FromSource present, even empty: nothing changes.
    auto linked = OpenFamily(Table(L"FromSource=''", kRevision).c_str());
    const WideString before = RootXml(*linked);
    linked->SetLink(source.get(), true);
    EXPECT_EQ(RootXml(*linked), before);

    // A source without MEMBER_REVISION: the new column stays, the attributes are not written.
    auto copy = OpenFamily(Table(L"InternalName='copy'", kRevision).c_str());
    auto bare = Source(false);
    copy->SetLink(bare.get(), true);
    EXPECT_FALSE(copy->IsLinked());
    EXPECT_NE(copy->GetEncapFamilyTable()->GetFamilyColumnByID(L"SOURCE_MEMBER_REVISION"), nullptr);
}

TEST(FamilyLink, ClearLinkTakesAttributesAndColumnAlsoFromAnUnlinkedFamily) {
    auto source = Source();
    auto copy = OpenFamily(Table(L"InternalName='copy'", kRevision).c_str());
    const WideString unlinked = RootXml(*copy);
    copy->SetLink(source.get(), false);
    copy->ClearLink();
    EXPECT_FALSE(copy->IsLinked());
    EXPECT_EQ(copy->GetEncapFamilyTable()->GetFamilyColumnByID(L"SOURCE_MEMBER_REVISION"), nullptr);
    EXPECT_EQ(RootXml(*copy), unlinked);
    copy->ClearLink(); // nothing to clear: nothing happens
    EXPECT_EQ(RootXml(*copy), unlinked);
}

// One hidden domain with three parameters: "only" is borne by a hidden column nothing else
// uses, "shared" by a hidden column another formula refers to, "constant" by no column. A
// second hidden domain is the one that is always kept.
const WideString kDomains = WideString(LR"(<Family InternalName="old">
  <Categories>
    <Category InternalName="domain" Hidden="true">
      <CategoryParameter InternalName="only"/><CategoryParameter InternalName="shared"/>
      <CategoryParameter InternalName="constant"/>
      <Category InternalName="nested"><CategoryParameter InternalName="deep"/></Category>
    </Category>
    <Category InternalName=")") +
                            FamilyNames::KeptHiddenCategory +
                            LR"(" Hidden="true"><CategoryParameter InternalName="kept"/></Category>
    <Category InternalName="visible" Hidden="false"/>
  </Categories>
  <ParameterMap>
    <FamilyParametersMap><ParamsToTemplate>
      <ParamTemplateValue ConstantValue="1"><CategoryParameterRef CategoryParameter="constant"/></ParamTemplateValue>
    </ParamsToTemplate></FamilyParametersMap>
    <MemberParametersMap><ParamsToColumn>
      <ParamToColumn TableColumn="H1"><CategoryParameterRef Category="domain" CategoryParameter="only"/></ParamToColumn>
      <ParamToColumn TableColumn="H2"><CategoryParameterRef Category="domain" CategoryParameter="shared"/></ParamToColumn>
      <ParamToColumn TableColumn="K"><CategoryParameterRef CategoryParameter="kept"/></ParamToColumn>
    </ParamsToColumn></MemberParametersMap>
  </ParameterMap>
  <FamilyTable><Columns>
    <Column ColumnId="H1" Hidden="true" ValueType="string"/>
    <Column ColumnId="H2" Hidden="true" ValueType="string"/>
    <Column ColumnId="USES" ValueType="string" ColumnwideValue="{H2}"/>
    <Column ColumnId="K" Hidden="true" ValueType="string"/>
  </Columns><Rows><Row RowId="r1"/></Rows></FamilyTable>
</Family>)";

TEST(FamilyHousekeeping, NewInternalNameDropsHiddenDomainsAndWhatOnlyTheyUsed) {
    auto family = OpenFamily(kDomains.c_str());
    family->SetInternalName(L"new");
    const WideString xml = RootXml(*family);
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    EXPECT_EQ(table.GetFamilyColumnByID(L"H1"), nullptr); // served the domain only
    EXPECT_NE(table.GetFamilyColumnByID(L"H2"), nullptr); // used by USES: kept
    EXPECT_NE(table.GetFamilyColumnByID(L"K"), nullptr);
    EXPECT_EQ(xml.find(L"InternalName=\"domain\""), WideString::npos);
    EXPECT_EQ(xml.find(L"CategoryParameter=\"only\""), WideString::npos);
    EXPECT_EQ(xml.find(L"CategoryParameter=\"shared\""), WideString::npos); // mapping dropped
    EXPECT_EQ(xml.find(L"CategoryParameter=\"constant\""), WideString::npos);
    EXPECT_NE(xml.find(FamilyNames::KeptHiddenCategory), WideString::npos);
    EXPECT_NE(xml.find(L"CategoryParameter=\"kept\""), WideString::npos);
    EXPECT_NE(xml.find(L"InternalName=\"visible\""), WideString::npos);
    EXPECT_EQ(family->GetEncapFamilyMapping()->GetMemberColToParam(L"H2"), nullptr);
    WideString name;
    family->GetInternalName(name);
    EXPECT_EQ(name, L"new");
}

} // namespace
} // namespace torvex::test

namespace torvex::test {
namespace {

TEST(FamilyHousekeeping, ADeletedColumnTakesItsMappingAlong) {
    auto family = OpenFamily(LR"(<Family>
  <FamilyTemplates><FamilyTemplate Name="T">
    <GeneralizedParameter Id="1" ObjectType="kUserParameterObject" SubObjectId="d"/>
    <GeneralizedParameter Id="2" ObjectType="kUserParameterObject" SubObjectId="l"/>
  </FamilyTemplate></FamilyTemplates>
  <ParameterMap><MemberParametersMap>
    <ColumnsToTemplate>
      <ColumnToTemplate TableColumn="d"><TemplatesParameter>
        <TemplateParameter TemplateName="T" ParameterId="1"/></TemplatesParameter></ColumnToTemplate>
      <ColumnToTemplate TableColumn="l"><TemplatesParameter>
        <TemplateParameter TemplateName="T" ParameterId="2"/></TemplatesParameter></ColumnToTemplate>
    </ColumnsToTemplate>
    <ParamsToColumn><ParamToColumn TableColumn="d"><CategoryParameterRef CategoryParameter="size"/></ParamToColumn></ParamsToColumn>
  </MemberParametersMap></ParameterMap>
  <FamilyTable><Columns><Column ColumnId="d"/><Column ColumnId="l"/></Columns></FamilyTable>
</Family>)");
    EXPECT_NE(family->GetCategoryParamColumn(L"size"), nullptr);
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    ASSERT_TRUE(table.DeleteColumn(table.GetFamilyColumnIndexByID(L"d")));
    const WideString xml = RootXml(*family);
    EXPECT_EQ(xml.find(L"SubObjectId=\"d\""), WideString::npos) << xml; // its only user went
    EXPECT_EQ(xml.find(L"TableColumn=\"d\""), WideString::npos) << xml;
    EXPECT_NE(xml.find(L"TableColumn=\"l\""), WideString::npos) << xml;
    EXPECT_EQ(family->GetEncapFamilyMapping()->GetMemberColToTemplate(L"d"), nullptr);
    EXPECT_EQ(family->GetCategoryParamColumn(L"size"), nullptr);
}

} // namespace
} // namespace torvex::test

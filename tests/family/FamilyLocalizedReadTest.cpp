#include "FamilyTestSupport.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyTable.h"

#include <gtest/gtest.h>

namespace torvex::test {
namespace {

const wchar_t* const kFamily = LR"(<Family>
  <FamilyTable>
    <Columns>
      <Column ColumnId="d" Title="Diameter" ValueType="double" Hidden="false"/>
      <Column ColumnId="h" Title="Hidden one" ValueType="string" Hidden="true"/>
      <Column ColumnId="f" Title="Finish" ValueType="string" Hidden="false"/>
    </Columns>
    <Rows><Row RowId="r1"><Cell ColumnId="d">5</Cell></Row></Rows>
  </FamilyTable>
</Family>)";

const wchar_t* const kGerman = LR"(<FamilyStrings xml:lang="de-DE">
  <Table>
    <ColumnStrings ColumnId="d"><Title>Durchmesser</Title></ColumnStrings>
    <ColumnStrings ColumnId="h"><Title>Versteckt</Title></ColumnStrings>
    <ColumnStrings ColumnId="f">
      <Title>Oberfläche</Title>
      <ColumnwideValue>blank</ColumnwideValue>
      <Rows><CellString RowId="r1">brüniert</CellString></Rows>
    </ColumnStrings>
  </Table>
</FamilyStrings>)";

const wchar_t* const kEnglish = LR"(<FamilyStrings xml:lang="en-US">
  <Table><ColumnStrings ColumnId="d"><Title>Nominal diameter</Title></ColumnStrings></Table>
</FamilyStrings>)";

// Titles answer in the actual language, which is the first string document given; a hidden
// column and a column without a localized title answer the family document's attribute.
TEST(FamilyLocalizedRead, TitlesFollowTheActualLanguage) {
    struct Case {
        WideStringList strings;
        const wchar_t* column;
        const wchar_t* title;
    } cases[] = {
        {{kGerman, kEnglish}, L"d", L"Durchmesser"},
        {{kEnglish, kGerman}, L"d", L"Nominal diameter"},
        {{kEnglish, kGerman}, L"f", L"Finish"},
        {{kGerman}, L"h", L"Hidden one"},
        {{}, L"d", L"Diameter"},
    };
    for (const Case& c : cases) {
        auto family = OpenFamily(kFamily, c.strings);
        WideString title;
        family->GetEncapFamilyTable()->GetFamilyColumnByID(c.column)->GetTitle(title);
        EXPECT_EQ(title, c.title) << c.column;
    }
}

// The reads look the language up ignoring case, find exactly the element asked for, and leave
// the output alone when they find nothing.
TEST(FamilyLocalizedRead, PropertyAndCellLookups) {
    auto family = OpenFamily(kFamily, {kEnglish, kGerman});
    WideString out = L"untouched";
    EXPECT_EQ(family->GetLocalizedColumnPropertyValue(L"ColumnwideValue", L"f", L"DE-de", out), 0);
    EXPECT_EQ(out, L"blank");
    out = L"untouched";
    EXPECT_EQ(family->GetLocalizedColumnPropertyValue(L"ColumnwideValue", L"f", out), 1);
    EXPECT_EQ(family->GetLocalizedColumnPropertyValue(L"Title", L"F", L"de-DE", out), 1);
    EXPECT_EQ(family->GetLocalizedColumnPropertyValue(L"Title", L"f", L"fr-FR", out), 1);
    EXPECT_EQ(out, L"untouched");
}

} // namespace
} // namespace torvex::test

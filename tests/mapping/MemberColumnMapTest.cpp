// The member column maps: which template parameters a column drives (ColumnToTemplate) and which
// category parameters it bears (ParamToColumn), each edit checked on the serialised document.

#include "torvex/mapping/CEncapMemberColToParam.h"
#include "torvex/mapping/CEncapMemberColToTemplate.h"

#include "mapping/MappingTestSupport.h"

#include <gtest/gtest.h>

namespace torvex::test {
namespace {

TEST(ColumnToTemplate, AddMappingOncePerPairAndDeleteIt) {
    XMLParser document = Parse(L"<ColumnToTemplate TableColumn='d'/>");
    CEncapMemberColToTemplate map(document.GetRootNode(), nullptr);
    WideString column;
    map.GetColumnName(column);
    EXPECT_EQ(column, L"d");

    map.AddMapping(L"Main", 4);
    map.AddMapping(L"Main", 4);
    map.AddMapping(L"main", 4); // template names compare exactly
    map.AddMapping(L"Main", 5);
    EXPECT_EQ(Xml(document.GetRootNode()),
              L"<ColumnToTemplate TableColumn=\"d\"><TemplatesParameter>"
              L"<TemplateParameter TemplateName=\"Main\" ParameterId=\"4\"/>"
              L"<TemplateParameter TemplateName=\"main\" ParameterId=\"4\"/>"
              L"<TemplateParameter TemplateName=\"Main\" ParameterId=\"5\"/>"
              L"</TemplatesParameter></ColumnToTemplate>");

    map.DeleteMapping(L"Main", 4);
    map.DeleteMapping(L"Main", 99); // not mapped: nothing
    map.DeleteMapping(L"main", 4);
    map.DeleteMapping(L"Main", 5);
    EXPECT_EQ(Xml(document.GetRootNode()),
              L"<ColumnToTemplate TableColumn=\"d\"><TemplatesParameter/></ColumnToTemplate>");
}

TEST(ColumnToTemplate, DeleteAllLeavesAnEmptyList) {
    const struct {
        const wchar_t* before;
    } cases[] = {
        {L"<ColumnToTemplate TableColumn='d'/>"},
        {L"<ColumnToTemplate TableColumn='d'><TemplatesParameter>"
         L"<TemplateParameter TemplateName='A' ParameterId='1'/>"
         L"<TemplateParameter TemplateName='B' ParameterId='2'/>"
         L"</TemplatesParameter></ColumnToTemplate>"},
    };
    for (const auto& c : cases) {
        XMLParser document = Parse(c.before);
        CEncapMemberColToTemplate map(document.GetRootNode(), nullptr);
        map.DeleteAllMapping();
        EXPECT_EQ(Xml(document.GetRootNode()),
                  L"<ColumnToTemplate TableColumn=\"d\"><TemplatesParameter/></ColumnToTemplate>")
            << c.before;
    }
}

TEST(ColumnToTemplate, RemoveNodeTakesTheElementOut) {
    XMLParser document = Parse(L"<List><ColumnToTemplate TableColumn='d'/><Other/></List>");
    CEncapMemberColToTemplate map(Select(document, L"ColumnToTemplate"), nullptr);
    map.RemoveNodeFromXML();
    EXPECT_EQ(Xml(document.GetRootNode()), L"<List><Other/></List>");
    CEncapMemberColToTemplate empty;
    empty.AddMapping(L"Main", 1); // no element: nothing, no crash
    EXPECT_FALSE(empty.GetXMLNode().IsNode());
}

// Three ParamToColumn elements of column "d"; the third has no reference.
constexpr const wchar_t* kParams =
    L"<ParamsToColumn>"
    L"<ParamToColumn TableColumn='d'><CategoryParameterRef Category='c' CategoryParameter='Size'/>"
    L"</ParamToColumn>"
    L"<ParamToColumn TableColumn='d'><CategoryParameterRef Category='c' CategoryParameter='Pitch'/>"
    L"</ParamToColumn>"
    L"<ParamToColumn TableColumn='d'><CategoryParameterRef Category='c' CategoryParameter='size'/>"
    L"</ParamToColumn>"
    L"<ParamToColumn TableColumn='d'/>"
    L"</ParamsToColumn>";

struct Params {
    XMLParser document = Parse(kParams);
    XMLNodeArray nodes = document.GetRootNode().GetChildNodes();
};

TEST(ParamToColumn, AddCategoryParamRefusesWhatItCantOrDoesHold) {
    Params p;
    CEncapMemberColToParam map(p.nodes[0], nullptr);
    EXPECT_TRUE(map.AddCategoryParam(p.nodes[1]));
    EXPECT_FALSE(map.AddCategoryParam(p.nodes[1])); // Pitch held already
    EXPECT_TRUE(map.AddCategoryParam(p.nodes[2]));  // "size" differs from "Size" exactly
    EXPECT_FALSE(map.AddCategoryParam(p.nodes[3])); // no reference
    EXPECT_EQ(map.ParamCount(), 3);

    WideStringList parameters;
    EXPECT_TRUE(map.GetCategoryParams(parameters));
    EXPECT_EQ(parameters, (WideStringList{L"Size", L"Pitch", L"size"}));
    EXPECT_TRUE(map.IsMappedForCatParam(L"Pitch"));
    EXPECT_FALSE(map.IsMappedForCatParam(L"PITCH"));
    EXPECT_FALSE(map.IsMappedForCatParam(nullptr));
}

TEST(ParamToColumn, RemoveIgnoresCaseAndTakesEveryMatch) {
    Params p;
    CEncapMemberColToParam map(p.nodes[0], nullptr);
    map.AddCategoryParam(p.nodes[1]);
    map.AddCategoryParam(p.nodes[2]);
    EXPECT_TRUE(map.RemoveCategoryParam(L"SIZE"));
    EXPECT_EQ(map.ParamCount(), 1);
    EXPECT_TRUE(map.RemoveCategoryParam(L"unknown"));
    EXPECT_EQ(Xml(p.document.GetRootNode()),
              L"<ParamsToColumn><ParamToColumn TableColumn=\"d\"><CategoryParameterRef "
              L"Category=\"c\" CategoryParameter=\"Pitch\"/></ParamToColumn>"
              L"<ParamToColumn TableColumn=\"d\"/></ParamsToColumn>");

    map.RemoveCategoryParam(L"pitch");
    EXPECT_EQ(map.ParamCount(), 0);
    WideString column = L"untouched";
    map.GetColumnName(column);
    EXPECT_EQ(column, L"untouched");
    WideStringList parameters{L"stale"};
    EXPECT_FALSE(map.GetCategoryParams(parameters));
    EXPECT_TRUE(parameters.empty());
}

TEST(ParamToColumn, ElementsWithoutReferenceStayUntilAllAreRemoved) {
    Params p;
    CEncapMemberColToParam map(p.nodes[3], nullptr); // the first element is held whatever it is
    map.AddCategoryParam(p.nodes[0]);
    WideString column;
    map.GetColumnName(column);
    EXPECT_EQ(column, L"d");
    map.RemoveCategoryParam(L"Size");
    EXPECT_EQ(map.ParamCount(), 1);
    map.RemoveNodesFromXML();
    EXPECT_EQ(map.ParamCount(), 0);
    EXPECT_EQ(Xml(p.document.GetRootNode()),
              L"<ParamsToColumn><ParamToColumn TableColumn=\"d\"><CategoryParameterRef "
              L"Category=\"c\" CategoryParameter=\"Pitch\"/></ParamToColumn>"
              L"<ParamToColumn TableColumn=\"d\"><CategoryParameterRef Category=\"c\" "
              L"CategoryParameter=\"size\"/></ParamToColumn></ParamsToColumn>");
}

} // namespace
} // namespace torvex::test

// Templates and their generalized parameters: the id-ordered nesting, the next id, reuse of a
// parameter by AddParameter, deletion with the subtree, and copies that are safe to destroy.

#include "torvex/mapping/CEncapFamilyTemplate.h"

#include "mapping/MappingTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <pthread.h>

namespace torvex::test {
namespace {

// Ids 2 and 7 at the top, 12 under 7 and 3 under 12; one element without an id.
constexpr const wchar_t* kTemplate =
    L"<FamilyTemplate Name='Main' FileName='main.model'>"
    L"<GeneralizedParameter Id='7' ObjectType='kPartFeatureObject' ObjectReferenceKey='Thread'"
    L" SubObjectId='Visible'>"
    L"<GeneralizedParameter Id='12' ObjectType='kModelParameterObject' ObjectReferenceKey='Thread'"
    L" SubObjectId='Pitch'>"
    L"<GeneralizedParameter Id='3' ObjectType='kPropertyObject' ObjectReferenceKey='Deep'"
    L" SubObjectId='Deeper'/>"
    L"</GeneralizedParameter></GeneralizedParameter>"
    L"<GeneralizedParameter Id='2' ObjectType='kUserParameterObject' ObjectReferenceKey='User'"
    L" SubObjectId='d'/>"
    L"<GeneralizedParameter ObjectType='kUserParameterObject' SubObjectId='no id'/>"
    L"</FamilyTemplate>";

struct Loaded {
    XMLParser document = Parse(kTemplate);
    CEncapFamilyTemplate familyTemplate{document.GetRootNode(), nullptr};
};

TEST(TemplateLoad, NestingIdsAndNames) {
    Loaded t;
    EXPECT_EQ(Tree(t.familyTemplate.GetParameters()), L"2 7(12(3))");
    EXPECT_EQ(t.familyTemplate.GetNextId(), 13); // one above the highest id at any depth
    WideString text;
    t.familyTemplate.GetName(text);
    EXPECT_EQ(text, L"Main");
    t.familyTemplate.GetFileName(text);
    EXPECT_EQ(text, L"main.model");
    // The element without an id is not loaded but stays in the document.
    EXPECT_NE(Xml(t.document.GetRootNode()).find(L"no id"), WideString::npos);
}

TEST(TemplateLoad, DuplicateIdKeepsTheLaterElementAndCountsBoth) {
    XMLParser document = Parse(L"<T><GeneralizedParameter Id='4' SubObjectId='first'>"
                               L"<GeneralizedParameter Id='20'/></GeneralizedParameter>"
                               L"<GeneralizedParameter Id='4' SubObjectId='second'/></T>");
    CEncapFamilyTemplate familyTemplate(document.GetRootNode(), nullptr);
    WideString subObject;
    familyTemplate.GetParameter(4)->GetSubObjectId(subObject);
    EXPECT_EQ(subObject, L"second");
    EXPECT_EQ(familyTemplate.GetParameter(20), nullptr);
    EXPECT_EQ(familyTemplate.GetNextId(), 21);
}

TEST(TemplateLookup, FindsAtEveryDepthAndNothingElse) {
    Loaded t;
    const struct {
        int id;
        const wchar_t* subObject; // null: not found
    } cases[] = {{2, L"d"},     {7, L"Visible"}, {12, L"Pitch"}, {3, L"Deeper"},
                 {13, nullptr}, {0, nullptr},    {-1, nullptr}};
    for (const auto& c : cases) {
        CEncapFamilyTemplateParameter* parameter = t.familyTemplate.GetParameter(c.id);
        if (!c.subObject) {
            EXPECT_EQ(parameter, nullptr) << c.id;
            continue;
        }
        ASSERT_NE(parameter, nullptr) << c.id;
        EXPECT_EQ(parameter->GetId(), c.id);
        EXPECT_EQ(parameter->GetTemplate(), &t.familyTemplate); // nested ones too
        WideString subObject;
        parameter->GetSubObjectId(subObject);
        EXPECT_EQ(subObject, c.subObject);
    }
    EXPECT_EQ(t.familyTemplate.GetParameter(7)->GetChild(3)->GetId(), 3);
    EXPECT_EQ(t.familyTemplate.GetParameter(7)->GetChild(2), nullptr); // not below 7
}

TEST(TemplateAddParameter, ReusesOrAddsAtTheNextId) {
    const struct {
        const wchar_t* key;
        const wchar_t* subObject;
        int expectedId;
    } cases[] = {
        {L"user", L"D", 2},         // key and sub-object ignoring case
        {L"Thread", L"Visible", 7}, // a top-level parameter
        {L"Thread", L"Pitch", 13},  // nested parameters are not reused
        {L"User", L"l", 13},        {L"", L"", 13},
    };
    for (const auto& c : cases) {
        Loaded t;
        CEncapFamilyTemplateParameter* parameter =
            t.familyTemplate.AddParameter(c.key, c.subObject);
        ASSERT_NE(parameter, nullptr) << c.key << L"/" << c.subObject;
        EXPECT_EQ(parameter->GetId(), c.expectedId) << c.key << L"/" << c.subObject;
        EXPECT_EQ(t.familyTemplate.GetParameter(c.expectedId), parameter);
    }
}

TEST(TemplateAddParameter, WritesTheNewElementAndNeverReusesAnId) {
    Loaded t;
    t.familyTemplate.AddParameter(L"Body", L"Length");
    EXPECT_EQ(Xml(t.document.GetRootNode().GetChildNodes().GetAt(3)),
              L"<GeneralizedParameter Id=\"13\" ObjectReferenceKey=\"Body\" "
              L"SubObjectId=\"Length\"/>");
    EXPECT_TRUE(t.familyTemplate.DeleteParameter(13));
    EXPECT_EQ(t.familyTemplate.AddParameter(L"Body", L"Length")->GetId(), 14);
    EXPECT_EQ(Tree(t.familyTemplate.GetParameters()), L"2 7(12(3)) 14");
}

TEST(TemplateAddParameter, OneMaterialWhateverTheKey) {
    XMLParser document = Parse(
        L"<T><GeneralizedParameter Id='1' ObjectType='kPartComponentDefinitionObject'"
        L" ObjectReferenceKey='Old' SubObjectId='material'/>"
        L"<GeneralizedParameter Id='2' ObjectType='kPropertyObject' ObjectReferenceKey='Props'"
        L" SubObjectId='Material'/></T>");
    CEncapFamilyTemplate familyTemplate(document.GetRootNode(), nullptr);
    EXPECT_EQ(familyTemplate.AddParameter(L"New", L"MATERIAL")->GetId(), 1);
    // Only the component definition's material counts; another sub-object adds.
    EXPECT_EQ(familyTemplate.AddParameter(L"New", L"Finish")->GetId(), 3);
}

TEST(TemplateAddParameter, NoIdLeftAfterTheLargest) {
    XMLParser document = Parse(L"<T><GeneralizedParameter Id='2147483646'/></T>");
    CEncapFamilyTemplate familyTemplate(document.GetRootNode(), nullptr);
    EXPECT_EQ(familyTemplate.GetNextId(), INT_MAX);
    ASSERT_NE(familyTemplate.AddParameter(L"a", L"b"), nullptr);
    EXPECT_EQ(familyTemplate.GetParameter(INT_MAX)->GetId(), INT_MAX);
    EXPECT_EQ(familyTemplate.AddParameter(L"c", L"d"), nullptr);
}

TEST(TemplateDelete, TakesTheSubtreeFromDocumentAndObjects) {
    Loaded t;
    CEncapFamilyTemplateParameter* doomed = t.familyTemplate.GetParameter(7);
    XMLNode element = doomed->GetXMLNode();
    EXPECT_TRUE(t.familyTemplate.DeleteParameter(7));
    EXPECT_EQ(Tree(t.familyTemplate.GetParameters()), L"2");
    EXPECT_EQ(t.familyTemplate.GetParameter(12), nullptr);
    EXPECT_EQ(t.familyTemplate.GetParameter(3), nullptr);
    EXPECT_FALSE(element.GetParentNode().IsNode());
    EXPECT_EQ(Xml(t.document.GetRootNode()),
              L"<FamilyTemplate Name=\"Main\" FileName=\"main.model\">"
              L"<GeneralizedParameter Id=\"2\" ObjectType=\"kUserParameterObject\" "
              L"ObjectReferenceKey=\"User\" SubObjectId=\"d\"/>"
              L"<GeneralizedParameter ObjectType=\"kUserParameterObject\" SubObjectId=\"no id\"/>"
              L"</FamilyTemplate>");
    EXPECT_FALSE(t.familyTemplate.DeleteParameter(7));
}

TEST(TemplateDelete, NestedParameterGoesAloneThroughTemplateOrParent) {
    Loaded t;
    EXPECT_TRUE(t.familyTemplate.DeleteParameter(3));
    EXPECT_EQ(Tree(t.familyTemplate.GetParameters()), L"2 7(12)");
    EXPECT_TRUE(t.familyTemplate.GetParameter(7)->DeleteChild(12));
    EXPECT_FALSE(t.familyTemplate.GetParameter(7)->DeleteChild(2)); // not its child
    EXPECT_EQ(Tree(t.familyTemplate.GetParameters()), L"2 7");
    EXPECT_EQ(Xml(t.familyTemplate.GetParameter(7)->GetXMLNode()),
              L"<GeneralizedParameter Id=\"7\" ObjectType=\"kPartFeatureObject\" "
              L"ObjectReferenceKey=\"Thread\" SubObjectId=\"Visible\"/>");
}

TEST(TemplateAttributes, SettersWriteTheElementAndGettersReadIt) {
    Loaded t;
    CEncapFamilyTemplateParameter* parameter = t.familyTemplate.GetParameter(2);
    parameter->SetObjectType(L"kPropertyObject");
    parameter->SetObjectReferenceKey(L"Props");
    parameter->SetSubObjectId(L"PartNumber");
    parameter->SetValueType(L"string");
    parameter->SetUnitType(L"ul");
    parameter->SetUnitType(nullptr); // writes nothing
    EXPECT_EQ(Xml(parameter->GetXMLNode()),
              L"<GeneralizedParameter Id=\"2\" ObjectType=\"kPropertyObject\" "
              L"ObjectReferenceKey=\"Props\" SubObjectId=\"PartNumber\" ValueType=\"string\" "
              L"UnitType=\"ul\"/>");
    // Ids are read anew from the element.
    parameter->GetXMLNode().GetNode().SetProperty(L"Id", L"40");
    EXPECT_EQ(parameter->GetId(), 40);
    WideString text = L"stale";
    CEncapFamilyTemplateParameter().GetObjectType(text);
    EXPECT_EQ(text, L"");
}

TEST(TemplateCopy, CopiesOwnTheirObjectsAndShareTheElements) {
    XMLParser document = Parse(kTemplate);
    auto original = std::make_unique<CEncapFamilyTemplate>(document.GetRootNode(), nullptr);
    CEncapFamilyTemplate copy(*original);
    CEncapFamilyTemplate assigned;
    assigned = *original;
    original.reset(); // the copies must not lose their children with it

    for (CEncapFamilyTemplate* t : {&copy, &assigned}) {
        EXPECT_EQ(Tree(t->GetParameters()), L"2 7(12(3))");
        EXPECT_EQ(t->GetNextId(), 13);
        EXPECT_EQ(t->GetParameter(3)->GetTemplate(), t);
    }
    // An edit through one copy is in the document that both look at.
    copy.GetParameter(3)->SetSubObjectId(L"Renamed");
    WideString subObject;
    assigned.GetParameter(3)->GetSubObjectId(subObject);
    EXPECT_EQ(subObject, L"Renamed");

    CEncapFamilyTemplateParameter parameterCopy(*copy.GetParameter(7));
    EXPECT_TRUE(copy.DeleteParameter(7));
    EXPECT_EQ(parameterCopy.GetChild(3)->GetId(), 3);
    parameterCopy = CEncapFamilyTemplateParameter();
    EXPECT_EQ(parameterCopy.GetChild(3), nullptr);
}

// Runs `work` on a thread whose stack is far too small for a walk that recurses once a level.
template <typename Work> void OnSmallStack(Work work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    auto run = [](void* argument) -> void* {
        (*static_cast<Work*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

constexpr int kDepth = 20000;

TEST(TemplateLoad, DeepNestingNeedsNoStack) {
    // Deeper than the parser takes in one text, built element by element.
    XMLParser document = Parse(L"<T/>");
    XMLNode parent = document.GetRootNode();
    for (int id = 1; id <= kDepth; ++id)
        parent =
            parent.AddNode(L"GeneralizedParameter", nullptr, L"Id", std::to_wstring(id).c_str());
    OnSmallStack([&document] {
        auto familyTemplate =
            std::make_unique<CEncapFamilyTemplate>(document.GetRootNode(), nullptr);
        EXPECT_EQ(familyTemplate->GetNextId(), kDepth + 1);
        EXPECT_EQ(familyTemplate->GetParameter(kDepth)->GetId(), kDepth);
        CEncapFamilyTemplate copy(*familyTemplate);
        EXPECT_TRUE(familyTemplate->DeleteParameter(kDepth / 2));
        EXPECT_EQ(familyTemplate->GetParameter(kDepth), nullptr);
        EXPECT_NE(copy.GetParameter(kDepth), nullptr);
    });
}

} // namespace
} // namespace torvex::test

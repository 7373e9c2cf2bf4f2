// XMLNodeArray: the array operations and their range failures.

#include <functional>
#include <stdexcept>

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Names;

class XmlNodeArrayTest : public ::testing::Test {
protected:
    XMLParser parser{L"<r><a/><b/><c/><d/></r>"};
    XMLNode a = xmltest::Find(parser.GetRootNode(), L"a");
    XMLNode b = xmltest::Find(parser.GetRootNode(), L"b");
    XMLNode c = xmltest::Find(parser.GetRootNode(), L"c");
    XMLNode d = xmltest::Find(parser.GetRootNode(), L"d");
};

TEST_F(XmlNodeArrayTest, GrowingShrinkingAndInserting) {
    XMLNodeArray array;
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.GetUpperBound(), -1);
    EXPECT_EQ(array.GetData(), nullptr);
    EXPECT_EQ(array.Add(a), 0);
    EXPECT_EQ(array.Add(b), 1);
    array.InsertAt(1, c, 2);
    EXPECT_EQ(Names(array), L"a,c,c,b");
    array.RemoveAt(1, 2);
    EXPECT_EQ(Names(array), L"a,b");
    array.InsertAt(5, d);
    EXPECT_EQ(Names(array), L"a,b,<empty>,<empty>,<empty>,d") << "beyond the end: grows first";
    array.SetSize(2, 10);
    array.SetAtGrow(3, array[0]);
    EXPECT_EQ(Names(array), L"a,b,<empty>,a");
    array.SetAt(2, c);
    array.ElementAt(3) = d;
    EXPECT_EQ(Names(array), L"a,b,c,d");
    EXPECT_EQ(array.GetCount(), 4);
    EXPECT_EQ(array.GetUpperBound(), 3);
    EXPECT_TRUE(array.GetData()[1].IsSameNode(b));

    XMLNodeArray other;
    other.Copy(array);
    EXPECT_EQ(other.Append(array), 4);
    EXPECT_EQ(Names(other), L"a,b,c,d,a,b,c,d");
    other.InsertAt(1, &other);
    EXPECT_EQ(other.GetSize(), 16) << "inserting an array into itself";
    other.Copy(other);
    EXPECT_EQ(other.GetSize(), 16);
    other.RemoveAll();
    other.FreeExtra();
    EXPECT_TRUE(other.IsEmpty());
    EXPECT_TRUE(array[0].IsSameNode(a)) << "elements are shared handles";
}

TEST_F(XmlNodeArrayTest, BadIndicesRaiseTheArraysFailure) {
    XMLNodeArray array;
    array.Add(a);
    array.Add(b);
    const std::pair<const char*, std::function<void()>> calls[] = {
        {"GetAt(2)", [&] { array.GetAt(2); }},
        {"GetAt(-1)", [&] { array.GetAt(-1); }},
        {"operator[]", [&] { array[2]; }},
        {"ElementAt", [&] { array.ElementAt(5); }},
        {"SetAt", [&] { array.SetAt(2, a); }},
        {"SetAtGrow(-1)", [&] { array.SetAtGrow(-1, a); }},
        {"SetSize(-1)", [&] { array.SetSize(-1); }},
        {"InsertAt(-1)", [&] { array.InsertAt(-1, a); }},
        {"InsertAt count 0", [&] { array.InsertAt(0, a, 0); }},
        {"InsertAt null", [&] { array.InsertAt(0, nullptr); }},
        {"RemoveAt beyond", [&] { array.RemoveAt(1, 2); }},
        {"RemoveAt -1", [&] { array.RemoveAt(-1); }},
        {"Append itself", [&] { array.Append(array); }},
    };
    for (const auto& [label, call] : calls) {
        EXPECT_THROW(call(), std::out_of_range) << label;
    }
    EXPECT_EQ(Names(array), L"a,b");
}

TEST_F(XmlNodeArrayTest, NodeNamesStopAtAnEmptyNode) {
    XMLNodeArray array;
    array.Add(a);
    array.Add(XMLNode());
    array.Add(c);
    WideStringList names{L"old"};
    EXPECT_FALSE(array.GetNodeNames(names));
    EXPECT_EQ(names, (WideStringList{L"a", L"", L""}));
    array.SetAt(1, b);
    EXPECT_TRUE(array.GetNodeNames(names));
    EXPECT_EQ(names, (WideStringList{L"a", L"b", L"c"}));
}

} // namespace
} // namespace torvex

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

// Inserting beyond the end grows the array with empty handles first; inserting an array into
// itself and copying it onto itself work on a copy; elements are shared handles.
TEST_F(XmlNodeArrayTest, GrowingShrinkingAndInserting) {
    XMLNodeArray array;
    EXPECT_EQ(array.GetUpperBound(), -1);
    EXPECT_EQ(array.Add(a), 0);
    EXPECT_EQ(array.Add(b), 1);
    array.InsertAt(1, c, 2);
    EXPECT_EQ(Names(array), L"a,c,c,b");
    array.RemoveAt(1, 2);
    array.InsertAt(5, d);
    EXPECT_EQ(Names(array), L"a,b,<empty>,<empty>,<empty>,d");
    array.SetSize(2, 10);
    array.SetAtGrow(3, array[0]);
    array.ElementAt(2) = c;
    EXPECT_EQ(Names(array), L"a,b,c,a");
    array.InsertAt(1, &array);
    EXPECT_EQ(Names(array), L"a,a,b,c,a,b,c,a");
    array.Copy(array);
    EXPECT_EQ(array.GetSize(), 8);
    EXPECT_TRUE(array.GetData()[1].IsSameNode(a));
}

// Bad indices and counts raise std::out_of_range and leave the array as it was; GetNodeNames
// stops at an empty node, its names empty from there on.
TEST_F(XmlNodeArrayTest, BadIndicesRaiseAndNamesStopAtAnEmptyNode) {
    XMLNodeArray array;
    array.Add(a);
    array.Add(b);
    const std::function<void()> calls[] = {
        [&] { array.GetAt(2); },
        [&] { array.GetAt(-1); },
        [&] { array[2]; },
        [&] { array.ElementAt(5); },
        [&] { array.SetAt(2, a); },
        [&] { array.SetAtGrow(-1, a); },
        [&] { array.SetSize(-1); },
        [&] { array.InsertAt(-1, a); },
        [&] { array.InsertAt(0, a, 0); },
        [&] { array.InsertAt(0, nullptr); },
        [&] { array.RemoveAt(1, 2); },
        [&] { array.RemoveAt(-1); },
        [&] { array.Append(array); },
    };
    for (size_t i = 0; i < std::size(calls); ++i)
        EXPECT_THROW(calls[i](), std::out_of_range) << "call " << i;
    EXPECT_EQ(Names(array), L"a,b");

    array.Add(XMLNode());
    array.Add(c);
    WideStringList names{L"old"};
    EXPECT_FALSE(array.GetNodeNames(names));
    EXPECT_EQ(names, (WideStringList{L"a", L"b", L"", L""}));
    array.SetAt(2, d);
    EXPECT_TRUE(array.GetNodeNames(names));
    EXPECT_EQ(names, (WideStringList{L"a", L"b", L"d", L"c"}));
}

} // namespace
} // namespace torvex

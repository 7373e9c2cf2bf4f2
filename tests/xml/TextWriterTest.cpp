// XMLTextWriter: each piece written equals what the serialiser writes for the same node after
// the edit the piece stands for.

#include "torvex/xml/XMLTextWriter.h"

#include "xml/XmlTestSupport.h"

#include <tuple>

namespace torvex {
namespace {

using xmltest::Find;
using xmltest::Xml;

WideString Written(XMLTextWriter& writer) {
    WideString text;
    writer.TakeText(text);
    return text;
}

// A new element as AddNode leaves it, failures included: an element name the document can't
// hold adds nothing, a text it can't hold leaves a bare element, an attribute it can't hold
// leaves the element without it.
TEST(XmlTextWriter, NewElementAsAddNodeLeavesIt) {
    using Case = std::tuple<const wchar_t*, WideString, const wchar_t*, const wchar_t*>;
    const Case cases[] = {
        {L"Cell", L"t<&>\r\n\"'", L"ColumnId", L"a\"<&>\n\t\r'ä"},
        {L"Cell", L"", L"ColumnId", L"x"},
        {L"Cell", L"bad\b", L"ColumnId", L"x"},
        {L"Cell", L"5", L"ColumnId", L"bad\x01"},
        {L"Cell", L"5", L"1a", L"x"},
        {L"Cell", L"5", nullptr, L"x"},
        {L"Cell", L"5", L"xml:lang", L"en"},
        {L"1Cell", L"5", L"ColumnId", L"x"},
        {L"p:Cell", L"𝄞", L"ColumnId", L"x"},
    };
    for (const auto& [name, text, attribute, value] : cases) {
        XMLParser parser(L"<r/>");
        XMLNode root = parser.GetRootNode();
        root.AddNode(name, text.c_str(), attribute, value);
        WideString expected;
        XMLNode added;
        if (root.GetFirstChildNode(added) && added.IsNode())
            added.GetXml(expected);
        XMLTextWriter writer;
        EXPECT_TRUE(writer.WriteNewElement(name, text, attribute, value));
        EXPECT_EQ(Written(writer), expected) << xmltest::Narrow(text);
    }
    XMLTextWriter writer;
    EXPECT_FALSE(writer.WriteNewElement(L"Cell", L"5", L"xmlns:p", L"urn:p"));
    EXPECT_EQ(Written(writer), L"");
}

// An element's start tag with namespaces and attributes, its text replaced, and an empty
// element's tag, as GetXml writes them.
TEST(XmlTextWriter, ElementWithTextAsSetNodeTextLeavesIt) {
    const wchar_t* const documents[] = {
        LR"(<r xmlns:p="urn:p"><p:e xmlns="urn:d" xmlns:q='a"b' a="1&amp;&#10;" p:b="2">old<x/></p:e></r>)",
        LR"(<r><e xmlns:q="a&quot;b'c" q:a="x"/></r>)",
        LR"(<r><e a="ä"><!--c--></e></r>)",
    };
    for (const wchar_t* document : documents) {
        for (const WideString& text : {WideString(L"new <&> text\r"), WideString()}) {
            XMLParser parser(document);
            XMLNode element = Find(parser.GetRootNode(), L"*");
            XMLTextWriter writer;
            ASSERT_TRUE(writer.WriteElementWithText(element, text));
            const WideString written = Written(writer);
            element.SetNodeText(text);
            EXPECT_EQ(written, Xml(element)) << xmltest::Narrow(document);
        }
    }
    XMLParser parser(L"<r><!--c--></r>");
    XMLTextWriter writer;
    XMLNode comment;
    parser.GetRootNode().GetFirstChildNode(comment);
    EXPECT_FALSE(writer.WriteStartTag(comment));
    EXPECT_FALSE(writer.WriteElementWithText(comment, L"x"));
    EXPECT_TRUE(writer.WriteNode(comment));
    EXPECT_EQ(Written(writer), L"<!--c-->");
}

TEST(XmlTextWriter, PiecesOnlyWithoutNamespaces) {
    const std::tuple<const wchar_t*, bool> cases[] = {
        {L"<r a=\"1\"><e b=\"&amp;\">t<!--c--><?p d?></e></r>", true},
        {L"<r xmlns=\"urn:d\"/>", false},
        {L"<r><e xmlns:p=\"urn:p\"/></r>", false},
        {L"<r xmlns:p=\"urn:p\"><e p:a=\"1\"/></r>", false},
    };
    for (const auto& [document, expected] : cases) {
        XMLParser parser(document);
        EXPECT_EQ(XMLTextWriter::CanWritePieces(parser.GetRootNode()), expected)
            << xmltest::Narrow(document);
    }
    EXPECT_FALSE(XMLTextWriter::CanWritePieces(XMLNode()));
}

} // namespace
} // namespace torvex

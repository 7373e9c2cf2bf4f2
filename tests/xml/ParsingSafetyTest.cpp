// Parsing: wide text read as it stands, white-space text dropped, hostile documents refused.

#include <filesystem>
#include <fstream>

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Narrow;
using xmltest::Xml;

// Text nodes of white space only go everywhere (CDATA stays); the declared encoding doesn't
// change how wide text is read, a byte order mark is dropped, and the written text parses again.
TEST(XmlParsing, WhiteSpaceTextIsDroppedAndWideTextReadAsItStands) {
    const std::wstring blanks(5000, L' ');
    std::wstring wide; // characters of 2 to 4 bytes across every read of the parser
    for (int i = 0; i < 3000; ++i)
        wide += L"\u00e9\u4e2d\U0001F600";
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"<a>\n  <b/>\n  <c/>\n</a>", L"<a><b/><c/></a>\n"},
        {L"<a>   </a>", L"<a/>\n"},
        {L"<a> <b/> x <c/> </a>", L"<a><b/> x <c/></a>\n"},
        {L"<a>x<b> </b>\t<c>\r\n</c></a>", L"<a>x<b/><c/></a>\n"},
        {L"<a><![CDATA[  ]]> </a>", L"<a><![CDATA[  ]]></a>\n"},
        {L"<a b=\"  \"> <!-- c --> </a>", L"<a b=\"  \"><!-- c --></a>\n"},
        {L"<?xml version=\"1.0\" encoding=\"UTF-16\"?><a t=\"\u00e9\u4e2d\">\u00fc\U0001F600</a>",
         L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<a "
         L"t=\"\u00e9\u4e2d\">\u00fc\U0001F600</a>\n"},
        {L"<?xml version='1.0' encoding='ISO-8859-1'?><a>\u00e9</a>",
         L"<?xml version='1.0' encoding='ISO-8859-1'?>\n<a>\u00e9</a>\n"},
        {L"\uFEFF<?xml version=\"1.0\"?>\n<a/>", L"<?xml version=\"1.0\"?>\n<a/>\n"},
        {L"<a>\u00e9</a>", L"<a>\u00e9</a>\n"},
        // Blank by a character reference; blank runs the parser hands over in several pieces.
        {L"<a>&#32;<b/>&#10;</a>", L"<a><b/></a>\n"},
        {L"<a><b>" + blanks + L"</b></a>", L"<a><b/></a>\n"},
        {L"<a>" + blanks + L"x</a>", L"<a>" + blanks + L"x</a>\n"},
        {L"<a>" + wide + L"</a>", L"<a>" + wide + L"</a>\n"},
    };
    for (const auto& [text, expected] : cases) {
        XMLParser parser;
        EXPECT_TRUE(parser.SetXml(text.c_str())) << Narrow(text.c_str());
        EXPECT_EQ(Xml(parser), expected) << Narrow(text.c_str());
        EXPECT_EQ(Xml(XMLParser(Xml(parser).c_str())), expected) << "written text parses again";
    }
}

// Malformed input fails without a word on stderr and leaves an empty document.
TEST(XmlParsing, MalformedInputFailsQuietly) {
    for (const wchar_t* input :
         {L"", L"<a>", L"<a></b>", L"text", L"<a/><b/>", L"<a>&undefined;</a>",
          L" <?xml version='1.0'?><a/>", L"<a x='1' x='2'/>"}) {
        testing::internal::CaptureStderr();
        XMLParser parser;
        EXPECT_FALSE(parser.SetXml(input)) << Narrow(input);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(Xml(parser), L"");
    }
}

// Nine levels of ten entities each are refused, not expanded.
TEST(XmlParsing, BillionLaughsIsRefusedWithoutExpansion) {
    std::wstring text = L"<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n<!ENTITY lol0 \"lol\">\n";
    for (int i = 1; i <= 9; ++i) {
        std::wstring body;
        for (int k = 0; k < 10; ++k)
            body += L"&lol" + std::to_wstring(i - 1) + L";";
        text += L"<!ENTITY lol" + std::to_wstring(i) + L" \"" + body + L"\">\n";
    }
    text += L"]>\n<lolz>&lol9;</lolz>";
    XMLParser parser;
    EXPECT_FALSE(parser.SetXml(text.c_str()));
    XMLNode root = parser.GetRootNode();
    EXPECT_EQ(xmltest::Name(root), L"#document");
    WideString content;
    EXPECT_TRUE(root.GetNodeText(content));
    EXPECT_EQ(content, L"");
}

// External entities, external DTDs and parameter entities are never read, from text or file.
TEST(XmlParsing, ExternalEntitiesAndDtdsAreNeverRead) {
    std::string dir = xmltest::ScratchDirectory("xxe");
    std::string secretPath = dir + "/secret.txt";
    std::ofstream(secretPath) << "TOP-SECRET-CONTENT";
    std::string dtdPath = dir + "/defaults.dtd";
    std::ofstream(dtdPath) << "<!ENTITY leak SYSTEM \"file://" << secretPath << "\">";
    std::wstring secret(secretPath.begin(), secretPath.end());
    std::wstring dtd(dtdPath.begin(), dtdPath.end());
    const std::wstring inputs[] = {
        L"<!DOCTYPE a [<!ENTITY leak SYSTEM \"file://" + secret + L"\">]><a>&leak;</a>",
        L"<!DOCTYPE a [<!ENTITY leak SYSTEM \"" + secret + L"\">]><a b=\"x\">&leak;</a>",
        L"<!DOCTYPE a SYSTEM \"" + dtd + L"\"><a>&leak;</a>",
        L"<!DOCTYPE a [<!ENTITY % p SYSTEM \"file://" + dtd + L"\"> %p;]><a>&leak;</a>",
    };
    const std::filesystem::path file = std::filesystem::path(dir) / "input.xml";
    for (const std::wstring& input : inputs) {
        XMLParser parser(input.c_str());
        EXPECT_EQ(Xml(parser).find(L"TOP-SECRET"), WideString::npos);
        EXPECT_FALSE(parser.SetXml(input.c_str()));
        std::ofstream(file) << Narrow(input);
        EXPECT_FALSE(parser.LoadXmlDocument(file.wstring().c_str()));
        EXPECT_EQ(Xml(parser).find(L"TOP-SECRET"), WideString::npos);
    }
    std::filesystem::remove_all(dir);
}

// Characters XML can't hold are refused by edits, so that the document always parses again.
TEST(XmlParsing, CharactersXmlCannotHoldAreRefusedByEdits) {
    XMLParser parser(L"<a/>");
    XMLNode root = parser.GetRootNode();
    EXPECT_FALSE(root.SetProperty(L"v", L"bad\x01"));
    EXPECT_FALSE(root.SetNodeText(L"bad\x02"));
    EXPECT_TRUE(root.SetNodeText(WideString(L"bad\x02"))) << "this form ignores the DOM's answer";
    EXPECT_FALSE(root.AddNode(L"b", L"bad\xFFFF").IsNode());
    EXPECT_EQ(Xml(parser), L"<a><b/></a>\n") << "the element stays, without its text";
}

} // namespace
} // namespace torvex

// Parsing: wide text read as it stands, white-space text dropped, hostile documents refused.

#include <filesystem>
#include <fstream>

#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Xml;

TEST(XmlParsing, WhiteSpaceOnlyTextIsDroppedEverywhere) {
    struct Case {
        const wchar_t* text;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {L"<a>\n  <b/>\n  <c/>\n</a>", L"<a><b/><c/></a>\n"},
        {L"<a>   </a>", L"<a/>\n"},
        {L"<a> <b/> x <c/> </a>", L"<a><b/> x <c/></a>\n"},
        {L"<a>x<b> </b>\t<c>\r\n</c></a>", L"<a>x<b/><c/></a>\n"},
        {L"<a><![CDATA[  ]]> </a>", L"<a><![CDATA[  ]]></a>\n"},
        {L"<a b=\"  \"> <!-- c --> </a>", L"<a b=\"  \"><!-- c --></a>\n"},
    };
    for (const Case& c : cases) {
        XMLParser parser(c.text);
        EXPECT_EQ(Xml(parser), c.expected) << xmltest::Narrow(c.text);
    }
}

TEST(XmlParsing, DeclaredEncodingDoesNotChangeHowWideTextIsRead) {
    struct Case {
        const wchar_t* text;
        const wchar_t* expectedXml;
    };
    const Case cases[] = {
        {L"<?xml version=\"1.0\" encoding=\"UTF-16\"?><a t=\"\u00e9\u4e2d\">\u00fc\U0001F600</a>",
         L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<a "
         L"t=\"\u00e9\u4e2d\">\u00fc\U0001F600</a>\n"},
        {L"<?xml version='1.0' encoding='ISO-8859-1'?><a>\u00e9</a>",
         L"<?xml version='1.0' encoding='ISO-8859-1'?>\n<a>\u00e9</a>\n"},
        {L"\uFEFF<?xml version=\"1.0\"?>\n<a/>", L"<?xml version=\"1.0\"?>\n<a/>\n"},
        {L"<a>\u00e9</a>", L"<a>\u00e9</a>\n"},
    };
    for (const Case& c : cases) {
        XMLParser parser;
        EXPECT_TRUE(parser.SetXml(c.text)) << xmltest::Narrow(c.text);
        WideString text;
        ASSERT_TRUE(parser.GetXml(text));
        EXPECT_EQ(text, c.expectedXml);
        XMLParser again;
        EXPECT_TRUE(again.SetXml(text.c_str())) << "serialised text parses again";
        EXPECT_EQ(Xml(again), text);
    }
}

TEST(XmlParsing, MalformedInputFailsQuietly) {
    const wchar_t* inputs[] = {L"",
                               L"<a>",
                               L"<a></b>",
                               L"text",
                               L"<a/><b/>",
                               L"<a>&undefined;</a>",
                               L" <?xml version='1.0'?><a/>",
                               L"<a x='1' x='2'/>"};
    for (const wchar_t* input : inputs) {
        testing::internal::CaptureStderr();
        XMLParser parser;
        EXPECT_FALSE(parser.SetXml(input)) << xmltest::Narrow(input);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(Xml(parser), L"");
    }
}

TEST(XmlParsing, BillionLaughsIsRefusedWithoutExpansion) {
    std::wstring text = L"<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n<!ENTITY lol \"lol\">\n";
    text += L"<!ENTITY lol1 \"&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;\">\n";
    for (int i = 2; i <= 9; ++i) {
        std::wstring prev = L"&lol" + std::to_wstring(i - 1) + L";";
        std::wstring body;
        for (int k = 0; k < 10; ++k) {
            body += prev;
        }
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
    for (const std::wstring& input : inputs) {
        XMLParser parser(input.c_str());
        WideString text = Xml(parser);
        EXPECT_EQ(text.find(L"TOP-SECRET"), WideString::npos);
        EXPECT_FALSE(parser.SetXml(input.c_str()));
        std::filesystem::path file = std::filesystem::path(dir) / "input.xml";
        std::ofstream(file) << xmltest::Narrow(input);
        std::wstring path = file.wstring();
        EXPECT_FALSE(parser.LoadXmlDocument(path.c_str()));
        EXPECT_EQ(Xml(parser).find(L"TOP-SECRET"), WideString::npos);
    }
    std::filesystem::remove_all(dir);
}

TEST(XmlParsing, CharactersXmlCannotHoldAreRefusedByEdits) {
    XMLParser parser(L"<a/>");
    XMLNode root = parser.GetRootNode();
    EXPECT_FALSE(root.SetProperty(L"v", L"bad\x01"));
    EXPECT_FALSE(root.SetNodeText(L"bad\x02"));
    EXPECT_TRUE(root.SetNodeText(WideString(L"bad\x02"))) << "this form ignores the DOM's answer";
    EXPECT_FALSE(root.AddNode(L"b", L"bad\xFFFF").IsNode());
    EXPECT_EQ(Xml(parser), L"<a><b/></a>\n") << "the element stays, without its text";
    XMLParser again;
    EXPECT_TRUE(again.SetXml(Xml(parser).c_str()));
}

} // namespace
} // namespace torvex

// XMLParser: documents, declarations, files and the formatted save.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "torvex/platform/Files.h"
#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Name;
using xmltest::Xml;

std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::wstring Wide(const std::string& path) {
    return std::wstring(path.begin(), path.end());
}

TEST(XmlDocument, MalformedTextLeavesAnEmptyDocumentWhoseRootIsTheDocumentNode) {
    XMLParser parser(L"<broken");
    EXPECT_TRUE(parser.HasDocument());
    XMLNode root = parser.GetRootNode();
    EXPECT_TRUE(root.IsNode());
    EXPECT_EQ(Name(root), L"#document");
    EXPECT_EQ(parser.GetNodesCount(), 0);
    XMLNode byName;
    EXPECT_FALSE(parser.GetNode(L"broken", byName));
}

TEST(XmlDocument, SetXmlReplacesTheTreeAndMalformedTextLosesIt) {
    XMLParser parser(L"<a><b/></a>");
    XMLNode oldB = xmltest::Find(parser.GetRootNode(), L"b");
    EXPECT_TRUE(parser.SetXml(L"<c/>"));
    EXPECT_EQ(Xml(parser), L"<c/>\n");
    EXPECT_FALSE(parser.SetXml(L"<d>"));
    EXPECT_EQ(Xml(parser), L"");
    EXPECT_EQ(Name(oldB), L"b") << "a handle taken earlier keeps its node";
    EXPECT_EQ(Name(oldB.GetParentNode()), L"a");
    EXPECT_FALSE(oldB.GetParentNode().GetParentNode().IsNode()) << "detached from the new content";
}

TEST(XmlDocument, TheDeclarationStandsFirstAndOnlyOnce) {
    XMLParser parser;
    XMLNode root = parser.AddNode(L"Root", L"text", L"a", L"1");
    EXPECT_TRUE(parser.CreateXmlDocument(L"UTF-16"));
    EXPECT_EQ(Xml(parser), L"<?xml version='1.0' encoding='UTF-16'?>\n<Root a=\"1\">text</Root>\n");
    EXPECT_FALSE(parser.CreateXmlDocument(L"UTF-8")) << "a second declaration is refused";
    EXPECT_FALSE(parser.CreateXmlDocument(L"bad'name")) << "no valid encoding name";
    XMLNode docNode = root.GetParentNode();
    EXPECT_FALSE(docNode.AppendChild(root.CloneNode(true)).IsNode()) << "one document element";
    EXPECT_FALSE(docNode.AddNode(L"Other").IsNode());
    XMLNode declaration;
    ASSERT_TRUE(docNode.GetFirstChildNode(declaration));
    EXPECT_EQ(Name(declaration), L"xml");
    EXPECT_FALSE(root.AppendChild(declaration.CloneNode(false)).IsNode()) << "only at the top";
    EXPECT_FALSE(docNode.AppendChild(declaration).IsNode()) << "only in first place";
    XMLParser again;
    EXPECT_TRUE(again.SetXml(Xml(parser).c_str()));
    EXPECT_EQ(Xml(again), Xml(parser));

    XMLParser fresh;
    EXPECT_TRUE(fresh.CreateXmlDocument(L"UTF-16"));
    fresh.AddNode(L"Table");
    EXPECT_EQ(Xml(fresh), L"<?xml version='1.0' encoding='UTF-16'?>\n<Table/>\n");
}

TEST(XmlDocument, NodesOfTheRootLevel) {
    XMLParser parser(L"<!--c--><Root><Child/><Child/>x</Root><?pi data?>");
    XMLNode node;
    EXPECT_TRUE(parser.GetNode(node));
    EXPECT_EQ(Name(node), L"Root");
    EXPECT_TRUE(parser.GetNode(nullptr, node));
    EXPECT_EQ(Name(node), L"Root");
    EXPECT_TRUE(parser.GetNode(L"pi", node)) << "following siblings of the root count";
    EXPECT_FALSE(parser.GetNode(L"Child", node)) << "children do not";
    EXPECT_FALSE(node.IsNode());
    EXPECT_EQ(parser.GetNodesCount(), 3);
}

TEST(XmlDocument, AddNodeOnTheDocumentKeepsWhatWasAppended) {
    XMLParser parser(L"<Root/>");
    XMLNode added = parser.AddNode(L"Item", nullptr, L"ok", L"1", L"bad name", L"2");
    EXPECT_EQ(Name(added), L"Item") << "the appended element answers, with fewer attributes";
    EXPECT_FALSE(parser.GetRootNode().AddNode(L"Item", nullptr, L"bad name", L"2").IsNode());
    EXPECT_EQ(Xml(parser), L"<Root><Item ok=\"1\"/><Item/></Root>\n");
    EXPECT_FALSE(parser.AddNode(L"bad/name").IsNode());
}

TEST(XmlDocument, NodesByTagAreASnapshotAndRemovingTakesThemAll) {
    XMLParser parser(L"<r><x id='1'><x id='2'/></x><y><x id='3'/></y></r>");
    XMLNodeArray nodes;
    EXPECT_TRUE(parser.GetNodesByTag(L"x", nodes));
    EXPECT_EQ(xmltest::Names(nodes), L"1,2,3");
    EXPECT_TRUE(parser.GetNodesByTag(L"*", nodes));
    EXPECT_EQ(xmltest::Names(nodes), L"r,1,2,y,3");
    parser.RemoveNodesByTag(L"x");
    EXPECT_EQ(Xml(parser), L"<r><y/></r>\n");
    EXPECT_FALSE(parser.GetNodesByTag(nullptr, nodes));
}

TEST(XmlDocument, CopiesShareTheDocument) {
    XMLParser first(L"<a/>");
    XMLParser second = first;
    second.GetRootNode().AddNode(L"b");
    EXPECT_EQ(Xml(first), L"<a><b/></a>\n");
    XMLParser third;
    third.SetDocument(first.GetDocument());
    EXPECT_TRUE(third.GetRootNode().IsSameNode(first.GetRootNode()));
    XMLParser moved = std::move(third);
    EXPECT_FALSE(third.HasDocument());
    EXPECT_FALSE(third.SetXml(L"<a/>"));
    EXPECT_FALSE(third.GetRootNode().IsNode());
    try {
        first.SetDocument(third);
        ADD_FAILURE() << "a documentless argument must raise";
    } catch (const ComError& e) {
        EXPECT_EQ(e.Code(), XmlStatus::Pointer);
    }
}

TEST(XmlDocument, FilesAreWrittenInTheDeclaredEncodingAndReadBack) {
    std::string dir = xmltest::ScratchDirectory("files");
    struct Case {
        const wchar_t* text;
        std::string expectedBytes;
    };
    const Case cases[] = {
        {L"<a>\u00e9</a>", "<a>\xC3\xA9</a>\n"},
        {L"<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\u00e9</a>",
         "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a>\xC3\xA9</a>\n"},
        {L"<?xml version='1.0' encoding='UTF-16'?><a/>",
         std::string("\xFF\xFE", 2) + std::string("<\0?\0x\0m\0l\0", 10)},
        {L"<?xml version='1.0' encoding='ISO-8859-1'?><a b='\u00e9'>\u00e9\u4e2d</a>",
         "<?xml version='1.0' encoding='ISO-8859-1'?>\n<a b=\"\xE9\">\xE9&#20013;</a>\n"},
    };
    for (const Case& c : cases) {
        XMLParser parser(c.text);
        std::wstring path = Wide(dir + "/doc.xml");
        ASSERT_TRUE(parser.SaveXmlDocument(path.c_str(), false)) << xmltest::Narrow(c.text);
        std::string bytes = ReadBytes(dir + "/doc.xml");
        EXPECT_EQ(bytes.substr(0, c.expectedBytes.size()), c.expectedBytes);
        XMLParser loaded;
        EXPECT_TRUE(loaded.LoadXmlDocument(path.c_str()));
        EXPECT_EQ(Xml(loaded), Xml(parser));
    }
    std::filesystem::remove_all(dir);
}

TEST(XmlDocument, LoadingAMissingFileLeavesTheDocumentAlone) {
    XMLParser parser(L"<keep/>");
    EXPECT_FALSE(parser.LoadXmlDocument(L"/nonexistent/dir/file.xml"));
    EXPECT_EQ(Xml(parser), L"<keep/>\n");
    std::string dir = xmltest::ScratchDirectory("bad");
    std::ofstream(dir + "/bad.xml") << "<unclosed>";
    EXPECT_FALSE(parser.LoadXmlDocument(Wide(dir + "/bad.xml").c_str()));
    EXPECT_EQ(Xml(parser), L"") << "a file that does not parse empties the document";
    std::filesystem::remove_all(dir);
}

TEST(XmlDocument, SavingWithoutPathWritesAGuidNamedFileToTheTemporaryDirectory) {
    std::string dir = xmltest::ScratchDirectory("tmp");
    const char* former = std::getenv("TMPDIR");
    std::string saved = former != nullptr ? former : "";
    setenv("TMPDIR", dir.c_str(), 1);
    XMLParser parser(L"<a/>");
    bool ok = parser.SaveXmlDocument(nullptr, false);
    former != nullptr ? setenv("TMPDIR", saved.c_str(), 1) : unsetenv("TMPDIR");
    EXPECT_TRUE(ok);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        names.push_back(entry.path().filename().string());
    }
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0].size(), 38u + 4u);
    EXPECT_EQ(names[0].front(), '{');
    EXPECT_EQ(names[0].substr(37), "}.xml");
    std::filesystem::remove_all(dir);
}

TEST(XmlDocument, AFailedSaveHasDeletedTheFormerFileAlready) {
    std::string dir = xmltest::ScratchDirectory("failed");
    std::string path = dir + "/out.xml";
    std::ofstream(path) << "former";
    XMLParser parser(L"<?xml version='1.0' encoding='x-no-such-encoding'?><a/>");
    EXPECT_FALSE(parser.SaveXmlDocument(Wide(path).c_str(), false));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(parser.SaveXmlDocument(Wide(dir + "/missing/out.xml").c_str(), false));
    std::filesystem::remove_all(dir);
}

TEST(XmlDocument, FormattedSaveIndentsTheLiveTree) {
    std::string dir = xmltest::ScratchDirectory("format");
    std::wstring path = Wide(dir + "/f.xml");
    XMLParser parser(L"<root><a><b>text</b></a><c/><!--n--></root>");
    EXPECT_EQ(parser.GetNodesCount(), 3);
    ASSERT_TRUE(parser.SaveXmlDocument(path.c_str(), true));
    const char* once = "<root>\n"
                       "  <a>\n"
                       "    <b>text</b>\n"
                       "  </a>\n"
                       "  <c/>\n"
                       "  <!--n-->\n"
                       "</root>\n";
    EXPECT_EQ(ReadBytes(dir + "/f.xml"), once);
    EXPECT_EQ(parser.GetNodesCount(), 7) << "the document itself changed";
    ASSERT_TRUE(parser.SaveXmlDocument(path.c_str(), true));
    const char* twice = "<root>\n"
                        "  \n"
                        "  <a>\n"
                        "    \n"
                        "    <b>text</b>\n"
                        "  </a>\n"
                        "  \n"
                        "  <c/>\n"
                        "  \n"
                        "  <!--n-->\n"
                        "</root>\n";
    EXPECT_EQ(ReadBytes(dir + "/f.xml"), twice);
    std::filesystem::remove_all(dir);
}

TEST(XmlDocument, IndentStopsGrowingAt78Blanks) {
    XMLParser parser(L"<root/>");
    XMLNode node = parser.GetRootNode();
    for (int depth = 0; depth <= 40; ++depth) {
        node = node.AddNode(L"n");
    }
    std::string dir = xmltest::ScratchDirectory("deep");
    ASSERT_TRUE(parser.SaveXmlDocument(Wide(dir + "/d.xml").c_str(), true));
    std::string text = ReadBytes(dir + "/d.xml");
    auto indentOfLine = [&](int line) {
        size_t pos = 0;
        for (int i = 0; i < line; ++i) {
            pos = text.find('\n', pos) + 1;
        }
        return text.find_first_not_of(' ', pos) - pos;
    };
    EXPECT_EQ(indentOfLine(1), 2u) << "depth 0";
    EXPECT_EQ(indentOfLine(38), 76u) << "depth 37";
    EXPECT_EQ(indentOfLine(39), 78u) << "depth 38";
    EXPECT_EQ(indentOfLine(41), 78u) << "depth 40";
    EXPECT_EQ(text.substr(text.size() - 9), "\n</root>\n");
    std::filesystem::remove_all(dir);
}

} // namespace
} // namespace torvex

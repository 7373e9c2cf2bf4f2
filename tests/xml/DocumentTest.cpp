// XMLParser: documents, declarations, files and the formatted save.

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "platform/ScopedEnvironment.h"
#include "xml/XmlTestSupport.h"

namespace torvex {
namespace {

using xmltest::Find;
using xmltest::Name;
using xmltest::Xml;

std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::wstring Wide(const std::string& path) {
    return std::wstring(path.begin(), path.end());
}

// Text that doesn't parse leaves an empty document whose root is the document node; SetXml
// replaces the tree, and handles taken before keep the old one.
TEST(XmlDocument, MalformedTextLeavesAnEmptyDocument) {
    XMLParser broken(L"<broken");
    EXPECT_TRUE(broken.HasDocument());
    EXPECT_EQ(Name(broken.GetRootNode()), L"#document");
    EXPECT_EQ(broken.GetNodesCount(), 0);

    XMLParser parser(L"<a><b/></a>");
    XMLNode oldB = Find(parser.GetRootNode(), L"b");
    EXPECT_TRUE(parser.SetXml(L"<c/>"));
    EXPECT_EQ(Xml(parser), L"<c/>\n");
    EXPECT_FALSE(parser.SetXml(L"<d>"));
    EXPECT_EQ(Xml(parser), L"");
    EXPECT_EQ(Name(oldB.GetParentNode()), L"a");
    EXPECT_FALSE(oldB.GetParentNode().GetParentNode().IsNode()) << "detached from the new content";
}

// One declaration, first; one document element; names that aren't XML names are refused.
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
    XMLParser again(Xml(parser).c_str());
    EXPECT_EQ(Xml(again), Xml(parser));
    XMLParser fresh;
    EXPECT_TRUE(fresh.CreateXmlDocument(L"UTF-16"));
    fresh.AddNode(L"Table");
    EXPECT_EQ(Xml(fresh), L"<?xml version='1.0' encoding='UTF-16'?>\n<Table/>\n");

    // On the document, AddNode appends below the root and keeps what it appended.
    XMLParser other(L"<Root/>");
    EXPECT_EQ(Name(other.AddNode(L"Item", nullptr, L"ok", L"1", L"bad name", L"2")), L"Item");
    EXPECT_FALSE(other.AddNode(L"bad/name").IsNode());
    EXPECT_EQ(Xml(other), L"<Root><Item ok=\"1\"/></Root>\n");
}

// GetNode looks at the nodes of the top level only; nodes by tag are a snapshot in document
// order, and RemoveNodesByTag takes them all.
TEST(XmlDocument, NodesOfTheRootLevelAndByTag) {
    XMLParser top(L"<!--c--><Root><Child/><Child/>x</Root><?pi data?>");
    XMLNode node;
    EXPECT_TRUE(top.GetNode(nullptr, node));
    EXPECT_EQ(Name(node), L"Root");
    EXPECT_TRUE(top.GetNode(L"pi", node)) << "following siblings of the root count";
    EXPECT_FALSE(top.GetNode(L"Child", node)) << "children do not";
    EXPECT_FALSE(node.IsNode());
    EXPECT_EQ(top.GetNodesCount(), 3);

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

// Copies and SetDocument share one document; a moved-from parser has none, and handing it on
// raises.
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
    try {
        first.SetDocument(third);
        ADD_FAILURE() << "a documentless argument must raise";
    } catch (const ComError& e) {
        EXPECT_EQ(e.Code(), XmlStatus::Pointer);
    }
}

// Files are written in the declared encoding (UTF-8 without one) and read back alike.
TEST(XmlDocument, FilesAreWrittenInTheDeclaredEncodingAndReadBack) {
    std::string dir = xmltest::ScratchDirectory("files");
    const std::pair<const wchar_t*, std::string> cases[] = {
        {L"<a>\u00e9</a>", "<a>\xC3\xA9</a>\n"},
        {L"<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\u00e9</a>",
         "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a>\xC3\xA9</a>\n"},
        {L"<?xml version='1.0' encoding='UTF-16'?><a/>",
         std::string("\xFF\xFE", 2) + std::string("<\0?\0x\0m\0l\0", 10)},
        {L"<?xml version='1.0' encoding='ISO-8859-1'?><a b='\u00e9'>\u00e9\u4e2d</a>",
         "<?xml version='1.0' encoding='ISO-8859-1'?>\n<a b=\"\xE9\">\xE9&#20013;</a>\n"},
    };
    const std::wstring path = Wide(dir + "/doc.xml");
    for (const auto& [text, bytes] : cases) {
        XMLParser parser(text);
        ASSERT_TRUE(parser.SaveXmlDocument(path.c_str(), false)) << xmltest::Narrow(text);
        EXPECT_EQ(ReadBytes(dir + "/doc.xml").substr(0, bytes.size()), bytes);
        XMLParser loaded;
        EXPECT_TRUE(loaded.LoadXmlDocument(path.c_str()));
        EXPECT_EQ(Xml(loaded), Xml(parser));
    }
    std::filesystem::remove_all(dir);
}

// A missing file leaves the document alone, one that doesn't parse empties it; a failed save
// has deleted the former file already; without a path the file goes to the temporary directory
// under a braced GUID.
TEST(XmlDocument, FileFailuresAndTheTemporaryFile) {
    std::string dir = xmltest::ScratchDirectory("io");
    XMLParser parser(L"<keep/>");
    EXPECT_FALSE(parser.LoadXmlDocument(L"/nonexistent/dir/file.xml"));
    EXPECT_EQ(Xml(parser), L"<keep/>\n");
    std::ofstream(dir + "/bad.xml") << "<unclosed>";
    EXPECT_FALSE(parser.LoadXmlDocument(Wide(dir + "/bad.xml").c_str()));
    EXPECT_EQ(Xml(parser), L"");

    const std::string path = dir + "/out.xml";
    std::ofstream(path) << "former";
    XMLParser unwritable(L"<?xml version='1.0' encoding='x-no-such-encoding'?><a/>");
    EXPECT_FALSE(unwritable.SaveXmlDocument(Wide(path).c_str(), false));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(XMLParser(L"<a/>").SaveXmlDocument(Wide(dir + "/no/out.xml").c_str(), false));
    std::filesystem::remove_all(dir);

    dir = xmltest::ScratchDirectory("tmp");
    {
        testing::ScopedEnvironment environment;
        environment.Set("TMPDIR", dir);
        EXPECT_TRUE(XMLParser(L"<a/>").SaveXmlDocument(nullptr, false));
    }
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir))
        names.push_back(entry.path().filename().string());
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0].size(), 38u + 4u);
    EXPECT_EQ(names[0].front(), '{');
    EXPECT_EQ(names[0].substr(37), "}.xml");
    std::filesystem::remove_all(dir);
}

// The formatted save indents the live tree with two blanks a level, which changes the document:
// a second save adds a line of blanks before each indented node.
TEST(XmlDocument, FormattedSaveIndentsTheLiveTree) {
    std::string dir = xmltest::ScratchDirectory("format");
    std::wstring path = Wide(dir + "/f.xml");
    XMLParser parser(L"<root><a><b>text</b></a><c/><!--n--></root>");
    ASSERT_TRUE(parser.SaveXmlDocument(path.c_str(), true));
    EXPECT_EQ(ReadBytes(dir + "/f.xml"),
              "<root>\n  <a>\n    <b>text</b>\n  </a>\n  <c/>\n  <!--n-->\n</root>\n");
    EXPECT_EQ(parser.GetNodesCount(), 7) << "the document itself changed";
    ASSERT_TRUE(parser.SaveXmlDocument(path.c_str(), true));
    EXPECT_EQ(ReadBytes(dir + "/f.xml"), "<root>\n  \n  <a>\n    \n    <b>text</b>\n  </a>\n  \n"
                                         "  <c/>\n  \n  <!--n-->\n</root>\n");
    std::filesystem::remove_all(dir);
}

// The indent grows by two blanks a level up to 78 blanks and stays there.
TEST(XmlDocument, IndentStopsGrowingAt78Blanks) {
    XMLParser parser(L"<root/>");
    XMLNode node = parser.GetRootNode();
    for (int depth = 0; depth <= 40; ++depth)
        node = node.AddNode(L"n");
    std::string dir = xmltest::ScratchDirectory("deep");
    ASSERT_TRUE(parser.SaveXmlDocument(Wide(dir + "/d.xml").c_str(), true));
    std::string text = ReadBytes(dir + "/d.xml");
    std::vector<size_t> indents;
    for (size_t pos = text.find('\n'); pos + 1 < text.size(); pos = text.find('\n', pos + 1))
        indents.push_back(text.find_first_not_of(' ', pos + 1) - pos - 1);
    ASSERT_EQ(indents.size(), 82u);
    for (size_t line = 0; line <= 40; ++line)
        EXPECT_EQ(indents[line], std::min<size_t>(2 * (line + 1), 78)) << "depth " << line;
    EXPECT_EQ(text.substr(text.size() - 9), "\n</root>\n");
    std::filesystem::remove_all(dir);
}

} // namespace
} // namespace torvex

namespace torvex {
namespace {

// An index kept beside a document relies on the change count: every edit through any handle
// moves it, no read does.
TEST(XmlDocument, EveryEditMovesTheChangeCountAndNoReadDoes) {
    const struct {
        const char* what;
        bool edits;
        std::function<void(XMLParser&, XMLNode&)> act;
    } cases[] = {
        {"read text", false,
         [](XMLParser&, XMLNode& a) {
             WideString t;
             a.GetNodeText(t);
         }},
        {"select", false,
         [](XMLParser& d, XMLNode&) {
             XMLNodeArray all;
             d.GetRootNode().SelectChildNodes(L"//*", all);
         }},
        {"serialise", false,
         [](XMLParser& d, XMLNode&) {
             WideString t;
             d.GetXml(t);
         }},
        {"find", false,
         [](XMLParser& d, XMLNode&) {
             XMLNode n;
             d.GetRootNode().GetOrAddNode(L"a");
         }},
        {"add", true, [](XMLParser&, XMLNode& a) { a.AddNode(L"c"); }},
        {"add before", true, [](XMLParser&, XMLNode& a) { a.AddNodeBefore(L"c"); }},
        {"get or add (adds)", true, [](XMLParser&, XMLNode& a) { a.GetOrAddNode(L"new"); }},
        {"attribute", true, [](XMLParser&, XMLNode& a) { a.SetProperty(L"k", L"v"); }},
        {"remove attribute", true, [](XMLParser&, XMLNode& a) { a.RemoveProperty(L"id"); }},
        {"text", true, [](XMLParser&, XMLNode& a) { a.SetNodeText(L"t"); }},
        {"remove", true, [](XMLParser&, XMLNode& a) { a.RemoveThisNode(false); }},
        {"remove child", true, [](XMLParser&, XMLNode& a) { a.RemoveChildNode(L"b"); }},
        {"move", true, [](XMLParser& d, XMLNode& a) { d.GetRootNode().AppendChild(a); }},
        {"move in from elsewhere", true,
         [](XMLParser&, XMLNode& a) {
             XMLParser other;
             other.SetXml(L"<o><p/></o>");
             XMLNode p;
             other.GetRootNode().GetChildNode(L"p", p);
             a.AppendChild(p);
         }},
        {"import", true, [](XMLParser& d, XMLNode& a) { a.ImportNode(d.GetRootNode(), true); }},
        {"replace text", true, [](XMLParser& d, XMLNode&) { d.SetXml(L"<r/>"); }},
        {"remove by tag", true, [](XMLParser& d, XMLNode&) { d.RemoveNodesByTag(L"b"); }},
    };
    for (const auto& c : cases) {
        XMLParser document;
        ASSERT_TRUE(document.SetXml(L"<r><a id='1'><b/></a><a/></r>"));
        XMLNode a;
        document.GetRootNode().GetChildNode(L"a", a);
        const uint64_t before = document.GetChangeCount();
        XMLParser handle = document; // a second handle sees the same count
        c.act(handle, a);
        EXPECT_EQ(document.GetChangeCount() != before, c.edits) << c.what;
    }
}

} // namespace
} // namespace torvex

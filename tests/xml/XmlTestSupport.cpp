#include "xml/XmlTestSupport.h"

#include <filesystem>

#include "torvex/platform/Utf16.h"

namespace torvex::xmltest {

WideString Xml(const XMLParser& parser) {
    WideString text;
    return parser.GetXml(text) ? text : L"<no document>";
}

WideString Xml(const XMLNode& node) {
    WideString text;
    return node.GetXml(text) ? text : L"<empty>";
}

WideString Name(const XMLNode& node) {
    WideString name;
    return node.GetNodeName(name) ? name : L"<empty>";
}

XMLNode Find(const XMLNode& context, const wchar_t* xpath) {
    XMLNode found;
    EXPECT_TRUE(context.GetChildNode(xpath, found)) << Narrow(xpath);
    return found;
}

WideString Names(const XMLNodeArray& nodes) {
    WideString joined;
    for (const XMLNode& node : nodes) {
        WideString id;
        if (!node.GetProperty(L"id", id)) {
            id = Name(node);
        }
        joined += (joined.empty() ? L"" : L",") + id;
    }
    return joined;
}

std::string ScratchDirectory(const std::string& label) {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::filesystem::path dir = std::filesystem::temp_directory_path() /
                                ("torvex_xml_" + std::string(info->name()) + "_" + label);
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir.string();
}

std::string Narrow(const WideString& text) {
    return platform::ToUtf8(text);
}

} // namespace torvex::xmltest

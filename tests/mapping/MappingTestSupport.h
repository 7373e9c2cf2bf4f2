#pragma once
// Helpers shared by the mapping tests: documents parsed from text, elements serialised, and a
// compact listing of a template's parameter tree.

#include "torvex/mapping/CEncapFamilyTemplate.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLParser.h"

#include <gtest/gtest.h>

#include <string>

namespace torvex::test {

inline XMLParser Parse(const wchar_t* text) {
    XMLParser document;
    document.CreateXmlDocument(L"UTF-16");
    EXPECT_TRUE(document.SetXml(text)) << "fixture does not parse";
    return document;
}

inline WideString Xml(const XMLNode& node) {
    WideString xml;
    node.GetXml(xml);
    return xml;
}

// The first match of the XPath from the document root.
inline XMLNode Select(const XMLParser& document, const wchar_t* path) {
    XMLNode node;
    document.GetRootNode().GetChildNode(path, node);
    return node;
}

// "id(child child) id" in id order, ids as the objects hold them: the object tree that a
// template has loaded, whatever the document says.
inline std::wstring Tree(const CEncapFamilyTemplate::ParameterMap& map) {
    std::wstring out;
    for (const auto& [id, parameter] : map) {
        if (!out.empty())
            out += L' ';
        out += std::to_wstring(id);
        if (parameter && !parameter->GetChildren().empty())
            out += L"(" + Tree(parameter->GetChildren()) + L")";
    }
    return out;
}

} // namespace torvex::test

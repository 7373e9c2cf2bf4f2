#pragma once
// Helpers shared by the mapping tests: documents parsed from text, elements serialised, a
// compact listing of a template's parameter tree, and the way to the mapping's private steps.

#include "torvex/mapping/CEncapFamilyMapping.h"
#include "torvex/mapping/CEncapFamilyTemplate.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLParser.h"

#include <gtest/gtest.h>

#include <string>

namespace torvex {

// The mapping's private operations, as the family calls them.
struct CEncapFamilyMappingTestPeer {
    static bool CategoryParamColumn(CEncapFamilyMapping& m, const wchar_t* p, WideString& c) {
        return m.GetCategoryParamColumn(p, c);
    }
    static void RemoveColumnMapping(CEncapFamilyMapping& m, const wchar_t* column) {
        m.RemoveColumnMapping(column);
    }
    static void UpdateTemplateParameters(CEncapFamilyMapping& m, const wchar_t* name, int id) {
        m.UpdateTemplateParameters(name, id);
    }
    static bool RemoveParamToColumn(CEncapFamilyMapping& m, const wchar_t* parameter) {
        return m.RemoveParamToColumnMapping(parameter);
    }
    static bool RemoveParamToConstant(CEncapFamilyMapping& m, const wchar_t* parameter) {
        return m.RemoveParamToConstantMapping(parameter);
    }
};

} // namespace torvex

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

#pragma once
// Helpers shared by the XML layer tests.

#include <gtest/gtest.h>

#include <string>

#include "torvex/platform/WideString.h"
#include "torvex/xml/ComError.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XMLParser.h"

namespace torvex::xmltest {

/// The document serialised, or "<no document>".
WideString Xml(const XMLParser& parser);
/// The node serialised, or "<empty>".
WideString Xml(const XMLNode& node);
/// The node's name, or "<empty>".
WideString Name(const XMLNode& node);
/// The first match of an XPath expression below the node; fails the test when there is none.
XMLNode Find(const XMLNode& context, const wchar_t* xpath);
/// Names of the nodes of an array, joined with ",".
WideString Names(const XMLNodeArray& nodes);
/// A fresh, empty directory for files of one test.
std::string ScratchDirectory(const std::string& label);
/// UTF-8 bytes of wide text (readable assertion messages).
std::string Narrow(const WideString& text);

} // namespace torvex::xmltest

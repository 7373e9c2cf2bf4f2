#pragma once
// Internal to torvex/xml: XPath 1.0 queries over a document, with the prefix `ms` bound and the
// function ms:string-compare registered. One context and the compiled expressions are kept per
// document, so a query costs no set-up that grows with the document.

#include <libxml/tree.h>

#include <cstdint>
#include <string>
#include <vector>

namespace torvex::xmldetail {

/// Evaluates `expression` (UTF-8) with `context` as context node. Ok with the matches in document
/// order (a namespace node, which no handle can hold, as null; only the first when `firstOnly`);
/// XmlStatus::Fail for a rejected expression or one that yields no node-set.
int32_t SelectNodes(xmlNodePtr context, const std::string& expression, bool firstOnly,
                    std::vector<xmlNodePtr>& out);

/// ms:string-compare on two UTF-8 texts: 0 for equal, -1 or 1 by code points; `ignoreCase` folds
/// letters of the Latin, Greek and Cyrillic alphabets first.
int CompareStrings(const std::string& a, const std::string& b, bool ignoreCase);

} // namespace torvex::xmldetail

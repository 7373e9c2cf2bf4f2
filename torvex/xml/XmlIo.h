#pragma once
// Internal to torvex/xml: parsing text and file bytes into libxml2 documents, and serialising
// nodes and documents.

#include <libxml/tree.h>

#include <string>
#include <vector>

#include "torvex/platform/WideString.h"

namespace torvex::xmldetail {

/// The result of a parse: the document (null when the input does not parse) and the data of the
/// XML declaration the input began with, if any.
struct ParseResult {
    xmlDocPtr doc = nullptr;
    bool hasDeclaration = false;
    std::string declaration;
    // False when the parser met no text of white space alone, so that no element of the
    // document holds a blank text node.
    bool mayHoldBlankText = true;
    // The elements the watch of the parse noted, in document order; `watchedAll` is false when
    // the parse had no watch or could not keep one.
    std::vector<xmlNodePtr> watched;
    bool watchedAll = false;
};

/// What a parse notes while it builds the tree: every element of the local name whose attribute
/// of the local name has the value ignoring ASCII case (or a value the parser left holding an
/// entity reference). Prefixes are not looked at, so the notes are a superset of the exact
/// matches. UTF-8.
struct ElementWatch {
    std::string element;
    std::string attribute;
    std::string value;
};

/// Parses wide text as it stands: an encoding named in its declaration is ignored.
/// With a watch, the result lists what it noted.
ParseResult ParseText(const wchar_t* text, const ElementWatch* watch = nullptr);
/// Parses the bytes of a file; the encoding comes from a byte order mark or the declaration.
ParseResult ParseBytes(const std::string& bytes);

/// Appends an attribute value escaped as the serialiser escapes it between double quotes.
void AppendEscapedAttribute(std::string& out, const char* value);
/// Appends text content escaped as the serialiser escapes it.
void AppendEscapedText(std::string& out, const char* text);

/// The node serialised as UTF-8 (a document: each top-level node followed by a line feed).
bool Serialize(xmlNodePtr node, std::string& utf8);
/// The document's bytes for a file, in the encoding its declaration names (see XMLParser.h).
bool SerializeForFile(xmlDocPtr doc, std::string& bytes);

} // namespace torvex::xmldetail

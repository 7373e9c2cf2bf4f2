#pragma once
// Internal to torvex/xml (not for other subsystems): the document holder behind XMLParser and
// XMLNode, and the tree primitives over libxml2 that keep the handle counts right.
//
// Ownership. A Document holds one libxml2 document and is counted by every XMLParser on it and
// every XMLNode on one of its nodes. Each node counts the handles on it directly in its
// `_private` field. A subtree taken out of the tree (or made and not yet put in) is a detached
// root; the Document keeps the roots with the number of handles inside each, and frees a root when
// that number drops to zero, or with the document. Nodes are linked and unlinked here by hand,
// never by the libxml2 calls that merge or free nodes on the way.
//
// Namespaces. A subtree that leaves its tree (or a copy) keeps its prefixes: a namespace it uses
// from a declaration outside of it is declared again on its root element (an attribute on its own
// points at a declaration the Document owns).
//
// Names. A parsed document keeps its names (and short texts) in its libxml2 dictionary, which
// lives as long as the document; detached subtrees keep their document, so they never outlive it.
// A subtree that moves to another document takes its strings along (see Rehome).

#include <libxml/globals.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"

namespace torvex {

namespace xmldetail {

struct Document {
    xmlDocPtr doc = nullptr;
    // XMLParser objects and XMLNode handles on this document or its nodes.
    size_t refs = 0;
    // XMLNode handles on nodes other than the document node, and on the document node.
    size_t nodeHandles = 0;
    size_t docHandles = 0;
    // Roots of detached subtrees and the number of handles inside each.
    std::unordered_map<xmlNodePtr, size_t> detached;
    // Namespace declarations kept for detached subtrees, by prefix and URI.
    std::map<std::pair<std::string, std::string>, xmlNsPtr> nsCopies;
    // One XPath context for all queries on this document, and the compiled expressions.
    xmlXPathContextPtr xpath = nullptr;
    std::unordered_map<std::string, xmlXPathCompExprPtr> compiled;
    // Edits of the tree (nodes added, moved or removed, attributes and texts set) so far, so that
    // an index kept beside the document can tell that it is out of date.
    uint64_t changes = 0;
    // What the watch of the last parse noted, good while `changes` stands at `watchedAt`.
    std::vector<xmlNodePtr> watched;
    bool hasWatched = false;
    uint64_t watchedAt = 0;
};

inline xmlNodePtr ToXml(Node* node) {
    return reinterpret_cast<xmlNodePtr>(node);
}
inline Node* FromXml(xmlNodePtr node) {
    return reinterpret_cast<Node*>(node);
}
inline Document* StateOf(xmlDocPtr doc) {
    return static_cast<Document*>(doc->_private);
}
/// The holder of the node's document (the node may be the document node).
Document* DocumentOf(xmlNodePtr node);

/// Counts an edit of the document that holds the node.
void Touch(xmlNodePtr node);

/// Starts libxml2 for the whole process, once, whichever thread comes first: its own start on
/// first use is not safe when two threads begin at once. Called before any document is made or
/// parsed. Never fails.
void InitLibrary();

/// A new holder with an empty document and no references; null when out of memory.
Document* NewDocument();
void AddRef(Document* d);
/// Frees the holder, its detached subtrees and its document with the last reference.
void Release(Document* d);

/// Handle counting for XMLNode.
void AcquireNode(xmlNodePtr node);
void ReleaseNode(xmlNodePtr node);

/// UTF-8 of wide text, for libxml2.
std::string Utf8(const wchar_t* text);
/// True when every character may stand in an XML document.
bool IsXmlText(const wchar_t* text);

/// DOM nodeName: qualified name of an element or attribute, "#text", "#document", a PI's target.
std::string NodeName(xmlNodePtr node);
/// True when the element's or attribute's qualified name is `qname`; allocates nothing.
bool QNameEquals(xmlNodePtr node, const char* qname);
/// True when the attribute's value is exactly `value` (UTF-8); allocates nothing.
bool AttrValueEquals(xmlAttrPtr attr, const char* value);
/// Attribute lookup by qualified name, no namespace declarations; null when absent.
xmlAttrPtr FindAttribute(xmlNodePtr element, const char* qname);
/// DOM nodeType (XMLNode::NodeType).
int NodeType(xmlNodePtr node);
/// True for a node kind that holds a value (text, CDATA, comment, PI, attribute).
bool HasValue(xmlNodePtr node);
/// True for a node kind that has a child list (element, attribute, document).
bool HasChildList(xmlNodePtr node);
/// True for the processing instruction that stands for the XML declaration.
bool IsDeclaration(xmlNodePtr node);
/// DOM text: the node's and its descendants' text and CDATA, joined.
std::string NodeText(xmlNodePtr node);
/// The document element, null when there is none.
xmlNodePtr DocumentElement(xmlDocPtr doc);

/// Attribute lookup by qualified name; namespace declarations count as attributes "xmlns" and
/// "xmlns:p". Ok with the value, False when absent, a failure for a node that is no element.
int32_t GetAttribute(xmlNodePtr element, const std::string& name, std::string& value);
/// The same for a wide name (not null) into wide text, `value` untouched unless Ok.
int32_t GetAttribute(xmlNodePtr element, const wchar_t* name, std::wstring& value);
/// Sets or replaces in place; fails for a non-element or an invalid name.
int32_t SetAttribute(xmlNodePtr element, const std::string& name, const std::string& value);
/// Removes; Ok also when absent; fails for a non-element or a namespace declaration.
int32_t RemoveAttribute(xmlNodePtr element, const std::string& name);
/// Names of namespace declarations and attributes.
std::vector<std::string> AttributeNames(xmlNodePtr element);

/// New detached nodes, registered as roots (to be wrapped in a handle at once).
int32_t CreateElement(Document* d, const std::string& name, xmlNodePtr& out);
int32_t CreateProcessingInstruction(Document* d, const std::string& target, const std::string& data,
                                    xmlNodePtr& out);
/// Checks the DOM's rules for putting `child` into `parent` before `ref` (null: at the end).
int32_t CheckInsert(xmlNodePtr parent, xmlNodePtr child, xmlNodePtr ref);
/// Moves `child` (from anywhere, also another document) before `ref` or to the end.
int32_t InsertNode(xmlNodePtr parent, xmlNodePtr child, xmlNodePtr ref);
/// Takes a node out of its parent; it stays alive as a detached root (the caller holds a handle).
int32_t RemoveNode(xmlNodePtr node);
/// DOM text write: replaces the children by one text node, or sets a value.
int32_t SetText(xmlNodePtr node, const std::string& text);
/// DOM nodeValue write.
int32_t SetValue(xmlNodePtr node, const std::string& value);
/// While alive, libxml2's messages on this thread go nowhere (the former handlers come back at the
/// end); libxml2 keeps its error handlers per thread, so other threads keep theirs meanwhile. The
/// layer never reports what was wrong with a document or an expression.
class QuietErrors {
public:
    QuietErrors();
    ~QuietErrors();
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;

private:
    xmlGenericErrorFunc generic_;
    void* genericContext_;
    xmlStructuredErrorFunc structured_;
    void* structuredContext_;
};

/// A detached copy in the same document (the document node: a new document).
int32_t CloneNode(xmlNodePtr node, bool deep, xmlNodePtr& out);

/// Replaces the document's content by the parsed document's (which is consumed; null empties
/// the document), without its blank text nodes. `declaration` is the data of the XML
/// declaration, if the text had one; `mayHoldBlankText` false spares the search for blank text.
void ReplaceContent(Document* d, xmlDocPtr parsed, const std::string* declaration,
                    bool mayHoldBlankText = true);
/// Indents the live tree with white-space text nodes for a formatted save.
void FormatTree(Document* d);
/// The data of the document's XML declaration, if it has one.
const xmlChar* DeclarationData(xmlDocPtr doc);

} // namespace xmldetail

/// Wraps raw nodes into handles and back; for torvex/xml only.
struct XMLNodeAccess {
    static XMLNode Make(xmlNodePtr node) { return XMLNode(xmldetail::FromXml(node)); }
    static xmlNodePtr Get(const XMLNode& handle) { return xmldetail::ToXml(handle.node_); }
};

} // namespace torvex

#pragma once
// A counted handle on one node of an XML document. Copies share the node; the handle keeps the
// node and its document alive, also a node that has been taken out of its tree (by
// RemoveThisNode, a replacing SetXml or an edit that replaces children) or never put into one
// (CloneNode, a created element). Such a detached node is freed when the last handle on it goes.
// A detached element or copy declares on itself the namespace prefixes it uses from outside.
//
// Failures: the layer nearly never reports an error. An empty handle, an absent attribute or a
// missing child answer false or an empty handle. Only GetProperty(name, long&) lets a ComError
// through. A document and all handles on it belong to one thread at a time.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "torvex/platform/WideString.h"

namespace torvex {

class XMLNodeArray;
class XMLParser;

namespace xmldetail {
// Opaque tag for the DOM node a handle refers to; only torvex/xml knows its layout.
struct Node;
} // namespace xmldetail

class XMLNode {
public:
    /// DOM node kinds answered by GetNodeType.
    enum NodeType {
        NodeNone = 0,
        NodeElement = 1,
        NodeAttribute = 2,
        NodeText = 3,
        NodeCData = 4,
        NodeProcessingInstruction = 7,
        NodeComment = 8,
        NodeDocument = 9,
        NodeDocumentFragment = 11
    };

    // ---- construction and identity ----------------------------------------------------------

    /// An empty node; never fails.
    XMLNode() noexcept = default;
    /// Shares the node; never fails.
    XMLNode(const XMLNode& other) noexcept;
    /// Takes the other's node, leaving it empty; never fails.
    XMLNode(XMLNode&& other) noexcept;
    /// Releases the reference; a detached node without other handles is freed.
    virtual ~XMLNode();
    /// Shares the node and releases the former one; never fails.
    XMLNode& operator=(const XMLNode& other) noexcept;
    /// Takes the other's node and releases the former one; never fails.
    XMLNode& operator=(XMLNode&& other) noexcept;

    /// True when the handle holds a node.
    bool IsNode() const noexcept { return node_ != nullptr; }
    /// A counted copy of the reference (empty for an empty node); never fails.
    XMLNode GetNode() const { return *this; }
    /// Replaces the reference by the other's node (empty allowed); never fails.
    void SetNode(const XMLNode& node) { *this = node; }
    /// Node identity: two empty handles are the same; an empty and a non-empty one are not.
    bool IsSameNode(const XMLNode& other) const noexcept { return node_ == other.node_; }
    /// The change count of the node's document (XMLParser::GetChangeCount): what was read from
    /// the node still holds while it stands. 0 for an empty node. Never fails.
    uint64_t GetDocumentChangeCount() const noexcept;
    /// The same for every handle on the node, and distinct between nodes; null for an empty
    /// handle. Lets a caller keep a set of nodes. Never fails.
    const void* GetIdentity() const noexcept { return node_; }
    /// The elements the watch of the last parse of the node's document noted, in document order
    /// (XMLParser::SetXml with a watch); `out` emptied first. False when the node is empty, that
    /// parse had no watch or could not keep it, or the document changed since.
    bool GetWatchedElements(XMLNodeArray& out) const;
    /// The DOM node kind (NodeType); NodeNone for an empty node.
    int GetNodeType() const;

    // ---- node properties (false for an empty node, output then untouched) -------------------

    /// Element or attribute name, "#text", "#comment", "#document", a PI's target; false only
    /// for an empty node.
    bool GetNodeName(WideString& out) const;
    /// The text of the node and all its descendants, joined; false only for an empty node.
    bool GetNodeText(WideString& out) const;
    /// The value of a text, CDATA, comment, PI or attribute node; false for an empty node and for
    /// a node without a value (an element, the document).
    bool GetNodeValue(WideString& out) const;
    /// As GetNodeValue, but `out` is emptied first, also for an empty node or a node without a
    /// value (the length-prefixed string form of the DOM layer).
    bool GetNodeValueOrEmpty(WideString& out) const;
    /// The node serialised with its subtree (a document: each top-level node followed by a line
    /// feed). `out` is emptied first, also for an empty node; false for an empty node.
    bool GetXml(WideString& out) const;
    /// Number of child nodes of every kind (elements, text, comments); 0 for an empty node.
    long GetChildCount() const;

    // ---- navigation -------------------------------------------------------------------------

    /// The parent (the document node for a document element); empty when there is none.
    XMLNode GetParentNode() const;
    /// First match in document order of the XPath expression `name` with this node as context;
    /// false and `out` unchanged for no match, an empty node, a null or rejected expression.
    bool GetChildNode(const wchar_t* name, XMLNode& out) const;
    /// The first child element called `name` whose attribute `attribute` is exactly `value`: what
    /// name[@attribute="value"] selects among the children, found without XPath. False and `out`
    /// unchanged for an empty node, a null argument or no match.
    bool FindChildElement(const wchar_t* name, const wchar_t* attribute, const wchar_t* value,
                          XMLNode& out) const;
    /// A child element with the value of its key attribute and its text (GetNodeText).
    struct KeyedChild {
        WideString key;
        WideString text;
    };
    /// Every child element that FindChildElement(name, attribute, value) could find, with its
    /// value, in document order: the first entry of a key is what that call finds for it.
    /// Plain names only (no prefix). False and `out` emptied for an empty node, a null or
    /// prefixed name. Never throws but for memory.
    bool CollectKeyedChildren(const wchar_t* name, const wchar_t* attribute,
                              std::vector<KeyedChild>& out) const;
    /// Direct children whose nodeName equals `name` exactly (no XPath); `out` emptied first; true
    /// even without a match; false for an empty node or a null name.
    bool GetChildNodes(const wchar_t* name, XMLNodeArray& out) const;
    /// What the path "parent/child" of two plain names selects, found without XPath: the child
    /// elements `child` of the child elements `parent`, both in no namespace, in document order.
    /// `out` emptied first; false for an empty node or a null name. A name with a prefix takes
    /// the path through XPath.
    bool SelectChildElements(const wchar_t* parent, const wchar_t* child, XMLNodeArray& out) const;
    /// All matches of the XPath expression `name` in document order; `out` emptied first; true
    /// even without a match; false for an empty node and a null or rejected expression, or one
    /// that yields no node-set. A match the array can't hold (a namespace node) stays empty.
    bool SelectChildNodes(const wchar_t* name, XMLNodeArray& out) const;
    /// Every child of every kind; `out` emptied first; false for an empty node.
    bool GetChildNodes(XMLNodeArray& out) const;
    /// Every child of every kind as a new array (a snapshot, not live); empty for an empty node.
    XMLNodeArray GetChildNodes() const;
    /// The first child: false for an empty node; a childless node answers true and empties `out`.
    bool GetFirstChildNode(XMLNode& out) const;
    /// The last child: false and `out` unchanged for an empty or a childless node.
    bool GetLastChildNode(XMLNode& out) const;
    /// `out` takes the next sibling (possibly empty); false for an empty node, else out.IsNode().
    bool GetNextSibling(XMLNode& out) const;
    /// The child at `idx`, counting children of every kind; false and `out` unchanged when `idx`
    /// is negative or not below the child count, or for an empty node.
    bool GetChildNodeByIdx(int idx, XMLNode& out) const;
    /// Names of all children ("#text" too); `out` emptied first; false for an empty node.
    bool GetChildNames(WideStringList& out) const;
    /// Names of the attributes (namespace declarations first, then the attributes in document
    /// order); `out` emptied first; false for an empty node or a node without attributes map
    /// (anything but an element).
    bool GetProperties(WideStringList& out) const;

    // ---- attribute reading: false for an absent attribute, an empty node, a non-element -----

    /// `out` emptied first; an attribute present with empty text answers true.
    bool GetProperty(const wchar_t* name, WideString& out) const;
    /// `out` set to 0 first; text that is no 32-bit decimal integer answers false (out stays 0).
    bool GetProperty(const wchar_t* name, int& out) const;
    /// `out` set to 0 first; text that is no 16-bit decimal integer answers false (out stays 0).
    bool GetProperty(const wchar_t* name, short& out) const;
    /// `out` left alone first; text that is no 32-bit decimal integer THROWS ComError
    /// (XmlStatus::TypeMismatch, or XmlStatus::Overflow when out of range).
    bool GetProperty(const wchar_t* name, long& out) const;
    /// `out` set to 0.0 first; the leading number of the text read independently of the locale
    /// (point as separator), 0.0 when none; true for every present attribute.
    bool GetProperty(const wchar_t* name, double& out) const;
    /// `out` set to false first; "true"/"false" in any case and numbers (0 is false) convert,
    /// any other text gives false; true for every present attribute.
    bool GetProperty(const wchar_t* name, bool& out) const;
    /// Absent: false and `out` untouched. Present: `out` = text equals "true" ignoring case
    /// (nothing trimmed); true.
    bool GetStrBoolProperty(const wchar_t* name, bool& out) const;

    // ---- adding elements (an empty handle as result means nothing was added or it failed) ---

    /// Appends an element `name` as last child, with `text` (null or "" adds none) and up to three
    /// attributes (a pair with a null half is skipped). Empty for an empty node, the document
    /// node, an invalid name or an invalid character; what was appended before a failure stays.
    XMLNode AddNode(const wchar_t* name, const wchar_t* text = nullptr,
                    const wchar_t* attr1 = nullptr, const wchar_t* value1 = nullptr,
                    const wchar_t* attr2 = nullptr, const wchar_t* value2 = nullptr,
                    const wchar_t* attr3 = nullptr, const wchar_t* value3 = nullptr);
    /// Inserts a new sibling before this node, built completely before insertion; empty for an
    /// empty node, a node without parent, or any failure (the tree then stays unchanged).
    XMLNode AddNodeBefore(const wchar_t* name, const wchar_t* text = nullptr,
                          const wchar_t* attr1 = nullptr, const wchar_t* value1 = nullptr,
                          const wchar_t* attr2 = nullptr, const wchar_t* value2 = nullptr);
    /// First match of the XPath `name`, else a new child element `name`; empty for an empty node,
    /// the document node, or a missing path that is no element name (nothing is created).
    XMLNode GetOrAddNode(const wchar_t* name);

    // ---- attributes: false for an empty node or a non-element -------------------------------

    /// Sets or replaces (in place) the attribute as decimal text.
    bool SetProperty(const wchar_t* name, int value);
    /// Sets or replaces the attribute as decimal text.
    bool SetProperty(const wchar_t* name, long value);
    /// Sets or replaces the attribute as "true" or "false".
    bool SetProperty(const wchar_t* name, bool value);
    /// Sets or replaces the attribute as "%.12f" text with a point, whatever the locale.
    bool SetProperty(const wchar_t* name, double value);
    /// Sets or replaces the attribute; a null value answers false and changes nothing; false also
    /// for an invalid attribute name or a character XML can't hold.
    bool SetProperty(const wchar_t* name, const wchar_t* value);
    /// As the const form (the text is copied).
    bool SetProperty(const wchar_t* name, wchar_t* value);
    /// As the pointer form.
    bool SetProperty(const wchar_t* name, const WideString& value);
    /// A null value: false, nothing changes.
    bool SetProperty(const wchar_t*, std::nullptr_t) { return false; }
    /// Writes "true" or "false"; fails as SetProperty.
    bool SetStrBoolProperty(const wchar_t* name, bool value);
    /// Removes the attribute; true also when absent; false for an empty node, a non-element, or
    /// a namespace declaration (which is never removed).
    bool RemoveProperty(const wchar_t* name);

    // ---- text and value ---------------------------------------------------------------------

    /// Replaces all children by one text node ("" leaves none); for a text, comment or attribute
    /// node sets its value. False for an empty node only; true otherwise, also when the DOM
    /// refused the text (the document node, a character XML can't hold).
    bool SetNodeText(const WideString& text);
    /// As SetNodeText(WideString), but true only when the text was written; null text is false.
    bool SetNodeText(const wchar_t* text);
    /// Sets the value of a text, CDATA, comment, PI or attribute node; false for an empty node,
    /// an element or the document (no value), a null text, a character XML can't hold.
    bool SetNodeValue(const WideString& value);
    /// As SetNodeValue(WideString).
    bool SetNodeValue(const wchar_t* value);

    // ---- removing ---------------------------------------------------------------------------

    /// Takes the node out of its parent; the handle keeps the detached node unless `clearHandle`.
    /// False for an empty node or a node without parent.
    bool RemoveThisNode(bool clearHandle);
    /// Removes the first match of the XPath `name`; true also when nothing matches; false for an
    /// empty node.
    bool RemoveChildNode(const wchar_t* name);

    // ---- copying and moving -----------------------------------------------------------------

    /// A detached copy (deep: with the subtree) in the same document; empty for an empty node or
    /// a failure (a tree too deep to copy). Copying the document node gives a new document.
    XMLNode CloneNode(bool deep) const;
    /// Appends `child` (moving it if it has a parent, also from another document); empty for an
    /// empty node or child, or an insertion the DOM refuses (a second document element, text or a
    /// misplaced declaration at document level, an ancestor into its descendant).
    XMLNode AppendChild(const XMLNode& child);
    /// Inserts `child` so that it stands at index `idx` (children of every kind counted); an index
    /// out of range appends. On success `child` is assigned the result. Empty on failure, `child`
    /// then unchanged.
    XMLNode InsertChild(XMLNode& child, int idx);
    /// Appends a copy of the element `source` (any document): name, attributes and, if `deep`,
    /// element children; text only when no child is an element. Empty for an empty node, a target
    /// without document, an empty source or one whose name starts with '#'.
    XMLNode ImportNode(const XMLNode& source, bool deep);

private:
    friend class XMLParser;
    friend struct XMLNodeAccess;
    explicit XMLNode(xmldetail::Node* node) noexcept; // takes a new counted reference

    xmldetail::Node* node_ = nullptr;
};

} // namespace torvex

// The array type that several XMLNode operations fill; included here so that one include serves.
#include "torvex/xml/XMLNodeArray.h"

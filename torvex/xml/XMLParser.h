#pragma once
// A counted handle on one XML document: it creates the document, parses text or a file into it,
// writes it out and hands out XMLNode handles into it. Copies share the document.
//
// Parsing: text is wide text; an encoding named in its declaration does not change how it is
// read. Text nodes that hold only white space are dropped. Nothing is validated, and nothing is
// fetched from the network or the file system for a document given as text. A document with a
// document type declaration (and so any entity definition) does not parse: the parse fails as
// for malformed text.
//
// The XML declaration is a processing instruction named "xml" that stands first in the document;
// there is at most one, and it is written back as it was read or made.
//
// XPath 1.0 runs with the node as context; the prefix `ms` is bound to
// "urn:schemas-microsoft-com:xslt", where the function ms:string-compare(a, b, language, options)
// answers 0 for equal strings, -1 or 1 otherwise (ordinal order), comparing without regard to case
// when the options hold 'i'; the language is ignored. Other prefixes are not bound. In trees
// deeper than about 10,000 levels (which no parsed document reaches: parsing stops at 256), the
// abbreviated `//` step may miss the deepest nodes; `descendant::` does not.
//
// Files: SaveXmlDocument writes UTF-16LE with a byte order mark when the declaration names
// UTF-16 (or UCS-2), UTF-8 without a mark when it names UTF-8 or there is no declaration, and
// any other encoding libxml knows by that encoding (characters it can't hold as references).
// LoadXmlDocument detects the encoding from a byte order mark or the declaration.

#include <cstdint>

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"

namespace torvex {

namespace xmldetail {
// Opaque document holder; only torvex/xml knows its layout.
struct Document;
} // namespace xmldetail

class XMLParser {
public:
    /// Creates an empty document; if that fails the parser stays documentless (no report).
    XMLParser();
    /// Creates a document and parses `text` into it; a malformed (or null) text leaves an empty
    /// document; never reports.
    explicit XMLParser(const wchar_t* text);
    /// Shares the document; never fails.
    XMLParser(const XMLParser& other) noexcept;
    /// Takes the other's document, leaving it documentless; never fails.
    XMLParser(XMLParser&& other) noexcept;
    /// Releases the reference; the document goes with the last handle on it or its nodes.
    virtual ~XMLParser();
    /// Shares the document, releasing the former one; never fails.
    XMLParser& operator=(const XMLParser& other) noexcept;
    /// Takes the other's document, releasing the former one; never fails.
    XMLParser& operator=(XMLParser&& other) noexcept;

    /// True when a document is held.
    bool HasDocument() const noexcept { return doc_ != nullptr; }
    /// A parser sharing this document (documentless when this one is).
    XMLParser GetDocument() const { return *this; }
    /// Takes the other's document; THROWS ComError (XmlStatus::Pointer) when it is documentless.
    void SetDocument(const XMLParser& document);

    /// Puts the declaration "version='1.0' encoding='<encoding>'" first; false when documentless,
    /// for an encoding name that is no valid encoding name, or when a declaration exists already.
    bool CreateXmlDocument(const wchar_t* encoding);
    /// Replaces the content by the file's; false when documentless or the file is missing (the
    /// document then unchanged), or the file does not parse (the document then empty).
    bool LoadXmlDocument(const wchar_t* path);
    /// Deletes the target, then writes the document there (null path: a "{GUID}.xml" in the
    /// temporary directory). `format` first indents the live tree. False when documentless or the
    /// write fails (the former file is gone all the same).
    bool SaveXmlDocument(const wchar_t* path, bool format) const;
    /// Replaces the content by the parsed text; false when documentless or the text is malformed
    /// (the former content is gone all the same; handles on it stay valid, detached).
    bool SetXml(const wchar_t* text);
    /// What a parse notes while it builds the tree, for a reader that would otherwise search
    /// the whole tree for a few elements: every element named `element` whose attribute
    /// `attribute` equals `value` ignoring ASCII case. Prefixes are not looked at and a value
    /// holding an entity reference counts as equal, so the notes may hold more than the exact
    /// matches, never fewer. Null names count as empty.
    struct ElementWatch {
        const wchar_t* element = nullptr;
        const wchar_t* attribute = nullptr;
        const wchar_t* value = nullptr;
    };
    /// SetXml that also notes the elements the watch asks for; XMLNode::GetWatchedElements
    /// gives them while the document stays unchanged. Fails as the other form.
    bool SetXml(const wchar_t* text, const ElementWatch& watch);
    /// The document serialised (each top-level node followed by a line feed); `out` emptied
    /// first; false when documentless.
    bool GetXml(WideString& out) const;

    /// The document element, else the document node; empty when documentless.
    XMLNode GetRootNode() const;
    /// `out` emptied, then the node of GetRootNode; false when documentless.
    bool GetNode(XMLNode& out) const;
    /// The first of the root node and its following siblings whose nodeName is `name` (null: the
    /// root node); `out` emptied first; false when none is.
    bool GetNode(const wchar_t* name, XMLNode& out) const;
    /// Appends an element to the root node (to the document when it has no document element),
    /// with text and two attribute pairs as XMLNode::AddNode. Empty when documentless or when
    /// the element could not be made or appended; after a failing attribute the appended element.
    XMLNode AddNode(const wchar_t* name, const wchar_t* text = nullptr,
                    const wchar_t* attr1 = nullptr, const wchar_t* value1 = nullptr,
                    const wchar_t* attr2 = nullptr, const wchar_t* value2 = nullptr);
    /// All elements named `tag` ("*": all) in document order, as a snapshot (the array is not
    /// live); `out` emptied first; false when documentless or `tag` is null.
    bool GetNodesByTag(const wchar_t* tag, XMLNodeArray& out) const;
    /// Removes every element named `tag` (the matches are gathered first, so all of them go);
    /// nothing happens when documentless or `tag` is null.
    void RemoveNodesByTag(const wchar_t* tag);
    /// Number of child nodes (every kind) of the document element; 0 when documentless or there
    /// is no document element.
    long GetNodesCount() const;
    /// How many edits the document has had through any handle: nodes added, moved or removed,
    /// attributes and texts set, the text replaced. It only grows, so an index kept beside the
    /// document knows it is out of date when the count moved. 0 when documentless.
    uint64_t GetChangeCount() const noexcept;

private:
    xmldetail::Document* doc_ = nullptr;
};

} // namespace torvex

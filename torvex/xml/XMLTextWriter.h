#pragma once
// Writes XML text piece by piece, each piece exactly as XMLNode::GetXml serialises it: so a copy
// of a tree with a few texts changed and a few elements added can be written straight from the
// tree, without making the copy and editing it first.

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"

#include <cstddef>
#include <string>

namespace torvex {

class XMLTextWriter {
public:
    /// Whether the tree under `node` (itself included) can be written in pieces exactly as
    /// GetXml writes it whole: no element or attribute in a namespace, no namespace declared,
    /// every attribute value plain text. False for an empty node.
    static bool CanWritePieces(const XMLNode& node);
    /// Whether every character of `text` (up to its first null) may stand in a document: what
    /// XMLNode::SetNodeText and XMLNode::AddNode accept as a text.
    static bool IsXmlText(const WideString& text);

    /// Appends the node as GetXml serialises it. False, appending nothing, for an empty node or
    /// a failed serialisation.
    bool WriteNode(const XMLNode& node);
    /// Appends the start tag of an element, its name and attributes as GetXml writes them.
    /// False, appending nothing, for a node that is no element.
    bool WriteStartTag(const XMLNode& element);
    /// Appends the end tag of an element; with `empty`, turns the start tag written last into
    /// the tag of an element without children instead. Never fails.
    void WriteEndTag(const XMLNode& element, bool empty);
    /// Appends an element that holds `text` only, written from a start tag of `element`: what
    /// GetXml gives for the element once SetNodeText(text) has replaced its children. False,
    /// appending nothing, for a node that is no element.
    bool WriteElementWithText(const XMLNode& element, const WideString& text);
    /// Appends the element that AddNode(name, text, attribute, value) would append, as GetXml
    /// writes it, with AddNode's partial result where it fails: a text that can't stand in a
    /// document leaves an element without text and attribute, an attribute that can't leaves it
    /// without the attribute. False, appending nothing, for an attribute that would declare a
    /// namespace (write that element otherwise).
    bool WriteNewElement(const wchar_t* name, const WideString& text, const wchar_t* attribute,
                         const wchar_t* value);
    /// Appends markup as it stands (a declaration, a line feed). Never fails.
    void WriteMarkup(const wchar_t* markup);

    /// The text written so far, as wide characters; the writer is empty afterwards.
    void TakeText(WideString& out);

private:
    void WriteEscapedText(const wchar_t* text);
    void WriteEscapedAttribute(const wchar_t* text);

    std::string m_utf8; // what is written, in UTF-8 as the serialiser makes it
};

} // namespace torvex

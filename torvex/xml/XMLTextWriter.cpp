#include "torvex/xml/XMLTextWriter.h"

#include "torvex/platform/Utf16.h"
#include "torvex/xml/XmlDom.h"
#include "torvex/xml/XmlIo.h"

#include <vector>

namespace torvex {

using xmldetail::AppendEscapedAttribute;
using xmldetail::AppendEscapedText;

namespace {

const char* C(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

// The qualified name of an element or attribute, as the serialiser writes it.
void AppendQualifiedName(std::string& out, xmlNsPtr ns, const xmlChar* name) {
    if (ns != nullptr && ns->prefix != nullptr) {
        out += C(ns->prefix);
        out += ':';
    }
    if (name != nullptr)
        out += C(name);
}

// A namespace URI in quotes: double quotes unless it holds one, then single quotes unless it
// holds both, then double quotes with each double quote as a reference.
void AppendQuoted(std::string& out, const char* text) {
    const std::string value = text;
    if (value.find('"') == std::string::npos) {
        out += '"' + value + '"';
    } else if (value.find('\'') == std::string::npos) {
        out += '\'' + value + '\'';
    } else {
        out += '"';
        for (char c : value) {
            if (c == '"')
                out += "&quot;";
            else
                out += c;
        }
        out += '"';
    }
}

void AppendStartTag(std::string& out, xmlNodePtr element) {
    out += '<';
    AppendQualifiedName(out, element->ns, element->name);
    for (xmlNsPtr ns = element->nsDef; ns != nullptr; ns = ns->next) {
        if (ns->type != XML_LOCAL_NAMESPACE || ns->href == nullptr ||
            (ns->prefix != nullptr && xmlStrEqual(ns->prefix, BAD_CAST "xml")))
            continue;
        out += " xmlns";
        if (ns->prefix != nullptr) {
            out += ':';
            out += C(ns->prefix);
        }
        out += '=';
        AppendQuoted(out, C(ns->href));
    }
    for (xmlAttrPtr attr = element->properties; attr != nullptr; attr = attr->next) {
        out += ' ';
        AppendQualifiedName(out, attr->ns, attr->name);
        out += "=\"";
        for (xmlNodePtr child = attr->children; child != nullptr; child = child->next) {
            if (child->type == XML_TEXT_NODE && child->content != nullptr) {
                AppendEscapedAttribute(out, C(child->content));
            } else if (child->type == XML_ENTITY_REF_NODE) {
                out += '&';
                out += C(child->name);
                out += ';';
            }
        }
        out += '"';
    }
    out += '>';
}

} // namespace

bool XMLTextWriter::CanWritePieces(const XMLNode& node) {
    xmlNodePtr root = XMLNodeAccess::Get(node);
    if (root == nullptr)
        return false;
    // An explicit stack: the tree may be as deep as a document allows.
    std::vector<xmlNodePtr> pending{root};
    while (!pending.empty()) {
        xmlNodePtr at = pending.back();
        pending.pop_back();
        if (at->type == XML_ENTITY_REF_NODE)
            return false;
        if (at->type != XML_ELEMENT_NODE)
            continue;
        if (at->ns != nullptr || at->nsDef != nullptr)
            return false;
        for (xmlAttrPtr attr = at->properties; attr != nullptr; attr = attr->next) {
            if (attr->ns != nullptr)
                return false;
            for (xmlNodePtr child = attr->children; child != nullptr; child = child->next)
                if (child->type != XML_TEXT_NODE)
                    return false;
        }
        for (xmlNodePtr child = at->children; child != nullptr; child = child->next)
            pending.push_back(child);
    }
    return true;
}

bool XMLTextWriter::IsXmlText(const WideString& text) {
    return xmldetail::IsXmlText(text.c_str());
}

bool XMLTextWriter::WriteNode(const XMLNode& node) {
    xmlNodePtr raw = XMLNodeAccess::Get(node);
    if (raw == nullptr)
        return false;
    // Plain text, the most common piece between elements, needs no serialiser of its own.
    if (raw->type == XML_TEXT_NODE && !xmlStrEqual(raw->name, BAD_CAST "textnoenc")) {
        if (raw->content != nullptr)
            AppendEscapedText(m_utf8, C(raw->content));
        return true;
    }
    std::string piece;
    if (!xmldetail::Serialize(raw, piece))
        return false;
    m_utf8 += piece;
    return true;
}

bool XMLTextWriter::WriteStartTag(const XMLNode& element) {
    xmlNodePtr raw = XMLNodeAccess::Get(element);
    if (raw == nullptr || raw->type != XML_ELEMENT_NODE)
        return false;
    AppendStartTag(m_utf8, raw);
    return true;
}

void XMLTextWriter::WriteEndTag(const XMLNode& element, bool empty) {
    if (empty && !m_utf8.empty() && m_utf8.back() == '>') {
        m_utf8.back() = '/';
        m_utf8 += '>';
        return;
    }
    xmlNodePtr raw = XMLNodeAccess::Get(element);
    if (raw == nullptr || raw->type != XML_ELEMENT_NODE)
        return;
    m_utf8 += "</";
    AppendQualifiedName(m_utf8, raw->ns, raw->name);
    m_utf8 += '>';
}

bool XMLTextWriter::WriteElementWithText(const XMLNode& element, const WideString& text) {
    if (!WriteStartTag(element))
        return false;
    const bool empty = text.c_str()[0] == 0;
    if (!empty)
        WriteEscapedText(text.c_str());
    WriteEndTag(element, empty);
    return true;
}

bool XMLTextWriter::WriteNewElement(const wchar_t* name, const WideString& text,
                                    const wchar_t* attribute, const wchar_t* value) {
    const std::string attributeName = xmldetail::Utf8(attribute);
    if (attributeName == "xmlns" || attributeName.rfind("xmlns:", 0) == 0)
        return false;
    // AddNode makes the element (a name the document can't hold: nothing), appends it, then
    // gives it its text and its attribute, stopping at the first that fails.
    const std::string elementName = xmldetail::Utf8(name);
    if (name == nullptr || !xmldetail::IsXmlText(name) || elementName.empty() ||
        xmlValidateName(BAD_CAST elementName.c_str(), 0) != 0)
        return true;
    m_utf8 += '<';
    m_utf8 += elementName;
    const bool hasText = text.c_str()[0] != 0;
    const bool textFits = !hasText || xmldetail::IsXmlText(text.c_str());
    if (textFits && attribute != nullptr && value != nullptr && xmldetail::IsXmlText(attribute) &&
        xmldetail::IsXmlText(value) && !attributeName.empty() &&
        xmlValidateName(BAD_CAST attributeName.c_str(), 0) == 0) {
        m_utf8 += ' ';
        m_utf8 += attributeName;
        m_utf8 += "=\"";
        WriteEscapedAttribute(value);
        m_utf8 += '"';
    }
    if (hasText && textFits) {
        m_utf8 += '>';
        WriteEscapedText(text.c_str());
        m_utf8 += "</";
        m_utf8 += elementName;
        m_utf8 += '>';
    } else {
        m_utf8 += "/>";
    }
    return true;
}

void XMLTextWriter::WriteMarkup(const wchar_t* markup) {
    if (markup != nullptr)
        m_utf8 += xmldetail::Utf8(markup);
}

void XMLTextWriter::TakeText(WideString& out) {
    out = platform::FromUtf8(m_utf8);
    m_utf8.clear();
    m_utf8.shrink_to_fit();
}

void XMLTextWriter::WriteEscapedText(const wchar_t* text) {
    AppendEscapedText(m_utf8, xmldetail::Utf8(text).c_str());
}

void XMLTextWriter::WriteEscapedAttribute(const wchar_t* text) {
    AppendEscapedAttribute(m_utf8, xmldetail::Utf8(text).c_str());
}

} // namespace torvex

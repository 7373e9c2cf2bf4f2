#include "torvex/xml/XmlDom.h"

#include <libxml/parserInternals.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>
#include <unordered_set>

#include "torvex/platform/Utf16.h"
#include "torvex/xml/ComError.h"

namespace torvex::xmldetail {

namespace {

const xmlChar* X(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}
const char* C(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

// Handles on a node, kept in its `_private` field (unused by libxml2 itself).
size_t Count(xmlNodePtr node) {
    return reinterpret_cast<uintptr_t>(node->_private);
}
void SetCount(xmlNodePtr node, size_t count) {
    node->_private = reinterpret_cast<void*>(static_cast<uintptr_t>(count));
}

xmlNodePtr Top(xmlNodePtr node) {
    while (node->parent != nullptr) {
        node = node->parent;
    }
    return node;
}

bool IsLive(xmlNodePtr top) {
    return top->type == XML_DOCUMENT_NODE;
}

void FreeTree(xmlNodePtr root) {
    if (root->type == XML_ATTRIBUTE_NODE) {
        xmlFreeProp(reinterpret_cast<xmlAttrPtr>(root));
    } else {
        xmlFreeNode(root);
    }
}

// Visits the node, its attributes with their text and all its descendants, in document order,
// without recursion. The visitor must not change the tree.
template <class Visit> void ForEachNode(xmlNodePtr root, Visit&& visit) {
    auto visitOne = [&](xmlNodePtr node) {
        visit(node);
        if (node->type == XML_ELEMENT_NODE) {
            for (xmlAttrPtr attr = node->properties; attr != nullptr; attr = attr->next) {
                visit(reinterpret_cast<xmlNodePtr>(attr));
                for (xmlNodePtr text = attr->children; text != nullptr; text = text->next) {
                    visit(text);
                }
            }
        }
    };
    if (root->type == XML_ATTRIBUTE_NODE) {
        visit(root);
        for (xmlNodePtr text = root->children; text != nullptr; text = text->next) {
            visit(text);
        }
        return;
    }
    xmlNodePtr cur = root;
    for (;;) {
        visitOne(cur);
        if (HasChildList(cur) && cur->children != nullptr) {
            cur = cur->children;
            continue;
        }
        while (cur != root && cur->next == nullptr) {
            cur = cur->parent;
        }
        if (cur == root) {
            return;
        }
        cur = cur->next;
    }
}

size_t HandleCount(xmlNodePtr root) {
    size_t total = 0;
    ForEachNode(root, [&](xmlNodePtr node) { total += Count(node); });
    return total;
}

xmlNsPtr* NsField(xmlNodePtr node) {
    if (node->type == XML_ELEMENT_NODE) {
        return &node->ns;
    }
    if (node->type == XML_ATTRIBUTE_NODE) {
        return &reinterpret_cast<xmlAttrPtr>(node)->ns;
    }
    return nullptr;
}

// A declaration for a namespace reference that leaves the subtree where it was declared: the
// XML namespace of the document; else a declaration on the subtree's root element, which keeps
// the subtree self-contained when it is written out; else (an attribute on its own, or a root
// that binds the prefix otherwise) a copy kept by the holder.
xmlNsPtr Redeclare(Document* d, xmlNodePtr root, xmlNsPtr ns) {
    std::string prefix = ns->prefix != nullptr ? C(ns->prefix) : "";
    std::string href = ns->href != nullptr ? C(ns->href) : "";
    if (prefix == "xml") {
        return xmlSearchNs(d->doc, reinterpret_cast<xmlNodePtr>(d->doc), X("xml"));
    }
    if (root->type == XML_ELEMENT_NODE) {
        xmlNsPtr onRoot = nullptr;
        for (xmlNsPtr def = root->nsDef; def != nullptr; def = def->next) {
            if (prefix == (def->prefix != nullptr ? C(def->prefix) : "")) {
                onRoot = def;
            }
        }
        if (onRoot == nullptr) {
            onRoot = xmlNewNs(root, ns->href, ns->prefix);
        }
        if (onRoot != nullptr && href == C(onRoot->href)) {
            return onRoot;
        }
    }
    auto key = std::make_pair(prefix, href);
    auto it = d->nsCopies.find(key);
    if (it != d->nsCopies.end()) {
        return it->second;
    }
    xmlNsPtr copy = xmlNewNs(nullptr, ns->href, ns->prefix);
    if (copy != nullptr) {
        d->nsCopies.emplace(key, copy);
    }
    return copy;
}

// A string of the node's former document's dictionary, made the new document's: interned
// there, or a copy of its own when the new document has no dictionary. Anything else (a copy the
// node owns, or one of libxml2's static names) stays.
void MoveString(const xmlChar*& text, xmlDictPtr from, xmlDictPtr to) {
    if (text == nullptr || from == nullptr || xmlDictOwns(from, text) != 1) {
        return;
    }
    const xmlChar* moved = to != nullptr ? xmlDictLookup(to, text, -1) : nullptr;
    if (moved == nullptr) {
        moved = xmlStrdup(text); // a node may own its strings in any document
    }
    if (moved == nullptr) {
        throw std::bad_alloc(); // as the standard containers of the move do
    }
    text = moved;
}

// Makes the node's strings independent of the dictionary of the document it leaves.
void MoveStrings(xmlNodePtr node, xmlDictPtr from, xmlDictPtr to) {
    MoveString(node->name, from, to);
    switch (node->type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE: {
        // The content field is not const in libxml2, but it is written only through here.
        const xmlChar* content = node->content;
        MoveString(content, from, to);
        node->content = const_cast<xmlChar*>(content);
        break;
    }
    default:
        break; // attributes have no content field; element content stays null
    }
}

// Makes the subtree belong to the holder's document and gives every namespace reference that
// is not declared inside the subtree a declaration that lives as long as the subtree.
void Rehome(Document* d, xmlNodePtr root, bool setDoc) {
    std::unordered_set<xmlNsPtr> inside;
    std::vector<xmlNodePtr> users;
    ForEachNode(root, [&](xmlNodePtr node) {
        if (setDoc) {
            xmlDictPtr from = node->doc != nullptr ? node->doc->dict : nullptr;
            if (from != d->doc->dict) {
                MoveStrings(node, from, d->doc->dict);
            }
            node->doc = d->doc;
        }
        if (node->type == XML_ELEMENT_NODE) {
            for (xmlNsPtr ns = node->nsDef; ns != nullptr; ns = ns->next) {
                inside.insert(ns);
            }
        }
        xmlNsPtr* field = NsField(node);
        if (field != nullptr && *field != nullptr) {
            users.push_back(node);
        }
    });
    std::unordered_map<xmlNsPtr, xmlNsPtr> replaced;
    for (xmlNodePtr node : users) {
        xmlNsPtr* field = NsField(node);
        if (inside.count(*field) != 0) {
            continue;
        }
        auto it = replaced.find(*field);
        if (it == replaced.end()) {
            it = replaced.emplace(*field, Redeclare(d, root, *field)).first;
        }
        *field = it->second;
    }
}

void Destroy(Document* d) {
    for (auto& entry : d->detached) {
        FreeTree(entry.first);
    }
    d->detached.clear();
    for (auto& entry : d->compiled) {
        xmlXPathFreeCompExpr(entry.second);
    }
    if (d->xpath != nullptr) {
        xmlXPathFreeContext(d->xpath);
    }
    if (d->doc != nullptr) {
        d->doc->_private = nullptr;
        xmlFreeDoc(d->doc);
    }
    for (auto& entry : d->nsCopies) {
        xmlFreeNs(entry.second);
    }
    delete d;
}

// Takes the node out of its parent. A subtree that still has handles (or that the caller wants
// to keep) becomes a detached root; anything else is freed at once.
void Detach(Document* d, xmlNodePtr node, bool keep) {
    xmlNodePtr parent = node->parent;
    if (parent == nullptr) {
        if (keep) {
            d->detached.try_emplace(node, 0);
        }
        return;
    }
    size_t handles = d->nodeHandles != 0 ? HandleCount(node) : 0;
    xmlNodePtr top = d->detached.empty() ? nullptr : Top(parent);
    xmlUnlinkNode(node);
    if (handles != 0 || keep) {
        Rehome(d, node, false);
        d->detached[node] += handles;
    }
    if (top != nullptr && !IsLive(top) && handles != 0) {
        auto it = d->detached.find(top);
        if (it != d->detached.end()) {
            it->second -= handles;
            if (it->second == 0) {
                d->detached.erase(it);
                FreeTree(top);
            }
        }
    }
    if (handles == 0 && !keep) {
        FreeTree(node);
    }
}

// Links a parentless node before `ref` (null: at the end) without merging text nodes.
void Link(xmlNodePtr parent, xmlNodePtr node, xmlNodePtr ref) {
    node->parent = parent;
    if (ref != nullptr) {
        node->next = ref;
        node->prev = ref->prev;
        if (ref->prev != nullptr) {
            ref->prev->next = node;
        } else {
            parent->children = node;
        }
        ref->prev = node;
    } else {
        node->next = nullptr;
        node->prev = parent->last;
        if (parent->last != nullptr) {
            parent->last->next = node;
        } else {
            parent->children = node;
        }
        parent->last = node;
    }
}

bool IsBlank(const xmlChar* text) {
    if (text == nullptr) {
        return true;
    }
    for (; *text != 0; ++text) {
        if (*text != ' ' && *text != '\t' && *text != '\n' && *text != '\r') {
            return false;
        }
    }
    return true;
}

// Drops the text nodes of elements that hold only white space.
void StripBlankText(xmlNodePtr root) {
    std::vector<xmlNodePtr> blanks;
    ForEachNode(root, [&](xmlNodePtr node) {
        if (node->type == XML_TEXT_NODE && node->parent != nullptr &&
            node->parent->type == XML_ELEMENT_NODE && IsBlank(node->content)) {
            blanks.push_back(node);
        }
    });
    for (xmlNodePtr node : blanks) {
        xmlUnlinkNode(node);
        xmlFreeNode(node);
    }
}

// Replaces the children of an element or attribute by one text node (none for empty text).
int32_t ReplaceChildrenByText(xmlNodePtr node, const std::string& text) {
    Document* d = DocumentOf(node);
    xmlNodePtr fresh = nullptr;
    if (!text.empty()) {
        fresh = xmlNewDocTextLen(node->doc, X(text.c_str()), static_cast<int>(text.size()));
        if (fresh == nullptr) {
            return XmlStatus::OutOfMemory;
        }
    }
    while (node->children != nullptr) {
        Detach(d, node->children, false);
    }
    if (fresh != nullptr) {
        Link(node, fresh, nullptr);
    }
    return XmlStatus::Ok;
}

bool IsAsciiSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Checks the data of an XML declaration: version, then optional encoding and standalone.
bool IsDeclarationData(const std::string& data) {
    size_t pos = 0;
    auto skipSpace = [&]() {
        size_t start = pos;
        while (pos < data.size() && IsAsciiSpace(data[pos])) {
            ++pos;
        }
        return pos > start;
    };
    auto pseudo = [&](const char* name, std::string& value) {
        size_t len = std::strlen(name);
        if (data.compare(pos, len, name) != 0) {
            return false;
        }
        pos += len;
        skipSpace();
        if (pos >= data.size() || data[pos] != '=') {
            return false;
        }
        ++pos;
        skipSpace();
        if (pos >= data.size() || (data[pos] != '"' && data[pos] != '\'')) {
            return false;
        }
        char quote = data[pos++];
        size_t end = data.find(quote, pos);
        if (end == std::string::npos) {
            return false;
        }
        value = data.substr(pos, end - pos);
        pos = end + 1;
        return true;
    };
    auto isAlpha = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    skipSpace();
    std::string value;
    if (!pseudo("version", value) || value.size() < 3 || value.compare(0, 2, "1.") != 0) {
        return false;
    }
    for (size_t i = 2; i < value.size(); ++i) {
        if (!isDigit(value[i])) {
            return false;
        }
    }
    bool spaced = skipSpace();
    if (spaced && data.compare(pos, 8, "encoding") == 0) {
        if (!pseudo("encoding", value) || value.empty() || !isAlpha(value[0])) {
            return false;
        }
        for (char c : value) {
            if (!isAlpha(c) && !isDigit(c) && c != '.' && c != '_' && c != '-') {
                return false;
            }
        }
        spaced = skipSpace();
    }
    if (spaced && data.compare(pos, 10, "standalone") == 0) {
        if (!pseudo("standalone", value) || (value != "yes" && value != "no")) {
            return false;
        }
        skipSpace();
    }
    return pos == data.size();
}

int32_t CheckPIData(const xmlChar* target, const std::string& data) {
    if (std::strcmp(C(target), "xml") == 0) {
        return IsDeclarationData(data) ? XmlStatus::Ok : XmlStatus::Fail;
    }
    return data.find("?>") == std::string::npos ? XmlStatus::Ok : XmlStatus::Fail;
}

xmlNodePtr CopyNodes(Document* d, xmlNodePtr source, bool deep);

// Copies a subtree into the holder's document without recursion. Namespace references inside
// the subtree follow the copied declarations; the others are declared again (see Rehome).
xmlNodePtr CopyTree(Document* d, xmlNodePtr source, bool deep) {
    xmlNodePtr root = CopyNodes(d, source, deep);
    if (root != nullptr) {
        Rehome(d, root, false);
    }
    return root;
}

// The copy itself; references to declarations outside the source stay as they are.
xmlNodePtr CopyNodes(Document* d, xmlNodePtr source, bool deep) {
    std::unordered_map<xmlNsPtr, xmlNsPtr> nsMap;
    xmlDocPtr doc = d->doc;
    auto mapNs = [&](xmlNsPtr ns) -> xmlNsPtr {
        if (ns == nullptr) {
            return nullptr;
        }
        auto it = nsMap.find(ns);
        return it != nsMap.end() ? it->second : ns;
    };
    auto copyText = [&](xmlNodePtr parent, const xmlChar* text) {
        xmlNodePtr node = xmlNewDocText(doc, text);
        if (node != nullptr) {
            Link(parent, node, nullptr);
        }
        return node != nullptr;
    };
    auto copyAttr = [&](xmlAttrPtr attr) -> xmlAttrPtr {
        xmlAttrPtr copy = xmlNewDocProp(doc, attr->name, nullptr);
        if (copy == nullptr) {
            return nullptr;
        }
        copy->ns = mapNs(attr->ns);
        for (xmlNodePtr text = attr->children; text != nullptr; text = text->next) {
            if (text->type == XML_TEXT_NODE &&
                !copyText(reinterpret_cast<xmlNodePtr>(copy), text->content)) {
                xmlFreeProp(copy);
                return nullptr;
            }
        }
        return copy;
    };
    auto copyOne = [&](xmlNodePtr node) -> xmlNodePtr {
        switch (node->type) {
        case XML_ELEMENT_NODE: {
            xmlNodePtr copy = xmlNewDocNode(doc, nullptr, node->name, nullptr);
            if (copy == nullptr) {
                return nullptr;
            }
            for (xmlNsPtr ns = node->nsDef; ns != nullptr; ns = ns->next) {
                xmlNsPtr nsCopy = xmlNewNs(copy, ns->href, ns->prefix);
                if (nsCopy != nullptr) {
                    nsMap[ns] = nsCopy;
                }
            }
            copy->ns = mapNs(node->ns);
            xmlAttrPtr last = nullptr;
            for (xmlAttrPtr attr = node->properties; attr != nullptr; attr = attr->next) {
                xmlAttrPtr attrCopy = copyAttr(attr);
                if (attrCopy == nullptr) {
                    xmlFreeNode(copy);
                    return nullptr;
                }
                attrCopy->parent = copy;
                if (last == nullptr) {
                    copy->properties = attrCopy;
                } else {
                    last->next = attrCopy;
                    attrCopy->prev = last;
                }
                last = attrCopy;
            }
            return copy;
        }
        case XML_TEXT_NODE:
            return xmlNewDocText(doc, node->content);
        case XML_CDATA_SECTION_NODE:
            return xmlNewCDataBlock(doc, node->content,
                                    node->content != nullptr ? xmlStrlen(node->content) : 0);
        case XML_COMMENT_NODE:
            return xmlNewDocComment(doc, node->content);
        case XML_PI_NODE:
            return xmlNewDocPI(doc, node->name, node->content);
        case XML_ATTRIBUTE_NODE:
            return reinterpret_cast<xmlNodePtr>(copyAttr(reinterpret_cast<xmlAttrPtr>(node)));
        default:
            return nullptr;
        }
    };

    xmlNodePtr root = copyOne(source);
    if (root == nullptr || !deep || source->type != XML_ELEMENT_NODE) {
        return root;
    }
    // Walk the source; `copyParent` follows along in the copy.
    xmlNodePtr cur = source->children;
    xmlNodePtr copyParent = root;
    while (cur != nullptr) {
        xmlNodePtr copy = copyOne(cur);
        if (copy == nullptr) {
            xmlFreeNode(root);
            return nullptr;
        }
        Link(copyParent, copy, nullptr);
        if (cur->type == XML_ELEMENT_NODE && cur->children != nullptr) {
            cur = cur->children;
            copyParent = copy;
            continue;
        }
        while (cur != source && cur->next == nullptr) {
            cur = cur->parent;
            copyParent = copyParent->parent;
        }
        if (cur == source) {
            break;
        }
        cur = cur->next;
    }
    return root;
}

} // namespace

// ---- holder and handle counting --------------------------------------------------------------

Document* DocumentOf(xmlNodePtr node) {
    if (node->type == XML_DOCUMENT_NODE) {
        return StateOf(reinterpret_cast<xmlDocPtr>(node));
    }
    return StateOf(node->doc);
}

void Touch(xmlNodePtr node) {
    if (node == nullptr)
        return;
    if (Document* d = DocumentOf(node))
        ++d->changes;
}

namespace {

Document* AdoptDocument(xmlDocPtr doc) {
    auto* d = new Document;
    d->doc = doc;
    if (doc->encoding == nullptr) {
        // Content is UTF-8 inside; a named encoding also keeps the serialiser from turning
        // non-ASCII characters of attribute values into character references.
        doc->encoding = xmlStrdup(X("UTF-8"));
    }
    doc->_private = d;
    return d;
}

} // namespace

void InitLibrary() {
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
}

Document* NewDocument() {
    InitLibrary();
    xmlDocPtr doc = xmlNewDoc(X("1.0"));
    if (doc == nullptr) {
        return nullptr;
    }
    return AdoptDocument(doc);
}

void AddRef(Document* d) {
    ++d->refs;
}

void Release(Document* d) {
    if (--d->refs == 0) {
        Destroy(d);
    }
}

void AcquireNode(xmlNodePtr node) {
    Document* d = DocumentOf(node);
    ++d->refs;
    if (node->type == XML_DOCUMENT_NODE) {
        ++d->docHandles;
        return;
    }
    ++d->nodeHandles;
    SetCount(node, Count(node) + 1);
    if (!d->detached.empty()) {
        xmlNodePtr top = Top(node);
        if (!IsLive(top)) {
            auto it = d->detached.find(top);
            if (it != d->detached.end()) {
                ++it->second;
            }
        }
    }
}

void ReleaseNode(xmlNodePtr node) {
    Document* d = DocumentOf(node);
    if (node->type == XML_DOCUMENT_NODE) {
        --d->docHandles;
        Release(d);
        return;
    }
    --d->nodeHandles;
    SetCount(node, Count(node) - 1);
    if (!d->detached.empty()) {
        xmlNodePtr top = Top(node);
        if (!IsLive(top)) {
            auto it = d->detached.find(top);
            if (it != d->detached.end() && --it->second == 0) {
                d->detached.erase(it);
                FreeTree(top);
            }
        }
    }
    Release(d);
}

namespace {
void IgnoreMessage(void*, const char*, ...) {}
} // namespace

QuietErrors::QuietErrors()
    : generic_(xmlGenericError), genericContext_(xmlGenericErrorContext),
      structured_(xmlStructuredError), structuredContext_(xmlStructuredErrorContext) {
    xmlSetGenericErrorFunc(nullptr, IgnoreMessage);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
}

QuietErrors::~QuietErrors() {
    xmlSetGenericErrorFunc(genericContext_, generic_);
    xmlSetStructuredErrorFunc(structuredContext_, structured_);
}

// ---- text helpers ----------------------------------------------------------------------------

std::string Utf8(const wchar_t* text) {
    return text == nullptr ? std::string() : platform::ToUtf8(text);
}

bool IsXmlText(const wchar_t* text) {
    if (text == nullptr) {
        return true;
    }
    for (; *text != 0; ++text) {
        auto c = static_cast<uint32_t>(*text);
        if ((c < 0x20 && c != 0x9 && c != 0xA && c != 0xD) || c == 0xFFFE || c == 0xFFFF) {
            return false;
        }
    }
    return true;
}

// ---- node properties -------------------------------------------------------------------------

std::string NodeName(xmlNodePtr node) {
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE: {
        xmlNsPtr ns = *NsField(node);
        std::string name = node->name != nullptr ? C(node->name) : "";
        if (ns != nullptr && ns->prefix != nullptr) {
            return std::string(C(ns->prefix)) + ":" + name;
        }
        return name;
    }
    case XML_TEXT_NODE:
        return "#text";
    case XML_CDATA_SECTION_NODE:
        return "#cdata-section";
    case XML_COMMENT_NODE:
        return "#comment";
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE:
        return "#document";
    case XML_DOCUMENT_FRAG_NODE:
        return "#document-fragment";
    default:
        return node->name != nullptr ? C(node->name) : "";
    }
}

bool QNameEquals(xmlNodePtr node, const char* qname) {
    if (node->name == nullptr) {
        return *qname == '\0';
    }
    xmlNsPtr ns = *NsField(node);
    if (ns == nullptr || ns->prefix == nullptr) {
        return std::strcmp(qname, C(node->name)) == 0;
    }
    if (ns != nullptr && ns->prefix != nullptr) {
        const size_t prefix = std::strlen(C(ns->prefix));
        if (std::strncmp(qname, C(ns->prefix), prefix) != 0 || qname[prefix] != ':') {
            return false;
        }
        qname += prefix + 1;
    }
    return std::strcmp(qname, C(node->name)) == 0;
}

xmlAttrPtr FindAttribute(xmlNodePtr element, const char* qname) {
    for (xmlAttrPtr attr = element->properties; attr != nullptr; attr = attr->next) {
        if (QNameEquals(reinterpret_cast<xmlNodePtr>(attr), qname)) {
            return attr;
        }
    }
    return nullptr;
}

bool AttrValueEquals(xmlAttrPtr attr, const char* value) {
    // Nearly always one text node: a plain comparison that stops at the first difference.
    xmlNodePtr only = attr->children;
    if (only != nullptr && only->next == nullptr && only->content != nullptr) {
        return std::strcmp(value, C(only->content)) == 0;
    }
    // The value may stand in several text nodes; compare piece by piece without joining them.
    const size_t length = std::strlen(value);
    size_t at = 0;
    for (xmlNodePtr text = attr->children; text != nullptr; text = text->next) {
        if (text->content == nullptr) {
            continue;
        }
        const size_t piece = std::strlen(C(text->content));
        if (piece > length - at || std::memcmp(value + at, text->content, piece) != 0) {
            return false;
        }
        at += piece;
    }
    return at == length;
}

int NodeType(xmlNodePtr node) {
    int type = static_cast<int>(node->type);
    if (type >= 1 && type <= 11) {
        return type;
    }
    if (node->type == XML_DTD_NODE) {
        return 10;
    }
    return 0;
}

bool HasValue(xmlNodePtr node) {
    switch (node->type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
    case XML_ATTRIBUTE_NODE:
        return true;
    default:
        return false;
    }
}

bool HasChildList(xmlNodePtr node) {
    return node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE ||
           node->type == XML_DOCUMENT_NODE || node->type == XML_DOCUMENT_FRAG_NODE;
}

bool IsDeclaration(xmlNodePtr node) {
    return node != nullptr && node->type == XML_PI_NODE && node->name != nullptr &&
           std::strcmp(C(node->name), "xml") == 0;
}

std::string NodeText(xmlNodePtr node) {
    xmlChar* text = xmlNodeGetContent(node);
    std::string result = text != nullptr ? C(text) : "";
    xmlFree(text);
    return result;
}

xmlNodePtr DocumentElement(xmlDocPtr doc) {
    for (xmlNodePtr node = doc->children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            return node;
        }
    }
    return nullptr;
}

const xmlChar* DeclarationData(xmlDocPtr doc) {
    xmlNodePtr first = doc->children;
    return IsDeclaration(first) ? (first->content != nullptr ? first->content : X("")) : nullptr;
}

// ---- attributes ------------------------------------------------------------------------------

namespace {

std::string QName(xmlAttrPtr attr) {
    return NodeName(reinterpret_cast<xmlNodePtr>(attr));
}

std::string AttrValue(xmlAttrPtr attr) {
    std::string value;
    for (xmlNodePtr text = attr->children; text != nullptr; text = text->next) {
        if (text->content != nullptr) {
            value += C(text->content);
        }
    }
    return value;
}

xmlAttrPtr FindAttr(xmlNodePtr element, const std::string& name) {
    return FindAttribute(element, name.c_str());
}

// For "xmlns" and "xmlns:p": true, with the declared prefix (empty for the default namespace).
bool IsNsDeclName(const std::string& name, std::string& prefix) {
    if (name == "xmlns") {
        prefix.clear();
        return true;
    }
    if (name.compare(0, 6, "xmlns:") == 0) {
        prefix = name.substr(6);
        return true;
    }
    return false;
}

xmlNsPtr FindNsDecl(xmlNodePtr element, const std::string& prefix) {
    for (xmlNsPtr ns = element->nsDef; ns != nullptr; ns = ns->next) {
        std::string p = ns->prefix != nullptr ? C(ns->prefix) : "";
        if (p == prefix) {
            return ns;
        }
    }
    return nullptr;
}

} // namespace

int32_t GetAttribute(xmlNodePtr element, const std::string& name, std::string& value) {
    if (element->type != XML_ELEMENT_NODE) {
        return XmlStatus::Fail;
    }
    std::string prefix;
    if (IsNsDeclName(name, prefix)) {
        xmlNsPtr ns = FindNsDecl(element, prefix);
        if (ns == nullptr) {
            return XmlStatus::False;
        }
        value = ns->href != nullptr ? C(ns->href) : "";
        return XmlStatus::Ok;
    }
    xmlAttrPtr attr = FindAttr(element, name);
    if (attr == nullptr) {
        return XmlStatus::False;
    }
    value = AttrValue(attr);
    return XmlStatus::Ok;
}

int32_t GetAttribute(xmlNodePtr element, const wchar_t* name, std::wstring& value) {
    if (element->type != XML_ELEMENT_NODE) {
        return XmlStatus::Fail;
    }
    // The usual short name is put in UTF-8 on the stack, and the value read straight into wide
    // text: no other copy of either is made.
    constexpr size_t kShortName = 64;
    const std::wstring_view wide(name);
    char local[kShortName * 4 + 1];
    std::string heap;
    const char* utf8 = local;
    if (wide.size() <= kShortName) {
        local[platform::ToUtf8(wide, local)] = '\0';
    } else {
        heap = platform::ToUtf8(wide);
        utf8 = heap.c_str();
    }
    if (std::strncmp(utf8, "xmlns", 5) == 0 && (utf8[5] == '\0' || utf8[5] == ':')) {
        std::string text;
        const int32_t status = GetAttribute(element, std::string(utf8), text);
        if (status == XmlStatus::Ok) {
            value = platform::FromUtf8(text);
        }
        return status;
    }
    xmlAttrPtr attr = FindAttribute(element, utf8);
    if (attr == nullptr) {
        return XmlStatus::False;
    }
    value.clear();
    for (xmlNodePtr text = attr->children; text != nullptr; text = text->next) {
        if (text->content != nullptr) {
            platform::AppendUtf8(C(text->content), value);
        }
    }
    return XmlStatus::Ok;
}

int32_t SetAttribute(xmlNodePtr element, const std::string& name, const std::string& value) {
    if (element->type != XML_ELEMENT_NODE) {
        return XmlStatus::Fail;
    }
    Touch(element);
    if (name.empty() || xmlValidateName(X(name.c_str()), 0) != 0) {
        return XmlStatus::Fail;
    }
    std::string prefix;
    if (IsNsDeclName(name, prefix)) {
        xmlNsPtr ns = FindNsDecl(element, prefix);
        if (ns != nullptr) {
            return value == C(ns->href) ? XmlStatus::Ok : XmlStatus::Fail;
        }
        if (prefix == "xml" || prefix == "xmlns" || (!prefix.empty() && value.empty())) {
            return XmlStatus::Fail;
        }
        return xmlNewNs(element, X(value.c_str()), prefix.empty() ? nullptr : X(prefix.c_str())) !=
                       nullptr
                   ? XmlStatus::Ok
                   : XmlStatus::OutOfMemory;
    }
    if (xmlAttrPtr attr = FindAttr(element, name)) {
        return ReplaceChildrenByText(reinterpret_cast<xmlNodePtr>(attr), value);
    }
    xmlAttrPtr attr = nullptr;
    size_t colon = name.find(':');
    xmlNsPtr ns = nullptr;
    if (colon != std::string::npos && colon > 0 && colon + 1 < name.size()) {
        ns = xmlSearchNs(element->doc, element, X(name.substr(0, colon).c_str()));
    }
    if (ns != nullptr) {
        attr = xmlNewNsProp(element, ns, X(name.substr(colon + 1).c_str()), X(value.c_str()));
    } else {
        attr = xmlNewProp(element, X(name.c_str()), X(value.c_str()));
    }
    return attr != nullptr ? XmlStatus::Ok : XmlStatus::OutOfMemory;
}

int32_t RemoveAttribute(xmlNodePtr element, const std::string& name) {
    if (element->type != XML_ELEMENT_NODE) {
        return XmlStatus::Fail;
    }
    Touch(element);
    std::string prefix;
    if (IsNsDeclName(name, prefix)) {
        return FindNsDecl(element, prefix) == nullptr ? XmlStatus::Ok : XmlStatus::Fail;
    }
    if (xmlAttrPtr attr = FindAttr(element, name)) {
        Detach(DocumentOf(element), reinterpret_cast<xmlNodePtr>(attr), false);
    }
    return XmlStatus::Ok;
}

std::vector<std::string> AttributeNames(xmlNodePtr element) {
    std::vector<std::string> names;
    for (xmlNsPtr ns = element->nsDef; ns != nullptr; ns = ns->next) {
        names.push_back(ns->prefix != nullptr ? std::string("xmlns:") + C(ns->prefix) : "xmlns");
    }
    for (xmlAttrPtr attr = element->properties; attr != nullptr; attr = attr->next) {
        names.push_back(QName(attr));
    }
    return names;
}

// ---- creating and moving nodes ---------------------------------------------------------------

int32_t CreateElement(Document* d, const std::string& name, xmlNodePtr& out) {
    if (name.empty() || xmlValidateName(X(name.c_str()), 0) != 0) {
        return XmlStatus::Fail;
    }
    out = xmlNewDocNode(d->doc, nullptr, X(name.c_str()), nullptr);
    if (out == nullptr) {
        return XmlStatus::OutOfMemory;
    }
    d->detached.emplace(out, 0);
    return XmlStatus::Ok;
}

int32_t CreateProcessingInstruction(Document* d, const std::string& target, const std::string& data,
                                    xmlNodePtr& out) {
    if (target.empty() || xmlValidateName(X(target.c_str()), 0) != 0 ||
        (target != "xml" && xmlStrcasecmp(X(target.c_str()), X("xml")) == 0)) {
        return XmlStatus::Fail;
    }
    if (CheckPIData(X(target.c_str()), data) < 0) {
        return XmlStatus::Fail;
    }
    out = xmlNewDocPI(d->doc, X(target.c_str()), X(data.c_str()));
    if (out == nullptr) {
        return XmlStatus::OutOfMemory;
    }
    d->detached.emplace(out, 0);
    return XmlStatus::Ok;
}

int32_t CheckInsert(xmlNodePtr parent, xmlNodePtr child, xmlNodePtr ref) {
    if (parent == nullptr || child == nullptr) {
        return XmlStatus::Pointer;
    }
    if (ref != nullptr && ref->parent != parent) {
        return XmlStatus::InvalidArg;
    }
    switch (child->type) {
    case XML_ELEMENT_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
        break;
    default:
        return XmlStatus::Fail;
    }
    if (parent->type != XML_ELEMENT_NODE && parent->type != XML_DOCUMENT_NODE) {
        return XmlStatus::Fail;
    }
    // Only a node with children (or the parent itself) can be an ancestor of the parent.
    if (child == parent) {
        return XmlStatus::Fail;
    }
    if (child->children != nullptr) {
        for (xmlNodePtr p = parent; p != nullptr; p = p->parent) {
            if (p == child) {
                return XmlStatus::Fail;
            }
        }
    }
    if (parent->type != XML_DOCUMENT_NODE) {
        return IsDeclaration(child) ? XmlStatus::Fail : XmlStatus::Ok;
    }
    // Document level: one element, no text, the declaration first and only once.
    if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
        return XmlStatus::Fail;
    }
    xmlNodePtr first = parent->children == child ? child->next : parent->children;
    for (xmlNodePtr c = parent->children; c != nullptr; c = c->next) {
        if (c == child) {
            continue;
        }
        if (child->type == XML_ELEMENT_NODE && c->type == XML_ELEMENT_NODE) {
            return XmlStatus::Fail;
        }
        if (IsDeclaration(child) && IsDeclaration(c)) {
            return XmlStatus::Fail;
        }
    }
    if (IsDeclaration(child)) {
        bool atFront = ref != nullptr ? ref == first : first == nullptr;
        return atFront ? XmlStatus::Ok : XmlStatus::Fail;
    }
    if (ref != nullptr && IsDeclaration(ref)) {
        return XmlStatus::Fail;
    }
    return XmlStatus::Ok;
}

int32_t InsertNode(xmlNodePtr parent, xmlNodePtr child, xmlNodePtr ref) {
    int32_t rc = CheckInsert(parent, child, ref);
    if (rc < 0) {
        return rc;
    }
    if (ref == child) {
        return XmlStatus::Ok;
    }
    Touch(parent);
    Touch(child);
    Document* from = DocumentOf(child);
    Document* to = DocumentOf(parent);
    if (child->parent != nullptr) {
        Detach(from, child, true);
    }
    size_t handles = 0;
    auto it = from->detached.find(child);
    if (it != from->detached.end()) {
        handles = it->second;
        from->detached.erase(it);
    }
    if (from != to) {
        Rehome(to, child, true);
        from->refs -= handles;
        from->nodeHandles -= handles;
        to->refs += handles;
        to->nodeHandles += handles;
    }
    Link(parent, child, ref);
    if (handles != 0 && !to->detached.empty()) {
        xmlNodePtr top = Top(parent);
        if (!IsLive(top)) {
            auto target = to->detached.find(top);
            if (target != to->detached.end()) {
                target->second += handles;
            }
        }
    }
    if (from != to && from->refs == 0) {
        Destroy(from);
    }
    return XmlStatus::Ok;
}

int32_t RemoveNode(xmlNodePtr node) {
    if (node->parent == nullptr || node->type == XML_ATTRIBUTE_NODE) {
        return XmlStatus::Fail;
    }
    Touch(node);
    Detach(DocumentOf(node), node, true);
    return XmlStatus::Ok;
}

int32_t SetText(xmlNodePtr node, const std::string& text) {
    Touch(node);
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
        return ReplaceChildrenByText(node, text);
    case XML_COMMENT_NODE:
        if (text.find("--") != std::string::npos || (!text.empty() && text.back() == '-')) {
            return XmlStatus::Fail;
        }
        break;
    case XML_CDATA_SECTION_NODE:
    case XML_TEXT_NODE:
        break;
    case XML_PI_NODE:
        if (CheckPIData(node->name, text) < 0) {
            return XmlStatus::Fail;
        }
        break;
    default:
        return XmlStatus::Fail;
    }
    xmlNodeSetContentLen(node, X(text.c_str()), static_cast<int>(text.size()));
    return XmlStatus::Ok;
}

int32_t SetValue(xmlNodePtr node, const std::string& value) {
    if (!HasValue(node)) {
        return XmlStatus::Fail;
    }
    return SetText(node, value);
}

int32_t CloneNode(xmlNodePtr node, bool deep, xmlNodePtr& out) {
    if (node->type == XML_DOCUMENT_NODE) {
        Document* copy = NewDocument();
        if (copy == nullptr) {
            return XmlStatus::OutOfMemory;
        }
        if (deep) {
            auto* source = reinterpret_cast<xmlDocPtr>(node);
            for (xmlNodePtr child = source->children; child != nullptr; child = child->next) {
                xmlNodePtr childCopy = CopyTree(copy, child, true);
                if (childCopy == nullptr) {
                    ++copy->refs;
                    Release(copy);
                    return XmlStatus::OutOfMemory;
                }
                Link(reinterpret_cast<xmlNodePtr>(copy->doc), childCopy, nullptr);
            }
        }
        out = reinterpret_cast<xmlNodePtr>(copy->doc);
        return XmlStatus::Ok;
    }
    Document* d = DocumentOf(node);
    out = CopyTree(d, node, deep);
    if (out == nullptr) {
        return XmlStatus::Fail;
    }
    d->detached.emplace(out, 0);
    return XmlStatus::Ok;
}

// ---- whole documents -------------------------------------------------------------------------

void ReplaceContent(Document* d, xmlDocPtr parsed, const std::string* declaration,
                    bool mayHoldBlankText) {
    ++d->changes;
    if (parsed != nullptr && mayHoldBlankText) {
        StripBlankText(reinterpret_cast<xmlNodePtr>(parsed));
    }
    bool swap =
        parsed != nullptr && d->nodeHandles == 0 && d->docHandles == 0 && d->detached.empty();
    if (swap) {
        // Nothing refers to the former tree: the parsed document simply takes its place.
        xmlDocPtr former = d->doc;
        d->doc = parsed;
        parsed->_private = d;
        if (d->xpath != nullptr) {
            d->xpath->doc = parsed;
        }
        former->_private = nullptr;
        xmlFreeDoc(former);
    } else {
        xmlNodePtr docNode = reinterpret_cast<xmlNodePtr>(d->doc);
        while (docNode->children != nullptr) {
            Detach(d, docNode->children, false);
        }
        if (parsed != nullptr) {
            for (xmlNodePtr child = parsed->children; child != nullptr;) {
                xmlNodePtr next = child->next;
                if (child->type != XML_DTD_NODE) {
                    xmlUnlinkNode(child);
                    Rehome(d, child, true);
                    Link(docNode, child, nullptr);
                }
                child = next;
            }
            xmlFreeDoc(parsed);
        }
    }
    if (declaration != nullptr) {
        xmlNodePtr pi = xmlNewDocPI(d->doc, X("xml"), X(declaration->c_str()));
        if (pi != nullptr) {
            xmlNodePtr docNode = reinterpret_cast<xmlNodePtr>(d->doc);
            Link(docNode, pi, docNode->children);
        }
    }
}

void FormatTree(Document* d) {
    ++d->changes;
    static const std::string kIndent = "\n" + std::string(78, ' ');
    xmlNodePtr root = DocumentElement(d->doc);
    if (root == nullptr) {
        return;
    }
    auto indent = [&](size_t length) {
        length = std::min(length, kIndent.size());
        return xmlNewDocTextLen(d->doc, X(kIndent.c_str()), static_cast<int>(length));
    };
    struct Level {
        xmlNodePtr next;
        size_t depth;
    };
    std::vector<Level> stack{{root->children, 0}};
    while (!stack.empty()) {
        xmlNodePtr node = stack.back().next;
        size_t depth = stack.back().depth;
        if (node == nullptr) {
            stack.pop_back();
            continue;
        }
        stack.back().next = node->next;
        if (node->type == XML_TEXT_NODE) {
            continue;
        }
        xmlNodePtr parent = node->parent;
        if (xmlNodePtr before = indent(2 * depth + 3)) {
            Link(parent, before, node);
        }
        if (node->next == nullptr) {
            if (xmlNodePtr after = indent(2 * depth + 1)) {
                Link(parent, after, nullptr);
            }
        }
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
            stack.push_back({node->children, depth + 1});
        }
    }
}

} // namespace torvex::xmldetail

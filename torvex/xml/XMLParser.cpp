#include "torvex/xml/XMLParser.h"

#include <string>
#include <utility>

#include "torvex/platform/Files.h"
#include "torvex/platform/Guid.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/ComError.h"
#include "torvex/xml/XmlDom.h"
#include "torvex/xml/XmlIo.h"

namespace torvex {

using namespace xmldetail;

namespace {

XMLNode Wrap(xmlNodePtr node) {
    return node != nullptr ? XMLNodeAccess::Make(node) : XMLNode();
}

// The document element, else the document node; null when documentless.
xmlNodePtr CheckPtr(Document* d) {
    if (d == nullptr) {
        return nullptr;
    }
    xmlNodePtr root = DocumentElement(d->doc);
    return root != nullptr ? root : reinterpret_cast<xmlNodePtr>(d->doc);
}

// A fresh file name in the temporary directory: "{GUID}.xml".
WideString GenericXmlFilename() {
    return platform::TempDirectory() + platform::FormatGuidBraced(platform::NewGuid()) + L".xml";
}

void Load(Document* d, ParseResult&& parsed) {
    ReplaceContent(d, parsed.doc, parsed.hasDeclaration ? &parsed.declaration : nullptr,
                   parsed.mayHoldBlankText);
    // The new tree's nodes stay what they were in the parsed document.
    d->watched = std::move(parsed.watched);
    d->hasWatched = parsed.watchedAll;
    d->watchedAt = d->changes;
}

} // namespace

XMLParser::XMLParser() : doc_(NewDocument()) {
    if (doc_ != nullptr) {
        AddRef(doc_);
    }
}

XMLParser::XMLParser(const wchar_t* text) : XMLParser() {
    if (doc_ != nullptr) {
        Load(doc_, ParseText(text));
    }
}

XMLParser::XMLParser(const XMLParser& other) noexcept : doc_(other.doc_) {
    if (doc_ != nullptr) {
        AddRef(doc_);
    }
}

XMLParser::XMLParser(XMLParser&& other) noexcept : doc_(std::exchange(other.doc_, nullptr)) {}

XMLParser::~XMLParser() {
    if (doc_ != nullptr) {
        Release(doc_);
    }
}

XMLParser& XMLParser::operator=(const XMLParser& other) noexcept {
    if (other.doc_ != nullptr) {
        AddRef(other.doc_);
    }
    Document* former = std::exchange(doc_, other.doc_);
    if (former != nullptr) {
        Release(former);
    }
    return *this;
}

XMLParser& XMLParser::operator=(XMLParser&& other) noexcept {
    if (this != &other) {
        Document* former = std::exchange(doc_, std::exchange(other.doc_, nullptr));
        if (former != nullptr) {
            Release(former);
        }
    }
    return *this;
}

void XMLParser::SetDocument(const XMLParser& document) {
    if (document.doc_ == nullptr) {
        throw ComError(XmlStatus::Pointer);
    }
    *this = document;
}

bool XMLParser::CreateXmlDocument(const wchar_t* encoding) {
    if (doc_ == nullptr || encoding == nullptr || !IsXmlText(encoding)) {
        return false;
    }
    std::string data = "version='1.0' encoding='" + Utf8(encoding) + "'";
    xmlNodePtr declaration = nullptr;
    if (CreateProcessingInstruction(doc_, "xml", data, declaration) < 0) {
        return false;
    }
    XMLNode keep = Wrap(declaration);
    return InsertNode(reinterpret_cast<xmlNodePtr>(doc_->doc), declaration,
                      DocumentElement(doc_->doc)) == XmlStatus::Ok;
}

bool XMLParser::LoadXmlDocument(const wchar_t* path) {
    if (doc_ == nullptr || path == nullptr || !platform::PathExists(path)) {
        return false;
    }
    std::string bytes;
    if (!platform::ReadFileBytes(path, bytes)) {
        return false;
    }
    ParseResult parsed = ParseBytes(bytes);
    bool ok = parsed.doc != nullptr;
    Load(doc_, std::move(parsed));
    return ok;
}

bool XMLParser::SaveXmlDocument(const wchar_t* path, bool format) const {
    if (doc_ == nullptr) {
        return false;
    }
    WideString target = path != nullptr ? WideString(path) : GenericXmlFilename();
    platform::DeleteFile(target);
    if (format) {
        FormatTree(doc_);
    }
    std::string bytes;
    return SerializeForFile(doc_->doc, bytes) && platform::WriteFileBytes(target, bytes);
}

bool XMLParser::SetXml(const wchar_t* text) {
    if (doc_ == nullptr) {
        return false;
    }
    ParseResult parsed = ParseText(text);
    bool ok = parsed.doc != nullptr;
    Load(doc_, std::move(parsed));
    return ok;
}

bool XMLParser::SetXml(const wchar_t* text, const ElementWatch& watch) {
    if (doc_ == nullptr) {
        return false;
    }
    auto utf8 = [](const wchar_t* name) { return platform::ToUtf8(name != nullptr ? name : L""); };
    const xmldetail::ElementWatch noted{utf8(watch.element), utf8(watch.attribute),
                                        utf8(watch.value)};
    ParseResult parsed = ParseText(text, &noted);
    bool ok = parsed.doc != nullptr;
    Load(doc_, std::move(parsed));
    return ok;
}

bool XMLParser::GetXml(WideString& out) const {
    out.clear();
    if (doc_ == nullptr) {
        return false;
    }
    std::string utf8;
    if (!Serialize(reinterpret_cast<xmlNodePtr>(doc_->doc), utf8)) {
        return false;
    }
    out = platform::FromUtf8(utf8);
    return true;
}

XMLNode XMLParser::GetRootNode() const {
    return Wrap(CheckPtr(doc_));
}

bool XMLParser::GetNode(XMLNode& out) const {
    out = XMLNode();
    xmlNodePtr root = CheckPtr(doc_);
    if (root == nullptr) {
        return false;
    }
    out = Wrap(root);
    return true;
}

bool XMLParser::GetNode(const wchar_t* name, XMLNode& out) const {
    out = XMLNode();
    xmlNodePtr start = CheckPtr(doc_);
    if (start == nullptr) {
        return false;
    }
    std::string wanted = name != nullptr ? Utf8(name) : std::string();
    for (xmlNodePtr node = start; node != nullptr; node = node->next) {
        if (name == nullptr || NodeName(node) == wanted) {
            out = Wrap(node);
            return true;
        }
    }
    return false;
}

XMLNode XMLParser::AddNode(const wchar_t* name, const wchar_t* text, const wchar_t* attr1,
                           const wchar_t* value1, const wchar_t* attr2, const wchar_t* value2) {
    xmlNodePtr parent = CheckPtr(doc_);
    if (parent == nullptr || name == nullptr || !IsXmlText(name)) {
        return {};
    }
    xmlNodePtr element = nullptr;
    if (CreateElement(doc_, Utf8(name), element) < 0) {
        return {};
    }
    XMLNode added = Wrap(element);
    if (InsertNode(parent, element, nullptr) < 0) {
        return {};
    }
    // Text and attributes as far as they go; the appended element is the answer either way.
    if (text != nullptr && *text != 0) {
        if (!IsXmlText(text) || SetText(element, Utf8(text)) < 0) {
            return added;
        }
    }
    const wchar_t* pairs[2][2] = {{attr1, value1}, {attr2, value2}};
    for (const auto& pair : pairs) {
        if (pair[0] == nullptr || pair[1] == nullptr) {
            continue;
        }
        if (!IsXmlText(pair[0]) || !IsXmlText(pair[1]) ||
            SetAttribute(element, Utf8(pair[0]), Utf8(pair[1])) < 0) {
            return added;
        }
    }
    return added;
}

bool XMLParser::GetNodesByTag(const wchar_t* tag, XMLNodeArray& out) const {
    out.RemoveAll();
    if (doc_ == nullptr || tag == nullptr) {
        return false;
    }
    std::string wanted = Utf8(tag);
    bool all = wanted == "*";
    // Elements in document order, without recursion.
    auto* docNode = reinterpret_cast<xmlNodePtr>(doc_->doc);
    xmlNodePtr cur = docNode->children;
    while (cur != nullptr) {
        if (cur->type == XML_ELEMENT_NODE) {
            if (all || NodeName(cur) == wanted) {
                out.Add(Wrap(cur));
            }
            if (cur->children != nullptr) {
                cur = cur->children;
                continue;
            }
        }
        while (cur != nullptr && cur->next == nullptr) {
            cur = cur->parent == docNode ? nullptr : cur->parent;
        }
        if (cur != nullptr) {
            cur = cur->next;
        }
    }
    return true;
}

void XMLParser::RemoveNodesByTag(const wchar_t* tag) {
    XMLNodeArray matches;
    if (!GetNodesByTag(tag, matches)) {
        return;
    }
    for (XMLNode& node : matches) {
        node.RemoveThisNode(false);
    }
}

uint64_t XMLParser::GetChangeCount() const noexcept {
    return doc_ ? doc_->changes : 0;
}

long XMLParser::GetNodesCount() const {
    if (doc_ == nullptr) {
        return 0;
    }
    xmlNodePtr root = DocumentElement(doc_->doc);
    if (root == nullptr) {
        return 0;
    }
    long count = 0;
    for (xmlNodePtr child = root->children; child != nullptr; child = child->next) {
        ++count;
    }
    return count;
}

} // namespace torvex

#include "torvex/xml/XMLNode.h"

#include <cwchar>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "torvex/platform/NumberText.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/ComError.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XmlDom.h"
#include "torvex/xml/XmlIo.h"
#include "torvex/xml/XmlXPath.h"

namespace torvex {

using namespace xmldetail;

namespace {

xmlNodePtr Raw(const XMLNode& handle) {
    return XMLNodeAccess::Get(handle);
}
XMLNode Wrap(xmlNodePtr node) {
    return node != nullptr ? XMLNodeAccess::Make(node) : XMLNode();
}

// The DOM's view of the tree: an attribute has no parent and no siblings, only its text.
xmlNodePtr DomParent(xmlNodePtr node) {
    return node->type == XML_ATTRIBUTE_NODE ? nullptr : node->parent;
}
xmlNodePtr FirstChild(xmlNodePtr node) {
    return HasChildList(node) ? node->children : nullptr;
}
xmlNodePtr LastChild(xmlNodePtr node) {
    return HasChildList(node) ? node->last : nullptr;
}
xmlNodePtr NextSibling(xmlNodePtr node) {
    return node->type == XML_ATTRIBUTE_NODE ? nullptr : node->next;
}

std::string ValueOf(xmlNodePtr node) {
    if (node->type == XML_ATTRIBUTE_NODE) {
        return NodeText(node);
    }
    return node->content != nullptr ? reinterpret_cast<const char*>(node->content) : "";
}

bool IsBlankChar(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

std::wstring_view Trim(std::wstring_view text) {
    while (!text.empty() && IsBlankChar(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlankChar(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// Integer text as the platform's number conversion takes it here: blanks around, an optional
// sign and decimal digits. TypeMismatch for anything else, Overflow outside [min, max].
int32_t ParseInteger(const WideString& text, long long min, long long max, long long& value) {
    std::wstring_view view = Trim(text);
    bool negative = false;
    if (!view.empty() && (view.front() == L'+' || view.front() == L'-')) {
        negative = view.front() == L'-';
        view.remove_prefix(1);
    }
    if (view.empty()) {
        return XmlStatus::TypeMismatch;
    }
    long long magnitude = 0;
    bool overflow = false;
    for (wchar_t c : view) {
        if (!IsDigit(c)) {
            return XmlStatus::TypeMismatch;
        }
        if (!overflow) {
            magnitude = magnitude * 10 + (c - L'0');
            overflow = magnitude > (1LL << 40);
        }
    }
    long long result = negative ? -magnitude : magnitude;
    if (overflow || result < min || result > max) {
        return XmlStatus::Overflow;
    }
    value = result;
    return XmlStatus::Ok;
}

// A plain decimal number: sign, digits with an optional fraction, an optional exponent.
bool IsPlainNumber(std::wstring_view text) {
    size_t i = 0;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) {
        ++i;
    }
    size_t digits = 0;
    while (i < text.size() && IsDigit(text[i])) {
        ++i;
        ++digits;
    }
    if (i < text.size() && text[i] == L'.') {
        ++i;
        while (i < text.size() && IsDigit(text[i])) {
            ++i;
            ++digits;
        }
    }
    if (digits == 0) {
        return false;
    }
    if (i < text.size() && (text[i] == L'e' || text[i] == L'E')) {
        ++i;
        if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) {
            ++i;
        }
        size_t exponent = 0;
        while (i < text.size() && IsDigit(text[i])) {
            ++i;
            ++exponent;
        }
        if (exponent == 0) {
            return false;
        }
    }
    return i == text.size();
}

WideString LowerAscii(std::wstring_view text) {
    WideString lower(text);
    for (wchar_t& c : lower) {
        if (c >= L'A' && c <= L'Z') {
            c = static_cast<wchar_t>(c - L'A' + L'a');
        }
    }
    return lower;
}

// The words "true" and "false" in any case, and numbers (0 is false); anything else is false.
bool BoolFromText(const WideString& text) {
    std::wstring_view view = Trim(text);
    WideString lower = LowerAscii(view);
    if (lower == L"true") {
        return true;
    }
    if (lower == L"false") {
        return false;
    }
    if (IsPlainNumber(view)) {
        WideString number(view);
        return platform::ParseLeadingDouble(number.c_str()) != 0.0;
    }
    return false;
}

// Gives a new element its text and attributes; false at the first that fails.
bool FillElement(xmlNodePtr element, const wchar_t* text,
                 std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> attributes) {
    if (text != nullptr && *text != 0) {
        if (!IsXmlText(text) || SetText(element, Utf8(text)) < 0) {
            return false;
        }
    }
    for (const auto& [name, value] : attributes) {
        if (name == nullptr || value == nullptr) {
            continue;
        }
        if (!IsXmlText(name) || !IsXmlText(value) ||
            SetAttribute(element, Utf8(name), Utf8(value)) < 0) {
            return false;
        }
    }
    return true;
}

// A new element `name` in the document of `relative`, registered as detached.
xmlNodePtr NewElement(xmlNodePtr relative, const wchar_t* name) {
    if (name == nullptr || !IsXmlText(name)) {
        return nullptr;
    }
    xmlNodePtr element = nullptr;
    return CreateElement(DocumentOf(relative), Utf8(name), element) < 0 ? nullptr : element;
}

} // namespace

// ---- construction and identity ---------------------------------------------------------------

XMLNode::XMLNode(xmldetail::Node* node) noexcept : node_(node) {
    if (node_ != nullptr) {
        AcquireNode(ToXml(node_));
    }
}

XMLNode::XMLNode(const XMLNode& other) noexcept : node_(other.node_) {
    if (node_ != nullptr) {
        AcquireNode(ToXml(node_));
    }
}

XMLNode::XMLNode(XMLNode&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}

XMLNode::~XMLNode() {
    if (node_ != nullptr) {
        ReleaseNode(ToXml(node_));
    }
}

XMLNode& XMLNode::operator=(const XMLNode& other) noexcept {
    if (other.node_ != nullptr) {
        AcquireNode(ToXml(other.node_));
    }
    Node* former = std::exchange(node_, other.node_);
    if (former != nullptr) {
        ReleaseNode(ToXml(former));
    }
    return *this;
}

XMLNode& XMLNode::operator=(XMLNode&& other) noexcept {
    if (this != &other) {
        Node* former = std::exchange(node_, std::exchange(other.node_, nullptr));
        if (former != nullptr) {
            ReleaseNode(ToXml(former));
        }
    }
    return *this;
}

int XMLNode::GetNodeType() const {
    return node_ != nullptr ? xmldetail::NodeType(ToXml(node_)) : NodeNone;
}

// ---- node properties -------------------------------------------------------------------------

bool XMLNode::GetNodeName(WideString& out) const {
    if (node_ == nullptr) {
        return false;
    }
    out = platform::FromUtf8(NodeName(ToXml(node_)));
    return true;
}

bool XMLNode::GetNodeText(WideString& out) const {
    if (node_ == nullptr) {
        return false;
    }
    // An element that holds one text node, as a cell does, is decoded in place.
    xmlNodePtr node = ToXml(node_);
    xmlNodePtr only = node->type == XML_ELEMENT_NODE ? node->children : nullptr;
    if (only != nullptr && only->next == nullptr && only->type == XML_TEXT_NODE) {
        out = platform::FromUtf8(
            only->content != nullptr ? reinterpret_cast<const char*>(only->content) : "");
        return true;
    }
    out = platform::FromUtf8(xmldetail::NodeText(node));
    return true;
}

bool XMLNode::GetNodeValue(WideString& out) const {
    if (node_ == nullptr || !HasValue(ToXml(node_))) {
        return false;
    }
    out = platform::FromUtf8(ValueOf(ToXml(node_)));
    return true;
}

bool XMLNode::GetNodeValueOrEmpty(WideString& out) const {
    out.clear();
    return GetNodeValue(out);
}

bool XMLNode::GetXml(WideString& out) const {
    out.clear();
    if (node_ == nullptr) {
        return false;
    }
    std::string utf8;
    if (!Serialize(ToXml(node_), utf8)) {
        return false;
    }
    out = platform::FromUtf8(utf8);
    return true;
}

long XMLNode::GetChildCount() const {
    if (node_ == nullptr) {
        return 0;
    }
    long count = 0;
    for (xmlNodePtr child = FirstChild(ToXml(node_)); child != nullptr; child = child->next) {
        ++count;
    }
    return count;
}

// ---- navigation ------------------------------------------------------------------------------

XMLNode XMLNode::GetParentNode() const {
    return node_ != nullptr ? Wrap(DomParent(ToXml(node_))) : XMLNode();
}

bool XMLNode::GetChildNode(const wchar_t* name, XMLNode& out) const {
    if (node_ == nullptr || name == nullptr) {
        return false;
    }
    std::vector<xmlNodePtr> found;
    if (SelectNodes(ToXml(node_), Utf8(name), true, found) < 0 || found.empty() ||
        found.front() == nullptr) {
        return false;
    }
    out = Wrap(found.front());
    return true;
}

bool XMLNode::GetChildNodes(const wchar_t* name, XMLNodeArray& out) const {
    out.RemoveAll();
    if (node_ == nullptr || name == nullptr) {
        return false;
    }
    std::string wanted = Utf8(name);
    for (xmlNodePtr child = FirstChild(ToXml(node_)); child != nullptr; child = child->next) {
        if (NodeName(child) == wanted) {
            out.Add(Wrap(child));
        }
    }
    return true;
}

namespace {

// A name of ASCII letters, digits, '_', '-' and '.', not starting with a digit, '-' or '.': a
// name test that XPath reads as a plain name, with no prefix.
bool IsPlainName(std::wstring_view name) {
    auto letter = [](wchar_t c) {
        return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_';
    };
    if (name.empty() || !letter(name[0])) {
        return false;
    }
    for (wchar_t c : name) {
        if (!letter(c) && !(c >= L'0' && c <= L'9') && c != L'-' && c != L'.') {
            return false;
        }
    }
    return true;
}

// The steps of a relative path of plain names ("Rows/Row"); false for any other path (a prefix,
// a predicate, an axis, a wildcard, a function, a leading or doubled slash, blanks).
bool PlainSteps(const wchar_t* path, std::vector<std::wstring_view>& steps) {
    steps.clear();
    std::wstring_view rest(path);
    for (;;) {
        const size_t slash = rest.find(L'/');
        const std::wstring_view step = rest.substr(0, slash);
        if (!IsPlainName(step)) {
            return false;
        }
        steps.push_back(step);
        if (slash == std::wstring_view::npos) {
            return true;
        }
        rest.remove_prefix(slash + 1);
    }
}

// What the name test of a plain name matches on the child axis: an element of that name in no
// namespace.
bool IsPlainElement(xmlNodePtr node, std::wstring_view name) {
    if (node->type != XML_ELEMENT_NODE || node->ns != nullptr || node->name == nullptr) {
        return false;
    }
    const auto* utf8 = reinterpret_cast<const char*>(node->name);
    size_t i = 0;
    for (; i < name.size(); ++i) {
        if (utf8[i] != static_cast<char>(name[i])) { // stops at the name's end too
            return false;
        }
    }
    return utf8[i] == '\0';
}

// The children of `context` that match step 0, their children that match step 1, and so on:
// `found` holds the last step's matches, in document order. `matches(node, step)` tests a node.
template <class Matches>
void WalkChildSteps(xmlNodePtr context, size_t steps, Matches matches,
                    std::vector<xmlNodePtr>& found) {
    found.assign(1, context);
    std::vector<xmlNodePtr> next;
    for (size_t step = 0; step < steps; ++step) {
        next.clear();
        for (xmlNodePtr parent : found) {
            for (xmlNodePtr child = FirstChild(parent); child != nullptr; child = child->next) {
                if (matches(child, step)) {
                    next.push_back(child);
                }
            }
        }
        found.swap(next);
    }
}

} // namespace

bool XMLNode::SelectChildNodes(const wchar_t* name, XMLNodeArray& out) const {
    out.RemoveAll();
    if (node_ == nullptr || name == nullptr) {
        return false;
    }
    std::vector<xmlNodePtr> found;
    std::vector<std::wstring_view> steps;
    if (PlainSteps(name, steps)) {
        // libxml2 evaluates such a path by streaming over every node below the context, which
        // in a family visits every cell of every row; the steps are walked child by child.
        WalkChildSteps(
            ToXml(node_), steps.size(),
            [&](xmlNodePtr node, size_t step) { return IsPlainElement(node, steps[step]); }, found);
    } else if (SelectNodes(ToXml(node_), Utf8(name), false, found) < 0) {
        return false;
    }
    out.SetSize(static_cast<intptr_t>(found.size()));
    for (size_t i = 0; i < found.size(); ++i) {
        if (found[i] != nullptr) {
            out.SetAt(static_cast<intptr_t>(i), Wrap(found[i]));
        }
    }
    return true;
}

bool XMLNode::GetChildNodes(XMLNodeArray& out) const {
    out.RemoveAll();
    if (node_ == nullptr) {
        return false;
    }
    out.SetSize(GetChildCount());
    intptr_t i = 0;
    for (xmlNodePtr child = FirstChild(ToXml(node_)); child != nullptr; child = child->next) {
        out.SetAt(i++, Wrap(child));
    }
    return true;
}

XMLNodeArray XMLNode::GetChildNodes() const {
    XMLNodeArray children;
    GetChildNodes(children);
    return children;
}

namespace {

// True when libxml2's UTF-8 text equals the wide text; compares in place, allocates nothing.
bool Utf8EqualsWide(const xmlChar* utf8, const wchar_t* wide) {
    const auto* u = reinterpret_cast<const unsigned char*>(utf8 != nullptr ? utf8 : BAD_CAST "");
    for (; *wide; ++wide) {
        auto c = static_cast<uint32_t>(*wide);
        if (c < 0x80) {
            if (*u++ != c) {
                return false;
            }
            continue;
        }
        unsigned char bytes[4];
        int n = 0;
        if (c >= 0x110000 || (c >= 0xD800 && c <= 0xDFFF)) {
            c = 0xFFFD; // what the layer writes for such a character
        }
        if (c < 0x800) {
            bytes[n++] = static_cast<unsigned char>(0xC0 | (c >> 6));
        } else if (c < 0x10000) {
            bytes[n++] = static_cast<unsigned char>(0xE0 | (c >> 12));
            bytes[n++] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
        } else {
            bytes[n++] = static_cast<unsigned char>(0xF0 | (c >> 18));
            bytes[n++] = static_cast<unsigned char>(0x80 | ((c >> 12) & 0x3F));
            bytes[n++] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
        }
        bytes[n++] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        for (int i = 0; i < n; ++i) {
            if (*u++ != bytes[i]) {
                return false;
            }
        }
    }
    return *u == 0;
}

// The ASCII run compared inline, the rest (if any) by the function above: most comparisons of a
// child's name or attribute end at the first character.
inline bool TextEquals(const xmlChar* utf8, const wchar_t* wide) {
    const auto* u = reinterpret_cast<const unsigned char*>(utf8 != nullptr ? utf8 : BAD_CAST "");
    for (; *wide != 0 && static_cast<uint32_t>(*wide) < 0x80; ++wide, ++u) {
        if (*u != static_cast<unsigned char>(*wide)) {
            return false;
        }
    }
    return *wide == 0 ? *u == 0 : Utf8EqualsWide(u, wide);
}

bool HasPrefix(xmlNsPtr ns) {
    return ns != nullptr && ns->prefix != nullptr;
}

} // namespace

bool XMLNode::SelectChildElements(const wchar_t* parent, const wchar_t* child,
                                  XMLNodeArray& out) const {
    out.RemoveAll();
    if (node_ == nullptr || parent == nullptr || child == nullptr) {
        return false;
    }
    if (std::wcschr(parent, L':') != nullptr || std::wcschr(child, L':') != nullptr) {
        return SelectChildNodes((WideString(parent) + L'/' + child).c_str(), out);
    }
    // A name test without a prefix matches elements in no namespace, as XPath has it.
    const wchar_t* const names[] = {parent, child};
    std::vector<xmlNodePtr> found;
    WalkChildSteps(
        ToXml(node_), 2,
        [&](xmlNodePtr node, size_t step) {
            return node->type == XML_ELEMENT_NODE && node->ns == nullptr &&
                   TextEquals(node->name, names[step]);
        },
        found);
    for (xmlNodePtr node : found) {
        out.Add(Wrap(node));
    }
    return true;
}

bool XMLNode::FindChildElement(const wchar_t* name, const wchar_t* attribute, const wchar_t* value,
                               XMLNode& out) const {
    if (node_ == nullptr || name == nullptr || attribute == nullptr || value == nullptr) {
        return false;
    }
    // Names without a prefix (the usual case) are compared in place against libxml2's UTF-8,
    // so that a lookup allocates nothing; a prefixed name takes the general route.
    const bool plainNames =
        std::wcschr(name, L':') == nullptr && std::wcschr(attribute, L':') == nullptr;
    std::string general[3];
    if (!plainNames) {
        general[0] = Utf8(name);
        general[1] = Utf8(attribute);
        general[2] = Utf8(value);
    }
    for (xmlNodePtr child = FirstChild(ToXml(node_)); child != nullptr; child = child->next) {
        if (child->type != XML_ELEMENT_NODE) {
            continue;
        }
        xmlAttrPtr match = nullptr;
        if (plainNames) {
            // An element has at most one unprefixed attribute of a name, so the checks may run
            // in any order: the value first, since among siblings it is what differs, mostly at
            // its first character.
            for (xmlAttrPtr attr = child->properties; attr != nullptr; attr = attr->next) {
                xmlNodePtr only = attr->children;
                const bool oneText = only != nullptr && only->next == nullptr;
                if (oneText && !TextEquals(only->content, value)) {
                    continue;
                }
                if (HasPrefix(attr->ns) || !TextEquals(attr->name, attribute)) {
                    continue;
                }
                if (oneText || AttrValueEquals(attr, Utf8(value).c_str())) {
                    match = attr;
                }
                break;
            }
            if (match == nullptr || HasPrefix(child->ns) || !TextEquals(child->name, name)) {
                continue;
            }
        } else {
            if (!QNameEquals(child, general[0].c_str())) {
                continue;
            }
            match = FindAttribute(child, general[1].c_str());
            if (match == nullptr || !AttrValueEquals(match, general[2].c_str())) {
                continue;
            }
        }
        out = Wrap(child);
        return true;
    }
    return false;
}

uint64_t XMLNode::GetDocumentChangeCount() const noexcept {
    const Document* d = node_ != nullptr ? DocumentOf(ToXml(node_)) : nullptr;
    return d != nullptr ? d->changes : 0;
}

bool XMLNode::GetWatchedElements(XMLNodeArray& out) const {
    out.RemoveAll();
    const Document* d = node_ != nullptr ? DocumentOf(ToXml(node_)) : nullptr;
    if (d == nullptr || !d->hasWatched || d->watchedAt != d->changes) {
        return false;
    }
    for (xmlNodePtr element : d->watched) {
        out.Add(Wrap(element));
    }
    return true;
}

bool XMLNode::CollectKeyedChildren(const wchar_t* name, const wchar_t* attribute,
                                   std::vector<KeyedChild>& out) const {
    // Entries keep their room from an earlier collection; only the count is cut at the end.
    size_t count = 0;
    if (node_ == nullptr || name == nullptr || attribute == nullptr ||
        std::wcschr(name, L':') != nullptr || std::wcschr(attribute, L':') != nullptr) {
        out.clear();
        return false;
    }
    for (xmlNodePtr child = FirstChild(ToXml(node_)); child != nullptr; child = child->next) {
        if (child->type != XML_ELEMENT_NODE || HasPrefix(child->ns) ||
            !TextEquals(child->name, name)) {
            continue;
        }
        // An element has at most one unprefixed attribute of a name.
        xmlAttrPtr match = nullptr;
        for (xmlAttrPtr attr = child->properties; attr != nullptr; attr = attr->next) {
            if (!HasPrefix(attr->ns) && TextEquals(attr->name, attribute)) {
                match = attr;
                break;
            }
        }
        if (match == nullptr) {
            continue;
        }
        if (count == out.size()) {
            out.emplace_back();
        }
        KeyedChild& entry = out[count++];
        entry.key.clear();
        for (xmlNodePtr text = match->children; text != nullptr; text = text->next) {
            if (text->content != nullptr) {
                platform::AppendUtf8(reinterpret_cast<const char*>(text->content), entry.key);
            }
        }
        xmlNodePtr only = child->children;
        entry.text.clear();
        if (only != nullptr && only->next == nullptr && only->type == XML_TEXT_NODE) {
            if (only->content != nullptr) {
                platform::AppendUtf8(reinterpret_cast<const char*>(only->content), entry.text);
            }
        } else {
            platform::AppendUtf8(xmldetail::NodeText(child), entry.text);
        }
    }
    out.resize(count);
    return true;
}

bool XMLNode::GetFirstChildNode(XMLNode& out) const {
    if (node_ == nullptr) {
        return false;
    }
    out = Wrap(FirstChild(ToXml(node_)));
    return true;
}

bool XMLNode::GetLastChildNode(XMLNode& out) const {
    if (node_ == nullptr) {
        return false;
    }
    xmlNodePtr last = LastChild(ToXml(node_));
    if (last == nullptr) {
        return false;
    }
    out = Wrap(last);
    return true;
}

bool XMLNode::GetNextSibling(XMLNode& out) const {
    if (node_ == nullptr) {
        return false;
    }
    out = Wrap(NextSibling(ToXml(node_)));
    return out.IsNode();
}

bool XMLNode::GetChildNodeByIdx(int idx, XMLNode& out) const {
    if (node_ == nullptr || idx < 0) {
        return false;
    }
    xmlNodePtr child = FirstChild(ToXml(node_));
    for (int i = 0; child != nullptr && i < idx; ++i) {
        child = child->next;
    }
    if (child == nullptr) {
        return false;
    }
    out = Wrap(child);
    return true;
}

bool XMLNode::GetChildNames(WideStringList& out) const {
    out.clear();
    if (node_ == nullptr) {
        return false;
    }
    for (xmlNodePtr child = FirstChild(ToXml(node_)); child != nullptr; child = child->next) {
        out.push_back(platform::FromUtf8(NodeName(child)));
    }
    return true;
}

bool XMLNode::GetProperties(WideStringList& out) const {
    out.clear();
    if (node_ == nullptr || ToXml(node_)->type != XML_ELEMENT_NODE) {
        return false;
    }
    for (const std::string& name : AttributeNames(ToXml(node_))) {
        out.push_back(platform::FromUtf8(name));
    }
    return true;
}

// ---- attribute reading -----------------------------------------------------------------------

namespace {

// The attribute's text; false for an empty node, a non-element, a null name or an absent
// attribute.
bool ReadAttribute(const XMLNode& node, const wchar_t* name, WideString& text) {
    if (!node.IsNode() || name == nullptr) {
        return false;
    }
    return GetAttribute(Raw(node), name, text) == XmlStatus::Ok;
}

} // namespace

bool XMLNode::GetProperty(const wchar_t* name, WideString& out) const {
    out.clear();
    return ReadAttribute(*this, name, out);
}

bool XMLNode::GetProperty(const wchar_t* name, int& out) const {
    out = 0;
    WideString text;
    long long value = 0;
    if (!ReadAttribute(*this, name, text) ||
        ParseInteger(text, INT32_MIN, INT32_MAX, value) != XmlStatus::Ok) {
        return false;
    }
    out = static_cast<int>(value);
    return true;
}

bool XMLNode::GetProperty(const wchar_t* name, short& out) const {
    out = 0;
    WideString text;
    long long value = 0;
    if (!ReadAttribute(*this, name, text) ||
        ParseInteger(text, INT16_MIN, INT16_MAX, value) != XmlStatus::Ok) {
        return false;
    }
    out = static_cast<short>(value);
    return true;
}

bool XMLNode::GetProperty(const wchar_t* name, long& out) const {
    WideString text;
    if (!ReadAttribute(*this, name, text)) {
        return false;
    }
    long long value = 0;
    int32_t rc = ParseInteger(text, INT32_MIN, INT32_MAX, value);
    if (rc != XmlStatus::Ok) {
        throw ComError(rc);
    }
    out = static_cast<long>(value);
    return true;
}

bool XMLNode::GetProperty(const wchar_t* name, double& out) const {
    out = 0.0;
    WideString text;
    if (!ReadAttribute(*this, name, text)) {
        return false;
    }
    out = platform::ParseLeadingDouble(text.c_str());
    return true;
}

bool XMLNode::GetProperty(const wchar_t* name, bool& out) const {
    out = false;
    WideString text;
    if (!ReadAttribute(*this, name, text)) {
        return false;
    }
    out = BoolFromText(text);
    return true;
}

bool XMLNode::GetStrBoolProperty(const wchar_t* name, bool& out) const {
    WideString text;
    if (!ReadAttribute(*this, name, text)) {
        return false;
    }
    out = LowerAscii(text) == L"true";
    return true;
}

// ---- adding elements -------------------------------------------------------------------------

XMLNode XMLNode::AddNode(const wchar_t* name, const wchar_t* text, const wchar_t* attr1,
                         const wchar_t* value1, const wchar_t* attr2, const wchar_t* value2,
                         const wchar_t* attr3, const wchar_t* value3) {
    if (node_ == nullptr || ToXml(node_)->type == XML_DOCUMENT_NODE) {
        return {};
    }
    xmlNodePtr element = NewElement(ToXml(node_), name);
    if (element == nullptr) {
        return {};
    }
    XMLNode added = Wrap(element);
    if (InsertNode(ToXml(node_), element, nullptr) < 0 ||
        !FillElement(element, text, {{attr1, value1}, {attr2, value2}, {attr3, value3}})) {
        return {};
    }
    return added;
}

XMLNode XMLNode::AddNodeBefore(const wchar_t* name, const wchar_t* text, const wchar_t* attr1,
                               const wchar_t* value1, const wchar_t* attr2, const wchar_t* value2) {
    if (node_ == nullptr) {
        return {};
    }
    xmlNodePtr self = ToXml(node_);
    xmlNodePtr parent = DomParent(self);
    if (parent == nullptr) {
        return {};
    }
    xmlNodePtr element = NewElement(self, name);
    if (element == nullptr) {
        return {};
    }
    XMLNode added = Wrap(element);
    if (!FillElement(element, text, {{attr1, value1}, {attr2, value2}}) ||
        InsertNode(parent, element, self) < 0) {
        return {};
    }
    return added;
}

XMLNode XMLNode::GetOrAddNode(const wchar_t* name) {
    if (node_ == nullptr) {
        return {};
    }
    XMLNode found;
    if (GetChildNode(name, found)) {
        return found;
    }
    if (ToXml(node_)->type == XML_DOCUMENT_NODE) {
        return {};
    }
    xmlNodePtr element = NewElement(ToXml(node_), name);
    if (element == nullptr) {
        return {};
    }
    XMLNode added = Wrap(element);
    if (InsertNode(ToXml(node_), element, nullptr) < 0) {
        return {};
    }
    return added;
}

// ---- attributes ------------------------------------------------------------------------------

bool XMLNode::SetProperty(const wchar_t* name, int value) {
    return SetProperty(name, std::to_wstring(value).c_str());
}

bool XMLNode::SetProperty(const wchar_t* name, long value) {
    return SetProperty(name, std::to_wstring(value).c_str());
}

bool XMLNode::SetProperty(const wchar_t* name, bool value) {
    return SetProperty(name, value ? L"true" : L"false");
}

bool XMLNode::SetProperty(const wchar_t* name, double value) {
    return SetProperty(name, platform::FormatFixed(value, 12).c_str());
}

bool XMLNode::SetProperty(const wchar_t* name, const wchar_t* value) {
    if (node_ == nullptr || name == nullptr || value == nullptr || !IsXmlText(name) ||
        !IsXmlText(value)) {
        return false;
    }
    return SetAttribute(ToXml(node_), Utf8(name), Utf8(value)) == XmlStatus::Ok;
}

bool XMLNode::SetProperty(const wchar_t* name, wchar_t* value) {
    return SetProperty(name, static_cast<const wchar_t*>(value));
}

bool XMLNode::SetProperty(const wchar_t* name, const WideString& value) {
    return SetProperty(name, value.c_str());
}

bool XMLNode::SetStrBoolProperty(const wchar_t* name, bool value) {
    return SetProperty(name, value ? L"true" : L"false");
}

bool XMLNode::RemoveProperty(const wchar_t* name) {
    if (node_ == nullptr || name == nullptr) {
        return false;
    }
    return RemoveAttribute(ToXml(node_), Utf8(name)) == XmlStatus::Ok;
}

// ---- text and value --------------------------------------------------------------------------

bool XMLNode::SetNodeText(const WideString& text) {
    if (node_ == nullptr) {
        return false;
    }
    if (IsXmlText(text.c_str())) {
        SetText(ToXml(node_), Utf8(text.c_str()));
    }
    return true;
}

bool XMLNode::SetNodeText(const wchar_t* text) {
    if (node_ == nullptr || text == nullptr || !IsXmlText(text)) {
        return false;
    }
    return SetText(ToXml(node_), Utf8(text)) == XmlStatus::Ok;
}

bool XMLNode::SetNodeValue(const WideString& value) {
    return SetNodeValue(value.c_str());
}

bool XMLNode::SetNodeValue(const wchar_t* value) {
    if (node_ == nullptr || value == nullptr || !IsXmlText(value)) {
        return false;
    }
    return SetValue(ToXml(node_), Utf8(value)) == XmlStatus::Ok;
}

// ---- removing --------------------------------------------------------------------------------

bool XMLNode::RemoveThisNode(bool clearHandle) {
    if (node_ == nullptr || DomParent(ToXml(node_)) == nullptr) {
        return false;
    }
    if (RemoveNode(ToXml(node_)) < 0) {
        return false;
    }
    if (clearHandle) {
        *this = XMLNode();
    }
    return true;
}

bool XMLNode::RemoveChildNode(const wchar_t* name) {
    if (node_ == nullptr) {
        return false;
    }
    XMLNode found;
    if (!GetChildNode(name, found)) {
        return true;
    }
    return found.RemoveThisNode(true);
}

// ---- copying and moving ----------------------------------------------------------------------

XMLNode XMLNode::CloneNode(bool deep) const {
    if (node_ == nullptr) {
        return {};
    }
    xmlNodePtr copy = nullptr;
    if (xmldetail::CloneNode(ToXml(node_), deep, copy) < 0) {
        return {};
    }
    return Wrap(copy);
}

XMLNode XMLNode::AppendChild(const XMLNode& child) {
    if (node_ == nullptr || !child.IsNode()) {
        return {};
    }
    XMLNode moved = child;
    if (InsertNode(ToXml(node_), Raw(moved), nullptr) < 0) {
        return {};
    }
    return moved;
}

XMLNode XMLNode::InsertChild(XMLNode& child, int idx) {
    if (node_ == nullptr || !child.IsNode()) {
        return {};
    }
    XMLNode result;
    XMLNode before;
    if (GetChildNodeByIdx(idx, before)) {
        XMLNode moved = child;
        if (InsertNode(ToXml(node_), Raw(moved), Raw(before)) == XmlStatus::Ok) {
            result = moved;
        }
    } else {
        result = AppendChild(child);
    }
    if (result.IsNode()) {
        child = result;
    }
    return result;
}

XMLNode XMLNode::ImportNode(const XMLNode& source, bool deep) {
    if (node_ == nullptr || ToXml(node_)->type == XML_DOCUMENT_NODE || !source.IsNode()) {
        return {};
    }
    xmlNodePtr target = ToXml(node_);
    xmlNodePtr from = Raw(source);
    // Importing a node into itself or its own subtree reads from a copy taken first, so that the
    // walk never meets what it adds.
    XMLNode snapshot;
    if (deep) {
        for (xmlNodePtr p = target; p != nullptr; p = p->parent) {
            if (p == from) {
                snapshot = source.CloneNode(true);
                if (!snapshot.IsNode()) {
                    return {};
                }
                from = Raw(snapshot);
                break;
            }
        }
    }
    Document* d = DocumentOf(target);
    auto importOne = [&](xmlNodePtr parent, xmlNodePtr node) -> xmlNodePtr {
        std::string name = NodeName(node);
        xmlNodePtr element = nullptr;
        if (name.empty() || name[0] == '#' || CreateElement(d, name, element) < 0) {
            return nullptr;
        }
        XMLNode keep = Wrap(element);
        if (InsertNode(parent, element, nullptr) < 0) {
            return nullptr;
        }
        if (node->type == XML_ELEMENT_NODE) {
            for (const std::string& attr : AttributeNames(node)) {
                std::string value;
                if (GetAttribute(node, attr, value) == XmlStatus::Ok) {
                    SetAttribute(element, attr, value);
                }
            }
        }
        return element;
    };
    xmlNodePtr top = importOne(target, from);
    if (top == nullptr) {
        return {};
    }
    XMLNode result = Wrap(top);
    if (!deep) {
        return result;
    }
    struct Level {
        xmlNodePtr source;
        xmlNodePtr copy;
        xmlNodePtr next;
        bool anyElement;
    };
    std::vector<Level> stack{{from, top, FirstChild(from), false}};
    while (!stack.empty()) {
        Level& level = stack.back();
        if (level.next == nullptr) {
            if (!level.anyElement) {
                SetText(level.copy, xmldetail::NodeText(level.source));
            }
            stack.pop_back();
            continue;
        }
        xmlNodePtr child = level.next;
        level.next = child->next;
        if (child->type == XML_ELEMENT_NODE) {
            level.anyElement = true;
        }
        if (xmlNodePtr copy = importOne(level.copy, child)) {
            stack.push_back({child, copy, FirstChild(child), false});
        }
    }
    return result;
}

} // namespace torvex

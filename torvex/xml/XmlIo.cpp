#include "torvex/xml/XmlIo.h"

#include <libxml/SAX2.h>
#include <libxml/encoding.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlsave.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string_view>

#include "torvex/platform/AsciiText.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XmlDom.h"

namespace torvex::xmldetail {

namespace {

const xmlChar* X(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

// No network, no DTD loading or validation, entities not substituted, no messages. Names go
// into the document's dictionary: one copy of each, freed with the document at once.
constexpr int kParseOptions =
    XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

void IgnoreError(void*, xmlErrorPtr) {}

// A document type declaration ends the parse at once: its internal subset (and any entity
// defined there) is never read, so entity expansion and external entities can't happen.
void RefuseDocumentType(void* ctx, const xmlChar*, const xmlChar*, const xmlChar*) {
    auto* ctxt = static_cast<xmlParserCtxtPtr>(ctx);
    xmlStopParser(ctxt);
    ctxt->wellFormed = 0;
}

// Whether the parse running on this thread met a run of character data of white space alone.
// A blank text node is made of such runs only, so a parse that met none made no blank text node
// and the document needn't be searched for them.
thread_local bool t_sawBlankText = false;

bool IsBlankRun(const xmlChar* text, int length) {
    for (int i = 0; i < length; ++i) {
        const xmlChar c = text[i];
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n') {
            return false;
        }
    }
    return true;
}

void NoteCharacters(void* ctx, const xmlChar* text, int length) {
    if (!t_sawBlankText && IsBlankRun(text, length)) {
        t_sawBlankText = true;
    }
    xmlSAX2Characters(ctx, text, length);
}

// The watch of a parse and what it noted so far; the parser context points to it.
struct WatchState {
    const ElementWatch* watch = nullptr;
    std::vector<xmlNodePtr>* notes = nullptr;
    bool lost = false; // no room for a note: the watch was given up
    // The parser hands names over from its dictionary, the same pointer for the same name: the
    // last pointers that matched answer without a comparison. A pointer reused for another name
    // could only note an element too many, never miss one.
    const xmlChar* elementSeen = nullptr;
    const xmlChar* attributeSeen = nullptr;
};

// Names compare inline: the check runs for every element of the document.
bool SameName(const xmlChar* name, const std::string& wanted) {
    const char* a = reinterpret_cast<const char*>(name);
    const char* b = wanted.c_str();
    while (*a != '\0' && *a == *b) {
        ++a;
        ++b;
    }
    return *a == *b;
}

// The tree builder's start of an element, then the watch: the element just made is noted when
// it matches. Attributes come as five pointers each: name, prefix, URI, value, end of value.
void WatchStartElement(void* ctx, const xmlChar* localname, const xmlChar* prefix,
                       const xmlChar* uri, int namespaceCount, const xmlChar** namespaces,
                       int attributeCount, int defaultedCount, const xmlChar** attributes) {
    xmlSAX2StartElementNs(ctx, localname, prefix, uri, namespaceCount, namespaces, attributeCount,
                          defaultedCount, attributes);
    auto* ctxt = static_cast<xmlParserCtxtPtr>(ctx);
    auto* state = static_cast<WatchState*>(ctxt->_private);
    if (state == nullptr || state->lost) {
        return;
    }
    if (localname != state->elementSeen) {
        if (!SameName(localname, state->watch->element)) {
            return;
        }
        state->elementSeen = localname;
    }
    xmlNodePtr made = ctxt->node;
    if (made == nullptr || made->type != XML_ELEMENT_NODE || made->name == nullptr ||
        (made->name != localname && !SameName(made->name, state->watch->element))) {
        return;
    }
    for (int i = 0; i < attributeCount; ++i) {
        const xmlChar** attribute = attributes + 5 * i;
        if (attribute[0] != state->attributeSeen) {
            if (!SameName(attribute[0], state->watch->attribute)) {
                continue;
            }
            state->attributeSeen = attribute[0];
        }
        const std::string_view value(reinterpret_cast<const char*>(attribute[3]),
                                     static_cast<size_t>(attribute[4] - attribute[3]));
        // A reference the parser left in the value is longer than what it stands for.
        const std::string& wanted = state->watch->value;
        if (platform::EqualsIgnoringAsciiCase(value, wanted) ||
            (value.size() > wanted.size() && value.find('&') != std::string_view::npos)) {
            try {
                state->notes->push_back(made);
            } catch (...) {
                state->lost = true;
            }
            return;
        }
    }
}

// The parser's callbacks for any document: no document type, no messages, blank text noted.
void GuardContext(xmlParserCtxtPtr ctxt) {
    ctxt->sax->internalSubset = RefuseDocumentType;
    ctxt->sax->serror = IgnoreError;
    if (ctxt->sax->characters == xmlSAX2Characters) {
        ctxt->sax->characters = NoteCharacters;
    } else {
        t_sawBlankText = true; // not watched: assume there is some
    }
}

// The document a parse made, when it was well formed (null otherwise, and it is freed), marked
// as UTF-8. The context is freed.
xmlDocPtr TakeDocument(xmlParserCtxtPtr ctxt, xmlDocPtr doc, bool ok) {
    ok = ok && doc != nullptr && ctxt->wellFormed != 0;
    xmlFreeParserCtxt(ctxt);
    if (!ok) {
        xmlFreeDoc(doc);
        return nullptr;
    }
    if (doc->encoding != nullptr &&
        (doc->dict == nullptr || xmlDictOwns(doc->dict, doc->encoding) != 1)) {
        xmlFree(const_cast<xmlChar*>(doc->encoding));
    }
    // Content is UTF-8 inside; a named encoding also keeps the serialiser from turning
    // non-ASCII characters of attribute values into character references.
    doc->encoding = xmlStrdup(X("UTF-8"));
    return doc;
}

xmlDocPtr Parse(const std::string& bytes, const char* encoding, int options) {
    if (bytes.size() > static_cast<size_t>(INT_MAX)) {
        return nullptr;
    }
    InitLibrary();
    QuietErrors quiet;
    t_sawBlankText = false;
    xmlParserCtxtPtr ctxt = xmlNewParserCtxt();
    if (ctxt == nullptr) {
        return nullptr;
    }
    GuardContext(ctxt);
    xmlDocPtr doc = xmlCtxtReadMemory(ctxt, bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                      encoding, options);
    return TakeDocument(ctxt, doc, true);
}

// Wide text parsed without a UTF-8 copy of the whole: the parser reads it in pieces, each
// converted as it is read, so that a large document is never held twice while it is read.
struct WideSource {
    // The text still to read, up to its terminating null, which ends the source: the text is
    // read once, a chunk at a time, with no pass ahead to measure it.
    const wchar_t* next = nullptr;
    bool ended = false;
    // The bytes of a character that did not fit the last read, from `pendingAt` on.
    char pending[4] = {};
    size_t pendingSize = 0;
    size_t pendingAt = 0;
};

// The parser's read: as many whole characters as surely fit, converted into its buffer; a read
// with room for less than one character gets the next character's bytes one read after another.
// 0 only at the end of the text.
int ReadWide(void* context, char* buffer, int length) {
    auto* source = static_cast<WideSource*>(context);
    const size_t room = length > 0 ? static_cast<size_t>(length) : 0;
    size_t written = 0;
    auto takePending = [&] {
        while (written < room && source->pendingAt < source->pendingSize)
            buffer[written++] = source->pending[source->pendingAt++];
    };
    takePending();
    if (source->ended)
        return static_cast<int>(written);
    const size_t wanted = (room - written) / 4;
    const size_t characters = ::wcsnlen(source->next, wanted);
    written += platform::ToUtf8(std::wstring_view(source->next, characters), buffer + written);
    source->next += characters;
    if (characters < wanted) {
        source->ended = true;
    } else if (written == 0 && room > 0) {
        if (*source->next == L'\0') {
            source->ended = true;
        } else {
            source->pendingSize =
                platform::ToUtf8(std::wstring_view(source->next, 1), source->pending);
            source->pendingAt = 0;
            ++source->next;
            takePending();
        }
    }
    return static_cast<int>(written);
}

int CloseWide(void*) {
    return 0;
}

xmlDocPtr ParseWide(const wchar_t* text, int options, const ElementWatch* watch,
                    ParseResult& result) {
    InitLibrary();
    QuietErrors quiet;
    t_sawBlankText = false;
    xmlParserCtxtPtr ctxt = xmlNewParserCtxt();
    if (ctxt == nullptr) {
        return nullptr;
    }
    GuardContext(ctxt);
    // The watch rides on the tree builder; a parser set up otherwise keeps none.
    WatchState state;
    if (watch != nullptr && ctxt->sax->startElementNs == xmlSAX2StartElementNs &&
        ctxt->_private == nullptr) {
        state.watch = watch;
        state.notes = &result.watched;
        ctxt->_private = &state;
        ctxt->sax->startElementNs = WatchStartElement;
    }
    WideSource source;
    source.next = text;
    xmlDocPtr doc = xmlCtxtReadIO(ctxt, ReadWide, CloseWide, &source, nullptr, "UTF-8", options);
    ctxt->_private = nullptr;
    result.watchedAll = state.watch != nullptr && !state.lost;
    if (!result.watchedAll) {
        result.watched.clear();
    }
    return TakeDocument(ctxt, doc, true);
}

bool IsSpace(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

// The data of the XML declaration at the start of the text, trimmed.
bool ExtractDeclaration(std::wstring_view text, std::string& data) {
    if (text.size() < 7 || text.substr(0, 5) != L"<?xml" || !IsSpace(text[5])) {
        return false;
    }
    size_t end = text.find(L"?>", 5);
    if (end == std::wstring_view::npos) {
        return false;
    }
    std::wstring_view inner = text.substr(5, end - 5);
    while (!inner.empty() && IsSpace(inner.front())) {
        inner.remove_prefix(1);
    }
    while (!inner.empty() && IsSpace(inner.back())) {
        inner.remove_suffix(1);
    }
    data = platform::ToUtf8(inner);
    return true;
}

// The text up to the end of its XML declaration; empty when it has none. Reads no further.
std::wstring_view DeclarationHead(const wchar_t* text) {
    if (std::wcsncmp(text, L"<?xml", 5) != 0) {
        return std::wstring_view();
    }
    const wchar_t* end = std::wcsstr(text + 5, L"?>");
    return end != nullptr ? std::wstring_view(text, static_cast<size_t>(end - text) + 2)
                          : std::wstring_view();
}

// The first characters of file bytes as far as a declaration can reach, by the byte order mark
// or the first bytes (non-ASCII characters do not matter here).
std::wstring Head(const std::string& bytes) {
    auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    size_t n = bytes.size();
    size_t start = 0;
    int width = 1;
    bool bigEndian = false;
    if (n >= 3 && byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF) {
        start = 3;
    } else if (n >= 2 && byte(0) == 0xFF && byte(1) == 0xFE) {
        start = 2;
        width = 2;
    } else if (n >= 2 && byte(0) == 0xFE && byte(1) == 0xFF) {
        start = 2;
        width = 2;
        bigEndian = true;
    } else if (n >= 4 && byte(0) == 0x3C && byte(1) == 0 && byte(2) == 0x3F && byte(3) == 0) {
        width = 2;
    } else if (n >= 4 && byte(0) == 0 && byte(1) == 0x3C && byte(2) == 0 && byte(3) == 0x3F) {
        width = 2;
        bigEndian = true;
    }
    std::wstring head;
    for (size_t i = start; i + width <= n && head.size() < 1024; i += width) {
        unsigned unit = width == 1  ? byte(i)
                        : bigEndian ? (byte(i) << 8 | byte(i + 1))
                                    : (byte(i + 1) << 8 | byte(i));
        head.push_back(unit < 0x80 ? static_cast<wchar_t>(unit) : L'\xFFFD');
    }
    return head;
}

// Serialises `first` (and its following siblings, each followed by a line feed, when
// `siblings`) in the given encoding.
bool SaveNodes(xmlNodePtr first, bool siblings, const char* encoding, std::string& out) {
    QuietErrors quiet;
    xmlBufferPtr buffer = xmlBufferCreate();
    if (buffer == nullptr) {
        return false;
    }
    xmlSaveCtxtPtr ctxt = xmlSaveToBuffer(buffer, encoding, XML_SAVE_NO_DECL);
    if (ctxt == nullptr) {
        xmlBufferFree(buffer);
        return false;
    }
    bool ok = true;
    for (xmlNodePtr node = first; node != nullptr && ok; node = siblings ? node->next : nullptr) {
        if (node->type == XML_DTD_NODE) {
            continue;
        }
        ok = xmlSaveTree(ctxt, node) >= 0;
        if (siblings) {
            ok = ok && xmlSaveFlush(ctxt) >= 0 && xmlBufferAdd(buffer, X("\n"), 1) == 0;
        }
    }
    ok = xmlSaveClose(ctxt) >= 0 && ok;
    if (ok) {
        out.assign(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                   static_cast<size_t>(xmlBufferLength(buffer)));
    }
    xmlBufferFree(buffer);
    return ok;
}

// The value of the pseudo-attribute `encoding` in declaration data; empty when absent.
std::string DeclaredEncoding(const char* data) {
    std::string_view text(data);
    size_t pos = text.find("encoding");
    if (pos == std::string_view::npos) {
        return {};
    }
    pos += 8;
    while (pos < text.size() && (text[pos] == ' ' || text[pos] == '=' || text[pos] == '\t' ||
                                 text[pos] == '\r' || text[pos] == '\n')) {
        ++pos;
    }
    if (pos >= text.size() || (text[pos] != '"' && text[pos] != '\'')) {
        return {};
    }
    size_t end = text.find(text[pos], pos + 1);
    if (end == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(pos + 1, end - pos - 1));
}

std::string Upper(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return text;
}

} // namespace

namespace {

// Escapes as the serialiser does: markup characters always, and in an attribute value also the
// double quote and the white space that a parser would normalise.
void AppendEscaped(std::string& out, const char* text, bool attribute) {
    for (const char* p = text; *p != 0; ++p) {
        switch (*p) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '\r':
            out += "&#13;";
            break;
        case '"':
            out += attribute ? "&quot;" : "\"";
            break;
        case '\n':
            out += attribute ? "&#10;" : "\n";
            break;
        case '\t':
            out += attribute ? "&#9;" : "\t";
            break;
        default:
            out += *p;
        }
    }
}

} // namespace

void AppendEscapedAttribute(std::string& out, const char* value) {
    AppendEscaped(out, value, true);
}

void AppendEscapedText(std::string& out, const char* text) {
    AppendEscaped(out, text, false);
}

ParseResult ParseText(const wchar_t* text, const ElementWatch* watch) {
    ParseResult result;
    if (text == nullptr) {
        text = L"";
    }
    if (*text == L'\xFEFF') {
        ++text;
    }
    result.doc = ParseWide(text, kParseOptions | XML_PARSE_IGNORE_ENC, watch, result);
    if (result.doc == nullptr) {
        result.watched.clear();
        result.watchedAll = false;
    }
    result.mayHoldBlankText = t_sawBlankText;
    if (result.doc != nullptr) {
        result.hasDeclaration = ExtractDeclaration(DeclarationHead(text), result.declaration);
    }
    return result;
}

ParseResult ParseBytes(const std::string& bytes) {
    ParseResult result;
    result.doc = Parse(bytes, nullptr, kParseOptions);
    result.mayHoldBlankText = t_sawBlankText;
    if (result.doc != nullptr) {
        result.hasDeclaration = ExtractDeclaration(Head(bytes), result.declaration);
    }
    return result;
}

bool Serialize(xmlNodePtr node, std::string& utf8) {
    switch (node->type) {
    case XML_ATTRIBUTE_NODE: {
        auto* attr = reinterpret_cast<xmlAttrPtr>(node);
        utf8 = NodeName(node) + "=\"";
        for (xmlNodePtr text = attr->children; text != nullptr; text = text->next) {
            if (text->content != nullptr) {
                AppendEscapedAttribute(utf8, reinterpret_cast<const char*>(text->content));
            }
        }
        utf8 += '"';
        return true;
    }
    case XML_DOCUMENT_NODE:
        utf8.clear();
        return node->children == nullptr || SaveNodes(node->children, true, "UTF-8", utf8);
    default:
        return SaveNodes(node, false, "UTF-8", utf8);
    }
}

bool SerializeForFile(xmlDocPtr doc, std::string& bytes) {
    const xmlChar* declaration = DeclarationData(doc);
    std::string encoding =
        declaration != nullptr ? DeclaredEncoding(reinterpret_cast<const char*>(declaration)) : "";
    std::string upper = Upper(encoding);
    auto* docNode = reinterpret_cast<xmlNodePtr>(doc);
    if (upper.empty() || upper == "UTF-8" || upper == "UTF8") {
        return Serialize(docNode, bytes);
    }
    bool utf16 = upper == "UTF-16" || upper == "UTF16" || upper == "UCS-2" || upper == "UCS2" ||
                 upper == "UNICODE";
    if (utf16 || upper == "UTF-16LE" || upper == "UTF-16BE") {
        std::string utf8;
        if (!Serialize(docNode, utf8)) {
            return false;
        }
        std::u16string units = platform::ToUtf16(platform::FromUtf8(utf8));
        bool bigEndian = upper == "UTF-16BE";
        bytes.clear();
        bytes.reserve(units.size() * 2 + 2);
        if (utf16) {
            bytes += "\xFF\xFE";
        }
        for (char16_t unit : units) {
            char low = static_cast<char>(unit & 0xFF);
            char high = static_cast<char>(unit >> 8);
            bytes += bigEndian ? high : low;
            bytes += bigEndian ? low : high;
        }
        return true;
    }
    QuietErrors quiet;
    xmlCharEncodingHandlerPtr handler = xmlFindCharEncodingHandler(encoding.c_str());
    if (handler == nullptr) {
        return false;
    }
    xmlCharEncCloseFunc(handler);
    bytes.clear();
    return doc->children == nullptr || SaveNodes(doc->children, true, encoding.c_str(), bytes);
}

} // namespace torvex::xmldetail

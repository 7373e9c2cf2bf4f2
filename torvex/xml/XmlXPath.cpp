#include "torvex/xml/XmlXPath.h"

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cstring>

#include "torvex/platform/Utf16.h"
#include "torvex/xml/ComError.h"
#include "torvex/xml/XmlDom.h"

namespace torvex::xmldetail {

namespace {

const xmlChar* X(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

constexpr const char* kMsNamespace = "urn:schemas-microsoft-com:xslt";
// Compiled expressions kept per document before the cache starts afresh.
constexpr size_t kCompiledLimit = 1024;

void IgnoreError(void*, xmlErrorPtr) {}

// Simple case folding: ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic capitals.
char32_t Fold(char32_t c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7) ||
        (c >= 0x391 && c <= 0x3AB && c != 0x3A2) || (c >= 0x410 && c <= 0x42F)) {
        return c + 0x20;
    }
    if (c >= 0x400 && c <= 0x40F) {
        return c + 0x50;
    }
    if (c >= 0x100 && c <= 0x17F) {
        bool oddUpper = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
        if (c == 0x130 || c == 0x131 || c == 0x138 || c == 0x149 || c == 0x17F) {
            return c == 0x130 ? U'i' : c;
        }
        if (c == 0x178) {
            return 0xFF;
        }
        return oddUpper ? ((c & 1) != 0 ? c + 1 : c) : ((c & 1) == 0 ? c + 1 : c);
    }
    return c;
}

void StringCompareFunction(xmlXPathParserContextPtr ctxt, int nargs) {
    if (nargs < 2 || nargs > 4) {
        xmlXPathErr(ctxt, XPATH_INVALID_ARITY);
        return;
    }
    xmlChar* options = nargs == 4 ? xmlXPathPopString(ctxt) : nullptr;
    if (nargs >= 3) {
        xmlFree(xmlXPathPopString(ctxt));
    }
    xmlChar* b = xmlXPathPopString(ctxt);
    xmlChar* a = xmlXPathPopString(ctxt);
    if (a != nullptr && b != nullptr && ctxt->error == XPATH_EXPRESSION_OK) {
        bool ignoreCase = options != nullptr &&
                          std::strchr(reinterpret_cast<const char*>(options), 'i') != nullptr;
        int result = CompareStrings(reinterpret_cast<const char*>(a),
                                    reinterpret_cast<const char*>(b), ignoreCase);
        valuePush(ctxt, xmlXPathNewFloat(result));
    }
    xmlFree(a);
    xmlFree(b);
    xmlFree(options);
}

xmlXPathContextPtr ContextOf(Document* d) {
    if (d->xpath == nullptr) {
        xmlXPathContextPtr ctxt = xmlXPathNewContext(d->doc);
        if (ctxt == nullptr) {
            return nullptr;
        }
        ctxt->error = IgnoreError;
        xmlXPathContextSetCache(ctxt, 1, -1, 0);
        xmlXPathRegisterNs(ctxt, X("ms"), X(kMsNamespace));
        xmlXPathRegisterFuncNS(ctxt, X("string-compare"), X(kMsNamespace), StringCompareFunction);
        d->xpath = ctxt;
    }
    d->xpath->doc = d->doc;
    return d->xpath;
}

xmlXPathCompExprPtr Compile(Document* d, xmlXPathContextPtr ctxt, const std::string& expression) {
    auto it = d->compiled.find(expression);
    if (it != d->compiled.end()) {
        return it->second;
    }
    xmlXPathCompExprPtr compiled = xmlXPathCtxtCompile(ctxt, X(expression.c_str()));
    if (compiled == nullptr) {
        return nullptr;
    }
    if (d->compiled.size() >= kCompiledLimit) {
        for (auto& entry : d->compiled) {
            xmlXPathFreeCompExpr(entry.second);
        }
        d->compiled.clear();
    }
    d->compiled.emplace(expression, compiled);
    return compiled;
}

} // namespace

int CompareStrings(const std::string& a, const std::string& b, bool ignoreCase) {
    std::wstring left = platform::FromUtf8(a);
    std::wstring right = platform::FromUtf8(b);
    size_t n = std::min(left.size(), right.size());
    for (size_t i = 0; i < n; ++i) {
        char32_t x = static_cast<char32_t>(left[i]);
        char32_t y = static_cast<char32_t>(right[i]);
        if (ignoreCase) {
            x = Fold(x);
            y = Fold(y);
        }
        if (x != y) {
            return x < y ? -1 : 1;
        }
    }
    if (left.size() == right.size()) {
        return 0;
    }
    return left.size() < right.size() ? -1 : 1;
}

int32_t SelectNodes(xmlNodePtr context, const std::string& expression, bool firstOnly,
                    std::vector<xmlNodePtr>& out) {
    QuietErrors quiet;
    Document* d = DocumentOf(context);
    xmlXPathContextPtr ctxt = ContextOf(d);
    if (ctxt == nullptr) {
        return XmlStatus::OutOfMemory;
    }
    xmlXPathCompExprPtr compiled = Compile(d, ctxt, expression);
    if (compiled == nullptr) {
        return XmlStatus::Fail;
    }
    ctxt->node = context;
    ctxt->contextSize = -1;
    ctxt->proximityPosition = -1;
    xmlXPathObjectPtr result = xmlXPathCompiledEval(compiled, ctxt);
    ctxt->node = nullptr;
    if (result == nullptr) {
        return XmlStatus::Fail;
    }
    if (result->type != XPATH_NODESET) {
        xmlXPathFreeObject(result);
        return XmlStatus::Fail;
    }
    xmlNodeSetPtr nodes = result->nodesetval;
    if (nodes != nullptr && nodes->nodeNr > 0) {
        xmlXPathNodeSetSort(nodes);
        int count = firstOnly ? 1 : nodes->nodeNr;
        out.reserve(out.size() + static_cast<size_t>(count));
        for (int i = 0; i < count; ++i) {
            xmlNodePtr node = nodes->nodeTab[i];
            out.push_back(node->type == XML_NAMESPACE_DECL ? nullptr : node);
        }
    }
    xmlXPathFreeObject(result);
    return XmlStatus::Ok;
}

} // namespace torvex::xmldetail

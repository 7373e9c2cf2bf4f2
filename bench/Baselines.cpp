#include "Baselines.h"

#include "host/CUnitsEvaluatorProvider.h"
#include "torvex/platform/NumberText.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstring>
#include <vector>

namespace torvex::bench {
namespace {

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOBLANKS;

xmlDocPtr ParseUtf8(const std::string& text) {
    return xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                         kParseOptions);
}

bool IsNamed(const xmlNode* node, const char* name) {
    return std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
}

// Length of an attribute's value, read in place (no copy), or 0 when absent.
size_t AttributeLength(const xmlNode* element, const char* name) {
    for (const xmlAttr* attr = element->properties; attr; attr = attr->next) {
        if (std::strcmp(reinterpret_cast<const char*>(attr->name), name) == 0 && attr->children &&
            attr->children->content)
            return std::strlen(reinterpret_cast<const char*>(attr->children->content));
    }
    return 0;
}

// Length of an element's text, read in place.
size_t TextLength(const xmlNode* element) {
    size_t length = 0;
    for (const xmlNode* child = element->children; child; child = child->next) {
        if (child->type == XML_TEXT_NODE && child->content)
            length += std::strlen(reinterpret_cast<const char*>(child->content));
    }
    return length;
}

} // namespace

BareDocuments::~BareDocuments() {
    Free();
}

bool BareDocuments::Parse(const GeneratedFamily& family) {
    Free();
    bool ok = true;
    m_docs[0] = ParseUtf8(family.familyUtf8);
    ok = ok && m_docs[0];
    for (size_t i = 0; i < family.stringDocumentsUtf8.size() && i < 2; ++i) {
        m_docs[i + 1] = ParseUtf8(family.stringDocumentsUtf8[i]);
        ok = ok && m_docs[i + 1];
    }
    return ok;
}

size_t BareDocuments::WalkCells() const {
    size_t cells = 0;
    size_t touched = 0;
    std::vector<const xmlNode*> stack;
    for (void* doc : m_docs) {
        if (!doc)
            continue;
        stack.push_back(xmlDocGetRootElement(static_cast<xmlDocPtr>(doc)));
        while (!stack.empty()) {
            const xmlNode* node = stack.back();
            stack.pop_back();
            if (!node)
                continue;
            if (IsNamed(node, "Cell")) {
                touched += AttributeLength(node, "ColumnId") + TextLength(node);
                ++cells;
                continue;
            }
            if (IsNamed(node, "CellString")) {
                touched += AttributeLength(node, "RowId") + TextLength(node);
                ++cells;
                continue;
            }
            for (const xmlNode* child = node->last; child; child = child->prev) {
                if (child->type == XML_ELEMENT_NODE)
                    stack.push_back(child);
            }
        }
    }
    // Every cell has a column id, so `touched` is never below `cells`; the comparison keeps the
    // reads from being dropped.
    return touched >= cells ? cells : 0;
}

void BareDocuments::Free() {
    for (void*& doc : m_docs) {
        if (doc)
            xmlFreeDoc(static_cast<xmlDocPtr>(doc));
        doc = nullptr;
    }
}

HostTally RunHostAlone(const GeneratedFamily& family) {
    HostTally tally;
    CUnitsEvaluatorProvider provider;
    WideString internalUnit;
    for (const HostCall& call : family.hostCalls) {
        ++tally.calls;
        if (provider.GetInternalUnit(call.unit.c_str(), &internalUnit) < 0) {
            ++tally.failed;
            continue;
        }
        double value = 0.0;
        if (provider.EvaluateToDouble(call.expression.c_str(), call.unit.c_str(), &value) < 0) {
            ++tally.failed;
            continue;
        }
        if (internalUnit != call.unit) {
            const std::wstring text = platform::FormatGeneral(value, 6);
            if (provider.ConvertUnits(text.c_str(), internalUnit.c_str(), call.unit.c_str(),
                                      &value) < 0) {
                ++tally.failed;
                continue;
            }
        }
        tally.checksum += platform::FormatGeneral(value, 8).size();
    }
    return tally;
}

void WarmUpHost() {
    CUnitsEvaluatorProvider provider;
    WideString internalUnit;
    provider.GetInternalUnit(L"mm", &internalUnit);
    double value = 0.0;
    provider.EvaluateToDouble(L"1mm", L"mm", &value);
}

} // namespace torvex::bench

#include "torvex/toc/CToc.h"

#include <utility>

#include "torvex/platform/AsciiText.h"
#include "torvex/toc/CTocCategory.h"
#include "torvex/toc/TocNames.h"
#include "torvex/xml/ComError.h"

namespace torvex {

namespace {

// A parser without a document: what a moved-from parser is.
XMLParser Documentless() {
    XMLParser made;
    XMLParser taken(std::move(made));
    return made; // NOLINT(bugprone-use-after-move): documentless by XMLParser's contract
}

} // namespace

CToc::CToc() : m_document(Documentless()) {}

CToc::CToc(const CToc& other)
    : m_firstNode(other.m_firstNode), m_firstCategory(other.m_firstCategory),
      m_document(other.m_document), m_families(other.m_families), m_categories(other.m_categories) {
}

CToc& CToc::operator=(const CToc& other) {
    if (this != &other) {
        m_firstNode = other.m_firstNode;
        m_firstCategory = other.m_firstCategory;
        m_document = other.m_document;
        m_families = other.m_families;
        m_categories = other.m_categories;
        // The source's positions refer into its own maps: a walk here starts with a reset.
        m_familyWalk = Walk();
        m_categoryWalk = Walk();
    }
    return *this;
}

CToc::~CToc() = default;

void CToc::SetToc(const XMLParser& toc) {
    m_document = toc;
    // The maps are rebuilt: positions into them would dangle.
    m_familyWalk = Walk();
    m_categoryWalk = Walk();
    m_families.clear();
    CreateFamiliesMap(); // may throw ComError; the answers of both builders are not used
    CreateCategoryMap();
}

XMLParser CToc::GetToc() const {
    return m_document;
}

XMLParser CToc::GetDocument() const {
    return m_document;
}

bool CToc::GetFamilyInfo(const wchar_t* name, XMLNode& out) const {
    if (name == nullptr) {
        return false;
    }
    const auto found = m_families.find(name);
    if (found == m_families.end()) {
        return false;
    }
    out = found->second;
    return true;
}

bool CToc::GetCategoryInfo(const wchar_t* name, XMLNode& out) const {
    if (name == nullptr) {
        return false;
    }
    const auto found = m_categories.find(name);
    if (found == m_categories.end()) {
        return false;
    }
    out = found->second;
    return true;
}

int CToc::GetCategoryCount() const {
    return static_cast<int>(m_categories.size());
}

void CToc::ResetIter() {
    m_familyWalk.at = m_families.begin();
    m_familyWalk.set = true;
    m_firstNode = true;
}

bool CToc::NextNode(XMLNode& out) {
    return Step(m_families, m_familyWalk, m_firstNode, out);
}

void CToc::ResetCatIter() {
    m_categoryWalk.at = m_categories.begin();
    m_categoryWalk.set = true;
    m_firstNode = true; // the family walk's flag, not the category walk's: required so
}

bool CToc::NextCategory(XMLNode& out) {
    return Step(m_categories, m_categoryWalk, m_firstCategory, out);
}

bool CToc::Step(const NodeMap& map, Walk& walk, bool& first, XMLNode& out) {
    if (!walk.set) {
        return false; // no reset since construction, a copy or SetToc
    }
    if (first) {
        first = false;
    } else if (walk.at != map.end()) {
        ++walk.at; // never beyond the end: a walk that has ended stays there
    }
    if (walk.at == map.end()) {
        return false;
    }
    out = walk.at->second;
    return true;
}

bool CToc::GetCategoryPath(const wchar_t* name, XMLNodeArray& out) const {
    out.RemoveAll();
    XMLNode node;
    if (!GetCategoryInfo(name, node)) {
        return false;
    }
    // Each step goes one level up, so the walk ends at the document node at the latest.
    for (;;) {
        out.Add(node);
        XMLNode parent = node.GetParentNode();
        WideString parentName;
        if (!parent.GetNodeName(parentName)) {
            return false; // off the top
        }
        if (parent.GetNodeType() != XMLNode::NodeElement ||
            !platform::EqualsIgnoringAsciiCase(parentName, TocNames::ElemCategory)) {
            return true;
        }
        node = std::move(parent);
    }
}

bool CToc::GetFam2CatMap(FamilyCategoryMap& out, bool skipHidden) const {
    for (const auto& entry : m_categories) {
        const CTocCategory category(entry.second);
        if (!category.IsNode() || (skipHidden && category.IsHidden())) {
            continue;
        }
        XMLNodeArray references;
        if (!category.SelectChildNodes(TocNames::ElemFamilyReference, references)) {
            continue;
        }
        WideString categoryName; // empty when absent
        category.GetProperty(TocNames::AttrInternalName, categoryName);
        for (const XMLNode& reference : references) {
            WideString family;
            if (reference.IsNode() && reference.GetProperty(TocNames::AttrInternalName, family)) {
                out[family] = categoryName;
            }
        }
    }
    return true;
}

bool CToc::GetFirstLevelCategories(XMLNodeArray& out) const {
    const XMLParser toc = GetToc();
    XMLNode root;
    if (!toc.GetNode(root)) {
        return false;
    }
    XMLNode categories;
    if (!root.GetChildNode(TocNames::ElemCategories, categories)) {
        return false;
    }
    return categories.SelectChildNodes(TocNames::ElemCategory, out);
}

bool CToc::FindTocChild(const wchar_t* path, XMLNode& out) const {
    // The document node is the context: the root node's parent, or the root node itself when
    // the document has no element.
    const XMLNode root = m_document.GetRootNode();
    const XMLNode document =
        root.GetNodeType() == XMLNode::NodeDocument ? root : root.GetParentNode();
    return document.GetChildNode(path, out);
}

bool CToc::CreateFamiliesMap() {
    if (!m_document.HasDocument()) {
        return false;
    }
    m_families.clear();
    XMLNode families;
    if (!FindTocChild(TocNames::PathFamilies, families)) {
        return false;
    }
    XMLNode node;
    if (!families.GetFirstChildNode(node) || !node.IsNode()) {
        return false;
    }
    while (node.IsNode()) {
        // Every entry must be an element: using the element view of anything else (a comment,
        // text) fails as a DOM call on a null reference does, and nothing here catches it.
        if (node.GetNodeType() != XMLNode::NodeElement) {
            throw ComError(XmlStatus::Pointer);
        }
        WideString name;
        if (!node.GetProperty(TocNames::AttrInternalName, name)) {
            break; // an entry without InternalName ends the map: the rest stay out
        }
        m_families[name] = node; // a later entry of the same name replaces the earlier
        XMLNode next;
        node.GetNextSibling(next);
        node = std::move(next);
    }
    return true;
}

bool CToc::CreateCategoryMap() {
    if (!m_document.HasDocument()) {
        return false;
    }
    m_categories.clear();
    XMLNode categories;
    if (!FindTocChild(TocNames::PathCategories, categories)) {
        return false;
    }
    // From the document root: every Category of the document, not only those below Categories.
    XMLNodeArray all;
    if (!categories.SelectChildNodes(TocNames::PathAllCategories, all)) {
        return false;
    }
    for (const XMLNode& node : all) {
        WideString name;
        if (!node.IsNode() || !node.GetProperty(TocNames::AttrInternalName, name)) {
            continue; // a category without InternalName only loses itself
        }
        m_categories[name] = node;
    }
    return true;
}

} // namespace torvex

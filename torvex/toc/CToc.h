#pragma once
// The catalogue's table of contents: one document that lists the families (TableOfContents/
// Families) and arranges them in a tree of categories (TableOfContents/Categories, Category
// elements nested to any depth, with FamilyReference children naming families). CToc holds the
// document and two maps from internal names to nodes, built when the document is set, and
// answers lookups, walks and the mapping from families to categories. It never edits the
// document.
//
// Keys compare exactly (case counts) and the walks run in key order, not document order.
//
// The walks keep two flags that say "the next step gives the current entry without advancing".
// Both are true from construction on. ResetIter sets the family walk's flag; ResetCatIter sets
// the family walk's flag as well, not its own. So only the first category walk starts at the
// first key; every later one starts at the second, and after ResetCatIter the next NextNode gives
// again the family it gave last. This is required behaviour.
//
// A walk needs a reset first: on a fresh CToc, after a copy, after an assignment and after each
// SetToc, NextNode and NextCategory answer false until ResetIter or ResetCatIter has been called.
//
// One thread at a time: even the walks' reads change the object.

#include <map>

#include "torvex/platform/WideString.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XMLParser.h"

namespace torvex {

class CToc {
public:
    /// Internal name to node, ordered by the names' code units.
    using NodeMap = std::map<WideString, XMLNode>;
    /// Family internal name to category internal name.
    using FamilyCategoryMap = std::map<WideString, WideString>;

    /// No document, empty maps, both flags true, no walk under way.
    CToc();
    /// Copies both flags and both maps (the nodes and the document are shared). The copy's walks
    /// need ResetIter and ResetCatIter before they give anything.
    CToc(const CToc& other);
    /// As the copy constructor.
    CToc& operator=(const CToc& other);
    virtual ~CToc();

    /// Takes the parser's document and rebuilds both maps: the family map, then the category map.
    /// A document of the wrong shape leaves empty maps (a documentless parser empties only the
    /// family map). THROWS ComError when an entry under Families is no element (a comment,
    /// text): the family map then holds the entries before it, and the category map is not
    /// rebuilt. The walks need a reset afterwards.
    void SetToc(const XMLParser& toc);
    /// A parser sharing the document; a documentless parser before any SetToc.
    XMLParser GetToc() const;
    /// The document, as GetToc.
    XMLParser GetDocument() const;

    /// Exact lookup in the family map: a hit sets `out` and answers true; a miss (or a null
    /// name) answers false and leaves `out` alone.
    bool GetFamilyInfo(const wchar_t* name, XMLNode& out) const;
    /// Exact lookup in the category map, as GetFamilyInfo.
    bool GetCategoryInfo(const wchar_t* name, XMLNode& out) const;
    /// Number of entries of the category map.
    int GetCategoryCount() const;

    /// The family walk goes to the first entry, and its flag becomes true.
    void ResetIter();
    /// Gives the current family entry if the flag is true (clearing it), else advances first.
    /// False at the end of the map, and before any reset.
    bool NextNode(XMLNode& out);
    /// The category walk goes to the first entry; the FAMILY walk's flag becomes true.
    void ResetCatIter();
    /// As NextNode, on the category walk with its own flag.
    bool NextCategory(XMLNode& out);

    /// `out` emptied, then the category and its ancestors called "Category" (ignoring case),
    /// the leaf first; the Categories element is not included. False for an unknown name, and
    /// when the walk up runs off the top of the document (`out` as far as it got).
    bool GetCategoryPath(const wchar_t* name, XMLNodeArray& out) const;
    /// Adds to `out` (it is not emptied) an entry family -> category for every FamilyReference
    /// with an InternalName directly under a category of the map, walking the categories in key
    /// order: a family referenced from several categories ends with the one whose key sorts
    /// last. With `skipHidden`, categories whose Hidden is true are passed over (their
    /// subcategories are judged by their own Hidden). True.
    bool GetFam2CatMap(FamilyCategoryMap& out, bool skipHidden) const;
    /// The direct Category children of the document element's first Categories child, in
    /// document order (`out` emptied first). False, with `out` untouched, without a document or
    /// when the document element has no Categories child.
    bool GetFirstLevelCategories(XMLNodeArray& out) const;

private:
    bool CreateFamiliesMap();
    bool CreateCategoryMap();
    /// The node that TableOfContents/<child> names from the document node; false when missing.
    bool FindTocChild(const wchar_t* path, XMLNode& out) const;

    // A walk's position: `set` is false until the first reset (and after a copy or SetToc), so
    // that `at` never refers into another map or a rebuilt one.
    struct Walk {
        NodeMap::const_iterator at;
        bool set = false;
    };
    static bool Step(const NodeMap& map, Walk& walk, bool& first, XMLNode& out);

    bool m_firstNode = true;     // the next NextNode gives the current entry without advancing
    bool m_firstCategory = true; // the same for NextCategory
    XMLParser m_document;        // documentless until SetToc
    NodeMap m_families;
    NodeMap m_categories;
    Walk m_familyWalk;
    Walk m_categoryWalk;
};

} // namespace torvex

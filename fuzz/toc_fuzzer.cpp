// Feeds arbitrary bytes to CToc as a table of contents (UTF-8 text), then walks everything it
// offers: both maps and both walks (twice, and a copy), every family entry through CTocFamily,
// every category through CTocCategory with its path up, the family-to-category map with and
// without hidden categories, and the first-level categories. Whatever the bytes, this must end
// without a crash, a hang or a broken invariant of the walks (which abort).

#include "torvex/platform/Utf16.h"
#include "torvex/toc/CToc.h"
#include "torvex/toc/CTocCategory.h"
#include "torvex/toc/CTocFamily.h"
#include "torvex/xml/ComError.h"
#include "torvex/xml/XMLParser.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string_view>
#include <vector>

using namespace torvex;

namespace {

void Check(bool condition) {
    if (!condition)
        std::abort();
}

// Every reader of a family entry.
void ReadFamily(const CTocFamily& family) {
    WideString text;
    family.GetInternalName(text);
    family.GetDisplayName(text);
    family.GetSourceLib(text);
    family.GetSourceFamily(text);
    family.GetStandardOrg(text);
    family.GetSourceRevision(text);
    family.GetRevision(text);
    for (int type = -1; type <= FamilyPropLastModifiedTime + 1; ++type)
        family.GetFamilyProperty(static_cast<FamilyPropType>(type), text);
}

// Every reader of a category.
void ReadCategory(const CTocCategory& category) {
    WideString text;
    category.GetInternalName(text);
    category.GetDisplayName(text);
    category.GetRevisionID(text);
    category.GetLibraryID(text);
    category.GetDomain(text);
    category.IsHidden();
    category.SpecialAuthoring();
    Check(category.IsCategoryNode());
    CTocCategory parent;
    category.GetParent(parent);
    XMLNodeArray subcategories;
    Check(category.GetSubCategoryNodes(subcategories));
    std::set<WideString> set;
    WideStringList list;
    Check(category.GetReferencedFamilies(set));
    Check(category.GetReferencedFamilies(list));
    Check(set.size() <= list.size());
}

// The keys of a whole walk.
template <typename Next> std::vector<WideString> Walk(Next next) {
    std::vector<WideString> keys;
    XMLNode node;
    while (next(node)) {
        WideString key;
        node.GetProperty(L"InternalName", key);
        keys.push_back(key);
    }
    return keys;
}

void WalkEverything(CToc& toc) {
    // The family walk gives the map in key order, every time.
    toc.ResetIter();
    const std::vector<WideString> families = Walk([&](XMLNode& n) { return toc.NextNode(n); });
    Check(std::is_sorted(families.begin(), families.end()));
    for (const WideString& name : families) {
        CTocFamily family;
        Check(toc.GetFamilyInfo(name.c_str(), family));
        ReadFamily(family);
    }
    toc.ResetIter();
    Check(Walk([&](XMLNode& n) { return toc.NextNode(n); }) == families);

    // The first category walk gives every entry; the next one all but the first.
    const size_t count = static_cast<size_t>(toc.GetCategoryCount());
    toc.ResetCatIter();
    const std::vector<WideString> categories =
        Walk([&](XMLNode& n) { return toc.NextCategory(n); });
    Check(categories.size() == count);
    toc.ResetCatIter();
    const std::vector<WideString> second = Walk([&](XMLNode& n) { return toc.NextCategory(n); });
    Check(second.size() + (count > 0 ? 1 : 0) == categories.size());

    // Every category, and its path up: leaf first, every node a category element.
    XMLNodeArray path;
    for (const WideString& name : categories) {
        CTocCategory category;
        Check(toc.GetCategoryInfo(name.c_str(), category));
        ReadCategory(category);
        Check(toc.GetCategoryPath(name.c_str(), path));
        Check(path.GetSize() >= 1 && path[0].IsSameNode(category));
        for (const XMLNode& step : path)
            Check(step.GetNodeType() == XMLNode::NodeElement);
    }

    // The family-to-category map: what skipping hidden categories keeps is a part of the whole,
    // and every category named there has a path.
    CToc::FamilyCategoryMap all, visible;
    Check(toc.GetFam2CatMap(all, false));
    Check(toc.GetFam2CatMap(visible, true));
    Check(visible.size() <= all.size());
    for (const auto& [family, category] : visible)
        Check(all.count(family) == 1);
    for (const auto& [family, category] : all) {
        XMLNode node;
        toc.GetFamilyInfo(family.c_str(), node);
        Check(toc.GetCategoryPath(category.c_str(), path));
    }

    XMLNodeArray firstLevel;
    if (toc.GetFirstLevelCategories(firstLevel))
        for (const XMLNode& node : firstLevel)
            ReadCategory(CTocCategory(node));

    // A copy walks only after its resets, and then like the original.
    CToc copy(toc);
    XMLNode node;
    Check(!copy.NextNode(node) && !copy.NextCategory(node));
    copy.ResetIter();
    Check(Walk([&](XMLNode& n) { return copy.NextNode(n); }) == families);
    copy.ResetCatIter();
    Check(Walk([&](XMLNode& n) { return copy.NextCategory(n); }) == second);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const WideString text =
        platform::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
    CToc toc;
    try {
        toc.SetToc(XMLParser(text.c_str()));
    } catch (const ComError& e) {
        // Something other than an element among the families: raised on purpose.
        Check(e.Code() == XmlStatus::Pointer);
    }
    WalkEverything(toc);
    return 0;
}

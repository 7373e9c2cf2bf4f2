#pragma once
// Helpers shared by the table-of-contents tests, and the catalogue most of them read.

#include <gtest/gtest.h>

#include "torvex/platform/WideString.h"
#include "torvex/toc/CToc.h"
#include "torvex/toc/CTocCategory.h"
#include "torvex/toc/CTocFamily.h"
#include "torvex/xml/ComError.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XMLParser.h"

namespace torvex::toctest {

// Document order differs from key order on purpose, in both lists:
//   families  f-b, f-a, F-A, f-c          keys  F-A, f-a, f-b, f-c
//   categories x, x-1, m, m-2, m-2-1, m-1  keys  m, m-1, m-2, m-2-1, x, x-1
// x is hidden and first in the document; f-a is referenced from x and from m-2-1; f-c only from
// x; f-d (not listed) from x-1, a visible subcategory of x.
inline constexpr const wchar_t* kCatalogue = LR"(<?xml version="1.0"?>
<TableOfContents>
  <Families>
    <Family InternalName="f-b" DisplayName="Bolts"/>
    <Family InternalName="f-a" DisplayName="Anchors"/>
    <Family InternalName="F-A" DisplayName="Anchors, upper case"/>
    <Family InternalName="f-c" DisplayName="Clips"/>
  </Families>
  <Categories>
    <Category InternalName="x" DisplayName="Extras" Hidden="true">
      <FamilyReference InternalName="f-a"/>
      <FamilyReference InternalName="f-c"/>
      <Category InternalName="x-1" DisplayName="Extra clips" Hidden="false">
        <FamilyReference InternalName="f-d"/>
      </Category>
    </Category>
    <Category InternalName="m" DisplayName="Mechanical">
      <Category InternalName="m-2" DisplayName="Anchoring">
        <Category InternalName="m-2-1" DisplayName="Wall anchors">
          <FamilyReference InternalName="f-a"/>
        </Category>
      </Category>
      <Category InternalName="m-1" DisplayName="Bolting">
        <FamilyReference InternalName="f-b"/>
      </Category>
    </Category>
  </Categories>
</TableOfContents>)";

/// A CToc set to the document of `text`.
inline CToc TocOf(const wchar_t* text) {
    CToc toc;
    toc.SetToc(XMLParser(text));
    return toc;
}

/// The node's InternalName, or "<empty>" / "<none>".
inline WideString Key(const XMLNode& node) {
    if (!node.IsNode())
        return L"<empty>";
    WideString name;
    return node.GetProperty(L"InternalName", name) ? name : WideString(L"<none>");
}

/// The InternalNames of an array's nodes, joined with ",".
inline WideString Keys(const XMLNodeArray& nodes) {
    WideString joined;
    for (const XMLNode& node : nodes)
        joined += (joined.empty() ? L"" : L",") + Key(node);
    return joined;
}

/// Every entry NextNode gives until it answers false (at most `limit`), joined with ",".
inline WideString WalkFamilies(CToc& toc, int limit = 100) {
    WideString joined;
    XMLNode node;
    for (int i = 0; i < limit && toc.NextNode(node); ++i)
        joined += (joined.empty() ? L"" : L",") + Key(node);
    return joined;
}

/// The same for NextCategory.
inline WideString WalkCategories(CToc& toc, int limit = 100) {
    WideString joined;
    XMLNode node;
    for (int i = 0; i < limit && toc.NextCategory(node); ++i)
        joined += (joined.empty() ? L"" : L",") + Key(node);
    return joined;
}

/// The map as "family>category" entries joined with ",".
inline WideString Entries(const CToc::FamilyCategoryMap& map) {
    WideString joined;
    for (const auto& [family, category] : map)
        joined += (joined.empty() ? L"" : L",") + family + L">" + category;
    return joined;
}

} // namespace torvex::toctest

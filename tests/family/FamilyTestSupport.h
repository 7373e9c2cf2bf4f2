#pragma once
// Helpers shared by the family tests: a host provider that answers nothing and counts its
// deletion, a family opened from text, the serialised form of a node, and a fresh folder for
// cache files.

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/evaluation/IEvaluatorProvider.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Guid.h"
#include "torvex/platform/Utf16.h"
#include "torvex/xml/XMLNode.h"
#include "torvex/xml/XMLNodeArray.h"
#include "torvex/xml/XMLParser.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>

namespace torvex::test {

// A host that can't evaluate anything; it records its family and its deletion.
class NullProvider : public IEvaluatorProvider {
public:
    explicit NullProvider(int* deletions = nullptr) : m_deletions(deletions) {}
    ~NullProvider() override {
        if (m_deletions)
            ++*m_deletions;
    }
    int32_t EvaluateToDouble(const wchar_t*, const wchar_t*, double*) override { return -1; }
    int32_t ConvertUnits(const wchar_t*, const wchar_t*, const wchar_t*, double*) override {
        return -1;
    }
    int32_t GetInternalUnit(const wchar_t*, WideString*) override { return -1; }
    int32_t GetMaterialName(const wchar_t*, WideString*) override { return -1; }
    int32_t GetMaterialRefKey(const wchar_t*, WideString*) override { return -1; }
    CEncapFamily* Family() const { return GetEncapFamily(); }

private:
    int* m_deletions;
};

inline std::unique_ptr<CEncapFamily> OpenFamily(const wchar_t* xml,
                                                const WideStringList& strings = {}) {
    return std::make_unique<CEncapFamily>(xml, strings, nullptr, new NullProvider(), false);
}

// The family document's root element serialised.
inline WideString RootXml(const CEncapFamily& family) {
    WideString xml;
    family.GetFamilyXML().GetRootNode().GetXml(xml);
    return xml;
}

// The family's FamilyTable element serialised.
inline WideString TableXml(const CEncapFamily& family) {
    WideString xml;
    family.GetEncapFamilyTable()->GetXMLNode().GetXml(xml);
    return xml;
}

// A new empty folder under the temporary folder; the caller removes it.
inline std::filesystem::path FreshDirectory() {
    const std::filesystem::path dir =
        std::filesystem::path(platform::TempDirectory()) /
        (L"torvex-family-" + platform::FormatGuidBraced(platform::NewGuid()));
    std::filesystem::create_directories(dir);
    return dir;
}

// Number of table cache files in the folder.
inline size_t CacheFilesIn(const std::filesystem::path& dir) {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        const std::wstring name = entry.path().filename().wstring();
        count += name.rfind(L"TableCache_", 0) == 0 && name.size() > 4 &&
                         name.compare(name.size() - 4, 4, L".dat") == 0
                     ? 1
                     : 0;
    }
    return count;
}

// The four things a structure edit keeps in step: the order of the listed elements in the
// document, the id lists, the maps (each listed id reaches the object on that very element, and
// nothing else is mapped) and the value cache (it holds nothing for a row or column that is
// gone). Fails the calling test, naming `where`, at the first disagreement.
inline void ExpectTableInStep(const CEncapFamilyTable& table, const char* where) {
    struct Kind {
        const wchar_t* path;
        const wchar_t* attribute;
        const WideStringList& ids;
    };
    const Kind kinds[] = {{L"Columns/Column", L"ColumnId", table.GetAllColumnIDs()},
                          {L"Rows/Row", L"RowId", table.GetAllRowIDs()}};
    for (const Kind& kind : kinds) {
        XMLNodeArray elements;
        table.GetXMLNode().SelectChildNodes(kind.path, elements);
        WideStringList listed;
        std::vector<XMLNode> nodes;
        for (const XMLNode& element : elements) {
            WideString id;
            if (element.GetProperty(kind.attribute, id)) {
                listed.push_back(id);
                nodes.push_back(element);
            }
        }
        ASSERT_EQ(listed, kind.ids) << where << ": element order and id list differ";
        for (size_t i = 0; i < listed.size(); ++i) {
            const bool columns = kind.attribute == WideString(L"ColumnId");
            const XMLNode* node = nullptr;
            if (columns) {
                const CEncapFamilyColumn* column = table.GetFamilyColumnByID(listed[i].c_str());
                node = column ? &column->GetXMLNode() : nullptr;
            } else {
                const CEncapFamilyRow* row = table.GetFamilyRowByID(listed[i].c_str());
                node = row ? &row->GetXMLNode() : nullptr;
            }
            ASSERT_TRUE(node && node->IsSameNode(nodes[i]))
                << where << ": the map doesn't reach the element of "
                << platform::ToUtf8(listed[i]);
        }
    }
    CEncapFamilyColumn::ColumnSet all;
    EXPECT_EQ(table.GetAllColumns(all).size(), table.GetColumnsCount())
        << where << ": columns mapped but not listed";
    if (const CTableValueCache* cache = table.GetValueCache()) {
        cache->ForEachCachedKey([&](const WideString& row, const WideString& column,
                                    const WideString&) {
            EXPECT_TRUE(table.GetFamilyRowByID(row.c_str()))
                << where << ": cached value of a row that is gone: " << platform::ToUtf8(row);
            EXPECT_TRUE(table.GetFamilyColumnByID(column.c_str()))
                << where << ": cached value of a column that is gone: " << platform::ToUtf8(column);
        });
    }
}

} // namespace torvex::test

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

#include "family/TableInStep.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

namespace torvex {

// The table's private steps that the tests reach.
class CEncapFamilyTableTestPeer {
public:
    // The export made the plain way, as an edited copy of the table serialised whole: what the
    // export written in pieces must equal, character for character.
    static bool ExportThroughCopy(const CEncapFamilyTable& table, WideString& out) {
        return table.GetEvaluatedXmlThroughCopy(out);
    }
    static long GetRawValue(const CEncapFamilyTable& table, const wchar_t* row,
                            const wchar_t* column, WideString& out) {
        return table.GetRawValue(row, column, out);
    }
    static void SetRawValue(CEncapFamilyTable& table, const wchar_t* row, const wchar_t* column,
                            const wchar_t* value) {
        table.SetRawValue(row, column, value);
    }
};

} // namespace torvex

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

// Fails the calling test, naming `where`, at the first disagreement TableOutOfStep finds.
inline void ExpectTableInStep(const CEncapFamilyTable& table, const char* where) {
    const std::string problem = TableOutOfStep(table);
    EXPECT_TRUE(problem.empty()) << where << ": " << problem;
}

} // namespace torvex::test

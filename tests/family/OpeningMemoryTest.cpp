// Opening a document may hold at most a fixed multiple of the document's size in heap memory
// (kBytesPerDocumentByte, stated in the README): for the generated catalogue family and for
// documents made to be costly to hold (many tiny elements, many attributes, many rows, columns
// and string cells). Measured in-process as live heap bytes after opening with the family held,
// against the size of its texts in UTF-8; the texts themselves are made before the first reading.

#include "family/FamilyTestSupport.h"

#include "FamilyGenerator.h"
#include "GraphFamilyGenerator.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <malloc.h>
#include <memory>
#include <string>
#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TORVEX_TEST_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) && !defined(TORVEX_TEST_ASAN)
#define TORVEX_TEST_ASAN 1
#endif
#ifdef TORVEX_TEST_ASAN
// The sanitizer's count of live heap bytes (its header doesn't come with every compiler).
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace torvex::test {
namespace {

/// Heap bytes an opened family may hold per byte of its documents (UTF-8).
constexpr size_t kBytesPerDocumentByte = 48;

size_t LiveHeapBytes() {
#ifdef TORVEX_TEST_ASAN
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

struct Documents {
    const char* name;
    std::string family;
    std::vector<std::string> strings;
};

std::string Repeated(size_t count, const std::function<std::string(size_t)>& piece) {
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += piece(i);
    return text;
}

const char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

std::vector<Documents> CostlyDocuments() {
    const size_t n = 50000;
    std::vector<Documents> all;
    all.push_back({"many tiny unknown elements",
                   kHead + std::string("<Family>") +
                       Repeated(n, [](size_t) { return std::string("<x/>"); }) + "</Family>",
                   {}});
    all.push_back({"many attributes",
                   kHead + std::string("<Family ") +
                       Repeated(n / 2, [](size_t i) { return "a" + std::to_string(i) + "='' "; }) +
                       "/>",
                   {}});
    all.push_back(
        {"many tiny rows",
         kHead +
             std::string("<Family><FamilyTable><Columns><Column ColumnId='a'/></Columns><Rows>") +
             Repeated(n / 2, [](size_t i) { return "<Row RowId='" + std::to_string(i) + "'/>"; }) +
             "</Rows></FamilyTable></Family>",
         {}});
    all.push_back(
        {"many tiny columns",
         kHead + std::string("<Family><FamilyTable><Columns>") +
             Repeated(n / 4,
                      [](size_t i) { return "<Column ColumnId='" + std::to_string(i) + "'/>"; }) +
             "</Columns><Rows><Row RowId='r'/></Rows></FamilyTable></Family>",
         {}});
    all.push_back(
        {"many tiny cells",
         kHead +
             std::string("<Family><FamilyTable><Columns><Column ColumnId='a' "
                         "ColumnwideValue='{a}'/></Columns><Rows>") +
             Repeated(n / 4,
                      [](size_t i) {
                          return "<Row RowId='" + std::to_string(i) +
                                 "'><Cell ColumnId='a'>1</Cell><Cell ColumnId='a'/></Row>";
                      }) +
             "</Rows></FamilyTable></Family>",
         {kHead +
          std::string("<LocalizedStrings xml:lang='en-US'><Table><ColumnStrings "
                      "ColumnId='a'><Rows>") +
          Repeated(n / 4,
                   [](size_t i) {
                       return "<CellString RowId='" + std::to_string(i) + "'>t</CellString>";
                   }) +
          "</Rows></ColumnStrings></Table></LocalizedStrings>"}});
    return all;
}

// Opens the documents and answers the heap bytes held per byte of the documents.
double HeldPerDocumentByte(const std::string& family, const std::vector<std::string>& strings) {
    size_t documentBytes = family.size();
    const WideString familyText = platform::FromUtf8(family);
    WideStringList stringTexts;
    for (const std::string& text : strings) {
        stringTexts.push_back(platform::FromUtf8(text));
        documentBytes += text.size();
    }
    const size_t before = LiveHeapBytes();
    auto opened = std::make_unique<CEncapFamily>(familyText.c_str(), stringTexts, nullptr,
                                                 new NullProvider(), false);
    const size_t after = LiveHeapBytes();
    return static_cast<double>(after > before ? after - before : 0) /
           static_cast<double>(documentBytes);
}

TEST(OpeningMemory, TheGeneratedFamilyHoldsAFixedMultipleOfItsSize) {
    const bench::GeneratedFamily generated = bench::GenerateFamily(50000);
    const double perByte = HeldPerDocumentByte(generated.familyUtf8, generated.stringDocumentsUtf8);
    std::printf("generated family, %zu bytes: %.1f heap bytes per document byte\n",
                generated.Utf8Bytes(), perByte);
    EXPECT_GT(perByte, 0.0);
    EXPECT_LE(perByte, static_cast<double>(kBytesPerDocumentByte));
}

TEST(OpeningMemory, CostlyDocumentsHoldAFixedMultipleOfTheirSize) {
    for (const Documents& documents : CostlyDocuments()) {
        const double perByte = HeldPerDocumentByte(documents.family, documents.strings);
        std::printf("%s: %.1f heap bytes per document byte\n", documents.name, perByte);
        EXPECT_GT(perByte, 0.0) << documents.name;
        EXPECT_LE(perByte, static_cast<double>(kBytesPerDocumentByte)) << documents.name;
    }
}

// Columns whose formulas make a long chain, a lattice or one loop through all of them: the
// dependency graph held beside the document stays within the bound too.
TEST(OpeningMemory, DependencyGraphsHoldAFixedMultipleOfTheirSize) {
    for (const bench::GraphShape shape :
         {bench::GraphShape::Chain, bench::GraphShape::Diamond, bench::GraphShape::Cycle}) {
        const bench::GraphFamily graph = bench::GenerateGraphFamily(shape, 50000);
        const double perByte = HeldPerDocumentByte(platform::ToUtf8(graph.familyXml), {});
        std::printf("%s of 50,000 columns: %.1f heap bytes per document byte\n",
                    bench::GraphShapeName(shape), perByte);
        EXPECT_GT(perByte, 0.0) << bench::GraphShapeName(shape);
        EXPECT_LE(perByte, static_cast<double>(kBytesPerDocumentByte))
            << bench::GraphShapeName(shape);
    }
}

} // namespace
} // namespace torvex::test

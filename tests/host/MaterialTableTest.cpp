// The materials table: its file, its lookups, and the provider's answers from it.

#include "HostTestSupport.h"

#include "host/CMaterialTable.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Guid.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace torvex {
namespace {

using hosttest::Narrow;

// A file in the temporary directory, removed at the end of the test.
class TempFile {
public:
    explicit TempFile(const std::string& bytes)
        : m_path(platform::TempDirectory() + L"materials-" +
                 platform::FormatGuidBraced(platform::NewGuid()) + L".tsv") {
        platform::WriteFileBytes(m_path, bytes);
    }
    ~TempFile() { platform::DeleteFile(m_path); }
    const WideString& Path() const { return m_path; }

private:
    WideString m_path;
};

const char kTable[] = "\xEF\xBB\xBF# materials\r\n"
                      "\r\n"
                      "steel-8.8\ten-US\tSteel 8.8\r\n"
                      "steel-8.8\tde-DE\tStahl 8.8\r\n"
                      "steel-8.8\tref\tISO 898-1 8.8\r\n"
                      "  brass \t fr-FR \t Laiton \n"
                      "brass\tde-DE\tMessing\n"
                      "brass\tde-DE\tMessing CuZn39\n"
                      "only-key\tref\tREF-1\n";

// Names by language: languages ignore case and '_' for '-', fall back to the same primary
// language and then to the first name; keys ignore case and blanks; the later line wins; fields
// are trimmed. Reference keys are found by key or by any name ignoring case; a material without
// a reference line is its own key.
TEST(HostMaterials, LooksUpNamesAndReferenceKeys) {
    CMaterialTable table;
    ASSERT_EQ(table.LoadText(kTable), 0);
    EXPECT_EQ(table.Size(), 3u);
    const struct {
        const wchar_t* key;
        const wchar_t* language;
        const wchar_t* name; // null: not found
    } names[] = {
        {L"steel-8.8", L"en-US", L"Steel 8.8"},  {L"steel-8.8", L"DE-DE", L"Stahl 8.8"},
        {L"steel-8.8", L"de_DE", L"Stahl 8.8"},  {L"steel-8.8", L"de-AT", L"Stahl 8.8"},
        {L"steel-8.8", L"ja-JP", L"Steel 8.8"},  {L"steel-8.8", L"", L"Steel 8.8"},
        {L"STEEL-8.8 ", L"en-US", L"Steel 8.8"}, {L"brass", L"de-DE", L"Messing CuZn39"},
        {L"brass", L"en-US", L"Laiton"},         {L"only-key", L"en-US", nullptr},
        {L"copper", L"en-US", nullptr},
    };
    for (const auto& c : names) {
        WideString name = L"unchanged";
        EXPECT_EQ(table.FindName(c.key, c.language, &name), c.name != nullptr) << Narrow(c.key);
        EXPECT_EQ(name, c.name ? c.name : L"unchanged") << Narrow(c.key);
    }
    const std::pair<const wchar_t*, const wchar_t*> refKeys[] = {
        {L"steel-8.8", L"ISO 898-1 8.8"},
        {L"Stahl 8.8", L"ISO 898-1 8.8"},
        {L"steel 8.8", L"ISO 898-1 8.8"},
        {L"brass", L"brass"},
        {L"Messing CuZn39", L"brass"},
        {L"only-key", L"REF-1"},
        {L"Messing", nullptr},
        {L"", nullptr},
    };
    for (const auto& [text, expected] : refKeys) {
        WideString refKey = L"unchanged";
        EXPECT_EQ(table.FindRefKey(text, &refKey), expected != nullptr) << Narrow(text);
        EXPECT_EQ(refKey, expected ? expected : L"unchanged") << Narrow(text);
    }
}

// Lines without exactly three non-empty fields are skipped and their numbers kept; the last
// line needs no line break.
TEST(HostMaterials, MalformedLinesAreSkippedAndCounted) {
    CMaterialTable table;
    EXPECT_EQ(table.LoadText("a\ten-US\tA\n"
                             "b\ten-US\n"           // 2: too few fields
                             "c\ten-US\tC\textra\n" // 3: too many
                             "\ten-US\tD\n"         // 4: empty key
                             "e\t\tE\n"             // 5: empty language
                             "f\ten-US\t \n"        // 6: empty name
                             "just text\n"          // 7
                             "g\ten-US\tG"),        // last line without a line break
              CHostStatus::kLinesSkipped);
    EXPECT_EQ(table.SkippedLines(), (std::vector<size_t>{2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(table.Size(), 2u);
    WideString name;
    EXPECT_TRUE(table.FindName(L"g", L"en-US", &name));
    EXPECT_EQ(name, L"G");
}

// A missing file fails and keeps the table; an empty one empties it; the examples' table loads.
TEST(HostMaterials, LoadsFilesAndKeepsTheTableWhenOneIsMissing) {
    CMaterialTable table;
    TempFile file(kTable);
    EXPECT_EQ(table.LoadFile(file.Path()), 0);
    EXPECT_EQ(table.Size(), 3u);
    EXPECT_EQ(table.LoadFile(file.Path() + L".missing"), CHostStatus::kFileError);
    EXPECT_EQ(table.Size(), 3u);
    TempFile empty("");
    EXPECT_EQ(table.LoadFile(empty.Path()), 0);
    EXPECT_EQ(table.Size(), 0u);

    // The example catalogue's table loads cleanly.
    EXPECT_EQ(table.LoadFile(platform::FromUtf8(TORVEX_EXAMPLES_DIR) + L"/materials.tsv"), 0);
    EXPECT_EQ(table.Size(), 6u);
    WideString refKey;
    EXPECT_TRUE(table.FindRefKey(L"steel-8.8", &refKey));
}

// The provider names materials in its language (the first name without one), passes unknown
// keys through, and answers reference keys; null arguments fail.
TEST(HostMaterials, ProviderAnswersFromTheTable) {
    auto table = std::make_shared<CMaterialTable>();
    ASSERT_EQ(table->LoadText(kTable), 0);
    CUnitsEvaluatorProvider provider(table);

    WideString name;
    EXPECT_EQ(provider.GetMaterialName(L"steel-8.8", &name), 0);
    EXPECT_EQ(name, L"Steel 8.8"); // no family, no language set: the first name
    provider.SetLanguage(L"DE-DE");
    EXPECT_EQ(provider.GetMaterialName(L"steel-8.8", &name), 0);
    EXPECT_EQ(name, L"Stahl 8.8");
    EXPECT_EQ(provider.GetMaterialName(L"copper", &name), CHostStatus::kPassedThrough);
    EXPECT_EQ(name, L"copper");

    WideString refKey;
    EXPECT_EQ(provider.GetMaterialRefKey(L"Stahl 8.8", &refKey), 0);
    EXPECT_EQ(refKey, L"ISO 898-1 8.8");
    refKey = L"unchanged";
    EXPECT_EQ(provider.GetMaterialRefKey(L"copper", &refKey), CHostStatus::kUnknownMaterial);
    EXPECT_EQ(refKey, L"unchanged");

    EXPECT_EQ(provider.GetMaterialName(nullptr, &name), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.GetMaterialName(L"x", nullptr), CHostStatus::kNullArgument);
    EXPECT_EQ(provider.GetMaterialRefKey(nullptr, &refKey), CHostStatus::kNullArgument);

    CUnitsEvaluatorProvider without;
    EXPECT_EQ(without.GetMaterialName(L"steel-8.8", &name), CHostStatus::kPassedThrough);
    EXPECT_EQ(name, L"steel-8.8");
    EXPECT_EQ(without.GetMaterialRefKey(L"steel-8.8", &refKey), CHostStatus::kUnknownMaterial);
}

} // namespace
} // namespace torvex

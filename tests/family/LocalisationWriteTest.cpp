// Writing the texts of a family in its languages: cell strings and column properties as the
// string documents hold them after each edit, the string files saved and read back, and the
// family copied with its strings.

#include "FamilyTestSupport.h"

#include "torvex/family/CEncapFamilyColumn.h"
#include "torvex/family/CEncapFamilyRow.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace torvex::test {
namespace {

// f is localized (a visible string column); d and the hidden h are not.
WideString Family(const WideString& stringsFile) {
    return LR"(<Family><FamilyStrings><File FullFileName=")" + stringsFile +
           LR"("/></FamilyStrings><FamilyTable><Columns>
      <Column ColumnId="f" Title="Finish" ValueType="string" Hidden="false"/>
      <Column ColumnId="d" Title="Diameter" ValueType="double" Hidden="false"/>
      <Column ColumnId="h" Title="Hidden" ValueType="string" Hidden="true"/>
    </Columns><Rows><Row RowId="r1"/><Row RowId="r2"/></Rows></FamilyTable></Family>)";
}
const wchar_t* const kEnglish = L"<FamilyStrings xml:lang='en-us'/>";
const wchar_t* const kGerman =
    L"<FamilyStrings xml:lang='de-DE'><Table><ColumnStrings ColumnId='f'><Rows>"
    L"<CellString RowId='r1'>blank</CellString><CellString RowId='r2'>verzinkt</CellString>"
    L"</Rows></ColumnStrings></Table></FamilyStrings>";

WideString Strings(const CEncapFamily& family, int language) {
    XMLParser strings;
    EXPECT_TRUE(family.GetStringsFamilyXML(language, strings));
    WideString xml;
    strings.GetRootNode().GetXml(xml);
    return xml;
}

TEST(LocalisationWrite, CellStringsAsTheDocumentsHoldThem) {
    auto family = OpenFamily(Family(L"x/y").c_str(), {kEnglish, kGerman});
    // An empty write where there is nothing leaves Table, ColumnStrings and Rows behind.
    family->GetEncapFamilyTable()->SetValue(L"r1", L"f", L"en-US", L"", true);
    EXPECT_EQ(Strings(*family, 0), L"<FamilyStrings xml:lang=\"en-us\"><Table><ColumnStrings "
                                   L"ColumnId=\"f\"><Rows/></ColumnStrings></Table>"
                                   L"</FamilyStrings>");
    // Written, overwritten, then emptied: the CellString goes and the rest stays.
    CEncapFamilyTable& table = *family->GetEncapFamilyTable();
    table.SetValue(L"r1", L"f", L"EN-US", L"plain", true);
    table.SetValue(L"r2", L"f", L"en-US", L"zinc", true);
    table.SetValue(L"r2", L"f", L"en-US", L"zinc plated", true);
    table.SetValue(L"r1", L"f", L"en-US", L"", true);
    // Columns that are not localized and unknown languages write nothing.
    table.SetValue(L"r1", L"d", L"en-US", L"5", true);
    table.SetValue(L"r1", L"h", L"en-US", L"x", true);
    table.SetValue(L"r1", L"f", L"fr-FR", L"x", true);
    EXPECT_EQ(Strings(*family, 0),
              L"<FamilyStrings xml:lang=\"en-us\"><Table><ColumnStrings ColumnId=\"f\"><Rows>"
              L"<CellString RowId=\"r2\">zinc plated</CellString></Rows></ColumnStrings></Table>"
              L"</FamilyStrings>");
    WideString text;
    EXPECT_EQ(table.GetValue(L"r2", L"f", L"en-US", text), CTableEvaluator::EvalOk);
    EXPECT_EQ(text, L"zinc plated");
}

TEST(LocalisationWrite, DeletesTouchTheFirstLanguageOrAll) {
    const struct {
        bool allLanguages;
        const wchar_t* column;
        const wchar_t* germanRows; // what stays of the German cell strings
    } cases[] = {
        {false, L"f", L"<CellString RowId=\"r2\">verzinkt</CellString>"},
        {true, L"f", L"<CellString RowId=\"r2\">verzinkt</CellString>"},
        {true, L"", L"<CellString RowId=\"r2\">verzinkt</CellString>"}, // the whole row
    };
    for (const auto& c : cases) {
        auto family = OpenFamily(Family(L"x/y").c_str(), {kGerman, kEnglish});
        // The first language is German here: its r1 goes whatever the flag.
        family->GetEncapFamilyTable()->SetValue(L"r1", L"f", L"en-US", L"plain", true);
        family->GetEncapFamilyTable()->GetFamilyRowByID(L"r1")->DeleteCellsColumnValues(
            c.column, c.allLanguages);
        const WideString german = Strings(*family, 0);
        EXPECT_NE(german.find(L"<Rows>" + WideString(c.germanRows) + L"</Rows>"), WideString::npos)
            << german;
        EXPECT_EQ(Strings(*family, 1).find(L"plain") != WideString::npos, !c.allLanguages)
            << c.allLanguages;
    }
    // A formula that replaces literals takes the cell texts of the first language only.
    auto family = OpenFamily(Family(L"x/y").c_str(), {kGerman, kEnglish});
    family->GetEncapFamilyTable()->SetValue(L"r1", L"f", L"en-US", L"plain", true);
    family->GetEncapFamilyTable()->GetFamilyColumnByID(L"f")->SetFormula(L"\"polished\"");
    EXPECT_EQ(Strings(*family, 0).find(L"CellString"), WideString::npos);
    EXPECT_NE(Strings(*family, 1).find(L"<CellString RowId=\"r1\">plain</CellString>"),
              WideString::npos);
}

TEST(LocalisationWrite, ColumnPropertiesInOneLanguageOrAll) {
    auto family = OpenFamily(Family(L"x/y").c_str(), {kGerman, kEnglish});
    family->SetLocalizedColumnPropertyValue(L"Title", L"f", L"Finish");
    family->SetLocalizedColumnPropertyValue(L"Title", L"f", L"de-de", L"Oberfläche");
    family->SetLocalizedColumnPropertyValue(L"ColumnwideValue", L"f", L"de-DE", L"blank");
    EXPECT_EQ(Strings(*family, 0),
              L"<FamilyStrings xml:lang=\"de-DE\"><Table><ColumnStrings ColumnId=\"f\"><Rows>"
              L"<CellString RowId=\"r1\">blank</CellString><CellString RowId=\"r2\">verzinkt"
              L"</CellString></Rows><Title>Oberfläche</Title><ColumnwideValue>blank"
              L"</ColumnwideValue></ColumnStrings></Table></FamilyStrings>");
    EXPECT_EQ(Strings(*family, 1),
              L"<FamilyStrings xml:lang=\"en-us\"><Table><ColumnStrings ColumnId=\"f\">"
              L"<Title>Finish</Title></ColumnStrings></Table></FamilyStrings>");
    // The delete takes the properties and leaves the cell strings.
    family->DeleteLocalizedColumnPropertyValues(L"f");
    EXPECT_EQ(Strings(*family, 0),
              L"<FamilyStrings xml:lang=\"de-DE\"><Table><ColumnStrings ColumnId=\"f\"><Rows>"
              L"<CellString RowId=\"r1\">blank</CellString><CellString RowId=\"r2\">verzinkt"
              L"</CellString></Rows></ColumnStrings></Table></FamilyStrings>");
    // An empty value removes the element only.
    family->SetLocalizedColumnPropertyValue(L"Title", L"f", L"en-US", L"Finish");
    family->SetLocalizedColumnPropertyValue(L"Title", L"f", L"en-US", L"");
    EXPECT_EQ(Strings(*family, 1), L"<FamilyStrings xml:lang=\"en-us\"><Table><ColumnStrings "
                                   L"ColumnId=\"f\"/></Table></FamilyStrings>");
}

std::string Utf16LittleEndian(const WideString& text) {
    std::string bytes;
    for (char16_t unit : platform::ToUtf16(text)) {
        bytes.push_back(static_cast<char>(unit & 0xFF));
        bytes.push_back(static_cast<char>(unit >> 8));
    }
    return bytes;
}

TEST(LocalisationSave, StringFilesAreUtf16BesideTheNamedFile) {
    const std::filesystem::path dir = FreshDirectory();
    for (const wchar_t separator : {L'/', L'\\'}) {
        const WideString named = dir.wstring() + separator + L"FamilyStrings.EN-US.xml";
        auto family = OpenFamily(Family(named).c_str(), {kEnglish, kGerman});
        family->GetEncapFamilyTable()->SetValue(L"r1", L"f", L"de-DE", L"glänzend", true);
        // A file that stands is replaced.
        ASSERT_TRUE(platform::WriteFileBytes(dir.wstring() + L"/FamilyStrings.DE-DE.xml", "old"));
        ASSERT_TRUE(family->SaveFamilyStringsXMLs());

        for (int language = 0; language < 2; ++language) {
            XMLParser strings;
            family->GetStringsFamilyXML(language, strings);
            WideString text;
            strings.GetXml(text);
            const WideString name = language == 0 ? L"EN-US" : L"DE-DE"; // upper-cased
            std::string bytes;
            ASSERT_TRUE(platform::ReadFileBytes(dir.wstring() + L"/FamilyStrings." + name + L".xml",
                                                bytes));
            EXPECT_EQ(bytes, Utf16LittleEndian(text)) << name; // no byte order mark
            EXPECT_NE(static_cast<unsigned char>(bytes[0]), 0xFF);
        }
        // Nothing else is left in the folder (no half-written files).
        size_t files = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir))
            ++files;
        EXPECT_EQ(files, 2u);
    }

    // Read back into a new family, the texts are the same.
    std::string bytes;
    ASSERT_TRUE(platform::ReadFileBytes(dir.wstring() + L"/FamilyStrings.DE-DE.xml", bytes));
    std::u16string units(bytes.size() / 2, u'\0');
    for (size_t i = 0; i < units.size(); ++i)
        units[i] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                         static_cast<unsigned char>(bytes[2 * i + 1]) << 8);
    auto reopened = OpenFamily(Family(L"x/y").c_str(), {platform::FromUtf16(units)});
    WideString text;
    reopened->GetEncapFamilyTable()->GetValue(L"r1", L"f", text);
    EXPECT_EQ(text, L"glänzend");
    std::filesystem::remove_all(dir);
}

TEST(LocalisationSave, WhatCanNotBeSaved) {
    const std::filesystem::path dir = FreshDirectory();
    const struct {
        WideString fullName; // empty: no FamilyStrings at all
        WideStringList strings;
        bool saved;
    } cases[] = {
        {L"", {kEnglish}, false},
        {L"FamilyStrings.EN-US.xml", {kEnglish}, false}, // no folder
        {L"FamilyStrings.EN-US.xml", {}, true},          // ... but nothing to write
        {dir.wstring() + L"/missing/FamilyStrings.xml", {kEnglish}, false},
        {dir.wstring() + L"\\FamilyStrings.xml", {}, true},
    };
    for (const auto& c : cases) {
        const WideString xml = c.fullName.empty() ? L"<Family/>" : Family(c.fullName);
        auto family = OpenFamily(xml.c_str(), c.strings);
        EXPECT_EQ(family->SaveFamilyStringsXMLs(), c.saved) << c.fullName;
    }
    EXPECT_TRUE(std::filesystem::is_empty(dir));
    std::filesystem::remove_all(dir);
}

TEST(LocalisationCopy, OneDocumentWithEveryLanguageAndNoFileReference) {
    const std::string dir = TORVEX_EXAMPLES_DIR "/iso4762/";
    std::string family, english, german;
    ASSERT_TRUE(platform::ReadFileBytes(platform::FromUtf8(dir + "Family.xml"), family));
    ASSERT_TRUE(
        platform::ReadFileBytes(platform::FromUtf8(dir + "FamilyStrings.EN-US.xml"), english));
    ASSERT_TRUE(
        platform::ReadFileBytes(platform::FromUtf8(dir + "FamilyStrings.DE-DE.xml"), german));
    auto opened = OpenFamily(platform::FromUtf8(family).c_str(),
                             {platform::FromUtf8(english), platform::FromUtf8(german)});
    const WideString before = RootXml(*opened);
    XMLParser copy;
    ASSERT_TRUE(opened->GetFamilyXMLCopyWithStrings(copy));
    XMLNodeArray found;
    copy.GetRootNode().SelectChildNodes(L"//FamilyStrings/File", found);
    EXPECT_EQ(found.GetSize(), 0);
    copy.GetRootNode().SelectChildNodes(L"*[@xml:lang]", found);
    EXPECT_EQ(found.GetSize(), 2);
    XMLNode title;
    EXPECT_TRUE(copy.GetRootNode().GetChildNode(
        L"*[@xml:lang='de-DE']/Table/ColumnStrings[@ColumnId='d']/Title", title));
    EXPECT_EQ(RootXml(*opened), before); // the family itself is unchanged
}

} // namespace
} // namespace torvex::test

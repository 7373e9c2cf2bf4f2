// Ids, names and language tags holding quotes, brackets and '|' go into the XPath expressions
// the lookups are made of. Such a text may make its own lookup find nothing, but it must never
// reach another element: each operation is run with the text and with a plain unknown name, and
// both must leave the documents (and every known value) the same way.

#include "family/FamilyTestSupport.h"

#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <functional>
#include <string>

namespace torvex::test {
namespace {

// Texts that close the literal they are put in and add a condition or a union of their own.
const wchar_t* const kHostileTexts[] = {
    L"x\" or \"1\"=\"1",
    L"x' or '1'='1",
    L"\"] | //* | x[\"",
    L"'] | //* | x['",
    L"x\"]|//*[@ColumnId=\"d",
    L"x']|//*[@ColumnId='d",
    L"a]b[c",
    L"a|b",
    L"\"",
    L"'",
};

// A name no element has, for the plain case.
const wchar_t kPlainUnknown[] = L"no-such-name";

std::string Slurp(const char* name) {
    std::string bytes;
    EXPECT_TRUE(platform::ReadFileBytes(
        platform::FromUtf8(std::string(TORVEX_EXAMPLES_DIR "/iso4762/") + name), bytes));
    return bytes;
}

std::unique_ptr<CEncapFamily> OpenExample() {
    return OpenFamily(platform::FromUtf8(Slurp("Family.xml")).c_str(),
                      {platform::FromUtf8(Slurp("FamilyStrings.DE-DE.xml")),
                       platform::FromUtf8(Slurp("FamilyStrings.EN-US.xml"))});
}

// The family document and every string document, serialised.
WideString AllDocuments(const CEncapFamily& family) {
    WideString all = RootXml(family);
    for (int i = 0; i < family.GetFamStringsCount(); ++i) {
        XMLParser strings;
        if (family.GetStringsFamilyXML(i, strings)) {
            WideString xml;
            strings.GetRootNode().GetXml(xml);
            all += L"\n" + xml;
        }
    }
    return all;
}

// The documents with every GUID (member revisions are new ones after a write) made alike and
// the text, where it stands as a whole attribute value, put back as the plain name; the
// column strings kept under that name are left out.
WideString Comparable(WideString xml, const WideString& text) {
    WideString escaped = L"\"";
    for (wchar_t c : text)
        escaped += c == L'"' ? WideString(L"&quot;") : WideString(1, c);
    escaped += L"\"";
    const WideString plain = WideString(L"\"") + kPlainUnknown + L"\"";
    for (size_t at = xml.find(escaped); at != WideString::npos;
         at = xml.find(escaped, at + plain.size()))
        xml.replace(at, escaped.size(), plain);
    // The strings of a column by that name, however many elements they took, go.
    const WideString own = L"<ColumnStrings ColumnId=" + plain;
    const WideString close = L"</ColumnStrings>";
    for (size_t at = xml.find(own); at != WideString::npos; at = xml.find(own, at)) {
        const size_t tag = xml.find(L'>', at);
        const size_t end = xml[tag - 1] == L'/' ? tag + 1 : xml.find(close, at) + close.size();
        xml.erase(at, end - at);
    }
    static const size_t groups[] = {8, 4, 4, 4, 12};
    const auto isHex = [](wchar_t c) { return std::iswxdigit(c) != 0; };
    for (size_t at = 0; at + 36 <= xml.size(); ++at) {
        size_t end = at;
        bool guid = true;
        for (size_t g = 0; g < 5 && guid; ++g) {
            for (size_t i = 0; i < groups[g] && guid; ++i)
                guid = isHex(xml[end++]);
            if (guid && g < 4)
                guid = xml[end++] == L'-';
        }
        if (guid)
            xml.replace(at, 36, L"GUID");
    }
    return xml;
}

// The category parameter names of the example with a constant value, and their values.
const wchar_t* const kKnownParameters[] = {
    L"05415f3d-3907-474b-a020-eb9d644f4cf3", L"13903e3d-64b1-4950-80da-f627842ea37f",
    L"0c0a119c-1e12-4c84-803f-101930972f5e", L"8f5914e1-4693-403f-8ab5-d37768198c9d"};

WideString KnownConstants(const CEncapFamily& family) {
    WideString all;
    for (const wchar_t* name : kKnownParameters) {
        WideString value;
        all += family.GetCatParamConstValue(name, value) ? value : WideString(L"<none>");
        all += L"\n";
    }
    return all;
}

// What an operation leaves to compare: its answer and the documents (or the known values, for
// an operation that adds an entry under the name it is given).
using Operation = std::function<WideString(CEncapFamily&, const WideString& text)>;

WideString Answer(long result, const WideString& value) {
    return std::to_wstring(result) + L":" + value;
}

struct Case {
    const char* name;
    bool addsUnderItsName; // compare the known values instead of the whole documents
    Operation run;
};

const Case kCases[] = {
    {"row id, localized write", false,
     [](CEncapFamily& family, const WideString& text) {
         family.GetEncapFamilyTable()->SetValue(text.c_str(), L"DESIGNATION", L"DE-DE", L"EVIL",
                                                true);
         return WideString();
     }},
    {"row id, localized read", false,
     [](CEncapFamily& family, const WideString& text) {
         WideString value;
         const auto result =
             family.GetEncapFamilyTable()->GetValue(text.c_str(), L"DESIGNATION", L"DE-DE", value);
         return Answer(result, value);
     }},
    {"column id, localized write", false,
     [](CEncapFamily& family, const WideString& text) {
         CEncapFamilyTable* table = family.GetEncapFamilyTable();
         table->SetValue(table->GetRowIDByIndex(0).c_str(), text.c_str(), L"DE-DE", L"EVIL", true);
         return WideString();
     }},
    {"column id, localized property write", false,
     [](CEncapFamily& family, const WideString& text) {
         family.SetLocalizedColumnPropertyValue(L"Title", text.c_str(), L"DE-DE", L"EVIL");
         family.SetLocalizedColumnPropertyValue(L"Unit", text.c_str(), L"DE-DE", L"EVIL");
         return WideString();
     }},
    {"column id, localized property read", false,
     [](CEncapFamily& family, const WideString& text) {
         WideString title, unit;
         const long titled =
             family.GetLocalizedColumnPropertyValue(L"Title", text.c_str(), L"DE-DE", title);
         const long united =
             family.GetLocalizedColumnPropertyValue(L"Unit", text.c_str(), L"DE-DE", unit);
         return Answer(titled, title) + L"|" + Answer(united, unit);
     }},
    {"column id, category", false,
     [](CEncapFamily& family, const WideString& text) {
         WideString parameter;
         const bool found = family.GetColumnCategory(text.c_str(), parameter);
         return Answer(found, parameter);
     }},
    {"language tag, write", false,
     [](CEncapFamily& family, const WideString& text) {
         CEncapFamilyTable* table = family.GetEncapFamilyTable();
         table->SetValue(table->GetRowIDByIndex(0).c_str(), L"DESIGNATION", text.c_str(), L"EVIL",
                         true);
         family.SetLocalizedColumnPropertyValue(L"Title", L"d", text.c_str(), L"EVIL");
         return WideString();
     }},
    {"language tag, read", false,
     [](CEncapFamily& family, const WideString& text) {
         CEncapFamilyTable* table = family.GetEncapFamilyTable();
         WideString value;
         const auto result = table->GetValue(table->GetRowIDByIndex(0).c_str(), L"DESIGNATION",
                                             text.c_str(), value);
         WideString title;
         const long titled =
             family.GetLocalizedColumnPropertyValue(L"Title", L"d", text.c_str(), title);
         return Answer(result, value) + L"|" + Answer(titled, title);
     }},
    {"category parameter, read", false,
     [](CEncapFamily& family, const WideString& text) {
         WideString value;
         const bool found = family.GetCatParamConstValue(text.c_str(), value);
         const bool column = family.GetCategoryParamColumn(text.c_str()) != nullptr;
         return Answer(found, value) + (column ? L"|column" : L"|none");
     }},
    {"category parameter, write", true,
     [](CEncapFamily& family, const WideString& text) {
         family.SetCatParamConstValue(text.c_str(), L"EVIL");
         return WideString();
     }},
    {"template name", false,
     [](CEncapFamily& family, const WideString& text) {
         return std::to_wstring(family.SetTemplateParameterValue(text.c_str(), L"15", L"EVIL"));
     }},
    {"template parameter id", false,
     [](CEncapFamily& family, const WideString& text) {
         return std::to_wstring(
             family.SetTemplateParameterValue(L"Template1", text.c_str(), L"EVIL"));
     }},
};

TEST(HostileText, DoesNoMoreThanAnUnknownName) {
    for (const Case& c : kCases) {
        auto plain = OpenExample();
        ASSERT_TRUE(plain->GetEncapFamilyTable());
        const WideString pristine = Comparable(
            c.addsUnderItsName ? KnownConstants(*plain) : AllDocuments(*plain), kPlainUnknown);
        const WideString plainAnswer = c.run(*plain, kPlainUnknown);
        const WideString plainDocuments = Comparable(
            c.addsUnderItsName ? KnownConstants(*plain) : AllDocuments(*plain), kPlainUnknown);
        for (const wchar_t* text : kHostileTexts) {
            auto family = OpenExample();
            const WideString answer = c.run(*family, text);
            const WideString documents = Comparable(
                c.addsUnderItsName ? KnownConstants(*family) : AllDocuments(*family), text);
            EXPECT_EQ(answer, plainAnswer) << c.name << " with " << platform::ToUtf8(text);
            // Either the same as for the plain name, or nothing written at all.
            EXPECT_TRUE(documents == plainDocuments || documents == pristine)
                << c.name << " with " << platform::ToUtf8(text) << " changed other elements";
        }
    }
}

} // namespace
} // namespace torvex::test

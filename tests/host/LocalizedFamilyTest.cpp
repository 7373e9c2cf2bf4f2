// The seam between the library and the reference host: a family opened to localize its decimal
// separator, evaluated under a comma locale by the real CUnitsEvaluatorProvider, which reads the
// separator from the family it is attached to (no separator is set on the provider by hand).

#include "evaluation/CacheTestSupport.h"
#include "host/CUnitsEvaluatorProvider.h"
#include "platform/RequireLocale.h"
#include "platform/ScopedEnvironment.h"
#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <memory>
#include <tuple>

namespace torvex {
namespace {

constexpr const char* kGerman = "de_DE.UTF-8";

// Numbers are written with a point in the document; a localizing family hands them to the host
// with the user's separator.
constexpr const wchar_t* kFamily =
    L"<Family InternalName=\"seam\"><FamilyTable><Columns>"
    L"<Column ColumnId=\"len\" ValueType=\"double\" UnitType=\"mm\"/>"
    L"<Column ColumnId=\"half\" ValueType=\"double\" ColumnwideValue=\"1.5\"/>"
    L"<Column ColumnId=\"area\" ValueType=\"double\" UnitType=\"mm\" "
    L"ColumnwideValue=\"{len}*{half}\"/>"
    L"<Column ColumnId=\"third\" ValueType=\"double\" UnitType=\"mm\" "
    L"ColumnwideValue=\"{len}/3+0.25\"/>"
    L"</Columns><Rows>"
    L"<Row RowId=\"r1\"><Cell ColumnId=\"len\">1.5</Cell></Row>"
    L"<Row RowId=\"r2\"><Cell ColumnId=\"len\">12.5</Cell></Row>"
    L"</Rows></FamilyTable></Family>";

// Row, column, value of a localizing family, value of the same family without the flag.
using Expected = std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*>;
const Expected kValues[] = {
    {L"r1", L"len", L"1,5", L"1.5"},      {L"r1", L"half", L"1,5", L"1.5"},
    {L"r1", L"area", L"2,25", L"2.25"},   {L"r1", L"third", L"0,75", L"0.75"},
    {L"r2", L"area", L"18,75", L"18.75"}, {L"r2", L"third", L"4,41667", L"4.41667"},
};

// The real provider, counting the calls that compute something, so that a test can tell a value
// the host computed from one the cache served.
class CountingProvider : public CUnitsEvaluatorProvider {
public:
    int32_t EvaluateToDouble(const wchar_t* expression, const wchar_t* unit,
                             double* value) override {
        ++calls;
        return CUnitsEvaluatorProvider::EvaluateToDouble(expression, unit, value);
    }
    int32_t ConvertUnits(const wchar_t* valueText, const wchar_t* fromUnit, const wchar_t* toUnit,
                         double* value) override {
        ++calls;
        return CUnitsEvaluatorProvider::ConvertUnits(valueText, fromUnit, toUnit, value);
    }
    int calls = 0;
};

struct Opened {
    std::unique_ptr<CEncapFamily> family;
    CountingProvider* host; // owned by the family
};

Opened Open(bool localize, const WideString& cacheFolder = {}) {
    auto* host = new CountingProvider;
    auto family = std::make_unique<CEncapFamily>(kFamily, WideStringList{}, cacheFolder.c_str(),
                                                 host, localize);
    return {std::move(family), host};
}

const wchar_t* ExpectedValue(const Expected& e, bool localize) {
    return localize ? std::get<2>(e) : std::get<3>(e);
}

// Every expected cell reads with result 0 and its text.
void CheckValues(CEncapFamilyTable& table, bool localize) {
    for (const Expected& e : kValues) {
        const auto& [row, column, localized, plain] = e;
        WideString value;
        EXPECT_EQ(table.GetValue(row, column, value), CTableEvaluator::EvalOk)
            << platform::ToUtf8(row) << " " << platform::ToUtf8(column);
        EXPECT_EQ(value, ExpectedValue(e, localize))
            << platform::ToUtf8(row) << " " << platform::ToUtf8(column);
    }
}

// Under a comma locale, the localizing family's computed cells are comma texts with result 0;
// the same family opened without the flag keeps the point.
TEST(LocalizedFamily, RealHostReadsTheSeparatorFromTheFamily) {
    TORVEX_REQUIRE_LOCALE(kGerman);
    testing::ScopedEnvironment environment;
    environment.ClearLocale();
    environment.Set("LC_ALL", kGerman);
    for (bool localize : {true, false}) {
        SCOPED_TRACE(localize ? "localized" : "not localized");
        Opened opened = Open(localize);
        ASSERT_NE(opened.family->GetEncapFamilyTable(), nullptr);
        EXPECT_EQ(opened.family->GetDecimalSeparator(), localize ? L',' : 0);
        CheckValues(*opened.family->GetEncapFamilyTable(), localize);
        EXPECT_GT(opened.host->calls, 0);
    }
}

// The cache file written under the comma locale holds the same texts, and a family reopened from
// the same folder serves them from the file without asking the host.
TEST(LocalizedFamily, CacheFileUnderACommaLocaleReadsBack) {
    TORVEX_REQUIRE_LOCALE(kGerman);
    testing::ScopedEnvironment environment;
    environment.ClearLocale();
    environment.Set("LC_ALL", kGerman);
    for (bool localize : {true, false}) {
        SCOPED_TRACE(localize ? "localized" : "not localized");
        testing::ScratchDirectory folder;
        {
            Opened first = Open(localize, folder.Path());
            ASSERT_NE(first.family->GetEncapFamilyTable(), nullptr);
            CheckValues(*first.family->GetEncapFamilyTable(), localize);
            EXPECT_GT(first.host->calls, 0);
        } // the table writes its cache file here
        ASSERT_TRUE(folder.HasFile());
        EXPECT_NE(folder.CacheFile().find(L"TableCache_1031.dat"), WideString::npos);

        Opened second = Open(localize, folder.Path());
        CEncapFamilyTable* table = second.family->GetEncapFamilyTable();
        ASSERT_NE(table, nullptr);
        WideString language;
        second.family->GetActualLanguage(language);
        for (const Expected& e : kValues) {
            const auto& [row, column, localized, plain] = e;
            WideString cached;
            EXPECT_EQ(table->GetValueCache()->GetValue(row, column, language, cached), 0)
                << platform::ToUtf8(row) << " " << platform::ToUtf8(column);
            EXPECT_EQ(cached, ExpectedValue(e, localize));
        }
        CheckValues(*table, localize);
        EXPECT_EQ(second.host->calls, 0); // every value came from the file
    }
}

} // namespace
} // namespace torvex

#include "torvex/text/DataTypes.h"

#include <gtest/gtest.h>

#include <memory>

namespace torvex {
namespace {

using T = DataTypes::ColumnDataType;

TEST(DataTypes, EnumerationValuesAreTheExportedNumbers) {
    static_assert(DataTypes::DataString == 0 && DataTypes::DataReal == 1 &&
                  DataTypes::DataInteger == 2 && DataTypes::DataBoolean == 3);
    static_assert(DataTypes::FormulaRange == 100 && DataTypes::FormulaExpression == 101 &&
                  DataTypes::FormulaMaterial == 102);
}

TEST(DataTypes, ListsAreNewAndInEnumerationOrder) {
    const std::unique_ptr<WideStringList> items(DataTypes::GetItems());
    const std::unique_ptr<WideStringList> types(DataTypes::GetTypes());
    EXPECT_EQ(*items, (WideStringList{L"String", L"Real", L"Integer", L"Boolean"}));
    EXPECT_EQ(*types, (WideStringList{L"string", L"double", L"integer", L"boolean"}));
    // Each call hands out a list of its own, which the caller may change.
    items->clear();
    const std::unique_ptr<WideStringList> again(DataTypes::GetItems());
    EXPECT_EQ(again->size(), 4u);
}

TEST(DataTypes, StoredTextIgnoresCaseShownTextDoesNot) {
    struct Case {
        const wchar_t* text;
        T fromType; // DataTypeStr2Num
        T fromItem; // ItemTypeStr2Num
    };
    const Case cases[] = {
        {L"string", T::DataString, T::DataString},
        {L"double", T::DataReal, T::DataString},
        {L"DOUBLE", T::DataReal, T::DataString},
        {L"integer", T::DataInteger, T::DataString},
        {L"boolean", T::DataBoolean, T::DataString},
        {L"BOOLEAN", T::DataBoolean, T::DataString},
        {L"String", T::DataString, T::DataString},
        {L"Real", T::DataString, T::DataReal},
        {L"REAL", T::DataString, T::DataString},
        {L"real", T::DataString, T::DataString},
        {L"Integer", T::DataInteger, T::DataInteger},
        {L"Boolean", T::DataBoolean, T::DataBoolean},
        {L"", T::DataString, T::DataString},
        {L"bool", T::DataString, T::DataString},
        {L" double", T::DataString, T::DataString},
        {L"Boolean ", T::DataString, T::DataString},
        {L"\u0130NTEGER", T::DataString, T::DataString} // only ASCII letters fold
    };
    for (const Case& c : cases) {
        EXPECT_EQ(DataTypes::DataTypeStr2Num(c.text), c.fromType) << "'" << c.text << "'";
        EXPECT_EQ(DataTypes::ItemTypeStr2Num(c.text), c.fromItem) << "'" << c.text << "'";
    }
}

TEST(DataTypes, NumbersOutsideTheListGiveEmptyText) {
    struct Case {
        int value;
        const wchar_t* type;
        const wchar_t* item;
    };
    const Case cases[] = {{0, L"string", L"String"},
                          {1, L"double", L"Real"},
                          {2, L"integer", L"Integer"},
                          {3, L"boolean", L"Boolean"},
                          {4, L"", L""},
                          {-1, L"", L""},
                          {100, L"", L""}};
    for (const Case& c : cases) {
        const auto type = static_cast<T>(c.value);
        EXPECT_EQ(DataTypes::DataTypeNum2Str(type), c.type) << c.value;
        EXPECT_EQ(DataTypes::ItemTypeNum2Str(type), c.item) << c.value;
    }
}

} // namespace
} // namespace torvex

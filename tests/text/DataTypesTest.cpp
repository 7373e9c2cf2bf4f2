#include "torvex/text/DataTypes.h"

#include <gtest/gtest.h>

#include <memory>

namespace torvex {
namespace {

using T = DataTypes::ColumnDataType;

static_assert(DataTypes::DataString == 0 && DataTypes::DataReal == 1 &&
              DataTypes::DataInteger == 2 && DataTypes::DataBoolean == 3);
static_assert(DataTypes::FormulaRange == 100 && DataTypes::FormulaExpression == 101 &&
              DataTypes::FormulaMaterial == 102);

// The lists are new on each call, in enumeration order, and the caller's to change.
TEST(DataTypes, ListsAreNewAndInEnumerationOrder) {
    const std::unique_ptr<WideStringList> items(DataTypes::GetItems());
    const std::unique_ptr<WideStringList> types(DataTypes::GetTypes());
    EXPECT_EQ(*items, (WideStringList{L"String", L"Real", L"Integer", L"Boolean"}));
    EXPECT_EQ(*types, (WideStringList{L"string", L"double", L"integer", L"boolean"}));
    items->clear();
    EXPECT_EQ(std::unique_ptr<WideStringList>(DataTypes::GetItems())->size(), 4u);
}

// Stored texts ("double") are matched ignoring ASCII case, shown texts ("Real") exactly, and
// "Integer"/"Boolean" are read by both; anything else is String.
TEST(DataTypes, StoredTextIgnoresCaseShownTextDoesNot) {
    struct Case {
        const wchar_t* text;
        T fromType; // DataTypeStr2Num
        T fromItem; // ItemTypeStr2Num
    };
    const T S = T::DataString, R = T::DataReal, I = T::DataInteger, B = T::DataBoolean;
    // Only ASCII letters fold: the dotted capital I is no 'I'.
    const Case cases[] = {
        {L"string", S, S},   {L"double", R, S},       {L"DOUBLE", R, S},
        {L"integer", I, S},  {L"boolean", B, S},      {L"BOOLEAN", B, S},
        {L"String", S, S},   {L"Real", S, R},         {L"REAL", S, S},
        {L"real", S, S},     {L"Integer", I, I},      {L"Boolean", B, B},
        {L"", S, S},         {L"bool", S, S},         {L" double", S, S},
        {L"Boolean ", S, S}, {L"\u0130NTEGER", S, S},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(DataTypes::DataTypeStr2Num(c.text), c.fromType) << "'" << c.text << "'";
        EXPECT_EQ(DataTypes::ItemTypeStr2Num(c.text), c.fromItem) << "'" << c.text << "'";
    }
    // Numbers outside the list give empty text.
    const wchar_t* types[] = {L"string", L"double", L"integer", L"boolean", L"", L"", L""};
    const wchar_t* items[] = {L"String", L"Real", L"Integer", L"Boolean", L"", L"", L""};
    const int values[] = {0, 1, 2, 3, 4, -1, 100};
    for (size_t i = 0; i < std::size(values); ++i) {
        EXPECT_EQ(DataTypes::DataTypeNum2Str(static_cast<T>(values[i])), types[i]) << values[i];
        EXPECT_EQ(DataTypes::ItemTypeNum2Str(static_cast<T>(values[i])), items[i]) << values[i];
    }
}

} // namespace
} // namespace torvex

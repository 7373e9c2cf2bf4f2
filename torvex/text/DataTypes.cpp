#include "torvex/text/DataTypes.h"

#include "torvex/platform/AsciiText.h"

#include <cstddef>
#include <memory>

namespace torvex {
namespace {

// Case folding of the stored words is ASCII-only: no locale may make another letter equal one
// of them.
using platform::AsciiLower;
using platform::EqualsIgnoringAsciiCase;

WideString TextAt(const WideStringList& list, DataTypes::ColumnDataType type) {
    // Taken as unsigned, a negative value lies beyond the list as well.
    const auto index = static_cast<size_t>(static_cast<unsigned int>(type));
    return index < list.size() ? list[index] : WideString();
}

} // namespace

WideStringList* DataTypes::GetItems() {
    return new WideStringList{L"String", L"Real", L"Integer", L"Boolean"};
}

WideStringList* DataTypes::GetTypes() {
    return new WideStringList{L"string", L"double", L"integer", L"boolean"};
}

DataTypes::ColumnDataType DataTypes::DataTypeStr2Num(const WideString& type) {
    WideString lower = type;
    for (wchar_t& c : lower)
        c = AsciiLower(c);
    const std::unique_ptr<const WideStringList> types(GetTypes());
    for (size_t i = 0; i < types->size(); ++i)
        if (EqualsIgnoringAsciiCase(lower, (*types)[i]))
            return static_cast<ColumnDataType>(i);
    return DataString;
}

DataTypes::ColumnDataType DataTypes::ItemTypeStr2Num(const WideString& item) {
    const std::unique_ptr<const WideStringList> items(GetItems());
    for (size_t i = 0; i < items->size(); ++i)
        if (item == (*items)[i])
            return static_cast<ColumnDataType>(i);
    return DataString;
}

WideString DataTypes::DataTypeNum2Str(ColumnDataType type) {
    const std::unique_ptr<const WideStringList> types(GetTypes());
    return TextAt(*types, type);
}

WideString DataTypes::ItemTypeNum2Str(ColumnDataType type) {
    const std::unique_ptr<const WideStringList> items(GetItems());
    return TextAt(*items, type);
}

} // namespace torvex

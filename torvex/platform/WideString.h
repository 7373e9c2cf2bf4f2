#pragma once
// The one string type of the library and its list.

#include <string>
#include <vector>

namespace torvex {

/// Cell values, ids, formulas and units: wide text, empty by default.
using WideString = std::wstring;
/// A growable ordered list of WideString.
using WideStringList = std::vector<WideString>;

} // namespace torvex

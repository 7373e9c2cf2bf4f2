#pragma once
// What the provider needs to know of the family it serves: the decimal separator of its
// expressions and its actual language. This is the one place that asks the family.

#include "torvex/platform/WideString.h"

namespace torvex {

class CEncapFamily;

/// The decimal separator of the family's expressions; '.' for a null family or one that does
/// not localize. Never fails.
wchar_t ReadFamilyDecimalSeparator(CEncapFamily* family);
/// The family's actual language; empty for a null family. Never fails.
WideString ReadFamilyLanguage(CEncapFamily* family);

} // namespace torvex

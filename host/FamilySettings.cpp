#include "host/FamilySettings.h"

// The family's accessors are used once the family header is part of the library; until then
// the host knows nothing of the family beyond its pointer.
#if __has_include("torvex/family/CEncapFamily.h")
#include "torvex/family/CEncapFamily.h"
#define TORVEX_HOST_KNOWS_FAMILY 1
#else
#define TORVEX_HOST_KNOWS_FAMILY 0
#endif

namespace torvex {

wchar_t ReadFamilyDecimalSeparator(CEncapFamily* family) {
#if TORVEX_HOST_KNOWS_FAMILY
    if (family && family->LocalizeDecimalSeparator()) {
        wchar_t separator = static_cast<wchar_t>(family->GetDecimalSeparator());
        if (separator != 0) {
            return separator;
        }
    }
#else
    (void)family;
#endif
    return L'.';
}

WideString ReadFamilyLanguage(CEncapFamily* family) {
    WideString language;
#if TORVEX_HOST_KNOWS_FAMILY
    if (family) {
        family->GetActualLanguage(language);
    }
#else
    (void)family;
#endif
    return language;
}

} // namespace torvex

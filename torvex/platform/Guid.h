#pragma once
// Random (version 4) GUIDs from the system's secure random source.

#include <cstdint>
#include <string>

namespace torvex::platform {

struct Guid {
    uint32_t data1 = 0;
    uint16_t data2 = 0;
    uint16_t data3 = 0;
    uint8_t data4[8] = {};
};

/// A fresh random version-4 GUID; the all-zero GUID if the random source fails.
Guid NewGuid();
/// True when every field is zero.
bool IsNullGuid(const Guid& guid);
/// Braced upper-case form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
std::wstring FormatGuidBraced(const Guid& guid);

} // namespace torvex::platform

#include "torvex/platform/Guid.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/random.h>

namespace torvex::platform {

Guid NewGuid() {
    uint8_t bytes[16];
    size_t filled = 0;
    while (filled < sizeof bytes) {
        const ssize_t n = getrandom(bytes + filled, sizeof bytes - filled, 0);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return Guid{};
        }
        filled += static_cast<size_t>(n);
    }
    bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40); // version 4
    bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80); // RFC 4122 variant
    Guid guid;
    guid.data1 = (uint32_t(bytes[0]) << 24) | (uint32_t(bytes[1]) << 16) |
                 (uint32_t(bytes[2]) << 8) | bytes[3];
    guid.data2 = static_cast<uint16_t>((bytes[4] << 8) | bytes[5]);
    guid.data3 = static_cast<uint16_t>((bytes[6] << 8) | bytes[7]);
    std::memcpy(guid.data4, bytes + 8, 8);
    return guid;
}

bool IsNullGuid(const Guid& guid) {
    static const Guid zero{};
    return guid.data1 == 0 && guid.data2 == 0 && guid.data3 == 0 &&
           std::memcmp(guid.data4, zero.data4, 8) == 0;
}

std::wstring FormatGuidBraced(const Guid& g) {
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(g.data1), g.data2, g.data3, g.data4[0], g.data4[1],
                  g.data4[2], g.data4[3], g.data4[4], g.data4[5], g.data4[6], g.data4[7]);
    return std::wstring(text, text + std::strlen(text));
}

} // namespace torvex::platform

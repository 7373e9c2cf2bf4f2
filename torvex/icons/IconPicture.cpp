#include "torvex/icons/IconPicture.h"

#include "torvex/icons/CDib.h"
#include "torvex/icons/IconTypes.h"

namespace torvex {

namespace {

uint32_t ReadBE32(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

} // namespace

HICON DecodeIconImage(const uint8_t* bits, size_t size) {
    if (!bits)
        return nullptr;
    if (IsPngImage(bits, size)) {
        auto icon = std::make_shared<IconPicture>();
        icon->png = true;
        icon->bitCount = 32;
        // The IHDR chunk comes first: length 13, "IHDR", width and height big-endian.
        if (size >= 24 && ReadBE32(bits + 8) == 13 && bits[12] == 'I' && bits[13] == 'H' &&
            bits[14] == 'D' && bits[15] == 'R') {
            icon->width = ReadBE32(bits + 16);
            icon->height = ReadBE32(bits + 20);
        }
        icon->pngData.assign(bits, bits + size);
        return icon;
    }
    if (size < BITMAPINFOHEADER::kSize || DibSize(bits) < BITMAPINFOHEADER::kSize ||
        DibCompression(bits) != BI_RGB || DibPlanes(bits) != 1)
        return nullptr;
    const uint16_t depth = DibBitCount(bits);
    if (depth != 1 && depth != 4 && depth != 8 && depth != 24 && depth != 32)
        return nullptr;
    const int32_t width = DibWidth(bits);
    const int32_t doubled = DibHeight(bits);
    if (width <= 0 || doubled < 2)
        return nullptr;
    const uint64_t height = uint64_t(doubled) / 2;
    const uint64_t xorLine = ((uint64_t(width) * depth + 31) >> 5) * 4;
    const uint64_t andLine = ((uint64_t(width) + 31) >> 5) * 4;
    const uint64_t start = uint64_t(DibSize(bits)) + CDib::PaletteSize(bits);
    if (start + (xorLine + andLine) * height > size)
        return nullptr;
    const uint8_t* table = bits + DibSize(bits);
    // The entries the block holds (PaletteSize, in 16 bits, may count fewer than DIBNumColors).
    const unsigned colors = CDib::PaletteSize(bits) / 4u;
    const uint8_t* xorMask = bits + start;
    const uint8_t* andMask = xorMask + xorLine * height;

    auto icon = std::make_shared<IconPicture>();
    icon->width = uint32_t(width);
    icon->height = uint32_t(height);
    icon->bitCount = depth;
    icon->bgra.assign(size_t(width) * size_t(height) * 4, 0);
    bool alpha = false;
    for (uint64_t y = 0; y < height; ++y) {
        const uint8_t* line = xorMask + (height - 1 - y) * xorLine;
        uint8_t* out = icon->bgra.data() + y * uint64_t(width) * 4;
        for (uint32_t x = 0; x < uint32_t(width); ++x, out += 4) {
            unsigned index = 0;
            switch (depth) {
            case 1:
                index = (line[x >> 3] >> (7 - (x & 7))) & 1;
                break;
            case 4:
                index = (x & 1) ? (line[x >> 1] & 0x0F) : (line[x >> 1] >> 4);
                break;
            case 8:
                index = line[x];
                break;
            case 24:
                out[0] = line[3 * x];
                out[1] = line[3 * x + 1];
                out[2] = line[3 * x + 2];
                break;
            default:
                out[0] = line[4 * x];
                out[1] = line[4 * x + 1];
                out[2] = line[4 * x + 2];
                out[3] = line[4 * x + 3];
                alpha = alpha || out[3] != 0;
                break;
            }
            if (depth <= 8 && index < colors) {
                out[0] = table[4 * index];
                out[1] = table[4 * index + 1];
                out[2] = table[4 * index + 2];
            }
        }
    }
    if (!alpha) {
        for (uint64_t y = 0; y < height; ++y) {
            const uint8_t* line = andMask + (height - 1 - y) * andLine;
            uint8_t* out = icon->bgra.data() + y * uint64_t(width) * 4;
            for (uint32_t x = 0; x < uint32_t(width); ++x)
                out[4 * x + 3] = ((line[x >> 3] >> (7 - (x & 7))) & 1) ? 0 : 255;
        }
    }
    return icon;
}

} // namespace torvex

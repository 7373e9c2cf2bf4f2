#pragma once
// Stand-in for Windows icon handles (HICON): a portable icon object that holds the image
// decoded to 32-bit BGRA.
//
// - DIB images of 1, 4, 8, 24 and 32 bits (one plane, BI_RGB) are decoded; rows go from the top
//   down, four bytes a pixel in the order blue, green, red, alpha.
// - Transparency: a pixel whose AND mask bit is set gets alpha 0, every other pixel alpha 255;
//   a 32-bit image whose fourth bytes are not all 0 keeps them as alpha instead and its AND
//   mask is ignored, as Windows does with alpha icons.
// - An image stored as PNG (its block starts with the PNG signature) is recognised and left
//   undecoded: the object holds the PNG bytes, the size from the PNG header, and no pixels.
// - Anything else (16 bits, compressed or short blocks) makes no icon: null.
//
// An HICON is shared and needs no DestroyIcon: the object goes when its last holder lets go.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace torvex {

struct IconPicture {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t bitCount = 0;        // of the DIB image; 32 for PNG
    bool png = false;             // stored as PNG, left undecoded
    std::vector<uint8_t> bgra;    // width * height * 4 bytes, top row first; empty for PNG
    std::vector<uint8_t> pngData; // the PNG stream of a PNG image
};

using HICON = std::shared_ptr<const IconPicture>;

/// Decodes an icon image block (DIB header with the doubled height, colour table, XOR mask, AND
/// mask; or a PNG stream), as CreateIconFromResource does. Null where it cannot.
HICON DecodeIconImage(const uint8_t* bits, size_t size);

} // namespace torvex

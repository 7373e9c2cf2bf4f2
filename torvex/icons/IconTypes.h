#pragma once
// The Windows types of bitmap and icon files, defined portably.
//
// Each structure has fixed-width fields and is read from and written to bytes explicitly in
// little-endian order by its Read and Write members: nothing here relies on the compiler's packing
// or on the host's byte order. A DIB block in memory holds the bytes as the files do (a 40-byte
// BITMAPINFOHEADER, the colour table, the pixel rows), so the header inside a block is read and
// changed through the Dib* accessors below, never by casting the block to a structure.

#include "torvex/platform/WideString.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace torvex {

inline uint16_t ReadLE16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}
inline uint32_t ReadLE32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}
inline void WriteLE16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}
inline void WriteLE32(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
    p[2] = static_cast<uint8_t>(v >> 16);
    p[3] = static_cast<uint8_t>(v >> 24);
}

/// The 40-byte information header of a DIB. Offsets in the bytes: biSize 0, biWidth 4,
/// biHeight 8, biPlanes 12, biBitCount 14, biCompression 16, biSizeImage 20, biXPelsPerMeter
/// 24, biYPelsPerMeter 28, biClrUsed 32, biClrImportant 36.
struct BITMAPINFOHEADER {
    static constexpr size_t kSize = 40;
    uint32_t biSize = 0;
    int32_t biWidth = 0;
    int32_t biHeight = 0;
    uint16_t biPlanes = 0;
    uint16_t biBitCount = 0;
    uint32_t biCompression = 0;
    uint32_t biSizeImage = 0;
    int32_t biXPelsPerMeter = 0;
    int32_t biYPelsPerMeter = 0;
    uint32_t biClrUsed = 0;
    uint32_t biClrImportant = 0;

    static BITMAPINFOHEADER Read(const uint8_t* p);
    void Write(uint8_t* p) const;
};

/// One colour table entry, in the order of the bytes: blue, green, red, reserved.
struct RGBQUAD {
    static constexpr size_t kSize = 4;
    uint8_t rgbBlue = 0;
    uint8_t rgbGreen = 0;
    uint8_t rgbRed = 0;
    uint8_t rgbReserved = 0;
};

/// The 14-byte header of a BMP file: type word, 32-bit size, two reserved words, 32-bit offset
/// of the pixels.
struct BITMAPFILEHEADER {
    static constexpr size_t kSize = 14;
    uint16_t bfType = 0;
    uint32_t bfSize = 0;
    uint16_t bfReserved1 = 0;
    uint16_t bfReserved2 = 0;
    uint32_t bfOffBits = 0;

    static BITMAPFILEHEADER Read(const uint8_t* p);
    void Write(uint8_t* p) const;
};

/// One 16-byte entry of an ICO file's directory.
struct ICONDIRENTRY {
    static constexpr size_t kSize = 16;
    uint8_t bWidth = 0;
    uint8_t bHeight = 0;
    uint8_t bColorCount = 0;
    uint8_t bReserved = 0;
    uint16_t wPlanes = 0;
    uint16_t wBitCount = 0;
    uint32_t dwBytesInRes = 0;
    uint32_t dwImageOffset = 0; // from the start of the file

    static ICONDIRENTRY Read(const uint8_t* p);
    void Write(uint8_t* p) const;
};

/// One 14-byte entry of an RT_GROUP_ICON resource: an ICONDIRENTRY whose offset is replaced by
/// the 16-bit id of the RT_ICON resource that holds the image.
struct GRPICONDIRENTRY {
    static constexpr size_t kSize = 14;
    uint8_t bWidth = 0;
    uint8_t bHeight = 0;
    uint8_t bColorCount = 0;
    uint8_t bReserved = 0;
    uint16_t wPlanes = 0;
    uint16_t wBitCount = 0;
    uint32_t dwBytesInRes = 0;
    uint16_t nID = 0;

    static GRPICONDIRENTRY Read(const uint8_t* p);
    void Write(uint8_t* p) const;
};

constexpr uint16_t kBitmapType = 0x4D42; // "BM"
constexpr uint32_t BI_RGB = 0;

// Fields of the header at the start of a DIB block. The block must hold at least 40 bytes.
inline uint32_t DibSize(const uint8_t* dib) { return ReadLE32(dib); }
inline int32_t DibWidth(const uint8_t* dib) { return static_cast<int32_t>(ReadLE32(dib + 4)); }
inline int32_t DibHeight(const uint8_t* dib) { return static_cast<int32_t>(ReadLE32(dib + 8)); }
inline uint16_t DibPlanes(const uint8_t* dib) { return ReadLE16(dib + 12); }
inline uint16_t DibBitCount(const uint8_t* dib) { return ReadLE16(dib + 14); }
inline uint32_t DibCompression(const uint8_t* dib) { return ReadLE32(dib + 16); }
inline uint32_t DibSizeImage(const uint8_t* dib) { return ReadLE32(dib + 20); }
inline uint32_t DibClrUsed(const uint8_t* dib) { return ReadLE32(dib + 32); }
inline void SetDibHeight(uint8_t* dib, int32_t height) {
    WriteLE32(dib + 8, static_cast<uint32_t>(height));
}
inline void SetDibSizeImage(uint8_t* dib, uint32_t size) { WriteLE32(dib + 20, size); }

/// The eight bytes that start a PNG stream; an icon image that starts with them is stored as
/// PNG and is not a DIB.
bool IsPngImage(const uint8_t* bytes, size_t size);

/// Where the Parts show a message box. Off Windows the text and the caption (the file name)
/// go to a handler the host sets on CIcons (or CDib).
using MessageHandler = std::function<void(const WideString& text, const WideString& caption)>;
/// The handler in force when the host sets none: writes "caption: text" and a line end to
/// standard error, in UTF-8.
void DefaultMessageHandler(const WideString& text, const WideString& caption);

} // namespace torvex

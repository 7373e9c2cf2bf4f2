#include "torvex/icons/IconTypes.h"

#include "torvex/platform/Utf16.h"

#include <cstdio>
#include <cstring>

namespace torvex {

BITMAPINFOHEADER BITMAPINFOHEADER::Read(const uint8_t* p) {
    BITMAPINFOHEADER h;
    h.biSize = ReadLE32(p);
    h.biWidth = static_cast<int32_t>(ReadLE32(p + 4));
    h.biHeight = static_cast<int32_t>(ReadLE32(p + 8));
    h.biPlanes = ReadLE16(p + 12);
    h.biBitCount = ReadLE16(p + 14);
    h.biCompression = ReadLE32(p + 16);
    h.biSizeImage = ReadLE32(p + 20);
    h.biXPelsPerMeter = static_cast<int32_t>(ReadLE32(p + 24));
    h.biYPelsPerMeter = static_cast<int32_t>(ReadLE32(p + 28));
    h.biClrUsed = ReadLE32(p + 32);
    h.biClrImportant = ReadLE32(p + 36);
    return h;
}

void BITMAPINFOHEADER::Write(uint8_t* p) const {
    WriteLE32(p, biSize);
    WriteLE32(p + 4, static_cast<uint32_t>(biWidth));
    WriteLE32(p + 8, static_cast<uint32_t>(biHeight));
    WriteLE16(p + 12, biPlanes);
    WriteLE16(p + 14, biBitCount);
    WriteLE32(p + 16, biCompression);
    WriteLE32(p + 20, biSizeImage);
    WriteLE32(p + 24, static_cast<uint32_t>(biXPelsPerMeter));
    WriteLE32(p + 28, static_cast<uint32_t>(biYPelsPerMeter));
    WriteLE32(p + 32, biClrUsed);
    WriteLE32(p + 36, biClrImportant);
}

BITMAPFILEHEADER BITMAPFILEHEADER::Read(const uint8_t* p) {
    BITMAPFILEHEADER h;
    h.bfType = ReadLE16(p);
    h.bfSize = ReadLE32(p + 2);
    h.bfReserved1 = ReadLE16(p + 6);
    h.bfReserved2 = ReadLE16(p + 8);
    h.bfOffBits = ReadLE32(p + 10);
    return h;
}

void BITMAPFILEHEADER::Write(uint8_t* p) const {
    WriteLE16(p, bfType);
    WriteLE32(p + 2, bfSize);
    WriteLE16(p + 6, bfReserved1);
    WriteLE16(p + 8, bfReserved2);
    WriteLE32(p + 10, bfOffBits);
}

ICONDIRENTRY ICONDIRENTRY::Read(const uint8_t* p) {
    ICONDIRENTRY e;
    e.bWidth = p[0];
    e.bHeight = p[1];
    e.bColorCount = p[2];
    e.bReserved = p[3];
    e.wPlanes = ReadLE16(p + 4);
    e.wBitCount = ReadLE16(p + 6);
    e.dwBytesInRes = ReadLE32(p + 8);
    e.dwImageOffset = ReadLE32(p + 12);
    return e;
}

void ICONDIRENTRY::Write(uint8_t* p) const {
    p[0] = bWidth;
    p[1] = bHeight;
    p[2] = bColorCount;
    p[3] = bReserved;
    WriteLE16(p + 4, wPlanes);
    WriteLE16(p + 6, wBitCount);
    WriteLE32(p + 8, dwBytesInRes);
    WriteLE32(p + 12, dwImageOffset);
}

GRPICONDIRENTRY GRPICONDIRENTRY::Read(const uint8_t* p) {
    GRPICONDIRENTRY e;
    e.bWidth = p[0];
    e.bHeight = p[1];
    e.bColorCount = p[2];
    e.bReserved = p[3];
    e.wPlanes = ReadLE16(p + 4);
    e.wBitCount = ReadLE16(p + 6);
    e.dwBytesInRes = ReadLE32(p + 8);
    e.nID = ReadLE16(p + 12);
    return e;
}

void GRPICONDIRENTRY::Write(uint8_t* p) const {
    p[0] = bWidth;
    p[1] = bHeight;
    p[2] = bColorCount;
    p[3] = bReserved;
    WriteLE16(p + 4, wPlanes);
    WriteLE16(p + 6, wBitCount);
    WriteLE32(p + 8, dwBytesInRes);
    WriteLE16(p + 12, nID);
}

bool IsPngImage(const uint8_t* bytes, size_t size) {
    static const uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    return bytes && size >= sizeof signature && std::memcmp(bytes, signature, sizeof signature) == 0;
}

void DefaultMessageHandler(const WideString& text, const WideString& caption) {
    const std::string line = platform::ToUtf8(caption) + ": " + platform::ToUtf8(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

} // namespace torvex

#include "torvex/icons/CDib.h"

#include "torvex/icons/IconFile.h"

#include <cstdlib>
#include <cstring>
#include <unordered_map>

namespace torvex {

using icons_detail::IconFile;

namespace {

constexpr size_t kTableBlock = 1068; // 40 + 256 * 4: header and the largest colour table

// BytesPerLine without wrapping; false for a negative width or a line beyond 32 bits.
bool LineBytes(const uint8_t* dib, uint64_t& out) {
    const int32_t width = DibWidth(dib);
    if (width < 0)
        return false;
    const uint64_t bitsPerLine = static_cast<uint64_t>(width) * DibPlanes(dib) * DibBitCount(dib);
    out = ((bitsPerLine + 31) >> 5) * 4;
    return out <= UINT32_MAX;
}

struct Rgba {
    uint8_t b, g, r, a;
};

// The 16 entries of the default palette that CopyColorTable takes, as red, green, blue.
constexpr uint8_t kDefaultPalette16[16][3] = {
    {0, 0, 0},       {128, 0, 0},     {0, 128, 0},     {128, 128, 0},
    {0, 0, 128},     {128, 0, 128},   {0, 128, 128},   {192, 192, 192},
    {192, 220, 192}, {166, 202, 240}, {255, 251, 240}, {160, 160, 164},
    {128, 128, 128}, {255, 0, 0},     {0, 255, 0},     {255, 255, 0}};

bool SupportedDepth(uint32_t bits) {
    return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

// Reads pixels of a checked source DIB by coordinates from the top-left corner.
class SourcePixels {
public:
    explicit SourcePixels(const uint8_t* dib)
        : width_(DibWidth(dib)), bits_(DibBitCount(dib)),
          table_(dib + DibSize(dib)), colors_(CDib::PaletteSize(dib) / 4u),
          pixels_(CDib::FindDIBBits(dib)), line_(CDib::BytesPerLine(dib)) {
        const int32_t h = DibHeight(dib);
        topDown_ = h < 0;
        height_ = h < 0 ? -static_cast<int64_t>(h) : h;
    }
    uint32_t Width() const { return static_cast<uint32_t>(width_); }
    uint32_t Height() const { return static_cast<uint32_t>(height_); }

    Rgba At(uint32_t x, uint32_t y) const {
        const uint64_t row = topDown_ ? y : static_cast<uint64_t>(height_) - 1 - y;
        const uint8_t* line = pixels_ + row * line_;
        switch (bits_) {
        case 1:
            return Entry((line[x >> 3] >> (7 - (x & 7))) & 1);
        case 4:
            return Entry((x & 1) ? (line[x >> 1] & 0x0F) : (line[x >> 1] >> 4));
        case 8:
            return Entry(line[x]);
        case 16: {
            const uint16_t v = ReadLE16(line + 2 * static_cast<size_t>(x));
            auto expand = [](unsigned c) { return static_cast<uint8_t>((c << 3) | (c >> 2)); };
            return Rgba{expand(v & 31), expand((v >> 5) & 31), expand((v >> 10) & 31), 0};
        }
        case 24: {
            const uint8_t* p = line + 3 * static_cast<size_t>(x);
            return Rgba{p[0], p[1], p[2], 0};
        }
        default: {
            const uint8_t* p = line + 4 * static_cast<size_t>(x);
            return Rgba{p[0], p[1], p[2], p[3]};
        }
        }
    }

private:
    Rgba Entry(unsigned index) const {
        if (index >= colors_)
            return Rgba{0, 0, 0, 0};
        const uint8_t* e = table_ + 4 * index;
        return Rgba{e[0], e[1], e[2], 0};
    }

    int32_t width_;
    int64_t height_ = 0;
    bool topDown_ = false;
    uint16_t bits_;
    const uint8_t* table_;
    unsigned colors_;
    const uint8_t* pixels_;
    uint64_t line_;
};

// The nearest entry of a colour table, remembered per colour.
class NearestColor {
public:
    NearestColor(const uint8_t* table, unsigned count) : table_(table), count_(count) {}
    unsigned operator()(const Rgba& c) {
        const uint32_t key = (static_cast<uint32_t>(c.r) << 16) | (c.g << 8) | c.b;
        auto found = memo_.find(key);
        if (found != memo_.end())
            return found->second;
        unsigned best = 0;
        long bestDistance = -1;
        for (unsigned i = 0; i < count_; ++i) {
            const uint8_t* e = table_ + 4 * i;
            const long db = long(e[0]) - c.b, dg = long(e[1]) - c.g, dr = long(e[2]) - c.r;
            const long d = db * db + dg * dg + dr * dr;
            if (bestDistance < 0 || d < bestDistance) {
                bestDistance = d;
                best = i;
            }
        }
        memo_.emplace(key, best);
        return best;
    }

private:
    const uint8_t* table_;
    unsigned count_;
    std::unordered_map<uint32_t, unsigned> memo_;
};

} // namespace

CDib::~CDib() = default;

void CDib::SetMessageHandler(MessageHandler handler) {
    handler_ = std::move(handler);
}

void CDib::Message(const WideString& text, const WideString& caption) const {
    if (handler_)
        handler_(text, caption);
    else
        DefaultMessageHandler(text, caption);
}

uint8_t* CDib::FindDIBBits(uint8_t* dib) {
    return dib + DibSize(dib) + PaletteSize(dib);
}

const uint8_t* CDib::FindDIBBits(const uint8_t* dib) {
    return dib + DibSize(dib) + PaletteSize(dib);
}

uint16_t CDib::DIBNumColors(const uint8_t* dib) {
    const uint32_t used = DibClrUsed(dib);
    if (used != 0)
        return static_cast<uint16_t>(used & 0xFFFF);
    switch (DibBitCount(dib)) {
    case 1:
        return 2;
    case 4:
        return 16;
    case 8:
        return 256;
    default:
        return 0;
    }
}

uint16_t CDib::PaletteSize(const uint8_t* dib) {
    return static_cast<uint16_t>(DIBNumColors(dib) * 4u);
}

uint32_t CDib::BytesPerLine(const uint8_t* dib) {
    const int64_t bits = static_cast<int64_t>(DibWidth(dib)) * DibPlanes(dib) * DibBitCount(dib);
    return static_cast<uint32_t>(((bits + 31) >> 5) * 4);
}

bool CDib::CheckDib(const uint8_t* dib, size_t size) {
    if (!dib || size < BITMAPINFOHEADER::kSize || DibSize(dib) < BITMAPINFOHEADER::kSize)
        return false;
    uint64_t line = 0;
    if (!LineBytes(dib, line))
        return false;
    const int32_t h = DibHeight(dib);
    const uint64_t rows = h < 0 ? static_cast<uint64_t>(-static_cast<int64_t>(h)) : uint64_t(h);
    const uint64_t pixels = line * rows;
    if (pixels > UINT32_MAX)
        return false;
    return uint64_t(DibSize(dib)) + PaletteSize(dib) + pixels <= size;
}

int CDib::CopyColorTable(uint8_t* target, const uint8_t* source) {
    uint8_t* table = target + DibSize(target);
    const uint16_t sourceBits = DibBitCount(source);
    const uint8_t* sourceTable = source + DibSize(source);
    // The entries the block holds: PaletteSize, in 16 bits, may count fewer than DIBNumColors.
    const unsigned sourceColors = PaletteSize(source) / 4u;
    auto copy = [&](unsigned count) {
        const unsigned have = sourceColors < count ? sourceColors : count;
        std::memcpy(table, sourceTable, 4 * size_t(have));
        std::memset(table + 4 * size_t(have), 0, 4 * size_t(count - have));
    };
    switch (DibBitCount(target)) {
    case 1:
        std::memset(table, 0, 4);
        table[4] = table[5] = table[6] = 255;
        table[7] = 0;
        break;
    case 4:
        if (sourceBits == 4) {
            copy(16);
        } else {
            for (unsigned i = 0; i < 16; ++i) {
                table[4 * i] = kDefaultPalette16[i][2];
                table[4 * i + 1] = kDefaultPalette16[i][1];
                table[4 * i + 2] = kDefaultPalette16[i][0];
                table[4 * i + 3] = 0;
            }
        }
        break;
    case 8:
        if (sourceBits == 8) {
            copy(256);
        } else {
            static const uint8_t levels[6] = {0, 51, 102, 153, 204, 255};
            for (unsigned i = 0; i < 216; ++i) {
                table[4 * i] = levels[i % 6];           // blue
                table[4 * i + 1] = levels[(i / 6) % 6]; // green
                table[4 * i + 2] = levels[i / 36];      // red
                table[4 * i + 3] = 0;
            }
            for (unsigned i = 1; i <= 40; ++i) {
                const uint8_t grey = static_cast<uint8_t>((i * 255 + 20) / 41);
                uint8_t* e = table + 4 * (215 + i);
                e[0] = e[1] = e[2] = grey;
                e[3] = 0;
            }
        }
        break;
    default:
        break;
    }
    return 1;
}

uint8_t* CDib::ConvertDIBFormat(const uint8_t* source, uint32_t width, uint32_t height,
                                uint32_t bitCount, int stretch) {
    if (!source || DibSize(source) < BITMAPINFOHEADER::kSize ||
        DibCompression(source) != BI_RGB || DibPlanes(source) != 1 ||
        !SupportedDepth(DibBitCount(source)) || DibWidth(source) <= 0 || DibHeight(source) == 0)
        return nullptr;
    if (width == 0 || height == 0 || width > INT32_MAX || height > INT32_MAX ||
        !SupportedDepth(bitCount))
        return nullptr;
    const uint64_t targetLine = ((uint64_t(width) * bitCount + 31) >> 5) * 4;
    const uint64_t targetPixels = targetLine * height;
    if (targetPixels > UINT32_MAX - kTableBlock)
        return nullptr;

    // Step 1: the target's header and table.
    uint8_t* header = static_cast<uint8_t*>(std::calloc(1, kTableBlock));
    if (!header)
        return nullptr;
    BITMAPINFOHEADER h;
    h.biSize = BITMAPINFOHEADER::kSize;
    h.biWidth = static_cast<int32_t>(width);
    h.biHeight = static_cast<int32_t>(height);
    h.biPlanes = 1;
    h.biBitCount = static_cast<uint16_t>(bitCount);
    h.Write(header);
    // Step 2.
    CopyColorTable(header, source);

    // Step 7's block, whose pixels the stand-in for steps 3 to 5 fills.
    uint8_t* result = static_cast<uint8_t*>(std::malloc(kTableBlock + size_t(targetPixels)));
    if (!result) {
        std::free(header);
        return nullptr;
    }
    std::memcpy(result, header, kTableBlock);
    std::free(header);
    uint8_t* pixels = FindDIBBits(result);
    std::memset(pixels, 0, size_t(targetPixels));
    std::memset(pixels + targetPixels, 0, kTableBlock - (pixels - result));

    const SourcePixels src(source);
    const bool scale = stretch && (src.Width() != width || src.Height() != height);
    const uint32_t spanX = scale ? width : (width < src.Width() ? width : src.Width());
    const uint32_t spanY = scale ? height : (height < src.Height() ? height : src.Height());
    NearestColor nearest(result + BITMAPINFOHEADER::kSize, DIBNumColors(result));
    const bool keepAlpha = DibBitCount(source) == 32;
    for (uint32_t y = 0; y < spanY; ++y) {
        const uint32_t sy = scale ? static_cast<uint32_t>(uint64_t(y) * src.Height() / height) : y;
        uint8_t* line = pixels + uint64_t(height - 1 - y) * targetLine;
        for (uint32_t x = 0; x < spanX; ++x) {
            const uint32_t sx = scale ? static_cast<uint32_t>(uint64_t(x) * src.Width() / width) : x;
            const Rgba c = src.At(sx, sy);
            switch (bitCount) {
            case 1:
                if (nearest(c))
                    line[x >> 3] |= static_cast<uint8_t>(0x80 >> (x & 7));
                break;
            case 4:
                line[x >> 1] |= static_cast<uint8_t>((x & 1) ? nearest(c) : nearest(c) << 4);
                break;
            case 8:
                line[x] = static_cast<uint8_t>(nearest(c));
                break;
            case 16:
                WriteLE16(line + 2 * size_t(x),
                          static_cast<uint16_t>(((c.r >> 3) << 10) | ((c.g >> 3) << 5) | (c.b >> 3)));
                break;
            case 24:
                line[3 * size_t(x)] = c.b;
                line[3 * size_t(x) + 1] = c.g;
                line[3 * size_t(x) + 2] = c.r;
                break;
            default:
                line[4 * size_t(x)] = c.b;
                line[4 * size_t(x) + 1] = c.g;
                line[4 * size_t(x) + 2] = c.r;
                line[4 * size_t(x) + 3] = keepAlpha ? c.a : 0;
                break;
            }
        }
    }
    return result;
}

void CDib::SetMonoDIBPixel(uint8_t* bits, uint32_t width, uint32_t height, uint32_t x, uint32_t y,
                           int on) {
    const uint64_t row = uint64_t(height) - y - 1;
    const uint64_t line = ((uint64_t(width) + 31) >> 5) * 4;
    uint8_t* byte = bits + row * line + (x >> 3);
    const uint8_t mask = static_cast<uint8_t>(1u << (7 - (x % 8)));
    if (on)
        *byte |= mask;
    else
        *byte &= static_cast<uint8_t>(~mask);
}

uint8_t* CDib::ReadBMPFile(const WideString& name) {
    IconFile file;
    // 1.
    if (!file.OpenRead(name)) {
        Message(L"Error when opening a bitmap file!", name);
        return nullptr;
    }
    // 2.
    uint8_t fileHeaderBytes[BITMAPFILEHEADER::kSize];
    if (!file.ReadExactly(fileHeaderBytes, sizeof fileHeaderBytes)) {
        Message(L"Error when reading header of a bitmap file!", name);
        return nullptr;
    }
    // 3.
    const BITMAPFILEHEADER fileHeader = BITMAPFILEHEADER::Read(fileHeaderBytes);
    if (fileHeader.bfType != kBitmapType || fileHeader.bfReserved1 != 0 ||
        fileHeader.bfReserved2 != 0) {
        Message(L"Unknown bitmap format file!", name);
        return nullptr;
    }
    // 4.
    uint8_t* block = static_cast<uint8_t*>(std::malloc(44));
    if (!block) {
        Message(L"Error when reallocating memory of a bitmap!", name);
        return nullptr;
    }
    auto fail = [&](const wchar_t* text) -> uint8_t* {
        std::free(block);
        Message(text, name);
        return nullptr;
    };
    // 5.
    if (!file.ReadExactly(block, BITMAPINFOHEADER::kSize))
        return fail(L"Error when reading a bitmap information header!");
    // 6.
    if (DibSize(block) != BITMAPINFOHEADER::kSize)
        return fail(L"Not support a bitmap of OS/2 style!");
    // 7. The sizes are checked against the file before the block grows: what cannot be had is
    // refused with the message of the step that would fail (the growth itself for sizes beyond
    // 32 bits or a negative width or height, else the short read of the table or the pixels).
    uint64_t line = 0;
    const int32_t height = DibHeight(block);
    const uint16_t palette = PaletteSize(block);
    if (!LineBytes(block, line) || height < 0 ||
        line * uint64_t(height) > UINT32_MAX - BITMAPINFOHEADER::kSize - palette)
        return fail(L"Fail to reallocate memory a bitmap information header needs!");
    const uint64_t pixelBytes = line * uint64_t(height);
    const uint64_t tableEnd = BITMAPFILEHEADER::kSize + BITMAPINFOHEADER::kSize + uint64_t(palette);
    if (palette != 0 && tableEnd > file.Size())
        return fail(L"Error when reading bitmap color table!");
    const uint64_t pixelStart = fileHeader.bfOffBits != 0 ? fileHeader.bfOffBits : tableEnd;
    if (pixelStart > file.Size() || pixelBytes > file.Size() - pixelStart)
        return fail(L"Error when reading a bitmap file!");
    const size_t blockSize = BITMAPINFOHEADER::kSize + palette + size_t(pixelBytes);
    uint8_t* grown = static_cast<uint8_t*>(std::realloc(block, blockSize));
    if (!grown)
        return fail(L"Fail to reallocate memory a bitmap information header needs!");
    block = grown;
    // 8.
    if (palette != 0 && !file.ReadExactly(block + BITMAPINFOHEADER::kSize, palette))
        return fail(L"Error when reading bitmap color table!");
    // 9.
    if (fileHeader.bfOffBits != 0 && !file.Seek(fileHeader.bfOffBits))
        return fail(L"Error when locating size of a bitmap file!");
    // 10.
    if (!file.ReadExactly(FindDIBBits(block), size_t(pixelBytes)))
        return fail(L"Error when reading a bitmap file!");
    return block;
}

int CDib::WriteBMPFile(const WideString& name, uint8_t* dib, size_t blockSize) {
    IconFile file;
    // 1.
    if (!file.Create(name)) {
        Message(L"Fail to create a bitmap file\u00A3\u00A1", name);
        return 0;
    }
    if (!dib || blockSize < BITMAPINFOHEADER::kSize) {
        Message(L"Error when writing header of a bitmap file!", name);
        return 0;
    }
    // 2. In 32 bits, as the Part's DWORD arithmetic: the size is a quarter of the true value
    // and counts the doubled height.
    const uint32_t offset = uint32_t(PaletteSize(dib)) + 54u;
    const uint32_t line = BytesPerLine(dib);
    const int32_t height = DibHeight(dib);
    BITMAPFILEHEADER fileHeader;
    fileHeader.bfType = kBitmapType;
    fileHeader.bfOffBits = offset;
    fileHeader.bfSize = (line * static_cast<uint32_t>(height) + offset) >> 2;
    uint8_t headerBytes[BITMAPFILEHEADER::kSize];
    fileHeader.Write(headerBytes);
    // 3.
    if (!file.Write(headerBytes, sizeof headerBytes)) {
        Message(L"Error when writing header of a bitmap file!", name);
        return 0;
    }
    // 4. BytesPerLine times the halved height plus the pixel offset: 14 bytes beyond the
    // header, table and pixels, taken from the AND mask that follows. Bytes beyond the block
    // are refused with this step's message instead, the block left as it was.
    const int32_t halved = height / 2;
    uint64_t exactLine = 0;
    const bool inside = halved >= 0 && LineBytes(dib, exactLine) &&
                        exactLine * uint64_t(halved) + offset <= blockSize;
    if (!inside) {
        Message(L"Error when writing header of a bitmap file!", name);
        return 0;
    }
    SetDibHeight(dib, halved);
    if (!file.Write(dib, size_t(exactLine * uint64_t(halved) + offset))) {
        Message(L"Error when writing header of a bitmap file!", name);
        return 0;
    }
    // 5.
    SetDibHeight(dib, halved * 2);
    file.Close();
    return 1;
}

} // namespace torvex

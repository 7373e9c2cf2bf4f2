// DIB helpers, BMP reading and writing byte for byte, colour tables and conversion.

#include "IconTestSupport.h"

#include "torvex/icons/CDib.h"
#include "torvex/icons/IconPicture.h"

#include <cstring>

namespace torvex {
namespace {

using namespace icontest;

const WideString kOs2Message = L"Not support a bitmap of OS/2 style!";

Bytes Dib(int32_t width, int32_t height, uint16_t bits, uint32_t clrUsed = 0) {
    ByteBuilder b;
    b.header(width, height, bits, 0, clrUsed);
    return b.bytes;
}

// Edge case: a 24-bit DIB with biClrUsed 0 has an empty colour table.
TEST(CDib, ColorCountsAndTableSizes) {
    EXPECT_EQ(CDib::DIBNumColors(Dib(1, 1, 24).data()), 0);
    EXPECT_EQ(CDib::PaletteSize(Dib(1, 1, 24).data()), 0);
    EXPECT_EQ(CDib::PaletteSize(Dib(1, 1, 32).data()), 0);
    EXPECT_EQ(CDib::DIBNumColors(Dib(1, 1, 1).data()), 2);
    EXPECT_EQ(CDib::DIBNumColors(Dib(1, 1, 4).data()), 16);
    EXPECT_EQ(CDib::DIBNumColors(Dib(1, 1, 8).data()), 256);
    EXPECT_EQ(CDib::PaletteSize(Dib(1, 1, 8).data()), 1024);
    EXPECT_EQ(CDib::DIBNumColors(Dib(1, 1, 8, 3).data()), 3);
    // biClrUsed's low 16 bits, and the table size in 16 bits.
    EXPECT_EQ(CDib::DIBNumColors(Dib(1, 1, 8, 0x12345).data()), 0x2345);
    EXPECT_EQ(CDib::PaletteSize(Dib(1, 1, 8, 0x4000).data()), 0);
    EXPECT_EQ(CDib::PaletteSize(Dib(1, 1, 8, 0x4001).data()), 4);
}

TEST(CDib, BytesPerLineAndBits) {
    EXPECT_EQ(CDib::BytesPerLine(Dib(1, 1, 1).data()), 4u);
    EXPECT_EQ(CDib::BytesPerLine(Dib(33, 1, 1).data()), 8u);
    EXPECT_EQ(CDib::BytesPerLine(Dib(3, 1, 24).data()), 12u);
    EXPECT_EQ(CDib::BytesPerLine(Dib(256, 1, 32).data()), 1024u);
    Bytes dib = Dib(2, 2, 4);
    EXPECT_EQ(CDib::FindDIBBits(dib.data()), dib.data() + 40 + 64);
    EXPECT_TRUE(CDib::CheckDib(Dib(0, 0, 24).data(), 40));
    Bytes full = Dib(2, 2, 24);
    full.resize(40 + 16);
    EXPECT_TRUE(CDib::CheckDib(full.data(), full.size()));
    EXPECT_FALSE(CDib::CheckDib(full.data(), full.size() - 1));
    EXPECT_FALSE(CDib::CheckDib(full.data(), 39));
    EXPECT_FALSE(CDib::CheckDib(Dib(-1, 1, 24).data(), 40));
    EXPECT_FALSE(CDib::CheckDib(Dib(0x7FFFFFFF, 0x7FFFFFFF, 32).data(), 40));
}

TEST(CDib, SetMonoDIBPixel) {
    Bytes bits(8, 0); // 2 rows of 4 bytes
    CDib::SetMonoDIBPixel(bits.data(), 10, 2, 0, 0, 1);  // top row is the second line
    CDib::SetMonoDIBPixel(bits.data(), 10, 2, 9, 1, 1);  // bottom row, byte 1, bit 6
    EXPECT_EQ(bits, (Bytes{0x00, 0x40, 0, 0, 0x80, 0, 0, 0}));
    CDib::SetMonoDIBPixel(bits.data(), 10, 2, 0, 0, 0);
    EXPECT_EQ(bits[4], 0);
}

// Every example BMP reads to its bytes after the file header.
TEST(CDib, ReadsExampleBitmaps) {
    for (const char* name : {"mono.bmp", "four.bmp", "eight.bmp", "true.bmp", "alpha.bmp"}) {
        const Bytes file = ReadBytes(Example(name));
        Messages messages;
        CDib dib;
        dib.SetMessageHandler(messages.Handler());
        BlockPtr block(dib.ReadBMPFile(Example(name)));
        ASSERT_TRUE(block) << name;
        EXPECT_TRUE(messages.list.empty());
        EXPECT_EQ(0, std::memcmp(block.get(), file.data() + 14, file.size() - 14)) << name;
    }
}

Bytes SmallBmp(uint32_t offset, bool table = true) {
    // 2x2, 1 bit: two colours, two lines of 4 bytes.
    ByteBuilder b;
    b.u16(0x4D42).u32(0).u16(0).u16(0).u32(offset).header(2, 2, 1);
    if (table)
        b.u32(0x00000000).u32(0x00FFFFFF);
    return b.bytes;
}

// Edge case: a pixel offset of 0 means the pixels follow the table; an offset elsewhere is
// sought.
TEST(CDib, PixelOffsetZeroAndElsewhere) {
    TempFile file("offset.bmp");
    Bytes zero = SmallBmp(0);
    ByteBuilder pixels;
    pixels.u32(0x80).u32(0x40);
    zero.insert(zero.end(), pixels.bytes.begin(), pixels.bytes.end());
    WriteBytes(file, zero);
    CDib dib;
    BlockPtr block(dib.ReadBMPFile(file));
    ASSERT_TRUE(block);
    EXPECT_EQ(0, std::memcmp(block.get() + 48, pixels.bytes.data(), 8));

    Bytes far = SmallBmp(100);
    far.resize(100, 0xEE);
    far.insert(far.end(), pixels.bytes.begin(), pixels.bytes.end());
    WriteBytes(file, far);
    block.reset(dib.ReadBMPFile(file));
    ASSERT_TRUE(block);
    EXPECT_EQ(0, std::memcmp(block.get() + 48, pixels.bytes.data(), 8));
}

// Every failure of reading shows its message with the file name as caption, and gives null.
TEST(CDib, ReadFailureMessages) {
    TempFile file("bad.bmp");
    auto expect = [&](const Bytes& bytes, const WideString& text) {
        WriteBytes(file, bytes);
        Messages messages;
        CDib dib;
        dib.SetMessageHandler(messages.Handler());
        EXPECT_EQ(dib.ReadBMPFile(file), nullptr);
        ASSERT_EQ(messages.list.size(), 1u) << Narrow(text);
        EXPECT_EQ(messages.list[0].first, text);
        EXPECT_EQ(messages.list[0].second, file.path());
    };
    {
        Messages messages;
        CDib dib;
        dib.SetMessageHandler(messages.Handler());
        EXPECT_EQ(dib.ReadBMPFile(L"/no/such/file.bmp"), nullptr);
        ASSERT_EQ(messages.list.size(), 1u);
        EXPECT_EQ(messages.list[0].first, L"Error when opening a bitmap file!");
        EXPECT_EQ(messages.list[0].second, L"/no/such/file.bmp");
    }
    Bytes good = SmallBmp(0);
    good.resize(good.size() + 8);
    expect(Bytes(good.begin(), good.begin() + 13), L"Error when reading header of a bitmap file!");
    Bytes wrongType = good;
    wrongType[0] = 'X';
    expect(wrongType, L"Unknown bitmap format file!");
    Bytes reserved = good;
    reserved[8] = 1;
    expect(reserved, L"Unknown bitmap format file!");
    expect(Bytes(good.begin(), good.begin() + 14 + 39),
           L"Error when reading a bitmap information header!");
    // Edge case: a 12-byte OS/2 header is refused by message, not parsed.
    ByteBuilder os2;
    os2.u16(0x4D42).u32(0).u16(0).u16(0).u32(0).u32(12).u16(2).u16(2).u16(1).u16(1);
    os2.fill(40);
    expect(os2.bytes, kOs2Message);
    Bytes negative = good;
    WriteLE32(negative.data() + 14 + 8, uint32_t(-2));
    expect(negative, L"Fail to reallocate memory a bitmap information header needs!");
    Bytes huge = good;
    WriteLE32(huge.data() + 14 + 4, 0x7FFFFFFF);
    WriteLE32(huge.data() + 14 + 8, 0x7FFFFFFF);
    expect(huge, L"Fail to reallocate memory a bitmap information header needs!");
    expect(Bytes(good.begin(), good.begin() + 14 + 40 + 7), L"Error when reading bitmap color table!");
    expect(Bytes(good.begin(), good.end() - 1), L"Error when reading a bitmap file!");
    Bytes beyond = good;
    WriteLE32(beyond.data() + 10, 1000);
    expect(beyond, L"Error when reading a bitmap file!");
    // A colour table claimed far beyond the file is refused before anything grows.
    Bytes table = good;
    WriteLE32(table.data() + 14 + 32, 0x3FFF);
    expect(table, L"Error when reading bitmap color table!");
}

// An icon image written as a BMP: the size field a quarter of the true value with the doubled
// height, the height halved in the file, and 14 bytes more than the image, taken from the AND
// mask.
TEST(CDib, WriteBMPFileBytes) {
    // A 2x2 1-bit icon image: header (height 4), table, XOR 2x4 bytes, AND 2x4 bytes.
    ByteBuilder image;
    image.header(2, 4, 1, 77).u32(0x00000000).u32(0x00FFFFFF);
    image.u32(0x000000C0).u32(0x00000040);              // XOR rows
    image.u32(0x04030201).u32(0x08070605);              // AND rows
    image.u32(0x0C0B0A09).u32(0x100F0E0D);              // beyond: another 8 bytes of the block
    const Bytes block = image.bytes;
    const uint32_t offset = 8 + 54;
    ByteBuilder expected;
    expected.u16(0x4D42).u32((4 * 4 + offset) >> 2).u16(0).u16(0).u32(offset);
    expected.header(2, 2, 1, 77).u32(0x00000000).u32(0x00FFFFFF);
    expected.u32(0x000000C0).u32(0x00000040);
    expected.u32(0x04030201).u32(0x08070605).u32(0x0C0B0A09).u16(0x0E0D); // 14 more bytes

    TempFile file("written.bmp");
    uint8_t* dib = MallocCopy(block);
    CDib writer;
    Messages messages;
    writer.SetMessageHandler(messages.Handler());
    EXPECT_EQ(writer.WriteBMPFile(file, dib, block.size()), 1);
    EXPECT_EQ(ReadBytes(file), expected.bytes);
    EXPECT_EQ(0, std::memcmp(dib, block.data(), block.size())); // height doubled again
    EXPECT_TRUE(messages.list.empty());

    // Where the 14 bytes would come from beyond the block, the write is refused with step 4's
    // message and the block stays as it was.
    EXPECT_EQ(writer.WriteBMPFile(file, dib, block.size() - 3), 0);
    ASSERT_EQ(messages.list.size(), 1u);
    EXPECT_EQ(messages.list[0].first, L"Error when writing header of a bitmap file!");
    EXPECT_EQ(0, std::memcmp(dib, block.data(), block.size()));
    std::free(dib);

    messages.list.clear();
    EXPECT_EQ(writer.WriteBMPFile(L"/no/such/dir/x.bmp", nullptr, 0), 0);
    ASSERT_EQ(messages.list.size(), 1u);
    EXPECT_EQ(messages.list[0].first, L"Fail to create a bitmap file\u00A3\u00A1");
    EXPECT_EQ(messages.list[0].second, L"/no/such/dir/x.bmp");
}

TEST(CDib, CopyColorTable) {
    Bytes target(1068, 0xAA);
    const Bytes source24 = Dib(1, 1, 24);
    ByteBuilder h1;
    h1.header(1, 1, 1);
    std::copy(h1.bytes.begin(), h1.bytes.end(), target.begin());
    EXPECT_EQ(CDib::CopyColorTable(target.data(), source24.data()), 1);
    EXPECT_EQ(Bytes(target.begin() + 40, target.begin() + 48),
              (Bytes{0, 0, 0, 0, 255, 255, 255, 0}));

    // 4 bits from a source of another depth: the 16 default palette entries, blue first.
    ByteBuilder h4;
    h4.header(1, 1, 4);
    std::copy(h4.bytes.begin(), h4.bytes.end(), target.begin());
    CDib::CopyColorTable(target.data(), source24.data());
    ByteBuilder expected;
    const uint8_t rgb[16][3] = {{0, 0, 0},       {128, 0, 0},     {0, 128, 0},
                                {128, 128, 0},   {0, 0, 128},     {128, 0, 128},
                                {0, 128, 128},   {192, 192, 192}, {192, 220, 192},
                                {166, 202, 240}, {255, 251, 240}, {160, 160, 164},
                                {128, 128, 128}, {255, 0, 0},     {0, 255, 0},
                                {255, 255, 0}};
    for (const auto& c : rgb)
        expected.u8(c[2]).u8(c[1]).u8(c[0]).u8(0);
    EXPECT_EQ(Bytes(target.begin() + 40, target.begin() + 104), expected.bytes);

    // 4 bits from 4 bits: the source's entries.
    ByteBuilder source4;
    source4.header(1, 1, 4);
    for (uint32_t i = 0; i < 16; ++i)
        source4.u32(i * 0x010203);
    CDib::CopyColorTable(target.data(), source4.bytes.data());
    EXPECT_EQ(Bytes(target.begin() + 40, target.begin() + 104),
              Bytes(source4.bytes.begin() + 40, source4.bytes.end()));

    // 8 bits from another depth: the documented halftone table.
    ByteBuilder h8;
    h8.header(1, 1, 8);
    std::copy(h8.bytes.begin(), h8.bytes.end(), target.begin());
    CDib::CopyColorTable(target.data(), source24.data());
    auto entry = [&](int i) { return Bytes(target.begin() + 40 + 4 * i, target.begin() + 44 + 4 * i); };
    EXPECT_EQ(entry(0), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(entry(36 * 5 + 6 * 2 + 1), (Bytes{51, 102, 255, 0})); // r 5, g 2, b 1
    EXPECT_EQ(entry(215), (Bytes{255, 255, 255, 0}));
    EXPECT_EQ(entry(216), (Bytes{6, 6, 6, 0}));
    EXPECT_EQ(entry(255), (Bytes{249, 249, 249, 0}));

    // 24 bits: nothing.
    ByteBuilder h24;
    h24.header(1, 1, 24);
    std::copy(h24.bytes.begin(), h24.bytes.end(), target.begin());
    target[40] = 0x5A;
    EXPECT_EQ(CDib::CopyColorTable(target.data(), source24.data()), 1);
    EXPECT_EQ(target[40], 0x5A);
}

// A 4x4 24-bit source whose pixel (x, y) from the top is (x * 60, y * 60, 7).
Bytes Source4x4() {
    ByteBuilder b;
    b.header(4, 4, 24);
    for (int y = 3; y >= 0; --y)
        for (int x = 0; x < 4; ++x)
            b.u8(7).u8(y * 60).u8(x * 60);
    return b.bytes;
}

Bytes Pixel24(const uint8_t* dib, int x, int yFromTop) {
    const int height = DibHeight(dib);
    const uint8_t* p = CDib::FindDIBBits(dib) + (height - 1 - yFromTop) * CDib::BytesPerLine(dib) + 3 * x;
    return Bytes(p, p + 3);
}

TEST(CDib, ConvertCropsAtTheOriginOrStretches) {
    const Bytes source = Source4x4();
    CDib dib;
    // Crop: the top-left 2x2.
    BlockPtr crop(dib.ConvertDIBFormat(source.data(), 2, 2, 24, 0));
    ASSERT_TRUE(crop);
    EXPECT_EQ(DibWidth(crop.get()), 2);
    EXPECT_EQ(DibHeight(crop.get()), 2);
    EXPECT_EQ(DibBitCount(crop.get()), 24);
    EXPECT_EQ(DibSizeImage(crop.get()), 0u);
    EXPECT_EQ(CDib::FindDIBBits(crop.get()), crop.get() + 40);
    EXPECT_EQ(Pixel24(crop.get(), 0, 0), (Bytes{7, 0, 0}));
    EXPECT_EQ(Pixel24(crop.get(), 1, 1), (Bytes{7, 60, 60}));
    // Same size with stretch: a copy.
    BlockPtr same(dib.ConvertDIBFormat(source.data(), 4, 4, 24, 1));
    EXPECT_EQ(0, std::memcmp(CDib::FindDIBBits(same.get()), source.data() + 40, 48));
    // Stretch down by nearest neighbour: every second pixel.
    BlockPtr down(dib.ConvertDIBFormat(source.data(), 2, 2, 24, 1));
    EXPECT_EQ(Pixel24(down.get(), 1, 1), (Bytes{7, 120, 120}));
    // Stretch up: each pixel twice.
    BlockPtr up(dib.ConvertDIBFormat(source.data(), 8, 8, 24, 1));
    EXPECT_EQ(Pixel24(up.get(), 7, 2), (Bytes{7, 60, 180}));
    // Bigger without stretch: the rest stays zero.
    BlockPtr big(dib.ConvertDIBFormat(source.data(), 6, 6, 24, 0));
    EXPECT_EQ(Pixel24(big.get(), 3, 3), (Bytes{7, 180, 180}));
    EXPECT_EQ(Pixel24(big.get(), 5, 5), (Bytes{0, 0, 0}));
    // Depth change to 1 bit: nearest of black and white.
    ByteBuilder grey;
    grey.header(2, 1, 24).u8(10).u8(10).u8(10).u8(240).u8(240).u8(240).u16(0);
    BlockPtr mono(dib.ConvertDIBFormat(grey.bytes.data(), 2, 1, 1, 0));
    ASSERT_TRUE(mono);
    const uint8_t* bits = CDib::FindDIBBits(mono.get());
    EXPECT_EQ(bits - mono.get(), 48);
    EXPECT_EQ(bits[0], 0x40);
    // Nearest entry of the default palette for 4 bits: pure red is entry 13.
    ByteBuilder red;
    red.header(1, 1, 24).u8(0).u8(0).u8(250).u8(0);
    BlockPtr four(dib.ConvertDIBFormat(red.bytes.data(), 1, 1, 4, 0));
    EXPECT_EQ(CDib::FindDIBBits(four.get())[0], 0xD0);
    // Refused: null, unsupported depths, compressed sources, empty targets.
    EXPECT_EQ(dib.ConvertDIBFormat(nullptr, 1, 1, 24, 0), nullptr);
    EXPECT_EQ(dib.ConvertDIBFormat(source.data(), 1, 1, 3, 0), nullptr);
    EXPECT_EQ(dib.ConvertDIBFormat(source.data(), 0, 1, 24, 0), nullptr);
    Bytes rle = source;
    WriteLE32(rle.data() + 16, 1);
    EXPECT_EQ(dib.ConvertDIBFormat(rle.data(), 1, 1, 24, 0), nullptr);
}

TEST(CDib, ConvertReadsEveryDepthAndKeepsAlpha) {
    CDib dib;
    for (const char* name : {"mono.bmp", "four.bmp", "eight.bmp", "true.bmp", "alpha.bmp"}) {
        BlockPtr block(dib.ReadBMPFile(Example(name)));
        ASSERT_TRUE(block);
        const uint32_t w = uint32_t(DibWidth(block.get()));
        const uint32_t h = uint32_t(DibHeight(block.get()));
        const uint16_t bits = DibBitCount(block.get());
        // Into its own depth and size: the same pixels.
        BlockPtr same(dib.ConvertDIBFormat(block.get(), w, h, bits, 0));
        ASSERT_TRUE(same) << name;
        EXPECT_EQ(0, std::memcmp(CDib::FindDIBBits(same.get()), CDib::FindDIBBits(block.get()),
                                 CDib::BytesPerLine(block.get()) * h))
            << name;
        BlockPtr wide(dib.ConvertDIBFormat(block.get(), 5, 3, 16, 1));
        EXPECT_TRUE(wide) << name;
    }
}

} // namespace
} // namespace torvex

namespace torvex {
namespace {

using namespace icontest;

// biClrUsed 0x4001 counts 16385 colours, but PaletteSize in 16 bits gives one entry: only that
// entry is read, an index beyond it is black (the sanitizers see any read past the block).
TEST(CDib, ColourTableCutByTheSixteenBitSizeIsNotOverread) {
    ByteBuilder b;
    b.header(2, 1, 8, 0, 0x4001).u8(10).u8(20).u8(30).u8(0).u8(0).u8(200).u16(0);
    CDib dib;
    BlockPtr out(dib.ConvertDIBFormat(b.bytes.data(), 2, 1, 24, 0));
    ASSERT_TRUE(out);
    const uint8_t* p = CDib::FindDIBBits(out.get());
    EXPECT_EQ(Bytes(p, p + 6), (Bytes{10, 20, 30, 0, 0, 0}));
    Bytes target(1068, 0);
    ByteBuilder h8;
    h8.header(1, 1, 8);
    std::copy(h8.bytes.begin(), h8.bytes.end(), target.begin());
    CDib::CopyColorTable(target.data(), b.bytes.data());
    EXPECT_EQ(Bytes(target.begin() + 40, target.begin() + 48), (Bytes{10, 20, 30, 0, 0, 0, 0, 0}));

    ByteBuilder icon;
    icon.header(2, 2, 8, 0, 0x4001).u8(10).u8(20).u8(30).u8(0).u8(0).u8(200).u16(0).u32(0);
    HICON picture = DecodeIconImage(icon.bytes.data(), icon.bytes.size());
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->bgra, (Bytes{10, 20, 30, 255, 0, 0, 0, 255}));
}

} // namespace
} // namespace torvex

// Decoded icons (the HICON stand-in), DIBs to icon images, BMP files to icon images and
// back, and the clipboard.

#include "IconTestSupport.h"

#include "torvex/icons/Clipboard.h"

#include <cstring>

namespace torvex {
namespace {

using namespace icontest;

ResourcePtr ReadIco(const char* name) {
    CIcons icons;
    ResourcePtr icon(icons.ReadIconFromICOFile(Example(name)));
    EXPECT_TRUE(icon) << name;
    return icon;
}

// An image to convert into: the size and colours wanted, a placeholder block in lpBits.
struct Target {
    ICONIMAGE image{};
    uint8_t* placeholder = static_cast<uint8_t*>(std::malloc(1));
    Target(uint32_t w, uint32_t h, uint32_t colors) {
        image.Width = w;
        image.Height = h;
        image.Colors = colors;
        image.lpBits = placeholder;
    }
    ~Target() {
        if (image.lpBits != placeholder)
            std::free(image.lpBits);
        std::free(placeholder);
    }
};

TEST(IconPicture, DecodesEveryDepthWithTransparency) {
    for (const char* name : {"mono.ico", "four.ico", "eight.ico", "true.ico", "alpha.ico"}) {
        ResourcePtr icon = ReadIco(name);
        ASSERT_TRUE(icon);
        CIcons icons;
        HICON picture = icons.MakeIconFromResource(&icon->IconImages[0]);
        ASSERT_TRUE(picture) << name;
        const uint32_t w = picture->width;
        EXPECT_EQ(picture->bgra.size(), size_t(w) * w * 4);
        if (picture->bitCount == 32) {
            // Alpha from the pixels: 255 at the centre, 0 at the corners.
            EXPECT_EQ(picture->bgra[((w / 2) * w + w / 2) * 4 + 3], 255);
            EXPECT_EQ(picture->bgra[3], 0);
        } else {
            // AND mask: the corners transparent, the middle opaque.
            EXPECT_EQ(picture->bgra[3], 0) << name;
            EXPECT_EQ(picture->bgra[(2 * w + 2) * 4 + 3], 255) << name;
        }
    }
    // mono: pixel (0, 0) of the pattern is set (white), (4, 0) clear (black).
    ResourcePtr mono = ReadIco("mono.ico");
    HICON picture = CIcons().MakeIconFromResource(&mono->IconImages[0]);
    EXPECT_EQ(picture->bgra[0], 255);
    EXPECT_EQ(picture->bgra[4 * 4], 0);
    // four: pixel (x, 0) has index x; index 13 is red (255, 0, 0).
    ResourcePtr four = ReadIco("four.ico");
    HICON fourPicture = CIcons().MakeIconFromResource(&four->IconImages[0]);
    EXPECT_EQ(Bytes(fourPicture->bgra.begin() + 13 * 4, fourPicture->bgra.begin() + 13 * 4 + 4),
              (Bytes{0, 0, 255, 255}));
}

TEST(IconPicture, NullWhereItCannot) {
    CIcons icons;
    EXPECT_EQ(icons.MakeIconFromResource(nullptr), nullptr);
    ICONIMAGE empty{};
    EXPECT_EQ(icons.MakeIconFromResource(&empty), nullptr);
    // 16 bits: not decoded.
    ByteBuilder b;
    b.header(1, 2, 16).u32(0).u32(0);
    EXPECT_EQ(DecodeIconImage(b.bytes.data(), b.bytes.size()), nullptr);
    // Short block.
    ByteBuilder c;
    c.header(8, 16, 24).u32(0);
    EXPECT_EQ(DecodeIconImage(c.bytes.data(), c.bytes.size()), nullptr);
    const uint8_t png[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    HICON onlySignature = DecodeIconImage(png, 8);
    ASSERT_TRUE(onlySignature);
    EXPECT_TRUE(onlySignature->png);
    EXPECT_EQ(onlySignature->width, 0u);
}

// DIBToIconImage: the layout of the new block, the old block left to the caller, a null pointer
// refused.
TEST(IconImages, DIBToIconImage) {
    CDib dib;
    BlockPtr bitmap(dib.ReadBMPFile(Example("true.bmp")));
    ASSERT_TRUE(bitmap);
    Target target(32, 32, 24);
    CIcons icons;
    ASSERT_EQ(icons.DIBToIconImage(&target.image, bitmap.get(), 0), 1);
    const ICONIMAGE& image = target.image;
    EXPECT_NE(image.lpBits, target.placeholder);
    EXPECT_EQ(image.dwNumBytes, 40u + 32 * 96 + 32 * 4);
    EXPECT_EQ(image.lpbi, image.lpBits);
    EXPECT_EQ(DibHeight(image.lpbi), 64);
    EXPECT_EQ(image.lpXOR, image.lpBits + 40);
    EXPECT_EQ(image.lpAND, image.lpXOR + 32 * 96);
    EXPECT_EQ(0, std::memcmp(image.lpXOR, CDib::FindDIBBits(bitmap.get()), 32 * 96));
    for (size_t i = 0; i < 128; ++i)
        EXPECT_EQ(image.lpAND[i], 0);

    ICONIMAGE nullBits{};
    nullBits.Width = nullBits.Height = 32;
    nullBits.Colors = 24;
    EXPECT_EQ(icons.DIBToIconImage(&nullBits, bitmap.get(), 0), 0);
    EXPECT_EQ(icons.DIBToIconImage(&target.image, nullptr, 0), 0);
}

// Round trip: BMP to icon image to BMP. The written file has the BMP's pixels, the size field
// a quarter of the true value with the doubled height, and 14 bytes of the (zero) AND mask.
TEST(IconImages, BmpToIconImageToBmp) {
    for (const char* name : {"mono.bmp", "four.bmp", "eight.bmp", "true.bmp", "alpha.bmp"}) {
        const Bytes original = ReadBytes(Example(name));
        const int32_t side = int32_t(ReadLE32(original.data() + 18));
        const uint16_t bits = ReadLE16(original.data() + 28);
        Target target{uint32_t(side), uint32_t(side), bits};
        CIcons icons;
        ASSERT_EQ(icons.IconImageFromBMPFile(Example(name), &target.image, 0), 1) << name;
        TempFile out("back.bmp");
        ASSERT_EQ(icons.IconImageToBMPFile(out, &target.image), 1);
        const uint32_t offset = ReadLE32(original.data() + 10);
        const uint32_t pixels = uint32_t(original.size()) - offset;
        ByteBuilder expected;
        expected.u16(0x4D42).u32((2 * pixels + offset) >> 2).u16(0).u16(0).u32(offset);
        Bytes header(original.begin() + 14, original.begin() + 54);
        WriteLE32(header.data() + 20, 0); // the converted header's biSizeImage
        expected.raw(header);
        expected.raw(Bytes(original.begin() + 54, original.end()));
        expected.fill(14, 0);
        EXPECT_EQ(ReadBytes(out), expected.bytes) << name;
    }
}

TEST(IconImages, BmpFailuresReachTheHandler) {
    Messages messages;
    CIcons icons;
    icons.SetMessageHandler(messages.Handler());
    Target target(16, 16, 4);
    EXPECT_EQ(icons.IconImageFromBMPFile(Example("mono.ico"), &target.image, 0), 0);
    ASSERT_EQ(messages.list.size(), 1u);
    EXPECT_EQ(messages.list[0].first, L"Unknown bitmap format file!");
    EXPECT_EQ(target.image.lpBits, target.placeholder);
}

// An icon image to the clipboard and back: the same pixels; stretched into another size.
TEST(Clipboard, IconImageThroughTheClipboard) {
    ResourcePtr icon = ReadIco("eight.ico");
    CIcons icons;
    ASSERT_EQ(icons.IconImageToClipBoard(&icon->IconImages[0]), 1);
    std::vector<uint8_t> dib;
    ASSERT_TRUE(Clipboard().GetDib(dib));
    EXPECT_EQ(DibHeight(dib.data()), 32);
    Target same(32, 32, 8);
    ASSERT_EQ(icons.IconImageFromClipBoard(&same.image, 0), 1);
    EXPECT_EQ(0, std::memcmp(same.image.lpBits + 40, icon->IconImages[0].lpBits + 40, 1024 + 32 * 32));
    Target small(16, 16, 8);
    EXPECT_EQ(icons.IconImageFromClipBoard(&small.image, 1), 1);
    // Null bits: emptied and 0.
    ICONIMAGE empty{};
    EXPECT_EQ(icons.IconImageToClipBoard(&empty), 0);
    EXPECT_FALSE(Clipboard().GetDib(dib));
    EXPECT_EQ(icons.IconImageFromClipBoard(&same.image, 0), 0);
}

class HostClipboard : public IClipboard {
public:
    bool Empty() override {
        ++empties;
        dib.clear();
        return true;
    }
    bool SetDib(const std::vector<uint8_t>& d) override {
        dib = d;
        return true;
    }
    bool GetDib(std::vector<uint8_t>& d) override {
        if (dib.empty())
            return false;
        d = dib;
        return true;
    }
    int empties = 0;
    std::vector<uint8_t> dib;
};

TEST(Clipboard, HostReplacesIt) {
    HostClipboard host;
    SetClipboard(&host);
    ResourcePtr icon = ReadIco("mono.ico");
    CIcons icons;
    EXPECT_EQ(icons.IconImageToClipBoard(&icon->IconImages[0]), 1);
    EXPECT_EQ(host.empties, 1);
    EXPECT_EQ(host.dib.size(), icon->IconImages[0].dwNumBytes);
    // A DIB shorter than its header says is refused.
    host.dib.resize(50);
    Target target(16, 16, 1);
    EXPECT_EQ(icons.IconImageFromClipBoard(&target.image, 0), 0);
    SetClipboard(nullptr);
    EXPECT_EQ(&Clipboard() == &host, false);
}

} // namespace
} // namespace torvex

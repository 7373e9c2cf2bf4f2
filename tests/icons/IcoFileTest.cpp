// ICO files read and written byte for byte, every error value and message of reading,
// and hostile files.

#include "IconTestSupport.h"

#include <cstring>

namespace torvex {
namespace {

using namespace icontest;

const char* const kExampleIcons[] = {"mono.ico", "four.ico",  "eight.ico", "true.ico",
                                     "alpha.ico", "large.ico", "png.ico",   "torvex.ico"};

ResourcePtr ReadQuiet(const WideString& path, Error_ReadIconFromICOFile& error,
                      std::vector<HICON>* icons = nullptr) {
    std::vector<HICON> own;
    CIcons reader;
    Messages messages;
    reader.SetMessageHandler(messages.Handler());
    ResourcePtr result(reader.ReadIconFromICOFile(path, icons ? *icons : own, error));
    EXPECT_TRUE(messages.list.empty()) << "the quiet form called the handler";
    return result;
}

// A 2x2 1-bit icon image, hand-built: header with height 4, two colours, XOR and AND rows.
Bytes TinyImage(uint32_t sizeImage = 0) {
    ByteBuilder b;
    b.header(2, 4, 1, sizeImage).u32(0).u32(0x00FFFFFF);
    b.u32(0x80).u32(0x40); // XOR
    b.u32(0x00).u32(0xC0); // AND: the top row transparent
    return b.bytes;
}

Bytes IcoOf(const std::vector<Bytes>& images, uint16_t first = 0, uint16_t second = 1) {
    ByteBuilder b;
    b.u16(first).u16(second).u16(uint16_t(images.size()));
    uint32_t offset = 6 + 16 * uint32_t(images.size());
    for (const Bytes& image : images) {
        const uint16_t bits = ReadLE16(image.data() + 14);
        b.u8(ReadLE32(image.data() + 4)).u8(ReadLE32(image.data() + 8) / 2);
        b.u8(bits < 8 ? (1u << bits) & 0xFF : 0).u8(0).u16(1).u16(bits);
        b.u32(uint32_t(image.size())).u32(offset);
        offset += uint32_t(image.size());
    }
    for (const Bytes& image : images)
        b.raw(image);
    return b.bytes;
}

TEST(IcoFile, ReadsExamplesAndRecordsTheFileName) {
    Error_ReadIconFromICOFile error = IconReadBadImage;
    std::vector<HICON> icons;
    ResourcePtr icon = ReadQuiet(Example("torvex.ico"), error, &icons);
    ASSERT_TRUE(icon);
    EXPECT_EQ(error, IconReadOk);
    ASSERT_EQ(icon->nNumImages, 5u);
    ASSERT_EQ(icons.size(), 5u);
    const uint32_t sizes[5][3] = {{16, 16, 1}, {16, 16, 4}, {32, 32, 8}, {32, 32, 24}, {48, 48, 32}};
    for (uint32_t i = 0; i < 5; ++i) {
        const ICONIMAGE& image = icon->IconImages[i];
        EXPECT_EQ(image.Width, sizes[i][0]);
        EXPECT_EQ(image.Height, sizes[i][1]);
        EXPECT_EQ(image.Colors, sizes[i][2]);
        EXPECT_EQ(image.lpbi, image.lpBits);
        EXPECT_EQ(image.lpXOR, CDib::FindDIBBits(image.lpBits));
        EXPECT_EQ(image.lpAND, image.lpXOR + CDib::BytesPerLine(image.lpbi) * image.Height);
        EXPECT_EQ(image.lpAND + ((image.Width + 31) / 32) * 4 * image.Height,
                  image.lpBits + image.dwNumBytes);
        ASSERT_TRUE(icons[i]);
        EXPECT_EQ(icons[i]->width, sizes[i][0]);
    }
    EXPECT_EQ(std::u16string(icon->szOriginalICOFileName), platform::ToUtf16(Example("torvex.ico")));
    EXPECT_EQ(icon->szOriginalDLLFileName[0], u'\0');
}

// Round trip: ICO to images to ICO, byte for byte, for every example.
TEST(IcoFile, RoundTripIsByteForByte) {
    for (const char* name : kExampleIcons) {
        Error_ReadIconFromICOFile error;
        ResourcePtr icon = ReadQuiet(Example(name), error);
        ASSERT_TRUE(icon) << name;
        TempFile out("roundtrip.ico");
        CIcons writer;
        EXPECT_EQ(writer.WriteIconToICOFile(icon.get(), out), 1);
        EXPECT_EQ(ReadBytes(out), ReadBytes(Example(name))) << name;
    }
}

// Writing: the directory as hand-built, a 256-pixel image stores 0, colour counts by depth.
TEST(IcoFile, WrittenDirectoryMatchesHandBuiltBytes) {
    const Bytes tiny = TinyImage();
    ICONIMAGE image{};
    image.Width = 2;
    image.Height = 2;
    image.Colors = 1;
    image.lpBits = MallocCopy(tiny);
    image.dwNumBytes = uint32_t(tiny.size());
    image.lpbi = image.lpBits;
    ICONIMAGE big = image;
    big.Width = big.Height = 256;
    TempFile out("tiny.ico");
    CIcons icons;
    EXPECT_EQ(icons.WriteIconToICOFile({&image, &big}, out), 1);
    ByteBuilder expected;
    expected.u16(0).u16(1).u16(2);
    expected.u8(2).u8(2).u8(2).u8(0).u16(1).u16(1).u32(64).u32(6 + 32);
    expected.u8(0).u8(0).u8(2).u8(0).u16(1).u16(1).u32(64).u32(6 + 32 + 64);
    expected.raw(tiny).raw(tiny);
    EXPECT_EQ(ReadBytes(out), expected.bytes);
    EXPECT_EQ(icons.CalculateImageOffset({&image, &big}, 0), 38u);
    EXPECT_EQ(icons.CalculateImageOffset({&image, &big}, 1), 102u);
    EXPECT_EQ(icons.CalculateImageOffset({&image, &big}, 2), 166u);
    std::free(image.lpBits);

    // Edge cases: 8 bits give colour count 0, 4 bits 16, 1 bit 2; the 256-pixel image of
    // large.ico has width and height 0 in its entry.
    Error_ReadIconFromICOFile error;
    ResourcePtr all = ReadQuiet(Example("torvex.ico"), error);
    ASSERT_TRUE(all);
    EXPECT_EQ(icons.WriteIconToICOFile(all.get(), out), 1);
    const Bytes written = ReadBytes(out);
    const uint8_t colorCounts[5] = {2, 16, 0, 0, 0};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(written[6 + 16 * i + 2], colorCounts[i]) << i;
    ResourcePtr large = ReadQuiet(Example("large.ico"), error);
    ASSERT_TRUE(large);
    EXPECT_EQ(large->IconImages[0].Width, 256u);
    EXPECT_EQ(icons.WriteIconToICOFile(large.get(), out), 1);
    const Bytes largeBytes = ReadBytes(out);
    EXPECT_EQ(largeBytes[6], 0);
    EXPECT_EQ(largeBytes[7], 0);
}

// The list form writes biSizeImage 0 and restores it; the resource form keeps it.
TEST(IcoFile, ListFormZeroesAndRestoresSizeImage) {
    const Bytes tiny = TinyImage(99);
    ICONIMAGE image{};
    image.Width = image.Height = 2;
    image.Colors = 1;
    image.lpBits = MallocCopy(tiny);
    image.dwNumBytes = uint32_t(tiny.size());
    image.lpbi = image.lpBits;
    TempFile out("sizeimage.ico");
    CIcons icons;
    ASSERT_EQ(icons.WriteIconToICOFile({&image}, out), 1);
    EXPECT_EQ(ReadBytes(out), IcoOf({TinyImage(0)}));
    EXPECT_EQ(DibSizeImage(image.lpbi), 99u);

    auto* resource = static_cast<ICONRESOURCE*>(std::calloc(1, IconResourceSize(1)));
    resource->nNumImages = 1;
    resource->IconImages[0] = image;
    ASSERT_EQ(icons.WriteIconToICOFile(resource, out), 1);
    EXPECT_EQ(ReadBytes(out), IcoOf({TinyImage(99)}));
    CIcons::FreeIconResource(resource);
}

TEST(IcoFile, WriteFailures) {
    Messages messages;
    CIcons icons;
    icons.SetMessageHandler(messages.Handler());
    auto* resource = static_cast<ICONRESOURCE*>(std::calloc(1, IconResourceSize(0)));
    EXPECT_EQ(icons.WriteIconToICOFile(resource, L"/no/such/dir/x.ico"), 0);
    EXPECT_EQ(icons.WriteIconToICOFile(std::vector<ICONIMAGE*>{}, L"/no/such/dir/x.ico"), 0);
    ASSERT_EQ(messages.list.size(), 2u);
    EXPECT_EQ(messages.list[0].first, L"Error when creating a file!");
    EXPECT_EQ(messages.list[0].second, L"/no/such/dir/x.ico");
    // Writing to a full device: the header write fails.
    if (platform::PathExists(L"/dev/full")) {
        messages.list.clear();
        EXPECT_EQ(icons.WriteIconToICOFile(resource, L"/dev/full"), 0);
        ASSERT_EQ(messages.list.size(), 1u);
        EXPECT_EQ(messages.list[0].first, L"Error when writing header of an icon file!");
    }
    std::free(resource);
}

// Edge case: image count 0 gives a block with no images, written back as the header alone.
TEST(IcoFile, ZeroImages) {
    TempFile file("empty.ico");
    WriteBytes(file, IcoOf({}));
    Error_ReadIconFromICOFile error;
    std::vector<HICON> icons{nullptr};
    ResourcePtr icon = ReadQuiet(file, error, &icons);
    ASSERT_TRUE(icon);
    EXPECT_EQ(error, IconReadOk);
    EXPECT_EQ(icon->nNumImages, 0u);
    EXPECT_TRUE(icons.empty());
    TempFile out("empty_out.ico");
    EXPECT_EQ(CIcons().WriteIconToICOFile(icon.get(), out), 1);
    EXPECT_EQ(ReadBytes(out), (Bytes{0, 0, 1, 0, 0, 0}));
}

struct BadFile {
    const char* what;
    Bytes bytes;
    Error_ReadIconFromICOFile error;
    const wchar_t* plainMessage; // the message of ReadIconFromICOFile(name)
};

std::vector<BadFile> BadFiles() {
    const Bytes good = IcoOf({TinyImage()});
    std::vector<BadFile> files;
    files.push_back({"first word not 0", IcoOf({TinyImage()}, 1, 1), IconReadBadHeader,
                     L"Error when reading header of an icon file!"});
    files.push_back({"second word not 1 (a cursor)", IcoOf({TinyImage()}, 0, 2), IconReadBadHeader,
                     L"Error when reading header of an icon file!"});
    files.push_back({"header cut short", Bytes(good.begin(), good.begin() + 5), IconReadBadHeader,
                     L"Error when reading header of an icon file!"});
    files.push_back({"empty file", Bytes(), IconReadBadHeader,
                     L"Error when reading header of an icon file!"});
    files.push_back({"directory cut short", Bytes(good.begin(), good.begin() + 21),
                     IconReadDirectoryFailed, L"Error when reading an icon file!"});
    Bytes manyImages = good;
    WriteLE16(manyImages.data() + 4, 0xFFFF);
    files.push_back({"count far beyond the file", manyImages, IconReadDirectoryFailed,
                     L"Error when reading an icon file!"});
    files.push_back({"image cut short", Bytes(good.begin(), good.end() - 1), IconReadShortImage,
                     L"Error when reading content of an icon!"});
    Bytes beyond = good;
    WriteLE32(beyond.data() + 6 + 12, 5000);
    files.push_back({"offset beyond the end", beyond, IconReadShortImage,
                     L"Error when reading content of an icon!"});
    Bytes hugeSize = good;
    WriteLE32(hugeSize.data() + 6 + 8, 0xFFFFFFF0);
    files.push_back({"size beyond the file", hugeSize, IconReadShortImage,
                     L"Error when reading content of an icon!"});
    Bytes wide = good;
    WriteLE32(wide.data() + 22 + 4, 1000);
    files.push_back({"header wider than the block", wide, IconReadBadImage,
                     L"Error when transforming inner format of an icon!"});
    Bytes tall = good;
    WriteLE32(tall.data() + 22 + 8, 0x7FFFFFFF);
    files.push_back({"header taller than the block", tall, IconReadBadImage,
                     L"Error when transforming inner format of an icon!"});
    Bytes table = good;
    WriteLE32(table.data() + 22 + 32, 200);
    files.push_back({"colour table beyond the block", table, IconReadBadImage,
                     L"Error when transforming inner format of an icon!"});
    Bytes headerSize = good;
    WriteLE32(headerSize.data() + 22, 0xFFFFFF00);
    files.push_back({"biSize beyond the block", headerSize, IconReadBadImage,
                     L"Error when transforming inner format of an icon!"});
    Bytes tiny = good;
    WriteLE32(tiny.data() + 6 + 8, 39);
    files.push_back({"block shorter than a header", tiny, IconReadBadImage,
                     L"Error when transforming inner format of an icon!"});
    // The same image named 2000 times: together longer than the file.
    ByteBuilder repeated;
    repeated.u16(0).u16(1).u16(2000);
    for (int i = 0; i < 2000; ++i)
        repeated.u8(2).u8(2).u8(2).u8(0).u16(1).u16(1).u32(64).u32(6 + 16 * 2000);
    repeated.raw(TinyImage());
    files.push_back({"one image named again and again", repeated.bytes, IconReadShortImage,
                     L"Error when reading content of an icon!"});
    return files;
}

// Every error value of reading, with no message from the quiet form; the table's message from
// the form with icons; the plain form's own messages; the file name as caption everywhere.
TEST(IcoFile, EveryReadFailure) {
    TempFile file("bad.ico");
    for (const BadFile& bad : BadFiles()) {
        WriteBytes(file, bad.bytes);
        Error_ReadIconFromICOFile error = IconReadOk;
        std::vector<HICON> icons;
        EXPECT_FALSE(ReadQuiet(file, error, &icons)) << bad.what;
        EXPECT_EQ(error, bad.error) << bad.what;
        EXPECT_TRUE(icons.empty()) << bad.what;

        Messages messages;
        CIcons reader;
        reader.SetMessageHandler(messages.Handler());
        EXPECT_EQ(reader.ReadIconFromICOFile(file, icons), nullptr);
        ASSERT_EQ(messages.list.size(), 1u) << bad.what;
        EXPECT_EQ(messages.list[0].first, CIcons::ReadErrorMessage(bad.error)) << bad.what;
        EXPECT_EQ(messages.list[0].second, file.path());

        messages.list.clear();
        EXPECT_EQ(reader.ReadIconFromICOFile(file), nullptr);
        ASSERT_EQ(messages.list.size(), 1u) << bad.what;
        EXPECT_EQ(messages.list[0].first, bad.plainMessage) << bad.what;
        EXPECT_EQ(messages.list[0].second, file.path());
    }
    // Error 1: no such file, and a directory.
    for (const WideString& path : {WideString(L"/no/such/file.ico"), platform::TempDirectory()}) {
        Error_ReadIconFromICOFile error = IconReadOk;
        EXPECT_FALSE(ReadQuiet(path, error));
        EXPECT_EQ(error, IconReadOpenFailed);
        Messages messages;
        CIcons reader;
        reader.SetMessageHandler(messages.Handler());
        EXPECT_EQ(reader.ReadIconFromICOFile(path), nullptr);
        ASSERT_EQ(messages.list.size(), 1u);
        EXPECT_EQ(messages.list[0].first, L"Error when opening an icon file!");
    }
}

TEST(IcoFile, ErrorTableTexts) {
    const wchar_t* texts[] = {L"",
                              L"Error when opening an icon file!",
                              L"Error when allocating memory for an icon!",
                              L"Error when reading header of an icon file!",
                              L"Error when reallocating memory for an icon!",
                              L"Error when reallocating memory for an icon file!",
                              L"Error when reading an icon file!",
                              L"Error when locating content of an icon!",
                              L"Error when reading content of an icon!",
                              L"Error when transforming inner format of an icon!"};
    for (int i = 0; i <= 9; ++i)
        EXPECT_EQ(CIcons::ReadErrorMessage(Error_ReadIconFromICOFile(i)), texts[i]);
}

// The second of two images fails: the first one's block is freed (the leak checker of the test
// build would report it otherwise), and the result is null.
TEST(IcoFile, ImagesReadBeforeAFailureAreFreed) {
    Bytes bad = TinyImage();
    WriteLE32(bad.data() + 4, 1000);
    TempFile file("second.ico");
    WriteBytes(file, IcoOf({TinyImage(), bad}));
    Error_ReadIconFromICOFile error;
    EXPECT_FALSE(ReadQuiet(file, error));
    EXPECT_EQ(error, IconReadBadImage);
}

TEST(IcoFile, PngImagesAreRecognisedNotParsed) {
    Error_ReadIconFromICOFile error;
    std::vector<HICON> icons;
    ResourcePtr icon = ReadQuiet(Example("png.ico"), error, &icons);
    ASSERT_TRUE(icon);
    const ICONIMAGE& image = icon->IconImages[0];
    EXPECT_EQ(image.Width, 256u);
    EXPECT_EQ(image.Height, 256u);
    EXPECT_EQ(image.Colors, 32u);
    EXPECT_EQ(image.lpbi, nullptr);
    EXPECT_EQ(image.lpXOR, nullptr);
    ASSERT_TRUE(icons[0]);
    EXPECT_TRUE(icons[0]->png);
    EXPECT_TRUE(icons[0]->bgra.empty());
    EXPECT_EQ(icons[0]->pngData.size(), image.dwNumBytes);
}

TEST(IcoFile, DefaultHandlerWritesCaptionAndText) {
    testing::internal::CaptureStderr();
    CIcons reader;
    EXPECT_EQ(reader.ReadIconFromICOFile(L"/no/such/file.ico"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "/no/such/file.ico: Error when opening an icon file!\n");
}

} // namespace
} // namespace torvex

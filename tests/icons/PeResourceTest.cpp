// Icon resources of PE files (the example DLLs made by examples/icons/make_pe.sh from
// the example icons), the module object standing for HINSTANCE, and hostile images.

#include "IconTestSupport.h"

#include <cstring>

namespace torvex {
namespace {

using namespace icontest;

const wchar_t kLoadFailedLatin1[] =
    L"\u00D7\u00B0\u00C8\u00EB\u00CE\u00C4\u00BC\u00FE\u00CA\u00B1\u00B3\u00F6\u00B4\u00ED - "
    L"\u00C7\u00EB\u00D1\u00A1\u00D4\u00F1\u00D2\u00BB\u00B8\u00F6WIN32\u00B5\u00C4DLL\u00BB"
    L"\u00F2EXE\u00CE\u00C4\u00BC\u00FE!";
const wchar_t kTransformFailedLatin1[] =
    L"\u00D7\u00AA\u00BB\u00BB\u00B3\u00C9\u00CD\u00BC\u00B1\u00EA\u00C4\u00DA\u00B2\u00BF\u00B8"
    L"\u00F1\u00CA\u00BD\u00CA\u00B1\u00B3\u00F6\u00B4\u00ED!";

const char* const kModules[] = {"icons64.dll", "icons32.dll"};

// The icon resource extracted from each example PE file and written as an ICO file equals the
// ICO file it was built from.
TEST(PeResources, ExtractedGroupsEqualTheirIcoFiles) {
    const std::pair<const wchar_t*, const char*> groups[] = {
        {L"MAINICON", "torvex.ico"}, {L"mainicon", "torvex.ico"}, {L"#7", "mono.ico"},
        {L"LARGE", "large.ico"},     {L"PNGICON", "png.ico"}};
    for (const char* module : kModules) {
        for (const auto& [name, ico] : groups) {
            Messages messages;
            CIcons icons;
            icons.SetMessageHandler(messages.Handler());
            ResourcePtr icon(icons.ReadIconFromEXEFile(Example(module), name));
            ASSERT_TRUE(icon) << module << " " << Narrow(name);
            EXPECT_TRUE(messages.list.empty());
            EXPECT_EQ(std::u16string(icon->szOriginalDLLFileName),
                      platform::ToUtf16(Example(module)));
            EXPECT_EQ(icon->szOriginalICOFileName[0], u'\0');
            TempFile out("extracted.ico");
            ASSERT_EQ(icons.WriteIconToICOFile(icon.get(), out), 1);
            EXPECT_EQ(ReadBytes(out), ReadBytes(Example(ico))) << module << " " << Narrow(name);
        }
    }
}

TEST(PeResources, ModuleReaderKnowsBothFormats) {
    CPeImage pe64, pe32;
    ASSERT_TRUE(pe64.LoadFile(Example("icons64.dll")));
    ASSERT_TRUE(pe32.LoadFile(Example("icons32.dll")));
    EXPECT_TRUE(pe64.Is64Bit());
    EXPECT_FALSE(pe32.Is64Bit());
    for (const CPeImage* pe : {&pe64, &pe32}) {
        std::vector<WideString> names;
        for (const ResourceName& n : pe->ResourceNames(RT_GROUP_ICON))
            names.push_back(n.ToString());
        EXPECT_EQ(names, (std::vector<WideString>{L"LARGE", L"MAINICON", L"PNGICON", L"#7"}));
        EXPECT_EQ(pe->ResourceNames(RT_ICON).size(), 8u);
        EXPECT_EQ(pe->Resources(RT_ICON).size(), 8u);
        std::span<const uint8_t> data;
        EXPECT_FALSE(pe->FindResource(RT_GROUP_ICON, ResourceName::Parse(L"NOSUCH"), data));
        EXPECT_FALSE(pe->FindResource(RT_GROUP_ICON, ResourceName::Parse(L"#8"), data));
        EXPECT_FALSE(pe->FindResource(5, ResourceName::Parse(L"MAINICON"), data));
    }
    EXPECT_TRUE(ResourceName::Parse(L"#123").isNumber);
    EXPECT_EQ(ResourceName::Parse(L"#123").number, 123);
    EXPECT_FALSE(ResourceName::Parse(L"#70000").isNumber);
    EXPECT_FALSE(ResourceName::Parse(L"#12a").isNumber);
    EXPECT_FALSE(ResourceName::Parse(L"#").isNumber);
}

// GetIconFromInstance on the module object: the group's image that suits 32x32 best, decoded.
TEST(PeResources, GetIconFromInstance) {
    CPeImage module;
    ASSERT_TRUE(module.LoadFile(Example("icons64.dll")));
    CIcons icons;
    HICON icon = icons.GetIconFromInstance(&module, L"MAINICON");
    ASSERT_TRUE(icon);
    EXPECT_EQ(icon->width, 32u);
    EXPECT_EQ(icon->bitCount, 24);
    EXPECT_EQ(icon->bgra.size(), 32u * 32 * 4);
    // The example's pattern: red grows with x, green with y; the corners are transparent.
    const uint8_t* p = icon->bgra.data() + (10 * 32 + 31) * 4;
    EXPECT_EQ(p[2], 255);
    EXPECT_EQ(p[1], 10 * 255 / 31);
    EXPECT_EQ(p[3], 255);
    EXPECT_EQ(icon->bgra[3], 0);
    HICON mono = icons.GetIconFromInstance(&module, L"#7");
    ASSERT_TRUE(mono);
    EXPECT_EQ(mono->bitCount, 1);
    HICON png = icons.GetIconFromInstance(&module, L"PNGICON");
    ASSERT_TRUE(png);
    EXPECT_TRUE(png->png);
    EXPECT_EQ(icons.GetIconFromInstance(&module, L"NOSUCH"), nullptr);
    EXPECT_EQ(icons.GetIconFromInstance(&module, nullptr), nullptr);
    EXPECT_EQ(icons.GetIconFromInstance(nullptr, L"MAINICON"), nullptr);
}

TEST(PeResources, LookupIconIdFromDirectory) {
    ByteBuilder group;
    group.u16(0).u16(1).u16(3);
    group.u8(16).u8(16).u8(0).u8(0).u16(1).u16(32).u32(0).u16(1);
    group.u8(32).u8(32).u8(16).u8(0).u16(1).u16(4).u32(0).u16(2);
    group.u8(32).u8(32).u8(0).u8(0).u16(1).u16(8).u32(0).u16(3);
    EXPECT_EQ(LookupIconIdFromDirectory(group.bytes), 3);
    Bytes cut(group.bytes.begin(), group.bytes.end() - 1);
    EXPECT_EQ(LookupIconIdFromDirectory(cut), 0);
    EXPECT_EQ(LookupIconIdFromDirectory(Bytes{0, 0, 1}), 0);
}

// A file that is no PE image gives the two messages in order, the file name as caption, null.
TEST(PeResources, NotAPeFile) {
    for (const WideString& path : {Example("torvex.ico"), WideString(L"/no/such/module.dll")}) {
        Messages messages;
        CIcons icons;
        icons.SetMessageHandler(messages.Handler());
        EXPECT_EQ(icons.ReadIconFromEXEFile(path, L"MAINICON"), nullptr);
        ASSERT_EQ(messages.list.size(), 2u);
        EXPECT_EQ(messages.list[0].first, kLoadFailedLatin1);
        EXPECT_EQ(messages.list[1].first,
                  L"Error when loading a file - Please select a WIN32 DLL or EXE file!");
        EXPECT_EQ(messages.list[0].second, path);
        EXPECT_EQ(messages.list[1].second, path);
    }
    // The Latin-1 text as UTF-8 on standard error, through the default handler.
    testing::internal::CaptureStderr();
    CIcons plain;
    EXPECT_EQ(plain.ReadIconFromEXEFile(L"/no/such/m.dll", L"X"), nullptr);
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err.substr(0, 20), "/no/such/m.dll: \xC3\x97\xC2\xB0");
}

TEST(PeResources, SilentFailures) {
    Messages messages;
    CIcons icons;
    icons.SetMessageHandler(messages.Handler());
    EXPECT_EQ(icons.ReadIconFromEXEFile(Example("icons64.dll"), nullptr), nullptr);
    EXPECT_EQ(icons.ReadIconFromEXEFile(Example("icons64.dll"), L"NOSUCH"), nullptr);
    EXPECT_EQ(icons.ReadIconFromEXEFile(Example("icons64.dll"), L"#99"), nullptr);
    EXPECT_TRUE(messages.list.empty());
}

// Offset of a resource's data in the file.
size_t DataOffset(const CPeImage& pe, uint16_t type, const wchar_t* name) {
    std::span<const uint8_t> data;
    EXPECT_TRUE(pe.FindResource(type, ResourceName::Parse(name), data));
    return size_t(data.data() - pe.Bytes().data());
}

// Damaged groups and images: a count beyond the group's data is refused with step 4's message,
// an image whose header claims more than it holds with step 5's two messages, a group naming a
// missing image silently.
TEST(PeResources, DamagedResources) {
    CPeImage pe;
    ASSERT_TRUE(pe.LoadFile(Example("icons64.dll")));
    const size_t group = DataOffset(pe, RT_GROUP_ICON, L"#7");
    std::span<const uint8_t> groupData;
    pe.FindResource(RT_GROUP_ICON, ResourceName::Parse(L"#7"), groupData);
    const uint16_t imageId = ReadLE16(groupData.data() + 6 + 12);
    const size_t image = DataOffset(pe, RT_ICON, (L"#" + std::to_wstring(imageId)).c_str());
    TempFile file("damaged.dll");
    auto run = [&](Bytes bytes) {
        WriteBytes(file, bytes);
        Messages messages;
        CIcons icons;
        icons.SetMessageHandler(messages.Handler());
        ResourcePtr icon(icons.ReadIconFromEXEFile(file, L"#7"));
        EXPECT_FALSE(icon);
        std::vector<WideString> texts;
        for (const auto& m : messages.list) {
            texts.push_back(m.first);
            EXPECT_EQ(m.second, file.path());
        }
        return texts;
    };
    Bytes count = pe.Bytes();
    WriteLE16(count.data() + group + 4, 500);
    EXPECT_EQ(run(count), std::vector<WideString>{L"Error when allocating memory!"});
    Bytes header = pe.Bytes();
    WriteLE32(header.data() + image + 4, 4000); // width
    EXPECT_EQ(run(header), (std::vector<WideString>{
                               kTransformFailedLatin1,
                               L"Error when transforming to inner format of an icon!"}));
    Bytes missing = pe.Bytes();
    WriteLE16(missing.data() + group + 6 + 12, 999);
    EXPECT_TRUE(run(missing).empty());
}

// Every cut of the PE file and every single damaged byte of its headers and resource directory
// reads without a crash; a cut file gives null or the group.
TEST(PeResources, CutAndDamagedFilesReadCleanly) {
    for (const char* module : kModules) {
        const Bytes bytes = ReadBytes(Example(module));
        for (size_t length = 0; length < bytes.size(); length += (length < 1200 ? 7 : 997)) {
            CPeImage pe;
            pe.Load(Bytes(bytes.begin(), bytes.begin() + length));
            std::span<const uint8_t> data;
            pe.FindResource(RT_GROUP_ICON, ResourceName::Parse(L"MAINICON"), data);
            pe.ResourceNames(RT_ICON);
            CIcons icons;
            icons.GetIconFromInstance(&pe, L"MAINICON");
        }
        CPeImage whole;
        ASSERT_TRUE(whole.Load(bytes));
        // The headers, the section table and (at 0x800 in both examples) the resource tree.
        for (size_t at : {size_t(0x3C), size_t(0x80), size_t(0x100), size_t(0x180), size_t(0x800),
                          size_t(0x940)}) {
            for (size_t i = at; i < at + 0x140 && i < bytes.size(); ++i) {
                Bytes damaged = bytes;
                damaged[i] ^= 0xFF;
                CPeImage pe;
                pe.Load(damaged);
                CIcons icons;
                icons.GetIconFromInstance(&pe, L"MAINICON");
                pe.ResourceNames(RT_GROUP_ICON);
            }
        }
    }
}

} // namespace
} // namespace torvex

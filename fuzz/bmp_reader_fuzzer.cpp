// Feeds arbitrary bytes to the BMP reader as a file; a bitmap that reads is converted
// to icon images of several sizes and depths, decoded, and written as a BMP file again, which is
// read back. Whatever the bytes: no crash, no hang, no memory beyond a small multiple of the
// file's size.

#include "IconFuzzSupport.h"

#include "torvex/icons/CIcons.h"

#include <cstdlib>

using namespace torvex;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::atexit(fuzz::RemoveWorkDirectory);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!fuzz::WriteInput(data, size))
        return 0;
    CDib dib;
    dib.SetMessageHandler(fuzz::Quiet);
    uint8_t* block = dib.ReadBMPFile(fuzz::WorkFile(L"in"));
    if (!block)
        return 0;
    CIcons icons;
    icons.SetMessageHandler(fuzz::Quiet);
    const struct {
        uint32_t width, height, colors;
        int stretch;
    } targets[] = {{16, 16, 1, 0}, {32, 32, 8, 1}, {7, 5, 24, 1}, {48, 48, 32, 0}, {3, 9, 4, 1}};
    for (const auto& t : targets) {
        uint8_t placeholder = 0;
        ICONIMAGE image{};
        image.Width = t.width;
        image.Height = t.height;
        image.Colors = t.colors;
        image.lpBits = &placeholder;
        if (!icons.DIBToIconImage(&image, block, t.stretch))
            continue;
        icons.MakeIconFromResource(&image);
        if (icons.IconImageToBMPFile(fuzz::WorkFile(L"bmp"), &image))
            std::free(dib.ReadBMPFile(fuzz::WorkFile(L"bmp")));
        std::free(image.lpBits);
    }
    std::free(block);
    return 0;
}

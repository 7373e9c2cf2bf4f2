// Feeds arbitrary bytes to the ICO reader as a file, with icons decoded; an icon that
// reads is written again by both writers and read back, and its first images go through a BMP
// file and the clipboard. Whatever the bytes: no crash, no hang, no memory beyond a small
// multiple of the file's size.

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
    CIcons icons;
    icons.SetMessageHandler(fuzz::Quiet);
    std::vector<HICON> pictures;
    Error_ReadIconFromICOFile error;
    ICONRESOURCE* icon = icons.ReadIconFromICOFile(fuzz::WorkFile(L"in"), pictures, error);
    if (!icon)
        return 0;
    icons.WriteIconToICOFile(icon, fuzz::WorkFile(L"out"));
    std::vector<ICONIMAGE*> list;
    for (uint32_t i = 0; i < icon->nNumImages; ++i)
        list.push_back(&icon->IconImages[i]);
    icons.WriteIconToICOFile(list, fuzz::WorkFile(L"out"));
    CIcons::FreeIconResource(icons.ReadIconFromICOFile(fuzz::WorkFile(L"out"), pictures, error));
    for (uint32_t i = 0; i < icon->nNumImages && i < 4; ++i) {
        ICONIMAGE* image = &icon->IconImages[i];
        icons.IconImageToBMPFile(fuzz::WorkFile(L"bmp"), image);
        if (icons.IconImageToClipBoard(image)) {
            uint8_t placeholder = 0;
            ICONIMAGE back{};
            back.Width = back.Height = 16;
            back.Colors = 8;
            back.lpBits = &placeholder;
            if (icons.IconImageFromClipBoard(&back, 1))
                std::free(back.lpBits);
        }
    }
    CIcons::FreeIconResource(icon);
    return 0;
}

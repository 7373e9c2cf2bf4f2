// Feeds arbitrary bytes to the PE resource reader (the stand-in for executable modules):
// the module object lists and finds icon groups and images and decodes them, and
// ReadIconFromEXEFile reads the file's first group, which is written as an ICO file. Whatever
// the bytes: no crash, no hang, no memory beyond a small multiple of the file's size.

#include "IconFuzzSupport.h"

#include "torvex/icons/CIcons.h"

#include <cstdlib>

using namespace torvex;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::atexit(fuzz::RemoveWorkDirectory);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CPeImage module;
    if (!module.Load(std::vector<uint8_t>(data, data + size)))
        return 0;
    CIcons icons;
    icons.SetMessageHandler(fuzz::Quiet);
    const std::vector<ResourceName> groups = module.ResourceNames(RT_GROUP_ICON);
    for (size_t i = 0; i < groups.size() && i < 4; ++i)
        icons.GetIconFromInstance(&module, groups[i].ToString().c_str());
    const std::vector<ResourceName> images = module.ResourceNames(RT_ICON);
    for (size_t i = 0; i < images.size() && i < 8; ++i) {
        std::span<const uint8_t> bytes;
        if (module.FindResource(RT_ICON, images[i], bytes))
            DecodeIconImage(bytes.data(), bytes.size());
    }
    if (groups.empty() || !fuzz::WriteInput(data, size))
        return 0;
    ICONRESOURCE* icon =
        icons.ReadIconFromEXEFile(fuzz::WorkFile(L"in"), groups.front().ToString().c_str());
    if (icon)
        icons.WriteIconToICOFile(icon, fuzz::WorkFile(L"out"));
    CIcons::FreeIconResource(icon);
    return 0;
}

#include "torvex/icons/CIcons.h"

#include "torvex/icons/Clipboard.h"
#include "torvex/icons/IconFile.h"
#include "torvex/platform/Utf16.h"

#include <cstdlib>
#include <cstring>
#include <unordered_map>

namespace torvex {

using icons_detail::IconFile;

namespace {

constexpr uint32_t kBadHeader = 0xFFFFFFFFu;

// "Error when loading a file - Please select a WIN32 DLL or EXE file!" as it stands in Latin-1.
const wchar_t kLoadFailedLatin1[] =
    L"\u00D7\u00B0\u00C8\u00EB\u00CE\u00C4\u00BC\u00FE\u00CA\u00B1\u00B3\u00F6\u00B4\u00ED - "
    L"\u00C7\u00EB\u00D1\u00A1\u00D4\u00F1\u00D2\u00BB\u00B8\u00F6WIN32\u00B5\u00C4DLL\u00BB"
    L"\u00F2EXE\u00CE\u00C4\u00BC\u00FE!";
const wchar_t kLoadFailed[] = L"Error when loading a file - Please select a WIN32 DLL or EXE file!";
// "Error when transforming to inner format of an icon!" as it stands in Latin-1.
const wchar_t kTransformFailedLatin1[] =
    L"\u00D7\u00AA\u00BB\u00BB\u00B3\u00C9\u00CD\u00BC\u00B1\u00EA\u00C4\u00DA\u00B2\u00BF\u00B8"
    L"\u00F1\u00CA\u00BD\u00CA\u00B1\u00B3\u00F6\u00B4\u00ED!";
const wchar_t kTransformFailed[] = L"Error when transforming to inner format of an icon!";

void CopyName(char16_t* target, const WideString& name) {
    std::u16string units = platform::ToUtf16(name);
    if (units.size() > kMaxPath - 1)
        units.resize(kMaxPath - 1);
    std::memcpy(target, units.data(), units.size() * sizeof(char16_t));
    target[units.size()] = u'\0';
}

uint32_t ReadBE32(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

void FreeImages(ICONRESOURCE* resource, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        std::free(resource->IconImages[i].lpBits);
        resource->IconImages[i].lpBits = nullptr;
    }
}

} // namespace

enum class CIcons::ReadFailure {
    None,
    Open,
    Alloc,
    Header,
    Realloc,
    DirectoryAlloc,
    DirectoryRead,
    ImageAlloc,
    ImageSeek,
    ImageRead,
    ImageShort,
    Adjust,
};

CIcons::~CIcons() = default;

void CIcons::SetMessageHandler(MessageHandler handler) {
    handler_ = std::move(handler);
}

void CIcons::Message(const WideString& text, const WideString& caption) const {
    if (handler_)
        handler_(text, caption);
    else
        DefaultMessageHandler(text, caption);
}

WideString CIcons::ReadErrorMessage(Error_ReadIconFromICOFile error) {
    switch (error) {
    case IconReadOpenFailed:
        return L"Error when opening an icon file!";
    case IconReadAllocFailed:
        return L"Error when allocating memory for an icon!";
    case IconReadBadHeader:
        return L"Error when reading header of an icon file!";
    case IconReadReallocFailed:
        return L"Error when reallocating memory for an icon!";
    case IconReadDirectoryAllocFailed:
        return L"Error when reallocating memory for an icon file!";
    case IconReadDirectoryFailed:
        return L"Error when reading an icon file!";
    case IconReadImageFailed:
        return L"Error when locating content of an icon!";
    case IconReadShortImage:
        return L"Error when reading content of an icon!";
    case IconReadBadImage:
        return L"Error when transforming inner format of an icon!";
    default:
        return WideString();
    }
}

// ReadICOHeader: three words read one at a time.
static uint32_t ReadICOHeader(IconFile& file) {
    uint8_t word[2];
    if (!file.ReadExactly(word, 2) || ReadLE16(word) != 0)
        return kBadHeader;
    if (!file.ReadExactly(word, 2) || ReadLE16(word) != 1)
        return kBadHeader;
    if (!file.ReadExactly(word, 2))
        return kBadHeader;
    return ReadLE16(word);
}

ICONRESOURCE* CIcons::ReadIco(const WideString& name, std::vector<HICON>* icons,
                              Error_ReadIconFromICOFile& error, ReadFailure& failure) {
    error = IconReadOk;
    failure = ReadFailure::None;
    if (icons)
        icons->clear();
    ICONRESOURCE* resource = nullptr;
    uint8_t* directory = nullptr;
    uint32_t imagesHeld = 0;
    auto fail = [&](Error_ReadIconFromICOFile value, ReadFailure why) -> ICONRESOURCE* {
        error = value;
        failure = why;
        if (resource)
            FreeImages(resource, imagesHeld);
        std::free(directory);
        std::free(resource);
        if (icons)
            icons->clear();
        return nullptr;
    };

    // 1.
    IconFile file;
    if (!file.OpenRead(name))
        return fail(IconReadOpenFailed, ReadFailure::Open);
    resource = static_cast<ICONRESOURCE*>(std::calloc(1, IconResourceSize(0)));
    if (!resource)
        return fail(IconReadAllocFailed, ReadFailure::Alloc);
    const uint32_t count = ReadICOHeader(file);
    if (count == kBadHeader)
        return fail(IconReadBadHeader, ReadFailure::Header);
    // A directory longer than the file: the Part's read of it would be short (6). Refused
    // before the block grows for it.
    const uint64_t directoryBytes = uint64_t(count) * ICONDIRENTRY::kSize;
    if (directoryBytes > file.Size() - file.Position())
        return fail(IconReadDirectoryFailed, ReadFailure::DirectoryRead);

    // 2.
    auto* grown = static_cast<ICONRESOURCE*>(std::realloc(resource, IconResourceSize(count)));
    if (!grown)
        return fail(IconReadReallocFailed, ReadFailure::Realloc);
    resource = grown;
    std::memset(resource->IconImages, 0, count * sizeof(ICONIMAGE));
    resource->nNumImages = count;
    CopyName(resource->szOriginalICOFileName, name);
    resource->szOriginalDLLFileName[0] = u'\0';

    // 3.
    directory = static_cast<uint8_t*>(std::malloc(directoryBytes ? size_t(directoryBytes) : 1));
    if (!directory)
        return fail(IconReadDirectoryAllocFailed, ReadFailure::DirectoryAlloc);
    size_t got = 0;
    if (!file.Read(directory, size_t(directoryBytes), got) || got != directoryBytes)
        return fail(IconReadDirectoryFailed, ReadFailure::DirectoryRead);

    // 4.
    if (icons)
        icons->assign(count, nullptr);
    uint64_t claimed = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const ICONDIRENTRY entry = ICONDIRENTRY::Read(directory + size_t(i) * ICONDIRENTRY::kSize);
        ICONIMAGE& image = resource->IconImages[i];
        // An image beyond the end of the file, or images together longer than the file: the
        // file cannot hold them, as a short read would show (8). Refused before allocating.
        claimed += entry.dwBytesInRes;
        if (entry.dwImageOffset > file.Size() ||
            entry.dwBytesInRes > file.Size() - entry.dwImageOffset || claimed > file.Size())
            return fail(IconReadShortImage, ReadFailure::ImageShort);
        image.lpBits = static_cast<uint8_t*>(std::malloc(entry.dwBytesInRes ? entry.dwBytesInRes : 1));
        if (!image.lpBits)
            return fail(IconReadImageFailed, ReadFailure::ImageAlloc);
        imagesHeld = i + 1;
        image.dwNumBytes = entry.dwBytesInRes;
        if (!file.Seek(entry.dwImageOffset))
            return fail(IconReadImageFailed, ReadFailure::ImageSeek);
        if (!file.Read(image.lpBits, entry.dwBytesInRes, got))
            return fail(IconReadImageFailed, ReadFailure::ImageRead);
        if (got != entry.dwBytesInRes)
            return fail(IconReadShortImage, ReadFailure::ImageShort);
        if (!AdjustIconImagePointers(&image))
            return fail(IconReadBadImage, ReadFailure::Adjust);
        if (icons)
            (*icons)[i] = MakeIconFromResource(&image);
    }
    // 5.
    std::free(directory);
    return resource;
}

ICONRESOURCE* CIcons::ReadIconFromICOFile(const WideString& name, std::vector<HICON>& icons,
                                          Error_ReadIconFromICOFile& error) {
    ReadFailure failure;
    return ReadIco(name, &icons, error, failure);
}

ICONRESOURCE* CIcons::ReadIconFromICOFile(const WideString& name, std::vector<HICON>& icons) {
    Error_ReadIconFromICOFile error;
    ReadFailure failure;
    ICONRESOURCE* resource = ReadIco(name, &icons, error, failure);
    if (error != IconReadOk)
        Message(ReadErrorMessage(error), name);
    return resource;
}

ICONRESOURCE* CIcons::ReadIconFromICOFile(const WideString& name) {
    Error_ReadIconFromICOFile error;
    ReadFailure failure;
    ICONRESOURCE* resource = ReadIco(name, nullptr, error, failure);
    // The plain form's own messages differ from the table for the image steps.
    switch (failure) {
    case ReadFailure::None:
        break;
    case ReadFailure::ImageAlloc:
        Message(L"Error when reallocating memory for an icon!", name);
        break;
    case ReadFailure::ImageSeek:
        Message(L"Error when locating content of an icon!", name);
        break;
    case ReadFailure::ImageRead:
    case ReadFailure::ImageShort:
        Message(L"Error when reading content of an icon!", name);
        break;
    case ReadFailure::DirectoryRead:
        Message(L"Error when reading an icon file!", name);
        break;
    default:
        Message(ReadErrorMessage(error), name);
        break;
    }
    return resource;
}

int CIcons::AdjustIconImagePointers(ICONIMAGE* image) {
    if (!image || !image->lpBits)
        return 0;
    const uint8_t* bits = image->lpBits;
    if (IsPngImage(bits, image->dwNumBytes)) {
        // Stored as PNG: no DIB header or masks. The size comes from the PNG header.
        image->lpbi = nullptr;
        image->lpXOR = image->lpAND = nullptr;
        image->Width = image->Height = 0;
        if (image->dwNumBytes >= 24 && std::memcmp(bits + 12, "IHDR", 4) == 0) {
            image->Width = ReadBE32(bits + 16);
            image->Height = ReadBE32(bits + 20);
        }
        image->Colors = 32;
        return 1;
    }
    // The header is trusted only as far as the block holds what it says.
    if (image->dwNumBytes < BITMAPINFOHEADER::kSize)
        return 0;
    const int32_t width = DibWidth(bits);
    const int32_t height = DibHeight(bits);
    if (width < 0 || height < 0)
        return 0;
    const uint64_t line =
        ((uint64_t(uint32_t(width)) * DibPlanes(bits) * DibBitCount(bits) + 31) >> 5) * 4;
    const uint64_t andLine = ((uint64_t(uint32_t(width)) + 31) >> 5) * 4;
    const uint64_t half = uint64_t(height / 2);
    const uint64_t end =
        uint64_t(DibSize(bits)) + CDib::PaletteSize(bits) + (line + andLine) * half;
    if (end > image->dwNumBytes)
        return 0;
    image->lpbi = image->lpBits;
    image->Width = uint32_t(width);
    image->Height = uint32_t(height / 2);
    image->Colors = uint32_t(DibPlanes(bits)) * DibBitCount(bits);
    image->lpXOR = CDib::FindDIBBits(image->lpBits);
    image->lpAND = image->lpXOR + size_t(line * image->Height);
    return 1;
}

ICONRESOURCE* CIcons::ReadIconFromEXEFile(const WideString& name, const wchar_t* resourceName) {
    // 1.
    CPeImage module;
    if (!module.LoadFile(name)) {
        Message(kLoadFailedLatin1, name);
        Message(kLoadFailed, name);
        return nullptr;
    }
    // 2.
    if (!resourceName)
        return nullptr;
    // 3.
    std::span<const uint8_t> group;
    if (!module.FindResource(RT_GROUP_ICON, ResourceName::Parse(resourceName), group))
        return nullptr;
    // 4. A group shorter than its count says would be read past: refused with this step's
    // message.
    const size_t count = group.size() >= 6 ? ReadLE16(group.data() + 4) : 0;
    if (group.size() < 6 || count > (group.size() - 6) / GRPICONDIRENTRY::kSize) {
        Message(L"Error when allocating memory!", name);
        return nullptr;
    }
    auto* resource = static_cast<ICONRESOURCE*>(std::calloc(1, IconResourceSize(count)));
    if (!resource) {
        Message(L"Error when allocating memory!", name);
        return nullptr;
    }
    resource->nNumImages = uint32_t(count);
    CopyName(resource->szOriginalDLLFileName, name);
    resource->szOriginalICOFileName[0] = u'\0';
    // 5. The RT_ICON resources are looked up in one walk of their directory (the first of an id
    // that has data counts). Images that together are longer than the file (one RT_ICON
    // named again and again) are refused as a failed load, so that no file makes the copies
    // outgrow it.
    std::unordered_map<uint16_t, std::span<const uint8_t>> images;
    if (count != 0)
        for (const auto& [id, data] : module.Resources(RT_ICON))
            if (id.isNumber)
                images.emplace(id.number, data);
    uint64_t copied = 0;
    for (size_t i = 0; i < count; ++i) {
        const GRPICONDIRENTRY entry =
            GRPICONDIRENTRY::Read(group.data() + 6 + i * GRPICONDIRENTRY::kSize);
        const auto found = images.find(entry.nID);
        const std::span<const uint8_t> data =
            found != images.end() ? found->second : std::span<const uint8_t>();
        if (found == images.end() || (copied += data.size()) > module.Bytes().size()) {
            FreeIconResource(resource);
            return nullptr;
        }
        ICONIMAGE& image = resource->IconImages[i];
        image.lpBits = static_cast<uint8_t*>(std::malloc(data.empty() ? 1 : data.size()));
        if (!image.lpBits) {
            FreeIconResource(resource);
            return nullptr;
        }
        image.dwNumBytes = uint32_t(data.size());
        if (!data.empty())
            std::memcpy(image.lpBits, data.data(), data.size());
        if (!AdjustIconImagePointers(&image)) {
            Message(kTransformFailedLatin1, name);
            Message(kTransformFailed, name);
            FreeIconResource(resource);
            return nullptr;
        }
    }
    // 6.
    return resource;
}

HICON CIcons::GetIconFromInstance(HINSTANCE instance, const wchar_t* name) {
    if (!instance || !name)
        return nullptr;
    std::span<const uint8_t> group;
    if (!instance->FindResource(RT_GROUP_ICON, ResourceName::Parse(name), group))
        return nullptr;
    const uint16_t id = LookupIconIdFromDirectory(group);
    if (id == 0)
        return nullptr;
    std::span<const uint8_t> data;
    if (!instance->FindResource(RT_ICON, ResourceName::Number(id), data))
        return nullptr;
    return DecodeIconImage(data.data(), data.size());
}

HICON CIcons::MakeIconFromResource(const ICONIMAGE* image) {
    if (!image || !image->lpBits)
        return nullptr;
    // CreateIconFromResourceEx at the header's size, then CreateIconFromResource for images
    // other than 16-bit: one and the same decoding here.
    return DecodeIconImage(image->lpBits, image->dwNumBytes);
}

uint32_t CIcons::CalculateImageOffset(const std::vector<ICONIMAGE*>& images,
                                      uint32_t index) const {
    uint32_t offset = 6u + 16u * uint32_t(images.size());
    for (uint32_t i = 0; i < index && i < images.size(); ++i)
        offset += images[i] ? images[i]->dwNumBytes : 0;
    return offset;
}

uint32_t CIcons::CalculateImageOffset(const ICONRESOURCE* resource, uint32_t index) const {
    uint32_t offset = 6u + 16u * resource->nNumImages;
    for (uint32_t i = 0; i < index && i < resource->nNumImages; ++i)
        offset += resource->IconImages[i].dwNumBytes;
    return offset;
}

int CIcons::WriteImages(ICONIMAGE* const* images, uint32_t count, const WideString& name,
                        bool zeroSizeImage) {
    // 1.
    IconFile file;
    if (!file.Create(name)) {
        Message(L"Error when creating a file!", name);
        return 0;
    }
    // 2. WriteICOHeader.
    uint8_t header[6];
    WriteLE16(header, 0);
    WriteLE16(header + 2, 1);
    WriteLE16(header + 4, static_cast<uint16_t>(count));
    if (!file.Write(header, sizeof header)) {
        Message(L"Error when writing header of an icon file!", name);
        file.Close();
        return 0;
    }
    // 3.
    std::vector<ICONIMAGE*> list(images, images + count);
    for (uint32_t i = 0; i < count; ++i) {
        const ICONIMAGE& image = *images[i];
        const bool dib = image.lpbi && image.dwNumBytes >= BITMAPINFOHEADER::kSize;
        ICONDIRENTRY entry;
        entry.bWidth = static_cast<uint8_t>(image.Width);
        entry.bHeight = static_cast<uint8_t>(image.Height);
        // An image stored as PNG has no DIB header: one plane of 32 bits.
        entry.wPlanes = dib ? DibPlanes(image.lpbi) : 1;
        entry.wBitCount = dib ? DibBitCount(image.lpbi) : 32;
        const uint32_t product = uint32_t(entry.wPlanes) * entry.wBitCount;
        entry.bColorCount = product < 8 ? static_cast<uint8_t>(1u << product) : 0;
        entry.bReserved = 0;
        entry.dwBytesInRes = image.dwNumBytes;
        entry.dwImageOffset = CalculateImageOffset(list, i);
        uint8_t bytes[ICONDIRENTRY::kSize];
        entry.Write(bytes);
        if (!file.Write(bytes, sizeof bytes))
            return 0;
    }
    // 4.
    for (uint32_t i = 0; i < count; ++i) {
        ICONIMAGE& image = *images[i];
        const bool dib = image.lpbi && image.dwNumBytes >= BITMAPINFOHEADER::kSize;
        const uint32_t sizeImage = dib ? DibSizeImage(image.lpbi) : 0;
        if (zeroSizeImage && dib)
            SetDibSizeImage(image.lpbi, 0);
        if (image.dwNumBytes != 0 && (!image.lpBits || !file.Write(image.lpBits, image.dwNumBytes)))
            return 0;
        if (zeroSizeImage && dib)
            SetDibSizeImage(image.lpbi, sizeImage);
    }
    // 5.
    file.Close();
    return 1;
}

int CIcons::WriteIconToICOFile(ICONRESOURCE* resource, const WideString& name) {
    if (!resource)
        return 0;
    std::vector<ICONIMAGE*> images;
    for (uint32_t i = 0; i < resource->nNumImages; ++i)
        images.push_back(&resource->IconImages[i]);
    return WriteImages(images.data(), resource->nNumImages, name, false);
}

int CIcons::WriteIconToICOFile(const std::vector<ICONIMAGE*>& images, const WideString& name) {
    for (const ICONIMAGE* image : images)
        if (!image)
            return 0;
    return WriteImages(images.data(), uint32_t(images.size()), name, true);
}

int CIcons::DIBToIconImage(ICONIMAGE* image, const uint8_t* dib, int stretch) {
    // 1.
    if (!dib || !image || image->Height > INT32_MAX / 2)
        return 0;
    // 2.
    CDib converter;
    uint8_t* converted =
        converter.ConvertDIBFormat(dib, image->Width, image->Height, image->Colors, stretch);
    if (!converted)
        return 0;
    // 3.
    const uint32_t palette = CDib::PaletteSize(converted);
    const uint64_t line = CDib::BytesPerLine(converted);
    const uint64_t andLine = ((uint64_t(image->Width) + 31) >> 5) * 4;
    const uint64_t count = palette + 40 + line * image->Height + andLine * image->Height;
    // 4. Only an image whose pointer is set gets a block; the old one is the caller's.
    if (!image->lpBits || count > UINT32_MAX) {
        std::free(converted);
        return 0;
    }
    uint8_t* bits = static_cast<uint8_t*>(std::malloc(size_t(count)));
    if (!bits) {
        std::free(converted);
        return 0;
    }
    image->lpBits = bits;
    image->dwNumBytes = uint32_t(count);
    // 5.
    std::memcpy(bits, converted, BITMAPINFOHEADER::kSize + palette);
    image->lpbi = bits;
    SetDibHeight(bits, DibHeight(bits) * 2);
    image->lpXOR = CDib::FindDIBBits(bits);
    std::memcpy(image->lpXOR, CDib::FindDIBBits(converted), size_t(line * image->Height));
    image->lpAND = image->lpXOR + size_t(line * image->Height);
    std::memset(image->lpAND, 0, size_t(andLine * image->Height));
    // 6.
    std::free(converted);
    return 1;
}

int CIcons::IconImageFromBMPFile(const WideString& name, ICONIMAGE* image, int stretch) {
    CDib dib;
    dib.SetMessageHandler(handler_);
    uint8_t* block = dib.ReadBMPFile(name);
    const int result = DIBToIconImage(image, block, stretch);
    std::free(block);
    return result;
}

int CIcons::IconImageToBMPFile(const WideString& name, ICONIMAGE* image) {
    CDib dib;
    dib.SetMessageHandler(handler_);
    return dib.WriteBMPFile(name, image ? image->lpbi : nullptr, image ? image->dwNumBytes : 0);
}

int CIcons::IconImageToClipBoard(const ICONIMAGE* image) {
    IClipboard& clipboard = Clipboard();
    if (!clipboard.Empty())
        return 0;
    if (!image || !image->lpBits || image->dwNumBytes < BITMAPINFOHEADER::kSize ||
        IsPngImage(image->lpBits, image->dwNumBytes))
        return 0;
    std::vector<uint8_t> copy(image->lpBits, image->lpBits + image->dwNumBytes);
    SetDibHeight(copy.data(), DibHeight(copy.data()) / 2);
    return clipboard.SetDib(copy) ? 1 : 0;
}

int CIcons::IconImageFromClipBoard(ICONIMAGE* image, int stretch) {
    std::vector<uint8_t> dib;
    if (!Clipboard().GetDib(dib) || !CDib::CheckDib(dib.data(), dib.size()))
        return 0;
    return DIBToIconImage(image, dib.data(), stretch);
}

void CIcons::FreeIconResource(ICONRESOURCE* resource) {
    if (!resource)
        return;
    FreeImages(resource, resource->nNumImages);
    std::free(resource);
}

} // namespace torvex

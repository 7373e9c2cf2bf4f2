#include "PictureFile.h"

#include "OutputFile.h"
#include "PngWriter.h"

#include "torvex/icons/CDib.h"
#include "torvex/icons/CIcons.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace torvex::cli {
namespace {

constexpr unsigned char kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

uint32_t BigEndian32(const std::string& bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i)
        value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

// A PNG file as it is, its size from the IHDR chunk that must come first.
bool ReadPng(const std::string& path, const std::string& bytes, std::vector<HICON>& pictures,
             std::string& error) {
    if (bytes.size() < 33 || bytes.compare(12, 4, "IHDR") != 0) {
        error = path + " is no PNG file (it has no header chunk)";
        return false;
    }
    auto picture = std::make_shared<IconPicture>();
    picture->png = true;
    picture->bitCount = 32;
    picture->width = BigEndian32(bytes, 16);
    picture->height = BigEndian32(bytes, 20);
    picture->pngData.assign(bytes.begin(), bytes.end());
    pictures.push_back(std::move(picture));
    return true;
}

bool ReadBmp(const std::string& path, std::vector<HICON>& pictures, std::string& error) {
    std::string message;
    CDib dib;
    dib.SetMessageHandler([&message](const WideString& text, const WideString&) {
        message = platform::ToUtf8(text);
    });
    struct FreeDeleter {
        void operator()(uint8_t* p) const { std::free(p); }
    };
    std::unique_ptr<uint8_t, FreeDeleter> block(dib.ReadBMPFile(platform::FromUtf8(path)));
    if (!block) {
        error = path + ": " + (message.empty() ? "the bitmap cannot be read" : message);
        return false;
    }
    // Decoded through an icon image of the bitmap's own size and depth (16 bits: 24).
    const int32_t height = DibHeight(block.get());
    const uint16_t bits = DibBitCount(block.get());
    ICONIMAGE image{};
    uint8_t placeholder = 0;
    image.lpBits = &placeholder; // DIBToIconImage allocates only when this is not null
    image.Width = static_cast<uint32_t>(DibWidth(block.get()));
    image.Height = static_cast<uint32_t>(height < 0 ? -int64_t(height) : height);
    image.Colors = bits == 16 ? 24 : bits;
    CIcons icons;
    icons.SetMessageHandler([&message](const WideString& text, const WideString&) {
        message = platform::ToUtf8(text);
    });
    const bool converted = icons.DIBToIconImage(&image, block.get(), 0) == 1;
    HICON picture = converted ? icons.MakeIconFromResource(&image) : nullptr;
    if (image.lpBits != &placeholder)
        std::free(image.lpBits);
    if (!picture) {
        error = path + ": the bitmap cannot be decoded";
        return false;
    }
    pictures.push_back(std::move(picture));
    return true;
}

bool ReadIco(const std::string& path, std::vector<HICON>& pictures, std::string& error) {
    CIcons icons;
    std::vector<HICON> decoded;
    Error_ReadIconFromICOFile failure = IconReadOk;
    ICONRESOURCE* resource = icons.ReadIconFromICOFile(platform::FromUtf8(path), decoded, failure);
    CIcons::FreeIconResource(resource);
    if (!resource) {
        error = path + ": " + platform::ToUtf8(CIcons::ReadErrorMessage(failure));
        return false;
    }
    size_t before = pictures.size();
    for (HICON& picture : decoded)
        if (picture)
            pictures.push_back(std::move(picture));
    if (pictures.size() == before) {
        error = path + ": no image of the icon can be decoded";
        return false;
    }
    return true;
}

} // namespace

bool PictureFile::Read(const std::string& path, std::vector<HICON>& pictures, std::string& error) {
    std::string bytes;
    if (!platform::ReadFileBytes(platform::FromUtf8(path), bytes)) {
        error = "cannot read " + path + ": " + std::strerror(errno ? errno : EIO);
        return false;
    }
    if (bytes.size() >= sizeof kPngSignature &&
        std::memcmp(bytes.data(), kPngSignature, sizeof kPngSignature) == 0)
        return ReadPng(path, bytes, pictures, error);
    if (bytes.size() >= 2 && bytes[0] == 'B' && bytes[1] == 'M')
        return ReadBmp(path, pictures, error);
    if (bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 1 && bytes[3] == 0)
        return ReadIco(path, pictures, error);
    error = path + " is no ICO, BMP or PNG file";
    return false;
}

bool PictureFile::WritePng(const IconPicture& picture, const std::string& path,
                           std::string& error) {
    if (picture.png) {
        OutputFile file(path);
        if (file.IsOpen())
            file.Stream().write(reinterpret_cast<const char*>(picture.pngData.data()),
                                static_cast<std::streamsize>(picture.pngData.size()));
        if (!file.Commit()) {
            error = file.Error();
            return false;
        }
        return true;
    }
    const std::string part = path + ".part";
    if (!cli::WritePng(part, picture.width, picture.height, picture.bgra, error)) {
        std::remove(part.c_str());
        return false;
    }
    if (std::rename(part.c_str(), path.c_str()) != 0) {
        error = "cannot write " + path + ": " + std::strerror(errno);
        std::remove(part.c_str());
        return false;
    }
    return true;
}

} // namespace torvex::cli

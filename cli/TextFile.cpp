#include "TextFile.h"

#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace torvex::cli {
namespace {

std::wstring DecodeUtf16(const std::string& bytes, size_t start, bool littleEndian) {
    std::u16string units;
    units.reserve((bytes.size() - start) / 2);
    for (size_t i = start; i + 1 < bytes.size(); i += 2) {
        const auto lo = static_cast<unsigned char>(bytes[i + (littleEndian ? 0 : 1)]);
        const auto hi = static_cast<unsigned char>(bytes[i + (littleEndian ? 1 : 0)]);
        units.push_back(static_cast<char16_t>(lo | (hi << 8)));
    }
    return platform::FromUtf16(units);
}

} // namespace

std::wstring DecodeDocument(const std::string& bytes) {
    auto at = [&](size_t i) {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : -1;
    };
    if (at(0) == 0xFF && at(1) == 0xFE)
        return DecodeUtf16(bytes, 2, true);
    if (at(0) == 0xFE && at(1) == 0xFF)
        return DecodeUtf16(bytes, 2, false);
    if (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF)
        return platform::FromUtf8(std::string_view(bytes).substr(3));
    if (at(0) == '<' && at(1) == 0)
        return DecodeUtf16(bytes, 0, true);
    return platform::FromUtf8(bytes);
}

bool ReadDocument(const std::string& path, std::wstring& text, std::string& error) {
    struct stat info;
    if (::stat(path.c_str(), &info) != 0) {
        error = "cannot read " + path + ": " + std::strerror(errno);
        return false;
    }
    if (S_ISDIR(info.st_mode)) {
        error = "cannot read " + path + ": it is a directory";
        return false;
    }
    std::string bytes;
    if (!platform::ReadFileBytes(platform::FromUtf8(path), bytes)) {
        error = "cannot read " + path + ": " + std::strerror(errno ? errno : EIO);
        return false;
    }
    text = DecodeDocument(bytes);
    return true;
}

} // namespace torvex::cli

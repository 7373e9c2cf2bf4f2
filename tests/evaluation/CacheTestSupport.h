#pragma once
// Helpers of the cache tests: a scratch directory per test and a builder of cache file bytes that
// follows the file layout by hand, independently of the library's writer.

#include "torvex/evaluation/CTableValueCache.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Guid.h"
#include "torvex/platform/UserLocale.h"
#include "torvex/platform/Utf16.h"
#include "torvex/platform/WideString.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace torvex::testing {

/// A fresh directory under the temporary directory, removed with its files at the end.
class ScratchDirectory {
public:
    ScratchDirectory()
        : m_path(platform::TempDirectory() + L"torvex_cache_" +
                 platform::FormatGuidBraced(platform::NewGuid())) {
        std::filesystem::create_directories(m_path);
    }
    ~ScratchDirectory() { std::filesystem::remove_all(m_path); }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    /// The directory, without a trailing separator.
    const WideString& Path() const { return m_path; }
    /// The cache file the library uses in this directory for the current user locale.
    WideString CacheFile() const {
        return m_path + L"/TableCache_" + std::to_wstring(platform::UserLocaleId()) + L".dat";
    }
    void Write(const std::string& bytes) const { platform::WriteFileBytes(CacheFile(), bytes); }
    std::string Read() const {
        std::string bytes;
        platform::ReadFileBytes(CacheFile(), bytes);
        return bytes;
    }
    bool HasFile() const { return platform::PathExists(CacheFile()); }

private:
    WideString m_path;
};

/// Bytes of a cache file, field by field, little-endian.
class FileBytes {
public:
    FileBytes& I32(int32_t v) {
        for (int i = 0; i < 4; ++i)
            m_bytes.push_back(static_cast<char>((static_cast<uint32_t>(v) >> (8 * i)) & 0xFF));
        return *this;
    }
    FileBytes& U16(uint16_t v) {
        m_bytes.push_back(static_cast<char>(v & 0xFF));
        m_bytes.push_back(static_cast<char>(v >> 8));
        return *this;
    }
    FileBytes& Byte(uint8_t v) {
        m_bytes.push_back(static_cast<char>(v));
        return *this;
    }
    /// A string in the wide form with the shortest length form, of UTF-16 code units.
    FileBytes& Str(const std::u16string& units) {
        if (units.size() < 0xFF)
            return WideTag().Byte(static_cast<uint8_t>(units.size())).Units(units);
        if (units.size() < 0xFFFE)
            return StrWordLength(units);
        return StrDwordLength(units);
    }
    /// A string in the wide form with the 0xFF + 16-bit length form.
    FileBytes& StrWordLength(const std::u16string& units) {
        return WideTag().Byte(0xFF).U16(static_cast<uint16_t>(units.size())).Units(units);
    }
    /// A string in the wide form with the 0xFF 0xFFFF + 32-bit length form.
    FileBytes& StrDwordLength(const std::u16string& units) {
        return WideTag()
            .Byte(0xFF)
            .U16(0xFFFF)
            .I32(static_cast<int32_t>(units.size()))
            .Units(units);
    }
    /// A string in the narrow form (no tag, one byte per character).
    FileBytes& Narrow(const std::string& bytes) {
        if (bytes.size() < 0xFF)
            Byte(static_cast<uint8_t>(bytes.size()));
        else
            Byte(0xFF).U16(static_cast<uint16_t>(bytes.size()));
        m_bytes += bytes;
        return *this;
    }
    size_t Size() const { return m_bytes.size(); }
    const std::string& Bytes() const { return m_bytes; }

private:
    FileBytes& WideTag() { return Byte(0xFF).U16(0xFFFE); }
    FileBytes& Units(const std::u16string& units) {
        for (char16_t u : units)
            U16(static_cast<uint16_t>(u));
        return *this;
    }
    std::string m_bytes;
};

/// Bytes from fields separated by blanks: "i:n" a 32-bit integer, "h:n" a 16-bit one, "b:n" a
/// byte (n decimal or 0x hex, maybe negative), "s:text" an ASCII string in the shortest wide form.
inline std::string Fields(const std::string& description) {
    FileBytes b;
    size_t at = 0;
    while (at < description.size()) {
        size_t end = description.find(' ', at);
        end = end == std::string::npos ? description.size() : end;
        const std::string value = description.substr(at + 2, end - at - 2);
        switch (description[at]) {
        case 'i':
            b.I32(static_cast<int32_t>(std::stoll(value, nullptr, 0)));
            break;
        case 'h':
            b.U16(static_cast<uint16_t>(std::stoll(value, nullptr, 0)));
            break;
        case 'b':
            b.Byte(static_cast<uint8_t>(std::stoll(value, nullptr, 0)));
            break;
        default:
            b.Str(std::u16string(value.begin(), value.end()));
        }
        at = end + 1;
    }
    return b.Bytes();
}

/// Header of a version 1 file with the given column ids and languages.
inline FileBytes Header(const std::vector<std::u16string>& columns,
                        const std::vector<std::u16string>& languages) {
    FileBytes b;
    b.I32(1).U16(static_cast<uint16_t>(columns.size()));
    for (const auto& c : columns)
        b.Str(c);
    b.U16(static_cast<uint16_t>(languages.size()));
    for (const auto& l : languages)
        b.Str(l);
    return b;
}

/// Value of a cell, or nothing on a miss.
inline std::optional<WideString> Cached(CTableValueCache& cache, const WideString& row,
                                        const WideString& column, const WideString& language) {
    WideString value;
    if (cache.GetValue(row, column, language, value) != 0)
        return std::nullopt;
    return value;
}

} // namespace torvex::testing

#include "torvex/icons/PeImage.h"

#include "torvex/icons/IconTypes.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <cwctype>

namespace torvex {

namespace {

constexpr uint32_t kHighBit = 0x80000000u;
constexpr size_t kDirectorySize = 16;
constexpr size_t kEntrySize = 8;
constexpr size_t kDataEntrySize = 16;
constexpr size_t kSectionSize = 40;

bool SameTextIgnoringCase(const WideString& a, const WideString& b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::towupper(static_cast<wint_t>(a[i])) != std::towupper(static_cast<wint_t>(b[i])))
            return false;
    return true;
}

} // namespace

ResourceName ResourceName::Parse(const WideString& name) {
    if (name.size() >= 2 && name.size() <= 6 && name[0] == L'#') {
        uint32_t value = 0;
        bool digits = true;
        for (size_t i = 1; i < name.size(); ++i) {
            if (name[i] < L'0' || name[i] > L'9') {
                digits = false;
                break;
            }
            value = value * 10 + static_cast<uint32_t>(name[i] - L'0');
        }
        if (digits && value <= 0xFFFF)
            return Number(static_cast<uint16_t>(value));
    }
    ResourceName result;
    result.text = name;
    return result;
}

WideString ResourceName::ToString() const {
    return isNumber ? L"#" + std::to_wstring(number) : text;
}

bool CPeImage::LoadFile(const WideString& path) {
    std::string bytes;
    if (!platform::ReadFileBytes(path, bytes)) {
        bytes_.clear();
        loaded_ = false;
        return false;
    }
    return Load(std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

bool CPeImage::Load(std::vector<uint8_t> bytes) {
    bytes_ = std::move(bytes);
    sections_.clear();
    loaded_ = false;
    is64_ = false;
    resourceStart_ = resourceSize_ = 0;
    const uint8_t* b = bytes_.data();
    const size_t n = bytes_.size();
    if (n < 64 || b[0] != 'M' || b[1] != 'Z')
        return false;
    const size_t peOffset = ReadLE32(b + 0x3C);
    if (peOffset > n || n - peOffset < 24)
        return false;
    if (b[peOffset] != 'P' || b[peOffset + 1] != 'E' || b[peOffset + 2] != 0 ||
        b[peOffset + 3] != 0)
        return false;
    const size_t coff = peOffset + 4;
    const size_t sectionCount = ReadLE16(b + coff + 2);
    const size_t optionalSize = ReadLE16(b + coff + 16);
    const size_t optional = coff + 20;
    if (optionalSize < 2 || optionalSize > n - optional)
        return false;
    size_t countField = 0, directories = 0;
    switch (ReadLE16(b + optional)) {
    case 0x10B:
        countField = 92;
        directories = 96;
        break;
    case 0x20B:
        countField = 108;
        directories = 112;
        is64_ = true;
        break;
    default:
        return false;
    }
    const size_t table = optional + optionalSize;
    if (sectionCount > (n - table) / kSectionSize)
        return false;
    for (size_t i = 0; i < sectionCount; ++i) {
        const uint8_t* s = b + table + i * kSectionSize;
        Section section{ReadLE32(s + 12), ReadLE32(s + 16), ReadLE32(s + 20)};
        // Raw data past the end of the file is cut to what the file has.
        if (section.rawOffset > n)
            section.rawSize = 0;
        else if (section.rawSize > n - section.rawOffset)
            section.rawSize = static_cast<uint32_t>(n - section.rawOffset);
        sections_.push_back(section);
    }
    loaded_ = true;

    // Data directory 2: the resources.
    if (optionalSize < countField + 4 || ReadLE32(b + optional + countField) <= 2 ||
        optionalSize < directories + 3 * 8)
        return true;
    const uint32_t rva = ReadLE32(b + optional + directories + 16);
    if (rva == 0)
        return true;
    for (const Section& s : sections_) {
        if (rva >= s.virtualAddress && rva - s.virtualAddress < s.rawSize) {
            resourceStart_ = size_t(s.rawOffset) + (rva - s.virtualAddress);
            resourceSize_ = s.rawSize - (rva - s.virtualAddress);
            break;
        }
    }
    return true;
}

bool CPeImage::MapRva(uint32_t rva, uint32_t size, size_t& offset) const {
    for (const Section& s : sections_) {
        if (rva >= s.virtualAddress && rva - s.virtualAddress < s.rawSize &&
            size <= s.rawSize - (rva - s.virtualAddress)) {
            offset = size_t(s.rawOffset) + (rva - s.virtualAddress);
            return true;
        }
    }
    return false;
}

bool CPeImage::Directory(uint32_t offset, uint32_t& first, uint32_t& count) const {
    if (offset > resourceSize_ || resourceSize_ - offset < kDirectorySize)
        return false;
    const uint8_t* d = bytes_.data() + resourceStart_ + offset;
    count = uint32_t(ReadLE16(d + 12)) + ReadLE16(d + 14);
    first = offset + kDirectorySize;
    return count <= (resourceSize_ - first) / kEntrySize;
}

bool CPeImage::NameAt(uint32_t offset, WideString& text) const {
    if (offset > resourceSize_ || resourceSize_ - offset < 2)
        return false;
    const uint8_t* p = bytes_.data() + resourceStart_ + offset;
    const size_t length = ReadLE16(p);
    if (length > (resourceSize_ - offset - 2) / 2)
        return false;
    std::u16string units(length, u'\0');
    for (size_t i = 0; i < length; ++i)
        units[i] = static_cast<char16_t>(ReadLE16(p + 2 + 2 * i));
    text = platform::FromUtf16(units);
    return true;
}

bool CPeImage::EntryMatches(uint32_t entry, const ResourceName& name) const {
    const uint32_t field = ReadLE32(bytes_.data() + resourceStart_ + entry);
    if (name.isNumber)
        return !(field & kHighBit) && (field & 0xFFFF) == name.number;
    WideString text;
    return (field & kHighBit) && NameAt(field & ~kHighBit, text) &&
           SameTextIgnoringCase(text, name.text);
}

bool CPeImage::SubDirectory(uint32_t entry, uint32_t& offset) const {
    const uint32_t field = ReadLE32(bytes_.data() + resourceStart_ + entry + 4);
    offset = field & ~kHighBit;
    return (field & kHighBit) != 0;
}

bool CPeImage::FindType(uint16_t type, uint32_t& directory) const {
    uint32_t first = 0, count = 0;
    if (!loaded_ || resourceSize_ == 0 || !Directory(0, first, count))
        return false;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t entry = first + i * uint32_t(kEntrySize);
        if (EntryMatches(entry, ResourceName::Number(type)))
            return SubDirectory(entry, directory);
    }
    return false;
}

bool CPeImage::EntryData(uint32_t entry, std::span<const uint8_t>& data) const {
    uint32_t languages = 0, languageFirst = 0, languageCount = 0;
    if (!SubDirectory(entry, languages) || !Directory(languages, languageFirst, languageCount) ||
        languageCount == 0)
        return false;
    uint32_t dataEntry = 0;
    if (SubDirectory(languageFirst, dataEntry))
        return false; // a fourth level: not a resource
    if (dataEntry > resourceSize_ || resourceSize_ - dataEntry < kDataEntrySize)
        return false;
    const uint8_t* d = bytes_.data() + resourceStart_ + dataEntry;
    size_t offset = 0;
    const uint32_t size = ReadLE32(d + 4);
    if (!MapRva(ReadLE32(d), size, offset))
        return false;
    data = std::span<const uint8_t>(bytes_.data() + offset, size);
    return true;
}

bool CPeImage::FindResource(uint16_t type, const ResourceName& name,
                            std::span<const uint8_t>& data) const {
    uint32_t names = 0, first = 0, count = 0;
    if (!FindType(type, names) || !Directory(names, first, count))
        return false;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t entry = first + i * uint32_t(kEntrySize);
        if (EntryMatches(entry, name))
            return EntryData(entry, data);
    }
    return false;
}

std::vector<std::pair<ResourceName, std::span<const uint8_t>>> CPeImage::Resources(
    uint16_t type) const {
    std::vector<std::pair<ResourceName, std::span<const uint8_t>>> result;
    uint32_t names = 0, first = 0, count = 0;
    if (!FindType(type, names) || !Directory(names, first, count))
        return result;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t entry = first + i * uint32_t(kEntrySize);
        const uint32_t field = ReadLE32(bytes_.data() + resourceStart_ + entry);
        ResourceName name;
        if (!(field & kHighBit))
            name = ResourceName::Number(static_cast<uint16_t>(field & 0xFFFF));
        else if (!NameAt(field & ~kHighBit, name.text))
            continue;
        std::span<const uint8_t> data;
        if (EntryData(entry, data))
            result.emplace_back(std::move(name), data);
    }
    return result;
}

std::vector<ResourceName> CPeImage::ResourceNames(uint16_t type) const {
    std::vector<ResourceName> result;
    uint32_t names = 0, first = 0, count = 0;
    if (!FindType(type, names) || !Directory(names, first, count))
        return result;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t field = ReadLE32(bytes_.data() + resourceStart_ + first + i * kEntrySize);
        if (!(field & kHighBit)) {
            result.push_back(ResourceName::Number(static_cast<uint16_t>(field & 0xFFFF)));
        } else {
            ResourceName name;
            if (NameAt(field & ~kHighBit, name.text))
                result.push_back(std::move(name));
        }
    }
    return result;
}

uint16_t LookupIconIdFromDirectory(std::span<const uint8_t> group) {
    if (group.size() < 6)
        return 0;
    const size_t count = ReadLE16(group.data() + 4);
    if (count == 0 || count > (group.size() - 6) / GRPICONDIRENTRY::kSize)
        return 0;
    uint16_t best = 0;
    long bestDistance = -1;
    unsigned bestBits = 0;
    for (size_t i = 0; i < count; ++i) {
        const GRPICONDIRENTRY e =
            GRPICONDIRENTRY::Read(group.data() + 6 + i * GRPICONDIRENTRY::kSize);
        const long w = e.bWidth ? e.bWidth : 256;
        const long h = e.bHeight ? e.bHeight : 256;
        const long distance = (w > 32 ? w - 32 : 32 - w) + (h > 32 ? h - 32 : 32 - h);
        unsigned bits = unsigned(e.wPlanes) * e.wBitCount;
        if (bits == 0) {
            bits = 8; // colour count 0 means 256 colours or more
            for (unsigned b = 1; b < 8; ++b)
                if (e.bColorCount != 0 && (1u << b) >= e.bColorCount) {
                    bits = b;
                    break;
                }
        }
        if (bestDistance < 0 || distance < bestDistance ||
            (distance == bestDistance && bits > bestBits)) {
            best = e.nID;
            bestDistance = distance;
            bestBits = bits;
        }
    }
    return best;
}

} // namespace torvex

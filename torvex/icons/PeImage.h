#pragma once
// Stand-in for executable modules (HINSTANCE, LoadLibraryExW with LOAD_LIBRARY_AS_DATAFILE,
// FindResourceW, LoadResource, LockResource, SizeofResource): a reader of the resource
// directory of PE/COFF images, 32-bit (PE32) and 64-bit (PE32+).
//
// The image is held as the file's bytes. Every header, section, directory, entry, name and data
// range is checked against those bytes before it is read; a resource's data is found through
// the section that holds its address and must lie inside that section's raw data. The tree is
// walked three levels deep only (type, name, language), so no file makes it loop.
//
// Resource names are numbers, written "#123" (as FindResourceW takes them), or texts, compared
// ignoring case as Windows does. Of several languages the first in the directory is taken.

#include "torvex/platform/WideString.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace torvex {

constexpr uint16_t RT_ICON = 3;
constexpr uint16_t RT_GROUP_ICON = 14;

/// The name of a resource: a number, or a text.
struct ResourceName {
    bool isNumber = false;
    uint16_t number = 0;
    WideString text;

    /// "#123" gives the number 123 (a decimal number that fits in 16 bits), anything else the
    /// text.
    static ResourceName Parse(const WideString& name);
    static ResourceName Number(uint16_t id) { return ResourceName{true, id, {}}; }
    /// "#123" for a number, else the text.
    WideString ToString() const;
};

class CPeImage {
public:
    /// Takes the bytes of a file; false when they are no PE image (then nothing is found).
    bool Load(std::vector<uint8_t> bytes);
    /// Reads a file and loads it; false when it cannot be read or is no PE image.
    bool LoadFile(const WideString& path);

    bool IsLoaded() const { return loaded_; }
    bool Is64Bit() const { return is64_; }
    /// The whole file's bytes.
    const std::vector<uint8_t>& Bytes() const { return bytes_; }

    /// The data of the resource of this type and name (its first language); false when there
    /// is none or its data lies outside the image.
    bool FindResource(uint16_t type, const ResourceName& name,
                      std::span<const uint8_t>& data) const;
    /// The names of the resources of a type, in directory order.
    std::vector<ResourceName> ResourceNames(uint16_t type) const;
    /// The resources of a type that have data (their first language), in directory order: one
    /// walk, for callers that look up many (FindResource walks the directory each time).
    std::vector<std::pair<ResourceName, std::span<const uint8_t>>> Resources(uint16_t type) const;

private:
    struct Section {
        uint32_t virtualAddress;
        uint32_t rawSize;
        uint32_t rawOffset;
    };
    bool MapRva(uint32_t rva, uint32_t size, size_t& offset) const;
    bool Directory(uint32_t offset, uint32_t& first, uint32_t& count) const;
    bool NameAt(uint32_t offset, WideString& text) const;
    bool EntryMatches(uint32_t entry, const ResourceName& name) const;
    bool SubDirectory(uint32_t entry, uint32_t& offset) const;
    bool FindType(uint16_t type, uint32_t& directory) const;
    bool EntryData(uint32_t entry, std::span<const uint8_t>& data) const;

    std::vector<uint8_t> bytes_;
    std::vector<Section> sections_;
    bool loaded_ = false;
    bool is64_ = false;
    // The resource section: the bytes from the resource directory's start to the end of the
    // raw data of the section that holds it.
    size_t resourceStart_ = 0;
    size_t resourceSize_ = 0;
};

/// An executable module as the Part's HINSTANCE: a loaded CPeImage the host owns.
using HINSTANCE = const CPeImage*;

/// Stand-in for LookupIconIdFromDirectory(data, TRUE): the id of the group's image that suits
/// a 32x32 icon best: the least |width - 32| + |height - 32| (0 in an entry meaning 256), then
/// the greatest bit count (planes times bits, or from the colour count when those are 0), then
/// the first. 0 when the group data is shorter than its count says or has no image.
uint16_t LookupIconIdFromDirectory(std::span<const uint8_t> group);

} // namespace torvex

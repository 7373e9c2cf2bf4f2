#pragma once
// Internal: the file calls of the icon and bitmap operations (CreateFileW, ReadFile, WriteFile,
// SetFilePointer) over POSIX descriptors, with the file's real size known once it is open so
// that every size, count and offset read from it can be checked before anything is allocated.

#include "torvex/platform/WideString.h"

#include <cstddef>
#include <cstdint>

namespace torvex::icons_detail {

class IconFile {
public:
    IconFile() = default;
    IconFile(const IconFile&) = delete;
    IconFile& operator=(const IconFile&) = delete;
    ~IconFile() { Close(); }

    /// Opens an existing regular file for reading; false otherwise (a directory included).
    bool OpenRead(const WideString& path);
    /// Creates the file for writing, replacing what is there.
    bool Create(const WideString& path);
    void Close();

    /// The file's size when it was opened.
    uint64_t Size() const { return size_; }
    /// Position of the next read.
    uint64_t Position() const { return position_; }
    /// Reads up to `count` bytes; `got` is how many were read (fewer at the end of the file).
    /// False on a failed read.
    bool Read(void* buffer, size_t count, size_t& got);
    /// True when exactly `count` bytes were read.
    bool ReadExactly(void* buffer, size_t count) {
        size_t got = 0;
        return Read(buffer, count, got) && got == count;
    }
    /// Moves to an offset from the start; beyond the end is allowed, as with SetFilePointer.
    bool Seek(uint64_t offset);
    /// Writes all of `count` bytes; false on a failed or short write.
    bool Write(const void* buffer, size_t count);

private:
    int fd_ = -1;
    uint64_t size_ = 0;
    uint64_t position_ = 0;
};

} // namespace torvex::icons_detail

#pragma once
// Serialising archive of the table cache file: little-endian numbers without padding, and
// strings in the archive's string form (an optional wide tag, a length in one of three forms,
// then the characters).

#include "torvex/platform/WideString.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace torvex {

/// One pass over a cache file, either reading (from the bytes of the whole file) or writing
/// (through a 4096-byte buffer). Not copyable.
class CCacheArchive {
public:
    /// Thrown by reads that run past the end of the data and by writes that fail.
    class Failure : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// An archive that reads the given bytes; never fails.
    explicit CCacheArchive(std::string bytes);
    /// An archive that writes to the file, created or truncated; IsOpen() is false on failure.
    static CCacheArchive OpenForWriting(const WideString& path);
    /// Flushes (silently) and closes a writing archive.
    ~CCacheArchive();
    CCacheArchive(CCacheArchive&& other) noexcept;
    CCacheArchive(const CCacheArchive&) = delete;
    CCacheArchive& operator=(const CCacheArchive&) = delete;
    CCacheArchive& operator=(CCacheArchive&&) = delete;

    /// True for a reading archive and for a writing one whose file is open.
    bool IsOpen() const { return m_loading || m_file != nullptr; }
    /// True for a reading archive.
    bool IsLoading() const { return m_loading; }
    /// Bytes not yet read; 0 for a writing archive.
    size_t Remaining() const { return m_loading ? m_data.size() - m_position : 0; }

    /// Reads a 16-bit word as signed; throws Failure at the end of the data.
    int16_t ReadInt16();
    /// Reads a 16-bit word; throws Failure at the end of the data.
    uint16_t ReadUInt16();
    /// Reads a signed 32-bit value; throws Failure at the end of the data.
    int32_t ReadInt32();
    /// Reads a string in the wide or the narrow form; throws Failure when it is cut short.
    WideString ReadString();

    /// Writes a 16-bit word; throws Failure when the file cannot be written.
    void WriteUInt16(uint16_t value);
    /// Writes a signed 32-bit value; throws Failure when the file cannot be written.
    void WriteInt32(int32_t value);
    /// Writes a string in the wide form (UTF-16LE); throws Failure when the file cannot be
    /// written or the text is too long for a 32-bit length.
    void WriteString(std::wstring_view text);
    /// Flushes the buffer and closes the file; throws Failure when the file cannot be written.
    void Close();

private:
    CCacheArchive() = default;
    const unsigned char* Take(size_t count);
    uint8_t ReadByte();
    uint32_t ReadUInt32();
    void Put(const void* bytes, size_t count);
    void WriteByte(uint8_t value);
    void WriteUInt32(uint32_t value);
    void Flush();

    bool m_loading = false;
    std::string m_data; // reading: the whole file; writing: the pending buffer
    size_t m_position = 0;
    std::FILE* m_file = nullptr;
};

} // namespace torvex

#include "torvex/evaluation/CCacheArchive.h"

#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <cstring>
#include <utility>

namespace torvex {

namespace {

// The writer hands the file whole blocks of this size, as the file has always been written.
constexpr size_t kBufferSize = 4096;
// What the C library's file buffer hands the system at once: a large file in few writes.
constexpr size_t kSystemWriteSize = size_t{1} << 18;

// Markers of the string form: a length byte of 0xFF announces a 16-bit length; the word 0xFFFE
// in that place is the tag of a wide string, the word 0xFFFF announces a 32-bit length.
constexpr uint8_t kLongerLength = 0xFF;
constexpr uint16_t kWideTag = 0xFFFE;
constexpr uint16_t kLength32 = 0xFFFF;

} // namespace

CCacheArchive::CCacheArchive(std::string bytes) : m_loading(true), m_data(std::move(bytes)) {}

CCacheArchive CCacheArchive::OpenForWriting(const WideString& path) {
    CCacheArchive archive;
    archive.m_file = std::fopen(platform::NativePath(path).c_str(), "wb");
    // The blocks go on to the system in larger writes; a failure here only costs speed.
    if (archive.m_file)
        std::setvbuf(archive.m_file, nullptr, _IOFBF, kSystemWriteSize);
    archive.m_data.reserve(kBufferSize);
    return archive;
}

CCacheArchive::CCacheArchive(CCacheArchive&& other) noexcept
    : m_loading(other.m_loading), m_data(std::move(other.m_data)), m_position(other.m_position),
      m_file(std::exchange(other.m_file, nullptr)) {}

CCacheArchive::~CCacheArchive() {
    if (m_file) {
        try {
            Flush();
        } catch (const Failure&) {
            // The file stays cut short; nobody is told.
        }
        std::fclose(m_file);
    }
}

// Reading. Every read checks the bytes that remain before it takes or allocates anything, so a
// damaged length can only make the read fail, never make it allocate more than the file holds.

const unsigned char* CCacheArchive::Take(size_t count) {
    if (!m_loading || count > m_data.size() - m_position)
        throw Failure("unexpected end of the cache file");
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(m_data.data()) + m_position;
    m_position += count;
    return bytes;
}

uint8_t CCacheArchive::ReadByte() {
    return *Take(1);
}

uint16_t CCacheArchive::ReadUInt16() {
    const unsigned char* b = Take(2);
    return static_cast<uint16_t>(b[0] | (b[1] << 8));
}

int16_t CCacheArchive::ReadInt16() {
    return static_cast<int16_t>(ReadUInt16());
}

uint32_t CCacheArchive::ReadUInt32() {
    const unsigned char* b = Take(4);
    return static_cast<uint32_t>(b[0]) | (static_cast<uint32_t>(b[1]) << 8) |
           (static_cast<uint32_t>(b[2]) << 16) | (static_cast<uint32_t>(b[3]) << 24);
}

int32_t CCacheArchive::ReadInt32() {
    return static_cast<int32_t>(ReadUInt32());
}

WideString CCacheArchive::ReadString() {
    bool wide = false;
    uint32_t length = ReadByte();
    if (length == kLongerLength) {
        uint16_t word = ReadUInt16();
        if (word == kWideTag) {
            // The tag of a wide string; the length follows in one of its three forms.
            wide = true;
            length = ReadByte();
            if (length == kLongerLength) {
                word = ReadUInt16();
                length = word < kWideTag ? word : ReadUInt32();
            }
        } else {
            length = word < kLength32 ? word : ReadUInt32();
        }
    }

    if (wide) {
        if (length > Remaining() / 2)
            throw Failure("unexpected end of the cache file");
        const unsigned char* b = Take(size_t(length) * 2);
        std::u16string units(length, u'\0');
        for (size_t i = 0; i < length; ++i)
            units[i] = static_cast<char16_t>(b[2 * i] | (b[2 * i + 1] << 8));
        return platform::FromUtf16(units);
    }

    // The narrow form holds bytes of an 8-bit code page. The file carries no word on which one,
    // and this system has no process code page to fall back on, so the bytes are widened as
    // Latin-1: each byte becomes the character of the same number.
    const unsigned char* b = Take(length);
    WideString text(length, L'\0');
    for (size_t i = 0; i < length; ++i)
        text[i] = static_cast<wchar_t>(b[i]);
    return text;
}

// Writing.

void CCacheArchive::Flush() {
    if (!m_file)
        throw Failure("the cache file is not open");
    if (!m_data.empty()) {
        const size_t pending = m_data.size();
        const size_t written = std::fwrite(m_data.data(), 1, pending, m_file);
        m_data.clear();
        if (written != pending)
            throw Failure("the cache file cannot be written");
    }
}

void CCacheArchive::Put(const void* bytes, size_t count) {
    if (m_loading || !m_file)
        throw Failure("the cache file is not open for writing");
    const char* p = static_cast<const char*>(bytes);
    if (count < kBufferSize - m_data.size()) { // the usual case: it fits and leaves room
        m_data.append(p, count);
        return;
    }
    while (count > 0) {
        size_t room = kBufferSize - m_data.size();
        size_t n = count < room ? count : room;
        m_data.append(p, n);
        p += n;
        count -= n;
        if (m_data.size() == kBufferSize)
            Flush();
    }
}

void CCacheArchive::WriteByte(uint8_t value) {
    Put(&value, 1);
}

void CCacheArchive::WriteUInt16(uint16_t value) {
    const unsigned char b[2] = {static_cast<unsigned char>(value & 0xFF),
                                static_cast<unsigned char>(value >> 8)};
    Put(b, 2);
}

void CCacheArchive::WriteUInt32(uint32_t value) {
    const unsigned char b[4] = {
        static_cast<unsigned char>(value & 0xFF), static_cast<unsigned char>((value >> 8) & 0xFF),
        static_cast<unsigned char>((value >> 16) & 0xFF), static_cast<unsigned char>(value >> 24)};
    Put(b, 4);
}

void CCacheArchive::WriteInt32(int32_t value) {
    WriteUInt32(static_cast<uint32_t>(value));
}

void CCacheArchive::WriteString(std::wstring_view text) {
    // UTF-16 as the file has it: a character outside the basic plane takes two units, and one
    // that is no Unicode scalar value is written as U+FFFD.
    const size_t length = platform::Utf16Length(text);
    if (length > 0xFFFFFFFEu)
        throw Failure("text too long for the cache file");

    // The marker, the length and the units go out through a small block on the stack, low byte
    // first: a short string is one Put.
    unsigned char block[512];
    size_t used = 0;
    auto byte = [&](unsigned value) { block[used++] = static_cast<unsigned char>(value & 0xFF); };
    auto word = [&](unsigned value) {
        byte(value);
        byte(value >> 8);
    };
    byte(kLongerLength);
    word(kWideTag);
    if (length < kLongerLength) {
        byte(static_cast<unsigned>(length));
    } else if (length < kWideTag) {
        byte(kLongerLength);
        word(static_cast<unsigned>(length));
    } else {
        byte(kLongerLength);
        word(kLength32);
        word(static_cast<unsigned>(length & 0xFFFF));
        word(static_cast<unsigned>(length >> 16));
    }
    for (wchar_t w : text) {
        if (used + 4 > sizeof block) {
            Put(block, used);
            used = 0;
        }
        char16_t units[2];
        const size_t count = platform::EncodeUtf16(w, units);
        word(units[0]);
        if (count == 2)
            word(units[1]);
    }
    Put(block, used);
}

void CCacheArchive::Close() {
    if (!m_file)
        return;
    std::FILE* file = std::exchange(m_file, nullptr);
    bool ok = true;
    if (!m_data.empty())
        ok = std::fwrite(m_data.data(), 1, m_data.size(), file) == m_data.size();
    m_data.clear();
    if (std::fclose(file) != 0)
        ok = false;
    if (!ok)
        throw Failure("the cache file cannot be written");
}

} // namespace torvex

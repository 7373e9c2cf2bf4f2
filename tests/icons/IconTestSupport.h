#pragma once
// Helpers of the icon and bitmap tests: files in a private temporary folder, the examples'
// bytes, a recorder of messages, and little-endian byte builders for hand-made fixtures.

#include "torvex/icons/CIcons.h"
#include "torvex/platform/Files.h"
#include "torvex/platform/Utf16.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace torvex::icontest {

using Bytes = std::vector<uint8_t>;

inline WideString Example(const char* name) {
    return platform::FromUtf8(std::string(TORVEX_EXAMPLES_DIR "/icons/") + name);
}

inline Bytes ReadBytes(const WideString& path) {
    std::string s;
    EXPECT_TRUE(platform::ReadFileBytes(path, s)) << platform::ToUtf8(path);
    return Bytes(s.begin(), s.end());
}

inline void WriteBytes(const WideString& path, const Bytes& bytes) {
    ASSERT_TRUE(platform::WriteFileBytes(path, std::string(bytes.begin(), bytes.end())));
}

/// A path in the temporary folder, unique to this process, deleted with the object.
class TempFile {
public:
    explicit TempFile(const std::string& name)
        : path_(platform::TempDirectory() + L"torvex_icons_" + std::to_wstring(::getpid()) +
                L"_" + platform::FromUtf8(name)) {}
    ~TempFile() { platform::DeleteFile(path_); }
    const WideString& path() const { return path_; }
    operator const WideString&() const { return path_; }

private:
    WideString path_;
};

/// Collects the messages given to a handler, as (text, caption).
struct Messages {
    std::vector<std::pair<WideString, WideString>> list;
    MessageHandler Handler() {
        return [this](const WideString& text, const WideString& caption) {
            list.emplace_back(text, caption);
        };
    }
};

/// Little-endian byte building.
struct ByteBuilder {
    Bytes bytes;
    ByteBuilder& u8(uint32_t v) {
        bytes.push_back(static_cast<uint8_t>(v));
        return *this;
    }
    ByteBuilder& u16(uint32_t v) {
        u8(v);
        return u8(v >> 8);
    }
    ByteBuilder& u32(uint32_t v) {
        u16(v);
        return u16(v >> 16);
    }
    ByteBuilder& raw(const Bytes& b) {
        bytes.insert(bytes.end(), b.begin(), b.end());
        return *this;
    }
    ByteBuilder& fill(size_t n, uint8_t v = 0) {
        bytes.insert(bytes.end(), n, v);
        return *this;
    }
    /// A 40-byte BITMAPINFOHEADER.
    ByteBuilder& header(int32_t width, int32_t height, uint16_t bits, uint32_t sizeImage = 0,
                        uint32_t clrUsed = 0) {
        return u32(40).u32(uint32_t(width)).u32(uint32_t(height)).u16(1).u16(bits).u32(0)
            .u32(sizeImage).u32(0).u32(0).u32(clrUsed).u32(0);
    }
};

/// A malloc'd copy of bytes, as the Parts' blocks are.
inline uint8_t* MallocCopy(const Bytes& b) {
    auto* p = static_cast<uint8_t*>(std::malloc(b.empty() ? 1 : b.size()));
    std::copy(b.begin(), b.end(), p);
    return p;
}

/// Frees an ICONRESOURCE and its images.
struct ResourceDeleter {
    void operator()(ICONRESOURCE* r) const { CIcons::FreeIconResource(r); }
};
using ResourcePtr = std::unique_ptr<ICONRESOURCE, ResourceDeleter>;

/// Frees a DIB block.
struct FreeDeleter {
    void operator()(uint8_t* p) const { std::free(p); }
};
using BlockPtr = std::unique_ptr<uint8_t, FreeDeleter>;

inline std::string Narrow(const WideString& text) {
    return platform::ToUtf8(text);
}

} // namespace torvex::icontest

#pragma once
// The hash of the library's in-memory text indexes (row and column lookups, the value caches'
// keys): FNV-1a over the characters, a few instructions a character, which the short ids of a
// table want more than the spread of a general byte hash. Never stored anywhere.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace torvex {

/// A transparent hasher of wide texts, for the unordered containers; never fails.
struct TextHash {
    using is_transparent = void;
    size_t operator()(std::wstring_view text) const noexcept {
        uint64_t hash = 14695981039346656037ull;
        for (wchar_t c : text) {
            hash ^= static_cast<uint32_t>(c);
            hash *= 1099511628211ull;
        }
        return static_cast<size_t>(hash ^ (hash >> 32));
    }
};

} // namespace torvex

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

    /// The hash built character by character, for a lookup that hashes a text while it reads
    /// it (folding it, say): Start, Add each character, then Finish gives what operator() gives
    /// for those characters. Never fail.
    static constexpr uint64_t Start() noexcept { return 14695981039346656037ull; }
    static constexpr uint64_t Add(uint64_t hash, wchar_t c) noexcept {
        return (hash ^ static_cast<uint32_t>(c)) * 1099511628211ull;
    }
    static constexpr size_t Finish(uint64_t hash) noexcept {
        return static_cast<size_t>(hash ^ (hash >> 32));
    }

    size_t operator()(std::wstring_view text) const noexcept {
        uint64_t hash = Start();
        for (wchar_t c : text)
            hash = Add(hash, c);
        return Finish(hash);
    }
};

} // namespace torvex

#pragma once
// The process's one unit system, on the udunits2 database. It turns unit texts ("mm",
// "N.m", "kg/m3", "s-2") into the kind of quantity they measure and the linear map from a value
// in that unit to the internal unit of its kind:
//   internal = value * scale + offset.
// Internal units are the SI base units with centimetres for lengths and radians for angles
// ("cm", "kg", "s", "A", "K", "mol", "cd", "rad" and their products).
//
// The udunits2 parser keeps state in statics, so every call into it runs under one process-wide
// lock (UdunitsMutex). Resolved texts are kept in a bounded cache, so that a unit word costs the
// parser once and then a hash lookup.

#include "host/CDimension.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <unordered_map>

struct ut_system;

namespace torvex {

/// Unit texts resolved through udunits2; one object per process (Instance).
class CUnitSystem {
public:
    /// A resolved unit: its kind and the map into the internal unit of that kind.
    struct Unit {
        CDimension dimension;
        double scale = 1.0;
        double offset = 0.0;
        /// True for "ul" and the empty text: no unit at all.
        bool none = false;
    };

    /// Longest unit text that is looked up; longer texts are unknown units.
    static constexpr size_t kMaxUnitText = 128;
    /// Entries the cache holds before it is emptied.
    static constexpr size_t kDefaultCacheCapacity = 4096;

    /// The process's unit system; the database is loaded on the first call. Never fails (a
    /// database that does not load leaves IsAvailable false).
    static CUnitSystem& Instance();
    /// The lock held around every call into udunits2. Never fails.
    static std::mutex& UdunitsMutex();

    /// True when the udunits2 database was loaded. Never fails.
    bool IsAvailable() const;

    /// Resolves a unit text, trimmed first: "ul" and "" give a unit with `none` set. The grammar
    /// is factor { ('.' | '*' | U+00B7 | '/') factor }, factor = name [ ['^'] [sign] digits ],
    /// name = "%" or ['°'] letters; '/' divides by the one factor after it. Fails with
    /// kNullArgument (null unit), kUnknownUnit (malformed text, a word udunits2 does not know or
    /// a unit that is not linear), kUnitSystemUnavailable (no database).
    int32_t Resolve(std::wstring_view text, Unit* unit);

    /// Empties the cache of resolved texts. Never fails.
    void ClearCache();
    /// Number of cached texts. Never fails.
    size_t CacheSize() const;
    /// Sets how many texts the cache holds before it is emptied; 0 turns caching off. Never
    /// fails.
    void SetCacheCapacity(size_t capacity);

    /// True for a character that may stand in a unit name (ASCII letters, '_', and the
    /// symbols µ μ Ω Å). Never fails.
    static bool IsUnitLetter(wchar_t c);
    /// Length of the unit name that starts `text` ("%", or an optional '°' then unit letters);
    /// 0 when none starts there. Never fails.
    static size_t ScanUnitName(std::wstring_view text);
    /// The text without blanks, tabs and line breaks at both ends. Never fails.
    static std::wstring_view Trim(std::wstring_view text);

    CUnitSystem(const CUnitSystem&) = delete;
    CUnitSystem& operator=(const CUnitSystem&) = delete;

private:
    struct CacheEntry {
        int32_t status = 0;
        Unit unit;
    };

    CUnitSystem();

    int32_t ResolveUncached(std::wstring_view text, Unit* unit);
    int32_t ResolveName(std::wstring_view name, Unit* unit);

    ut_system* m_system = nullptr;
    mutable std::shared_mutex m_cacheMutex;
    std::unordered_map<std::wstring, CacheEntry> m_cache;
    size_t m_cacheCapacity = kDefaultCacheCapacity;
};

} // namespace torvex

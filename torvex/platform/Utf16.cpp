#include "torvex/platform/Utf16.h"

#include <algorithm>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace torvex::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsScalar(char32_t c) {
    return c < 0x110000 && (c < 0xD800 || c > 0xDFFF);
}

// Runs of ASCII make up nearly all of any document: they are taken a block at a time, with
// vector instructions where the target has them, and only a block holding something else goes
// character by character.
constexpr size_t kBlock = 16;
static_assert(sizeof(wchar_t) == 4, "wide characters are UTF-32 code points");

#if defined(__SSE2__)

__m128i LoadWide(const wchar_t* text, size_t quarter) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + quarter * 4));
}

// True when the block of wide characters is ASCII (a negative wchar_t is not).
bool IsAsciiBlock(const wchar_t* text) {
    const __m128i any = _mm_or_si128(_mm_or_si128(LoadWide(text, 0), LoadWide(text, 1)),
                                     _mm_or_si128(LoadWide(text, 2), LoadWide(text, 3)));
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_srli_epi32(any, 7), _mm_setzero_si128())) ==
           0xFFFF;
}

// Writes the block as bytes when it is ASCII; false (nothing written) otherwise.
bool NarrowAsciiBlock(const wchar_t* text, char* out) {
    if (!IsAsciiBlock(text))
        return false;
    // Values below 0x80 pass both saturating packs unchanged.
    const __m128i low = _mm_packs_epi32(LoadWide(text, 0), LoadWide(text, 1));
    const __m128i high = _mm_packs_epi32(LoadWide(text, 2), LoadWide(text, 3));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(low, high));
    return true;
}

// Writes the block as wide characters when it is ASCII; false (nothing written) otherwise.
bool WidenAsciiBlock(const char* bytes, wchar_t* out) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    if (_mm_movemask_epi8(block) != 0)
        return false;
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(block, zero);
    const __m128i high = _mm_unpackhi_epi8(block, zero);
    auto* o = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(o, _mm_unpacklo_epi16(low, zero));
    _mm_storeu_si128(o + 1, _mm_unpackhi_epi16(low, zero));
    _mm_storeu_si128(o + 2, _mm_unpacklo_epi16(high, zero));
    _mm_storeu_si128(o + 3, _mm_unpackhi_epi16(high, zero));
    return true;
}

#else

bool IsAsciiBlock(const wchar_t* text) {
    uint32_t any = 0;
    for (size_t k = 0; k < kBlock; ++k)
        any |= static_cast<uint32_t>(text[k]); // a negative wchar_t is not ASCII either
    return any < 0x80;
}

bool NarrowAsciiBlock(const wchar_t* text, char* out) {
    if (!IsAsciiBlock(text))
        return false;
    for (size_t k = 0; k < kBlock; ++k)
        out[k] = static_cast<char>(text[k]);
    return true;
}

bool WidenAsciiBlock(const char* bytes, wchar_t* out) {
    unsigned char any = 0;
    for (size_t k = 0; k < kBlock; ++k)
        any |= static_cast<unsigned char>(bytes[k]);
    if (any >= 0x80)
        return false;
    for (size_t k = 0; k < kBlock; ++k)
        out[k] = static_cast<wchar_t>(bytes[k]);
    return true;
}

#endif

// Decodes the sequence at `i` into `o`, moving `i` past it: a malformed or overlong sequence, a
// surrogate or a value past U+10FFFF gives U+FFFD. Answers the next place to write.
wchar_t* DecodeOne(std::string_view bytes, size_t& i, wchar_t* o) {
    const size_t n = bytes.size();
    const unsigned char b = static_cast<unsigned char>(bytes[i]);
    if (b < 0x80) {
        *o++ = static_cast<wchar_t>(b);
        ++i;
        return o;
    }
    int extra = 0;
    char32_t c = 0;
    char32_t minimum = 0;
    if ((b & 0xE0) == 0xC0) {
        extra = 1, c = b & 0x1F, minimum = 0x80;
    } else if ((b & 0xF0) == 0xE0) {
        extra = 2, c = b & 0x0F, minimum = 0x800;
    } else if ((b & 0xF8) == 0xF0) {
        extra = 3, c = b & 0x07, minimum = 0x10000;
    } else {
        *o++ = static_cast<wchar_t>(kReplacement);
        ++i;
        return o;
    }
    size_t j = i + 1;
    bool ok = true;
    for (int k = 0; k < extra; ++k, ++j) {
        if (j >= n || (static_cast<unsigned char>(bytes[j]) & 0xC0) != 0x80) {
            ok = false;
            break;
        }
        c = (c << 6) | (static_cast<unsigned char>(bytes[j]) & 0x3F);
    }
    if (!ok || c < minimum || !IsScalar(c)) {
        *o++ = static_cast<wchar_t>(kReplacement);
        i = ok ? j : (j > i + 1 ? j : i + 1);
        return o;
    }
    *o++ = static_cast<wchar_t>(c);
    i = j;
    return o;
}

} // namespace

std::string ToUtf8(std::wstring_view text) {
    // Measured first and sized exactly, then written through a pointer: whole documents pass
    // through here when they are parsed, and a buffer sized for the worst case would be four
    // times the text, all of it touched.
    size_t length = 0;
    const size_t n = text.size();
    size_t i = 0;
    while (i < n) {
        if (i + kBlock <= n && IsAsciiBlock(text.data() + i)) {
            length += kBlock;
            i += kBlock;
            continue;
        }
        for (const size_t end = std::min(n, i + kBlock); i < end; ++i) {
            const auto c = static_cast<char32_t>(text[i]);
            length += c < 0x80 ? 1 : c < 0x800 ? 2 : (c < 0x10000 || c >= 0x110000) ? 3 : 4;
        }
    }
    std::string out(length, '\0');
    ToUtf8(text, out.data());
    return out;
}

size_t ToUtf8(std::wstring_view text, char* out) {
    char* p = out;
    const wchar_t* s = text.data();
    const size_t n = text.size();
    size_t i = 0;
    while (i < n) {
        if (i + kBlock <= n && NarrowAsciiBlock(s + i, p)) {
            p += kBlock;
            i += kBlock;
            continue;
        }
        // A block with something else in it goes character by character.
        for (const size_t end = std::min(n, i + kBlock); i < end; ++i) {
            char32_t c = static_cast<char32_t>(s[i]);
            if (c < 0x80) {
                *p++ = static_cast<char>(c);
                continue;
            }
            if (!IsScalar(c))
                c = kReplacement;
            if (c < 0x800) {
                *p++ = static_cast<char>(0xC0 | (c >> 6));
            } else if (c < 0x10000) {
                *p++ = static_cast<char>(0xE0 | (c >> 12));
                *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            } else {
                *p++ = static_cast<char>(0xF0 | (c >> 18));
                *p++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
                *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            }
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return static_cast<size_t>(p - out);
}

std::wstring FromUtf8(std::string_view bytes) {
    std::wstring out;
    AppendUtf8(bytes, out);
    return out;
}

void AppendUtf8(std::string_view bytes, std::wstring& out) {
    // Never more characters than bytes: grown once, cut to length.
    const size_t start = out.size();
    out.resize(start + bytes.size());
    wchar_t* o = out.data() + start;
    size_t i = 0;
    const size_t n = bytes.size();
    while (i < n) {
        if (i + kBlock <= n && WidenAsciiBlock(bytes.data() + i, o)) {
            o += kBlock;
            i += kBlock;
            continue;
        }
        // A block with something else in it goes sequence by sequence.
        for (const size_t end = std::min(n, i + kBlock); i < end;)
            o = DecodeOne(bytes, i, o);
    }
    out.resize(static_cast<size_t>(o - out.data()));
}

std::u16string ToUtf16(std::wstring_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (wchar_t w : text) {
        char16_t units[2];
        out.append(units, EncodeUtf16(w, units));
    }
    return out;
}

std::wstring FromUtf16(std::u16string_view units) {
    std::wstring out;
    out.reserve(units.size());
    for (size_t i = 0; i < units.size(); ++i) {
        const char16_t u = units[i];
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
            units[i + 1] <= 0xDFFF) {
            const char32_t c = 0x10000 + ((char32_t(u) - 0xD800) << 10) + (units[i + 1] - 0xDC00);
            out.push_back(static_cast<wchar_t>(c));
            ++i;
        } else if (u >= 0xD800 && u <= 0xDFFF) {
            out.push_back(static_cast<wchar_t>(kReplacement));
        } else {
            out.push_back(static_cast<wchar_t>(u));
        }
    }
    return out;
}

size_t Utf16Length(std::wstring_view text) {
    size_t n = 0;
    for (wchar_t w : text) {
        const char32_t c = static_cast<char32_t>(w);
        n += (IsScalar(c) && c >= 0x10000) ? 2 : 1;
    }
    return n;
}

} // namespace torvex::platform

#include "torvex/platform/Utf16.h"

namespace torvex::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsScalar(char32_t c) {
    return c < 0x110000 && (c < 0xD800 || c > 0xDFFF);
}

} // namespace

std::string ToUtf8(std::wstring_view text) {
    // Measured first and sized exactly, then written through a pointer: whole documents pass
    // through here when they are parsed, and a buffer sized for the worst case would be four
    // times the text, all of it touched.
    size_t length = 0;
    for (wchar_t w : text) {
        const auto c = static_cast<char32_t>(w);
        length += c < 0x80 ? 1 : c < 0x800 ? 2 : (c < 0x10000 || c >= 0x110000) ? 3 : 4;
    }
    std::string out(length, '\0');
    ToUtf8(text, out.data());
    return out;
}

size_t ToUtf8(std::wstring_view text, char* out) {
    char* p = out;
    for (wchar_t w : text) {
        char32_t c = static_cast<char32_t>(w);
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
        const unsigned char b = static_cast<unsigned char>(bytes[i]);
        if (b < 0x80) {
            *o++ = static_cast<wchar_t>(b);
            ++i;
            continue;
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
            continue;
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
            continue;
        }
        *o++ = static_cast<wchar_t>(c);
        i = j;
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

#include "torvex/platform/NumberText.h"

#include "torvex/platform/AsciiText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cwctype>
#include <limits>
#include <string_view>
#include <system_error>

namespace torvex::platform {
namespace {

std::wstring Widen(const char* begin, const char* end) {
    return std::wstring(begin, end);
}

// Widens ASCII into `out` in place: assigning a range of another character type would build a
// temporary text first.
void AssignWidened(std::wstring& out, const char* begin, const char* end) {
    out.resize(static_cast<size_t>(end - begin));
    std::copy(begin, end, out.begin());
}

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}
bool IsHexDigit(wchar_t c) {
    return IsDigit(c) || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}

bool MatchWordNoCase(const wchar_t* p, const char* word) {
    for (; *word; ++p, ++word)
        if (AsciiLower(*p) != *word)
            return false;
    return true;
}

// For a mantissa and exponent text out of the double range: true when it is too large, false
// when too small. The magnitude counts the mantissa's digits ahead of the point from its first
// non-zero digit, plus the exponent (binary for hexadecimal text), so "1000e-2" and "0.001e5"
// are judged by their value and not by the exponent's sign.
bool Overflows(const std::string& number, bool hex) {
    const size_t exponentAt = number.find_first_of(hex ? "pP" : "eE");
    const std::string mantissa = number.substr(0, exponentAt);
    const size_t point = std::min(mantissa.find('.'), mantissa.size());
    const size_t first = mantissa.find_first_not_of("0.");
    if (first == std::string::npos)
        return false;
    constexpr long long kLimit = 1000000000LL; // far beyond any double, far from overflow
    long long magnitude = first < point ? static_cast<long long>(point - first)
                                        : -static_cast<long long>(first - point - 1);
    if (hex)
        magnitude *= 4;
    if (exponentAt != std::string::npos) {
        size_t i = exponentAt + 1;
        const bool negative = i < number.size() && number[i] == '-';
        if (i < number.size() && (number[i] == '-' || number[i] == '+'))
            ++i;
        long long exponent = 0;
        for (; i < number.size(); ++i)
            exponent = std::min(kLimit, exponent * 10 + (number[i] - '0'));
        magnitude += negative ? -exponent : exponent;
    }
    return magnitude > 0;
}

// printf("%.*g") for precisions up to 15 from double arithmetic: the value times a power of ten
// that a double holds exactly is off its true product by half a unit in the last place at most,
// so its rounding to an integer is certain unless the fraction lies that close to one half. Then
// (and for zero, very large or very small values, and longer precisions) false: the exact
// conversion decides. Writes at most 24 characters.
bool FormatGeneralFast(double value, int precision, char* out, char*& end) {
    static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                         1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr int kMaxPower = 22;
    if (precision > 15 || value == 0.0)
        return false;
    const double magnitude = std::fabs(value);
    // The decade from the binary exponent: log10(2) is 78913 / 2^18 to within 1e-6, so the
    // estimate falls short by one at most.
    int binary = 0;
    std::frexp(magnitude, &binary);
    int exponent = ((binary - 1) * 78913) >> 18;
    const double low = kPowers[precision - 1], high = kPowers[precision];
    double digits = 0.0;
    // log10 may miss the decade by one either way near a power of ten.
    for (int attempt = 0;; ++attempt) {
        if (attempt == 3)
            return false;
        const int shift = precision - 1 - exponent;
        if (shift > kMaxPower || shift < -kMaxPower)
            return false;
        const double scaled = shift >= 0 ? magnitude * kPowers[shift] : magnitude / kPowers[-shift];
        const double whole = std::floor(scaled);
        if (whole >= high) {
            ++exponent;
            continue;
        }
        if (whole < low) {
            --exponent;
            continue;
        }
        const double fraction = scaled - whole;
        if (std::fabs(fraction - 0.5) <= scaled * 0x1p-50)
            return false; // a tie, or too close to one to tell
        digits = fraction > 0.5 ? whole + 1.0 : whole;
        if (digits >= high) { // 9.99...5 rounds up into the next decade
            digits = low;
            ++exponent;
        }
        break;
    }

    // The digits two at a time, from the right.
    static constexpr char kPairs[] = "00010203040506070809101112131415161718192021222324"
                                     "25262728293031323334353637383940414243444546474849"
                                     "50515253545556575859606162636465666768697071727374"
                                     "75767778798081828384858687888990919293949596979899";
    char text[16];
    auto number = static_cast<unsigned long long>(digits);
    int i = precision;
    for (; i >= 2; i -= 2, number /= 100) {
        const auto pair = static_cast<size_t>(number % 100) * 2;
        text[i - 2] = kPairs[pair];
        text[i - 1] = kPairs[pair + 1];
    }
    if (i == 1)
        text[0] = static_cast<char>('0' + number);
    int significant = precision; // without the trailing zeros
    while (significant > 1 && text[significant - 1] == '0')
        --significant;

    char* p = out;
    if (std::signbit(value))
        *p++ = '-';
    if (exponent < -4 || exponent >= precision) {
        *p++ = text[0];
        if (significant > 1) {
            *p++ = '.';
            for (int i = 1; i < significant; ++i)
                *p++ = text[i];
        }
        *p++ = 'e';
        *p++ = exponent < 0 ? '-' : '+';
        const int shown = exponent < 0 ? -exponent : exponent; // below 40 here
        *p++ = static_cast<char>('0' + shown / 10 % 10);
        *p++ = static_cast<char>('0' + shown % 10);
    } else if (exponent >= 0) {
        for (int i = 0; i <= exponent; ++i)
            *p++ = text[i];
        if (significant > exponent + 1) {
            *p++ = '.';
            for (int i = exponent + 1; i < significant; ++i)
                *p++ = text[i];
        }
    } else {
        *p++ = '0';
        *p++ = '.';
        for (int i = exponent; i < -1; ++i)
            *p++ = '0';
        for (int i = 0; i < significant; ++i)
            *p++ = text[i];
    }
    end = p;
    return true;
}

std::wstring NonFinite(double value) {
    if (std::isnan(value))
        return std::signbit(value) ? L"-nan" : L"nan";
    return value < 0 ? L"-inf" : L"inf";
}

} // namespace

std::wstring FormatFixed(double value, int decimals) {
    if (!std::isfinite(value))
        return NonFinite(value);
    // 309 integer digits at most, plus sign, point and the decimals.
    std::string buffer(static_cast<size_t>(decimals) + 330, '\0');
    auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                std::chars_format::fixed, decimals);
    return Widen(buffer.data(), result.ptr);
}

std::wstring FormatGeneral(double value, int precision) {
    std::wstring text;
    FormatGeneral(value, precision, text);
    return text;
}

void FormatGeneral(double value, int precision, std::wstring& out) {
    if (!std::isfinite(value)) {
        out = NonFinite(value);
        return;
    }
    // As printf: a negative precision counts as none given (6), a zero one as 1.
    if (precision < 0)
        precision = 6;
    else if (precision == 0)
        precision = 1;
    // The longest exact form (a denormal) has 767 significant digits; room for sign, point and
    // exponent besides. The usual precisions fit a buffer on the stack.
    char local[64];
    char* fastEnd = nullptr;
    if (FormatGeneralFast(value, precision, local, fastEnd)) {
        AssignWidened(out, local, fastEnd);
        return;
    }
    std::string heap;
    char* buffer = local;
    size_t size = sizeof local;
    if (precision > 40) {
        heap.resize(static_cast<size_t>(std::min(precision, 800)) + 16);
        buffer = heap.data();
        size = heap.size();
    }
    auto result =
        std::to_chars(buffer, buffer + size, value, std::chars_format::general, precision);
    AssignWidened(out, buffer, result.ptr);
}

double ParseLeadingDouble(const wchar_t* text, size_t* consumed) {
    if (consumed)
        *consumed = 0;
    if (!text)
        return 0.0;
    const wchar_t* p = text;
    while (IsCSpace(*p))
        ++p;
    bool negative = false;
    if (*p == L'+' || *p == L'-') {
        negative = *p == L'-';
        ++p;
    }
    const wchar_t* start = p;
    double value = 0.0;
    const wchar_t* end = nullptr;

    if (MatchWordNoCase(p, "infinity")) {
        value = std::numeric_limits<double>::infinity();
        end = p + 8;
    } else if (MatchWordNoCase(p, "inf")) {
        value = std::numeric_limits<double>::infinity();
        end = p + 3;
    } else if (MatchWordNoCase(p, "nan")) {
        value = std::numeric_limits<double>::quiet_NaN();
        end = p + 3;
        if (*end == L'(') {
            const wchar_t* q = end + 1;
            while (IsDigit(*q) || (AsciiLower(*q) >= L'a' && AsciiLower(*q) <= L'z') || *q == L'_')
                ++q;
            if (*q == L')')
                end = q + 1;
        }
    } else {
        bool hex = p[0] == L'0' && (p[1] == L'x' || p[1] == L'X') &&
                   (IsHexDigit(p[2]) || (p[2] == L'.' && IsHexDigit(p[3])));
        const wchar_t* q = hex ? p + 2 : p;
        auto digit = hex ? IsHexDigit : IsDigit;
        bool any = false;
        while (digit(*q))
            ++q, any = true;
        if (*q == L'.') {
            ++q;
            while (digit(*q))
                ++q, any = true;
        }
        if (!any)
            return 0.0;
        const wchar_t exponentLetter = hex ? L'p' : L'e';
        if (AsciiLower(*q) == exponentLetter) {
            const wchar_t* e = q + 1;
            if (*e == L'+' || *e == L'-')
                ++e;
            if (IsDigit(*e)) {
                while (IsDigit(*e))
                    ++e;
                q = e;
            }
        }
        end = q;
        std::string narrow;
        narrow.reserve(static_cast<size_t>(end - (hex ? p + 2 : p)));
        for (const wchar_t* c = hex ? p + 2 : p; c < end; ++c)
            narrow.push_back(static_cast<char>(*c));
        auto result = std::from_chars(narrow.data(), narrow.data() + narrow.size(), value,
                                      hex ? std::chars_format::hex : std::chars_format::general);
        if (result.ec == std::errc::result_out_of_range)
            value = Overflows(narrow, hex) ? HUGE_VAL : 0.0;
    }
    (void)start;
    if (consumed)
        *consumed = static_cast<size_t>(end - text);
    return negative ? -value : value;
}

bool IsWholeDouble(const wchar_t* text) {
    if (!text || !*text)
        return true;
    size_t consumed = 0;
    ParseLeadingDouble(text, &consumed);
    if (consumed == 0)
        return false;
    return text[consumed] == L'\0';
}

} // namespace torvex::platform

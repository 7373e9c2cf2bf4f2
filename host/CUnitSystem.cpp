#include "host/CUnitSystem.h"

#include "host/CHostStatus.h"

#include "torvex/platform/Utf16.h"

#include <udunits2.h>

#include <cmath>
#include <memory>
#include <string>

namespace torvex {

namespace {

// Unit words of a catalogue of standard parts that the udunits2 database lacks or reads
// otherwise; each maps to a text udunits2 reads. "ul" never gets this far: it is no unit.
struct Alias {
    const wchar_t* word;
    const char* udunits;
};
const Alias kAliases[] = {
    {L"deg", "arcdeg"}, {L"Nm", "N.m"},         {L"Nmm", "N.mm"},       {L"Ncm", "N.cm"},
    {L"kNm", "kN.m"},   {L"rev", "revolution"}, {L"gon", "0.9 arcdeg"}, {L"grad", "0.9 arcdeg"},
};

// Symbols in which udunits2 writes the definition of a unit, and the base quantity of each.
struct BaseSymbol {
    const char* symbol;
    CDimension::Base base;
};
const BaseSymbol kBaseSymbols[] = {
    {"m", CDimension::kLength},    {"kg", CDimension::kMass},       {"s", CDimension::kTime},
    {"A", CDimension::kCurrent},   {"K", CDimension::kTemperature}, {"mol", CDimension::kAmount},
    {"cd", CDimension::kLuminous}, {"rad", CDimension::kAngle},
};

struct UnitDeleter {
    void operator()(ut_unit* unit) const { ut_free(unit); }
};
struct ConverterDeleter {
    void operator()(cv_converter* converter) const { cv_free(converter); }
};
using UnitPtr = std::unique_ptr<ut_unit, UnitDeleter>;
using ConverterPtr = std::unique_ptr<cv_converter, ConverterDeleter>;

bool IsBlank(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

// Reads the product of base symbols in udunits2's definition text ("m2.kg.s-2", "1"): false for
// anything else (logarithmic units, time origins, unknown bases).
bool ParseBaseProduct(const std::string& text, CDimension* dimension) {
    CDimension result;
    if (text == "1") {
        *dimension = result;
        return true;
    }
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('.', pos);
        if (end == std::string::npos) {
            end = text.size();
        }
        std::string part = text.substr(pos, end - pos);
        size_t letters = 0;
        while (letters < part.size() && ((part[letters] >= 'a' && part[letters] <= 'z') ||
                                         (part[letters] >= 'A' && part[letters] <= 'Z'))) {
            ++letters;
        }
        std::string symbol = part.substr(0, letters);
        std::string digits = part.substr(letters);
        int power = 1;
        if (!digits.empty()) {
            size_t first = digits[0] == '-' ? 1 : 0;
            if (first >= digits.size() || digits.size() - first > 3) {
                return false;
            }
            for (size_t i = first; i < digits.size(); ++i) {
                if (digits[i] < '0' || digits[i] > '9') {
                    return false;
                }
            }
            power = std::stoi(digits);
        }
        const BaseSymbol* found = nullptr;
        for (const BaseSymbol& base : kBaseSymbols) {
            if (symbol == base.symbol) {
                found = &base;
            }
        }
        if (!found || !result.Multiply(CDimension::Of(found->base, power), &result)) {
            return false;
        }
        pos = end + 1;
    }
    *dimension = result;
    return true;
}

} // namespace

CUnitSystem& CUnitSystem::Instance() {
    // Never destroyed, so that calls made while the process winds down still find it.
    static CUnitSystem* system = new CUnitSystem();
    return *system;
}

std::mutex& CUnitSystem::UdunitsMutex() {
    static std::mutex mutex;
    return mutex;
}

CUnitSystem::CUnitSystem() {
    std::lock_guard<std::mutex> lock(UdunitsMutex());
    ut_set_error_message_handler(ut_ignore);
    m_system = ut_read_xml(nullptr);
}

bool CUnitSystem::IsAvailable() const {
    return m_system != nullptr;
}

bool CUnitSystem::IsUnitLetter(wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' || c == L'\u00B5' ||
           c == L'\u03BC' || c == L'\u2126' || c == L'\u03A9' || c == L'\u00C5' || c == L'\u212B';
}

size_t CUnitSystem::ScanUnitName(std::wstring_view text) {
    if (text.empty()) {
        return 0;
    }
    if (text[0] == L'%') {
        return 1;
    }
    size_t pos = text[0] == L'\u00B0' ? 1 : 0;
    while (pos < text.size() && IsUnitLetter(text[pos])) {
        ++pos;
    }
    return pos;
}

std::wstring_view CUnitSystem::Trim(std::wstring_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

int32_t CUnitSystem::Resolve(std::wstring_view text, Unit* unit) {
    if (!unit) {
        return CHostStatus::kNullArgument;
    }
    text = Trim(text);
    if (text.empty() || text == L"ul") {
        *unit = Unit();
        unit->none = true;
        return 0;
    }
    if (text.size() > kMaxUnitText) {
        return CHostStatus::kUnknownUnit;
    }
    std::wstring key(text);
    {
        std::shared_lock<std::shared_mutex> lock(m_cacheMutex);
        auto found = m_cache.find(key);
        if (found != m_cache.end()) {
            if (found->second.status >= 0) {
                *unit = found->second.unit;
            }
            return found->second.status;
        }
    }
    CacheEntry entry;
    entry.status = ResolveUncached(text, &entry.unit);
    {
        std::unique_lock<std::shared_mutex> lock(m_cacheMutex);
        if (m_cacheCapacity > 0) {
            if (m_cache.size() >= m_cacheCapacity) {
                m_cache.clear();
            }
            m_cache.emplace(std::move(key), entry);
        }
    }
    if (entry.status >= 0) {
        *unit = entry.unit;
    }
    return entry.status;
}

int32_t CUnitSystem::ResolveUncached(std::wstring_view text, Unit* unit) {
    Unit result;
    size_t pos = 0;
    int factors = 0;
    bool divide = false;
    double firstOffset = 0.0;
    bool firstIsPlainPower = false;
    while (true) {
        size_t nameLength = ScanUnitName(text.substr(pos));
        if (nameLength == 0) {
            return CHostStatus::kUnknownUnit;
        }
        std::wstring_view name = text.substr(pos, nameLength);
        pos += nameLength;
        // Optional power: "m2", "s-2", "m^3", "s^-1".
        int power = 1;
        bool caret = pos < text.size() && text[pos] == L'^';
        if (caret) {
            ++pos;
        }
        if (pos < text.size() &&
            (text[pos] == L'-' || text[pos] == L'+' || (text[pos] >= L'0' && text[pos] <= L'9'))) {
            bool negative = text[pos] == L'-';
            if (text[pos] == L'-' || text[pos] == L'+') {
                ++pos;
            }
            size_t digitsStart = pos;
            int value = 0;
            while (pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9' &&
                   pos - digitsStart < 3) {
                value = value * 10 + (text[pos] - L'0');
                ++pos;
            }
            if (pos == digitsStart) {
                return CHostStatus::kUnknownUnit;
            }
            power = negative ? -value : value;
        } else if (caret) {
            return CHostStatus::kUnknownUnit;
        }
        if (divide) {
            power = -power;
        }

        Unit factor;
        int32_t status = ResolveName(name, &factor);
        if (status < 0) {
            return status;
        }
        CDimension raised;
        if (!factor.dimension.Power(power, &raised) ||
            !result.dimension.Multiply(raised, &result.dimension)) {
            return CHostStatus::kUnknownUnit;
        }
        result.scale *= std::pow(factor.scale, power);
        if (factors == 0) {
            firstOffset = factor.offset;
            firstIsPlainPower = power == 1;
        }
        ++factors;

        if (pos == text.size()) {
            break;
        }
        wchar_t separator = text[pos++];
        if (separator == L'/') {
            divide = true;
        } else if (separator == L'.' || separator == L'*' || separator == L'\u00B7' ||
                   separator == L'\u22C5') {
            divide = false;
        } else {
            return CHostStatus::kUnknownUnit;
        }
    }
    // An offset (degrees Celsius) only means something for the unit standing alone; in a
    // product it is a difference and converts by its scale.
    result.offset = factors == 1 && firstIsPlainPower ? firstOffset : 0.0;
    if (!std::isfinite(result.scale) || result.scale == 0.0 || !std::isfinite(result.offset)) {
        return CHostStatus::kUnknownUnit;
    }
    *unit = result;
    return 0;
}

int32_t CUnitSystem::ResolveName(std::wstring_view name, Unit* unit) {
    if (name == L"ul") {
        *unit = Unit();
        return 0;
    }
    std::string text;
    for (const Alias& alias : kAliases) {
        if (name == alias.word) {
            text = alias.udunits;
        }
    }
    if (text.empty()) {
        text = platform::ToUtf8(name);
    }

    std::lock_guard<std::mutex> lock(UdunitsMutex());
    if (!m_system) {
        return CHostStatus::kUnitSystemUnavailable;
    }
    UnitPtr parsed(ut_parse(m_system, text.c_str(), UT_UTF8));
    if (!parsed) {
        return CHostStatus::kUnknownUnit;
    }
    // The definition in base units ("0.001 m", "K @ 273.15", "1e+06 m-1.kg.s-2") tells the kind
    // of quantity; the converter to the bare product of base units gives the exact map.
    char definition[256];
    int length = ut_format(parsed.get(), definition, sizeof definition, UT_ASCII | UT_DEFINITION);
    if (length <= 0 || length >= static_cast<int>(sizeof definition)) {
        return CHostStatus::kUnknownUnit;
    }
    std::string product(definition, static_cast<size_t>(length));
    size_t origin = product.find(" @ ");
    if (origin != std::string::npos) {
        product.resize(origin);
    }
    size_t blank = product.rfind(' ');
    if (blank != std::string::npos) {
        product = product.substr(blank + 1);
    }
    CDimension dimension;
    if (!ParseBaseProduct(product, &dimension)) {
        return CHostStatus::kUnknownUnit;
    }
    UnitPtr base(ut_parse(m_system, product.c_str(), UT_ASCII));
    if (!base) {
        return CHostStatus::kUnknownUnit;
    }
    ConverterPtr converter(ut_get_converter(parsed.get(), base.get()));
    if (!converter) {
        return CHostStatus::kUnknownUnit;
    }
    double atZero = cv_convert_double(converter.get(), 0.0);
    double atOne = cv_convert_double(converter.get(), 1.0);
    double atTen = cv_convert_double(converter.get(), 10.0);
    double scale = atOne - atZero;
    double offset = atZero;
    // Only units that convert linearly (with an origin at most) are units here: logarithmic
    // ones are refused.
    if (!std::isfinite(scale) || !std::isfinite(offset) || !std::isfinite(atTen) || scale == 0.0 ||
        std::fabs(atTen - (10.0 * scale + offset)) > 1e-9 * std::fmax(1.0, std::fabs(atTen))) {
        return CHostStatus::kUnknownUnit;
    }
    // Lengths are kept in centimetres: one metre is 100 internal units.
    double toInternal = std::pow(100.0, dimension.Exponent(CDimension::kLength) /
                                            static_cast<double>(CDimension::kWhole));
    unit->dimension = dimension;
    unit->scale = scale * toInternal;
    unit->offset = offset * toInternal;
    unit->none = false;
    return 0;
}

void CUnitSystem::ClearCache() {
    std::unique_lock<std::shared_mutex> lock(m_cacheMutex);
    m_cache.clear();
}

size_t CUnitSystem::CacheSize() const {
    std::shared_lock<std::shared_mutex> lock(m_cacheMutex);
    return m_cache.size();
}

void CUnitSystem::SetCacheCapacity(size_t capacity) {
    std::unique_lock<std::shared_mutex> lock(m_cacheMutex);
    m_cacheCapacity = capacity;
    if (m_cache.size() > capacity) {
        m_cache.clear();
    }
}

} // namespace torvex

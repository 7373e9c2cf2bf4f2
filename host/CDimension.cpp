#include "host/CDimension.h"

#include <cmath>
#include <cstdlib>

namespace torvex {

CDimension CDimension::Of(Base base, int32_t power) {
    CDimension dimension;
    if (base >= 0 && base < kCount && std::abs(power) <= kLimit / kWhole) {
        dimension.m_exponents[base] = power * kWhole;
    }
    return dimension;
}

bool CDimension::IsPlain() const {
    for (int32_t exponent : m_exponents) {
        if (exponent != 0) {
            return false;
        }
    }
    return true;
}

int32_t CDimension::Exponent(int base) const {
    return base >= 0 && base < kCount ? m_exponents[base] : 0;
}

bool CDimension::IsWhole() const {
    for (int32_t exponent : m_exponents) {
        if (exponent % kWhole != 0) {
            return false;
        }
    }
    return true;
}

bool CDimension::Multiply(const CDimension& other, CDimension* result) const {
    CDimension product;
    for (int i = 0; i < kCount; ++i) {
        int32_t sum = m_exponents[i] + other.m_exponents[i];
        if (std::abs(sum) > kLimit) {
            return false;
        }
        product.m_exponents[i] = sum;
    }
    *result = product;
    return true;
}

bool CDimension::Divide(const CDimension& other, CDimension* result) const {
    CDimension quotient;
    for (int i = 0; i < kCount; ++i) {
        int32_t difference = m_exponents[i] - other.m_exponents[i];
        if (std::abs(difference) > kLimit) {
            return false;
        }
        quotient.m_exponents[i] = difference;
    }
    *result = quotient;
    return true;
}

bool CDimension::Power(double power, CDimension* result) const {
    if (!std::isfinite(power)) {
        return false;
    }
    CDimension raised;
    for (int i = 0; i < kCount; ++i) {
        double exponent = m_exponents[i] * power;
        double rounded = std::round(exponent);
        if (std::fabs(exponent - rounded) > 1e-9 || std::fabs(rounded) > kLimit) {
            return false;
        }
        raised.m_exponents[i] = static_cast<int32_t>(rounded);
    }
    *result = raised;
    return true;
}

WideString CDimension::InternalUnitName() const {
    static const wchar_t* const kNames[kCount] = {L"cm", L"kg",  L"s",  L"A",
                                                  L"K",  L"mol", L"cd", L"rad"};
    if (!IsWhole()) {
        return WideString();
    }
    WideString name;
    for (int i = 0; i < kCount; ++i) {
        int32_t power = m_exponents[i] / kWhole;
        if (power == 0) {
            continue;
        }
        if (!name.empty()) {
            name += L'.';
        }
        name += kNames[i];
        if (power != 1) {
            name += std::to_wstring(power);
        }
    }
    return name.empty() ? WideString(L"ul") : name;
}

} // namespace torvex

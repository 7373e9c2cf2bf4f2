#pragma once
// The kind of a quantity: exponents of the base quantities length, mass, time, current,
// temperature, amount of substance, luminous intensity and plane angle. Exponents are kept in
// twelfths, so square and other simple roots stay exact integers.

#include "torvex/platform/WideString.h"

#include <array>
#include <cstdint>

namespace torvex {

/// Exponents of the eight base quantities; the zero dimension is a plain number.
class CDimension {
public:
    enum Base { kLength, kMass, kTime, kCurrent, kTemperature, kAmount, kLuminous, kAngle, kCount };
    /// One whole exponent in the stored unit.
    static constexpr int32_t kWhole = 12;
    /// Largest stored exponent magnitude; operations that would pass it fail.
    static constexpr int32_t kLimit = 1000 * kWhole;

    /// The plain number. Never fails.
    CDimension() = default;
    /// A single base quantity to a whole power. Never fails.
    static CDimension Of(Base base, int32_t power = 1);

    /// True for the plain number. Never fails.
    bool IsPlain() const;
    /// Stored exponent (in twelfths) of one base quantity; 0 for an index out of range.
    int32_t Exponent(int base) const;
    /// True when every exponent is a whole number. Never fails.
    bool IsWhole() const;

    /// Product: exponents added; false (result untouched) when an exponent would pass kLimit.
    bool Multiply(const CDimension& other, CDimension* result) const;
    /// Quotient: exponents subtracted; false when an exponent would pass kLimit.
    bool Divide(const CDimension& other, CDimension* result) const;
    /// Power: exponents times `power`; false when an exponent would not be a whole number of
    /// twelfths, would pass kLimit, or power is not finite.
    bool Power(double power, CDimension* result) const;

    /// Name of the internal unit of this kind, such as "cm", "cm2", "cm.kg.s-2", "rad"; "ul" for
    /// the plain number; empty when an exponent is not whole.
    WideString InternalUnitName() const;

    bool operator==(const CDimension& other) const = default;

private:
    std::array<int32_t, kCount> m_exponents{};
};

} // namespace torvex

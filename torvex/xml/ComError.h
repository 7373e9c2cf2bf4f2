#pragma once
// The failure of a DOM call. Most operations of the XML layer catch it and answer false or an
// empty handle; the few that let it through say so in their comment.

#include <cstdint>
#include <stdexcept>

namespace torvex {

/// Status codes the XML layer answers or carries in a ComError (negative means failure).
namespace XmlStatus {
inline constexpr int32_t Ok = 0;
/// Success with nothing found.
inline constexpr int32_t False = 1;
inline constexpr int32_t Fail = static_cast<int32_t>(0x80004005);
inline constexpr int32_t Pointer = static_cast<int32_t>(0x80004003);
inline constexpr int32_t InvalidArg = static_cast<int32_t>(0x80070057);
inline constexpr int32_t OutOfMemory = static_cast<int32_t>(0x8007000E);
/// A text that does not convert to the requested number.
inline constexpr int32_t TypeMismatch = static_cast<int32_t>(0x80020005);
/// A number outside the range of the requested type.
inline constexpr int32_t Overflow = static_cast<int32_t>(0x8002000A);
} // namespace XmlStatus

/// A failed DOM call, carrying its negative status code.
class ComError : public std::runtime_error {
public:
    /// Never fails (a non-negative code is kept as given).
    explicit ComError(int32_t code);
    /// The negative status code of the failure.
    int32_t Code() const noexcept { return code_; }

private:
    int32_t code_;
};

} // namespace torvex

#pragma once
// Status codes of the reference host. Zero is clean success, a positive code success with a
// remark, a negative code failure; every operation of the host answers one of these.

#include <cstdint>

namespace torvex {

/// The host's status codes and their texts.
class CHostStatus {
public:
    static constexpr int32_t kOk = 0;
    /// Success with a remark: an unknown material key was handed back unchanged.
    static constexpr int32_t kPassedThrough = 1;
    /// Success with a remark: a file was loaded but some of its lines were skipped.
    static constexpr int32_t kLinesSkipped = 2;

    /// A required pointer argument was null.
    static constexpr int32_t kNullArgument = -1;
    /// The text is no well-formed expression (or number, or unit).
    static constexpr int32_t kSyntaxError = -2;
    /// A unit word is not known, or not a unit that converts linearly.
    static constexpr int32_t kUnknownUnit = -3;
    /// Quantities of different kinds meet (added, compared, converted), or the result is not of
    /// the kind of the default unit.
    static constexpr int32_t kUnitMismatch = -4;
    /// The result is infinite or not a number (division by zero, sqrt(-1), overflow).
    static constexpr int32_t kNotFinite = -5;
    /// The text is too long, nested too deeply or holds too many numbers.
    static constexpr int32_t kTooComplex = -6;
    /// A name is neither a known function nor a known constant.
    static constexpr int32_t kUnknownName = -7;
    /// A function was given the wrong number of arguments.
    static constexpr int32_t kArgumentCount = -8;
    /// The unit database could not be loaded, so no unit word can be resolved.
    static constexpr int32_t kUnitSystemUnavailable = -9;
    /// The material is in no loaded materials table.
    static constexpr int32_t kUnknownMaterial = -10;
    /// A file could not be read.
    static constexpr int32_t kFileError = -11;
    /// An unexpected failure inside the host (memory exhausted, an error of a library used).
    static constexpr int32_t kInternalError = -12;

    /// English text of a status code, for messages; "unknown status" for a code not listed.
    /// Never fails.
    static const wchar_t* Describe(int32_t status);
};

} // namespace torvex

#pragma once
// The host's side of evaluation: the library parses no arithmetic and knows no units, and asks
// the host through this class. The host derives from it, creates one object with new per family
// and hands it to the CEncapFamily constructor, which takes it over and deletes it.

#include "torvex/platform/WideString.h"

#include <cstdint>

namespace torvex {

class CEncapFamily;

/// Host expression services. Status codes follow the platform convention: negative is failure,
/// 0 clean success, positive success with a remark.
class IEvaluatorProvider {
public:
    /// Back-pointer null. Never fails.
    IEvaluatorProvider() = default;
    /// Copies the back-pointer. Never fails.
    IEvaluatorProvider(const IEvaluatorProvider&) = default;
    /// Copies the back-pointer. Never fails.
    IEvaluatorProvider& operator=(const IEvaluatorProvider&) = default;
    virtual ~IEvaluatorProvider() = default;

    /// Computes the expression; a number without a unit of its own is taken in `unit`; the
    /// result is in the host's internal unit of that kind of quantity. Negative on failure.
    virtual int32_t EvaluateToDouble(const wchar_t* expression, const wchar_t* unit,
                                     double* value) = 0;
    /// Converts the number in `valueText` from one unit to the other ("ul" for none). Negative
    /// on failure.
    virtual int32_t ConvertUnits(const wchar_t* valueText, const wchar_t* fromUnit,
                                 const wchar_t* toUnit, double* value) = 0;
    /// The internal unit of the kind of quantity that `unit` measures ("cm" for a length).
    /// Negative on failure.
    virtual int32_t GetInternalUnit(const wchar_t* unit, WideString* internalUnit) = 0;
    /// Display name of a material's stored key. The library ignores the status.
    virtual int32_t GetMaterialName(const wchar_t* key, WideString* name) = 0;
    /// Reference key of a material's text; `refKey` stays as it was when the host sets nothing.
    /// The library ignores the status.
    virtual int32_t GetMaterialRefKey(const wchar_t* key, WideString* refKey) = 0;

protected:
    /// The family this provider serves; null until the family's construction has ended.
    CEncapFamily* GetEncapFamily() const { return m_family; }

private:
    friend class CEncapFamily;
    /// Called by CEncapFamily only, as the last step of each of its constructors.
    void SetEncapFamily(CEncapFamily* family) { m_family = family; }

    CEncapFamily* m_family = nullptr;
};

} // namespace torvex

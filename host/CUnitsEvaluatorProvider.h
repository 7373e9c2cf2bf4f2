#pragma once
// The reference host's expression services: arithmetic by muparser, units by udunits2, and
// materials from a materials table. See host/README.md for the expression language.
//
// One provider serves one family (the family deletes it). Its calls may come from several
// threads: the provider locks around its own caches, and the unit database is shared by the
// whole process behind one lock.

#include "torvex/evaluation/IEvaluatorProvider.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace torvex {

class CMaterialTable;

/// IEvaluatorProvider on muparser and udunits2. Every failure is a negative status of
/// CHostStatus; no operation throws.
class CUnitsEvaluatorProvider : public IEvaluatorProvider {
public:
    /// A provider without materials (material keys pass through unchanged). Never fails.
    CUnitsEvaluatorProvider();
    /// A provider answering materials from the table, which may be shared; null means none.
    /// Never fails.
    explicit CUnitsEvaluatorProvider(std::shared_ptr<const CMaterialTable> materials);
    ~CUnitsEvaluatorProvider() override;

    CUnitsEvaluatorProvider(const CUnitsEvaluatorProvider&) = delete;
    CUnitsEvaluatorProvider& operator=(const CUnitsEvaluatorProvider&) = delete;

    /// Computes the expression in the internal unit of its kind; a plain number is taken in
    /// `unit` where the rules say so. Fails with kNullArgument, kSyntaxError, kUnknownName,
    /// kArgumentCount, kUnknownUnit, kUnitSystemUnavailable, kUnitMismatch, kNotFinite,
    /// kTooComplex, kInternalError; `*value` is untouched then.
    int32_t EvaluateToDouble(const wchar_t* expression, const wchar_t* unit,
                             double* value) override;
    /// Converts the plain number in `valueText` between units. "ul" (or empty) is no unit: to
    /// or from a plain kind it is the number one, beside any other kind the value passes
    /// unchanged. Fails with kNullArgument, kSyntaxError (no plain number), kUnknownUnit,
    /// kUnitSystemUnavailable, kUnitMismatch (different kinds), kNotFinite.
    int32_t ConvertUnits(const wchar_t* valueText, const wchar_t* fromUnit, const wchar_t* toUnit,
                         double* value) override;
    /// The internal unit of the unit's kind ("cm" for "mm", "rad" for "deg", "cm2.kg.s-2" for
    /// "Nm"), "ul" for "ul", an empty text or a plain kind ("%"). Fails with kNullArgument,
    /// kUnknownUnit, kUnitSystemUnavailable.
    int32_t GetInternalUnit(const wchar_t* unit, WideString* internalUnit) override;
    /// The material's name in the family's language (see SetLanguage). An unknown key is handed
    /// back unchanged with kPassedThrough. Fails with kNullArgument.
    int32_t GetMaterialName(const wchar_t* key, WideString* name) override;
    /// The reference key of the material whose key or name is `key`. Fails with kNullArgument,
    /// kUnknownMaterial (refKey untouched).
    int32_t GetMaterialRefKey(const wchar_t* key, WideString* refKey) override;

    /// Replaces the materials table; null means none. Never fails.
    void SetMaterials(std::shared_ptr<const CMaterialTable> materials);
    /// Decimal separator of expressions and value texts; 0 (the default) follows the family:
    /// its separator when it localizes, else '.'. Never fails.
    void SetDecimalSeparator(wchar_t separator);
    /// Language of material names; null or empty (the default) follows the family's actual
    /// language, and without a family the first name of each material. Never fails.
    void SetLanguage(const wchar_t* language);

    /// Compiled shapes kept (least recently used first out); 0 turns the cache off. Never fails.
    void SetCacheCapacity(size_t capacity);
    /// Number of compiled shapes held. Never fails.
    size_t CacheSize() const;

private:
    struct State;
    wchar_t DecimalSeparator();

    std::unique_ptr<State> m_state;
};

} // namespace torvex

#include "host/CUnitsEvaluatorProvider.h"

#include "host/CExpressionCache.h"
#include "host/CExpressionCompiler.h"
#include "host/CExpressionScanner.h"
#include "host/CHostStatus.h"
#include "host/CMaterialTable.h"
#include "host/CUnitSystem.h"
#include "host/FamilySettings.h"

#include <cmath>
#include <cwchar>
#include <mutex>

namespace torvex {

struct CUnitsEvaluatorProvider::State {
    // Guards every member below: a provider may be called from several threads.
    std::mutex mutex;
    CExpressionScanner scanner;
    CExpressionCache cache;
    std::wstring key;
    std::shared_ptr<const CMaterialTable> materials;
    wchar_t separator = 0;
    WideString language;
};

CUnitsEvaluatorProvider::CUnitsEvaluatorProvider() : m_state(std::make_unique<State>()) {}

CUnitsEvaluatorProvider::CUnitsEvaluatorProvider(std::shared_ptr<const CMaterialTable> materials)
    : m_state(std::make_unique<State>()) {
    m_state->materials = std::move(materials);
}

CUnitsEvaluatorProvider::~CUnitsEvaluatorProvider() = default;

wchar_t CUnitsEvaluatorProvider::DecimalSeparator() {
    {
        std::lock_guard<std::mutex> lock(m_state->mutex);
        if (m_state->separator != 0) {
            return m_state->separator;
        }
    }
    return ReadFamilyDecimalSeparator(GetEncapFamily());
}

int32_t CUnitsEvaluatorProvider::EvaluateToDouble(const wchar_t* expression, const wchar_t* unit,
                                                  double* value) {
    if (!expression || !value) {
        return CHostStatus::kNullArgument;
    }
    try {
        wchar_t separator = DecimalSeparator();
        std::wstring_view unitText = CUnitSystem::Trim(unit ? unit : L"");
        if (unitText.size() > CUnitSystem::kMaxUnitText) {
            return CHostStatus::kUnknownUnit;
        }
        State& state = *m_state;
        std::lock_guard<std::mutex> lock(state.mutex);
        int32_t status = state.scanner.Scan(expression, separator);
        if (status < 0) {
            return status;
        }
        // One compiled form per shape and default unit: the numbers are not part of the key.
        state.key.assign(unitText);
        state.key += L'\x1E';
        state.key += state.scanner.Key();
        CCompiledExpression* shape = state.cache.Find(state.key);
        std::unique_ptr<CCompiledExpression> usedOnce;
        if (!shape) {
            CUnitSystem::Unit defaultUnit;
            status = CUnitSystem::Instance().Resolve(unitText, &defaultUnit);
            std::unique_ptr<CCompiledExpression> compiled =
                status < 0 ? std::make_unique<CCompiledExpression>(status)
                           : CExpressionCompiler::Compile(state.scanner, defaultUnit);
            shape = compiled.get();
            usedOnce = state.cache.Insert(state.key, std::move(compiled));
        }
        return shape->Evaluate(state.scanner.Numbers(), value);
    } catch (...) {
        return CHostStatus::kInternalError;
    }
}

int32_t CUnitsEvaluatorProvider::ConvertUnits(const wchar_t* valueText, const wchar_t* fromUnit,
                                              const wchar_t* toUnit, double* value) {
    if (!valueText || !fromUnit || !toUnit || !value) {
        return CHostStatus::kNullArgument;
    }
    try {
        double number = 0.0;
        if (!CExpressionScanner::ParseNumber(valueText, DecimalSeparator(), &number)) {
            return CHostStatus::kSyntaxError;
        }
        CUnitSystem& units = CUnitSystem::Instance();
        CUnitSystem::Unit from;
        CUnitSystem::Unit to;
        int32_t status = units.Resolve(fromUnit, &from);
        if (status < 0) {
            return status;
        }
        status = units.Resolve(toUnit, &to);
        if (status < 0) {
            return status;
        }
        // The library names the internal unit "cm" whatever the kind it converts to: "cm"
        // towards a unit of another kind is that kind's internal unit (rad, kg, the plain
        // number one for "%", ...).
        if (std::wcscmp(fromUnit, L"cm") == 0 && !to.none && !(from.dimension == to.dimension)) {
            from = CUnitSystem::Unit();
            from.dimension = to.dimension;
        }
        // "ul" is the number one beside a plain kind ("%"), and no conversion beside any other.
        if ((from.none && !to.dimension.IsPlain()) || (to.none && !from.dimension.IsPlain())) {
            *value = number;
            return CHostStatus::kOk;
        }
        if (!(from.dimension == to.dimension)) {
            return CHostStatus::kUnitMismatch;
        }
        double result = (number * from.scale + from.offset - to.offset) / to.scale;
        if (!std::isfinite(result)) {
            return CHostStatus::kNotFinite;
        }
        *value = result;
        return CHostStatus::kOk;
    } catch (...) {
        return CHostStatus::kInternalError;
    }
}

int32_t CUnitsEvaluatorProvider::GetInternalUnit(const wchar_t* unit, WideString* internalUnit) {
    if (!unit || !internalUnit) {
        return CHostStatus::kNullArgument;
    }
    try {
        CUnitSystem::Unit resolved;
        int32_t status = CUnitSystem::Instance().Resolve(unit, &resolved);
        if (status < 0) {
            return status;
        }
        WideString name = resolved.none ? WideString(L"ul") : resolved.dimension.InternalUnitName();
        if (name.empty()) {
            return CHostStatus::kUnknownUnit;
        }
        *internalUnit = std::move(name);
        return CHostStatus::kOk;
    } catch (...) {
        return CHostStatus::kInternalError;
    }
}

int32_t CUnitsEvaluatorProvider::GetMaterialName(const wchar_t* key, WideString* name) {
    if (!key || !name) {
        return CHostStatus::kNullArgument;
    }
    try {
        std::shared_ptr<const CMaterialTable> materials;
        WideString language;
        {
            std::lock_guard<std::mutex> lock(m_state->mutex);
            materials = m_state->materials;
            language = m_state->language;
        }
        if (language.empty()) {
            language = ReadFamilyLanguage(GetEncapFamily());
        }
        if (materials && materials->FindName(key, language, name)) {
            return CHostStatus::kOk;
        }
        *name = key;
        return CHostStatus::kPassedThrough;
    } catch (...) {
        return CHostStatus::kInternalError;
    }
}

int32_t CUnitsEvaluatorProvider::GetMaterialRefKey(const wchar_t* key, WideString* refKey) {
    if (!key || !refKey) {
        return CHostStatus::kNullArgument;
    }
    try {
        std::shared_ptr<const CMaterialTable> materials;
        {
            std::lock_guard<std::mutex> lock(m_state->mutex);
            materials = m_state->materials;
        }
        if (materials && materials->FindRefKey(key, refKey)) {
            return CHostStatus::kOk;
        }
        return CHostStatus::kUnknownMaterial;
    } catch (...) {
        return CHostStatus::kInternalError;
    }
}

void CUnitsEvaluatorProvider::SetMaterials(std::shared_ptr<const CMaterialTable> materials) {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->materials = std::move(materials);
}

void CUnitsEvaluatorProvider::SetDecimalSeparator(wchar_t separator) {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->separator = separator;
}

void CUnitsEvaluatorProvider::SetLanguage(const wchar_t* language) {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->language = language ? language : L"";
}

void CUnitsEvaluatorProvider::SetCacheCapacity(size_t capacity) {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->cache.SetCapacity(capacity);
}

size_t CUnitsEvaluatorProvider::CacheSize() const {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->cache.Size();
}

} // namespace torvex

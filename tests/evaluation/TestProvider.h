#pragma once
// A small host for the evaluation tests: it computes + - * / over numbers that may carry the
// unit words mm, cm, in and ul, keeps lengths in cm internally, refuses unit words it doesn't
// know and mixed dimensions, and records what it was asked. It can be told to throw or to answer
// a positive status.

#include "torvex/evaluation/IEvaluatorProvider.h"
#include "torvex/family/CEncapFamily.h"
#include "torvex/family/CEncapFamilyTable.h"
#include "torvex/platform/NumberText.h"

#include <algorithm>
#include <cwctype>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

namespace torvex::test {

class TestProvider : public IEvaluatorProvider {
public:
    // One call to the host: the operation's name and its text arguments joined by '|'.
    std::vector<WideString> calls;
    // EvaluateToDouble throws for any text that contains this (when not empty).
    WideString throwOn;
    // The status of a successful EvaluateToDouble.
    int32_t successStatus = 0;
    // Called by EvaluateToDouble first, while a cell may be in evaluation (when set).
    std::function<void()> onEvaluate;

    int32_t EvaluateToDouble(const wchar_t* expression, const wchar_t* unit,
                             double* value) override {
        calls.push_back(L"Evaluate(" + WideString(expression) + L"|" + unit + L")");
        if (onEvaluate)
            onEvaluate();
        if (!throwOn.empty() && WideString(expression).find(throwOn) != WideString::npos)
            throw std::runtime_error("host failure");
        const std::optional<Quantity> defaultUnit = UnitOf(unit);
        if (!defaultUnit)
            return -1;
        Parser parser{expression, *defaultUnit};
        const std::optional<Quantity> result = parser.Sum();
        if (!result || !parser.AtEnd())
            return -1;
        *value = parser.InDefaultUnit(*result).value;
        return successStatus;
    }

    int32_t ConvertUnits(const wchar_t* valueText, const wchar_t* fromUnit, const wchar_t* toUnit,
                         double* value) override {
        calls.push_back(L"Convert(" + WideString(valueText) + L"|" + fromUnit + L"|" + toUnit +
                        L")");
        const std::optional<Quantity> from = UnitOf(fromUnit);
        const std::optional<Quantity> to = UnitOf(toUnit);
        Parser parser{valueText, Quantity{1.0, 0, false}};
        const std::optional<double> number = parser.Number();
        if (!from || !to || !number || !parser.AtEnd())
            return -1;
        // "ul" on either side means that no conversion is wanted.
        const bool convert = from->length != 0 && to->length != 0;
        *value = convert ? *number * from->value / to->value : *number;
        return 0;
    }

    int32_t GetInternalUnit(const wchar_t* unit, WideString* internalUnit) override {
        calls.push_back(L"Internal(" + WideString(unit) + L")");
        const std::optional<Quantity> quantity = UnitOf(unit);
        if (!quantity)
            return -1;
        *internalUnit = quantity->length == 0 ? L"ul" : L"cm";
        return 0;
    }

    int32_t GetMaterialName(const wchar_t* key, WideString* name) override {
        calls.push_back(L"Material(" + WideString(key) + L")");
        *name = L"<" + WideString(key) + L">";
        return 0;
    }

    int32_t GetMaterialRefKey(const wchar_t* key, WideString* refKey) override {
        *refKey = L"ref:" + WideString(key);
        return 0;
    }

    // The calls so far that start with the prefix, separated by blanks.
    WideString Log(const WideString& prefix = L"") const {
        WideString log;
        for (const WideString& call : calls)
            if (call.rfind(prefix, 0) == 0)
                log += (log.empty() ? L"" : L" ") + call;
        return log;
    }

private:
    // A value in the internal unit with the power of length it carries; `bare` while it comes
    // from numbers without a unit word only.
    struct Quantity {
        double value;
        int length;
        bool bare;
    };

    // One of a unit word in the internal unit; nothing for a word the host doesn't know.
    static std::optional<Quantity> UnitOf(const WideString& word) {
        if (word.empty() || word == L"ul")
            return Quantity{1.0, 0, false};
        if (word == L"cm" || word == L"mm" || word == L"in")
            return Quantity{word == L"cm" ? 1.0 : word == L"mm" ? 0.1 : 2.54, 1, false};
        return std::nullopt;
    }

    // sum := product (('+'|'-') product)*; product := factor (('*'|'/') factor)*;
    // factor := number [unit word]. Both '.' and ',' are decimal points, so that a family's
    // localized separator reads too. A bare number is taken in the default unit where a length
    // is wanted: added to a length, or as the whole result.
    struct Parser {
        WideString text;
        Quantity defaultUnit;
        size_t at = 0;

        bool AtEnd() {
            while (at < text.size() && text[at] == L' ')
                ++at;
            return at == text.size();
        }
        bool Take(wchar_t c) {
            if (AtEnd() || text[at] != c)
                return false;
            ++at;
            return true;
        }
        Quantity InDefaultUnit(Quantity q) const {
            if (q.bare && q.length == 0 && defaultUnit.length != 0)
                return Quantity{q.value * defaultUnit.value, defaultUnit.length, false};
            return q;
        }
        std::optional<double> Number() {
            std::replace(text.begin(), text.end(), L',', L'.');
            size_t consumed = 0;
            const double value = platform::ParseLeadingDouble(text.c_str() + at, &consumed);
            at += consumed;
            return consumed ? std::optional(value) : std::nullopt;
        }
        std::optional<Quantity> Factor() {
            const std::optional<double> number = Number();
            WideString word;
            while (at < text.size() && std::iswalpha(text[at]))
                word += text[at++];
            const std::optional<Quantity> unit = UnitOf(word);
            if (!number || !unit)
                return std::nullopt;
            return Quantity{*number * unit->value, unit->length, word.empty()};
        }
        std::optional<Quantity> Product() {
            std::optional<Quantity> left = Factor();
            for (bool multiply; left && ((multiply = Take(L'*')) || Take(L'/'));) {
                const std::optional<Quantity> right = Factor();
                if (!right)
                    return std::nullopt;
                left = Quantity{multiply ? left->value * right->value : left->value / right->value,
                                left->length + (multiply ? right->length : -right->length),
                                left->bare && right->bare};
            }
            return left;
        }
        std::optional<Quantity> Sum() {
            std::optional<Quantity> left = Product();
            for (bool add; left && ((add = Take(L'+')) || Take(L'-'));) {
                std::optional<Quantity> right = Product();
                if (!right)
                    return std::nullopt;
                if (left->length != right->length) {
                    left = InDefaultUnit(*left);
                    right = InDefaultUnit(*right);
                }
                if (right->length != left->length)
                    return std::nullopt; // lengths and plain numbers don't add up
                left = Quantity{left->value + (add ? right->value : -right->value), left->length,
                                left->bare && right->bare};
            }
            return left;
        }
    };
};

// A family opened from inline text with a TestProvider; the family owns the provider.
struct TestFamily {
    TestProvider* host = nullptr;
    std::unique_ptr<CEncapFamily> family;

    explicit TestFamily(const WideString& xml, bool localizeDecimalSeparator = false,
                        const WideStringList& strings = {})
        : host(new TestProvider()),
          family(std::make_unique<CEncapFamily>(xml.c_str(), strings, nullptr, host,
                                                localizeDecimalSeparator)) {}
    CEncapFamilyTable& Table() const { return *family->GetEncapFamilyTable(); }
};

// A family document with these Column elements and these Row elements.
inline WideString FamilyXml(const WideString& columns, const WideString& rows) {
    return L"<F><FamilyTable><Columns>" + columns + L"</Columns><Rows>" + rows +
           L"</Rows></FamilyTable></F>";
}

} // namespace torvex::test

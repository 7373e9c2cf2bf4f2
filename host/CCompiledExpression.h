#pragma once
// One expression shape compiled for muparser, with what turns the numbers of a text of that
// shape into the parser's variables: each number is converted into the internal unit of its
// kind (value * scale + offset) and bound to its variable, then the compiled form is run. A
// shape that failed to compile is kept too, with its status, so that a failing text costs the
// compiler once.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace mu {
class Parser;
}

namespace torvex {

/// A compiled expression shape, or the status of a shape that does not compile.
class CCompiledExpression {
public:
    /// Map of one number of the text into the internal unit.
    struct Slot {
        double scale = 1.0;
        double offset = 0.0;
    };

    /// A shape that failed with the given negative status. Never fails.
    explicit CCompiledExpression(int32_t status);
    /// Compiles muparser text whose variables are v0.. (one per slot) and k0.. (the constants).
    /// `finalScale` and `finalOffset` map the parser's result into the internal unit. Status()
    /// is kInternalError when muparser refuses the text.
    CCompiledExpression(const std::string& text, std::vector<Slot> slots,
                        const std::vector<double>& constants, double finalScale,
                        double finalOffset);
    ~CCompiledExpression();

    CCompiledExpression(const CCompiledExpression&) = delete;
    CCompiledExpression& operator=(const CCompiledExpression&) = delete;

    /// 0 for a usable shape, else the negative status of its failure. Never fails.
    int32_t Status() const { return m_status; }
    /// Number of numbers a text of this shape holds. Never fails.
    size_t SlotCount() const { return m_slots.size(); }

    /// Computes the value for the numbers of one text of this shape. Fails with Status() for a
    /// failed shape, kInternalError (wrong number count, muparser error), kNotFinite (result
    /// infinite or NaN); `*value` is set only on success.
    int32_t Evaluate(const std::vector<double>& numbers, double* value);

private:
    int32_t m_status = 0;
    std::unique_ptr<mu::Parser> m_parser;
    std::vector<Slot> m_slots;
    std::unique_ptr<double[]> m_variables;
    double m_finalScale = 1.0;
    double m_finalOffset = 0.0;
};

} // namespace torvex

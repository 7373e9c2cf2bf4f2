#include "host/CCompiledExpression.h"

#include "host/CHostStatus.h"

#include <muParser.h>

#include <cmath>

namespace torvex {

namespace {

// The parser's name of the variable of that letter and index ("v0", "k12"), built by appending:
// "v" + std::to_string(i) draws a false overlap warning from GCC 12 at -O3.
std::string VariableName(char letter, size_t index) {
    std::string name(1, letter);
    name += std::to_string(index);
    return name;
}

double Floor(double value) {
    return std::floor(value);
}
double Ceil(double value) {
    return std::ceil(value);
}
// Halves round away from zero.
double Round(double value) {
    return std::round(value);
}
double Atan2(double y, double x) {
    return std::atan2(y, x);
}

} // namespace

CCompiledExpression::CCompiledExpression(int32_t status) : m_status(status) {}

CCompiledExpression::CCompiledExpression(const std::string& text, std::vector<Slot> slots,
                                         const std::vector<double>& constants, double finalScale,
                                         double finalOffset)
    : m_slots(std::move(slots)), m_finalScale(finalScale), m_finalOffset(finalOffset) {
    const size_t count = m_slots.size() + constants.size();
    m_variables = std::make_unique<double[]>(count == 0 ? 1 : count);
    try {
        m_parser = std::make_unique<mu::Parser>();
        m_parser->DefineFun("hfloor", Floor);
        m_parser->DefineFun("hceil", Ceil);
        m_parser->DefineFun("hround", Round);
        m_parser->DefineFun("hatan2", Atan2);
        for (size_t i = 0; i < m_slots.size(); ++i) {
            m_parser->DefineVar(VariableName('v', i), &m_variables[i]);
        }
        for (size_t i = 0; i < constants.size(); ++i) {
            m_variables[m_slots.size() + i] = constants[i];
            m_parser->DefineVar(VariableName('k', i), &m_variables[m_slots.size() + i]);
        }
        m_parser->SetExpr(text);
    } catch (...) {
        m_parser.reset();
        m_status = CHostStatus::kInternalError;
    }
}

CCompiledExpression::~CCompiledExpression() = default;

int32_t CCompiledExpression::Evaluate(const std::vector<double>& numbers, double* value) {
    if (m_status < 0) {
        return m_status;
    }
    if (!m_parser || numbers.size() != m_slots.size()) {
        return CHostStatus::kInternalError;
    }
    for (size_t i = 0; i < m_slots.size(); ++i) {
        m_variables[i] = numbers[i] * m_slots[i].scale + m_slots[i].offset;
    }
    double result = 0.0;
    try {
        result = m_parser->Eval();
    } catch (...) {
        return CHostStatus::kInternalError;
    }
    result = result * m_finalScale + m_finalOffset;
    if (!std::isfinite(result)) {
        return CHostStatus::kNotFinite;
    }
    *value = result;
    return 0;
}

} // namespace torvex

#pragma once
// Compiles a scanned expression against its default unit: parses it, checks the kinds of
// quantity (dimension analysis) and hands muparser a text in which every number is a variable.
//
// Grammar (lowest precedence first):
//   expression = term { ('+' | '-') term }
//   term       = unary { ('*' | '/') unary }
//   unary      = ('-' | '+') unary | power
//   power      = primary [ '^' unary ]            (right-associative; -2^2 is -4)
//   primary    = number | "pi" | name '(' expression { separator expression } ')'
//              | '(' expression ')'
//
// Kinds of quantity:
// - A number with a unit word has that unit's kind; a number without one is a plain number.
// - '+', '-', min, max and atan2 need operands of one kind. A plain operand beside an operand of
//   the default unit's kind is taken in the default unit ("3in+2" with default "mm" is
//   3in + 2mm); any other mix fails with kUnitMismatch.
// - '*' and '/' combine kinds; '^' needs a plain exponent, and a number written directly after
//   '^' when the base has a kind ("3mm^2").
// - sqrt halves the exponents; abs, floor, ceil, round keep the kind (rounding works on the
//   internal unit's value); sin, cos, tan take an angle or a plain number, which is taken in
//   the default unit when that is an angle and in radians otherwise, and give a plain number;
//   asin, acos, atan, atan2 give an angle; exp, ln, log10 take and give plain numbers.
// - The result must have the default unit's kind. A plain result is taken in the default unit.
//   With no default unit ("ul" or empty) no number takes a unit and the result must be plain
//   or an angle (in radians): "3mm*2" fails there, so that the library falls back to the text
//   without units and marks the value as a unit mismatch.

#include "host/CCompiledExpression.h"
#include "host/CExpressionScanner.h"
#include "host/CUnitSystem.h"

#include <memory>

namespace torvex {

/// Turns scanned texts into compiled shapes; static only.
class CExpressionCompiler {
public:
    /// Deepest nesting of parentheses, signs and calls (each parenthesis counts twice).
    static constexpr int kMaxDepth = 200;
    /// Largest height of the expression tree (long chains of '+' count too).
    static constexpr int kMaxHeight = 512;

    /// Compiles the scanner's tokens. Never null; a failure is kept in the result's Status():
    /// kSyntaxError, kUnknownName, kArgumentCount, kUnknownUnit, kUnitSystemUnavailable,
    /// kUnitMismatch, kTooComplex, kInternalError.
    static std::unique_ptr<CCompiledExpression> Compile(const CExpressionScanner& scanner,
                                                        const CUnitSystem::Unit& defaultUnit);
};

} // namespace torvex

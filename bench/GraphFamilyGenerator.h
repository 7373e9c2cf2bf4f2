#pragma once
// Deterministic families of one row and many columns whose column formulas form a given shape
// of dependency graph, for the graph benchmarks and for trying the command-line tool on them
// (`torvex_bench --write-graph-family=chain:50000 FILE`).
//
// Every family has one row, `r1`, and N columns `c0` ... `c<N-1>`, Real in mm. Document order is
// the order in which a host reading the table evaluates, and it starts where the evaluation goes
// deepest: the first column read is at the top of the graph, so that reading it evaluates the
// whole graph beneath it before anything is cached.
//
//   chain     c<i> = {c<i+1>}+1mm; the last column is a Cell "1" (c0 ends at N)
//   fan-out   c<i> = {c<N-1>}*2 for every i < N-1; the last column is a Cell "1": one column with
//             N-1 dependents
//   diamond   a lattice of levels of kDiamondWidth columns; column j of a level is
//             ({j of the next level}+{j+1 of the next level, wrapping})/2, the last level
//             is Cells "1": every column depends on two, and any column on a path count that grows
//             exponentially with the levels beneath it
//   cycle     c<i> = {c<i+1>}+1mm and the last column = {c0}+1mm: one loop through every column
//             (opens; every cell evaluates to 1, EvalCircularDependency)

#include "torvex/platform/WideString.h"

#include <cstddef>
#include <string>

namespace torvex::bench {

enum class GraphShape { Chain, FanOut, Diamond, Cycle };

/// Columns of one level of the diamond lattice.
inline constexpr size_t kDiamondWidth = 4;

/// One generated graph family.
struct GraphFamily {
    GraphShape shape = GraphShape::Chain;
    size_t columns = 0;
    std::wstring familyXml;
    /// The value every cell of column c0 evaluates to ("" for the cycle).
    std::wstring firstValue;
};

/// "chain", "fan-out", "diamond", "cycle".
const char* GraphShapeName(GraphShape shape);
/// The shape of one of the names above; false for any other text.
bool ParseGraphShape(const std::string& name, GraphShape& shape);

/// The family of that shape with `columns` columns (at least 2; fewer are made 2). The same
/// arguments always give the same text. Never fails.
GraphFamily GenerateGraphFamily(GraphShape shape, size_t columns);

} // namespace torvex::bench

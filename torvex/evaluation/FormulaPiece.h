#pragma once
// One piece of a formula or cell text: a literal, or a reference to a column written {id}.

#include "torvex/platform/WideString.h"

#include <vector>

namespace torvex {

/// A plain record; copyable.
struct FormulaPiece {
    /// True for a column reference, false for a literal.
    bool isReference = false;
    /// The column id (trimmed) of a reference, or the literal text as written.
    WideString text;

    /// Member-wise comparison; never fails.
    bool operator==(const FormulaPiece& other) const = default;
};

/// The pieces of one text, in text order.
using FormulaPieceList = std::vector<FormulaPiece>;

} // namespace torvex

#pragma once
// The two names of a column's data type (the word stored in documents and the word shown to
// users) and the enumerations shared by every caller of the evaluation.

#include "torvex/platform/WideString.h"

namespace torvex {

/// Static-only; no state. Nothing here fails: an unknown text gives DataString, an unknown
/// number an empty text.
class DataTypes {
public:
    /// A column's data type; the value is the index of its text in both vocabularies.
    enum ColumnDataType : int {
        DataString = 0,
        DataReal = 1,
        DataInteger = 2,
        DataBoolean = 3,
    };

    /// What a formula text is; starts at 100 so that it never reads as a data type.
    enum ColumnFormulaType : int {
        FormulaRange = 100,
        FormulaExpression = 101,
        FormulaMaterial = 102,
    };

    /// New list of the texts shown to users ("String", "Real", "Integer", "Boolean"), owned and
    /// deleted by the caller; never null.
    static WideStringList* GetItems();
    /// New list of the texts stored in documents ("string", "double", "integer", "boolean"),
    /// owned and deleted by the caller; never null.
    static WideStringList* GetTypes();
    /// Type of a stored text, compared ignoring case; DataString when nothing matches.
    static ColumnDataType DataTypeStr2Num(const WideString& type);
    /// Type of a shown text, compared exactly; DataString when nothing matches.
    static ColumnDataType ItemTypeStr2Num(const WideString& item);
    /// Stored text of a type; empty for a value outside 0..3 (negative values included).
    static WideString DataTypeNum2Str(ColumnDataType type);
    /// Shown text of a type; empty for a value outside 0..3 (negative values included).
    static WideString ItemTypeNum2Str(ColumnDataType type);
};

} // namespace torvex

#pragma once
// Quoting for the machine-readable outputs.

#include <string>

namespace torvex::cli {

/// A CSV field (RFC 4180): quoted when it holds a comma, quote, CR or LF; quotes doubled.
std::string CsvField(const std::string& text);
/// A JSON string literal with its quotes; control characters escaped, UTF-8 passed through.
std::string JsonString(const std::string& text);
/// A Graphviz DOT quoted string with its quotes.
std::string DotString(const std::string& text);

} // namespace torvex::cli

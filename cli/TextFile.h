#pragma once
// Reading documents from disk for the command line: the library takes wide text, files hold
// UTF-8 (with or without a byte order mark) or UTF-16 with a byte order mark.

#include <string>

namespace torvex::cli {

/// Decodes document bytes: a UTF-16LE/BE or UTF-8 byte order mark decides, UTF-16LE without a
/// mark is recognised by a leading '<' followed by a zero byte, anything else is UTF-8.
std::wstring DecodeDocument(const std::string& bytes);

/// Reads and decodes a file; false with a message in `error` when it cannot be read.
bool ReadDocument(const std::string& path, std::wstring& text, std::string& error);

} // namespace torvex::cli

#pragma once
// File-system helpers. Paths accept both '\' and '/' as separators; paths built here use '/'.

#include <cstdint>
#include <string>
#include <vector>

namespace torvex::platform {

/// The path with every '\' turned into '/'.
std::wstring NormalizePath(const std::wstring& path);
/// UTF-8 bytes of the normalised path, for the system's file calls.
std::string NativePath(const std::wstring& path);
/// The system's temporary directory (TMPDIR, else /tmp), ending in '/'.
std::wstring TempDirectory();
/// True when something exists at the path.
bool PathExists(const std::wstring& path);
/// Removes a file; false when it could not be removed (also when it did not exist).
bool DeleteFile(const std::wstring& path);
/// Whole content of a file; false when it cannot be read.
bool ReadFileBytes(const std::wstring& path, std::string& out);
/// Writes the bytes, creating or truncating the file; false on any failure.
bool WriteFileBytes(const std::wstring& path, const std::string& bytes);
/// Writes the bytes to a new file beside `path`, flushes it to the disk and renames it over
/// `path`, so that the path names either the old file whole or the new one whole. False on any
/// failure, and then `path` is as it was and no new file is left behind.
bool ReplaceFileBytes(const std::wstring& path, const std::string& bytes);

} // namespace torvex::platform

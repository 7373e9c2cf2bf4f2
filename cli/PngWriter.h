#pragma once
// Writing a decoded icon as a PNG file through libpng (the tool only; the library does not use
// libpng).

#include <cstdint>
#include <string>
#include <vector>

namespace torvex::cli {

/// Writes width x height pixels given as BGRA rows from the top down as an 8-bit RGBA PNG file;
/// false with a message in `error` on failure.
bool WritePng(const std::string& path, uint32_t width, uint32_t height,
              const std::vector<uint8_t>& bgra, std::string& error);

} // namespace torvex::cli

#pragma once
// Pictures a family shows (its thumbnail and its icons) read from ICO, BMP or PNG files, and
// written as PNG files for pages.

#include "torvex/icons/IconPicture.h"

#include <string>
#include <vector>

namespace torvex::cli {

class PictureFile {
public:
    /// The images of the file, by its first bytes: every image of an ICO file, the one of a BMP
    /// file, a PNG file as it is. False with a one-line message in `error` when the file can't
    /// be read, is none of these, or holds no image that can be decoded.
    static bool Read(const std::string& path, std::vector<HICON>& pictures, std::string& error);
    /// Writes the picture as a PNG file (one stored as PNG as it is), beside the target first and
    /// then renamed over it; false with a message in `error`.
    static bool WritePng(const IconPicture& picture, const std::string& path, std::string& error);
};

} // namespace torvex::cli

#include "PngWriter.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace torvex::cli {

namespace {

// libpng reports errors by longjmp; the message is kept for the caller.
void OnError(png_structp png, png_const_charp message) {
    auto* error = static_cast<std::string*>(png_get_error_ptr(png));
    if (error)
        *error = message;
    png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

} // namespace

bool WritePng(const std::string& path, uint32_t width, uint32_t height,
              const std::vector<uint8_t>& bgra, std::string& error) {
    if (width == 0 || height == 0 || bgra.size() != size_t(width) * height * 4) {
        error = "no pixels to write";
        return false;
    }
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) {
        error = "cannot write " + path + ": " + std::strerror(errno);
        return false;
    }
    std::string pngError;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &pngError, OnError, OnWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!png || !info) {
        png_destroy_write_struct(&png, nullptr);
        std::fclose(file);
        error = "cannot start libpng";
        return false;
    }
    std::vector<uint8_t> row(size_t(width) * 4);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        error = "cannot write " + path + ": " + pngError;
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* in = bgra.data() + size_t(y) * width * 4;
        for (uint32_t x = 0; x < width; ++x) {
            row[4 * x] = in[4 * x + 2];
            row[4 * x + 1] = in[4 * x + 1];
            row[4 * x + 2] = in[4 * x];
            row[4 * x + 3] = in[4 * x + 3];
        }
        png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (std::fclose(file) != 0) {
        error = "cannot write " + path + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

} // namespace torvex::cli

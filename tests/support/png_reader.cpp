#include "support/png_reader.h"

#include <png.h>

#include <cstdio>

namespace kvx_test {

namespace {

// libpng leaves by longjmp() when it fails: everything with a destructor belongs to the caller.
bool ReadInto(std::FILE* file, png_structp png, png_infop info, PngContents* contents) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_init_io(png, file);
    png_read_info(png, info);
    contents->width = static_cast<int>(png_get_image_width(png, info));
    contents->height = static_cast<int>(png_get_image_height(png, info));
    contents->depth = png_get_bit_depth(png, info);
    contents->channels = png_get_channels(png, info);
    int unit = 0;
    contents->hasAspect = png_get_pHYs(png, info, &contents->pixelsAcross, &contents->pixelsDown,
                                       &unit) == PNG_INFO_pHYs;
    const size_t rowBytes = png_get_rowbytes(png, info);
    contents->samples.resize(rowBytes * static_cast<size_t>(contents->height));
    for (size_t row = 0; row < static_cast<size_t>(contents->height); ++row) {
        png_read_row(png, contents->samples.data() + row * rowBytes, nullptr);
    }
    png_read_end(png, nullptr);
    return true;
}

}  // namespace

PngContents ReadPng(const std::string& path) {
    PngContents contents;
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return contents;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (!ReadInto(file, png, info, &contents)) {
        contents = {};
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return contents;
}

}  // namespace kvx_test

#include "cli/picture/png_file.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstddef>
#include <cstdio>

namespace kvx_cli {

namespace {

// Frames are many and looked at once: the fastest compression.
constexpr int kCompression = 1;

// libpng leaves by longjmp() when it fails, past this function's own variables: there are none with
// a destructor, nor any that change after setjmp().
bool WriteInto(std::FILE* file, png_structp png, png_infop info, const Picture& picture,
               PixelAspect aspect) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_init_io(png, file);
    png_set_compression_level(png, kCompression);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), picture.depth, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (aspect.width != aspect.height) {
        // Pixels for each unit of length: the wider a pixel, the fewer.
        png_set_pHYs(png, info, aspect.height, aspect.width, PNG_RESOLUTION_UNKNOWN);
    }
    png_write_info(png, info);
    const size_t rowBytes = png_get_rowbytes(png, info);
    for (size_t row = 0; row < static_cast<size_t>(picture.height); ++row) {
        png_write_row(png, picture.bytes.data() + row * rowBytes);
    }
    png_write_end(png, info);
    return true;
}

void IgnoreMessage(png_structp, png_const_charp) {}

void LeaveByError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

bool WriteAll(std::FILE* file, const Picture& picture, PixelAspect aspect) {
    png_structp png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, LeaveByError, IgnoreMessage);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    const bool written = info != nullptr && WriteInto(file, png, info, picture, aspect);
    png_destroy_write_struct(&png, &info);
    return written;
}

}  // namespace

Problem WritePng(OutputFile& file, const Picture& picture, PixelAspect aspect) {
    errno = 0;
    return WriteAll(file.Stream(), picture, aspect) ? file.Finish() : file.Failure();
}

}  // namespace kvx_cli

#ifndef PNGFILE_H
#define PNGFILE_H

/// PNG files as libpng reads them.

#include <gtest/gtest.h>
#include <png.h>

#include <cstdint>
#include <string>
#include <vector>

namespace pngfile
{

struct Png {
    int width = 0;
    int height = 0;
    bool hasAlpha = false;            // in the file
    std::vector<std::uint8_t> pixels; // top row first, in the format asked for
};

/// An empty picture and a failure when `file` is none. `format` is of png_image.
inline Png read(const std::string &file, png_uint_32 format)
{
    Png png;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) {
        ADD_FAILURE() << "no PNG file: " << image.message;
        return png;
    }
    png.width = static_cast<int>(image.width);
    png.height = static_cast<int>(image.height);
    png.hasAlpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    image.format = format;
    png.pixels.resize(PNG_IMAGE_SIZE(image));
    EXPECT_TRUE(png_image_finish_read(&image, nullptr, png.pixels.data(), 0, nullptr))
        << image.message;
    EXPECT_EQ(image.warning_or_error, 0u) << image.message;
    return png;
}

} // namespace pngfile

#endif

#include "Png.h"

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace vframe_test {
namespace {

/// Writes one row with libpng's long form: the short one takes 16-bit values for linear light.
void WriteGreyRow(const std::string& inPath, int inBits, std::size_t inWidth,
                  const std::uint8_t* inRow) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(inPath.c_str(), "wb"),
                                                               std::fclose);
    ASSERT_TRUE(file);
    png_struct* writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_info* info = png_create_info_struct(writer);
    png_init_io(writer, file.get());
    png_set_IHDR(writer, info, static_cast<png_uint_32>(inWidth), 1, inBits, PNG_COLOR_TYPE_GRAY,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(writer, info);
    png_write_row(writer, inRow);
    png_write_end(writer, info);
    png_destroy_write_struct(&writer, &info);
}

}  // namespace

Picture ReadPng(const std::string& inPath) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_file(&image, inPath.c_str()), 0) << inPath;
    Picture picture{static_cast<int>(image.width),
                    static_cast<int>(image.height),
                    (image.format & PNG_FORMAT_FLAG_ALPHA) != 0,
                    {}};
    image.format = PNG_FORMAT_RGBA;
    picture.pixels.resize(std::size_t{image.width} * image.height);
    EXPECT_NE(png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr), 0);
    return picture;
}

void WritePng(const std::string& inPath, const Picture& inPicture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(inPicture.width);
    image.height = static_cast<png_uint_32>(inPicture.height);
    image.format = PNG_FORMAT_RGBA;
    ASSERT_NE(
        png_image_write_to_file(&image, inPath.c_str(), 0, inPicture.pixels.data(), 0, nullptr), 0);
}

void WriteGreyPng(const std::string& inPath, const std::vector<std::uint8_t>& inValues) {
    WriteGreyRow(inPath, 8, inValues.size(), inValues.data());
}

void WriteGreyPng(const std::string& inPath, const std::vector<std::uint16_t>& inValues) {
    std::vector<std::uint8_t> bytes;  // PNG's order: the high byte first
    for (const std::uint16_t value : inValues) {
        bytes.push_back(static_cast<std::uint8_t>(value >> 8));
        bytes.push_back(static_cast<std::uint8_t>(value & 0xFF));
    }
    WriteGreyRow(inPath, 16, inValues.size(), bytes.data());
}

Picture MakeGradient(int inWidth, int inHeight) {
    Picture picture{inWidth, inHeight, false, {}};
    for (int y = 0; y < inHeight; ++y) {
        for (int x = 0; x < inWidth; ++x) {
            picture.pixels.push_back({static_cast<std::uint8_t>(20 + 200 * x / inWidth),
                                      static_cast<std::uint8_t>(40 + 180 * y / inHeight),
                                      static_cast<std::uint8_t>(200 - 150 * x / inWidth), 255});
        }
    }
    return picture;
}

int LargestDifference(const Picture& inLeft, const Picture& inRight) {
    EXPECT_EQ(inLeft.width, inRight.width);
    EXPECT_EQ(inLeft.height, inRight.height);
    int largest = 0;
    for (std::size_t i = 0; i < std::min(inLeft.pixels.size(), inRight.pixels.size()); ++i) {
        for (std::size_t c = 0; c < 4; ++c)
            largest = std::max(largest, std::abs(inLeft.pixels[i][c] - inRight.pixels[i][c]));
    }
    return largest;
}

}  // namespace vframe_test

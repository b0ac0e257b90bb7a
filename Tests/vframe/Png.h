// PNG files by another library than the program's, so that a mistake does not undo itself.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vframe_test {

using Rgba = std::array<std::uint8_t, 4>;

/// A picture, top row first, of straight alpha.
struct Picture {
    int width = 0;
    int height = 0;
    bool hasAlpha = false;  ///< whether the file holds alpha
    std::vector<Rgba> pixels;

    Rgba At(int inX, int inY) const {
        return pixels[static_cast<std::size_t>(inY) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(inX)];
    }
};

Picture ReadPng(const std::string& inPath);
void WritePng(const std::string& inPath, const Picture& inPicture);
/// One row of grey values, of 8 or 16 bits.
void WriteGreyPng(const std::string& inPath, const std::vector<std::uint8_t>& inValues);
void WriteGreyPng(const std::string& inPath, const std::vector<std::uint16_t>& inValues);

/// A picture that is smooth, unlike itself turned or mirrored, and opaque.
Picture MakeGradient(int inWidth, int inHeight);

/// The largest difference of any component; the sizes must be equal.
int LargestDifference(const Picture& inLeft, const Picture& inRight);

}  // namespace vframe_test

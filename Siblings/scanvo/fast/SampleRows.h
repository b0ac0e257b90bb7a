// Rows of pixels taken from places anywhere in a 4:4:4:4 picture, and laid over others.
#pragma once

#include <cstddef>
#include <cstdint>

#include "formats/Picture.h"

namespace scanvo {

/// Where the pixels of a row come from: pixel i from the place ((x + i * stepX) / w, (y + i *
/// stepY) / w) of a picture, w being the greater of w + i * stepW and leastW, which is positive.
struct MapLine {
    double x, y, w;
    double stepX, stepY, stepW;
    double leastW;
};

/// Writes inCount pixels of the picture's format. Places outside the picture count for the nearest
/// place inside.
using SampleRow = void (*)(const Source& inPicture, const MapLine& inLine, std::int32_t inCount,
                           std::byte* outPixels);

/// Between four pixels the sample is bilinear; straight colour counts by its alpha.
SampleRow FindSampleRow(const Source& inPicture, bool inIsNearest);

/// Mixes pixels over a row: each counts by its amount, 0 to 1, and what is there by the rest;
/// straight colour by its alpha, too.
using LayPixels = void (*)(const Format& inFormat, const std::byte* inPixels,
                           const float* inAmounts, std::int32_t inCount, std::byte* ioRow);

LayPixels FindLayPixels(const Format& inFormat);

}  // namespace scanvo

// Run-length-encoded bitmaps of 8 bits a pixel (BI_RLE8).
#pragma once

#include <cstdint>
#include <limits>

#include "contracts/Win32.h"

namespace VF {

/// Where the encoded data lies. A length that nobody knows is the largest one.
struct RleData {
    const std::uint8_t* start;
    std::size_t size = std::numeric_limits<std::size_t>::max();
};

/// Where decoded lines go.
struct RleOutput {
    /// As the header has it: the low 16 bits of its width, the size of its height, lines of whole
    /// 32-bit words.
    RleOutput(const BITMAPINFOHEADER& inHeader, std::uint8_t* outPixels);

    /// The lines that fit that many bytes.
    void LimitTo(std::size_t inBytes);

    std::uint8_t* pixels;
    std::int64_t width;
    std::int64_t height;
    std::int64_t stride;
};

/// Decodes until the end mark, the end of the data, or whatever would write outside of the output.
void ExpandRle8(RleData inData, const RleOutput& outLines);

}  // namespace VF

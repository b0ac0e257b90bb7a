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
    /// 32-bit words as far as 16 bits tell them.
    RleOutput(const BITMAPINFOHEADER& inHeader, std::uint8_t* outPixels);

    /// What fits that many bytes.
    void LimitTo(std::size_t inBytes);

    std::uint8_t* pixels;
    std::int64_t width;
    std::int64_t stride;
    std::int64_t size;  ///< bytes of all lines
};

/// Decodes until the end mark or the end of the data. What lies outside of the picture is passed
/// over but not written.
void ExpandRle8(RleData inData, const RleOutput& outLines);

}  // namespace VF

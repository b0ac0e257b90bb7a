// What the parts of quantisation share.
#pragma once

#include <cstdint>

#include "contracts/Win32.h"
#include "raster/PixelLoops.h"

namespace VF {

constexpr std::int32_t kCellsOfAxis = 32;
constexpr std::size_t kCells = 32768;

/// The cell of 8-bit components.
inline std::uint32_t CellOf(std::uint32_t inRed, std::uint32_t inGreen, std::uint32_t inBlue) {
    return inRed >> 3 << 10 | inGreen >> 3 << 5 | inBlue >> 3;
}

/// The histogram that functions without one use; null until there is one.
std::uint32_t* CurrentHistogram();

/// Goes over the lines of a picture. What is passed over at the end of one is a 16-bit number.
class LineWalk {
  public:
    LineWalk(std::uint32_t inStride, std::int64_t inBytesRead)
        : step_(inBytesRead +
                static_cast<std::uint16_t>(inStride - static_cast<std::uint32_t>(inBytesRead))) {}

    std::int64_t Step() const { return step_; }

  private:
    std::int64_t step_;
};

/// Bits of a DIB behind its header and a colour table of that many entries.
inline const std::uint8_t* BitsBehind(const BITMAPINFOHEADER& inHeader, std::uint32_t inColours) {
    return AsBytes(static_cast<const void*>(&inHeader)) + inHeader.biSize +
           std::size_t{4} * inColours;
}

}  // namespace VF

// Two pictures brought together pixel by pixel.
#pragma once

#include <cstdint>
#include <functional>

#include "formats/Picture.h"

namespace scanvo {

/// Writes 0xFF for every pixel of a memory row that is to be taken from the first picture, 0 for
/// the others, and may write up to seven bytes more.
using MaskOfRow = std::function<void(std::int32_t inMemoryRow, std::uint8_t* outPixels)>;

/// All pictures are of one size. Rows are counted as those of the destination lie in memory. The
/// chroma of pixels that share it goes with the first of them: the left one, of the upper row. The
/// output may be an input of its format.
void SelectPixels(const Source& inFirst, const Source& inSecond, const MaskOfRow& inMask,
                  const Destination& outDestination);

}  // namespace scanvo

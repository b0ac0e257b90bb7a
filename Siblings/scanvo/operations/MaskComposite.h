// Two pictures brought together under a mask of one bit for each pixel.
#pragma once

#include "formats/Picture.h"

namespace scanvo {

/// Bits are most significant first. Row 0 begins firstBit (0 to 7) bits after start.
struct BitMask {
    const std::byte* start = nullptr;
    std::int64_t rowBytes = 0;
    std::int32_t firstBit = 0;
};

/// Takes the first picture where the mask is set, as SelectPixels does.
void CompositeByMask(const Source& inFirst, const Source& inSecond, const BitMask& inMask,
                     const Destination& outDestination);

}  // namespace scanvo

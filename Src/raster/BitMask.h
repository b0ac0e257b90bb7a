// Masks of one bit a pixel: most significant bit first, lines of whole 16-bit words, top line
// first.
#pragma once

#include <cstdint>
#include <memory>

#include "contracts/Hoardex.h"
#include "contracts/Win32.h"

namespace VF {

/// Bytes of a line; the width must be positive.
inline std::int64_t MaskLineBytes(std::int32_t inWidth) {
    return 2 * ((std::int64_t{inWidth} - 1) / 16 + 1);
}

struct DisposeBlock {
    void operator()(void* inBlock) const { TvDisposePtr(inBlock); }
};

using MaskBlock = std::unique_ptr<std::uint8_t, DisposeBlock>;

/// The pixels of a region that are inside inWidth by inHeight; null when there is no memory.
MaskBlock MakeRegionMask(HRGN inRegion, std::int32_t inWidth, std::int32_t inHeight);

}  // namespace VF

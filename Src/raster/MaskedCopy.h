// Copies of 32-bit pixels through masks.
#pragma once

#include <array>
#include <cstdint>

namespace VF {

/// What a byte of a source and of a destination add to their mixture.
class BlendTable {
  public:
    /// inOpacity from 0 to 255 of the source; products are divided by 255 after inRounding is
    /// added.
    BlendTable(std::uint32_t inOpacity, std::uint32_t inRounding);

    std::uint8_t Mixed(std::uint8_t inSource, std::uint8_t inDestination) const {
        return static_cast<std::uint8_t>(ofSource_[inSource] + ofDestination_[inDestination]);
    }

  private:
    std::array<std::uint8_t, 256> ofSource_;
    std::array<std::uint8_t, 256> ofDestination_;
};

/// A line of a mask: the bit of the first pixel is inBit (0 to 7, from the most significant) bits
/// after the place.
struct MaskBits {
    const std::uint8_t* place;
    std::int64_t lineBytes;  ///< to the line of the next picture line; may be negative
    std::int32_t bit;
};

struct PixelLines {
    std::uint8_t* start;
    std::int64_t stride;
};

/// Copies the pixels whose bit is set.
void CopyThroughBits(const PixelLines& inSource, const PixelLines& ioDestination,
                     std::int32_t inWidth, std::int32_t inHeight, const MaskBits& inMask);

/// Mixes them.
void BlendThroughBits(const PixelLines& inSource, const PixelLines& ioDestination,
                      std::int32_t inWidth, std::int32_t inHeight, const MaskBits& inMask,
                      const BlendTable& inTable);

}  // namespace VF

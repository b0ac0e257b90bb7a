// Lengths in whole pixels.
#pragma once

#include <cstdint>
#include <limits>

namespace VF {

/// The length rounded down; 0 for a negative one or none, the largest number for a larger one.
inline std::uint32_t WholePixels(double inLength) {
    constexpr double kLargest = std::numeric_limits<std::uint32_t>::max();
    if (!(inLength > 0)) return 0;
    return static_cast<std::uint32_t>(inLength < kLargest ? inLength : kLargest);
}

}  // namespace VF

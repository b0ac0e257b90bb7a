// Frames whose pixels tell where they come from, in display coordinates.
#pragma once

#include "support/Canvas.h"
#include "support/Contracts.h"

namespace manipulators_test {

using namespace support;
using namespace VF::VideoFrameManipulators;
using tulomediatypes::PixelFormat;

constexpr const char* kFile = "VideoFrameManipulators";
constexpr PixelFormat kPlanar =
    tulomediatypes::kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601;

/// Every row and column differs from its neighbours.
inline Pixel PatternAt(std::int32_t inX, std::int32_t inY) {
    return {static_cast<std::uint8_t>(3 * inX + 1), static_cast<std::uint8_t>(5 * inY + 2),
            static_cast<std::uint8_t>(inX + 11 * inY), 255};
}

inline Canvas PaintPattern(std::int32_t inWidth, std::int32_t inHeight) {
    return Paint(inWidth, inHeight, PatternAt);
}

inline Canvas PaintPlain(std::int32_t inWidth, std::int32_t inHeight) {
    return Paint(inWidth, inHeight, [](std::int32_t, std::int32_t) { return Pixel{}; });
}

}  // namespace manipulators_test

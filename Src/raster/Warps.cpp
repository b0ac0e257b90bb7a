// Warps of quadrilaterals.
#include <algorithm>
#include <array>

#include "VideoFrame/PixelFormatUtilities.h"
#include "VideoFrame/RasterTools.h"
#include "VideoFrame/TPixBridge.h"
#include "contracts/Scanvo.h"
#include "raster/Rectangles.h"

namespace VF {
namespace {

using Corners = std::array<SV_Point, 4>;

/// In the renderer's coordinates, which count from the bottom.
Corners ToCorners(const TPixFixedQuad& inQuad, std::int32_t inHeight) {
    constexpr double kOne = 65536;
    Corners corners;
    std::transform(std::begin(inQuad.corners), std::end(inQuad.corners), corners.begin(),
                   [inHeight](const POINT& point) {
                       return SV_Point{point.x / kOne, inHeight - point.y / kOne};
                   });
    return corners;
}

/// Whole pixels as fixed point; what does not fit loses its upper bits.
TPixFixedQuad ToFixed(TPixFixedQuad inQuad) {
    for (POINT& point : inQuad.corners) {
        point.x = static_cast<LONG>(static_cast<DWORD>(point.x) << 16);
        point.y = static_cast<LONG>(static_cast<DWORD>(point.y) << 16);
    }
    return inQuad;
}

TPixFixedQuad CornersOf(const tagRECT& inRect) {
    return {{{inRect.left, inRect.top},
             {inRect.right, inRect.top},
             {inRect.right, inRect.bottom},
             {inRect.left, inRect.bottom}}};
}

}  // namespace
}  // namespace VF

int bn_FixedToFixed(TPixHand inSource, TPixHand ioDestination, const TPixFixedQuad* inSourceQuad,
                    const TPixFixedQuad* inDestinationQuad) {
    using namespace VF;
    constexpr std::int32_t kQuality = 4;
    constexpr std::int32_t kOpacity = 255;
    const TPix& source = **inSource;
    const TPix& destination = **ioDestination;
    const std::int32_t width = WidthOf(source.bounds);
    const std::int32_t height = HeightOf(source.bounds);
    const SV_Rect sourceRect = {0, 0, width, height};
    const SV_Rect destinationRect = {0, 0, WidthOf(destination.bounds),
                                     HeightOf(destination.bounds)};
    const Corners from = ToCorners(*inSourceQuad, height);
    const Corners to = ToCorners(*inDestinationQuad, HeightOf(destination.bounds));
    return SV_WarpAffineQuad(
        width, height, source.pixels, source.rowbytes, &sourceRect, from.data(), destination.pixels,
        destination.rowbytes, &destinationRect, to.data(), kQuality, kOpacity, 1, 1,
        BEToSVPixelFormat(GetUnderlyingVideoFramePixelFormat(ioDestination)), 0, 0, 1, 0);
}

int bn_MapPolygon(TPixHand inSource, TPixHand ioDestination, const TPixFixedQuad* inSourceQuad,
                  const TPixFixedQuad* inDestinationQuad) {
    const TPixFixedQuad from = VF::ToFixed(*inSourceQuad);
    const TPixFixedQuad to = VF::ToFixed(*inDestinationQuad);
    return bn_FixedToFixed(inSource, ioDestination, &from, &to);
}

int bn_DistortFixed(TPixHand inSource, TPixHand ioDestination, const tagRECT* inSourceRect,
                    const TPixFixedQuad* inDestinationQuad) {
    const TPixFixedQuad from = VF::ToFixed(VF::CornersOf(*inSourceRect));
    return bn_FixedToFixed(inSource, ioDestination, &from, inDestinationQuad);
}

int bn_DistortPolygon(TPixHand inSource, TPixHand ioDestination, const tagRECT* inSourceRect,
                      const TPixFixedQuad* inDestinationQuad) {
    const TPixFixedQuad from = VF::CornersOf(*inSourceRect);
    return bn_MapPolygon(inSource, ioDestination, &from, inDestinationQuad);
}

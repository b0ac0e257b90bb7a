// Warps.
#include <algorithm>

#include "calls/Checks.h"
#include "contracts/Scanvo.h"
#include "operations/Warp.h"

namespace scanvo {
namespace {

constexpr std::int32_t kFullOpacity = 255;

bool IsIn(const SV_Rect& inRect, std::int32_t inWidth, std::int32_t inHeight) {
    return inRect.left >= 0 && inRect.top >= 0 && inRect.left < inRect.right &&
           inRect.top < inRect.bottom && inRect.right <= inWidth && inRect.bottom <= inHeight;
}

Quad QuadOf(const SV_Point* inCorners) {
    Quad quad;
    std::copy_n(inCorners, quad.size(), quad.begin());
    return quad;
}

}  // namespace
}  // namespace scanvo

using namespace scanvo;

std::int32_t SV_WarpAffineQuad(std::int32_t inSourceWidth, std::int32_t inSourceHeight,
                               const void* inSource, std::int64_t inSourceRowBytes,
                               const SV_Rect* inSourceRect, const SV_Point* inSourceCorners,
                               void* ioDestination, std::int64_t inDestinationRowBytes,
                               const SV_Rect* inDestinationRect,
                               const SV_Point* inDestinationCorners, std::int32_t inQuality,
                               std::int32_t inOpacity, std::int32_t inAntialiasesEdges,
                               std::int32_t inInterpolates, SV_PixelFormat inFormat, std::int32_t,
                               std::int32_t, std::int32_t, std::int32_t) {
    if (inSourceRect == nullptr || inSourceCorners == nullptr || inDestinationRect == nullptr ||
        inDestinationCorners == nullptr) {
        return kSV_NullPointer;
    }
    Source source;
    std::int32_t result =
        MakePicture(inSource, inSourceRowBytes, inSourceWidth, inSourceHeight, inFormat, source);
    if (result != kSV_Success) return result;
    // Of the destination's size only this rectangle is known.
    const SV_Rect& area = *inDestinationRect;
    if (!IsIn(*inSourceRect, inSourceWidth, inSourceHeight)) return kSV_BadArgument;
    if (!IsIn(area, area.right, area.bottom)) return kSV_BadArgument;
    Destination destination;
    result = MakePicture(ioDestination, inDestinationRowBytes, area.right, area.bottom, inFormat,
                         destination);
    if (result != kSV_Success) return result;

    const WarpArea from{*inSourceRect, QuadOf(inSourceCorners)};
    const WarpArea to{area, QuadOf(inDestinationCorners)};
    if (!IsProper(from.corners) || !IsProper(to.corners)) return kSV_BadArgument;
    const std::int32_t opacity = std::clamp(inOpacity, 0, kFullOpacity);
    if (opacity == 0) return kSV_Success;
    const WarpSettings settings = {
        .isNearest = inQuality <= 1 || inInterpolates == 0,
        .antialiasesEdges = inAntialiasesEdges != 0,
        .opacity = static_cast<float>(opacity) / kFullOpacity,
    };
    return Run([&] {
        WarpPicture(source, from, destination, to, settings);
        return kSV_Success;
    });
}

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

// The part of a 4:4:4:4 picture inside a rectangle, as a picture.
template <class Byte>
PictureOf<Byte> PartOf(const PictureOf<Byte>& inPicture, const SV_Rect& inRect) {
    return {RowAt(inPicture, inRect.top) + std::int64_t{inRect.left} * inPicture.format.unitBytes,
            inPicture.rowBytes, inRect.right - inRect.left, inRect.bottom - inRect.top,
            inPicture.format};
}

Quad QuadIn(const SV_Rect& inRect, const SV_Point* inCorners) {
    Quad quad;
    std::transform(inCorners, inCorners + quad.size(), quad.begin(),
                   [&inRect](const SV_Point& corner) -> SV_Point {
                       return {corner.x - inRect.left, corner.y - inRect.top};
                   });
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
    if (source.format.layout != Layout::Packed4444) return kSV_UnsupportedFormat;
    // Of the destination's size only this rectangle is known.
    const SV_Rect& area = *inDestinationRect;
    if (!IsIn(*inSourceRect, inSourceWidth, inSourceHeight)) return kSV_BadArgument;
    if (!IsIn(area, area.right, area.bottom)) return kSV_BadArgument;
    Destination destination;
    result = MakePicture(ioDestination, inDestinationRowBytes, area.right, area.bottom, inFormat,
                         destination);
    if (result != kSV_Success) return result;

    const Quad sourceQuad = QuadIn(*inSourceRect, inSourceCorners);
    const Quad destinationQuad = QuadIn(area, inDestinationCorners);
    if (!IsProper(sourceQuad) || !IsProper(destinationQuad)) return kSV_BadArgument;
    const std::int32_t opacity = std::clamp(inOpacity, 0, kFullOpacity);
    if (opacity == 0) return kSV_Success;
    const WarpSettings settings = {
        .isNearest = inQuality <= 1 || inInterpolates == 0,
        .antialiasesEdges = inAntialiasesEdges != 0,
        .opacity = static_cast<float>(opacity) / kFullOpacity,
    };
    return Run([&] {
        WarpQuad(PartOf(source, *inSourceRect), sourceQuad, PartOf(destination, area),
                 destinationQuad, settings);
        return kSV_Success;
    });
}

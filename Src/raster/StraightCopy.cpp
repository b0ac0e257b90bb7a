// Copies, scales and composites in the formats of the frames behind records.
#include "VideoFrame/PixelFormatUtilities.h"
#include "VideoFrame/Raster.h"
#include "VideoFrame/TPixBridge.h"
#include "contracts/Scanvo.h"
#include "raster/BitMask.h"
#include "raster/Rectangles.h"

namespace VF {
namespace {

constexpr std::int32_t kConvertMode = 4;
constexpr std::uint32_t kFieldType = 0;

/// Locks a record's pixels while it lives.
class LockedPixels {
  public:
    explicit LockedPixels(TPixHand inHandle) : handle_(inHandle) { tpixLockPixels(handle_); }
    ~LockedPixels() { tpixUnlockPixels(handle_); }
    LockedPixels(const LockedPixels&) = delete;
    LockedPixels& operator=(const LockedPixels&) = delete;

  private:
    TPixHand handle_;
};

/// A record as the renderer sees it: from the top line downwards.
struct Picture {
    explicit Picture(TPixHand inHandle)
        : locked(inHandle),
          record(**inHandle),
          format(BEToSVPixelFormat(GetUnderlyingVideoFramePixelFormat(inHandle))),
          stride(-std::int64_t{record.rowbytes}) {}

    const void* At(POINT inPoint) const { return PixelAt(record, inPoint, PixelBytes(record)); }
    void* WritableAt(POINT inPoint) const { return PixelAt(record, inPoint, PixelBytes(record)); }

    LockedPixels locked;
    const TPix& record;
    SV_PixelFormat format;
    std::int64_t stride;
};

POINT TopLeft(const tagRECT& inRect) {
    return {inRect.left, inRect.top};
}

/// Cuts a rectangle of the destination to what a picture holds from a point on.
void CutToWhatIsThere(const tagRECT& inBounds, POINT inPoint, tagRECT& ioRect) {
    ioRect.right = std::min(ioRect.right, ioRect.left + (inBounds.right - inPoint.x));
    ioRect.bottom = std::min(ioRect.bottom, ioRect.top + (inBounds.bottom - inPoint.y));
}

}  // namespace
}  // namespace VF

// ---------------------------------------------------------------------------------------------
// Copies

void tpixStraightCopyRect(TPixHand inSource, POINT inPoint, TPixHand ioDestination,
                          const tagRECT* inDestinationRect) {
    using namespace VF;
    const Picture source(inSource);
    const Picture destination(ioDestination);
    tagRECT rect = Intersection(destination.record.bounds, *inDestinationRect);
    const POINT point = ClampedInto(source.record.bounds, inPoint);
    if (IsEmpty(rect)) return;
    CutToWhatIsThere(source.record.bounds, point, rect);
    if (IsEmpty(rect)) return;
    SV_Convert(source.At(point), source.stride, source.format,
               destination.WritableAt(TopLeft(rect)), destination.stride, destination.format,
               WidthOf(rect), HeightOf(rect), kConvertMode);
}

void tpixStraightCopy(TPixHand inSource, TPixHand ioDestination) {
    tpixStraightCopyRect(inSource, VF::TopLeft((*inSource)->bounds), ioDestination,
                         &(*ioDestination)->bounds);
}

// ---------------------------------------------------------------------------------------------
// Scales

namespace VF {
namespace {

/// What a format code says of it.
std::int32_t PixelBytesOf(SV_PixelFormat inFormat) {
    const bool isShared = (inFormat & 0x30) != 0;
    switch (inFormat & 0x1C0) {
        case 0:
            return isShared ? 2 : 4;
        case 0x80:
            return 8;
        case 0x100:
            return isShared ? 8 : 16;
        default:
            return 0;
    }
}

}  // namespace
}  // namespace VF

void tpixStraightScaleRect(TPixHand inSource, tagRECT* ioSourceRect, TPixHand ioDestination,
                           tagRECT* ioDestinationRect) {
    using namespace VF;
    constexpr std::int32_t kQuality = 3;
    const Picture source(inSource);
    const Picture destination(ioDestination);
    *ioSourceRect = Intersection(source.record.bounds, *ioSourceRect);
    *ioDestinationRect = Intersection(destination.record.bounds, *ioDestinationRect);
    if (IsEmpty(*ioSourceRect) || IsEmpty(*ioDestinationRect)) return;
    SV_ScaleConvert(
        PixelAt(source.record, TopLeft(*ioSourceRect), PixelBytesOf(source.format)), source.stride,
        WidthOf(*ioSourceRect), HeightOf(*ioSourceRect), source.format, kFieldType,
        PixelAt(destination.record, TopLeft(*ioDestinationRect), PixelBytesOf(destination.format)),
        destination.stride, WidthOf(*ioDestinationRect), HeightOf(*ioDestinationRect),
        destination.format, kFieldType, kQuality);
}

void tpixStraightScale(TPixHand inSource, TPixHand ioDestination) {
    tagRECT sourceRect = (*inSource)->bounds;
    tagRECT destinationRect = (*ioDestination)->bounds;
    tpixStraightScaleRect(inSource, &sourceRect, ioDestination, &destinationRect);
}

// ---------------------------------------------------------------------------------------------
// Composites

void tpixOneBitMaskCompositeRect(TPixHand inA, POINT inPointA, TPixHand inB, POINT inPointB,
                                 TPixHand ioDestination, const tagRECT* inDestinationRect,
                                 const void* inMask, POINT inMaskPoint) {
    using namespace VF;
    constexpr std::int32_t kQuality = 3;
    const Picture a(inA);
    const Picture b(inB);
    const Picture destination(ioDestination);
    const tagRECT& bounds = destination.record.bounds;
    tagRECT rect = Intersection(bounds, *inDestinationRect);
    const POINT pointA = ClampedInto(a.record.bounds, inPointA);
    const POINT pointB = ClampedInto(b.record.bounds, inPointB);
    const POINT maskPoint = ClampedInto(bounds, inMaskPoint);
    if (!inMask || IsEmpty(rect)) return;
    CutToWhatIsThere(a.record.bounds, pointA, rect);
    CutToWhatIsThere(b.record.bounds, pointB, rect);
    CutToWhatIsThere(bounds, maskPoint, rect);
    if (IsEmpty(rect)) return;
    const std::int64_t lineBytes = MaskLineBytes(WidthOf(bounds));
    SV_OneBitMaskComposite(a.At(pointA), a.stride, a.format, b.At(pointB), b.stride, b.format,
                           AsBytes(inMask) + maskPoint.y * lineBytes + maskPoint.x / 8, lineBytes,
                           maskPoint.x % 8, destination.WritableAt(TopLeft(rect)),
                           destination.stride, destination.format, WidthOf(rect), HeightOf(rect),
                           kQuality);
}

void tpixOneBitMaskComposite(TPixHand inA, TPixHand inB, TPixHand ioDestination,
                             const void* inMask) {
    const tagRECT& bounds = (*ioDestination)->bounds;
    const POINT corner = VF::TopLeft(bounds);
    tpixOneBitMaskCompositeRect(inA, corner, inB, corner, ioDestination, &bounds, inMask, corner);
}

void tpixOneBitMaskRegionCompositeRect(TPixHand inA, POINT inPointA, TPixHand inB, POINT inPointB,
                                       TPixHand ioDestination, const tagRECT* inDestinationRect,
                                       HRGN inRegion, POINT inMaskPoint) {
    const tagRECT& bounds = (*ioDestination)->bounds;
    if (VF::IsEmpty(bounds)) return;
    const VF::MaskBlock mask =
        VF::MakeRegionMask(inRegion, VF::WidthOf(bounds), VF::HeightOf(bounds));
    if (!mask) return;
    tpixOneBitMaskCompositeRect(inA, inPointA, inB, inPointB, ioDestination, inDestinationRect,
                                mask.get(), inMaskPoint);
}

void tpixOneBitMaskRegionComposite(TPixHand inA, TPixHand inB, TPixHand ioDestination,
                                   HRGN inRegion) {
    const tagRECT& bounds = (*ioDestination)->bounds;
    const POINT corner = VF::TopLeft(bounds);
    tpixOneBitMaskRegionCompositeRect(inA, corner, inB, corner, ioDestination, &bounds, inRegion,
                                      corner);
}

void tpixCompositeToBlack(TPixHand inSource, TPixHand ioDestination) {
    using namespace VF;
    constexpr float kOpacity = 1.0F;
    constexpr std::int32_t kQuality = 4;
    const Picture source(inSource);
    const Picture destination(ioDestination);
    const tagRECT& from = source.record.bounds;
    const tagRECT& to = destination.record.bounds;
    if (source.format != destination.format || WidthOf(from) != WidthOf(to) ||
        HeightOf(from) != HeightOf(to))
        return;
    SV_CompositeToBlack(source.At(TopLeft(from)), source.stride, source.format,
                        destination.WritableAt(TopLeft(to)), destination.stride, destination.format,
                        WidthOf(to), HeightOf(to), kOpacity, kQuality);
}

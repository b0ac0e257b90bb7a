// Copies of 32-bit rectangles: clipped, scaled, masked, mixed.
#include <optional>

#include "VideoFrame/Raster.h"
#include "contracts/Scanvo.h"
#include "raster/BaseSuite.h"
#include "raster/BitMask.h"
#include "raster/MaskedCopy.h"
#include "raster/Rectangles.h"

namespace VF {
namespace {

constexpr SV_PixelFormat kBgra = static_cast<SV_PixelFormat>(4);
constexpr std::uint32_t kRounding = 127;

/// Two rectangles, in the coordinates of their records.
struct Rectangles {
    tagRECT source;
    tagRECT destination;

    bool HaveEqualSizes() const {
        return WidthOf(source) == WidthOf(destination) && HeightOf(source) == HeightOf(destination);
    }
};

/// How much of the source is to be seen: nothing, everything, or this much of 255.
std::uint32_t OpacityOf(std::uint16_t inMode) {
    return (inMode & kCopyWithOpacity) != 0 ? inMode & 0xFF : 255;
}

// ---------------------------------------------------------------------------------------------
// Clipping

bool IsOutside(const tagRECT& inBounds, const tagRECT& inRect) {
    return IsEmpty(inRect) || IsEmpty(Intersection(inBounds, inRect));
}

/// Whether lengths within the rectangle can be told in 32 bits.
bool IsMeasurable(const tagRECT& inRect) {
    constexpr std::int32_t kFarthest = 1 << 30;
    const auto isNear = [](std::int32_t place) {
        return place >= -kFarthest && place <= kFarthest;
    };
    return isNear(inRect.left) && isNear(inRect.top) && isNear(inRect.right) &&
           isNear(inRect.bottom);
}

/// The share of another length that belongs to a part of this one.
std::int32_t Share(std::int32_t inPart, std::int32_t inOther, std::int32_t inThis) {
    return static_cast<std::int16_t>(std::int64_t{inPart} * inOther / inThis);
}

/// Cuts a rectangle back to its bounds, and the other one by the same share. False when nothing is
/// left.
bool CutBack(const tagRECT& inBounds, tagRECT& ioRect, tagRECT& ioOther) {
    if (IsOutside(inBounds, ioRect)) return false;
    const std::int32_t width = WidthOf(ioRect);
    const std::int32_t height = HeightOf(ioRect);
    const std::int32_t otherWidth = WidthOf(ioOther);
    const std::int32_t otherHeight = HeightOf(ioOther);
    const auto across = [&](std::int32_t part) {
        return width == otherWidth ? part : Share(part, otherWidth, width);
    };
    const auto down = [&](std::int32_t part) {
        return height == otherHeight ? part : Share(part, otherHeight, height);
    };
    const tagRECT inside = Intersection(inBounds, ioRect);
    ioOther.left += across(inside.left - ioRect.left);
    ioOther.top += down(inside.top - ioRect.top);
    ioOther.right -= across(ioRect.right - inside.right);
    ioOther.bottom -= down(ioRect.bottom - inside.bottom);
    ioRect = inside;
    return !IsEmpty(ioOther);
}

// ---------------------------------------------------------------------------------------------
// Masks

/// Which pixels of the source rectangle, as it was given, are copied.
struct Mask {
    /// One bit a pixel, for a rectangle of that size; null where there are none.
    const std::uint8_t* bits = nullptr;
    tagRECT rect{};
    /// Eight bits a pixel.
    const TPix* picture = nullptr;
    /// Nothing is copied.
    bool isUnusable = false;

    bool IsThere() const { return bits || picture; }
};

/// A block of global memory, locked for a scope.
class LockedBlock {
  public:
    explicit LockedBlock(HGLOBAL inBlock) : block_(inBlock), address_(GlobalLock(inBlock)) {}
    ~LockedBlock() {
        if (address_) GlobalUnlock(block_);
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;

    /// Null unless the block holds that many bytes.
    const std::uint8_t* BytesOf(std::int64_t inCount) const {
        const bool isLargeEnough = GlobalSize(block_) >= static_cast<std::uint64_t>(inCount);
        return address_ && isLargeEnough ? static_cast<const std::uint8_t*>(address_) : nullptr;
    }

  private:
    HGLOBAL block_;
    void* address_;
};

/// A mask in whatever form it was given, for as long as it is needed.
class PreparedMask {
  public:
    PreparedMask(void* inMask, std::uint16_t inMode, const tagRECT& inSourceRect) {
        mask_.rect = inSourceRect;
        if (!inMask) return;
        const std::int32_t width = WidthOf(inSourceRect);
        const std::int32_t height = HeightOf(inSourceRect);
        if ((inMode & kCopyMaskIs8Bit) != 0) {
            mask_.picture = *static_cast<TPixHand>(inMask);
            mask_.isUnusable = !mask_.picture;
        } else if ((inMode & kCopyMaskIs1Bit) != 0) {
            locked_.emplace(inMask);
            mask_.bits = locked_->BytesOf(MaskLineBytes(width) * height);
            mask_.isUnusable = !mask_.bits;
        } else {
            drawn_ = MakeRegionMask(static_cast<HRGN>(inMask), width, height);
            mask_.bits = drawn_.get();
        }
    }

    const Mask& Get() const { return mask_; }

  private:
    std::optional<LockedBlock> locked_;
    MaskBlock drawn_;
    Mask mask_;
};

/// The bits of the bottom line of a part of the source rectangle; further lines go up the picture,
/// which is back in the mask.
MaskBits BitsFor(const Mask& inMask, const tagRECT& inPart) {
    const std::int64_t lineBytes = MaskLineBytes(WidthOf(inMask.rect));
    const std::int32_t column = inPart.left - inMask.rect.left;
    const std::int64_t line = inPart.bottom - 1 - inMask.rect.top;
    return {inMask.bits + line * lineBytes + column / 8, -lineBytes, column % 8};
}

// ---------------------------------------------------------------------------------------------
// Drawing

struct Job {
    const TPix& source;
    const TPix& destination;
    Rectangles rects;

    std::int32_t Width() const { return WidthOf(rects.source); }
    std::int32_t Height() const { return HeightOf(rects.source); }
    PixelLines SourceLines() const { return {BottomLeft(source, rects.source), source.rowbytes}; }
    PixelLines DestinationLines() const {
        return {BottomLeft(destination, rects.destination), destination.rowbytes};
    }
};

void Scale(const Job& inJob) {
    constexpr std::int32_t kQuality = 3;
    const PixelLines source = inJob.SourceLines();
    const PixelLines destination = inJob.DestinationLines();
    SV_ScaleConvert(source.start, source.stride, inJob.Width(), inJob.Height(), kBgra, 0,
                    destination.start, destination.stride, WidthOf(inJob.rects.destination),
                    HeightOf(inJob.rects.destination), kBgra, 0, kQuality);
}

void CopyAll(const Job& inJob) {
    const PixelLines source = inJob.SourceLines();
    const PixelLines destination = inJob.DestinationLines();
    CurrentFunction(BaseSuite::kCopy32)(source.start, destination.start, inJob.Width(),
                                        inJob.Height(), inJob.source.rowbytes,
                                        inJob.destination.rowbytes);
}

void MixAll(const Job& inJob, std::uint32_t inOpacity) {
    constexpr std::int32_t kQuality = 4;
    const PixelLines source = inJob.SourceLines();
    const PixelLines destination = inJob.DestinationLines();
    const float kept = static_cast<float>(255 - inOpacity) * (1.0F / 255);
    SV_CrossDissolve(source.start, source.stride, kBgra, destination.start, destination.stride,
                     kBgra, destination.start, destination.stride, kBgra, inJob.Width(),
                     inJob.Height(), kept, kQuality);
}

void DrawThroughBits(const Job& inJob, const MaskBits& inMask, std::uint32_t inOpacity,
                     std::uint32_t inRounding) {
    if (inOpacity < 255) {
        BlendThroughBits(inJob.SourceLines(), inJob.DestinationLines(), inJob.Width(),
                         inJob.Height(), inMask, BlendTable(inOpacity, inRounding));
    } else {
        CopyThroughBits(inJob.SourceLines(), inJob.DestinationLines(), inJob.Width(),
                        inJob.Height(), inMask);
    }
}

/// Picture and mask both go from their top lines downwards, which is back in memory, so that the
/// mask lies on the picture as both are seen.
void DrawThroughPicture(Job inJob, const Mask& inMask) {
    const TPix& picture = *inMask.picture;
    Rectangles& rects = inJob.rects;
    tagRECT inPicture = {rects.source.left - inMask.rect.left, rects.source.top - inMask.rect.top,
                         rects.source.right - inMask.rect.left,
                         rects.source.bottom - inMask.rect.top};
    const tagRECT whole = {0, 0, WidthOf(picture.bounds), HeightOf(picture.bounds)};
    const tagRECT uncut = rects.source;
    if (!CutBack(whole, inPicture, rects.source)) return;
    rects.destination.left += rects.source.left - uncut.left;
    rects.destination.top += rects.source.top - uncut.top;
    rects.destination.right += rects.source.right - uncut.right;
    rects.destination.bottom += rects.source.bottom - uncut.bottom;
    const std::int64_t above = inJob.Height() - 1;
    const PixelLines source = inJob.SourceLines();
    const PixelLines destination = inJob.DestinationLines();
    const std::int64_t maskLine = HeightOf(whole) - 1 - inPicture.top;
    CopyMask8(source.start + above * source.stride, destination.start + above * destination.stride,
              inJob.Width(), inJob.Height(), -inJob.source.rowbytes, -inJob.destination.rowbytes,
              picture.rowbytes, picture.pixels + maskLine * picture.rowbytes + inPicture.left);
}

bool IsWholePicture(const Job& inJob) {
    return AreEqual(inJob.rects.source, inJob.source.bounds) &&
           AreEqual(inJob.rects.destination, inJob.destination.bounds) &&
           inJob.source.rowbytes == inJob.destination.rowbytes;
}

void CopyWholePicture(const Job& inJob) {
    if (inJob.source.rowbytes != 4 * inJob.Width()) return CopyAll(inJob);
    TvBlockMove(inJob.source.pixels, inJob.destination.pixels,
                std::int64_t{inJob.source.rowbytes} * inJob.Height());
}

void CopyRectangle(Job& ioJob, const Mask& inMask, std::uint32_t inOpacity) {
    const bool isScaled = !ioJob.rects.HaveEqualSizes();
    if (!isScaled && !inMask.IsThere() && inOpacity == 255 && IsWholePicture(ioJob))
        return CopyWholePicture(ioJob);
    Rectangles& rects = ioJob.rects;
    if (!CutBack(ioJob.source.bounds, rects.source, rects.destination) ||
        !CutBack(ioJob.destination.bounds, rects.destination, rects.source))
        return;
    if (isScaled) {
        // A share that does not fit 16 bits moves a side the wrong way.
        const bool areInside = IsInside(ioJob.source.bounds, rects.source) &&
                               IsInside(ioJob.destination.bounds, rects.destination);
        if (areInside) Scale(ioJob);
        return;
    }
    if (inMask.picture) return DrawThroughPicture(ioJob, inMask);
    if (inMask.bits)
        return DrawThroughBits(ioJob, BitsFor(inMask, rects.source), inOpacity, kRounding);
    if (inOpacity < 255) return MixAll(ioJob, inOpacity);
    CopyAll(ioJob);
}

}  // namespace
}  // namespace VF

void MyCopyPix(const TPix* inSource, const TPix* ioDestination, const tagRECT* inSourceRect,
               const tagRECT* inDestinationRect, std::uint16_t inMode, void* inMask) {
    using namespace VF;
    if (IsEmpty(*inSourceRect) || IsEmpty(*inDestinationRect)) return;
    if (!IsMeasurable(*inSourceRect) || !IsMeasurable(*inDestinationRect)) return;
    const std::uint32_t opacity = OpacityOf(inMode);
    if (opacity == 0) return;
    Job job{*inSource, *ioDestination, {*inSourceRect, *inDestinationRect}};
    const PreparedMask mask(inMask, inMode, *inSourceRect);
    if (!mask.Get().isUnusable) CopyRectangle(job, mask.Get(), opacity);
}

void tpixCopy(TPixHand inSource, TPixHand ioDestination, const tagRECT* inSourceRect,
              const tagRECT* inDestinationRect, std::uint16_t inMode) {
    MyCopyPix(*inSource, *ioDestination, inSourceRect, inDestinationRect, inMode, nullptr);
}

void tpixCopyRgn(TPixHand inSource, TPixHand ioDestination, const tagRECT* inSourceRect,
                 const tagRECT* inDestinationRect, std::uint16_t inMode, void* inMask) {
    MyCopyPix(*inSource, *ioDestination, inSourceRect, inDestinationRect, inMode, inMask);
}

void bn_StretchBits(TPixHand inSource, TPixHand ioDestination, const tagRECT* inSourceRect,
                    const tagRECT* inDestinationRect, std::uint16_t inMode, void* inMask) {
    tpixCopyRgn(inSource, ioDestination, inSourceRect, inDestinationRect, inMode, inMask);
}

void CopyMaskTPix(const TPix* inSource, const TPix* ioDestination, const tagRECT* inSourceRect,
                  const tagRECT* inDestinationRect, std::uint16_t inMode, const void* inMask) {
    using namespace VF;
    const Job job{*inSource, *ioDestination, {*inSourceRect, *inDestinationRect}};
    const std::uint32_t opacity = OpacityOf(inMode);
    if (!inMask || opacity == 0 || IsEmpty(*inSourceRect) || IsEmpty(*inDestinationRect) ||
        !job.rects.HaveEqualSizes())
        return;
    const Mask mask{.bits = AsBytes(inMask), .rect = *inSourceRect};
    DrawThroughBits(job, BitsFor(mask, *inSourceRect), opacity, 0);
}

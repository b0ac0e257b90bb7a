// Rectangles of records, and where they lie in memory.
#pragma once

#include <algorithm>
#include <limits>

#include "VideoFrame/TPix.h"
#include "raster/PixelLoops.h"

namespace VF {

/// From one side to the other, as far as 32 bits tell it.
inline std::int32_t Distance(std::int32_t inFrom, std::int32_t inTo) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(std::int64_t{inTo} - inFrom, Limits::min(), Limits::max()));
}

inline std::int32_t WidthOf(const tagRECT& inRect) {
    return Distance(inRect.left, inRect.right);
}

inline std::int32_t HeightOf(const tagRECT& inRect) {
    return Distance(inRect.top, inRect.bottom);
}

inline bool IsEmpty(const tagRECT& inRect) {
    return inRect.left >= inRect.right || inRect.top >= inRect.bottom;
}

inline bool AreEqual(const tagRECT& inLeft, const tagRECT& inRight) {
    return inLeft.left == inRight.left && inLeft.top == inRight.top &&
           inLeft.right == inRight.right && inLeft.bottom == inRight.bottom;
}

inline tagRECT Intersection(const tagRECT& inLeft, const tagRECT& inRight) {
    return {std::max(inLeft.left, inRight.left), std::max(inLeft.top, inRight.top),
            std::min(inLeft.right, inRight.right), std::min(inLeft.bottom, inRight.bottom)};
}

inline bool IsInside(const tagRECT& inBounds, const tagRECT& inRect) {
    return AreEqual(Intersection(inBounds, inRect), inRect);
}

inline POINT ClampedInto(const tagRECT& inBounds, POINT inPoint) {
    return {std::max(inBounds.left, std::min(inPoint.x, inBounds.right)),
            std::max(inBounds.top, std::min(inPoint.y, inBounds.bottom))};
}

inline std::int32_t PixelBytes(const TPix& inRecord) {
    return static_cast<std::int32_t>(inRecord.depth / 8);
}

/// The pixel at the left of the rectangle's bottom line, which is the first of its lines in memory;
/// the others follow at `rowbytes`.
inline std::uint8_t* BottomLeft(const TPix& inRecord, const tagRECT& inRect) {
    return inRecord.pixels + std::int64_t{PixelBytes(inRecord)} * inRect.left +
           std::int64_t{inRecord.rowbytes} * (inRecord.bounds.bottom - inRect.bottom);
}

/// The pixel at that place of the record's coordinates; lines further down follow at minus
/// `rowbytes`.
inline std::uint8_t* PixelAt(const TPix& inRecord, POINT inPoint, std::int32_t inPixelBytes) {
    const std::int64_t top = HeightOf(inRecord.bounds) - 1;
    return inRecord.pixels + (top - inPoint.y) * inRecord.rowbytes +
           std::int64_t{inPoint.x} * inPixelBytes;
}

}  // namespace VF

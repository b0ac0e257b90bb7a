// Writing and reading the frame header of VideoFrame/FrameLayout.h.
#pragma once

#include <cstdint>

#include "VideoFrame/FrameLayout.h"
#include "contracts/BrixFoundation.h"
#include "contracts/Orvane.h"

namespace VF {

/// A rectangle as the header stores it.
struct StoredRect {
    std::int32_t x;
    std::int32_t y;
    std::int32_t width;
    std::int32_t height;
};

// Rectangles come from callers and other processes unchecked, so their arithmetic wraps.
inline std::int32_t WrappingSum(std::int32_t inLeft, std::int32_t inRight) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(inLeft) +
                                     static_cast<std::uint32_t>(inRight));
}

inline std::int32_t WrappingDifference(std::int32_t inLeft, std::int32_t inRight) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(inLeft) -
                                     static_cast<std::uint32_t>(inRight));
}

inline StoredRect ToStored(const Brix::Rect& inRect) {
    return {inRect.left, inRect.top, WrappingDifference(inRect.right, inRect.left),
            WrappingDifference(inRect.bottom, inRect.top)};
}

inline Brix::Rect FromStored(const StoredRect& inRect) {
    return {inRect.x, inRect.y, WrappingSum(inRect.x, inRect.width),
            WrappingSum(inRect.y, inRect.height)};
}

/// The fields of a header that its writer does not fix.
struct FrameDescription {
    std::uint64_t totalSize;  ///< of the buffer, header included; stored modulo 2^32
    tulomediatypes::PixelFormat format;
    OV::Point origin;
    std::int32_t width;
    std::int32_t height;
    tulomediatypes::FieldType fieldType;
    StoredRect dataRect;
    tulomediatypes::PixelAspectRatio aspectRatio;
    std::int32_t rowBytes;
    StoredRect contentRect;
};

/// Writes bytes 0 to 95 of a buffer: these fields, alpha type 1, render time 0, pixel offset 0.
void WriteFrameHeader(void* outBuffer, const FrameDescription& inDescription);

/// Writes the header of a new frame: no origin, field type 3, whole rectangles.
void WriteNewFrameHeader(void* outBuffer, std::uint64_t inTotalSize,
                         tulomediatypes::PixelFormat inFormat, std::int32_t inWidth,
                         std::int32_t inHeight, tulomediatypes::PixelAspectRatio inAspectRatio);

/// Bytes from the start of the buffer to its first pixel.
inline std::uint64_t PixelPosition(const SharedFrameHeader& inHeader) {
    return std::uint64_t{kFrameHeaderSize} + (inHeader.version > 5 ? inHeader.pixelOffset : 0);
}

/// Where and how the pixels of a new buffer are placed; see FrameLayout.h.
struct PixelPlacement {
    std::int32_t alignment = 0;
    std::int32_t blockSize = 0;
    std::int32_t prefix = 0;
};

/// What the creation of a frame is asked for.
struct FrameRequest {
    tulomediatypes::PixelFormat format;
    std::int32_t width;
    std::int32_t height;
    tulomediatypes::PixelAspectRatio aspectRatio;
    PixelPlacement placement;
};

/// Bytes of the buffer for a standard frame; 0 when no buffer can hold it.
std::uint64_t StandardBufferSize(const FrameRequest& inRequest);

/// Bytes of the buffer for a custom frame; 0 when it would not even hold the header.
std::uint64_t CustomBufferSize(std::int32_t inDataSize);

/// Writes the header of a new standard frame, its pixels placed as asked.
void WriteStandardFrameHeader(void* outBuffer, std::uint64_t inSize, const FrameRequest& inRequest);

}  // namespace VF

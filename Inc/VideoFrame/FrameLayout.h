// How a frame lies in memory: a 128-byte header, then the pixels. Frames travel between processes
// as these bytes, so every offset is binding.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Export.h"
#include "contracts/TuloMediaTypes.h"

namespace VF {

/// The frame header. Words are little-endian; rectangles are in display coordinates.
struct SharedFrameHeader {
    std::uint32_t headerSize;        ///< always 128
    std::uint32_t version;           ///< 6; up to 5 there is no pixel offset
    std::uint32_t totalSize;         ///< low 32 bits of the buffer's size, this header included
    std::uint32_t formatCode;        ///< first word of the pixel format
    std::uint32_t formatProperties;  ///< its second word
    std::int32_t originX;            ///< -1 when unset
    std::int32_t originY;            ///< -1 when unset
    std::int32_t width;              ///< pixels
    std::int32_t height;             ///< rows
    std::uint32_t fieldType;         ///< 3 in a new frame
    std::uint32_t alphaType;         ///< 1 in a new frame
    std::int32_t dataRectX;
    std::int32_t dataRectY;
    std::int32_t dataRectWidth;
    std::int32_t dataRectHeight;
    std::uint32_t aspectRatioNumerator;  ///< of a pixel
    std::uint32_t aspectRatioDenominator;
    std::int32_t rowBytes;  ///< of the whole picture where rows cannot be addressed
    std::int32_t contentRectX;
    std::int32_t contentRectY;
    std::int32_t contentRectWidth;
    std::int32_t contentRectHeight;
    std::uint32_t renderTime;
    std::uint32_t pixelOffset;  ///< bytes between this header and the first pixel
    std::uint8_t reserved[32];
};

static_assert(sizeof(SharedFrameHeader) == 128 && alignof(SharedFrameHeader) == 4);
static_assert(offsetof(SharedFrameHeader, headerSize) == 0);
static_assert(offsetof(SharedFrameHeader, version) == 4);
static_assert(offsetof(SharedFrameHeader, totalSize) == 8);
static_assert(offsetof(SharedFrameHeader, formatCode) == 12);
static_assert(offsetof(SharedFrameHeader, formatProperties) == 16);
static_assert(offsetof(SharedFrameHeader, originX) == 20);
static_assert(offsetof(SharedFrameHeader, originY) == 24);
static_assert(offsetof(SharedFrameHeader, width) == 28);
static_assert(offsetof(SharedFrameHeader, height) == 32);
static_assert(offsetof(SharedFrameHeader, fieldType) == 36);
static_assert(offsetof(SharedFrameHeader, alphaType) == 40);
static_assert(offsetof(SharedFrameHeader, dataRectX) == 44);
static_assert(offsetof(SharedFrameHeader, dataRectY) == 48);
static_assert(offsetof(SharedFrameHeader, dataRectWidth) == 52);
static_assert(offsetof(SharedFrameHeader, dataRectHeight) == 56);
static_assert(offsetof(SharedFrameHeader, aspectRatioNumerator) == 60);
static_assert(offsetof(SharedFrameHeader, aspectRatioDenominator) == 64);
static_assert(offsetof(SharedFrameHeader, rowBytes) == 68);
static_assert(offsetof(SharedFrameHeader, contentRectX) == 72);
static_assert(offsetof(SharedFrameHeader, contentRectY) == 76);
static_assert(offsetof(SharedFrameHeader, contentRectWidth) == 80);
static_assert(offsetof(SharedFrameHeader, contentRectHeight) == 84);
static_assert(offsetof(SharedFrameHeader, renderTime) == 88);
static_assert(offsetof(SharedFrameHeader, pixelOffset) == 92);
static_assert(offsetof(SharedFrameHeader, reserved) == 96);

/// Bytes of the frame header.
inline constexpr std::int32_t kFrameHeaderSize = 128;

/// Bytes of a new buffer for a frame: header, prefix and pixels rounded up to whole blocks, and
/// room to move the first pixel up to an aligned address.
///
/// inPixelAlignment: power of two to which the pixels (before the prefix) are aligned; 0 lets
/// inBlockSize serve. inBlockSize: the payload is rounded up to a multiple of this power of two;
/// 0 or less, not at all. inPixelPrefix: bytes left free before the first pixel; 0 or less, none.
/// Returns 0 always. A size that does not fit in a signed 64-bit number reads as negative there.
VF_EXPORT int GetRequiredSharedMemorySizeForVideoFrame(tulomediatypes::PixelFormat inFormat,
                                                       int inWidth, int inHeight,
                                                       int inPixelAlignment, int inBlockSize,
                                                       int inPixelPrefix,
                                                       unsigned long long& outSize);

/// The header's pixel offset for a buffer that begins at inBuffer, with the same three numbers.
/// It depends on the buffer's address; nothing is read from the buffer.
VF_EXPORT int DeterminePixelOffsetForVideoFrame(const void* inBuffer, int inPixelAlignment,
                                                int inBlockSize, int inPixelPrefix);

}  // namespace VF

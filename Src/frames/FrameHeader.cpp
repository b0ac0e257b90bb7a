#include "frames/FrameHeader.h"

#include <cstring>
#include <limits>

#include "frames/PixelFormatProperties.h"

namespace VF {
namespace {

// The alignment asked for; the block size serves where there is none.
int EffectiveAlignment(int inPixelAlignment, int inBlockSize) {
    return inPixelAlignment != 0 ? inPixelAlignment : inBlockSize;
}

std::int32_t NewFrameRowBytes(tulomediatypes::PixelFormat inFormat, std::int32_t inWidth,
                              std::uint64_t inTotalSize) {
    if (IsPacked(inFormat) && !HasKind(inFormat)) {
        return tulomediatypes::UncompressedPixelFormatRowBytes(inFormat, inWidth);
    }
    return static_cast<std::int32_t>(inTotalSize - kFrameHeaderSize);
}

}  // namespace

void WriteFrameHeader(void* outBuffer, const FrameDescription& inDescription) {
    std::memset(outBuffer, 0, offsetof(SharedFrameHeader, reserved));
    auto& header = *static_cast<SharedFrameHeader*>(outBuffer);
    header.headerSize = kFrameHeaderSize;
    header.version = 6;
    header.totalSize = static_cast<std::uint32_t>(inDescription.totalSize);
    header.formatCode = inDescription.format.code;
    header.formatProperties = inDescription.format.properties;
    header.originX = inDescription.origin.x;
    header.originY = inDescription.origin.y;
    header.width = inDescription.width;
    header.height = inDescription.height;
    header.fieldType = inDescription.fieldType;
    header.alphaType = 1;
    header.dataRectX = inDescription.dataRect.x;
    header.dataRectY = inDescription.dataRect.y;
    header.dataRectWidth = inDescription.dataRect.width;
    header.dataRectHeight = inDescription.dataRect.height;
    header.aspectRatioNumerator = inDescription.aspectRatio.numerator;
    header.aspectRatioDenominator = inDescription.aspectRatio.denominator;
    header.rowBytes = inDescription.rowBytes;
    header.contentRectX = inDescription.contentRect.x;
    header.contentRectY = inDescription.contentRect.y;
    header.contentRectWidth = inDescription.contentRect.width;
    header.contentRectHeight = inDescription.contentRect.height;
}

void WriteNewFrameHeader(void* outBuffer, std::uint64_t inTotalSize,
                         tulomediatypes::PixelFormat inFormat, std::int32_t inWidth,
                         std::int32_t inHeight, tulomediatypes::PixelAspectRatio inAspectRatio) {
    const StoredRect whole{0, 0, inWidth, inHeight};
    WriteFrameHeader(outBuffer, {.totalSize = inTotalSize,
                                 .format = inFormat,
                                 .origin = {-1, -1},
                                 .width = inWidth,
                                 .height = inHeight,
                                 .fieldType = 3,
                                 .dataRect = whole,
                                 .aspectRatio = inAspectRatio,
                                 .rowBytes = NewFrameRowBytes(inFormat, inWidth, inTotalSize),
                                 .contentRect = whole});
}

void WriteStandardFrameHeader(void* outBuffer, std::uint64_t inSize,
                              const FrameRequest& inRequest) {
    WriteNewFrameHeader(outBuffer, inSize, inRequest.format, inRequest.width, inRequest.height,
                        inRequest.aspectRatio);
    const PixelPlacement& placement = inRequest.placement;
    static_cast<SharedFrameHeader*>(outBuffer)->pixelOffset =
        static_cast<std::uint32_t>(DeterminePixelOffsetForVideoFrame(
            outBuffer, placement.alignment, placement.blockSize, placement.prefix));
}

namespace {

// The header's row bytes are 31 bits wide; a picture whose rows are longer cannot be described.
bool HasRowsTooLong(const FrameRequest& inRequest) {
    return IsPacked(inRequest.format) && !HasKind(inRequest.format) &&
           tulomediatypes::PixelFormatSize(inRequest.format, inRequest.width, 1) > 0 &&
           tulomediatypes::UncompressedPixelFormatRowBytes(inRequest.format, inRequest.width) == 0;
}

}  // namespace

std::uint64_t StandardBufferSize(const FrameRequest& inRequest) {
    if (HasRowsTooLong(inRequest)) return 0;
    const PixelPlacement& placement = inRequest.placement;
    unsigned long long size = 0;
    const int status = GetRequiredSharedMemorySizeForVideoFrame(
        inRequest.format, inRequest.width, inRequest.height, placement.alignment,
        placement.blockSize, placement.prefix, size);
    const bool fits = size <= std::numeric_limits<std::int64_t>::max();
    return status >= 0 && fits ? size : 0;
}

std::uint64_t CustomBufferSize(std::int32_t inDataSize) {
    // The sum is a signed 32-bit one: what does not fit comes out negative.
    const auto size = static_cast<std::int32_t>(static_cast<std::uint32_t>(inDataSize) +
                                                std::uint32_t{kFrameHeaderSize});
    return size >= kFrameHeaderSize ? static_cast<std::uint64_t>(size) : 0;
}

int GetRequiredSharedMemorySizeForVideoFrame(tulomediatypes::PixelFormat inFormat, int inWidth,
                                             int inHeight, int inPixelAlignment, int inBlockSize,
                                             int inPixelPrefix, unsigned long long& outSize) {
    unsigned long long size = kFrameHeaderSize;
    size += inPixelPrefix > 0 ? static_cast<unsigned>(inPixelPrefix) : 0U;
    size += tulomediatypes::PixelFormatSize(inFormat, inWidth, inHeight);
    if (inBlockSize > 0) {
        const auto block = static_cast<unsigned long long>(inBlockSize);
        size = (size + block - 1) / block * block;
    }
    const int alignment = EffectiveAlignment(inPixelAlignment, inBlockSize);
    if (alignment > 0) size += static_cast<unsigned>(alignment) - 1U;
    outSize = size;
    return 0;
}

int DeterminePixelOffsetForVideoFrame(const void* inBuffer, int inPixelAlignment, int inBlockSize,
                                      int inPixelPrefix) {
    const auto headerEnd = reinterpret_cast<std::uintptr_t>(inBuffer) + kFrameHeaderSize;
    std::uintptr_t position = headerEnd;
    const int alignment = EffectiveAlignment(inPixelAlignment, inBlockSize);
    if (alignment > 0) {
        const auto mask = static_cast<std::uintptr_t>(alignment) - 1;
        position = (position + mask) & ~mask;
    }
    if (inPixelPrefix > 0) position += static_cast<unsigned>(inPixelPrefix);
    return static_cast<int>(position - headerEnd);
}

}  // namespace VF

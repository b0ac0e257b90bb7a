#include "sharing/ReceivedHeader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

#include "VideoFrame/PixelFormatUtilities.h"
#include "frames/FrameHeader.h"
#include "frames/PixelFormatProperties.h"

namespace VF {
namespace {

using tulomediatypes::PixelFormat;

constexpr const char* kShorterThanPixels = "it is shorter than its pixels";

bool IsNamed(PixelFormat inFormat) {
    return std::ranges::find(tulomediatypes::NamedPixelFormats(), inFormat,
                             &tulomediatypes::NamedPixelFormat::format) !=
           tulomediatypes::NamedPixelFormats().end();
}

// Pictures of DV formats have one size; the others may have any.
bool SizeSuitsFormat(const SharedFrameHeader& inHeader, PixelFormat inFormat) {
    if (!HasKind(inFormat) || IsPlanar420(inFormat)) return true;
    return RectIsValidForPixelFormat(
        inFormat, {0, 0, inHeader.width, inHeader.height},
        {inHeader.aspectRatioNumerator, inHeader.aspectRatioDenominator});
}

const char* FaultOfRows(const SharedFrameHeader& inHeader, PixelFormat inFormat,
                        std::uint64_t inSize) {
    const std::int64_t rowBytes = inHeader.rowBytes;
    const std::int64_t tightRow =
        tulomediatypes::UncompressedPixelFormatRowBytes(inFormat, inHeader.width);
    if (tightRow <= 0 || std::abs(rowBytes) < tightRow) return "its rows are too short";
    const auto first = static_cast<std::int64_t>(PixelPosition(inHeader));
    const std::int64_t last = first + rowBytes * (inHeader.height - 1);
    if (std::min(first, last) < kFrameHeaderSize) return "its rows begin before its pixels";
    const auto end = static_cast<std::uint64_t>(std::max(first, last) + tightRow);
    return end > inSize ? kShorterThanPixels : nullptr;
}

// Of a picture that is one block of bytes.
const char* FaultOfBlock(const SharedFrameHeader& inHeader, std::uint64_t inBytes,
                         std::uint64_t inSize) {
    const std::uint64_t position = PixelPosition(inHeader);
    const bool fits = position <= inSize && inBytes <= inSize - position;
    return fits ? nullptr : kShorterThanPixels;
}

// Of a custom format nothing is known but how many bytes there are.
const char* FaultOfCustomPixels(const SharedFrameHeader& inHeader, std::uint64_t inSize) {
    if (inHeader.totalSize < kFrameHeaderSize) return "it says it is shorter than its header";
    return FaultOfBlock(inHeader, inHeader.totalSize - kFrameHeaderSize, inSize);
}

const char* FaultOfPixels(const SharedFrameHeader& inHeader, PixelFormat inFormat,
                          std::uint64_t inSize) {
    if (!IsNamed(inFormat)) return "its format is unknown";
    if (!SizeSuitsFormat(inHeader, inFormat)) return "its size does not suit its format";
    if (IsRowAddressable(inFormat)) return FaultOfRows(inHeader, inFormat, inSize);
    return FaultOfBlock(inHeader,
                        tulomediatypes::PixelFormatSize(inFormat, inHeader.width, inHeader.height),
                        inSize);
}

const char* FaultOf(const SharedFrameHeader& inHeader, std::uint64_t inSize) {
    if (inHeader.headerSize != kFrameHeaderSize) return "it does not begin with a frame's header";
    if (inHeader.version < 1 || inHeader.version > 6) return "its version is unknown";
    if (inHeader.width <= 0 || inHeader.height <= 0) return "it has no pixels";
    if (inHeader.aspectRatioNumerator == 0 || inHeader.aspectRatioDenominator == 0) {
        return "its pixels have no shape";
    }
    if (inHeader.totalSize > inSize) return "it is shorter than it says";
    const PixelFormat format{inHeader.formatCode, inHeader.formatProperties};
    return IsCustomBEPixelFormat(format) ? FaultOfCustomPixels(inHeader, inSize)
                                         : FaultOfPixels(inHeader, format, inSize);
}

}  // namespace

const char* TakeHeader(const void* inData, std::uint64_t inSize, SharedFrameHeader& outHeader) {
    if (inSize < sizeof outHeader) return "it is shorter than a frame's header";
    // Volatile, lest the compiler read a word again instead of keeping it.
    std::array<std::uint32_t, sizeof outHeader / sizeof(std::uint32_t)> words;
    std::copy_n(static_cast<const volatile std::uint32_t*>(inData), words.size(), words.begin());
    outHeader = std::bit_cast<SharedFrameHeader>(words);
    return FaultOf(outHeader, inSize);
}

}  // namespace VF

// The edge of a keyed region: marked, painted, softened.
#include <algorithm>
#include <memory>

#include "VideoFrame/RasterTools.h"
#include "raster/BitMask.h"
#include "raster/PixelLoops.h"

namespace VF {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::uint8_t kInside = 31;
constexpr std::uint8_t kSoftened = 255;
constexpr std::uint16_t kAllInside = 128;  // no sum of a cross below it is that of five inside

/// Three neighbouring lines of a channel, the outermost ones standing in for those beyond.
struct ChannelLines {
    ChannelLines(const std::uint8_t* inChannel, std::int64_t inWidth, std::int64_t inHeight,
                 std::int64_t inLine)
        : above(inChannel + std::max<std::int64_t>(inLine - 1, 0) * inWidth),
          here(inChannel + inLine * inWidth),
          below(inChannel + std::min(inLine + 1, inHeight - 1) * inWidth) {}

    const std::uint8_t* above;
    const std::uint8_t* here;
    const std::uint8_t* below;
};

/// 1 for a pixel at the edge, else 0. Sums are 16-bit numbers; five bytes fit.
inline std::uint8_t EdgeMark(std::uint8_t inHere, std::uint8_t inLeft, std::uint8_t inRight,
                             std::uint8_t inAbove, std::uint8_t inBelow) {
    const auto sum = static_cast<std::uint16_t>(inHere + inLeft + inRight + inAbove + inBelow);
    // Of 0 this is the largest number.
    return static_cast<std::uint16_t>(sum - 1) < kAllInside - 1 ? 1 : 0;
}

VF_PIXEL_LOOP void MarkEdge(const ChannelLines& inLines, std::size_t inWidth,
                            std::uint8_t* __restrict outMarks) {
    const std::uint8_t* const here = inLines.here;
    const std::uint8_t* const above = inLines.above;
    const std::uint8_t* const below = inLines.below;
    const std::size_t last = inWidth - 1;
    outMarks[0] =
        EdgeMark(here[0], here[0], here[std::min<std::size_t>(1, last)], above[0], below[0]);
    for (std::size_t x = 1; x < last; ++x)
        outMarks[x] = EdgeMark(here[x], here[x - 1], here[x + 1], above[x], below[x]);
    if (last > 0)
        outMarks[last] = EdgeMark(here[last], here[last - 1], here[last], above[last], below[last]);
}

VF_PIXEL_LOOP void PaintMarked(const std::uint8_t* inMarks, std::uint32_t inColour,
                               std::size_t inWidth, std::uint8_t* ioLine) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        const auto pixel = LoadWord<std::uint32_t>(ioLine + kPixelBytes * x);
        StoreWord(inMarks[x] != 0 ? inColour : pixel, ioLine + kPixelBytes * x);
    }
}

VF_PIXEL_LOOP void SetInside(std::size_t inCount, std::uint8_t* ioMarks) {
    for (std::size_t i = 0; i < inCount; ++i)
        ioMarks[i] = ioMarks[i] != 0 ? kInside : 0;
}

}  // namespace
}  // namespace VF

void ReplaceChannel(std::uint8_t* ioChannel, std::int32_t inWidth, std::int32_t inHeight,
                    std::uint8_t inKey) {
    if (!ioChannel || inWidth <= 0 || inHeight <= 0) return;
    std::transform(
        ioChannel, ioChannel + std::int64_t{inWidth} * inHeight, ioChannel,
        [inKey](std::uint8_t byte) { return byte == inKey ? VF::kInside : std::uint8_t{0}; });
}

void EdgePaintChannel(void* ioPixels, std::int32_t inStride, std::int32_t inWidth,
                      std::int32_t inHeight, std::uint32_t inColour, std::uint8_t* ioChannel,
                      std::uint8_t* ioScratch) {
    constexpr std::int32_t kSmallest = 3;
    if (!ioPixels || !ioChannel || !ioScratch || inWidth < kSmallest || inHeight < kSmallest)
        return;
    const auto width = static_cast<std::size_t>(inWidth);
    for (std::int64_t y = 0; y < inHeight; ++y) {
        std::uint8_t* const marks = ioScratch + y * inWidth;
        VF::MarkEdge(VF::ChannelLines(ioChannel, inWidth, inHeight, y), width, marks);
        VF::PaintMarked(marks, inColour, width, VF::AsBytes(ioPixels) + y * inStride);
    }
    const std::int64_t bytes = std::int64_t{inWidth} * inHeight;
    VF::SetInside(static_cast<std::size_t>(bytes), ioScratch);
    TvBlockMove(ioScratch, ioChannel, bytes);
}

namespace VF {
namespace {

VF_PIXEL_LOOP void ChooseAlphas(const std::uint8_t* inInside, const std::uint8_t* inOutside,
                                const std::uint8_t* inMask, std::size_t inWidth,
                                std::uint8_t* __restrict ioLine) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        const std::uint32_t alpha = inMask[x] != 0 ? inInside[x] : inOutside[x];
        const auto pixel = LoadWord<std::uint32_t>(ioLine + kPixelBytes * x);
        StoreWord((pixel & 0x00FFFFFF) | alpha << 24, ioLine + kPixelBytes * x);
    }
}

}  // namespace
}  // namespace VF

void EdgeReconstructAlphas(const std::uint8_t* inInside, const std::uint8_t* inOutside,
                           void* ioPixels, const std::uint8_t* inMask, std::int32_t inWidth,
                           std::int32_t inHeight, std::int32_t inStride) {
    if (!inInside || !inOutside || !ioPixels || !inMask || inWidth <= 0) return;
    for (std::int64_t y = 0; y < inHeight; ++y) {
        const std::int64_t i = y * inWidth;
        VF::ChooseAlphas(inInside + i, inOutside + i, inMask + i, static_cast<std::size_t>(inWidth),
                         VF::AsBytes(ioPixels) + y * inStride);
    }
}

// ---------------------------------------------------------------------------------------------
// Softening

namespace VF {
namespace {

/// Half of each byte.
inline std::uint32_t Half(std::uint32_t inPixel) {
    return inPixel >> 1 & 0x7F7F7F7F;
}

/// Three neighbouring lines of pixels, the outermost ones standing in for those beyond.
struct PixelLines {
    PixelLines(const void* inPixels, std::int64_t inStride, std::int64_t inHeight,
               std::int64_t inLine)
        : above(AsBytes(inPixels) + std::max<std::int64_t>(inLine - 1, 0) * inStride),
          here(AsBytes(inPixels) + inLine * inStride),
          below(AsBytes(inPixels) + std::min(inLine + 1, inHeight - 1) * inStride) {}

    const std::uint8_t* above;
    const std::uint8_t* here;
    const std::uint8_t* below;
};

inline std::uint32_t Softened(const PixelLines& inLines, std::size_t inLeft, std::size_t inX,
                              std::size_t inRight) {
    const auto at = [](const std::uint8_t* line, std::size_t x) {
        return Half(LoadWord<std::uint32_t>(line + kPixelBytes * x));
    };
    const std::uint32_t column = at(inLines.above, inX) + at(inLines.below, inX);
    const std::uint32_t row = at(inLines.here, inLeft) + at(inLines.here, inRight);
    return at(inLines.here, inX) + Half(Half(column) + Half(row));
}

/// Most pixels are at no edge, so these are passed over many at a time.
constexpr std::size_t kPassedOver = 64;

inline bool AnyMark(const std::uint8_t* inMarks, std::size_t inStart, std::size_t inEnd) {
    std::uint8_t any = 0;
    for (std::size_t x = inStart; x < inEnd; ++x)
        any |= inMarks[x];
    return any != 0;
}

/// What marked pixels become; of the others some are written too.
VF_PIXEL_LOOP void SoftenMarked(const PixelLines& inLines, const std::uint8_t* inMarks,
                                std::size_t inWidth, std::uint8_t* __restrict outLine) {
    const std::size_t last = inWidth - 1;
    for (std::size_t start = 0; start < inWidth; start += kPassedOver) {
        const std::size_t end = std::min(start + kPassedOver, inWidth);
        if (!AnyMark(inMarks, start, end)) continue;
        for (std::size_t x = std::max<std::size_t>(start, 1); x < std::min(end, last); ++x)
            StoreWord(Softened(inLines, x - 1, x, x + 1), outLine + kPixelBytes * x);
    }
    StoreWord(Softened(inLines, 0, 0, std::min<std::size_t>(1, last)), outLine);
    StoreWord(Softened(inLines, last - (last > 0), last, last), outLine + kPixelBytes * last);
}

VF_PIXEL_LOOP void StoreMarked(const std::uint8_t* inMarks, const std::uint8_t* inSoftened,
                               std::size_t inWidth, std::uint8_t* __restrict ioLine,
                               std::uint8_t* __restrict ioChannel) {
    for (std::size_t start = 0; start < inWidth; start += kPassedOver) {
        const std::size_t end = std::min(start + kPassedOver, inWidth);
        if (!AnyMark(inMarks, start, end)) continue;
        for (std::size_t x = start; x < end; ++x) {
            const std::size_t i = kPixelBytes * x;
            const auto pixel = LoadWord<std::uint32_t>(ioLine + i);
            const auto softened = LoadWord<std::uint32_t>(inSoftened + i);
            StoreWord(inMarks[x] != 0 ? softened : pixel, ioLine + i);
            ioChannel[x] = inMarks[x] != 0 ? kSoftened : ioChannel[x];
        }
    }
}

}  // namespace
}  // namespace VF

void EdgeAliasChannel(void* ioPixels, std::int32_t inStride, std::int32_t inWidth,
                      std::int32_t inHeight, std::uint8_t* ioChannel) {
    using namespace VF;
    if (!ioPixels || !ioChannel || inWidth <= 0 || inHeight <= 0) return;
    const auto width = static_cast<std::size_t>(inWidth);
    const auto makeTwoLines = [&](std::size_t elementBytes) {
        return MaskBlock(static_cast<std::uint8_t*>(
            TvNewPtr(static_cast<std::int64_t>(2 * width * elementBytes))));
    };
    const MaskBlock marks = makeTwoLines(1);
    const MaskBlock softened = makeTwoLines(kPixelBytes);
    if (!marks || !softened) return;
    const auto marksOf = [&](std::int64_t line) { return marks.get() + line % 2 * inWidth; };
    const auto softenedOf = [&](std::int64_t line) {
        return softened.get() + static_cast<std::size_t>(line % 2) * kPixelBytes * width;
    };
    // A line is stored once the one below it, which is softened from the line as it was, is worked
    // out.
    const auto store = [&](std::int64_t line) {
        StoreMarked(marksOf(line), softenedOf(line), width, AsBytes(ioPixels) + line * inStride,
                    ioChannel + line * inWidth);
    };
    for (std::int64_t y = 0; y < inHeight; ++y) {
        MarkEdge(ChannelLines(ioChannel, inWidth, inHeight, y), width, marksOf(y));
        SoftenMarked(PixelLines(ioPixels, inStride, inHeight, y), marksOf(y), width, softenedOf(y));
        if (y > 0) store(y - 1);
    }
    store(inHeight - 1);
}

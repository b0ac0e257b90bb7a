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

constexpr std::size_t kWindow = 3;  // lines

/// Copies of three neighbouring lines as they were, each with a copy of its first and last element
/// at its ends; the outermost lines stand in for those beyond.
class Window {
  public:
    Window(std::uint8_t* inBlock, const std::uint8_t* inStart, std::int64_t inStride,
           std::size_t inElementBytes, std::size_t inWidth, std::int64_t inHeight)
        : block_(inBlock),
          start_(inStart),
          stride_(inStride),
          elementBytes_(inElementBytes),
          width_(inWidth),
          height_(inHeight) {
        Fill(0);
        Fill(std::min<std::int64_t>(1, height_ - 1));
    }

    /// The first element of a line, of the one above or below the line in work, or that line.
    const std::uint8_t* Line(std::int64_t inLine) const {
        return Slot(std::clamp<std::int64_t>(inLine, 0, height_ - 1)) + elementBytes_;
    }

    /// To be called before a line is changed, for each from the first on.
    void MoveTo(std::int64_t inLine) {
        if (inLine + 1 < height_) Fill(inLine + 1);
    }

  private:
    std::uint8_t* Slot(std::int64_t inLine) const {
        return block_ + static_cast<std::size_t>(inLine) % kWindow * (width_ + 2) * elementBytes_;
    }
    void Fill(std::int64_t inLine) {
        std::uint8_t* const slot = Slot(inLine);
        const std::uint8_t* const line = start_ + inLine * stride_;
        const std::size_t bytes = width_ * elementBytes_;
        std::memcpy(slot, line, elementBytes_);
        std::memcpy(slot + elementBytes_, line, bytes);
        std::memcpy(slot + elementBytes_ + bytes, line + bytes - elementBytes_, elementBytes_);
    }

    std::uint8_t* block_;
    const std::uint8_t* start_;
    std::int64_t stride_;
    std::size_t elementBytes_;
    std::size_t width_;
    std::int64_t height_;
};

/// Half of each byte.
inline std::uint32_t Half(std::uint32_t inPixel) {
    return inPixel >> 1 & 0x7F7F7F7F;
}

/// A line and its neighbours; the elements before the first and after the last can be read.
struct Lines {
    explicit Lines(const Window& inWindow, std::int64_t inLine)
        : above(inWindow.Line(inLine - 1)),
          here(inWindow.Line(inLine)),
          below(inWindow.Line(inLine + 1)) {}

    const std::uint8_t* above;
    const std::uint8_t* here;
    const std::uint8_t* below;
};

/// Most pixels are at no edge, so these are passed over many at a time.
constexpr std::size_t kPassedOver = 64;

VF_PIXEL_LOOP void SoftenLine(const Lines& inPixels, const Lines& inChannel, std::size_t inWidth,
                              std::uint8_t* __restrict ioPixels,
                              std::uint8_t* __restrict ioChannel) {
    for (std::size_t start = 0; start < inWidth; start += kPassedOver) {
        const std::size_t end = std::min(start + kPassedOver, inWidth);
        std::uint8_t marks[kPassedOver];
        std::uint8_t anyMark = 0;
        for (std::size_t x = start; x < end; ++x) {
            const std::uint8_t* const here = inChannel.here + x;
            marks[x - start] =
                EdgeMark(here[0], here[-1], here[1], inChannel.above[x], inChannel.below[x]);
            anyMark |= marks[x - start];
        }
        if (anyMark == 0) continue;
        for (std::size_t x = start; x < end; ++x) {
            const auto at = [x](const std::uint8_t* line) {
                return LoadWord<std::uint32_t>(line + kPixelBytes * x);
            };
            const std::uint32_t pixel = at(inPixels.here);
            const std::uint32_t column = Half(at(inPixels.above)) + Half(at(inPixels.below));
            const std::uint32_t row =
                Half(at(inPixels.here - kPixelBytes)) + Half(at(inPixels.here + kPixelBytes));
            const std::uint32_t softened = Half(pixel) + Half(Half(column) + Half(row));
            const bool isEdge = marks[x - start] != 0;
            StoreWord(isEdge ? softened : pixel, ioPixels + kPixelBytes * x);
            ioChannel[x] = isEdge ? kSoftened : inChannel.here[x];
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
    const auto makeBlock = [&](std::size_t elementBytes) {
        return MaskBlock(static_cast<std::uint8_t*>(
            TvNewPtr(static_cast<std::int64_t>(kWindow * (width + 2) * elementBytes))));
    };
    const MaskBlock pixelBlock = makeBlock(kPixelBytes);
    const MaskBlock channelBlock = makeBlock(1);
    if (!pixelBlock || !channelBlock) return;
    Window pixels(pixelBlock.get(), AsBytes(ioPixels), inStride, kPixelBytes, width, inHeight);
    Window channel(channelBlock.get(), ioChannel, inWidth, 1, width, inHeight);
    for (std::int64_t y = 0; y < inHeight; ++y) {
        pixels.MoveTo(y);
        channel.MoveTo(y);
        SoftenLine(Lines(pixels, y), Lines(channel, y), width, AsBytes(ioPixels) + y * inStride,
                   ioChannel + y * inWidth);
    }
}

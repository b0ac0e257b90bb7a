// Alpha channels as colours and as grey buffers, tables, fills and bounds.
#include "VideoFrame/PixelFormatUtilities.h"
#include "VideoFrame/RasterTools.h"
#include "VideoFrame/TPixBridge.h"
#include "contracts/Scanvo.h"
#include "frames/Contract.h"
#include "raster/Rectangles.h"
#include "raster/VectorTables.h"

namespace VF {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::size_t kAlpha = 3;

/// The lines of a picture with pixels of four bytes.
struct Lines {
    explicit Lines(const TPix& inRecord)
        : start(inRecord.pixels),
          stride(inRecord.rowbytes),
          width(static_cast<std::size_t>(std::max(WidthOf(inRecord.bounds), 0))),
          height(HeightOf(inRecord.bounds)) {}
    Lines(void* inStart, std::int64_t inStride, std::int32_t inWidth, std::int32_t inHeight)
        : start(AsBytes(inStart)),
          stride(inStride),
          width(static_cast<std::size_t>(std::max(inWidth, 0))),
          height(inHeight) {}

    std::uint8_t* At(std::int64_t inLine) const { return start + inLine * stride; }

    std::uint8_t* start;
    std::int64_t stride;
    std::size_t width;
    std::int64_t height;
};

VF_PIXEL_LOOP void SpreadAlpha(std::uint8_t* ioLine, std::size_t inWidth,
                               std::uint32_t inInverter) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        const auto pixel = LoadWord<std::uint32_t>(ioLine + kPixelBytes * x);
        const std::uint32_t grey = (pixel >> 24) ^ inInverter;
        StoreWord((pixel & 0xFF000000) | grey << 16 | grey << 8 | grey, ioLine + kPixelBytes * x);
    }
}

VF_PIXEL_LOOP void TakeAlpha(const std::uint8_t* __restrict inLine,
                             std::uint8_t* __restrict outGrey, std::size_t inWidth) {
    for (std::size_t x = 0; x < inWidth; ++x)
        outGrey[x] = inLine[kPixelBytes * x + kAlpha];
}

VF_PIXEL_LOOP void PutAlpha(const std::uint8_t* __restrict inGrey, std::uint8_t* __restrict ioLine,
                            std::size_t inWidth) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        const auto pixel = LoadWord<std::uint32_t>(ioLine + kPixelBytes * x);
        StoreWord((pixel & 0x00FFFFFF) | std::uint32_t{inGrey[x]} << 24, ioLine + kPixelBytes * x);
    }
}

void SpreadAllAlpha(const Lines& inLines, std::uint32_t inInverter) {
    for (std::int64_t y = 0; y < inLines.height; ++y)
        SpreadAlpha(inLines.At(y), inLines.width, inInverter);
}

}  // namespace
}  // namespace VF

using VF::Lines;

void A_AlphaToRGB(void* ioPixels, std::int32_t inWidth, std::int32_t inHeight,
                  std::int32_t inStride) {
    VF::SpreadAllAlpha({ioPixels, inStride, inWidth, inHeight}, 0);
}

void AlphaToRGB(TPixHand ioHandle) {
    VF::SpreadAllAlpha(Lines(**ioHandle), 0);
}

void AlphaToInverseRGB(TPixHand ioHandle) {
    VF::SpreadAllAlpha(Lines(**ioHandle), 255);
}

void AlphaToGreyBuffer(TPixHand inHandle, std::uint8_t* outGrey) {
    if (!inHandle || !outGrey) return;
    const Lines lines(**inHandle);
    for (std::int64_t y = 0; y < lines.height; ++y, outGrey += lines.width)
        VF::TakeAlpha(lines.At(y), outGrey, lines.width);
}

void GreyBufferToAlpha(TPixHand ioHandle, const std::uint8_t* inGrey) {
    if (!ioHandle || !inGrey) return;
    const Lines lines(**ioHandle);
    for (std::int64_t y = 0; y < lines.height; ++y, inGrey += lines.width)
        VF::PutAlpha(inGrey, lines.At(y), lines.width);
}

namespace VF {
namespace {

/// Red, green and blue.
struct Tables {
    const std::uint8_t* red;
    const std::uint8_t* green;
    const std::uint8_t* blue;
};

void MapLinePlain(const std::uint8_t* inLine, std::uint8_t* outLine, std::size_t inWidth,
                  const Tables& inTables) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        const auto pixel = LoadWord<std::uint32_t>(inLine + kPixelBytes * x);
        const std::uint32_t red = inTables.red[pixel >> 16 & 255];
        const std::uint32_t green = inTables.green[pixel >> 8 & 255];
        const std::uint32_t blue = inTables.blue[pixel & 255];
        StoreWord((pixel & 0xFF000000) | red << 16 | green << 8 | blue, outLine + kPixelBytes * x);
    }
}

#if defined(VF_VECTORS_OF_64_BYTES)

/// Sixteen pixels at a time, every byte looked up in every table, each kept where it belongs.
VF_VECTORS_OF_64_BYTES void MapLineVectors(const std::uint8_t* inLine, std::uint8_t* outLine,
                                           std::size_t inWidth, const Tables& inTables) {
    constexpr std::size_t kPixels = 16;
    const VectorTable blue = LoadTable(inTables.blue);
    const VectorTable green = LoadTable(inTables.green);
    const VectorTable red = LoadTable(inTables.red);
    constexpr __mmask64 kBlue = 0x1111111111111111;
    std::size_t x = 0;
    for (; x + kPixels <= inWidth; x += kPixels) {
        const __m512i codes = _mm512_loadu_si512(inLine + kPixelBytes * x);
        const __mmask64 upper = _mm512_movepi8_mask(codes);
        __m512i mapped = _mm512_mask_blend_epi8(kBlue, codes, LookUp(blue, codes, upper));
        mapped = _mm512_mask_blend_epi8(kBlue << 1, mapped, LookUp(green, codes, upper));
        mapped = _mm512_mask_blend_epi8(kBlue << 2, mapped, LookUp(red, codes, upper));
        _mm512_storeu_si512(outLine + kPixelBytes * x, mapped);
    }
    MapLinePlain(inLine + kPixelBytes * x, outLine + kPixelBytes * x, inWidth - x, inTables);
}

#endif

void MapLine(const std::uint8_t* inLine, std::uint8_t* outLine, std::size_t inWidth,
             const Tables& inTables) {
#if defined(VF_VECTORS_OF_64_BYTES)
    if (CanPermuteBytes()) return MapLineVectors(inLine, outLine, inWidth, inTables);
#endif
    MapLinePlain(inLine, outLine, inWidth, inTables);
}

}  // namespace
}  // namespace VF

void bn_DoIndexMap(const void* inSource, void* outDestination, std::int16_t inStride,
                   std::int16_t inWidth, std::int16_t inHeight, const std::uint8_t* inRed,
                   const std::uint8_t* inGreen, const std::uint8_t* inBlue) {
    if (inWidth <= 0) return;
    for (std::int64_t y = 0; y < inHeight; ++y) {
        VF::MapLine(VF::AsBytes(inSource) + y * inStride,
                    VF::AsBytes(outDestination) + y * inStride, static_cast<std::size_t>(inWidth),
                    {inRed, inGreen, inBlue});
    }
}

// ---------------------------------------------------------------------------------------------
// Fields

namespace VF {
namespace {

VF_PIXEL_LOOP void AverageLines(const std::uint8_t* inFirst, const std::uint8_t* inSecond,
                                std::uint8_t* __restrict outLine, std::size_t inWidth) {
    for (std::size_t i = 0; i < kPixelBytes * inWidth; ++i)
        outLine[i] = static_cast<std::uint8_t>((inFirst[i] + inSecond[i]) >> 1);
}

void CopyLine(const Lines& inLines, std::int64_t inFrom, std::int64_t inTo) {
    TvBlockMove(inLines.At(inFrom), inLines.At(inTo),
                static_cast<std::int64_t>(kPixelBytes * inLines.width));
}

}  // namespace
}  // namespace VF

void InterpFrame(TPixHand ioHandle, const tagRECT* inRect, std::uint16_t inField) {
    const TPix& record = **ioHandle;
    const std::int32_t width = std::min(inRect->right, VF::WidthOf(record.bounds));
    const std::int32_t height = std::min(inRect->bottom, VF::HeightOf(record.bounds));
    if (width <= 0) return;
    const Lines lines(record.pixels, record.rowbytes, width, height);
    const bool isOdd = VF::HeightOf(*inRect) % 2 != 0;
    const bool keepsEven = isOdd == (inField == 1);
    if (!keepsEven && height > 1) VF::CopyLine(lines, 1, 0);
    for (std::int64_t y = keepsEven ? 1 : 2; y + 1 < height; y += 2)
        VF::AverageLines(lines.At(y - 1), lines.At(y + 1), lines.At(y), lines.width);
    if (keepsEven && height % 2 == 0 && height > 0) VF::CopyLine(lines, height - 2, height - 1);
}

// ---------------------------------------------------------------------------------------------
// Fills and bounds

namespace VF {
namespace {

void FillWith(TPixHand ioHandle, const tagRECT* inRect, std::int32_t inColour,
              std::uint8_t inAlpha) {
    const TPix& record = **ioHandle;
    const tagRECT rect = inRect ? Intersection(record.bounds, *inRect) : record.bounds;
    if (IsEmpty(rect)) return;
    const auto colour = static_cast<std::uint32_t>(inColour);
    const std::uint8_t pixel[] = {static_cast<std::uint8_t>(colour >> 16),
                                  static_cast<std::uint8_t>(colour >> 8),
                                  static_cast<std::uint8_t>(colour), inAlpha};
    const tulomediatypes::PixelFormat format = GetUnderlyingVideoFramePixelFormat(ioHandle);
    const bool isYCbCr = (format.properties & tulomediatypes::kProperty_YCbCr) != 0;
    const auto pixelFormat =
        isYCbCr ? OV::kPixelFormat_VUYA_4444_8u : OV::kPixelFormat_BGRA_4444_8u;
    std::uint8_t* const start =
        record.pixels + (std::int64_t{HeightOf(record.bounds)} - rect.bottom) * record.rowbytes +
        std::int64_t{rect.left} * PixelBytes(record);
    SV_FillWithColor(start, record.rowbytes, WidthOf(rect), HeightOf(rect),
                     BEToSVPixelFormat(format), pixel, BEToSVPixelFormat(pixelFormat));
}

}  // namespace
}  // namespace VF

void tpixFillRect(TPixHand ioHandle, const tagRECT* inRect, std::int32_t inColour) {
    VF::FillWith(ioHandle, inRect, inColour, 255);
}

void tpixFillRectTransparent(TPixHand ioHandle, const tagRECT* inRect, std::int32_t inColour) {
    VF::FillWith(ioHandle, inRect, inColour, 0);
}

void tpixGetAlphaBounds(TPixHand inHandle, tagRECT* outRect) {
    VF::Require(inHandle != nullptr, "tpixHandle != NULL", "AlphaTools", __LINE__);
    *outRect = {};
    const VF::VideoFrameRef frame = VF::GetVideoFrameFromTPix(inHandle);
    if (!frame) return;
    Brix::Rect rect;
    frame->GetDataRect(rect);
    *outRect = {rect.left, rect.top, rect.right, rect.bottom};
}

void bn_AudioLimit() {}
void bn_AudioMix() {}
void bn_AudioMunge() {}
void bn_AudioStretch() {}
void bn_AudioSum() {}
void bn_ImageKey() {}
void bn_Resample() {}

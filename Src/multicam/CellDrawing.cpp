#include "multicam/CellDrawing.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "frames/Contract.h"
#include "frames/FramePixels.h"
#include "frames/PixelFormatProperties.h"
#include "multicam/WholePixels.h"

namespace VF {
namespace {

// What the renderer is always given.
constexpr std::int32_t kConvertMode = 4;
constexpr std::uint32_t kOutputFieldType = 0;
constexpr std::int32_t kScaleQuality = 2;

/// A frame's pixels as they lie in memory.
struct Pixels {
    explicit Pixels(const VideoFrameRef& inFrame) : format(RendererFormat(inFrame)) {
        const auto memory = ViewOf<IVideoFrameMemoryAccess>(inFrame);
        const auto rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
        start = static_cast<std::byte*>(memory->GetData());
        rowBytes = RendererRowBytes(memory, rows);
        pixelSize = rows ? rows->GetPixelSize() : 0;
    }

    std::byte* start;
    std::int64_t rowBytes;
    std::int64_t pixelSize;
    SV_PixelFormat format;
};

/// An output, whose rows are counted from the top of the picture.
struct Output : Pixels {
    explicit Output(const VideoFrameRef& inFrame) : Pixels(inFrame) {
        if (!SV_IsOriginBottomLeft(format)) return;
        start += (inFrame->GetBounds().Height() - 1) * rowBytes;
        rowBytes = -rowBytes;
    }

    std::byte* At(std::int32_t inX, std::int32_t inY) const {
        return start + inY * rowBytes + inX * pixelSize;
    }
};

std::int32_t RoundedDown(std::int32_t inLength, std::int32_t inUnit) {
    return inLength - inLength % inUnit;
}

}  // namespace

bool HasAddressablePixels(const VideoFrameRef& inFrame) {
    const auto rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
    return rows && rows->GetPixelSize() != 0;
}

std::int32_t PixelsPerUnit(const VideoFrameRef& inFrame) {
    return IsSubsampled(inFrame->GetPixelType()) ? 2 : 1;
}

void DrawBlack(const VideoFrameRef& inOutput, const Cell& inCell) {
    if (inCell.IsEmpty()) return;
    const Output output(inOutput);
    SV_FillWithOpaqueBlack(output.At(inCell.x, inCell.y), output.rowBytes, inCell.width,
                           inCell.height, output.format);
}

// ---------------------------------------------------------------------------------------------
// Sources

namespace {

/// Where in the cell a picture of that size goes.
Cell FittedInto(const Cell& inCell, double inWidth, double inHeight, std::int32_t inUnit) {
    const double factor = std::min(inCell.width / inWidth, inCell.height / inHeight);
    Cell fitted{.width = static_cast<std::int32_t>(WholePixels(inWidth * factor)),
                .height = static_cast<std::int32_t>(WholePixels(inHeight * factor))};
    if (fitted.width != inCell.width) fitted.width = RoundedDown(fitted.width, inUnit);
    fitted.x = inCell.x + RoundedDown((inCell.width - fitted.width) / 2, inUnit);
    fitted.y = inCell.y + (inCell.height - fitted.height) / 2;
    return fitted;
}

/// What of the cell the picture leaves: bars at both sides, and above and below. Where they cannot
/// be equal, the right and the bottom one are the larger.
void DrawBars(const VideoFrameRef& inOutput, const Cell& inCell, const Cell& inPicture) {
    const std::int32_t left = inPicture.x - inCell.x;
    const std::int32_t above = inPicture.y - inCell.y;
    const std::int32_t right = left + inPicture.width;
    const std::int32_t below = above + inPicture.height;
    DrawBlack(inOutput, {inCell.x, inCell.y, left, inCell.height});
    DrawBlack(inOutput, {inCell.x + right, inCell.y, inCell.width - right, inCell.height});
    DrawBlack(inOutput, {inPicture.x, inCell.y, inPicture.width, above});
    DrawBlack(inOutput, {inPicture.x, inCell.y + below, inPicture.width, inCell.height - below});
}

}  // namespace

bool FillsCell(const VideoFrameRef& inSource, const Cell& inCell) {
    if (inSource->IsRectNative({0, 0, inCell.width, inCell.height})) return true;
    const Brix::Rect bounds = inSource->GetBounds();
    constexpr std::int32_t kUnit = 1;  // whole units leave what is as wide as the cell
    const Cell picture = FittedInto(inCell, bounds.Width(), bounds.Height(), kUnit);
    return picture.width == inCell.width && picture.height == inCell.height;
}

void DrawFitted(const VideoFrameRef& inSource, const VideoFrameRef& inOutput, const Cell& inCell) {
    if (inCell.IsEmpty()) return;
    if (!inSource) return DrawBlack(inOutput, inCell);
    if (FillsCell(inSource, inCell)) return DrawScaled(inSource, inOutput, inCell);
    const Brix::Rect bounds = inSource->GetBounds();
    const Cell picture =
        FittedInto(inCell, bounds.Width(), bounds.Height(), PixelsPerUnit(inOutput));
    DrawBars(inOutput, inCell, picture);
    DrawScaled(inSource, inOutput, picture);
}

void DrawScaled(const VideoFrameRef& inSource, const VideoFrameRef& inOutput, const Cell& inCell) {
    if (inCell.IsEmpty()) return;
    const Output output(inOutput);
    Require(output.rowBytes != 0, "rowbytes != 0", "MultiCamRendering", __LINE__);
    std::byte* start = output.At(inCell.x, inCell.y);
    std::int64_t rowBytes = output.rowBytes;
    // The renderer takes rows in the format's own order.
    if (SV_IsOriginBottomLeft(output.format)) {
        start += (inCell.height - 1) * rowBytes;
        rowBytes = -rowBytes;
    }
    const Pixels source(inSource);
    const Brix::Rect bounds = inSource->GetBounds();
    SV_ScaleConvert(source.start, source.rowBytes, bounds.Width(), bounds.Height(), source.format,
                    inSource->GetFieldType(), start, rowBytes, inCell.width, inCell.height,
                    output.format, kOutputFieldType, kScaleQuality);
}

// ---------------------------------------------------------------------------------------------
// The outline

namespace {

/// The part of a band that is inside the cell, widened to whole units.
Cell Clipped(const Cell& inBand, const Cell& inCell, std::int32_t inUnit) {
    const std::int32_t cellRight = inCell.x + inCell.width;
    const std::int32_t left = RoundedDown(std::max(inBand.x, inCell.x), inUnit);
    const std::int32_t top = std::max(inBand.y, inCell.y);
    const std::int32_t right =
        std::min(RoundedDown(inBand.x + inBand.width + inUnit - 1, inUnit), cellRight);
    const std::int32_t bottom = std::min(inBand.y + inBand.height, inCell.y + inCell.height);
    return {left, top, right - left, bottom - top};
}

}  // namespace

void DrawOutline(const VideoFrameRef& inOutput, const Cell& inCell, std::uint32_t inThickness,
                 bool inIsRed) {
    if (inCell.IsEmpty()) return;
    const Output output(inOutput);
    const std::array<std::uint8_t, 4> colour = {0, static_cast<std::uint8_t>(inIsRed ? 0 : 255),
                                                255, 255};  // BGRA
    alignas(16) std::array<std::byte, 16> pixel{};          // the widest one: four floats
    SV_Convert(colour.data(), 0,
               BEPixelFormatToSVPixelFormat(tulomediatypes::kPixelFormat_BGRA_4444_8u),
               pixel.data(), 0, output.format, 1, 1, kConvertMode);

    const auto [x, y, width, height] = inCell;
    const auto thickness = static_cast<std::int32_t>(
        std::min(inThickness, static_cast<std::uint32_t>(std::max(width, height))));
    const std::int32_t between = height - 2 * thickness;
    const Cell bands[] = {{x, y, width, thickness},
                          {x, y + thickness, thickness, between},
                          {x + width - thickness, y + thickness, thickness, between},
                          {x, y + height - thickness, width, thickness}};
    for (const Cell& whole : bands) {
        const Cell band = Clipped(whole, inCell, PixelsPerUnit(inOutput));
        if (band.IsEmpty()) continue;
        SV_FillWithColor(output.At(band.x, band.y), output.rowBytes, band.width, band.height,
                         output.format, pixel.data(), output.format);
    }
}

}  // namespace VF

#include "operations/Fill.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "fast/Bytes.h"
#include "rows/Colour.h"
#include "rows/PlanarRow.h"
#include "rows/RowLayouts.h"
#include "rows/RowWriter.h"
#include "rows/Scratch.h"

namespace scanvo {
namespace {

// All units have 4, 8 or 16 bytes.
constexpr std::size_t kLargestUnitBytes = kPatternPeriod;
constexpr std::size_t kMostUnitPixels = 6;

// One unit of a format, all of whose pixels are equal.
using Unit = std::array<std::byte, kLargestUnitBytes>;

// A pixel as planes of one sample.
using Pixel = std::array<float, kPlaneCount>;

PlanarRow AsRow(Pixel& inPixel) {
    return {&inPixel[0], &inPixel[1], &inPixel[2], &inPixel[3]};
}

Unit UnitOf(const Format& inFormat, const Pixel& inPixel) {
    std::array<std::array<float, kMostUnitPixels>, kPlaneCount> planes;
    PlanarRow row;
    for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
        planes[plane].fill(inPixel[plane]);
        row[plane] = planes[plane].data();
    }
    Unit unit{};
    AccessTo(inFormat).Store(row, {unit.data(), 0, inFormat.unitPixels, 1, inFormat}, 0);
    return unit;
}

Pattern PatternOf(const Format& inFormat, const Unit& inUnit) {
    Pattern pattern;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        pattern[i] = inUnit[i % static_cast<std::size_t>(inFormat.unitBytes)];
    }
    return pattern;
}

void FillWithUnit(const Destination& outDestination, const Unit& inUnit) {
    const Format& format = outDestination.format;
    const Pattern pattern = PatternOf(format, inUnit);
    const std::int64_t usedBytes = UsedRowBytes(format, outDestination.width);
    const std::int64_t allBytes = usedBytes * outDestination.height;
    const bool isStreamed = allBytes >= kLargePictureBytes;
    // Rows that nothing separates are as good as one.
    const bool isJoined = outDestination.rowBytes == usedBytes;
    const std::int32_t rowCount = isJoined ? 1 : outDestination.height;
    for (std::int32_t i = 0; i < rowCount; ++i) {
        RepeatBytes(pattern, RowAt(outDestination, i),
                    static_cast<std::size_t>(isJoined ? allBytes : usedBytes), isStreamed);
    }
    if (isStreamed) FinishCopies();
}

void FillPlanes(const Destination& outDestination, const Pixel& inPixel) {
    Scratch scratch;
    const PlanarRow row = scratch.Row(outDestination.width);
    for (std::size_t plane = 0; plane < kColourPlaneCount; ++plane) {
        std::fill_n(row[plane], outDestination.width, inPixel[plane]);
    }
    RowWriter writer(outDestination, scratch);
    for (std::int32_t i = 0; i < outDestination.height; ++i) {
        writer.Write(row, i);
    }
}

void FillWithSamples(const Destination& outDestination, const Pixel& inPixel) {
    if (outDestination.format.layout == Layout::Planar) {
        FillPlanes(outDestination, inPixel);
    } else {
        FillWithUnit(outDestination, UnitOf(outDestination.format, inPixel));
    }
}

Pixel PixelOf(FillValue inValue, const Format& inFormat) {
    const bool isTransparent = HasAlpha(inFormat) && (inValue == FillValue::TransparentBlack ||
                                                      inValue == FillValue::TransparentWhite);
    const bool isWhite =
        inValue == FillValue::OpaqueWhite || inValue == FillValue::TransparentWhite;
    const bool isErased = isTransparent && inFormat.alpha == Alpha::Premultiplied;
    const float luma = isWhite && !isErased ? 1.0f : 0.0f;
    const float chroma = inFormat.colour == Colour::YCbCr ? 0.0f : luma;
    return {luma, chroma, chroma, isTransparent ? 0.0f : 1.0f};
}

Pixel FirstPixelOf(const Source& inPixel, const Format& inFormat) {
    Pixel pixel{};
    AccessTo(inPixel.format).Load(inPixel, 0, AsRow(pixel));
    ColourSteps(inPixel.format, inFormat).Run(AsRow(pixel), 1);
    return pixel;
}

}  // namespace

void FillWithValue(const Destination& outDestination, FillValue inValue) {
    FillWithSamples(outDestination, PixelOf(inValue, outDestination.format));
}

void FillWithPixel(const Destination& outDestination, const Source& inPixel) {
    const Format& format = outDestination.format;
    if (inPixel.format == format && format.layout == Layout::Packed4444) {
        Unit unit{};
        std::memcpy(unit.data(), inPixel.start, static_cast<std::size_t>(format.unitBytes));
        FillWithUnit(outDestination, unit);
        return;
    }
    FillWithSamples(outDestination, FirstPixelOf(inPixel, format));
}

}  // namespace scanvo

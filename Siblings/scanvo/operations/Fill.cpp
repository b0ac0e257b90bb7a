#include "operations/Fill.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "fast/Bytes.h"
#include "fast/Caches.h"
#include "rows/Colour.h"
#include "rows/PlanarRow.h"
#include "rows/RowLayouts.h"

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

// Goes on with the pattern in every one of inRows rows.
void FillRows(const Pattern& inPattern, std::byte* outStart, std::int64_t inRowBytes,
              std::int64_t inUsedBytes, std::int32_t inRows) {
    const std::int64_t allBytes = inUsedBytes * inRows;
    const bool isStreamed = IsFillWorthStreaming(allBytes);
    // Rows that nothing separates are as good as one.
    const bool isJoined = inRowBytes == inUsedBytes;
    const std::int32_t rowCount = isJoined ? 1 : inRows;
    for (std::int32_t i = 0; i < rowCount; ++i) {
        RepeatBytes(inPattern, outStart + inRowBytes * i,
                    static_cast<std::size_t>(isJoined ? allBytes : inUsedBytes), isStreamed);
    }
    if (isStreamed) FinishCopies();
}

void FillWithUnit(const Destination& outDestination, const Unit& inUnit) {
    const Format& format = outDestination.format;
    FillRows(PatternOf(format, inUnit), outDestination.start, outDestination.rowBytes,
             UsedRowBytes(format, outDestination.width), outDestination.height);
}

// Y', Cb and Cr of a pixel in 8 bits.
std::array<std::byte, kColourPlaneCount> CodesOf(const Pixel& inPixel, const Format& inPlanar) {
    const Unit unit = UnitOf(SinglePixels(inPlanar), inPixel);
    return {unit[2], unit[1], unit[0]};
}

void FillPlanes(const Destination& outDestination, const Pixel& inPixel) {
    const Format& format = outDestination.format;
    const auto codes = CodesOf(inPixel, format);
    const MemoryPlanes<std::byte> all = PlanesOf(outDestination);
    for (std::size_t number = 0; number < all.count; ++number) {
        Pattern pattern;
        for (std::size_t component = 0; component < codes.size(); ++component) {
            const PlanePlace& place = format.planes[component];
            if (static_cast<std::size_t>(place.plane) != number) continue;
            for (auto i = static_cast<std::size_t>(place.first); i < pattern.size();
                 i += static_cast<std::size_t>(place.step))
                pattern[i] = codes[component];
        }
        const MemoryPlane<std::byte>& plane = all.planes[number];
        FillRows(pattern, plane.start, plane.rowBytes, plane.usedBytes, plane.rows);
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

#include "rows/PlanarLayouts.h"

#include <algorithm>
#include <cmath>

#include "rows/Chroma.h"

namespace scanvo {
namespace {

constexpr std::size_t kChromaPlaneCount = 2;
constexpr std::size_t kCr = 1;
constexpr int kFieldPictureKind = 9;
constexpr int kFramePictureKind = 10;

// ---- Where chroma rows lie ----------------------------------------------------------------------

std::int32_t ChromaRowCount(const Format& inFormat, std::int32_t inHeight) {
    return inFormat.layout == Layout::Planar420 ? HalfWidth(inHeight) : inHeight;
}

// The fields that have chroma rows of their own. Rows of a field are every so many of the picture.
std::int32_t FieldCount(const Format& inFormat, std::int32_t inHeight) {
    const bool isFieldPicture =
        inFormat.layout == Layout::Planar420 && inFormat.kind != kFramePictureKind;
    return isFieldPicture && ChromaRowCount(inFormat, inHeight) > 1 ? 2 : 1;
}

// The rows of one field out of inCount of its picture.
std::int32_t RowsOfField(std::int32_t inCount, std::int32_t inField, std::int32_t inFieldCount) {
    return (inCount - inField + inFieldCount - 1) / inFieldCount;
}

// Chroma rows of one field and plane (0 Cb, 1 Cr), counted in rows of the picture from its top.
SampleGrid ChromaGrid(const Format& inFormat, std::int32_t inHeight, std::size_t inPlane,
                      std::int32_t inField) {
    const std::int32_t fields = FieldCount(inFormat, inHeight);
    const std::int32_t count = RowsOfField(ChromaRowCount(inFormat, inHeight), inField, fields);
    if (inFormat.layout != Layout::Planar420) return {count, 1, 0};
    if (fields == 1) return {count, 2, 0.5};
    if (inFormat.kind == kFieldPictureKind) return {count, 4, 0.5 + 2 * inField};
    return {count, 4, 1.0 * inField + (inPlane == kCr ? 0 : 2)};
}

// ---- Loading ------------------------------------------------------------------------------------

void LoadSamples(const std::byte* inCodes, std::int32_t inCount, float inOffset, float inScale,
                 float* __restrict outSamples) {
    for (std::int32_t i = 0; i < inCount; ++i) {
        outSamples[i] = (static_cast<float>(std::to_integer<int>(inCodes[i])) - inOffset) / inScale;
    }
}

// The mean of two rows, the second counting for inShare of it.
void LoadMixedSamples(const std::byte* inFirst, const std::byte* inSecond, float inShare,
                      std::int32_t inCount, float inOffset, float inScale,
                      float* __restrict outSamples) {
    for (std::int32_t i = 0; i < inCount; ++i) {
        const auto first = static_cast<float>(std::to_integer<int>(inFirst[i]));
        const auto second = static_cast<float>(std::to_integer<int>(inSecond[i]));
        outSamples[i] = (first + inShare * (second - first) - inOffset) / inScale;
    }
}

// One chroma plane of the row inRowFromTop, interpolated between rows of its field.
void LoadChroma(const Source& inPicture, std::size_t inPlane, std::int32_t inRowFromTop,
                std::int32_t inCount, const CodeRanges& inRanges, float* outSamples) {
    const std::int32_t fields = FieldCount(inPicture.format, inPicture.height);
    const std::int32_t field = inRowFromTop % fields;
    const SampleGrid grid = ChromaGrid(inPicture.format, inPicture.height, inPlane, field);
    const double place =
        std::clamp((inRowFromTop - grid.first) / grid.pitch, 0.0, grid.count - 1.0);
    const auto above = static_cast<std::int32_t>(place);
    const auto rowAt = [&](std::int32_t row) {
        return inPicture.chroma[inPlane] +
               inPicture.chromaRowBytes * (field + std::int64_t{fields} * row);
    };
    const float offset = inRanges.offset[inPlane + 1];
    const float scale = inRanges.scale[inPlane + 1];
    if (above == place) {
        LoadSamples(rowAt(above), inCount, offset, scale, outSamples);
        return;
    }
    LoadMixedSamples(rowAt(above), rowAt(above + 1), static_cast<float>(place - above), inCount,
                     offset, scale, outSamples);
}

std::int32_t QuarterWidth(std::int32_t inWidth) {
    return HalfWidth(HalfWidth(inWidth));
}

void LoadPlanes(const Source& inPicture, std::int32_t inRow, std::int32_t inChromaCount,
                const CodeRanges& inRanges, const PlanarRow& outRow) {
    const std::int32_t rowFromTop = inPicture.height - 1 - inRow;
    LoadSamples(RowAt(inPicture, rowFromTop), inPicture.width, inRanges.offset[0],
                inRanges.scale[0], outRow[0]);
    for (std::size_t plane = 0; plane < kChromaPlaneCount; ++plane) {
        LoadChroma(inPicture, plane, rowFromTop, inChromaCount, inRanges, outRow[plane + 1]);
    }
}

// From a quarter of the samples to half of them in place, last ones first.
void SpreadInPlace(std::int32_t inHalfCount, float* ioSamples) {
    for (std::int32_t x = inHalfCount - 1; x >= 0; --x) {
        const float left = ioSamples[x / 2];
        const bool isBetween = x % 2 != 0 && x + 1 < inHalfCount;
        ioSamples[x] = isBetween ? 0.5f * (left + ioSamples[x + 1]) : left;
    }
}

// ---- Storing ------------------------------------------------------------------------------------

void StoreSamples(const float* inSamples, std::int32_t inCount, float inOffset, float inScale,
                  std::byte* __restrict outCodes) {
    for (std::int32_t i = 0; i < inCount; ++i) {
        outCodes[i] = static_cast<std::byte>(Quantise(inSamples[i], inOffset, inScale, 255));
    }
}

}  // namespace

void LoadHalfChromaPlanes(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
                          const PlanarRow& outRow) {
    LoadPlanes(inPicture, inRow, HalfWidth(inPicture.width), inRanges, outRow);
}

void LoadQuarterChromaPlanes(const Source& inPicture, std::int32_t inRow,
                             const CodeRanges& inRanges, const PlanarRow& outRow) {
    LoadPlanes(inPicture, inRow, QuarterWidth(inPicture.width), inRanges, outRow);
    SpreadInPlace(HalfWidth(inPicture.width), outRow[1]);
    SpreadInPlace(HalfWidth(inPicture.width), outRow[2]);
}

PlanarStore::PlanarStore(const Destination& inPicture, const CodeRanges& inRanges,
                         Scratch& ioScratch)
    : picture_(inPicture),
      ranges_(inRanges),
      fieldCount_(FieldCount(inPicture.format, inPicture.height)) {
    const std::int32_t count = HalfWidth(picture_.width);
    quartered_ = ioScratch.Floats(count);
    if (picture_.format.layout != Layout::Planar420) return;
    constexpr std::int32_t kTriangle = 3;
    for (std::size_t plane = 0; plane < kChromaPlaneCount; ++plane) {
        for (std::int32_t field = 0; field < fieldCount_; ++field) {
            const SampleGrid pixels = {RowsOfField(picture_.height, field, fieldCount_),
                                       fieldCount_, 1.0 * field};
            planes_[plane].weights.push_back(
                MakeWeights({pixels, ChromaGrid(picture_.format, picture_.height, plane, field), 1,
                             kTriangle}));
            for (OpenRow& row : planes_[plane].open[static_cast<std::size_t>(field)]) {
                row.samples = ioScratch.Floats(count);
            }
        }
    }
}

void PlanarStore::Store(const PlanarRow& inRow, std::int32_t inRowNumber) {
    const std::int32_t rowFromTop = picture_.height - 1 - inRowNumber;
    StoreSamples(inRow[0], picture_.width, ranges_.offset[0], ranges_.scale[0],
                 RowAt(picture_, rowFromTop));
    for (std::size_t plane = 0; plane < kChromaPlaneCount; ++plane) {
        if (picture_.format.layout == Layout::Planar420) {
            AddChroma(plane, inRow[plane + 1], rowFromTop);
        } else {
            StoreChroma(plane, inRow[plane + 1], rowFromTop);
        }
    }
}

void PlanarStore::AddChroma(std::size_t inPlane, const float* inSamples,
                            std::int32_t inRowFromTop) {
    const std::int32_t field = inRowFromTop % fieldCount_;
    const std::int32_t fieldRow = inRowFromTop / fieldCount_;
    const std::int32_t count = HalfWidth(picture_.width);
    const WeightTable& weights = planes_[inPlane].weights[static_cast<std::size_t>(field)];
    auto& open = planes_[inPlane].open[static_cast<std::size_t>(field)];
    const auto isBefore = [&weights](std::int32_t first, std::int32_t row) {
        return first + weights.tapCount <= row;
    };
    auto first = std::lower_bound(weights.first.begin(), weights.first.end(), fieldRow, isBefore);
    for (; first != weights.first.end() && *first <= fieldRow; ++first) {
        const auto number = static_cast<std::int32_t>(first - weights.first.begin());
        OpenRow& row = open[static_cast<std::size_t>(number) % kOpenRows];
        if (row.number != number) {
            row.number = number;
            row.count = 0;
            std::fill_n(row.samples, count, 0.0f);
        }
        AddWeighted(inSamples, weights.WeightsOf(number)[fieldRow - *first], count, row.samples);
        if (++row.count == weights.tapCount) {
            StoreChroma(inPlane, row.samples, field + fieldCount_ * number);
        }
    }
}

void PlanarStore::StoreChroma(std::size_t inPlane, const float* inSamples,
                              std::int32_t inChromaRow) {
    std::int32_t count = HalfWidth(picture_.width);
    if (picture_.format.layout == Layout::Planar411) {
        HalveChroma(inSamples, count, quartered_);
        inSamples = quartered_;
        count = QuarterWidth(picture_.width);
    }
    StoreSamples(inSamples, count, ranges_.offset[inPlane + 1], ranges_.scale[inPlane + 1],
                 picture_.chroma[inPlane] + picture_.chromaRowBytes * inChromaRow);
}

}  // namespace scanvo

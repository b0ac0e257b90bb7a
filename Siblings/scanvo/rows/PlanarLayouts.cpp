#include "rows/PlanarLayouts.h"

#include <algorithm>
#include <cmath>

#include "rows/Chroma.h"

namespace scanvo {
namespace {

constexpr std::size_t kChromaPlaneCount = 2;
constexpr std::size_t kCr = 1;

// ---- Where chroma rows lie ----------------------------------------------------------------------

// The rows of one field out of inCount of its picture.
std::int32_t RowsOfField(std::int32_t inCount, std::int32_t inField, std::int32_t inFieldCount) {
    return (inCount - inField + inFieldCount - 1) / inFieldCount;
}

// Chroma rows of one field and plane (0 Cb, 1 Cr), counted in rows of the picture from its top.
SampleGrid ChromaRowGrid(const Format& inFormat, std::int32_t inHeight, std::size_t inPlane,
                         std::int32_t inField) {
    const std::int32_t fields = ChromaFieldCount(inFormat, inHeight);
    const std::int32_t count = RowsOfField(ChromaHeight(inFormat, inHeight), inField, fields);
    if (inFormat.chroma.rows == ChromaRows::Each) return {count, 1, 0};
    if (fields == 1) return {count, 2, 0.5};
    if (inFormat.chroma.rows == ChromaRows::OfFields) return {count, 4, 0.5 + 2 * inField};
    return {count, 4, 1.0 * inField + (inPlane == kCr ? 0 : 2)};
}

// ---- Loading ------------------------------------------------------------------------------------

void LoadSamples(const std::byte* inCodes, std::int32_t inStep, std::int32_t inCount,
                 float inOffset, float inScale, float* __restrict outSamples) {
    for (std::int32_t i = 0; i < inCount; ++i) {
        const auto code = static_cast<float>(std::to_integer<int>(inCodes[inStep * i]));
        outSamples[i] = (code - inOffset) / inScale;
    }
}

// The mean of two rows, the second counting for inShare of it.
void LoadMixedSamples(const std::byte* inFirst, const std::byte* inSecond, float inShare,
                      std::int32_t inStep, std::int32_t inCount, float inOffset, float inScale,
                      float* __restrict outSamples) {
    for (std::int32_t i = 0; i < inCount; ++i) {
        const auto first = static_cast<float>(std::to_integer<int>(inFirst[inStep * i]));
        const auto second = static_cast<float>(std::to_integer<int>(inSecond[inStep * i]));
        outSamples[i] = (first + inShare * (second - first) - inOffset) / inScale;
    }
}

// One chroma plane of the row inRowFromTop, interpolated between rows of its field.
void LoadChroma(const Source& inPicture, std::size_t inPlane, std::int32_t inRowFromTop,
                std::int32_t inCount, const CodeRanges& inRanges, float* outSamples) {
    const auto [above, below, share] =
        ChromaPlaceOf(inPicture.format, inPicture.height, inPlane, inRowFromTop);
    const auto& plane = inPicture.chroma[inPlane];
    const auto rowAt = [&](std::int32_t row) { return plane.start + plane.rowBytes * row; };
    const float offset = inRanges.offset[inPlane + 1];
    const float scale = inRanges.scale[inPlane + 1];
    if (share == 0) {
        LoadSamples(rowAt(above), plane.step, inCount, offset, scale, outSamples);
        return;
    }
    LoadMixedSamples(rowAt(above), rowAt(below), static_cast<float>(share), plane.step, inCount,
                     offset, scale, outSamples);
}

bool HasQuarterChroma(const Format& inFormat) {
    return inFormat.chroma.columnShift == 2;
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
                  std::int32_t inStep, std::byte* __restrict outCodes) {
    for (std::int32_t i = 0; i < inCount; ++i) {
        const std::int32_t code = Quantise(inSamples[i], inOffset, inScale, 255);
        outCodes[inStep * i] = static_cast<std::byte>(code);
    }
}

}  // namespace

std::int32_t FirstRowOf(const Format& inFormat, std::int32_t inHeight, std::int32_t inChromaRow) {
    if (inFormat.chroma.rows == ChromaRows::Each) return inChromaRow;
    const std::int32_t fields = ChromaFieldCount(inFormat, inHeight);
    return inChromaRow / fields * 2 * fields + inChromaRow % fields;
}

std::int32_t ChromaFieldCount(const Format& inFormat, std::int32_t inHeight) {
    const bool hasFields =
        inFormat.chroma.rows == ChromaRows::OfFields || inFormat.chroma.rows == ChromaRows::InTurns;
    return hasFields && ChromaHeight(inFormat, inHeight) > 1 ? 2 : 1;
}

Axis ChromaRowAxis(const Format& inSource, std::int32_t inSourceHeight, const Format& inDestination,
                   std::int32_t inHeight, std::int32_t inField, const Axis& inDown) {
    constexpr std::size_t kCb = 0;
    return {ChromaRowGrid(inSource, inSourceHeight, kCb, inField),
            ChromaRowGrid(inDestination, inHeight, kCb, inField), inDown.scale, inDown.quality};
}

ChromaPlace ChromaPlaceOf(const Format& inFormat, std::int32_t inHeight, std::size_t inPlane,
                          std::int32_t inRowFromTop) {
    const std::int32_t fields = ChromaFieldCount(inFormat, inHeight);
    const std::int32_t field = inRowFromTop % fields;
    const SampleGrid grid = ChromaRowGrid(inFormat, inHeight, inPlane, field);
    const double place =
        std::clamp((inRowFromTop - grid.first) / grid.pitch, 0.0, grid.count - 1.0);
    const auto above = static_cast<std::int32_t>(place);
    const std::int32_t below = std::min(above + 1, grid.count - 1);
    return {field + fields * above, field + fields * below, place - above};
}

void LoadPlanes(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
                const PlanarRow& outRow) {
    const std::int32_t rowFromTop = inPicture.height - 1 - inRow;
    const std::int32_t chromaCount = ChromaWidth(inPicture.format, inPicture.width);
    LoadSamples(RowAt(inPicture, rowFromTop), 1, inPicture.width, inRanges.offset[0],
                inRanges.scale[0], outRow[0]);
    for (std::size_t plane = 0; plane < kChromaPlaneCount; ++plane) {
        float* const samples = outRow[plane + 1];
        LoadChroma(inPicture, plane, rowFromTop, chromaCount, inRanges, samples);
        if (HasQuarterChroma(inPicture.format)) SpreadInPlace(HalfWidth(inPicture.width), samples);
    }
}

void LoadChromaRow(const Source& inPicture, std::int32_t inChromaRow, const CodeRanges& inRanges,
                   const PlanarRow& outRow) {
    for (std::size_t plane = 0; plane < kChromaPlaneCount; ++plane) {
        const auto& codes = inPicture.chroma[plane];
        LoadSamples(codes.start + codes.rowBytes * inChromaRow, codes.step,
                    HalfWidth(inPicture.width), inRanges.offset[plane + 1],
                    inRanges.scale[plane + 1], outRow[plane + 1]);
    }
}

PlanarStore::PlanarStore(const Destination& inPicture, const CodeRanges& inRanges,
                         Scratch& ioScratch)
    : picture_(inPicture),
      ranges_(inRanges),
      fieldCount_(ChromaFieldCount(inPicture.format, inPicture.height)) {
    const std::int32_t count = HalfWidth(picture_.width);
    quartered_ = ioScratch.Floats(count);
    if (picture_.format.chroma.rows == ChromaRows::Each) return;
    constexpr std::int32_t kTriangle = 3;
    for (std::size_t plane = 0; plane < kChromaPlaneCount; ++plane) {
        for (std::int32_t field = 0; field < fieldCount_; ++field) {
            const SampleGrid pixels = {RowsOfField(picture_.height, field, fieldCount_),
                                       fieldCount_, 1.0 * field};
            planes_[plane].weights.push_back(
                MakeWeights({pixels, ChromaRowGrid(picture_.format, picture_.height, plane, field),
                             1, kTriangle}));
            for (OpenRow& row : planes_[plane].open[static_cast<std::size_t>(field)]) {
                row.samples = ioScratch.Floats(count);
            }
        }
    }
}

void PlanarStore::Store(const PlanarRow& inRow, std::int32_t inRowNumber) {
    const std::int32_t rowFromTop = picture_.height - 1 - inRowNumber;
    StoreLuma(inRow, inRowNumber);
    for (std::size_t plane = 0; plane < kChromaPlaneCount; ++plane) {
        if (picture_.format.chroma.rows == ChromaRows::Each) {
            StoreChroma(plane, inRow[plane + 1], rowFromTop);
        } else {
            AddChroma(plane, inRow[plane + 1], rowFromTop);
        }
    }
}

void PlanarStore::StoreLuma(const PlanarRow& inRow, std::int32_t inRowNumber) {
    StoreSamples(inRow[0], picture_.width, ranges_.offset[0], ranges_.scale[0], 1,
                 RowAt(picture_, picture_.height - 1 - inRowNumber));
}

void PlanarStore::StoreChromaRow(const PlanarRow& inRow, std::int32_t inChromaRow) {
    for (std::size_t plane = 0; plane < kChromaPlaneCount; ++plane)
        StoreChroma(plane, inRow[plane + 1], inChromaRow);
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
    if (HasQuarterChroma(picture_.format)) {
        HalveChroma(inSamples, HalfWidth(picture_.width), quartered_);
        inSamples = quartered_;
    }
    const PlaneOf<std::byte>& plane = picture_.chroma[inPlane];
    StoreSamples(inSamples, ChromaWidth(picture_.format, picture_.width),
                 ranges_.offset[inPlane + 1], ranges_.scale[inPlane + 1], plane.step,
                 plane.start + plane.rowBytes * inChromaRow);
}

}  // namespace scanvo

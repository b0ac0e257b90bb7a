// Filters: which samples of a row or column make a sample of its scaled form, and by what weights.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace scanvo {

/// Where the samples of a plane lie along one axis of its picture: sample i on pixel first + i *
/// pitch. Luma and RGB have {count, 1, 0}, 4:2:2 chroma {count, 2, 0}, the rows of a field {count,
/// 2, first row}.
struct SampleGrid {
    std::int32_t count = 0;
    std::int32_t pitch = 1;
    double first = 0;

    bool operator==(const SampleGrid&) const = default;
};

/// One direction of a scaling: from one grid to another of a picture scaled so that scale source
/// pixels become one destination pixel.
struct Axis {
    SampleGrid source;
    SampleGrid destination;
    double scale = 1;
    std::int32_t quality = 0;

    bool operator==(const Axis&) const = default;
};

/// What each destination sample is made of.
struct WeightTable {
    std::int32_t Count() const { return static_cast<std::int32_t>(first.size()); }
    const float* WeightsOf(std::int32_t inDestination) const {
        return weights.data() + std::int64_t{tapCount} * inDestination;
    }

    std::size_t Bytes() const {
        return sizeof(float) * (weights.size() + weightsByTap.size()) +
               sizeof(std::int32_t) * first.size();
    }

    /// Taps of every destination sample; all lie inside the source.
    std::int32_t tapCount = 0;
    /// The source sample of each destination sample's first tap, never decreasing.
    std::vector<std::int32_t> first;
    /// tapCount weights for each destination sample; each sample's sum is 1.
    std::vector<float> weights;
    /// The same weights: those of the first taps, then those of the second taps, and so on.
    std::vector<float> weightsByTap;
};

/// Pixels are centred at half positions, so the pictures' edges coincide. Taps beyond an end count
/// for the sample at that end.
///
/// Quality 0 and 1 take the nearest sample; 2 interpolates linearly when enlarging and averages the
/// covered samples when shrinking; 3 interpolates linearly, 4 by the cubic of Catmull and Rom, 5
/// and more by three lobes of Lanczos's window. The kernels of 3 and more grow when shrinking, so
/// that every source sample counts.
WeightTable MakeWeights(const Axis& inAxis);

/// Rounds weights whose sum is 1 so that the sum is 1 << inBits.
void RoundWeights(const float* inWeights, std::int32_t inCount, int inBits,
                  std::int16_t* outWeights);

/// One destination sample's taps, with rounded weights.
struct RoundedTaps {
    std::int32_t first;
    std::vector<std::int16_t> weights;
};

/// inTapCount taps of a destination sample, all inside the source, which has as many samples or
/// more; some weigh nothing where the table has fewer. Past the table's end those of its last one.
RoundedTaps RoundedTapsOf(const WeightTable& inTable, std::size_t inDestination,
                          std::int32_t inTapCount, std::int32_t inSourceCount, int inBits);

/// Rows of bytes or words that are filtered together, so that weights are read once for all of
/// them.
constexpr std::int32_t kFilteredTogether = 4;

/// Filtered rows of these that are mixed at once; more would keep too much of the picture.
constexpr std::int32_t kMostMixedRows = 32;

// What the weights are used for is written with vectors, for floats in fast/FloatFilters.cpp.

/// inWeights.Count() samples out of a row of samples.
void FilterAlongRow(const float* inSamples, const WeightTable& inWeights,
                    float* __restrict outSamples);

/// The weighted sum of rows: of all at once, or one more added to it.
void MixWeighted(const float* const* inRows, const float* inWeights, std::int32_t inRowCount,
                 std::int32_t inCount, float* __restrict outSamples);
void AddWeighted(const float* inSamples, float inWeight, std::int32_t inCount,
                 float* __restrict ioSamples);

}  // namespace scanvo

// What scaling pixels of four bytes consists of: filtering along a row, mixing rows, and short
// cuts.
//
// Filtered rows hold a code c as (c - 128) * 128 in 16 bits, which leaves room for what filters
// with negative weights overshoot.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "rows/Filters.h"

namespace scanvo {

/// Weights along a row in the order that one set of kernels reads them.
struct ByteWeights {
    std::size_t Bytes() const {
        return sizeof(std::int32_t) * first.size() + sizeof(std::int16_t) * weights.size();
    }

    /// Taps of every destination pixel, in fours; 0 when the source has fewer pixels than that.
    std::int32_t quadCount = 0;
    /// The source pixel of each destination pixel's first tap; all taps lie inside the source. As
    /// many as the filtered row holds, which may be more than there are destination pixels.
    std::vector<std::int32_t> first;
    std::vector<std::int16_t> weights;
};

/// Weights of a mixed row: 1 is 16384.
constexpr int kMixBits = 14;

struct ByteKernels {
    ByteWeights (*makeWeights)(const Axis& inAxis);

    /// Filters two rows, which may be the same. outFirst and outSecond hold four samples for each
    /// of inWeights.first.
    void (*filterRows)(const std::byte* inFirst, const std::byte* inSecond,
                       const ByteWeights& inWeights, std::int16_t* outFirst,
                       std::int16_t* outSecond);

    /// The weighted sum of filtered rows. Sets the bits of inOpaque in each pixel.
    void (*mixRows)(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                    std::int32_t inRowCount, std::uint32_t inOpaque, std::byte* outRow,
                    std::int32_t inWidth);

    /// The means of two by two pixels, rounded to nearest, halves up.
    void (*halveRows)(const std::byte* inFirst, const std::byte* inSecond, std::uint32_t inOpaque,
                      std::byte* outRow, std::int32_t inWidth);

    /// The pixels at inPlaces.
    void (*takePixels)(const std::byte* inRow, const std::int32_t* inPlaces, std::uint32_t inOpaque,
                       std::byte* outRow, std::int32_t inWidth);

    /// Whether every pixel has all bits of inAlpha.
    bool (*isOpaque)(const std::byte* inRow, std::uint32_t inAlpha, std::int32_t inWidth);
};

/// Those for this processor; null when it has no vectors.
const ByteKernels* FindByteKernels();

/// Rounds weights whose sum is 1 so that the sum is 1 << inBits.
void RoundWeights(const float* inWeights, std::int32_t inCount, int inBits,
                  std::int16_t* outWeights);

}  // namespace scanvo

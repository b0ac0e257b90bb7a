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

struct ByteWeights;

/// Filters kFilteredTogether rows, some of which may be the same. The results have four samples for
/// each pixel that the weights are for. False when a pixel lacks bits of inAlpha; the results are
/// then of no use.
using FilterByteRows = bool (*)(const std::byte* const* inRows, const ByteWeights& inWeights,
                                std::uint32_t inAlpha, std::int16_t* const* outRows);

/// Weights along a row.
struct ByteWeights {
    std::size_t Bytes() const {
        return sizeof(std::int32_t) * first.size() + sizeof(std::int16_t) * weights.size();
    }

    /// Null when the source is too narrow for any.
    FilterByteRows filter = nullptr;
    /// Taps of every destination pixel, in fours.
    std::int32_t quadCount = 0;
    /// The destination's width, rounded up to whole vectors.
    std::size_t pixelCount = 0;
    /// Where to read, and what to make of it, in the order in which the filter goes through them.
    std::vector<std::int32_t> first;
    std::vector<std::int16_t> weights;
};

/// Weights of a mixed row: 1 is 16384.
constexpr int kMixBits = 14;

struct ByteKernels {
    ByteWeights (*makeWeights)(const Axis& inAxis);

    /// The weighted sum of filtered rows. Sets the bits of inOpaque in each pixel.
    void (*mixRows)(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                    std::int32_t inRowCount, std::uint32_t inOpaque, std::byte* outRow,
                    std::int32_t inWidth);

    /// Colour times alpha, which comes first where inIsReversed and stays as it is, in 256ths of
    /// codes. True when all pixels show wholly.
    bool (*premultiplyRow)(const std::byte* inRow, std::int32_t inWidth, bool inIsReversed,
                           std::uint16_t* outNumbers);

    /// As mixRows, out of premultiplied colour, which becomes straight. The alpha comes first where
    /// inIsReversed.
    void (*mixIntoStraightRow)(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                               std::int32_t inRowCount, bool inIsReversed, std::uint32_t inOpaque,
                               std::byte* outRow, std::int32_t inWidth);

    /// The means of two by two pixels, rounded to nearest, halves up. False as with filtering.
    bool (*halveRows)(const std::byte* inFirst, const std::byte* inSecond, std::uint32_t inAlpha,
                      std::uint32_t inOpaque, std::byte* outRow, std::int32_t inWidth);

    /// The same of straight colour that counts by its alpha.
    void (*halveStraightRows)(const std::byte* inFirst, const std::byte* inSecond,
                              bool inIsReversed, std::uint32_t inOpaque, std::byte* outRow,
                              std::int32_t inWidth);

    /// As halveRows, of four by four pixels, from four rows.
    bool (*quarterRows)(const std::byte* const* inRows, std::uint32_t inAlpha,
                        std::uint32_t inOpaque, std::byte* outRow, std::int32_t inWidth);

    /// The pixels at inPlaces.
    void (*takePixels)(const std::byte* inRow, const std::int32_t* inPlaces, std::uint32_t inOpaque,
                       std::byte* outRow, std::int32_t inWidth);
};

/// Those for this processor; null when it has no vectors.
const ByteKernels* FindByteKernels();

}  // namespace scanvo

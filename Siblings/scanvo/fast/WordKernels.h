// What scaling the numbers of half rows consists of: filtering along a row and mixing rows.
//
// Filtered rows hold a number n as (n - 32768) / 2 in 16 bits, which leaves room for what filters
// with negative weights overshoot.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "rows/Filters.h"

namespace scanvo {

/// Rows that are filtered together, so that weights are read once for all of them.
constexpr std::size_t kWordRowsTogether = 4;

/// Weights along rows of pixels that have one number each or two.
struct WordWeights {
    std::size_t Bytes() const {
        return sizeof(std::int32_t) * first.size() + sizeof(std::int16_t) * steps.size();
    }

    /// 0 where such a scale cannot be done.
    std::int32_t pairCount = 0;
    /// Of a filtered row: the destination's numbers, rounded up to whole vectors.
    std::size_t numberCount = 0;
    /// By vector of sums and pair of taps: where to read, which of the numbers there to take, and
    /// their weights.
    std::vector<std::int32_t> first;
    std::vector<std::int16_t> steps;
};

struct WordKernels {
    WordWeights (*makeWeights)(const Axis& inAxis);
    WordWeights (*makePairWeights)(const Axis& inAxis);

    void (*filterRows)(const std::uint16_t* const* inRows, const WordWeights& inWeights,
                       std::int16_t* const* outRows);

    /// The weighted sum of filtered rows; a weight of 1 is 1 << kWordBits.
    void (*mixRows)(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                    std::int32_t inRowCount, std::size_t inCount, std::uint16_t* outNumbers);
};

constexpr int kWordBits = 14;

/// Null where no instruction looks words up in two vectors.
const WordKernels* FindWordKernels();

}  // namespace scanvo

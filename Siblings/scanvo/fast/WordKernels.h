// What scaling rows of 16-bit numbers consists of: filtering along a row and mixing rows.
//
// Filtered rows hold a number n as (n - 32768) / 2 in 16 bits, which leaves room for what filters
// with negative weights overshoot.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "rows/Filters.h"

namespace scanvo {

struct WordWeights;

/// Filters kFilteredTogether rows, some of which may be the same.
using FilterWordRows = void (*)(const std::uint16_t* const* inRows, const WordWeights& inWeights,
                                std::int16_t* const* outRows);

/// Weights along rows.
struct WordWeights {
    std::size_t Bytes() const {
        return sizeof(std::int32_t) * first.size() + sizeof(std::int16_t) * steps.size();
    }

    /// Null where such a scale cannot be done.
    FilterWordRows filter = nullptr;
    /// Taps of every destination pixel, in pairs.
    std::int32_t pairCount = 0;
    /// Of a filtered row: the destination's numbers, rounded up to whole vectors.
    std::size_t numberCount = 0;
    /// Where to read, and what to make of it, in the order in which the filter goes through them.
    std::vector<std::int32_t> first;
    std::vector<std::int16_t> steps;
};

struct WordKernels {
    /// For rows of pixels that have one number each, two or four. The first two, and
    /// mixRows, need an instruction that looks words up in two vectors.
    WordWeights (*makeWeights)(const Axis& inAxis);
    WordWeights (*makePairWeights)(const Axis& inAxis);
    WordWeights (*makeQuadWeights)(const Axis& inAxis);

    /// The weighted sum of filtered rows; a weight of 1 is 1 << kWordBits.
    void (*mixRows)(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                    std::int32_t inRowCount, std::size_t inCount, std::uint16_t* outNumbers);
};

constexpr int kWordBits = 14;

/// Those for this processor; null when it has no vectors.
const WordKernels* FindWordKernels();

}  // namespace scanvo

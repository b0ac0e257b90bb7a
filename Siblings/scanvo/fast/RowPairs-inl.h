// Blocks of a row, and sums of products of 16-bit samples, two by two. Included once for each
// instruction set, inside a file that Highway includes again for every one.
#if defined(SCANVO_FAST_ROW_PAIRS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SCANVO_FAST_ROW_PAIRS_INL_H_
#undef SCANVO_FAST_ROW_PAIRS_INL_H_
#else
#define SCANVO_FAST_ROW_PAIRS_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#include "rows/Filters.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using Shorts = hn::Vec<hn::ScalableTag<std::int16_t>>;
using Ints = hn::Vec<hn::ScalableTag<std::int32_t>>;

/// The 16 bytes from each of some pixels on.
template <std::size_t pixelBytes, class Tag>
HWY_INLINE hn::Vec<Tag> LoadBlocks(Tag inTag, const std::uint8_t* inRow,
                                   const std::int32_t* inPixels) {
    constexpr std::size_t kBlockBytes = 16;
    constexpr std::size_t kLanes = hn::MaxLanes(Tag());
    if constexpr (kLanes == kBlockBytes) {
        return hn::LoadU(inTag, inRow + std::int64_t{pixelBytes} * *inPixels);
    } else {
        const hn::Half<Tag> half;
        constexpr std::size_t kHalfBlocks = kLanes / kBlockBytes / 2;
        return hn::Combine(inTag, LoadBlocks<pixelBytes>(half, inRow, inPixels + kHalfBlocks),
                           LoadBlocks<pixelBytes>(half, inRow, inPixels));
    }
}

/// inSums plus the sums of products of neighbours.
HWY_INLINE Ints AddPairs(Shorts inLeft, Shorts inRight, Ints inSums) {
    const hn::ScalableTag<std::int32_t> ints;
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
    Ints unused = hn::Zero(ints);
    return hn::ReorderWidenMulAccumulate(ints, inLeft, inRight, inSums, unused);
#else
    const auto even = [&](Shorts in) {
        return hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::BitCast(ints, in)));
    };
    const auto odd = [&](Shorts in) { return hn::ShiftRight<16>(hn::BitCast(ints, in)); };
    return hn::Add(
        inSums, hn::Add(hn::Mul(even(inLeft), even(inRight)), hn::Mul(odd(inLeft), odd(inRight))));
#endif
}

/// Rows to be mixed, two by two, each with both of their weights; a last one alone with itself.
class RowPairs {
  public:
    /// At most kMostMixedRows.
    RowPairs(const std::int16_t* const* inRows, const std::int16_t* inWeights,
             std::int32_t inRowCount)
        : count_((inRowCount + 1) / 2) {
        for (std::int32_t pair = 0; pair < count_; ++pair) {
            const std::int32_t row = 2 * pair;
            const bool isPair = row + 1 < inRowCount;
            pairs_[pair] = {
                inRows[row], inRows[isPair ? row + 1 : row],
                static_cast<std::uint16_t>(inWeights[row]) |
                    std::uint32_t{static_cast<std::uint16_t>(isPair ? inWeights[row + 1] : 0)}
                        << 16};
        }
    }

    /// The weighted sums of a vector of samples in every row: of the lower half of each 128-bit
    /// block, and of the upper one.
    struct Sums {
        Ints lower, upper;
    };

    HWY_INLINE Sums At(std::size_t inX, Ints inStart) const {
        const hn::ScalableTag<std::int16_t> shorts;
        const hn::ScalableTag<std::uint32_t> weightPairs;
        Sums sums{inStart, inStart};
        for (std::int32_t i = 0; i < count_; ++i) {
            const Pair& pair = pairs_[i];
            const Shorts first = hn::LoadU(shorts, pair.first + inX);
            const Shorts second = hn::LoadU(shorts, pair.second + inX);
            const Shorts weights = hn::BitCast(shorts, hn::Set(weightPairs, pair.weights));
            sums.lower = AddPairs(hn::InterleaveLower(shorts, first, second), weights, sums.lower);
            sums.upper = AddPairs(hn::InterleaveUpper(shorts, first, second), weights, sums.upper);
        }
        return sums;
    }

  private:
    struct Pair {
        const std::int16_t* first;
        const std::int16_t* second;
        std::uint32_t weights;
    };
    std::int32_t count_;
    Pair pairs_[kMostMixedRows / 2];
};

#endif

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

// Sums of products of 16-bit samples, two by two. Included once for each instruction set, inside a
// file that Highway includes again for every one.
#if defined(SCANVO_FAST_ROW_PAIRS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SCANVO_FAST_ROW_PAIRS_INL_H_
#undef SCANVO_FAST_ROW_PAIRS_INL_H_
#else
#define SCANVO_FAST_ROW_PAIRS_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using Shorts = hn::Vec<hn::ScalableTag<std::int16_t>>;
using Ints = hn::Vec<hn::ScalableTag<std::int32_t>>;

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

/// The weighted sums of a vector of samples in every row: of the lower half of each 128-bit block,
/// and of the upper one.
struct RowSums {
    Ints lower, upper;
};

HWY_INLINE RowSums SumRowsAt(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                             std::int32_t inRowCount, std::size_t inX, Ints inStart) {
    const hn::ScalableTag<std::int16_t> shorts;
    const hn::ScalableTag<std::uint32_t> pairs;
    RowSums sums{inStart, inStart};
    for (std::int32_t row = 0; row < inRowCount; row += 2) {
        const bool isPair = row + 1 < inRowCount;
        const std::int32_t next = isPair ? row + 1 : row;
        const Shorts first = hn::LoadU(shorts, inRows[row] + inX);
        const Shorts second = hn::LoadU(shorts, inRows[next] + inX);
        const std::uint32_t both =
            static_cast<std::uint16_t>(inWeights[row]) |
            std::uint32_t{isPair ? static_cast<std::uint16_t>(inWeights[next]) : 0u} << 16;
        const Shorts weights = hn::BitCast(shorts, hn::Set(pairs, both));
        sums.lower = AddPairs(hn::InterleaveLower(shorts, first, second), weights, sums.lower);
        sums.upper = AddPairs(hn::InterleaveUpper(shorts, first, second), weights, sums.upper);
    }
    return sums;
}

#endif

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

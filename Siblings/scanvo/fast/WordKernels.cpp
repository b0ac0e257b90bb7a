// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/WordKernels.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include <algorithm>
#include <memory>

#include "fast/RowPairs-inl.h"
#include "fast/WordKernels.h"
#include "rows/KeptTables.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

const WordKernels* TheWordKernels() {
    return nullptr;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<std::uint8_t> kBytes;
constexpr hn::ScalableTag<std::uint16_t> kWords;
constexpr hn::ScalableTag<std::int16_t> kShorts;
constexpr hn::ScalableTag<std::int32_t> kInts;
using Words = hn::Vec<decltype(kWords)>;

constexpr std::size_t kWordLanes = HWY_LANES(std::uint16_t);
constexpr std::size_t kIntLanes = HWY_LANES(std::int32_t);

// ---- Along a row --------------------------------------------------------------------------------

// A vector of numbers of each row.
struct WordSums {
    Ints of[kFilteredTogether];
};

// inPairsAt(row, pair) gives the numbers that a vector of weights is for, and inWeightsOf(pair)
// these.
template <class PairsAt, class WeightsOf>
HWY_INLINE WordSums SumPairs(std::int32_t inPairCount, const PairsAt& inPairsAt,
                             const WeightsOf& inWeightsOf) {
    const Ints half = hn::Set(kInts, 1 << kWordBits);
    const Words centre = hn::Set(kWords, std::uint16_t{0x8000});
    WordSums sums{{half, half, half, half}};
    for (std::int32_t pair = 0; pair < inPairCount; ++pair) {
        const Shorts weights = inWeightsOf(pair);
        for (std::int32_t row = 0; row < kFilteredTogether; ++row) {
            sums.of[row] = AddPairs(hn::BitCast(kShorts, hn::Xor(inPairsAt(row, pair), centre)),
                                    weights, sums.of[row]);
        }
    }
    for (Ints& sum : sums.of)
        sum = hn::ShiftRight<kWordBits + 1>(sum);
    return sums;
}

// inSumsAt(vector) gives the sums of all rows.
template <class SumsAt>
HWY_INLINE void StoreFiltered(const SumsAt& inSumsAt, std::size_t inNumberCount,
                              std::int16_t* const* outRows) {
    for (std::size_t x = 0; x < inNumberCount; x += 2 * kIntLanes) {
        const WordSums low = inSumsAt(x / kIntLanes);
        const WordSums high = inSumsAt(x / kIntLanes + 1);
        for (std::int32_t row = 0; row < kFilteredTogether; ++row) {
            hn::StoreU(hn::ConcatEven(kShorts, hn::BitCast(kShorts, high.of[row]),
                                      hn::BitCast(kShorts, low.of[row])),
                       kShorts, outRows[row] + x);
        }
    }
}

#if HWY_TARGET == HWY_AVX3_DL

// Of which words to take, and of their weights.
constexpr std::size_t kStepShorts = 2 * kWordLanes;

// Numbers from a place on, out of one vector or two.
template <int windowVectors>
HWY_INLINE Words TakeNumbers(const std::uint16_t* inWindow, Words inWhich) {
    const Words low = hn::LoadU(kWords, inWindow);
    if constexpr (windowVectors == 1) return Words{_mm512_permutexvar_epi16(inWhich.raw, low.raw)};
    const Words high = hn::LoadU(kWords, inWindow + kWordLanes);
    return Words{_mm512_permutex2var_epi16(low.raw, inWhich.raw, high.raw)};
}

// There are a place and a step for each vector of sums and pair of taps.
template <int windowVectors>
void FilterByWindows(const std::uint16_t* const* inRows, const WordWeights& inWeights,
                     std::int16_t* const* outRows) {
    const std::int32_t pairs = inWeights.pairCount;
    const auto sumsAt = [&](std::size_t vector) HWY_ATTR {
        const std::size_t from = vector * static_cast<std::size_t>(pairs);
        const std::int32_t* const first = inWeights.first.data() + from;
        const std::int16_t* const steps = inWeights.steps.data() + from * kStepShorts;
        const auto stepOf = [steps](std::int32_t pair) {
            return steps + static_cast<std::size_t>(pair) * kStepShorts;
        };
        return SumPairs(
            pairs,
            [&](std::int32_t row, std::int32_t pair) HWY_ATTR {
                const Words which =
                    hn::LoadU(kWords, reinterpret_cast<const std::uint16_t*>(stepOf(pair)));
                return TakeNumbers<windowVectors>(inRows[row] + first[pair], which);
            },
            [&](std::int32_t pair)
                HWY_ATTR { return hn::LoadU(kShorts, stepOf(pair) + kWordLanes); });
    };
    StoreFiltered(sumsAt, inWeights.numberCount, outRows);
}

// Nothing when the taps of a vector of sums do not lie in one window.
template <std::size_t numbers, int windowVectors>
WordWeights LayOutWindows(const Axis& inAxis) {
    constexpr std::int32_t kWindowNumbers = windowVectors * static_cast<std::int32_t>(kWordLanes);
    constexpr std::int32_t kPixels = kWindowNumbers / static_cast<std::int32_t>(numbers);
    const std::shared_ptr<const WeightTable> table = KeptWeights(inAxis);
    const auto taps = static_cast<std::size_t>(table->tapCount);
    const std::size_t pairCount = (taps + 1) / 2;
    const auto count = static_cast<std::size_t>(table->Count());
    if (inAxis.source.count < kPixels) return {};
    const std::size_t vectors = (numbers * count + 2 * kIntLanes - 1) / (2 * kIntLanes) * 2;
    WordWeights weights;
    weights.first.resize(vectors * pairCount);
    weights.steps.resize(vectors * pairCount * kStepShorts);
    std::vector<std::int16_t> rounded(2 * pairCount);
    for (std::size_t lane = 0; lane < vectors * kIntLanes; ++lane) {
        const auto pixel = static_cast<std::int32_t>(std::min(lane / numbers, count - 1));
        const std::int32_t firstTap = table->first[static_cast<std::size_t>(pixel)];
        RoundWeights(table->WeightsOf(pixel), table->tapCount, kWordBits, rounded.data());
        for (std::size_t tap = 0; tap < 2 * pairCount; ++tap) {
            const std::size_t step = lane / kIntLanes * pairCount + tap / 2;
            // One too many weighs nothing, wherever it lies.
            const std::int32_t from = firstTap + static_cast<std::int32_t>(std::min(tap, taps - 1));
            std::int32_t& window = weights.first[step];
            if (lane % kIntLanes == 0 && tap % 2 == 0)
                window = static_cast<std::int32_t>(numbers) *
                         std::min(from, inAxis.source.count - kPixels);
            const std::int32_t place = static_cast<std::int32_t>(numbers) * from - window +
                                       static_cast<std::int32_t>(lane % numbers);
            if (place >= kWindowNumbers) return {};
            std::int16_t* const shorts =
                weights.steps.data() + step * kStepShorts + 2 * (lane % kIntLanes) + tap % 2;
            shorts[0] = static_cast<std::int16_t>(place);
            shorts[kWordLanes] = tap < taps ? rounded[tap] : std::int16_t{0};
        }
    }
    weights.filter = FilterByWindows<windowVectors>;
    weights.pairCount = static_cast<std::int32_t>(pairCount);
    weights.numberCount = vectors * kIntLanes;
    return weights;
}

// For pixels of so many numbers.
template <std::size_t numbers>
WordWeights MakeWindows(const Axis& inAxis) {
    WordWeights weights = LayOutWindows<numbers, 1>(inAxis);
    return weights.filter != nullptr ? weights : LayOutWindows<numbers, 2>(inAxis);
}

#else

template <std::size_t numbers>
WordWeights MakeWindows(const Axis&) {
    return {};
}

#endif

// Two pixels of four numbers, number by number.
alignas(16) constexpr std::uint8_t kPixelPair[16] = {0, 1, 8,  9,  2, 3, 10, 11,
                                                     4, 5, 12, 13, 6, 7, 14, 15};
constexpr std::size_t kBlocks = kIntLanes / 4;

// There is a place for each pixel, and a step for each kBlocks pixels and pair of taps.
void FilterByBlocks(const std::uint16_t* const* inRows, const WordWeights& inWeights,
                    std::int16_t* const* outRows) {
    const hn::Vec<decltype(kBytes)> pixelPair = hn::LoadDup128(kBytes, kPixelPair);
    const auto pairs = static_cast<std::size_t>(inWeights.pairCount);
    const auto sumsAt = [&](std::size_t vector) HWY_ATTR {
        const std::int32_t* const first = inWeights.first.data() + vector * kBlocks;
        const std::int16_t* const steps = inWeights.steps.data() + vector * pairs * kWordLanes;
        return SumPairs(
            inWeights.pairCount,
            [&](std::int32_t row, std::int32_t pair) HWY_ATTR {
                const auto* const pixels =
                    reinterpret_cast<const std::uint8_t*>(inRows[row] + std::int64_t{8} * pair);
                return hn::BitCast(
                    kWords, hn::TableLookupBytes(LoadBlocks<8>(kBytes, pixels, first), pixelPair));
            },
            [&](std::int32_t pair) HWY_ATTR {
                return hn::LoadU(kShorts, steps + static_cast<std::size_t>(pair) * kWordLanes);
            });
    };
    StoreFiltered(sumsAt, inWeights.numberCount, outRows);
}

WordWeights MakeBlocks(const Axis& inAxis) {
    const std::shared_ptr<const WeightTable> table = KeptWeights(inAxis);
    const std::int32_t pairCount = (table->tapCount + 1) / 2;
    if (2 * pairCount > inAxis.source.count) return {};
    const auto pairs = static_cast<std::size_t>(pairCount);
    const auto count = static_cast<std::size_t>(table->Count());
    const std::size_t pixels = (count + 2 * kBlocks - 1) / (2 * kBlocks) * (2 * kBlocks);
    WordWeights weights{FilterByBlocks, pairCount, 4 * pixels, {}, {}};
    weights.first.resize(pixels);
    weights.steps.resize(pixels * pairs * 8);
    for (std::size_t x = 0; x < pixels; ++x) {
        const RoundedTaps taps =
            RoundedTapsOf(*table, x, 2 * pairCount, inAxis.source.count, kWordBits);
        weights.first[x] = taps.first;
        for (std::size_t i = 0; i < pairs * 8; ++i) {
            const std::size_t step = x / kBlocks * pairs + i / 8;
            weights.steps[step * kWordLanes + x % kBlocks * 8 + i % 8] =
                taps.weights[i / 8 * 2 + i % 2];
        }
    }
    return weights;
}

WordWeights MakeQuadWeights(const Axis& inAxis) {
    WordWeights windows = MakeWindows<4>(inAxis);
    return windows.filter != nullptr ? windows : MakeBlocks(inAxis);
}

// ---- Across rows --------------------------------------------------------------------------------

#if HWY_TARGET == HWY_AVX3_DL

void MixWordRows(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                 std::int32_t inRowCount, std::size_t inCount, std::uint16_t* outNumbers) {
    // What makes numbers unsigned again, and rounds.
    const Ints start = hn::Set(kInts, (0x8000 << (kWordBits - 1)) + (1 << (kWordBits - 2)));
    const RowPairs rows(inRows, inWeights, inRowCount);
    for (std::size_t x = 0; x < inCount; x += kWordLanes) {
        const RowPairs::Sums sums = rows.At(x, start);
        const auto number = [](Ints sum) HWY_ATTR { return hn::ShiftRight<kWordBits - 1>(sum); };
        const Words numbers{_mm512_packus_epi32(number(sums.lower).raw, number(sums.upper).raw)};
        hn::StoreU(numbers, kWords, outNumbers + x);
    }
}

#else

// Without windows there are no rows of numbers to mix.
constexpr auto MixWordRows = nullptr;

#endif

const WordKernels* TheWordKernels() {
    static constexpr WordKernels kKernels = {MakeWindows<1>, MakeWindows<2>, MakeQuadWeights,
                                             MixWordRows};
    return &kKernels;
}

#endif

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(TheWordKernels);

}  // namespace

const WordKernels* FindWordKernels() {
    return HWY_DYNAMIC_DISPATCH(TheWordKernels)();
}

}  // namespace scanvo

#endif

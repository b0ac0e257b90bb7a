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

#if HWY_TARGET != HWY_AVX3_DL

const WordKernels* TheWordKernels() {
    return nullptr;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<std::uint16_t> kWords;
constexpr hn::ScalableTag<std::int16_t> kShorts;
constexpr hn::ScalableTag<std::int32_t> kInts;
using Words = hn::Vec<decltype(kWords)>;

constexpr std::size_t kWordLanes = HWY_LANES(std::uint16_t);
constexpr std::size_t kIntLanes = HWY_LANES(std::int32_t);
constexpr std::size_t kWindowNumbers = 2 * kWordLanes;
// Of which words to take, and of their weights.
constexpr std::size_t kStepShorts = 2 * kWordLanes;

// ---- Along a row --------------------------------------------------------------------------------

struct WordSums {
    Ints of[kWordRowsTogether];
};

HWY_INLINE WordSums FilterWindows(const std::uint16_t* const* inRows, const std::int32_t* inFirst,
                                  const std::int16_t* inSteps, std::int32_t inPairCount) {
    const Ints half = hn::Set(kInts, 1 << kWordBits);
    const Words centre = hn::Set(kWords, std::uint16_t{0x8000});
    WordSums sums{{half, half, half, half}};
    for (std::int32_t pair = 0; pair < inPairCount; ++pair) {
        const Words which = hn::LoadU(kWords, reinterpret_cast<const std::uint16_t*>(inSteps));
        const Shorts weights = hn::LoadU(kShorts, inSteps + kWordLanes);
        inSteps += kStepShorts;
        for (std::size_t row = 0; row < kWordRowsTogether; ++row) {
            const std::uint16_t* const window = inRows[row] + inFirst[pair];
            const Words low = hn::LoadU(kWords, window);
            const Words high = hn::LoadU(kWords, window + kWordLanes);
            const Words taps{_mm512_permutex2var_epi16(low.raw, which.raw, high.raw)};
            sums.of[row] =
                AddPairs(hn::BitCast(kShorts, hn::Xor(taps, centre)), weights, sums.of[row]);
        }
    }
    for (Ints& sum : sums.of)
        sum = hn::ShiftRight<kWordBits + 1>(sum);
    return sums;
}

void FilterWordRows(const std::uint16_t* const* inRows, const WordWeights& inWeights,
                    std::int16_t* const* outRows) {
    const auto pairs = static_cast<std::size_t>(inWeights.pairCount);
    const std::int32_t* first = inWeights.first.data();
    const std::int16_t* steps = inWeights.steps.data();
    for (std::size_t x = 0; x < inWeights.numberCount; x += 2 * kIntLanes) {
        const WordSums low = FilterWindows(inRows, first, steps, inWeights.pairCount);
        const WordSums high =
            FilterWindows(inRows, first + pairs, steps + pairs * kStepShorts, inWeights.pairCount);
        first += 2 * pairs;
        steps += 2 * pairs * kStepShorts;
        for (std::size_t row = 0; row < kWordRowsTogether; ++row) {
            hn::StoreU(hn::ConcatEven(kShorts, hn::BitCast(kShorts, high.of[row]),
                                      hn::BitCast(kShorts, low.of[row])),
                       kShorts, outRows[row] + x);
        }
    }
}

// For pixels of so many numbers.
template <std::size_t numbers>
WordWeights MakeWordWeights(const Axis& inAxis) {
    constexpr auto kPixels = static_cast<std::int32_t>(kWindowNumbers / numbers);
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
            if (place >= static_cast<std::int32_t>(kWindowNumbers)) return {};
            std::int16_t* const shorts =
                weights.steps.data() + step * kStepShorts + 2 * (lane % kIntLanes) + tap % 2;
            shorts[0] = static_cast<std::int16_t>(place);
            shorts[kWordLanes] = tap < taps ? rounded[tap] : std::int16_t{0};
        }
    }
    weights.pairCount = static_cast<std::int32_t>(pairCount);
    weights.numberCount = vectors * kIntLanes;
    return weights;
}

// ---- Across rows --------------------------------------------------------------------------------

void MixWordRows(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                 std::int32_t inRowCount, std::size_t inCount, std::uint16_t* outNumbers) {
    // What makes numbers unsigned again, and rounds.
    const Ints start = hn::Set(kInts, (0x8000 << (kWordBits - 1)) + (1 << (kWordBits - 2)));
    for (std::size_t x = 0; x < inCount; x += kWordLanes) {
        const RowSums sums = SumRowsAt(inRows, inWeights, inRowCount, x, start);
        const auto number = [](Ints sum) HWY_ATTR { return hn::ShiftRight<kWordBits - 1>(sum); };
        const Words numbers{_mm512_packus_epi32(number(sums.lower).raw, number(sums.upper).raw)};
        hn::StoreU(numbers, kWords, outNumbers + x);
    }
}

const WordKernels* TheWordKernels() {
    static constexpr WordKernels kKernels = {MakeWordWeights<1>, MakeWordWeights<2>, FilterWordRows,
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

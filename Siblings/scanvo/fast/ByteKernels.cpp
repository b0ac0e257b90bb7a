// This file is compiled once for each instruction set; Highway includes it again for every one.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
#endif
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/ByteKernels.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "fast/ByteKernels.h"
#include "rows/KeptTables.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

const ByteKernels* TheKernels() {
    return nullptr;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<std::uint8_t> kBytes;
constexpr hn::ScalableTag<std::int16_t> kShorts;
constexpr hn::ScalableTag<std::int32_t> kInts;
constexpr hn::ScalableTag<std::uint32_t> kPixels;
using Bytes = hn::Vec<decltype(kBytes)>;
using Shorts = hn::Vec<decltype(kShorts)>;
using Ints = hn::Vec<decltype(kInts)>;
using Pixels = hn::Vec<decltype(kPixels)>;

constexpr std::size_t kBlockBytes = 16;
// Destination pixels of one vector of sums: one in each block.
constexpr std::size_t kBlocks = HWY_LANES(std::uint8_t) / kBlockBytes;
// Destination pixels of one vector of bytes. Filtered rows are whole multiples of that.
constexpr std::size_t kPixelsAtOnce = 4 * kBlocks;

HWY_INLINE Pixels LoadPixels(const std::byte* inPixels) {
    return hn::BitCast(kPixels, hn::LoadU(kBytes, reinterpret_cast<const std::uint8_t*>(inPixels)));
}

HWY_INLINE void StorePixels(Pixels inPixels, std::byte* outPixels) {
    hn::StoreU(hn::BitCast(kBytes, inPixels), kBytes, reinterpret_cast<std::uint8_t*>(outPixels));
}

// As many pixels as are left at the end of a row.
HWY_INLINE void StoreSomePixels(Pixels inPixels, std::size_t inCount, std::byte* outPixels) {
    std::byte pixels[sizeof(std::uint32_t) * kPixelsAtOnce];
    StorePixels(inPixels, pixels);
    std::memcpy(outPixels, pixels, sizeof(std::uint32_t) * std::min(inCount, kPixelsAtOnce));
}

// ---- Along a row --------------------------------------------------------------------------------

// 1 is 8192: products with a filtered row's codes, 128 times themselves, are shifted down by 6.
constexpr int kFilterBits = 13;

// For each pair of taps a vector: in the block of each destination pixel the two weights, four
// times, one for each component.
ByteWeights MakeByteWeights(const Axis& inAxis) {
    const std::shared_ptr<const WeightTable> table = KeptWeights(inAxis);
    constexpr std::size_t kPairCopies = 4;
    const std::int32_t quadCount = (table->tapCount + 3) / 4;
    const std::int32_t tapCount = 4 * quadCount;
    if (tapCount > inAxis.source.count) return {};
    const auto count = static_cast<std::size_t>(table->Count());
    ByteWeights result;
    result.quadCount = quadCount;
    result.first.resize((count + kPixelsAtOnce - 1) / kPixelsAtOnce * kPixelsAtOnce);
    result.weights.resize(result.first.size() * static_cast<std::size_t>(tapCount) * kPairCopies);
    std::vector<std::int16_t> weights(static_cast<std::size_t>(tapCount));
    for (std::size_t x = 0; x < result.first.size(); ++x) {
        const auto from = static_cast<std::int32_t>(std::min(x, count - 1));
        const std::int32_t first = table->first[static_cast<std::size_t>(from)];
        result.first[x] = std::min(first, inAxis.source.count - tapCount);
        std::fill(weights.begin(), weights.end(), std::int16_t{0});
        RoundWeights(table->WeightsOf(from), table->tapCount, kFilterBits,
                     weights.data() + (first - result.first[x]));
        for (std::size_t tap = 0; tap < weights.size(); ++tap) {
            const std::size_t vector = x / kBlocks * weights.size() / 2 + tap / 2;
            const std::size_t place = vector * HWY_LANES(std::int16_t) + x % kBlocks * 8 + tap % 2;
            for (std::size_t copy = 0; copy < kPairCopies; ++copy) {
                result.weights[place + 2 * copy] = weights[tap];
            }
        }
    }
    return result;
}

// The four pixels from each of some places on.
template <class Tag>
HWY_INLINE hn::Vec<Tag> LoadBlocks(Tag inTag, const std::uint8_t* inRow,
                                   const std::int32_t* inFirst) {
    constexpr std::size_t kLanes = hn::MaxLanes(Tag());
    if constexpr (kLanes == kBlockBytes) {
        return hn::LoadU(inTag, inRow + std::int64_t{4} * *inFirst);
    } else {
        const hn::Half<Tag> half;
        constexpr std::size_t kHalfBlocks = kLanes / kBlockBytes / 2;
        return hn::Combine(inTag, LoadBlocks(half, inRow, inFirst + kHalfBlocks),
                           LoadBlocks(half, inRow, inFirst));
    }
}

// inSums plus the sums of products of neighbours.
HWY_INLINE Ints AddPairs(Shorts inLeft, Shorts inRight, Ints inSums) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
    Ints unused = hn::Zero(kInts);
    return hn::ReorderWidenMulAccumulate(kInts, inLeft, inRight, inSums, unused);
#else
    const auto even = [](Shorts in) {
        return hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::BitCast(kInts, in)));
    };
    const auto odd = [](Shorts in) { return hn::ShiftRight<16>(hn::BitCast(kInts, in)); };
    return hn::Add(
        inSums, hn::Add(hn::Mul(even(inLeft), even(inRight)), hn::Mul(odd(inLeft), odd(inRight))));
#endif
}

// Component by component, the codes of two neighbouring pixels of a block in 16 bits.
alignas(16) constexpr std::uint8_t kFirstPair[16] = {0, 0x80, 4, 0x80, 1, 0x80, 5, 0x80,
                                                     2, 0x80, 6, 0x80, 3, 0x80, 7, 0x80};
alignas(16) constexpr std::uint8_t kSecondPair[16] = {8,  0x80, 12, 0x80, 9,  0x80, 13, 0x80,
                                                      10, 0x80, 14, 0x80, 11, 0x80, 15, 0x80};

struct TwoSums {
    Ints first, second;
};

// kBlocks destination pixels of two rows.
HWY_INLINE TwoSums FilterBlocks(const std::uint8_t* inFirst, const std::uint8_t* inSecond,
                                const std::int32_t* inPlaces, const std::int16_t* inWeights,
                                std::int32_t inQuadCount) {
    const Bytes firstPair = hn::LoadDup128(kBytes, kFirstPair);
    const Bytes secondPair = hn::LoadDup128(kBytes, kSecondPair);
    const auto add = [&](const std::uint8_t* row, Shorts weights01, Shorts weights23, Ints sums) {
        const Bytes pixels = LoadBlocks(kBytes, row, inPlaces);
        const auto pair = [&](Bytes which) {
            return hn::BitCast(kShorts, hn::TableLookupBytesOr0(pixels, which));
        };
        return AddPairs(pair(secondPair), weights23, AddPairs(pair(firstPair), weights01, sums));
    };
    // What makes codes signed, and rounds.
    const Ints start = hn::Set(kInts, 32 - (128 << kFilterBits));
    TwoSums sums{start, start};
    for (std::int32_t quad = 0; quad < inQuadCount; ++quad) {
        const Shorts weights01 = hn::LoadU(kShorts, inWeights);
        const Shorts weights23 = hn::LoadU(kShorts, inWeights + HWY_LANES(std::int16_t));
        sums.first = add(inFirst + kBlockBytes * static_cast<std::size_t>(quad), weights01,
                         weights23, sums.first);
        sums.second = add(inSecond + kBlockBytes * static_cast<std::size_t>(quad), weights01,
                          weights23, sums.second);
        inWeights += 2 * HWY_LANES(std::int16_t);
    }
    return {hn::ShiftRight<kFilterBits - 7>(sums.first),
            hn::ShiftRight<kFilterBits - 7>(sums.second)};
}

void FilterRows(const std::byte* inFirst, const std::byte* inSecond, const ByteWeights& inWeights,
                std::int16_t* outFirst, std::int16_t* outSecond) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(inFirst);
    const auto* const second = reinterpret_cast<const std::uint8_t*>(inSecond);
    const std::int16_t* weights = inWeights.weights.data();
    const std::size_t weightStep =
        static_cast<std::size_t>(inWeights.quadCount) * 2 * HWY_LANES(std::int16_t);
    const auto pack = [](Ints low, Ints high, std::int16_t* out) {
        hn::StoreU(hn::ConcatEven(kShorts, hn::BitCast(kShorts, high), hn::BitCast(kShorts, low)),
                   kShorts, out);
    };
    for (std::size_t x = 0; x < inWeights.first.size(); x += 2 * kBlocks) {
        const std::int32_t* const places = inWeights.first.data() + x;
        const TwoSums low = FilterBlocks(first, second, places, weights, inWeights.quadCount);
        const TwoSums high = FilterBlocks(first, second, places + kBlocks, weights + weightStep,
                                          inWeights.quadCount);
        weights += 2 * weightStep;
        pack(low.first, high.first, outFirst + 4 * x);
        pack(low.second, high.second, outSecond + 4 * x);
    }
}

// ---- Across rows --------------------------------------------------------------------------------

// A vector of pixels; inX counts samples.
template <class Weight>
HWY_INLINE Pixels MixPixels(const std::int16_t* const* inRows, const Weight& inWeightOf,
                            std::int32_t inRowCount, std::size_t inX) {
    // What makes codes unsigned again, and rounds.
    Shorts low = hn::Set(kShorts, 128 * 64 + 32);
    Shorts high = low;
    for (std::int32_t row = 0; row < inRowCount; ++row) {
        const Shorts weight = inWeightOf(row);
        const std::int16_t* const samples = inRows[row] + inX;
        low = hn::Add(low, hn::MulFixedPoint15(hn::LoadU(kShorts, samples), weight));
        high = hn::Add(high, hn::MulFixedPoint15(
                                 hn::LoadU(kShorts, samples + HWY_LANES(std::int16_t)), weight));
    }
    const auto code = [](Shorts sums) {
        const Shorts rounded = hn::ShiftRight<6>(sums);
        return hn::BitCast(kBytes,
                           hn::Min(hn::Max(rounded, hn::Zero(kShorts)), hn::Set(kShorts, 255)));
    };
    return hn::BitCast(kPixels, hn::ConcatEven(kBytes, code(high), code(low)));
}

template <class Weight>
HWY_INLINE void MixWith(const std::int16_t* const* inRows, const Weight& inWeightOf,
                        std::int32_t inRowCount, std::uint32_t inOpaque, std::byte* outRow,
                        std::int32_t inWidth) {
    const Pixels opaque = hn::Set(kPixels, inOpaque);
    const auto width = static_cast<std::size_t>(inWidth);
    std::size_t x = 0;
    for (; x + kPixelsAtOnce <= width; x += kPixelsAtOnce) {
        StorePixels(hn::Or(MixPixels(inRows, inWeightOf, inRowCount, 4 * x), opaque),
                    outRow + 4 * x);
    }
    if (x < width) {
        StoreSomePixels(hn::Or(MixPixels(inRows, inWeightOf, inRowCount, 4 * x), opaque), width - x,
                        outRow + 4 * x);
    }
}

// Few rows, whose weights stay in registers.
template <std::int32_t kRowCount>
HWY_INLINE void MixFew(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                       std::uint32_t inOpaque, std::byte* outRow, std::int32_t inWidth) {
    Shorts weights[kRowCount];
    for (std::int32_t row = 0; row < kRowCount; ++row) {
        weights[row] = hn::Set(kShorts, inWeights[row]);
    }
    MixWith(
        inRows, [&weights](std::int32_t row) { return weights[row]; }, kRowCount, inOpaque, outRow,
        inWidth);
}

void MixRows(const std::int16_t* const* inRows, const std::int16_t* inWeights,
             std::int32_t inRowCount, std::uint32_t inOpaque, std::byte* outRow,
             std::int32_t inWidth) {
    switch (inRowCount) {
        case 1:
            return MixFew<1>(inRows, inWeights, inOpaque, outRow, inWidth);
        case 2:
            return MixFew<2>(inRows, inWeights, inOpaque, outRow, inWidth);
        case 3:
            return MixFew<3>(inRows, inWeights, inOpaque, outRow, inWidth);
        case 4:
            return MixFew<4>(inRows, inWeights, inOpaque, outRow, inWidth);
        default:
            MixWith(
                inRows, [inWeights](std::int32_t row) { return hn::Set(kShorts, inWeights[row]); },
                inRowCount, inOpaque, outRow, inWidth);
    }
}

// ---- Short cuts ---------------------------------------------------------------------------------

// Two by two means of bytes without wider sums. Rounding twice makes a mean too large by one where
// a pair was rounded up and the means of both pairs, taken together, were rounded up again.
HWY_INLINE Pixels HalvePixels(const std::byte* inFirst, const std::byte* inSecond) {
    const auto bytes = [](Pixels pixels) { return hn::BitCast(kBytes, pixels); };
    const auto load = [&](const std::byte* pixels) { return bytes(LoadPixels(pixels)); };
    constexpr std::size_t kVectorBytes = HWY_LANES(std::uint8_t);
    const Bytes first0 = load(inFirst);
    const Bytes first1 = load(inFirst + kVectorBytes);
    const Bytes second0 = load(inSecond);
    const Bytes second1 = load(inSecond + kVectorBytes);
    const auto even = [&](Bytes low, Bytes high) {
        return bytes(
            hn::ConcatEven(kPixels, hn::BitCast(kPixels, high), hn::BitCast(kPixels, low)));
    };
    const auto odd = [&](Bytes low, Bytes high) {
        return bytes(hn::ConcatOdd(kPixels, hn::BitCast(kPixels, high), hn::BitCast(kPixels, low)));
    };
    const Bytes mean0 = hn::AverageRound(first0, second0);
    const Bytes mean1 = hn::AverageRound(first1, second1);
    const Bytes uneven0 = hn::Xor(first0, second0);
    const Bytes uneven1 = hn::Xor(first1, second1);
    const Bytes left = even(mean0, mean1);
    const Bytes right = odd(mean0, mean1);
    const Bytes uneven = hn::Or(even(uneven0, uneven1), odd(uneven0, uneven1));
    const Bytes excess = hn::And(hn::And(uneven, hn::Xor(left, right)), hn::Set(kBytes, 1));
    return hn::BitCast(kPixels, hn::Sub(hn::AverageRound(left, right), excess));
}

void HalveRows(const std::byte* inFirst, const std::byte* inSecond, std::uint32_t inOpaque,
               std::byte* outRow, std::int32_t inWidth) {
    const Pixels opaque = hn::Set(kPixels, inOpaque);
    const auto width = static_cast<std::size_t>(inWidth);
    std::size_t x = 0;
    for (; x + kPixelsAtOnce <= width; x += kPixelsAtOnce) {
        StorePixels(hn::Or(HalvePixels(inFirst + 8 * x, inSecond + 8 * x), opaque), outRow + 4 * x);
    }
    if (x == width) return;
    std::byte first[8 * kPixelsAtOnce] = {};
    std::byte second[8 * kPixelsAtOnce] = {};
    std::memcpy(first, inFirst + 8 * x, 8 * (width - x));
    std::memcpy(second, inSecond + 8 * x, 8 * (width - x));
    StoreSomePixels(hn::Or(HalvePixels(first, second), opaque), width - x, outRow + 4 * x);
}

void TakePixels(const std::byte* inRow, const std::int32_t* inPlaces, std::uint32_t inOpaque,
                std::byte* outRow, std::int32_t inWidth) {
    for (std::int32_t x = 0; x < inWidth; ++x) {
        std::uint32_t pixel;
        std::memcpy(&pixel, inRow + std::int64_t{4} * inPlaces[x], sizeof(pixel));
        pixel |= inOpaque;
        std::memcpy(outRow + std::int64_t{4} * x, &pixel, sizeof(pixel));
    }
}

bool IsOpaque(const std::byte* inRow, std::uint32_t inAlpha, std::int32_t inWidth) {
    const auto width = static_cast<std::size_t>(inWidth);
    const Pixels alpha = hn::Set(kPixels, inAlpha);
    Pixels both = alpha;
    std::size_t x = 0;
    for (; x + kPixelsAtOnce <= width; x += kPixelsAtOnce) {
        both = hn::And(both, LoadPixels(inRow + 4 * x));
    }
    for (; x < width; ++x) {
        std::uint32_t pixel;
        std::memcpy(&pixel, inRow + 4 * x, sizeof(pixel));
        both = hn::And(both, hn::Set(kPixels, pixel));
    }
    return hn::AllTrue(kPixels, hn::Eq(both, alpha));
}

const ByteKernels* TheKernels() {
    static constexpr ByteKernels kKernels = {MakeByteWeights, FilterRows, MixRows,
                                             HalveRows,       TakePixels, IsOpaque};
    return &kKernels;
}

#endif

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <cmath>

namespace scanvo {
namespace {

HWY_EXPORT(TheKernels);

}  // namespace

const ByteKernels* FindByteKernels() {
    return HWY_DYNAMIC_DISPATCH(TheKernels)();
}

void RoundWeights(const float* inWeights, std::int32_t inCount, int inBits,
                  std::int16_t* outWeights) {
    double sum = 0;
    std::int32_t roundedSum = 0;
    for (std::int32_t i = 0; i < inCount; ++i) {
        sum += inWeights[i];
        const auto next = static_cast<std::int32_t>(std::lround(std::ldexp(sum, inBits)));
        outWeights[i] = static_cast<std::int16_t>(next - roundedSum);
        roundedSum = next;
    }
}

}  // namespace scanvo

#endif

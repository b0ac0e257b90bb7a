// This file is compiled once for each instruction set; Highway includes it again for every one.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
#endif
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/ByteKernels.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "fast/ByteKernels.h"
#include "fast/RowPairs-inl.h"
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
constexpr hn::ScalableTag<std::uint16_t> kHalves;
constexpr hn::ScalableTag<std::int32_t> kInts;
constexpr hn::ScalableTag<float> kFloats;
constexpr hn::ScalableTag<std::uint32_t> kPixels;
using Bytes = hn::Vec<decltype(kBytes)>;
using Floats = hn::Vec<decltype(kFloats)>;
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

// Component by component, the codes of two neighbouring pixels of a block in 16 bits.
alignas(16) constexpr std::uint8_t kFirstPair[16] = {0, 0x80, 4, 0x80, 1, 0x80, 5, 0x80,
                                                     2, 0x80, 6, 0x80, 3, 0x80, 7, 0x80};
alignas(16) constexpr std::uint8_t kSecondPair[16] = {8,  0x80, 12, 0x80, 9,  0x80, 13, 0x80,
                                                      10, 0x80, 14, 0x80, 11, 0x80, 15, 0x80};

// kBlocks destination pixels of each row.
struct Sums {
    Ints of[kFilteredTogether];
};

HWY_INLINE Sums FilterBlocks(const std::byte* const* inRows, const std::int32_t* inPlaces,
                             const std::int16_t* inWeights, std::int32_t inQuadCount,
                             Bytes& ioCommon) {
    const Bytes firstPair = hn::LoadDup128(kBytes, kFirstPair);
    const Bytes secondPair = hn::LoadDup128(kBytes, kSecondPair);
    // What makes codes signed, and rounds.
    const Ints start = hn::Set(kInts, 32 - (128 << kFilterBits));
    Sums sums{{start, start, start, start}};
    for (std::int32_t quad = 0; quad < inQuadCount; ++quad) {
        const Shorts weights01 = hn::LoadU(kShorts, inWeights);
        const Shorts weights23 = hn::LoadU(kShorts, inWeights + HWY_LANES(std::int16_t));
        inWeights += 2 * HWY_LANES(std::int16_t);
        for (std::int32_t row = 0; row < kFilteredTogether; ++row) {
            const auto* const pixels = reinterpret_cast<const std::uint8_t*>(inRows[row]);
            const Bytes taps = LoadBlocks<4>(
                kBytes, pixels + kBlockBytes * static_cast<std::size_t>(quad), inPlaces);
            ioCommon = hn::And(ioCommon, taps);
            const auto pair = [taps](Bytes which) {
                return hn::BitCast(kShorts, hn::TableLookupBytesOr0(taps, which));
            };
            Ints& sum = sums.of[row];
            sum = AddPairs(pair(firstPair), weights01, sum);
            sum = AddPairs(pair(secondPair), weights23, sum);
        }
    }
    for (Ints& sum : sums.of) {
        sum = hn::ShiftRight<kFilterBits - 7>(sum);
    }
    return sums;
}

HWY_INLINE void StorePacked(const Sums& inLow, const Sums& inHigh, std::size_t inPlace,
                            std::int16_t* const* outRows) {
    for (std::int32_t row = 0; row < kFilteredTogether; ++row) {
        hn::StoreU(hn::ConcatEven(kShorts, hn::BitCast(kShorts, inHigh.of[row]),
                                  hn::BitCast(kShorts, inLow.of[row])),
                   kShorts, outRows[row] + inPlace);
    }
}

// Whether pixels whose common bits these are have all bits of an alpha.
HWY_INLINE bool Hold(Bytes inCommon, std::uint32_t inAlpha) {
    const Pixels alpha = hn::Set(kPixels, inAlpha);
    return hn::AllTrue(kPixels, hn::Eq(hn::And(hn::BitCast(kPixels, inCommon), alpha), alpha));
}

HWY_INLINE Bytes AllBits() {
    return hn::Set(kBytes, std::uint8_t{0xFF});
}

bool FilterRows(const std::byte* const* inRows, const ByteWeights& inWeights, std::uint32_t inAlpha,
                std::int16_t* const* outRows) {
    const std::int16_t* weights = inWeights.weights.data();
    const std::size_t weightStep =
        static_cast<std::size_t>(inWeights.quadCount) * 2 * HWY_LANES(std::int16_t);
    Bytes common = AllBits();
    for (std::size_t x = 0; x < inWeights.pixelCount; x += 2 * kBlocks) {
        const std::int32_t* const places = inWeights.first.data() + x;
        const Sums low = FilterBlocks(inRows, places, weights, inWeights.quadCount, common);
        const Sums high = FilterBlocks(inRows, places + kBlocks, weights + weightStep,
                                       inWeights.quadCount, common);
        weights += 2 * weightStep;
        StorePacked(low, high, 4 * x, outRows);
    }
    return Hold(common, inAlpha);
}

// For each pair of taps a vector: in the block of each destination pixel the two weights, four
// times, one for each component.
void LayOutPairs(const WeightTable& inTable, std::int32_t inSourceCount, ByteWeights& ioWeights) {
    const std::int32_t tapCount = 4 * ioWeights.quadCount;
    const auto pairCount = static_cast<std::size_t>(tapCount / 2);
    ioWeights.filter = FilterRows;
    ioWeights.first.resize(ioWeights.pixelCount);
    ioWeights.weights.resize(ioWeights.pixelCount * pairCount * 8);
    for (std::size_t x = 0; x < ioWeights.pixelCount; ++x) {
        const RoundedTaps taps = RoundedTapsOf(inTable, x, tapCount, inSourceCount, kFilterBits);
        ioWeights.first[x] = taps.first;
        for (std::size_t i = 0; i < pairCount * 8; ++i) {
            const std::size_t vector = x / kBlocks * pairCount + i / 8;
            ioWeights.weights[vector * HWY_LANES(std::int16_t) + x % kBlocks * 8 + i % 8] =
                taps.weights[i / 8 * 2 + i % 2];
        }
    }
}

#if HWY_TARGET == HWY_AVX3_DL

// ---- Along a row, where one instruction permutes any bytes and another sums four products -------

// Pixels that one instruction can choose from.
constexpr std::int32_t kWindow = 16;
constexpr std::size_t kVectorShorts = HWY_LANES(std::int16_t);

// Compilers differ in whether a second set of attributes adds to the first, so it stands alone.
HWY_AFTER_NAMESPACE();
HWY_PUSH_ATTRIBUTES(HWY_TARGET_STR ",avx512vnni")

// Four destination pixels of each row. A step of the weights is three vectors: which bytes of the
// window, and the upper and lower part of the weights of these bytes.
template <class QuadCount>
HWY_INLINE Sums FilterWindows(const std::byte* const* inRows, const std::int32_t* inPlaces,
                              const std::int16_t* inWeights, QuadCount inQuadCount,
                              Bytes& ioCommon) {
    const Ints zero = hn::Zero(kInts);
    const Ints start = hn::Set(kInts, 32 - (128 << kFilterBits));
    Sums upper{{zero, zero, zero, zero}};
    Sums lower{{start, start, start, start}};
    for (std::int32_t quad = 0; quad < inQuadCount; ++quad) {
        const Shorts which = hn::LoadU(kShorts, inWeights);
        const Shorts upperWeights = hn::LoadU(kShorts, inWeights + kVectorShorts);
        const Shorts lowerWeights = hn::LoadU(kShorts, inWeights + 2 * kVectorShorts);
        inWeights += 3 * kVectorShorts;
        for (std::int32_t row = 0; row < kFilteredTogether; ++row) {
            const Pixels window = LoadPixels(inRows[row] + std::int64_t{4} * inPlaces[quad]);
            ioCommon = hn::And(ioCommon, hn::BitCast(kBytes, window));
            const auto taps = _mm512_permutexvar_epi8(which.raw, window.raw);
            Ints& high = upper.of[row];
            Ints& low = lower.of[row];
            high = Ints{_mm512_dpbusd_epi32(high.raw, taps, upperWeights.raw)};
            low = Ints{_mm512_dpbusd_epi32(low.raw, taps, lowerWeights.raw)};
        }
    }
    for (std::int32_t row = 0; row < kFilteredTogether; ++row) {
        const Ints sum = hn::Add(hn::ShiftLeft<7>(upper.of[row]), lower.of[row]);
        lower.of[row] = hn::ShiftRight<kFilterBits - 7>(sum);
    }
    return lower;
}

template <class QuadCount>
HWY_INLINE bool FilterAllWindows(const std::byte* const* inRows, const ByteWeights& inWeights,
                                 QuadCount inQuadCount, std::uint32_t inAlpha,
                                 std::int16_t* const* outRows) {
    const std::byte* const rows[] = {inRows[0], inRows[1], inRows[2], inRows[3]};
    const std::int32_t* places = inWeights.first.data();
    const std::int16_t* weights = inWeights.weights.data();
    Bytes common = AllBits();
    for (std::size_t x = 0; x < inWeights.pixelCount; x += 2 * kBlocks) {
        const Sums low = FilterWindows(rows, places, weights, inQuadCount, common);
        places += inQuadCount;
        weights += 3 * kVectorShorts * static_cast<std::size_t>(inQuadCount);
        const Sums high = FilterWindows(rows, places, weights, inQuadCount, common);
        places += inQuadCount;
        weights += 3 * kVectorShorts * static_cast<std::size_t>(inQuadCount);
        StorePacked(low, high, 4 * x, outRows);
    }
    return Hold(common, inAlpha);
}

// One quad is what shrinking to a half and enlarging mostly take; it needs no loop.
bool FilterRowsByWindows(const std::byte* const* inRows, const ByteWeights& inWeights,
                         std::uint32_t inAlpha, std::int16_t* const* outRows) {
    if (inWeights.quadCount == 1) {
        constexpr std::integral_constant<std::int32_t, 1> kOne;
        return FilterAllWindows(inRows, inWeights, kOne, inAlpha, outRows);
    }
    return FilterAllWindows(inRows, inWeights, inWeights.quadCount, inAlpha, outRows);
}

HWY_POP_ATTRIBUTES
HWY_BEFORE_NAMESPACE();

// False when the taps of four destination pixels do not lie in one window.
bool LayOutWindows(const WeightTable& inTable, std::int32_t inSourceCount, ByteWeights& ioWeights) {
    const std::int32_t tapCount = 4 * ioWeights.quadCount;
    const auto quadCount = static_cast<std::size_t>(ioWeights.quadCount);
    if (inSourceCount < kWindow || !__builtin_cpu_supports("avx512vnni")) return false;
    ioWeights.filter = FilterRowsByWindows;
    ioWeights.first.resize(ioWeights.pixelCount / kBlocks * quadCount);
    ioWeights.weights.resize(ioWeights.first.size() * 3 * kVectorShorts);
    auto* const bytes = reinterpret_cast<std::uint8_t*>(ioWeights.weights.data());
    for (std::size_t x = 0; x < ioWeights.pixelCount; ++x) {
        const RoundedTaps taps = RoundedTapsOf(inTable, x, tapCount, inSourceCount, kFilterBits);
        for (std::size_t tap = 0; tap < taps.weights.size(); ++tap) {
            const std::size_t step = x / kBlocks * quadCount + tap / 4;
            const std::int32_t pixel = taps.first + static_cast<std::int32_t>(tap);
            std::int32_t& window = ioWeights.first[step];
            if (x % kBlocks == 0 && tap % 4 == 0) window = std::min(pixel, inSourceCount - kWindow);
            if (pixel - window >= kWindow) return false;
            const std::int32_t weight = taps.weights[tap];
            const std::int32_t lower = (weight & 127) - (weight & 64) * 2;
            for (std::size_t component = 0; component < 4; ++component) {
                std::uint8_t* const place = bytes + step * 3 * sizeof(Bytes) +
                                            x % kBlocks * kBlockBytes + component * 4 + tap % 4;
                place[0] = static_cast<std::uint8_t>(4 * (pixel - window) +
                                                     static_cast<std::int32_t>(component));
                place[sizeof(Bytes)] = static_cast<std::uint8_t>((weight - lower) >> 7);
                place[2 * sizeof(Bytes)] = static_cast<std::uint8_t>(lower);
            }
        }
    }
    return true;
}

#else

bool LayOutWindows(const WeightTable&, std::int32_t, ByteWeights&) {
    return false;
}

#endif

ByteWeights MakeByteWeights(const Axis& inAxis) {
    const std::shared_ptr<const WeightTable> table = KeptWeights(inAxis);
    ByteWeights weights;
    weights.quadCount = (table->tapCount + 3) / 4;
    if (4 * weights.quadCount > inAxis.source.count) return {};
    const std::size_t vectors =
        (static_cast<std::size_t>(table->Count()) + kPixelsAtOnce - 1) / kPixelsAtOnce;
    weights.pixelCount = vectors * kPixelsAtOnce;
    if (!LayOutWindows(*table, inAxis.source.count, weights)) {
        LayOutPairs(*table, inAxis.source.count, weights);
    }
    return weights;
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

// ---- Colour that counts by its alpha ------------------------------------------------------------

// Every 128-bit block is a pixel. The codes of these, and of as many others that lie between them,
// in the order in which they lie: the first ones have the even places.
//
// Sums are of premultiplied codes in any unit; inOpacity is one by which the sum of alpha becomes a
// code.
template <class Vector>
struct StraightSumsOf {
    Vector even, odd;
};
using StraightSums = StraightSumsOf<Floats>;

// What makes codes of such sums, the same for all of a row.
class Straightener {
  public:
    Straightener(float inOpacity, bool inIsReversed) : opacity_(hn::Set(kFloats, inOpacity)) {
        alignas(16) std::uint8_t alphaOf[16];
        alignas(16) std::int32_t isAlpha[4];
        for (int i = 0; i < 16; ++i)
            alphaOf[i] = static_cast<std::uint8_t>(i % 4 + (inIsReversed ? 0 : 12));
        for (int i = 0; i < 4; ++i)
            isAlpha[i] = i == (inIsReversed ? 0 : 3) ? -1 : 0;
        alphaOf_ = hn::LoadDup128(kBytes, alphaOf);
        isAlpha_ = hn::BitCast(kFloats, hn::LoadDup128(kInts, isAlpha));
    }

    // Both vectors of pixels as codes of 16 bits.
    HWY_INLINE Bytes Halves(const StraightSums& inSums) const {
        return hn::BitCast(kBytes,
                           hn::ReorderDemote2To(kShorts, Codes(inSums.even), Codes(inSums.odd)));
    }

  private:
    HWY_INLINE Ints Codes(Floats inSums) const {
        const Floats opaque = hn::Set(kFloats, 255.0f);
        const Floats alpha =
            hn::BitCast(kFloats, hn::TableLookupBytes(hn::BitCast(kBytes, inSums), alphaOf_));
        // The approximation is good to a tenth of a code. Where nothing shows there is no colour to
        // recover.
        const Floats over = hn::IfThenElseZero(hn::Gt(alpha, hn::Zero(kFloats)),
                                               hn::Mul(hn::ApproximateReciprocal(alpha), opaque));
        const Floats factor = hn::IfVecThenElse(isAlpha_, opacity_, over);
        // From there on floats have no fractions.
        const Floats whole = hn::Set(kFloats, 8388608.0f);
        const Floats codes = hn::MulAdd(inSums, factor, whole);
        const Floats clamped = hn::Min(hn::Max(codes, whole), hn::Add(whole, opaque));
        return hn::BitCast(kInts, hn::Sub(hn::BitCast(kInts, clamped), hn::BitCast(kInts, whole)));
    }

    Floats opacity_;
    Floats isAlpha_;
    Bytes alphaOf_;
};

// inSumsAt(x) gives the sums of the half of kPixelsAtOnce pixels that begins at x.
template <class SumsAt>
HWY_INLINE void StoreStraightRow(const SumsAt& inSumsAt, const Straightener& inStraightener,
                                 std::uint32_t inOpaque, std::byte* outRow, std::int32_t inWidth) {
    const Pixels opaque = hn::Set(kPixels, inOpaque);
    const auto width = static_cast<std::size_t>(inWidth);
    for (std::size_t x = 0; x < width; x += kPixelsAtOnce) {
        const Bytes low = inStraightener.Halves(inSumsAt(x));
        const Bytes high = inStraightener.Halves(inSumsAt(x + kPixelsAtOnce / 2));
        const Pixels pixels =
            hn::Or(hn::BitCast(kPixels, hn::ConcatEven(kBytes, high, low)), opaque);
        if (x + kPixelsAtOnce <= width) {
            StorePixels(pixels, outRow + 4 * x);
        } else {
            StoreSomePixels(pixels, width - x, outRow + 4 * x);
        }
    }
}

void MixIntoStraightRow(const std::int16_t* const* inRows, const std::int16_t* inWeights,
                        std::int32_t inRowCount, bool inIsReversed, std::uint32_t inOpaque,
                        std::byte* outRow, std::int32_t inWidth) {
    // What makes codes unsigned again.
    const Ints start = hn::Set(kInts, 128 * 128 << kMixBits);
    const RowPairs rows(inRows, inWeights, inRowCount);
    const auto sumsAt = [&](std::size_t x) HWY_ATTR {
        const RowPairs::Sums sums = rows.At(4 * x, start);
        return StraightSums{hn::ConvertTo(kFloats, sums.lower), hn::ConvertTo(kFloats, sums.upper)};
    };
    constexpr float kUnit = 1.0f / (128 << kMixBits);
    StoreStraightRow(sumsAt, Straightener(kUnit, inIsReversed), inOpaque, outRow, inWidth);
}

// Both alphas of two pixels, for each of their components; 0xFF where it is alpha itself.
struct AlphaPairs {
    explicit AlphaPairs(bool inIsReversed) {
        const int place = inIsReversed ? 0 : 3;
        for (int i = 0; i < 16; ++i) {
            const bool isWeighted = i / 4 != place;
            const auto at = [&](int pixel) {
                return static_cast<std::uint8_t>(i % 2 != 0 || !isWeighted ? 0x80
                                                                           : 4 * pixel + place);
            };
            first[i] = at(i % 4 / 2);
            second[i] = at(2 + i % 4 / 2);
            own[i] = i % 2 == 0 && !isWeighted ? 0xFF : 0;
        }
    }
    alignas(16) std::uint8_t first[16];
    alignas(16) std::uint8_t second[16];
    alignas(16) std::uint8_t own[16];
};

void HalveStraightRows(const std::byte* inFirst, const std::byte* inSecond, bool inIsReversed,
                       std::uint32_t inOpaque, std::byte* outRow, std::int32_t inWidth) {
    const AlphaPairs alphaPairs(inIsReversed);
    const Bytes firstPair = hn::LoadDup128(kBytes, kFirstPair);
    const Bytes secondPair = hn::LoadDup128(kBytes, kSecondPair);
    const Bytes firstAlpha = hn::LoadDup128(kBytes, alphaPairs.first);
    const Bytes secondAlpha = hn::LoadDup128(kBytes, alphaPairs.second);
    const Bytes own = hn::LoadDup128(kBytes, alphaPairs.own);
    const auto products = [&](const StraightSumsOf<Ints>& sums, Bytes pixels) HWY_ATTR {
        const auto pair = [&](Bytes which, Bytes alpha, Ints sum) HWY_ATTR {
            const Bytes weights = hn::Or(hn::TableLookupBytesOr0(pixels, alpha), own);
            return AddPairs(hn::BitCast(kShorts, hn::TableLookupBytesOr0(pixels, which)),
                            hn::BitCast(kShorts, weights), sum);
        };
        return StraightSumsOf<Ints>{pair(firstPair, firstAlpha, sums.even),
                                    pair(secondPair, secondAlpha, sums.odd)};
    };
    const std::size_t sourceBytes = 8 * static_cast<std::size_t>(inWidth);
    const auto load = [&](const std::byte* row, std::size_t x) HWY_ATTR {
        constexpr std::size_t kVectorBytes = HWY_LANES(std::uint8_t);
        if (8 * x + kVectorBytes <= sourceBytes)
            return hn::BitCast(kBytes, LoadPixels(row + 8 * x));
        std::byte rest[kVectorBytes] = {};
        if (8 * x < sourceBytes) std::memcpy(rest, row + 8 * x, sourceBytes - 8 * x);
        return hn::BitCast(kBytes, LoadPixels(rest));
    };
    const auto sumsAt = [&](std::size_t x) HWY_ATTR {
        const StraightSumsOf<Ints> none{hn::Zero(kInts), hn::Zero(kInts)};
        const auto sums = products(products(none, load(inFirst, x)), load(inSecond, x));
        return StraightSums{hn::ConvertTo(kFloats, sums.even), hn::ConvertTo(kFloats, sums.odd)};
    };
    // Sums of alpha are of four pixels, 255 times.
    const Straightener straightener(1.0f / (4 * 255), inIsReversed);
    StoreStraightRow(sumsAt, straightener, inOpaque, outRow, inWidth);
}

// Rows are read one after the other, too far apart for the processor to foresee the next.
constexpr std::size_t kPrefetched = 2048;

// True when all of alpha is 255.
bool PremultiplyRow(const std::byte* inRow, std::int32_t inWidth, bool inIsReversed,
                    std::uint16_t* outNumbers) {
    constexpr std::size_t kStep = HWY_LANES(std::uint16_t) / 4;
    const std::size_t place = inIsReversed ? 0 : 3;
    // Alpha as both bytes of every number of its pixel.
    alignas(16) std::uint8_t alphaOf[16];
    alignas(16) std::uint16_t own[8];
    for (std::size_t i = 0; i < 16; ++i)
        alphaOf[i] = static_cast<std::uint8_t>(i / 8 * 8 + 2 * place);
    for (std::size_t i = 0; i < 8; ++i)
        own[i] = i % 4 == place ? 0xFFFF : 0;
    const Bytes alphaIndices = hn::LoadDup128(kBytes, alphaOf);
    const auto ownAlpha = hn::LoadDup128(kHalves, own);
    const hn::Rebind<std::uint8_t, decltype(kHalves)> codesOfStep;
    auto common = hn::Set(kHalves, std::uint16_t{0xFFFF});
    const auto premultiply = [&](const std::byte* row, std::uint16_t* numbers) HWY_ATTR {
        const auto codes = hn::PromoteTo(
            kHalves, hn::LoadU(codesOfStep, reinterpret_cast<const std::uint8_t*>(row)));
        const auto alpha =
            hn::BitCast(kHalves, hn::TableLookupBytes(hn::BitCast(kBytes, codes), alphaIndices));
        common = hn::And(common, alpha);
        hn::StoreU(hn::MulHigh(hn::ShiftLeft<8>(codes), hn::Or(alpha, ownAlpha)), kHalves, numbers);
    };
    const auto width = static_cast<std::size_t>(inWidth);
    std::size_t x = 0;
    for (; x + kStep <= width; x += kStep) {
        hwy::Prefetch(inRow + 4 * x + kPrefetched);
        premultiply(inRow + 4 * x, outNumbers + 4 * x);
    }
    if (x < width) {
        std::byte rest[4 * kStep];
        std::uint16_t numbers[4 * kStep];
        std::memset(rest, 0xFF, sizeof(rest));
        std::memcpy(rest, inRow + 4 * x, 4 * (width - x));
        premultiply(rest, numbers);
        std::memcpy(outNumbers + 4 * x, numbers, sizeof(std::uint16_t) * 4 * (width - x));
    }
    return hn::AllTrue(kHalves, hn::Eq(common, hn::Set(kHalves, std::uint16_t{0xFFFF})));
}

// ---- Short cuts ---------------------------------------------------------------------------------

// Two by two means of bytes without wider sums. Rounding twice makes a mean too large by one where
// a pair was rounded up and the means of both pairs, taken together, were rounded up again.
HWY_INLINE Pixels HalvePixels(const std::byte* inFirst, const std::byte* inSecond,
                              Bytes& ioCommon) {
    constexpr std::size_t kVectorBytes = HWY_LANES(std::uint8_t);
    const auto bytes = [](Pixels pixels) { return hn::BitCast(kBytes, pixels); };
    const Pixels first0 = LoadPixels(inFirst);
    const Pixels first1 = LoadPixels(inFirst + kVectorBytes);
    const Pixels second0 = LoadPixels(inSecond);
    const Pixels second1 = LoadPixels(inSecond + kVectorBytes);
    const Bytes firstLeft = bytes(hn::ConcatEven(kPixels, first1, first0));
    const Bytes firstRight = bytes(hn::ConcatOdd(kPixels, first1, first0));
    const Bytes secondLeft = bytes(hn::ConcatEven(kPixels, second1, second0));
    const Bytes secondRight = bytes(hn::ConcatOdd(kPixels, second1, second0));
    ioCommon = hn::And(ioCommon,
                       hn::And(hn::And(firstLeft, firstRight), hn::And(secondLeft, secondRight)));
    const Bytes left = hn::AverageRound(firstLeft, secondLeft);
    const Bytes right = hn::AverageRound(firstRight, secondRight);
    const Bytes uneven = hn::Or(hn::Xor(firstLeft, secondLeft), hn::Xor(firstRight, secondRight));
    const Bytes excess = hn::And(hn::And(uneven, hn::Xor(left, right)), hn::Set(kBytes, 1));
    return hn::BitCast(kPixels, hn::Sub(hn::AverageRound(left, right), excess));
}

bool HalveRows(const std::byte* inFirst, const std::byte* inSecond, std::uint32_t inAlpha,
               std::uint32_t inOpaque, std::byte* outRow, std::int32_t inWidth) {
    const Pixels opaque = hn::Set(kPixels, inOpaque);
    const auto width = static_cast<std::size_t>(inWidth);
    Bytes common = AllBits();
    std::size_t x = 0;
    for (; x + kPixelsAtOnce <= width; x += kPixelsAtOnce) {
        StorePixels(hn::Or(HalvePixels(inFirst + 8 * x, inSecond + 8 * x, common), opaque),
                    outRow + 4 * x);
    }
    if (x == width) return Hold(common, inAlpha);
    std::byte first[8 * kPixelsAtOnce];
    std::byte second[8 * kPixelsAtOnce];
    std::memset(first, 0xFF, sizeof(first));
    std::memset(second, 0xFF, sizeof(second));
    std::memcpy(first, inFirst + 8 * x, 8 * (width - x));
    std::memcpy(second, inSecond + 8 * x, 8 * (width - x));
    StoreSomePixels(hn::Or(HalvePixels(first, second, common), opaque), width - x, outRow + 4 * x);
    return Hold(common, inAlpha);
}

// Sums of components 0 and 2 of each pixel, and of 1 and 3, in the halves of its lane.
struct PairSums {
    Pixels even, odd;
};

// Over a vector of pixels of four rows.
HWY_INLINE PairSums SumRows(const std::byte* const* inRows, std::size_t inX, Bytes& ioCommon) {
    const Pixels evenBytes = hn::Set(kPixels, 0x00FF00FFU);
    const auto add = [&](Pixels left, Pixels right) {
        return hn::BitCast(kPixels,
                           hn::Add(hn::BitCast(kHalves, left), hn::BitCast(kHalves, right)));
    };
    PairSums sums{hn::Zero(kPixels), hn::Zero(kPixels)};
    for (std::int32_t row = 0; row < 4; ++row) {
        const Pixels pixels = LoadPixels(inRows[row] + 4 * inX);
        ioCommon = hn::And(ioCommon, hn::BitCast(kBytes, pixels));
        sums.even = add(sums.even, hn::And(pixels, evenBytes));
        sums.odd =
            add(sums.odd, hn::BitCast(kPixels, hn::ShiftRight<8>(hn::BitCast(kHalves, pixels))));
    }
    return sums;
}

// The sums of neighbours.
HWY_INLINE Pixels AddNeighbours(Pixels inLow, Pixels inHigh) {
    return hn::BitCast(kPixels,
                       hn::Add(hn::BitCast(kHalves, hn::ConcatEven(kPixels, inHigh, inLow)),
                               hn::BitCast(kHalves, hn::ConcatOdd(kPixels, inHigh, inLow))));
}

// Four by four means; inX counts source pixels.
HWY_INLINE Pixels QuarterPixels(const std::byte* const* inRows, std::size_t inX, Bytes& ioCommon) {
    const PairSums sums[] = {SumRows(inRows, inX, ioCommon),
                             SumRows(inRows, inX + kPixelsAtOnce, ioCommon),
                             SumRows(inRows, inX + 2 * kPixelsAtOnce, ioCommon),
                             SumRows(inRows, inX + 3 * kPixelsAtOnce, ioCommon)};
    const auto mean = [](Pixels sum) {
        return hn::ShiftRight<4>(
            hn::Add(hn::BitCast(kHalves, sum), hn::Set(kHalves, std::uint16_t{8})));
    };
    const auto even = mean(AddNeighbours(AddNeighbours(sums[0].even, sums[1].even),
                                         AddNeighbours(sums[2].even, sums[3].even)));
    const auto odd = mean(AddNeighbours(AddNeighbours(sums[0].odd, sums[1].odd),
                                        AddNeighbours(sums[2].odd, sums[3].odd)));
    return hn::BitCast(kPixels, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

bool QuarterRows(const std::byte* const* inRows, std::uint32_t inAlpha, std::uint32_t inOpaque,
                 std::byte* outRow, std::int32_t inWidth) {
    const Pixels opaque = hn::Set(kPixels, inOpaque);
    const auto width = static_cast<std::size_t>(inWidth);
    const std::byte* const whole[] = {inRows[0], inRows[1], inRows[2], inRows[3]};
    Bytes common = AllBits();
    std::size_t x = 0;
    for (; x + kPixelsAtOnce <= width; x += kPixelsAtOnce)
        StorePixels(hn::Or(QuarterPixels(whole, 4 * x, common), opaque), outRow + 4 * x);
    if (x == width) return Hold(common, inAlpha);
    std::byte rest[4][16 * kPixelsAtOnce];
    std::memset(rest, 0xFF, sizeof(rest));
    for (std::size_t row = 0; row < 4; ++row)
        std::memcpy(rest[row], inRows[row] + 16 * x, 16 * (width - x));
    const std::byte* const rests[] = {rest[0], rest[1], rest[2], rest[3]};
    StoreSomePixels(hn::Or(QuarterPixels(rests, 0, common), opaque), width - x, outRow + 4 * x);
    return Hold(common, inAlpha);
}

// Places near one another are looked up in one vector of pixels.
HWY_INLINE Pixels TakeVector(const std::byte* inRow, const std::int32_t* inPlaces,
                             std::int32_t inPlacesEnd) {
    constexpr auto kCount = static_cast<std::int32_t>(HWY_LANES(std::uint32_t));
    const std::int32_t first = inPlaces[0];
    const Ints places = hn::LoadU(kInts, inPlaces);
    if (inPlaces[kCount - 1] < first + kCount && first + kCount <= inPlacesEnd) {
        const auto near = hn::IndicesFromVec(kPixels, hn::Sub(places, hn::Set(kInts, first)));
        return hn::TableLookupLanes(LoadPixels(inRow + std::int64_t{4} * first), near);
    }
#if HWY_CAP_GE256
    const auto* const pixels = reinterpret_cast<const std::int32_t*>(inRow);
    return hn::BitCast(kPixels, hn::GatherIndex(kInts, pixels, places));
#else
    std::byte pixels[sizeof(Pixels)];
    for (std::size_t i = 0; i < HWY_LANES(std::uint32_t); ++i) {
        std::memcpy(pixels + 4 * i, inRow + std::int64_t{4} * inPlaces[i], 4);
    }
    return LoadPixels(pixels);
#endif
}

void TakePixels(const std::byte* inRow, const std::int32_t* inPlaces, std::uint32_t inOpaque,
                std::byte* outRow, std::int32_t inWidth) {
    const auto width = static_cast<std::size_t>(inWidth);
    const std::int32_t placesEnd = inPlaces[width - 1] + 1;
    const Pixels opaque = hn::Set(kPixels, inOpaque);
    std::size_t x = 0;
    for (; x + kPixelsAtOnce <= width; x += kPixelsAtOnce) {
        StorePixels(hn::Or(TakeVector(inRow, inPlaces + x, placesEnd), opaque), outRow + 4 * x);
    }
    for (; x < width; ++x) {
        std::uint32_t pixel;
        std::memcpy(&pixel, inRow + std::int64_t{4} * inPlaces[x], sizeof(pixel));
        pixel |= inOpaque;
        std::memcpy(outRow + 4 * x, &pixel, sizeof(pixel));
    }
}

const ByteKernels* TheKernels() {
    static constexpr ByteKernels kKernels = {MakeByteWeights,    MixRows,   PremultiplyRow,
                                             MixIntoStraightRow, HalveRows, HalveStraightRows,
                                             QuarterRows,        TakePixels};
    return &kKernels;
}

#endif

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(TheKernels);

}  // namespace

const ByteKernels* FindByteKernels() {
    return HWY_DYNAMIC_DISPATCH(TheKernels)();
}

}  // namespace scanvo

#endif

// From pixels of four bytes to Y'CbCr: 8-bit 4:4:4, and 4:2:2 with the filter of Chroma.h.
// Compiled once for each instruction set that has vectors.
#if defined(SCANVO_FAST_HALVE_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SCANVO_FAST_HALVE_ROWS_INL_H_
#undef SCANVO_FAST_HALVE_ROWS_INL_H_
#else
#define SCANVO_FAST_HALVE_ROWS_INL_H_
#endif

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "fast/ColourLanes-inl.h"
#include "fast/ColourNumbers.h"

#if HWY_TARGET != HWY_SCALAR
HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

/// The four bytes of each pixel as numbers of 16 bits: in every 32-bit lane bytes 0 and 2, and
/// bytes 1 and 3.
struct PixelBytes {
    SignedWords even, odd;
};

HWY_INLINE PixelBytes BytesOf(Pixels inPixels) {
    const Words words = hn::BitCast(kWords, inPixels);
    return {hn::BitCast(kSignedWords, hn::And(words, hn::Set(kWords, 0xFF))),
            hn::BitCast(kSignedWords, hn::ShiftRight<8>(words))};
}

/// Weights as PixelBytes has the bytes; inFirst for even pixels, inSecond for odd ones.
HWY_INLINE PixelBytes LanesOf(const std::array<int, 4>& inFirst,
                              const std::array<int, 4>& inSecond) {
    const auto both = [](int low, int high) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(high) << 16 |
                                         (static_cast<std::uint32_t>(low) & 0xFFFF));
    };
    const auto lanes = [](std::int32_t first, std::int32_t second) HWY_ATTR {
        return hn::BitCast(kSignedWords,
                           hn::OddEven(hn::Set(kSums, second), hn::Set(kSums, first)));
    };
    return {lanes(both(inFirst[0], inFirst[2]), both(inSecond[0], inSecond[2])),
            lanes(both(inFirst[1], inFirst[3]), both(inSecond[1], inSecond[3]))};
}

/// inStart plus the weighted bytes of each pixel.
HWY_INLINE Sums WeightedSums(const PixelBytes& inBytes, const PixelBytes& inWeights, Sums inStart) {
#if HWY_TARGET == HWY_AVX3_DL
    // The instruction by name, because Highway does not tell the compiler that this target has it.
    __asm__("vpdpwssd %2, %1, %0"
            : "+v"(inStart.raw)
            : "v"(inBytes.even.raw), "v"(inWeights.even.raw));
    __asm__("vpdpwssd %2, %1, %0"
            : "+v"(inStart.raw)
            : "v"(inBytes.odd.raw), "v"(inWeights.odd.raw));
    return inStart;
#elif HWY_ARCH_X86
    Sums rest = hn::Zero(kSums);
    Sums sums = hn::ReorderWidenMulAccumulate(kSums, inBytes.even, inWeights.even, inStart, rest);
    sums = hn::ReorderWidenMulAccumulate(kSums, inBytes.odd, inWeights.odd, sums, rest);
    return hn::Add(sums, rest);
#else
    // The operation above does not say which products it adds up.
    const auto addPairs = [](SignedWords a, SignedWords b, Sums start) HWY_ATTR {
        const Sums wideA = hn::BitCast(kSums, a);
        const Sums wideB = hn::BitCast(kSums, b);
        const Sums lowA = hn::ShiftRight<16>(hn::ShiftLeft<16>(wideA));
        const Sums lowB = hn::ShiftRight<16>(hn::ShiftLeft<16>(wideB));
        const Sums highs = hn::Mul(hn::ShiftRight<16>(wideA), hn::ShiftRight<16>(wideB));
        return hn::Add(hn::Add(start, highs), hn::Mul(lowA, lowB));
    };
    return addPairs(inBytes.odd, inWeights.odd, addPairs(inBytes.even, inWeights.even, inStart));
#endif
}

using ComponentOf = ComponentWeights PixelWeights::*;

template <const PixelWeights& kWeights, ComponentOf kComponent>
constexpr int kBitsOf = kComponent == &PixelWeights::luma ? kWeights.lumaBits : kWeights.chromaBits;

/// One component of each pixel: kFirst of even pixels, kSecond of odd ones. The bytes are sums of
/// 2^kFilterBits pixels'. Cutting off that many bits and those of the weights gives the rounded
/// 8-bit code, and cutting off fewer the rounded code of kCodeBits bits.
template <const PixelWeights& kWeights, int kFilterBits, int kCodeBits, ComponentOf kFirst,
          ComponentOf kSecond = kFirst>
HWY_INLINE Sums WeightedCodes(const PixelBytes& inBytes) {
    constexpr int kBits = kBitsOf<kWeights, kFirst> + kFilterBits;
    constexpr ComponentWeights kEven = kWeights.*kFirst, kOdd = kWeights.*kSecond;
    const auto start = [](const ComponentWeights& weights) HWY_ATTR {
        constexpr int kRounding = 1 << (kBits - 1 - (kCodeBits - 8));
        return hn::Set(kSums, weights.offset * (1 << kFilterBits) + kRounding);
    };
    const Sums sums = WeightedSums(inBytes, LanesOf(kEven.bytes, kOdd.bytes),
                                   hn::OddEven(start(kOdd), start(kEven)));
    if constexpr (!kWeights.mayExceed) return sums;
    return hn::Min(hn::Max(sums, hn::Zero(kSums)), hn::Set(kSums, (256 << kBits) - 1));
}

/// inOther where the mask has ones, or'ed to what has zeros there.
HWY_INLINE Pixels WithBits(Pixels inPixels, Sums inOther, std::uint32_t inMask) {
    return hn::OrAnd(inPixels, hn::BitCast(kPixels, inOther), hn::Set(kPixels, inMask));
}

// ---- 4:4:4 --------------------------------------------------------------------------------------

/// What becomes of the alpha byte.
enum class AlphaByte { First, Last, Opaque };

template <const PixelWeights& kWeights, AlphaByte kAlpha>
HWY_INLINE Pixels VuyaOf(Pixels inPixels) {
    constexpr int kLumaBits = kWeights.lumaBits, kChromaBits = kWeights.chromaBits;
    const PixelBytes bytes = BytesOf(inPixels);
    const Sums luma = WeightedCodes<kWeights, 0, 8, &PixelWeights::luma>(bytes);
    const Sums cb = WeightedCodes<kWeights, 0, 8, &PixelWeights::cb>(bytes);
    const Sums cr = WeightedCodes<kWeights, 0, 8, &PixelWeights::cr>(bytes);
    Pixels vuya = hn::BitCast(kPixels, hn::ShiftRight<kChromaBits>(cr));
    vuya = WithBits(vuya, hn::ShiftRight<kChromaBits - 8>(cb), 0xFF00);
    vuya = WithBits(vuya, hn::ShiftLeft<16 - kLumaBits>(luma), 0xFF0000);
    if (kAlpha == AlphaByte::Opaque) return hn::Or(vuya, hn::Set(kPixels, 0xFF000000));
    if (kAlpha == AlphaByte::First) return hn::Or(vuya, hn::ShiftLeft<24>(inPixels));
    return WithBits(vuya, hn::BitCast(kSums, inPixels), 0xFF000000);
}

template <const PixelWeights& kWeights, AlphaByte kAlpha>
void RowToVuya(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    const auto* in = reinterpret_cast<const std::uint8_t*>(inRow);
    auto* out = reinterpret_cast<std::uint8_t*>(outRow);
    const std::size_t bytes = 4 * static_cast<std::size_t>(inWidth);
    const std::size_t step = hn::Lanes(kBytes);
    std::size_t at = 0;
    for (; at + step <= bytes; at += step) {
        const Pixels pixels = hn::BitCast(kPixels, hn::LoadU(kBytes, in + at));
        hn::StoreU(hn::BitCast(kBytes, VuyaOf<kWeights, kAlpha>(pixels)), kBytes, out + at);
    }
    if (at == bytes) return;
    HWY_ALIGN std::uint8_t rest[HWY_MAX_BYTES] = {};
    std::memcpy(rest, in + at, bytes - at);
    const Pixels pixels = hn::BitCast(kPixels, hn::Load(kBytes, rest));
    hn::Store(hn::BitCast(kBytes, VuyaOf<kWeights, kAlpha>(pixels)), kBytes, rest);
    std::memcpy(out + at, rest, bytes - at);
}

// ---- 4:2:2 --------------------------------------------------------------------------------------

/// One number of each kind in a 32-bit lane for every pixel: its luma, and Cb of its pair where it
/// is the first of it, Cr where it is the second.
struct HalvedPixels {
    Sums luma, chroma;
};

/// Where chroma has four times its bits' worth: the sum of the filter's weights 1, 2, 1.
constexpr int kFilterBits = 2;

/// The pixel before the first one is read too.
template <const PixelWeights& kWeights, int kCodeBits>
HWY_INLINE HalvedPixels HalvedPixelsAt(const std::uint8_t* inPixels) {
    const PixelBytes bytes = BytesOf(hn::BitCast(kPixels, hn::LoadU(kBytes, inPixels)));
    const PixelBytes before = BytesOf(hn::BitCast(kPixels, hn::LoadU(kBytes, inPixels - 4)));
    // The pixel before a pair plus its first, and its first plus its second; then both of these.
    const auto filtered = [](SignedWords here, SignedWords left) HWY_ATTR {
        const Sums neighbours = hn::BitCast(kSums, hn::Add(here, left));
        return hn::Add(hn::BitCast(kSignedWords, neighbours),
                       hn::BitCast(kSignedWords, hn::Shuffle2301(neighbours)));
    };
    const PixelBytes pairs = {filtered(bytes.even, before.even), filtered(bytes.odd, before.odd)};
    return {WeightedCodes<kWeights, 0, kCodeBits, &PixelWeights::luma>(bytes),
            WeightedCodes<kWeights, kFilterBits, kCodeBits, &PixelWeights::cb, &PixelWeights::cr>(
                pairs)};
}

/// Stores UYVY or YUYV.
template <bool isLumaFirst>
struct UnitStorer {
    static constexpr int kCodeBits = 8;
    static constexpr std::size_t kPixelBytes = 2;

    template <const PixelWeights& kWeights>
    static HWY_INLINE Words Codes(const HalvedPixels& inPixels) {
        constexpr int kLumaBits = kWeights.lumaBits;
        constexpr int kChromaBits = kWeights.chromaBits + kFilterBits;
        const Pixels units =
            isLumaFirst
                ? WithBits(hn::BitCast(kPixels, hn::ShiftRight<kLumaBits>(inPixels.luma)),
                           hn::ShiftRight<kChromaBits - 8>(inPixels.chroma), 0xFF00)
                : WithBits(hn::BitCast(kPixels, hn::ShiftRight<kChromaBits>(inPixels.chroma)),
                           hn::ShiftRight<kLumaBits - 8>(inPixels.luma), 0xFF00);
        return hn::BitCast(kWords, units);
    }

    template <const PixelWeights& kWeights>
    static HWY_INLINE void Store(const HalvedPixels& inFirst, const HalvedPixels& inSecond,
                                 std::uint8_t* outUnits) {
        const Words words =
            hn::ConcatEven(kWords, Codes<kWeights>(inSecond), Codes<kWeights>(inFirst));
        hn::StoreU(hn::BitCast(kBytes, words), kBytes, outUnits);
    }
};

/// Stores 10-bit codes in 16 bits each, chroma before luma.
struct SampleStorer {
    static constexpr int kCodeBits = 10;
    static constexpr std::size_t kPixelBytes = 4;

    template <const PixelWeights& kWeights>
    static HWY_INLINE void Store(const HalvedPixels& inPixels, std::uint8_t* outSamples) {
        constexpr int kLumaBits = kWeights.lumaBits - 2;
        constexpr int kChromaBits = kWeights.chromaBits + kFilterBits - 2;
        const Pixels samples =
            WithBits(hn::BitCast(kPixels, hn::ShiftRight<kChromaBits>(inPixels.chroma)),
                     hn::ShiftLeft<16 - kLumaBits>(inPixels.luma), 0xFFFF0000);
        hn::StoreU(hn::BitCast(kBytes, samples), kBytes, outSamples);
    }

    template <const PixelWeights& kWeights>
    static HWY_INLINE void Store(const HalvedPixels& inFirst, const HalvedPixels& inSecond,
                                 std::uint8_t* outSamples) {
        Store<kWeights>(inFirst, outSamples);
        Store<kWeights>(inSecond, outSamples + hn::Lanes(kBytes));
    }
};

template <const PixelWeights& kWeights, class Storer>
HWY_INLINE void HalveVector(const std::uint8_t* inPixels, std::uint8_t* outCodes) {
    constexpr int kCodeBits = Storer::kCodeBits;
    const auto first = HalvedPixelsAt<kWeights, kCodeBits>(inPixels);
    const auto second = HalvedPixelsAt<kWeights, kCodeBits>(inPixels + hn::Lanes(kBytes));
    Storer::template Store<kWeights>(first, second, outCodes);
}

/// Halves up to PixelsAtATime() pixels that lie at an end of the row: what goes on beyond them is
/// the pixel at the end.
template <const PixelWeights& kWeights, class Storer>
void HalveEnd(const std::uint8_t* inPixels, bool inIsFirst, std::size_t inCount,
              std::uint8_t* outCodes) {
    std::uint8_t pixels[4 * (1 + kMostPixels)] = {};
    std::uint8_t codes[Storer::kPixelBytes * kMostPixels];
    const std::size_t bytes = 4 * inCount;
    std::memcpy(pixels, inIsFirst ? inPixels : inPixels - 4, 4);
    std::memcpy(pixels + 4, inPixels, bytes);
    if (inCount % 2 != 0) std::memcpy(pixels + 4 + bytes, inPixels + bytes - 4, 4);
    HalveVector<kWeights, Storer>(pixels + 4, codes);
    std::memcpy(outCodes, codes, (inCount + inCount % 2) * Storer::kPixelBytes);
}

/// Halves a part of a row. It ends where the row does or after a whole pair.
template <const PixelWeights& kWeights, class Storer>
void HalvePart(const std::uint8_t* inPixels, bool inIsFirst, std::size_t inCount,
               std::uint8_t* outCodes) {
    const std::size_t step = PixelsAtATime();
    std::size_t x = 0;
    if (inIsFirst) {
        x = std::min(step, inCount);
        HalveEnd<kWeights, Storer>(inPixels, true, x, outCodes);
    }
    for (; x + step <= inCount; x += step) {
        HalveVector<kWeights, Storer>(inPixels + 4 * x, outCodes + Storer::kPixelBytes * x);
    }
    if (x < inCount) {
        HalveEnd<kWeights, Storer>(inPixels + 4 * x, false, inCount - x,
                                   outCodes + Storer::kPixelBytes * x);
    }
}

template <const PixelWeights& kWeights, bool isLumaFirst>
void RowToUnits(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    HalvePart<kWeights, UnitStorer<isLumaFirst>>(reinterpret_cast<const std::uint8_t*>(inRow), true,
                                                 static_cast<std::size_t>(inWidth),
                                                 reinterpret_cast<std::uint8_t*>(outRow));
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif

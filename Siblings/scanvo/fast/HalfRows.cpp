// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/HalfRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include "fast/Codes-inl.h"
#include "fast/HalfRows.h"
#include "fast/V210Rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

HalfRowFunctions FindFunctions(const Format&, Matrix) {
    return {};
}

#else

// Rows have room for a vector beyond their last pixel, so the loops need no rests but where memory
// is the caller's.
constexpr hn::Half<decltype(kBytes)> kHalfBytes;

std::size_t Step() {
    return hn::Lanes(kWords);
}

const std::uint8_t* CodesAt(const std::byte* inBytes) {
    return reinterpret_cast<const std::uint8_t*>(inBytes);
}

std::uint8_t* CodesAt(std::byte* inBytes) {
    return reinterpret_cast<std::uint8_t*>(inBytes);
}

// ---- Planes -------------------------------------------------------------------------------------

HWY_INLINE Words CodesTimes256(const std::uint8_t* inCodes) {
    return hn::ShiftLeft<8>(hn::PromoteTo(kWords, hn::LoadU(kHalfBytes, inCodes)));
}

void LoadLuma(const std::byte* inCodes, std::int32_t inWidth, std::uint16_t* outLuma) {
    const std::uint8_t* const codes = CodesAt(inCodes);
    const auto width = static_cast<std::size_t>(inWidth);
    std::size_t x = 0;
    for (; x + Step() <= width; x += Step())
        hn::StoreU(CodesTimes256(codes + x), kWords, outLuma + x);
    for (; x < width; ++x)
        outLuma[x] = static_cast<std::uint16_t>(codes[x] << 8);
    outLuma[width] = outLuma[width - 1];
}

void StoreLuma(const std::uint16_t* inLuma, std::int32_t inWidth, std::byte* outCodes) {
    std::uint8_t* const codes = CodesAt(outCodes);
    const auto width = static_cast<std::size_t>(inWidth);
    std::size_t x = 0;
    for (; x + Step() <= width; x += Step()) {
        const Words rounded = RoundedByte(hn::LoadU(kWords, inLuma + x));
        hn::StoreU(hn::TruncateTo(kHalfBytes, rounded), kHalfBytes, codes + x);
    }
    for (; x < width; ++x)
        codes[x] = static_cast<std::uint8_t>(std::min(inLuma[x] + 0x80, 0xFFFF) >> 8);
}

// Codes of one kind from both rows, times 256.
HWY_INLINE Words MixedCodes(const std::uint8_t* inFirst, const std::uint8_t* inSecond,
                            Words inWeightOfFirst, Words inWeightOfSecond) {
    const Words first = hn::PromoteTo(kWords, hn::LoadU(kHalfBytes, inFirst));
    const Words second = hn::PromoteTo(kWords, hn::LoadU(kHalfBytes, inSecond));
    return hn::Add(hn::Mul(first, inWeightOfFirst), hn::Mul(second, inWeightOfSecond));
}

void MixChroma(const ChromaCodes& inFirst, const ChromaCodes& inSecond, int inEighths,
               std::int32_t inWidth, std::uint16_t* outChroma) {
    const auto count = static_cast<std::size_t>(HalfWidth(inWidth));
    const auto ofFirst = static_cast<std::uint16_t>(32 * (8 - inEighths));
    const auto ofSecond = static_cast<std::uint16_t>(32 * inEighths);
    const std::uint8_t *const cb = CodesAt(inFirst.cb), *const cr = CodesAt(inFirst.cr);
    const std::uint8_t *const nextCb = CodesAt(inSecond.cb), *const nextCr = CodesAt(inSecond.cr);
    const Words first = hn::Set(kWords, ofFirst), second = hn::Set(kWords, ofSecond);
    std::size_t x = 0;
    for (; inFirst.step == 1 && x + Step() <= count; x += Step()) {
        hn::StoreInterleaved2(MixedCodes(cb + x, nextCb + x, first, second),
                              MixedCodes(cr + x, nextCr + x, first, second), kWords,
                              outChroma + 2 * x);
    }
    const auto step = static_cast<std::size_t>(inFirst.step);
    for (; x < count; ++x) {
        const std::size_t at = step * x;
        outChroma[2 * x] = static_cast<std::uint16_t>(cb[at] * ofFirst + nextCb[at] * ofSecond);
        outChroma[2 * x + 1] = static_cast<std::uint16_t>(cr[at] * ofFirst + nextCr[at] * ofSecond);
    }
    outChroma[2 * count] = outChroma[2 * count - 2];
    outChroma[2 * count + 1] = outChroma[2 * count - 1];
}

// The weights add up to 16, so that codes times 16 give codes times 256.
HWY_INLINE Words WeightedChroma(const std::array<const std::uint16_t*, 4>& inRows,
                                const std::array<std::uint16_t, 4>& inSixteenths, std::size_t inX) {
    Words sum = hn::Zero(kWords);
    for (std::size_t i = 0; i < 4; ++i) {
        const Words chroma = hn::ShiftRight<4>(hn::LoadU(kWords, inRows[i] + inX));
        sum = hn::Add(sum, hn::Mul(chroma, hn::Set(kWords, inSixteenths[i])));
    }
    return RoundedByte(sum);
}

void StoreChroma(const std::array<const std::uint16_t*, 4>& inRows,
                 const std::array<std::uint16_t, 4>& inSixteenths, std::int32_t inWidth, int inStep,
                 std::byte* outCb, std::byte* outCr) {
    const auto count = static_cast<std::size_t>(HalfWidth(inWidth));
    std::uint8_t *const cb = CodesAt(outCb), *const cr = CodesAt(outCr);
    std::size_t x = 0;
    for (; inStep == 1 && x + Step() <= count; x += Step()) {
        const Words low = WeightedChroma(inRows, inSixteenths, 2 * x);
        const Words high = WeightedChroma(inRows, inSixteenths, 2 * x + Step());
        hn::StoreU(hn::TruncateTo(kHalfBytes, hn::ConcatEven(kWords, high, low)), kHalfBytes,
                   cb + x);
        hn::StoreU(hn::TruncateTo(kHalfBytes, hn::ConcatOdd(kWords, high, low)), kHalfBytes,
                   cr + x);
    }
    const auto step = static_cast<std::size_t>(inStep);
    for (; x < count; ++x) {
        for (const std::size_t kind : {0u, 1u}) {
            std::uint32_t sum = 0x80;
            for (std::size_t i = 0; i < 4; ++i)
                sum += std::uint32_t{inRows[i][2 * x + kind]} / 16 * inSixteenths[i];
            (kind == 0 ? cb : cr)[step * x] = static_cast<std::uint8_t>(std::min(sum >> 8, 255u));
        }
    }
}

// ---- Matrices -----------------------------------------------------------------------------------

HWY_INLINE SignedWords Alternating(std::int16_t inFirst, std::int16_t inSecond) {
    return hn::OddEven(hn::Set(kSignedWords, inSecond), hn::Set(kSignedWords, inFirst));
}

HWY_INLINE SignedWords Swapped(SignedWords inPairs) {
    return hn::BitCast(kSignedWords, hn::RotateRight<16>(hn::BitCast(kPixels, inPairs)));
}

// Of each pair, in both of its places.
HWY_INLINE SignedWords LumaOfChroma(SignedWords inChroma, SignedWords inWeights) {
    const SignedWords products = hn::MulFixedPoint15(inChroma, inWeights);
    return hn::Add(products, Swapped(products));
}

void ApplyMatrix(const HalfRowMatrix& inMatrix, std::int32_t inWidth, const HalfRow& ioRow) {
    const SignedWords luma = Alternating(inMatrix.lumaOfCb, inMatrix.lumaOfCr);
    const SignedWords own = Alternating(inMatrix.cbOfCb, inMatrix.crOfCr);
    const SignedWords other = Alternating(inMatrix.cbOfCr, inMatrix.crOfCb);
    const auto width = static_cast<std::size_t>(inWidth);
    SignedWords chroma = Centred(hn::LoadU(kWords, ioRow.chroma));
    SignedWords next = Centred(hn::LoadU(kWords, ioRow.chroma + 2));
    for (std::size_t x = 0; x < width; x += Step()) {
        const SignedWords first = LumaOfChroma(chroma, luma);
        const SignedWords between = hn::ShiftRight<1>(hn::Add(first, LumaOfChroma(next, luma)));
        const SignedWords sum = hn::SaturatedAdd(Centred(hn::LoadU(kWords, ioRow.luma + x)),
                                                 hn::OddEven(between, first));
        hn::StoreU(Centred(hn::BitCast(kWords, sum)), kSignedWords,
                   reinterpret_cast<std::int16_t*>(ioRow.luma + x));
        const SignedWords change =
            hn::Add(hn::MulFixedPoint15(chroma, own), hn::MulFixedPoint15(Swapped(chroma), other));
        const SignedWords changed = hn::SaturatedAdd(chroma, change);
        // What follows has to be read before it is changed.
        chroma = Centred(hn::LoadU(kWords, ioRow.chroma + x + Step()));
        next = Centred(hn::LoadU(kWords, ioRow.chroma + x + Step() + 2));
        hn::StoreU(Centred(hn::BitCast(kWords, changed)), kSignedWords,
                   reinterpret_cast<std::int16_t*>(ioRow.chroma + x));
    }
    ContinueHalfRow(inWidth, ioRow);
}

// ---- Floats -------------------------------------------------------------------------------------

constexpr hn::ScalableTag<float> kFloats;
constexpr hn::Half<decltype(kWords)> kHalfWords;
using Floats = hn::Vec<decltype(kFloats)>;

// Samples are (code - offset) / scale.
struct Range {
    float offset, scale;
};
inline constexpr Range kLumaRange{16 * 256, 219 * 256}, kChromaRange{128 * 256, 224 * 256};

template <const Range& kRange>
HWY_INLINE Floats SamplesOf(Pixels inCodes) {
    constexpr Reciprocal kReciprocal = ReciprocalOf(kRange.scale);
    const Floats codes = hn::ConvertTo(kFloats, hn::BitCast(kSums, inCodes));
    return Quotient(hn::Sub(codes, hn::Set(kFloats, kRange.offset)),
                    hn::Set(kFloats, kReciprocal.high), hn::Set(kFloats, kReciprocal.low));
}

HWY_INLINE hn::Vec<decltype(kHalfWords)> CodesOf(const float* inSamples, const Range& inRange) {
    return hn::TruncateTo(kHalfWords, NearestCode(kFloats, hn::LoadU(kFloats, inSamples),
                                                  hn::Set(kFloats, inRange.scale),
                                                  hn::Set(kFloats, inRange.offset), 65535.0f));
}

float SampleOf(std::uint16_t inCode, const Range& inRange) {
    return (static_cast<float>(inCode) - inRange.offset) / inRange.scale;
}

std::uint16_t CodeOf(float inSample, const Range& inRange) {
    return static_cast<std::uint16_t>(Quantise(inSample, inRange.offset, inRange.scale, 65535.0f));
}

void ToFloats(const HalfRow& inRow, std::int32_t inWidth, const PlanarRow& outRow) {
    const auto [luma, cb, cr, unused] = outRow;
    const auto width = static_cast<std::size_t>(inWidth);
    const std::size_t step = hn::Lanes(kFloats), count = (width + 1) / 2;
    std::size_t x = 0;
    for (; x + step <= width; x += step) {
        const auto codes = hn::PromoteTo(kPixels, hn::LoadU(kHalfWords, inRow.luma + x));
        hn::StoreU(SamplesOf<kLumaRange>(codes), kFloats, luma + x);
    }
    for (; x < width; ++x)
        luma[x] = SampleOf(inRow.luma[x], kLumaRange);
    for (x = 0; x + step <= count; x += step) {
        const Pixels pairs = hn::BitCast(kPixels, hn::LoadU(kWords, inRow.chroma + 2 * x));
        hn::StoreU(SamplesOf<kChromaRange>(hn::And(pairs, hn::Set(kPixels, 0xFFFF))), kFloats,
                   cb + x);
        hn::StoreU(SamplesOf<kChromaRange>(hn::ShiftRight<16>(pairs)), kFloats, cr + x);
    }
    for (; x < count; ++x) {
        cb[x] = SampleOf(inRow.chroma[2 * x], kChromaRange);
        cr[x] = SampleOf(inRow.chroma[2 * x + 1], kChromaRange);
    }
}

void FromFloats(const PlanarRow& inRow, std::int32_t inWidth, const HalfRow& outRow) {
    const auto [luma, cb, cr, unused] = inRow;
    const auto width = static_cast<std::size_t>(inWidth);
    const std::size_t step = hn::Lanes(kFloats), count = (width + 1) / 2;
    std::size_t x = 0;
    for (; x + step <= width; x += step)
        hn::StoreU(CodesOf(luma + x, kLumaRange), kHalfWords, outRow.luma + x);
    for (; x < width; ++x)
        outRow.luma[x] = CodeOf(luma[x], kLumaRange);
    for (x = 0; x + step <= count; x += step) {
        hn::StoreInterleaved2(CodesOf(cb + x, kChromaRange), CodesOf(cr + x, kChromaRange),
                              kHalfWords, outRow.chroma + 2 * x);
    }
    for (; x < count; ++x) {
        outRow.chroma[2 * x] = CodeOf(cb[x], kChromaRange);
        outRow.chroma[2 * x + 1] = CodeOf(cr[x], kChromaRange);
    }
    ContinueHalfRow(inWidth, outRow);
}

// ---- Packed 4:2:2 -------------------------------------------------------------------------------

template <bool isLumaFirst>
void LoadUnits(const std::byte* inRow, std::int32_t inWidth, const HalfRow& outRow) {
    const auto width = static_cast<std::size_t>(inWidth);
    const std::size_t words = width + width % 2;
    const auto unpack = [&](const std::uint8_t* units, std::size_t x) HWY_ATTR {
        const Words pairs = hn::BitCast(kWords, hn::LoadU(kBytes, units));
        const Words high = hn::And(pairs, hn::Set(kWords, 0xFF00));
        const Words low = hn::ShiftLeft<8>(pairs);
        hn::StoreU(isLumaFirst ? low : high, kWords, outRow.luma + x);
        hn::StoreU(isLumaFirst ? high : low, kWords, outRow.chroma + x);
    };
    std::size_t x = 0;
    for (; x + Step() <= words; x += Step())
        unpack(CodesAt(inRow) + 2 * x, x);
    if (x < words) {
        HWY_ALIGN std::uint8_t rest[HWY_MAX_BYTES] = {};
        std::memcpy(rest, CodesAt(inRow) + 2 * x, 2 * (words - x));
        unpack(rest, x);
    }
    ContinueHalfRow(inWidth, outRow);
}

template <bool isLumaFirst>
void StoreUnits(const HalfRow& inRow, std::int32_t inWidth, std::byte* outRow) {
    NarrowSamples<isLumaFirst>(inRow.luma, inRow.chroma, static_cast<std::size_t>(inWidth),
                               CodesAt(outRow));
}

void LoadV210(const std::byte* inRow, std::int32_t inWidth, const HalfRow& outRow) {
    const auto width = static_cast<std::size_t>(inWidth);
    UnpackGroups(CodesAt(inRow), width, outRow.luma, outRow.chroma);
    ContinueHalfRow(inWidth, outRow);
}

void StoreV210(const HalfRow& inRow, std::int32_t inWidth, std::byte* outRow) {
    const auto width = static_cast<std::size_t>(inWidth);
    const auto codes = [](const std::uint16_t* samples) HWY_ATTR {
        return hn::ShiftRight<6>(hn::SaturatedAdd(hn::LoadU(kWords, samples), hn::Set(kWords, 32)));
    };
    SampleChunk chunk{};
    for (std::size_t first = 0; first < width; first += kChunkPixels) {
        const std::size_t count = std::min(kChunkPixels, width - first);
        for (std::size_t x = 0; x < count; x += Step()) {
            hn::StoreInterleaved2(codes(inRow.chroma + first + x), codes(inRow.luma + first + x),
                                  kWords, chunk.samples + 2 * x);
        }
        PackChunk(chunk, count, CodesAt(outRow) + first / kGroupPixels * kGroupBytes);
    }
}

// ---- Pixels of four bytes -----------------------------------------------------------------------

template <const PixelWeights& kWeights>
void LoadPixels(const std::byte* inRow, std::int32_t inWidth, const HalfRow& outRow) {
    const auto width = static_cast<std::size_t>(inWidth);
    SampleChunk chunk{};
    for (std::size_t first = 0; first < width; first += kChunkPixels) {
        const std::size_t count = std::min(kChunkPixels, width - first);
        HalvePart<kWeights, SampleStorer>(CodesAt(inRow) + 4 * first, first == 0, count,
                                          chunk.Bytes());
        for (std::size_t x = 0; x < count; x += Step()) {
            Words chroma, luma;
            hn::LoadInterleaved2(kWords, chunk.samples + 2 * x, chroma, luma);
            hn::StoreU(hn::ShiftLeft<6>(chroma), kWords, outRow.chroma + first + x);
            hn::StoreU(hn::ShiftLeft<6>(luma), kWords, outRow.luma + first + x);
        }
    }
    ContinueHalfRow(inWidth, outRow);
}

template <class Colour, PixelForm kForm>
void StoreAsPixels(const HalfRow& inRow, std::int32_t inWidth, std::byte* outRow) {
    SpreadPart<Colour, kForm>(SampleLoader(inRow.luma, inRow.chroma),
                              static_cast<std::size_t>(inWidth), CodesAt(outRow));
}

inline constexpr PixelWeights kBgra601 = WeightsOfRgb(Matrix::Bt601, false);
inline constexpr PixelWeights kBgra709 = WeightsOfRgb(Matrix::Bt709, false);
inline constexpr PixelWeights kArgb601 = WeightsOfRgb(Matrix::Bt601, true);
inline constexpr PixelWeights kArgb709 = WeightsOfRgb(Matrix::Bt709, true);
inline constexpr PixelWeights kVuya = WeightsOfVuya(Matrix::Bt601, Matrix::Bt601);
inline constexpr PixelWeights kVuyaTo601 = WeightsOfVuya(Matrix::Bt709, Matrix::Bt601);
inline constexpr PixelWeights kVuyaTo709 = WeightsOfVuya(Matrix::Bt601, Matrix::Bt709);
inline constexpr RgbNumbers kNumbers601 = NumbersToRgb(Matrix::Bt601);
inline constexpr RgbNumbers kNumbers709 = NumbersToRgb(Matrix::Bt709);

// ---- The choice ---------------------------------------------------------------------------------

void ChoosePixels(const Format& inFormat, Matrix inMatrix, HalfRowFunctions& outFunctions) {
    const bool is709 = inMatrix == Matrix::Bt709;
    using To601 = ToRgb<kNumbers601>;
    using To709 = ToRgb<kNumbers709>;
    if (inFormat.colour == Colour::YCbCr) {
        const bool changesMatrix = inFormat.matrix != inMatrix;
        outFunctions.load = !changesMatrix ? LoadPixels<kVuya>
                            : is709        ? LoadPixels<kVuyaTo709>
                                           : LoadPixels<kVuyaTo601>;
        outFunctions.store = StoreAsPixels<ToCodes, PixelForm::Opaque>;
    } else if (inFormat.isReversed) {
        outFunctions.load = is709 ? LoadPixels<kArgb709> : LoadPixels<kArgb601>;
        outFunctions.store = is709 ? StoreAsPixels<To709, PixelForm::OpaqueFirst>
                                   : StoreAsPixels<To601, PixelForm::OpaqueFirst>;
    } else {
        outFunctions.load = is709 ? LoadPixels<kBgra709> : LoadPixels<kBgra601>;
        outFunctions.store = is709 ? StoreAsPixels<To709, PixelForm::Opaque>
                                   : StoreAsPixels<To601, PixelForm::Opaque>;
    }
}

HalfRowFunctions FindFunctions(const Format& inFormat, Matrix inMatrix) {
    HalfRowFunctions functions{nullptr,     nullptr,     LoadLuma, StoreLuma, MixChroma,
                               StoreChroma, ApplyMatrix, ToFloats, FromFloats};
    if (inFormat.layout == Layout::Packed4444 && inFormat.component == Component::Unsigned8) {
        ChoosePixels(inFormat, inMatrix, functions);
    } else if (inFormat.layout == Layout::Packed422 &&
               inFormat.component == Component::Unsigned10) {
        functions.load = LoadV210;
        functions.store = StoreV210;
    } else if (inFormat.layout == Layout::Packed422) {
        functions.load = inFormat.isReversed ? LoadUnits<true> : LoadUnits<false>;
        functions.store = inFormat.isReversed ? StoreUnits<true> : StoreUnits<false>;
    }
    return functions;
}

#endif

}  // namespace
}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(FindFunctions);

}  // namespace

HalfRowFunctions FindHalfRowFunctions(const Format& inFormat, Matrix inMatrix) {
    return HWY_DYNAMIC_DISPATCH(FindFunctions)(inFormat, inMatrix);
}

}  // namespace scanvo

#endif

// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_DISABLED_TARGETS HWY_SSSE3
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/DepthRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include "fast/Codes-inl.h"
#include "fast/DepthRows.h"

#ifndef SCANVO_FAST_DEPTH_ROWS
#define SCANVO_FAST_DEPTH_ROWS

#include <array>
#include <cstring>
#include <type_traits>

namespace scanvo {

enum class AlphaWork { Keep, MakeOpaque, Premultiply, Unpremultiply };

// ---- Constants that repeat with every pixel -----------------------------------------------------

template <class Code>
using PixelOf = std::array<Code, 4>;

// The components of pixels, up to the length that every vector has.
template <class Code>
struct alignas(16) Block {
    Code codes[16 / sizeof(Code)];
};

template <class Code>
constexpr Block<Code> Repeated(const PixelOf<Code>& inPixel) {
    Block<Code> block{};
    for (std::size_t i = 0; i < 16 / sizeof(Code); ++i)
        block.codes[i] = inPixel[i % 4];
    return block;
}

constexpr std::size_t AlphaPlace(bool inIsReversed) {
    return inIsReversed ? 0 : 3;
}

template <class Code>
constexpr Block<Code> RepeatedAlpha(bool inIsReversed, Code inColour, Code inAlpha) {
    PixelOf<Code> pixel = {inColour, inColour, inColour, inColour};
    pixel[AlphaPlace(inIsReversed)] = inAlpha;
    return Repeated(pixel);
}

// Which component goes to each place of a pixel; nothing goes where there is 4.
template <class Code>
constexpr Block<std::uint8_t> Shuffled(const PixelOf<std::size_t>& inComponents) {
    Block<std::uint8_t> indices{};
    for (std::size_t i = 0; i < 16; ++i) {
        const std::size_t component = inComponents[i / sizeof(Code) % 4];
        const std::size_t pixelStart = i / (4 * sizeof(Code)) * (4 * sizeof(Code));
        const std::size_t index = pixelStart + component * sizeof(Code) + i % sizeof(Code);
        indices.codes[i] = static_cast<std::uint8_t>(component == 4 ? 0x80 : index);
    }
    return indices;
}

template <class Code>
constexpr Block<std::uint8_t> kReversal = Shuffled<Code>({3, 2, 1, 0});

template <class Code>
constexpr Block<std::uint8_t> AlphaForColour(bool inIsReversed) {
    return inIsReversed ? Shuffled<Code>({4, 0, 0, 0}) : Shuffled<Code>({3, 3, 3, 4});
}

template <class Code>
constexpr Code kOpaque = 1;
template <>
constexpr std::uint8_t kOpaque<std::uint8_t> = 255;
template <>
constexpr std::uint16_t kOpaque<std::uint16_t> = 32768;

// Sample x is the 8-bit code offset + x * scale. The offset is black.
struct FullRange {
    static constexpr PixelOf<float> kOffset = {0, 0, 0, 0};
    static constexpr PixelOf<float> kScale = {255, 255, 255, 255};
};
// V, U, Y', A.
struct VideoRange {
    static constexpr PixelOf<float> kOffset = {128, 128, 16, 0};
    static constexpr PixelOf<float> kScale = {224, 224, 219, 255};
};

constexpr PixelOf<float> Reciprocals(const PixelOf<float>& inPixel, float Reciprocal::*inPart) {
    const auto part = [inPart](float scale) { return ReciprocalOf(scale).*inPart; };
    return {part(inPixel[0]), part(inPixel[1]), part(inPixel[2]), part(inPixel[3])};
}

}  // namespace scanvo

#endif

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

// Without vectors the general road is as good.
ConvertRow FindRow(const Format&, const Format&, AlphaWork) {
    return nullptr;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

template <class D>
HWY_INLINE hn::Vec<D> Repeat(D inTag, const Block<hn::TFromD<D>>& inBlock) {
    return hn::LoadDup128(inTag, inBlock.codes);
}

template <class D>
HWY_INLINE hn::Vec<D> Shuffle(D inTag, hn::Vec<D> inCodes, const Block<std::uint8_t>& inIndices) {
    const ByteTag<D> bytes;
    return hn::BitCast(inTag, hn::TableLookupBytesOr0(hn::BitCast(bytes, inCodes),
                                                      hn::LoadDup128(bytes, inIndices.codes)));
}

// ---- Depths -------------------------------------------------------------------------------------

template <class Range, class D>
HWY_INLINE hn::Vec<D> SamplesOf(D inTag, hn::Vec<hn::Rebind<std::uint8_t, D>> inCodes) {
    static constexpr auto kOffset = Repeated(Range::kOffset);
    static constexpr auto kHigh = Repeated(Reciprocals(Range::kScale, &Reciprocal::high));
    static constexpr auto kLow = Repeated(Reciprocals(Range::kScale, &Reciprocal::low));
    const auto codes = hn::ConvertTo(inTag, hn::PromoteTo(hn::RebindToSigned<D>(), inCodes));
    return Quotient(hn::Sub(codes, Repeat(inTag, kOffset)), Repeat(inTag, kHigh),
                    Repeat(inTag, kLow));
}

template <class Range, class D>
HWY_INLINE hn::Vec<D> SamplesOf(D inTag, hn::Vec<hn::Rebind<std::uint16_t, D>> inCodes) {
    const auto codes = hn::ConvertTo(inTag, hn::PromoteTo(hn::RebindToSigned<D>(), inCodes));
    return hn::Mul(codes, hn::Set(inTag, 1.0f / 32768));
}

template <class Range, class D>
HWY_INLINE hn::Vec<D> CodesOf(D inTag, hn::Vec<hn::Rebind<float, D>> inSamples) {
    const hn::Rebind<float, D> floats;
    if constexpr (std::is_same_v<hn::TFromD<D>, std::uint16_t>) {
        constexpr float kWhite = 32768.0f;
        return hn::TruncateTo(inTag, NearestCode(floats, inSamples, hn::Set(floats, kWhite),
                                                 hn::Zero(floats), kWhite));
    } else {
        static constexpr auto kOffset = Repeated(Range::kOffset);
        static constexpr auto kScale = Repeated(Range::kScale);
        return hn::TruncateTo(inTag, NearestCode(floats, inSamples, Repeat(floats, kScale),
                                                 Repeat(floats, kOffset), 255.0f));
    }
}

// c * 32768 / 255, rounded: c and its half of the byte above are 257 c, of which this is the half.
template <class D>
HWY_INLINE hn::Vec<D> Codes15Of(D inTag, hn::Vec<hn::Rebind<std::uint8_t, D>> inCodes) {
    const auto codes = hn::PromoteTo(inTag, inCodes);
    return hn::AverageRound(hn::Or(codes, hn::ShiftLeft<8>(codes)), hn::Zero(inTag));
}

// c * 255 / 32768, rounded and clamped.
template <class D>
HWY_INLINE hn::Vec<D> Codes8Of(D inTag, hn::Vec<hn::Rebind<std::uint16_t, D>> inCodes) {
    const hn::Rebind<std::uint16_t, D> wide;
    const auto factor = hn::Set(wide, 510);
    const auto roundingBit = hn::ShiftRight<15>(hn::Mul(inCodes, factor));
    const auto rounded = hn::Add(hn::MulHigh(inCodes, factor), roundingBit);
    return hn::TruncateTo(inTag, hn::Min(rounded, hn::Set(wide, 255)));
}

template <class Range, class DTo, class DFrom>
HWY_INLINE hn::Vec<DTo> Converted(DTo inTo, DFrom, hn::Vec<DFrom> inCodes) {
    using From = hn::TFromD<DFrom>;
    using To = hn::TFromD<DTo>;
    if constexpr (std::is_same_v<From, To>) {
        return inCodes;
    } else if constexpr (std::is_same_v<To, float>) {
        return SamplesOf<Range>(inTo, inCodes);
    } else if constexpr (std::is_same_v<From, float>) {
        return CodesOf<Range>(inTo, inCodes);
    } else if constexpr (sizeof(From) == 1) {
        return Codes15Of(inTo, inCodes);
    } else {
        return Codes8Of(inTo, inCodes);
    }
}

// ---- Alpha --------------------------------------------------------------------------------------

template <bool isReversed, class D>
HWY_INLINE hn::Vec<D> MadeOpaque(D inTag, hn::Vec<D> inCodes) {
    using Code = hn::TFromD<D>;
    using Bits = hwy::MakeUnsigned<Code>;
    static constexpr auto kColour =
        RepeatedAlpha<Bits>(isReversed, static_cast<Bits>(~Bits{0}), Bits{0});
    static constexpr auto kAlpha = RepeatedAlpha<Code>(isReversed, Code{0}, kOpaque<Code>);
    const auto colourMask = hn::BitCast(inTag, Repeat(hn::RebindToUnsigned<D>(), kColour));
    return hn::Or(hn::And(inCodes, colourMask), Repeat(inTag, kAlpha));
}

// Each pixel's alpha in the places of its colour, and opaque in that of its alpha: what to multiply
// or divide all of them by.
template <bool isReversed, class D>
HWY_INLINE hn::Vec<D> AlphaFactors(D inTag, hn::Vec<D> inCodes) {
    using Code = hn::TFromD<D>;
    static constexpr auto kIndices = AlphaForColour<Code>(isReversed);
    static constexpr auto kAlpha = RepeatedAlpha<Code>(isReversed, Code{0}, kOpaque<Code>);
    return hn::Or(Shuffle(inTag, inCodes, kIndices), Repeat(inTag, kAlpha));
}

template <class V>
HWY_INLINE V BiasedProduct(V inCodes, V inFactors) {
    return hn::Add(hn::Mul(inCodes, inFactors), hn::Set(hn::DFromV<V>(), 128));
}

// The black of every other component in all of its 16 bits, 255 times; 0 for alpha.
template <class Range, std::size_t first>
constexpr PixelOf<std::uint16_t> kBlacks = {static_cast<std::uint16_t>(Range::kOffset[first]),
                                            static_cast<std::uint16_t>(Range::kOffset[first + 2]),
                                            static_cast<std::uint16_t>(Range::kOffset[first]),
                                            static_cast<std::uint16_t>(Range::kOffset[first + 2])};

// black + (c - black) * a / 255, rounded: for the sum t of c * a, black * (255 - a) and 128 that is
// t * 257 >> 16, which is the upper byte of t + (t >> 8) too. Even and odd bytes are done apart.
template <bool isReversed, class Range, class D>
requires(sizeof(hn::TFromD<D>) == 1) HWY_INLINE hn::Vec<D> Premultiplied(D inTag,
                                                                         hn::Vec<D> inCodes) {
    static constexpr auto kAlphaToWords =
        isReversed ? Shuffled<std::uint8_t>({0, 4, 0, 4}) : Shuffled<std::uint8_t>({3, 4, 3, 4});
    static constexpr auto kOpaqueAlpha = isReversed ? Repeated<std::uint8_t>({255, 0, 0, 0})
                                                    : Repeated<std::uint8_t>({0, 0, 255, 0});
    const hn::Repartition<std::uint16_t, D> words;
    const auto codes = hn::BitCast(words, inCodes);
    const auto alpha = hn::BitCast(words, Shuffle(inTag, inCodes, kAlphaToWords));
    const auto alphaAndOpaque = hn::Or(alpha, hn::BitCast(words, Repeat(inTag, kOpaqueAlpha)));
    const auto product = [&](auto lanes, auto factors, const auto& blacks) HWY_ATTR {
        if constexpr (std::is_same_v<Range, FullRange>) {
            return BiasedProduct(lanes, factors);
        } else {
            // What wraps comes back.
            const auto black = Repeat(words, blacks);
            const auto full = hn::Sub(hn::ShiftLeft<8>(black), black);
            return hn::Add(BiasedProduct(hn::Sub(lanes, black), factors), full);
        }
    };
    static constexpr auto kEvenBlacks = Repeated(kBlacks<Range, 0>);
    static constexpr auto kOddBlacks = Repeated(kBlacks<Range, 1>);
    const auto even = product(hn::And(codes, hn::Set(words, 0xFF)),
                              isReversed ? alphaAndOpaque : alpha, kEvenBlacks);
    const auto odd =
        product(hn::ShiftRight<8>(codes), isReversed ? alpha : alphaAndOpaque, kOddBlacks);
    const auto evenCodes = hn::MulHigh(even, hn::Set(words, 257));
    const auto oddCodes = hn::Add(odd, hn::ShiftRight<8>(odd));
    return hn::OddEven(hn::BitCast(inTag, oddCodes), hn::BitCast(inTag, evenCodes));
}

// c * a / 32768, rounded and clamped: the upper 17 bits of 32, of which the last one rounds.
template <bool isReversed, class Range, class D>
requires(sizeof(hn::TFromD<D>) == 2) HWY_INLINE hn::Vec<D> Premultiplied(D inTag,
                                                                         hn::Vec<D> inCodes) {
    const auto factors = AlphaFactors<isReversed>(inTag, inCodes);
    const auto high = hn::MulHigh(inCodes, factors);
    const auto low = hn::ShiftRight<14>(hn::Mul(inCodes, factors));
    return hn::SaturatedAdd(hn::SaturatedAdd(high, high), hn::AverageRound(low, hn::Zero(inTag)));
}

template <bool isReversed, class Range, class D>
requires(sizeof(hn::TFromD<D>) == 4) HWY_INLINE hn::Vec<D> Premultiplied(D inTag,
                                                                         hn::Vec<D> inSamples) {
    return hn::Mul(inSamples, AlphaFactors<isReversed>(inTag, inSamples));
}

// One component of each pixel, counted from black, times a factor, rounded and clamped.
template <int shift, int black, class D>
HWY_INLINE hn::Vec<D> Scaled(D inTag, hn::Vec<D> inPixels, hn::Vec<hn::Rebind<float, D>> inFactor) {
    const hn::Rebind<float, D> floats;
    const hn::RebindToSigned<D> signedTag;
    const auto component = hn::And(hn::ShiftRight<shift>(inPixels), hn::Set(inTag, 0xFF));
    const auto code = hn::Sub(hn::BitCast(signedTag, component), hn::Set(signedTag, black));
    // Floats of this size are whole numbers, and have them in their lowest bits.
    constexpr float kWhole = 8388608.0f;
    const auto sum =
        hn::MulAdd(hn::ConvertTo(floats, code), inFactor, hn::Set(floats, kWhole + black));
    auto whole = hn::Min(sum, hn::Set(floats, kWhole + 255));
    if constexpr (black != 0) whole = hn::Max(whole, hn::Set(floats, kWhole));
    const auto result = hn::BitCast(inTag, whole);
    // A shift drops the bits above them.
    if constexpr (shift != 0) return hn::ShiftLeft<shift>(result);
    return hn::And(result, hn::Set(inTag, 0xFF));
}

// c * 255 / a, rounded and clamped, with one reciprocal a pixel. Quotients half way between two
// codes are at least 1/510 away from all others; making all larger by less than that rounds them
// up.
template <bool isReversed, class Range, class D>
requires(sizeof(hn::TFromD<D>) == 1) HWY_INLINE hn::Vec<D> Unpremultiplied(D inTag,
                                                                           hn::Vec<D> inCodes) {
    constexpr int kAlphaShift = isReversed ? 0 : 24;
    constexpr int kFirst = isReversed ? 8 : 0;
    const hn::Repartition<std::uint32_t, D> wide;
    const hn::Rebind<float, decltype(wide)> floats;
    const hn::RebindToSigned<decltype(wide)> signedTag;
    const auto pixels = hn::BitCast(wide, inCodes);
    const auto alphaMask = hn::Set(wide, 0xFFu << kAlphaShift);
    const auto alphaCode = hn::And(hn::ShiftRight<kAlphaShift>(pixels), hn::Set(wide, 0xFF));
    const auto alpha = hn::ConvertTo(floats, hn::BitCast(signedTag, alphaCode));
    const auto factor = hn::Mul(hn::Set(floats, 255.001f), OverAlpha(alpha));
    constexpr auto kBlack = [](std::size_t component) {
        return static_cast<int>(Range::kOffset[component]);
    };
    constexpr std::size_t kColour = isReversed ? 1 : 0;
    const auto colour = hn::Or3(Scaled<kFirst, kBlack(kColour)>(wide, pixels, factor),
                                Scaled<kFirst + 8, kBlack(kColour + 1)>(wide, pixels, factor),
                                Scaled<kFirst + 16, kBlack(kColour + 2)>(wide, pixels, factor));
    return hn::BitCast(inTag, hn::Or(hn::And(pixels, alphaMask), colour));
}

// Where nothing shows there is no colour to recover, and black is as good as any.
template <bool isReversed, class Range, class D>
requires(sizeof(hn::TFromD<D>) == 4) HWY_INLINE hn::Vec<D> Unpremultiplied(D inTag,
                                                                           hn::Vec<D> inSamples) {
    const auto factors = AlphaFactors<isReversed>(inTag, inSamples);
    return hn::Mul(inSamples, OverAlpha(factors));
}

template <AlphaWork alpha, bool isReversed, class Range, class D>
HWY_INLINE hn::Vec<D> WithAlpha(D inTag, hn::Vec<D> inCodes) {
    if constexpr (alpha == AlphaWork::MakeOpaque) {
        return MadeOpaque<isReversed>(inTag, inCodes);
    } else if constexpr (alpha == AlphaWork::Premultiply) {
        return Premultiplied<isReversed, Range>(inTag, inCodes);
    } else if constexpr (alpha == AlphaWork::Unpremultiply) {
        return Unpremultiplied<isReversed, Range>(inTag, inCodes);
    } else {
        return inCodes;
    }
}

// ---- Rows ---------------------------------------------------------------------------------------

template <class First, class Second>
using Wider = std::conditional_t<(sizeof(First) > sizeof(Second)), First, Second>;

// Codes of one depth are taken to the one to work in, where alpha gets its due, and on to another.
template <class FromCode, class WorkCode, class ToCode, class Range, AlphaWork alpha,
          bool isReversed, bool isReordered>
struct Kernel {
    using From = FromCode;
    using To = ToCode;
    using WideTag = hn::ScalableTag<Wider<Wider<From, To>, WorkCode>>;
    using FromTag = hn::Rebind<From, WideTag>;
    using WorkTag = hn::Rebind<WorkCode, WideTag>;
    using ToTag = hn::Rebind<To, WideTag>;

    static HWY_INLINE void Convert(const std::byte* inPixels, std::byte* outPixels) {
        const FromTag fromTag;
        const WorkTag workTag;
        const ToTag toTag;
        auto work = Converted<Range>(workTag, fromTag, LoadCodes(fromTag, inPixels));
        work = WithAlpha<alpha, isReversed, Range>(workTag, work);
        auto codes = Converted<Range>(toTag, workTag, work);
        if constexpr (isReordered) codes = Shuffle(toTag, codes, kReversal<To>);
        // Only codes that nothing else has clamped.
        if constexpr (std::is_same_v<From, WorkCode> && std::is_same_v<To, std::uint16_t>) {
            codes = hn::Min(codes, hn::Set(toTag, kOpaque<std::uint16_t>));
        }
        StoreCodes(toTag, codes, outPixels);
    }
};

template <class K>
HWY_NOINLINE void ConvertRest(const std::byte* inRow, std::byte* outRow, std::size_t inPixels) {
    constexpr std::size_t kMost = hn::MaxLanes(typename K::WideTag());
    std::byte from[kMost * sizeof(typename K::From)]{};
    std::byte to[kMost * sizeof(typename K::To)];
    std::memcpy(from, inRow, inPixels * 4 * sizeof(typename K::From));
    K::Convert(from, to);
    std::memcpy(outRow, to, inPixels * 4 * sizeof(typename K::To));
}

template <class K>
void ConvertWith(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    constexpr std::size_t kFromBytes = 4 * sizeof(typename K::From);
    constexpr std::size_t kToBytes = 4 * sizeof(typename K::To);
    const auto width = static_cast<std::size_t>(inWidth);
    const std::size_t step = hn::Lanes(typename K::WideTag()) / 4;
    std::size_t x = 0;
    for (; x + step <= width; x += step) {
        K::Convert(inRow + x * kFromBytes, outRow + x * kToBytes);
    }
    if (x < width) ConvertRest<K>(inRow + x * kFromBytes, outRow + x * kToBytes, width - x);
}

// ---- The choice ---------------------------------------------------------------------------------

// By the byte orders of source and destination.
using RowsByOrder = std::array<std::array<ConvertRow, 2>, 2>;

template <class From, class Work, class To, AlphaWork alpha>
constexpr RowsByOrder InAnyOrder() {
    // Where alpha is kept, its place makes no difference.
    constexpr bool kMatters = alpha != AlphaWork::Keep;
    return {{{ConvertWith<Kernel<From, Work, To, FullRange, alpha, false, false>>,
              ConvertWith<Kernel<From, Work, To, FullRange, alpha, false, true>>},
             {ConvertWith<Kernel<From, Work, To, FullRange, alpha, kMatters, true>>,
              ConvertWith<Kernel<From, Work, To, FullRange, alpha, kMatters, false>>}}};
}

template <class From, class Work, class To, class Range, AlphaWork alpha>
constexpr RowsByOrder InOneOrder() {
    return {{{ConvertWith<Kernel<From, Work, To, Range, alpha, false, false>>, nullptr},
             {nullptr, nullptr}}};
}

using U8 = std::uint8_t;
using U15 = std::uint16_t;
using enum AlphaWork;

struct KernelRow {
    bool isYCbCr;
    Component from;
    Component to;
    AlphaWork alpha;
    RowsByOrder rows;
};

constexpr Component k8 = Component::Unsigned8;
constexpr Component k15 = Component::Unsigned15;
constexpr Component kFloat = Component::Float;

constexpr KernelRow kKernelRows[] = {
    {false, k8, k8, Keep, InAnyOrder<U8, U8, U8, Keep>()},
    {false, k8, k8, MakeOpaque, InAnyOrder<U8, U8, U8, MakeOpaque>()},
    {false, k8, k8, Premultiply, InAnyOrder<U8, U8, U8, Premultiply>()},
    {false, k8, k8, Unpremultiply, InAnyOrder<U8, U8, U8, Unpremultiply>()},
    {false, k8, k15, Keep, InAnyOrder<U8, U15, U15, Keep>()},
    {false, k8, k15, MakeOpaque, InAnyOrder<U8, U15, U15, MakeOpaque>()},
    {false, k8, k15, Premultiply, InAnyOrder<U8, float, U15, Premultiply>()},
    {false, k8, k15, Unpremultiply, InAnyOrder<U8, float, U15, Unpremultiply>()},
    {false, k8, kFloat, Keep, InAnyOrder<U8, float, float, Keep>()},
    {false, k8, kFloat, MakeOpaque, InAnyOrder<U8, float, float, MakeOpaque>()},
    {false, k15, k8, Keep, InAnyOrder<U15, U8, U8, Keep>()},
    {false, k15, k8, MakeOpaque, InAnyOrder<U15, U8, U8, MakeOpaque>()},
    {false, k15, k15, Keep, InAnyOrder<U15, U15, U15, Keep>()},
    {false, k15, k15, MakeOpaque, InAnyOrder<U15, U15, U15, MakeOpaque>()},
    {false, k15, k15, Premultiply, InAnyOrder<U15, U15, U15, Premultiply>()},
    {false, k15, k15, Unpremultiply, InAnyOrder<U15, float, U15, Unpremultiply>()},
    {false, k15, kFloat, Keep, InAnyOrder<U15, float, float, Keep>()},
    {false, k15, kFloat, MakeOpaque, InAnyOrder<U15, float, float, MakeOpaque>()},
    {false, kFloat, k8, Keep, InAnyOrder<float, U8, U8, Keep>()},
    {false, kFloat, k8, MakeOpaque, InAnyOrder<float, U8, U8, MakeOpaque>()},
    {false, kFloat, k15, Keep, InAnyOrder<float, U15, U15, Keep>()},
    {false, kFloat, k15, MakeOpaque, InAnyOrder<float, U15, U15, MakeOpaque>()},
    {false, kFloat, kFloat, Keep, InAnyOrder<float, float, float, Keep>()},
    {false, kFloat, kFloat, MakeOpaque, InAnyOrder<float, float, float, MakeOpaque>()},
    {false, kFloat, kFloat, Premultiply, InAnyOrder<float, float, float, Premultiply>()},
    {false, kFloat, kFloat, Unpremultiply, InAnyOrder<float, float, float, Unpremultiply>()},

    {true, k8, k8, MakeOpaque, InOneOrder<U8, U8, U8, VideoRange, MakeOpaque>()},
    {true, k8, k8, Premultiply, InOneOrder<U8, U8, U8, VideoRange, Premultiply>()},
    {true, k8, k8, Unpremultiply, InOneOrder<U8, U8, U8, VideoRange, Unpremultiply>()},
    {true, k8, kFloat, Keep, InOneOrder<U8, float, float, VideoRange, Keep>()},
    {true, k8, kFloat, MakeOpaque, InOneOrder<U8, float, float, VideoRange, MakeOpaque>()},
    {true, kFloat, k8, Keep, InOneOrder<float, U8, U8, VideoRange, Keep>()},
    {true, kFloat, k8, MakeOpaque, InOneOrder<float, U8, U8, VideoRange, MakeOpaque>()},
    {true, kFloat, kFloat, MakeOpaque, InAnyOrder<float, float, float, MakeOpaque>()},
    {true, kFloat, kFloat, Premultiply, InAnyOrder<float, float, float, Premultiply>()},
    {true, kFloat, kFloat, Unpremultiply, InAnyOrder<float, float, float, Unpremultiply>()},
};

ConvertRow FindRow(const Format& inSource, const Format& inDestination, AlphaWork inAlpha) {
    const bool isYCbCr = inSource.colour == Colour::YCbCr;
    for (const KernelRow& each : kKernelRows) {
        if (each.isYCbCr == isYCbCr && each.from == inSource.component &&
            each.to == inDestination.component && each.alpha == inAlpha) {
            return each.rows[inSource.isReversed ? 1 : 0][inDestination.isReversed ? 1 : 0];
        }
    }
    return nullptr;
}

#endif

}  // namespace
}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <optional>

namespace scanvo {
namespace {

HWY_EXPORT(FindRow);

// Nothing for a pair that needs several of them.
std::optional<AlphaWork> AlphaWorkBetween(Alpha inSource, Alpha inDestination) {
    if (inSource == Alpha::Ignored) return AlphaWork::MakeOpaque;
    if (inSource == inDestination) return AlphaWork::Keep;
    if (inSource == Alpha::Straight && inDestination == Alpha::Ignored) {
        return AlphaWork::MakeOpaque;
    }
    if (inDestination == Alpha::Premultiplied) return AlphaWork::Premultiply;
    if (inDestination == Alpha::Straight) return AlphaWork::Unpremultiply;
    return std::nullopt;
}

}  // namespace

ConvertRow FindDepthRow(const Format& inSource, const Format& inDestination) {
    if (inSource.layout != Layout::Packed4444 || inDestination.layout != Layout::Packed4444 ||
        inSource.colour != inDestination.colour || inSource.matrix != inDestination.matrix) {
        return nullptr;
    }
    const auto alpha = AlphaWorkBetween(inSource.alpha, inDestination.alpha);
    return alpha ? HWY_DYNAMIC_DISPATCH(FindRow)(inSource, inDestination, *alpha) : nullptr;
}

}  // namespace scanvo

#endif

// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
// The fallback for all operations, rather than the one for single lanes.
#define HWY_BROKEN_EMU128 0
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/MixRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include <algorithm>

#include "fast/ByteVectors-inl.h"
#include "fast/MixRows.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

using Words16 = hn::Repartition<std::uint16_t, ByteTag>;
using Signed16 = hn::Repartition<std::int16_t, ByteTag>;
using Words32 = hn::Repartition<std::uint32_t, ByteTag>;
using Signed32 = hn::Repartition<std::int32_t, ByteTag>;
using Floats = hn::Repartition<float, ByteTag>;

// The product of MulFixedPoint15 is rounded to nearest, halves up. 32768 cannot be expressed; the
// next smaller weight gives the same results for differences this small.
hn::Vec<Signed16> WeightOf(float inAmount) {
    const int weight = static_cast<int>(inAmount * 32768.0f + 0.5f);
    return hn::Set(Signed16(), static_cast<std::int16_t>(std::min(weight, 32767)));
}

HWY_INLINE hn::Vec<Signed16> MixSmall(hn::Vec<Signed16> inFirst, hn::Vec<Signed16> inSecond,
                                      hn::Vec<Signed16> inWeight) {
    return hn::Add(inFirst, hn::MulFixedPoint15(hn::Sub(inSecond, inFirst), inWeight));
}

void Mix8(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
          std::size_t inBytes, float inAmount) {
    const Signed16 tag;
    const auto low = hn::Set(tag, 0xFF);
    const auto weight = WeightOf(inAmount);
    const auto highOf = [](Bytes bytes) HWY_ATTR {
        return hn::BitCast(Signed16(), hn::ShiftRight<8>(hn::BitCast(Words16(), bytes)));
    };
    CombineBytes(inFirst, inSecond, outRow, inBytes,
                 [=](Bytes first, Bytes second, std::size_t) HWY_ATTR {
                     const auto even = MixSmall(hn::And(hn::BitCast(tag, first), low),
                                                hn::And(hn::BitCast(tag, second), low), weight);
                     const auto odd = MixSmall(highOf(first), highOf(second), weight);
                     return hn::BitCast(ByteTag(), hn::Or(even, hn::ShiftLeft<8>(odd)));
                 });
}

// The three samples of a word, as the 16-bit lanes of two.
void MixV210(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
             std::size_t inBytes, float inAmount) {
    const Words32 tag;
    const auto sample = hn::Set(tag, 0x3FFu);
    const auto highSample = hn::Set(tag, 0x3FF0000u);
    const auto weight = WeightOf(inAmount);
    const auto outerOf = [=](Bytes bytes) HWY_ATTR {
        const auto words = hn::BitCast(tag, bytes);
        return hn::BitCast(Signed16(), hn::Or(hn::And(words, sample),
                                              hn::And(hn::ShiftRight<4>(words), highSample)));
    };
    const auto middleOf = [=](Bytes bytes) HWY_ATTR {
        return hn::BitCast(Signed16(),
                           hn::And(hn::ShiftRight<10>(hn::BitCast(tag, bytes)), sample));
    };
    CombineBytes(
        inFirst, inSecond, outRow, inBytes, [=](Bytes first, Bytes second, std::size_t) HWY_ATTR {
            const auto outer = hn::BitCast(tag, MixSmall(outerOf(first), outerOf(second), weight));
            const auto middle =
                hn::BitCast(tag, MixSmall(middleOf(first), middleOf(second), weight));
            const auto low = hn::Or(hn::And(outer, sample), hn::ShiftLeft<10>(middle));
            return hn::BitCast(ByteTag(),
                               hn::Or(low, hn::ShiftLeft<4>(hn::And(outer, highSample))));
        });
}

void Mix16(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
           std::size_t inBytes, float inAmount) {
    const Words32 tag;
    const Floats floats;
    const auto low = hn::Set(tag, 0xFFFFu);
    const auto amount = hn::Set(floats, inAmount);
    const auto half = hn::Set(floats, 0.5f);
    const auto mix = [=](hn::Vec<Words32> first, hn::Vec<Words32> second) HWY_ATTR {
        const auto a = hn::ConvertTo(floats, hn::BitCast(Signed32(), first));
        const auto b = hn::ConvertTo(floats, hn::BitCast(Signed32(), second));
        const auto mixed = hn::MulAdd(hn::Sub(b, a), amount, hn::Add(a, half));
        return hn::BitCast(Words32(), hn::ConvertTo(Signed32(), mixed));
    };
    CombineBytes(inFirst, inSecond, outRow, inBytes,
                 [=](Bytes first, Bytes second, std::size_t) HWY_ATTR {
                     const auto a = hn::BitCast(tag, first);
                     const auto b = hn::BitCast(tag, second);
                     const auto even = mix(hn::And(a, low), hn::And(b, low));
                     const auto odd = mix(hn::ShiftRight<16>(a), hn::ShiftRight<16>(b));
                     return hn::BitCast(ByteTag(), hn::Or(even, hn::ShiftLeft<16>(odd)));
                 });
}

void MixFloats(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
               std::size_t inBytes, float inAmount) {
    const Floats tag;
    const auto firstWeight = hn::Set(tag, 1.0f - inAmount);
    const auto secondWeight = hn::Set(tag, inAmount);
    CombineBytes(
        inFirst, inSecond, outRow, inBytes, [=](Bytes first, Bytes second, std::size_t) HWY_ATTR {
            const auto part = hn::Mul(hn::BitCast(tag, first), firstWeight);
            return hn::BitCast(ByteTag(), hn::MulAdd(hn::BitCast(tag, second), secondWeight, part));
        });
}

MixRow MixRowOf(const Format& inFormat) {
    switch (inFormat.component) {
        case Component::Unsigned8:
            return Mix8;
        case Component::Unsigned10:
            return MixV210;
        case Component::Unsigned15:
            return Mix16;
        case Component::Float:
            break;
    }
    return MixFloats;
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(MixRowOf);

}  // namespace

MixRow FindMixRow(const Format& inFormat) {
    return HWY_DYNAMIC_DISPATCH(MixRowOf)(inFormat);
}

}  // namespace scanvo

#endif

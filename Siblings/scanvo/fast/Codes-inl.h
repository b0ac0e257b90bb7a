// Samples to codes and codes to samples, a vector at a time. Included once for each instruction
// set, by files that Highway includes again.
#if defined(SCANVO_FAST_CODES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef SCANVO_FAST_CODES_INL_H
#undef SCANVO_FAST_CODES_INL_H
#else
#define SCANVO_FAST_CODES_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#include "rows/Colour.h"

#ifndef SCANVO_FAST_CODES_ONCE
#define SCANVO_FAST_CODES_ONCE

namespace scanvo {

/// 1 / divisor as the sum of two numbers.
struct Reciprocal {
    float high, low;
};

constexpr Reciprocal ReciprocalOf(float inDivisor) {
    const float high = 1 / inDivisor;
    return {high, static_cast<float>(1.0 / inDivisor - high)};
}

}  // namespace scanvo

#endif

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

template <class D>
using ByteTag = hwy::HWY_NAMESPACE::Repartition<std::uint8_t, D>;

/// Bytes at any address as codes, and back.
template <class D>
HWY_INLINE hwy::HWY_NAMESPACE::Vec<D> LoadCodes(D inTag, const std::byte* inBytes) {
    namespace hn = hwy::HWY_NAMESPACE;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(inBytes);
    return hn::BitCast(inTag, hn::LoadU(ByteTag<D>(), bytes));
}

template <class D>
HWY_INLINE void StoreCodes(D, hwy::HWY_NAMESPACE::Vec<D> inCodes, std::byte* outBytes) {
    namespace hn = hwy::HWY_NAMESPACE;
    auto* const bytes = reinterpret_cast<std::uint8_t*>(outBytes);
    hn::StoreU(hn::BitCast(ByteTag<D>(), inCodes), ByteTag<D>(), bytes);
}

/// Floats from here to twice as much are whole numbers, and have them in their lower 23 bits.
constexpr float kWholeFloats = 8388608.0f;

/// The nearest whole number from 0 to inMaximum to inSample * inScale + inOffset, halves rounded to
/// even ones, in the lower 16 bits of what is returned; 0 for NaN. The bits above them have no
/// meaning; the lower eight of these are 0.
template <class D>
HWY_INLINE hwy::HWY_NAMESPACE::Vec<hwy::HWY_NAMESPACE::RebindToUnsigned<D>> NearestCode(
    D inTag, hwy::HWY_NAMESPACE::Vec<D> inSample, hwy::HWY_NAMESPACE::Vec<D> inScale,
    hwy::HWY_NAMESPACE::Vec<D> inOffset, float inMaximum) {
    namespace hn = hwy::HWY_NAMESPACE;
    const auto least = hn::Set(inTag, kWholeFloats);
    const auto code = hn::MulAdd(inSample, inScale, hn::Add(inOffset, least));
#if HWY_ARCH_X86
    const auto positive = hn::Max(code, least);  // the second one for NaN
#else
    const auto positive = hn::IfThenElse(hn::Gt(code, least), code, least);
#endif
    return hn::BitCast(hn::RebindToUnsigned<D>(),
                       hn::Min(positive, hn::Set(inTag, kWholeFloats + inMaximum)));
}

/// 1 / inAlpha to a few units of a float's last place, of 1 exactly; 0 where nothing shows. See
/// kLeastAlpha.
template <class V>
HWY_INLINE V OverAlpha(V inAlpha) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::DFromV<V> tag;
    const V alpha = hn::Min(inAlpha, hn::Set(tag, kMostAlpha));
#if HWY_TARGET <= HWY_AVX3
    // Good to 14 bits, and after one step of Newton's to twice as many.
    const V near = hn::ApproximateReciprocal(alpha);
    const V factor = hn::Mul(near, hn::NegMulAdd(alpha, near, hn::Set(tag, 2.0f)));
#else
    const V factor = hn::Div(hn::Set(tag, 1.0f), alpha);
#endif
    return hn::IfThenElseZero(hn::Ge(inAlpha, hn::Set(tag, kLeastAlpha)), factor);
}

/// inValue / divisor at the price of two multiplications, with inHigh and inLow from ReciprocalOf;
/// rounded as the division would be where products are added unrounded.
template <class V>
HWY_INLINE V Quotient(V inValue, V inHigh, V inLow) {
    namespace hn = hwy::HWY_NAMESPACE;
    return hn::MulAdd(inValue, inHigh, hn::Mul(inValue, inLow));
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

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

/// The nearest whole number from 0 to inMaximum, halves rounded up; 0 for NaN.
template <class D>
HWY_INLINE hwy::HWY_NAMESPACE::Vec<hwy::HWY_NAMESPACE::RebindToUnsigned<D>> NearestCode(
    D inTag, hwy::HWY_NAMESPACE::Vec<D> inValue, hwy::HWY_NAMESPACE::Vec<D> inMaximum) {
    namespace hn = hwy::HWY_NAMESPACE;
    const auto positive = hn::IfThenElseZero(hn::Gt(inValue, hn::Zero(inTag)), inValue);
    const auto clamped = hn::Min(positive, inMaximum);
    const auto code =
        hn::ConvertTo(hn::RebindToSigned<D>(), hn::Add(clamped, hn::Set(inTag, 0.5f)));
    return hn::BitCast(hn::RebindToUnsigned<D>(), code);
}

/// inValue / inDivisor, at the price of a few multiplications; rounded as the division would be
/// where products are added unrounded. inReciprocal is the rounded 1 / inDivisor.
template <class V>
HWY_INLINE V Quotient(V inValue, V inDivisor, V inReciprocal) {
    namespace hn = hwy::HWY_NAMESPACE;
    const V estimate = hn::Mul(inValue, inReciprocal);
    return hn::MulAdd(hn::NegMulAdd(estimate, inDivisor, inValue), inReciprocal, estimate);
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

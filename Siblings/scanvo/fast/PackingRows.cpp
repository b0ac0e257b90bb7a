// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/PackingRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include "fast/ColourRoads.h"
#include "fast/HalveRows-inl.h"
#include "fast/V210Rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

// Without vectors the general road is as fast.
ConvertRow FindPackingRoad(const Format&, const Format&) {
    return nullptr;
}

#else

// ---- Between the two orders of 8-bit 4:2:2 ------------------------------------------------------

HWY_INLINE void SwapVector(const std::uint8_t* inUnits, std::uint8_t* outUnits) {
    const Words units = hn::BitCast(kWords, hn::LoadU(kBytes, inUnits));
    const Words swapped = hn::Or(hn::ShiftLeft<8>(units), hn::ShiftRight<8>(units));
    hn::StoreU(hn::BitCast(kBytes, swapped), kBytes, outUnits);
}

template <bool isLumaFirst>
void SwapRow(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    const auto* in = reinterpret_cast<const std::uint8_t*>(inRow);
    auto* out = reinterpret_cast<std::uint8_t*>(outRow);
    const std::size_t bytes = 2 * static_cast<std::size_t>(inWidth + inWidth % 2);
    const std::size_t step = hn::Lanes(kBytes);
    std::size_t at = 0;
    for (; at + step <= bytes; at += step) {
        SwapVector(in + at, out + at);
    }
    if (at < bytes) {
        std::uint8_t rest[HWY_MAX_BYTES] = {};
        std::memcpy(rest, in + at, bytes - at);
        SwapVector(rest, rest);
        std::memcpy(out + at, rest, bytes - at);
    }
    // Both halves of an odd row's last unit have the last luma.
    constexpr std::size_t kLumaPlace = isLumaFirst ? 1 : 0;
    if (inWidth % 2 != 0) out[bytes - 2 + kLumaPlace] = out[bytes - 4 + kLumaPlace];
}

// ---- The choice ---------------------------------------------------------------------------------

inline constexpr PixelWeights kOfBgra601 = WeightsOfRgb(Matrix::Bt601, false);
inline constexpr PixelWeights kOfBgra709 = WeightsOfRgb(Matrix::Bt709, false);
inline constexpr PixelWeights kOfArgb601 = WeightsOfRgb(Matrix::Bt601, true);
inline constexpr PixelWeights kOfArgb709 = WeightsOfRgb(Matrix::Bt709, true);
inline constexpr PixelWeights kOfVuya = WeightsOfVuya(Matrix::Bt601, Matrix::Bt601);
inline constexpr PixelWeights kOf601To709 = WeightsOfVuya(Matrix::Bt601, Matrix::Bt709);
inline constexpr PixelWeights kOf709To601 = WeightsOfVuya(Matrix::Bt709, Matrix::Bt601);

constexpr ColourRoad kRoads[] = {
    {Shape::Bgra, Shape::Uyvy, false, RowToUnits<kOfBgra601, false>, RowToUnits<kOfBgra709, false>},
    {Shape::Bgra, Shape::Yuyv, false, RowToUnits<kOfBgra601, true>, RowToUnits<kOfBgra709, true>},
    {Shape::Bgra, Shape::V210, false, RowToV210<kOfBgra601>, RowToV210<kOfBgra709>},
    {Shape::Argb, Shape::Uyvy, false, RowToUnits<kOfArgb601, false>, RowToUnits<kOfArgb709, false>},
    {Shape::Argb, Shape::Yuyv, false, RowToUnits<kOfArgb601, true>, RowToUnits<kOfArgb709, true>},
    {Shape::Argb, Shape::V210, false, RowToV210<kOfArgb601>, RowToV210<kOfArgb709>},
    {Shape::Vuya, Shape::Uyvy, false, RowToUnits<kOfVuya, false>, RowToUnits<kOfVuya, false>},
    {Shape::Vuya, Shape::Yuyv, false, RowToUnits<kOfVuya, true>, RowToUnits<kOfVuya, true>},
    {Shape::Vuya, Shape::V210, false, RowToV210<kOfVuya>, RowToV210<kOfVuya>},
    {Shape::Bgra, Shape::Vuya, false, RowToVuya<kOfBgra601, AlphaByte::Opaque>,
     RowToVuya<kOfBgra709, AlphaByte::Opaque>},
    {Shape::Bgra, Shape::Vuya, true, RowToVuya<kOfBgra601, AlphaByte::Last>,
     RowToVuya<kOfBgra709, AlphaByte::Last>},
    {Shape::Argb, Shape::Vuya, false, RowToVuya<kOfArgb601, AlphaByte::Opaque>,
     RowToVuya<kOfArgb709, AlphaByte::Opaque>},
    {Shape::Argb, Shape::Vuya, true, RowToVuya<kOfArgb601, AlphaByte::First>,
     RowToVuya<kOfArgb709, AlphaByte::First>},
    {Shape::Vuya, Shape::Vuya, false, RowToVuya<kOf601To709, AlphaByte::Opaque>,
     RowToVuya<kOf709To601, AlphaByte::Opaque>, true},
    {Shape::Vuya, Shape::Vuya, true, RowToVuya<kOf601To709, AlphaByte::Last>,
     RowToVuya<kOf709To601, AlphaByte::Last>, true},
    {Shape::Vuya, Shape::Uyvy, false, RowToUnits<kOf601To709, false>,
     RowToUnits<kOf709To601, false>, true},
    {Shape::Vuya, Shape::Yuyv, false, RowToUnits<kOf601To709, true>, RowToUnits<kOf709To601, true>,
     true},
    {Shape::Vuya, Shape::V210, false, RowToV210<kOf601To709>, RowToV210<kOf709To601>, true},
    {Shape::Uyvy, Shape::Yuyv, false, SwapRow<false>, SwapRow<false>},
    {Shape::Yuyv, Shape::Uyvy, false, SwapRow<true>, SwapRow<true>},
    {Shape::V210, Shape::Uyvy, false, V210RowToUnits<false>, V210RowToUnits<false>},
    {Shape::V210, Shape::Yuyv, false, V210RowToUnits<true>, V210RowToUnits<true>},
    {Shape::Uyvy, Shape::V210, false, UnitRowToV210<false>, UnitRowToV210<false>},
    {Shape::Yuyv, Shape::V210, false, UnitRowToV210<true>, UnitRowToV210<true>},
};

ConvertRow FindPackingRoad(const Format& inSource, const Format& inDestination) {
    return FindIn(kRoads, inSource, inDestination);
}

#endif

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(FindPackingRoad);

}  // namespace

ConvertRow FindPackingRow(const Format& inSource, const Format& inDestination) {
    return HWY_DYNAMIC_DISPATCH(FindPackingRoad)(inSource, inDestination);
}

}  // namespace scanvo

#endif

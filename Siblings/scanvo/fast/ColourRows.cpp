// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/ColourRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include <algorithm>
#include <iterator>

#include "fast/ColourRows.h"
#include "fast/HalveRows-inl.h"
#include "fast/SpreadRows-inl.h"
#include "fast/V210Rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

// Without vectors the general road is as fast.
ConvertRow FindRoad(const Format&, const Format&) {
    return nullptr;
}

HalveRow FindHalvingRoad(const Format&, const Format&) {
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

enum class Shape { None, Bgra, Argb, Vuya, Uyvy, Yuyv, V210 };

/// Y'CbCr of one matrix to that of the other, where the road changes it.
struct Road {
    Shape source, destination;
    bool keepsAlpha;
    ConvertRow bt601, bt709;
    bool changesMatrix = false;
};

inline constexpr PixelWeights kOfBgra601 = WeightsOfRgb(Matrix::Bt601, false);
inline constexpr PixelWeights kOfBgra709 = WeightsOfRgb(Matrix::Bt709, false);
inline constexpr PixelWeights kOfArgb601 = WeightsOfRgb(Matrix::Bt601, true);
inline constexpr PixelWeights kOfArgb709 = WeightsOfRgb(Matrix::Bt709, true);
inline constexpr PixelWeights kOfVuya = WeightsOfVuya(Matrix::Bt601, Matrix::Bt601);
inline constexpr PixelWeights kOf601To709 = WeightsOfVuya(Matrix::Bt601, Matrix::Bt709);
inline constexpr PixelWeights kOf709To601 = WeightsOfVuya(Matrix::Bt709, Matrix::Bt601);
inline constexpr RgbNumbers kToRgb601 = NumbersToRgb(Matrix::Bt601);
inline constexpr RgbNumbers kToRgb709 = NumbersToRgb(Matrix::Bt709);

using To601 = ToRgb<kToRgb601>;
using To709 = ToRgb<kToRgb709>;
using UyvyLoader = UnitLoader<false>;
using YuyvLoader = UnitLoader<true>;

// By the matrix of the source where it has one.
constexpr Road kRoads[] = {
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

    {Shape::Uyvy, Shape::Bgra, false, RowToPixels<UyvyLoader, To601, PixelForm::Opaque>,
     RowToPixels<UyvyLoader, To709, PixelForm::Opaque>},
    {Shape::Yuyv, Shape::Bgra, false, RowToPixels<YuyvLoader, To601, PixelForm::Opaque>,
     RowToPixels<YuyvLoader, To709, PixelForm::Opaque>},
    {Shape::V210, Shape::Bgra, false, V210RowToPixels<To601, PixelForm::Opaque>,
     V210RowToPixels<To709, PixelForm::Opaque>},
    {Shape::Vuya, Shape::Bgra, false, RowToPixels<VuyaLoader, To601, PixelForm::Opaque>,
     RowToPixels<VuyaLoader, To709, PixelForm::Opaque>},
    {Shape::Vuya, Shape::Bgra, true, RowToPixels<VuyaLoader, To601, PixelForm::Alpha>,
     RowToPixels<VuyaLoader, To709, PixelForm::Alpha>},
    {Shape::Uyvy, Shape::Argb, false, RowToPixels<UyvyLoader, To601, PixelForm::OpaqueFirst>,
     RowToPixels<UyvyLoader, To709, PixelForm::OpaqueFirst>},
    {Shape::Yuyv, Shape::Argb, false, RowToPixels<YuyvLoader, To601, PixelForm::OpaqueFirst>,
     RowToPixels<YuyvLoader, To709, PixelForm::OpaqueFirst>},
    {Shape::V210, Shape::Argb, false, V210RowToPixels<To601, PixelForm::OpaqueFirst>,
     V210RowToPixels<To709, PixelForm::OpaqueFirst>},
    {Shape::Vuya, Shape::Argb, false, RowToPixels<VuyaLoader, To601, PixelForm::OpaqueFirst>,
     RowToPixels<VuyaLoader, To709, PixelForm::OpaqueFirst>},
    {Shape::Vuya, Shape::Argb, true, RowToPixels<VuyaLoader, To601, PixelForm::AlphaFirst>,
     RowToPixels<VuyaLoader, To709, PixelForm::AlphaFirst>},

    {Shape::Uyvy, Shape::Vuya, false, RowToPixels<UyvyLoader, ToCodes, PixelForm::Opaque>,
     RowToPixels<UyvyLoader, ToCodes, PixelForm::Opaque>},
    {Shape::Yuyv, Shape::Vuya, false, RowToPixels<YuyvLoader, ToCodes, PixelForm::Opaque>,
     RowToPixels<YuyvLoader, ToCodes, PixelForm::Opaque>},
    {Shape::V210, Shape::Vuya, false, V210RowToPixels<ToCodes, PixelForm::Opaque>,
     V210RowToPixels<ToCodes, PixelForm::Opaque>},

    {Shape::Uyvy, Shape::Yuyv, false, SwapRow<false>, SwapRow<false>},
    {Shape::Yuyv, Shape::Uyvy, false, SwapRow<true>, SwapRow<true>},
    {Shape::V210, Shape::Uyvy, false, V210RowToUnits<false>, V210RowToUnits<false>},
    {Shape::V210, Shape::Yuyv, false, V210RowToUnits<true>, V210RowToUnits<true>},
    {Shape::Uyvy, Shape::V210, false, UnitRowToV210<false>, UnitRowToV210<false>},
    {Shape::Yuyv, Shape::V210, false, UnitRowToV210<true>, UnitRowToV210<true>},
};

Shape ShapeOf(const Format& inFormat) {
    if (inFormat.layout == Layout::Packed422) {
        if (inFormat.component == Component::Unsigned10) return Shape::V210;
        return inFormat.isReversed ? Shape::Yuyv : Shape::Uyvy;
    }
    if (inFormat.layout != Layout::Packed4444 || inFormat.component != Component::Unsigned8) {
        return Shape::None;
    }
    if (inFormat.colour == Colour::YCbCr) return Shape::Vuya;
    return inFormat.isReversed ? Shape::Argb : Shape::Bgra;
}

bool ChangesMatrix(const Format& inSource, const Format& inDestination) {
    return inSource.colour == Colour::YCbCr && inDestination.colour == Colour::YCbCr &&
           inSource.matrix != inDestination.matrix;
}

ConvertRow FindRoad(const Format& inSource, const Format& inDestination) {
    const bool keepsAlpha = HasAlpha(inSource) && HasAlpha(inDestination);
    const bool changesMatrix = ChangesMatrix(inSource, inDestination);
    const Shape source = ShapeOf(inSource);
    const Shape destination = ShapeOf(inDestination);
    const auto road = std::find_if(std::begin(kRoads), std::end(kRoads), [&](const Road& each) {
        return each.source == source && each.destination == destination &&
               each.keepsAlpha == keepsAlpha && each.changesMatrix == changesMatrix;
    });
    if (road == std::end(kRoads)) return nullptr;
    const Format& withMatrix = inSource.colour == Colour::YCbCr ? inSource : inDestination;
    return withMatrix.matrix == Matrix::Bt709 ? road->bt709 : road->bt601;
}

// ---- Halving ------------------------------------------------------------------------------------

template <class Loader>
HalveRow HalvingRoadTo(Shape inDestination, Matrix inMatrix) {
    const bool is709 = inMatrix == Matrix::Bt709;
    switch (inDestination) {
        case Shape::Bgra:
            return is709 ? RowsToHalfPixels<Loader, To709, PixelForm::Opaque>
                         : RowsToHalfPixels<Loader, To601, PixelForm::Opaque>;
        case Shape::Argb:
            return is709 ? RowsToHalfPixels<Loader, To709, PixelForm::OpaqueFirst>
                         : RowsToHalfPixels<Loader, To601, PixelForm::OpaqueFirst>;
        case Shape::Vuya:
            return RowsToHalfPixels<Loader, ToCodes, PixelForm::Opaque>;
        default:
            return nullptr;
    }
}

HalveRow FindHalvingRoad(const Format& inSource, const Format& inDestination) {
    if (ChangesMatrix(inSource, inDestination)) return nullptr;
    const Shape destination = ShapeOf(inDestination);
    switch (ShapeOf(inSource)) {
        case Shape::Uyvy:
            return HalvingRoadTo<HalvingLoader<false>>(destination, inSource.matrix);
        case Shape::Yuyv:
            return HalvingRoadTo<HalvingLoader<true>>(destination, inSource.matrix);
        default:
            return nullptr;
    }
}

#endif

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(FindRoad);
HWY_EXPORT(FindHalvingRoad);

// Alpha of one form is no other form without a multiplication.
bool MixesForms(const Format& inSource, const Format& inDestination) {
    if (inSource.alpha == inDestination.alpha) return false;
    return inSource.alpha == Alpha::Premultiplied ||
           (inSource.alpha == Alpha::Straight && inDestination.alpha == Alpha::Premultiplied);
}

}  // namespace

ConvertRow FindColourRow(const Format& inSource, const Format& inDestination) {
    if (MixesForms(inSource, inDestination)) return nullptr;
    return HWY_DYNAMIC_DISPATCH(FindRoad)(inSource, inDestination);
}

HalveRow FindHalvingColourRow(const Format& inSource, const Format& inDestination) {
    return HWY_DYNAMIC_DISPATCH(FindHalvingRoad)(inSource, inDestination);
}

}  // namespace scanvo

#endif

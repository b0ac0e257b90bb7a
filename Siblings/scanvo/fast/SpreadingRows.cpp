// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/SpreadingRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include "fast/ColourRoads.h"
#include "fast/SpreadRows-inl.h"
#include "fast/V210Rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

// Without vectors the general road is as fast.
ConvertRow FindSpreadingRoad(const Format&, const Format&) {
    return nullptr;
}

HalveRow FindHalvingRoad(const Format&, const Format&) {
    return nullptr;
}

#else

inline constexpr RgbNumbers kToRgb601 = NumbersToRgb(Matrix::Bt601);
inline constexpr RgbNumbers kToRgb709 = NumbersToRgb(Matrix::Bt709);

using To601 = ToRgb<kToRgb601>;
using To709 = ToRgb<kToRgb709>;
using UyvyLoader = UnitLoader<false>;
using YuyvLoader = UnitLoader<true>;

constexpr ColourRoad kRoads[] = {
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
};

ConvertRow FindSpreadingRoad(const Format& inSource, const Format& inDestination) {
    return FindIn(kRoads, inSource, inDestination);
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

HWY_EXPORT(FindSpreadingRoad);
HWY_EXPORT(FindHalvingRoad);

}  // namespace

ConvertRow FindSpreadingRow(const Format& inSource, const Format& inDestination) {
    return HWY_DYNAMIC_DISPATCH(FindSpreadingRoad)(inSource, inDestination);
}

HalveRow FindHalvingColourRow(const Format& inSource, const Format& inDestination) {
    return HWY_DYNAMIC_DISPATCH(FindHalvingRoad)(inSource, inDestination);
}

}  // namespace scanvo

#endif

#include "VideoFrame/PixelFormatUtilities.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "VideoFrame/Status.h"
#include "contracts/Orvane.h"
#include "frames/Contract.h"
#include "frames/PixelFormatProperties.h"

namespace VF {
namespace {

using tulomediatypes::FourCC;
using tulomediatypes::PixelFormat;

constexpr const char* kFile = "PixelFormatUtilities";

// Not a valid format, but accepted as one by the conversion to a framework format.
constexpr TvPixelFormat kBadFormat = FourCC("badf");

// clang-format off
constexpr TvPixelFormat kSDKFormats[] = {
    FourCC("v210"), FourCC("v211"), FourCC("dvn1"), FourCC("dvp1"), FourCC("yv12"),
    FourCC("yvi2"), FourCC("dvn2"), FourCC("dvp2"), FourCC("yuy2"), FourCC("yuy3"),
    FourCC("dvn5"), FourCC("dvp5"), FourCC("yv17"), FourCC("yvi7"), FourCC("dvn7"),
    FourCC("VUp7"), FourCC("vup7"), FourCC("dvp7"), FourCC("uyv7"), FourCC("VUx7"),
    FourCC("vux7"), FourCC("VUYA"), FourCC("BGaL"), FourCC("ARgL"), FourCC("PRgL"),
    FourCC("XRgL"), FourCC("BGpL"), FourCC("BGxL"), FourCC("vUYa"), FourCC("BGra"),
    FourCC("Bgra"), FourCC("bgra"), FourCC("VUya"), FourCC("Vuya"), FourCC("vuya"),
    FourCC("ARgb"), FourCC("PRgb"), FourCC("XRgb"), FourCC("Argb"), FourCC("Prgb"),
    FourCC("Xrgb"), FourCC("argb"), FourCC("prgb"), FourCC("xrgb"), FourCC("BGrp"),
    FourCC("Bgrp"), FourCC("bgrp"), FourCC("VUyp"), FourCC("vuyp"), FourCC("BGrx"),
    FourCC("Bgrx"), FourCC("bgrx"), FourCC("VUyx"), FourCC("vuyx"), FourCC("uyvy"),
};
static_assert(std::size(kSDKFormats) == 55);

struct RendererRow {
    PixelFormat format;
    std::uint32_t rendererCode;
    bool fromRendererOnly = false;
};

// Every format that the renderer knows, in the order in which they are looked for.
constexpr RendererRow kRendererFormats[] = {
    {tulomediatypes::kPixelFormat_BGRA_4444_8u,         0x00000004},
    {tulomediatypes::kPixelFormat_VUYA_4444_8u,         0x00000005},
    {tulomediatypes::kPixelFormat_VUYA_4444_8u_709,     0x00000205},
    {tulomediatypes::kPixelFormat_ARGB_4444_8u,         0x00001004},
    {tulomediatypes::kPixelFormat_BGRX_4444_8u,         0x0000000C},
    {tulomediatypes::kPixelFormat_VUYX_4444_8u,         0x0000000D},
    {tulomediatypes::kPixelFormat_VUYX_4444_8u_709,     0x0000020D},
    {tulomediatypes::kPixelFormat_XRGB_4444_8u,         0x0000100C},
    {tulomediatypes::kPixelFormat_BGRP_4444_8u,         0x00000008},
    {tulomediatypes::kPixelFormat_VUYP_4444_8u,         0x00000009},
    {tulomediatypes::kPixelFormat_VUYP_4444_8u_709,     0x00000209},
    {tulomediatypes::kPixelFormat_PRGB_4444_8u,         0x00001008},
    {tulomediatypes::kPixelFormat_BGRA_4444_15u,        0x00000084},
    {tulomediatypes::kPixelFormat_BGRX_4444_15u,        0x0000008C},
    {tulomediatypes::kPixelFormat_BGRP_4444_15u,        0x00000088},
    {tulomediatypes::kPixelFormat_ARGB_4444_15u,        0x00001084},
    {tulomediatypes::kPixelFormat_XRGB_4444_15u,        0x0000108C},
    {tulomediatypes::kPixelFormat_PRGB_4444_15u,        0x00001088},
    {tulomediatypes::kPixelFormat_BGRA_4444_32f,        0x00000104},
    {tulomediatypes::kPixelFormat_VUYA_4444_32f,        0x00000105},
    {tulomediatypes::kPixelFormat_VUYA_4444_32f_709,    0x00000305},
    {tulomediatypes::kPixelFormat_ARGB_4444_32f,        0x00001104},
    {tulomediatypes::kPixelFormat_XRGB_4444_32f,        0x0000110C},
    {tulomediatypes::kPixelFormat_BGRX_4444_32f,        0x0000010C},
    {tulomediatypes::kPixelFormat_VUYX_4444_32f,        0x0000010D},
    {tulomediatypes::kPixelFormat_VUYX_4444_32f_709,    0x0000030D},
    {tulomediatypes::kPixelFormat_PRGB_4444_32f,        0x00001108},
    {tulomediatypes::kPixelFormat_BGRP_4444_32f,        0x00000108},
    {tulomediatypes::kPixelFormat_VUYP_4444_32f,        0x00000109},
    {tulomediatypes::kPixelFormat_VUYP_4444_32f_709,    0x00000309},
    {tulomediatypes::kPixelFormat_BGRA_4444_32f_Linear, 0x00000106},
    {tulomediatypes::kPixelFormat_ARGB_4444_32f_Linear, 0x00001106},
    {tulomediatypes::kPixelFormat_BGRP_4444_32f_Linear, 0x0000010A},
    {tulomediatypes::kPixelFormat_PRGB_4444_32f_Linear, 0x0000110A},
    {tulomediatypes::kPixelFormat_NTSCDV25,             0x01000021},
    {tulomediatypes::kPixelFormat_PALDV25,              0x02000021},
    {tulomediatypes::kPixelFormat_NTSCDV50,             0x07000021},
    {tulomediatypes::kPixelFormat_PALDV50,              0x08000021},
    {tulomediatypes::kPixelFormat_NTSC_DV100_720p,      0x03000221},
    {tulomediatypes::kPixelFormat_PAL_DV100_720p,       0x04000221},
    {tulomediatypes::kPixelFormat_NTSC_DV100_1080i,     0x05000221},
    {tulomediatypes::kPixelFormat_PAL_DV100_1080i,      0x06000221},
    {tulomediatypes::kPixelFormat_YUYV_422_8u,          0x00001011},
    {tulomediatypes::kPixelFormat_YUYV_422_8u_709,      0x00001211},
    {tulomediatypes::kPixelFormat_V210_422_10u,         0x00000051},
    {tulomediatypes::kPixelFormat_V210_422_10u_709,     0x00000251},
    {tulomediatypes::kPixelFormat_UYVY_422_8u,          0x00000011},
    {tulomediatypes::kPixelFormat_UYVY_422_8u_709,      0x00000211},
    {tulomediatypes::kPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601, 0x09000031},
    {tulomediatypes::kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601, 0x0A000031},
    {tulomediatypes::kPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709, 0x09000231},
    {tulomediatypes::kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_709, 0x0A000231},
    // The renderer may name these, but is never asked for them.
    {tulomediatypes::kPixelFormat_Invalid,              0x00000000, true},
    {tulomediatypes::kPixelFormat_BGRX_4444_32f_Linear, 0x0000010E, true},
    {tulomediatypes::kPixelFormat_XRGB_4444_32f_Linear, 0x0000110E, true},
};
static_assert(std::size(kRendererFormats) == 52 + 3);
// clang-format on

}  // namespace

// ---------------------------------------------------------------------------------------------
// Vocabularies

TvPixelFormat BEToSDKPixelFormat(PixelFormat inFormat) {
    return inFormat.code;
}

PixelFormat SDKToBEPixelFormat(TvPixelFormat inFormat) {
    if (!IsValidSDKPixelFormat(inFormat) && inFormat != kBadFormat && inFormat != 0) {
        return OV::kPixelFormat_Invalid;
    }
    return {inFormat, tulomediatypes::LookupPropertiesForFourCC(inFormat)};
}

SV_PixelFormat BEPixelFormatToSVPixelFormat(PixelFormat inFormat) {
    if (IsCustomBEPixelFormat(inFormat)) return kSV_PixelFormat_Custom;
    for (const RendererRow& row : kRendererFormats) {
        if (row.format == inFormat && !row.fromRendererOnly) {
            return static_cast<SV_PixelFormat>(row.rendererCode);
        }
    }
    return kSV_PixelFormat_None;
}

ScanvoPixelFormat BEToSVPixelFormat(PixelFormat inFormat) {
    return BEPixelFormatToSVPixelFormat(inFormat);
}

PixelFormat SVPixelFormatToBEPixelFormat(SV_PixelFormat inFormat) {
    for (const RendererRow& row : kRendererFormats) {
        if (row.rendererCode == inFormat) return row.format;
    }
    return OV::kPixelFormat_Invalid;
}

// ---------------------------------------------------------------------------------------------
// Tests on formats

bool IsCustomSDKPixelFormat(TvPixelFormat inFormat) {
    const std::uint32_t first = inFormat & 0xFF;
    return first == '@' || first == '_';
}

bool IsCustomBEPixelFormat(PixelFormat inFormat) {
    return IsCustomSDKPixelFormat(inFormat.code);
}

bool IsStandardBEPixelFormat(PixelFormat inFormat) {
    return !IsCustomBEPixelFormat(inFormat);
}

bool IsValidSDKPixelFormat(TvPixelFormat inFormat) {
    return IsCustomSDKPixelFormat(inFormat) ||
           std::ranges::find(kSDKFormats, inFormat) != std::end(kSDKFormats);
}

std::int32_t PixelFormatComponentPrecision(PixelFormat inFormat) {
    using namespace tulomediatypes;
    switch (inFormat.properties & kProperty_ComponentTypeMask) {
        case kProperty_8u:
            return 8;
        case kProperty_16u:
            return 16;
        case kProperty_32f:
            return 32;
        default:
            return 0;
    }
}

// ---------------------------------------------------------------------------------------------
// Colours of one pixel

namespace {

using Fill = decltype(SV_FillWithOpaqueBlack);

std::int32_t FillOnePixel(PixelFormat inFormat, void* outPixel, Fill* inFill) {
    using namespace tulomediatypes;
    const bool pairs =
        IsPacked(inFormat) && (inFormat.properties & kProperty_SubsamplingMask) == kProperty_422;
    const std::int32_t result =
        inFill(outPixel, 0, pairs ? 2 : 1, 1, BEPixelFormatToSVPixelFormat(inFormat));
    return result == 0 ? kSuccess : kFailure;
}

}  // namespace

std::int32_t GetBlackForPixelFormat(PixelFormat inFormat, void* outPixel) {
    Require(outPixel != nullptr, "pixelData != NULL", kFile, 681);
    return FillOnePixel(inFormat, outPixel, SV_FillWithOpaqueBlack);
}

std::int32_t GetWhiteForPixelFormat(PixelFormat inFormat, void* outPixel) {
    Require(outPixel != nullptr, "pixelData != NULL", kFile, 692);
    return FillOnePixel(inFormat, outPixel, SV_FillWithOpaqueWhite);
}

std::int32_t ConvertColorToPixelFormattedData(PixelFormat inFormat, float inAlpha, float inRed,
                                              float inGreen, float inBlue, void* outPixel) {
    Require(outPixel != nullptr, "pixelData != NULL", kFile, 708);
    const std::array<float, 4> colour = {inAlpha, inRed, inGreen, inBlue};
    const SV_PixelFormat colourFormat =
        BEPixelFormatToSVPixelFormat(tulomediatypes::kPixelFormat_ARGB_4444_32f);
    const std::int32_t result = SV_Convert(colour.data(), 0, colourFormat, outPixel, 0,
                                           BEPixelFormatToSVPixelFormat(inFormat), 1, 1, 4);
    return result == 0 ? kSuccess : kFailure;
}

// ---------------------------------------------------------------------------------------------
// Rectangles

bool RectIsValidForPixelFormat(PixelFormat inFormat, const Brix::Rect& inRect,
                               const tulomediatypes::PixelAspectRatio& inAspectRatio) {
    return tulomediatypes::IsRectValidForFormat(inFormat, inRect.Width(), inRect.Height(),
                                                inAspectRatio);
}

namespace {

// Whether a rectangle of bounds at (0, 0) has this many times the rectangle's width and height.
bool IsReduction(const Brix::Rect& inRect, const Brix::Rect& inBounds, std::int64_t inTimesWidth,
                 std::int64_t inTimesHeight) {
    return inBounds.left == 0 && inBounds.top == 0 &&
           inTimesWidth * inRect.Width() == inBounds.right &&
           inTimesHeight * inRect.Height() == inBounds.bottom;
}

}  // namespace

bool IsRectNativeToFrame(const Brix::Rect& inRect, const Brix::Rect& inBounds,
                         PixelFormat inFormat) {
    if (inRect == inBounds) return true;
    if (inFormat == tulomediatypes::kPixelFormat_Invalid) return false;
    if (!IsPacked(inFormat) || !HasKind(inFormat)) return false;
    if (IsReduction(inRect, inBounds, 2, 2) || IsReduction(inRect, inBounds, 4, 4)) return true;
    if (!IsPlanar420(inFormat)) return false;
    return IsReduction(inRect, inBounds, 1, 2) || IsReduction(inRect, inBounds, 2, 4);
}

}  // namespace VF

#include "VideoFrame/PixelFormatUtilities.h"

#include <array>

#include "VideoFrame/Status.h"
#include "contracts/Orvane.h"
#include "contracts/Scanvo.h"
#include "frames/Contract.h"
#include "frames/PixelFormatProperties.h"

namespace VF {
namespace {

using namespace tulomediatypes;

constexpr const char* kFile = "PixelFormatUtilities";

// Not a valid format, but accepted as one by the conversion to a framework format.
constexpr TvPixelFormat kBadFormat = FourCC("badf");

// What bits of a property word are in the renderer's code.
constexpr struct {
    std::uint32_t mask, properties, rendererBits;
} kRendererBits[] = {
    {kProperty_YCbCr, kProperty_YCbCr, kSV_YCbCr},
    {kProperty_Linear, kProperty_Linear, kSV_LinearRgb},
    {kProperty_AlphaMask, kProperty_Straight, kSV_StraightAlpha},
    {kProperty_AlphaMask, kProperty_Premultiplied, kSV_PremultipliedAlpha},
    {kProperty_AlphaMask, kProperty_NoAlpha, kSV_IgnoredAlpha},
    {kProperty_SubsamplingMask | kProperty_KindMask, kProperty_422, kSV_Packed422},
    {kProperty_ComponentMask, kProperty_10u, kSV_10Bit},
    {kProperty_ComponentMask, kProperty_16u | kProperty_15BitKind, kSV_15Bit},
    {kProperty_ComponentMask, kProperty_32f, kSV_Float},
    {kProperty_709, kProperty_709, kSV_Bt709},
    {kProperty_Reversed, kProperty_Reversed, kSV_Reversed},
};

// Of a named format; none for those of 16 bits, which the renderer does not know.
SV_PixelFormat RendererCode(PixelFormat inFormat) {
    const std::uint32_t properties = inFormat.properties;
    if ((properties & kProperty_ComponentMask) == kProperty_16u) return kSV_PixelFormat_None;
    const std::uint32_t kind = (properties & kProperty_KindMask) >> kProperty_KindShift;
    std::uint32_t code = kind << kSV_KindShift;
    if (kind != 0) code |= IsPlanar420(inFormat) ? kSV_Planar420 : kSV_Compressed;
    for (const auto& each : kRendererBits) {
        if ((properties & each.mask) == each.properties) code |= each.rendererBits;
    }
    return static_cast<SV_PixelFormat>(code);
}

// The renderer may name these, but is never asked for them.
bool IsFromRendererOnly(PixelFormat inFormat) {
    return inFormat == kPixelFormat_BGRX_4444_32f_Linear ||
           inFormat == kPixelFormat_XRGB_4444_32f_Linear;
}

bool IsNamed(PixelFormat inFormat) {
    return inFormat.code != 0 && GuessFourCCForProperties(inFormat.properties) == inFormat.code;
}

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
    return {inFormat, LookupPropertiesForFourCC(inFormat)};
}

SV_PixelFormat BEPixelFormatToSVPixelFormat(PixelFormat inFormat) {
    if (IsCustomBEPixelFormat(inFormat)) return kSV_PixelFormat_Custom;
    const bool isKnown = IsNamed(inFormat) && !IsFromRendererOnly(inFormat);
    return isKnown ? RendererCode(inFormat) : kSV_PixelFormat_None;
}

ScanvoPixelFormat BEToSVPixelFormat(PixelFormat inFormat) {
    return BEPixelFormatToSVPixelFormat(inFormat);
}

PixelFormat SVPixelFormatToBEPixelFormat(SV_PixelFormat inFormat) {
    for (const NamedPixelFormat& named : NamedPixelFormats()) {
        const SV_PixelFormat code = RendererCode(named.format);
        if (code == inFormat && code != kSV_PixelFormat_None) return named.format;
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
    return IsCustomSDKPixelFormat(inFormat) || LookupPropertiesForFourCC(inFormat) != 0;
}

std::int32_t PixelFormatComponentPrecision(PixelFormat inFormat) {
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
    const SV_PixelFormat colourFormat = BEPixelFormatToSVPixelFormat(kPixelFormat_ARGB_4444_32f);
    const std::int32_t result = SV_Convert(colour.data(), 0, colourFormat, outPixel, 0,
                                           BEPixelFormatToSVPixelFormat(inFormat), 1, 1, 4);
    return result == 0 ? kSuccess : kFailure;
}

// ---------------------------------------------------------------------------------------------
// Rectangles

bool RectIsValidForPixelFormat(PixelFormat inFormat, const Brix::Rect& inRect,
                               const PixelAspectRatio& inAspectRatio) {
    return IsRectValidForFormat(inFormat, inRect.Width(), inRect.Height(), inAspectRatio);
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
    if (inFormat == kPixelFormat_Invalid) return false;
    if (!IsPacked(inFormat) || !HasKind(inFormat)) return false;
    if (IsReduction(inRect, inBounds, 2, 2) || IsReduction(inRect, inBounds, 4, 4)) return true;
    if (!IsPlanar420(inFormat)) return false;
    return IsReduction(inRect, inBounds, 1, 2) || IsReduction(inRect, inBounds, 2, 4);
}

}  // namespace VF

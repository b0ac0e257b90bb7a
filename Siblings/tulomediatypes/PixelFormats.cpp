#include <limits>

#include "contracts/TuloMediaTypes.h"

namespace tulomediatypes {
namespace {

constexpr NamedPixelFormat kNamedFormats[] = {
#define NAMED_FORMAT(name, code, bits) {#name, kPixelFormat_##name},
    TULOMEDIATYPES_PIXEL_FORMATS(NAMED_FORMAT)
#undef NAMED_FORMAT
};

constexpr std::uint64_t kLargestSize = std::numeric_limits<std::int64_t>::max();

std::uint32_t Kind(std::uint32_t inProperties) {
    return (inProperties & kProperty_KindMask) >> kProperty_KindShift;
}

const DVFrame* FindDVFrame(PixelFormat inFormat) {
    const std::uint32_t kind = Kind(inFormat.properties);
    return kind >= 1 && kind < std::size(kDVFrames) ? &kDVFrames[kind] : nullptr;
}

bool IsPacked(PixelFormat inFormat) {
    return (inFormat.properties & kProperty_StorageMask) == kProperty_Packed;
}

// Bytes of a row in a tight picture, in a number that cannot overflow; 0 without addressable rows.
std::uint64_t TightRowBytes(PixelFormat inFormat, std::uint64_t inWidth) {
    const std::uint32_t bits = inFormat.properties;
    if (!IsPacked(inFormat) || Kind(bits) != 0) return 0;
    const std::uint32_t component = bits & kProperty_ComponentTypeMask;
    if ((bits & kProperty_SubsamplingMask) == kProperty_422) {
        if (component == kProperty_8u) return (inWidth + 1) / 2 * 4;
        if (component == kProperty_10u) return (inWidth + 47) / 48 * 128;
        return 0;
    }
    if ((bits & kProperty_SubsamplingMask) != 0) return 0;
    if (component == kProperty_8u) return inWidth * 4;
    if (component == kProperty_16u) return inWidth * 8;
    if (component == kProperty_32f) return inWidth * 16;
    return 0;
}

// A row of the largest width has fewer than 2^36 bytes, but a picture may have 2^67.
std::uint64_t MultiplySizes(std::uint64_t inRowBytes, std::uint64_t inRows) {
    if (inRows != 0 && inRowBytes > kLargestSize / inRows) return kLargestSize;
    return inRowBytes * inRows;
}

}  // namespace

std::span<const NamedPixelFormat> NamedPixelFormats() {
    return kNamedFormats;
}

std::uint32_t LookupPropertiesForFourCC(std::uint32_t inCode) {
    for (const NamedPixelFormat& named : kNamedFormats) {
        if (named.format.code == inCode) return named.format.properties;
    }
    return 0;
}

std::uint32_t GuessFourCCForProperties(std::uint32_t inProperties) {
    for (const NamedPixelFormat& named : kNamedFormats) {
        if (named.format.properties == inProperties) return named.format.code;
    }
    return 0;
}

PixelFormat Select4444PixelFormat(PixelFormat inFormat, RenderQuality inQuality) {
    const std::uint32_t bits = inFormat.properties;
    const bool fewBits = (bits & kProperty_ComponentTypeMask) == kProperty_8u && inQuality < 5;
    const std::uint32_t alpha =
        (bits & kProperty_SubsamplingMask) == 0 ? bits & kProperty_AlphaMask : 0;
    std::uint32_t wanted = kProperty_Packed | (fewBits ? kProperty_8u : kProperty_32f);
    wanted |= bits & (kProperty_YCbCr | kProperty_709);
    if (!fewBits) wanted |= bits & kProperty_Linear;
    wanted |= alpha != 0 ? alpha : static_cast<std::uint32_t>(kProperty_NoAlpha);
    const std::uint32_t code = GuessFourCCForProperties(wanted);
    return code != 0 ? PixelFormat{code, wanted} : kPixelFormat_BGRA_4444_8u;
}

std::uint64_t PixelFormatSize(PixelFormat inFormat, std::int32_t inWidth, std::int32_t inHeight) {
    if (inWidth < 0 || inHeight < 0) return kLargestSize;
    if (!IsPacked(inFormat)) return 0;
    if (const DVFrame* frame = FindDVFrame(inFormat)) return frame->bytes;
    const auto width = static_cast<std::uint64_t>(inWidth);
    const auto height = static_cast<std::uint64_t>(inHeight);
    if (Kind(inFormat.properties) != 0) return Planar420Size(width, height);
    return MultiplySizes(TightRowBytes(inFormat, width), height);
}

std::int32_t UncompressedPixelFormatRowBytes(PixelFormat inFormat, std::int32_t inWidth) {
    if (inWidth < 0) return 0;
    const std::uint64_t bytes = TightRowBytes(inFormat, static_cast<std::uint64_t>(inWidth));
    const bool fits = bytes <= std::numeric_limits<std::int32_t>::max();
    return fits ? static_cast<std::int32_t>(bytes) : 0;
}

bool IsRectValidForFormat(PixelFormat inFormat, std::int32_t inWidth, std::int32_t inHeight,
                          PixelAspectRatio inAspectRatio) {
    if (inWidth <= 0 || inHeight <= 0) return false;
    if (inAspectRatio.numerator == 0 || inAspectRatio.denominator == 0) return false;
    if (const DVFrame* frame = FindDVFrame(inFormat)) {
        return inWidth == frame->width && inHeight == frame->height;
    }
    const std::uint32_t subsampling = inFormat.properties & kProperty_SubsamplingMask;
    if (subsampling != 0 && inWidth % 2 != 0) return false;
    return subsampling != kProperty_420 || inHeight % 2 == 0;
}

}  // namespace tulomediatypes

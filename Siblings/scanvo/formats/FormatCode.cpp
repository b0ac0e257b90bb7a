#include "formats/FormatCode.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>

#include "contracts/TuloMediaTypes.h"

namespace scanvo {
namespace {

constexpr ChromaGrid kFullChroma{};
constexpr ChromaGrid kHalfChroma{1, ChromaRows::Each};
constexpr ChromaGrid kFieldChroma{1, ChromaRows::OfFields};
constexpr ChromaGrid kFrameChroma{1, ChromaRows::Between};

// Y', then Cr, then Cb.
constexpr PlanePlaces kCrBeforeCb = {{{0, 0, 1}, {2, 0, 1}, {1, 0, 1}}};

// Codes that differ in the varying bits only. The alpha bits are never zero where they vary.
struct Family {
    std::uint32_t fixedBits;
    std::uint32_t varyingBits;
    Layout layout;
    ChromaGrid chroma;
    std::int8_t unitPixels = 0;
    std::int8_t unitBytes = 0;
    PlanePlaces planes{};
};

constexpr std::uint32_t kAlphaAndOrder = kSV_AlphaMask | kSV_Reversed;
constexpr std::uint32_t kAlphaAndMatrix = kSV_AlphaMask | kSV_Bt709;
constexpr std::uint32_t kOrderAndMatrix = kSV_Reversed | kSV_Bt709;

constexpr std::uint32_t DvCode(std::uint32_t inKind, std::uint32_t inMatrix = 0) {
    return inKind << kSV_KindShift | kSV_Compressed | kSV_YCbCr | inMatrix;
}

constexpr std::uint32_t PlanarCode(std::uint32_t inKind) {
    return inKind << kSV_KindShift | kSV_Planar420 | kSV_YCbCr;
}

// Every code of the renderer belongs to one of these and every member of these is a code of it.
constexpr Family kFamilies[] = {
    {kSV_Rgb | kSV_8Bit, kAlphaAndOrder, Layout::Packed4444, kFullChroma, 1, 4},
    {kSV_Rgb | kSV_15Bit, kAlphaAndOrder, Layout::Packed4444, kFullChroma, 1, 8},
    {kSV_Rgb | kSV_Float, kAlphaAndOrder, Layout::Packed4444, kFullChroma, 1, 16},
    {kSV_LinearRgb | kSV_Float, kAlphaAndOrder, Layout::Packed4444, kFullChroma, 1, 16},
    {kSV_YCbCr | kSV_8Bit, kAlphaAndMatrix, Layout::Packed4444, kFullChroma, 1, 4},
    {kSV_YCbCr | kSV_Float, kAlphaAndMatrix, Layout::Packed4444, kFullChroma, 1, 16},
    {kSV_YCbCr | kSV_Packed422 | kSV_8Bit, kOrderAndMatrix, Layout::Packed422, kHalfChroma, 2, 4},
    {kSV_YCbCr | kSV_Packed422 | kSV_10Bit, kSV_Bt709, Layout::Packed422, kHalfChroma, 6, 16},
    {DvCode(1), 0, Layout::Compressed, kFullChroma},
    {DvCode(2), 0, Layout::Compressed, kFullChroma},
    {DvCode(3, kSV_Bt709), 0, Layout::Compressed, kFullChroma},
    {DvCode(4, kSV_Bt709), 0, Layout::Compressed, kFullChroma},
    {DvCode(5, kSV_Bt709), 0, Layout::Compressed, kFullChroma},
    {DvCode(6, kSV_Bt709), 0, Layout::Compressed, kFullChroma},
    {DvCode(7), 0, Layout::Compressed, kFullChroma},
    {DvCode(8), 0, Layout::Compressed, kFullChroma},
    {PlanarCode(9), kSV_Bt709, Layout::Planar, kFieldChroma, 0, 0, kCrBeforeCb},
    {PlanarCode(10), kSV_Bt709, Layout::Planar, kFrameChroma, 0, 0, kCrBeforeCb},
};

constexpr int kV210RowBytes = 128;
constexpr int kV210RowPixels = 48;

bool IsMember(const Family& inFamily, std::uint32_t inCode) {
    const bool holdsAlphaBits = (inFamily.varyingBits & kSV_AlphaMask) != 0;
    return (inCode & ~inFamily.varyingBits) == inFamily.fixedBits &&
           (!holdsAlphaBits || (inCode & kSV_AlphaMask) != 0);
}

Component ComponentOf(std::uint32_t inCode) {
    constexpr std::array kComponents = {Component::Unsigned8, Component::Unsigned10,
                                        Component::Unsigned15, Component::Unsigned8,
                                        Component::Float};
    return kComponents[(inCode & kSV_ComponentMask) >> 6];
}

std::int64_t RoundUpToMultiple(std::int64_t inValue, std::int64_t inStep) {
    return (inValue + inStep - 1) / inStep * inStep;
}

}  // namespace

std::optional<Format> DecodeFormat(SV_PixelFormat inCode) {
    const std::uint32_t code = inCode;
    const auto family = std::find_if(std::begin(kFamilies), std::end(kFamilies),
                                     [code](const Family& each) { return IsMember(each, code); });
    if (family == std::end(kFamilies)) return std::nullopt;
    return Format{
        .colour = static_cast<Colour>(code & kSV_ColourMask),
        .alpha = static_cast<Alpha>((code & kSV_AlphaMask) >> 2),
        .layout = family->layout,
        .component = ComponentOf(code),
        .matrix = (code & kSV_Bt709) != 0 ? Matrix::Bt709 : Matrix::Bt601,
        .isReversed = (code & kSV_Reversed) != 0,
        .chroma = family->chroma,
        .planes = family->planes,
        .dvKind =
            family->layout == Layout::Compressed ? static_cast<int>(code >> kSV_KindShift) : 0,
        .unitPixels = family->unitPixels,
        .unitBytes = family->unitBytes,
    };
}

bool HasAddressableRows(const Format& inFormat) {
    return inFormat.unitPixels != 0;
}

bool HasHalfChroma(const Format& inFormat) {
    return inFormat.chroma.columnShift != 0;
}

bool HasAlpha(const Format& inFormat) {
    return inFormat.alpha == Alpha::Straight || inFormat.alpha == Alpha::Premultiplied;
}

Format SinglePixels(const Format& inFormat) {
    const bool isByte = inFormat.component == Component::Unsigned8;
    Format pixels;
    pixels.colour = inFormat.colour;
    pixels.alpha = Alpha::Ignored;
    pixels.component = isByte ? Component::Unsigned8 : Component::Float;
    pixels.matrix = inFormat.matrix;
    pixels.unitPixels = 1;
    pixels.unitBytes = isByte ? 4 : 16;
    return pixels;
}

std::int64_t UsedRowBytes(const Format& inFormat, std::int32_t inWidth) {
    return RoundUpToMultiple(inWidth, inFormat.unitPixels) / inFormat.unitPixels *
           inFormat.unitBytes;
}

std::int64_t TightRowBytes(const Format& inFormat, std::int32_t inWidth) {
    if (inFormat.component == Component::Unsigned10) {
        return RoundUpToMultiple(inWidth, kV210RowPixels) / kV210RowPixels * kV210RowBytes;
    }
    return UsedRowBytes(inFormat, inWidth);
}

std::int64_t PictureBytes(const Format& inFormat, std::int32_t inWidth, std::int32_t inHeight) {
    if (inWidth <= 0 || inHeight <= 0) return 0;
    if (inFormat.layout == Layout::Compressed)
        return static_cast<std::int64_t>(tulomediatypes::kDVFrames[inFormat.dvKind].bytes);
    if (inFormat.layout == Layout::Planar) {
        return static_cast<std::int64_t>(tulomediatypes::Planar420Size(
            static_cast<std::uint64_t>(inWidth), static_cast<std::uint64_t>(inHeight)));
    }
    const std::int64_t rowBytes = TightRowBytes(inFormat, inWidth);
    if (rowBytes > std::numeric_limits<std::int64_t>::max() / inHeight) return 0;
    return rowBytes * inHeight;
}

}  // namespace scanvo

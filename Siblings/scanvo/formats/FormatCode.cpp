#include "formats/FormatCode.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>

namespace scanvo {
namespace {

constexpr std::uint32_t kColourBits = 0x03;
constexpr std::uint32_t kAlphaBits = 0x0C;
constexpr std::uint32_t kLayoutBits = 0x30;
constexpr std::uint32_t kComponentBits = 0x1C0;
constexpr std::uint32_t kBt709Bit = 0x200;
constexpr std::uint32_t kReversedBit = 0x1000;
constexpr int kKindShift = 24;

// Codes that differ in the varying bits only. The alpha bits are never zero where they vary.
struct Family {
    std::uint32_t fixedBits;
    std::uint32_t varyingBits;
    std::int8_t unitPixels;
    std::int8_t unitBytes;
};

// Every code of the renderer belongs to one of these and every member of these is a code of it.
constexpr Family kFamilies[] = {
    {0x000, kAlphaBits | kReversedBit, 1, 4},   // RGB, 8-bit
    {0x080, kAlphaBits | kReversedBit, 1, 8},   // RGB, 15-bit
    {0x100, kAlphaBits | kReversedBit, 1, 16},  // RGB, float
    {0x102, kAlphaBits | kReversedBit, 1, 16},  // linear RGB, float
    {0x001, kAlphaBits | kBt709Bit, 1, 4},      // Y'CbCr, 8-bit
    {0x101, kAlphaBits | kBt709Bit, 1, 16},     // Y'CbCr, float
    {0x011, kBt709Bit | kReversedBit, 2, 4},    // UYVY and YUYV
    {0x051, kBt709Bit, 6, 16},                  // v210
    {0x01000021, 0, 0, 0},                      // DV25, 525 lines
    {0x02000021, 0, 0, 0},                      // DV25, 625 lines
    {0x03000221, 0, 0, 0},                      // DV100 720p, 60 Hz
    {0x04000221, 0, 0, 0},                      // DV100 720p, 50 Hz
    {0x05000221, 0, 0, 0},                      // DV100 1080i, 60 Hz
    {0x06000221, 0, 0, 0},                      // DV100 1080i, 50 Hz
    {0x07000021, 0, 0, 0},                      // DV50, 525 lines
    {0x08000021, 0, 0, 0},                      // DV50, 625 lines
    {0x09000031, kBt709Bit, 0, 0},              // 4:2:0 planar, field pictures
    {0x0A000031, kBt709Bit, 0, 0},              // 4:2:0 planar, frame picture
};

// The frames of the DV kinds (IEC 61834-2, SMPTE 314M, SMPTE 370M). Their bytes are ten or twelve
// DIF sequences of 12,000, one, two or four times.
struct DvFrame {
    DvSize size;
    std::int64_t bytes;
};
constexpr DvFrame kDvFrames[] = {{},
                                 {{720, 480}, 120000},
                                 {{720, 576}, 144000},
                                 {{960, 720}, 240000},
                                 {{960, 720}, 288000},
                                 {{1280, 1080}, 480000},
                                 {{1440, 1080}, 576000},
                                 {{720, 480}, 240000},
                                 {{720, 576}, 288000}};

constexpr int kV210RowBytes = 128;
constexpr int kV210RowPixels = 48;

bool IsMember(const Family& inFamily, std::uint32_t inCode) {
    const bool holdsAlphaBits = (inFamily.varyingBits & kAlphaBits) != 0;
    return (inCode & ~inFamily.varyingBits) == inFamily.fixedBits &&
           (!holdsAlphaBits || (inCode & kAlphaBits) != 0);
}

Component ComponentOf(std::uint32_t inCode) {
    constexpr std::array kComponents = {Component::Unsigned8, Component::Unsigned10,
                                        Component::Unsigned15, Component::Unsigned8,
                                        Component::Float};
    return kComponents[(inCode & kComponentBits) >> 6];
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
        .colour = static_cast<Colour>(code & kColourBits),
        .alpha = static_cast<Alpha>((code & kAlphaBits) >> 2),
        .layout = static_cast<Layout>((code & kLayoutBits) >> 4),
        .component = ComponentOf(code),
        .matrix = (code & kBt709Bit) != 0 ? Matrix::Bt709 : Matrix::Bt601,
        .isReversed = (code & kReversedBit) != 0,
        .kind = static_cast<int>(code >> kKindShift),
        .unitPixels = family->unitPixels,
        .unitBytes = family->unitBytes,
    };
}

bool HasAddressableRows(const Format& inFormat) {
    return inFormat.unitPixels != 0;
}

bool IsPlanar(const Format& inFormat) {
    return inFormat.layout == Layout::Planar420 || inFormat.layout == Layout::Planar422 ||
           inFormat.layout == Layout::Planar411;
}

bool HasHalfChroma(const Format& inFormat) {
    return inFormat.layout != Layout::Packed4444;
}

bool HasAlpha(const Format& inFormat) {
    return inFormat.alpha == Alpha::Straight || inFormat.alpha == Alpha::Premultiplied;
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

DvSize SizeOfDv(const Format& inFormat) {
    return kDvFrames[inFormat.kind].size;
}

std::int64_t PictureBytes(const Format& inFormat, std::int32_t inWidth, std::int32_t inHeight) {
    if (inWidth <= 0 || inHeight <= 0) return 0;
    if (inFormat.layout == Layout::Compressed) return kDvFrames[inFormat.kind].bytes;
    if (inFormat.layout == Layout::Planar420) {
        const std::int64_t chroma = std::int64_t{HalfWidth(inWidth)} * HalfWidth(inHeight);
        return std::int64_t{inWidth} * inHeight + 2 * chroma;
    }
    const std::int64_t rowBytes = TightRowBytes(inFormat, inWidth);
    if (rowBytes > std::numeric_limits<std::int64_t>::max() / inHeight) return 0;
    return rowBytes * inHeight;
}

}  // namespace scanvo

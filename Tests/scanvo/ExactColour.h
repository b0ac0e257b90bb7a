// What the standards say a colour is in each packed format, in double precision, and what memory
// holds. Written from the formulas and the layouts, apart from the renderer.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "contracts/Scanvo.h"

namespace scanvo_test {

struct FormatCode {
    constexpr FormatCode(std::uint32_t inBits) : bits(inBits) {}
    constexpr operator SV_PixelFormat() const { return static_cast<SV_PixelFormat>(bits); }

    bool Is422() const { return (bits & 0x30) == 0x10; }
    bool IsV210() const { return (bits & 0x1C0) == 0x40; }
    bool Is15Bit() const { return (bits & 0x1C0) == 0x80; }
    bool IsFloat() const { return (bits & 0x100) != 0; }
    bool IsYCbCr() const { return (bits & 3) == 1; }
    bool IsLinear() const { return (bits & 3) == 2; }
    bool IsBt709() const { return (bits & 0x200) != 0; }
    bool IsReversed() const { return (bits & 0x1000) != 0; }
    bool IsPremultiplied() const { return (bits & 0xC) == 8; }
    bool HoldsAlpha() const { return (bits & 0xC) == 4 || IsPremultiplied(); }

    /// Bytes that the pixels of a row lie in.
    std::int64_t RowLength(std::int32_t inWidth) const {
        constexpr std::int64_t kV210Words[] = {0, 1, 2, 3, 3, 4};
        if (IsV210()) return inWidth / 6 * 16 + kV210Words[inWidth % 6] * 4;
        if (Is422()) return (inWidth + 1) / 2 * 4;
        return std::int64_t{inWidth} * (IsFloat() ? 16 : Is15Bit() ? 8 : 4);
    }

    std::uint32_t bits;
};

/// Every format whose rows can be addressed.
constexpr FormatCode kPackedFormats[] = {
    0x004,  0x008,  0x00C, 0x1004, 0x1008, 0x100C, 0x084,  0x088, 0x08C, 0x1084, 0x1088,
    0x108C, 0x104,  0x108, 0x10C,  0x1104, 0x1108, 0x110C, 0x106, 0x10A, 0x10E,  0x1106,
    0x110A, 0x110E, 0x005, 0x009,  0x00D,  0x205,  0x209,  0x20D, 0x105, 0x109,  0x10D,
    0x305,  0x309,  0x30D, 0x011,  0x211,  0x1011, 0x1211, 0x051, 0x251};

/// R'G'B' and straight alpha, 0 to 1.
struct Rgba {
    double red, green, blue, alpha;
};

/// Red, green, blue or Y', Cb, Cr, then alpha, as codes of the format before rounding.
using Codes = std::array<double, 4>;

inline Codes ExactCodes(FormatCode inFormat, const Rgba& inColour) {
    auto [red, green, blue, alpha] = inColour;
    if (!inFormat.HoldsAlpha()) alpha = 1;
    Codes codes = {red, green, blue, alpha};
    const double kr = inFormat.IsBt709() ? 0.2126 : 0.299;
    const double kb = inFormat.IsBt709() ? 0.0722 : 0.114;
    if (inFormat.IsYCbCr()) {
        const double luma = kr * red + (1 - kr - kb) * green + kb * blue;
        codes = {luma, (blue - luma) / (2 * (1 - kb)), (red - luma) / (2 * (1 - kr)), alpha};
    }
    for (std::size_t i = 0; i < 3; ++i) {
        double& code = codes[i];
        if (inFormat.IsLinear()) {
            code = code <= 0.04045 ? code / 12.92 : std::pow((code + 0.055) / 1.055, 2.4);
        }
        if (inFormat.IsPremultiplied()) code *= alpha;
    }
    if (inFormat.IsFloat()) return codes;
    if (inFormat.IsYCbCr()) {
        const double step = inFormat.IsV210() ? 4 : 1;
        return {step * (16 + 219 * codes[0]), step * (128 + 224 * codes[1]),
                step * (128 + 224 * codes[2]), 255 * alpha};
    }
    for (double& code : codes)
        code *= inFormat.Is15Bit() ? 32768 : 255;
    return codes;
}

template <class Value>
double Load(const std::byte* inRow, std::size_t inIndex) {
    Value value;
    std::memcpy(&value, inRow + inIndex * sizeof(Value), sizeof(Value));
    return static_cast<double>(value);
}

inline double V210Sample(const std::byte* inRow, std::size_t inIndex) {
    std::uint32_t word;
    std::memcpy(&word, inRow + inIndex / 3 * 4, 4);
    return word >> inIndex % 3 * 10 & 0x3FF;
}

/// What memory holds for pixel inX of a row, in the order of Codes; alpha is 255 where a 4:2:2
/// format has none.
inline Codes StoredCodes(FormatCode inFormat, const std::byte* inRow, std::size_t inX) {
    if (inFormat.Is422()) {
        const auto sample = inFormat.IsV210() ? V210Sample : Load<std::uint8_t>;
        const std::size_t unit = inX / 2 * 4;
        const std::size_t luma = inFormat.IsReversed() ? 0 : 1;
        const std::size_t chroma = 1 - luma;
        return {sample(inRow, unit + inX % 2 * 2 + luma), sample(inRow, unit + chroma),
                sample(inRow, unit + chroma + 2), 255};
    }
    const auto component = inFormat.IsFloat()   ? Load<float>
                           : inFormat.Is15Bit() ? Load<std::uint16_t>
                                                : Load<std::uint8_t>;
    const auto at = [&](std::size_t inPlace) { return component(inRow, inX * 4 + inPlace); };
    if (inFormat.IsReversed()) return {at(1), at(2), at(3), at(0)};
    return {at(2), at(1), at(0), at(3)};
}

}  // namespace scanvo_test

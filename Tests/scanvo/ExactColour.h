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

/// Every format whose rows can be addressed.
constexpr std::uint32_t kPackedFormats[] = {
    0x004,  0x008,  0x00C, 0x1004, 0x1008, 0x100C, 0x084,  0x088, 0x08C, 0x1084, 0x1088,
    0x108C, 0x104,  0x108, 0x10C,  0x1104, 0x1108, 0x110C, 0x106, 0x10A, 0x10E,  0x1106,
    0x110A, 0x110E, 0x005, 0x009,  0x00D,  0x205,  0x209,  0x20D, 0x105, 0x109,  0x10D,
    0x305,  0x309,  0x30D, 0x011,  0x211,  0x1011, 0x1211, 0x051, 0x251};

inline SV_PixelFormat Code(std::uint32_t inCode) {
    return static_cast<SV_PixelFormat>(inCode);
}

inline bool Is422(std::uint32_t inCode) {
    return (inCode & 0x30) == 0x10;
}
inline bool IsV210(std::uint32_t inCode) {
    return (inCode & 0x1C0) == 0x40;
}
inline bool IsFloat(std::uint32_t inCode) {
    return (inCode & 0x100) != 0;
}
inline bool IsYCbCr(std::uint32_t inCode) {
    return (inCode & 3) == 1;
}
inline bool IsPremultiplied(std::uint32_t inCode) {
    return (inCode & 0xC) == 8;
}
inline bool HoldsAlpha(std::uint32_t inCode) {
    return (inCode & 0xC) == 4 || IsPremultiplied(inCode);
}

/// R'G'B' and straight alpha, 0 to 1.
struct Rgba {
    double red, green, blue, alpha;
};

/// Red, green, blue or Y', Cb, Cr, then alpha, as codes of the format before rounding.
using Codes = std::array<double, 4>;

inline double SrgbToLinear(double inValue) {
    return inValue <= 0.04045 ? inValue / 12.92 : std::pow((inValue + 0.055) / 1.055, 2.4);
}

inline Codes ExactCodes(std::uint32_t inCode, Rgba inColour) {
    const double alpha = HoldsAlpha(inCode) ? inColour.alpha : 1.0;
    Codes codes = {inColour.red, inColour.green, inColour.blue, alpha};
    if ((inCode & 3) == 2) {
        for (std::size_t i = 0; i < 3; ++i)
            codes[i] = SrgbToLinear(codes[i]);
    }
    if (IsYCbCr(inCode)) {
        const double kr = (inCode & 0x200) != 0 ? 0.2126 : 0.299;
        const double kb = (inCode & 0x200) != 0 ? 0.0722 : 0.114;
        const double luma = kr * codes[0] + (1 - kr - kb) * codes[1] + kb * codes[2];
        codes = {luma, (codes[2] - luma) / (2 * (1 - kb)), (codes[0] - luma) / (2 * (1 - kr)),
                 alpha};
    }
    if (IsPremultiplied(inCode)) {
        for (std::size_t i = 0; i < 3; ++i)
            codes[i] *= alpha;
    }
    if (IsFloat(inCode)) return codes;
    if ((inCode & 0x80) != 0) {
        for (double& code : codes)
            code *= 32768;
        return codes;
    }
    if (!IsYCbCr(inCode)) {
        for (double& code : codes)
            code *= 255;
        return codes;
    }
    const double step = IsV210(inCode) ? 4 : 1;
    return {step * (16 + 219 * codes[0]), step * (128 + 224 * codes[1]),
            step * (128 + 224 * codes[2]), 255 * codes[3]};
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
inline Codes StoredCodes(std::uint32_t inCode, const std::byte* inRow, std::size_t inX) {
    const bool isReversed = (inCode & 0x1000) != 0;
    if (Is422(inCode)) {
        const auto sample = IsV210(inCode) ? V210Sample : Load<std::uint8_t>;
        const std::size_t unit = inX / 2 * 4;
        const std::size_t luma = isReversed ? 0 : 1;
        const std::size_t chroma = 1 - luma;
        return {sample(inRow, unit + inX % 2 * 2 + luma), sample(inRow, unit + chroma),
                sample(inRow, unit + chroma + 2), 255};
    }
    const auto component = IsFloat(inCode)        ? Load<float>
                           : (inCode & 0x80) != 0 ? Load<std::uint16_t>
                                                  : Load<std::uint8_t>;
    const auto at = [&](std::size_t inPlace) { return component(inRow, inX * 4 + inPlace); };
    if (isReversed) return {at(1), at(2), at(3), at(0)};
    return {at(2), at(1), at(0), at(3)};
}

}  // namespace scanvo_test

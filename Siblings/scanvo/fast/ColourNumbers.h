// The Y'CbCr matrices as whole numbers, for vectors of 16-bit lanes.
#pragma once

#include <array>
#include <cstdint>

#include "rows/Colour.h"

namespace scanvo {

constexpr int RoundedToInt(double inValue) {
    return static_cast<int>(inValue < 0 ? inValue - 0.5 : inValue + 0.5);
}

// ---- From pixels of four bytes to Y'CbCr --------------------------------------------------------

/// What each byte of a pixel weighs in a component: sum / 2^bits + offset is the 8-bit code.
struct PixelWeights {
    int lumaBits, chromaBits;
    int lumaOffset, chromaOffset;
    std::array<int, 4> luma, cb, cr;
};

/// Weights of red, green and blue by their places in the pixel. Each weight fits 16 bits, which is
/// why luma has fewer bits than chroma. Green takes what rounding leaves, so that greys stay grey
/// and white is white.
constexpr PixelWeights WeightsOfRgb(Matrix inMatrix, bool inIsReversed) {
    constexpr int kLumaBits = 15;
    constexpr int kChromaBits = 16;
    const auto [red, blue] = LumaCoefficientsOf(inMatrix);
    const double lumaUnit = 219.0 / 255 * (1 << kLumaBits);
    const double chromaUnit = 224.0 / 255 * (1 << kChromaBits);
    const auto place = [inIsReversed](int redWeight, int blueWeight, int sum) {
        const int green = sum - redWeight - blueWeight;
        if (inIsReversed) return std::array{0, redWeight, green, blueWeight};
        return std::array{blueWeight, green, redWeight, 0};
    };
    const int half = RoundedToInt(0.5 * chromaUnit);
    return {
        kLumaBits,
        kChromaBits,
        16,
        128,
        place(RoundedToInt(red * lumaUnit), RoundedToInt(blue * lumaUnit), RoundedToInt(lumaUnit)),
        place(RoundedToInt(-red / (2 * (1 - blue)) * chromaUnit), half, 0),
        place(half, RoundedToInt(-blue / (2 * (1 - red)) * chromaUnit), 0),
    };
}

/// Takes the components out of a V, U, Y', A pixel.
constexpr PixelWeights kWeightsOfVuya = {
    14, 14, 0, 0, {0, 0, 1 << 14, 0}, {0, 1 << 14, 0, 0}, {1 << 14, 0, 0, 0}};

// ---- From Y'CbCr to RGB -------------------------------------------------------------------------

/// For 8-bit luma codes times 256 and centred 8-bit chroma codes times 256, to 8-bit RGB codes
/// times 64. luma is a multiplier of 2^-16, the others of 2^-15. The offset includes what rounds
/// the results when their lower bits are cut off, and half of what cutting off the product with
/// luma loses.
struct RgbNumbers {
    static constexpr int kFractionBits = 6;

    int luma, lumaOffset;
    int redOfCr, greenOfCb, greenOfCr, blueOfCb;
};

constexpr RgbNumbers NumbersToRgb(Matrix inMatrix) {
    constexpr double kOne = 1 << RgbNumbers::kFractionBits;
    const auto [red, blue] = LumaCoefficientsOf(inMatrix);
    const double green = 1 - red - blue;
    const double lumaUnit = 255.0 / 219 * kOne;
    const double chromaUnit = 255.0 / 224 * kOne * 128;
    return {
        RoundedToInt(lumaUnit * 256),
        RoundedToInt(-16 * lumaUnit + kOne / 2 + 0.5),
        RoundedToInt(2 * (1 - red) * chromaUnit),
        RoundedToInt(-blue * 2 * (1 - blue) / green * chromaUnit),
        RoundedToInt(-red * 2 * (1 - red) / green * chromaUnit),
        RoundedToInt(2 * (1 - blue) * chromaUnit),
    };
}

}  // namespace scanvo

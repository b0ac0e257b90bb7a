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

/// What each byte of a pixel weighs in a component: (offset + sum) / 2^bits is the 8-bit code.
struct ComponentWeights {
    std::array<int, 4> bytes;
    int offset;
};

struct PixelWeights {
    int lumaBits, chromaBits;
    /// Whether results may lie outside of what a code holds.
    bool mayExceed;
    ComponentWeights luma, cb, cr;
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
    constexpr int kCentre = 128 << kChromaBits;
    return {
        kLumaBits,
        kChromaBits,
        false,
        {place(RoundedToInt(red * lumaUnit), RoundedToInt(blue * lumaUnit), RoundedToInt(lumaUnit)),
         16 << kLumaBits},
        {place(RoundedToInt(-red / (2 * (1 - blue)) * chromaUnit), half, 0), kCentre},
        {place(half, RoundedToInt(-blue / (2 * (1 - red)) * chromaUnit), 0), kCentre},
    };
}

/// What luma, Cb and Cr of one matrix are of Cb and Cr of another, for codes; luma takes all of
/// luma.
struct MatrixChange {
    double lumaOfCb, lumaOfCr, cbOfCb, cbOfCr, crOfCb, crOfCr;
};

constexpr MatrixChange ChangeBetween(Matrix inFrom, Matrix inTo) {
    const auto from = LumaCoefficientsOf(inFrom), to = LumaCoefficientsOf(inTo);
    const double fromGreen = 1 - from.red - from.blue, toGreen = 1 - to.red - to.blue;
    // R', G' and B' take all of luma, red this much of Cr, blue this much of Cb, green some of
    // both.
    const double redOfCr = 2 * (1 - from.red), blueOfCb = 2 * (1 - from.blue);
    const double lumaOfCb = to.blue * blueOfCb - toGreen / fromGreen * from.blue * blueOfCb;
    const double lumaOfCr = to.red * redOfCr - toGreen / fromGreen * from.red * redOfCr;
    const double cbScale = 1 / (2 * (1 - to.blue)), crScale = 1 / (2 * (1 - to.red));
    constexpr double kLumaCodes = 219.0 / 224;
    return {lumaOfCb * kLumaCodes, lumaOfCr * kLumaCodes, (blueOfCb - lumaOfCb) * cbScale,
            -lumaOfCr * cbScale,   -lumaOfCb * crScale,   (redOfCr - lumaOfCr) * crScale};
}

/// Of the components of a V, U, Y', A pixel, which are taken out of it as they are when the two are
/// one.
constexpr PixelWeights WeightsOfVuya(Matrix inFrom, Matrix inTo) {
    constexpr int kBits = 14;
    constexpr int kOne = 1 << kBits;
    if (inFrom == inTo) {
        return {
            kBits, kBits, false, {{0, 0, kOne, 0}, 0}, {{0, kOne, 0, 0}, 0}, {{kOne, 0, 0, 0}, 0}};
    }
    const MatrixChange change = ChangeBetween(inFrom, inTo);
    // Cb and Cr count from their centre.
    const auto weights = [](double ofCb, double ofCr, int luma, int centre) {
        const int cb = RoundedToInt(ofCb * kOne), cr = RoundedToInt(ofCr * kOne);
        return ComponentWeights{{cr, cb, luma, 0}, 128 * (centre - cb - cr)};
    };
    return {kBits,
            kBits,
            true,
            weights(change.lumaOfCb, change.lumaOfCr, kOne, 0),
            weights(change.cbOfCb, change.cbOfCr, 0, kOne),
            weights(change.crOfCb, change.crOfCr, 0, kOne)};
}

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

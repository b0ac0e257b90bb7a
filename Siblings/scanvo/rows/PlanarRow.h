// The form that pixels have between loading and storing: one row as planes of floats.
//
// Planes 0 to 2 are red, green, blue or Y', Cb, Cr, and plane 3 is alpha. RGB, Y' and alpha are 0
// to 1, chroma is -0.5 to 0.5, whatever the codes in memory; values outside are kept.
#pragma once

#include <array>
#include <cstdint>

#include "formats/FormatCode.h"

namespace scanvo {

constexpr int kPlaneCount = 4;
constexpr int kColourPlaneCount = 3;
constexpr int kAlphaPlane = 3;

using PlanarRow = std::array<float*, kPlaneCount>;

/// Samples in each plane; 0 for a plane that is not there.
using RowShape = std::array<std::int32_t, kPlaneCount>;

constexpr RowShape FullShape(std::int32_t inWidth, bool inHasAlpha) {
    return {inWidth, inWidth, inWidth, inHasAlpha ? inWidth : 0};
}

/// Every other pixel has chroma, and none has alpha.
constexpr RowShape HalfChromaShape(std::int32_t inWidth) {
    return {inWidth, HalfWidth(inWidth), HalfWidth(inWidth), 0};
}

}  // namespace scanvo

// Colour: Y'CbCr matrices, the linear-light curve, straight and premultiplied alpha.
//
// Premultiplied Y'CbCr is what premultiplied R'G'B' becomes under the matrix: Y' scaled from its
// black and chroma from its centre.
#pragma once

#include <array>
#include <cstdint>

#include "formats/FormatCode.h"
#include "rows/PlanarRow.h"

namespace scanvo {

/// Alphas of which a float can hold the reciprocal. A smaller one counts for 0, a larger one,
/// infinity too, for the largest.
inline constexpr float kLeastAlpha = 0x1p-126f;
inline constexpr float kMostAlpha = 0x1p126f;

/// What red and blue are of luma; green is the rest.
struct LumaCoefficients {
    double red, blue;
};

constexpr LumaCoefficients LumaCoefficientsOf(Matrix inMatrix) {
    if (inMatrix == Matrix::Bt709) return {0.2126, 0.0722};
    return {0.299, 0.114};
}

using Matrix3x3 = std::array<std::array<float, 3>, 3>;

/// R'G'B' to Y'CbCr and back, from the luma coefficients of BT.601 and BT.709.
Matrix3x3 RgbToYCbCr(Matrix inMatrix);
Matrix3x3 YCbCrToRgb(Matrix inMatrix);

/// The curve of IEC 61966-2-1 (sRGB), mirrored for negative values.
float ToLinearLight(float inEncoded);
float FromLinearLight(float inLinear);

/// What may be done to the colour and alpha of a row in place. Every pixel has its own chroma,
/// except where the step says otherwise: between Y'CbCr and Y'CbCr, a matrix makes chroma of chroma
/// alone, so that half chroma can stay on its grid; luma takes the chroma that lies beside it.
enum class ColourStep {
    MakeOpaque,
    Premultiply,
    Unpremultiply,
    ApplyMatrix,
    ApplyMatrixOnHalfChroma,
    ToLinearLight,
    FromLinearLight
};

/// The matrix is for the step that applies one.
using RunColourStep = void (*)(const PlanarRow& ioRow, std::int32_t inWidth,
                               const Matrix3x3& inMatrix);

/// Without vectors, for the ends of rows and to hold vectors against.
RunColourStep PlainColourStep(ColourStep inStep);

/// What turns a row of one format's colour and alpha into another's: a few steps, chosen once, then
/// run over rows.
class ColourSteps {
  public:
    ColourSteps() = default;

    /// Alpha that means nothing counts as opaque in the source and becomes opaque in the
    /// destination. Giving up alpha keeps the straight colour.
    /// Rows have full chroma, or half of it with inIsHalfChroma.
    ColourSteps(const Format& inSource, const Format& inDestination, bool inIsHalfChroma = false);

    bool IsEmpty() const { return count_ == 0; }

    void Run(const PlanarRow& ioRow, std::int32_t inWidth) const;

  private:
    void Add(bool inIsNeeded, ColourStep inStep);

    std::array<RunColourStep, 6> steps_{};
    int count_ = 0;
    Matrix3x3 matrix_{};
};

}  // namespace scanvo

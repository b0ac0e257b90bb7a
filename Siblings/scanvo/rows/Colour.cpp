#include "rows/Colour.h"

#include <algorithm>
#include <cmath>

#include "fast/VectorColour.h"

namespace scanvo {
namespace {

Matrix3x3 Rounded(const double (&inRows)[3][3]) {
    Matrix3x3 matrix;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            matrix[row][column] = static_cast<float>(inRows[row][column]);
        }
    }
    return matrix;
}

Matrix3x3 Product(const Matrix3x3& inLeft, const Matrix3x3& inRight) {
    Matrix3x3 product{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (std::size_t i = 0; i < 3; ++i) {
                product[row][column] += inLeft[row][i] * inRight[i][column];
            }
        }
    }
    return product;
}

// ---- The steps ----------------------------------------------------------------------------------

void MakeOpaque(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3&) {
    std::fill_n(ioRow[kAlphaPlane], inWidth, 1.0f);
}

void Premultiply(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3&) {
    const float* __restrict const alpha = ioRow[kAlphaPlane];
    for (std::size_t plane = 0; plane < kColourPlaneCount; ++plane) {
        float* __restrict const colour = ioRow[plane];
        for (std::int32_t x = 0; x < inWidth; ++x) {
            colour[x] *= alpha[x];
        }
    }
}

// Where nothing shows there is no colour to recover, and black is as good as any.
void Unpremultiply(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3&) {
    const float* __restrict const alpha = ioRow[kAlphaPlane];
    for (std::size_t plane = 0; plane < kColourPlaneCount; ++plane) {
        float* __restrict const colour = ioRow[plane];
        for (std::int32_t x = 0; x < inWidth; ++x) {
            const float straight = colour[x] / std::min(alpha[x], kMostAlpha);
            colour[x] = alpha[x] >= kLeastAlpha ? straight : 0.0f;
        }
    }
}

void ApplyMatrix(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3& inMatrix) {
    float* __restrict const first = ioRow[0];
    float* __restrict const second = ioRow[1];
    float* __restrict const third = ioRow[2];
    const Matrix3x3 m = inMatrix;
    for (std::int32_t x = 0; x < inWidth; ++x) {
        const float a = first[x];
        const float b = second[x];
        const float c = third[x];
        first[x] = m[0][0] * a + m[0][1] * b + m[0][2] * c;
        second[x] = m[1][0] * a + m[1][1] * b + m[1][2] * c;
        third[x] = m[2][0] * a + m[2][1] * b + m[2][2] * c;
    }
}

void ApplyMatrixOnHalfChroma(const PlanarRow& ioRow, std::int32_t inWidth,
                             const Matrix3x3& inMatrix) {
    float* __restrict const luma = ioRow[0];
    float* __restrict const cb = ioRow[1];
    float* __restrict const cr = ioRow[2];
    const Matrix3x3 m = inMatrix;
    const std::int32_t last = HalfWidth(inWidth) - 1;
    const auto share = [&](std::int32_t i) { return m[0][1] * cb[i] + m[0][2] * cr[i]; };
    for (std::int32_t i = 0; i < last; ++i) {
        luma[2 * i] = m[0][0] * luma[2 * i] + share(i);
        luma[2 * i + 1] = m[0][0] * luma[2 * i + 1] + 0.5f * (share(i) + share(i + 1));
    }
    for (std::int32_t x = 2 * last; x < inWidth; ++x)
        luma[x] = m[0][0] * luma[x] + share(last);
    for (std::int32_t i = 0; i <= last; ++i) {
        const float first = cb[i];
        const float second = cr[i];
        cb[i] = m[1][1] * first + m[1][2] * second;
        cr[i] = m[2][1] * first + m[2][2] * second;
    }
}

template <float (*Curve)(float)>
void ApplyCurve(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3&) {
    for (std::size_t plane = 0; plane < kColourPlaneCount; ++plane) {
        std::transform(ioRow[plane], ioRow[plane] + inWidth, ioRow[plane], Curve);
    }
}

// Between two encodings of the same light; linear light counts as R'G'B' here.
Matrix3x3 MatrixBetween(const Format& inSource, const Format& inDestination) {
    const bool fromYCbCr = inSource.colour == Colour::YCbCr;
    const bool toYCbCr = inDestination.colour == Colour::YCbCr;
    if (!fromYCbCr) return RgbToYCbCr(inDestination.matrix);
    if (!toYCbCr) return YCbCrToRgb(inSource.matrix);
    return Product(RgbToYCbCr(inDestination.matrix), YCbCrToRgb(inSource.matrix));
}

bool NeedsMatrix(const Format& inSource, const Format& inDestination) {
    const bool fromYCbCr = inSource.colour == Colour::YCbCr;
    const bool toYCbCr = inDestination.colour == Colour::YCbCr;
    return fromYCbCr != toYCbCr || (fromYCbCr && inSource.matrix != inDestination.matrix);
}

}  // namespace

Matrix3x3 RgbToYCbCr(Matrix inMatrix) {
    const auto [red, blue] = LumaCoefficientsOf(inMatrix);
    const double green = 1 - red - blue;
    const double cb = 2 * (1 - blue);
    const double cr = 2 * (1 - red);
    return Rounded(
        {{red, green, blue}, {-red / cb, -green / cb, 0.5}, {0.5, -green / cr, -blue / cr}});
}

Matrix3x3 YCbCrToRgb(Matrix inMatrix) {
    const auto [red, blue] = LumaCoefficientsOf(inMatrix);
    const double green = 1 - red - blue;
    const double cb = 2 * (1 - blue);
    const double cr = 2 * (1 - red);
    return Rounded({{1, 0, cr}, {1, -blue * cb / green, -red * cr / green}, {1, cb, 0}});
}

float ToLinearLight(float inEncoded) {
    const float encoded = std::abs(inEncoded);
    const float linear =
        encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
    return std::copysign(linear, inEncoded);
}

float FromLinearLight(float inLinear) {
    const float linear = std::abs(inLinear);
    const float encoded =
        linear <= 0.0031308f ? linear * 12.92f : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
    return std::copysign(encoded, inLinear);
}

RunColourStep PlainColourStep(ColourStep inStep) {
    switch (inStep) {
        case ColourStep::MakeOpaque:
            return MakeOpaque;
        case ColourStep::Premultiply:
            return Premultiply;
        case ColourStep::Unpremultiply:
            return Unpremultiply;
        case ColourStep::ApplyMatrix:
            return ApplyMatrix;
        case ColourStep::ApplyMatrixOnHalfChroma:
            return ApplyMatrixOnHalfChroma;
        case ColourStep::ToLinearLight:
            return ApplyCurve<ToLinearLight>;
        case ColourStep::FromLinearLight:
            return ApplyCurve<FromLinearLight>;
    }
    return nullptr;
}

ColourSteps::ColourSteps(const Format& inSource, const Format& inDestination, bool inIsHalfChroma) {
    const bool fromLinear = inSource.colour == Colour::LinearRgb;
    const bool toLinear = inDestination.colour == Colour::LinearRgb;
    const bool fromPremultiplied = inSource.alpha == Alpha::Premultiplied;
    const bool toPremultiplied = inDestination.alpha == Alpha::Premultiplied;
    // The matrices are linear, so premultiplied colour may pass through them; a curve is not.
    const bool curves = fromLinear != toLinear;
    const bool staysPremultiplied = fromPremultiplied && toPremultiplied && !curves;

    Add(fromPremultiplied && !staysPremultiplied, ColourStep::Unpremultiply);
    Add(curves && fromLinear, ColourStep::FromLinearLight);
    Add(NeedsMatrix(inSource, inDestination),
        inIsHalfChroma ? ColourStep::ApplyMatrixOnHalfChroma : ColourStep::ApplyMatrix);
    if (NeedsMatrix(inSource, inDestination)) matrix_ = MatrixBetween(inSource, inDestination);
    Add(curves && toLinear, ColourStep::ToLinearLight);
    Add(HasAlpha(inSource) && toPremultiplied && !staysPremultiplied, ColourStep::Premultiply);

    const bool holdsAlpha = inDestination.alpha != Alpha::None;
    Add(holdsAlpha && !(HasAlpha(inSource) && HasAlpha(inDestination)), ColourStep::MakeOpaque);
}

void ColourSteps::Add(bool inIsNeeded, ColourStep inStep) {
    if (!inIsNeeded) return;
    const RunColourStep vectors = VectorColourStep(inStep);
    steps_[static_cast<std::size_t>(count_++)] =
        vectors != nullptr ? vectors : PlainColourStep(inStep);
}

void ColourSteps::Run(const PlanarRow& ioRow, std::int32_t inWidth) const {
    std::for_each_n(steps_.begin(), count_,
                    [&](RunColourStep step) { step(ioRow, inWidth, matrix_); });
}

}  // namespace scanvo

// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_DISABLED_TARGETS HWY_SSSE3
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/VectorColour.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include "fast/Codes-inl.h"
#include "fast/VectorColour.h"
#include "rows/Chroma.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

RunColourStep FindColourStep(ColourStep) {
    return nullptr;
}

std::int32_t SpreadVectors(const float*, std::int32_t, float*) {
    return 0;
}

std::int32_t HalveVectors(const float*, std::int32_t, float*) {
    return 1;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<float> kFloats;
using V = hn::Vec<decltype(kFloats)>;

std::int32_t Step() {
    return static_cast<std::int32_t>(hn::Lanes(kFloats));
}

// The last pixels of a row are left to the plain form.
void RunRest(ColourStep inStep, const PlanarRow& ioRow, std::int32_t inFirst, std::int32_t inWidth,
             const Matrix3x3& inMatrix) {
    if (inFirst == inWidth) return;
    const PlanarRow rest = {ioRow[0] + inFirst, ioRow[1] + inFirst, ioRow[2] + inFirst,
                            ioRow[3] + inFirst};
    PlainColourStep(inStep)(rest, inWidth - inFirst, inMatrix);
}

// ---- Alpha --------------------------------------------------------------------------------------

// What colour is multiplied by.
struct TimesAlpha {
    static constexpr ColourStep kStep = ColourStep::Premultiply;
    static HWY_INLINE V FactorOf(V inAlpha) { return inAlpha; }
};

struct DividedByAlpha {
    static constexpr ColourStep kStep = ColourStep::Unpremultiply;
    static HWY_INLINE V FactorOf(V inAlpha) { return OverAlpha(inAlpha); }
};

void FillAlpha(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3& inMatrix) {
    const V opaque = hn::Set(kFloats, 1.0f);
    std::int32_t x = 0;
    for (; x + Step() <= inWidth; x += Step())
        hn::StoreU(opaque, kFloats, ioRow[kAlphaPlane] + x);
    RunRest(ColourStep::MakeOpaque, ioRow, x, inWidth, inMatrix);
}

template <class Work>
void WithAlpha(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3& inMatrix) {
    const auto [first, second, third, alpha] = ioRow;
    std::int32_t x = 0;
    for (; x + Step() <= inWidth; x += Step()) {
        const V factor = Work::FactorOf(hn::LoadU(kFloats, alpha + x));
        for (float* const plane : {first, second, third})
            hn::StoreU(hn::Mul(hn::LoadU(kFloats, plane + x), factor), kFloats, plane + x);
    }
    RunRest(Work::kStep, ioRow, x, inWidth, inMatrix);
}

// ---- Matrices -----------------------------------------------------------------------------------

HWY_INLINE V Sum(const std::array<float, 3>& inWeights, V inFirst, V inSecond, V inThird) {
    const V product = hn::Mul(hn::Set(kFloats, inWeights[0]), inFirst);
    const V sum = hn::MulAdd(hn::Set(kFloats, inWeights[1]), inSecond, product);
    return hn::MulAdd(hn::Set(kFloats, inWeights[2]), inThird, sum);
}

void WithMatrix(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3& inMatrix) {
    const auto [first, second, third, alpha] = ioRow;
    const Matrix3x3 matrix = inMatrix;
    std::int32_t x = 0;
    for (; x + Step() <= inWidth; x += Step()) {
        const V a = hn::LoadU(kFloats, first + x);
        const V b = hn::LoadU(kFloats, second + x);
        const V c = hn::LoadU(kFloats, third + x);
        hn::StoreU(Sum(matrix[0], a, b, c), kFloats, first + x);
        hn::StoreU(Sum(matrix[1], a, b, c), kFloats, second + x);
        hn::StoreU(Sum(matrix[2], a, b, c), kFloats, third + x);
    }
    RunRest(ColourStep::ApplyMatrix, ioRow, x, inWidth, inMatrix);
}

// ---- Linear light -------------------------------------------------------------------------------

// Polynomials are given from the lowest coefficient up.
template <std::size_t count>
HWY_INLINE V Polynomial(const float (&inCoefficients)[count], V inX) {
    V sum = hn::Set(kFloats, inCoefficients[count - 1]);
    for (std::size_t i = count - 1; i-- > 0;)
        sum = hn::MulAdd(sum, inX, hn::Set(kFloats, inCoefficients[i]));
    return sum;
}

// inX to the power of numerator / denominator, which lies between -1 and 1. inX is positive and not
// denormal; the result for infinity and NaN is a finite number.
template <int numerator, int denominator>
HWY_INLINE V Power(V inX) {
    // log2(1 + x) / x from sqrt(1/2) - 1 to sqrt(2) - 1, and 2^x from -1/2 to 1/2, so that the
    // largest relative errors are least.
    static constexpr float kLogarithm[] = {1.442694995f,   -0.7213529314f, 0.480916708f,
                                           -0.3602251825f, 0.2872888824f,  -0.2492718221f,
                                           0.2326525788f,  -0.1427597344f};
    static constexpr float kExponential[] = {1.000000075f,   0.693147188f,    0.2402210749f,
                                             0.05550357114f, 0.009676031918f, 0.001339086336f};
    constexpr float kPower = static_cast<float>(numerator) / denominator;
    const hn::RebindToSigned<decltype(kFloats)> integers;

    // inX is mantissa * 2^exponent, with a mantissa from sqrt(1/2) to sqrt(2).
    const auto bits = hn::BitCast(integers, inX);
    const auto exponent = hn::ShiftRight<23>(hn::Sub(bits, hn::Set(integers, 0x3F3504F3)));
    const V mantissa = hn::BitCast(kFloats, hn::Sub(bits, hn::ShiftLeft<23>(exponent)));
    const V part = hn::Sub(mantissa, hn::Set(kFloats, 1.0f));
    const V logarithm = hn::Mul(Polynomial(kLogarithm, part), part);

    // The exponent of the result is split before it is divided, because whole numbers are exact.
    const V whole = hn::ConvertTo(kFloats, exponent);
    const V result = hn::Round(hn::Mul(hn::Add(whole, logarithm), hn::Set(kFloats, kPower)));
    const V over = hn::NegMulAdd(result, hn::Set(kFloats, static_cast<float>(denominator)),
                                 hn::Mul(whole, hn::Set(kFloats, static_cast<float>(numerator))));
    const V rest = hn::MulAdd(logarithm, hn::Set(kFloats, kPower),
                              hn::Mul(over, hn::Set(kFloats, 1.0f / denominator)));
    const auto scale =
        hn::ShiftLeft<23>(hn::Add(hn::ConvertTo(integers, result), hn::Set(integers, 127)));
    return hn::Mul(Polynomial(kExponential, rest), hn::BitCast(kFloats, scale));
}

// What long vectors do faster: a table of what 16 exponents become, from kFirstExponent on, and a
// polynomial for mantissas from 1 to 2.
struct PowerTable {
    int firstExponent;
    float scales[16];
    float mantissa[6];
};
constexpr PowerTable kTo2Point4 = {
    -4,
    {0.00128858194f, 0.00680117628f, 0.0358968236f, 0.189464571f, 1.0f, 5.27803164f, 27.857618f,
     147.033389f, 776.046882f, 4096.0f, 21618.8176f, 114104.803f, 602248.763f, 3178688.03f,
     16777216.0f, 88550676.9f},
    {0.025840964f, -0.160251793f, 0.801974621f, 0.377663529f, -0.0494221984f, 0.00419512621f}};
constexpr PowerTable kTo5Over12 = {
    -9,
    {0.0743254447f, 0.0992125657f, 0.132432887f, 0.176776695f, 0.235968578f, 0.314980262f,
     0.420448208f, 0.561231024f, 0.749153538f, 1.0f, 1.33483985f, 1.78179744f, 2.37841423f,
     3.1748021f, 4.23785238f, 5.65685425f},
    {0.376330312f, 0.952814891f, -0.49173015f, 0.208567776f, -0.0514170116f, 0.00543537267f}};

constexpr bool kHasLongVectors = hn::MaxLanes(kFloats) >= 16;

// Whether no element lies above those of the table.
template <const PowerTable& kTable>
HWY_INLINE bool IsInTable(V inX) {
    constexpr std::int32_t kEnd = (127 + kTable.firstExponent + 16) << 23;
    const hn::RebindToSigned<decltype(kFloats)> integers;
    return hn::AllTrue(kFloats, hn::Lt(inX, hn::BitCast(kFloats, hn::Set(integers, kEnd))));
}

// The result for what lies below the table is some number.
template <const PowerTable& kTable>
HWY_INLINE V PowerByTable(V inX) {
    const hn::RebindToSigned<decltype(kFloats)> integers;
    const auto bits = hn::BitCast(integers, inX);
    const auto exponent =
        hn::Sub(hn::ShiftRight<23>(bits), hn::Set(integers, 127 + kTable.firstExponent));
    const auto index = hn::IndicesFromVec(kFloats, hn::And(exponent, hn::Set(integers, 15)));
    const auto mantissa = hn::BitCast(
        kFloats, hn::OrAnd(hn::Set(integers, 0x3F800000), bits, hn::Set(integers, 0x7FFFFF)));
    const V scale = hn::TableLookupLanes(hn::LoadU(kFloats, kTable.scales), index);
    return hn::Mul(Polynomial(kTable.mantissa, mantissa), scale);
}

struct ToLinear {
    static constexpr ColourStep kStep = ColourStep::ToLinearLight;
    static HWY_INLINE V Of(V inEncoded) {
        const V line = hn::Mul(inEncoded, hn::Set(kFloats, 1 / 12.92f));
        const V base =
            hn::MulAdd(inEncoded, hn::Set(kFloats, 1 / 1.055f), hn::Set(kFloats, 0.055f / 1.055f));
        return hn::IfThenElse(hn::Le(inEncoded, hn::Set(kFloats, 0.04045f)), line, Curve(base));
    }

  private:
    static HWY_INLINE V Curve(V inBase) {
        if constexpr (kHasLongVectors) {
            if (HWY_LIKELY(IsInTable<kTo2Point4>(inBase))) return PowerByTable<kTo2Point4>(inBase);
        }
        // inBase^2.4, in a way that keeps infinity and NaN.
        return hn::Mul(hn::Mul(inBase, inBase), Power<2, 5>(inBase));
    }
};

struct FromLinear {
    static constexpr ColourStep kStep = ColourStep::FromLinearLight;
    static HWY_INLINE V Of(V inLinear) {
        const V line = hn::Mul(inLinear, hn::Set(kFloats, 12.92f));
        const V curve =
            hn::MulSub(Root(inLinear), hn::Set(kFloats, 1.055f), hn::Set(kFloats, 0.055f));
        return hn::IfThenElse(hn::Le(inLinear, hn::Set(kFloats, 0.0031308f)), line, curve);
    }

  private:
    // inLinear^(1 / 2.4).
    static HWY_INLINE V Root(V inLinear) {
        if constexpr (kHasLongVectors) {
            if (HWY_LIKELY(IsInTable<kTo5Over12>(inLinear)))
                return PowerByTable<kTo5Over12>(inLinear);
        }
        return hn::Mul(inLinear, Power<-7, 12>(inLinear));
    }
};

template <class Curve>
void WithCurve(const PlanarRow& ioRow, std::int32_t inWidth, const Matrix3x3& inMatrix) {
    std::int32_t x = 0;
    for (; x + Step() <= inWidth; x += Step()) {
        for (std::size_t plane = 0; plane < kColourPlaneCount; ++plane) {
            float* const samples = ioRow[plane] + x;
            const V value = hn::LoadU(kFloats, samples);
            hn::StoreU(hn::CopySign(Curve::Of(hn::Abs(value)), value), kFloats, samples);
        }
    }
    RunRest(Curve::kStep, ioRow, x, inWidth, inMatrix);
}

// ---- Chroma -------------------------------------------------------------------------------------

std::int32_t SpreadVectors(const float* inHalf, std::int32_t inWidth, float* HWY_RESTRICT outFull) {
    const std::int32_t last = HalfWidth(inWidth) - 1;
    std::int32_t x = 0;
    for (; x + Step() <= last; x += Step()) {
        const V samples = hn::LoadU(kFloats, inHalf + x);
        const V sums = hn::Add(samples, hn::LoadU(kFloats, inHalf + x + 1));
        hn::StoreInterleaved2(samples, hn::Mul(sums, hn::Set(kFloats, 0.5f)), kFloats,
                              outFull + 2 * x);
    }
    return x;
}

std::int32_t HalveVectors(const float* inFull, std::int32_t inWidth, float* HWY_RESTRICT outHalf) {
    const std::int32_t last = HalfWidth(inWidth) - 1;
    const V quarter = hn::Set(kFloats, 0.25f);
    std::int32_t x = 1;
    for (; x + Step() <= last; x += Step()) {
        V left, centre, right;
        hn::LoadInterleaved2(kFloats, inFull + 2 * x - 1, left, centre);
        hn::LoadInterleaved2(kFloats, inFull + 2 * x, centre, right);
        const V ends = hn::Mul(hn::Add(left, right), quarter);
        hn::StoreU(hn::MulAdd(centre, hn::Set(kFloats, 0.5f), ends), kFloats, outHalf + x);
    }
    return x;
}

// ---- The choice ---------------------------------------------------------------------------------

RunColourStep FindColourStep(ColourStep inStep) {
    switch (inStep) {
        case ColourStep::MakeOpaque:
            return FillAlpha;
        case ColourStep::Premultiply:
            return WithAlpha<TimesAlpha>;
        case ColourStep::Unpremultiply:
            return WithAlpha<DividedByAlpha>;
        case ColourStep::ApplyMatrix:
            return WithMatrix;
        case ColourStep::ApplyMatrixOnHalfChroma:
            return nullptr;
        case ColourStep::ToLinearLight:
            return WithCurve<ToLinear>;
        case ColourStep::FromLinearLight:
            return WithCurve<FromLinear>;
    }
    return nullptr;
}

#endif

}  // namespace
}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(FindColourStep);
HWY_EXPORT(SpreadVectors);
HWY_EXPORT(HalveVectors);

}  // namespace

RunColourStep VectorColourStep(ColourStep inStep) {
    return HWY_DYNAMIC_DISPATCH(FindColourStep)(inStep);
}

std::int32_t SpreadChromaVectors(const float* inHalf, std::int32_t inWidth,
                                 float* __restrict outFull) {
    return HWY_DYNAMIC_DISPATCH(SpreadVectors)(inHalf, inWidth, outFull);
}

std::int32_t HalveChromaVectors(const float* inFull, std::int32_t inWidth,
                                float* __restrict outHalf) {
    return HWY_DYNAMIC_DISPATCH(HalveVectors)(inFull, inWidth, outHalf);
}

}  // namespace scanvo

#endif

// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
// The fallback for all operations, rather than the one for single lanes.
#define HWY_BROKEN_EMU128 0
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/SampleRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "fast/SampleRows.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Ints = hn::ScalableTag<std::int32_t>;
using Pixels = hn::ScalableTag<std::uint32_t>;
using Shorts = hn::Repartition<std::int16_t, Ints>;
using FloatLanes = hn::Vec<Floats>;
using IntLanes = hn::Vec<Ints>;
using PixelLanes = hn::Vec<Pixels>;
using ShortLanes = hn::Vec<Shorts>;

// ---- Places -------------------------------------------------------------------------------------

// A multiple of all vectors' lanes, and few enough to step through a map in single precision.
constexpr std::int32_t kPlacesAtOnce = 64;

// The first of up to two pixels each way, and how far the place is from it to the second.
struct Places {
    HWY_ALIGN std::int32_t x[kPlacesAtOnce];
    HWY_ALIGN std::int32_t y[kPlacesAtOnce];
    HWY_ALIGN float acrossX[kPlacesAtOnce];
    HWY_ALIGN float acrossY[kPlacesAtOnce];
};

// Splits places along one axis into pixel and fraction; inMost is the last place.
HWY_INLINE void Split(FloatLanes inPlace, float inMost, std::int32_t inLastFirst,
                      std::int32_t* outPixel, float* outFraction) {
    const Floats floats;
    const Ints ints;
    const auto place = hn::Min(hn::Max(inPlace, hn::Zero(floats)), hn::Set(floats, inMost));
    // The lower bound is for a place that is no number, lest memory elsewhere is read.
    const auto pixel =
        hn::Min(hn::Max(hn::ConvertTo(ints, place), hn::Zero(ints)), hn::Set(ints, inLastFirst));
    hn::Store(pixel, ints, outPixel);
    hn::Store(hn::Sub(place, hn::ConvertTo(floats, pixel)), floats, outFraction);
}

// Of all kPlacesAtOnce pixels from number inFirst on. Bilinear places count from the centre of the
// first pixel, nearest ones from its edge.
void FindPlaces(const Source& inPicture, const MapLine& inLine, std::int32_t inFirst,
                bool inIsNearest, Places& outPlaces) {
    const Floats floats;
    const double w = inLine.w + inFirst * inLine.stepW;
    const double centre = inIsNearest ? 0 : 0.5;
    const auto start = [=](double value, double step) HWY_ATTR {
        return hn::Set(Floats(), static_cast<float>(value + inFirst * step - centre * w));
    };
    const auto advance = [=, &inLine](double step) HWY_ATTR {
        return hn::Set(Floats(), static_cast<float>(step - centre * inLine.stepW));
    };
    const auto startX = start(inLine.x, inLine.stepX);
    const auto startY = start(inLine.y, inLine.stepY);
    const auto startW = hn::Set(floats, static_cast<float>(w));
    const auto stepX = advance(inLine.stepX);
    const auto stepY = advance(inLine.stepY);
    const auto stepW = hn::Set(floats, static_cast<float>(inLine.stepW));
    const auto leastW = hn::Set(floats, static_cast<float>(inLine.leastW));
    const auto one = hn::Set(floats, 1.0f);
    const std::int32_t lastFirstX = std::max(inPicture.width - (inIsNearest ? 1 : 2), 0);
    const std::int32_t lastFirstY = std::max(inPicture.height - (inIsNearest ? 1 : 2), 0);
    const auto mostX = static_cast<float>(inPicture.width - 1);
    const auto mostY = static_cast<float>(inPicture.height - 1);
    const float beyond = inIsNearest ? 1 : 0;
    for (std::int32_t i = 0; i < kPlacesAtOnce; i += static_cast<std::int32_t>(hn::Lanes(floats))) {
        const auto number = hn::Iota(floats, static_cast<float>(i));
        const auto scale = hn::Div(one, hn::Max(hn::MulAdd(number, stepW, startW), leastW));
        Split(hn::Mul(hn::MulAdd(number, stepX, startX), scale), mostX + beyond, lastFirstX,
              outPlaces.x + i, outPlaces.acrossX + i);
        Split(hn::Mul(hn::MulAdd(number, stepY, startY), scale), mostY + beyond, lastFirstY,
              outPlaces.y + i, outPlaces.acrossY + i);
    }
}

HWY_INLINE const std::byte* PixelAt(const Source& inPicture, const Places& inPlaces,
                                    std::int32_t inNumber) {
    return RowAt(inPicture, inPlaces.y[inNumber]) +
           std::int64_t{inPlaces.x[inNumber]} * inPicture.format.unitBytes;
}

// Calls inWork(places, their count, where to write) until all pixels are done.
template <bool isNearest, class Work>
HWY_INLINE void ForPlaces(const Source& inPicture, const MapLine& inLine, std::int32_t inCount,
                          std::byte* outPixels, const Work& inWork) {
    Places places;
    for (std::int32_t first = 0; first < inCount; first += kPlacesAtOnce) {
        FindPlaces(inPicture, inLine, first, isNearest, places);
        inWork(places, std::min(inCount - first, kPlacesAtOnce),
               outPixels + std::int64_t{first} * inPicture.format.unitBytes);
    }
}

template <std::size_t pixelBytes>
void SampleNearest(const Source& inPicture, const MapLine& inLine, std::int32_t inCount,
                   std::byte* outPixels) {
    ForPlaces<true>(inPicture, inLine, inCount, outPixels,
                    [&](const Places& places, std::int32_t count, std::byte* out) HWY_ATTR {
                        for (std::int32_t i = 0; i < count; ++i, out += pixelBytes)
                            std::memcpy(out, PixelAt(inPicture, places, i), pixelBytes);
                    });
}

// ---- Pixels one at a time, a lane for each component --------------------------------------------

constexpr std::size_t kComponents = 4;
using Quad = hn::CappedTag<float, kComponents>;
using QuadLanes = hn::Vec<Quad>;

template <class Code>
HWY_INLINE QuadLanes LoadPixel(const std::byte* inPixel) {
    Code codes[kComponents];
    std::memcpy(codes, inPixel, sizeof(codes));
    if constexpr (std::is_same_v<Code, float>) {
        return hn::LoadU(Quad(), codes);
    } else {
        const hn::RebindToSigned<Quad> wide;
        return hn::ConvertTo(Quad(),
                             hn::PromoteTo(wide, hn::LoadU(hn::Rebind<Code, Quad>(), codes)));
    }
}

template <class Code>
HWY_INLINE void StorePixel(QuadLanes inPixel, std::byte* outPixel) {
    Code codes[kComponents];
    if constexpr (std::is_same_v<Code, float>) {
        hn::StoreU(inPixel, Quad(), codes);
    } else {
        const hn::RebindToSigned<Quad> wide;
        const auto rounded = hn::ConvertTo(wide, hn::Add(inPixel, hn::Set(Quad(), 0.5f)));
        const hn::Rebind<Code, Quad> narrow;
        hn::StoreU(hn::DemoteTo(narrow, rounded), narrow, codes);
    }
    std::memcpy(outPixel, codes, sizeof(codes));
}

// Where straight colour counts by its alpha; alpha itself counts as it is.
class Weighing {
  public:
    explicit Weighing(const Format& inFormat)
        : isReversed_(inFormat.isReversed),
          alphaPlace_(hn::Set(hn::RebindToSigned<Quad>(), inFormat.isReversed ? 0 : 3)) {}

    HWY_INLINE QuadLanes AlphaOf(QuadLanes inPixel) const {
        return isReversed_ ? hn::Broadcast<0>(inPixel) : hn::Broadcast<3>(inPixel);
    }

    HWY_INLINE QuadLanes Weighed(QuadLanes inPixel) const {
        return ButAlpha(inPixel, hn::Mul(inPixel, AlphaOf(inPixel)));
    }

    // Where all is transparent, colour counts as if it were not.
    HWY_INLINE QuadLanes Unweighed(QuadLanes inWeighed, QuadLanes inPlain) const {
        const QuadLanes alpha = AlphaOf(inWeighed);
        const auto isSeen = hn::Gt(alpha, hn::Zero(Quad()));
        return hn::IfThenElse(isSeen, ButAlpha(inWeighed, hn::Div(inWeighed, alpha)), inPlain);
    }

  private:
    HWY_INLINE QuadLanes ButAlpha(QuadLanes inAlpha, QuadLanes inColour) const {
        const auto isAlpha = hn::Eq(hn::Iota(hn::RebindToSigned<Quad>(), 0), alphaPlace_);
        return hn::IfThenElse(hn::RebindMask(Quad(), isAlpha), inAlpha, inColour);
    }

    bool isReversed_;
    hn::Vec<hn::RebindToSigned<Quad>> alphaPlace_;
};

// What is the same in both stays exactly that.
HWY_INLINE QuadLanes Between(QuadLanes inFirst, QuadLanes inSecond, QuadLanes inShare) {
    return hn::MulAdd(hn::Sub(inSecond, inFirst), inShare, inFirst);
}

template <class Code, bool weighs>
void SampleBilinear(const Source& inPicture, const MapLine& inLine, std::int32_t inCount,
                    std::byte* outPixels) {
    const Weighing weighing(inPicture.format);
    const std::int64_t right = inPicture.width > 1 ? inPicture.format.unitBytes : 0;
    const std::int64_t below = inPicture.height > 1 ? inPicture.rowBytes : 0;
    ForPlaces<false>(
        inPicture, inLine, inCount, outPixels,
        [&](const Places& places, std::int32_t count, std::byte* out) HWY_ATTR {
            for (std::int32_t i = 0; i < count; ++i, out += kComponents * sizeof(Code)) {
                const std::byte* const first = PixelAt(inPicture, places, i);
                const QuadLanes x = hn::Set(Quad(), places.acrossX[i]);
                const QuadLanes y = hn::Set(Quad(), places.acrossY[i]);
                const QuadLanes topLeft = LoadPixel<Code>(first);
                const QuadLanes topRight = LoadPixel<Code>(first + right);
                const QuadLanes bottomLeft = LoadPixel<Code>(first + below);
                const QuadLanes bottomRight = LoadPixel<Code>(first + below + right);
                QuadLanes mean =
                    Between(Between(topLeft, bottomLeft, y), Between(topRight, bottomRight, y), x);
                if constexpr (weighs) {
                    const auto weighed = [&](QuadLanes pixel)
                                             HWY_ATTR { return weighing.Weighed(pixel); };
                    const QuadLanes left = Between(weighed(topLeft), weighed(bottomLeft), y);
                    const QuadLanes rightOne = Between(weighed(topRight), weighed(bottomRight), y);
                    mean = weighing.Unweighed(Between(left, rightOne, x), mean);
                }
                StorePixel<Code>(mean, out);
            }
        });
}

template <class Code, bool weighs>
void LayOver(const Format& inFormat, const std::byte* inPixels, const float* inAmounts,
             std::int32_t inCount, std::byte* ioRow) {
    constexpr std::size_t kPixelBytes = kComponents * sizeof(Code);
    const Weighing weighing(inFormat);
    for (std::int32_t i = 0; i < inCount; ++i) {
        const QuadLanes amount = hn::Set(Quad(), inAmounts[i]);
        const QuadLanes there = LoadPixel<Code>(ioRow);
        const QuadLanes laid = LoadPixel<Code>(inPixels);
        QuadLanes mean = Between(there, laid, amount);
        if constexpr (weighs) {
            mean = weighing.Unweighed(
                Between(weighing.Weighed(there), weighing.Weighed(laid), amount), mean);
        }
        StorePixel<Code>(mean, ioRow);
        inPixels += kPixelBytes;
        ioRow += kPixelBytes;
    }
}

// ---- Bilinear samples of 8-bit pixels -----------------------------------------------------------

// The four pixels around each place.
struct Neighbours {
    PixelLanes topLeft, topRight, bottomLeft, bottomRight;
};

// 15-bit fractions in both halves of every lane. The largest stands for 1: what it lacks is less
// than the rounding.
HWY_INLINE ShortLanes FractionsOf(const float* inFractions) {
    const Floats floats;
    const Ints ints;
    const auto scaled =
        hn::MulAdd(hn::Load(floats, inFractions), hn::Set(floats, 32768.0f), hn::Set(floats, 0.5f));
    const auto fraction = hn::Min(hn::ConvertTo(ints, scaled), hn::Set(ints, 32767));
    return hn::BitCast(Shorts(), hn::Or(fraction, hn::ShiftLeft<16>(fraction)));
}

// Two of the bytes of every pixel as 16-bit lanes; on the way they have six bits more.
HWY_INLINE ShortLanes Interpolate(ShortLanes inTopLeft, ShortLanes inTopRight,
                                  ShortLanes inBottomLeft, ShortLanes inBottomRight,
                                  ShortLanes inAcrossX, ShortLanes inAcrossY) {
    const auto between = [=](ShortLanes top, ShortLanes bottom) HWY_ATTR {
        const auto difference = hn::ShiftLeft<6>(hn::Sub(bottom, top));
        return hn::Add(hn::ShiftLeft<6>(top), hn::MulFixedPoint15(difference, inAcrossY));
    };
    const auto left = between(inTopLeft, inBottomLeft);
    const auto right = between(inTopRight, inBottomRight);
    const auto mean = hn::Add(left, hn::MulFixedPoint15(hn::Sub(right, left), inAcrossX));
    return hn::ShiftRight<6>(hn::Add(mean, hn::Set(Shorts(), 32)));
}

HWY_INLINE PixelLanes InterpolatePlainly(const Neighbours& inAround, ShortLanes inAcrossX,
                                         ShortLanes inAcrossY) {
    const auto even = [](PixelLanes pixels) HWY_ATTR {
        return hn::And(hn::BitCast(Shorts(), pixels), hn::Set(Shorts(), 0xFF));
    };
    const auto odd = [](PixelLanes pixels) HWY_ATTR {
        const hn::RebindToUnsigned<Shorts> words;
        return hn::BitCast(Shorts(), hn::ShiftRight<8>(hn::BitCast(words, pixels)));
    };
    const auto of = [&](const auto& part) HWY_ATTR {
        return Interpolate(part(inAround.topLeft), part(inAround.topRight),
                           part(inAround.bottomLeft), part(inAround.bottomRight), inAcrossX,
                           inAcrossY);
    };
    return hn::BitCast(Pixels(), hn::Or(of(even), hn::ShiftLeft<8>(of(odd))));
}

HWY_INLINE FloatLanes ByteOf(PixelLanes inPixels, int inShift) {
    const auto byte = hn::And(hn::ShiftRightSame(inPixels, inShift), hn::Set(Pixels(), 0xFFu));
    return hn::ConvertTo(Floats(), hn::BitCast(Ints(), byte));
}

HWY_INLINE PixelLanes NearestCode(FloatLanes inValue, int inShift) {
    const auto code = hn::ConvertTo(Ints(), hn::Add(inValue, hn::Set(Floats(), 0.5f)));
    return hn::ShiftLeftSame(hn::BitCast(Pixels(), code), inShift);
}

// Colours count by their alpha; where there is none, as inPlain has them.
HWY_INLINE PixelLanes InterpolateWeighed(const Neighbours& inAround, const float* inAcrossX,
                                         const float* inAcrossY, int inAlphaShift,
                                         PixelLanes inPlain) {
    const Floats floats;
    const auto one = hn::Set(floats, 1.0f);
    const auto x = hn::Load(floats, inAcrossX);
    const auto y = hn::Load(floats, inAcrossY);
    const auto weigh = [=](PixelLanes pixels, FloatLanes across, FloatLanes down) HWY_ATTR {
        return hn::Mul(hn::Mul(across, down), ByteOf(pixels, inAlphaShift));
    };
    const auto topLeft = weigh(inAround.topLeft, hn::Sub(one, x), hn::Sub(one, y));
    const auto topRight = weigh(inAround.topRight, x, hn::Sub(one, y));
    const auto bottomLeft = weigh(inAround.bottomLeft, hn::Sub(one, x), y);
    const auto bottomRight = weigh(inAround.bottomRight, x, y);
    const auto alpha = hn::Add(hn::Add(topLeft, topRight), hn::Add(bottomLeft, bottomRight));
    const auto scale = hn::Div(one, alpha);
    auto result = NearestCode(alpha, inAlphaShift);
    for (int shift = 0; shift < 32; shift += 8) {
        if (shift == inAlphaShift) continue;
        auto sum = hn::Mul(topLeft, ByteOf(inAround.topLeft, shift));
        sum = hn::MulAdd(topRight, ByteOf(inAround.topRight, shift), sum);
        sum = hn::MulAdd(bottomLeft, ByteOf(inAround.bottomLeft, shift), sum);
        sum = hn::MulAdd(bottomRight, ByteOf(inAround.bottomRight, shift), sum);
        result = hn::Or(result, NearestCode(hn::Mul(sum, scale), shift));
    }
    const auto isSeen = hn::Gt(alpha, hn::Zero(floats));
    return hn::IfThenElse(hn::RebindMask(Pixels(), isSeen), result, inPlain);
}

// Pairs of pixels that lie beside each other.
struct PixelPairs {
    HWY_ALIGN std::uint32_t top[2 * kPlacesAtOnce] = {};
    HWY_ALIGN std::uint32_t bottom[2 * kPlacesAtOnce] = {};
};

// One by one, which is faster than the gathering instructions of today's processors.
HWY_INLINE void FetchPairs(const Source& inPicture, const Places& inPlaces, std::int32_t inCount,
                           PixelPairs& outPairs) {
    for (std::int32_t i = 0; i < inCount; ++i) {
        const std::byte* const pixel = PixelAt(inPicture, inPlaces, i);
        std::memcpy(outPairs.top + 2 * i, pixel, 8);
        std::memcpy(outPairs.bottom + 2 * i, pixel + inPicture.rowBytes, 8);
    }
}

// The picture is at least two pixels wide and high.
template <bool weighs>
void SampleBilinear8(const Source& inPicture, const MapLine& inLine, std::int32_t inCount,
                     std::byte* outPixels) {
    const Pixels tag;
    const auto lanes = static_cast<std::int32_t>(hn::Lanes(tag));
    const int alphaShift = inPicture.format.isReversed ? 0 : 24;
    const auto opaque = hn::Set(tag, 0xFFu << alphaShift);
    PixelPairs pairs;
    HWY_ALIGN std::uint32_t pixels[kPlacesAtOnce];
    ForPlaces<false>(
        inPicture, inLine, inCount, outPixels,
        [&](const Places& places, std::int32_t count, std::byte* out) HWY_ATTR {
            FetchPairs(inPicture, places, count, pairs);
            for (std::int32_t i = 0; i < count; i += lanes) {
                Neighbours around;
                hn::LoadInterleaved2(tag, pairs.top + 2 * i, around.topLeft, around.topRight);
                hn::LoadInterleaved2(tag, pairs.bottom + 2 * i, around.bottomLeft,
                                     around.bottomRight);
                auto result = InterpolatePlainly(around, FractionsOf(places.acrossX + i),
                                                 FractionsOf(places.acrossY + i));
                if constexpr (weighs) {
                    const auto all = hn::And(hn::And(around.topLeft, around.topRight),
                                             hn::And(around.bottomLeft, around.bottomRight));
                    if (!hn::AllTrue(tag, hn::Eq(hn::And(all, opaque), opaque))) {
                        result = InterpolateWeighed(around, places.acrossX + i, places.acrossY + i,
                                                    alphaShift, result);
                    }
                }
                hn::Store(result, tag, pixels + i);
            }
            std::memcpy(out, pixels, 4 * static_cast<std::size_t>(count));
        });
}

// ---- The choice ---------------------------------------------------------------------------------

template <bool weighs>
SampleRow BilinearRowOf(const Source& inPicture) {
    const Component component = inPicture.format.component;
    if (component == Component::Unsigned15) return SampleBilinear<std::uint16_t, weighs>;
    if (component == Component::Float) return SampleBilinear<float, weighs>;
    const bool isThin = inPicture.width < 2 || inPicture.height < 2;
    return isThin ? SampleBilinear<std::uint8_t, weighs> : SampleBilinear8<weighs>;
}

SampleRow SampleRowOf(const Source& inPicture, bool inIsNearest) {
    if (!inIsNearest) {
        const bool weighs = inPicture.format.alpha == Alpha::Straight;
        return weighs ? BilinearRowOf<true>(inPicture) : BilinearRowOf<false>(inPicture);
    }
    if (inPicture.format.component == Component::Unsigned15) return SampleNearest<8>;
    return inPicture.format.component == Component::Float ? SampleNearest<16> : SampleNearest<4>;
}

template <bool weighs>
LayPixels LayPixelsBy(Component inComponent) {
    if (inComponent == Component::Unsigned15) return LayOver<std::uint16_t, weighs>;
    return inComponent == Component::Float ? LayOver<float, weighs> : LayOver<std::uint8_t, weighs>;
}

LayPixels LayPixelsOf(const Format& inFormat) {
    const bool weighs = inFormat.alpha == Alpha::Straight;
    return (weighs ? LayPixelsBy<true> : LayPixelsBy<false>)(inFormat.component);
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(SampleRowOf);
HWY_EXPORT(LayPixelsOf);

}  // namespace

SampleRow FindSampleRow(const Source& inPicture, bool inIsNearest) {
    return HWY_DYNAMIC_DISPATCH(SampleRowOf)(inPicture, inIsNearest);
}

LayPixels FindLayPixels(const Format& inFormat) {
    return HWY_DYNAMIC_DISPATCH(LayPixelsOf)(inFormat);
}

}  // namespace scanvo

#endif

// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_DISABLED_TARGETS HWY_SSSE3
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/VectorLayouts.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "fast/Caches.h"
#include "fast/Codes-inl.h"
#include "fast/VectorLayouts.h"

#ifndef SCANVO_FAST_VECTOR_LAYOUTS
#define SCANVO_FAST_VECTOR_LAYOUTS

namespace scanvo {

// Vectors do the whole groups of a row; these are the pixels from inFirst on, which begins a unit.

template <class Byte>
PictureOf<Byte> RestOf(PictureOf<Byte> inPicture, std::int32_t inFirst) {
    inPicture.start += UsedRowBytes(inPicture.format, inFirst);
    inPicture.width -= inFirst;
    return inPicture;
}

inline PlanarRow RestOf(const PlanarRow& inRow, const Format& inFormat, std::int32_t inFirst) {
    const RowShape begin = LoadedShape(inFormat, inFirst);
    // An alpha plane is there even where alpha is ignored.
    return {inRow[0] + begin[0], inRow[1] + begin[1], inRow[2] + begin[2], inRow[3] + inFirst};
}

inline void LoadRest(const Source& inPicture, std::int32_t inRow, const PlanarRow& outRow,
                     std::int32_t inFirst) {
    if (inFirst == inPicture.width) return;
    PlainAccessTo(inPicture.format)
        .Load(RestOf(inPicture, inFirst), inRow, RestOf(outRow, inPicture.format, inFirst));
}

inline void StoreRest(const PlanarRow& inRow, const Destination& outPicture,
                      std::int32_t inRowNumber, std::int32_t inFirst) {
    if (inFirst == outPicture.width) return;
    PlainAccessTo(outPicture.format)
        .Store(RestOf(inRow, outPicture.format, inFirst), RestOf(outPicture, inFirst), inRowNumber);
}

// What lies at each place of a pixel: blue, green, red, alpha, or the other way round.
constexpr std::size_t PlaneAt(bool inIsReversed, std::size_t inPlace) {
    return (inIsReversed ? inPlace + 3 : 6 - inPlace) % 4;
}

}  // namespace scanvo

#endif

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

RowFunctions FindLayout(const Format&) {
    return {};
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// ---- Codes and samples --------------------------------------------------------------------------

// One plane of a format, by its ranges.
template <class D>
struct PlaneCodes {
    using V = hn::Vec<D>;
    using Unsigned = hn::RebindToUnsigned<D>;

    PlaneCodes(const CodeRanges& inRanges, std::size_t inPlane)
        : offset(hn::Set(D(), inRanges.offset[inPlane])),
          scale(hn::Set(D(), inRanges.scale[inPlane])),
          high(hn::Set(D(), ReciprocalOf(inRanges.scale[inPlane]).high)),
          low(hn::Set(D(), ReciprocalOf(inRanges.scale[inPlane]).low)),
          maximum(inRanges.maximum) {}

    HWY_INLINE V Samples(hn::Vec<Unsigned> inCodes) const {
        const auto codes = hn::ConvertTo(D(), hn::BitCast(hn::RebindToSigned<D>(), inCodes));
        return Quotient(hn::Sub(codes, offset), high, low);
    }
    /// As NearestCode has them.
    HWY_INLINE hn::Vec<Unsigned> Codes(V inSamples) const {
        return NearestCode(D(), inSamples, scale, offset, maximum);
    }

    V offset, scale, high, low;
    float maximum;
};

constexpr hn::ScalableTag<float> kFloats;
constexpr hn::ScalableTag<std::uint32_t> kWords;
using Floats = decltype(kFloats);
using Words = hn::Vec<decltype(kWords)>;

template <int shift, int bits>
HWY_INLINE Words Field(Words inWords) {
    const Words shifted = hn::ShiftRight<shift>(inWords);
    if constexpr (shift + bits == 32) return shifted;
    return hn::And(shifted, hn::Set(kWords, (1u << bits) - 1));
}

std::int32_t Step() {
    return static_cast<std::int32_t>(hn::Lanes(kFloats));
}

// ---- Packed 4:4:4:4 -----------------------------------------------------------------------------

template <bool isReversed>
void LoadBytes(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
               const PlanarRow& outRow) {
    const std::byte* const row = RowAt(inPicture, inRow);
    const PlaneCodes<Floats> codes[] = {{inRanges, 0}, {inRanges, 1}, {inRanges, 2}, {inRanges, 3}};
    float* const planes[] = {outRow[0], outRow[1], outRow[2], outRow[3]};
    std::int32_t x = 0;
    for (; x + Step() <= inPicture.width; x += Step()) {
        const Words pixels = LoadCodes(kWords, row + std::int64_t{x} * 4);
        const auto store = [&](std::size_t plane, Words bytes) HWY_ATTR {
            hn::StoreU(codes[plane].Samples(bytes), kFloats, planes[plane] + x);
        };
        store(PlaneAt(isReversed, 0), Field<0, 8>(pixels));
        store(PlaneAt(isReversed, 1), Field<8, 8>(pixels));
        store(PlaneAt(isReversed, 2), Field<16, 8>(pixels));
        store(PlaneAt(isReversed, 3), Field<24, 8>(pixels));
    }
    LoadRest(inPicture, inRow, outRow, x);
}

template <bool isReversed>
void StoreBytes(const PlanarRow& inRow, const CodeRanges& inRanges, const Destination& outPicture,
                std::int32_t inRowNumber) {
    std::byte* const row = RowAt(outPicture, inRowNumber);
    const PlaneCodes<Floats> codes[] = {{inRanges, 0}, {inRanges, 1}, {inRanges, 2}, {inRanges, 3}};
    const float* const planes[] = {inRow[0], inRow[1], inRow[2], inRow[3]};
    std::int32_t x = 0;
    for (; x + Step() <= outPicture.width; x += Step()) {
        const auto codeAt = [&](std::size_t place) HWY_ATTR {
            const std::size_t plane = PlaneAt(isReversed, place);
            return codes[plane].Codes(hn::LoadU(kFloats, planes[plane] + x));
        };
        // Shifts drop what lies above the codes.
        const Words first = hn::And(codeAt(0), hn::Set(kWords, 0xFF));
        const Words middle = hn::Or(hn::ShiftLeft<8>(codeAt(1)), hn::ShiftLeft<16>(codeAt(2)));
        StoreCodes(kWords, hn::Or3(first, middle, hn::ShiftLeft<24>(codeAt(3))),
                   row + std::int64_t{x} * 4);
    }
    StoreRest(inRow, outPicture, inRowNumber, x);
}

template <bool isReversed>
void Load15Bit(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
               const PlanarRow& outRow) {
    const std::byte* const row = RowAt(inPicture, inRow);
    const PlaneCodes<Floats> codes(inRanges, 0);
    float* const planes[] = {outRow[0], outRow[1], outRow[2], outRow[3]};
    std::int32_t x = 0;
    for (; x + Step() <= inPicture.width; x += Step()) {
        const std::byte* const pixels = row + std::int64_t{x} * 8;
        const Words first = LoadCodes(kWords, pixels);
        const Words second = LoadCodes(kWords, pixels + std::int64_t{Step()} * 4);
        const Words lower = hn::ConcatEven(kWords, second, first);
        const Words upper = hn::ConcatOdd(kWords, second, first);
        const auto store = [&](std::size_t plane, Words words) HWY_ATTR {
            hn::StoreU(codes.Samples(words), kFloats, planes[plane] + x);
        };
        store(PlaneAt(isReversed, 0), Field<0, 16>(lower));
        store(PlaneAt(isReversed, 1), Field<16, 16>(lower));
        store(PlaneAt(isReversed, 2), Field<0, 16>(upper));
        store(PlaneAt(isReversed, 3), Field<16, 16>(upper));
    }
    LoadRest(inPicture, inRow, outRow, x);
}

template <bool isReversed>
void Store15Bit(const PlanarRow& inRow, const CodeRanges& inRanges, const Destination& outPicture,
                std::int32_t inRowNumber) {
    std::byte* const row = RowAt(outPicture, inRowNumber);
    const PlaneCodes<Floats> codes(inRanges, 0);
    const float* const planes[] = {inRow[0], inRow[1], inRow[2], inRow[3]};
    std::int32_t x = 0;
    for (; x + Step() <= outPicture.width; x += Step()) {
        const auto codeAt = [&](std::size_t place) HWY_ATTR {
            return codes.Codes(hn::LoadU(kFloats, planes[PlaneAt(isReversed, place)] + x));
        };
        const auto pairAt = [&](std::size_t place) HWY_ATTR {
            return hn::OrAnd(hn::ShiftLeft<16>(codeAt(place + 1)), codeAt(place),
                             hn::Set(kWords, 0xFFFF));
        };
        const Words lower = pairAt(0), upper = pairAt(2);
        hn::StoreInterleaved2(lower, upper, kWords,
                              reinterpret_cast<std::uint32_t*>(row + std::int64_t{x} * 8));
    }
    StoreRest(inRow, outPicture, inRowNumber, x);
}

template <bool isReversed>
void LoadFloats(const Source& inPicture, std::int32_t inRow, const CodeRanges&,
                const PlanarRow& outRow) {
    const std::byte* const row = RowAt(inPicture, inRow);
    float* const planes[] = {outRow[0], outRow[1], outRow[2], outRow[3]};
    std::int32_t x = 0;
    for (; x + Step() <= inPicture.width; x += Step()) {
        hn::Vec<Floats> first, second, third, fourth;
        hn::LoadInterleaved4(kFloats, reinterpret_cast<const float*>(row + std::int64_t{x} * 16),
                             first, second, third, fourth);
        hn::StoreU(first, kFloats, planes[PlaneAt(isReversed, 0)] + x);
        hn::StoreU(second, kFloats, planes[PlaneAt(isReversed, 1)] + x);
        hn::StoreU(third, kFloats, planes[PlaneAt(isReversed, 2)] + x);
        hn::StoreU(fourth, kFloats, planes[PlaneAt(isReversed, 3)] + x);
    }
    LoadRest(inPicture, inRow, outRow, x);
}

// Whether a row of a large picture can be written past the caches.
bool IsStreamed(const Destination& inPicture, const std::byte* inRow) {
    const std::int64_t bytes = inPicture.rowBytes * inPicture.height;
    return IsWorthStreaming(bytes < 0 ? -bytes : bytes) &&
           reinterpret_cast<std::uintptr_t>(inRow) % (sizeof(float) * hn::Lanes(kFloats)) == 0;
}

void StreamPixels(const float* inPixels, float* outPixels) {
    const std::size_t lanes = hn::Lanes(kFloats);
    for (std::size_t i = 0; i < 4 * lanes; i += lanes)
        hn::Stream(hn::Load(kFloats, inPixels + i), kFloats, outPixels + i);
}

template <bool isReversed>
void StoreFloats(const PlanarRow& inRow, const CodeRanges&, const Destination& outPicture,
                 std::int32_t inRowNumber) {
    std::byte* const row = RowAt(outPicture, inRowNumber);
    const float* const planes[] = {inRow[0], inRow[1], inRow[2], inRow[3]};
    const bool isStreamed = IsStreamed(outPicture, row);
    HWY_ALIGN float streamed[4 * hn::MaxLanes(kFloats)];
    std::int32_t x = 0;
    for (; x + Step() <= outPicture.width; x += Step()) {
        auto* const pixels = reinterpret_cast<float*>(row + std::int64_t{x} * 16);
        hn::StoreInterleaved4(hn::LoadU(kFloats, planes[PlaneAt(isReversed, 0)] + x),
                              hn::LoadU(kFloats, planes[PlaneAt(isReversed, 1)] + x),
                              hn::LoadU(kFloats, planes[PlaneAt(isReversed, 2)] + x),
                              hn::LoadU(kFloats, planes[PlaneAt(isReversed, 3)] + x), kFloats,
                              isStreamed ? streamed : pixels);
        if (isStreamed) StreamPixels(streamed, pixels);
    }
    if (isStreamed) hwy::FlushStream();
    StoreRest(inRow, outPicture, inRowNumber, x);
}

// ---- The choice ---------------------------------------------------------------------------------

struct LayoutRow {
    Layout layout;
    Component component;
    bool isReversed;
    RowFunctions functions;
};

constexpr LayoutRow kLayoutRows[] = {
    {Layout::Packed4444, Component::Unsigned8, false, {LoadBytes<false>, StoreBytes<false>}},
    {Layout::Packed4444, Component::Unsigned8, true, {LoadBytes<true>, StoreBytes<true>}},
    {Layout::Packed4444, Component::Unsigned15, false, {Load15Bit<false>, Store15Bit<false>}},
    {Layout::Packed4444, Component::Unsigned15, true, {Load15Bit<true>, Store15Bit<true>}},
    {Layout::Packed4444, Component::Float, false, {LoadFloats<false>, StoreFloats<false>}},
    {Layout::Packed4444, Component::Float, true, {LoadFloats<true>, StoreFloats<true>}},
};

RowFunctions FindLayout(const Format& inFormat) {
    for (const LayoutRow& each : kLayoutRows) {
        if (each.layout == inFormat.layout && each.component == inFormat.component &&
            each.isReversed == inFormat.isReversed) {
            return each.functions;
        }
    }
    return {};
}

#endif

}  // namespace
}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(FindLayout);

}  // namespace

RowFunctions VectorLayoutOf(const Format& inFormat) {
    return HWY_DYNAMIC_DISPATCH(FindLayout)(inFormat);
}

}  // namespace scanvo

#endif

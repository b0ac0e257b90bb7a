#include "operations/Alpha.h"

#include <algorithm>
#include <cstring>

#include "fast/AlphaRows.h"
#include "operations/Conversion.h"
#include "operations/Dissolve.h"
#include "operations/Fill.h"
#include "rows/RowPlan.h"
#include "rows/RowWriter.h"

namespace scanvo {
namespace {

constexpr float kWhite15 = 32768;

std::size_t AlphaPlace(const Format& inFormat) {
    return inFormat.isReversed ? 0 : 3;
}

// A pattern of which every alpha is inAlpha and everything else inOther.
PixelPattern AlphaPattern(const Format& inFormat, const std::byte* inAlpha, std::byte inOther) {
    const std::size_t bytes = static_cast<std::size_t>(inFormat.unitBytes) / kPlaneCount;
    PixelPattern pattern;
    pattern.fill(std::to_integer<std::uint8_t>(inOther));
    for (std::size_t at = AlphaPlace(inFormat) * bytes; at < pattern.size();
         at += bytes * kPlaneCount)
        std::memcpy(pattern.data() + at, inAlpha, bytes);
    return pattern;
}

// The code of an alpha, and nothing behind it.
struct AlphaCode {
    std::byte bytes[sizeof(float)]{};
};

AlphaCode CodeOf(const Format& inFormat, float inAlpha) {
    AlphaCode code;
    if (inFormat.component == Component::Float) {
        std::memcpy(code.bytes, &inAlpha, sizeof(inAlpha));
        return code;
    }
    const float white = inFormat.component == Component::Unsigned15 ? kWhite15 : 255;
    const auto value = static_cast<std::uint32_t>(std::clamp(inAlpha, 0.0f, 1.0f) * white + 0.5f);
    std::memcpy(code.bytes, &value, sizeof(value));
    return code;
}

// Calls inWrite(row, where to write it, its bytes) for all rows of two pictures alike.
template <class Write>
void ForEachRow(const Source& inSource, const Destination& outDestination, const Write& inWrite) {
    const auto bytes = static_cast<std::size_t>(UsedRowBytes(inSource.format, inSource.width));
    for (std::int32_t row = 0; row < inSource.height; ++row)
        inWrite(RowAt(inSource, row), RowAt(outDestination, row), bytes);
}

void ReplaceAlpha(const Source& inSource, const Destination& outDestination,
                  const PixelPattern& inKept, const PixelPattern& inFlipped) {
    const ReplaceBits replace = FindReplaceBits();
    ForEachRow(inSource, outDestination,
               [&](const std::byte* inRow, std::byte* outRow, std::size_t inBytes) {
                   replace(inRow, outRow, inBytes, inKept, inFlipped);
               });
}

// ---- Alpha inverted -----------------------------------------------------------------------------

std::uint16_t Inverted(std::uint16_t inAlpha) {
    return static_cast<std::uint16_t>(32768 - std::min<int>(inAlpha, 32768));
}

float Inverted(float inAlpha) {
    return 1 - inAlpha;
}

template <class Code>
void InvertCodes(const Source& inSource, const Destination& outDestination) {
    constexpr std::size_t kPixelBytes = sizeof(Code) * kPlaneCount;
    const std::size_t alphaOffset = AlphaPlace(inSource.format) * sizeof(Code);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        const std::byte* in = RowAt(inSource, row);
        std::byte* out = RowAt(outDestination, row);
        for (std::int32_t x = 0; x < inSource.width; ++x) {
            Code alpha;
            std::memcpy(&alpha, in + alphaOffset, sizeof(alpha));
            alpha = Inverted(alpha);
            std::memmove(out, in, kPixelBytes);
            std::memcpy(out + alphaOffset, &alpha, sizeof(alpha));
            in += kPixelBytes;
            out += kPixelBytes;
        }
    }
}

void InvertBytes(const Source& inSource, const Destination& outDestination) {
    constexpr std::byte kOnes[sizeof(float)] = {std::byte{0xFF}};
    PixelPattern all;
    all.fill(0xFF);
    ReplaceAlpha(inSource, outDestination, all, AlphaPattern(inSource.format, kOnes, std::byte{0}));
}

// ---- Over black ---------------------------------------------------------------------------------

// Whether pixels differ in what their alpha means at most, so that none need be converted.
bool IsSameButAlpha(Format inFirst, const Format& inSecond) {
    inFirst.alpha = inSecond.alpha;
    return inFirst == inSecond;
}

// Y'CbCr is V, U, Y', A.
PixelPattern BlackPattern(const Format& inFormat) {
    constexpr std::uint8_t kLuma = 16;
    constexpr std::uint8_t kChroma = 128;
    PixelPattern black{};
    if (inFormat.colour != Colour::YCbCr) return black;
    for (std::size_t i = 0; i < black.size(); ++i)
        black[i] = i % kPlaneCount == 2 ? kLuma : kChroma;
    return black;
}

Darkening DarkeningOf(const Format& inFormat, float inOpacity) {
    constexpr std::byte kOpaque[sizeof(float)] = {std::byte{0xFF}};
    Darkening darkening;
    darkening.opacity = inOpacity;
    darkening.black = BlackPattern(inFormat);
    if (inFormat.alpha == Alpha::Straight)
        darkening.alphaPlace = static_cast<int>(AlphaPlace(inFormat));
    darkening.opaque = AlphaPattern(inFormat, kOpaque, std::byte{0});
    return darkening;
}

void DarkenCodes(const Source& inSource, const Destination& outDestination, float inOpacity) {
    const Darkening darkening = DarkeningOf(inSource.format, inOpacity);
    const DarkenRow darken = FindDarkenRow(darkening);
    ForEachRow(inSource, outDestination,
               [&](const std::byte* inRow, std::byte* outRow, std::size_t inBytes) {
                   darken(inRow, outRow, inBytes, darkening);
               });
}

// A black picture all of whose rows are the same memory.
Source BlackPicture(const Destination& inLike, Scratch& ioScratch) {
    const Format& format = inLike.format;
    const bool isPlanar = format.layout == Layout::Planar;
    std::byte* const bytes = ioScratch.Bytes(isPlanar ? PictureBytes(format, inLike.width, 1)
                                                      : UsedRowBytes(format, inLike.width));
    const Destination row = isPlanar ? PlanarPicture(bytes, inLike.width, 1, format)
                                     : Destination{bytes, 0, inLike.width, 1, format};
    FillWithValue(row, FillValue::OpaqueBlack);
    Source black{row.start, 0, inLike.width, inLike.height, format};
    for (std::size_t i = 0; i < black.chroma.size(); ++i)
        black.chroma[i] = {row.chroma[i].start, 0, row.chroma[i].step};
    return black;
}

void DarkenPlane(float* ioSamples, const float* inAlpha, std::int32_t inCount, float inOpacity) {
    for (std::int32_t i = 0; i < inCount; ++i)
        ioSamples[i] *= inAlpha != nullptr ? inAlpha[i] * inOpacity : inOpacity;
}

// Opaque pixels are the same in every form of alpha, so that the rest of the plan leaves them.
void DarkenFetched(const RowPlan& inPlan, bool inIsStraight, float inOpacity,
                   const PlanarRow& ioFetched) {
    const float* const alpha = inIsStraight ? ioFetched[kAlphaPlane] : nullptr;
    for (std::size_t plane = 0; plane < kColourPlaneCount; ++plane)
        DarkenPlane(ioFetched[plane], alpha, inPlan.fetchedShape[plane], inOpacity);
    std::fill_n(ioFetched[kAlphaPlane], inPlan.fetchedShape[kAlphaPlane], 1.0f);
}

}  // namespace

void InvertAlpha(const Source& inSource, const Destination& outDestination) {
    const Format& format = inSource.format;
    if (!HasAlpha(format)) {
        ConvertPicture(inSource, outDestination);
    } else if (format.component == Component::Unsigned8) {
        InvertBytes(inSource, outDestination);
    } else if (format.component == Component::Unsigned15) {
        InvertCodes<std::uint16_t>(inSource, outDestination);
    } else {
        InvertCodes<float>(inSource, outDestination);
    }
}

void CopyAndSetAlpha(const Source& inSource, const Destination& outDestination, float inAlpha) {
    const Format& format = inSource.format;
    if (format.alpha == Alpha::None) {
        ConvertPicture(inSource, outDestination);
    } else {
        constexpr std::byte kZero[sizeof(float)] = {};
        const AlphaCode code = CodeOf(format, inAlpha);
        ReplaceAlpha(inSource, outDestination, AlphaPattern(format, kZero, std::byte{0xFF}),
                     AlphaPattern(format, code.bytes, std::byte{0}));
    }
}

void CompositeToBlack(const Source& inSource, const Destination& outDestination, float inOpacity) {
    const Format& from = inSource.format;
    const Format& to = outDestination.format;
    Scratch scratch;
    if (from == to && from.layout != Layout::Packed4444) {
        DissolvePictures(BlackPicture(outDestination, scratch), inSource, outDestination,
                         inOpacity);
        return;
    }
    if (from.component == Component::Unsigned8 && IsSameButAlpha(from, to)) {
        DarkenCodes(inSource, outDestination, inOpacity);
        return;
    }
    const RowPlan plan = PlanConversion(from, to, inSource.width);
    const WorkRows work = MakeWorkRows(plan, scratch);
    const PlanarRow fetched = scratch.Row(plan.width);
    RowWriter writer(outDestination, scratch);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        FetchRow(plan, inSource, row, work, fetched);
        DarkenFetched(plan, from.alpha == Alpha::Straight, inOpacity, fetched);
        writer.Write(FinishedRow(plan, fetched, work), row);
    }
}

}  // namespace scanvo

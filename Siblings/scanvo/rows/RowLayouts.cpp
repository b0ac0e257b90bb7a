#include "rows/RowLayouts.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <type_traits>

#include "fast/VectorLayouts.h"
#include "rows/HalfRowLayouts.h"
#include "rows/PlanarLayouts.h"

namespace scanvo {
namespace {

static_assert(std::endian::native == std::endian::little,
              "multi-byte codes are little-endian in memory");

template <class Value>
Value ReadAt(const std::byte* inRow, std::int64_t inIndex) {
    Value value;
    std::memcpy(&value, inRow + inIndex * std::int64_t{sizeof(Value)}, sizeof(Value));
    return value;
}

template <class Value>
void WriteAt(std::byte* outRow, std::int64_t inIndex, Value inValue) {
    std::memcpy(outRow + inIndex * std::int64_t{sizeof(Value)}, &inValue, sizeof(Value));
}

// ---- Packed 4:4:4:4 -----------------------------------------------------------------------------

// Where planes 0 to 3 lie within a pixel. V, U, Y', A has the places of B, G, R, A.
constexpr std::array<int, kPlaneCount> kPlaces = {2, 1, 0, 3};
constexpr std::array<int, kPlaneCount> kReversedPlaces = {1, 2, 3, 0};

// Reading integer codes out of whole 32-bit words, rather than one by one, is what lets a compiler
// turn the loop around this into vector code.
template <class Code>
Code ReadCode(const std::byte* inRow, std::int64_t inPixel, int inPlace) {
    constexpr int kCodesPerWord = 4 / static_cast<int>(sizeof(Code));
    if constexpr (kCodesPerWord == 1) {
        return ReadAt<Code>(inRow, inPixel * kPlaneCount + inPlace);
    } else {
        const auto word =
            ReadAt<std::uint32_t>(inRow, (inPixel * kPlaneCount + inPlace) / kCodesPerWord);
        const int shift = inPlace % kCodesPerWord * static_cast<int>(8 * sizeof(Code));
        return static_cast<Code>(word >> shift);
    }
}

template <class Code>
void LoadPlane4444(const std::byte* inRow, std::int32_t inWidth, int inPlace, float inOffset,
                   float inScale, float* __restrict outPlane) {
    for (std::int32_t x = 0; x < inWidth; ++x) {
        const Code code = ReadCode<Code>(inRow, x, inPlace);
        if constexpr (std::is_same_v<Code, float>) {
            outPlane[x] = code;
        } else {
            outPlane[x] = (static_cast<float>(code) - inOffset) / inScale;
        }
    }
}

template <class Code, bool isReversed>
void Load4444(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
              const PlanarRow& outRow) {
    constexpr auto kPlaceOf = isReversed ? kReversedPlaces : kPlaces;
    const std::byte* const row = RowAt(inPicture, inRow);
    for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
        LoadPlane4444<Code>(row, inPicture.width, kPlaceOf[plane], inRanges.offset[plane],
                            inRanges.scale[plane], outRow[plane]);
    }
}

template <class Code, bool isReversed>
void Store4444(const PlanarRow& inRow, const CodeRanges& inRanges, const Destination& outPicture,
               std::int32_t inRowNumber) {
    constexpr auto kPlaceOf = isReversed ? kReversedPlaces : kPlaces;
    // Copies, because bytes stored might be part of what the arguments refer to.
    const PlanarRow planes = inRow;
    const CodeRanges ranges = inRanges;
    const std::int32_t width = outPicture.width;
    std::byte* __restrict const row = RowAt(outPicture, inRowNumber);
    for (std::int32_t x = 0; x < width; ++x) {
        for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
            const std::int64_t index = std::int64_t{kPlaneCount} * x + kPlaceOf[plane];
            const float sample = planes[plane][x];
            if constexpr (std::is_same_v<Code, float>) {
                WriteAt(row, index, sample);
            } else {
                WriteAt(row, index,
                        static_cast<Code>(Quantise(sample, ranges.offset[plane],
                                                   ranges.scale[plane], ranges.maximum)));
            }
        }
    }
}

// ---- Packed 4:2:2, 8-bit ------------------------------------------------------------------------

// Bit positions within a unit's 32-bit word.
struct UnitShifts {
    int y0, cb, y1, cr;
};
constexpr UnitShifts kUyvy = {8, 0, 24, 16};
constexpr UnitShifts kYuyv = {0, 8, 16, 24};

template <bool isReversed>
void Load422(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
             const PlanarRow& outRow) {
    constexpr UnitShifts kShifts = isReversed ? kYuyv : kUyvy;
    const std::byte* const row = RowAt(inPicture, inRow);
    float* __restrict const luma = outRow[0];
    float* __restrict const cb = outRow[1];
    float* __restrict const cr = outRow[2];
    const CodeRanges ranges = inRanges;
    const auto sampleAt = [&ranges](std::uint32_t unit, int shift, std::size_t plane) {
        const auto code = static_cast<std::int32_t>(unit >> shift & 0xFF);
        return (static_cast<float>(code) - ranges.offset[plane]) / ranges.scale[plane];
    };
    const std::int32_t wholeUnits = inPicture.width / 2;
    for (std::int32_t x = 0; x < wholeUnits; ++x) {
        const auto unit = ReadAt<std::uint32_t>(row, x);
        luma[2 * x] = sampleAt(unit, kShifts.y0, 0);
        luma[2 * x + 1] = sampleAt(unit, kShifts.y1, 0);
        cb[x] = sampleAt(unit, kShifts.cb, 1);
        cr[x] = sampleAt(unit, kShifts.cr, 2);
    }
    if (inPicture.width % 2 != 0) {
        const auto unit = ReadAt<std::uint32_t>(row, wholeUnits);
        luma[2 * wholeUnits] = sampleAt(unit, kShifts.y0, 0);
        cb[wholeUnits] = sampleAt(unit, kShifts.cb, 1);
        cr[wholeUnits] = sampleAt(unit, kShifts.cr, 2);
    }
}

template <bool isReversed>
void Store422(const PlanarRow& inRow, const CodeRanges& inRanges, const Destination& outPicture,
              std::int32_t inRowNumber) {
    constexpr UnitShifts kShifts = isReversed ? kYuyv : kUyvy;
    std::byte* __restrict const row = RowAt(outPicture, inRowNumber);
    const float* const luma = inRow[0];
    const float* const cb = inRow[1];
    const float* const cr = inRow[2];
    const CodeRanges ranges = inRanges;
    const auto codeOf = [&ranges](float sample, std::size_t plane) {
        return static_cast<std::uint32_t>(
            Quantise(sample, ranges.offset[plane], ranges.scale[plane], ranges.maximum));
    };
    const auto unitOf = [&](float y0, float y1, float cbSample, float crSample) {
        return codeOf(y0, 0) << kShifts.y0 | codeOf(y1, 0) << kShifts.y1 |
               codeOf(cbSample, 1) << kShifts.cb | codeOf(crSample, 2) << kShifts.cr;
    };
    const std::int32_t wholeUnits = outPicture.width / 2;
    for (std::int32_t x = 0; x < wholeUnits; ++x) {
        WriteAt(row, x, unitOf(luma[2 * x], luma[2 * x + 1], cb[x], cr[x]));
    }
    if (outPicture.width % 2 != 0) {
        const float last = luma[2 * wholeUnits];
        WriteAt(row, wholeUnits, unitOf(last, last, cb[wholeUnits], cr[wholeUnits]));
    }
}

// ---- v210 ---------------------------------------------------------------------------------------

constexpr int kV210GroupSamples = 12;
constexpr int kV210GroupPixels = 6;
constexpr int kV210GroupBytes = 16;
constexpr std::uint32_t kV210SampleMask = 0x3FF;

using V210Group = std::array<std::uint32_t, kV210GroupSamples>;

// The samples from inCount on are 0.
V210Group UnpackV210(const std::byte* inGroup, int inCount) {
    V210Group samples{};
    for (int i = 0; i < inCount; ++i) {
        samples[static_cast<std::size_t>(i)] =
            ReadAt<std::uint32_t>(inGroup, i / 3) >> i % 3 * 10 & kV210SampleMask;
    }
    return samples;
}

void PackV210(const V210Group& inSamples, std::byte* outGroup) {
    for (std::size_t word = 0; word < kV210GroupSamples / 3; ++word) {
        WriteAt(
            outGroup, static_cast<std::int64_t>(word),
            inSamples[3 * word] | inSamples[3 * word + 1] << 10 | inSamples[3 * word + 2] << 20);
    }
}

// Calls inVisit(first pixel, samples in use) for every group of a row.
template <class Visit>
void ForEachV210Group(std::int32_t inWidth, const Visit& inVisit) {
    std::int32_t x = 0;
    for (; inWidth - x >= kV210GroupPixels; x += kV210GroupPixels) {
        inVisit(x, kV210GroupSamples);
    }
    if (x < inWidth) inVisit(x, static_cast<int>(V210Samples(inWidth - x)));
}

std::int64_t V210GroupOffset(std::int32_t inPixel) {
    return std::int64_t{inPixel / kV210GroupPixels} * kV210GroupBytes;
}

// Plane and index of sample number inSample of the group that starts at pixel inFirst.
float& V210Place(const PlanarRow& inRow, std::int32_t inFirst, int inSample) {
    if (inSample % 2 != 0) return inRow[0][inFirst + inSample / 2];
    return inRow[inSample % 4 == 0 ? 1 : 2][inFirst / 2 + inSample / 4];
}

std::size_t V210Plane(int inSample) {
    constexpr std::array<std::size_t, 4> kPlaneOf = {1, 0, 2, 0};
    return kPlaneOf[static_cast<std::size_t>(inSample % 4)];
}

void LoadV210(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
              const PlanarRow& outRow) {
    const std::byte* const row = RowAt(inPicture, inRow);
    ForEachV210Group(inPicture.width, [&](std::int32_t first, int count) {
        const V210Group samples = UnpackV210(row + V210GroupOffset(first), count);
        for (int i = 0; i < count; ++i) {
            const std::size_t plane = V210Plane(i);
            const auto code = static_cast<float>(samples[static_cast<std::size_t>(i)]);
            V210Place(outRow, first, i) = (code - inRanges.offset[plane]) / inRanges.scale[plane];
        }
    });
}

void StoreV210(const PlanarRow& inRow, const CodeRanges& inRanges, const Destination& outPicture,
               std::int32_t inRowNumber) {
    std::byte* const row = RowAt(outPicture, inRowNumber);
    ForEachV210Group(outPicture.width, [&](std::int32_t first, int count) {
        V210Group samples{};
        for (int i = 0; i < count; ++i) {
            const std::size_t plane = V210Plane(i);
            samples[static_cast<std::size_t>(i)] = static_cast<std::uint32_t>(
                Quantise(V210Place(inRow, first, i), inRanges.offset[plane], inRanges.scale[plane],
                         inRanges.maximum));
        }
        PackV210(samples, row + V210GroupOffset(first));
    });
}

// ---- The choice ---------------------------------------------------------------------------------

struct LayoutRow {
    Layout layout;
    Component component;
    bool isReversed;
    LoadRow load;
    StoreRow store;
};

constexpr LayoutRow kLayoutRows[] = {
    {Layout::Packed4444, Component::Unsigned8, false, Load4444<std::uint8_t, false>,
     Store4444<std::uint8_t, false>},
    {Layout::Packed4444, Component::Unsigned8, true, Load4444<std::uint8_t, true>,
     Store4444<std::uint8_t, true>},
    {Layout::Packed4444, Component::Unsigned15, false, Load4444<std::uint16_t, false>,
     Store4444<std::uint16_t, false>},
    {Layout::Packed4444, Component::Unsigned15, true, Load4444<std::uint16_t, true>,
     Store4444<std::uint16_t, true>},
    {Layout::Packed4444, Component::Float, false, Load4444<float, false>, Store4444<float, false>},
    {Layout::Packed4444, Component::Float, true, Load4444<float, true>, Store4444<float, true>},
    {Layout::Packed422, Component::Unsigned8, false, Load422<false>, Store422<false>},
    {Layout::Packed422, Component::Unsigned8, true, Load422<true>, Store422<true>},
    {Layout::Packed422, Component::Unsigned10, false, LoadV210, StoreV210},
    {Layout::Planar, Component::Unsigned8, false, LoadPlanes, nullptr},
};

// BT.601 and BT.709 put black at 16, white at 235 and chroma at 16 to 240 of an 8-bit code, and at
// four times that of a 10-bit one.
CodeRanges RangesOf(const Format& inFormat) {
    if (inFormat.component == Component::Unsigned15) {
        return {{0, 0, 0, 0}, {32768, 32768, 32768, 32768}, 32768};
    }
    if (inFormat.component == Component::Unsigned10) {
        return {{64, 512, 512, 0}, {876, 896, 896, 1023}, 1023};
    }
    if (inFormat.component == Component::Unsigned8 && inFormat.colour == Colour::YCbCr) {
        return {{16, 128, 128, 0}, {219, 224, 224, 255}, 255};
    }
    return {{0, 0, 0, 0}, {255, 255, 255, 255}, 255};
}

}  // namespace

RowAccess PlainAccessTo(const Format& inFormat) {
    const auto found = std::find_if(
        std::begin(kLayoutRows), std::end(kLayoutRows), [&inFormat](const LayoutRow& each) {
            return each.layout == inFormat.layout && each.component == inFormat.component &&
                   each.isReversed == inFormat.isReversed;
        });
    if (found == std::end(kLayoutRows)) return {};
    return {found->load, found->store, RangesOf(inFormat)};
}

RowAccess AccessTo(const Format& inFormat) {
    const RowAccess plain = PlainAccessTo(inFormat);
    if (const LoadRow load = HalfRowLoadOf(inFormat))
        return {load, HalfRowStoreOf(inFormat), plain.ranges};
    const RowFunctions vectors = VectorLayoutOf(inFormat);
    return vectors.load == nullptr ? plain : RowAccess{vectors.load, vectors.store, plain.ranges};
}

RowShape LoadedShape(const Format& inFormat, std::int32_t inWidth) {
    if (inFormat.layout == Layout::Packed4444) return FullShape(inWidth, HasAlpha(inFormat));
    return HalfChromaShape(inWidth);
}

void CopyRow(const Format& inFormat, std::int32_t inWidth, const std::byte* inRow,
             std::byte* outRow) {
    std::memmove(outRow, inRow, static_cast<std::size_t>(UsedRowBytes(inFormat, inWidth)));
    ClearUnused(inFormat, inWidth, outRow);
}

void ClearUnused(const Format& inFormat, std::int32_t inWidth, std::byte* ioRow) {
    const std::int32_t tailPixels = inWidth % kV210GroupPixels;
    if (inFormat.component != Component::Unsigned10 || tailPixels == 0) return;
    std::byte* const tail = ioRow + V210GroupOffset(inWidth);
    PackV210(UnpackV210(tail, static_cast<int>(V210Samples(tailPixels))), tail);
}

}  // namespace scanvo

#include "operations/Selection.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "fast/SelectRows.h"
#include "operations/FormatRows.h"
#include "rows/PlanarLayouts.h"

namespace scanvo {
namespace {

// ---- From pixels to what a format's row is made of ----------------------------------------------

// Turns a byte for every pixel into the mask of a row.
using ShapeMask = void (*)(const std::uint8_t* inPixels, std::int32_t inWidth,
                           std::uint8_t* outMask);

template <std::int32_t count>
void RepeatPixels(const std::uint8_t* inPixels, std::int32_t inWidth, std::uint8_t* outMask) {
    for (std::int32_t x = 0; x < inWidth; ++x)
        std::memset(outMask + std::int64_t{count} * x, inPixels[x], count);
}

// Only the first pixel of the last unit may be there.
template <bool isReversed>
void ShapeUnits(const std::uint8_t* inPixels, std::int32_t inWidth, std::uint8_t* outMask) {
    for (std::int32_t x = 0; x < inWidth; x += 2) {
        const std::uint8_t first = inPixels[x];
        const std::uint8_t second = x + 1 < inWidth ? inPixels[x + 1] : first;
        const std::array unit = isReversed ? std::array{first, first, second, first}
                                           : std::array{first, first, first, second};
        std::memcpy(outMask + 2 * std::int64_t{x}, unit.data(), unit.size());
    }
}

constexpr std::size_t kGroupPixels = 6;
constexpr std::size_t kGroupWords = 4;

using GroupWords = std::array<std::uint32_t, kGroupWords>;

// The words of a v210 group by the bits of its six pixels, the first pixel in the lowest bit.
// Sample 4n is Cb and 4n + 2 is Cr of pixel 2n, samples 2n + 1 are Y'.
constexpr auto kWordsOfPixels = [] {
    std::array<GroupWords, 1 << kGroupPixels> table{};
    for (std::size_t bits = 0; bits < table.size(); ++bits) {
        for (std::size_t sample = 0; sample < 3 * kGroupWords; ++sample) {
            const std::size_t pixel = sample % 2 == 0 ? sample / 4 * 2 : sample / 2;
            if ((bits >> pixel & 1) != 0)
                table[bits][sample / 3] |= std::uint32_t{0x3FF} << 10 * (sample % 3);
        }
    }
    return table;
}();

void ShapeGroups(const std::uint8_t* inPixels, std::int32_t inWidth, std::uint8_t* outMask) {
    for (std::int64_t x = 0; x < inWidth; x += kGroupPixels) {
        std::size_t bits = 0;
        for (std::size_t i = 0; i < kGroupPixels; ++i)
            bits |= static_cast<std::size_t>(inPixels[x + static_cast<std::int64_t>(i)] & 1) << i;
        std::memcpy(outMask, kWordsOfPixels[bits].data(), sizeof(GroupWords));
        outMask += sizeof(GroupWords);
    }
}

// ---- The choice ---------------------------------------------------------------------------------

struct Selection {
    ShapeMask shape;
    SelectRow select;
};

Selection SelectionFor(const Format& inFormat) {
    switch (inFormat.component) {
        case Component::Unsigned10:
            return {ShapeGroups, FindSelectBits()};
        case Component::Unsigned15:
            return {RepeatPixels<2>, FindSelectWords()};
        case Component::Float:
            return {RepeatPixels<4>, FindSelectWords()};
        case Component::Unsigned8:
            break;
    }
    if (inFormat.layout == Layout::Packed4444) return {nullptr, FindSelectWords()};
    return {inFormat.isReversed ? ShapeUnits<true> : ShapeUnits<false>, FindSelectBits()};
}

// Room for the mask of a row and what is read or written beyond its end.
std::uint8_t* MaskBytes(std::int64_t inCount, Scratch& ioScratch) {
    const std::int64_t bytes = inCount + std::int64_t{kSelectMaskPadding};
    std::byte* const mask = ioScratch.Bytes(bytes);
    std::fill_n(mask, bytes, std::byte{0});
    return reinterpret_cast<std::uint8_t*>(mask);
}

// ---- Packed pictures ----------------------------------------------------------------------------

void SelectRows(const Source& inFirst, const Source& inSecond, const MaskOfRow& inMask,
                const Destination& outDestination) {
    const std::int32_t width = outDestination.width;
    Scratch scratch;
    const InputRows first(inFirst, outDestination.format, scratch);
    const InputRows second(inSecond, outDestination.format, scratch);
    const OutputRows output(outDestination);
    const auto [shape, select] = SelectionFor(outDestination.format);
    std::uint8_t* const pixels = MaskBytes(width, scratch);
    const auto rowBytes = static_cast<std::int64_t>(output.ByteCount());
    std::uint8_t* const shaped = shape != nullptr ? MaskBytes(rowBytes, scratch) : pixels;
    for (std::int32_t row = 0; row < outDestination.height; ++row) {
        inMask(row, pixels);
        if (shape != nullptr) shape(pixels, width, shaped);
        output.Put(row, [&, select = select](std::byte* outRow) {
            select(first.At(row), second.At(row), outRow, output.ByteCount(), shaped);
        });
    }
}

// ---- Planar pictures ----------------------------------------------------------------------------

// The bytes of a plane's row go with the first of the pixels that share them.
void ShapePlane(const std::uint8_t* inPixels, const MemoryPlane<std::byte>& inPlane,
                std::uint8_t* outMask) {
    const std::int64_t places = inPlane.usedBytes / inPlane.step;
    for (std::int64_t place = 0; place < places; ++place) {
        const std::uint8_t mask = inPixels[place << inPlane.columnShift];
        outMask[place * inPlane.step] = mask;
        outMask[(place + 1) * inPlane.step - 1] = mask;  // the other component, if there is one
    }
}

void SelectPlanes(const Source& inFirst, const Source& inSecond, const MaskOfRow& inMask,
                  const Destination& outDestination) {
    const Format& format = outDestination.format;
    const InputPlanes firstInput(inFirst, format);
    const InputPlanes secondInput(inSecond, format);
    const MemoryPlanes<const std::byte> first = PlanesOf(firstInput.Picture());
    const MemoryPlanes<const std::byte> second = PlanesOf(secondInput.Picture());
    const MemoryPlanes<std::byte> output = PlanesOf(outDestination);
    Scratch scratch;
    std::uint8_t* const pixels = MaskBytes(outDestination.width, scratch);
    std::uint8_t* const shaped = MaskBytes(outDestination.width + 1, scratch);
    const SelectRow select = FindSelectBits();
    const auto selectRow = [&](std::size_t number, std::int32_t row, const std::uint8_t* mask) {
        const MemoryPlane<std::byte>& plane = output.planes[number];
        select(RowAt(first.planes[number], row), RowAt(second.planes[number], row),
               RowAt(plane, row), static_cast<std::size_t>(plane.usedBytes), mask);
    };
    for (std::int32_t row = 0; row < outDestination.height; ++row) {
        inMask(row, pixels);
        selectRow(0, row, pixels);
    }
    // All planes of chroma are alike.
    const MemoryPlane<std::byte>& chroma = output.planes[1];
    for (std::int32_t row = 0; row < chroma.rows; ++row) {
        inMask(FirstRowOf(format, outDestination.height, row), pixels);
        ShapePlane(pixels, chroma, shaped);
        for (std::size_t number = 1; number < output.count; ++number)
            selectRow(number, row, shaped);
    }
}

}  // namespace

void SelectPixels(const Source& inFirst, const Source& inSecond, const MaskOfRow& inMask,
                  const Destination& outDestination) {
    const bool isPlanar = outDestination.format.layout == Layout::Planar;
    (isPlanar ? SelectPlanes : SelectRows)(inFirst, inSecond, inMask, outDestination);
}

}  // namespace scanvo

#include "operations/Dissolve.h"

#include "fast/MixRows.h"
#include "operations/Conversion.h"
#include "operations/FormatRows.h"

namespace scanvo {
namespace {

void DissolveRows(const Source& inFirst, const Source& inSecond, const Destination& outDestination,
                  float inAmount) {
    Scratch scratch;
    const InputRows first(inFirst, outDestination.format, scratch);
    const InputRows second(inSecond, outDestination.format, scratch);
    const OutputRows output(outDestination);
    const MixRow mix = FindMixRow(outDestination.format);
    for (std::int32_t row = 0; row < outDestination.height; ++row) {
        output.Put(row, [&](std::byte* outRow) {
            mix(first.At(row), second.At(row), outRow, output.ByteCount(), inAmount);
        });
    }
}

void DissolvePlanes(const Source& inFirst, const Source& inSecond,
                    const Destination& outDestination, float inAmount) {
    const InputPlanes firstInput(inFirst, outDestination.format);
    const InputPlanes secondInput(inSecond, outDestination.format);
    const MemoryPlanes<const std::byte> first = PlanesOf(firstInput.Picture());
    const MemoryPlanes<const std::byte> second = PlanesOf(secondInput.Picture());
    const MemoryPlanes<std::byte> output = PlanesOf(outDestination);
    const MixRow mix = FindMixRow(outDestination.format);
    for (std::size_t number = 0; number < output.count; ++number) {
        const MemoryPlane<std::byte>& plane = output.planes[number];
        for (std::int32_t row = 0; row < plane.rows; ++row) {
            mix(RowAt(first.planes[number], row), RowAt(second.planes[number], row),
                RowAt(plane, row), static_cast<std::size_t>(plane.usedBytes), inAmount);
        }
    }
}

}  // namespace

void DissolvePictures(const Source& inFirst, const Source& inSecond,
                      const Destination& outDestination, float inAmount) {
    if (inAmount <= 0 || inAmount >= 1) {
        ConvertPicture(inAmount <= 0 ? inFirst : inSecond, outDestination);
    } else if (outDestination.format.layout == Layout::Planar) {
        DissolvePlanes(inFirst, inSecond, outDestination, inAmount);
    } else {
        DissolveRows(inFirst, inSecond, outDestination, inAmount);
    }
}

}  // namespace scanvo

#include "operations/Dissolve.h"

#include "fast/MixRows.h"
#include "operations/Conversion.h"
#include "operations/FormatRows.h"

namespace scanvo {

void DissolvePictures(const Source& inFirst, const Source& inSecond,
                      const Destination& outDestination, float inAmount) {
    if (inAmount <= 0 || inAmount >= 1) {
        ConvertPicture(inAmount <= 0 ? inFirst : inSecond, outDestination);
        return;
    }
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

}  // namespace scanvo

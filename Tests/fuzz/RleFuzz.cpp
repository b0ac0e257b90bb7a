// Run-length data whose end is known, into lines of the header's size.
#include <cstdlib>

#include "fuzz/Input.h"
#include "raster/Rle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    fuzz::Input input(inData, inSize);
    const std::int32_t width = input.Between(1, 300);
    const std::int32_t height = input.Between(-20, 20);
    const BITMAPINFOHEADER header{sizeof header, width, height, 1, 8, BI_RLE8, 0, 0, 0, 0, 0};
    fuzz::Bytes lines(static_cast<std::size_t>((width + 3) / 4 * 4 * std::abs(height)));
    const fuzz::Bytes data = input.Rest();
    VF::ExpandRle8({data.data(), data.size()}, VF::RleOutput(header, lines.data()));
    return 0;
}

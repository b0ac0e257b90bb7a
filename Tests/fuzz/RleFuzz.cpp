// Run-length data whose end is known, into lines of the header's size.
#include <cstdlib>

#include "fuzz/Input.h"
#include "raster/Rle.h"

void fuzz::Run(Input inInput) {
    const std::int32_t width = inInput.Between(1, 300);
    const std::int32_t height = inInput.Between(-20, 20);
    const BITMAPINFOHEADER header{sizeof header, width, height, 1, 8, BI_RLE8, 0, 0, 0, 0, 0};
    Bytes lines(static_cast<std::size_t>((width + 3) / 4 * 4 * std::abs(height)));
    const Bytes data = inInput.Rest();
    VF::ExpandRle8({data.data(), data.size()}, VF::RleOutput(header, lines.data()));
}

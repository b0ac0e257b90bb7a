// The 3 by 3 convolution. Compiled without contraction of products and sums, so that every form of
// the loop gives the same bytes.
#include <algorithm>
#include <array>

#include "VideoFrame/RasterTools.h"
#include "raster/BitMask.h"
#include "raster/PixelLoops.h"

namespace VF {
namespace {

constexpr std::size_t kPixelBytes = 4;

/// Weights line by line, then the bias.
using Kernel = std::array<float, 10>;

Kernel ScaledKernel(const std::int16_t* inWords) {
    const float scale = inWords[10] == 0 ? 0.0F : 1.0F / static_cast<float>(inWords[10]);
    Kernel kernel;
    std::transform(inWords, inWords + kernel.size(), kernel.begin(),
                   [scale](std::int16_t word) { return static_cast<float>(word) * scale; });
    return kernel;
}

/// Three lines, each from the pixel left of the first on.
using ThreeLines = std::array<const std::uint8_t*, 3>;

VF_PIXEL_LOOP void ConvolveLine(const ThreeLines& inLines, const Kernel& inKernel,
                                std::size_t inWidth, std::uint8_t* __restrict outLine) {
    const std::uint8_t* const above = inLines[0];
    const std::uint8_t* const here = inLines[1];
    const std::uint8_t* const below = inLines[2];
    const Kernel k = inKernel;
    for (std::size_t i = 0; i < kPixelBytes * inWidth; ++i) {
        const auto at = [i](const std::uint8_t* line, std::size_t pixel) {
            return static_cast<float>(line[i + kPixelBytes * pixel]);
        };
        const float sum = at(above, 0) * k[0] + at(above, 1) * k[1] + at(above, 2) * k[2] +
                          at(here, 0) * k[3] + at(here, 1) * k[4] + at(here, 2) * k[5] +
                          at(below, 0) * k[6] + at(below, 1) * k[7] + at(below, 2) * k[8] + k[9];
        outLine[i] = static_cast<std::uint8_t>(static_cast<int>(std::clamp(sum, 0.0F, 255.0F)));
    }
}

/// Copies a line with its first and last pixel repeated at its ends.
void CopyPadded(const std::uint8_t* inLine, std::size_t inWidth, std::uint8_t* outLine) {
    const std::size_t bytes = kPixelBytes * inWidth;
    std::memcpy(outLine, inLine, kPixelBytes);
    std::memcpy(outLine + kPixelBytes, inLine, bytes);
    std::memcpy(outLine + kPixelBytes + bytes, inLine + bytes - kPixelBytes, kPixelBytes);
}

}  // namespace
}  // namespace VF

void DoConvolve(const void* inSource, void* outDestination, const std::int16_t* inKernel,
                std::int16_t inStride, std::int16_t inWidth, std::int16_t inHeight) {
    using namespace VF;
    if (!inSource || !outDestination || !inKernel || inWidth <= 0 || inHeight <= 0) return;
    const auto width = static_cast<std::size_t>(inWidth);
    const std::size_t lineBytes = kPixelBytes * (width + 2);
    const MaskBlock block(
        static_cast<std::uint8_t*>(TvNewPtr(static_cast<std::int64_t>(3 * lineBytes))));
    if (!block) return;
    const Kernel kernel = ScaledKernel(inKernel);
    const std::int64_t last = inHeight - 1;
    const auto slot = [&](std::int64_t line) {
        return block.get() + static_cast<std::size_t>(line) % 3 * lineBytes;
    };
    const auto fill = [&](std::int64_t line) {
        CopyPadded(AsBytes(inSource) + line * inStride, width, slot(line));
    };
    fill(0);
    for (std::int64_t y = 0; y <= last; ++y) {
        if (y < last) fill(y + 1);  // before the line in work is written, where that is the source
        ConvolveLine({slot(std::max<std::int64_t>(y - 1, 0)), slot(y), slot(std::min(y + 1, last))},
                     kernel, width, AsBytes(outDestination) + y * inStride);
    }
}

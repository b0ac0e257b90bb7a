// Histograms of pictures.
#include "raster/Histogram.h"

#include <array>
#include <limits>

#include "VideoFrame/Quantisation.h"

namespace VF {
namespace {

std::uint32_t* gCurrentHistogram = nullptr;

void Increment(std::uint32_t& ioCounter) {
    if (ioCounter != std::numeric_limits<std::uint32_t>::max()) ++ioCounter;
}

/// Counts lines with inCountLine(line, histogram).
template <class CountLine>
void CountLines(const void* inBits, std::int64_t inBytesRead, std::int32_t inHeight,
                std::uint16_t inStride, std::uint32_t* ioHistogram, const CountLine& inCountLine) {
    UseHistogram(ioHistogram);
    if (!inBits || !ioHistogram || inBytesRead <= 0) return;
    const std::uint8_t* line = AsBytes(inBits);
    const LineWalk walk(inStride, inBytesRead);
    for (std::int32_t y = 0; y < inHeight; ++y, line += walk.Step())
        inCountLine(line, ioHistogram);
}

template <std::size_t kPixelBytes>
void CountColours(const std::uint8_t* inLine, std::int64_t inWidth, std::uint32_t* ioHistogram) {
    for (std::int64_t x = 0; x < inWidth; ++x, inLine += kPixelBytes)
        Increment(ioHistogram[CellOf(inLine[2], inLine[1], inLine[0])]);
}

/// Counts every pixel of every byte that a line is read as.
template <std::uint32_t kBits>
void CountIndices(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                  std::uint16_t inStride, std::uint32_t* ioHistogram,
                  const std::uint16_t* inCells) {
    constexpr std::int64_t kPixelsOfByte = 8 / kBits;
    constexpr std::uint32_t kMask = (1U << kBits) - 1;
    const std::int64_t bytes = (std::int64_t{inWidth} + kPixelsOfByte - 1) / kPixelsOfByte;
    CountLines(inBits, inCells ? bytes : 0, inHeight, inStride, ioHistogram,
               [&](const std::uint8_t* line, std::uint32_t* histogram) {
                   for (std::int64_t i = 0; i < bytes; ++i) {
                       for (std::uint32_t shift = 8; shift > 0;) {
                           shift -= kBits;
                           Increment(histogram[inCells[line[i] >> shift & kMask] & (kCells - 1)]);
                       }
                   }
               });
}

}  // namespace

std::uint32_t* CurrentHistogram() {
    return gCurrentHistogram;
}

}  // namespace VF

using namespace VF;

std::uint32_t* InitHistogram(std::uint32_t* inHistogram) {
    if (inHistogram) return inHistogram;
    const HGLOBAL block =
        GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, kCells * sizeof(std::uint32_t));
    return static_cast<std::uint32_t*>(GlobalLock(block));
}

void FreeHistogram(std::uint32_t* inHistogram) {
    if (!inHistogram) return;
    const HGLOBAL block = GlobalHandle(inHistogram);
    GlobalUnlock(block);
    GlobalFree(block);
}

void UseHistogram(std::uint32_t* inHistogram) {
    gCurrentHistogram = inHistogram;
}

std::uint32_t GetHistogram(std::uint8_t inRed, std::uint8_t inGreen, std::uint8_t inBlue) {
    const std::size_t cell = std::size_t{inRed} << 10 | std::size_t{inGreen} << 5 | inBlue;
    return gCurrentHistogram && cell < kCells ? gCurrentHistogram[cell] : 0;
}

void IncHistogram(std::uint16_t inCell) {
    IncHistogramHist(inCell, gCurrentHistogram);
}

void IncHistogramHist(std::uint16_t inCell, std::uint32_t* ioHistogram) {
    if (ioHistogram && inCell < kCells) Increment(ioHistogram[inCell]);
}

// ---------------------------------------------------------------------------------------------
// Pictures

void Histogram32(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                 std::uint16_t inStride, std::uint32_t* ioHistogram) {
    CountLines(inBits, std::int64_t{4} * inWidth, inHeight, inStride, ioHistogram,
               [&](const std::uint8_t* line, std::uint32_t* histogram) {
                   CountColours<4>(line, inWidth, histogram);
               });
}

void Histogram24(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                 std::uint16_t inStride, std::uint32_t* ioHistogram) {
    CountLines(inBits, std::int64_t{3} * inWidth, inHeight, inStride, ioHistogram,
               [&](const std::uint8_t* line, std::uint32_t* histogram) {
                   CountColours<3>(line, inWidth, histogram);
               });
}

void Histogram16(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                 std::uint16_t inStride, std::uint32_t* ioHistogram) {
    CountLines(inBits, std::int64_t{2} * inWidth, inHeight, inStride, ioHistogram,
               [&](const std::uint8_t* line, std::uint32_t* histogram) {
                   for (std::int64_t x = 0; x < inWidth; ++x)
                       Increment(histogram[LoadWord<std::uint16_t>(line + 2 * x) & 0x7FFF]);
               });
}

void Histogram8(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                std::uint16_t inStride, std::uint32_t* ioHistogram, const std::uint16_t* inCells) {
    CountIndices<8>(inBits, inWidth, inHeight, inStride, ioHistogram, inCells);
}

void Histogram4(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                std::uint16_t inStride, std::uint32_t* ioHistogram, const std::uint16_t* inCells) {
    CountIndices<4>(inBits, inWidth, inHeight, inStride, ioHistogram, inCells);
}

void Histogram1(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                std::uint16_t inStride, std::uint32_t* ioHistogram, const std::uint16_t* inCells) {
    CountIndices<1>(inBits, inWidth, inHeight, inStride, ioHistogram, inCells);
}

std::int32_t Histogram32Hist(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                             std::int16_t inStride, std::uint32_t* ioHistogram) {
    if (!inBits || !ioHistogram) return inHeight;
    const std::int64_t bytes = std::int64_t{4} * inWidth;
    const std::int64_t step = bytes + static_cast<std::int16_t>(inStride - bytes);
    const std::uint8_t* line = AsBytes(inBits);
    for (std::int32_t y = 0; y < inHeight; ++y, line += step)
        CountColours<4>(line, inWidth, ioHistogram);
    return inHeight;
}

// ---------------------------------------------------------------------------------------------
// DIBs

namespace VF {
namespace {

using CellMap = std::array<std::uint16_t, 256>;

CellMap CellsOfColours(const BITMAPINFOHEADER& inHeader) {
    const auto* const colours = reinterpret_cast<const RGBQUAD*>(BitsBehind(inHeader, 0));
    CellMap cells{};
    for (std::size_t i = 0; i < cells.size() && i < inHeader.biClrUsed; ++i) {
        cells[i] = static_cast<std::uint16_t>(
            CellOf(colours[i].rgbRed, colours[i].rgbGreen, colours[i].rgbBlue));
    }
    return cells;
}

}  // namespace
}  // namespace VF

int DibHistogram(BITMAPINFOHEADER* ioHeader, const void* inBits, std::int32_t inX, std::int32_t inY,
                 std::int32_t inWidth, std::int32_t inHeight, std::uint32_t* ioHistogram) {
    if (!ioHeader || !ioHistogram) return 0;
    BITMAPINFOHEADER& header = *ioHeader;
    const std::int32_t bits = header.biBitCount;
    const bool hasTable = bits < 9;
    if (hasTable && header.biClrUsed == 0) header.biClrUsed = 1U << bits;
    const std::int64_t lineBytes = ((std::int64_t{bits} * header.biWidth + 7) / 8 + 3) & 0xFFFC;
    const std::uint8_t* const start =
        (inBits ? AsBytes(inBits) : BitsBehind(header, header.biClrUsed)) + inY * lineBytes +
        std::int64_t{inX} * bits / 8;
    const std::int32_t width = inWidth < 0 || inWidth > header.biWidth ? header.biWidth : inWidth;
    const std::int32_t height =
        inHeight < 0 || inHeight > header.biHeight ? header.biHeight : inHeight;
    const CellMap cells = hasTable ? CellsOfColours(header) : CellMap{};
    const auto stride = static_cast<std::uint16_t>(lineBytes);
    switch (bits) {
        case 1:
            Histogram1(start, width, height, stride, ioHistogram, cells.data());
            break;
        case 4:
            Histogram4(start, width, height, stride, ioHistogram, cells.data());
            break;
        case 8:
            Histogram8(start, width, height, stride, ioHistogram, cells.data());
            break;
        case 16:
            Histogram16(start, width, height, stride, ioHistogram);
            break;
        case 24:
            Histogram24(start, width, height, stride, ioHistogram);
            break;
        case 32:
            Histogram32(start, width, height, stride, ioHistogram);
            break;
        default:
            break;
    }
    return 1;
}

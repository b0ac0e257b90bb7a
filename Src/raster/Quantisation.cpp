// Palettes out of histograms, and pictures reduced to them.
#include "VideoFrame/Quantisation.h"

#include <algorithm>
#include <array>

#include "raster/Boxes.h"
#include "raster/Histogram.h"

namespace VF {
namespace {

constexpr std::int32_t kMostBoxes = 236;
constexpr std::size_t kSystemEntries = 10;  // at each end of a whole palette
constexpr std::size_t kEntries = 256;

/// Halves all counters until the largest fits 16 bits.
void ScaleDown(std::uint32_t* ioHistogram) {
    std::uint32_t largest = *std::max_element(ioHistogram, ioHistogram + kCells);
    for (; largest > 65535; largest /= 2)
        std::for_each(ioHistogram, ioHistogram + kCells, [](std::uint32_t& count) { count /= 2; });
}

struct WholePalette {
    WORD version = 0x300;
    WORD count = 0;
    std::array<PALETTEENTRY, kEntries> entries{};

    HPALETTE Create() const { return CreatePalette(reinterpret_cast<const LOGPALETTE*>(this)); }
};

void AddSystemColours(WholePalette& ioPalette) {
    const HDC screen = GetDC(nullptr);
    constexpr UINT kCount = kSystemEntries;
    constexpr UINT kLast = kEntries - kSystemEntries;
    GetSystemPaletteEntries(screen, 0, kCount, ioPalette.entries.data());
    GetSystemPaletteEntries(screen, kLast, kCount, ioPalette.entries.data() + kLast);
    ReleaseDC(nullptr, screen);
}

/// Cuts the histogram into boxes and gives each a colour.
HPALETTE MakePalette(std::uint32_t* ioHistogram, std::uint8_t* outLookup,
                     std::int32_t inMaxColours) {
    if (!ioHistogram) return nullptr;
    ScaleDown(ioHistogram);
    const bool isWhole = inMaxColours > kMostBoxes;
    if (InitBoxes(std::min(inMaxColours, kMostBoxes)) == 0) return nullptr;
    do {
        SplitBoxHist(BoxList(), ioHistogram);
    } while (FreeBoxes() && BoxList()->priority != 0);
    SortBoxes();

    WholePalette palette;
    if (isWhole) AddSystemColours(palette);
    std::size_t entry = isWhole ? kSystemEntries : 0;
    for (const QuantisationBox* box = BoxList(); box; box = box->next, ++entry) {
        const COLORREF colour = DetermineRepresentativeHist(box, static_cast<std::uint8_t>(entry),
                                                            outLookup, ioHistogram);
        palette.entries[entry] = {static_cast<BYTE>(colour), static_cast<BYTE>(colour >> 8),
                                  static_cast<BYTE>(colour >> 16), 0};
    }
    DeleteBoxes();
    palette.count = static_cast<WORD>(isWhole ? kEntries : entry);
    return palette.Create();
}

}  // namespace
}  // namespace VF

using namespace VF;

HPALETTE HistogramPalette(std::uint32_t* ioHistogram, std::uint8_t* outLookup,
                          std::int32_t inMaxColours) {
    UseHistogram(ioHistogram);
    return HistogramToPalette(ioHistogram, outLookup, inMaxColours);
}

HPALETTE HistogramToPalette(std::uint32_t* ioHistogram, std::uint8_t* outLookup,
                            std::int32_t inMaxColours) {
    return MakePalette(ioHistogram, outLookup, inMaxColours);
}

void MakePalLookup(std::uint8_t* outLookup, HPALETTE inPalette) {
    if (!outLookup) return;
    for (std::size_t cell = 0; cell < kCells; ++cell) {
        const auto component = [cell](int shift) {
            return static_cast<BYTE>((cell >> shift & 31) * 8);
        };
        outLookup[cell] = static_cast<std::uint8_t>(
            GetNearestPaletteIndex(inPalette, RGB(component(10), component(5), component(0))));
    }
}

// ---------------------------------------------------------------------------------------------
// Reduction

namespace VF {
namespace {

using IndexMap = std::array<std::uint8_t, 256>;

struct Reduction {
    const std::uint8_t* source;
    std::uint8_t* destination;
    std::int32_t width;
    std::int32_t height;
    std::uint32_t sourceStride;
    std::uint32_t destinationStride;
    const std::uint8_t* lookup;
    IndexMap map;  // of depths with a colour table
};

std::uint32_t ColourCount(const BITMAPINFOHEADER& inHeader) {
    if (inHeader.biClrUsed != 0 || inHeader.biBitCount >= 9) return inHeader.biClrUsed;
    return 1U << inHeader.biBitCount;
}

IndexMap MapOf(const BITMAPINFOHEADER& inHeader, const std::uint8_t* inLookup) {
    IndexMap map{};
    if (inHeader.biBitCount >= 9) return map;
    const auto* const colours = reinterpret_cast<const RGBQUAD*>(BitsBehind(inHeader, 0));
    const std::size_t count = std::min<std::size_t>(ColourCount(inHeader), map.size());
    for (std::size_t i = 0; i < count; ++i)
        map[i] = inLookup[CellOf(colours[i].rgbRed, colours[i].rgbGreen, colours[i].rgbBlue)];
    return map;
}

std::uint32_t LineBytes(std::int64_t inBits, std::int64_t inWidth) {
    return static_cast<std::uint32_t>(((inBits * inWidth + 7) / 8 + 3) & ~std::int64_t{3});
}

Reduction Prepare(const BITMAPINFOHEADER& inSource, const void* inSourceBits,
                  const BITMAPINFOHEADER& inDestination, void* outDestinationBits,
                  const std::uint8_t* inLookup) {
    const std::uint32_t colours = ColourCount(inSource);
    const std::uint8_t* const behindDestination = BitsBehind(inDestination, colours);
    return {inSourceBits ? AsBytes(inSourceBits) : BitsBehind(inSource, colours),
            outDestinationBits ? AsBytes(outDestinationBits)
                               : const_cast<std::uint8_t*>(behindDestination),
            inSource.biWidth,
            inSource.biHeight,
            LineBytes(inSource.biBitCount, inSource.biWidth),
            LineBytes(8, inSource.biWidth),
            inLookup,
            MapOf(inSource, inLookup)};
}

/// Calls inReduceLine(source line, destination line); what it reads and writes is told beside.
template <class ReduceLine>
void ReduceLines(const Reduction& inJob, std::int64_t inBytesRead, std::int64_t inBytesWritten,
                 const ReduceLine& inReduceLine) {
    if (inJob.width <= 0) return;
    const LineWalk sourceWalk(inJob.sourceStride, inBytesRead);
    const LineWalk destinationWalk(inJob.destinationStride, inBytesWritten);
    for (std::int64_t y = 0; y < inJob.height; ++y) {
        inReduceLine(inJob.source + y * sourceWalk.Step(),
                     inJob.destination + y * destinationWalk.Step());
    }
}

template <std::int32_t kPixelBytes>
void ReduceColours(const Reduction& inJob) {
    ReduceLines(inJob, std::int64_t{kPixelBytes} * inJob.width, inJob.width,
                [&](const std::uint8_t* source, std::uint8_t* destination) {
                    for (std::int32_t x = 0; x < inJob.width; ++x, source += kPixelBytes)
                        destination[x] = inJob.lookup[CellOf(source[2], source[1], source[0])];
                });
}

void Reduce16(const Reduction& inJob) {
    ReduceLines(inJob, std::int64_t{2} * inJob.width, inJob.width,
                [&](const std::uint8_t* source, std::uint8_t* destination) {
                    for (std::int64_t x = 0; x < inJob.width; ++x) {
                        destination[x] =
                            inJob.lookup[LoadWord<std::uint16_t>(source + 2 * x) & 0x7FFF];
                    }
                });
}

/// inCount indices a line, of kBits each, the first one highest.
template <std::int32_t kBits>
void ReduceIndices(const Reduction& inJob, std::int64_t inCount) {
    constexpr std::int64_t kPixelsOfByte = 8 / kBits;
    constexpr std::uint32_t kMask = (1U << kBits) - 1;
    ReduceLines(inJob, (inCount + kPixelsOfByte - 1) / kPixelsOfByte, inCount,
                [&](const std::uint8_t* source, std::uint8_t* destination) {
                    for (std::int64_t x = 0; x < inCount; ++x) {
                        const std::int64_t shift = 8 - kBits * (x % kPixelsOfByte + 1);
                        destination[x] = inJob.map[source[x / kPixelsOfByte] >> shift & kMask];
                    }
                });
}

}  // namespace
}  // namespace VF

void ReducePixels(const BITMAPINFOHEADER* inSourceHeader, const void* inSourceBits,
                  const BITMAPINFOHEADER* inDestinationHeader, void* outDestinationBits, HPALETTE,
                  const std::uint8_t* inLookup) {
    if (!inSourceHeader || !inDestinationHeader || !inLookup) return;
    const Reduction job =
        Prepare(*inSourceHeader, inSourceBits, *inDestinationHeader, outDestinationBits, inLookup);
    switch (inSourceHeader->biBitCount) {
        case 1:
            return ReduceIndices<1>(job, job.width);
        case 4:
            return ReduceIndices<4>(job, (std::int64_t{job.width} + 1) / 2 * 2);
        case 8:
            return ReduceIndices<8>(job, job.width);
        case 16:
            return Reduce16(job);
        case 24:
            return ReduceColours<3>(job);
        case 32:
            return ReduceColours<4>(job);
        default:
            return;
    }
}

void ReducePixelsHist(const BITMAPINFOHEADER* inSourceHeader, const void* inSourceBits,
                      const BITMAPINFOHEADER* inDestinationHeader, void* outDestinationBits,
                      HPALETTE, const std::uint8_t* inLookup, std::uint16_t inSourceStride,
                      std::uint16_t inDestinationStride) {
    if (!inSourceHeader || !inDestinationHeader || !inLookup) return;
    Reduction job =
        Prepare(*inSourceHeader, inSourceBits, *inDestinationHeader, outDestinationBits, inLookup);
    if (inSourceStride != 0) job.sourceStride = inSourceStride;
    if (inDestinationStride != 0) job.destinationStride = inDestinationStride;
    ReduceColours<4>(job);
}

// Palettes for pictures: a histogram of 32 by 32 by 32 colours, cut into boxes, and the reduction
// of pictures to 8-bit indices. Plain functions. A cell of the histogram is red << 10 | green << 5
// | blue, each the upper five bits of a component; a lookup table has a palette index for every
// cell.
//
// The current histogram, the current lookup table and the boxes belong to the process: what uses
// them runs on one thread at a time. Functions whose names end in Hist, and HistogramToPalette,
// take the histogram as an argument; of these, Histogram32Hist alone uses no boxes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Export.h"
#include "contracts/Win32.h"

/// A box of cells. Bounds are inclusive.
struct QuantisationBox {
    QuantisationBox* next;
    std::int32_t redMin, redMax;
    std::int32_t greenMin, greenMax;
    std::int32_t blueMin, blueMax;
    std::int32_t priority;  ///< squared error of its pixels; 0: it is not cut any further
    std::int32_t count;     ///< its pixels
    std::uint64_t reserved[2];
};
static_assert(offsetof(QuantisationBox, redMin) == 8 && offsetof(QuantisationBox, priority) == 32);
static_assert(offsetof(QuantisationBox, count) == 36 && sizeof(QuantisationBox) == 56);

/// Where to cut a box.
struct QuantisationSplit {
    std::uint32_t unusedA;
    std::int32_t coordinate;  ///< the last one of the lower part
    std::uint32_t unusedB;
    std::int32_t axis;  ///< 0 red, 1 green, 2 blue
    std::uint32_t unusedC[4];
};
static_assert(offsetof(QuantisationSplit, coordinate) == 4 && sizeof(QuantisationSplit) == 32);

extern "C" {

// ---------------------------------------------------------------------------------------------
// Histograms: 32,768 counters of 32 bits, which stop at their largest number.

/// A new histogram of zeros, null without memory; or the one that is given.
VF_EXPORT std::uint32_t* InitHistogram(std::uint32_t* inHistogram);
/// Frees one that InitHistogram made. Null is ignored.
VF_EXPORT void FreeHistogram(std::uint32_t* inHistogram);
VF_EXPORT void UseHistogram(std::uint32_t* inHistogram);
/// A counter of the current histogram, by cell coordinates from 0 to 31.
VF_EXPORT std::uint32_t GetHistogram(std::uint8_t inRed, std::uint8_t inGreen, std::uint8_t inBlue);
VF_EXPORT void IncHistogram(std::uint16_t inCell);
VF_EXPORT void IncHistogramHist(std::uint16_t inCell, std::uint32_t* ioHistogram);

// ---------------------------------------------------------------------------------------------
// Counting. Each but Histogram32Hist makes the histogram the current one. Strides are 16-bit
// numbers of bytes; what is to be passed over at the end of a line is counted modulo 65,536.

VF_EXPORT void Histogram32(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                           std::uint16_t inStride, std::uint32_t* ioHistogram);
VF_EXPORT void Histogram24(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                           std::uint16_t inStride, std::uint32_t* ioHistogram);
VF_EXPORT void Histogram16(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                           std::uint16_t inStride, std::uint32_t* ioHistogram);
/// inCells gives the cell of each of 256 colour-table entries. At 4 and 1 bit, every pixel of the
/// last byte of a line counts.
VF_EXPORT void Histogram8(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                          std::uint16_t inStride, std::uint32_t* ioHistogram,
                          const std::uint16_t* inCells);
VF_EXPORT void Histogram4(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                          std::uint16_t inStride, std::uint32_t* ioHistogram,
                          const std::uint16_t* inCells);
VF_EXPORT void Histogram1(const void* inBits, std::int32_t inWidth, std::int32_t inHeight,
                          std::uint16_t inStride, std::uint32_t* ioHistogram,
                          const std::uint16_t* inCells);
/// Returns the height. What is to be passed over has a sign here.
VF_EXPORT std::int32_t Histogram32Hist(const void* inBits, std::int32_t inWidth,
                                       std::int32_t inHeight, std::int16_t inStride,
                                       std::uint32_t* ioHistogram);

/// Counts a rectangle of a DIB of 1, 4, 8, 16, 24 or 32 bits; y counts its lines in memory. Null
/// bits are those behind the colour table. A width or height that is negative, or larger than the
/// picture's, is the picture's. Sets biClrUsed where it is 0 and there is a colour table. Returns
/// 1, or 0 for a null header or histogram.
VF_EXPORT int DibHistogram(BITMAPINFOHEADER* ioHeader, const void* inBits, std::int32_t inX,
                           std::int32_t inY, std::int32_t inWidth, std::int32_t inHeight,
                           std::uint32_t* ioHistogram);

// ---------------------------------------------------------------------------------------------
// Boxes

/// A block of inCount boxes, at least 2: the first is the list and holds all cells, the others are
/// free. 0 without memory, or for a smaller count.
VF_EXPORT int InitBoxes(std::int32_t inCount);
VF_EXPORT void DeleteBoxes();
/// By their counts, the largest first.
VF_EXPORT void SortBoxes();
/// Squared error around the mean of inMin to inMax, of 32 counts whose sum is inTotal; 32-bit
/// arithmetic without a sign. The first argument makes no difference.
VF_EXPORT std::uint32_t AddAxisVariance(std::int32_t, const std::uint32_t* inCounts,
                                        std::int32_t inMin, std::int32_t inMax,
                                        std::uint32_t inTotal);
/// Set the count and priority of a box.
VF_EXPORT void ShrinkBox(QuantisationBox* ioBox);
VF_EXPORT void ShrinkBoxHist(QuantisationBox* ioBox, const std::uint32_t* inHistogram);
/// Where the variance between both parts of a box is greatest; at 0 of red when nowhere.
VF_EXPORT void FindSplitAxis(QuantisationSplit* outSplit, const QuantisationBox* inBox);
VF_EXPORT void FindSplitAxisHist(QuantisationSplit* outSplit, const QuantisationBox* inBox,
                                 const std::uint32_t* inHistogram);
/// Cuts a box; the upper part is the first free box, and stays at the head of the free list.
/// Returns 0, or 1 for a box that is not to be cut (or when no box is free).
VF_EXPORT int SplitBoxAxis(QuantisationBox* ioBox, const QuantisationSplit* inSplit);
/// Cut the box at the head of the list and put both parts in order.
VF_EXPORT void SplitBox(QuantisationBox* ioBox);
VF_EXPORT void SplitBoxHist(QuantisationBox* ioBox, const std::uint32_t* inHistogram);
/// The mean colour of a box, 0x00BBGGRR. Gives its cells the index in the lookup table, where one is
/// given.
VF_EXPORT COLORREF DetermineRepresentative(const QuantisationBox* inBox, std::uint8_t inIndex);
VF_EXPORT COLORREF DetermineRepresentativeHist(const QuantisationBox* inBox, std::uint8_t inIndex,
                                               std::uint8_t* outLookup,
                                               const std::uint32_t* inHistogram);

// ---------------------------------------------------------------------------------------------
// Palettes

/// A palette of at most inMaxColours entries, or with more than 236 one of 256 that begins and ends
/// with ten colours of the system. Fills the lookup table unless it is null. Counters of more than
/// 65,535 are scaled down with all others, in the histogram itself. Null without memory, or for
/// fewer than 2 colours.
VF_EXPORT HPALETTE HistogramPalette(std::uint32_t* ioHistogram, std::uint8_t* outLookup,
                                    std::int32_t inMaxColours);
VF_EXPORT HPALETTE HistogramToPalette(std::uint32_t* ioHistogram, std::uint8_t* outLookup,
                                      std::int32_t inMaxColours);

/// Fills a lookup table with the nearest entries of a palette.
VF_EXPORT void MakePalLookup(std::uint8_t* outLookup, HPALETTE inPalette);

/// Writes an index for every pixel of a DIB of 1, 4, 8, 16, 24 or 32 bits. Null bits are those
/// behind a header and a colour table as long as the source's. Output lines are multiples of 4
/// bytes.
VF_EXPORT void ReducePixels(const BITMAPINFOHEADER* inSourceHeader, const void* inSourceBits,
                            const BITMAPINFOHEADER* inDestinationHeader, void* outDestinationBits,
                            HPALETTE inPalette, const std::uint8_t* inLookup);
/// The same for 32 bits, with strides; 0 stands for that of ReducePixels.
VF_EXPORT void ReducePixelsHist(const BITMAPINFOHEADER* inSourceHeader, const void* inSourceBits,
                                const BITMAPINFOHEADER* inDestinationHeader,
                                void* outDestinationBits, HPALETTE inPalette,
                                const std::uint8_t* inLookup, std::uint16_t inSourceStride,
                                std::uint16_t inDestinationStride);

}  // extern "C"

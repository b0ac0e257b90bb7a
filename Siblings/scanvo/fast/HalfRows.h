// Rows of Y'CbCr with half chroma as whole numbers of 16 bits: what every 8- and 10-bit format can
// be read as and written from.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/Picture.h"
#include "rows/Colour.h"

namespace scanvo {

/// 8-bit codes times 256. Chroma has Cb of each pair of pixels and then its Cr.
struct HalfRow {
    std::uint16_t* luma;
    std::uint16_t* chroma;
};

/// Numbers that each array of a row has room for beyond its pixels.
constexpr std::int32_t kHalfRowRoom = 96;

/// The last pair goes on behind the row, and an odd row's last luma is that of its pair's second
/// pixel, too.
inline void ContinueHalfRow(std::int32_t inWidth, const HalfRow& ioRow) {
    const std::int32_t end = inWidth + inWidth % 2;
    ioRow.luma[end - 1] = ioRow.luma[inWidth - 1];
    for (std::int32_t x = end; x < end + 2; ++x)
        ioRow.chroma[x] = ioRow.chroma[x - 2];
}

/// Between Y'CbCr of two matrices, in 2^-15: what luma takes of chroma, what Cb and Cr take of
/// themselves beyond all of it, and of each other.
struct HalfRowMatrix {
    std::int16_t lumaOfCb, lumaOfCr;
    std::int16_t cbOfCb, cbOfCr, crOfCb, crOfCr;
};

/// Where a chroma row lies in memory.
struct ChromaCodes {
    const std::byte *cb, *cr;
    int step;  ///< bytes from one sample to the next
};

/// All functions fill luma and chroma so that what goes on behind the last pair is that pair.
struct HalfRowFunctions {
    /// From a row of inFormat, and to one; null for a format that is none of those.
    void (*load)(const std::byte* inRow, std::int32_t inWidth, const HalfRow& outRow);
    void (*store)(const HalfRow& inRow, std::int32_t inWidth, std::byte* outRow);

    void (*loadLuma)(const std::byte* inCodes, std::int32_t inWidth, std::uint16_t* outLuma);
    void (*storeLuma)(const std::uint16_t* inLuma, std::int32_t inWidth, std::byte* outCodes);
    /// The mean of two rows, of which the second counts for inEighths of 8.
    void (*mixChroma)(const ChromaCodes& inFirst, const ChromaCodes& inSecond, int inEighths,
                      std::int32_t inWidth, std::uint16_t* outChroma);
    /// The mean of four rows, which count for so many of 16.
    void (*storeChroma)(const std::array<const std::uint16_t*, 4>& inRows,
                        const std::array<std::uint16_t, 4>& inSixteenths, std::int32_t inWidth,
                        int inStep, std::byte* outCb, std::byte* outCr);
    void (*applyMatrix)(const HalfRowMatrix& inMatrix, std::int32_t inWidth, const HalfRow& ioRow);

    /// To and from planes of floats with half chroma.
    void (*toFloats)(const HalfRow& inRow, std::int32_t inWidth, const PlanarRow& outRow);
    void (*fromFloats)(const PlanarRow& inRow, std::int32_t inWidth, const HalfRow& outRow);
};

/// Whether rows of such pictures can be read into half rows and written from them.
constexpr bool HasHalfRows(const Format& inFormat) {
    const ChromaRows rows = inFormat.chroma.rows;
    return inFormat.layout == Layout::Packed422 ||
           (inFormat.layout == Layout::Planar && inFormat.chroma.columnShift == 1 &&
            (rows == ChromaRows::OfFields || rows == ChromaRows::Between));
}

/// All null without vectors. Pixels of four bytes are loaded as what they are in inMatrix, where
/// luma still has its own chroma to take from; R'G'B' is stored from rows in inMatrix. Alpha is
/// taken for opaque and made so.
HalfRowFunctions FindHalfRowFunctions(const Format& inFormat, Matrix inMatrix);

}  // namespace scanvo

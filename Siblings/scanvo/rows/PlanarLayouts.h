// Rows of planar pictures: Y', Cb and Cr in planes of their own, 8-bit, with fewer chroma samples
// than pixels.
//
// Where the samples lie is in the format: see ChromaGrid and PlanePlace.
#pragma once

#include <array>
#include <vector>

#include "rows/Filters.h"
#include "rows/RowLayouts.h"
#include "rows/Scratch.h"

namespace scanvo {

/// Which chroma rows of a plane (0 Cb, 1 Cr) a row of pixels lies between, all from the top, and
/// how much the second counts.
struct ChromaPlace {
    std::int32_t above, below;
    double share;
};
ChromaPlace ChromaPlaceOf(const Format& inFormat, std::int32_t inHeight, std::size_t inPlane,
                          std::int32_t inRowFromTop);

/// The fields that have chroma rows of their own: 2, or 1 where rows of both share them.
std::int32_t ChromaFieldCount(const Format& inFormat, std::int32_t inHeight);

/// From the chroma rows of one field to those of the same field, of two heights. Everything else is
/// as in inDown, which is for the rows of pixels.
Axis ChromaRowAxis(const Format& inSource, std::int32_t inSourceHeight, const Format& inDestination,
                   std::int32_t inHeight, std::int32_t inField, const Axis& inDown);

/// The first of the rows of pixels, from the top, that share a chroma row.
std::int32_t FirstRowOf(const Format& inFormat, std::int32_t inHeight, std::int32_t inChromaRow);

/// Loads luma as it is and chroma as one sample for every other pixel, interpolated between rows,
/// and along them where there are fewer.
void LoadPlanes(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
                const PlanarRow& outRow);

/// Loads chroma row number inChromaRow from the top as it is, of a picture with one chroma sample
/// for every other pixel.
void LoadChromaRow(const Source& inPicture, std::int32_t inChromaRow, const CodeRanges& inRanges,
                   const PlanarRow& outRow);

/// Stores every row of a planar picture once, rows or rows of each field in either order. Rows have
/// one chroma sample for every other pixel. A chroma row is stored when all rows that are part of
/// it have come.
class PlanarStore {
  public:
    PlanarStore(const Destination& inPicture, const CodeRanges& inRanges, Scratch& ioScratch);

    void Store(const PlanarRow& inRow, std::int32_t inRowNumber);

    /// For who has the chroma rows themselves: luma alone, and a chroma row as LoadChromaRow gives
    /// it.
    void StoreLuma(const PlanarRow& inRow, std::int32_t inRowNumber);
    void StoreChromaRow(const PlanarRow& inRow, std::int32_t inChromaRow);

  private:
    /// A chroma row of which not all pixel rows have come.
    struct OpenRow {
        std::int32_t number = -1;
        std::int32_t count = 0;
        float* samples = nullptr;
    };
    static constexpr std::size_t kOpenRows = 4;
    static constexpr std::size_t kFields = 2;
    /// What one chroma plane is made of.
    struct Plane {
        std::vector<WeightTable> weights;  ///< by field
        std::array<std::array<OpenRow, kOpenRows>, kFields> open;
    };

    void AddChroma(std::size_t inPlane, const float* inSamples, std::int32_t inRowFromTop);
    void StoreChroma(std::size_t inPlane, const float* inSamples, std::int32_t inChromaRow);

    Destination picture_;
    CodeRanges ranges_;
    std::int32_t fieldCount_;
    std::array<Plane, 2> planes_;
    float* quartered_ = nullptr;
};

}  // namespace scanvo

// Convex quadrilaterals: the projective map between two, and what they cover of pixels.
#pragma once

#include <array>
#include <cstdint>

#include "contracts/Scanvo.h"

namespace scanvo {

/// Corners in the order in which they go round, either way.
using Quad = std::array<SV_Point, 4>;

/// Whether the corners are finite and of a size that leaves precision, and bound a convex area.
bool IsProper(const Quad& inQuad);

/// Takes (x, y) to (row 0 / row 2, row 1 / row 2) of the matrix times (x - origin.x, y - origin.y,
/// 1).
struct Projection {
    SV_Point origin{};
    std::array<std::array<double, 3>, 3> matrix{};
};

/// The map that takes each corner of one quadrilateral to that of the other. Row 2 gives 1 in the
/// middle of inFrom and is positive all over it.
Projection ProjectionBetween(const Quad& inFrom, const Quad& inTo);

/// The value of one row of the matrix at a place.
double ValueAt(const Projection& inProjection, std::size_t inRow, const SV_Point& inPlace);

/// Columns, the end exclusive. They may lie anywhere.
struct Span {
    double begin = 0;
    double end = 0;
};

/// What a quadrilateral covers of the pixels of one row: the area of the part that is inside.
class RowCoverage {
  public:
    RowCoverage(const Quad& inQuad, std::int32_t inRow);

    /// The pixels that are covered in part at least.
    Span Touched() const { return touched_; }
    /// The pixels that are covered whole, inside the touched ones; empty if there are none.
    Span Filled() const { return filled_; }
    /// How much of the pixel in a column is covered.
    double Of(std::int32_t inColumn) const;

  private:
    // The part of an edge inside the row.
    struct Edge {
        /// The height of the part; negative on the left side.
        double height;
        /// Its smallest and largest x.
        double low, high;
    };

    double AreaLeftOf(double inX) const;
    void FindSpans(bool inIsRowInside);

    std::array<Edge, 4> edges_;
    std::size_t edgeCount_ = 0;
    Span touched_;
    Span filled_;
};

/// The pixels of a row whose centres are inside; none is shared by quadrilaterals side by side.
Span CentresInside(const Quad& inQuad, std::int32_t inRow);

}  // namespace scanvo

#include "operations/Quadrilateral.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace scanvo {
namespace {

constexpr std::size_t kCorners = 4;
constexpr double kLargestCoordinate = 1e9;
// Sines of the angles between edges. Corners that are flatter count as lying on one line.
constexpr double kFlattest = 1e-9;

using Matrix = std::array<std::array<double, 3>, 3>;

SV_Point Difference(const SV_Point& inLeft, const SV_Point& inRight) {
    return {inLeft.x - inRight.x, inLeft.y - inRight.y};
}

double Cross(const SV_Point& inLeft, const SV_Point& inRight) {
    return inLeft.x * inRight.y - inLeft.y * inRight.x;
}

SV_Point EdgeFrom(const Quad& inQuad, std::size_t inCorner) {
    return Difference(inQuad[(inCorner + 1) % kCorners], inQuad[inCorner % kCorners]);
}

// The sine of the turn at the end of an edge.
double TurnAfter(const Quad& inQuad, std::size_t inCorner) {
    const SV_Point first = EdgeFrom(inQuad, inCorner);
    const SV_Point second = EdgeFrom(inQuad, inCorner + 1);
    return Cross(first, second) / (std::hypot(first.x, first.y) * std::hypot(second.x, second.y));
}

// ---- Maps ---------------------------------------------------------------------------------------

// Takes the corners of the unit square, (0, 0), (1, 0), (1, 1), (0, 1), to those of a quadrilateral
// whose first corner counts as (0, 0).
Matrix FromUnitSquare(const Quad& inQuad) {
    const SV_Point p1 = Difference(inQuad[1], inQuad[0]);
    const SV_Point p2 = Difference(inQuad[2], inQuad[0]);
    const SV_Point p3 = Difference(inQuad[3], inQuad[0]);
    const SV_Point a = Difference(p1, p2);
    const SV_Point b = Difference(p3, p2);
    const SV_Point skew = {p2.x - p1.x - p3.x, p2.y - p1.y - p3.y};
    const double area = Cross(a, b);
    const double g = Cross(skew, b) / area;
    const double h = Cross(a, skew) / area;
    return {{{p1.x * (1 + g), p3.x * (1 + h), 0}, {p1.y * (1 + g), p3.y * (1 + h), 0}, {g, h, 1}}};
}

// The inverse but for a factor, which makes no difference to a projective map.
Matrix Adjugate(const Matrix& m) {
    Matrix result;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            const std::size_t r1 = (column + 1) % 3, r2 = (column + 2) % 3;
            const std::size_t c1 = (row + 1) % 3, c2 = (row + 2) % 3;
            result[row][column] = m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
        }
    }
    return result;
}

Matrix Product(const Matrix& inLeft, const Matrix& inRight) {
    Matrix product{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (std::size_t i = 0; i < 3; ++i)
                product[row][column] += inLeft[row][i] * inRight[i][column];
        }
    }
    return product;
}

SV_Point Middle(const Quad& inQuad) {
    SV_Point sum{};
    for (const SV_Point& corner : inQuad)
        sum = {sum.x + corner.x, sum.y + corner.y};
    return {sum.x / kCorners, sum.y / kCorners};
}

// ---- Edges --------------------------------------------------------------------------------------

// An edge from its end with the smaller y to the other.
struct Slope {
    SV_Point top, bottom;

    double At(double inY) const {
        const double x = top.x + (inY - top.y) / (bottom.y - top.y) * (bottom.x - top.x);
        const auto [low, high] = std::minmax(top.x, bottom.x);
        return std::clamp(x, low, high);
    }
};

// Calls inVisit(edge, whether the area lies to its left) for all that are not level.
template <class Visit>
void ForEachSlope(const Quad& inQuad, const Visit& inVisit) {
    const bool isTurnedRight = TurnAfter(inQuad, 0) > 0;
    for (std::size_t i = 0; i < kCorners; ++i) {
        const SV_Point& from = inQuad[i];
        const SV_Point& to = inQuad[(i + 1) % kCorners];
        if (from.y == to.y) continue;
        const bool goesDown = from.y < to.y;
        inVisit(goesDown ? Slope{from, to} : Slope{to, from}, goesDown == isTurnedRight);
    }
}

bool IsWithin(const Quad& inQuad, double inTop, double inBottom) {
    const auto [least, most] = std::minmax_element(
        inQuad.begin(), inQuad.end(),
        [](const SV_Point& left, const SV_Point& right) { return left.y < right.y; });
    return least->y <= inTop && inBottom <= most->y;
}

}  // namespace

bool IsProper(const Quad& inQuad) {
    for (const SV_Point& corner : inQuad) {
        if (!(std::abs(corner.x) <= kLargestCoordinate)) return false;
        if (!(std::abs(corner.y) <= kLargestCoordinate)) return false;
    }
    // Four turns of one direction, each of less than a half, are one round. A repeated corner
    // gives a turn that is no number.
    int turns = 0;
    for (std::size_t i = 0; i < kCorners; ++i) {
        const double turn = TurnAfter(inQuad, i);
        turns += (turn > kFlattest) - (turn < -kFlattest);
    }
    return std::abs(turns) == kCorners;
}

Projection ProjectionBetween(const Quad& inFrom, const Quad& inTo) {
    Projection projection{inFrom[0],
                          Product(FromUnitSquare(inTo), Adjugate(FromUnitSquare(inFrom)))};
    Matrix& matrix = projection.matrix;
    for (std::size_t column = 0; column < 3; ++column) {
        matrix[0][column] += inTo[0].x * matrix[2][column];
        matrix[1][column] += inTo[0].y * matrix[2][column];
    }
    const double middle = ValueAt(projection, 2, Middle(inFrom));
    for (auto& row : matrix) {
        for (double& value : row)
            value /= middle;
    }
    return projection;
}

double ValueAt(const Projection& inProjection, std::size_t inRow, const SV_Point& inPlace) {
    const auto& row = inProjection.matrix[inRow];
    return row[0] * (inPlace.x - inProjection.origin.x) +
           row[1] * (inPlace.y - inProjection.origin.y) + row[2];
}

RowCoverage::RowCoverage(const Quad& inQuad, std::int32_t inRow) {
    const double top = inRow;
    const double bottom = top + 1;
    ForEachSlope(inQuad, [&](const Slope& slope, bool isRight) {
        const double from = std::max(top, slope.top.y);
        const double to = std::min(bottom, slope.bottom.y);
        if (from >= to) return;
        const auto [low, high] = std::minmax({slope.At(from), slope.At(to)});
        edges_[edgeCount_++] = {isRight ? to - from : from - to, low, high};
    });
    if (edgeCount_ != 0) FindSpans(IsWithin(inQuad, top, bottom));
}

void RowCoverage::FindSpans(bool inIsRowInside) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    double leftmost = kInfinity, rightmost = -kInfinity;
    double left = -kInfinity, right = kInfinity;
    for (std::size_t i = 0; i < edgeCount_; ++i) {
        const Edge& edge = edges_[i];
        leftmost = std::min(leftmost, edge.low);
        rightmost = std::max(rightmost, edge.high);
        if (edge.height < 0) left = std::max(left, edge.high);
        if (edge.height > 0) right = std::min(right, edge.low);
    }
    touched_ = {std::floor(leftmost), std::ceil(rightmost)};
    filled_ = {std::ceil(left), std::floor(right)};
    if (!inIsRowInside || filled_.begin >= filled_.end) filled_ = {touched_.end, touched_.end};
}

// Of each edge: its height times the mean of min(x, inX) along it.
double RowCoverage::AreaLeftOf(double inX) const {
    double area = 0;
    for (std::size_t i = 0; i < edgeCount_; ++i) {
        const auto& [height, low, high] = edges_[i];
        if (inX <= low) {
            area += height * inX;
        } else if (inX >= high) {
            area += height * (low + high) / 2;
        } else {
            area += height * (inX - (inX - low) * (inX - low) / (2 * (high - low)));
        }
    }
    return area;
}

double RowCoverage::Of(std::int32_t inColumn) const {
    const double left = inColumn;
    return std::clamp(AreaLeftOf(left + 1) - AreaLeftOf(left), 0.0, 1.0);
}

Span CentresInside(const Quad& inQuad, std::int32_t inRow) {
    const double y = inRow + 0.5;
    Span span;
    ForEachSlope(inQuad, [&](const Slope& slope, bool isRight) {
        if (y < slope.top.y || y >= slope.bottom.y) return;
        (isRight ? span.end : span.begin) = std::ceil(slope.At(y) - 0.5);
    });
    return span;
}

}  // namespace scanvo

// Polygons and Bezier outlines, filled with what another picture shows there.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>

#include "VideoFrame/RasterTools.h"
#include "raster/Rectangles.h"

namespace VF {
namespace {

constexpr std::int64_t kPixelBytes = 4;

bool AreDrawable(std::span<const TPixPoint> inPoints) {
    constexpr float kFarthest = 1e9F;
    // Not true of what is no number.
    const auto isNear = [](float place) { return std::abs(place) <= kFarthest; };
    return std::all_of(inPoints.begin(), inPoints.end(),
                       [&](const TPixPoint& point) { return isNear(point.x) && isNear(point.y); });
}

// ---------------------------------------------------------------------------------------------
// Spans

/// Columns and lines that a picture has, from 0 on.
struct Extent {
    explicit Extent(const TPix& inRecord)
        : columns(WidthOf(inRecord.bounds)), lines(HeightOf(inRecord.bounds)) {}

    bool IsEmpty() const { return columns <= 0 || lines <= 0; }

    std::int32_t columns;
    std::int32_t lines;
};

/// The first and last pixel whose centres are between two places, inside a picture's sides.
struct PixelRange {
    PixelRange(float inFrom, float inTo, std::int32_t inCount)
        : first(static_cast<std::int32_t>(
              std::clamp(std::ceil(double{inFrom} - 0.5), 0.0, double{kBeyond}))),
          last(static_cast<std::int32_t>(
              std::clamp(std::floor(double{inTo} - 0.5), -1.0, double(inCount - 1)))) {}

    static constexpr std::int32_t kBeyond = std::numeric_limits<std::int32_t>::max();

    std::int32_t first;
    std::int32_t last;
};

/// Copies pixels of one line; beyond its edges the source goes on.
class SpanCopier {
  public:
    SpanCopier(const TPix& inSource, const TPix& inDestination)
        : source_(inSource), extent_(inSource), destination_(inDestination) {}

    void Copy(std::int32_t inLine, const PixelRange& inColumns) const {
        const std::int64_t sourceLine = std::min(inLine, extent_.lines - 1);
        const std::uint8_t* const source = source_.pixels + sourceLine * source_.rowbytes;
        std::uint8_t* const destination =
            destination_.pixels + std::int64_t{inLine} * destination_.rowbytes;
        const std::int64_t there = std::min(inColumns.last + 1, extent_.columns);
        std::int64_t x = inColumns.first;
        if (x < there) {
            std::memcpy(destination + kPixelBytes * x, source + kPixelBytes * x,
                        static_cast<std::size_t>(kPixelBytes * (there - x)));
            x = there;
        }
        for (; x <= inColumns.last; ++x) {
            std::memcpy(destination + kPixelBytes * x, source + kPixelBytes * (extent_.columns - 1),
                        kPixelBytes);
        }
    }

  private:
    const TPix& source_;
    Extent extent_;
    const TPix& destination_;
};

// ---------------------------------------------------------------------------------------------
// The scan converter

/// An edge, named by the vertex that it starts from, where it crosses the middle of a line.
struct ActiveEdge {
    std::size_t vertex;
    float x;
    float step;  // from line to line
};

/// Goes through the lines of a polygon and keeps the edges that cross each.
class ScanConverter {
  public:
    explicit ScanConverter(std::span<const TPixPoint> inPoints)
        : points_(inPoints), byHeight_(inPoints.size()), isGone_(inPoints.size()) {
        std::iota(byHeight_.begin(), byHeight_.end(), std::size_t{0});
        std::sort(byHeight_.begin(), byHeight_.end(), [this](std::size_t left, std::size_t right) {
            return points_[left].y < points_[right].y;
        });
    }

    /// Lines that the polygon crosses, of a picture with that many.
    PixelRange Lines(std::int32_t inCount) const {
        return {points_[byHeight_.front()].y, points_[byHeight_.back()].y, inCount};
    }

    /// The edges that cross the middle of a line, from left to right; each line once, in order.
    std::span<const ActiveEdge> EdgesAt(std::int32_t inLine) {
        for (ActiveEdge& edge : active_)
            edge.x += edge.step;
        const float middle = static_cast<float>(inLine) + 0.5F;
        for (; next_ < byHeight_.size() && points_[byHeight_[next_]].y <= middle; ++next_)
            Pass(byHeight_[next_], middle);
        if (hasChanged_) {
            std::erase_if(active_, [this](const ActiveEdge& edge) { return isGone_[edge.vertex]; });
            hasChanged_ = false;
        }
        const auto isLeft = [](const ActiveEdge& left, const ActiveEdge& right) {
            return left.x < right.x;
        };
        // From line to line, edges mostly keep their order.
        if (!std::is_sorted(active_.begin(), active_.end(), isLeft))
            std::sort(active_.begin(), active_.end(), isLeft);
        return active_;
    }

  private:
    std::size_t After(std::size_t inVertex) const {
        return inVertex + 1 == points_.size() ? 0 : inVertex + 1;
    }
    std::size_t Before(std::size_t inVertex) const {
        return (inVertex == 0 ? points_.size() : inVertex) - 1;
    }

    /// The line has come to a vertex: the edges that end there go, those that begin there come.
    void Pass(std::size_t inVertex, float inMiddle) {
        PassEdge(Before(inVertex), points_[Before(inVertex)].y, inMiddle);
        PassEdge(inVertex, points_[After(inVertex)].y, inMiddle);
    }
    void PassEdge(std::size_t inEdge, float inOtherEnd, float inMiddle) {
        if (inOtherEnd <= inMiddle - 1)
            isGone_[inEdge] = hasChanged_ = true;
        else if (inOtherEnd > inMiddle)
            Insert(inEdge, inMiddle);
    }
    void Insert(std::size_t inEdge, float inMiddle) {
        TPixPoint top = points_[inEdge];
        TPixPoint bottom = points_[After(inEdge)];
        if (bottom.y < top.y) std::swap(top, bottom);
        const float height = bottom.y == top.y ? 1.0F : bottom.y - top.y;
        const float step = (bottom.x - top.x) / height;
        active_.push_back({inEdge, top.x + step * (inMiddle - top.y), step});
    }

    std::span<const TPixPoint> points_;
    std::vector<std::size_t> byHeight_;
    std::vector<bool> isGone_;
    bool hasChanged_ = false;  // since edges that are gone were taken out
    std::vector<ActiveEdge> active_;
    std::size_t next_ = 0;
};

void FillPolygon(const TPix& ioDestination, const TPix& inSource,
                 std::span<const TPixPoint> inPoints) {
    const Extent extent(ioDestination);
    if (inPoints.empty() || extent.IsEmpty() || Extent(inSource).IsEmpty()) return;
    if (!AreDrawable(inPoints)) return;
    ScanConverter converter(inPoints);
    const SpanCopier copier(inSource, ioDestination);
    const PixelRange lines = converter.Lines(extent.lines);
    for (std::int32_t line = lines.first; line <= lines.last; ++line) {
        const std::span<const ActiveEdge> edges = converter.EdgesAt(line);
        for (std::size_t i = 0; i + 1 < edges.size(); i += 2)
            copier.Copy(line, PixelRange(edges[i].x, edges[i + 1].x, extent.columns));
    }
}

// ---------------------------------------------------------------------------------------------
// Curves

struct Cubic {
    TPixPoint points[4];
};

float Distance(const TPixPoint& inFrom, const TPixPoint& inTo) {
    return std::hypot(inTo.x - inFrom.x, inTo.y - inFrom.y);
}

/// How far the inner points are from the chord.
float Flatness(const Cubic& inCurve) {
    constexpr float kNoLength = 0.0001F;
    const TPixPoint& start = inCurve.points[0];
    const TPixPoint& first = inCurve.points[1];
    const TPixPoint& second = inCurve.points[2];
    const TPixPoint& end = inCurve.points[3];
    const float length = Distance(start, end);
    if (length <= kNoLength) return std::max(Distance(start, first), Distance(start, second));
    const auto fromChord = [&](const TPixPoint& point) {
        const float cross =
            (point.x - start.x) * (end.y - start.y) - (point.y - start.y) * (end.x - start.x);
        return std::abs(cross) / length;
    };
    return std::max(fromChord(first), fromChord(second));
}

TPixPoint Middle(const TPixPoint& inLeft, const TPixPoint& inRight) {
    return {(inLeft.x + inRight.x) * 0.5F, (inLeft.y + inRight.y) * 0.5F};
}

bool AreTogether(const TPixPoint& inLeft, const TPixPoint& inRight) {
    return std::abs(inLeft.x - inRight.x) + std::abs(inLeft.y - inRight.y) < 0.001F;
}

/// Both halves of a curve, by de Casteljau's construction.
std::pair<Cubic, Cubic> Halves(const Cubic& inCurve) {
    const auto& [start, first, second, end] = inCurve.points;
    const TPixPoint startFirst = Middle(start, first);
    const TPixPoint inner = Middle(first, second);
    const TPixPoint secondEnd = Middle(second, end);
    TPixPoint before = Middle(startFirst, inner);
    TPixPoint after = Middle(inner, secondEnd);
    const TPixPoint split = Middle(before, after);
    // A curve without handles is a line; its halves have none either.
    if (AreTogether(start, first) && AreTogether(second, end)) before = after = split;
    return {{{start, startFirst, before, split}}, {{split, after, secondEnd, end}}};
}

/// Appends the ends of straight pieces. Beyond kMostHalvings, numbers are too coarse to tell a
/// curve from a line.
void Flatten(const Cubic& inCurve, int inHalvings, std::vector<TPixPoint>& ioPoints) {
    constexpr float kTolerance = 0.5F;
    constexpr int kMostHalvings = 16;
    if (inHalvings == kMostHalvings || !(Flatness(inCurve) > kTolerance)) {
        ioPoints.push_back(inCurve.points[3]);
        return;
    }
    const auto [first, second] = Halves(inCurve);
    Flatten(first, inHalvings + 1, ioPoints);
    Flatten(second, inHalvings + 1, ioPoints);
}

}  // namespace
}  // namespace VF

void DoRenderPolygon(TPixHand ioDestination, TPixHand inSource,
                     const std::vector<TPixPoint>* inPoints, std::uint32_t) {
    VF::FillPolygon(**ioDestination, **inSource, *inPoints);
}

void DoRenderPolyBezier(TPixHand ioDestination, TPixHand inSource,
                        const std::vector<TPixPoint>* inPoints, std::uint32_t inFormat) {
    const std::vector<TPixPoint>& points = *inPoints;
    if (!VF::AreDrawable(points)) return;
    std::vector<TPixPoint> outline;
    for (std::size_t i = 0; i + 3 < points.size(); i += 3) {
        outline.push_back(points[i]);
        VF::Flatten({{points[i], points[i + 1], points[i + 2], points[i + 3]}}, 0, outline);
    }
    DoRenderPolygon(ioDestination, inSource, &outline, inFormat);
}

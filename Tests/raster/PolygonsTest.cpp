#include <cmath>
#include <limits>
#include <optional>

#include "Pictures.h"

namespace raster_test {
namespace {

using Points = std::vector<TPixPoint>;

constexpr float kPi = 3.14159265F;

class Polygons : public testing::Test {
  protected:
    /// Fills and expects exactly the pixels that inIsIn names, with what the source has there; a
    /// pixel for which it says nothing may be either.
    template <class IsInside>
    void ExpectFills(const Points& inPoints, bool inIsBezier, const IsInside& inIsIn) {
        LocalRecord actual = background_;
        (inIsBezier ? DoRenderPolyBezier : DoRenderPolygon)(actual.Handle(), source_.Handle(),
                                                            &inPoints, 0);
        for (std::int32_t y = 0; y < actual.Height(); ++y) {
            for (std::int32_t x = 0; x < actual.Width(); ++x) {
                const std::optional<bool> isIn = inIsIn(x + 0.5, LineOf(y) + 0.5);
                if (!isIn) continue;
                const Pixel expected = *isIn ? SourceAt(x, y) : background_.At(x, y);
                ASSERT_EQ(actual.At(x, y), expected) << x << ", " << y;
            }
        }
    }

    /// Polygons count lines in memory.
    std::int32_t LineOf(std::int32_t inY) const { return background_.Height() - 1 - inY; }
    Pixel SourceAt(std::int32_t inX, std::int32_t inY) const {
        return source_.At(std::min(inX, source_.Width() - 1),
                          source_.Height() - 1 - std::min(LineOf(inY), source_.Height() - 1));
    }

    std::mt19937 random_{17};
    // Smaller than the destination, whose pixels beyond it take those of its edges.
    LocalRecord source_{50, 36, 4, random_};
    const LocalRecord background_{60, 40, 0, random_};
};

/// By the even-odd rule; nothing for a point close to an edge.
std::optional<bool> IsInPolygon(const Points& inPoints, double inX, double inY) {
    constexpr double kClose = 0.002;
    bool isIn = false;
    for (std::size_t i = 0; i < inPoints.size(); ++i) {
        const TPixPoint& a = inPoints[i];
        const TPixPoint& b = inPoints[(i + 1) % inPoints.size()];
        if (std::abs(a.y - inY) < kClose || std::abs(b.y - inY) < kClose) return std::nullopt;
        if ((a.y > inY) == (b.y > inY)) continue;
        const double x = a.x + (inY - a.y) * (double{b.x} - a.x) / (double{b.y} - a.y);
        if (std::abs(x - inX) < kClose) return std::nullopt;
        if (x > inX) isIn = !isIn;
    }
    return isIn;
}

TEST_F(Polygons, RandomOnesCoverTheCentresInsideThem) {
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        Points points(1 + random_() % 12);
        for (TPixPoint& point : points) {
            // Beyond every side; some on whole and half pixels, or beside the last one.
            const auto place = [&](int size) {
                const auto thousandths = static_cast<int>(random_() % 2000);
                const float fraction = static_cast<float>(thousandths) / 1000 - 0.5F;
                return fraction * static_cast<float>(size) + 0.013F;
            };
            point = {place(60), place(40)};
            if (random_() % 4 == 0) point.y = points.front().y;
        }
        ExpectFills(points, false, [&](double x, double y) { return IsInPolygon(points, x, y); });
    }
}

TEST_F(Polygons, CentresOnEdges) {
    const auto square = [](double x, double y) -> std::optional<bool> {
        return x > 10 && x < 20 && y > 10 && y < 20;
    };
    ExpectFills({{10, 10}, {20, 10}, {20, 20}, {10, 20}}, false, square);
    // A centre on the left, or the right, or the top edge is covered, as the rounding has it.
    ExpectFills({{10.5F, 9.5F}, {19.5F, 9.5F}, {19.5F, 19.5F}, {10.5F, 19.5F}}, false,
                [](double x, double y) -> std::optional<bool> {
                    return x > 10 && x < 20 && y > 9 && y < 19;
                });
    Points star;
    for (int i = 0; i < 5; ++i) {
        const float angle = kPi * (0.5F + 0.8F * static_cast<float>(i));
        star.push_back({30 + 18 * std::cos(angle), 20 + 18 * std::sin(angle)});
    }
    ExpectFills(star, false, [&](double x, double y) { return IsInPolygon(star, x, y); });
    EXPECT_EQ(IsInPolygon(star, 30.5, 20.5), false);
}

/// Points of a curve that are so close that their polygon is the curve.
Points Sampled(const Points& inControls) {
    Points points;
    for (std::size_t i = 0; i + 3 < inControls.size(); i += 3) {
        for (int step = 0; step <= 400; ++step) {
            const float t = static_cast<float>(step) / 400;
            const float s = 1 - t;
            const float weights[] = {s * s * s, 3 * s * s * t, 3 * s * t * t, t * t * t};
            TPixPoint point{};
            for (std::size_t k = 0; k < 4; ++k) {
                point.x += weights[k] * inControls[i + k].x;
                point.y += weights[k] * inControls[i + k].y;
            }
            points.push_back(point);
        }
    }
    return points;
}

double DistanceToOutline(const Points& inPoints, double inX, double inY) {
    double nearest = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < inPoints.size(); ++i) {
        const TPixPoint& a = inPoints[i];
        const TPixPoint& b = inPoints[(i + 1) % inPoints.size()];
        const double dx = b.x - a.x;
        const double dy = b.y - a.y;
        const double length = dx * dx + dy * dy;
        const double along =
            length == 0 ? 0 : std::clamp(((inX - a.x) * dx + (inY - a.y) * dy) / length, 0.0, 1.0);
        nearest = std::min(nearest, std::hypot(inX - a.x - along * dx, inY - a.y - along * dy));
    }
    return nearest;
}

TEST_F(Polygons, BeziersKeepWithinHalfAPixel) {
    const Points curves[] = {
        {{5, 5}, {25, -20}, {40, 60}, {55, 8}, {50, 30}, {20, 45}, {5, 5}},  // two segments
        {{10, 10}, {90, 35}, {-30, 35}, {50, 10}},                           // a loop
        {{10, 5}, {50, 38}, {10, 38}, {50, 5}},                              // a cusp
        {{3, 3}, {20, 20}, {30, 30}, {37, 37}, {37, 3}, {37, 3}, {3, 3}},    // straight lines
        {{-30, 20}, {-30, -60}, {90, -60}, {90, 20}, {90, 90}, {-30, 90}, {-30, 20}},
        {{5, 5}, {25, -20}, {40, 60}, {55, 8}, {1, 1}, {2, 2}},  // points without a segment
        {{5, 5}, {25, -20}, {40, 60}},                           // no segment
    };
    for (const Points& curve : curves) {
        SCOPED_TRACE(&curve - curves);
        const Points outline = Sampled(curve);
        ExpectFills(curve, true, [&](double x, double y) -> std::optional<bool> {
            if (outline.empty()) return false;
            if (DistanceToOutline(outline, x, y) < 0.55) return std::nullopt;
            return IsInPolygon(outline, x, y);
        });
    }
}

TEST_F(Polygons, BadInputDrawsNothing) {
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    const auto nothing = [](double, double) -> std::optional<bool> { return false; };
    for (const bool isBezier : {false, true}) {
        for (const float bad : {kNone, kInfinite, -kInfinite, 1e30F})
            ExpectFills({{1, 1}, {bad, 1}, {30, 30}, {5, 30}}, isBezier, nothing);
        ExpectFills({}, isBezier, nothing);
        ExpectFills({{8, 8}}, isBezier, nothing);
    }
    const auto everything = [](double, double) -> std::optional<bool> { return true; };
    ExpectFills({{-1e9F, -1e9F}, {1e9F, -1e9F}, {1e9F, 1e9F}, {-1e9F, 1e9F}}, false, everything);
    // Far beyond what floats can tell from a line.
    ExpectFills({{-9e8F, -9e8F}, {9e8F, -8e8F}, {-9e8F, 8e8F}, {9e8F, 9e8F}}, true,
                [](double, double) { return std::optional<bool>(); });
    LocalRecord empty = source_;
    (*empty.Handle())->bounds.right = 0;
    LocalRecord actual = background_;
    const Points square = {{0, 0}, {9, 0}, {9, 9}};
    DoRenderPolygon(actual.Handle(), empty.Handle(), &square, 0);
    DoRenderPolygon(empty.Handle(), source_.Handle(), &square, 0);
    EXPECT_EQ(actual.Memory(), background_.Memory());
}

}  // namespace
}  // namespace raster_test

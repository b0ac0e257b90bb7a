#include <cmath>
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
    // A centre on the left, or the right, or the top edge is covered, as the rounding has it.
    for (const float shift : {0.0F, 0.5F}) {
        const float low = 10 + shift, high = 20 - shift, top = low - 2 * shift;
        ExpectFills({{low, top}, {high, top}, {high, high}, {low, high}}, false,
                    [&](double x, double y) -> std::optional<bool> {
                        return x > 10 && x < 20 && y > top - shift && y < high - shift;
                    });
    }
}

TEST_F(Polygons, BeziersKeepWithinHalfAPixel) {
    // Four segments that are a circle, out of the picture on one side.
    constexpr float kRadius = 24;
    Points circle;
    for (int i = 0; i <= 12; ++i) {
        const float angle = kPi / 2 * static_cast<float>(i / 3 + i % 3 / 2);
        const float bend = i % 3 == 0 ? 0 : i % 3 == 1 ? 0.5523F : -0.5523F;
        circle.push_back({40 + kRadius * (std::cos(angle) - bend * std::sin(angle)),
                          20 + kRadius * (std::sin(angle) + bend * std::cos(angle))});
    }
    ExpectFills(circle, true, [](double x, double y) -> std::optional<bool> {
        const double distance = std::hypot(x - 40, y - 20) - kRadius;
        if (std::abs(distance) < 0.55) return std::nullopt;
        return distance < 0;
    });
    // Straight lines: their ends. Points behind the last whole segment make no difference.
    const Points lines = {{3, 3},  {20, 20}, {30, 30}, {37, 37}, {37, 30},
                          {37, 9}, {37, 3},  {50, 1},  {50, 9}};
    const Points triangle = {{3, 3}, {37, 37}, {37, 3}};
    ExpectFills(lines, true, [&](double x, double y) { return IsInPolygon(triangle, x, y); });
    for (const Points& few : {Points{{5, 5}, {25, -20}, {40, 60}}, {{5, 5}}})
        ExpectFills(few, true, [](double, double) -> std::optional<bool> { return false; });
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

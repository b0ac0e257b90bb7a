#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "Grids.h"

namespace win32_test {
namespace {

constexpr int kWidth = 61;
constexpr int kHeight = 43;

using Bits = std::vector<bool>;

template <class IsIn>
Bits Grid(const IsIn& inIsIn) {
    Bits bits;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x)
            bits.push_back(inIsIn(x, y));
    }
    return bits;
}

Bits Filled(HRGN inRegion) {
    const Canvas canvas(kWidth, kHeight);
    EXPECT_TRUE(FillRgn(canvas.Context(), inRegion, White()));
    return canvas.Bits(kHeight);
}

bool IsInEllipse(const RECT& inBounds, int inX, int inY) {
    const std::int64_t width = inBounds.right - inBounds.left;
    const std::int64_t height = inBounds.bottom - inBounds.top;
    const std::int64_t x = 2 * inX + 1 - inBounds.left - inBounds.right;
    const std::int64_t y = 2 * inY + 1 - inBounds.top - inBounds.bottom;
    return x * x * height * height + y * y * width * width < width * width * height * height;
}

// Counts the edges left of the centre or at it, which go down or up.
bool IsInPolygon(const std::vector<POINT>& inPoints, int inMode, int inX, int inY) {
    int turns = 0;
    for (std::size_t i = 0; i < inPoints.size(); ++i) {
        POINT upper = inPoints[i], lower = inPoints[(i + 1) % inPoints.size()];
        const int turn = upper.y < lower.y ? 1 : -1;
        if (turn < 0) std::swap(upper, lower);
        if (upper.y > inY || lower.y <= inY) continue;
        const int side = (2 * inX + 1 - 2 * upper.x) * (lower.y - upper.y) -
                         (2 * inY + 1 - 2 * upper.y) * (lower.x - upper.x);
        if (side >= 0) turns += turn;
    }
    return inMode == ALTERNATE ? turns % 2 != 0 : turns != 0;
}

struct Shape {
    HRGN region;
    Bits bits;
};

class Shapes {
  public:
    int Random(int inFrom, int inTo) {
        return std::uniform_int_distribution(inFrom, inTo)(random_);
    }

    Shape Any() {
        const RECT box{Random(-20, 50), Random(-20, 40), Random(0, 80), Random(0, 60)};
        const RECT ordered{std::min(box.left, box.right), std::min(box.top, box.bottom),
                           std::max(box.left, box.right), std::max(box.top, box.bottom)};
        const int kind = Random(0, 3);
        if (kind == 0) {
            return {CreateRectRgn(box.left, box.top, box.right, box.bottom),
                    Grid([&](int x, int y) {
                        return x >= ordered.left && x < ordered.right && y >= ordered.top &&
                               y < ordered.bottom;
                    })};
        }
        if (kind == 1) {
            return {CreateEllipticRgn(box.left, box.top, box.right, box.bottom),
                    Grid([&](int x, int y) { return IsInEllipse(ordered, x, y); })};
        }
        return Polygon(kind == 2 ? ALTERNATE : WINDING);
    }

  private:
    Shape Polygon(int inMode) {
        std::vector<POINT> points(static_cast<std::size_t>(Random(1, 9)));
        for (POINT& point : points)
            point = {Random(-20, 80), Random(-20, 60)};
        return {CreatePolygonRgn(points.data(), static_cast<int>(points.size()), inMode),
                Grid([&](int x, int y) { return IsInPolygon(points, inMode, x, y); })};
    }

    std::mt19937 random_{7};
};

bool Combined(bool inFirst, bool inSecond, int inMode) {
    const bool results[] = {inFirst && inSecond, inFirst || inSecond, inFirst != inSecond,
                            inFirst && !inSecond, inFirst};
    return results[inMode - RGN_AND];
}

TEST(Regions, AreTheirPixelsHoweverCombined) {
    Shapes shapes;
    for (int i = 0; i < 400; ++i) {
        Shape all[] = {shapes.Any(), shapes.Any(), shapes.Any()};
        for (const Shape& shape : all)
            ASSERT_EQ(Filled(shape.region), shape.bits) << i;
        for (int step = 0; step < 6; ++step) {
            Shape& result = all[shapes.Random(0, 2)];
            const Shape& first = all[shapes.Random(0, 2)];
            const Shape& second = all[shapes.Random(0, 2)];
            const int mode = shapes.Random(RGN_AND, RGN_COPY);
            Bits expected;
            for (std::size_t at = 0; at < first.bits.size(); ++at)
                expected.push_back(Combined(first.bits[at], second.bits[at], mode));
            result.bits = expected;
            ASSERT_NE(CombineRgn(result.region, first.region, second.region, mode), 0);
            ASSERT_EQ(Filled(result.region), expected) << i << ", " << mode;
        }
        for (const Shape& shape : all)
            EXPECT_TRUE(DeleteObject(shape.region));
    }
}

TEST(Regions, TellTheirKind) {
    const HRGN result = CreateRectRgn(0, 0, 0, 0);
    const HRGN square = CreateRectRgn(0, 0, 10, 10);
    const HRGN half = CreateRectRgn(5, 0, 10, 10);
    const HRGN circle = CreateEllipticRgn(0, 0, 10, 10);
    EXPECT_EQ(CombineRgn(result, square, half, RGN_DIFF), SIMPLEREGION);
    EXPECT_EQ(CombineRgn(result, result, half, RGN_AND), NULLREGION);
    EXPECT_EQ(CombineRgn(result, square, circle, RGN_XOR), COMPLEXREGION);
    EXPECT_EQ(CombineRgn(result, square, nullptr, RGN_COPY), SIMPLEREGION);
    for (const HRGN region : {result, square, half, circle})
        DeleteObject(region);
}

TEST(Regions, TakeExtremeCoordinates) {
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    const Bits all(kWidth * kHeight, true);
    const HRGN everything = CreateRectRgn(kLeast, kLeast, kMost, kMost);
    EXPECT_EQ(Filled(everything), all);
    const HRGN wide = CreateEllipticRgn(kLeast, -30, kMost, 80);
    EXPECT_EQ(Filled(wide), all);
    const POINT points[] = {{kLeast, -1}, {kMost, -1}, {kMost, kHeight}, {kLeast, kHeight}};
    const HRGN band = CreatePolygonRgn(points, 4, WINDING);
    EXPECT_EQ(Filled(band), all);
    for (const HRGN region : {everything, wide, band})
        DeleteObject(region);
    // Nothing has that many lines.
    const POINT high[] = {{0, kLeast}, {9, kMost}, {4, 0}};
    EXPECT_EQ(CreateEllipticRgn(0, kLeast, 9, kMost), nullptr);
    EXPECT_EQ(CreatePolygonRgn(high, 3, ALTERNATE), nullptr);
    EXPECT_EQ(CreatePolygonRgn(high, 0, ALTERNATE), nullptr);
    EXPECT_EQ(CreatePolygonRgn(high, 3, 3), nullptr);
    EXPECT_EQ(CreatePolygonRgn(nullptr, 3, ALTERNATE), nullptr);
}

}  // namespace
}  // namespace win32_test

#include <algorithm>

#include "Area.h"

namespace scanvo_test {
namespace {

using Corners = std::array<SV_Point, 4>;

constexpr std::int32_t kWidth = 90, kHeight = 24;
constexpr SV_Rect kAll = {0, 0, kWidth, kHeight};
constexpr Corners kWhole = {{{0, 0}, {kWidth, 0}, {kWidth, kHeight}, {0, kHeight}}};

struct Settings {
    SV_Rect sourceRect = kAll, rect = kAll;
    std::int32_t quality = 2, opacity = 255, antialiases = 1;
};

std::int32_t Warp(Area& inSource, const Corners& inFrom, Area& ioArea, const Corners& inTo,
                  const Settings& inSettings = {}) {
    return Call(SV_WarpAffineQuad, inSource.Size(), inSource.Rows(), &inSettings.sourceRect,
                inFrom.data(), ioArea.Rows(), &inSettings.rect, inTo.data(), inSettings.quality,
                inSettings.opacity, inSettings.antialiases, 1, ioArea.Format(), 0, 0, 1, 0);
}

/// The eight unknowns of the map between corners, by elimination.
std::array<double, 8> SolveMap(const Corners& inFrom, const Corners& inTo) {
    double m[8][9];
    for (std::size_t i = 0; i < 4; ++i) {
        const auto [x, y] = inFrom[i];
        const auto [u, v] = inTo[i];
        const double rows[2][9] = {{x, y, 1, 0, 0, 0, -u * x, -u * y, u},
                                   {0, 0, 0, x, y, 1, -v * x, -v * y, v}};
        std::copy_n(&rows[0][0], 18, m[2 * i]);
    }
    for (std::size_t i = 0; i < 8; ++i) {
        std::swap_ranges(m[i], m[i] + 9,
                         *std::max_element(m + i, m + 8, [i](const auto& a, const auto& b) {
                             return std::abs(a[i]) < std::abs(b[i]);
                         }));
        for (std::size_t row = 0; row < 8; ++row) {
            const double factor = row == i ? 0 : m[row][i] / m[i][i];
            for (std::size_t column = 0; column < 9; ++column)
                m[row][column] -= factor * m[i][column];
        }
    }
    std::array<double, 8> solution;
    for (std::size_t i = 0; i < 8; ++i)
        solution[i] = m[i][8] / m[i][i];
    return solution;
}

/// What lies at a place of the rectangle, by the formulas.
Codes SampleAt(const Area& inSource, const SV_Rect& inRect, double inX, double inY,
               bool inIsNearest) {
    const double shift = inIsNearest ? 0 : 0.5;
    const double x = std::floor(inX - shift), y = std::floor(inY - shift);
    const double across = inIsNearest ? 0 : inX - shift - x;
    const double down = inIsNearest ? 0 : inY - shift - y;
    Codes plain{}, weighed{};
    for (const int i : {0, 1, 2, 3}) {
        const double weight = (i % 2 ? across : 1 - across) * (i / 2 ? down : 1 - down);
        const auto at = [](double inPlace, std::int32_t inFirst, std::int32_t inEnd) {
            return std::clamp(static_cast<std::int32_t>(inPlace), inFirst, inEnd - 1);
        };
        const Codes codes = inSource.At(at(x + i % 2, inRect.left, inRect.right),
                                        at(y + i / 2, inRect.top, inRect.bottom));
        for (std::size_t c = 0; c < 4; ++c) {
            plain[c] += weight * codes[c];
            weighed[c] += weight * codes[3] * codes[c];
        }
    }
    if ((inSource.Format().bits & 0xC) != 4 || plain[3] < 1e-9) return plain;
    return {weighed[0] / plain[3], weighed[1] / plain[3], weighed[2] / plain[3], plain[3]};
}

double SurfaceOf(const Corners& inQuad) {
    double twice = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const auto& [x, y] = inQuad[i];
        const auto& [nextX, nextY] = inQuad[(i + 1) % 4];
        twice += x * nextY - y * nextX;
    }
    return std::abs(twice) / 2;
}

constexpr Corners kQuads[] = {
    kWhole,
    {{{0.5, 0.5}, {90.5, 0.5}, {90.5, 24.5}, {0.5, 24.5}}},        // shifted, partly outside
    {{{12, 2}, {80, 2}, {80, 20}, {12, 20}}},                      // smaller
    {{{22, 1.5}, {75.5, 9}, {71, 22.75}, {17.5, 15.25}}},          // turned
    {{{30.2, 3.1}, {60.7, 5.4}, {85.3, 22.9}, {3.3, 19.6}}},       // in perspective
    {{{60.7, 5.4}, {30.2, 3.1}, {3.3, 19.6}, {85.3, 22.9}}},       // mirrored
    {{{-40, -3}, {140, 5}, {120, 60}, {-9, 30}}},                  // larger, clipped everywhere
    {{{40.25, 7.25}, {40.75, 7.25}, {40.75, 7.5}, {40.25, 7.5}}},  // inside one pixel
};

// How much of each pixel is covered is what is left of a white picture drawn over a clear one.
std::vector<Codes> CoverageOf(const Corners& inQuad, const Settings& inSettings) {
    Area white(0x104, kWidth, kHeight), area = white;
    Call(SV_FillWithOpaqueWhite, white.Sized());
    Call(SV_FillWithTransparentBlack, area.Sized());
    EXPECT_EQ(Warp(white, kWhole, area, inQuad, inSettings), 0);
    return area.Pixels();
}

// Pixels that the quadrilateral holds whole come from where the map says, those outside stay.
void CheckMap(Area& inSource, const Area& inBefore, const Corners& inFrom, const Corners& inQuad,
              const Settings& inSettings) {
    const std::array<double, 8> map = SolveMap(inQuad, inFrom);
    const std::vector<Codes> coverage = CoverageOf(inQuad, inSettings);
    Area area = inBefore;
    ASSERT_EQ(Warp(inSource, inFrom, area, inQuad, inSettings), 0);
    area.ExpectGuardsIntact();
    const bool isNearest = inSettings.quality == 0;
    for (std::int32_t pixel = 0; pixel < kWidth * kHeight; ++pixel) {
        const std::int32_t column = pixel % kWidth, row = pixel / kWidth;
        const double covered = coverage[static_cast<std::size_t>(pixel)][3];
        if (covered > 0 && covered < 1) continue;
        const double x = column + 0.5, y = row + 0.5, w = map[6] * x + map[7] * y + 1;
        const double u = (map[0] * x + map[1] * y + map[2]) / w;
        const double v = (map[3] * x + map[4] * y + map[5]) / w;
        // Which pixel is nearest is open there.
        const double gap = std::min(std::abs(u - std::round(u)), std::abs(v - std::round(v)));
        if (isNearest && gap < 1e-4) continue;
        const Codes expected = covered == 0
                                   ? inBefore.At(column, row)
                                   : SampleAt(inSource, inSettings.sourceRect, u, v, isNearest);
        const Codes found = area.At(column, row);
        const double full = ExactCodes(area.Format(), {0, 0, 0, 1})[3];
        const double tolerance = covered == 0 || isNearest ? 0
                                 : area.Format().IsFloat() ? 1e-4
                                                           : 0.53 + 1e-4 * full;
        for (std::size_t c = 0; c < 4; ++c)
            ASSERT_NEAR(found[c], expected[c], tolerance) << column << ", " << row << ": " << c;
    }
}

TEST(Warp, FollowsTheMap) {
    constexpr SV_Rect kPart = {4, 3, 80, 21}, kPixel = {7, 5, 8, 6};
    constexpr Corners kSlanted = {{{5, 3}, {81, 3.5}, {77, 22}, {4, 20.25}}};
    constexpr Settings kSettings[] = {
        {kAll, kAll}, {kPart, kPart}, {kPart, kAll, 0, 255, 0}, {kPixel, kAll}};
    ForEachTarget([&] {
        for (const FormatCode format : {0x004U, 0x1004U, 0x008U, 0x00DU, 0x084U, 0x1108U, 0x104U}) {
            Area source = RandomArea(format, kWidth, kHeight, 12345);
            const Area before = Converted(source, format);
            for (std::size_t i = 0; i < 4 * std::size(kQuads); ++i) {
                SCOPED_TRACE(testing::Message() << std::hex << format.bits << " case " << i);
                CheckMap(source, before, i % 3 ? kSlanted : kWhole, kQuads[i / 4],
                         kSettings[i % 4]);
            }
        }
    });
}

TEST(Warp, CoversTheAreaOfTheQuadrilateral) {
    for (const Corners& quad : {kQuads[2], kQuads[3], kQuads[4], kQuads[5], kQuads[7]}) {
        double sum = 0;
        for (const Codes& codes : CoverageOf(quad, {}))
            sum += codes[3];
        EXPECT_NEAR(sum, SurfaceOf(quad), 1e-4 * SurfaceOf(quad));
        // By centres, every pixel counts whole or not at all.
        for (const Codes& codes : CoverageOf(quad, {kAll, kAll, 2, 255, 0}))
            EXPECT_TRUE(codes[3] == 0 || codes[3] == 1);
    }
}

// Ink over opaque blue gives the mean, over nothing it keeps its colour.
TEST(Warp, MixesWhatIsHalfCoveredOrHalfOpaque) {
    const auto filled = [](const Rgba& colour, FormatCode format) {
        Area pixel = AreaOf({colour}), area(format, kWidth, kHeight);
        Call(SV_FillWithColor, area.Sized(), pixel.Start(), pixel.Format());
        return area;
    };
    constexpr Corners kHalfRows = {{{0, 2.5}, {kWidth, 2.5}, {kWidth, 9.5}, {0, 9.5}}};
    for (const FormatCode format : {0x004U, 0x1008U, 0x00CU, 0x084U, 0x105U}) {
        for (const double under : {1.0, 0.0}) {
            Area source = filled({1, 0.5, 0, 1}, format);
            const bool isOpaque = under == 1 || !format.HoldsAlpha();
            const Rgba mixed = isOpaque ? Rgba{0.5, 0.25, 0.5, 1} : Rgba{1, 0.5, 0, 0.5};
            for (const std::int32_t opacity : {255, 128}) {
                Area area = filled({0, 0, 1, under}, format);
                ASSERT_EQ(Warp(source, kWhole, area, kHalfRows, {kAll, kAll, 2, opacity, 1}), 0);
                const Codes expected = ExactCodes(format, mixed);
                for (std::size_t c = 0; c < 4; ++c)
                    EXPECT_NEAR(area.At(3, opacity == 255 ? 9 : 5)[c], expected[c],
                                0.005 * expected[3] + 0.5)
                        << std::hex << format.bits << " under " << under << " component " << c;
            }
        }
    }
}

TEST(Warp, RefusesWhatCannotBe) {
    Area source(0x004, kWidth, kHeight);
    const Corners kBad[] = {
        {{{0, 0}, {0, 0}, {9, 9}, {0, 9}}},             // repeats
        {{{0, 0}, {4, 4}, {9, 9}, {0, 9}}},             // three on one line
        {{{0, 0}, {9, 9}, {9, 0}, {0, 9}}},             // crosses itself
        {{{0, 0}, {9, 0}, {2, 2}, {0, 9}}},             // not convex
        {{{0, 0}, {9, 0}, {9, 9}, {std::nan(""), 9}}},  // no number
        {{{0, 0}, {2e9, 0}, {2e9, 9}, {0, 9}}},         // too far away
    };
    Area area = source;
    for (const Corners& corners : kBad) {
        EXPECT_EQ(Warp(source, corners, area, kWhole), kSV_BadArgument);
        EXPECT_EQ(Warp(source, kWhole, area, corners), kSV_BadArgument);
    }
    for (const SV_Rect& rect : {SV_Rect{-1, 0, 9, 9}, {5, 0, 5, 9}, {0, 0, kWidth + 1, 9}})
        EXPECT_EQ(Warp(source, kWhole, area, kWhole, {rect}), kSV_BadArgument);
    EXPECT_EQ(Warp(source, kWhole, area, kWhole, {kAll, {0, 9, 9, 2}}), kSV_BadArgument);
    EXPECT_EQ(Warp(source, kWhole, area, kWhole, {kAll, kAll, 2, 0}), kSV_Success);
    EXPECT_EQ(Warp(source, kWhole, area, {{{-9, 0}, {-2, 0}, {-2, 9}, {-9, 9}}}), kSV_Success);
    EXPECT_EQ(area.Pixels(), source.Pixels());
    Area units(0x011, kWidth, kHeight);
    EXPECT_EQ(Warp(units, kWhole, units, kWhole), kSV_UnsupportedFormat);
    EXPECT_EQ(Call(SV_WarpAffineQuad, 9, 9, source.Rows(), nullptr, kWhole.data(), area.Rows(),
                   &kAll, kWhole.data(), 2, 255, 1, 1, source.Format(), 0, 0, 1, 0),
              kSV_NullPointer);
}

}  // namespace
}  // namespace scanvo_test

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

/// From places in the destination to those in the source.
using Map = std::array<double, 8>;

SV_Point Mapped(const Map& m, const SV_Point& inPlace) {
    const auto& [x, y] = inPlace;
    const double w = m[6] * x + m[7] * y + 1;
    return {(m[0] * x + m[1] * y + m[2]) / w, (m[3] * x + m[4] * y + m[5]) / w};
}

/// What lies at a place of the rectangle. Straight colour counts by its alpha.
Codes SampleAt(const Area& inSource, const SV_Rect& inRect, const SV_Point& inPlace,
               bool inIsNearest) {
    const double x = inPlace.x - (inIsNearest ? 0 : 0.5), left = std::floor(x);
    const double y = inPlace.y - (inIsNearest ? 0 : 0.5), top = std::floor(y);
    const auto at = [&](double column, double row) {
        return inSource.At(std::clamp(static_cast<int>(column), inRect.left, inRect.right - 1),
                           std::clamp(static_cast<int>(row), inRect.top, inRect.bottom - 1));
    };
    if (inIsNearest) return at(left, top);
    Codes sum{};
    const bool isStraight = (inSource.Format().bits & 0xC) == 4;
    for (const int i : {0, 1, 2, 3}) {
        const double weight = (i % 2 ? x - left : left + 1 - x) * (i / 2 ? y - top : top + 1 - y);
        Codes codes = at(left + i % 2, top + i / 2);
        codes[3] = std::max(codes[3], 1e-9);  // clear ones among themselves count alike
        for (std::size_t c = 0; c < 4; ++c)
            sum[c] += weight * codes[c] * (isStraight && c < 3 ? codes[3] : 1);
    }
    for (std::size_t c = 0; c < 3 && isStraight; ++c)
        sum[c] /= sum[3];
    return sum;
}

// And their areas.
constexpr std::pair<Corners, double> kQuads[] = {
    {kWhole, 2160},
    {{{{0.5, 0.5}, {90.5, 0.5}, {90.5, 24.5}, {0.5, 24.5}}}, 89.5 * 23.5},  // partly outside
    {{{{22, 1.5}, {75.5, 9}, {71, 22.75}, {17.5, 15.25}}}, 769.375},        // turned
    {{{{60.7, 5.4}, {30.2, 3.1}, {3.3, 19.6}, {85.3, 22.9}}}, 959.47},      // mirrored
    {{{{-40, -3}, {140, 5}, {120, 60}, {-9, 30}}}, 2160 - 62.5 * 25 / 18},  // clipped everywhere
    {{{{40.25, 7.25}, {40.75, 7.25}, {40.75, 7.5}, {40.25, 7.5}}}, 0.125},  // inside one pixel
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
void CheckMap(Area& inSource, const Area& inBefore, const Map& inMap, const Corners& inQuad,
              const Settings& inSettings) {
    Corners from;
    std::ranges::transform(inQuad, from.begin(), std::bind_front(Mapped, inMap));
    Area area = inBefore;
    ASSERT_EQ(Warp(inSource, from, area, inQuad, inSettings), 0);
    const std::vector<Codes> coverage = CoverageOf(inQuad, inSettings);
    const bool isNearest = inSettings.quality == 0;
    const double full = ExactCodes(area.Format(), {0, 0, 0, 1})[3];
    const double rounding = area.Format().IsFloat() ? 1e-4 : 0.53 + 1e-4 * full;
    for (std::int32_t pixel = 0; pixel < kWidth * kHeight; ++pixel) {
        const std::int32_t column = pixel % kWidth, row = pixel / kWidth;
        const double covered = coverage[static_cast<std::size_t>(pixel)][3];
        if (covered > 0 && covered < 1) continue;
        const SV_Point place = Mapped(inMap, {column + 0.5, row + 0.5});
        // Which pixel is nearest is open there.
        const double gap = std::min(std::abs(place.x - std::round(place.x)),
                                    std::abs(place.y - std::round(place.y)));
        if (isNearest && gap < 1e-4) continue;
        const Codes expected = covered == 0
                                   ? inBefore.At(column, row)
                                   : SampleAt(inSource, inSettings.sourceRect, place, isNearest);
        const Codes found = area.At(column, row);
        for (std::size_t c = 0; c < 4; ++c)
            ASSERT_NEAR(found[c], expected[c], covered == 0 || isNearest ? 0 : rounding)
                << column << ", " << row << ": " << c;
    }
    area.ExpectGuardsIntact();
}

TEST(Warp, FollowsTheMap) {
    constexpr SV_Rect kPart = {4, 3, 80, 21}, kPixel = {7, 5, 8, 6};
    constexpr Map kMaps[] = {{1, 0, 0, 0, 1, 0},
                             {-1.3, 0, 100, 0, 1.25, -2},  // mirrored
                             {0.7, 0.5, -5, -0.2, 0.9, 10},
                             {0.4, 0.2, 10, 0.05, 0.6, 3, 0.004, 0.003},
                             {0.02, 0, 5, 0, 0.03, 6}};
    constexpr Settings kSettings[] = {
        {kAll, kAll}, {kPart, kPart}, {kPart, kAll, 0, 255, 0}, {kPixel, kAll}};
    ForEachTarget([&] {
        for (const FormatCode format : {0x004U, 0x1004U, 0x008U, 0x00DU, 0x084U, 0x1108U, 0x104U}) {
            Area source = RandomArea(format, kWidth, kHeight, 12345);
            const Area before = Converted(source, format);
            for (std::size_t i = 0; i < 4 * std::size(kQuads); ++i) {
                SCOPED_TRACE(testing::Message() << std::hex << format.bits << " case " << i);
                CheckMap(source, before, kMaps[i % 5], kQuads[i / 4].first, kSettings[i % 4]);
            }
        }
    });
}

TEST(Warp, CoversTheAreaOfTheQuadrilateral) {
    for (const auto& [quad, size] : kQuads) {
        double sum = 0;
        for (const Codes& codes : CoverageOf(quad, {}))
            sum += codes[3];
        EXPECT_NEAR(sum, size, 1e-4 * size);
        // By centres, every pixel counts whole or not at all.
        double centres = 0;
        for (const Codes& codes : CoverageOf(quad, {kAll, kAll, 2, 255, 0})) {
            EXPECT_TRUE(codes[3] == 0 || codes[3] == 1);
            centres += codes[3];
        }
        EXPECT_NEAR(centres, size, 1 + 0.03 * size);
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
    const auto dv = static_cast<SV_PixelFormat>(0x01000021);
    EXPECT_EQ(Call(SV_WarpAffineQuad, area.Size(), source.Rows(), &kAll, kWhole.data(), area.Rows(),
                   &kAll, kWhole.data(), 2, 255, 1, 1, dv, 0, 0, 1, 0),
              kSV_UnsupportedFormat);
    EXPECT_EQ(Call(SV_WarpAffineQuad, 9, 9, source.Rows(), nullptr, kWhole.data(), area.Rows(),
                   &kAll, kWhole.data(), 2, 255, 1, 1, source.Format(), 0, 0, 1, 0),
              kSV_NullPointer);
}

}  // namespace
}  // namespace scanvo_test

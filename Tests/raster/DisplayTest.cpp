#include <bit>

#include "Pictures.h"
#include "win32/Grids.h"

namespace raster_test {
namespace {

/// A device context over memory.
struct Screen : win32_test::Canvas {
    Screen(int inWidth, int inHeight, void* outBits = nullptr)
        : Canvas(win32_test::Section(inWidth, -inHeight, &outBits), inWidth, inHeight),
          width(inWidth),
          height(inHeight) {}

    Pixel At(int inX, int inY) const {
        return std::bit_cast<Pixel>(Read()[static_cast<std::size_t>(inY * width + inX)]);
    }
    template <class ColourAt>
    void ExpectShows(const ColourAt& inColourAt) const {
        ASSERT_EQ(Read(), win32_test::Grid(width, height, [&](int x, int y) {
                      return std::bit_cast<std::uint32_t>(inColourAt(x, y));
                  }));
    }

    int width, height;
};

using Display = RasterTest;

// Four quarters of one colour each, drawn at another size: directly, and through a smaller record.
TEST_F(Display, ScalesSmallAndLargeSources) {
    for (const auto& [width, height] : {std::pair{40, 20}, {802, 10}, {10, 604}, {800, 600}}) {
        SCOPED_TRACE(width);
        const auto quarter = [](bool inIsLeft, bool inIsAbove) {
            return Pixel{static_cast<std::uint8_t>(inIsLeft ? 50 : 200),
                         static_cast<std::uint8_t>(inIsAbove ? 60 : 190), 7, 255};
        };
        // A large source counts from the picture's corner, as it is scaled first.
        const bool isLarge = width > 800 || height > 600;
        const std::int32_t left = isLarge ? 100 : 0;
        const tagRECT from = {left, 0, left + width, height}, to = {2, 4, 22, 24};
        LocalRecord record(width, height, 0, random_);
        record.Paint(
            [&](int x, int y) { return quarter(x < record.Width() / 2, y < record.Height() / 2); });
        const Screen screen(30, 30);
        EXPECT_NE(DoDrawDib(record.Handle(), screen.Context(), &from, &to), isLarge ? 1 : 0);
        screen.ExpectShows([&](int x, int y) {
            // Along the borders of the quarters colours may mix.
            if (std::abs(x - 12) <= 1 || std::abs(y - 14) <= 1) return screen.At(x, y);
            return IsIn(to, x, y) ? quarter(x < 12, y < 14) : Pixel{};
        });
    }
}

TEST_F(Display, BadInput) {
    LocalRecord record(900, 8, 0, random_);
    const Screen screen(8, 8);
    const tagRECT from = {0, 0, 900, 8}, to = {0, 0, 8, 8}, empty = {3, 3, 3, 3};
    EXPECT_EQ(tpixToScreen(record.Handle(), nullptr, &from, &to), 1);
    EXPECT_EQ(tpixToScreen(record.Handle(), screen.Context(), &from, &empty), 0);
    EXPECT_EQ(tpixToScreen(record.Handle(), screen.Context(), &empty, &to), 0);
    EXPECT_EQ(screen.At(0, 0), Pixel{});
    // Without memory for a smaller record it is drawn directly; without any, not at all.
    hoardex::FailAllocationsAfter(0);
    EXPECT_NE(DoDrawDib(record.Handle(), screen.Context(), &from, &to), 0);
    hoardex::FailAllocationsAfter(-1);
    EXPECT_NE(screen.At(0, 0), Pixel{});
    // Nor is there a record for rectangles like these.
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    for (const tagRECT& huge :
         {tagRECT{0, 0, kMost, kMost}, {-kMost - 1, -kMost - 1, kMost, kMost}})
        EXPECT_NE(DoDrawDib(record.Handle(), screen.Context(), &from, &huge), 0);
    EXPECT_EQ(screen.At(7, 7), record.At(0, 0));
    win32::FailAllocationsAfter(0);
    EXPECT_EQ(ExecDrawDib(record.Record(), screen.Context(), &from, &to), 0);
    win32::FailAllocationsAfter(-1);
}

}  // namespace
}  // namespace raster_test

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "Grids.h"

namespace win32_test {
namespace {

using Pixels = std::vector<std::uint32_t>;

/// A picture in memory, bottom-up unless the height is negative.
struct Picture {
    BITMAPINFOHEADER header;
    Pixels memory;

    template <class ColourAt>
    Picture(int inWidth, int inHeight, const ColourAt& inColourAt)
        : header(Header(inWidth, inHeight)) {
        const int lines = std::abs(inHeight);
        for (int i = 0; i < lines; ++i) {
            for (int x = 0; x < inWidth; ++x)
                memory.push_back(inColourAt(x, inHeight > 0 ? lines - 1 - i : i));
        }
    }
};

// Different in all four bytes from pixel to pixel.
std::uint32_t Mark(int inX, int inY) {
    return static_cast<std::uint32_t>(inX) * 0x01030509U +
           static_cast<std::uint32_t>(inY) * 0x35070B0DU;
}

// Any alpha, the colours far from black.
std::uint32_t Noise(int inX, int inY) {
    return (Mark(inX, inY) * 2654435761U) | 0x00404040U;
}

class DrawDib : public ::testing::Test {
  protected:
    ~DrawDib() override { DrawDibClose(draw_); }

    BOOL Draw(const Canvas& inCanvas, const RECT& inPlace, Picture inPicture, const RECT& inPart) {
        return DrawDibDraw(draw_, inCanvas.Context(), inPlace.left, inPlace.top,
                           inPlace.right - inPlace.left, inPlace.bottom - inPlace.top,
                           &inPicture.header, inPicture.memory.data(), inPart.left, inPart.top,
                           inPart.right - inPart.left, inPart.bottom - inPart.top, 0);
    }

    HDRAWDIB draw_ = DrawDibOpen();
    void* bits_ = nullptr;
};

TEST_F(DrawDib, CopiesOneToOneWhicheverWayBothAreStored) {
    for (const int turned : {0b00, 0b01, 0b10, 0b11}) {
        const Picture picture(5, turned & 1 ? -4 : 4, Mark);
        for (int top = -3; top <= 6; ++top) {
            for (int left = -4; left <= 7; ++left) {
                const Canvas canvas(Section(7, turned & 2 ? -6 : 6, &bits_), 7);
                ASSERT_TRUE(Draw(canvas, {left, top, left + 4, top + 3}, picture, {1, 1, 5, 4}));
                Pixels expected(7 * 6);
                for (int y = std::max(top, 0); y < std::min(top + 3, 6); ++y) {
                    for (int x = std::max(left, 0); x < std::min(left + 4, 7); ++x)
                        expected[static_cast<std::size_t>(y * 7 + x)] =
                            Mark(x - left + 1, y - top + 1);
                }
                ASSERT_EQ(canvas.Pixels(6), expected) << turned << " at " << left << ", " << top;
            }
        }
    }
}

TEST_F(DrawDib, ScalesTheSameWhateverIsCut) {
    struct Case {
        int width, height;
    };
    for (const auto& [width, height] : {Case{17, 13}, {4, 3}, {8, 3}, {3, 13}}) {
        const Picture picture(8, 6, Noise);
        const Canvas whole(CreateBitmap(40, 40, 1, 32, nullptr), 40);
        ASSERT_TRUE(Draw(whole, {0, 0, width, height}, picture, {0, 0, 8, 6}));
        const Pixels all = whole.Pixels(40);
        for (const int left : {-2, 0, 9}) {
            for (const int top : {-2, 0, 8}) {
                const Canvas cut(Section(10, 9, &bits_), 10);
                ASSERT_TRUE(
                    Draw(cut, {left, top, left + width, top + height}, picture, {0, 0, 8, 6}));
                Pixels expected(10 * 9);
                for (int y = std::max(top, 0); y < std::min(top + height, 9); ++y) {
                    for (int x = std::max(left, 0); x < std::min(left + width, 10); ++x)
                        expected[static_cast<std::size_t>(y * 10 + x)] =
                            all[static_cast<std::size_t>((y - top) * 40 + x - left)];
                }
                EXPECT_EQ(cut.Pixels(9), expected) << width << " at " << left << ", " << top;
            }
        }
    }
}

TEST_F(DrawDib, KeepsPlainColoursAndTakesMeans) {
    const Picture plain(3, 5, [](int, int) { return 0x00204060U; });
    // The top half differs from the bottom one, the left one from the right one.
    const auto quarter = [](int x, int y) {
        return (x < 2 ? 0x10U : 0x30U) + (y < 2 ? 0U : 0x8000U);
    };
    const auto checks = [](int x, int y) { return (x + y) % 2 == 0 ? 0x00204080U : 0x00406020U; };
    for (const int up : {1, -1}) {
        const Canvas large(Section(31, up * 29, &bits_), 31);
        ASSERT_TRUE(Draw(large, {0, 0, 31, 29}, plain, {0, 0, 3, 5}));
        EXPECT_EQ(large.Pixels(29), Pixels(31 * 29, 0x00204060U));
        const Canvas small(Section(2, up * 2, &bits_), 2);
        ASSERT_TRUE(Draw(small, {0, 0, 2, 2}, Picture(4, -up * 4, quarter), {0, 0, 4, 4}));
        EXPECT_EQ(small.Pixels(2), (Pixels{0x10, 0x30, 0x8010, 0x8030}));
        ASSERT_TRUE(Draw(small, {0, 0, 2, 2}, Picture(4, up * 4, checks), {0, 0, 4, 4}));
        EXPECT_EQ(small.Pixels(2), Pixels(4, 0x00305050U));
    }
}

TEST_F(DrawDib, TakesExtremeSizes) {
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    Picture picture(2, 2, Mark);
    struct Case {
        int x, y, width, height;
        Pixels seen;
    };
    const std::uint32_t first = Mark(0, 0), last = Mark(1, 1);
    for (const auto& [x, y, width, height, seen] : std::initializer_list<Case>{
             {0, 0, kMost, kMost, Pixels(9, first)},
             {kLeast + 3, kLeast + 3, kMost, kMost, Pixels{last, last, 0, last, last, 0, 0, 0, 0}},
             {kMost, 0, kMost, 1, Pixels(9)},
             {kLeast, kLeast, kMost, kMost, Pixels(9)},
             {kLeast, 0, 1, 1, Pixels(9)}}) {
        const Canvas canvas(Section(3, 3, &bits_), 3);
        EXPECT_TRUE(DrawDibDraw(draw_, canvas.Context(), x, y, width, height, &picture.header,
                                picture.memory.data(), 0, 0, 2, 2, 0));
        EXPECT_EQ(canvas.Pixels(3), seen) << x << ", " << y;
    }
}

TEST_F(DrawDib, RefusesWhatItCannotDraw) {
    const Canvas canvas(Section(3, 3, &bits_), 3);
    const Canvas oneBit(3, 3);
    const HDC screen = GetDC(nullptr);
    Picture picture(2, 2, Mark);
    struct Call {
        HDRAWDIB draw;
        HDC context;
        BITMAPINFOHEADER header = Header(2, 2);
        bool hasBits = true;
        int width = -1, height = -1;
        RECT part = {0, 0, -1, -1};  // its sizes in right and bottom
        UINT flags = 0;
    };
    const Call good{draw_, canvas.Context()};
    const auto draw = [&](Call call) {
        return DrawDibDraw(call.draw, call.context, 1, 1, call.width, call.height, &call.header,
                           call.hasBits ? picture.memory.data() : nullptr, call.part.left,
                           call.part.top, call.part.right, call.part.bottom, call.flags);
    };
    std::vector<Call> bad;
    const auto add = [&](auto&& inChange) { inChange(bad.emplace_back(good)); };
    add([&](Call& c) { c.draw = nullptr; });
    add([&](Call& c) { c.draw = c.context; });
    add([&](Call& c) { c.context = screen; });
    add([&](Call& c) { c.context = oneBit.Context(); });
    add([&](Call& c) { c.hasBits = false; });
    add([&](Call& c) { c.flags = 1; });
    for (const int size : {0, -2, std::numeric_limits<int>::min()}) {
        add([&](Call& c) { c.width = size; });
        add([&](Call& c) { c.height = size; });
        add([&](Call& c) { c.part.right = size; });
        add([&](Call& c) { c.part.bottom = size; });
    }
    for (const RECT& part : {RECT{-1, 0, 1, 1},
                             {0, -1, 1, 1},
                             {1, 0, 2, 1},
                             {0, 1, 1, 2},
                             {1, 1, std::numeric_limits<int>::max(), 1}})
        add([&](Call& c) { c.part = part; });
    add([](Call& c) { c.header.biSize = 12; });
    add([](Call& c) { c.header.biBitCount = 24; });
    add([](Call& c) { c.header.biPlanes = 2; });
    add([](Call& c) { c.header.biCompression = BI_RLE8; });
    add([](Call& c) { c.header.biHeight = 0; });
    add([](Call& c) { c.header.biHeight = std::numeric_limits<LONG>::min(); });
    add([](Call& c) { c.header.biWidth = -2; });
    for (const Call& call : bad)
        EXPECT_FALSE(draw(call)) << &call - bad.data();
    EXPECT_FALSE(DrawDibDraw(draw_, canvas.Context(), 0, 0, 1, 1, nullptr, picture.memory.data(), 0,
                             0, 1, 1, 0));
    EXPECT_EQ(canvas.Pixels(3), Pixels(9));

    EXPECT_TRUE(draw(good));
    const Pixels drawn{0, 0, 0, 0, Mark(0, 0), Mark(1, 0), 0, Mark(0, 1), Mark(1, 1)};
    EXPECT_EQ(canvas.Pixels(3), drawn);
    EXPECT_EQ(ReleaseDC(nullptr, screen), 1);
}

}  // namespace
}  // namespace win32_test

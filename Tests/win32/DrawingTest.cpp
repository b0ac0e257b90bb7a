// Pixels of regions and pictures against rules that look at one pixel at a time.

#include "Grids.h"

namespace win32_test {
namespace {

constexpr int kWidth = 61;
constexpr int kHeight = 43;
constexpr std::uint32_t kWhite = 0xFFFFFF;

/// What filling the region changes, of either kind of bitmap and in either colour.
Pixels Filled(HRGN inRegion, int inVariant = 0) {
    const int bits = inVariant % 2 == 0 ? 1 : 32;
    const bool isWhite = inVariant / 2 % 2 == 0;
    const HBITMAP bitmap = CreateBitmap(kWidth, kHeight, 1, static_cast<UINT>(bits), nullptr);
    const Canvas canvas(bitmap, kWidth, kHeight, bits);
    const RECT all{kLeast, kLeast, kMost, kMost};
    EXPECT_EQ(FillRect(canvas.Context(), &all, Brush(isWhite ? BLACK_BRUSH : WHITE_BRUSH)), 1);
    EXPECT_TRUE(FillRgn(canvas.Context(), inRegion, Brush(isWhite ? WHITE_BRUSH : BLACK_BRUSH)));
    Pixels pixels = canvas.Read();
    for (std::uint32_t& pixel : pixels)
        pixel ^= isWhite ? 0 : kWhite;
    return pixels;
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
    template <class IsIn>
    Shape(HRGN inRegion, const IsIn& inIsIn)
        : region(inRegion),
          pixels(Grid(kWidth, kHeight, [&](int x, int y) { return inIsIn(x, y) ? kWhite : 0U; })) {}

    HRGN region;
    Pixels pixels;
};

template <class Random>
Shape AnyShape(const Random& inRandom) {
    const RECT box{inRandom(-20, 50), inRandom(-20, 40), inRandom(0, 80), inRandom(0, 60)};
    const auto [left, right] = std::minmax(box.left, box.right);
    const auto [top, bottom] = std::minmax(box.top, box.bottom);
    const RECT ordered{left, top, right, bottom};
    const int kind = inRandom(0, 3);
    if (kind == 0) {
        return {CreateRectRgn(box.left, box.top, box.right, box.bottom), [&](int x, int y) {
                    return x >= ordered.left && x < ordered.right && y >= ordered.top &&
                           y < ordered.bottom;
                }};
    }
    if (kind == 1) {
        return {CreateEllipticRgn(box.left, box.top, box.right, box.bottom),
                [&](int x, int y) { return IsInEllipse(ordered, x, y); }};
    }
    const int mode = kind == 2 ? ALTERNATE : WINDING;
    std::vector<POINT> points(static_cast<std::size_t>(inRandom(1, 9)));
    for (POINT& point : points)
        point = {inRandom(-20, 80), inRandom(-20, 60)};
    return {CreatePolygonRgn(points.data(), static_cast<int>(points.size()), mode),
            [&](int x, int y) { return IsInPolygon(points, mode, x, y); }};
}

TEST(Regions, AreTheirPixelsHoweverCombined) {
    std::mt19937 generator(7);
    const auto random = [&](int from, int to) {
        return std::uniform_int_distribution(from, to)(generator);
    };
    for (int i = 0; i < 400; ++i) {
        Shape all[] = {AnyShape(random), AnyShape(random), AnyShape(random)};
        for (const Shape& shape : all)
            ASSERT_EQ(Filled(shape.region, i), shape.pixels) << i;
        for (int step = 0; step < 6; ++step) {
            Shape& result = all[random(0, 2)];
            const Shape& first = all[random(0, 2)];
            const Shape& second = all[random(0, 2)];
            const int mode = random(RGN_AND, RGN_COPY);
            for (std::size_t at = 0; at < first.pixels.size(); ++at) {
                const std::uint32_t a = first.pixels[at], b = second.pixels[at];
                result.pixels[at] = std::array{a & b, a | b, a ^ b, a & ~b,
                                               a}[static_cast<std::size_t>(mode - RGN_AND)];
            }
            ASSERT_NE(CombineRgn(result.region, first.region, second.region, mode), 0);
            ASSERT_EQ(Filled(result.region, i), result.pixels) << i << ", " << mode;
        }
        for (const Shape& shape : all)
            EXPECT_TRUE(DeleteObject(shape.region));
    }
}

TEST(Regions, TellTheirKindAndTakeExtremeCoordinates) {
    const HRGN square = CreateRectRgn(0, 0, 10, 10), half = CreateRectRgn(5, 0, 10, 10);
    const HRGN result = CreateRectRgn(0, 0, 0, 0), circle = CreateEllipticRgn(0, 0, 10, 10);
    EXPECT_EQ(CombineRgn(result, square, half, RGN_DIFF), SIMPLEREGION);
    EXPECT_EQ(CombineRgn(result, result, half, RGN_AND), NULLREGION);
    EXPECT_EQ(CombineRgn(result, square, circle, RGN_XOR), COMPLEXREGION);
    EXPECT_EQ(CombineRgn(result, square, nullptr, RGN_COPY), SIMPLEREGION);

    const POINT points[] = {{kLeast, -1}, {kMost, -1}, {kMost, kHeight}, {kLeast, kHeight}};
    const HRGN large[] = {CreateRectRgn(kLeast, kLeast, kMost, kMost),
                          CreateEllipticRgn(kLeast, -30, kMost, 80),
                          CreatePolygonRgn(points, 4, WINDING)};
    for (const HRGN region : large)
        EXPECT_EQ(Filled(region), Pixels(kWidth * kHeight, kWhite));
    for (const HRGN region : {result, square, half, circle, large[0], large[1], large[2]})
        DeleteObject(region);
    // Nothing has that many lines.
    const POINT high[] = {{0, kLeast}, {9, kMost}, {4, 0}};
    EXPECT_EQ(CreateEllipticRgn(0, kLeast, 9, kMost), nullptr);
    EXPECT_EQ(CreatePolygonRgn(high, 3, ALTERNATE), nullptr);
    EXPECT_EQ(CreatePolygonRgn(high, 0, ALTERNATE), nullptr);
    EXPECT_EQ(CreatePolygonRgn(high, 3, 3), nullptr);
    EXPECT_EQ(CreatePolygonRgn(nullptr, 3, ALTERNATE), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Pictures

/// A picture in memory, bottom-up unless the height is negative.
struct Picture {
    template <class At>
    Picture(int inWidth, int inHeight, const At& inAt)
        : header(Header(inWidth, inHeight)),
          memory(Grid(inWidth, std::abs(inHeight),
                      [&](int x, int y) { return inAt(x, inHeight > 0 ? inHeight - 1 - y : y); })) {
    }

    BITMAPINFOHEADER header;
    Pixels memory;
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

    /// The last two of each rectangle are its sizes.
    BOOL Draw(const Canvas& inCanvas, const RECT& inPlace, Picture inPicture, const RECT& inPart) {
        return DrawDibDraw(draw_, inCanvas.Context(), inPlace.left, inPlace.top, inPlace.right,
                           inPlace.bottom, &inPicture.header, inPicture.memory.data(), inPart.left,
                           inPart.top, inPart.right, inPart.bottom, 0);
    }

    /// Wherever the picture comes to lie, what is seen of it is inAt from its corner on.
    template <class At>
    void ExpectDraws(int inWidth, int inHeight, const Picture& inPicture, const RECT& inPart,
                     const At& inAt) {
        for (int i = 0; i < 2 * 15 * 13; ++i) {
            const int left = i / 2 % 15 - 4, top = i / 30 - 3;
            const Canvas canvas(Section(10, i % 2 == 0 ? 9 : -9, &bits_), 10, 9);
            ASSERT_TRUE(Draw(canvas, {left, top, inWidth, inHeight}, inPicture, inPart));
            const auto at = [&](int x, int y) {
                const bool isIn = x >= left && x < left + inWidth && y >= top && y < top + inHeight;
                return isIn ? inAt(x - left, y - top) : 0U;
            };
            ASSERT_EQ(canvas.Read(), Grid(10, 9, at)) << inWidth << " at " << left << ", " << top;
        }
    }

    HDRAWDIB draw_ = DrawDibOpen();
    void* bits_ = nullptr;
};

TEST_F(DrawDib, DrawsTheSameWhateverIsCutAndHoweverItIsStored) {
    for (const int up : {1, -1}) {
        ExpectDraws(4, 3, Picture(5, 4 * up, Mark), {1, 1, 4, 3},
                    [](int x, int y) { return Mark(x + 1, y + 1); });
    }
    for (const auto& [width, height] : {std::pair{17, 13}, {4, 3}, {8, 3}, {3, 13}}) {
        const Picture picture(8, 6, Noise);
        const Canvas whole(CreateBitmap(40, 40, 1, 32, nullptr), 40, 40);
        ASSERT_TRUE(Draw(whole, {0, 0, width, height}, picture, {0, 0, 8, 6}));
        const Pixels all = whole.Read();
        ExpectDraws(width, height, picture, {0, 0, 8, 6},
                    [&](int x, int y) { return all[static_cast<std::size_t>(y * 40 + x)]; });
    }
}

TEST_F(DrawDib, RefusesWhatItCannotDraw) {
    const Canvas canvas(Section(3, 3, &bits_), 3, 3);
    const Canvas oneBit(CreateBitmap(3, 3, 1, 1, nullptr), 3, 3, 1);
    constexpr RECT kPlace{1, 1, -1, -1}, kAll{0, 0, -1, -1};
    Picture picture(2, 2, Mark);
    const auto draw = [&](HDRAWDIB handle, void* bits, UINT flags) {
        return DrawDibDraw(handle, canvas.Context(), 1, 1, -1, -1, &picture.header, bits, 0, 0, -1,
                           -1, flags);
    };
    EXPECT_FALSE(draw(nullptr, picture.memory.data(), 0));
    EXPECT_FALSE(draw(canvas.Context(), picture.memory.data(), 0));
    EXPECT_FALSE(draw(draw_, nullptr, 0));
    EXPECT_FALSE(draw(draw_, picture.memory.data(), 1));
    EXPECT_FALSE(Draw(oneBit, kPlace, picture, kAll));
    // clang-format off
    constexpr RECT kBadPlaces[] = {{1, 1, 0, -1}, {1, 1, kLeast, -1}, {1, 1, -1, 0}, {1, 1, -1, -2}};
    constexpr RECT kBadParts[] = {{0, 0, 0, 1}, {0, 0, 1, -2}, {-1, 0, 1, 1}, {0, -1, 1, 1},
                                  {1, 0, 2, 1}, {0, 1, 1, 2}, {1, 1, kMost, 1}};
    constexpr DWORD kSize = sizeof(BITMAPINFOHEADER);
    const BITMAPINFOHEADER kBadHeaders[] = {
        {12, 2, 2, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {kSize, -2, 2, 1, 32, BI_RGB, 0, 0, 0, 0, 0},
        {kSize, 2, 0, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {kSize, 2, kLeast, 1, 32, BI_RGB, 0, 0, 0, 0, 0},
        {kSize, 2, 2, 2, 32, BI_RGB, 0, 0, 0, 0, 0}, {kSize, 2, 2, 1, 24, BI_RGB, 0, 0, 0, 0, 0},
        {kSize, 2, 2, 1, 32, BI_RLE8, 0, 0, 0, 0, 0}};
    // clang-format on
    for (const RECT& place : kBadPlaces)
        EXPECT_FALSE(Draw(canvas, place, picture, kAll)) << &place - kBadPlaces;
    for (const RECT& part : kBadParts)
        EXPECT_FALSE(Draw(canvas, kPlace, picture, part)) << &part - kBadParts;
    for (const BITMAPINFOHEADER& header : kBadHeaders) {
        Picture bad = picture;
        bad.header = header;
        EXPECT_FALSE(Draw(canvas, kPlace, bad, kAll)) << &header - kBadHeaders;
    }
    EXPECT_EQ(canvas.Read(), Pixels(9));
    EXPECT_TRUE(draw(draw_, picture.memory.data(), 0));
    EXPECT_EQ(canvas.Read(),
              (Pixels{0, 0, 0, 0, Mark(0, 0), Mark(1, 0), 0, Mark(0, 1), Mark(1, 1)}));
}

}  // namespace
}  // namespace win32_test

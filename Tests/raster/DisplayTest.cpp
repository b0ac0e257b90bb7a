#include "Pictures.h"
#include "support/Contracts.h"
#include "support/SharedFolder.h"

namespace raster_test {
namespace {

/// A device context over memory, top line first.
class Screen {
  public:
    Screen(std::int32_t inWidth, std::int32_t inHeight) : width_(inWidth), height_(inHeight) {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = inWidth;
        info.bmiHeader.biHeight = -inHeight;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        void* bits = nullptr;
        bitmap_ = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        bits_ = static_cast<std::uint8_t*>(bits);
        context_ = CreateCompatibleDC(nullptr);
        SelectObject(context_, bitmap_);
    }
    ~Screen() {
        DeleteDC(context_);
        DeleteObject(bitmap_);
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    HDC Context() const { return context_; }
    Pixel At(std::int32_t inX, std::int32_t inY) const {
        Pixel pixel;
        std::memcpy(pixel.data(), bits_ + 4 * (inY * width_ + inX), 4);
        return pixel;
    }
    std::int32_t Width() const { return width_; }
    std::int32_t Height() const { return height_; }

  private:
    std::int32_t width_, height_;
    HBITMAP bitmap_ = nullptr;
    HDC context_ = nullptr;
    std::uint8_t* bits_ = nullptr;
};

class Display : public testing::Test {
  protected:
    Display() { VF::Initialize(); }
    ~Display() override { VF::Shutdown(); }

    support::SharedFolder folder_;
    std::mt19937 random_{3};
};

// Records with tight lines and with wider ones: the bitmap handed on is as wide as the lines.
TEST_F(Display, DrawsPartsOneToOne) {
    for (const std::int32_t padding : {0, 8}) {
        LocalRecord record(20, 10, padding, random_);
        const Screen screen(16, 12);
        const tagRECT from = {5, 2, 15, 9};
        const tagRECT to = {3, 1, 13, 8};
        EXPECT_EQ(tpixToScreen(record.Handle(), screen.Context(), &from, &to), 0);
        for (std::int32_t y = 0; y < screen.Height(); ++y) {
            for (std::int32_t x = 0; x < screen.Width(); ++x) {
                ASSERT_EQ(screen.At(x, y), IsIn(to, x, y) ? record.At(x + 2, y + 1) : Pixel{})
                    << x << ", " << y;
            }
        }
    }
}

// Four quarters of one colour each, drawn at another size: directly, and through a smaller record.
TEST_F(Display, ScalesSmallAndLargeSources) {
    for (const auto& [width, height] : {std::pair{40, 20}, {802, 10}, {10, 604}, {800, 600}}) {
        SCOPED_TRACE(width);
        LocalRecord record(width, height, 0, random_);
        for (std::int32_t i = 0; i < width * height; ++i) {
            const std::int32_t x = i % width;
            const std::int32_t y = i / width;
            record.Set(x, y,
                       {static_cast<std::uint8_t>(x < width / 2 ? 50 : 200),
                        static_cast<std::uint8_t>(y < height / 2 ? 60 : 190), 7, 255});
        }
        const Screen screen(30, 30);
        const tagRECT from = {0, 0, width, height};
        const tagRECT to = {2, 4, 22, 24};
        EXPECT_NE(DoDrawDib(record.Handle(), screen.Context(), &from, &to),
                  width > 800 || height > 600 ? 1 : 0);
        for (std::int32_t y = 0; y < 30; ++y) {
            for (std::int32_t x = 0; x < 30; ++x) {
                // Along the borders of the quarters colours may mix.
                if (std::abs(x - 12) <= 1 || std::abs(y - 14) <= 1) continue;
                const Pixel expected = {static_cast<std::uint8_t>(x < 12 ? 50 : 200),
                                        static_cast<std::uint8_t>(y < 14 ? 60 : 190), 7, 255};
                ASSERT_EQ(screen.At(x, y), IsIn(to, x, y) ? expected : Pixel{}) << x << ", " << y;
            }
        }
    }
}

// A large source counts from the picture's corner once it is scaled first.
TEST_F(Display, LargeScaledSourcesBeginAtTheCorner) {
    LocalRecord record(1000, 20, 0, random_);
    for (std::int32_t i = 0; i < 1000 * 20; ++i)
        record.Set(i % 1000, i / 1000,
                   {static_cast<std::uint8_t>(i % 1000 < 900 ? 30 : 99), 0, 0, 255});
    const Screen screen(10, 10);
    const tagRECT from = {100, 0, 1000, 20};
    const tagRECT to = {0, 0, 10, 10};
    DoDrawDib(record.Handle(), screen.Context(), &from, &to);
    EXPECT_EQ(screen.At(9, 5)[0], 30);
}

TEST_F(Display, BadInput) {
    LocalRecord record(900, 8, 0, random_);
    const Screen screen(8, 8);
    const tagRECT from = {0, 0, 900, 8};
    const tagRECT to = {0, 0, 8, 8};
    const tagRECT empty = {3, 3, 3, 3};
    EXPECT_EQ(tpixToScreen(record.Handle(), nullptr, &from, &to), 1);
    EXPECT_EQ(tpixToScreen(record.Handle(), screen.Context(), &from, &empty), 0);
    EXPECT_EQ(tpixToScreen(record.Handle(), screen.Context(), &empty, &to), 0);
    EXPECT_EQ(screen.At(0, 0), Pixel{});
    // Without memory for a smaller record it is drawn directly; without any, not at all.
    hoardex::FailAllocationsAfter(0);
    EXPECT_NE(DoDrawDib(record.Handle(), screen.Context(), &from, &to), 0);
    hoardex::FailAllocationsAfter(-1);
    EXPECT_NE(screen.At(0, 0), Pixel{});
    win32::FailAllocationsAfter(0);
    EXPECT_EQ(ExecDrawDib(record.Record(), screen.Context(), &from, &to), 0);
    win32::FailAllocationsAfter(-1);
}

}  // namespace
}  // namespace raster_test

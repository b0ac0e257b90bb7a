// Copies, scales and composites in the formats of the frames behind records.
#include "Pictures.h"
#include "support/Canvas.h"

namespace raster_test {
namespace {

using support::Canvas;
using tulomediatypes::PixelFormat;

/// A record over a new frame that holds a pattern, converted into the format.
class PatternRecord {
  public:
    PatternRecord(PixelFormat inFormat, std::int32_t inWidth, std::int32_t inHeight, int inSeed)
        : pattern_(support::Paint(inWidth, inHeight,
                                  [&](std::int32_t x, std::int32_t y) {
                                      const auto byte = [&](int factor) {
                                          return static_cast<std::uint8_t>(
                                              60 + (x / 2 * factor + y * 7 + inSeed * 31) % 130);
                                      };
                                      return Pixel{byte(3), byte(5), byte(11), 255};
                                  })),
          frame_(support::MakeFrame(static_cast<std::uint32_t>(inWidth),
                                    static_cast<std::uint32_t>(inHeight), inFormat)),
          handle_(VF::NewTPixFromVideoFrame(frame_)) {
        EXPECT_EQ(VF::VideoFrameManipulators::CopyFrame(pattern_.frame, frame_, 4), 0);
    }
    ~PatternRecord() { VF::DisposeTPixFromVideoFrame(handle_); }
    PatternRecord(const PatternRecord&) = delete;
    PatternRecord& operator=(const PatternRecord&) = delete;

    TPixHand Handle() const { return handle_; }
    Pixel Pattern(std::int32_t inX, std::int32_t inY) const { return pattern_.At(inX, inY); }

    /// What the frame shows, in BGRA.
    Canvas Shown() const {
        const Brix::Rect bounds = frame_->GetBounds();
        const Canvas shown{support::MakeFrame(static_cast<std::uint32_t>(bounds.right),
                                              static_cast<std::uint32_t>(bounds.bottom))};
        EXPECT_EQ(VF::VideoFrameManipulators::CopyFrame(frame_, shown.frame, 4), 0);
        return shown;
    }

  private:
    Canvas pattern_;
    VF::VideoFrameRef frame_;
    TPixHand handle_;
};

template <class ColourAt>
void ExpectShows(const PatternRecord& inRecord, const ColourAt& inColourAt, int inTolerance) {
    const Canvas shown = inRecord.Shown();
    for (std::int32_t y = 0; y < shown.Height(); ++y) {
        for (std::int32_t x = 0; x < shown.Width(); ++x) {
            const Pixel found = shown.At(x, y);
            const Pixel expected = inColourAt(x, y);
            for (std::size_t c = 0; c < 4; ++c)
                ASSERT_NEAR(found[c], expected[c], inTolerance) << x << ", " << y;
        }
    }
}

constexpr std::pair<PixelFormat, int> kFormats[] = {
    {OV::kPixelFormat_BGRA_4444_8u, 0},
    {tulomediatypes::kPixelFormat_ARGB_4444_8u, 0},
    {OV::kPixelFormat_VUYA_4444_8u, 3},
    {OV::kPixelFormat_BGRA_4444_32f, 0},
};

TEST(StraightCopy, ConvertsRectangles) {
    for (const auto& [from, fromError] : kFormats) {
        for (const auto& [to, toError] : kFormats) {
            const PatternRecord source(from, 20, 12, 1);
            const PatternRecord destination(to, 16, 10, 2);
            // Hangs out on the left and below; the point lies outside, above.
            const tagRECT rect = {-3, 4, 9, 30};
            tpixStraightCopyRect(source.Handle(), {7, -5}, destination.Handle(), &rect);
            ExpectShows(
                destination,
                [&](std::int32_t x, std::int32_t y) {
                    const bool isCopied = x < 9 && y >= 4;
                    return isCopied ? source.Pattern(x + 7, y - 4) : destination.Pattern(x, y);
                },
                fromError + toError);
        }
    }
}

TEST(StraightCopy, StopsWhereTheSourceEnds) {
    const PatternRecord source(OV::kPixelFormat_BGRA_4444_8u, 6, 5, 1);
    const PatternRecord destination(OV::kPixelFormat_BGRA_4444_8u, 16, 10, 2);
    const auto pattern = [&](std::int32_t x, std::int32_t y) { return destination.Pattern(x, y); };
    const tagRECT outside = {16, 0, 20, 10};
    tpixStraightCopyRect(source.Handle(), {0, 0}, destination.Handle(), &outside);
    const tagRECT all = {0, 0, 16, 10};
    tpixStraightCopyRect(source.Handle(), {6, 0}, destination.Handle(), &all);
    ExpectShows(destination, pattern, 0);
    tpixStraightCopy(source.Handle(), destination.Handle());
    ExpectShows(
        destination,
        [&](std::int32_t x, std::int32_t y) {
            return x < 6 && y < 5 ? source.Pattern(x, y) : destination.Pattern(x, y);
        },
        0);
}

TEST(StraightScale, ScalesRectanglesAndCutsThem) {
    for (const auto& [format, error] : kFormats) {
        const PatternRecord source(format, 20, 12, 1);
        const PatternRecord destination(OV::kPixelFormat_BGRA_4444_8u, 16, 10, 2);
        tagRECT from = {10, -3, 40, 5};
        tagRECT to = {-2, 5, 10, 99};
        tpixStraightScaleRect(source.Handle(), &from, destination.Handle(), &to);
        EXPECT_EQ(from.right, 20);
        EXPECT_EQ(from.top, 0);
        EXPECT_EQ(to.left, 0);
        EXPECT_EQ(to.bottom, 10);
        // The same size now, so nothing is blurred.
        ExpectShows(
            destination,
            [&](std::int32_t x, std::int32_t y) {
                return x < 10 && y >= 5 ? source.Pattern(x + 10, y - 5) : destination.Pattern(x, y);
            },
            error);
        tagRECT nothing = {30, 0, 40, 5};
        tpixStraightScaleRect(source.Handle(), &nothing, destination.Handle(), &to);
    }
    const PatternRecord small(OV::kPixelFormat_BGRA_4444_8u, 2, 2, 3);
    const PatternRecord large(OV::kPixelFormat_VUYA_4444_8u, 8, 6, 4);
    tpixStraightScale(small.Handle(), large.Handle());
    for (const auto& [x, y] : {std::pair{0, 0}, {7, 5}}) {
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(large.Shown().At(x, y)[c], small.Pattern(x / 7, y / 5)[c], 3);
    }
}

TEST(OneBitMaskComposite, TakesPixelsByTheirBits) {
    const PatternRecord a(OV::kPixelFormat_BGRA_4444_8u, 24, 14, 1);
    const PatternRecord b(tulomediatypes::kPixelFormat_ARGB_4444_8u, 22, 13, 2);
    const PatternRecord destination(OV::kPixelFormat_BGRA_4444_8u, 20, 12, 3);
    std::vector<std::uint8_t> mask(4 * 12);
    std::mt19937 random(1);
    for (std::uint8_t& byte : mask)
        byte = static_cast<std::uint8_t>(random() >> 8);
    const auto isSet = [&](std::int32_t x, std::int32_t y) {
        return (mask[static_cast<std::size_t>(4 * y + x / 8)] >> (7 - x % 8) & 1) != 0;
    };
    const tagRECT rect = {2, 3, 15, 11};
    tpixOneBitMaskCompositeRect(a.Handle(), {4, 5}, b.Handle(), {1, 2}, destination.Handle(), &rect,
                                mask.data(), {3, 1});
    ExpectShows(
        destination,
        [&](std::int32_t x, std::int32_t y) {
            if (!IsIn(rect, x, y)) return destination.Pattern(x, y);
            return isSet(x + 1, y - 2) ? a.Pattern(x + 2, y + 2) : b.Pattern(x - 1, y - 1);
        },
        0);
    tpixOneBitMaskComposite(a.Handle(), b.Handle(), destination.Handle(), mask.data());
    ExpectShows(
        destination,
        [&](std::int32_t x, std::int32_t y) {
            return isSet(x, y) ? a.Pattern(x, y) : b.Pattern(x, y);
        },
        0);
}

TEST(OneBitMaskComposite, TakesPixelsByARegion) {
    const PatternRecord a(OV::kPixelFormat_BGRA_4444_8u, 20, 12, 1);
    const PatternRecord b(OV::kPixelFormat_BGRA_4444_8u, 20, 12, 2);
    const PatternRecord destination(OV::kPixelFormat_BGRA_4444_8u, 20, 12, 3);
    const HRGN region = CreateRectRgn(-5, 2, 7, 40);
    hoardex::FailAllocationsAfter(0);
    tpixOneBitMaskRegionComposite(a.Handle(), b.Handle(), destination.Handle(), region);
    hoardex::FailAllocationsAfter(-1);
    ExpectShows(
        destination, [&](std::int32_t x, std::int32_t y) { return destination.Pattern(x, y); }, 0);
    tpixOneBitMaskRegionComposite(a.Handle(), b.Handle(), destination.Handle(), region);
    ExpectShows(
        destination,
        [&](std::int32_t x, std::int32_t y) {
            return x < 7 && y >= 2 ? a.Pattern(x, y) : b.Pattern(x, y);
        },
        0);
    DeleteObject(region);
}

TEST(CompositeToBlack, LaysOverBlackWhatIsAlike) {
    std::mt19937 random(1);
    LocalRecord source(9, 5, 4, random);
    LocalRecord destination(9, 5, 0, random);
    LocalRecord smaller(8, 5, 0, random);
    const LocalRecord before = smaller;
    for (std::int32_t i = 0; i < 45; ++i)
        source.Set(i % 9, i / 9, {200, 100, 50, static_cast<std::uint8_t>(i % 2 == 0 ? 255 : 0)});
    tpixCompositeToBlack(source.Handle(), smaller.Handle());
    EXPECT_EQ(smaller.Memory(), before.Memory());
    tpixCompositeToBlack(source.Handle(), destination.Handle());
    for (std::int32_t i = 0; i < 45; ++i) {
        const Pixel expected = i % 2 == 0 ? Pixel{200, 100, 50, 255} : Pixel{0, 0, 0, 255};
        ASSERT_EQ(destination.At(i % 9, i / 9), expected);
    }
}

}  // namespace
}  // namespace raster_test

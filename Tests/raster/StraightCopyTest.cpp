// Copies, scales and composites in the formats of the frames behind records.
#include "Pictures.h"
#include "support/Canvas.h"

namespace raster_test {
namespace {

using support::Canvas;
using tulomediatypes::PixelFormat;

constexpr PixelFormat kBgra = OV::kPixelFormat_BGRA_4444_8u;

/// A record over a new frame that holds a pattern, converted into the format.
class PatternRecord {
  public:
    PatternRecord(PixelFormat inFormat, std::int32_t inWidth, std::int32_t inHeight, int inSeed)
        : seed_(inSeed),
          bounds_{0, 0, inWidth, inHeight},
          frame_(support::MakeFrame(static_cast<std::uint32_t>(inWidth),
                                    static_cast<std::uint32_t>(inHeight), inFormat)),
          handle_(VF::NewTPixFromVideoFrame(frame_)) {
        const Canvas pattern =
            support::Paint(inWidth, inHeight, [&](int x, int y) { return Pattern(x, y); });
        EXPECT_EQ(VF::VideoFrameManipulators::CopyFrame(pattern.frame, frame_, 4), 0);
    }
    ~PatternRecord() { VF::DisposeTPixFromVideoFrame(handle_); }
    PatternRecord(const PatternRecord&) = delete;
    PatternRecord& operator=(const PatternRecord&) = delete;

    TPixHand Handle() const { return handle_; }
    const tagRECT& Bounds() const { return bounds_; }
    Pixel Pattern(std::int32_t inX, std::int32_t inY) const {
        const auto byte = [&](int inFactor) {
            return static_cast<std::uint8_t>(60 +
                                             (inX / 2 * inFactor + inY * 7 + seed_ * 31) % 130);
        };
        return Pixel{byte(3), byte(5), byte(11), 255};
    }

    template <class ColourAt>
    void ExpectShows(const ColourAt& inColourAt, int inTolerance = 0) const {
        const Canvas shown{support::MakeFrame(static_cast<std::uint32_t>(bounds_.right),
                                              static_cast<std::uint32_t>(bounds_.bottom))};
        EXPECT_EQ(VF::VideoFrameManipulators::CopyFrame(frame_, shown.frame, 4), 0);
        for (std::int32_t i = 0; i < 4 * bounds_.right * bounds_.bottom; ++i) {
            const std::int32_t x = i / 4 % bounds_.right, y = i / 4 / bounds_.right;
            const auto c = static_cast<std::size_t>(i % 4);
            ASSERT_NEAR(shown.At(x, y)[c], inColourAt(x, y)[c], inTolerance) << x << ", " << y;
        }
    }

  private:
    int seed_;
    tagRECT bounds_;
    VF::VideoFrameRef frame_;
    TPixHand handle_;
};

constexpr std::pair<PixelFormat, int> kFormats[] = {
    {kBgra, 0},
    {tulomediatypes::kPixelFormat_ARGB_4444_8u, 0},
    {OV::kPixelFormat_VUYA_4444_8u, 3},
    {OV::kPixelFormat_BGRA_4444_32f, 0},
};

// What hangs out is cut; so is what the source does not hold from the point on.
TEST(StraightCopy, ConvertsRectangles) {
    constexpr std::pair<POINT, tagRECT> kPlaces[] = {
        {{7, -5}, {-3, 4, 9, 30}}, {{14, 7}, {0, 0, 16, 10}}, {{0, 0}, {16, 0, 20, 10}},
        {{20, 0}, {0, 0, 16, 10}}, {{0, 0}, {0, 0, 16, 10}},
    };
    for (const auto& [from, fromError] : kFormats) {
        for (const auto& [to, toError] : kFormats) {
            for (const auto& place : kPlaces) {
                const auto& point = place.first;
                const auto& rect = place.second;
                const PatternRecord source(from, 20, 12, 1);
                const PatternRecord destination(to, 16, 10, 2);
                if (&place == std::end(kPlaces) - 1) {
                    tpixStraightCopy(source.Handle(), destination.Handle());
                } else {
                    tpixStraightCopyRect(source.Handle(), point, destination.Handle(), &rect);
                }
                const auto colourAt = [&](int x, int y) {
                    const std::int32_t fromX = std::max(point.x, 0) + x - std::max(rect.left, 0);
                    const std::int32_t fromY = std::max(point.y, 0) + y - std::max(rect.top, 0);
                    const bool isCopied = IsIn(rect, x, y) && IsIn(source.Bounds(), fromX, fromY);
                    return isCopied ? source.Pattern(fromX, fromY) : destination.Pattern(x, y);
                };
                destination.ExpectShows(colourAt, fromError + toError);
            }
        }
    }
}

TEST(OneBitMaskComposite, TakesPixelsByTheirBits) {
    const PatternRecord a(kBgra, 24, 14, 1);
    const PatternRecord b(tulomediatypes::kPixelFormat_ARGB_4444_8u, 22, 13, 2);
    const PatternRecord destination(kBgra, 20, 12, 3);
    Bytes mask(4 * 12);
    std::mt19937 random(1);
    FillWithNoise(mask, random);
    const auto isSet = [&](int x, int y) {
        return (mask[static_cast<std::size_t>(4 * y + x / 8)] >> (7 - x % 8) & 1) != 0;
    };
    const tagRECT rect = {2, 3, 15, 11};
    tpixOneBitMaskCompositeRect(a.Handle(), {4, 5}, b.Handle(), {1, 2}, destination.Handle(), &rect,
                                mask.data(), {3, 1});
    destination.ExpectShows([&](int x, int y) {
        if (!IsIn(rect, x, y)) return destination.Pattern(x, y);
        return isSet(x + 1, y - 2) ? a.Pattern(x + 2, y + 2) : b.Pattern(x - 1, y - 1);
    });
    tpixOneBitMaskComposite(a.Handle(), b.Handle(), destination.Handle(), mask.data());
    destination.ExpectShows(
        [&](int x, int y) { return isSet(x, y) ? a.Pattern(x, y) : b.Pattern(x, y); });
}

}  // namespace
}  // namespace raster_test

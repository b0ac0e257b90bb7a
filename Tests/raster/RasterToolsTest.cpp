// Alpha, edge, table, convolution, field and fill tools against the plainest form of their rules.
#include <algorithm>
#include <functional>

#include "Pictures.h"
#include "support/Canvas.h"
#include "support/Contracts.h"

namespace raster_test {
namespace {

/// Sizes from the smallest on, in memory lines.
constexpr std::pair<std::int32_t, std::int32_t> kSizes[] = {
    {1, 1}, {1, 2}, {2, 1}, {2, 2}, {3, 3}, {4, 3}, {3, 4}, {4, 4}, {67, 5}, {130, 9}};

class RasterTools : public testing::Test {
  protected:
    Bytes RandomBytes(std::size_t inCount, std::uint32_t inBound = 256) {
        Bytes bytes(inCount);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>((random_() >> 8) % inBound);
        return bytes;
    }

    /// Calls inCheck(picture, width, height, stride) with noise of every size.
    void ForEverySize(
        const std::function<void(Bytes&, std::int32_t, std::int32_t, std::int32_t)>& inCheck) {
        for (const auto& [width, height] : kSizes) {
            SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
            const std::int32_t stride = 4 * width + 8;
            Bytes picture = RandomBytes(static_cast<std::size_t>(stride * height));
            inCheck(picture, width, height, stride);
        }
    }

    std::mt19937 random_{9};
};

std::size_t Place(std::int32_t inX, std::int32_t inY, std::int32_t inStride) {
    return static_cast<std::size_t>(inY * inStride + 4 * inX);
}

/// The picture with bytes inByteAt(x, y, component) in its pixels.
template <class ByteAt>
Bytes Changed(Bytes ioPicture, std::int32_t inWidth, std::int32_t inHeight, std::int32_t inStride,
              const ByteAt& inByteAt) {
    for (std::int32_t i = 0; i < 4 * inWidth * inHeight; ++i) {
        const std::int32_t x = i / 4 % inWidth, y = i / 4 / inWidth;
        const auto c = static_cast<std::size_t>(i % 4);
        ioPicture[Place(x, y, inStride) + c] = static_cast<std::uint8_t>(inByteAt(x, y, c));
    }
    return ioPicture;
}

TEST_F(RasterTools, AlphaAndGrey) {
    ForEverySize([&](Bytes& picture, std::int32_t width, std::int32_t height, std::int32_t stride) {
        TPix record{};
        record.bounds = {0, 0, width, height};
        record.rowbytes = stride;
        TPix* handle = &record;
        const Bytes before = picture;
        const Bytes alphas = RandomBytes(static_cast<std::size_t>(width * height));
        const auto expect = [&](const auto& inTool, const auto& inByteAt) {
            picture = before;
            record.pixels = picture.data();
            inTool();
            EXPECT_EQ(picture, Changed(before, width, height, stride, inByteAt));
        };
        const auto alphaAt = [&](std::int32_t x, std::int32_t y, std::size_t) {
            return before[Place(x, y, stride) + 3];
        };
        expect([&] { A_AlphaToRGB(picture.data(), width, height, stride); }, alphaAt);
        expect([&] { AlphaToRGB(&handle); }, alphaAt);
        expect([&] { AlphaToInverseRGB(&handle); },
               [&](std::int32_t x, std::int32_t y, std::size_t c) {
                   return c == 3 ? alphaAt(x, y, c) : 255 - alphaAt(x, y, c);
               });
        expect([&] { GreyBufferToAlpha(&handle, alphas.data()); },
               [&](std::int32_t x, std::int32_t y, std::size_t c) {
                   return c == 3 ? alphas[static_cast<std::size_t>(y * width + x)]
                                 : before[Place(x, y, stride) + c];
               });
        Bytes taken(alphas.size());
        AlphaToGreyBuffer(&handle, taken.data());
        EXPECT_EQ(taken, alphas);
    });
    AlphaToGreyBuffer(nullptr, nullptr);
    GreyBufferToAlpha(nullptr, nullptr);
}

// ---------------------------------------------------------------------------------------------
// Edges

/// Beyond the picture, the pixel itself.
bool IsAtEdge(const Bytes& inChannel, std::int32_t inWidth, std::int32_t inHeight, std::int32_t inX,
              std::int32_t inY) {
    int sum = 0;
    for (const auto& [dx, dy] : {std::pair{0, 0}, {-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
        const std::int32_t x = std::clamp(inX + dx, 0, inWidth - 1);
        const std::int32_t y = std::clamp(inY + dy, 0, inHeight - 1);
        sum += inChannel[static_cast<std::size_t>(y * inWidth + x)];
    }
    return sum != 0 && sum < 128;
}

TEST_F(RasterTools, EdgesOfKeyedRegions) {
    ForEverySize([&](Bytes& picture, std::int32_t width, std::int32_t height, std::int32_t stride) {
        Bytes channel = RandomBytes(static_cast<std::size_t>(width * height), 3);
        const Bytes keys = channel;
        ReplaceChannel(channel.data(), width, height, 2);
        for (std::size_t i = 0; i < keys.size(); ++i)
            ASSERT_EQ(channel[i], keys[i] == 2 ? 31 : 0);

        const Bytes before = picture;
        const Bytes region = channel;
        const bool isLarge = width >= 3 && height >= 3;
        Bytes edge = region, marked = region;
        const auto isEdge = [&](std::int32_t x, std::int32_t y) {
            return IsAtEdge(region, width, height, x, y);
        };
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const auto place = static_cast<std::int32_t>(i);
            const bool isAtEdge = isEdge(place % width, place / width);
            if (isLarge) edge[i] = isAtEdge ? 31 : 0;
            if (isAtEdge) marked[i] = 255;
        }
        const auto painted = [&](std::int32_t x, std::int32_t y, std::size_t c) {
            return isLarge && isEdge(x, y) ? c + 1 : before[Place(x, y, stride) + c];
        };
        const auto softened = [&](std::int32_t x, std::int32_t y, std::size_t c) {
            const auto halfAt = [&](std::int32_t px, std::int32_t py) {
                return before[Place(std::clamp(px, 0, width - 1), std::clamp(py, 0, height - 1),
                                    stride) +
                              c] >>
                       1;
            };
            if (!isEdge(x, y)) return int{before[Place(x, y, stride) + c]};
            const int column = halfAt(x, y - 1) + halfAt(x, y + 1);
            const int row = halfAt(x - 1, y) + halfAt(x + 1, y);
            return halfAt(x, y) + (((column >> 1) + (row >> 1)) >> 1);
        };
        Bytes scratch(region.size());
        EdgePaintChannel(picture.data(), stride, width, height, 0x04030201, channel.data(),
                         scratch.data());
        EXPECT_EQ(picture, Changed(before, width, height, stride, painted));
        EXPECT_EQ(channel, edge);

        picture = before;
        channel = region;
        hoardex::FailAllocationsAfter(1);
        EdgeAliasChannel(picture.data(), stride, width, height, channel.data());
        hoardex::FailAllocationsAfter(-1);
        EXPECT_EQ(picture, before);
        EdgeAliasChannel(picture.data(), stride, width, height, channel.data());
        EXPECT_EQ(picture, Changed(before, width, height, stride, softened));
        EXPECT_EQ(channel, marked);
    });
}

TEST_F(RasterTools, AlphasOfEdges) {
    Bytes picture(4 * 3 + 2, 9);
    const Bytes inside = {1, 2, 3};
    const Bytes outside = {4, 5, 6};
    const Bytes mask = {0, 255, 1};
    EdgeReconstructAlphas(inside.data(), outside.data(), picture.data(), mask.data(), 3, 1, 14);
    EXPECT_EQ(picture, (Bytes{9, 9, 9, 4, 9, 9, 9, 2, 9, 9, 9, 3, 9, 9}));
    EdgeReconstructAlphas(nullptr, outside.data(), picture.data(), mask.data(), 3, 1, 14);
    EdgePaintChannel(nullptr, 0, 3, 3, 0, nullptr, nullptr);
    EdgeAliasChannel(nullptr, 0, 3, 3, nullptr);
    ReplaceChannel(nullptr, 3, 3, 0);
}

// ---------------------------------------------------------------------------------------------
// Colours

TEST_F(RasterTools, TablesAndConvolutions) {
    constexpr std::int16_t kKernels[][11] = {{0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1},
                                             {1, 2, 1, 2, 4, 2, 1, 2, 1, 0, 16},
                                             {-1, -2, 0, -7, 20, 3, 5, -6, 1, 128, 3},
                                             {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0},
                                             {0, 0, 0, 0, 0, 0, 0, 0, 0, 500, -1}};
    const Bytes tables = RandomBytes(3 * 256);
    ForEverySize([&](Bytes& picture, std::int32_t width, std::int32_t height, std::int32_t stride) {
        const Bytes before = picture;
        const auto w = static_cast<std::int16_t>(width);
        const auto h = static_cast<std::int16_t>(height);
        const auto s = static_cast<std::int16_t>(stride);
        for (const auto& kernel : kKernels) {
            const float scale = kernel[10] == 0 ? 0 : 1.0F / kernel[10];
            const auto byteAt = [&](std::int32_t x, std::int32_t y, std::size_t c) {
                float sum = 0;
                for (std::int32_t tap = 0; tap < 9; ++tap) {
                    const std::int32_t px = std::clamp(x + tap % 3 - 1, 0, width - 1);
                    const std::int32_t py = std::clamp(y + tap / 3 - 1, 0, height - 1);
                    const float code = before[Place(px, py, stride) + c];
                    sum += code * (static_cast<float>(kernel[tap]) * scale);
                }
                sum += static_cast<float>(kernel[9]) * scale;
                return std::clamp(static_cast<int>(sum), 0, 255);
            };
            const Bytes expected = Changed(before, width, height, stride, byteAt);
            Bytes apart = before;
            DoConvolve(before.data(), apart.data(), kernel, s, w, h);
            ASSERT_EQ(apart, expected);
            picture = before;
            DoConvolve(picture.data(), picture.data(), kernel, s, w, h);
            ASSERT_EQ(picture, expected);
        }
        const auto lookedUp = [&](std::int32_t x, std::int32_t y, std::size_t c) {
            const std::uint8_t code = before[Place(x, y, stride) + c];
            return c == 3 ? code : tables[256 * (2 - c) + code];
        };
        const Bytes expected = Changed(before, width, height, stride, lookedUp);
        picture = before;
        bn_DoIndexMap(before.data(), picture.data(), s, w, h, tables.data(), tables.data() + 256,
                      tables.data() + 512);
        EXPECT_EQ(picture, expected);
        hoardex::FailAllocationsAfter(0);
        DoConvolve(before.data(), picture.data(), kKernels[3], s, w, h);
        hoardex::FailAllocationsAfter(-1);
        EXPECT_EQ(picture, expected);
    });
}

// ---------------------------------------------------------------------------------------------
// Records

TEST_F(RasterTools, InterpolatedFields) {
    for (std::int32_t height = 1; height <= 6; ++height) {
        for (std::uint16_t field = 0; field < 3; ++field) {
            SCOPED_TRACE(std::to_string(height) + ", field " + std::to_string(field));
            const std::int32_t stride = 4 * 33 + 4;
            Bytes picture = RandomBytes(static_cast<std::size_t>(stride * height));
            const Bytes before = picture;
            const bool keepsEven = (height % 2 == 1) == (field == 1);
            const auto byteAt = [&](std::int32_t x, std::int32_t y, std::size_t c) {
                const auto at = [&](std::int32_t line) {
                    return before[Place(x, line, stride) + c];
                };
                // The only neighbour counts twice, but the last even line stays as it is.
                const bool isKept = (y % 2 == 0) == keepsEven || height == 1 ||
                                    (!keepsEven && y > 0 && y + 1 == height);
                if (isKept) return int{at(y)};
                return (at(y > 0 ? y - 1 : y + 1) + at(y + 1 < height ? y + 1 : y - 1)) / 2;
            };
            const Bytes expected = Changed(picture, 20, height, stride, byteAt);
            TPix record{};
            record.bounds = {0, 0, 33, height};
            record.rowbytes = stride;
            record.pixels = picture.data();
            TPix* handle = &record;
            const tagRECT rect = {0, 0, 20, height};
            InterpFrame(&handle, &rect, field);
            EXPECT_EQ(picture, expected);
        }
    }
}

TEST_F(RasterTools, FillsAndBounds) {
    for (const bool isYCbCr : {false, true}) {
        const VF::VideoFrameRef frame = support::MakeFrame(
            8, 6, isYCbCr ? OV::kPixelFormat_VUYA_4444_8u : OV::kPixelFormat_BGRA_4444_8u);
        const TPixHand handle = VF::NewTPixFromVideoFrame(frame);
        const tagRECT rect = {5, -3, 20, 2};
        const tagRECT outside = {8, 0, 9, 6};
        tpixFillRectTransparent(handle, nullptr, 0x00102030);
        tpixFillRect(handle, &rect, 0x7F405060);
        tpixFillRect(handle, &outside, 0);
        support::ExpectPixels(support::Canvas{frame}, [&](std::int32_t x, std::int32_t y) {
            return IsIn(rect, x, y) ? Pixel{0x40, 0x50, 0x60, 0xFF} : Pixel{0x10, 0x20, 0x30, 0};
        });
        frame->SetDataRect({1, 2, 5, 6});
        tagRECT bounds{};
        tpixGetAlphaBounds(handle, &bounds);
        EXPECT_EQ(bounds.left + 10 * bounds.top + 100 * bounds.right + 1000 * bounds.bottom, 6521);
        VF::DisposeTPixFromVideoFrame(handle);
    }
    const TPixHand raw = VF::NewTPixWithRawFrame(64, 0);
    tagRECT bounds{1, 1, 1, 1};
    tpixGetAlphaBounds(raw, &bounds);
    EXPECT_EQ(bounds.left + bounds.top + bounds.right + bounds.bottom, 0);
    VF::DisposeTPixFromVideoFrame(raw);
    support::ExpectBroken("tpixHandle != NULL", "AlphaTools", 0,
                          [&] { tpixGetAlphaBounds(nullptr, &bounds); });
}

// A picture turned by a quarter, four times in four ways, is itself.
TEST_F(RasterTools, Warps) {
    std::mt19937 random(3);
    LocalRecord source(16, 16, 0, random);
    source.Paint([](std::int32_t x, std::int32_t y) {
        return Pixel{static_cast<std::uint8_t>(16 * x), static_cast<std::uint8_t>(16 * y), 0, 255};
    });
    const tagRECT all = {0, 0, 16, 16};
    const TPixFixedQuad whole = {{{0, 0}, {16, 0}, {16, 16}, {0, 16}}};
    const TPixFixedQuad turned = {{{16, 0}, {16, 16}, {0, 16}, {0, 0}}};
    const auto fixed = [](TPixFixedQuad quad) {
        for (POINT& corner : quad.corners)
            corner = {corner.x * 65536, corner.y * 65536};
        return quad;
    };
    const TPixFixedQuad fixedWhole = fixed(whole);
    const TPixFixedQuad fixedTurned = fixed(turned);
    const std::function<int(TPixHand, TPixHand)> warps[] = {
        [&](TPixHand from, TPixHand to) {
            return bn_FixedToFixed(from, to, &fixedWhole, &fixedTurned);
        },
        [&](TPixHand from, TPixHand to) { return bn_MapPolygon(from, to, &whole, &turned); },
        [&](TPixHand from, TPixHand to) { return bn_DistortFixed(from, to, &all, &fixedTurned); },
        [&](TPixHand from, TPixHand to) { return bn_DistortPolygon(from, to, &all, &turned); }};
    LocalRecord picture = source;
    for (const auto& warp : warps) {
        LocalRecord next(16, 16, 8, random);
        EXPECT_EQ(warp(picture.Handle(), next.Handle()), 0);
        for (std::int32_t i = 0; i < 256; ++i) {
            // The left column becomes the top row.
            const Pixel expected = picture.At(i / 16, 15 - i % 16);
            for (std::size_t c = 0; c < 4; ++c)
                ASSERT_NEAR(next.At(i % 16, i / 16)[c], expected[c], 1);
        }
        picture.Paint([&](std::int32_t x, std::int32_t y) { return next.At(x, y); });
    }
    const TPixFixedQuad line = {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}};
    EXPECT_NE(bn_MapPolygon(source.Handle(), picture.Handle(), &whole, &line), 0);
}

}  // namespace
}  // namespace raster_test

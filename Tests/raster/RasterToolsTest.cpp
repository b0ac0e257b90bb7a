// Alpha, edge, table, convolution, field and fill tools against the plainest form of their rules.
#include <algorithm>
#include <functional>

#include "Pictures.h"
#include "support/Canvas.h"
#include "support/Contracts.h"

namespace raster_test {
namespace {

using Bytes = std::vector<std::uint8_t>;

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

TEST_F(RasterTools, AlphaAndGrey) {
    ForEverySize([&](Bytes& picture, std::int32_t width, std::int32_t height, std::int32_t stride) {
        TPix record{};
        record.bounds = {0, 0, width, height};
        record.rowbytes = stride;
        TPix* handle = &record;
        const Bytes before = picture;
        Bytes spread = before;
        Bytes inverse = before;
        Bytes replaced = before;
        Bytes grey;
        const Bytes alphas = RandomBytes(static_cast<std::size_t>(width * height));
        for (std::int32_t i = 0; i < width * height; ++i) {
            const std::size_t at = Place(i % width, i / width, stride);
            for (std::size_t c = 0; c < 3; ++c) {
                spread[at + c] = before[at + 3];
                inverse[at + c] = static_cast<std::uint8_t>(255 - before[at + 3]);
            }
            grey.push_back(before[at + 3]);
            replaced[at + 3] = alphas[static_cast<std::size_t>(i)];
        }
        Bytes taken(grey.size());
        record.pixels = picture.data();
        AlphaToGreyBuffer(&handle, taken.data());
        EXPECT_EQ(taken, grey);
        A_AlphaToRGB(picture.data(), width, height, stride);
        EXPECT_EQ(picture, spread);
        picture = before;
        AlphaToInverseRGB(&handle);
        EXPECT_EQ(picture, inverse);
        picture = before;
        AlphaToRGB(&handle);
        EXPECT_EQ(picture, spread);
        picture = before;
        GreyBufferToAlpha(&handle, alphas.data());
        EXPECT_EQ(picture, replaced);
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
        const std::int32_t x = inX + dx;
        const std::int32_t y = inY + dy;
        const bool isIn = x >= 0 && x < inWidth && y >= 0 && y < inHeight;
        sum += inChannel[static_cast<std::size_t>(isIn ? y * inWidth + x : inY * inWidth + inX)];
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
        Bytes painted = before;
        Bytes edge = region;
        Bytes softened = before;
        Bytes marked = region;
        const auto half = [](int value) { return value >> 1; };
        for (std::int32_t i = 0; i < width * height; ++i) {
            const std::int32_t x = i % width;
            const std::int32_t y = i / width;
            const auto index = static_cast<std::size_t>(i);
            const bool isEdge = IsAtEdge(region, width, height, x, y);
            if (width >= 3 && height >= 3) edge[index] = isEdge ? 31 : 0;
            if (!isEdge) continue;
            marked[index] = 255;
            for (std::size_t c = 0; c < 4; ++c) {
                const auto at = [&](std::int32_t px, std::int32_t py) {
                    return before[Place(std::clamp(px, 0, width - 1), std::clamp(py, 0, height - 1),
                                        stride) +
                                  c];
                };
                const int column = half(at(x, y - 1)) + half(at(x, y + 1));
                const int row = half(at(x - 1, y)) + half(at(x + 1, y));
                softened[Place(x, y, stride) + c] =
                    static_cast<std::uint8_t>(half(at(x, y)) + half(half(column) + half(row)));
                if (width >= 3 && height >= 3) {
                    constexpr std::uint8_t kColour[] = {1, 2, 3, 4};
                    painted[Place(x, y, stride) + c] = kColour[c];
                }
            }
        }
        Bytes scratch(region.size());
        EdgePaintChannel(picture.data(), stride, width, height, 0x04030201, channel.data(),
                         scratch.data());
        EXPECT_EQ(picture, painted);
        EXPECT_EQ(channel, edge);

        picture = before;
        channel = region;
        hoardex::FailAllocationsAfter(1);
        EdgeAliasChannel(picture.data(), stride, width, height, channel.data());
        hoardex::FailAllocationsAfter(-1);
        EXPECT_EQ(picture, before);
        EdgeAliasChannel(picture.data(), stride, width, height, channel.data());
        EXPECT_EQ(picture, softened);
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
            Bytes expected = before;
            const float scale = kernel[10] == 0 ? 0 : 1.0F / kernel[10];
            for (std::int32_t i = 0; i < 4 * width * height; ++i) {
                const std::int32_t x = i / 4 % width;
                const std::int32_t y = i / 4 / width;
                float sum = 0;
                for (std::int32_t tap = 0; tap < 9; ++tap) {
                    const std::int32_t px = std::clamp(x + tap % 3 - 1, 0, width - 1);
                    const std::int32_t py = std::clamp(y + tap / 3 - 1, 0, height - 1);
                    const float code =
                        before[Place(px, py, stride) + static_cast<std::size_t>(i % 4)];
                    sum += code * (static_cast<float>(kernel[tap]) * scale);
                }
                sum += static_cast<float>(kernel[9]) * scale;
                expected[Place(x, y, stride) + static_cast<std::size_t>(i % 4)] =
                    static_cast<std::uint8_t>(std::clamp(static_cast<int>(sum), 0, 255));
            }
            Bytes apart = before;
            DoConvolve(before.data(), apart.data(), kernel, s, w, h);
            ASSERT_EQ(apart, expected);
            picture = before;
            DoConvolve(picture.data(), picture.data(), kernel, s, w, h);
            ASSERT_EQ(picture, expected);
        }
        Bytes expected = before;
        for (std::int32_t i = 0; i < width * height; ++i) {
            const std::size_t at = Place(i % width, i / width, stride);
            expected[at] = tables[512U + before[at]];
            expected[at + 1] = tables[256U + before[at + 1]];
            expected[at + 2] = tables[before[at + 2]];
        }
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
            Bytes expected = before;
            const bool keepsEven = (height % 2 == 1) == (field == 1);
            for (std::int32_t y = 0; y < height; ++y) {
                if ((y % 2 == 0) == keepsEven) continue;
                // The only neighbour counts twice.
                const std::int32_t above = y > 0 ? y - 1 : y + 1;
                const std::int32_t below = y + 1 < height ? y + 1 : y - 1;
                if (above >= height || below < 0) continue;
                if (!keepsEven && y > 0 && y + 1 == height) continue;  // stays as it is
                for (std::int32_t i = 0; i < 4 * 20; ++i) {
                    expected[static_cast<std::size_t>(y * stride + i)] = static_cast<std::uint8_t>(
                        (before[static_cast<std::size_t>(above * stride + i)] +
                         before[static_cast<std::size_t>(below * stride + i)]) /
                        2);
                }
            }
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
    for (std::int32_t i = 0; i < 256; ++i) {
        source.Set(i % 16, i / 16,
                   {static_cast<std::uint8_t>(16 * (i % 16)),
                    static_cast<std::uint8_t>(16 * (i / 16)), 0, 255});
    }
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
        for (std::int32_t i = 0; i < 256; ++i)
            picture.Set(i % 16, i / 16, next.At(i % 16, i / 16));
    }
    const TPixFixedQuad line = {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}};
    EXPECT_NE(bn_MapPolygon(source.Handle(), picture.Handle(), &whole, &line), 0);
}

}  // namespace
}  // namespace raster_test

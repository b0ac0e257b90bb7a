// Alpha, edge, table, convolution, field and fill tools against the plainest form of their rules.

#include "Pictures.h"
#include "support/Canvas.h"
#include "support/Contracts.h"

namespace raster_test {
namespace {

class RasterTools : public RasterTest {
  protected:
    Bytes RandomBytes(std::int32_t inCount) {
        Bytes bytes(static_cast<std::size_t>(inCount));
        FillWithNoise(bytes, random_);
        return bytes;
    }

    /// Calls inCheck with a record of noise of every size, from the smallest on.
    template <class Check>
    void ForEverySize(const Check& inCheck) {
        for (const auto& [width, height] : {std::pair{1, 1},
                                            {1, 2},
                                            {2, 1},
                                            {2, 2},
                                            {3, 3},
                                            {4, 3},
                                            {3, 4},
                                            {4, 4},
                                            {67, 5},
                                            {130, 9}}) {
            SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
            inCheck(LocalRecord(width, height, 8, random_));
        }
    }
};

/// Beyond the picture, the nearest pixel.
Pixel Nearest(const LocalRecord& inRecord, std::int32_t inX, std::int32_t inY) {
    return inRecord.At(std::clamp(inX, 0, inRecord.Width() - 1),
                       std::clamp(inY, 0, inRecord.Height() - 1));
}

/// The same in a channel, which has a byte for each pixel as they lie in memory.
std::size_t Place(const LocalRecord& inRecord, std::int32_t inX, std::int32_t inY) {
    const std::int32_t x = std::clamp(inX, 0, inRecord.Width() - 1);
    const std::int32_t y = std::clamp(inY, 0, inRecord.Height() - 1);
    return static_cast<std::size_t>((inRecord.Height() - 1 - y) * inRecord.Width() + x);
}

/// Expects bytes inByteAt(x, y, component) in the pixels, and the rest as it was before.
template <class ByteAt>
void ExpectChanged(const LocalRecord& inActual, LocalRecord ioBefore, const ByteAt& inByteAt) {
    ioBefore.Paint([&](int x, int y) {
        Pixel pixel;
        for (std::size_t c = 0; c < 4; ++c)
            pixel[c] = static_cast<std::uint8_t>(inByteAt(x, y, c));
        return pixel;
    });
    ASSERT_EQ(inActual.Memory(), ioBefore.Memory());
}

TEST_F(RasterTools, AlphaAndGrey) {
    ForEverySize([&](const LocalRecord& before) {
        const auto expect = [&](const auto& inTool, const auto& inByteAt) {
            LocalRecord record = before;
            inTool(record);
            ExpectChanged(record, before, inByteAt);
        };
        const auto alphaAt = [&](int x, int y, std::size_t) { return before.At(x, y)[3]; };
        expect(
            [](LocalRecord& record) {
                A_AlphaToRGB(record.Record()->pixels, record.Width(), record.Height(),
                             record.Record()->rowbytes);
            },
            alphaAt);
        expect([](LocalRecord& record) { AlphaToRGB(record.Handle()); }, alphaAt);
        expect([](LocalRecord& record) { AlphaToInverseRGB(record.Handle()); },
               [&](int x, int y, std::size_t c) {
                   return c == 3 ? alphaAt(x, y, c) : 255 - alphaAt(x, y, c);
               });
        const Bytes alphas = RandomBytes(before.Width() * before.Height());
        Bytes taken(alphas.size());
        expect(
            [&](LocalRecord& record) {
                GreyBufferToAlpha(record.Handle(), alphas.data());
                AlphaToGreyBuffer(record.Handle(), taken.data());
            },
            [&](int x, int y, std::size_t c) {
                return c == 3 ? alphas[Place(before, x, y)] : before.At(x, y)[c];
            });
        EXPECT_EQ(taken, alphas);
    });
    AlphaToGreyBuffer(nullptr, nullptr);
    GreyBufferToAlpha(nullptr, nullptr);
}

// ---------------------------------------------------------------------------------------------
// Edges

TEST_F(RasterTools, EdgesOfKeyedRegions) {
    ForEverySize([&](const LocalRecord& before) {
        const std::int32_t width = before.Width(), height = before.Height();
        const std::int32_t stride = before.Record()->rowbytes;
        Bytes keys = RandomBytes(width * height);
        for (std::uint8_t& key : keys)
            key = key % 3;
        Bytes region = keys;
        ReplaceChannel(region.data(), width, height, 2);
        const auto isEdge = [&](int x, int y) {
            int sum = 0;
            for (const auto& [dx, dy] : {std::pair{0, 0}, {-1, 0}, {1, 0}, {0, -1}, {0, 1}})
                sum += region[Place(before, x + dx, y + dy)];
            return sum != 0 && sum < 128;
        };
        const bool isLarge = width >= 3 && height >= 3;
        Bytes edge = region, marked = region;
        for (std::int32_t i = 0; i < width * height; ++i) {
            const std::int32_t x = i % width, y = i / width;
            const std::size_t place = Place(before, x, y);
            ASSERT_EQ(region[place], keys[place] == 2 ? 31 : 0);
            if (isLarge) edge[place] = isEdge(x, y) ? 31 : 0;
            if (isEdge(x, y)) marked[place] = 255;
        }

        LocalRecord painted = before;
        Bytes channel = region, scratch = region;
        EdgePaintChannel(painted.Record()->pixels, stride, width, height, 0x04030201,
                         channel.data(), scratch.data());
        ExpectChanged(painted, before, [&](int x, int y, std::size_t c) {
            return isLarge && isEdge(x, y) ? c + 1 : before.At(x, y)[c];
        });
        EXPECT_EQ(channel, edge);

        LocalRecord softened = before;
        channel = region;
        const auto soften = [&] {
            EdgeAliasChannel(softened.Record()->pixels, stride, width, height, channel.data());
        };
        hoardex::FailAllocationsAfter(1);
        soften();
        hoardex::FailAllocationsAfter(-1);
        EXPECT_EQ(softened.Memory(), before.Memory());
        soften();
        ExpectChanged(softened, before, [&](int x, int y, std::size_t c) {
            const auto halfAt = [&](int px, int py) { return Nearest(before, px, py)[c] >> 1; };
            if (!isEdge(x, y)) return int{before.At(x, y)[c]};
            const int column = halfAt(x, y - 1) + halfAt(x, y + 1);
            const int row = halfAt(x - 1, y) + halfAt(x + 1, y);
            return halfAt(x, y) + (((column >> 1) + (row >> 1)) >> 1);
        });
        EXPECT_EQ(channel, marked);
    });
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
    ForEverySize([&](const LocalRecord& before) {
        const auto width = static_cast<std::int16_t>(before.Width());
        const auto height = static_cast<std::int16_t>(before.Height());
        const auto stride = static_cast<std::int16_t>(before.Record()->rowbytes);
        const auto convolve = [&](const LocalRecord& from, LocalRecord& to, const auto& kernel) {
            DoConvolve(from.Record()->pixels, to.Record()->pixels, kernel, stride, width, height);
        };
        for (const auto& kernel : kKernels) {
            LocalRecord apart = before, inPlace = before;
            convolve(before, apart, kernel);
            convolve(inPlace, inPlace, kernel);
            ASSERT_EQ(apart.Memory(), inPlace.Memory());
            const float scale = kernel[10] == 0 ? 0 : 1.0F / kernel[10];
            ExpectChanged(apart, before, [&](int x, int y, std::size_t c) {
                float sum = 0;
                for (std::int32_t tap = 0; tap < 9; ++tap) {
                    // Line by line as they lie in memory.
                    const float code = Nearest(before, x + tap % 3 - 1, y - tap / 3 + 1)[c];
                    sum += code * (static_cast<float>(kernel[tap]) * scale);
                }
                sum += static_cast<float>(kernel[9]) * scale;
                return std::clamp(static_cast<int>(sum), 0, 255);
            });
        }
        LocalRecord mapped = before;
        bn_DoIndexMap(before.Record()->pixels, mapped.Record()->pixels, stride, width, height,
                      tables.data(), tables.data() + 256, tables.data() + 512);
        hoardex::FailAllocationsAfter(0);
        convolve(before, mapped, kKernels[3]);
        hoardex::FailAllocationsAfter(-1);
        ExpectChanged(mapped, before, [&](int x, int y, std::size_t c) {
            const std::uint8_t code = before.At(x, y)[c];
            return c == 3 ? code : tables[256 * (2 - c) + code];
        });
    });
}

// ---------------------------------------------------------------------------------------------
// Records

TEST_F(RasterTools, InterpolatedFields) {
    for (std::int32_t height = 1; height <= 6; ++height) {
        for (std::uint16_t field = 0; field < 3; ++field) {
            SCOPED_TRACE(std::to_string(height) + ", field " + std::to_string(field));
            const LocalRecord before(33, height, 4, random_);
            LocalRecord record = before;
            const tagRECT rect = {0, 0, 20, height};
            InterpFrame(record.Handle(), &rect, field);
            const bool keepsEven = (height % 2 == 1) == (field == 1);
            ExpectChanged(record, before, [&](int x, int y, std::size_t c) {
                const auto at = [&](std::int32_t line) {
                    return before.At(x, height - 1 - line)[c];
                };
                // The only neighbour counts twice, but the last even line stays as it is.
                const std::int32_t line = height - 1 - y;
                const bool isKept = (line % 2 == 0) == keepsEven || height == 1 ||
                                    (!keepsEven && line > 0 && line + 1 == height);
                if (isKept || x >= 20) return int{at(line)};
                return (at(line > 0 ? line - 1 : 1) + at(line + 1 < height ? line + 1 : line - 1)) /
                       2;
            });
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
        support::ExpectPixels(support::Canvas{frame}, [&](int x, int y) {
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

// Turned by a quarter: the left column becomes the top row.
TEST_F(RasterTools, Warps) {
    LocalRecord source(16, 16, 0, random_);
    const tagRECT all = {0, 0, 16, 16};
    const TPixFixedQuad turned = {{{16, 0}, {16, 16}, {0, 16}, {0, 0}}};
    TPixFixedQuad fixed = turned;
    for (POINT& corner : fixed.corners)
        corner = {corner.x * 65536, corner.y * 65536};
    for (const bool isFixed : {false, true}) {
        LocalRecord result(16, 16, 8, random_);
        const auto warp = isFixed ? bn_DistortFixed : bn_DistortPolygon;
        EXPECT_EQ(warp(source.Handle(), result.Handle(), &all, isFixed ? &fixed : &turned), 0);
        for (std::int32_t i = 0; i < 256; ++i)
            ASSERT_EQ(result.At(i % 16, i / 16), source.At(i / 16, 15 - i % 16));
    }
    const TPixFixedQuad line = {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}};
    EXPECT_NE(bn_DistortPolygon(source.Handle(), source.Handle(), &all, &line), 0);
}

}  // namespace
}  // namespace raster_test

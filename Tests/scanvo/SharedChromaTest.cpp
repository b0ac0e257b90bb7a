// Planar pictures in every operation, and warps of pictures whose pixels share chroma.
#include "Area.h"

namespace scanvo_test {
namespace {

constexpr FormatCode kField = 0x09000031, kFrame = 0x0A000231;

/// A picture in as many bytes as it has, so that the checks of addresses see any beyond.
struct Block {
    FormatCode format;
    std::int32_t width, height;
    std::vector<std::uint8_t> bytes;

    Block(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight, std::uint32_t inSeed)
        : format(inFormat), width(inWidth), height(inHeight) {
        const auto rows = static_cast<std::size_t>(inHeight);
        bytes.resize(inFormat.bits >> 24 != 0
                         ? static_cast<std::size_t>(SV_PixelFormatSize(format, width, height))
                         : static_cast<std::size_t>(format.RowLength(width)) * rows);
        std::mt19937 random(inSeed);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
    }

    std::int64_t RowBytes() const { return format.bits >> 24 != 0 ? 0 : format.RowLength(width); }
    auto Rows() { return std::tuple(bytes.data(), RowBytes()); }
    auto Memory() { return std::tuple(bytes.data(), RowBytes(), format); }
    auto Size() const { return std::tuple(width, height); }
};

/// The pixel that a byte of a planar picture goes with, counted from the top.
std::size_t PixelOf(const Block& inBlock, std::size_t inByte) {
    const auto width = static_cast<std::size_t>(inBlock.width), columns = (width + 1) / 2;
    const auto height = static_cast<std::size_t>(inBlock.height), rows = (height + 1) / 2;
    if (inByte < width * height) return inByte;
    const std::size_t sample = (inByte - width * height) % (columns * rows);
    const std::size_t x = sample % columns * 2, row = sample / columns;
    const bool hasFields = inBlock.format == kField && rows > 1;
    return (hasFields ? row / 2 * 4 + row % 2 : row * 2) * width + x;
}

void CheckPlanar(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight) {
    Block first(inFormat, inWidth, inHeight, 1), second(inFormat, inWidth, inHeight, 2);
    Block pixels(0x004, inWidth, inHeight, 3), other = first, out = first;
    const auto size = first.Size();
    ASSERT_EQ(Call(SV_Convert, pixels.Memory(), other.Memory(), size, 4), 0);
    const std::size_t lumaCount = static_cast<std::size_t>(inWidth * inHeight);
    const auto expect = [&](const auto& inExpected) {
        for (std::size_t i = 0; i < out.bytes.size(); ++i)
            ASSERT_NEAR(out.bytes[i], inExpected(i), 0.501)
                << inWidth << 'x' << inHeight << ' ' << i;
    };

    ASSERT_EQ(Call(SV_CrossDissolve, first.Memory(), pixels.Memory(), out.Memory(), size, 0.25f, 4),
              0);
    expect([&](std::size_t i) { return first.bytes[i] * 0.75 + other.bytes[i] * 0.25; });

    ASSERT_EQ(Call(SV_CompositeToBlack, first.Memory(), out.Memory(), size, 0.5f, 4), 0);
    expect([&](std::size_t i) {
        const double black = i < lumaCount ? 16 : 128;
        return black + (first.bytes[i] - black) / 2;
    });

    ASSERT_EQ(Call(SV_InvertAlpha, first.Rows(), out.Rows(), inFormat, size), 0);
    EXPECT_EQ(out.bytes, first.bytes);
    ASSERT_EQ(Call(SV_FillWithColor, out.Rows(), size, inFormat, "\x78\x5A\xC8", inFormat), 0);
    expect([&](std::size_t i) {
        return i < lumaCount ? 120 : i < (lumaCount + out.bytes.size()) / 2 ? 90 : 200;
    });

    Block mask(0x004, (inWidth + 39) / 32, inHeight, 4);
    ASSERT_EQ(Call(SV_OneBitMaskComposite, pixels.Memory(), second.Memory(), mask.Rows(), 5,
                   out.Memory(), size, 4),
              0);
    expect([&](std::size_t i) {
        const std::size_t pixel = PixelOf(out, i), width = static_cast<std::size_t>(inWidth);
        const std::size_t bit = pixel % width + 5;
        const std::size_t byte =
            pixel / width * static_cast<std::size_t>(mask.RowBytes()) + bit / 8;
        return (mask.bytes[byte] << bit % 8 & 0x80 ? other : second).bytes[i];
    });
}

TEST(SharedChroma, LetsEveryOperationTakePlanarPictures) {
    ForEachTarget([] {
        for (const FormatCode format : {kField, kFrame}) {
            for (const auto& [width, height] : {std::pair{1, 1}, {2, 3}, {7, 6}, {93, 9}, {200, 7}})
                CheckPlanar(format, width, height);
        }
    });
}

struct Size {
    std::int32_t width, height;
};
using Corners = std::array<SV_Point, 4>;

std::int32_t Warp(Block& inSource, const SV_Rect& inFrom, const Corners& inCorners, Block& ioArea,
                  const SV_Rect& inTo, const Corners& inToCorners) {
    return Call(SV_WarpAffineQuad, inSource.Size(), inSource.Rows(), &inFrom, inCorners.data(),
                ioArea.Rows(), &inTo, inToCorners.data(), 2, 255, 0, 1, ioArea.format, 0, 0, 1, 0);
}

// As single pixels that are warped and brought back, and taken where they were drawn.
void CheckWarp(FormatCode inFormat, FormatCode inPixels) {
    constexpr std::int32_t kWidth = 48, kHeight = 12;
    const bool isPlanar = inFormat.bits >> 24 != 0;
    const SV_Rect from = {3, 1, 30, 11}, to = {isPlanar ? 0 : 3, isPlanar ? 0 : 2, 48, 12};
    const Corners corners = {{{3, 1}, {30, 1}, {30, 11}, {3, 11}}};
    const Corners quad = {{{5, 3}, {27, 4}, {29.2, 9}, {6, 11}}};
    Block source(inFormat, kWidth, kHeight, 5), area(inFormat, kWidth, kHeight, 6);
    Block sourcePixels(inPixels, kWidth, kHeight, 0), pixels = sourcePixels, back = area;
    const Block before = area;

    // Rows of planar pictures lie in memory the other way round.
    const auto turned = [&](Block& block) {
        const std::int64_t rowBytes = block.RowBytes();
        return isPlanar
                   ? std::tuple(block.bytes.data() + rowBytes * (kHeight - 1), -rowBytes, inPixels)
                   : std::tuple(block.bytes.data() + 0, rowBytes, inPixels);
    };
    ASSERT_EQ(Call(SV_Convert, source.Memory(), turned(sourcePixels), source.Size(), 4), 0);
    ASSERT_EQ(Call(SV_Convert, area.Memory(), turned(pixels), area.Size(), 4), 0);
    ASSERT_EQ(Warp(sourcePixels, from, corners, pixels, to, quad), 0);
    ASSERT_EQ(Call(SV_Convert, turned(pixels), back.Memory(), area.Size(), 4), 0);

    Block white(0x104, kWidth, kHeight, 0), drawn = white;
    SV_FillWithOpaqueWhite(white.bytes.data(), white.RowBytes(), kWidth, kHeight, white.format);
    SV_FillWithTransparentBlack(drawn.bytes.data(), drawn.RowBytes(), kWidth, kHeight,
                                drawn.format);
    ASSERT_EQ(Warp(white, from, corners, drawn, to, quad), 0);
    std::vector<std::uint8_t> mask(kWidth / 8 * kHeight);
    for (std::size_t i = 0; i < kWidth * kHeight; ++i) {
        if (drawn.bytes[16 * i + 15] != 0) mask[i / 8] |= static_cast<std::uint8_t>(0x80 >> i % 8);
    }
    Block expected = area;
    ASSERT_EQ(Call(SV_OneBitMaskComposite, back.Memory(), area.Memory(), mask.data(), kWidth / 8, 0,
                   expected.Memory(), area.Size(), 4),
              0);
    ASSERT_EQ(Warp(source, from, corners, area, to, quad), 0);
    EXPECT_EQ(area.bytes, expected.bytes) << std::hex << inFormat.bits;
    EXPECT_NE(area.bytes, before.bytes);
}

TEST(SharedChroma, IsWarpedWhereItsFirstPixelIs) {
    for (const FormatCode format : {FormatCode(0x011), FormatCode(0x1011), kField})
        CheckWarp(format, 0x00D);
    CheckWarp(kFrame, 0x20D);
    CheckWarp(0x051, 0x10D);
}

Block Scaled(Block& inSource, std::int32_t inWidth, std::int32_t inHeight, std::int32_t inQuality) {
    Block result(inSource.format, inWidth, inHeight, 0);
    EXPECT_EQ(Call(SV_ScaleConvert, inSource.bytes.data(), inSource.RowBytes(), inSource.Size(),
                   inSource.format, 0u, result.bytes.data(), result.RowBytes(), result.Size(),
                   result.format, 0u, inQuality),
              0);
    return result;
}

// Every instruction set comes to what the last one does, which has floats only.
void CheckScale(FormatCode inFormat, Size inFrom, Size inTo) {
    Block source(inFormat, inFrom.width, inFrom.height, 7);
    for (const std::int32_t quality : {2, 4, 5}) {
        std::vector<std::vector<std::uint8_t>> results;
        ForEachTarget(
            [&] { results.push_back(Scaled(source, inTo.width, inTo.height, quality).bytes); });
        for (const auto& result : results) {
            for (std::size_t i = 0; i < result.size(); i += inFormat.IsV210() ? 4 : 1) {
                const std::size_t samples = inFormat.IsV210() ? 3 : 1;
                for (std::size_t sample = 0; sample < samples; ++sample) {
                    const auto at = [&](const std::vector<std::uint8_t>& bytes) {
                        const auto* const row = reinterpret_cast<const std::byte*>(bytes.data());
                        return inFormat.IsV210() ? V210Sample(row + i, sample) : bytes[i];
                    };
                    ASSERT_NEAR(at(result), at(results.back()), 1)
                        << std::hex << inFormat.bits << std::dec << ' ' << inTo.width << 'x'
                        << inTo.height << " quality " << quality << " byte " << i;
                }
            }
        }
    }
}

TEST(SharedChroma, IsScaledToWhatFloatsGive) {
    constexpr std::pair<Size, Size> kScales[] = {{{200, 30}, {100, 15}}, {{131, 22}, {97, 41}},
                                                 {{150, 9}, {150, 20}},  {{300, 40}, {61, 8}},
                                                 {{90, 7}, {401, 3}},    {{20, 8}, {9, 4}}};
    for (const FormatCode format :
         {FormatCode(0x011), FormatCode(0x1211), FormatCode(0x051), kField, kFrame}) {
        for (const auto& [from, to] : kScales)
            CheckScale(format, from, to);
    }
}

// A slope stays one, by where chroma rows lie: see H.262, 6.1.1.8.
TEST(SharedChroma, StaysWhereItIsWhenScaled) {
    constexpr std::int32_t kWidth = 128, kHeight = 64, kNewHeight = 48;
    for (const FormatCode format : {kField, kFrame}) {
        const auto place = [&](std::size_t row) {
            const auto number = static_cast<double>(row);
            return format == kField ? 4.0 * static_cast<double>(row / 2) + 0.5 + (row % 2 ? 2 : 0)
                                    : 2 * number + 0.5;
        };
        Block source(format, kWidth, kHeight, 0);
        for (std::size_t i = kWidth * kHeight; i < source.bytes.size(); ++i) {
            const std::size_t row = (i - kWidth * kHeight) / (kWidth / 2) % (kHeight / 2);
            source.bytes[i] = static_cast<std::uint8_t>(std::lround(20 + 3 * place(row)));
        }
        ForEachTarget([&] {
            const Block result = Scaled(source, kWidth, kNewHeight, 3);
            for (std::size_t row = 6; row < kNewHeight / 2 - 6; ++row) {
                const double from = (place(row) + 0.5) * kHeight / kNewHeight - 0.5;
                ASSERT_NEAR(result.bytes[kWidth * kNewHeight + row * kWidth / 2 + 9], 20 + 3 * from,
                            1.3)
                    << row;
            }
        });
    }
}

}  // namespace
}  // namespace scanvo_test

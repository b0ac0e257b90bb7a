#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "Area.h"
#include "Targets.h"

namespace scanvo_test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();

Area RandomArea(FormatCode inFormat, std::int32_t inWidth, std::uint32_t inSeed) {
    Area codes(0x004, inWidth, 3);
    codes.Scatter(inSeed);
    return Converted(codes, inFormat, RowOrder::Up);
}

void Dissolve(Area& inFirst, Area& inSecond, Area& outArea, float inAmount) {
    EXPECT_EQ(SV_CrossDissolve(inFirst.Start(), inFirst.RowBytes(), inFirst.Format(),
                               inSecond.Start(), inSecond.RowBytes(), inSecond.Format(),
                               outArea.Start(), outArea.RowBytes(), outArea.Format(),
                               outArea.Width(), outArea.Height(), inAmount, 2),
              0);
    outArea.ExpectGuardsIntact();
}

/// What black is, and the largest alpha.
Codes BlackCodes(FormatCode inFormat) {
    return ExactCodes(inFormat, {0, 0, 0, 1});
}

/// Black + (code - black) * inFactor, and an alpha.
Codes Darkened(FormatCode inFormat, const Codes& inCodes, double inFactor, double inAlpha) {
    const Codes black = BlackCodes(inFormat);
    Codes result{0, 0, 0, inAlpha};
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = black[i] + (inCodes[i] - black[i]) * inFactor;
    return result;
}

/// inExpected finds the codes of a pixel by its index.
template <class Expected>
void ExpectPixels(const Area& inArea, double inTolerance, const Expected& inExpected) {
    inArea.ExpectGuardsIntact();
    const std::vector<Codes> pixels = inArea.Pixels();
    for (std::size_t pixel = 0; pixel < pixels.size(); ++pixel) {
        const Codes expected = inExpected(pixel);
        for (std::size_t i = 0; i < 4; ++i) {
            ASSERT_NEAR(pixels[pixel][i], expected[i], inTolerance)
                << std::hex << "format 0x" << inArea.Format().bits << std::dec << " width "
                << inArea.Width() << " pixel " << pixel << " component " << i;
        }
    }
}

TEST(CrossDissolve, MixesAllPairsOf8BitCodes) {
    Area first(0x004, 64, 256);
    Area second(0x004, 64, 256);
    for (std::int32_t i = 0; i < 65536; ++i) {
        first.Set(i / 256, i % 256, static_cast<std::uint8_t>(i / 256));
        second.Set(i / 256, i % 256, static_cast<std::uint8_t>(i));
    }
    ForEachTarget([&] {
        for (const float amount :
             {-kInfinity, 0.0f, 1e-6f, 0.3f, 0.5f, 0.77f, 0.99999f, 1.0f, 9.0f}) {
            Area mixed(0x004, 64, 256);
            Dissolve(first, second, mixed, amount);
            const double weight = std::clamp(amount, 0.0f, 1.0f);
            const bool isExact = amount <= 0 || amount == 0.5f || amount >= 1;
            for (std::int32_t i = 0; i < 16384; ++i) {
                const Codes a = first.At(i % 64, i / 64);
                const Codes b = second.At(i % 64, i / 64);
                const Codes code = mixed.At(i % 64, i / 64);
                for (std::size_t c = 0; c < 4; ++c) {
                    const double exact = a[c] + (b[c] - a[c]) * weight;
                    ASSERT_NEAR(code[c], isExact ? std::floor(exact + 0.5) : exact,
                                isExact ? 0 : 0.504)
                        << a[c] << ' ' << b[c] << ' ' << amount;
                }
            }
        }
    });
}

TEST(CrossDissolve, MixesInTheFormatOfItsOutput) {
    ForEachTarget([] {
        for (const FormatCode format : kPackedFormats) {
            for (const std::int32_t width : {1, 2, 4, 7, 12, 45}) {
                const FormatCode other = width % 2 == 0 ? format : FormatCode(0x251);
                Area first = RandomArea(format, width, 1);
                Area second = RandomArea(other, width, 2);
                const std::vector<Codes> from = first.Pixels();
                const std::vector<Codes> to = Converted(second, format).Pixels();
                for (const float amount : {0.5f, 0.3f}) {
                    Area mixed(format, width, 3);
                    Dissolve(first, second, mixed, amount);
                    ExpectPixels(mixed, Rounding(format) + (amount == 0.5f ? 0 : 0.016),
                                 [&](std::size_t pixel) {
                                     Codes codes = from[pixel];
                                     for (std::size_t i = 0; i < 4; ++i)
                                         codes[i] += (to[pixel][i] - codes[i]) * amount;
                                     return codes;
                                 });
                    Area inPlace = first;
                    Dissolve(inPlace, second, inPlace, amount);
                    ASSERT_EQ(inPlace.Pixels(), mixed.Pixels()) << std::hex << format.bits;
                }
            }
        }
    });
}

TEST(OneBitMaskComposite, TakesEveryPixelByItsBit) {
    ForEachTarget([] {
        for (const FormatCode format : kPackedFormats) {
            for (const std::int32_t width : {1, 7, 18, 93}) {
                for (std::int32_t offset = width % 2; offset < 8; offset += 2) {
                    Area first = RandomArea(format, width, 1);
                    Area second = RandomArea(0x1104, width, 2);
                    const std::vector<Codes> whereSet = first.Pixels();
                    const std::vector<Codes> whereClear = Converted(second, format).Pixels();
                    // The first row last, and not a byte more than needed.
                    const std::int32_t maskBytes = (offset + width + 7) / 8;
                    std::vector<std::uint8_t> mask(static_cast<std::size_t>(3 * maskBytes));
                    std::mt19937 random(5);
                    for (std::uint8_t& byte : mask)
                        byte = static_cast<std::uint8_t>(random());
                    const auto bitOf = [&](std::size_t inX, std::size_t inRow) {
                        const std::size_t bit = static_cast<std::size_t>(offset) + inX;
                        return (mask[(2 - inRow) * static_cast<std::size_t>(maskBytes) + bit / 8]
                                    << bit % 8 &
                                0x80) != 0;
                    };
                    Area output = first;
                    ASSERT_EQ(SV_OneBitMaskComposite(
                                  output.Start(), output.RowBytes(), format, second.Start(),
                                  second.RowBytes(), FormatCode(0x1104),
                                  mask.data() + 2 * maskBytes, -maskBytes, offset, output.Start(),
                                  output.RowBytes(), format, width, 3, 0),
                              0);
                    ExpectPixels(output, 0, [&](std::size_t pixel) {
                        const std::size_t x = pixel % static_cast<std::size_t>(width);
                        const std::size_t row = pixel / static_cast<std::size_t>(width);
                        const auto from = [&](std::size_t inX) {
                            return (bitOf(inX, row) ? whereSet : whereClear)[pixel];
                        };
                        Codes codes = from(x);
                        if (!format.Is422()) return codes;
                        const Codes chroma = from(x - x % 2);
                        return Codes{codes[0], chroma[1], chroma[2], codes[3]};
                    });
                }
            }
        }
    });
}

TEST(Alpha, IsInvertedAndSet) {
    ForEachTarget([] {
        for (const FormatCode format : kPackedFormats) {
            Area source = RandomArea(format, 45, 3);
            const std::vector<Codes> pixels = source.Pixels();
            const double full = BlackCodes(format)[3];
            const auto expected = [&](std::size_t inPixel, double inAlpha) {
                const Codes& codes = pixels[inPixel];
                const double factor = codes[3] > 0 ? inAlpha / codes[3] : 0;
                return Darkened(format, codes, format.IsPremultiplied() ? factor : 1, inAlpha);
            };
            Area inverted(format, 45, 3);
            Area set(format, 45, 3);
            // To another picture, then in place.
            for (Area* const from : {&source, &set}) {
                if (from == &set) set = source;
                ASSERT_EQ(SV_InvertAlpha(source.Start(), source.RowBytes(), inverted.Start(),
                                         inverted.RowBytes(), format, 45, 3),
                          0);
                ASSERT_EQ(SV_CopyAndSetAlpha(from->Start(), from->RowBytes(), set.Start(),
                                             set.RowBytes(), format, 45, 3, 0.3f),
                          0);
                ExpectPixels(inverted, Rounding(format), [&](std::size_t pixel) {
                    const double alpha = pixels[pixel][3];
                    return expected(pixel, format.HoldsAlpha() ? full - alpha : alpha);
                });
                ExpectPixels(set, Rounding(format), [&](std::size_t pixel) {
                    return expected(pixel, (format & 0xC) == 0 ? full : 0.3 * full);
                });
            }
        }
    });
}

TEST(CompositeToBlack, DarkensAndMakesOpaque) {
    ForEachTarget([] {
        for (const FormatCode format : kPackedFormats) {
            for (const float opacity : {0.0f, 0.4f, 1.0f, kInfinity}) {
                Area source = RandomArea(format, 45, 4);
                const double full = BlackCodes(format)[3];
                const auto expected = [&, pixels = source.Pixels()](std::size_t inPixel) {
                    const bool isStraight = (format.bits & 0xC) == 4;
                    const double alpha = isStraight ? pixels[inPixel][3] / full : 1;
                    return Darkened(format, pixels[inPixel], alpha * std::min(opacity, 1.0f), full);
                };
                Area other(0x1104, 45, 3);
                for (Area* const output : {&other, &source}) {
                    ASSERT_EQ(SV_CompositeToBlack(source.Start(), source.RowBytes(), format,
                                                  output->Start(), output->RowBytes(),
                                                  output->Format(), 45, 3, opacity, 2),
                              0);
                }
                ExpectPixels(source, Rounding(format) + 0.01, expected);
                // Converted either before or after the codes are rounded.
                const std::vector<Codes> converted = Converted(source, 0x1104).Pixels();
                ExpectPixels(other, 0.008, [&](std::size_t pixel) { return converted[pixel]; });
            }
        }
    });
}

TEST(BlendCalls, RefuseWhatCannotBe) {
    constexpr FormatCode kGood = 0x004;
    std::byte good[64]{};
    std::byte out[64]{};
    const auto expectAll = [&](std::int32_t inResult, const void* inSource, FormatCode inFormat,
                               std::int32_t inWidth) {
        const std::int32_t results[] = {
            SV_CrossDissolve(inSource, 32, inFormat, good, 32, kGood, out, 32, kGood, inWidth, 2,
                             0.5f, 2),
            SV_CrossDissolve(good, 32, kGood, inSource, 32, inFormat, out, 32, kGood, inWidth, 2,
                             0.5f, 2),
            SV_InvertAlpha(inSource, 32, out, 32, inFormat, inWidth, 2),
            SV_CopyAndSetAlpha(inSource, 32, out, 32, inFormat, inWidth, 2, 1),
            SV_CompositeToBlack(inSource, 32, inFormat, out, 32, kGood, inWidth, 2, 1, 2),
            SV_OneBitMaskComposite(inSource, 32, inFormat, good, 32, kGood, good, 4, 0, out, 32,
                                   kGood, inWidth, 2, 2),
            SV_OneBitMaskComposite(good, 32, kGood, inSource, 32, inFormat, good, 4, 0, out, 32,
                                   kGood, inWidth, 2, 2),
        };
        EXPECT_THAT(results, testing::Each(inResult));
    };
    expectAll(kSV_NullPointer, nullptr, kGood, 4);
    expectAll(kSV_UnsupportedFormat, good, 0x01000021, 4);
    expectAll(kSV_BadSize, good, kGood, 0);
    expectAll(kSV_BadSize, good, kGood, 9);
    const auto composite = [&](const void* inMask, std::int32_t inFirstBit) {
        return SV_OneBitMaskComposite(good, 32, kGood, good, 32, kGood, inMask, 4, inFirstBit, out,
                                      32, kGood, 4, 2, 2);
    };
    EXPECT_EQ(composite(nullptr, 0), kSV_NullPointer);
    EXPECT_EQ(composite(good, 8), kSV_BadArgument);
    EXPECT_EQ(composite(good, -1), kSV_BadArgument);
    EXPECT_EQ(
        SV_CrossDissolve(good, 32, kGood, good, 32, kGood, out, 32, kGood, 4, 2, kNoNumber, 2),
        kSV_BadArgument);
    EXPECT_EQ(SV_CopyAndSetAlpha(good, 32, out, 32, kGood, 4, 2, kNoNumber), kSV_BadArgument);
    EXPECT_EQ(SV_CompositeToBlack(good, 32, kGood, out, 32, kGood, 4, 2, kNoNumber, 2),
              kSV_BadArgument);
    EXPECT_THAT(out, testing::Each(std::byte{0}));
}

}  // namespace
}  // namespace scanvo_test

#include <gmock/gmock.h>

#include "Area.h"

namespace scanvo_test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();

void Dissolve(Area& inFirst, Area& inSecond, Area& outArea, float inAmount) {
    EXPECT_EQ(Call(SV_CrossDissolve, inFirst.Memory(), inSecond.Memory(), outArea.Memory(),
                   outArea.Size(), inAmount, 2),
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

Codes Mixed(const Codes& inFirst, const Codes& inSecond, double inAmount) {
    Codes codes = inFirst;
    for (std::size_t i = 0; i < 4; ++i)
        codes[i] += (inSecond[i] - inFirst[i]) * inAmount;
    return codes;
}

TEST(CrossDissolve, MixesInTheFormatOfItsOutput) {
    ForEachTarget([] {
        for (const FormatCode format : kPackedFormats) {
            for (const std::int32_t width : {1, 2, 4, 7, 12, 45}) {
                Area first = RandomArea(format, width, 3, 1);
                Area second = RandomArea(width % 2 == 0 ? format.bits : 0x251, width, 3, 2);
                const std::vector<Codes> from = first.Pixels();
                const std::vector<Codes> to = Converted(second, format).Pixels();
                for (const float given : {0.5f, 0.3f, -kInfinity, 9.0f}) {
                    const float amount = std::clamp(given, 0.0f, 1.0f);
                    Area mixed(format, width, 3);
                    Dissolve(first, second, mixed, given);
                    // Rows may be converted on another road than pictures, a step apart.
                    const bool isConverted = second.Format().bits != format.bits;
                    const double step = isConverted && !format.IsFloat() ? amount : 0;
                    mixed.ExpectPixels(
                        Rounding(format) + step + (amount == 0.5f ? 0 : 0.016),
                        [&](std::size_t i) { return Mixed(from[i], to[i], amount); });
                    Area inPlace = first;
                    Dissolve(inPlace, second, inPlace, given);
                    inPlace.ExpectLike(mixed.Pixels(), 0);
                }
            }
        }
    });
}

void CheckMask(FormatCode inFormat, std::int32_t inWidth, std::int32_t inOffset) {
    Area output = RandomArea(inFormat, inWidth, 3, 1), second = RandomArea(0x1104, inWidth, 3, 2);
    const std::vector<Codes> whereSet = output.Pixels();
    const std::vector<Codes> whereClear = Converted(second, inFormat).Pixels();
    // The first row last, and not a byte more than needed.
    const std::int32_t maskBytes = (inOffset + inWidth + 7) / 8;
    std::vector<std::uint8_t> mask(static_cast<std::size_t>(3 * maskBytes));
    std::mt19937 random(5);
    for (std::uint8_t& byte : mask)
        byte = static_cast<std::uint8_t>(random());
    ASSERT_EQ(
        Call(SV_OneBitMaskComposite, output.Memory(), second.Memory(), mask.data() + 2 * maskBytes,
             -maskBytes, inOffset, output.Memory(), output.Size(), 0),
        0);
    output.ExpectPixels(0, [&](std::size_t pixel) {
        const auto width = static_cast<std::size_t>(inWidth), x = pixel % width;
        const auto from = [&](std::size_t column) {
            const std::size_t bit = static_cast<std::size_t>(inOffset) + column;
            const std::size_t start = (2 - pixel / width) * static_cast<std::size_t>(maskBytes);
            return (mask[start + bit / 8] << bit % 8 & 0x80 ? whereSet : whereClear)[pixel];
        };
        Codes codes = from(x);
        const Codes chroma = inFormat.Is422() ? from(x - x % 2) : codes;
        return Codes{codes[0], chroma[1], chroma[2], codes[3]};
    });
}

TEST(OneBitMaskComposite, TakesEveryPixelByItsBit) {
    ForEachTarget([] {
        for (const FormatCode format : kPackedFormats) {
            for (const std::int32_t width : {1, 7, 18, 93}) {
                for (std::int32_t offset = width % 2; offset < 8; offset += 2)
                    CheckMask(format, width, offset);
            }
        }
    });
}

TEST(Alpha, IsInvertedAndSet) {
    ForEachTarget([] {
        for (const FormatCode format : kPackedFormats) {
            Area source = RandomArea(format, 45, 3, 3);
            const std::vector<Codes> pixels = source.Pixels();
            const double full = BlackCodes(format)[3];
            const auto expected = [](const Codes& codes, double alpha) {
                return Codes{codes[0], codes[1], codes[2], alpha};
            };
            Area inverted(format, 45, 3), set(format, 45, 3);
            // To another picture, then in place.
            for (Area* const from : {&source, &set}) {
                if (from == &set) set = source;
                ASSERT_EQ(Call(SV_InvertAlpha, source.Rows(), inverted.Memory(), source.Size()), 0);
                ASSERT_EQ(Call(SV_CopyAndSetAlpha, from->Rows(), set.Memory(), set.Size(), 0.3f),
                          0);
                inverted.ExpectPixels(Rounding(format), [&](std::size_t i) {
                    const double alpha = pixels[i][3];
                    return expected(pixels[i], format.HoldsAlpha() ? full - alpha : alpha);
                });
                set.ExpectPixels(Rounding(format), [&](std::size_t i) {
                    return expected(pixels[i], (format & 0xC) == 0 ? full : 0.3 * full);
                });
            }
        }
    });
}

TEST(CompositeToBlack, DarkensAndMakesOpaque) {
    ForEachTarget([] {
        for (const FormatCode format : kPackedFormats) {
            for (const float opacity : {0.0f, 0.4f, 1.0f, kInfinity}) {
                Area source = RandomArea(format, 45, 3, 4), other(0x1104, 45, 3);
                const std::vector<Codes> pixels = source.Pixels();
                for (Area* const output : {&other, &source}) {
                    ASSERT_EQ(Call(SV_CompositeToBlack, source.Memory(), output->Memory(),
                                   output->Size(), opacity, 2),
                              0);
                }
                source.ExpectPixels(Rounding(format) + 0.01, [&](std::size_t i) {
                    const double full = BlackCodes(format)[3];
                    const double alpha = (format.bits & 0xC) == 4 ? pixels[i][3] / full : 1;
                    return Darkened(format, pixels[i], alpha * std::min(opacity, 1.0f), full);
                });
                // Converted either before or after the codes are rounded.
                other.ExpectLike(Converted(source, 0x1104).Pixels(), 0.008);
            }
        }
    });
}

TEST(BlendCalls, RefuseWhatIsNoNumberOrNoMask) {
    constexpr FormatCode kRgb = 0x004;
    std::byte good[64]{}, out[64]{};
    const std::tuple from(static_cast<const void*>(good), 32, kRgb);
    const std::tuple to(&out[0], 32, kRgb);
    const auto composite = [&](const void* mask, std::int32_t firstBit) {
        return Call(SV_OneBitMaskComposite, from, from, mask, 4, firstBit, to, 4, 2, 2);
    };
    EXPECT_EQ(composite(nullptr, 0), kSV_NullPointer);
    const std::int32_t badArguments[] = {composite(good, 8), composite(good, -1),
                                         Call(SV_CrossDissolve, from, from, to, 4, 2, kNoNumber, 2),
                                         Call(SV_CopyAndSetAlpha, good, 32, to, 4, 2, kNoNumber),
                                         Call(SV_CompositeToBlack, from, to, 4, 2, kNoNumber, 2)};
    EXPECT_THAT(badArguments, testing::Each(kSV_BadArgument));
    EXPECT_THAT(out, testing::Each(std::byte{0}));
}

}  // namespace
}  // namespace scanvo_test

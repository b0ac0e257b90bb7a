#include <algorithm>
#include <limits>

#include "Area.h"
#include "Targets.h"
#include "fast/FastRows.h"
#include "fast/VectorColour.h"
#include "rows/Chroma.h"
#include "rows/RowLayouts.h"

namespace scanvo_test {
namespace {

// Planes of random samples and rare ones, that begin at odd places.
struct Planes {
    static constexpr std::size_t kMargin = 3;
    explicit Planes(std::int32_t inWidth) {
        constexpr float kRare[] = {NAN, INFINITY, -INFINITY, -0.0f, 1e-40f, 3e38f, 0.5f / 255, 1};
        std::mt19937 random(static_cast<std::uint32_t>(inWidth));
        for (std::vector<float>& plane : samples) {
            plane.resize(static_cast<std::size_t>(inWidth) + 2 * kMargin);
            for (float& sample : plane) {
                const auto number = random() % 4096;
                sample = number < 800 ? kRare[number % 8] : static_cast<float>(number) / 2048 - 1;
            }
        }
    }
    scanvo::PlanarRow Row() {
        return {&samples[0][kMargin], &samples[1][kMargin], &samples[2][kMargin],
                &samples[3][kMargin]};
    }
    void ExpectLike(const Planes& inExpected) const {
        for (std::size_t i = 0; i < 4 * samples[0].size(); ++i) {
            const float sample = samples[i % 4][i / 4], other = inExpected.samples[i % 4][i / 4];
            if (sample == other || (std::isnan(sample) && std::isnan(other))) continue;
            ASSERT_NEAR(sample, other, 3e-6f * std::max(1.0f, std::abs(other))) << i / 4 - kMargin;
        }
    }
    std::array<std::vector<float>, 4> samples;
};

template <class Work>
void ForEachWidthAndTarget(const Work& inWork) {
    ForEachTarget([&] {
        for (std::int32_t width = 1; width <= 150 && !testing::Test::HasFatalFailure(); ++width) {
            SCOPED_TRACE(width);
            inWork(width);
        }
    });
}

TEST(VectorRows, LoadAndStoreWhatPlainOnesDo) {
    for (const FormatCode code :
         {0x004u, 0x1004u, 0x084u, 0x1084u, 0x104u, 0x1104u, 0x005u, 0x011u, 0x1011u, 0x051u}) {
        SCOPED_TRACE(testing::Message() << std::hex << code.bits);
        ForEachWidthAndTarget([format = *scanvo::DecodeFormat(code), code](std::int32_t width) {
            const auto vectors = scanvo::AccessTo(format), plain = scanvo::PlainAccessTo(format);
            Area area(code, width, 1);
            area.Scatter();
            Area plainArea = area;
            // No byte longer than the row, so that checkers see what reads beyond.
            const std::vector<std::byte> row(area.Start(), area.Start() + code.RowLength(width));
            Planes planes(width), expected(width);
            vectors.Store(planes.Row(), {area.Start(), 0, width, 1, format}, 0);
            plain.Store(planes.Row(), {plainArea.Start(), 0, width, 1, format}, 0);
            area.ExpectGuardsIntact();
            const auto bytes = static_cast<std::size_t>(code.RowLength(width));
            ASSERT_EQ(std::memcmp(area.Start(), plainArea.Start(), bytes), 0);
            vectors.Load({row.data(), 0, width, 1, format}, 0, planes.Row());
            plain.Load({row.data(), 0, width, 1, format}, 0, expected.Row());
            planes.ExpectLike(expected);
        });
    }
}

TEST(VectorRows, DoToColourWhatPlainOnesDo) {
    using enum scanvo::ColourStep;
    for (const auto step :
         {Premultiply, Unpremultiply, ApplyMatrix, ToLinearLight, FromLinearLight}) {
        ForEachWidthAndTarget([step](std::int32_t width) {
            const auto vectors = scanvo::VectorColourStep(step);
            if (vectors == nullptr) return;
            Planes planes(width), expected(width);
            const auto matrix = scanvo::RgbToYCbCr(scanvo::Matrix::Bt709);
            vectors(planes.Row(), width, matrix);
            scanvo::PlainColourStep(step)(expected.Row(), width, matrix);
            planes.ExpectLike(expected);
        });
    }
    ForEachWidthAndTarget([](std::int32_t width) {
        Planes planes(width), expected(width);
        scanvo::SpreadChroma(planes.Row()[0], width, planes.Row()[1]);
        scanvo::PlainSpreadChroma(expected.Row()[0], width, expected.Row()[1]);
        scanvo::HalveChroma(planes.Row()[2], width, planes.Row()[3]);
        scanvo::PlainHalveChroma(expected.Row()[2], width, 0, (width + 1) / 2, expected.Row()[3]);
        planes.ExpectLike(expected);
    });
}

TEST(VectorRows, FollowTheCurveOfLinearLight) {
    ForEachTarget([] {
        if (!scanvo::VectorColourStep(scanvo::ColourStep::ToLinearLight)) return;
        for (std::int32_t i = 0; i < 150; ++i) {
            const float value =
                i < 100 ? static_cast<float>(i) / 100 : std::exp2(static_cast<float>(i - 100));
            Area encoded = AreaOf(std::vector<Rgba>(64, {value, -value, value, 1}));
            const double linear = ExactCodes(0x106, {value, 0, 0, 1})[0];
            Area light = Converted(encoded, 0x106);
            EXPECT_NEAR(light.At(5, 0)[0], linear, 1e-6 * std::max(1.0, linear));
            EXPECT_EQ(light.At(5, 0)[1], -light.At(5, 0)[0]);
            EXPECT_NEAR(Converted(light, 0x104).At(5, 0)[0], value, 1e-6f * std::max(1.0f, value));
        }
    });
}

TEST(VectorRows, RoundEveryPairOfByteAndAlphaExactly) {
    for (const FormatCode straight : {0x004u, 0x1004u}) {
        const FormatCode premultiplied = straight.bits ^ 0xC;
        ForEachTarget([straight, premultiplied] {
            const auto format = *scanvo::DecodeFormat(straight);
            if (!scanvo::FastRowBetween(*scanvo::DecodeFormat(premultiplied), format)) return;
            Area from(straight, 256, 256), fromPremultiplied(premultiplied, 256, 256);
            for (std::int32_t i = 0; i < 65536; ++i) {
                const auto c = static_cast<std::uint32_t>(i % 256 * 0x010101);
                const auto a = static_cast<std::uint32_t>(i / 256);
                const std::uint32_t pixel = straight.IsReversed() ? c << 8 | a : a << 24 | c;
                from.Set(i / 256, i % 256, pixel);
                fromPremultiplied.Set(i / 256, i % 256, pixel);
            }
            const Area times = Converted(from, premultiplied);
            const Area over = Converted(fromPremultiplied, straight);
            for (std::int32_t i = 0; i < 65536; ++i) {
                const double c = i % 256, a = i / 256;
                const double product = std::floor(c * a / 255 + 0.5);
                const double quotient = a == 0 ? 0 : std::min(std::floor(c * 255 / a + 0.5), 255.0);
                ASSERT_EQ(times.At(i % 256, i / 256), (Codes{product, product, product, a}));
                ASSERT_EQ(over.At(i % 256, i / 256), (Codes{quotient, quotient, quotient, a}));
            }
        });
    }
}

// Those are written past the caches: by a copy, a fast road, the general road and a fill.
TEST(LargePictures, AreDoneAsTheirRowsAre) {
    constexpr std::int32_t kSize = 2101;
    Area source(0x004, kSize, kSize);
    source.Scatter();
    for (const FormatCode format : {0x004u, 0x1004u, 0x109u}) {
        Area whole(format, kSize, kSize, RowOrder::Up), row(format, kSize, 1);
        const auto expectRows = [&](const auto& inMakeRow) {
            whole.ExpectGuardsIntact();
            for (std::int32_t i = 0; i < kSize; ++i) {
                inMakeRow(source.Start() + source.RowBytes() * i);
                const std::byte* const start = whole.Start() + whole.RowBytes() * i;
                const auto bytes = static_cast<std::size_t>(format.RowLength(kSize));
                ASSERT_EQ(std::memcmp(start, row.Start(), bytes), 0) << i;
            }
        };
        SV_Convert(source.Start(), source.RowBytes(), source.Format(), whole.Start(),
                   whole.RowBytes(), format, kSize, kSize, 4);
        expectRows([&](const std::byte* inRow) {
            SV_Convert(inRow, 0, source.Format(), row.Start(), 0, format, kSize, 1, 4);
        });
        SV_FillWithColor(whole.Start(), whole.RowBytes(), kSize, kSize, format, source.Start(),
                         source.Format());
        expectRows([&](const std::byte*) {
            SV_FillWithColor(row.Start(), 0, kSize, 1, format, source.Start(), source.Format());
        });
    }
}

}  // namespace
}  // namespace scanvo_test

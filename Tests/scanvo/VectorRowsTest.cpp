#include <algorithm>
#include <limits>

#include "Area.h"
#include "fast/FastRows.h"
#include "fast/VectorColour.h"
#include "rows/Chroma.h"
#include "rows/RowLayouts.h"

namespace scanvo_test {
namespace {

// Planes of random samples and rare ones, that begin at odd places.
struct Planes {
    explicit Planes(std::int32_t inWidth) {
        constexpr float kRare[] = {NAN, INFINITY, -INFINITY, -0.0f, 1e-40f, 3e38f, 0.5f / 255, 1};
        std::mt19937 random(static_cast<std::uint32_t>(inWidth));
        for (std::vector<float>& plane : samples) {
            plane.resize(static_cast<std::size_t>(inWidth) + 6);
            for (float& sample : plane) {
                const auto number = random() % 4096;
                sample = number < 800 ? kRare[number % 8] : static_cast<float>(number) / 2048 - 1;
            }
        }
    }
    scanvo::PlanarRow Row() {
        return {&samples[0][3], &samples[1][3], &samples[2][3], &samples[3][3]};
    }
    void ExpectLike(const Planes& inExpected) const {
        for (std::size_t i = 0; i < 4 * samples[0].size(); ++i) {
            const float sample = samples[i % 4][i / 4], other = inExpected.samples[i % 4][i / 4];
            if (sample == other || (std::isnan(sample) && std::isnan(other))) continue;
            ASSERT_NEAR(sample, other, 3e-6f * std::max(1.0f, std::abs(other))) << i / 4;
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
            const auto bytes = static_cast<std::size_t>(area.RowLength());
            // No byte longer than the row, so that checkers see what reads beyond.
            const std::vector<std::byte> row(area.Start(), area.Start() + bytes);
            Planes planes(width), expected(width);
            vectors.Store(planes.Row(), {area.Start(), 0, width, 1, format}, 0);
            plain.Store(planes.Row(), {plainArea.Start(), 0, width, 1, format}, 0);
            area.ExpectGuardsIntact();
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

TEST(VectorRows, RoundEveryPairOfByteAndAlphaExactly) {
    for (const FormatCode straight : {0x004u, 0x1004u}) {
        const FormatCode premultiplied = straight.bits ^ 0xC;
        ForEachTarget([straight, premultiplied] {
            const auto format = *scanvo::DecodeFormat(straight);
            if (!scanvo::FastRowBetween(*scanvo::DecodeFormat(premultiplied), format)) return;
            Area from(straight, 256, 256), fromPremultiplied(premultiplied, 256, 256);
            for (std::uint32_t i = 0; i < 65536; ++i) {
                const std::uint32_t c = i % 256 * 0x010101, a = i / 256;
                for (Area* const area : {&from, &fromPremultiplied})
                    area->Set(static_cast<int>(a), static_cast<int>(i % 256),
                              straight.IsReversed() ? c << 8 | a : a << 24 | c);
            }
            const auto expect = [](double code, std::size_t alpha) {
                return Codes{code, code, code, static_cast<double>(alpha)};
            };
            Converted(from, premultiplied).ExpectPixels(0, [&](std::size_t i) {
                return expect(std::floor(static_cast<double>(i % 256 * (i / 256)) / 255 + 0.5),
                              i / 256);
            });
            Converted(fromPremultiplied, straight).ExpectPixels(0, [&](std::size_t i) {
                const double quotient =
                    static_cast<double>(i % 256) * 255 / static_cast<double>(i / 256);
                return expect(i < 256 ? 0 : std::min(std::floor(quotient + 0.5), 255.0), i / 256);
            });
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
        const auto bytes = static_cast<std::size_t>(row.RowLength());
        for (const bool isFill : {false, true}) {
            const auto make = [&](const std::byte* from, Area& area) {
                if (isFill)
                    return Call(SV_FillWithColor, area.Sized(), source.Start(), source.Format());
                return Call(SV_Convert, from, source.RowBytes(), source.Format(), area.Memory(),
                            area.Size(), 4);
            };
            ASSERT_EQ(make(source.Start(), whole), 0);
            whole.ExpectGuardsIntact();
            for (std::int32_t i = 0; i < kSize; ++i) {
                ASSERT_EQ(make(source.Start() + source.RowBytes() * i, row), 0);
                ASSERT_EQ(std::memcmp(whole.Start() + whole.RowBytes() * i, row.Start(), bytes), 0)
                    << i;
            }
        }
    }
}

}  // namespace
}  // namespace scanvo_test

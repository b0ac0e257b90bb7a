#include "fast/FastRows.h"

#include "Area.h"
#include "rows/RowPlan.h"

namespace scanvo_test {
namespace {

Area RandomRow(FormatCode inFormat, std::int32_t inWidth) {
    Area row(inFormat, inWidth, 1);
    row.Scatter(static_cast<std::uint32_t>(inWidth));
    for (std::int32_t i = 0; inFormat.IsFloat() && i < 4 * inWidth; ++i)
        row.Set(0, i, static_cast<float>(i * 769 % 1999) / 1600 - 0.125f);
    return row;
}

Area ByGeneralRoad(Area& inSource, FormatCode inFormat) {
    const std::int32_t width = inSource.Width();
    Area result(inFormat, width, 1);
    const auto from = *scanvo::DecodeFormat(inSource.Format());
    const auto to = *scanvo::DecodeFormat(inFormat);
    scanvo::Scratch scratch;
    const auto plan = scanvo::PlanConversion(from, to, width);
    const auto work = scanvo::MakeWorkRows(plan, scratch);
    const auto fetched = scratch.Row(width);
    FetchRow(plan, {inSource.Start(), 0, width, 1, from}, 0, work, fetched);
    FinishRow(plan, fetched, work, {result.Start(), 0, width, 1, to}, 0);
    return result;
}

// Adds up how many codes there are and how many are not equal.
void Compare(const Area& inArea, const Area& inExpected, std::array<double, 2>& ioCounts) {
    const auto pixels = inArea.Pixels(), expected = inExpected.Pixels();
    const bool isFloat = inArea.Format().IsFloat();
    for (std::size_t i = 0; i < 4 * pixels.size(); ++i) {
        const double code = pixels[i / 4][i % 4], other = expected[i / 4][i % 4];
        const double tolerance = isFloat ? 1e-5 * std::max(1.0, std::abs(other)) : 1;
        ASSERT_NEAR(code, other, tolerance) << i << " of " << 4 * pixels.size();
        ioCounts[0] += 1;
        ioCounts[1] += !isFloat && code != other;
    }
}

void CheckRow(Area& inSource, const Area& inExpected, std::array<double, 2>& ioCounts) {
    const auto from = *scanvo::DecodeFormat(inSource.Format());
    const auto to = *scanvo::DecodeFormat(inExpected.Format());
    const auto convert = scanvo::FastRowBetween(from, to);
    if (convert == nullptr) return;
    // At an odd address, and no byte longer than the row, so that checkers see what reads beyond.
    std::vector<std::byte> row(1);
    row.insert(row.end(), inSource.Start(), inSource.Start() + inSource.RowLength());
    Area result(inExpected.Format(), inSource.Width(), 1);
    convert(row.data() + 1, result.Start(), inSource.Width());
    result.ExpectGuardsIntact();
    Compare(result, inExpected, ioCounts);
    const std::int32_t width = inSource.Width();
    // Both halves of an odd row's last unit have the last luma.
    if (result.Format().Is422() && !result.Format().IsV210() && width % 2 != 0) {
        ASSERT_EQ(result.At(width, 0)[0], result.At(width - 1, 0)[0]);
    }
    if (from.unitBytes != to.unitBytes || from.unitPixels != to.unitPixels) return;
    std::copy(row.begin() + 1, row.end(), result.Start());
    convert(result.Start(), result.Start(), inSource.Width());
    Compare(result, inExpected, ioCounts);
}

TEST(FastRows, AgreeWithTheGeneralRoad) {
    for (const FormatCode from : kPackedFormats) {
        for (const FormatCode to : kPackedFormats) {
            if (!scanvo::FastRowBetween(*scanvo::DecodeFormat(from), *scanvo::DecodeFormat(to)))
                continue;
            SCOPED_TRACE(testing::Message() << std::hex << from.bits << " to " << to.bits);
            std::array<double, 2> counts{};
            for (std::int32_t width = 1; width <= 150 && !HasFatalFailure(); ++width) {
                Area source = RandomRow(from, width);
                const Area expected = ByGeneralRoad(source, to);
                ForEachTarget([&] { CheckRow(source, expected, counts); });
            }
            EXPECT_LE(counts[1], 0.02 * counts[0]);
        }
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

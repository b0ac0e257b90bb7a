#include "fast/FastRows.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

#include <numeric>

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

// For each byte of a pixel a constant and what the bytes of the other pixel weigh.
using Formula = std::array<std::array<double, 4>, 3>;

void CheckAllColours(FormatCode inFrom, FormatCode inTo, const Formula& inFormula) {
    const auto convert =
        scanvo::FastRowBetween(*scanvo::DecodeFormat(inFrom), *scanvo::DecodeFormat(inTo));
    std::uint32_t source[256];
    std::uint8_t result[256][4];
    int worst = 0, unequal = 0;
    for (std::uint32_t colour = 0; colour < 1 << 24; ++colour) {
        if (colour % 256 == 0) {
            std::iota(source, source + 256, colour);
            convert(reinterpret_cast<std::byte*>(source), reinterpret_cast<std::byte*>(result),
                    256);
        }
        int error = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const auto& [constant, a, b, c] = inFormula[i];
            const double exact =
                constant + a * (colour & 0xFF) + b * (colour >> 8 & 0xFF) + c * (colour >> 16);
            const int code = static_cast<int>(std::clamp(exact, 0.0, 255.0) + 0.5);
            error = std::max(error, std::abs(result[colour % 256][i] - code));
        }
        worst = std::max(worst, error);
        unequal += error != 0;
    }
    EXPECT_LE(worst, 1);
    EXPECT_LE(unequal, 0.02 * (1 << 24));
}

TEST(FastRows, RoundEveryColourWell) {
    for (const bool isBt709 : {false, true}) {
        const double kr = isBt709 ? 0.2126 : 0.299, kb = isBt709 ? 0.0722 : 0.114;
        const double kg = 1 - kr - kb, cb = 1.0 / (1 - kb), cr = 1.0 / (1 - kr);
        const double y = 219.0 / 255, c = 112.0 / 255;
        const FormatCode vuya = isBt709 ? 0x205 : 0x005;
        CheckAllColours(0x004, vuya,
                        {{{128, -kb * cr * c, -kg * cr * c, c},
                          {128, c, -kg * cb * c, -kr * cb * c},
                          {16, kb * y, kg * y, kr * y}}});
        const auto row = [&](double v, double u) {
            return std::array{-16 / y - 128 * (u + v) / c, v / c, u / c, 1 / y};
        };
        CheckAllColours(vuya, 0x004,
                        {{row(0, 1 / cb), row(-kr / kg / cr, -kb / kg / cb), row(1 / cr, 0)}});
    }
}

// What libavcodec and libavutil read is what Area takes memory for.
void CheckDecoded(FormatCode inFormat, AVCodecID inCodec, AVPixelFormat inPixels) {
    constexpr int kWidth = 106, kHeight = 5;
    const auto rowBytes = static_cast<int>(SV_PixelFormatSize(inFormat, kWidth, 1));
    Area source(0x004, kWidth, kHeight);
    source.Scatter();
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    av_new_packet(packet, rowBytes * kHeight);
    Call(SV_Convert, source.Memory(), packet->data, rowBytes, inFormat, source.Size(), 4);
    const AVCodec* const codec = avcodec_find_decoder(inCodec);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    context->width = kWidth;
    context->height = kHeight;
    context->pix_fmt = inPixels;
    ASSERT_EQ(avcodec_open2(context, codec, nullptr), 0);
    ASSERT_EQ(avcodec_send_packet(context, packet), 0);
    ASSERT_EQ(avcodec_receive_frame(context, frame), 0);
    for (int i = 0; i < 3 * kWidth * kHeight; ++i) {
        const int component = i % 3, x = i / 3 % kWidth, y = i / 3 / kWidth;
        std::uint16_t sample = 0;
        av_read_image_line(&sample, const_cast<const std::uint8_t**>(frame->data), frame->linesize,
                           av_pix_fmt_desc_get(inPixels), component == 0 ? x : x / 2, y, component,
                           1, 0);
        const auto* const row = reinterpret_cast<std::byte*>(packet->data) + rowBytes * y;
        const Codes codes = StoredCodes(inFormat, row, static_cast<std::size_t>(x));
        ASSERT_EQ(sample, codes[static_cast<std::size_t>(component)]) << x << ", " << y;
    }
    av_frame_free(&frame);
    avcodec_free_context(&context);
    av_packet_free(&packet);
}

TEST(FastRows, WriteWhatOthersRead) {
    CheckDecoded(0x251, AV_CODEC_ID_V210, AV_PIX_FMT_YUV422P10);
    CheckDecoded(0x211, AV_CODEC_ID_RAWVIDEO, AV_PIX_FMT_UYVY422);
    CheckDecoded(0x1211, AV_CODEC_ID_RAWVIDEO, AV_PIX_FMT_YUYV422);
}

}  // namespace
}  // namespace scanvo_test

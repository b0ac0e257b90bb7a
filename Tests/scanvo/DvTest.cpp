// DV frames.
extern "C" {
#include <libavcodec/avcodec.h>
}
#include <gmock/gmock.h>

#include "Area.h"

namespace scanvo_test {
namespace {

using Block = std::vector<std::uint8_t>;

Block BlockOf(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight) {
    return Block(static_cast<std::size_t>(SV_PixelFormatSize(inFormat, inWidth, inHeight)), 0xEE);
}

Block Stored(Area& inSource, FormatCode inFormat) {
    Block block = BlockOf(inFormat, inSource.Width(), inSource.Height());
    EXPECT_EQ(Call(SV_Convert, inSource.Memory(), block.data(), 0, inFormat, inSource.Size(), 4),
              0);
    return block;
}

Area Loaded(const Block& inBlock, FormatCode inBlockFormat, FormatCode inFormat,
            std::int32_t inWidth, std::int32_t inHeight) {
    Area area(inFormat, inWidth, inHeight);
    EXPECT_EQ(Call(SV_Convert, inBlock.data(), 0, inBlockFormat, area.Memory(), area.Size(), 4), 0);
    area.ExpectGuardsIntact();
    return area;
}

/// In a float format: Y', Cb, Cr by inColourAt(column, row from the top).
template <class ColourAt>
Area YCbCrArea(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight,
               const ColourAt& inColourAt) {
    Area area(inFormat, inWidth, inHeight);
    for (std::int32_t i = 0; i < inWidth * inHeight; ++i) {
        const std::int32_t x = i % inWidth, y = i / inWidth;
        const auto [luma, cb, cr] = inColourAt(static_cast<float>(x), static_cast<float>(y));
        std::int32_t index = 4 * x;
        for (const float value : {cr, cb, luma, 1.0f})
            area.Set(inHeight - 1 - y, index++, value);
    }
    return area;
}

// ---- DV -----------------------------------------------------------------------------------------

constexpr struct DvKind {
    FormatCode format;
    std::int32_t width, height;
    AVPixelFormat planes;
} kDvKinds[] = {
    {0x01000021, 720, 480, AV_PIX_FMT_YUV411P},   {0x02000021, 720, 576, AV_PIX_FMT_YUV420P},
    {0x03000221, 960, 720, AV_PIX_FMT_YUV422P},   {0x04000221, 960, 720, AV_PIX_FMT_YUV422P},
    {0x05000221, 1280, 1080, AV_PIX_FMT_YUV422P}, {0x06000221, 1440, 1080, AV_PIX_FMT_YUV422P},
    {0x07000021, 720, 480, AV_PIX_FMT_YUV422P},   {0x08000021, 720, 576, AV_PIX_FMT_YUV422P},
};

// What another reader of DV sees: the luma of one pixel, and the form of the planes.
void ExpectLuma(const DvKind& inKind, const Block& inFrame, std::int32_t inX, std::int32_t inY,
                double inLuma) {
    AVCodecContext* decoder = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_DVVIDEO));
    ASSERT_EQ(avcodec_open2(decoder, nullptr, nullptr), 0);
    AVPacket* packet = av_packet_alloc();
    ASSERT_EQ(av_new_packet(packet, static_cast<int>(inFrame.size())), 0);
    std::memcpy(packet->data, inFrame.data(), inFrame.size());
    AVFrame* frame = av_frame_alloc();
    ASSERT_EQ(avcodec_send_packet(decoder, packet), 0);
    ASSERT_EQ(avcodec_receive_frame(decoder, frame), 0);
    EXPECT_EQ(frame->format, inKind.planes);
    EXPECT_EQ(frame->height, inKind.height);
    EXPECT_NEAR(frame->data[0][inY * frame->linesize[0] + inX], std::floor(inLuma), 4);
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&decoder);
}

TEST(Dv, ComesBackAsItWentIn) {
    for (const auto& kind : kDvKinds) {
        const auto across = static_cast<float>(kind.width), down = static_cast<float>(kind.height);
        const auto colourAt = [=](float x, float y) {
            return std::array{0.1f + 0.5f * x / across + 0.3f * y / down, 0.2f - 0.4f * x / across,
                              0.4f * y / down - 0.2f};
        };
        Area picture =
            YCbCrArea(kind.format.IsBt709() ? 0x30D : 0x10D, kind.width, kind.height, colourAt);
        const Block frame = Stored(picture, kind.format);
        ExpectLuma(kind, frame, 100, 40, 16 + 219 * colourAt(100, 40)[0]);
        const Area back = Loaded(frame, kind.format, picture.Format(), kind.width, kind.height);
        double errors = 0;
        for (std::int32_t i = 0; i < kind.width * kind.height; i += 7) {
            const Codes codes = back.At(i % kind.width, i / kind.width);
            const Codes exact = picture.At(i % kind.width, i / kind.width);
            for (std::size_t c = 0; c < 3; ++c)
                errors += std::pow(codes[c] - exact[c], 2);
        }
        EXPECT_LT(errors * 7 / (3.0 * kind.width * kind.height), 4e-5)
            << std::hex << kind.format.bits;
    }
}

TEST(Dv, MergesTheFieldsOfTwoFrames) {
    for (const DvKind& kind : kDvKinds) {
        const FormatCode packed = kind.format.IsBt709() ? 0x20D : 0x00D;
        const auto plain = [&](std::uint32_t colour) {
            Block frame = BlockOf(kind.format, kind.width, kind.height);
            EXPECT_EQ(Call(SV_FillWithColor, frame.data(), 0, kind.width, kind.height, kind.format,
                           &colour, packed),
                      0);
            return frame;
        };
        // V, U, Y', A.
        Block first = plain(0xFFB4A050);
        const Block second = plain(0xFF406E96);
        // What only one frame has differs in one segment of the second sequence; the audio is no
        // picture.
        Block same = first;
        constexpr std::size_t kSegment = 150 * 80 + (6 + 16 + 1 + 5) * 80;
        std::copy_n(second.begin() + kSegment, 400, same.begin() + kSegment);
        same[6 * 80 + 40] = first[6 * 80 + 40] ^ 0xFF;
        const Block sameBefore = same;
        const bool is25 = kind.format.bits < 0x03000000 && kind.format.bits != 0x07000021;
        const auto merge = [&](const Block& inFirst, const Block& inSecond, Block& outFrame) {
            const auto bytes = static_cast<std::int32_t>(first.size());
            const std::int32_t result =
                is25 ? SV_MergeDV(inFirst.data(), inSecond.data(), outFrame.data(), bytes, 4)
                     : SV_MergeDVCPRO(inFirst.data(), inSecond.data(), outFrame.data(), kind.format,
                                      4);
            ASSERT_EQ(result, 0);
        };
        merge(first, same, same);
        Block merged = first;
        std::copy_n(same.begin() + kSegment, 400, merged.begin() + kSegment);
        EXPECT_EQ(same, merged) << "one segment alone is new";
        EXPECT_NE(same, first);
        EXPECT_NE(same, sameBefore);
        merge(first, first, same);
        EXPECT_EQ(same, first);
        merge(first, second, first);
        const Area pixels = Loaded(first, kind.format, packed, kind.width, kind.height);
        for (std::int32_t y = 100; y < 116; ++y) {
            const Codes codes = pixels.At(200, kind.height - 1 - y);
            const Codes expected = y % 2 == 0 ? Codes{0xB4, 0xA0, 0x50} : Codes{0x40, 0x6E, 0x96};
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_NEAR(codes[c], expected[c], 6) << std::hex << kind.format.bits << ' ' << y;
        }
    }
}

TEST(Dv, RefusesWhatIsNoFrame) {
    Block zeros(120000), frame(120000, 0xEE);
    Area area(0x004, 720, 480);
    const std::tuple no(zeros.data(), 0, FormatCode(0x01000021));
    EXPECT_EQ(Call(SV_Convert, no, area.Memory(), area.Size(), 4), kSV_BadData);
    EXPECT_EQ(Call(SV_Convert, no, area.Memory(), 720, 479, 4), kSV_BadSize);
    EXPECT_EQ(SV_MergeDV(zeros.data(), zeros.data(), frame.data(), 120000, 4), kSV_BadData);
    EXPECT_EQ(SV_MergeDV(zeros.data(), zeros.data(), frame.data(), 120001, 4), kSV_BadSize);
    EXPECT_EQ(SV_MergeDV(zeros.data(), nullptr, frame.data(), 120000, 4), kSV_NullPointer);
    for (const FormatCode format : {0x01000021u, 0x004u, 0x09000031u}) {
        EXPECT_EQ(SV_MergeDVCPRO(zeros.data(), zeros.data(), frame.data(), format, 4),
                  kSV_UnsupportedFormat);
    }
    EXPECT_THAT(frame, testing::Each(0xEE));
}

}  // namespace
}  // namespace scanvo_test

// DV frames merged.
#include <cstring>

#include "Pictures.h"
#include "Table.h"
#include "contracts/Scanvo.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace bench {
namespace {

constexpr SV_PixelFormat kDv{0x02000021};
constexpr Size kSize = {720, 576, ""};
constexpr std::size_t kBytes = 144000;

Buffer FrameOf(unsigned inSeed) {
    const Buffer pixels = PictureOf(kSize, 4);
    for (unsigned i = 0; i < 4u * 720 * 576; ++i)
        pixels.Bytes()[i] = static_cast<std::uint8_t>(i / 4 % 720 / 4 + i / 2880 * inSeed / 4);
    Buffer frame(kBytes);
    SV_Convert(pixels.Bytes(), 4 * 720, SV_PixelFormat{0x00C}, frame.Bytes(), 0, kDv, kSize.width,
               kSize.height, 4);
    return frame;
}

Run Merge(bool inIsSame) {
    return [=](benchmark::State& state) {
        const Buffer first = FrameOf(1), second = FrameOf(inIsSame ? 1 : 2), output(kBytes);
        for (auto _ : state) {
            SV_MergeDV(first.Bytes(), second.Bytes(), output.Bytes(), kBytes, 4);
            benchmark::ClobberMemory();
        }
    };
}

void Copy(benchmark::State& inState) {
    const Buffer first = FrameOf(1), output(kBytes);
    for (auto _ : inState) {
        std::memcpy(output.Bytes(), first.Bytes(), kBytes);
        benchmark::ClobberMemory();
    }
}

AVCodecContext* Open(const AVCodec* inCodec) {
    AVCodecContext* const context = avcodec_alloc_context3(inCodec);
    context->width = kSize.width;
    context->height = kSize.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = {1, 25};
    context->thread_count = 1;
    avcodec_open2(context, inCodec, nullptr);
    return context;
}

// Two frames decoded, one encoded, by codecs that stay open.
void DecodeAndEncode(benchmark::State& inState) {
    const Buffer frames[] = {FrameOf(1), FrameOf(2)};
    AVCodecContext* decoder = Open(avcodec_find_decoder(AV_CODEC_ID_DVVIDEO));
    AVCodecContext* encoder = Open(avcodec_find_encoder(AV_CODEC_ID_DVVIDEO));
    AVPacket* packet = av_packet_alloc();
    AVFrame* picture = av_frame_alloc();
    for (auto _ : inState) {
        for (const Buffer& frame : frames) {
            av_new_packet(packet, kBytes);
            std::memcpy(packet->data, frame.Bytes(), kBytes);
            avcodec_send_packet(decoder, packet);
            avcodec_receive_frame(decoder, picture);
            av_packet_unref(packet);
        }
        avcodec_send_frame(encoder, picture);
        avcodec_receive_packet(encoder, packet);
        av_packet_unref(packet);
    }
    av_frame_free(&picture);
    av_packet_free(&packet);
    avcodec_free_context(&decoder);
    avcodec_free_context(&encoder);
}

}  // namespace

void AddDvRows() {
    AddRow("merge two equal DV frames", Merge(true), {{"memcpy", Copy}});
    AddRow("merge two different DV frames", Merge(false),
           {{"FFmpeg, two decoded, one encoded", DecodeAndEncode}});
}

}  // namespace bench

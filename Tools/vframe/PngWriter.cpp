#include "PngWriter.h"

#include <new>

#include "Ffmpeg.h"

namespace vframe {
namespace {

/// The picture's components in the order of PNG, with alpha or without.
MediaFrame ToPngPixels(const TopDownPicture& inPicture) {
    const bool isOpaque = inPicture.IsOpaque();
    MediaFrame pixels = MakeMediaFrame(isOpaque ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_RGBA,
                                       inPicture.size.width, inPicture.size.height);
    for (int row = 0; row < inPicture.size.height; ++row) {
        const std::uint8_t* source = inPicture.Row(row);
        std::uint8_t* target = pixels->data[0] + std::ptrdiff_t{row} * pixels->linesize[0];
        for (int column = 0; column < inPicture.size.width; ++column, source += 4) {
            *target++ = source[2];
            *target++ = source[1];
            *target++ = source[0];
            if (!isOpaque) *target++ = source[3];
        }
    }
    return pixels;
}

MediaPacket EncodePng(const AVFrame& inPixels, AVRational inAspectRatio,
                      const std::string& inPath) {
    const AVCodec* const codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
    if (!codec) throw Failure(inPath, "FFmpeg's libraries were built without PNG");
    CodecContext encoder(avcodec_alloc_context3(codec));
    MediaPacket packet(av_packet_alloc());
    if (!encoder || !packet) throw std::bad_alloc();
    encoder->width = inPixels.width;
    encoder->height = inPixels.height;
    encoder->pix_fmt = static_cast<AVPixelFormat>(inPixels.format);
    encoder->time_base = {1, 1};
    if (av_cmp_q(inAspectRatio, {1, 1}) != 0) encoder->sample_aspect_ratio = inAspectRatio;
    av_opt_set(encoder->priv_data, "pred", "paeth", 0);
    CheckMedia(avcodec_open2(encoder.get(), codec, nullptr), inPath);
    CheckMedia(avcodec_send_frame(encoder.get(), &inPixels), inPath);
    CheckMedia(avcodec_send_frame(encoder.get(), nullptr), inPath);
    CheckMedia(avcodec_receive_packet(encoder.get(), packet.get()), inPath);
    return packet;
}

}  // namespace

void PngWriter::Write(const VF::VideoFrameRef& inFrame) {
    const auto ratio = inFrame->GetPixelAspectRatio();
    const MediaFrame pixels = ToPngPixels(ToTopDownPicture(inFrame));
    const MediaPacket packet =
        EncodePng(*pixels, {static_cast<int>(ratio.numerator), static_cast<int>(ratio.denominator)},
                  output_.Path());
    output_.Write(packet->data, static_cast<std::size_t>(packet->size));
}

}  // namespace vframe

#include "dv/DvCodec.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cstring>
#include <new>

#include "contracts/TuloMediaTypes.h"
#include "dv/DvSegments.h"

namespace scanvo {
namespace {

using tulomediatypes::DVFrame;

// ---- What FFmpeg is told of each kind -----------------------------------------------------------

struct Profile {
    AVPixelFormat planes;
    AVRational frameDuration;
};

constexpr Profile kProfiles[] = {
    {AV_PIX_FMT_NONE, {0, 1}},     {AV_PIX_FMT_YUV411P, {1001, 30000}},
    {AV_PIX_FMT_YUV420P, {1, 25}}, {AV_PIX_FMT_YUV422P, {1001, 60000}},
    {AV_PIX_FMT_YUV422P, {1, 50}}, {AV_PIX_FMT_YUV422P, {1001, 30000}},
    {AV_PIX_FMT_YUV422P, {1, 25}}, {AV_PIX_FMT_YUV422P, {1001, 30000}},
    {AV_PIX_FMT_YUV422P, {1, 25}},
};

std::optional<ChromaGrid> ChromaOf(int inPlanes) {
    switch (inPlanes) {
        case AV_PIX_FMT_YUV411P:
            return ChromaGrid{2, ChromaRows::Each};
        case AV_PIX_FMT_YUV420P:
            return ChromaGrid{1, ChromaRows::InTurns};
        case AV_PIX_FMT_YUV422P:
            return ChromaGrid{1, ChromaRows::Each};
        default:
            return std::nullopt;
    }
}

const DVFrame& FrameOf(const Format& inDvFormat) {
    return tulomediatypes::kDVFrames[inDvFormat.dvKind];
}

struct FreeCodec {
    void operator()(AVCodecContext* inCodec) const { avcodec_free_context(&inCodec); }
};
struct FreePacket {
    void operator()(AVPacket* inPacket) const { av_packet_free(&inPacket); }
};
using CodecContext = std::unique_ptr<AVCodecContext, FreeCodec>;
using Packet = std::unique_ptr<AVPacket, FreePacket>;

template <class Object>
Object* NotNull(Object* inObject) {
    if (inObject == nullptr) throw std::bad_alloc();
    return inObject;
}

CodecContext MakeCodec(const AVCodec* inCodec, const Format& inDvFormat, AVPixelFormat inPlanes) {
    if (inCodec == nullptr) return nullptr;
    CodecContext codec(NotNull(avcodec_alloc_context3(inCodec)));
    codec->width = FrameOf(inDvFormat).width;
    codec->height = FrameOf(inDvFormat).height;
    codec->pix_fmt = inPlanes;
    codec->time_base = kProfiles[inDvFormat.dvKind].frameDuration;
    codec->thread_count = 1;
    // Past every level: what is wrong with a frame is for the caller to say.
    codec->log_level_offset = 2 * AV_LOG_TRACE;
    const int result = avcodec_open2(codec.get(), inCodec, nullptr);
    if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
    return result < 0 ? nullptr : std::move(codec);
}

std::size_t FrameBytes(const Format& inDvFormat) {
    return static_cast<std::size_t>(FrameOf(inDvFormat).bytes);
}

void CopyRows(const AVFrame& inFrom, AVFrame& outTo, int inPlane, int inFirst, int inStep,
              int inHeight) {
    const int rowBytes = std::min(inFrom.linesize[inPlane], outTo.linesize[inPlane]);
    for (int row = inFirst; row < inHeight; row += inStep) {
        std::memcpy(outTo.data[inPlane] + row * outTo.linesize[inPlane],
                    inFrom.data[inPlane] + row * inFrom.linesize[inPlane],
                    static_cast<std::size_t>(rowBytes));
    }
}

}  // namespace

void DvPicture::Free::operator()(AVFrame* inFrame) const {
    av_frame_free(&inFrame);
}

DvPicture::DvPicture(AVFrame* inFrame, const Format& inDvFormat)
    : frame_(inFrame), format_(inDvFormat) {
    DescribePlanes();
}

DvPicture::DvPicture(const Format& inDvFormat)
    : frame_(NotNull(av_frame_alloc())), format_(inDvFormat) {
    frame_->format = kProfiles[inDvFormat.dvKind].planes;
    frame_->width = FrameOf(inDvFormat).width;
    frame_->height = FrameOf(inDvFormat).height;
    if (av_frame_get_buffer(frame_.get(), 0) < 0) throw std::bad_alloc();
    DescribePlanes();
}

void DvPicture::DescribePlanes() {
    format_.layout = Layout::Planar;
    format_.chroma = *ChromaOf(frame_->format);
    format_.planes = {{{0, 0, 1}, {1, 0, 1}, {2, 0, 1}}};
}

Source DvPicture::AsSource() const {
    const auto plane = [this](int index) {
        return reinterpret_cast<const std::byte*>(frame_->data[index]);
    };
    return {plane(0),      frame_->linesize[0],
            frame_->width, frame_->height,
            format_,       {{{plane(1), frame_->linesize[1]}, {plane(2), frame_->linesize[2]}}}};
}

Destination DvPicture::AsDestination() {
    const auto plane = [this](int index) {
        return reinterpret_cast<std::byte*>(frame_->data[index]);
    };
    return {plane(0),      frame_->linesize[0],
            frame_->width, frame_->height,
            format_,       {{{plane(1), frame_->linesize[1]}, {plane(2), frame_->linesize[2]}}}};
}

std::optional<DvPicture> DecodeDv(const void* inFrame, const Format& inDvFormat) {
    const std::size_t bytes = FrameBytes(inDvFormat);
    // FFmpeg itself takes nearly any bytes for a frame.
    if (!HoldsDifSequences(static_cast<const std::byte*>(inFrame), bytes)) return std::nullopt;
    const CodecContext decoder = MakeCodec(avcodec_find_decoder(AV_CODEC_ID_DVVIDEO), inDvFormat,
                                           kProfiles[inDvFormat.dvKind].planes);
    if (!decoder) return std::nullopt;
    const Packet packet(NotNull(av_packet_alloc()));
    if (av_new_packet(packet.get(), static_cast<int>(bytes)) < 0) throw std::bad_alloc();
    std::memcpy(packet->data, inFrame, bytes);
    std::unique_ptr<AVFrame, DvPicture::Free> frame(NotNull(av_frame_alloc()));
    if (avcodec_send_packet(decoder.get(), packet.get()) < 0 ||
        avcodec_receive_frame(decoder.get(), frame.get()) < 0) {
        return std::nullopt;
    }
    const bool isStandard =
        frame->width == FrameOf(inDvFormat).width && frame->height == FrameOf(inDvFormat).height;
    if (!isStandard || !ChromaOf(frame->format)) {
        return std::nullopt;
    }
    return DvPicture(frame.release(), inDvFormat);
}

bool EncodeDv(const DvPicture& inPicture, void* outFrame) {
    const CodecContext encoder =
        MakeCodec(avcodec_find_encoder(AV_CODEC_ID_DVVIDEO), inPicture.format_,
                  static_cast<AVPixelFormat>(inPicture.frame_->format));
    if (!encoder) return false;
    const Packet packet(NotNull(av_packet_alloc()));
    if (avcodec_send_frame(encoder.get(), inPicture.frame_.get()) < 0 ||
        avcodec_receive_packet(encoder.get(), packet.get()) < 0) {
        return false;
    }
    if (static_cast<std::size_t>(packet->size) != FrameBytes(inPicture.format_)) return false;
    std::memcpy(outFrame, packet->data, static_cast<std::size_t>(packet->size));
    return true;
}

bool TakeSecondField(const DvPicture& inFrom, DvPicture& ioPicture) {
    const AVFrame& from = *inFrom.frame_;
    AVFrame& to = *ioPicture.frame_;
    if (from.format != to.format || av_frame_make_writable(&to) < 0) return false;
    // Chroma rows belong to the fields in turn, too.
    const int chromaHeight = to.format == AV_PIX_FMT_YUV420P ? to.height / 2 : to.height;
    for (const int plane : {0, 1, 2}) {
        CopyRows(from, to, plane, 1, 2, plane == 0 ? to.height : chromaHeight);
    }
    return true;
}

}  // namespace scanvo

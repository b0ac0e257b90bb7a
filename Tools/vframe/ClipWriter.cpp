#include "ClipWriter.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

namespace vframe {
namespace {

struct ClipKind {
    const char* ending;
    const char* container;
    AVCodecID codec;
    AVPixelFormat pixels;  ///< AV_PIX_FMT_NONE: as the frames have them
    const char* option;    ///< an encoder option for pictures that look like the frames, and its
    const char* value;     ///< value
};

// Players take 4:2:0 only in the three lossy codecs, whatever else these could hold.
constexpr std::array kClipKinds = {
    ClipKind{".mkv", "matroska", AV_CODEC_ID_FFV1, AV_PIX_FMT_NONE, nullptr, nullptr},
    ClipKind{".mp4", "mp4", AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, "crf", "16"},
    ClipKind{".mov", "mov", AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, "crf", "16"},
    ClipKind{".avi", "avi", AV_CODEC_ID_MPEG4, AV_PIX_FMT_YUV420P, nullptr, nullptr},
    ClipKind{".webm", "webm", AV_CODEC_ID_VP9, AV_PIX_FMT_YUV420P, "crf", "20"},
};

const ClipKind* FindKind(const std::string& inPath) {
    const std::string ending = EndingOf(inPath);
    const auto* const found =
        std::find_if(kClipKinds.begin(), kClipKinds.end(),
                     [&](const ClipKind& kind) { return kind.ending == ending; });
    return found == kClipKinds.end() ? nullptr : found;
}

/// Borrows the picture's pixels; the frame is good for as long as the picture is.
MediaFrame Borrow(const TopDownPicture& inPicture) {
    MediaFrame frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    frame->format = AV_PIX_FMT_BGRA;
    frame->width = inPicture.size.width;
    frame->height = inPicture.size.height;
    // Only ever read from, though the structure is the same for both.
    frame->data[0] = const_cast<std::uint8_t*>(inPicture.pixels.data());
    frame->linesize[0] = static_cast<int>(inPicture.RowBytes());
    return frame;
}

void DescribePictures(const VF::VideoFrameRef& inFrame, AVCodecContext& outEncoder) {
    const Size size = FrameSize(inFrame);
    const auto ratio = inFrame->GetPixelAspectRatio();
    outEncoder.width = size.width;
    outEncoder.height = size.height;
    outEncoder.sample_aspect_ratio = {static_cast<int>(ratio.numerator),
                                      static_cast<int>(ratio.denominator)};
}

void DescribeColours(const ClipKind& inKind, bool inHasAlpha, AVCodecContext& outEncoder) {
    if (inKind.pixels == AV_PIX_FMT_NONE) {
        outEncoder.pix_fmt = inHasAlpha ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR0;
        return;
    }
    outEncoder.pix_fmt = inKind.pixels;
    outEncoder.colorspace = UsualMatrix(outEncoder.height);
    outEncoder.color_range = AVCOL_RANGE_MPEG;
}

void AskForQuality(const ClipKind& inKind, AVCodecContext& outEncoder) {
    if (inKind.option) {
        av_opt_set(outEncoder.priv_data, inKind.option, inKind.value, 0);
    } else {
        outEncoder.flags |= AV_CODEC_FLAG_QSCALE;
        outEncoder.global_quality = 2 * FF_QP2LAMBDA;
    }
}

/// Byte is const in newer releases of FFmpeg's libraries.
template <class Byte>
int WriteBytes(void* inOutput, Byte* inBytes, int inCount) {
    const int error =
        static_cast<OutputFile*>(inOutput)->TryToWrite(inBytes, static_cast<std::size_t>(inCount));
    return error ? AVERROR(error) : inCount;
}

std::int64_t Seek(void* inOutput, std::int64_t inOffset, int inWhence) {
    const int file = static_cast<OutputFile*>(inOutput)->Descriptor();
    if (inWhence & AVSEEK_SIZE) return AVERROR(ENOSYS);
    const off_t place = lseek(file, inOffset, inWhence & ~AVSEEK_FORCE);
    return place < 0 ? AVERROR(errno) : place;
}

/// The container's side of the file, which has to live longer.
AVIOContext* WriteInto(OutputFile& inOutput) {
    constexpr int kBufferBytes = 1 << 16;
    void* const buffer = av_malloc(kBufferBytes);
    if (!buffer) throw std::bad_alloc();
    const bool isSeekable = lseek(inOutput.Descriptor(), 0, SEEK_CUR) == 0;
    AVIOContext* const context =
        avio_alloc_context(static_cast<unsigned char*>(buffer), kBufferBytes, 1, &inOutput, nullptr,
                           WriteBytes, isSeekable ? Seek : nullptr);
    if (context) return context;
    av_free(buffer);
    throw std::bad_alloc();
}

}  // namespace

bool ClipWriter::Takes(const std::string& inPath) {
    return FindKind(inPath) != nullptr;
}

ClipWriter::ClipWriter(const std::string& inPath, FrameRate inRate)
    : output_(inPath), rate_{inRate.numerator, inRate.denominator}, packet_(av_packet_alloc()) {
    if (!packet_) throw std::bad_alloc();
}

void ClipWriter::Open(const VF::VideoFrameRef& inFirst) {
    size_ = FrameSize(inFirst);
    AVFormatContext* container = nullptr;
    CheckMedia(avformat_alloc_output_context2(&container, nullptr,
                                              FindKind(output_.Path())->container, nullptr),
               output_.Path());
    container_.reset(container);
    OpenEncoder(inFirst);
    OpenContainer();
}

void ClipWriter::OpenEncoder(const VF::VideoFrameRef& inFirst) {
    const ClipKind& kind = *FindKind(output_.Path());
    const AVCodec* const codec = avcodec_find_encoder(kind.codec);
    if (!codec) {
        throw Failure(output_.Path(), std::string("FFmpeg's libraries were built without ") +
                                          avcodec_get_name(kind.codec));
    }
    if (kind.pixels == AV_PIX_FMT_YUV420P && (size_.width % 2 != 0 || size_.height % 2 != 0)) {
        throw Failure(output_.Path(), "this kind of clip takes even sides only, not " +
                                          ToText(size_) + "; use --size, or .mkv");
    }
    encoder_.reset(avcodec_alloc_context3(codec));
    if (!encoder_) throw std::bad_alloc();
    DescribePictures(inFirst, *encoder_);
    DescribeColours(kind, inFirst->HasAlphaChannel(), *encoder_);
    AskForQuality(kind, *encoder_);
    encoder_->time_base = av_inv_q(rate_);
    encoder_->framerate = rate_;
    if (container_->oformat->flags & AVFMT_GLOBALHEADER)
        encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    encoder_->thread_count = 0;  // as many as there are processors
    CheckMedia(avcodec_open2(encoder_.get(), codec, nullptr), output_.Path());
}

void ClipWriter::OpenContainer() {
    AVStream* const stream = avformat_new_stream(container_.get(), nullptr);
    if (!stream) throw std::bad_alloc();
    stream->time_base = encoder_->time_base;
    stream->avg_frame_rate = rate_;
    stream->sample_aspect_ratio = encoder_->sample_aspect_ratio;
    CheckMedia(avcodec_parameters_from_context(stream->codecpar, encoder_.get()), output_.Path());
    container_->pb = WriteInto(output_);
    const int result = avformat_write_header(container_.get(), nullptr);
    if (result < 0 && !container_->pb->seekable)
        throw Failure(output_.Path(), "this kind of clip cannot go into a pipe; use .mkv");
    CheckMedia(result, output_.Path());
}

void ClipWriter::Write(const VF::VideoFrameRef& inFrame) {
    if (frames_ == 0) Open(inFrame);
    if (FrameSize(inFrame) != size_) {
        throw Failure(output_.Path(), "the frames change their size from " + ToText(size_) +
                                          " to " + ToText(FrameSize(inFrame)) + "; use --size");
    }
    const TopDownPicture picture = ToTopDownPicture(inFrame);
    const MediaFrame target = MakeMediaFrame(encoder_->pix_fmt, size_.width, size_.height);
    converter_.Convert(*Borrow(picture), UsualMatrix(size_.height), true, *target);
    target->pts = frames_++;
    Encode(target.get());
}

void ClipWriter::Encode(const AVFrame* inPicture) {
    CheckMedia(avcodec_send_frame(encoder_.get(), inPicture), output_.Path());
    while (true) {
        const int result = avcodec_receive_packet(encoder_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        CheckMedia(result, output_.Path());
        packet_->stream_index = 0;
        // One tick of the encoder's clock; some containers ask how long a frame lasts.
        packet_->duration = 1;
        av_packet_rescale_ts(packet_.get(), encoder_->time_base, container_->streams[0]->time_base);
        CheckMedia(av_interleaved_write_frame(container_.get(), packet_.get()), output_.Path());
    }
}

void ClipWriter::Finish() {
    if (frames_ == 0) throw Failure(output_.Path(), "there are no frames to write");
    Encode(nullptr);
    CheckMedia(av_write_trailer(container_.get()), output_.Path());
    avio_flush(container_->pb);
    CheckMedia(container_->pb->error, output_.Path());
    output_.Commit();
}

}  // namespace vframe

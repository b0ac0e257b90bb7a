// Owners for what FFmpeg's libraries hand out, and their errors.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <array>
#include <memory>
#include <string>

#include "Failure.h"

namespace vframe {

/// Frees what is freed by a function that takes a pointer to the pointer.
template <auto kFree>
struct FreeByAddress {
    template <class T>
    void operator()(T* inObject) const {
        kFree(&inObject);
    }
};

struct CloseOutput {
    void operator()(AVFormatContext* inContext) const {
        if (inContext->pb) av_freep(&inContext->pb->buffer);
        avio_context_free(&inContext->pb);
        avformat_free_context(inContext);
    }
};

struct FreeScaler {
    void operator()(SwsContext* inContext) const { sws_freeContext(inContext); }
};

using InputContext = std::unique_ptr<AVFormatContext, FreeByAddress<avformat_close_input>>;
using OutputContext = std::unique_ptr<AVFormatContext, CloseOutput>;
using CodecContext = std::unique_ptr<AVCodecContext, FreeByAddress<avcodec_free_context>>;
using MediaFrame = std::unique_ptr<AVFrame, FreeByAddress<av_frame_free>>;
using MediaPacket = std::unique_ptr<AVPacket, FreeByAddress<av_packet_free>>;
using Scaler = std::unique_ptr<SwsContext, FreeScaler>;

inline std::string MediaError(int inError) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(inError, text.data(), text.size());
    return text.data();
}

/// Passes a result on, or raises Failure for a negative one.
inline int CheckMedia(int inResult, const std::string& inWhat) {
    if (inResult < 0) throw Failure(inWhat, MediaError(inResult));
    return inResult;
}

/// Turns pixels of one format of FFmpeg's into another of the same size, without loss where the
/// formats allow. inMatrix and inIsFullRange are those of the side that is Y'CbCr.
class PixelConverter {
  public:
    void Convert(const AVFrame& inSource, AVColorSpace inMatrix, bool inSourceIsFullRange,
                 AVFrame& outTarget);

  private:
    Scaler scaler_;
};

/// A frame of FFmpeg's with pixels of its own.
MediaFrame MakeMediaFrame(AVPixelFormat inFormat, int inWidth, int inHeight);

/// The matrix that pictures of this height have when nothing says which: BT.709 for high
/// definition, else BT.601.
AVColorSpace UsualMatrix(int inHeight);

}  // namespace vframe

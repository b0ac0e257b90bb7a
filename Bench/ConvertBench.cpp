// Conversions of colour: R'G'B' and Y'CbCr, 4:4:4, 4:2:2 and v210.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}
#include <libyuv.h>

#include <functional>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "Pictures.h"
#include "Table.h"
#include "contracts/Scanvo.h"

namespace bench {
namespace {

// ---- Ours ---------------------------------------------------------------------------------------

enum class Matrix { Bt601, Bt709 };

struct Layout {
    const char* name;
    std::uint32_t code;
    bool isYCbCr;
    AVPixelFormat peerFormat;

    SV_PixelFormat CodeWith(Matrix inMatrix) const {
        constexpr std::uint32_t kBt709Bit = 0x200;
        const bool isBt709 = isYCbCr && inMatrix == Matrix::Bt709;
        return static_cast<SV_PixelFormat>(isBt709 ? code | kBt709Bit : code);
    }
};

constexpr Layout kBgra = {"BGRA", 0x004, false, AV_PIX_FMT_BGRA};
constexpr Layout kUyvy = {"UYVY", 0x011, true, AV_PIX_FMT_UYVY422};
constexpr Layout kYuyv = {"YUYV", 0x1011, true, AV_PIX_FMT_YUYV422};
constexpr Layout kVuya = {"VUYA", 0x005, true, AV_PIX_FMT_YUV444P};
constexpr Layout kV210 = {"v210", 0x051, true, AV_PIX_FMT_YUV422P10};

Run Ours(const Layout& inSource, const Layout& inDestination, Matrix inMatrix, const Size& inSize) {
    return [=](benchmark::State& inState) {
        const SV_PixelFormat from = inSource.CodeWith(inMatrix);
        const SV_PixelFormat to = inDestination.CodeWith(inMatrix);
        const Buffer source = PictureOf(inSize, 4);
        const Buffer destination = PictureOf(inSize, 4);
        const std::int64_t fromBytes = SV_PixelFormatSize(from, inSize.width, 1);
        const std::int64_t toBytes = SV_PixelFormatSize(to, inSize.width, 1);
        for (auto _ : inState) {
            SV_Convert(source.Bytes(), fromBytes, from, destination.Bytes(), toBytes, to,
                       inSize.width, inSize.height, 4);
            benchmark::ClobberMemory();
        }
    };
}

// ---- Peers --------------------------------------------------------------------------------------

// A call on the bytes of a source and a destination with room for four bytes a pixel.
using PeerCall = void (*)(const std::uint8_t* inSource, std::uint8_t* outDestination,
                          const Size& inSize);

Run Calling(PeerCall inCall, const Size& inSize) {
    return [=](benchmark::State& inState) {
        cv::setNumThreads(1);
        const Buffer source = PictureOf(inSize, 4);
        const Buffer destination = PictureOf(inSize, 4);
        for (auto _ : inState) {
            inCall(source.Bytes(), destination.Bytes(), inSize);
            benchmark::ClobberMemory();
        }
    };
}

// libyuv's ARGB is B, G, R, A in memory.
template <auto kFunction, int kSourceBytes, int kDestinationBytes>
void CallYuv(const std::uint8_t* inSource, std::uint8_t* outDestination, const Size& inSize) {
    kFunction(inSource, inSize.width * kSourceBytes, outDestination,
              inSize.width * kDestinationBytes, inSize.width, inSize.height);
}

void YuvToPlanes(const std::uint8_t* inSource, std::uint8_t* outPlanes, const Size& inSize) {
    const int width = inSize.width;
    const std::ptrdiff_t plane = std::ptrdiff_t{width} * inSize.height;
    libyuv::ARGBToI444(inSource, 4 * width, outPlanes, width, outPlanes + plane, width,
                       outPlanes + 2 * plane, width, width, inSize.height);
}

template <auto kFunction>
void YuvFromPlanes(const std::uint8_t* inPlanes, std::uint8_t* outPixels, const Size& inSize) {
    const int width = inSize.width;
    const std::ptrdiff_t plane = std::ptrdiff_t{width} * inSize.height;
    kFunction(inPlanes, width, inPlanes + plane, width, inPlanes + 2 * plane, width, outPixels,
              4 * width, width, inSize.height);
}

template <int kCode, int kSourceType, int kDestinationType>
void CallOpenCv(const std::uint8_t* inSource, std::uint8_t* outDestination, const Size& inSize) {
    const cv::Mat source(inSize.height, inSize.width, kSourceType,
                         const_cast<std::uint8_t*>(inSource));
    cv::Mat destination(inSize.height, inSize.width, kDestinationType, outDestination);
    cv::cvtColor(source, destination, kCode);
}

struct FreeScaler {
    void operator()(SwsContext* inScaler) const { sws_freeContext(inScaler); }
};
using Scaler = std::unique_ptr<SwsContext, FreeScaler>;

Scaler MakeScaler(AVPixelFormat inSource, AVPixelFormat inDestination, Matrix inMatrix,
                  const Size& inSize) {
    Scaler scaler(sws_getContext(inSize.width, inSize.height, inSource, inSize.width, inSize.height,
                                 inDestination, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr));
    const int* const matrix =
        sws_getCoefficients(inMatrix == Matrix::Bt709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
    if (scaler) sws_setColorspaceDetails(scaler.get(), matrix, 0, matrix, 0, 0, 1 << 16, 1 << 16);
    return scaler;
}

struct FreeFrame {
    void operator()(AVFrame* inFrame) const { av_frame_free(&inFrame); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

Frame MakeFrame(AVPixelFormat inFormat, const Size& inSize) {
    Frame frame(av_frame_alloc());
    frame->format = inFormat;
    frame->width = inSize.width;
    frame->height = inSize.height;
    av_frame_get_buffer(frame.get(), 64);
    return frame;
}

void Scale(const Scaler& inScaler, const AVFrame& inSource, const AVFrame& outDestination) {
    sws_scale(inScaler.get(), inSource.data, inSource.linesize, 0, inSource.height,
              outDestination.data, outDestination.linesize);
    benchmark::ClobberMemory();
}

Run Swscale(const Layout& inSource, const Layout& inDestination, Matrix inMatrix,
            const Size& inSize) {
    return [=](benchmark::State& inState) {
        const Scaler scaler =
            MakeScaler(inSource.peerFormat, inDestination.peerFormat, inMatrix, inSize);
        if (!scaler) return inState.SkipWithError("libswscale has no such conversion");
        const Frame source = MakeFrame(inSource.peerFormat, inSize);
        const Frame destination = MakeFrame(inDestination.peerFormat, inSize);
        for (auto _ : inState)
            Scale(scaler, *source, *destination);
    };
}

struct FreeCodec {
    void operator()(AVCodecContext* inCodec) const { avcodec_free_context(&inCodec); }
};
using Codec = std::unique_ptr<AVCodecContext, FreeCodec>;

Codec OpenCodec(const AVCodec* inCodec, AVPixelFormat inFormat, const Size& inSize) {
    Codec codec(avcodec_alloc_context3(inCodec));
    codec->width = inSize.width;
    codec->height = inSize.height;
    codec->pix_fmt = inFormat;
    codec->time_base = {1, 25};
    codec->thread_count = 1;
    if (avcodec_open2(codec.get(), inCodec, nullptr) < 0) codec.reset();
    return codec;
}

Run DecodeV210(const Layout& inDestination, Matrix inMatrix, const Size& inSize) {
    return [=](benchmark::State& inState) {
        const Codec codec =
            OpenCodec(avcodec_find_decoder(AV_CODEC_ID_V210), kV210.peerFormat, inSize);
        const Scaler scaler =
            MakeScaler(kV210.peerFormat, inDestination.peerFormat, inMatrix, inSize);
        if (!codec || !scaler) return inState.SkipWithError("no v210 decoder");
        AVPacket* packet = av_packet_alloc();
        av_new_packet(packet, (inSize.width + 47) / 48 * 128 * inSize.height);
        std::fill_n(packet->data, packet->size, std::uint8_t{0x21});
        const Frame decoded(av_frame_alloc());
        const Frame destination = MakeFrame(inDestination.peerFormat, inSize);
        for (auto _ : inState) {
            avcodec_send_packet(codec.get(), packet);
            avcodec_receive_frame(codec.get(), decoded.get());
            Scale(scaler, *decoded, *destination);
        }
        av_packet_free(&packet);
    };
}

Run EncodeV210(const Layout& inSource, Matrix inMatrix, const Size& inSize) {
    return [=](benchmark::State& inState) {
        const Codec codec =
            OpenCodec(avcodec_find_encoder(AV_CODEC_ID_V210), kV210.peerFormat, inSize);
        const Scaler scaler = MakeScaler(inSource.peerFormat, kV210.peerFormat, inMatrix, inSize);
        if (!codec || !scaler) return inState.SkipWithError("no v210 encoder");
        AVPacket* packet = av_packet_alloc();
        const Frame source = MakeFrame(inSource.peerFormat, inSize);
        const Frame planes = MakeFrame(kV210.peerFormat, inSize);
        for (auto _ : inState) {
            Scale(scaler, *source, *planes);
            avcodec_send_frame(codec.get(), planes.get());
            avcodec_receive_packet(codec.get(), packet);
            av_packet_unref(packet);
        }
        av_packet_free(&packet);
    };
}

// ---- Rows ---------------------------------------------------------------------------------------

struct Pair {
    Layout source, destination;
    std::vector<std::pair<const char*, PeerCall>> calls;
};

const std::vector<Pair>& Pairs() {
    using namespace libyuv;
    static const std::vector<Pair> pairs = {
        {kBgra, kUyvy, {{"libyuv (BT.601)", CallYuv<ARGBToUYVY, 4, 2>}}},
        {kBgra, kYuyv, {{"libyuv (BT.601)", CallYuv<ARGBToYUY2, 4, 2>}}},
        {kUyvy,
         kBgra,
         {{"libyuv (BT.601)", CallYuv<UYVYToARGB, 2, 4>},
          {"OpenCV (BT.601)", CallOpenCv<cv::COLOR_YUV2BGRA_UYVY, CV_8UC2, CV_8UC4>}}},
        {kYuyv,
         kBgra,
         {{"libyuv (BT.601)", CallYuv<YUY2ToARGB, 2, 4>},
          {"OpenCV (BT.601)", CallOpenCv<cv::COLOR_YUV2BGRA_YUY2, CV_8UC2, CV_8UC4>}}},
        {kBgra,
         kVuya,
         {{"libyuv (planes, BT.601)", YuvToPlanes},
          {"OpenCV (full range)", CallOpenCv<cv::COLOR_BGR2YUV, CV_8UC4, CV_8UC3>}}},
        {kVuya,
         kBgra,
         {{"libyuv (planes, BT.601)", YuvFromPlanes<I444ToARGB>},
          {"OpenCV (full range)", CallOpenCv<cv::COLOR_YUV2BGR, CV_8UC3, CV_8UC3>}}},
        {kV210, kBgra, {}},
        {kBgra, kV210, {}},
        {kV210, kUyvy, {}},
        {kUyvy, kV210, {}},
        {kUyvy, kYuyv, {}},
        {kUyvy, kVuya, {}},
        {kVuya, kUyvy, {}},
    };
    return pairs;
}

Contestant FfmpegPeer(const Pair& inPair, Matrix inMatrix, const Size& inSize) {
    if (inPair.source.code == kV210.code) {
        return {"FFmpeg v210, libswscale", DecodeV210(inPair.destination, inMatrix, inSize)};
    }
    if (inPair.destination.code == kV210.code) {
        return {"libswscale, FFmpeg v210", EncodeV210(inPair.source, inMatrix, inSize)};
    }
    return {"libswscale", Swscale(inPair.source, inPair.destination, inMatrix, inSize)};
}

void AddPair(const Pair& inPair, Matrix inMatrix, const Size& inSize) {
    const bool isBt709 = inMatrix == Matrix::Bt709;
    const std::string work = std::string(inPair.source.name) + " to " + inPair.destination.name +
                             (isBt709 ? ", BT.709, " : ", BT.601, ") + inSize.name;
    std::vector<Contestant> peers = {FfmpegPeer(inPair, inMatrix, inSize)};
    // The roads of these know one matrix only; the other is no more work.
    for (const auto& [name, call] : inPair.calls)
        peers.push_back({name, Calling(call, inSize)});
    AddRow(work, Ours(inPair.source, inPair.destination, inMatrix, inSize), peers);
}

}  // namespace

void AddConvertRows() {
    for (const Pair& pair : Pairs()) {
        for (const Matrix matrix : {Matrix::Bt601, Matrix::Bt709}) {
            for (const Size& size : kSizes)
                AddPair(pair, matrix, size);
        }
    }
}

}  // namespace bench

// Scales of one format of each kind that video comes in, by quality and size. The peers are given
// planes of their own making, where they take nothing else.
#include <libyuv.h>
#include <zimg.h>

#include <opencv2/imgproc.hpp>

#include "Pictures.h"
#include "Table.h"
#include "contracts/Scanvo.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace bench {
namespace {

constexpr Size kFrom = {1920, 1080, ""};
constexpr Size kTo[] = {{960, 540, "1/2"}, {1280, 720, "2/3"}, {2560, 1440, "4/3"}};

struct Quality {
    std::int32_t number;
    int swscale;
    zimg_resample_filter_e zimg;
    int openCv;
};
constexpr Quality kQualities[] = {
    {2, SWS_BILINEAR, ZIMG_RESIZE_BILINEAR, cv::INTER_LINEAR},
    {4, SWS_BICUBIC, ZIMG_RESIZE_BICUBIC, cv::INTER_CUBIC},
    {5, SWS_LANCZOS, ZIMG_RESIZE_LANCZOS, cv::INTER_LANCZOS4},
};

// What a format is to its peers.
struct Kind {
    const char* name;
    SV_PixelFormat format;
    AVPixelFormat swscale;
    // zimg takes planes: of Y' and chroma, or four alike.
    int planes;
    zimg_pixel_type_e type;
    std::uint32_t depth, shiftX, shiftY;
    bool hasLibyuv, hasOpenCv, isOpaque;
};
constexpr Kind kKinds[] = {
    {"4:2:0", SV_PixelFormat{0x0A000031}, AV_PIX_FMT_YUV420P, 3, ZIMG_PIXEL_BYTE, 8, 1, 1, true,
     false, true},
    {"UYVY", SV_PixelFormat{0x211}, AV_PIX_FMT_UYVY422, 3, ZIMG_PIXEL_BYTE, 8, 1, 0, false, false,
     true},
    {"v210", SV_PixelFormat{0x251}, AV_PIX_FMT_NONE, 3, ZIMG_PIXEL_WORD, 10, 1, 0, false, false,
     true},
    {"BGRX 15-bit", SV_PixelFormat{0x08C}, AV_PIX_FMT_NONE, 4, ZIMG_PIXEL_WORD, 16, 0, 0, false,
     false, true},
    {"BGRX float", SV_PixelFormat{0x10C}, AV_PIX_FMT_NONE, 4, ZIMG_PIXEL_FLOAT, 32, 0, 0, false,
     true, true},
    {"BGRA translucent", SV_PixelFormat{0x004}, AV_PIX_FMT_BGRA, 4, ZIMG_PIXEL_BYTE, 8, 0, 0, false,
     false, false},
};

std::size_t BytesOf(SV_PixelFormat inFormat, const Size& inSize) {
    return static_cast<std::size_t>(SV_PixelFormatSize(inFormat, inSize.width, inSize.height));
}

std::shared_ptr<Buffer> NewPicture(const Kind& inKind, const Size& inSize) {
    auto picture = std::make_shared<Buffer>(BytesOf(inKind.format, inSize));
    if (inKind.type == ZIMG_PIXEL_FLOAT) {
        for (std::int64_t i = 0; i < std::int64_t{4} * inSize.width * inSize.height; ++i)
            picture->Floats()[i] = static_cast<float>(i % 1023) / 1023;
    }
    return picture;
}

Run Ours(const Kind& inKind, SV_PixelFormat inFormat, const Size& inTo, std::int32_t inQuality) {
    return [=](benchmark::State& state) {
        const auto source = NewPicture(inKind, kFrom), result = NewPicture(inKind, inTo);
        const auto rowBytes = [&](const Size& size) {
            return static_cast<std::int64_t>(BytesOf(inFormat, size)) / size.height;
        };
        for (auto _ : state) {
            SV_ScaleConvert(source->Bytes(), rowBytes(kFrom), kFrom.width, kFrom.height, inFormat,
                            0, result->Bytes(), rowBytes(inTo), inTo.width, inTo.height, inFormat,
                            0, inQuality);
            benchmark::ClobberMemory();
        }
    };
}

// ---- zimg ---------------------------------------------------------------------------------------

class Zimg {
  public:
    Zimg(const Kind& inKind, const Size& inTo, zimg_resample_filter_e inFilter)
        : kind_(inKind), from_(kFrom, inKind), to_(inTo, inKind) {
        zimg_graph_builder_params parameters;
        zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
        parameters.resample_filter = parameters.resample_filter_uv = inFilter;
        const zimg_image_format from = FormatOf(kFrom), to = FormatOf(inTo);
        graph_.reset(zimg_filter_graph_build(&from, &to, &parameters));
        std::size_t bytes = 0;
        zimg_filter_graph_get_tmp_size(graph_.get(), &bytes);
        work_ = std::make_unique<Buffer>(bytes);
    }

    void Scale() const {
        const int count = IsYuv() ? 1 : kind_.planes;
        for (int i = 0; i < count; ++i) {
            zimg_image_buffer_const source{ZIMG_API_VERSION, {}};
            zimg_image_buffer result{ZIMG_API_VERSION, {}};
            for (int plane = 0; plane < (IsYuv() ? 3 : 1); ++plane) {
                const auto& from = from_.planes[static_cast<std::size_t>(i + plane)];
                const auto& to = to_.planes[static_cast<std::size_t>(i + plane)];
                source.plane[plane] = {from.buffer->Bytes(), from.stride, ZIMG_BUFFER_MAX};
                result.plane[plane] = {to.buffer->Bytes(), to.stride, ZIMG_BUFFER_MAX};
            }
            zimg_filter_graph_process(graph_.get(), &source, &result, work_->Bytes(), nullptr,
                                      nullptr, nullptr, nullptr);
        }
    }

  private:
    struct Plane {
        std::shared_ptr<Buffer> buffer;
        std::ptrdiff_t stride;
    };
    struct Planes {
        Planes(const Size& inSize, const Kind& inKind) {
            const int sampleBytes = inKind.depth > 16 ? 4 : inKind.depth > 8 ? 2 : 1;
            for (int i = 0; i < inKind.planes; ++i) {
                const bool isChroma = inKind.planes == 3 && i > 0;
                const Size size = {inSize.width >> (isChroma ? inKind.shiftX : 0),
                                   inSize.height >> (isChroma ? inKind.shiftY : 0), ""};
                const std::ptrdiff_t stride = (size.width * sampleBytes + 63) / 64 * 64;
                auto buffer = std::make_shared<Buffer>(static_cast<std::size_t>(stride) *
                                                       static_cast<std::size_t>(size.height));
                for (std::ptrdiff_t at = 0; sampleBytes == 4 && at < stride / 4 * size.height; ++at)
                    buffer->Floats()[at] = static_cast<float>(at % 1023) / 1023;
                planes.push_back({buffer, stride});
            }
        }
        std::vector<Plane> planes;
    };
    struct Free {
        void operator()(zimg_filter_graph* inGraph) const { zimg_filter_graph_free(inGraph); }
    };

    bool IsYuv() const { return kind_.planes == 3; }

    zimg_image_format FormatOf(const Size& inSize) const {
        zimg_image_format format;
        zimg_image_format_default(&format, ZIMG_API_VERSION);
        format.width = static_cast<unsigned>(inSize.width);
        format.height = static_cast<unsigned>(inSize.height);
        format.pixel_type = kind_.type;
        format.depth = kind_.depth;
        format.subsample_w = kind_.shiftX;
        format.subsample_h = kind_.shiftY;
        format.color_family = IsYuv() ? ZIMG_COLOR_YUV : ZIMG_COLOR_GREY;
        format.pixel_range = IsYuv() ? ZIMG_RANGE_LIMITED : ZIMG_RANGE_FULL;
        return format;
    }

    Kind kind_;
    Planes from_, to_;
    std::unique_ptr<zimg_filter_graph, Free> graph_;
    std::unique_ptr<Buffer> work_;
};

Contestant ZimgScale(const Kind& inKind, const Size& inTo, const Quality& inQuality) {
    return {"zimg, planes", [=](benchmark::State& state) {
                const Zimg zimg(inKind, inTo, inQuality.zimg);
                for (auto _ : state) {
                    zimg.Scale();
                    benchmark::ClobberMemory();
                }
            }};
}

// ---- Others -------------------------------------------------------------------------------------

// Pointers and strides of a picture without padding.
struct Layout {
    Layout(const Kind& inKind, const Buffer& inPicture, const Size& inSize) {
        const bool isPlanar = inKind.swscale == AV_PIX_FMT_YUV420P;
        std::uint8_t* const bytes = inPicture.Bytes();
        const int luma = inSize.width * inSize.height;
        start[0] = bytes;
        stride[0] = isPlanar                               ? inSize.width
                    : inKind.swscale == AV_PIX_FMT_UYVY422 ? 2 * inSize.width
                                                           : 4 * inSize.width;
        if (!isPlanar) return;
        start[1] = bytes + luma;
        start[2] = bytes + luma + luma / 4;
        stride[1] = stride[2] = inSize.width / 2;
    }
    std::uint8_t* start[4] = {};
    int stride[4] = {};
};

Contestant SwscaleScale(const Kind& inKind, const Size& inTo, const Quality& inQuality) {
    return {
        "libswscale", [=](benchmark::State& state) {
            const auto source = NewPicture(inKind, kFrom), result = NewPicture(inKind, inTo);
            const Layout from(inKind, *source, kFrom), to(inKind, *result, inTo);
            SwsContext* const context =
                sws_getContext(kFrom.width, kFrom.height, inKind.swscale, inTo.width, inTo.height,
                               inKind.swscale, inQuality.swscale, nullptr, nullptr, nullptr);
            for (auto _ : state) {
                sws_scale(context, from.start, from.stride, 0, kFrom.height, to.start, to.stride);
                benchmark::ClobberMemory();
            }
            sws_freeContext(context);
        }};
}

Contestant LibyuvScale(const Kind& inKind, const Size& inTo) {
    return {"libyuv, kFilterBox", [=](benchmark::State& state) {
                const auto source = NewPicture(inKind, kFrom), result = NewPicture(inKind, inTo);
                const Layout from(inKind, *source, kFrom), to(inKind, *result, inTo);
                for (auto _ : state) {
                    libyuv::I420Scale(from.start[0], from.stride[0], from.start[1], from.stride[1],
                                      from.start[2], from.stride[2], kFrom.width, kFrom.height,
                                      to.start[0], to.stride[0], to.start[1], to.stride[1],
                                      to.start[2], to.stride[2], inTo.width, inTo.height,
                                      libyuv::kFilterBox);
                    benchmark::ClobberMemory();
                }
            }};
}

Contestant OpenCvScale(const Kind& inKind, const Size& inTo, int inMode) {
    return {"OpenCV", [=](benchmark::State& state) {
                const auto source = NewPicture(inKind, kFrom), result = NewPicture(inKind, inTo);
                const cv::Mat in(kFrom.height, kFrom.width, CV_32FC4, source->Bytes());
                cv::Mat out(inTo.height, inTo.width, CV_32FC4, result->Bytes());
                cv::setNumThreads(1);
                for (auto _ : state) {
                    cv::resize(in, out, out.size(), 0, 0, inMode);
                    benchmark::ClobberMemory();
                }
            }};
}

void AddRowOf(const Kind& inKind, const Size& inTo, const Quality& inQuality) {
    std::vector<Contestant> peers;
    if (inKind.isOpaque) {
        peers.push_back(ZimgScale(inKind, inTo, inQuality));
        if (inKind.swscale != AV_PIX_FMT_NONE)
            peers.push_back(SwscaleScale(inKind, inTo, inQuality));
        if (inKind.hasLibyuv && inQuality.number == 2) peers.push_back(LibyuvScale(inKind, inTo));
        if (inKind.hasOpenCv) peers.push_back(OpenCvScale(inKind, inTo, inQuality.openCv));
    } else {
        constexpr SV_PixelFormat kOpaque{0x00C};
        peers.push_back({"ours, read as opaque", Ours(inKind, kOpaque, inTo, inQuality.number)});
    }
    AddRow(std::string("scale ") + inKind.name + " 1080p to " + inTo.name + ", quality " +
               std::to_string(inQuality.number),
           Ours(inKind, inKind.format, inTo, inQuality.number), peers);
}

}  // namespace

void AddScaleFormatRows() {
    for (const Kind& kind : kKinds) {
        for (const Quality& quality : kQualities) {
            for (const Size& to : kTo)
                AddRowOf(kind, to, quality);
        }
    }
}

}  // namespace bench

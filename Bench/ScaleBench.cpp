// Scales.
#include <libyuv.h>
#include <opencv2/imgproc.hpp>

#include "Pictures.h"
#include "Table.h"
#include "contracts/Scanvo.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace bench {
namespace {

constexpr auto kBgra = static_cast<SV_PixelFormat>(0x004);
constexpr auto kUyvy = static_cast<SV_PixelFormat>(0x211);
constexpr auto kFloatBgra = static_cast<SV_PixelFormat>(0x104);

constexpr std::uint8_t kOpaque = 255;
constexpr std::uint8_t kClear = 100;

// Two pictures that a scaling goes between.
struct Pair {
    Size from, to;
    std::shared_ptr<Buffer> source, result;

    std::string Name() const {
        const auto text = [](const Size& size) {
            return std::to_string(size.width) + "x" + std::to_string(size.height);
        };
        return text(from) + " to " + text(to);
    }
};

Pair MakePair(const Size& inFrom, const Size& inTo, std::uint8_t inAlpha) {
    Pair pair{inFrom, inTo, std::make_shared<Buffer>(PictureOf(inFrom, 4)),
              std::make_shared<Buffer>(PictureOf(inTo, 4))};
    for (std::int64_t i = 3; i < std::int64_t{4} * inFrom.width * inFrom.height; i += 4)
        pair.source->Bytes()[i] = inAlpha;
    return pair;
}

Pair MakeFloatPair(const Size& inFrom, const Size& inTo) {
    Pair pair{inFrom, inTo, std::make_shared<Buffer>(PictureOf(inFrom, 16)),
              std::make_shared<Buffer>(PictureOf(inTo, 16))};
    for (std::int64_t i = 0; i < std::int64_t{4} * inFrom.width * inFrom.height; ++i)
        pair.source->Floats()[i] = i % 4 == 3 ? 1.0f : static_cast<float>(i % 1023) / 1023;
    return pair;
}

// ---- Ours ---------------------------------------------------------------------------------------

Run Ours(const Pair& inPair, SV_PixelFormat inFrom, SV_PixelFormat inTo, std::int32_t inQuality) {
    return [=](benchmark::State& state) {
        const auto rowBytes = [](const Size& size, SV_PixelFormat format) {
            return std::int64_t{size.width} * (format == kUyvy ? 2 : format == kBgra ? 4 : 16);
        };
        const auto& [from, to, source, result] = inPair;
        for (auto _ : state) {
            SV_ScaleConvert(source->Bytes(), rowBytes(from, inFrom), from.width, from.height,
                            inFrom, 0, result->Bytes(), rowBytes(to, inTo), to.width, to.height,
                            inTo, 0, inQuality);
            benchmark::ClobberMemory();
        }
    };
}

// ---- Peers --------------------------------------------------------------------------------------

Contestant LibyuvScale(const Pair& inPair, libyuv::FilterMode inMode, const std::string& inName) {
    return {"libyuv " + inName, [=](benchmark::State& state) {
                const auto& [from, to, source, result] = inPair;
                for (auto _ : state) {
                    libyuv::ARGBScale(source->Bytes(), from.width * 4, from.width, from.height,
                                      result->Bytes(), to.width * 4, to.width, to.height, inMode);
                    benchmark::ClobberMemory();
                }
            }};
}

Contestant LibyuvUyvyScale(const Pair& inPair) {
    return {"libyuv UYVY, kFilterBox", [=](benchmark::State& state) {
                const auto& [from, to, source, result] = inPair;
                const Buffer middle = PictureOf(from, 4);
                for (auto _ : state) {
                    libyuv::UYVYToARGB(source->Bytes(), from.width * 2, middle.Bytes(),
                                       from.width * 4, from.width, from.height);
                    libyuv::ARGBScale(middle.Bytes(), from.width * 4, from.width, from.height,
                                      result->Bytes(), to.width * 4, to.width, to.height,
                                      libyuv::kFilterBox);
                    benchmark::ClobberMemory();
                }
            }};
}

Contestant OpenCv(const Pair& inPair, int inType, int inMode, const std::string& inName) {
    return {"OpenCV " + inName, [=](benchmark::State& state) {
                const auto& [from, to, source, result] = inPair;
                const cv::Mat in(from.height, from.width, inType, source->Bytes());
                cv::Mat out(to.height, to.width, inType, result->Bytes());
                cv::setNumThreads(1);
                for (auto _ : state) {
                    cv::resize(in, out, out.size(), 0, 0, inMode);
                    benchmark::ClobberMemory();
                }
            }};
}

Contestant Swscale(const Pair& inPair, int inFlags, const std::string& inName) {
    return {"libswscale " + inName, [=](benchmark::State& state) {
                const auto& [from, to, source, result] = inPair;
                SwsContext* const context =
                    sws_getContext(from.width, from.height, AV_PIX_FMT_BGRA, to.width, to.height,
                                   AV_PIX_FMT_BGRA, inFlags, nullptr, nullptr, nullptr);
                const std::uint8_t* const in[] = {source->Bytes()};
                std::uint8_t* const out[] = {result->Bytes()};
                const int inStride[] = {from.width * 4};
                const int outStride[] = {to.width * 4};
                for (auto _ : state) {
                    sws_scale(context, in, inStride, 0, from.height, out, outStride);
                    benchmark::ClobberMemory();
                }
                sws_freeContext(context);
            }};
}

// ---- Rows ---------------------------------------------------------------------------------------

void AddBgraRow(const Pair& inPair, std::int32_t inQuality, const std::vector<Contestant>& inPeers,
                const std::string& inNote = "") {
    AddRow("scale " + inPair.Name() + ", quality " + std::to_string(inQuality) + inNote,
           Ours(inPair, kBgra, kBgra, inQuality), inPeers);
}

void AddSizeRows(const Size& inFrom, const Size& inTo) {
    const Pair pair = MakePair(inFrom, inTo, kOpaque);
    const bool shrinks = inTo.width < inFrom.width;
    AddBgraRow(pair, 1,
               {LibyuvScale(pair, libyuv::kFilterNone, "kFilterNone"),
                OpenCv(pair, CV_8UC4, cv::INTER_NEAREST, "INTER_NEAREST")});
    AddBgraRow(pair, 2,
               {LibyuvScale(pair, libyuv::kFilterBilinear, "kFilterBilinear"),
                Swscale(pair, SWS_BILINEAR, "bilinear")});
    AddBgraRow(pair, 3,
               {shrinks ? OpenCv(pair, CV_8UC4, cv::INTER_AREA, "INTER_AREA")
                        : OpenCv(pair, CV_8UC4, cv::INTER_LINEAR, "INTER_LINEAR"),
                Swscale(pair, SWS_BILINEAR, "bilinear")});
    AddBgraRow(pair, 4,
               {OpenCv(pair, CV_8UC4, cv::INTER_CUBIC, "INTER_CUBIC"),
                Swscale(pair, SWS_BICUBIC, "bicubic")});
    AddBgraRow(pair, 5,
               {OpenCv(pair, CV_8UC4, cv::INTER_LANCZOS4, "INTER_LANCZOS4"),
                Swscale(pair, SWS_LANCZOS, "Lanczos")});
}

void AddHalfRows(const Size& inFrom) {
    const Size to{inFrom.width / 2, inFrom.height / 2, ""};
    const Pair pair = MakePair(inFrom, to, kOpaque);
    AddBgraRow(pair, 2,
               {LibyuvScale(pair, libyuv::kFilterBox, "kFilterBox"),
                OpenCv(pair, CV_8UC4, cv::INTER_AREA, "INTER_AREA")});
    AddRow("scale UYVY to BGRA " + pair.Name() + ", quality 2", Ours(pair, kUyvy, kBgra, 2),
           {LibyuvUyvyScale(pair)});
}

void AddFloatRow(const Size& inFrom, const Size& inTo) {
    const Pair pair = MakeFloatPair(inFrom, inTo);
    AddRow("scale float " + pair.Name() + ", quality 2", Ours(pair, kFloatBgra, kFloatBgra, 2),
           {OpenCv(pair, CV_32FC4, cv::INTER_LINEAR, "INTER_LINEAR")});
}

}  // namespace

void AddScaleRows() {
    constexpr Size k720p = {1280, 720, "720p"};
    constexpr Size k480p = {853, 480, "480p"};
    const auto& [k1080p, k2160p] = kSizes;
    AddHalfRows(k1080p);
    AddHalfRows(k2160p);
    AddSizeRows(k1080p, k480p);
    AddSizeRows(k720p, k1080p);
    const Pair clear = MakePair(k1080p, k480p, kClear);
    AddBgraRow(clear, 2, {}, ", translucent");
    AddFloatRow(k1080p, k480p);
    AddFloatRow(k720p, k1080p);
}

}  // namespace bench

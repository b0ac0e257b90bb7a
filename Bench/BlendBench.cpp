// Mixes, alpha operations, warps.
#include <libyuv.h>

#include <cstring>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "Pictures.h"
#include "Table.h"
#include "contracts/Scanvo.h"

namespace bench {
namespace {

constexpr auto kBgra = static_cast<SV_PixelFormat>(0x004);
constexpr auto kOpaqueBgra = static_cast<SV_PixelFormat>(0x00C);
constexpr float kPart = 0.3f;

// Two BGRA pictures, one to write to, and a mask of a bit or a byte for each pixel.
struct Work {
    explicit Work(const Size& inSize)
        : size(inSize),
          rowBytes(4 * inSize.width),
          first(PictureOf(inSize, 4)),
          second(PictureOf(inSize, 4)),
          output(PictureOf(inSize, 4)),
          bits(PictureOf(inSize, 1)),
          bytes(PictureOf(inSize, 1)) {
        const int pixels = inSize.width * inSize.height;
        for (int i = 0; i < pixels; ++i) {
            const bool isSet = (bits.Bytes()[i / 8] << i % 8 & 0x80) != 0;
            bytes.Bytes()[i] = isSet ? 255 : 0;
        }
        cv::setNumThreads(1);
    }

    cv::Mat Picture(const Buffer& inBuffer) const {
        return {size.height, size.width, CV_8UC4, inBuffer.Bytes()};
    }

    cv::Mat Plane(const Buffer& inBuffer) const {
        return {size.height, size.width, CV_8UC1, inBuffer.Bytes()};
    }

    Size size;
    int rowBytes;
    Buffer first, second, output, bits, bytes;
};

template <class Call>
Run Repeated(const Size& inSize, const Call& inCall) {
    return [=](benchmark::State& inState) {
        const Work work(inSize);
        for (auto _ : inState) {
            inCall(work);
            benchmark::ClobberMemory();
        }
    };
}

void Dissolve(const Work& inWork, float inAmount) {
    SV_CrossDissolve(inWork.first.Bytes(), inWork.rowBytes, kBgra, inWork.second.Bytes(),
                     inWork.rowBytes, kBgra, inWork.output.Bytes(), inWork.rowBytes, kBgra,
                     inWork.size.width, inWork.size.height, inAmount, 2);
}

void Interpolate(const Work& inWork, int inAmount) {
    libyuv::InterpolatePlane(inWork.first.Bytes(), inWork.rowBytes, inWork.second.Bytes(),
                             inWork.rowBytes, inWork.output.Bytes(), inWork.rowBytes,
                             inWork.rowBytes, inWork.size.height, inAmount);
}

void AddWeighted(const Work& inWork, double inAmount) {
    cv::Mat output = inWork.Picture(inWork.output);
    cv::addWeighted(inWork.Picture(inWork.first), 1 - inAmount, inWork.Picture(inWork.second),
                    inAmount, 0, output);
}

void AddMixRows(const Size& inSize) {
    const std::string name = std::string(" BGRA ") + inSize.name;
    AddRow("half mix" + name, Repeated(inSize, [](const Work& work) { Dissolve(work, 0.5f); }),
           {{"libyuv ARGBInterpolate", Repeated(inSize,
                                                [](const Work& work) {
                                                    libyuv::ARGBInterpolate(
                                                        work.first.Bytes(), work.rowBytes,
                                                        work.second.Bytes(), work.rowBytes,
                                                        work.output.Bytes(), work.rowBytes,
                                                        work.size.width, work.size.height, 128);
                                                })},
            {"libyuv InterpolatePlane",
             Repeated(inSize, [](const Work& work) { Interpolate(work, 128); })},
            {"OpenCV addWeighted",
             Repeated(inSize, [](const Work& work) { AddWeighted(work, 0.5); })}});
    AddRow("0.3 mix" + name, Repeated(inSize, [](const Work& work) { Dissolve(work, kPart); }),
           {{"libyuv InterpolatePlane",
             Repeated(inSize, [](const Work& work) { Interpolate(work, 77); })},
            {"OpenCV addWeighted",
             Repeated(inSize, [](const Work& work) { AddWeighted(work, kPart); })}});
}

void CompositeByMask(const Work& inWork) {
    SV_OneBitMaskComposite(inWork.first.Bytes(), inWork.rowBytes, kBgra, inWork.output.Bytes(),
                           inWork.rowBytes, kBgra, inWork.bits.Bytes(), inWork.size.width / 8, 0,
                           inWork.output.Bytes(), inWork.rowBytes, kBgra, inWork.size.width,
                           inWork.size.height, 2);
}

void CopyByMask(const Work& inWork) {
    cv::Mat output = inWork.Picture(inWork.output);
    inWork.Picture(inWork.first)
        .copyTo(output,
                cv::Mat(inWork.size.height, inWork.size.width, CV_8UC1, inWork.bytes.Bytes()));
}

void SetAlpha(const Work& inWork, const Buffer& inSource) {
    SV_CopyAndSetAlpha(inSource.Bytes(), inWork.rowBytes, inWork.output.Bytes(), inWork.rowBytes,
                       kBgra, inWork.size.width, inWork.size.height, kPart);
}

void CopyYToAlpha(const Work& inWork) {
    libyuv::ARGBCopyYToAlpha(inWork.bytes.Bytes(), inWork.size.width, inWork.output.Bytes(),
                             inWork.rowBytes, inWork.size.width, inWork.size.height);
}

void InsertAlpha(const Work& inWork) {
    cv::Mat output = inWork.Picture(inWork.output);
    cv::insertChannel(inWork.Plane(inWork.bytes), output, 3);
}

void AddAlphaRows(const Size& inSize) {
    const std::string name = std::string(" BGRA ") + inSize.name;
    AddRow("1-bit mask composite" + name, Repeated(inSize, CompositeByMask),
           {{"OpenCV copyTo, 8-bit mask", Repeated(inSize, CopyByMask)}});
    AddRow("composite to black" + name,
           Repeated(inSize,
                    [](const Work& work) {
                        SV_CompositeToBlack(work.first.Bytes(), work.rowBytes, kBgra,
                                            work.output.Bytes(), work.rowBytes, kBgra,
                                            work.size.width, work.size.height, 1, 2);
                    }),
           {{"libyuv ARGBAttenuate", Repeated(inSize, [](const Work& work) {
                 libyuv::ARGBAttenuate(work.first.Bytes(), work.rowBytes, work.output.Bytes(),
                                       work.rowBytes, work.size.width, work.size.height);
             })}});
    AddRow("set alpha in place" + name,
           Repeated(inSize, [](const Work& work) { SetAlpha(work, work.output); }),
           {{"libyuv ARGBCopyYToAlpha", Repeated(inSize, CopyYToAlpha)},
            {"OpenCV insertChannel", Repeated(inSize, InsertAlpha)}});
    AddRow("copy and set alpha" + name,
           Repeated(inSize, [](const Work& work) { SetAlpha(work, work.first); }),
           {{"libyuv ARGBCopy, ARGBCopyYToAlpha", Repeated(inSize, [](const Work& work) {
                 libyuv::ARGBCopy(work.first.Bytes(), work.rowBytes, work.output.Bytes(),
                                  work.rowBytes, work.size.width, work.size.height);
                 CopyYToAlpha(work);
             })}});
}

// Corners of a picture drawn in perspective, as parts of its size.
constexpr double kCorners[4][2] = {{0.05, 0.02}, {0.97, 0.08}, {0.93, 0.99}, {0.01, 0.90}};

// A format and the same in OpenCV.
struct WarpKind {
    const char* name;
    SV_PixelFormat format;
    std::int32_t opacity;
    int matrix;
    std::size_t pixelBytes;
};
constexpr WarpKind kWarps[] = {
    {"BGRX", kOpaqueBgra, 255, CV_8UC4, 4},
    {"BGRA, weighed by alpha,", kBgra, 255, CV_8UC4, 4},
    {"BGRX at half opacity", kOpaqueBgra, 128, CV_8UC4, 4},
    {"BGRX 15-bit", SV_PixelFormat{0x08C}, 255, CV_16UC4, 8},
    {"BGRX float", SV_PixelFormat{0x10C}, 255, CV_32FC4, 16},
    {"UYVY", SV_PixelFormat{0x211}, 255, -1, 2},
};

// Pictures of a kind, and where the corners go.
struct WarpWork {
    WarpWork(const WarpKind& inKind, const Size& inSize)
        : kind(inKind),
          size(inSize),
          source(PictureOf(inSize, inKind.pixelBytes)),
          output(PictureOf(inSize, inKind.pixelBytes)) {
        if (inKind.matrix == CV_32FC4) {
            for (int i = 0; i < 4 * inSize.width * inSize.height; ++i)
                source.Floats()[i] = output.Floats()[i] = static_cast<float>(i % 1023) / 1023;
        }
        cv::setNumThreads(1);
    }

    WarpKind kind;
    Size size;
    Buffer source, output;
};

void Warp(const WarpWork& inWork) {
    const auto [width, height, name] = inWork.size;
    const SV_Rect rect = {0, 0, width, height};
    const double w = width, h = height;
    const SV_Point from[] = {{0, 0}, {w, 0}, {w, h}, {0, h}};
    SV_Point to[4];
    for (std::size_t i = 0; i < 4; ++i)
        to[i] = {kCorners[i][0] * w, kCorners[i][1] * h};
    const auto rowBytes = static_cast<std::int64_t>(inWork.kind.pixelBytes) * width;
    SV_WarpAffineQuad(width, height, inWork.source.Bytes(), rowBytes, &rect, from,
                      inWork.output.Bytes(), rowBytes, &rect, to, 2, inWork.kind.opacity, 1, 1,
                      inWork.kind.format, 0, 0, 1, 0);
}

void WarpPerspective(const WarpWork& inWork) {
    const auto w = static_cast<float>(inWork.size.width);
    const auto h = static_cast<float>(inWork.size.height);
    // Its coordinates are those of pixel centres.
    const cv::Point2f half(0.5f, 0.5f);
    const cv::Point2f from[] = {cv::Point2f(0, 0) - half, cv::Point2f(w, 0) - half,
                                cv::Point2f(w, h) - half, cv::Point2f(0, h) - half};
    cv::Point2f to[4];
    for (std::size_t i = 0; i < 4; ++i) {
        to[i] = cv::Point2f(static_cast<float>(kCorners[i][0]) * w,
                            static_cast<float>(kCorners[i][1]) * h) -
                half;
    }
    const auto picture = [&](const Buffer& buffer) {
        return cv::Mat(inWork.size.height, inWork.size.width, inWork.kind.matrix, buffer.Bytes());
    };
    cv::Mat output = picture(inWork.output);
    cv::warpPerspective(picture(inWork.source), output, cv::getPerspectiveTransform(from, to),
                        output.size(), cv::INTER_LINEAR, cv::BORDER_TRANSPARENT);
}

void AddWarpRows(const Size& inSize) {
    for (const WarpKind& kind : kWarps) {
        const auto repeated = [&](void (*warp)(const WarpWork&)) -> Run {
            return [=](benchmark::State& state) {
                const WarpWork work(kind, inSize);
                for (auto _ : state) {
                    warp(work);
                    benchmark::ClobberMemory();
                }
            };
        };
        std::vector<Contestant> peers;
        if (kind.matrix >= 0)
            peers.push_back({"OpenCV warpPerspective", repeated(WarpPerspective)});
        AddRow(std::string("quad warp ") + kind.name + " " + inSize.name, repeated(Warp), peers);
    }
}

// A planar picture filled, mixed and laid over black, beside the same bytes set and copied.
void AddPlanarRows(const Size& inSize) {
    constexpr SV_PixelFormat k420{0x0A000031};
    const std::string name = std::string(" 4:2:0 ") + inSize.name;
    const auto bytes = [](const Work& work) {
        return static_cast<std::size_t>(work.size.width) *
               static_cast<std::size_t>(work.size.height) * 3 / 2;
    };
    AddRow("fill" + name,
           Repeated(inSize,
                    [](const Work& work) {
                        SV_FillWithOpaqueBlack(work.output.Bytes(), 0, work.size.width,
                                               work.size.height, k420);
                    }),
           {{"memset", Repeated(inSize, [=](const Work& work) {
                 std::memset(work.output.Bytes(), 16, bytes(work));
             })}});
    AddRow("mix" + name,
           Repeated(inSize,
                    [](const Work& work) {
                        SV_CrossDissolve(work.first.Bytes(), 0, k420, work.second.Bytes(), 0, k420,
                                         work.output.Bytes(), 0, k420, work.size.width,
                                         work.size.height, kPart, 2);
                    }),
           {{"libyuv InterpolatePlane", Repeated(inSize, [=](const Work& work) {
                 const int width = work.size.width, rows = work.size.height * 3 / 2;
                 libyuv::InterpolatePlane(work.first.Bytes(), width, work.second.Bytes(), width,
                                          work.output.Bytes(), width, width, rows,
                                          static_cast<int>(256 * kPart));
             })}});
}

}  // namespace

void AddBlendRows() {
    for (const Size& size : kSizes) {
        AddMixRows(size);
        AddAlphaRows(size);
        AddWarpRows(size);
        AddPlanarRows(size);
    }
}

}  // namespace bench

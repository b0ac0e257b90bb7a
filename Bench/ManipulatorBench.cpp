// The frame manipulators beside the renderer calls that they make, and beside other filters.
#include <VideoFrame/VideoFrame.h>

#include <cstring>
#include <opencv2/imgproc.hpp>

#include "Pictures.h"
#include "Table.h"
#include "contracts/Scanvo.h"

namespace bench {
namespace {

namespace manipulators = VF::VideoFrameManipulators;

/// Two frames of one size, and what a plain call needs to know of them.
struct Frames {
    VF::VideoFrameRef first, second;
    std::uint8_t* source;
    std::uint8_t* destination;
    std::int64_t rowBytes;
    Size size;

    explicit Frames(const Size& inSize) : size(inSize) {
        first = Make(source);
        second = Make(destination);
        rowBytes = std::int64_t{4} * size.width;
    }
    cv::Mat Source() const { return {size.height, size.width, CV_8UC4, source}; }
    cv::Mat Destination() const { return {size.height, size.width, CV_8UC4, destination}; }

  private:
    VF::VideoFrameRef Make(std::uint8_t*& outData) const {
        VF::VideoFrameRef frame;
        VF::CreateVideoFrame(frame, tulomediatypes::kPixelFormat_BGRA_4444_8u,
                             static_cast<std::uint32_t>(size.width),
                             static_cast<std::uint32_t>(size.height), {1, 1}, false, false);
        frame->SetFieldType(1);
        outData = static_cast<std::uint8_t*>(
            Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame)->GetData());
        const Buffer noise = PictureOf(size, 4);
        std::memcpy(
            outData, noise.Bytes(),
            static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 4);
        return frame;
    }
};

template <class Work>
Run Over(const Size& inSize, const Work& inWork) {
    return [inSize, inWork](benchmark::State& inState) {
        const Frames frames(inSize);
        cv::setNumThreads(1);
        for (auto _ : inState) {
            inWork(frames);
            benchmark::ClobberMemory();
        }
    };
}

constexpr SV_PixelFormat kBgra{4};
constexpr const char* kDirect = "renderer call";

void Scale(const Frames& inFrames, std::int32_t inFirstRow, std::int32_t inStep) {
    const std::int64_t start = inFrames.rowBytes * inFirstRow;
    const std::int64_t rowBytes = inFrames.rowBytes * inStep;
    const std::int32_t height = inFrames.size.height / inStep;
    SV_ScaleConvert(inFrames.source + start, rowBytes, inFrames.size.width, height, kBgra, 0,
                    inFrames.destination + start, rowBytes, inFrames.size.width, height, kBgra, 0,
                    4);
}

void MixRows(const Frames& inFrames) {
    const std::int64_t row = inFrames.rowBytes;
    std::uint8_t* const data = inFrames.destination;
    SV_CrossDissolve(data + row, 2 * row, kBgra, data + 3 * row, 2 * row, kBgra, data + 2 * row,
                     2 * row, kBgra, inFrames.size.width, inFrames.size.height / 2 - 1, 0.5f, 4);
}

// The rows of one field as a picture of their own.
cv::Mat EveryOtherRow(const Frames& inFrames, std::int32_t inFirst) {
    const auto row = static_cast<std::size_t>(inFrames.rowBytes);
    return {inFrames.size.height / 2 - 1, inFrames.size.width, CV_8UC4,
            inFrames.destination + row * static_cast<std::size_t>(inFirst), 2 * row};
}

void BlendRows(const Frames& inFrames) {
    cv::Mat out = EveryOtherRow(inFrames, 2);
    cv::addWeighted(EveryOtherRow(inFrames, 1), 0.5, EveryOtherRow(inFrames, 3), 0.5, 0, out);
}

void FilterRows(const Frames& inFrames) {
    static const cv::Mat along = (cv::Mat_<float>(1, 1) << 1);
    static const cv::Mat across = (cv::Mat_<float>(3, 1) << 0.25f, 0.5f, 0.25f);
    cv::Mat out = inFrames.Destination();
    cv::sepFilter2D(inFrames.Source(), out, -1, along, across, {-1, -1}, 0, cv::BORDER_REPLICATE);
}

void MakeTransparent(const Frames& inFrames) {
    std::memset(inFrames.source, 0,
                static_cast<std::size_t>(inFrames.rowBytes) *
                    static_cast<std::size_t>(inFrames.size.height));
}

Run SearchTransparent(const Size& inSize) {
    return [inSize](benchmark::State& inState) {
        const Frames frames(inSize);
        MakeTransparent(frames);
        for (auto _ : inState) {
            Brix::Rect bounds;
            manipulators::CalculateAlphaBounds(frames.first, bounds);
            benchmark::DoNotOptimize(bounds);
        }
    };
}

}  // namespace

void AddManipulatorRows() {
    for (const Size& size : kSizes) {
        const std::string of = std::string(", ") + size.name;
        const Brix::Rect whole{0, 0, size.width, size.height};
        AddRow("CopyRect" + of,
               Over(size,
                    [whole](const Frames& frames) {
                        manipulators::CopyRect(frames.first, whole, frames.second, whole, 4, 3);
                    }),
               {{kDirect, Over(size, [](const Frames& frames) { Scale(frames, 0, 1); })}});
        AddRow("CopyFrame" + of,
               Over(size,
                    [](const Frames& frames) {
                        manipulators::CopyFrame(frames.first, frames.second, 4);
                    }),
               {{kDirect, Over(size, [](const Frames& frames) { Scale(frames, 0, 1); })}});
        AddRow("CopyField" + of,
               Over(size,
                    [](const Frames& frames) {
                        manipulators::CopyField(frames.first, frames.second, 0, 4);
                    }),
               {{kDirect, Over(size, [](const Frames& frames) { Scale(frames, 1, 2); })}});
        AddRow("DeinterlaceVideoFrame" + of,
               Over(size,
                    [](const Frames& frames) {
                        frames.second->SetFieldType(1);
                        manipulators::DeinterlaceVideoFrame(frames.second, 0);
                    }),
               {{kDirect, Over(size, MixRows)}, {"OpenCV addWeighted", Over(size, BlendRows)}});
        AddRow("VerticalConvolve" + of,
               Over(size,
                    [](const Frames& frames) {
                        manipulators::VerticalConvolve(frames.first, frames.second);
                    }),
               {{"OpenCV sepFilter2D", Over(size, FilterRows)}});
        AddRow("CalculateAlphaBounds, transparent" + of, SearchTransparent(size),
               {{"memcpy", Over(size, [](const Frames& frames) {
                     std::memcpy(frames.destination, frames.source,
                                 static_cast<std::size_t>(frames.rowBytes) *
                                     static_cast<std::size_t>(frames.size.height));
                 })}});
    }
}

}  // namespace bench

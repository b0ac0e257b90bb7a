// Frames: making them, asking them.
extern "C" {
#include <libavutil/buffer.h>
}
#include <VideoFrame/VideoFrame.h>
#include <sys/resource.h>

#include "Table.h"

namespace bench {
namespace {

constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;

VF::VideoFrameRef MakeFrame() {
    VF::VideoFrameRef frame;
    VF::CreateVideoFrame(frame, tulomediatypes::kPixelFormat_BGRA_4444_8u, kWidth, kHeight, {1, 1},
                         false, false);
    return frame;
}

void CreateAndRelease(benchmark::State& inState) {
    for (auto _ : inState)
        benchmark::DoNotOptimize(MakeFrame().Get());
}

void PoolGetAndUnref(benchmark::State& inState) {
    AVBufferPool* pool = av_buffer_pool_init(kWidth * kHeight * 4 + 128, nullptr);
    for (auto _ : inState) {
        AVBufferRef* buffer = av_buffer_pool_get(pool);
        benchmark::DoNotOptimize(buffer->data);
        av_buffer_unref(&buffer);
    }
    av_buffer_pool_uninit(&pool);
}

// What any call through a table costs.
struct Plain {
    virtual int Get() = 0;
    virtual ~Plain() = default;
};
struct PlainImplementation final : Plain {
    int value = 1;
    int Get() override { return value; }
};

void PlainVirtualCall(benchmark::State& inState) {
    PlainImplementation object;
    Plain* plain = &object;
    benchmark::DoNotOptimize(plain);
    for (auto _ : inState)
        benchmark::DoNotOptimize(plain->Get());
}

Run OverOneFrame(void (*inWork)(OV::IVideoFrame&)) {
    return [inWork](benchmark::State& inState) {
        const VF::VideoFrameRef frame = MakeFrame();
        OV::IVideoFrame* object = frame.Get();
        benchmark::DoNotOptimize(object);
        for (auto _ : inState)
            inWork(*object);
    };
}

std::vector<std::string> CountPageFaults() {
    const auto faults = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_minflt;
    };
    const auto makeAndTouch = [] {
        const VF::VideoFrameRef frame = MakeFrame();
        const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame);
        auto* const bytes = static_cast<volatile char*>(memory->GetData());
        for (std::size_t i = 0; i < kWidth * kHeight * 4; i += 4096)
            bytes[i] = 1;
    };
    makeAndTouch();
    const long before = faults();
    for (int i = 0; i < 1000; ++i)
        makeAndTouch();
    return {"1,000 frames made, every page touched: " + std::to_string(faults() - before) +
            " page faults after the first frame"};
}

}  // namespace

void AddFrameRows() {
    AddRow("create and release a 1080p BGRA frame, uncleared", CreateAndRelease,
           {{"FFmpeg buffer pool", PoolGetAndUnref}});
    const std::vector<Contestant> plainCall = {{"plain virtual call", PlainVirtualCall}};
    AddRow("property read (GetFieldType)", OverOneFrame([](OV::IVideoFrame& inFrame) {
               benchmark::DoNotOptimize(inFrame.GetFieldType());
           }),
           plainCall);
    AddRow("AddRef and Release", OverOneFrame([](OV::IVideoFrame& inFrame) {
               inFrame.AddRef();
               inFrame.Release();
           }),
           plainCall);
    AddRow("QueryInterface and Release (two-dimensional access)",
           OverOneFrame([](OV::IVideoFrame& inFrame) {
               void* view = nullptr;
               inFrame.QueryInterface(VF::IVideoFrame2DPixelMemoryAccess::kInterfaceId, &view);
               static_cast<VF::IVideoFrame2DPixelMemoryAccess*>(view)->Release();
           }),
           plainCall);
    AddFigures("page faults of frames from a warm recycler", CountPageFaults);
}

}  // namespace bench

// Records and effect worlds of older code.
#include <VideoFrame/VideoFrame.h>

#include <algorithm>
#include <random>
#include <unordered_map>

#include "Table.h"

namespace bench {
namespace {

constexpr std::size_t kLive = 10'000;
constexpr tagRECT kPicture = {0, 0, 1920, 1080};

VF::VideoFrameRef MakeFrame() {
    VF::VideoFrameRef frame;
    VF::CreateVideoFrame(frame, tulomediatypes::kPixelFormat_BGRA_4444_8u, 16, 16, {1, 1}, false,
                         false);
    return frame;
}

// ---- Many at a time -----------------------------------------------------------------------------

/// Records over one frame, in random order.
class LiveRecords {
  public:
    LiveRecords() {
        const VF::VideoFrameRef frame = MakeFrame();
        for (std::size_t i = 0; i < kLive; ++i)
            handles_.push_back(VF::NewTPixFromVideoFrame(frame));
        std::ranges::shuffle(handles_, std::mt19937(1));
    }
    ~LiveRecords() {
        for (const TPixHand handle : handles_)
            VF::DisposeTPixFromVideoFrame(handle);
    }
    LiveRecords(const LiveRecords&) = delete;
    LiveRecords& operator=(const LiveRecords&) = delete;

    const std::vector<TPixHand>& Keys() const { return handles_; }

  private:
    std::vector<TPixHand> handles_;
};

/// Worlds, each over a frame of its own, in random order.
class LiveWorlds {
  public:
    LiveWorlds() {
        for (std::size_t i = 0; i < kLive; ++i) {
            GF_LayerDef world;
            VF::NewGF_WorldWithNewVideoFrame(16, 16, tulomediatypes::kPixelFormat_BGRA_4444_8u,
                                             {1, 1}, world);
            pixels_.push_back(world.pixelData);
        }
        std::ranges::shuffle(pixels_, std::mt19937(1));
    }
    ~LiveWorlds() {
        for (GF_Pixel* const pixels : pixels_)
            VF::DisposeGF_WorldFromVideoFrame(pixels);
    }
    LiveWorlds(const LiveWorlds&) = delete;
    LiveWorlds& operator=(const LiveWorlds&) = delete;

    const std::vector<GF_Pixel*>& Keys() const { return pixels_; }

  private:
    std::vector<GF_Pixel*> pixels_;
};

void MakeRecord(benchmark::State& inState) {
    const LiveRecords live;
    const VF::VideoFrameRef frame = MakeFrame();
    for (auto _ : inState)
        VF::DisposeTPixFromVideoFrame(VF::NewTPixFromVideoFrame(frame));
}

void MakeWorld(benchmark::State& inState) {
    const LiveWorlds live;
    const VF::VideoFrameRef frame = MakeFrame();
    for (auto _ : inState) {
        GF_LayerDef world;
        VF::NewGF_WorldFromExistingVideoFrame(frame, world, false, 0, 0);
        VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
    }
}

/// Asks about one live object after the other.
template <class Live, class Ask>
Run LookUp(const Ask& inAsk) {
    return [=](benchmark::State& state) {
        const Live live;
        std::size_t next = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(inAsk(live.Keys()[next]).Get());
            next = next + 1 == kLive ? 0 : next + 1;
        }
    };
}

void FindInTable(benchmark::State& inState) {
    const LiveRecords live;
    std::unordered_map<TPixHand, VF::VideoFrameRef> table;
    const VF::VideoFrameRef frame = MakeFrame();
    for (const TPixHand handle : live.Keys())
        table.emplace(handle, frame);
    std::size_t next = 0;
    for (auto _ : inState) {
        const VF::VideoFrameRef found = table.find(live.Keys()[next])->second;
        benchmark::DoNotOptimize(found.Get());
        next = next + 1 == kLive ? 0 : next + 1;
    }
}

// ---- Pixels -------------------------------------------------------------------------------------

template <class Work>
Run OverPicture(const Work& inWork) {
    return [=](benchmark::State& state) {
        const TPixHand handle = tpixNew(&kPicture);
        tpixFillAlpha(handle, 1);
        for (auto _ : state) {
            inWork(handle);
            benchmark::ClobberMemory();
        }
        tpixDispose(handle);
    };
}

void FillByPlainLoop(TPixHand inHandle) {
    const TPix& record = **inHandle;
    for (std::int32_t y = 0; y < kPicture.bottom; ++y) {
        std::uint8_t* const line = record.pixels + y * record.rowbytes;
        for (std::int32_t x = 0; x < kPicture.right; ++x)
            line[4 * x + 3] = 77;
    }
}

void SumByGetPixel(TPixHand inHandle) {
    std::uint32_t sum = 0;
    for (std::int32_t y = 0; y < kPicture.bottom; ++y) {
        for (std::int32_t x = 0; x < kPicture.right; ++x)
            sum += tpixGetPixel(inHandle, x, y);
    }
    benchmark::DoNotOptimize(sum);
}

void SumByPlainLoop(TPixHand inHandle) {
    const TPix& record = **inHandle;
    std::uint32_t sum = 0;
    for (std::int32_t y = 0; y < kPicture.bottom; ++y) {
        const auto* const line =
            reinterpret_cast<const std::uint32_t*>(record.pixels + y * record.rowbytes);
        for (std::int32_t x = 0; x < kPicture.right; ++x) {
            std::uint32_t pixel = line[x];
            benchmark::DoNotOptimize(pixel);  // one at a time, as the other loop has them
            sum += pixel & 0xFFFFFF;
        }
    }
    benchmark::DoNotOptimize(sum);
}

}  // namespace

void AddBridgeRows() {
    AddRow("make and dispose of a TPix over a frame, 10,000 live", MakeRecord, {});
    AddRow("make and dispose of an effect world, 10,000 live", MakeWorld, {});
    AddRow("frame of a TPix, 10,000 live", LookUp<LiveRecords>(&VF::GetVideoFrameFromTPix),
           {{"std::unordered_map, no lock", FindInTable}});
    AddRow("memory of an effect world, 10,000 live",
           LookUp<LiveWorlds>(&VF::GetGFWorldFrameMapping), {});
    AddRow("tpixFillAlpha, 1080p",
           OverPicture([](TPixHand inHandle) { tpixFillAlpha(inHandle, 77); }),
           {{"plain loop", OverPicture(FillByPlainLoop)}});
    AddRow("tpixGetPixel of every pixel, 1080p", OverPicture(SumByGetPixel),
           {{"plain loop", OverPicture(SumByPlainLoop)}});
}

}  // namespace bench

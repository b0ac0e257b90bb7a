// Four cameras that publish 60 frames a second, and a process that composes what they publish.
#include <VideoFrame/VideoFrame.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <list>

#include "Processes.h"
#include "Table.h"
#include "contracts/Scanvo.h"

namespace bench {
namespace {

using tulocore::utility::Guid;
using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC, in all processes

constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;
constexpr auto kFormat = tulomediatypes::kPixelFormat_BGRA_4444_8u;
constexpr auto kRendererFormat = static_cast<SV_PixelFormat>(0x004);

constexpr std::uint32_t kCameras = 4;
constexpr std::uint32_t kTicksASecond = 60;
constexpr std::uint32_t kTicks = 10 * kTicksASecond;
constexpr std::uint64_t kCacheBytes = std::uint64_t{128} << 20;

Clock::time_point TimeOf(Clock::time_point inStart, std::uint32_t inTick) {
    return inStart + std::chrono::nanoseconds(1'000'000'000ULL * inTick / kTicksASecond);
}

/// An opaque one, not black, that no other camera and no other tick has.
std::uint32_t ColourOf(std::uint32_t inCamera, std::uint32_t inTick) {
    return 0xFF000000 | (inTick * kCameras + inCamera + 1) * 0x010307;
}

// ---------------------------------------------------------------------------------------------
// A camera

struct Order {
    Clock::time_point start;
};

struct Report {
    Guid guid;  // nil: not published
    bool wasLate = false;
};

void SleepUntil(Clock::time_point inTime) {
    using namespace std::chrono;
    const auto sinceStart = duration_cast<nanoseconds>(inTime.time_since_epoch()).count();
    const timespec time{sinceStart / 1'000'000'000, sinceStart % 1'000'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) == EINTR) {
    }
}

bool PublishTick(std::uint32_t inCamera, std::uint32_t inTick, const Guid& inGuid) {
    VF::VideoFrameRef frame;
    VF::CreateVideoFrame(frame, kFormat, kWidth, kHeight, {1, 1}, false, false);
    const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame);
    const auto rows = Brix::QueryInterface<VF::IVideoFrame2DPixelMemoryAccess>(frame);
    if (!memory || !rows || !Brix::QueryInterface<VF::IPublishableVideoFrame>(frame)) return false;
    const std::uint32_t colour = ColourOf(inCamera, inTick);
    SV_FillWithColor(memory->GetData(), rows->GetRowBytes(), kWidth, kHeight, kRendererFormat,
                     &colour, kRendererFormat);
    return VF::PublishVideoFrame(frame, inGuid) == 0;
}

void Film(std::uint32_t inCamera, int inOrders, int inReports) {
    VF::Initialize();
    VF::SetCreatePublishableVideoFrames(true);
    Order order;
    while (read(inOrders, &order, sizeof(order)) == sizeof(order)) {
        for (std::uint32_t tick = 0; tick < kTicks; ++tick) {
            SleepUntil(TimeOf(order.start, tick));
            Report report;
            report.wasLate = Clock::now() > TimeOf(order.start, tick + 1);
            if (const Guid guid = Guid::Generate(); PublishTick(inCamera, tick, guid))
                report.guid = guid;
            if (write(inReports, &report, sizeof(report)) != sizeof(report)) break;
        }
    }
    VF::Shutdown();
}

std::list<Process>& Cameras() {
    static std::list<Process> cameras;
    return cameras;
}

void StartCameras() {
    for (std::uint32_t camera = 0; camera < kCameras; ++camera) {
        Cameras().emplace_back([camera](int inFrom, int inTo) { Film(camera, inFrom, inTo); });
    }
}

// ---------------------------------------------------------------------------------------------
// The composer

/// What a cell shows, from its middle.
std::uint32_t ColourOfCell(const VF::VideoFrameRef& inGrid, std::uint32_t inCell) {
    const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(inGrid);
    const auto rows = Brix::QueryInterface<VF::IVideoFrame2DPixelMemoryAccess>(inGrid);
    const std::size_t x = kWidth / 4 + inCell % 2 * kWidth / 2;
    const std::size_t y = kHeight / 4 + inCell / 2 * kHeight / 2;
    const std::size_t memoryRow = kHeight - 1 - y;
    std::uint32_t colour = 0;
    std::memcpy(&colour,
                static_cast<const std::byte*>(memory->GetData()) + memoryRow * rows->GetRowBytes() +
                    x * sizeof(colour),
                sizeof(colour));
    return colour;
}

/// Through the cache; null when the frame is not to be had.
VF::VideoFrameRef Receive(const Guid& inGuid) {
    processcoordination::BinaryReferencePtr reference;
    VF::VideoFrameRef frame;
    if (processcoordination::GetBinaryDataIfAvailable(inGuid, reference) != 0 ||
        VF::WrapVideoFrameAroundBinaryReference(reference, inGuid, frame) != 0)
        return nullptr;
    VF::SharedVideoFrameCache::InsertIntoCache(frame, inGuid, 0);
    return VF::SharedVideoFrameCache::RetrieveFromCache(inGuid);
}

VF::VideoFrameRef Compose(const std::vector<VF::VideoFrameRef>& inSources) {
    VF::MultiCamRenderParams params;
    params.width = kWidth;
    params.height = kHeight;
    params.pixelAspectRatio = {1, 1};
    params.pixelFormat = kFormat;
    params.scaleX = params.scaleY = 1;
    return VF::RenderMulticam(inSources, 0, false, true, params, true);
}

class Session {
  public:
    std::vector<std::string> Run() {
        const auto manager = OV::GetMediaManager();
        const std::uint64_t budget = manager->GetBudget();
        manager->SetBudget(kCacheBytes);
        NoteMemory("before");
        const bool finished = RunTicks();
        manager->Purge();
        manager->SetBudget(budget);
        if (!finished) return {"a camera has gone"};
        return Lines();
    }

  private:
    // False when a camera has gone.
    bool RunTicks() {
        const Clock::time_point start = Clock::now() + std::chrono::milliseconds(100);
        for (const Process& camera : Cameras()) {
            if (!camera.Send(Order{start})) return false;
        }
        for (std::uint32_t tick = 0; tick < kTicks; ++tick) {
            std::vector<VF::VideoFrameRef> sources;
            if (!ReceiveTick(sources)) return false;
            const Clock::time_point begun = Clock::now();
            const VF::VideoFrameRef grid = Compose(sources);
            const Clock::time_point done = Clock::now();
            composing_.push_back(done - begun);
            untilDone_.push_back(done - TimeOf(start, tick));
            if (grid) Check(grid, tick);
            tulocore::threads::RunMainThreadCalls();
            if (tick + 1 == kTicksASecond) NoteMemory("after 1 s");
        }
        NoteMemory("after 10 s");
        return true;
    }

    bool ReceiveTick(std::vector<VF::VideoFrameRef>& outSources) {
        for (const Process& camera : Cameras()) {
            Report report;
            if (!camera.Take(report)) return false;
            published_ += !(report.guid == Guid());
            late_ += report.wasLate;
            outSources.push_back(Receive(report.guid));
        }
        return true;
    }

    // A cell without its frame is black, and no camera's colour is.
    void Check(const VF::VideoFrameRef& inGrid, std::uint32_t inTick) {
        ++composed_;
        for (std::uint32_t camera = 0; camera < kCameras; ++camera)
            shown_ += ColourOfCell(inGrid, camera) == ColourOf(camera, inTick);
    }

    // This process holds pictures of other rows as well.
    void NoteMemory(const std::string& inWhen) {
        memory_.push_back(inWhen + ": " + MebibyteText(processcoordination::CountSharedBytes()) +
                          " of shared memory, composer " + MebibyteText(ResidentBytes()));
    }

    static std::string Milliseconds(Clock::duration inTime) {
        char text[32];
        std::snprintf(text, sizeof(text), "%.2f ms",
                      std::chrono::duration<double, std::milli>(inTime).count());
        return text;
    }

    // Before that, memory is new to everyone.
    static std::string Times(std::vector<Clock::duration> inTimes) {
        const Clock::duration longest = *std::ranges::max_element(inTimes);
        const auto settled = inTimes.begin() + kTicksASecond;
        const Clock::duration longestSettled = *std::max_element(settled, inTimes.end());
        std::ranges::sort(inTimes);
        return "median " + Milliseconds(inTimes[inTimes.size() / 2]) + ", longest " +
               Milliseconds(longest) + ", after the first second " + Milliseconds(longestSettled);
    }

    std::vector<std::string> Lines() const {
        std::vector<std::string> lines = {
            std::to_string(published_) + " frames published, " + std::to_string(composed_) +
                " grids composed, " + std::to_string(kCameras * kTicks - shown_) +
                " frames dropped, " + std::to_string(late_) + " ticks late",
            "from the tick to the finished grid: " + Times(untilDone_),
            "composing alone: " + Times(composing_)};
        lines.insert(lines.end(), memory_.begin(), memory_.end());
        return lines;
    }

    std::uint32_t published_ = 0;
    std::uint32_t late_ = 0;
    std::uint32_t composed_ = 0;
    std::uint32_t shown_ = 0;
    std::vector<Clock::duration> untilDone_;
    std::vector<Clock::duration> composing_;
    std::vector<std::string> memory_;
};

}  // namespace

void AddLiveRows() {
    StartCameras();
    AddFigures("live: four cameras at 60 frames a second, 1080p, for 10 s (five processes)",
               [] { return Session().Run(); });
}

}  // namespace bench

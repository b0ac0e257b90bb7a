// The shared frame cache, with as many frames as an hour of thumbnails.
#include <VideoFrame/VideoFrame.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <random>

#include "Table.h"

namespace bench {
namespace {

using tulocore::utility::Guid;

constexpr std::size_t kCached = 10'000;
constexpr std::uint32_t kSide = 16;

struct NamedFrame {
    Guid guid;
    VF::VideoFrameRef frame;
};

std::vector<NamedFrame> MakeFrames(std::size_t inCount) {
    std::vector<NamedFrame> frames(inCount);
    for (NamedFrame& named : frames) {
        named.guid = Guid::Generate();
        VF::CreateVideoFrame(named.frame, tulomediatypes::kPixelFormat_BGRA_4444_8u, kSide, kSide,
                             {1, 1}, false, false);
    }
    return frames;
}

std::vector<Guid> ShuffledGuids(const std::vector<NamedFrame>& inFrames) {
    std::vector<Guid> guids;
    for (const NamedFrame& named : inFrames)
        guids.push_back(named.guid);
    std::ranges::shuffle(guids, std::mt19937(1));
    return guids;
}

/// The cache while it holds frames that nobody else holds, and nothing more.
class FilledCache {
  public:
    FilledCache() {
        manager_->Purge();
        std::vector<NamedFrame> frames = MakeFrames(kCached);
        guids_ = ShuffledGuids(frames);
        for (const NamedFrame& named : frames)
            VF::SharedVideoFrameCache::InsertIntoCache(named.frame, named.guid, 0);
    }
    ~FilledCache() {
        manager_->SetBudget(budget_);
        manager_->Purge();
    }
    FilledCache(const FilledCache&) = delete;
    FilledCache& operator=(const FilledCache&) = delete;

    const std::vector<Guid>& Guids() const { return guids_; }

    /// From now on one frame goes for every one of the same size that comes.
    void Close() { manager_->SetBudget(manager_->GetUsedBytes()); }

  private:
    const Brix::InterfaceRef<OV::IMediaManager> manager_ = OV::GetMediaManager();
    const std::uint64_t budget_ = manager_->GetBudget();
    std::vector<Guid> guids_;
};

void Retrieve(benchmark::State& inState) {
    const FilledCache cache;
    std::size_t next = 0;
    for (auto _ : inState) {
        const auto frame = VF::SharedVideoFrameCache::RetrieveFromCache(cache.Guids()[next]);
        if (!frame) return inState.SkipWithError("a frame has gone");
        next = next + 1 == kCached ? 0 : next + 1;
    }
}

void FindInMap(benchmark::State& inState) {
    std::vector<NamedFrame> frames = MakeFrames(kCached);
    const std::vector<Guid> guids = ShuffledGuids(frames);
    std::map<Guid, VF::VideoFrameRef> map;
    for (const NamedFrame& named : frames)
        map.emplace(named.guid, named.frame);
    std::mutex mutex;
    std::size_t next = 0;
    for (auto _ : inState) {
        const std::lock_guard lock(mutex);
        const VF::VideoFrameRef frame = map.find(guids[next])->second;
        benchmark::DoNotOptimize(frame.Get());
        next = next + 1 == kCached ? 0 : next + 1;
    }
}

void InsertAndFlush(benchmark::State& inState) {
    FilledCache cache;
    std::vector<NamedFrame> frames = MakeFrames(static_cast<std::size_t>(inState.max_iterations));
    cache.Close();
    auto next = frames.begin();
    for (auto _ : inState) {
        VF::SharedVideoFrameCache::InsertIntoCache(next->frame, next->guid, 0);
        next->frame = nullptr;  // the flush that comes destroys it
        ++next;
    }
    const std::size_t gone = std::min(frames.size(), kCached);
    if (gone > 0 && VF::SharedVideoFrameCache::RetrieveFromCache(frames.back().guid) == nullptr)
        inState.SkipWithError("the last frame is not cached");
    if (OV::GetMediaManager()->GetUsedBytes() != OV::GetMediaManager()->GetBudget())
        inState.SkipWithError("the flushes do not match the insertions");
}

}  // namespace

void AddCacheRows() {
    AddRow("retrieve one of 10,000 cached frames", Retrieve,
           {{"std::map and std::mutex", FindInMap}});
    AddRow("insert a frame into a cache of 10,000, flush the oldest", InsertAndFlush, {});
}

}  // namespace bench

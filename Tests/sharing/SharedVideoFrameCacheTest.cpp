#include <sstream>

#include "VideoFrame/SharedVideoFrameCache.h"

#include "support/Contracts.h"
#include "support/FrameWithoutMemory.h"
#include "support/Frames.h"
#include "support/RecordingMediaManager.h"
#include "support/SharedFolder.h"

using tulocore::utility::Guid;
using namespace VF::SharedVideoFrameCache;

namespace {

constexpr unsigned kValue = 7;

class CacheTest : public testing::Test {
  protected:
    CacheTest() {
        VF::Initialize();
        manager.TakeCalls();
    }
    ~CacheTest() override {
        SetNotificationFunction(nullptr);
        if (isStarted_) VF::Shutdown();
        tulocore::threads::RunMainThreadCalls();
    }
    void Stop() {
        VF::Shutdown();
        isStarted_ = false;
    }

    const VF::VideoFrameRef& Frame(char inName) {
        VF::VideoFrameRef& frame = frames_[inName];
        if (!frame) frame = support::MakeFrame(32, 32);
        return frame;
    }
    const Guid& GuidOf(char inName) {
        Guid& guid = guids_[inName];
        if (guid == Guid()) guid = Guid::Generate();
        return guid;
    }

    // Steps, one word each: "+aX" inserts frame a under Guid X, "?X=a" finds it there ("?X=-"
    // nothing), "dX" and "uX" register and unregister a dependency, "!1" flushes item 1. The main
    // thread's calls run after every step.
    void Do(const std::string& inSteps) {
        std::istringstream steps(inSteps);
        for (std::string step; steps >> step;) {
            SCOPED_TRACE(step);
            if (step[0] == '+') InsertIntoCache(Frame(step[1]), GuidOf(step[2]), kValue);
            if (step[0] == '?') ExpectFound(step[1], step[3]);
            if (step[0] == 'd') RegisterDependencyOnFrame(GuidOf(step[1]));
            if (step[0] == 'u') UnregisterDependencyOnFrame(GuidOf(step[1]));
            if (step[0] == '!') manager.map->FlushItem(std::stoull(step.substr(1)));
            tulocore::threads::RunMainThreadCalls();
        }
    }

    support::SharedFolder folder;
    support::RecordingMediaManager manager;

  private:
    void ExpectFound(char inGuid, char inFrame) {
        EXPECT_EQ(RetrieveFromCache(GuidOf(inGuid)), inFrame == '-' ? nullptr : Frame(inFrame));
    }

    std::map<char, VF::VideoFrameRef> frames_;
    std::map<char, Guid> guids_;
    bool isStarted_ = true;
};

struct Sequence {
    const char* what;
    const char* steps;
    const char* calls;  // of the manager, up to and with the end of the cache
};
class CacheSequenceTest : public CacheTest, public testing::WithParamInterface<Sequence> {};

// clang-format off
constexpr Sequence kSequences[] = {
    {"a frame under two Guids is one item", "+aX +aY ?X=a ?Y=a !1 ?X=- ?Y=-", "5:1/7 6:1 6:1 6:1 r:0"},
    {"a Guid that is cached stays as it is", "+aX +bX ?X=a", "5:1/7 6:1 6:1 7:1 r:0"},
    {"numbers of items are not used again", "+aX !1 !1 +aX ?X=a", "5:1/7 5:2/7 6:2 7:2 r:0"},
    {"every item is removed in the end", "+aX +bY +cZ !2", "5:1/7 5:2/7 5:3/7 7:1 7:3 r:0"},
    {"a dependency may come before the frame", "dX ?X=- +aX !1 ?X=a", "5:1/7 r:1 5:2/5 r:0 7:2 r:0"},
    {"dependencies are counted", "+aX dX dX uX !1 uX uX ?X=-", "5:1/7 6:1 r:1 r:0 r:0"},
    {"nobody depends any more", "+aX dX uX !1 ?X=-", "5:1/7 6:1 r:0"},
    {"a frame is retained once, whatever depends on it", "+aX +aY dX dY !1 uX uY ?Y=-", "5:1/7 6:1 6:1 6:1 r:1 r:0 r:0"},
    {"one Guid brings a frame back for all", "+aX +aY dX dY !1 ?X=a ?Y=a uX uY", "5:1/7 6:1 6:1 6:1 r:1 5:2/5 r:0 6:2 7:2 r:0"},
    {"retained again under fewer Guids", "+aX +aY dX dY !1 ?X=a !2 uX ?X=- uY", "5:1/7 6:1 6:1 6:1 r:1 5:2/5 r:0 r:1 r:0 r:0"},
    {"retained bytes add up", "+aX +bY dX dY !1 !2 uX ?Y=b", "5:1/7 5:2/7 6:1 6:2 r:1 r:2 r:1 5:3/5 r:0 7:3 r:0"},
    {"a retained Guid is served", "+aX dX !1 +bX ?X=a", "5:1/7 6:1 r:1 5:2/5 r:0 6:2 7:2 r:0"},
    {"a retained frame under another Guid", "+aX dX !1 +aY ?X=a", "5:1/7 6:1 r:1 5:2/7 r:0 6:2 7:2 r:0"},
    {"what is not there", "uX ?X=- uX", "r:0"},
    {"the end with dependencies and retained frames", "+aX dX !1 dY +bZ", "5:1/7 6:1 r:1 5:2/7 7:2 r:0"},
};
// clang-format on

TEST_P(CacheSequenceTest, CallsTheManager) {
    Do(GetParam().steps);
    Stop();
    EXPECT_EQ(manager.calls, GetParam().calls) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(Cache, CacheSequenceTest, testing::ValuesIn(kSequences));

/// Of a size in bytes that depends on which side is the width.
struct WideFrame final : support::FrameWithoutMemory {
    Brix::Rect GetBounds() override { return {0, 0, 5, 2}; }
    tulomediatypes::PixelFormat GetPixelType() override {
        return tulomediatypes::kPixelFormat_UYVY_422_8u;
    }
};

TEST_F(CacheTest, TellsTheManagerWhatAnItemIs) {
    InsertIntoCache(Frame('a'), GuidOf('X'), kValue);
    EXPECT_EQ(manager.size,
              support::Ask<VF::IVideoFrameMemoryAccess>(Frame('a'))->GetAllocatedSize());
    EXPECT_FALSE(manager.isPublishable);
    EXPECT_TRUE(Frame('a')->GetReadOnly());

    VF::SetCreatePublishableVideoFrames(true);
    InsertIntoCache(Frame('b'), GuidOf('Y'), kValue);
    VF::SetCreatePublishableVideoFrames(false);
    EXPECT_TRUE(manager.isPublishable);

    WideFrame foreign;
    InsertIntoCache(VF::VideoFrameRef(&foreign), GuidOf('Z'), kValue);
    EXPECT_EQ(manager.size, 24U);
    Stop();
}

TEST_F(CacheTest, TheMapGoesWithItsLastReference) {
    Do("+aX");
    void* view = nullptr;
    EXPECT_EQ(manager.map->QueryInterface(OV::IVideoFrame::kInterfaceId, &view),
              static_cast<std::int32_t>(0xA00A0001));
    EXPECT_EQ(view, nullptr);
    EXPECT_EQ(manager.map->QueryInterface(Brix::BrixUnknown::kInterfaceId, &view), 0);
    Stop();
    manager.map = nullptr;
    const int references = manager.references;  // one is the map's
    static_cast<Brix::BrixUnknown*>(view)->Release();
    EXPECT_EQ(manager.references, references - 1);
}

// ---------------------------------------------------------------------------------------------
// The notification function

std::string gNotified;

TEST_F(CacheTest, NotifiesOfEveryInsertion) {
    SetNotificationFunction([](const Guid& inGuid) {
        gNotified += RetrieveFromCache(inGuid) ? '+' : '-';  // it is there already
    });
    Do("+aX +bX dX !1 ?X=a");  // coming back is no insertion
    SetNotificationFunction(nullptr);
    Do("+bY");
    EXPECT_EQ(gNotified, "++");
}

// ---------------------------------------------------------------------------------------------
// Bad input

TEST_F(CacheTest, NeedsTheLibraryAndAFrame) {
    EXPECT_THROW(InsertIntoCache(nullptr, GuidOf('X'), kValue), Brix::NullInterfaceException);
    EXPECT_EQ(manager.TakeCalls(), "");
    Do("?X=- +aX");
    InsertIntoCache(nullptr, GuidOf('X'), kValue);
    Do("?X=a");
    Stop();
    const std::function<void()> kCalls[] = {
        [&] { InsertIntoCache(Frame('b'), GuidOf('X'), kValue); },
        [&] { RetrieveFromCache(GuidOf('X')); }, [&] { RegisterDependencyOnFrame(GuidOf('X')); },
        [&] { UnregisterDependencyOnFrame(GuidOf('X')); }};
    for (const auto& call : kCalls)
        support::ExpectBroken("sCache", "SharedVideoFrameCache", 0, call);
    EXPECT_FALSE(Frame('b')->GetReadOnly());
    SetNotificationFunction(nullptr);
}

TEST_F(CacheTest, TakesFlushesInsideTheManagersCalls) {
    manager.flushDuringCalls = true;
    Do("+aX ?X=- dY +bY ?Y=b ?Y=b");
    manager.flushDuringCalls = false;
    // The frame depended on is retained each time, and comes back once more.
    Do("?Y=b uY !4");
    Stop();
    EXPECT_EQ(manager.calls, "5:1/7 5:2/7 r:1 5:3/5 r:0 r:1 5:4/5 r:0 r:1 5:5/5 r:0 7:5 r:0");
}

TEST_F(CacheTest, ReportsNeedAManagerAndACache) {
    Do("+aX dX");
    manager.map->FlushItem(1);
    const auto before = OV::SetMediaManager(nullptr);
    EXPECT_THROW(tulocore::threads::RunMainThreadCalls(), Brix::NullInterfaceException);
    OV::SetMediaManager(before);

    UnregisterDependencyOnFrame(GuidOf('X'));
    Stop();
    manager.TakeCalls();
    EXPECT_EQ(tulocore::threads::RunMainThreadCalls(), 1U);
    manager.map->FlushItem(1);  // from a manager that is late
    EXPECT_EQ(manager.calls, "");
}

}  // namespace

// Everything that threads share, used by several of them at once. Whether the results are right is
// for the other tests to say; the thread sanitizer says here whether a lock is missing.

#include "contracts/Hoardex.h"
#include "pellux/ServiceTest.h"
#include "support/FrameWithoutMemory.h"
#include "support/Frames.h"
#include "support/RecordingMediaManager.h"

using namespace VF::SharedVideoFrameCache;
using namespace service_test;
using namespace tulocore::threads;

namespace {

constexpr std::uint32_t kThreads = 4;

/// Runs the work on several threads, each with a number of its own, and waits for them.
template <class Work>
void OnThreads(const Work& inWork) {
    std::vector<std::jthread> threads;
    for (std::uint32_t i = 0; i < kThreads; ++i)
        threads.emplace_back(inWork, i);
}

TEST(Threads, ShareHandlesAndBlocks) {
    const std::int64_t before = hoardex::CountBlocks();
    OnThreads([](std::uint32_t inThread) {
        for (std::uint32_t i = 0; i < 500; ++i) {
            const TvHandle handle = TvNewHandle(8);
            // Mostly without another holder, so that recyclers come and go.
            const Brix::MemoryBuffer block =
                Brix::MemoryRecycler::Instance()->AllocateBuffer(40000 + i % 3 * 30000);
            for (void* const bytes : {*handle, block.address}) {
                std::memset(bytes, static_cast<int>(inThread), 8);
                std::this_thread::yield();
                EXPECT_EQ(*static_cast<std::uint64_t*>(bytes), 0x0101010101010101U * inThread);
            }
            Brix::MemoryRecycler::Instance()->RecycleBuffer(block);
            TvDisposeHandle(handle);
        }
    });
    EXPECT_EQ(hoardex::CountBlocks(), before);
}

TEST(Threads, QueueCallsAndShareTasks) {
    std::atomic<std::uint32_t> calls = 0, tasks = 0;
    OnThreads([&](std::uint32_t inThread) {
        for (int i = 0; i < 200; ++i) {
            AsyncCallFromMainThread([&] { ++calls; });
            if (inThread == 0) RunMainThreadCalls();
        }
        ExecuteCPUBoundTaskOnAllProcessors(
            [&](int) { ExecuteCPUBoundTaskOnAllProcessors([&](int) { ++tasks; }, 10); }, 20);
    });
    RunMainThreadCalls();
    EXPECT_EQ(calls, kThreads * 200);
    EXPECT_EQ(tasks, kThreads * 20 * 10);
}

TEST(Threads, FailInOneTaskAtATime) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> inside = 0;
        const auto fail = [&](int) {
            ++inside;
            for (int i = 0; i < 10000 && inside < 2; ++i)
                std::this_thread::yield();
            throw std::out_of_range("all");
        };
        EXPECT_THROW(ExecuteCPUBoundTaskOnAllProcessors(fail, 50), std::out_of_range);
    }
}

// They compete for the same Guids while the bound keeps evicting, and start and stop the client.
TEST_F(ServiceTest, IsSharedByThreads) {
    constexpr std::uint32_t kGuids = 200;
    std::atomic<std::uint32_t> publications = 0;
    OnThreads([&](std::uint32_t inThread) {
        for (std::uint32_t i = 0; i < kGuids; ++i) {
            const Guid guid = MakeGuid(i);
            EXPECT_TRUE(InitializeClient());
            WritableBinaryReferencePtr unpublished;
            EXPECT_EQ(GetWritableBinaryData(16384, unpublished), kSuccess);
            const std::int32_t status = Publish(guid, 16384);
            EXPECT_TRUE(status == kSuccess || status == kGuidTaken);
            publications += status == kSuccess;
            BinaryReferencePtr reference;
            if (WaitForBinaryData(guid, 1ms, reference) == kSuccess) {
                MakeBinaryDataAlias(guid, reference, MakeGuid(i, 1));
                EXPECT_TRUE(IsWhole(reference, guid, 16384));
            }
            if (i % 50 == inThread) ListBinaryData();
            if (i % 50 == inThread + 10) SetRetainedBytesLimit((1 + inThread % 2) * kMiB);
            UninitializeClient();
        }
    });
    EXPECT_GE(publications, kGuids);
}

// With a host that changes its mind about memory, and its message loop.
TEST(Threads, ShareTheCache) {
    const support::SharedFolder folder;
    const auto manager = OV::GetMediaManager();
    const std::uint64_t budget = manager->GetBudget();
    std::array<VF::VideoFrameRef, 7> frames;
    for (std::uint32_t i = 0; i < frames.size(); ++i)
        frames[i] = support::MakeFrame(10 + 10 * i, 10 + 10 * i);
    VF::Initialize();
    OnThreads([&](std::uint32_t inThread) {
        std::mt19937 random(inThread);
        for (int i = 0; i < 2000; ++i) {
            const Guid guid = MakeGuid(random() % 16);
            RegisterDependencyOnFrame(guid);
            InsertIntoCache(frames[random() % frames.size()], guid, 0);
            EXPECT_TRUE(RetrieveFromCache(guid)) << "somebody depends on it";
            UnregisterDependencyOnFrame(guid);
            if (inThread == 0) manager->SetBudget(20'000 * (random() % 3));
            if (inThread == 1) manager->Purge();
            if (inThread == 2) RunMainThreadCalls();
        }
    });
    VF::Shutdown();
    RunMainThreadCalls();
    EXPECT_EQ(manager->GetUsedBytes(), 0U);
    manager->SetBudget(budget);
}

TEST(Threads, EndTheCacheThatAnotherFilled) {
    const support::SharedFolder folder;
    const VF::VideoFrameRef frame = support::MakeFrame(8, 8);
    std::atomic<bool> isDone = false;
    VF::Initialize();
    const std::jthread other([&] {
        InsertIntoCache(frame, MakeGuid(1), 0);
        isDone.store(true, std::memory_order_relaxed);
    });
    while (!isDone.load(std::memory_order_relaxed))
        std::this_thread::yield();
    VF::Shutdown();
}

/// Takes its time to go.
struct SlowFrame final : support::FrameWithoutMemory {
    void AddRef() override { ++references; }
    void Release() override {
        if (--references > 0) return;
        isGoing = true;
        while (!mayGo)
            std::this_thread::yield();
    }
    std::atomic<int> references = 0;
    std::atomic<bool> isGoing = false, mayGo = false;
};

TEST(Threads, EndTheCacheAfterTheLastFlush) {
    const support::SharedFolder folder;
    support::RecordingMediaManager manager;
    SlowFrame frame;
    std::atomic<bool> isOver = false;
    VF::Initialize();
    InsertIntoCache(VF::VideoFrameRef(&frame), MakeGuid(1), 0);
    std::jthread flush([&] { manager.map->FlushItem(1); });
    while (!frame.isGoing)
        std::this_thread::yield();
    std::jthread end([&] {
        VF::Shutdown();
        isOver = true;
    });
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(isOver);
    frame.mayGo = true;
}

}  // namespace

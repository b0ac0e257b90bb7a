// The cache and the real media manager under random operations from several threads.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "support/Frames.h"
#include "support/SharedFolder.h"

using tulocore::utility::Guid;
using namespace VF::SharedVideoFrameCache;

namespace {

constexpr std::uint64_t kBudget = 20'000;  // bytes: a few of the frames below

/// The Guids that one thread uses, and what it knows of each. Threads share the frames, so several
/// Guids of several threads name one.
class Client {
  public:
    Client(unsigned inSeed, const std::vector<VF::VideoFrameRef>& inFrames)
        : random_(inSeed), frames_(inFrames) {
        for (Entry& entry : entries_)
            entry.guid = Guid::Generate();
    }

    void Step() {
        Entry& entry = entries_[random_() % entries_.size()];
        switch (random_() % 5) {
            case 0:
                return Insert(entry);
            case 1:
                RegisterDependencyOnFrame(entry.guid);
                ++entry.dependencies;
                return Look(entry);
            case 2:
                UnregisterDependencyOnFrame(entry.guid);
                if (entry.dependencies > 0 && --entry.dependencies == 0) entry.isSure = false;
                return;
            default:
                return Look(entry);
        }
    }

    void LetGo() {
        for (Entry& entry : entries_) {
            for (; entry.dependencies > 0; --entry.dependencies)
                UnregisterDependencyOnFrame(entry.guid);
        }
    }

  private:
    struct Entry {
        Guid guid;
        VF::VideoFrameRef frame;  // the last one that was seen under the Guid
        unsigned dependencies = 0;
        bool isSure = false;  // depended on since it was seen
    };

    void Insert(Entry& ioEntry) {
        const VF::VideoFrameRef& frame = frames_[random_() % frames_.size()];
        InsertIntoCache(frame, ioEntry.guid, 0);
        if (!ioEntry.isSure) {
            const VF::VideoFrameRef found = RetrieveFromCache(ioEntry.guid);
            // An earlier one may have stayed, or all have gone.
            EXPECT_TRUE(!found || found == frame || found == ioEntry.frame);
            ioEntry.frame = found;
        }
        Look(ioEntry);
    }

    void Look(Entry& ioEntry) {
        const VF::VideoFrameRef found = RetrieveFromCache(ioEntry.guid);
        if (ioEntry.isSure || found) {
            EXPECT_EQ(found, ioEntry.frame);
        }
        ioEntry.isSure = found && ioEntry.dependencies > 0;
    }

    std::mt19937 random_;
    const std::vector<VF::VideoFrameRef>& frames_;
    std::array<Entry, 12> entries_;
};

TEST(CacheThreads, KeepsItsPromisesAndItsBooks) {
    const support::SharedFolder folder;
    VF::Initialize();
    const auto manager = OV::GetMediaManager();
    const std::uint64_t budget = manager->GetBudget();
    manager->SetBudget(kBudget);
    std::vector<VF::VideoFrameRef> frames;
    for (const unsigned side : {10, 20, 30, 30, 40, 60, 80})
        frames.push_back(support::MakeFrame(side, side));

    std::atomic<bool> isOver = false;
    std::vector<std::jthread> threads;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        threads.emplace_back([&, seed] {
            Client client(seed, frames);
            for (int i = 0; i < 5000; ++i)
                client.Step();
            client.LetGo();
        });
    }
    // A host that changes its mind about memory, and its message loop.
    std::jthread host([&] {
        for (unsigned i = 0; !isOver; ++i) {
            if (i % 8 == 0) manager->Purge();
            manager->SetBudget(kBudget * (1 + i % 3));
            std::this_thread::yield();
        }
    });
    std::jthread loop([&] {
        while (!isOver) {
            tulocore::threads::RunMainThreadCalls();
            std::this_thread::yield();
        }
    });
    threads.clear();
    isOver = true;
    host.join();
    loop.join();
    tulocore::threads::RunMainThreadCalls();

    manager->SetBudget(kBudget);
    EXPECT_LE(manager->GetUsedBytes(), kBudget);
    manager->Purge();
    EXPECT_EQ(manager->GetUsedBytes(), 0U);  // nothing retained any more
    manager->SetBudget(budget);
    VF::Shutdown();
}

// The end of the cache, while another thread's flushes are on their way.
TEST(CacheThreads, EndsWhileItIsFlushed) {
    const support::SharedFolder folder;
    const auto manager = OV::GetMediaManager();
    std::atomic<bool> isOver = false;
    std::jthread purge([&] {
        while (!isOver)
            manager->Purge();
    });
    for (int round = 0; round < 300; ++round) {
        VF::Initialize();
        for (int i = 0; i < 20; ++i)
            InsertIntoCache(support::MakeFrame(8, 8), Guid::Generate(), 0);
        VF::Shutdown();
        EXPECT_EQ(manager->GetUsedBytes(), 0U);
    }
    isOver = true;
}

}  // namespace

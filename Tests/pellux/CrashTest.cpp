// Processes that die, fork, or use the service from many threads at once.
#include <atomic>
#include <random>
#include <thread>

#include "ServiceTest.h"

using namespace service_test;

namespace {

class CrashTest : public ServiceTest {};

TEST_F(CrashTest, DataOutlivesItsPublisherForThoseWhoHoldIt) {
    Child publisher([&](Line& inLine) {
        CHILD_CHECK(InitializeClient());
        CHILD_CHECK(Publish(MakeGuid(1), kMiB) == kSuccess);
        CHILD_CHECK(PutBinaryDataGenerationError(MakeGuid(2), -1) == kSuccess);
        WritableBinaryReferencePtr unpublished;
        CHILD_CHECK(GetWritableBinaryData(kMiB, unpublished) == kSuccess);
        inLine.Tell();
        inLine.Hear();
    });
    ASSERT_TRUE(publisher.GetLine().Hear());
    BinaryReferencePtr held;
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(1), held), kSuccess);
    ASSERT_EQ(MakeBinaryDataAlias(MakeGuid(1), held, MakeGuid(3)), kSuccess);
    publisher.Kill();
    StartAnotherClient();
    EXPECT_EQ(Files().size(), 2U) << "this client's file and the lock of the clean-up";
    EXPECT_EQ(CountSharedBytes(), 0U);
    for (const std::uint32_t number : {1, 2, 3})
        EXPECT_FALSE(IsAvailable(MakeGuid(number)));
    EXPECT_TRUE(IsWhole(held, MakeGuid(1), kMiB));
    EXPECT_EQ(Publish(MakeGuid(1), 64), kSuccess) << "the Guid is free";
}

TEST_F(CrashTest, APublicationWakesWaitersThoughItsPublisherDiesAtOnce) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        Child publisher([&](Line& inLine) {
            CHILD_CHECK(InitializeClient());
            inLine.Hear();
            CHILD_CHECK(Publish(MakeGuid(i), 4096) == kSuccess);
            kill(getpid(), SIGKILL);
        });
        publisher.GetLine().Tell();
        BinaryReferencePtr reference;
        ASSERT_EQ(WaitForBinaryData(MakeGuid(i), 30s, reference), kSuccess);
        EXPECT_TRUE(IsWhole(reference, MakeGuid(i), 4096));
    }
}

// Publishes, receives and makes aliases until it is killed.
void LiveDangerously(std::uint16_t inRound) {
    CHILD_CHECK(InitializeClient());
    SetRetainedBytesLimit(kMiB);
    for (std::uint32_t i = 0;; ++i) {
        const std::uint64_t size = 64 * 1024 + i % 3 * 64 * 1024;
        CHILD_CHECK(Publish(MakeGuid(i, inRound), size) == kSuccess);
        BinaryReferencePtr reference;
        if (GetBinaryDataIfAvailable(MakeGuid(i, inRound), reference) == kSuccess) {
            MakeBinaryDataAlias(MakeGuid(i, inRound), reference, MakeGuid(i | 1U << 31, inRound));
        }
        if (i % 8 == 0) PutBinaryDataGenerationError(MakeGuid(i | 1U << 30, inRound), -1);
    }
}

TEST_F(CrashTest, KilledAtAnyMomentNothingIsTornAndNothingStays) {
    std::mt19937 random(4711);
    const auto end = std::chrono::steady_clock::now() + 10s;
    std::uint32_t received = 0;
    for (std::uint16_t round = 0; round < 250 && std::chrono::steady_clock::now() < end; ++round) {
        Child publisher([&](Line&) { LiveDangerously(round); });
        const auto death =
            std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 5000);
        for (std::uint32_t i = 0; std::chrono::steady_clock::now() < death;) {
            BinaryReferencePtr reference;
            if (GetBinaryDataIfAvailable(MakeGuid(i, round), reference) != kSuccess) {
                if (IsAvailable(MakeGuid(i + 1, round))) ++i;  // this one has been evicted
                continue;
            }
            ASSERT_TRUE(IsWhole(reference, MakeGuid(i, round), reference->GetSize()));
            ++received;
            ++i;
        }
        publisher.Kill();
        if (round % 10 != 0) continue;
        StartAnotherClient();
        ASSERT_EQ(Files().size(), 2U) << "this client's file and the lock of the clean-up";
    }
    StartAnotherClient();
    EXPECT_EQ(Files().size(), 2U);
    EXPECT_EQ(CountSharedBytes(), 0U);
    EXPECT_GT(received, 0U);
}

TEST_F(CrashTest, AForkedChildLeavesItsParentsThingsAlone) {
    SetRetainedBytesLimit(2 * kMiB);
    ASSERT_EQ(Publish(MakeGuid(1), kMiB), kSuccess);
    BinaryReferencePtr held;
    WritableBinaryReferencePtr writable;
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(1), held), kSuccess);
    ASSERT_EQ(GetWritableBinaryData(kMiB, writable), kSuccess);
    SetRetainedBytesLimit(0);  // the child would have to remove what it took for its own
    const std::vector<std::string> files = Files();
    Child child([&](Line&) {
        BinaryReferencePtr other;
        CHILD_CHECK(GetBinaryDataIfAvailable(MakeGuid(1), other) == kNotInitialized);
        UninitializeClient();
        CHILD_CHECK(InitializeClient());
        CHILD_CHECK(PutCompletedBinaryData(MakeGuid(2), writable) == kBadReference);
        writable.reset();
        CHILD_CHECK(IsWhole(held, MakeGuid(1), kMiB));
        held.reset();
        CHILD_CHECK(GetBinaryDataIfAvailable(MakeGuid(1), other) == kSuccess);
        CHILD_CHECK(IsWhole(other, MakeGuid(1), kMiB));
        UninitializeClient();
    });
    EXPECT_TRUE(child.Join());
    EXPECT_EQ(Files(), files);
    for (std::uint32_t i = 10; i < 20; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    EXPECT_TRUE(IsWhole(held, MakeGuid(1), kMiB)) << "the child let go of its copy only";
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(2), writable), kSuccess);
}

TEST_F(CrashTest, AForkedChildHoldsWhatItInherited) {
    SetRetainedBytesLimit(2 * kMiB);
    ASSERT_EQ(Publish(MakeGuid(1), kMiB), kSuccess);
    BinaryReferencePtr held;
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(1), held), kSuccess);
    Child child([&](Line& inLine) {
        inLine.Tell();
        CHILD_CHECK(inLine.Hear());
        CHILD_CHECK(IsWhole(held, MakeGuid(1), kMiB));
    });
    ASSERT_TRUE(child.GetLine().Hear());
    held.reset();
    for (std::uint32_t i = 10; i < 20; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    child.GetLine().Tell();
    EXPECT_TRUE(child.Join());
}

// References in static objects are let go of after everything else.
TEST_F(CrashTest, ReferencesMayOutliveTheProgram) {
    Child child([&](Line&) {
        CHILD_CHECK(InitializeClient());
        static WritableBinaryReferencePtr published, unpublished;
        static BinaryReferencePtr held;
        CHILD_CHECK(GetWritableBinaryData(64, published) == kSuccess);
        CHILD_CHECK(GetWritableBinaryData(64, unpublished) == kSuccess);
        CHILD_CHECK(PutCompletedBinaryData(MakeGuid(1), published) == kSuccess);
        CHILD_CHECK(GetBinaryDataIfAvailable(MakeGuid(1), held) == kSuccess);
        std::exit(0);
    });
    EXPECT_TRUE(child.Join());
}

// All threads compete for the same Guids while the bound keeps evicting.
TEST_F(CrashTest, ManyThreadsShareTheService) {
    SetRetainedBytesLimit(kMiB);
    constexpr std::uint32_t kThreads = 6, kGuids = 300;
    std::vector<std::atomic<int>> publications(kGuids);
    std::atomic<int> torn{0}, unexpected{0};
    const auto work = [&](std::uint32_t inThread) {
        for (std::uint32_t i = 0; i < kGuids; ++i) {
            const std::int32_t status = Publish(MakeGuid(i), 16384);
            if (status == kSuccess) ++publications[i];
            if (status != kSuccess && status != kGuidTaken) ++unexpected;
            BinaryReferencePtr reference;
            if (GetBinaryDataIfAvailable(MakeGuid(i), reference) == kSuccess) {
                MakeBinaryDataAlias(MakeGuid(i), reference, MakeGuid(i, 1));
                if (!IsWhole(reference, MakeGuid(i), 16384)) ++torn;
            }
            if (i % 50 == inThread) ListBinaryData();
            if (i % 50 == inThread + 10) SetRetainedBytesLimit((1 + inThread % 2) * kMiB);
        }
    };
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < kThreads; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(unexpected, 0);
    for (const std::atomic<int>& count : publications)
        EXPECT_GE(count, 1);
}

}  // namespace

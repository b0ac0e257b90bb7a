// Processes that die or fork.
#include <fcntl.h>
#include <sys/stat.h>

#include "ServiceTest.h"

using namespace service_test;

namespace {

using CrashTest = ServiceTest;

// Numbers from 10 on are of this process and stay.
TEST_F(CrashTest, TheDeadLeaveOnlyWhatIsHeld) {
    ASSERT_EQ(Publish(MakeGuid(10), kMiB), kSuccess);
    ASSERT_EQ(PutBinaryDataGenerationError(MakeGuid(11), -1), kSuccess);
    WritableBinaryReferencePtr writable, lost;
    ASSERT_EQ(GetWritableBinaryData(kMiB, writable), kSuccess);
    const std::vector<std::string> files = Files();
    const std::uint64_t bytes = CountSharedBytes();
    OtherClient publisher([&] {
        Check(PublishAll(1, 3));
        Check(PutBinaryDataGenerationError(MakeGuid(3), -1) == kSuccess);
        Check(GetWritableBinaryData(kMiB, lost) == kSuccess);
        Check(MakeBinaryDataAlias(MakeGuid(10), Get(MakeGuid(10)), MakeGuid(4)) == kSuccess);
    });
    const BinaryReferencePtr held = Get(MakeGuid(1));
    ASSERT_TRUE(Get(MakeGuid(2))) << "only its mapping is kept";
    const int keptFile = open((folder_ / FileName(MakeGuid(2))).c_str(), O_RDONLY);
    publisher.Kill();
    CleanUp();
    EXPECT_EQ(Files(), files);
    EXPECT_EQ(CountSharedBytes(), bytes);
    struct stat kept {};
    EXPECT_EQ(fstat(keptFile, &kept), 0);
    EXPECT_LE(kept.st_blocks * 512U, kPage) << "a mapping without a holder keeps nothing";
    close(keptFile);
    EXPECT_TRUE(IsWhole(held, MakeGuid(1), kMiB));
    EXPECT_EQ(MakeBinaryDataAlias(MakeGuid(1), held, MakeGuid(4)), kNotAvailable);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(1), writable), kSuccess) << "the Guid is free";
}

TEST_F(CrashTest, AnAliasLivesAndDiesWithItsMaker) {
    ASSERT_TRUE(PublishAll(1, 2));
    OtherClient other([] {
        Check(MakeBinaryDataAlias(MakeGuid(1), Get(MakeGuid(1)), MakeGuid(2)) == kSuccess);
        Check(PublishAll(3, 4));
    });
    ASSERT_EQ(MakeBinaryDataAlias(MakeGuid(3), Get(MakeGuid(3)), MakeGuid(4)), kSuccess);
    SetRetainedBytesLimit(4 * (kMiB + kPage));
    ASSERT_TRUE(PublishAll(10, 13));
    EXPECT_FALSE(Get(MakeGuid(1)));
    EXPECT_TRUE(IsWhole(Get(MakeGuid(2)), MakeGuid(1), kMiB)) << "not written to again";
    other.Kill();
    CleanUp();
    EXPECT_FALSE(Get(MakeGuid(2)));
    EXPECT_FALSE(Get(MakeGuid(3)));
    EXPECT_TRUE(IsWhole(Get(MakeGuid(4)), MakeGuid(3), kMiB));
    SetRetainedBytesLimit(0);
    EXPECT_FALSE(Get(MakeGuid(4))) << "it counts against its maker's bound";
    EXPECT_EQ(CountSharedBytes(), 0U);
}

TEST_F(CrashTest, KilledAtAnyMomentNothingIsTornAndNothingStays) {
    using Clock = std::chrono::steady_clock;
    std::mt19937 random(4711);
    const auto end = Clock::now() + 10s;
    std::uint32_t received = 0;
    for (std::uint16_t round = 0; round < 250 && Clock::now() < end; ++round) {
        Process publisher([&](Process&) {
            Check(InitializeClient());
            SetRetainedBytesLimit(kMiB);
            for (std::uint32_t i = 0;; ++i) {
                const Guid guid = MakeGuid(i, round);
                Check(Publish(guid, (1 + i % 3) * 64 * 1024) == kSuccess);
                MakeBinaryDataAlias(guid, Get(guid), MakeGuid(i | 1U << 31, round));
                if (i % 8 == 0) PutBinaryDataGenerationError(MakeGuid(i | 1U << 30, round), -1);
            }
        });
        const auto death = Clock::now() + std::chrono::microseconds(random() % 5000);
        for (std::uint32_t i = 0; Clock::now() < death;) {
            const BinaryReferencePtr reference = Get(MakeGuid(i, round));
            if (reference) {
                ASSERT_TRUE(IsWhole(reference, MakeGuid(i, round), (1 + i % 3) * 64 * 1024));
                ++received;
            }
            if (reference || Get(MakeGuid(i + 1, round))) ++i;  // or this one has been evicted
        }
        publisher.Kill();
        if (round % 10 != 0) continue;
        CleanUp();
        ASSERT_EQ(Files().size(), 2U) << "this client's file and the lock of the clean-up";
        ASSERT_EQ(CountSharedBytes(), 0U);
    }
    EXPECT_GT(received, 0U);
}

TEST_F(CrashTest, AForkedChildHoldsWhatItInheritedAndLeavesTheRestAlone) {
    ASSERT_TRUE(PublishAll(1, 3));
    BinaryReferencePtr held = Get(MakeGuid(1));
    BinaryReferencePtr inherited = Get(MakeGuid(2));
    WritableBinaryReferencePtr writable;
    ASSERT_EQ(GetWritableBinaryData(kMiB, writable), kSuccess);
    SetRetainedBytesLimit(0);  // the child would have to remove what it took for its own
    const std::vector<std::string> files = Files();
    Process child([&](Process& inParent) {
        Check(!Get(MakeGuid(1)));
        UninitializeClient();
        Check(InitializeClient());
        Check(PutCompletedBinaryData(MakeGuid(3), writable) == kBadReference);
        writable.reset();
        Check(IsWhole(held, MakeGuid(1), kMiB));
        held.reset();
        Check(IsWhole(Get(MakeGuid(1)), MakeGuid(1), kMiB));
        UninitializeClient();
        inParent.Tell();
        Check(inParent.Hear() && IsWhole(inherited, MakeGuid(2), kMiB));
    });
    ASSERT_TRUE(child.Hear());
    EXPECT_EQ(Files(), files);
    inherited.reset();
    ASSERT_TRUE(PublishAll(10, 20));
    EXPECT_TRUE(IsWhole(held, MakeGuid(1), kMiB)) << "the child let go of its copy only";
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(3), writable), kSuccess);
    child.Tell();
    EXPECT_TRUE(child.Join());
}

}  // namespace

// How long data stays, what is reused when, and that a steady stream grows nothing.
#include <sys/mman.h>
#include <sys/resource.h>
#include <iterator>

#include "ServiceTest.h"

using namespace service_test;

namespace {

using RetentionTest = ServiceTest;

TEST_F(RetentionTest, BeyondTheBoundTheOldestWithoutHoldersGoesFirst) {
    const auto available = [] {
        std::string found;
        for (std::uint32_t i = 0; i < 7; ++i)
            found += Get(MakeGuid(i)) ? 'x' : '.';
        return found;
    };
    SetRetainedBytesLimit(3 * (kMiB + kPage));
    ASSERT_TRUE(PublishAll(0, 3));
    BinaryReferencePtr held = Get(MakeGuid(0));
    ASSERT_TRUE(PublishAll(3, 4));
    EXPECT_EQ(available(), "xxxx...") << "what is held does not count";
    ASSERT_TRUE(PublishAll(4, 5));
    EXPECT_EQ(available(), "x.xxx..");
    EXPECT_TRUE(IsWhole(held, MakeGuid(0), kMiB));

    held.reset();
    ASSERT_TRUE(PublishAll(5, 6));
    EXPECT_FALSE(Get(MakeGuid(0))) << "let go, it is the oldest again";
    EXPECT_TRUE(Get(MakeGuid(5)));

    SetRetainedBytesLimit(kMiB + kPage);
    EXPECT_EQ(available(), ".....x.");
    EXPECT_LE(CountSharedBytes(), kMiB + kPage);
    SetRetainedBytesLimit(0);
    EXPECT_EQ(available(), ".......");
    EXPECT_EQ(CountSharedBytes(), 0U);
    ASSERT_TRUE(PublishAll(6, 7));
    EXPECT_TRUE(Get(MakeGuid(6))) << "the newest gets its chance";
}

TEST_F(RetentionTest, WhatIsHeldIsNotReusedUntilItIsLetGo) {
    SetRetainedBytesLimit(4 * kMiB);
    ASSERT_TRUE(PublishAll(0, 2));
    BinaryReferencePtr held;
    OtherClient reader([&] { Check(IsWhole(held = Get(MakeGuid(0)), MakeGuid(0), kMiB)); });
    const Guid alias = MakeGuid(1, 1);
    ASSERT_EQ(MakeBinaryDataAlias(MakeGuid(1), Get(MakeGuid(1)), alias), kSuccess);
    held = Get(alias);
    WritableBinaryReferencePtr writable;  // a frame that was published keeps its own
    ASSERT_EQ(GetWritableBinaryData(kMiB, writable), kSuccess);
    ASSERT_EQ(PutCompletedBinaryData(MakeGuid(2), writable), kSuccess);

    ASSERT_TRUE(PublishAll(3, 30));
    EXPECT_TRUE(IsWhole(Get(MakeGuid(0)), MakeGuid(0), kMiB));
    EXPECT_TRUE(IsWhole(held, MakeGuid(1), kMiB));
    EXPECT_TRUE(Get(alias));
    EXPECT_TRUE(Get(MakeGuid(2)));
    const std::uint64_t bytes = CountSharedBytes();
    held.reset();
    writable.reset();
    EXPECT_TRUE(reader.Stop());
    ASSERT_TRUE(PublishAll(30, 50));
    for (const Guid& guid : {MakeGuid(0), MakeGuid(1), alias, MakeGuid(2)})
        EXPECT_FALSE(Get(guid)) << guid.ToString();
    EXPECT_LE(CountSharedBytes(), bytes);
}

/// This process's mappings of files in the folder: their addresses, access and file numbers.
std::set<std::string> Mappings(const std::string& inFolder) {
    std::set<std::string> mappings;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t path = line.find(inFolder);
        if (path != line.npos) mappings.insert(line.substr(0, path));
    }
    return mappings;
}

// Of frames whose sizes vary a little, beside a second stream of smaller ones that are written at
// the same time, and buffers that are never published.
TEST_F(RetentionTest, ASteadyStreamGrowsNothing) {
    SetRetainedBytesLimit(8 * kMiB);
    std::set<std::string> settled;
    std::ptrdiff_t descriptors = 0;
    BinaryReferencePtr previous;
    for (std::uint32_t i = 0; i < 600; ++i) {
        const std::uint64_t size = kMiB + i % 7 * 800;
        WritableBinaryReferencePtr small, unpublished;
        ASSERT_EQ(GetWritableBinaryData(kMiB / 4 + i % 5 * 800, small), kSuccess);
        ASSERT_EQ(GetWritableBinaryData(kMiB, unpublished), kSuccess);
        ASSERT_EQ(Publish(MakeGuid(i), size), kSuccess);
        ASSERT_EQ(PutCompletedBinaryData(MakeGuid(i, 1), small), kSuccess);
        const BinaryReferencePtr reference = Get(MakeGuid(i));
        ASSERT_TRUE(IsWhole(reference, MakeGuid(i), size));
        previous = reference;
        ASSERT_LE(CountSharedBytes(), 11 * kMiB) << "the bound, what is held and what is written";
        const auto count = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
        if (i <= 100) descriptors = count;
        if (i <= 100) settled = Mappings(folder_);
        ASSERT_LE(count, descriptors);
    }
    EXPECT_EQ(Mappings(folder_), settled) << "the segments are the same ones";
    EXPECT_FALSE(settled.empty());
}

TEST_F(RetentionTest, AReaderLetsGoOfMappingsThatNobodyCanComeBackTo) {
    for (int round = 0; round < 3; ++round) {
        OtherClient publisher([] { Check(PublishAll(0, 4)); });
        for (std::uint32_t i = 0; i < 4; ++i)
            EXPECT_TRUE(Get(MakeGuid(i)));
        EXPECT_EQ(Mappings(folder_).size(), 4U);
        EXPECT_TRUE(publisher.Stop());
    }
}

// The reader goes for what is about to be evicted, so that it often gets hold of a segment in the
// middle of that.
TEST_F(RetentionTest, AReaderThatSlipsInKeepsASegmentFromReuse) {
    constexpr std::uint64_t kSize = kMiB / 16;
    constexpr std::uint32_t kCount = 10000;
    SetRetainedBytesLimit(4 * (kSize + kPage));
    void* const shared =
        mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto& newest = *new (shared) std::atomic<std::uint32_t>(0);
    Process reader([&](Process&) {
        Check(InitializeClient());
        while (newest < kCount) {
            const Guid guid = MakeGuid(std::max(newest.load(), 3U) - 3);
            const BinaryReferencePtr reference = Get(guid);
            for (int i = 0; reference && i < 3; ++i)
                Check(IsWhole(reference, guid, kSize));
        }
    });
    for (std::uint32_t i = 0; i < kCount; ++i) {
        EXPECT_EQ(Publish(MakeGuid(i), kSize), kSuccess);
        newest = i;
    }
    newest = kCount;
    EXPECT_TRUE(reader.Join());
    munmap(shared, kPage);
}

TEST_F(RetentionTest, ThousandsOfSmallPublicationsNeedFewDescriptors) {
    constexpr std::uint32_t kCount = 3000;
    const OtherClient publisher([] {
        const rlimit few{64, 64};
        Check(setrlimit(RLIMIT_NOFILE, &few) == 0);
        for (std::uint32_t i = 0; i < kCount; ++i) {
            Check(Publish(MakeGuid(i), 64) == kSuccess);
            Check(PutBinaryDataGenerationError(MakeGuid(i, 1), -1) == kSuccess);
        }
    });
    for (std::uint32_t i = 0; i < kCount; ++i)
        ASSERT_TRUE(IsWhole(Get(MakeGuid(i)), MakeGuid(i), 64));
    BinaryReferencePtr none;
    EXPECT_EQ(GetBinaryDataIfAvailable(MakeGuid(kCount - 1, 1), none), kGenerationFailed);
    EXPECT_EQ(GetBinaryDataIfAvailable(MakeGuid(0, 1), none), kNotAvailable)
        << "errors have a bound as well";
}

}  // namespace

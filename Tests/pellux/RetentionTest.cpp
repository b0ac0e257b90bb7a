// How long data stays, what is reused when, and that a steady stream grows nothing.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <new>
#include <set>

#include "ServiceTest.h"

using namespace service_test;

namespace {

constexpr std::uint64_t kPage = 4096;

class RetentionTest : public ServiceTest {
  protected:
    std::set<ino_t> Inodes() const {
        std::set<ino_t> inodes;
        for (const std::string& name : Files()) {
            struct stat status {};
            if (stat((folder_ / name).c_str(), &status) == 0 && status.st_size > 0) {
                inodes.insert(status.st_ino);
            }
        }
        return inodes;
    }
};

// Of files in the folder.
std::ptrdiff_t CountMappings(const std::string& inFolder) {
    std::ifstream maps("/proc/self/maps");
    std::ptrdiff_t count = 0;
    for (std::string line; std::getline(maps, line);) {
        if (line.find(inFolder) != std::string::npos) ++count;
    }
    return count;
}

std::ptrdiff_t CountDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(RetentionTest, BeyondTheBoundTheOldestWithoutHoldersGoesFirst) {
    SetRetainedBytesLimit(3 * (kMiB + kPage));
    for (std::uint32_t i = 0; i < 3; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    BinaryReferencePtr held;
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(0), held), kSuccess);
    const auto available = [] {
        std::string found;
        for (std::uint32_t i = 0; i < 8; ++i)
            found += IsAvailable(MakeGuid(i)) ? 'x' : '.';
        return found;
    };
    ASSERT_EQ(Publish(MakeGuid(3), kMiB), kSuccess);
    EXPECT_EQ(available(), "xxxx....") << "what is held does not count";
    ASSERT_EQ(Publish(MakeGuid(4), kMiB), kSuccess);
    EXPECT_EQ(available(), "x.xxx...");
    EXPECT_TRUE(IsWhole(held, MakeGuid(0), kMiB));

    held.reset();
    ASSERT_EQ(Publish(MakeGuid(5), kMiB), kSuccess);
    EXPECT_FALSE(IsAvailable(MakeGuid(0))) << "let go, it is the oldest again";
    EXPECT_TRUE(IsAvailable(MakeGuid(5)));

    SetRetainedBytesLimit(kMiB + kPage);
    EXPECT_EQ(available(), ".....x..");
    EXPECT_LE(CountSharedBytes(), kMiB + kPage);
    SetRetainedBytesLimit(0);
    EXPECT_EQ(available(), "........");
    ASSERT_EQ(Publish(MakeGuid(6), kMiB), kSuccess);
    EXPECT_TRUE(IsAvailable(MakeGuid(6))) << "the newest gets its chance";
}

TEST_F(RetentionTest, HeldSegmentsAreNotReused) {
    SetRetainedBytesLimit(4 * kMiB);
    ASSERT_EQ(Publish(MakeGuid(0), kMiB), kSuccess);
    Child reader([&](Line& inLine) {
        CHILD_CHECK(InitializeClient());
        BinaryReferencePtr reference;
        CHILD_CHECK(GetBinaryDataIfAvailable(MakeGuid(0), reference) == kSuccess);
        inLine.Tell();
        CHILD_CHECK(inLine.Hear());
        CHILD_CHECK(IsWhole(reference, MakeGuid(0), kMiB));
        reference.reset();
        inLine.Tell();
        inLine.Hear();
    });
    ASSERT_TRUE(reader.GetLine().Hear());
    for (std::uint32_t i = 1; i < 30; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    const std::set<ino_t> whileHeld = Inodes();
    EXPECT_TRUE(IsAvailable(MakeGuid(0)));
    reader.GetLine().Tell();
    ASSERT_TRUE(reader.GetLine().Hear());
    for (std::uint32_t i = 30; i < 40; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    EXPECT_FALSE(IsAvailable(MakeGuid(0)));
    EXPECT_LE(Inodes().size(), whileHeld.size());
}

// The frame that was published keeps its writable reference, and its bytes may still be looked at.
TEST_F(RetentionTest, ASegmentWithAWritableReferenceIsNotReused) {
    SetRetainedBytesLimit(2 * kMiB);
    WritableBinaryReferencePtr writable;
    ASSERT_EQ(GetWritableBinaryData(kMiB, writable), kSuccess);
    auto* const words = static_cast<std::uint64_t*>(writable->GetData());
    std::fill_n(words, kMiB / 8, 42);
    ASSERT_EQ(PutCompletedBinaryData(MakeGuid(0), writable), kSuccess);
    for (std::uint32_t i = 1; i < 20; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    EXPECT_EQ(std::count(words, words + kMiB / 8, 42U), std::ptrdiff_t{kMiB / 8});
    EXPECT_TRUE(IsAvailable(MakeGuid(0)));
}

TEST_F(RetentionTest, AliasesGoWithTheirData) {
    SetRetainedBytesLimit(3 * kMiB);
    ASSERT_EQ(Publish(MakeGuid(0), kMiB), kSuccess);
    BinaryReferencePtr held;
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(0), held), kSuccess);
    ASSERT_EQ(MakeBinaryDataAlias(MakeGuid(0), held, MakeGuid(0, 1)), kSuccess);
    held.reset();
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(0, 1), held), kSuccess);
    for (std::uint32_t i = 1; i < 10; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    EXPECT_TRUE(IsWhole(held, MakeGuid(0), kMiB)) << "held through the alias alone";
    held.reset();
    for (std::uint32_t i = 10; i < 20; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    EXPECT_FALSE(IsAvailable(MakeGuid(0)));
    EXPECT_FALSE(IsAvailable(MakeGuid(0, 1)));
}

TEST_F(RetentionTest, ASteadyStreamGrowsNothing) {
    SetRetainedBytesLimit(6 * kMiB);
    const auto resources = [&] { return std::pair(CountDescriptors(), CountMappings(folder_)); };
    constexpr std::uint32_t kCount = 600, kSettled = 100;
    Child reader([&](Line& inLine) {
        CHILD_CHECK(InitializeClient());
        std::pair<std::ptrdiff_t, std::ptrdiff_t> settled;
        std::set<const void*> addresses;
        BinaryReferencePtr previous;
        for (std::uint32_t i = 0; i < kCount; ++i) {
            CHILD_CHECK(inLine.Hear());
            BinaryReferencePtr reference;
            CHILD_CHECK(GetBinaryDataIfAvailable(MakeGuid(i), reference) == kSuccess);
            CHILD_CHECK(IsWhole(reference, MakeGuid(i), kMiB));
            previous = reference;
            addresses.insert(reference->GetData());
            // Takes the room where a mapping that was not kept would come to lie again.
            mmap(nullptr, kMiB + kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            if (i == kSettled) settled = resources();
            inLine.Tell();
        }
        const auto [descriptors, mappings] = resources();
        CHILD_CHECK(descriptors <= settled.first && mappings <= settled.second);
        CHILD_CHECK(addresses.size() <= 8);
    });
    std::pair<std::ptrdiff_t, std::ptrdiff_t> settled;
    std::set<ino_t> inodes;
    for (std::uint32_t i = 0; i < kCount; ++i) {
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
        reader.GetLine().Tell();
        ASSERT_TRUE(reader.GetLine().Hear()) << i;
        if (i == kSettled) {
            settled = resources();
            inodes = Inodes();
        }
    }
    EXPECT_EQ(Inodes(), inodes) << "the segments are the same ones";
    EXPECT_LE(resources().first, settled.first);
    EXPECT_LE(resources().second, settled.second);
    EXPECT_GT(settled.second, 0);
    EXPECT_TRUE(reader.Join());
}

// Two streams of different frame sizes, each varying a little, settle as well.
TEST_F(RetentionTest, NearSizesShareSegments) {
    SetRetainedBytesLimit(12 * kMiB);
    std::set<ino_t> inodes;
    for (std::uint32_t i = 0; i < 200; ++i) {
        ASSERT_EQ(Publish(MakeGuid(i), kMiB + i % 7 * 800), kSuccess);
        ASSERT_EQ(Publish(MakeGuid(i, 1), kMiB / 4 + i % 5 * 800), kSuccess);
        if (i == 100) inodes = Inodes();
        ASSERT_LE(CountSharedBytes(), 12 * kMiB);
    }
    EXPECT_EQ(Inodes(), inodes);
}

TEST_F(RetentionTest, BuffersWrittenAtOnceAreReused) {
    SetRetainedBytesLimit(6 * kMiB);
    std::set<ino_t> inodes;
    for (std::uint32_t i = 0; i < 100; ++i) {
        WritableBinaryReferencePtr first, second;
        ASSERT_EQ(GetWritableBinaryData(kMiB, first), kSuccess);
        ASSERT_EQ(GetWritableBinaryData(kMiB, second), kSuccess);
        ASSERT_EQ(PutCompletedBinaryData(MakeGuid(i, 1), first), kSuccess);
        ASSERT_EQ(PutCompletedBinaryData(MakeGuid(i, 2), second), kSuccess);
        if (i == 50) inodes = Inodes();
    }
    EXPECT_EQ(Inodes(), inodes);
}

// The reader goes for what is about to be evicted, so that it often gets hold of a segment in the
// middle of that.
TEST_F(RetentionTest, AReaderThatSlipsInKeepsASegmentFromReuse) {
    SetRetainedBytesLimit(4 * (kMiB / 16 + kPage));
    void* const shared = mmap(nullptr, sizeof(std::atomic<std::uint32_t>), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto& newest = *new (shared) std::atomic<std::uint32_t>(0);
    constexpr std::uint32_t kCount = 10000;
    Child reader([&](Line&) {
        CHILD_CHECK(InitializeClient());
        for (std::uint32_t number = 0; number < kCount;) {
            number = newest;
            BinaryReferencePtr reference;
            const Guid guid = MakeGuid(number < 4 ? 0 : number - 3);
            if (GetBinaryDataIfAvailable(guid, reference) != kSuccess) continue;
            for (int i = 0; i < 3; ++i)
                CHILD_CHECK(IsWhole(reference, guid, kMiB / 16));
        }
    });
    for (std::uint32_t i = 0; i < kCount; ++i) {
        ASSERT_EQ(Publish(MakeGuid(i), kMiB / 16), kSuccess);
        newest = i;
    }
    newest = kCount;
    EXPECT_TRUE(reader.Join());
    munmap(shared, sizeof(std::atomic<std::uint32_t>));
}

TEST_F(RetentionTest, AnUnpublishedBufferGivesItsMemoryBack) {
    for (int i = 0; i < 50; ++i) {
        WritableBinaryReferencePtr writable;
        ASSERT_EQ(GetWritableBinaryData(kMiB, writable), kSuccess);
    }
    EXPECT_LT(CountSharedBytes(), 2 * kMiB);
    SetRetainedBytesLimit(0);
    EXPECT_EQ(CountSharedBytes(), 0U);
}

TEST_F(RetentionTest, ThousandsOfSmallPublicationsNeedFewDescriptors) {
    constexpr std::uint32_t kCount = 3000;
    Child publisher([&](Line& inLine) {
        const rlimit few{64, 64};
        CHILD_CHECK(setrlimit(RLIMIT_NOFILE, &few) == 0);
        CHILD_CHECK(InitializeClient());
        for (std::uint32_t i = 0; i < kCount; ++i) {
            CHILD_CHECK(Publish(MakeGuid(i), 64) == kSuccess);
            CHILD_CHECK(PutBinaryDataGenerationError(MakeGuid(i, 1), -1) == kSuccess);
        }
        inLine.Tell();
        inLine.Hear();
    });
    ASSERT_TRUE(publisher.GetLine().Hear());
    for (std::uint32_t i = 0; i < kCount; ++i) {
        BinaryReferencePtr reference;
        ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(i), reference), kSuccess);
        ASSERT_TRUE(IsWhole(reference, MakeGuid(i), 64));
    }
    BinaryReferencePtr none;
    EXPECT_EQ(GetBinaryDataIfAvailable(MakeGuid(0, 1), none), kNotAvailable)
        << "errors have a bound as well";
    EXPECT_EQ(GetBinaryDataIfAvailable(MakeGuid(kCount - 1, 1), none), kGenerationFailed);
}

// A mapping that a reader merely keeps must not keep the memory of a dead publisher.
TEST_F(RetentionTest, MemoryOfTheDeadIsFreedUnderKeptMappings) {
    Child publisher([&](Line& inLine) {
        CHILD_CHECK(InitializeClient());
        CHILD_CHECK(Publish(MakeGuid(1), kMiB) == kSuccess);
        CHILD_CHECK(Publish(MakeGuid(2), kMiB) == kSuccess);
        inLine.Tell();
        inLine.Hear();
    });
    ASSERT_TRUE(publisher.GetLine().Hear());
    BinaryReferencePtr kept, held;
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(1), kept), kSuccess);
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(2), held), kSuccess);
    kept.reset();
    const int files[] = {open((folder_ / FileName(MakeGuid(1))).c_str(), O_RDONLY),
                         open((folder_ / FileName(MakeGuid(2))).c_str(), O_RDONLY)};
    const auto occupied = [&](int inIndex) {
        struct stat status {};
        EXPECT_EQ(fstat(files[inIndex], &status), 0);
        return static_cast<std::uint64_t>(status.st_blocks) * 512;
    };
    publisher.Kill();
    EXPECT_GT(occupied(0), kMiB);
    StartAnotherClient();
    EXPECT_LE(occupied(0), kPage);
    EXPECT_GT(occupied(1), kMiB);
    EXPECT_TRUE(IsWhole(held, MakeGuid(2), kMiB));
    held.reset();
    EXPECT_LE(occupied(1), kPage);
    for (const int file : files)
        close(file);
}

}  // namespace

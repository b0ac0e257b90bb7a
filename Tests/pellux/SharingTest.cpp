// Publishing, receiving, aliases, errors and waiting.
#include <sys/mman.h>

#include <boost/make_shared.hpp>
#include <thread>

#include "ServiceTest.h"

using namespace service_test;

namespace {

class SharingTest : public ServiceTest {};

TEST_F(SharingTest, DataTravelsBetweenProcesses) {
    const Guid guid = MakeGuid(1);
    Child publisher([&](Line& inLine) {
        CHILD_CHECK(InitializeClient());
        CHILD_CHECK(Publish(guid, 5 * kMiB + 8) == kSuccess);
        inLine.Tell();
        inLine.Hear();
    });
    ASSERT_TRUE(publisher.GetLine().Hear());
    BinaryReferencePtr reference;
    ASSERT_EQ(GetBinaryDataIfAvailable(guid, reference), kSuccess);
    EXPECT_TRUE(IsWhole(reference, guid, 5 * kMiB + 8));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(reference->GetData()) %
                  static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE)),
              0U);
}

TEST_F(SharingTest, ReceivedDataCannotBeWrittenTo) {
    ASSERT_EQ(Publish(MakeGuid(1), 4096), kSuccess);
    BinaryReferencePtr reference;
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(1), reference), kSuccess);
    auto* const bytes = static_cast<volatile char*>(const_cast<void*>(reference->GetData()));
    Child vandal([&](Line&) {
        signal(SIGSEGV, SIG_DFL);
        bytes[0] = 1;
    });
    EXPECT_FALSE(vandal.Join());
    EXPECT_NE(mprotect(const_cast<char*>(bytes), 4096, PROT_READ | PROT_WRITE), 0);
}

TEST_F(SharingTest, ATakenGuidChangesNothing) {
    std::uint32_t number = 0;
    for (const bool firstIsError : {false, true}) {
        for (const bool secondIsError : {false, true}) {
            const Guid guid = MakeGuid(++number);
            const auto put = [&](bool inIsError, std::uint64_t inSize, std::int32_t inCode) {
                return inIsError ? PutBinaryDataGenerationError(guid, inCode)
                                 : Publish(guid, inSize);
            };
            ASSERT_EQ(put(firstIsError, 4096, -5), kSuccess);
            EXPECT_EQ(put(secondIsError, 8192, -6), kGuidTaken);
            BinaryReferencePtr reference;
            std::int32_t errorCode = 0;
            const std::int32_t status = WaitForBinaryData(guid, 0ms, reference, &errorCode);
            EXPECT_EQ(status, firstIsError ? kGenerationFailed : kSuccess);
            EXPECT_EQ(errorCode, firstIsError ? -5 : 0);
            EXPECT_EQ(IsWhole(reference, guid, 4096), !firstIsError);
        }
    }
}

// A refused publication leaves the buffer to be published under another Guid.
TEST_F(SharingTest, ABufferIsCompletedOnce) {
    WritableBinaryReferencePtr writable;
    ASSERT_EQ(Publish(MakeGuid(1), 64), kSuccess);
    ASSERT_EQ(GetWritableBinaryData(64, writable), kSuccess);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(1), writable), kGuidTaken);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(2), writable), kSuccess);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(3), writable), kBadReference);
    EXPECT_FALSE(IsAvailable(MakeGuid(3)));
}

TEST_F(SharingTest, ImpossibleArgumentsAreRefused) {
    struct ForeignWritable final : WritableBinaryReference {
        std::uint64_t GetSize() override { return 0; }
        void* GetData() override { return nullptr; }
        void ReleaseData(void*) override {}
    };
    struct ForeignReadable final : BinaryReference {
        std::uint64_t GetSize() override { return 0; }
        const void* GetData() override { return nullptr; }
        void ReleaseData(const void*) override {}
    };
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(1), nullptr), kBadReference);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(1), boost::make_shared<ForeignWritable>()),
              kBadReference);
    EXPECT_EQ(MakeBinaryDataAlias(MakeGuid(1), nullptr, MakeGuid(2)), kBadReference);
    EXPECT_EQ(MakeBinaryDataAlias(MakeGuid(1), boost::make_shared<ForeignReadable>(), MakeGuid(2)),
              kBadReference);
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{1} << 47, ~std::uint64_t{0},
                                     ~std::uint64_t{0} - 4096, std::uint64_t{1} << 63}) {
        WritableBinaryReferencePtr writable;
        EXPECT_EQ(GetWritableBinaryData(size, writable), kNoRoom) << size;
        EXPECT_EQ(writable, nullptr);
    }
}

TEST_F(SharingTest, NothingWorksBeforeTheStartAndAfterTheLastStop) {
    ASSERT_TRUE(InitializeClient());
    UninitializeClient();
    ASSERT_EQ(Publish(MakeGuid(1), 64), kSuccess) << "one start is left";
    WritableBinaryReferencePtr unpublished, none;
    BinaryReferencePtr held, other;
    ASSERT_EQ(GetWritableBinaryData(64, unpublished), kSuccess);
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(1), held), kSuccess);
    UninitializeClient();
    UninitializeClient();
    EXPECT_EQ(GetWritableBinaryData(64, none), kNotInitialized);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(2), unpublished), kNotInitialized);
    EXPECT_EQ(GetBinaryDataIfAvailable(MakeGuid(1), other), kNotInitialized);
    EXPECT_EQ(WaitForBinaryData(MakeGuid(1), 0ms, other), kNotInitialized);
    EXPECT_EQ(MakeBinaryDataAlias(MakeGuid(1), held, MakeGuid(2)), kNotInitialized);
    EXPECT_EQ(PutBinaryDataGenerationError(MakeGuid(2), 1), kNotInitialized);
    EXPECT_EQ(Files(), std::vector<std::string>{"sweep"}) << "everything was withdrawn";
    EXPECT_TRUE(IsWhole(held, MakeGuid(1), 64)) << "what is held stays";
    static_cast<char*>(unpublished->GetData())[63] = 1;

    ASSERT_TRUE(InitializeClient());
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(2), unpublished), kBadReference);
    EXPECT_EQ(MakeBinaryDataAlias(MakeGuid(1), held, MakeGuid(2)), kNotAvailable);
}

TEST_F(SharingTest, AnAliasIsASecondNameForTheSameBytes) {
    const Guid guid = MakeGuid(1), alias = MakeGuid(2);
    Child publisher([&](Line& inLine) {
        CHILD_CHECK(InitializeClient());
        CHILD_CHECK(Publish(guid, kMiB) == kSuccess);
        inLine.Tell();
        inLine.Hear();
        UninitializeClient();
        inLine.Tell();
        inLine.Hear();
    });
    ASSERT_TRUE(publisher.GetLine().Hear());
    const std::uint64_t bytesBefore = CountSharedBytes();
    BinaryReferencePtr first, second;
    ASSERT_EQ(GetBinaryDataIfAvailable(guid, first), kSuccess);
    EXPECT_EQ(MakeBinaryDataAlias(guid, first, alias), kSuccess);
    EXPECT_EQ(MakeBinaryDataAlias(guid, first, alias), kGuidTaken);
    EXPECT_EQ(Publish(alias, 64), kGuidTaken);
    ASSERT_EQ(GetBinaryDataIfAvailable(alias, second), kSuccess);
    EXPECT_TRUE(IsWhole(second, guid, kMiB));
    EXPECT_LT(CountSharedBytes(), bytesBefore + kMiB / 2);

    publisher.GetLine().Tell();
    ASSERT_TRUE(publisher.GetLine().Hear());
    EXPECT_FALSE(IsAvailable(guid));
    EXPECT_FALSE(IsAvailable(alias)) << "it goes with its data's publisher";
    EXPECT_EQ(MakeBinaryDataAlias(guid, first, MakeGuid(3)), kNotAvailable);
    EXPECT_TRUE(IsWhole(first, guid, kMiB));
}

TEST_F(SharingTest, WaitersAreWokenByDataAliasesAndErrors) {
    const Guid data = MakeGuid(1), alias = MakeGuid(2), error = MakeGuid(3);
    Child waiter([&](Line& inLine) {
        CHILD_CHECK(InitializeClient());
        BinaryReferencePtr reference;
        for (const Guid& guid : {data, alias}) {
            inLine.Tell();
            CHILD_CHECK(WaitForBinaryData(guid, 30s, reference) == kSuccess);
            CHILD_CHECK(IsWhole(reference, data, 4096));
        }
        inLine.Tell();
        std::int32_t code = 0;
        CHILD_CHECK(WaitForBinaryData(error, 30s, reference, &code) == kGenerationFailed);
        CHILD_CHECK(code == -77 && !reference);
        CHILD_CHECK(GetBinaryDataIfAvailable(error, reference) == kGenerationFailed);
    });
    const auto letItWait = [&] {
        EXPECT_TRUE(waiter.GetLine().Hear());
        std::this_thread::sleep_for(20ms);
    };
    letItWait();
    ASSERT_EQ(Publish(data, 4096), kSuccess);
    letItWait();
    BinaryReferencePtr reference;
    ASSERT_EQ(GetBinaryDataIfAvailable(data, reference), kSuccess);
    ASSERT_EQ(MakeBinaryDataAlias(data, reference, alias), kSuccess);
    letItWait();
    ASSERT_EQ(PutBinaryDataGenerationError(error, -77), kSuccess);
    EXPECT_TRUE(waiter.Join());
}

TEST_F(SharingTest, WaitingEndsWithItsTimeLimit) {
    BinaryReferencePtr reference;
    for (const auto limit : {std::chrono::milliseconds::min(), -1ms, 0ms, 30ms}) {
        EXPECT_EQ(WaitForBinaryData(MakeGuid(1), limit, reference), kTimedOut);
    }
    ASSERT_EQ(Publish(MakeGuid(1), 64), kSuccess);
    EXPECT_EQ(WaitForBinaryData(MakeGuid(1), std::chrono::milliseconds::max(), reference),
              kSuccess);
}

// More of them than the kernel may be willing to watch for, and each for another Guid.
TEST_F(SharingTest, ManyThreadsWaitAtOnce) {
    constexpr std::uint32_t kCount = 40;
    std::vector<std::int32_t> results(kCount, 1);
    std::vector<std::thread> waiters;
    for (std::uint32_t i = 0; i < kCount; ++i) {
        waiters.emplace_back([&results, i] {
            BinaryReferencePtr reference;
            results[i] = WaitForBinaryData(MakeGuid(i), 30s, reference);
            if (!IsWhole(reference, MakeGuid(i), 64)) results[i] = 1;
        });
    }
    for (std::uint32_t i = 0; i < kCount; ++i)
        EXPECT_EQ(Publish(MakeGuid(i), 64), kSuccess);
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(results, std::vector<std::int32_t>(kCount, kSuccess));
}

TEST_F(SharingTest, TheListTellsWhatStandsUnderEachGuid) {
    Child publisher([&](Line& inLine) {
        CHILD_CHECK(InitializeClient());
        CHILD_CHECK(Publish(MakeGuid(1), 1000) == kSuccess);
        CHILD_CHECK(PutBinaryDataGenerationError(MakeGuid(2), -9) == kSuccess);
        inLine.Tell();
        inLine.Hear();
    });
    ASSERT_TRUE(publisher.GetLine().Hear());
    BinaryReferencePtr reference;
    ASSERT_EQ(GetBinaryDataIfAvailable(MakeGuid(1), reference), kSuccess);
    ASSERT_EQ(MakeBinaryDataAlias(MakeGuid(1), reference, MakeGuid(3)), kSuccess);
    ASSERT_EQ(Publish(MakeGuid(4), 64), kSuccess);

    std::vector<Publication> list = ListBinaryData();
    std::sort(list.begin(), list.end(),
              [](const auto& inA, const auto& inB) { return inA.guid < inB.guid; });
    ASSERT_EQ(list.size(), 4U);
    const auto child = static_cast<std::uint32_t>(publisher.Process());
    const auto self = static_cast<std::uint32_t>(getpid());
    const Publication expected[] = {{MakeGuid(1), 1000, child, false, 0},
                                    {MakeGuid(2), 0, child, false, -9},
                                    {MakeGuid(3), 1000, child, true, 0},
                                    {MakeGuid(4), 64, self, false, 0}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(list[i].guid, expected[i].guid);
        EXPECT_EQ(list[i].size, expected[i].size);
        EXPECT_EQ(list[i].process, expected[i].process);
        EXPECT_EQ(list[i].isAlias, expected[i].isAlias);
        EXPECT_EQ(list[i].errorCode, expected[i].errorCode);
    }
}

}  // namespace

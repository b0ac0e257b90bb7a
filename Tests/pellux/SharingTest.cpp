// Publishing, receiving, aliases, errors and waiting.
#include <sys/mman.h>
#include <sys/resource.h>

#include "ServiceTest.h"

using namespace service_test;

namespace {

using SharingTest = ServiceTest;

TEST_F(SharingTest, ProcessesSeeEachOthersPublications) {
    const Guid guid = MakeGuid(1), alias = MakeGuid(3);
    constexpr std::uint64_t kSize = 5 * kMiB + 8;
    OtherClient other([&] {
        Check(Publish(guid, kSize) == kSuccess);
        Check(PutBinaryDataGenerationError(MakeGuid(2), -9) == kSuccess);
    });
    const std::uint64_t bytesBefore = CountSharedBytes();
    const BinaryReferencePtr held = Get(guid);
    ASSERT_TRUE(IsWhole(held, guid, kSize));
    void* const data = const_cast<void*>(held->GetData());
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % kPage, 0U);
    EXPECT_NE(mprotect(data, kPage, PROT_READ | PROT_WRITE), 0) << "it can never be written to";

    EXPECT_EQ(MakeBinaryDataAlias(guid, held, alias), kSuccess);
    EXPECT_EQ(MakeBinaryDataAlias(guid, held, alias), kGuidTaken);
    EXPECT_EQ(Publish(alias, 64), kGuidTaken);
    EXPECT_TRUE(IsWhole(Get(alias), guid, kSize));
    EXPECT_LT(CountSharedBytes(), bytesBefore + kMiB) << "an alias has no bytes of its own";

    ASSERT_EQ(Publish(MakeGuid(4), 64), kSuccess);
    // Guid, process, size, error code, whether it is an alias
    std::vector<std::tuple<std::uint32_t, pid_t, std::uint64_t, std::int32_t, bool>> list;
    for (const Publication& each : ListBinaryData())
        list.emplace_back(each.guid.part1, each.process, each.size, each.errorCode, each.isAlias);
    std::sort(list.begin(), list.end());
    EXPECT_EQ(list, (decltype(list){{1, other.Id(), kSize, 0, false},
                                    {2, other.Id(), 0, -9, false},
                                    {3, getpid(), kSize, 0, true},
                                    {4, getpid(), 64, 0, false}}));

    EXPECT_TRUE(other.Stop());
    for (const std::uint32_t number : {1U, 2U})
        EXPECT_FALSE(Get(MakeGuid(number))) << number << " goes with its publisher";
    EXPECT_TRUE(IsWhole(Get(alias), guid, kSize));
}

TEST_F(SharingTest, AGuidIsTakenOnceAndABufferCompletedOnce) {
    const Guid data = MakeGuid(1), error = MakeGuid(2), other = MakeGuid(3);
    WritableBinaryReferencePtr writable;
    ASSERT_EQ(Publish(data, 64), kSuccess);
    ASSERT_EQ(PutBinaryDataGenerationError(error, -5), kSuccess);
    ASSERT_EQ(GetWritableBinaryData(4096, writable), kSuccess);
    for (const Guid& guid : {data, error}) {
        EXPECT_EQ(PutCompletedBinaryData(guid, writable), kGuidTaken);
        EXPECT_EQ(PutBinaryDataGenerationError(guid, -6), kGuidTaken);
    }
    EXPECT_TRUE(IsWhole(Get(data), data, 64));
    BinaryReferencePtr none;
    std::int32_t errorCode = 0;
    EXPECT_EQ(WaitForBinaryData(error, 0ms, none, &errorCode), kGenerationFailed);
    EXPECT_EQ(errorCode, -5);
    EXPECT_EQ(PutCompletedBinaryData(other, writable), kSuccess);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(4), writable), kBadReference);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(4), nullptr), kBadReference);
    EXPECT_EQ(MakeBinaryDataAlias(data, nullptr, MakeGuid(4)), kBadReference);
    EXPECT_FALSE(Get(MakeGuid(4)));
    for (const std::uint64_t size : {0UL, 1UL << 47, 1UL << 63, ~0UL - 4096, ~0UL})
        EXPECT_EQ(GetWritableBinaryData(size, writable), kNoRoom) << size;
}

TEST_F(SharingTest, APublicationCanBeHadBackWithoutADescriptor) {
    const OtherClient other([] {
        WritableBinaryReferencePtr writable;
        Check(GetWritableBinaryData(4096, writable) == kSuccess);
        rlimit usual{};
        getrlimit(RLIMIT_NOFILE, &usual);
        const rlimit none{0, usual.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        Check(PutCompletedBinaryData(MakeGuid(1), writable) == kSuccess);
        const BinaryReferencePtr own = Get(MakeGuid(1));
        setrlimit(RLIMIT_NOFILE, &usual);  // sanitizers need some for their checks
        Check(own && own->GetSize() == 4096 && own->GetData() == writable->GetData());
        Check(MakeBinaryDataAlias(MakeGuid(1), own, MakeGuid(2)) == kSuccess);
    });
    EXPECT_TRUE(Get(MakeGuid(2)));
}

TEST_F(SharingTest, WaitersAreWokenByDataAliasesAndErrors) {
    const Guid data = MakeGuid(1), alias = MakeGuid(2), error = MakeGuid(3);
    Process waiter([&](Process& inParent) {
        Check(InitializeClient());
        BinaryReferencePtr reference;
        for (const Guid& guid : {data, alias}) {
            inParent.Tell();
            Check(WaitForBinaryData(guid, 30s, reference) == kSuccess);
            Check(IsWhole(reference, data, 4096));
        }
        inParent.Tell();
        std::int32_t code = 0;
        Check(WaitForBinaryData(error, 30s, reference, &code) == kGenerationFailed);
        Check(code == -77 && !reference);
    });
    const std::function<std::int32_t()> kNews[] = {
        [&] { return Publish(data, 4096); },
        [&] { return MakeBinaryDataAlias(data, Get(data), alias); },
        [&] { return PutBinaryDataGenerationError(error, -77); }};
    for (const auto& bring : kNews) {
        EXPECT_TRUE(waiter.Hear());
        std::this_thread::sleep_for(20ms);
        EXPECT_EQ(bring(), kSuccess);
    }
    EXPECT_TRUE(waiter.Join());
}

}  // namespace

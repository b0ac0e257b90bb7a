#include <new>

#include "contracts/BrixFoundation.h"
#include "support/Testing.h"

using namespace Brix;

namespace {

int gBlocksFromSource = 0;

// Counts the blocks that are out, and so finds those that are lost or freed twice.
const BlockSource kCountingSource = {
    [](std::size_t inSize) {
        ++gBlocksFromSource;
        return std::aligned_alloc(4096, inSize);
    },
    [](void* inBlock, std::size_t) {
        --gBlocksFromSource;
        std::free(inBlock);
    },
};

class MemoryRecyclerTest : public testing::Test {
  protected:
    void SetUp() override { before_ = MemoryRecycler::SetBlockSource(kCountingSource); }
    void TearDown() override {
        EXPECT_EQ(gBlocksFromSource, 0);
        MemoryRecycler::SetBlockSource(before_);
    }

  private:
    BlockSource before_{};
};

}  // namespace

TEST_F(MemoryRecyclerTest, BlocksAreAlignedAndLargeEnoughForEverySize) {
    const MemoryRecycler::Pointer recycler;
    for (std::size_t size = 1; size < (std::size_t{1} << 26); size = size * 5 / 3 + 1) {
        for (const std::size_t exact : {size, size & ~std::size_t{4095}, size | 4095}) {
            const MemoryBuffer buffer = recycler->AllocateBuffer(exact);
            ASSERT_TRUE(buffer.address);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.address) % 128, 0U);
            EXPECT_GE(buffer.capacity, exact);
            EXPECT_LE(buffer.capacity, std::max<std::size_t>(32768, exact + exact / 8 + 1));
            static_cast<char*>(buffer.address)[0] = 1;
            static_cast<char*>(buffer.address)[buffer.capacity - 1] = 1;
            recycler->RecycleBuffer(buffer);
        }
    }
    for (const std::size_t power : {std::size_t{1} << 16, std::size_t{1} << 24}) {
        const MemoryBuffer exact = recycler->AllocateBuffer(power);
        const MemoryBuffer next = recycler->AllocateBuffer(power + 1);
        EXPECT_EQ(exact.capacity, power);
        EXPECT_EQ(next.capacity, power + power / 8);
        recycler->RecycleBuffer(exact);
        recycler->RecycleBuffer(next);
    }
}

TEST_F(MemoryRecyclerTest, WhatIsKeptStaysWithinTheBoundOldestGoingFirst) {
    const MemoryRecycler::Pointer recycler;
    std::vector<MemoryBuffer> buffers;
    for (const std::size_t size : {1U << 20, 2U << 20, 3U << 20, 4U << 20}) {
        buffers.push_back(recycler->AllocateBuffer(size));
    }
    for (const MemoryBuffer& buffer : buffers)
        recycler->RecycleBuffer(buffer);
    EXPECT_EQ(recycler->KeptBytes(), std::size_t{10} << 20);
    recycler->SetKeptBytesLimit(std::size_t{7} << 20);
    EXPECT_EQ(recycler->KeptBytes(), std::size_t{7} << 20);
    EXPECT_EQ(recycler->AllocateBuffer(3U << 20).address, buffers[2].address);
    recycler->RecycleBuffer(buffers[2]);
    recycler->SetKeptBytesLimit(std::size_t{3} << 20);
    EXPECT_EQ(gBlocksFromSource, 1);
    recycler->SetKeptBytesLimit(0);
    EXPECT_EQ(gBlocksFromSource, 0);
    recycler->SetKeptBytesLimit(std::size_t{512} << 20);
}

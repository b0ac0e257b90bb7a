#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <stdexcept>
#include <thread>
#include <vector>

#include "contracts/TuloCore.h"

using namespace tulocore;

TEST(MainThreadCalls, RunInOrderWithThoseTheyQueue) {
    std::vector<int> order;
    threads::AsyncCallFromMainThread([&] {
        order.push_back(1);
        threads::AsyncCallFromMainThread([&] { order.push_back(3); });
    });
    threads::AsyncCallFromMainThread([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(threads::RunMainThreadCalls(), 3U);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(threads::RunMainThreadCalls(), 0U);
}

TEST(MainThreadCalls, ExceptionLeavesTheRestWaiting) {
    bool ran = false;
    threads::AsyncCallFromMainThread([] { throw std::runtime_error("no"); });
    threads::AsyncCallFromMainThread([&] { ran = true; });
    EXPECT_THROW(threads::RunMainThreadCalls(), std::runtime_error);
    EXPECT_FALSE(ran);
    EXPECT_EQ(threads::RunMainThreadCalls(), 1U);
    EXPECT_TRUE(ran);
}

TEST(Tasks, EveryIndexRunsOnce) {
    for (const int count : {0, 1, 2, 3, 1000}) {
        std::vector<std::atomic<int>> runs(static_cast<std::size_t>(count));
        threads::ExecuteCPUBoundTaskOnAllProcessors(
            [&](int inIndex) { ++runs[static_cast<std::size_t>(inIndex)]; }, count);
        for (const std::atomic<int>& run : runs)
            EXPECT_EQ(run, 1);
    }
}

TEST(Tasks, FirstExceptionComesBackAfterAllHaveStopped) {
    std::atomic<int> inside = 0;
    for (int round = 0; round < 100; ++round) {
        EXPECT_THROW(threads::ExecuteCPUBoundTaskOnAllProcessors(
                         [&](int inIndex) {
                             ++inside;
                             if (inIndex == 3) {
                                 --inside;
                                 throw std::out_of_range("three");
                             }
                             std::this_thread::yield();
                             --inside;
                         },
                         50),
                     std::out_of_range);
        EXPECT_EQ(inside, 0);
    }
}

TEST(Tasks, RunFromManyThreadsAndFromWithinTasks) {
    std::atomic<int> total = 0;
    std::vector<std::jthread> callers;
    for (int i = 0; i < 6; ++i) {
        callers.emplace_back([&] {
            threads::ExecuteCPUBoundTaskOnAllProcessors(
                [&](int) {
                    threads::ExecuteCPUBoundTaskOnAllProcessors([&](int) { ++total; }, 10);
                },
                20);
        });
    }
    callers.clear();
    EXPECT_EQ(total, 6 * 20 * 10);
}

TEST(SmallBlocks, ServeAMapFromManyThreads) {
    using Map =
        std::map<int, int, std::less<>, utility::SmallBlockAllocator<std::pair<const int, int>>>;
    std::vector<std::jthread> threads;
    std::atomic<int> wrong = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            Map map;
            for (int k = 0; k < 5000; ++k)
                map[k % 100] = k * 7 + i;
            for (const auto& [key, value] : map)
                wrong += value != (4900 + key) * 7 + i;
        });
    }
    threads.clear();
    EXPECT_EQ(wrong, 0);
}

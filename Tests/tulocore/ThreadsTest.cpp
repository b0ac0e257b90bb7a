#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "contracts/TuloCore.h"

using namespace tulocore;

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

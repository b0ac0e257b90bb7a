#include <stdexcept>

#include "contracts/TuloCore.h"
#include "support/Testing.h"

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

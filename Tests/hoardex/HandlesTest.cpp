#include "contracts/Hoardex.h"
#include "support/Testing.h"

namespace {

std::string Text(TvHandle inHandle) {
    return {static_cast<const char*>(*inHandle),
            static_cast<std::size_t>(TvGetHandleSize(inHandle))};
}

TvHandle NewText(const std::string& inText) {
    const TvHandle handle = TvNewHandle(static_cast<std::int64_t>(inText.size()));
    std::memcpy(*handle, inText.data(), inText.size());
    return handle;
}

TEST(Handles, KeepTheirBytesWhenTheyGrow) {
    const std::int64_t before = hoardex::CountBlocks();
    const TvHandle handle = NewText("middle");
    EXPECT_EQ(InsertHandItem(-1, handle, 3, "end"), 0);
    EXPECT_EQ(InsertHandItem(0, handle, 6, "start-"), 0);
    EXPECT_EQ(InsertHandItem(12, handle, 1, "-"), 0);
    EXPECT_EQ(Text(handle), "start-middle-end");
    EXPECT_EQ(TvSetHandleSize(handle, 5), 0);
    EXPECT_EQ(Text(handle), "start");
    EXPECT_EQ(TvSetHandleSize(handle, 1 << 20), 0);
    EXPECT_EQ(Text(handle).substr(0, 5), "start");
    TvDisposeHandle(handle);
    EXPECT_EQ(hoardex::CountBlocks(), before);
}

TEST(Handles, LockedBlocksStay) {
    const TvHandle handle = TvNewHandleClear(16);
    TvHLock(handle);
    TvHLock(handle);
    TvHUnlock(handle);
    const void* const place = *handle;
    EXPECT_EQ(TvSetHandleSize(handle, 1 << 20), -108);
    EXPECT_EQ(InsertHandItem(-1, handle, 1, "x"), -108);
    EXPECT_EQ(TvSetHandleSize(handle, 16), 0);
    EXPECT_EQ(TvSetHandleSize(handle, 8), 0);
    EXPECT_EQ(*handle, place);
    EXPECT_EQ(Text(handle), std::string(8, '\0'));
    TvHUnlock(handle);
    EXPECT_EQ(TvSetHandleSize(handle, 1 << 20), 0);
    TvDisposeHandle(handle);
}

TEST(Handles, TakeBadInputAndFailWithoutMemory) {
    EXPECT_EQ(TvNewHandle(-1), nullptr);
    EXPECT_EQ(TvNewPtr(-1), nullptr);
    const TvHandle disposed = TvNewHandle(0), kept = NewText("kept");
    EXPECT_EQ(InsertHandItem(-1, disposed, -1, "x"), -50);
    EXPECT_EQ(InsertHandItem(0, kept, -1, "x"), -50);
    EXPECT_EQ(TvSetHandleSize(disposed, -1), -50);
    TvDisposeHandle(disposed);
    const std::int64_t before = hoardex::CountBlocks();
    for (const TvHandle handle : {disposed, TvHandle{nullptr}}) {
        TvDisposeHandle(handle);
        TvHLock(handle);
        TvHUnlock(handle);
        EXPECT_EQ(TvGetHandleSize(handle), 0);
        EXPECT_EQ(TvSetHandleSize(handle, 4), -50);
        EXPECT_EQ(InsertHandItem(-1, handle, 1, "x"), -50);
    }
    hoardex::FailAllocationsAfter(0);
    EXPECT_EQ(TvNewHandle(4), nullptr);
    EXPECT_EQ(TvNewPtr(4), nullptr);
    EXPECT_EQ(InsertHandItem(0, kept, 4, "more"), -108);
    EXPECT_EQ(InsertHandItem(0, kept, INT64_MAX - 4, "more"), -108);
    EXPECT_EQ(InsertHandItem(0, kept, INT64_MAX - 3, "more"), -50);
    hoardex::FailAllocationsAfter(-1);
    EXPECT_EQ(Text(kept), "kept");
    EXPECT_EQ(hoardex::CountBlocks(), before);
    // Its place is needed again as late as possible.
    const TvHandle next = TvNewHandle(1);
    EXPECT_NE(next, disposed);
    TvDisposeHandle(next);
    TvDisposeHandle(kept);
}

}  // namespace

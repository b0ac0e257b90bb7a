#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>
#include <type_traits>

#include "contracts/Hoardex.h"

namespace {

constexpr std::int16_t kNoError = 0;
constexpr std::int16_t kBadParameter = -50;
constexpr std::int16_t kNoMemory = -108;

// ---------------------------------------------------------------------------------------------
// Blocks

std::atomic<std::int64_t> gBlocks = 0;
thread_local std::int64_t tAllocationsLeft = -1;  // below 0: no bound

bool MayAllocate() {
    if (tAllocationsLeft < 0) return true;
    if (tAllocationsLeft == 0) return false;
    --tAllocationsLeft;
    return true;
}

std::size_t BytesOf(std::int64_t inSize) {
    return inSize > 0 ? static_cast<std::size_t>(inSize) : 1;
}

void* AllocateBlock(std::int64_t inSize, bool inIsClear) {
    if (inSize < 0 || !MayAllocate()) return nullptr;
    void* const block = inIsClear ? std::calloc(1, BytesOf(inSize)) : std::malloc(BytesOf(inSize));
    if (block) ++gBlocks;
    return block;
}

void FreeBlock(void* inBlock) {
    if (!inBlock) return;
    std::free(inBlock);
    --gBlocks;
}

// ---------------------------------------------------------------------------------------------
// Master pointers

// What a handle points to, and what is known of its block.
struct Master {
    void* block = nullptr;  // first: a handle is its address
    std::int64_t size = 0;
    std::int32_t locks = 0;
    Master* nextFree = nullptr;
};

// Places for master pointers. They are never given back, so that a handle can be looked at after
// its end, and the one that has been free longest is used first.
class Masters {
  public:
    /// Null when there is no memory.
    Master* Take() {
        const std::lock_guard lock(mutex_);
        if (!firstFree_ && !Grow()) return nullptr;
        Master* const master = firstFree_;
        firstFree_ = master->nextFree;
        if (!firstFree_) lastFree_ = nullptr;
        return master;
    }

    void GiveBack(Master* inMaster) {
        const std::lock_guard lock(mutex_);
        *inMaster = {};
        Append(inMaster);
    }

  private:
    static constexpr std::size_t kGrowth = 1024;

    bool Grow() {
        auto* const masters = new (std::nothrow) std::array<Master, kGrowth>;
        if (!masters) return false;
        for (Master& master : *masters)
            Append(&master);
        return true;
    }

    void Append(Master* inMaster) {
        (lastFree_ ? lastFree_->nextFree : firstFree_) = inMaster;
        lastFree_ = inMaster;
    }

    std::mutex mutex_;
    Master* firstFree_ = nullptr;
    Master* lastFree_ = nullptr;
};

// Never destroyed: hosts dispose of handles while the process ends.
constinit Masters gMasters;
static_assert(std::is_trivially_destructible_v<Masters>);

// Null for a handle without a block.
Master* Find(TvHandle inHandle) {
    return inHandle && *inHandle ? reinterpret_cast<Master*>(inHandle) : nullptr;
}

TvHandle NewHandle(std::int64_t inSize, bool inIsClear) {
    void* const block = AllocateBlock(inSize, inIsClear);
    if (!block) return nullptr;
    Master* const master = gMasters.Take();
    if (!master) {
        FreeBlock(block);
        return nullptr;
    }
    master->nextFree = nullptr;
    master->size = inSize;
    master->block = block;
    return &master->block;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Handles

TvHandle TvNewHandle(std::int64_t inSize) {
    return NewHandle(inSize, false);
}

TvHandle TvNewHandleClear(std::int64_t inSize) {
    return NewHandle(inSize, true);
}

void TvDisposeHandle(TvHandle inHandle) {
    Master* const master = Find(inHandle);
    if (!master) return;
    FreeBlock(master->block);
    gMasters.GiveBack(master);
}

std::int64_t TvGetHandleSize(TvHandle inHandle) {
    const Master* const master = Find(inHandle);
    return master ? master->size : 0;
}

std::int16_t TvSetHandleSize(TvHandle inHandle, std::int64_t inSize) {
    Master* const master = Find(inHandle);
    if (!master || inSize < 0) return kBadParameter;
    const bool shrinks = inSize <= master->size;
    if (master->locks > 0 && !shrinks) return kNoMemory;
    // A locked block stays where it is, with more room than it needs.
    if (master->locks == 0) {
        void* const block =
            shrinks || MayAllocate() ? std::realloc(master->block, BytesOf(inSize)) : nullptr;
        if (!block && !shrinks) return kNoMemory;
        if (block) master->block = block;
    }
    master->size = inSize;
    return kNoError;
}

void TvHLock(TvHandle inHandle) {
    if (Master* const master = Find(inHandle)) ++master->locks;
}

void TvHUnlock(TvHandle inHandle) {
    Master* const master = Find(inHandle);
    if (master && master->locks > 0) --master->locks;
}

std::int16_t InsertHandItem(std::int64_t inPosition, TvHandle inHandle, std::int64_t inSize,
                            const void* inData) {
    const std::int64_t oldSize = TvGetHandleSize(inHandle);
    const std::int64_t position = inPosition == -1 ? oldSize : inPosition;
    if (!Find(inHandle) || position < 0 || position > oldSize) return kBadParameter;
    if (inSize < 0 || inSize > std::numeric_limits<std::int64_t>::max() - oldSize)
        return kBadParameter;
    if (const std::int16_t result = TvSetHandleSize(inHandle, oldSize + inSize)) return result;
    auto* const place = static_cast<std::byte*>(*inHandle) + position;
    TvBlockMove(place, place + inSize, oldSize - position);
    TvBlockMove(inData, place, inSize);
    return kNoError;
}

// ---------------------------------------------------------------------------------------------
// Plain blocks

void* TvNewPtr(std::int64_t inSize) {
    return AllocateBlock(inSize, false);
}

void TvDisposePtr(void* inBlock) {
    FreeBlock(inBlock);
}

void TvBlockMove(const void* inSource, void* outDestination, std::int64_t inByteCount) {
    if (inByteCount > 0)
        std::memmove(outDestination, inSource, static_cast<std::size_t>(inByteCount));
}

namespace hoardex {

std::int64_t CountBlocks() {
    return gBlocks;
}

void FailAllocationsAfter(std::int64_t inCount) {
    tAllocationsLeft = inCount;
}

}  // namespace hoardex

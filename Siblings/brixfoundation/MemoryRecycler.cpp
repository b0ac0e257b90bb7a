#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <new>
#include <vector>

#include "contracts/BrixFoundation.h"

namespace Brix {
namespace {

constexpr std::size_t kBlockAlignment = 4096;

BlockSource gBlockSource = {
    [](std::size_t inSize) { return std::aligned_alloc(kBlockAlignment, inSize); },
    [](void* inBlock, std::size_t) { std::free(inBlock); },
};

std::atomic<std::size_t> gKeptBytesLimit = std::size_t{512} << 20;

// ---------------------------------------------------------------------------------------------
// Size classes: eight to each doubling, so that at most an eighth of a block is wasted.

constexpr std::size_t kStepsPerDoubling = 8;
constexpr std::size_t kSmallestClass = kBlockAlignment * kStepsPerDoubling;
constexpr std::size_t kLargestSize = std::numeric_limits<std::size_t>::max() / 4;
constexpr std::size_t kClassCount = 64 * kStepsPerDoubling;

// The capacity that serves a size: sizes below kSmallestClass share one class.
std::size_t ClassCapacity(std::size_t inSize) {
    if (inSize <= kSmallestClass) return kSmallestClass;
    const std::size_t step = std::bit_floor(inSize - 1) / kStepsPerDoubling;
    return (inSize + step - 1) / step * step;
}

// A number of its own for every capacity.
std::size_t ClassIndex(std::size_t inCapacity) {
    const auto doubling = static_cast<std::size_t>(std::bit_width(inCapacity) - 1);
    const std::size_t step = std::bit_floor(inCapacity) / kStepsPerDoubling;
    return doubling * kStepsPerDoubling + (inCapacity / step - kStepsPerDoubling);
}

struct KeptBlock {
    void* address;
    std::uint64_t keptSince;  // counts blocks kept, so that the smallest is the oldest
};

// The blocks of one size class, oldest first; the youngest, warmest one is reused first.
struct SizeClass {
    std::size_t capacity = 0;
    std::vector<KeptBlock> kept;
};

}  // namespace

struct MemoryRecycler::State {
    std::mutex mutex;
    std::array<SizeClass, kClassCount> classes;
    std::size_t keptBytes = 0;
    std::uint64_t keptEver = 0;

    // Frees blocks, the longest kept first, until no more than the given bytes are kept.
    void Trim(std::size_t inBytes) {
        while (keptBytes > inBytes) {
            SizeClass* oldest = nullptr;
            for (SizeClass& sizeClass : classes) {
                if (sizeClass.kept.empty()) continue;
                if (!oldest || sizeClass.kept[0].keptSince < oldest->kept[0].keptSince) {
                    oldest = &sizeClass;
                }
            }
            gBlockSource.free(oldest->kept[0].address, oldest->capacity);
            oldest->kept.erase(oldest->kept.begin());
            keptBytes -= oldest->capacity;
        }
    }
};

MemoryRecycler::MemoryRecycler() : state_(std::make_unique<State>()) {}

MemoryRecycler::~MemoryRecycler() {
    state_->Trim(0);
}

MemoryBuffer MemoryRecycler::AllocateBuffer(std::size_t inSize) {
    if (inSize > kLargestSize) return {};
    const std::size_t capacity = ClassCapacity(inSize);
    {
        const std::lock_guard lock(state_->mutex);
        SizeClass& sizeClass = state_->classes[ClassIndex(capacity)];
        if (!sizeClass.kept.empty()) {
            void* const address = sizeClass.kept.back().address;
            sizeClass.kept.pop_back();
            state_->keptBytes -= capacity;
            return {address, capacity};
        }
    }
    void* const address = gBlockSource.allocate(capacity);
    return address ? MemoryBuffer{address, capacity} : MemoryBuffer{};
}

void MemoryRecycler::RecycleBuffer(const MemoryBuffer& inBuffer) noexcept {
    if (!inBuffer.address) return;
    try {
        const std::lock_guard lock(state_->mutex);
        SizeClass& sizeClass = state_->classes[ClassIndex(inBuffer.capacity)];
        sizeClass.capacity = inBuffer.capacity;
        sizeClass.kept.push_back({inBuffer.address, state_->keptEver++});
        state_->keptBytes += inBuffer.capacity;
        if (state_->keptBytes > gKeptBytesLimit) state_->Trim(gKeptBytesLimit);
    } catch (const std::bad_alloc&) {
        gBlockSource.free(inBuffer.address, inBuffer.capacity);
    }
}

std::size_t MemoryRecycler::KeptBytes() const {
    const std::lock_guard lock(state_->mutex);
    return state_->keptBytes;
}

void MemoryRecycler::SetKeptBytesLimit(std::size_t inBytes) {
    gKeptBytesLimit = inBytes;
    const std::lock_guard lock(state_->mutex);
    state_->Trim(inBytes);
}

BlockSource MemoryRecycler::SetBlockSource(BlockSource inSource) {
    return std::exchange(gBlockSource, inSource);
}

// ---------------------------------------------------------------------------------------------
// The one instance and its holders. Only the step from no holder to one, and back, takes the lock.

namespace {

struct Holders {
    std::atomic<std::size_t> count = 0;
    std::mutex mutex;
    MemoryRecycler* instance = nullptr;  // written under the lock while there is no holder

    // Changes the count by one without the lock, unless it stands at inLimit.
    template <class Step>
    bool TryStep(std::size_t inLimit, Step inStep) {
        std::size_t current = count.load(std::memory_order_relaxed);
        while (current > inLimit) {
            if (count.compare_exchange_weak(current, inStep(current), std::memory_order_acq_rel)) {
                return true;
            }
        }
        return false;
    }
};

// Never destroyed: frames held by the host's globals go while the process ends.
Holders& InstanceHolders() {
    static Holders& holders = *new Holders;
    return holders;
}

}  // namespace

MemoryRecycler::Pointer::Pointer() {
    Holders& holders = InstanceHolders();
    if (!holders.TryStep(0, [](std::size_t inCount) { return inCount + 1; })) {
        const std::lock_guard lock(holders.mutex);
        if (holders.count == 0) holders.instance = new MemoryRecycler;
        ++holders.count;
    }
    recycler_ = holders.instance;
}

MemoryRecycler::Pointer::~Pointer() {
    Holders& holders = InstanceHolders();
    if (holders.TryStep(1, [](std::size_t inCount) { return inCount - 1; })) return;
    const std::lock_guard lock(holders.mutex);
    if (--holders.count == 0) delete std::exchange(holders.instance, nullptr);
}

}  // namespace Brix

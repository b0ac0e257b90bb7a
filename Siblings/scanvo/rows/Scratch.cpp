#include "rows/Scratch.h"

#include <utility>

namespace scanvo {
namespace {

// Room for a dozen float rows of a 4096 pixel picture. Pages that no call needs are never touched.
constexpr std::size_t kBlockBytes = std::size_t{1} << 20;
constexpr std::size_t kAlignment = 64;

// Calls may still come from what runs after a thread's block is gone.
thread_local bool hasEnded = false;

struct IdleBlock {
    ~IdleBlock() { hasEnded = true; }

    std::unique_ptr<std::byte[]> bytes;
};

thread_local IdleBlock idleBlock;

// A call made from inside another finds no idle block and gets one of its own.
std::unique_ptr<std::byte[]> TakeBlock() {
    if (!hasEnded && idleBlock.bytes) return std::move(idleBlock.bytes);
    return std::make_unique_for_overwrite<std::byte[]>(kBlockBytes);
}

}  // namespace

Scratch::Scratch()
    : block_(TakeBlock()), resource_(block_.get(), kBlockBytes, std::pmr::new_delete_resource()) {}

Scratch::~Scratch() {
    if (!hasEnded) idleBlock.bytes = std::move(block_);
}

std::byte* Scratch::Bytes(std::int64_t inCount) {
    return static_cast<std::byte*>(
        resource_.allocate(static_cast<std::size_t>(inCount), kAlignment));
}

float* Scratch::Floats(std::int32_t inCount) {
    return reinterpret_cast<float*>(Bytes(std::int64_t{sizeof(float)} * inCount));
}

PlanarRow Scratch::Row(std::int32_t inWidth) {
    PlanarRow row;
    for (float*& plane : row) {
        plane = Floats(inWidth);
    }
    return row;
}

void ReleaseThreadScratch() {
    if (!hasEnded) idleBlock.bytes.reset();
}

}  // namespace scanvo

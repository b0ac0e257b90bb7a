#include <memory_resource>

#include "contracts/BrixFoundation.h"

namespace Brix {
namespace {

// Never destroyed: frames held by the host's globals go while the process ends.
std::pmr::memory_resource& Pool() {
    static auto& pool = *new std::pmr::synchronized_pool_resource;
    return pool;
}

}  // namespace

void* Allocator::Allocate(std::size_t inSize) {
    return Pool().allocate(inSize, alignof(std::max_align_t));
}

void Allocator::Dispose(void* inBlock, std::size_t inSize) noexcept {
    if (inBlock) Pool().deallocate(inBlock, inSize, alignof(std::max_align_t));
}

}  // namespace Brix

#include <memory_resource>

#include "contracts/TuloCore.h"

namespace tulocore::utility {
namespace {

// Never destroyed: maps of other libraries give their nodes back while the process ends.
std::pmr::memory_resource& Pool() {
    static auto& pool = *new std::pmr::synchronized_pool_resource;
    return pool;
}

}  // namespace

void* AllocateSmallBlock(std::size_t inSize) {
    return Pool().allocate(inSize, alignof(std::max_align_t));
}

void FreeSmallBlock(void* inBlock, std::size_t inSize) noexcept {
    Pool().deallocate(inBlock, inSize, alignof(std::max_align_t));
}

}  // namespace tulocore::utility

#include <new>

#include "contracts/TuloCore.h"

namespace tulocore::utility {

// The C library keeps small blocks ready for each thread.

void* AllocateSmallBlock(std::size_t inSize) {
    return ::operator new(inSize);
}

void FreeSmallBlock(void* inBlock, std::size_t /*inSize*/) noexcept {
    ::operator delete(inBlock);
}

}  // namespace tulocore::utility

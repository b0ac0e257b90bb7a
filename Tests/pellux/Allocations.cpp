// Lets a test refuse memory. A file of its own, since compilers know what operator new does
// elsewhere.
#include <cstdlib>
#include <new>

constinit thread_local int allocationsLeft = -1;  // below 0: no bound

void* operator new(std::size_t inSize) {
    if (allocationsLeft == 0) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    if (void* const block = std::malloc(inSize)) return block;
    throw std::bad_alloc();
}

void operator delete(void* inBlock) noexcept {
    std::free(inBlock);
}

void operator delete(void* inBlock, std::size_t) noexcept {
    std::free(inBlock);
}

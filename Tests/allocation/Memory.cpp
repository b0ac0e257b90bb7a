#include "Memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

// What the linker makes of each call of these functions; the sanitizers' own ones come last.
extern "C" {
void* __real_malloc(std::size_t inSize);
void* __real_calloc(std::size_t inCount, std::size_t inSize);
void* __real_realloc(void* inBlock, std::size_t inSize);
void* __real_aligned_alloc(std::size_t inAlignment, std::size_t inSize);
void __real_free(void* inBlock);

// The program has libraries twice: as the objects that it wraps, and as its other libraries need
// them.
const char* __asan_default_options() {
    return "detect_odr_violation=0";
}
}

namespace {

std::atomic<bool> gIsCounting = false;
std::atomic<bool> gIsForGood = false;
std::atomic<bool> gHasRefused = false;
std::atomic<std::int64_t> gLeft = 0;
std::atomic<std::int64_t> gLive = 0;

bool IsRefused() {
    if (!gIsCounting) return false;
    const std::int64_t left = gLeft--;
    if (left > 0 || (left < 0 && !gIsForGood)) return false;
    gHasRefused = true;
    return true;
}

void* Counted(void* inBlock) {
    if (inBlock) ++gLive;
    return inBlock;
}

void* TryNew(std::size_t inSize, std::size_t inAlignment) {
    if (IsRefused()) return nullptr;
    if (inAlignment == 1) return Counted(__real_malloc(inSize));
    const std::size_t size = (inSize + inAlignment - 1) / inAlignment * inAlignment;
    return Counted(__real_aligned_alloc(inAlignment, size));
}

void* New(std::size_t inSize, std::size_t inAlignment) {
    if (void* const block = TryNew(inSize, inAlignment)) return block;
    throw std::bad_alloc();
}

void Delete(void* inBlock) {
    if (inBlock) --gLive;
    __real_free(inBlock);
}

}  // namespace

namespace memory {

void RefuseAfter(std::int64_t inCount, bool inForGood) {
    gLeft = inCount;
    gIsForGood = inForGood;
    gHasRefused = false;
    gIsCounting = true;
}

bool EndRefusal() {
    gIsCounting = false;
    return gHasRefused;
}

std::int64_t LiveBlocks() {
    return gLive;
}

}  // namespace memory

#pragma GCC visibility push(default)  // the sanitizers' libraries refer to them, too
extern "C" {
void* __wrap_malloc(std::size_t inSize) {
    return IsRefused() ? nullptr : Counted(__real_malloc(inSize));
}
void* __wrap_calloc(std::size_t inCount, std::size_t inSize) {
    return IsRefused() ? nullptr : Counted(__real_calloc(inCount, inSize));
}
void* __wrap_realloc(void* inBlock, std::size_t inSize) {
    if (IsRefused()) return nullptr;
    void* const block = __real_realloc(inBlock, inSize);
    return inBlock ? block : Counted(block);
}
void* __wrap_aligned_alloc(std::size_t inAlignment, std::size_t inSize) {
    return IsRefused() ? nullptr : Counted(__real_aligned_alloc(inAlignment, inSize));
}
void __wrap_free(void* inBlock) {
    Delete(inBlock);
}
}
#pragma GCC visibility pop

// The standard library's other forms call these; those of the address sanitizer do not, so there
// must be a partner for each.
void* operator new(std::size_t inSize) {
    return New(inSize, 1);
}
void* operator new[](std::size_t inSize) {
    return New(inSize, 1);
}
void* operator new(std::size_t inSize, const std::nothrow_t&) noexcept {
    return TryNew(inSize, 1);
}
void* operator new(std::size_t inSize, std::align_val_t inAlignment) {
    return New(inSize, static_cast<std::size_t>(inAlignment));
}
#define MEMORY_DELETE(form, ...)                                            \
    void operator form(void* inBlock __VA_OPT__(, ) __VA_ARGS__) noexcept { \
        Delete(inBlock);                                                    \
    }
MEMORY_DELETE(delete)
MEMORY_DELETE(delete[])
MEMORY_DELETE(delete, std::size_t)
MEMORY_DELETE(delete[], std::size_t)
MEMORY_DELETE(delete, std::align_val_t)
MEMORY_DELETE(delete, std::size_t, std::align_val_t)

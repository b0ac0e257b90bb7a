// Blocks of global memory. They never move, whatever their flags.

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "Objects.h"

namespace {

struct Block : win32::Object {
    explicit Block(SIZE_T inBytes)
        : bytes(std::make_unique_for_overwrite<std::byte[]>(std::max<SIZE_T>(inBytes, 1))),
          size(inBytes) {}

    std::unique_ptr<std::byte[]> bytes;
    SIZE_T size;
    std::int64_t locks = 0;
};

}  // namespace

using win32::LockedObjects;

HGLOBAL GlobalAlloc(UINT inFlags, SIZE_T inBytes) {
    const HGLOBAL handle = win32::Make<Block>(inBytes);
    if (!handle || (inFlags & GMEM_ZEROINIT) == 0) return handle;
    // Nobody else knows the handle yet.
    const auto block = LockedObjects()->Find<Block>(handle);
    std::memset(block->bytes.get(), 0, inBytes);
    return handle;
}

HGLOBAL GlobalFree(HGLOBAL inBlock) {
    return LockedObjects()->Remove<Block>(inBlock) ? nullptr : inBlock;
}

LPVOID GlobalLock(HGLOBAL inBlock) {
    const LockedObjects objects;
    const auto block = objects->Find<Block>(inBlock);
    if (!block) return nullptr;
    ++block->locks;
    return block->bytes.get();
}

BOOL GlobalUnlock(HGLOBAL inBlock) {
    const LockedObjects objects;
    const auto block = objects->Find<Block>(inBlock);
    if (!block || block->locks == 0) return false;
    return --block->locks > 0;
}

SIZE_T GlobalSize(HGLOBAL inBlock) {
    const auto block = LockedObjects()->Find<Block>(inBlock);
    return block ? block->size : 0;
}

HGLOBAL GlobalHandle(const void* inAddress) {
    return LockedObjects()->FindHandle<Block>(
        [inAddress](const Block& block) { return block.bytes.get() == inAddress; });
}

HLOCAL LocalAlloc(UINT inFlags, SIZE_T inBytes) {
    static_assert(LMEM_ZEROINIT == GMEM_ZEROINIT && LMEM_MOVEABLE == GMEM_MOVEABLE);
    return GlobalAlloc(inFlags, inBytes);
}

HLOCAL LocalFree(HLOCAL inBlock) {
    return GlobalFree(inBlock);
}

LPVOID LocalLock(HLOCAL inBlock) {
    return GlobalLock(inBlock);
}

BOOL LocalUnlock(HLOCAL inBlock) {
    return GlobalUnlock(inBlock);
}

// The handle library: memory blocks that are reached through a pointer to a master pointer, so that
// a block can move when it grows. Any thread may call any function; one handle is used by one
// thread at a time.
//
// A handle keeps its place for ever: once disposed of, its master pointer is null until the place
// is given to a new handle, which happens as late as possible. Functions given a null handle, or
// one whose master pointer is null, do nothing and fail.
#pragma once

#include <cstddef>
#include <cstdint>

#include "SiblingApi.h"

/// A pointer to the master pointer to a block.
using TvHandle = void**;

extern "C" {

/// A handle to a new block of inSize bytes, or null when the size is negative or there is no
/// memory. The block of a size of 0 has an address, too. The second form fills the block with
/// zeros.
SIBLING_API TvHandle TvNewHandle(std::int64_t inSize);
SIBLING_API TvHandle TvNewHandleClear(std::int64_t inSize);

/// Frees the block and the handle, whatever its locks.
SIBLING_API void TvDisposeHandle(TvHandle inHandle);

/// The block's size in bytes; 0 where there is none.
SIBLING_API std::int64_t TvGetHandleSize(TvHandle inHandle);

/// Resizes the block and keeps its leading bytes; what is new is undefined. Returns 0, or -108 with
/// the block as it was when there is no memory or a locked block would have to move.
SIBLING_API std::int16_t TvSetHandleSize(TvHandle inHandle, std::int64_t inSize);

/// While a block is locked it does not move. Locks are counted.
SIBLING_API void TvHLock(TvHandle inHandle);
SIBLING_API void TvHUnlock(TvHandle inHandle);

/// Inserts inSize bytes from inData, which must not be in the block, at inPosition (-1: at the
/// end). Returns 0; -108 as TvSetHandleSize; -50 for a position outside the block or a negative
/// size.
SIBLING_API std::int16_t InsertHandItem(std::int64_t inPosition, TvHandle inHandle,
                                        std::int64_t inSize, const void* inData);

/// A plain block of inSize bytes, or null when the size is negative or there is no memory.
SIBLING_API void* TvNewPtr(std::int64_t inSize);
SIBLING_API void TvDisposePtr(void* inBlock);

/// Copies inByteCount bytes; the two may overlap.
SIBLING_API void TvBlockMove(const void* inSource, void* outDestination, std::int64_t inByteCount);

}  // extern "C"

namespace hoardex {

/// Blocks that are alive at the moment, handles and plain ones, for hosts that look for leaks.
SIBLING_API std::int64_t CountBlocks();

/// For tests: lets inCount further allocations of this thread succeed and all later ones fail;
/// -1 ends that.
SIBLING_API void FailAllocationsAfter(std::int64_t inCount);

}  // namespace hoardex

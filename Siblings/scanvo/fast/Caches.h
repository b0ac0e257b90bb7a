// When writing past the caches pays.
#pragma once

#include <cstdint>

namespace scanvo {

/// Bytes of the last-level cache, asked of the system once; a usual number where it does not say.
std::int64_t LastLevelCacheBytes();

/// For tests: goes on as if the system had said so.
void AssumeLastLevelCache(std::int64_t inBytes);

/// Whether a copy or conversion that reads and writes so many bytes in all leaves nothing in a
/// cache that would be found there afterwards.
inline bool IsWorthStreaming(std::int64_t inBytesTouched) {
    return inBytesTouched >= LastLevelCacheBytes() / 4 * 3;
}

/// The same of a fill. What is ordinarily written has to be read first, which caches are good at
/// for longer than at holding what was read and what is written.
inline bool IsFillWorthStreaming(std::int64_t inBytes) {
    return inBytes >= LastLevelCacheBytes() / 4 * 7;
}

}  // namespace scanvo

// Bytes copied and repeated, whatever they mean.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace scanvo {

/// Copies bytes between areas that do not overlap. What no cache would hold is written past the
/// caches: memory then need not be read first to be overwritten.
void CopyBytes(void* outDestination, const void* inSource, std::size_t inCount);

/// As CopyBytes, always past the caches. FinishCopies must follow the last one of a series.
void CopyPastCaches(void* outDestination, const void* inSource, std::size_t inCount);
void FinishCopies();

/// Bytes that repeat themselves with this period. There are enough of them for a vector of any
/// processor to begin at any place of the period.
constexpr std::size_t kPatternPeriod = 16;
using Pattern = std::array<std::byte, 256 + kPatternPeriod>;

/// Goes on with the pattern for inCount bytes. After streaming ones, which are written past the
/// caches, FinishCopies must follow.
void RepeatBytes(const Pattern& inPattern, std::byte* outArea, std::size_t inCount,
                 bool inIsStreamed);

}  // namespace scanvo

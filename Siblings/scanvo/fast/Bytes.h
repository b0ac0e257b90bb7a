// Copies of bytes, whatever they mean.
#pragma once

#include <cstddef>

namespace scanvo {

/// Copies bytes between areas that do not overlap. Blocks larger than a core's own cache are
/// written past the caches: nothing of them would be left there when the copy is done, and memory
/// need not be read first to be overwritten.
void CopyBytes(void* outDestination, const void* inSource, std::size_t inCount);

}  // namespace scanvo

// Refuses memory and counts it, for the whole program: operator new in every form, and the C
// library's functions as the libraries' objects that are linked into the program call them.
#pragma once

#include <cstdint>

namespace memory {

/// Lets inCount more allocations of any thread succeed and refuses the one after them, with
/// inForGood also all that follow.
void RefuseAfter(std::int64_t inCount, bool inForGood);

/// Ends that. Whether anything was refused.
bool EndRefusal();

/// Blocks that are alive at the moment.
std::int64_t LiveBlocks();

}  // namespace memory

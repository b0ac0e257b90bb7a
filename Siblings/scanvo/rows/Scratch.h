// Memory for the rows and weights of one call, without heap traffic for pictures of common sizes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>

#include "rows/PlanarRow.h"

namespace scanvo {

/// Lends memory that lives as long as the object does. A call uses one. The block behind it belongs
/// to the thread and is used again by its next call; what exceeds the block comes from the heap.
class Scratch {
  public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    /// Not initialised, aligned to a cache line.
    std::byte* Bytes(std::int64_t inCount);
    float* Floats(std::int32_t inCount);

    /// A row with room for inWidth samples in every plane.
    PlanarRow Row(std::int32_t inWidth);

    std::pmr::memory_resource* Resource() { return &resource_; }

  private:
    std::unique_ptr<std::byte[]> block_;
    std::pmr::monotonic_buffer_resource resource_;
};

/// Gives back the block that the calling thread keeps between calls.
void ReleaseThreadScratch();

}  // namespace scanvo

// The owner of one block of the memory recycler.
#pragma once

#include <utility>

#include "contracts/BrixFoundation.h"

namespace VF {

/// Takes a block from the memory recycler and gives it back in the end. Holds none when nothing
/// could be had; std::bad_alloc of the recycler passes through.
class RecyclerBuffer {
  public:
    RecyclerBuffer() = default;
    explicit RecyclerBuffer(std::size_t inSize)
        : buffer_(Brix::MemoryRecycler::Instance()->AllocateBuffer(inSize)) {}
    RecyclerBuffer(RecyclerBuffer&& inOther) noexcept
        : buffer_(std::exchange(inOther.buffer_, {})) {}
    RecyclerBuffer& operator=(RecyclerBuffer&& inOther) noexcept {
        std::swap(buffer_, inOther.buffer_);
        return *this;
    }
    ~RecyclerBuffer() {
        if (buffer_.address) Brix::MemoryRecycler::Instance()->RecycleBuffer(buffer_);
    }

    std::byte* Address() const { return static_cast<std::byte*>(buffer_.address); }

  private:
    Brix::MemoryBuffer buffer_;
};

}  // namespace VF

// Owners of what the operating system hands out: descriptors and mappings.
#pragma once

#include <unistd.h>

#include <array>
#include <cstddef>
#include <utility>

namespace pellux {

/// Owns a file descriptor.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int inNumber) : number_(inNumber) {}
    Descriptor(Descriptor&& inOther) noexcept : number_(std::exchange(inOther.number_, -1)) {}
    Descriptor& operator=(Descriptor&& inOther) noexcept {
        std::swap(number_, inOther.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }

    explicit operator bool() const { return number_ >= 0; }
    int Number() const { return number_; }

  private:
    int number_ = -1;
};

enum class Access { kRead, kReadWrite };

/// A path to an open file for the calls that take only paths.
class PathOf {
  public:
    explicit PathOf(const Descriptor& inFile);
    const char* c_str() const { return text_.data(); }

  private:
    std::array<char, 32> text_;  // where files are let go of, there may be no memory
};

/// Opens the same file once more; locks of the one descriptor are not the other's. Empty with errno
/// set on failure.
Descriptor Reopen(const Descriptor& inFile, Access inAccess);

/// Owns a shared mapping of a whole file.
class Memory {
  public:
    Memory() = default;
    /// Maps inSize bytes from the start of the file and fills the page tables at once, so that the
    /// first use costs no faults. Empty with errno set when the system refuses.
    Memory(const Descriptor& inFile, std::size_t inSize, Access inAccess);
    Memory(Memory&& inOther) noexcept
        : start_(std::exchange(inOther.start_, nullptr)), size_(inOther.size_) {}
    Memory& operator=(Memory&& inOther) noexcept {
        std::swap(start_, inOther.start_);
        std::swap(size_, inOther.size_);
        return *this;
    }
    ~Memory();

    explicit operator bool() const { return start_ != nullptr; }
    std::byte* Start() const { return start_; }
    std::size_t Size() const { return size_; }

  private:
    std::byte* start_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace pellux

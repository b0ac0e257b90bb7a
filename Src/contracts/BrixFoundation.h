// The foundation library: counted interfaces, rectangles, locks, the memory recycler and the
// small-object allocator.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "SiblingApi.h"
#include "TuloCore.h"

/// Names the rectangle flavour of Brix::ParamRect: signed 32-bit pixels.
class CRect;

namespace Brix {

// ---------------------------------------------------------------------------------------------
// Rectangles

template <class Kind>
struct ParamRect;

/// A rectangle in pixels; right and bottom are exclusive.
template <>
struct ParamRect<CRect> {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    /// Sides that do not fit in 31 bits give the nearest number that does.
    constexpr std::int32_t Width() const { return Side(left, right); }
    constexpr std::int32_t Height() const { return Side(top, bottom); }
    friend constexpr bool operator==(const ParamRect&, const ParamRect&) = default;

  private:
    static constexpr std::int32_t Side(std::int64_t inFirst, std::int64_t inEnd) {
        using Limits = std::numeric_limits<std::int32_t>;
        return static_cast<std::int32_t>(
            std::clamp<std::int64_t>(inEnd - inFirst, Limits::min(), Limits::max()));
    }
};

using Rect = ParamRect<CRect>;

// ---------------------------------------------------------------------------------------------
// Exceptions

class SIBLING_API Exception : public std::exception {
  public:
    const char* what() const noexcept override;
};

class SIBLING_API NullInterfaceException : public Exception {
  public:
    /// "A NULL interface pointer has been dereferenced."
    const char* what() const noexcept override;
};

[[noreturn]] SIBLING_API void ThrowNullInterface();

// ---------------------------------------------------------------------------------------------
// Counted interfaces

/// Result of QueryInterface for a view that the object does not carry.
inline constexpr std::int32_t kInterfaceNotCarried = static_cast<std::int32_t>(0xA00A0001);

/// The root of every interface. Hosts call operations by their position in the table, so the
/// order of declarations is part of the contract; see each interface for its further positions.
class BrixUnknown {
  public:
    static constexpr tulocore::utility::Guid kInterfaceId{"4F9CB3F7-C5DF-4F33-B5A5-784CDF9C3FB9"};

    /// 0. Adds one reference.
    virtual void AddRef() = 0;
    /// 1. Takes one reference away; the last one destroys the object through operation 2.
    virtual void Release() = 0;
    /// 2. Tears the object down and frees it. Only Release calls it.
    virtual void Destroy() = 0;
    /// 3. On success 0, and outView receives the view with a reference of its own; otherwise
    /// kInterfaceNotCarried and null. outView receives a pointer to the interface asked for.
    virtual std::int32_t QueryInterface(const tulocore::utility::Guid& inId, void** outView) = 0;

  protected:
    ~BrixUnknown() = default;
};

/// Marks the constructor that takes over a reference that the caller already owns.
struct AdoptReference {};

/// A counted reference to an interface, or null. Dereferencing a null one raises
/// NullInterfaceException.
template <class T>
class InterfaceRef {
  public:
    InterfaceRef() = default;
    InterfaceRef(std::nullptr_t) {}
    /// Adds a reference of its own.
    explicit InterfaceRef(T* inInterface) : interface_(inInterface) {
        if (interface_) interface_->AddRef();
    }
    InterfaceRef(T* inInterface, AdoptReference) : interface_(inInterface) {}
    InterfaceRef(const InterfaceRef& inOther) : InterfaceRef(inOther.interface_) {}
    InterfaceRef(InterfaceRef&& inOther) noexcept
        : interface_(std::exchange(inOther.interface_, nullptr)) {}
    /// From a reference to a derived interface.
    template <std::derived_from<T> U>
    InterfaceRef(const InterfaceRef<U>& inOther) : InterfaceRef(static_cast<T*>(inOther.Get())) {}
    ~InterfaceRef() {
        if (interface_) interface_->Release();
    }
    InterfaceRef& operator=(InterfaceRef inOther) noexcept {
        std::swap(interface_, inOther.interface_);
        return *this;
    }

    T* Get() const { return interface_; }
    T* operator->() const {
        if (!interface_) ThrowNullInterface();
        return interface_;
    }
    T& operator*() const { return *operator->(); }
    explicit operator bool() const { return interface_ != nullptr; }
    /// Gives the reference up to the caller.
    [[nodiscard]] T* Detach() { return std::exchange(interface_, nullptr); }

    friend bool operator==(const InterfaceRef& inLeft, const InterfaceRef& inRight) {
        return inLeft.interface_ == inRight.interface_;
    }
    friend bool operator<(const InterfaceRef& inLeft, const InterfaceRef& inRight) {
        return std::less<T*>()(inLeft.interface_, inRight.interface_);
    }

  private:
    T* interface_ = nullptr;
};

/// Asks an object for another of its interfaces; null when the object is null or does not carry it.
template <class Wanted, class T>
InterfaceRef<Wanted> QueryInterface(const InterfaceRef<T>& inObject) {
    void* view = nullptr;
    if (inObject) inObject->QueryInterface(Wanted::kInterfaceId, &view);
    return InterfaceRef<Wanted>(static_cast<Wanted*>(view), AdoptReference{});
}

// ---------------------------------------------------------------------------------------------
// Locks

/// A re-entrant lock.
class CriticalSection {
  public:
    CriticalSection() = default;
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Enter() { mutex_.lock(); }
    void Leave() { mutex_.unlock(); }

  private:
    std::recursive_mutex mutex_;
};

/// Holds a lock for a scope. The name says who holds it, for whoever looks with a debugger.
class CriticalSectionLock {
  public:
    explicit CriticalSectionLock(CriticalSection& inSection, const char* inName = "")
        : section_(inSection), name_(inName) {
        section_.Enter();
    }
    ~CriticalSectionLock() { section_.Leave(); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

  private:
    CriticalSection& section_;
    [[maybe_unused]] const char* name_;
};

// ---------------------------------------------------------------------------------------------
// Small objects

/// Where small objects come from; any thread may call it.
class Allocator {
  public:
    /// At least inSize bytes, aligned for any object. Raises std::bad_alloc.
    SIBLING_API static void* Allocate(std::size_t inSize);
    /// Gives a block back; inSize is the size it was asked for.
    SIBLING_API static void Dispose(void* inBlock, std::size_t inSize) noexcept;
};

/// Base that makes new and delete of T use Allocator. T must be final: the size given back is T's.
template <class T>
class Allocated {
  public:
    static void* operator new(std::size_t inSize) { return Allocator::Allocate(inSize); }
    static void operator delete(void* inBlock) { Allocator::Dispose(inBlock, sizeof(T)); }

  protected:
    Allocated() = default;
    ~Allocated() = default;
};

// ---------------------------------------------------------------------------------------------
// The memory recycler

/// A block from the memory recycler: a value that is kept whole to give the block back.
struct MemoryBuffer {
    void* address = nullptr;   ///< null: nothing could be had
    std::size_t capacity = 0;  ///< usable bytes, at least what was asked for
};

/// Where the recycler gets fresh blocks. Hosts and tests may put their own in its place.
struct BlockSource {
    /// inSize bytes aligned to 4096, or null, or std::bad_alloc.
    void* (*allocate)(std::size_t inSize);
    void (*free)(void* inBlock, std::size_t inSize);
};

/// The process-wide pool of frame memory. It keeps blocks that come back for reuse by size class,
/// because fresh pages cost several times a copy of their bytes. Any thread may call it.
class MemoryRecycler {
  public:
    /// A counted pointer to the recycler. The first one makes it; letting go of the last one
    /// destroys it with every block it keeps (blocks handed out stay valid, and may be given to a
    /// later instance).
    class Pointer {
      public:
        SIBLING_API Pointer();
        SIBLING_API ~Pointer();
        Pointer(const Pointer&) = delete;
        Pointer& operator=(const Pointer&) = delete;
        MemoryRecycler* operator->() const { return recycler_; }

      private:
        MemoryRecycler* recycler_;
    };

    static Pointer Instance() { return Pointer(); }

    /// A block of at least inSize bytes, aligned to at least 128. Its contents are whatever the
    /// last owner left. The address is null when nothing could be had; std::bad_alloc of the
    /// block source is passed on.
    SIBLING_API MemoryBuffer AllocateBuffer(std::size_t inSize);
    /// Takes a block back for reuse; an empty buffer is ignored.
    SIBLING_API void RecycleBuffer(const MemoryBuffer& inBuffer) noexcept;

    /// Bytes of the blocks kept for reuse at the moment.
    SIBLING_API std::size_t KeptBytes() const;
    /// Bound on KeptBytes, for this and every later instance: blocks beyond it, the longest kept
    /// first, are freed. 512 MiB at first.
    SIBLING_API void SetKeptBytesLimit(std::size_t inBytes);

    /// Replaces the source of fresh blocks for the process and returns the one before. The new
    /// source also frees blocks of the old one. No other thread may use the recycler meanwhile.
    SIBLING_API static BlockSource SetBlockSource(BlockSource inSource);

  private:
    struct State;

    MemoryRecycler();
    ~MemoryRecycler();
    MemoryRecycler(const MemoryRecycler&) = delete;
    MemoryRecycler& operator=(const MemoryRecycler&) = delete;

    std::unique_ptr<State> state_;
};

// ---------------------------------------------------------------------------------------------
// Start and stop

namespace Foundation {
/// Starts the library; calls are counted. Holds one reference to the memory recycler until the
/// matching Terminate, so that blocks are kept between frames.
SIBLING_API void Initialize();
SIBLING_API void Terminate();
}  // namespace Foundation

}  // namespace Brix

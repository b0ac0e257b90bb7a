// What handles stand for.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

#include "contracts/Win32.h"

namespace win32 {

/// Its class is its kind.
struct Object {
    virtual ~Object() = default;

    bool isCounted = true;  ///< by CountObjects
};

/// All objects that are there. A handle is a number that is never given twice, and looked up, so
/// one that is stale, of another kind or made up does no harm.
class Objects {
  public:
    HANDLE Add(std::shared_ptr<Object> inObject);

    /// Null when the handle stands for no such object.
    template <class T>
    std::shared_ptr<T> Find(HANDLE inHandle) const {
        const auto found = objects_.find(inHandle);
        return found == objects_.end() ? nullptr : std::dynamic_pointer_cast<T>(found->second);
    }

    /// The handle of the first object of that class for which inTest holds; null for none. Looks at
    /// all objects.
    template <class T, class Test>
    HANDLE FindHandle(const Test& inTest) const {
        for (const auto& [handle, object] : objects_) {
            const auto* const candidate = dynamic_cast<const T*>(object.get());
            if (candidate && inTest(*candidate)) return handle;
        }
        return nullptr;
    }

    /// False when the handle stands for no such object.
    template <class T>
    bool Remove(HANDLE inHandle) {
        return Find<T>(inHandle) && objects_.erase(inHandle) != 0;
    }

    std::int64_t Count() const;

  private:
    std::unordered_map<HANDLE, std::shared_ptr<Object>> objects_;
    std::uintptr_t lastHandle_ = 0xFFFF;  // smaller numbers name resources
};

/// The objects, and whatever in them changes, for one thread at a time.
class LockedObjects {
  public:
    LockedObjects();
    Objects* operator->() const { return &objects_; }

  private:
    Objects& objects_;
    std::lock_guard<std::mutex> lock_;
};

/// Whether this thread may make another object, which is then counted.
bool MayAllocate();

/// The handle of a new object; null when there is no memory.
template <class T, class... Arguments>
HANDLE Make(Arguments&&... inArguments) try {
    if (!MayAllocate()) return nullptr;
    auto object = std::make_shared<T>(std::forward<Arguments>(inArguments)...);
    return LockedObjects()->Add(std::move(object));
} catch (const std::bad_alloc&) {
    return nullptr;
}

}  // namespace win32

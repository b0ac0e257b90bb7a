#include "Objects.h"

#include <algorithm>
#include <cstddef>
#include <new>

namespace win32 {
namespace {

thread_local std::int64_t tAllocationsLeft = -1;  // below 0: no bound

struct Shared {
    std::mutex mutex;
    Objects objects;
};

// Never destroyed: hosts let go of objects while the process ends. In a place of its own, since
// looking for an object must not fail for want of memory.
Shared& TheObjects() {
    alignas(Shared) static std::byte place[sizeof(Shared)];
    static Shared& shared = *new (place) Shared;
    return shared;
}

}  // namespace

HANDLE Objects::Add(std::shared_ptr<Object> inObject) {
    const auto handle = reinterpret_cast<HANDLE>(lastHandle_ + 1);
    objects_.emplace(handle, std::move(inObject));
    ++lastHandle_;
    return handle;
}

std::int64_t Objects::Count() const {
    return std::ranges::count_if(objects_,
                                 [](const auto& entry) { return entry.second->isCounted; });
}

LockedObjects::LockedObjects() : objects_(TheObjects().objects), lock_(TheObjects().mutex) {}

bool MayAllocate() {
    if (tAllocationsLeft < 0) return true;
    if (tAllocationsLeft == 0) return false;
    --tAllocationsLeft;
    return true;
}

void FailAllocationsAfter(std::int64_t inCount) {
    tAllocationsLeft = inCount;
}

std::int64_t CountObjects() {
    return LockedObjects()->Count();
}

}  // namespace win32

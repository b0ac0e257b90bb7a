#include <mutex>
#include <optional>

#include "contracts/BrixFoundation.h"

namespace Brix::Foundation {
namespace {

struct Starts {
    std::mutex mutex;
    unsigned count = 0;
    std::optional<MemoryRecycler::Pointer> recycler;
};

// Never destroyed: a host may stop the library while the process ends.
Starts& State() {
    static Starts& starts = *new Starts;
    return starts;
}

}  // namespace

void Initialize() {
    Starts& starts = State();
    const std::lock_guard lock(starts.mutex);
    if (starts.count == 0) starts.recycler.emplace();
    ++starts.count;
}

void Terminate() {
    Starts& starts = State();
    const std::lock_guard lock(starts.mutex);
    if (starts.count == 0) return;
    if (--starts.count == 0) starts.recycler.reset();
}

}  // namespace Brix::Foundation

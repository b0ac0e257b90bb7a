// Waiting for names to appear in the folder. The kernel tells the waiters, so that a publisher that
// dies right after its publication has woken them all the same.
#pragma once

#include <chrono>
#include <mutex>
#include <vector>

#include "Folder.h"
#include "Handles.h"

namespace pellux {

/// Watches the folder from its start to its end; without the kernel's help, where that is
/// exhausted, it just lets a little time pass.
class Watcher {
  public:
    Watcher(Descriptor inEvents, const Folder& inFolder);
    Watcher(Watcher&&) = default;

    /// Returns when a name may have appeared since the last call, or the time is over.
    void Wait(std::chrono::milliseconds inTimeLimit);

    /// Stops watching and gives back the means of it, if there were any.
    Descriptor End();

  private:
    Descriptor events_;
    int watch_ = -1;
};

/// Keeps some descriptors for watchers, since closing one can take the kernel a good while.
class WatcherPool {
  public:
    Watcher Begin(const Folder& inFolder);
    void End(Watcher inWatcher);

  private:
    std::mutex mutex_;
    std::vector<Descriptor> spare_;
};

}  // namespace pellux

#include "Watcher.h"

#include <poll.h>
#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <thread>

namespace pellux {
namespace {

using namespace std::chrono_literals;

// The system allows a user 128 of them as a rule.
constexpr std::size_t kMaxSpare = 4;
constexpr auto kUnaidedInterval = 2ms;

void Drain(const Descriptor& inEvents) {
    alignas(inotify_event) std::array<char, 4096> buffer;
    while (read(inEvents.Number(), buffer.data(), buffer.size()) > 0) {
    }
}

}  // namespace

Watcher::Watcher(Descriptor inEvents, const Folder& inFolder) : events_(std::move(inEvents)) {
    if (!events_) return;
    Drain(events_);
    watch_ = inotify_add_watch(events_.Number(), PathOf(inFolder.Directory()).c_str(),
                               IN_MOVED_TO | IN_CREATE);
}

void Watcher::Wait(std::chrono::milliseconds inTimeLimit) {
    if (watch_ < 0) {
        std::this_thread::sleep_for(
            std::min<std::chrono::milliseconds>(inTimeLimit, kUnaidedInterval));
        return;
    }
    pollfd events{events_.Number(), POLLIN, 0};
    if (poll(&events, 1, static_cast<int>(inTimeLimit.count())) > 0) Drain(events_);
}

Descriptor Watcher::End() {
    if (watch_ >= 0) inotify_rm_watch(events_.Number(), watch_);
    return std::move(events_);
}

Watcher WatcherPool::Begin(const Folder& inFolder) {
    Descriptor events;
    {
        const std::lock_guard lock(mutex_);
        if (!spare_.empty()) {
            events = std::move(spare_.back());
            spare_.pop_back();
        }
    }
    if (!events) events = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    return Watcher(std::move(events), inFolder);
}

void WatcherPool::End(Watcher inWatcher) {
    Descriptor events = inWatcher.End();
    const std::lock_guard lock(mutex_);
    if (events && spare_.size() < kMaxSpare) spare_.push_back(std::move(events));
}

}  // namespace pellux

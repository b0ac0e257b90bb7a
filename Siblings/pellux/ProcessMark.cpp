#include "ProcessMark.h"

#include <pthread.h>

#include <atomic>

namespace pellux {
namespace {

std::atomic<unsigned> forks{0};

[[maybe_unused]] const int kRegistered =
    pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1, std::memory_order_relaxed); });

}  // namespace

unsigned CountForks() {
    return forks.load(std::memory_order_relaxed);
}

}  // namespace pellux

#include "Interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <limits>
#include <system_error>

#include "Failure.h"

namespace vframe {
namespace {

volatile std::sig_atomic_t interrupted = 0;
std::array<int, 2> wakePipe{-1, -1};  // a byte in it wakes whoever waits

// What a signal handler may look at.
std::atomic<const char*> doomedFile = nullptr;
static_assert(decltype(doomedFile)::is_always_lock_free);

/// What each signal did before this program took it; ends the program where nothing is noted.
std::array<struct sigaction, NSIG> before;

struct sigaction& Before(int inSignal) {
    return before[static_cast<std::size_t>(inSignal)];
}

void Take(int inSignal, void (*inHandler)(int)) {
    struct sigaction action {};
    action.sa_handler = inHandler;
    // No restart: a read that waits for another process must end, too.
    sigaction(inSignal, &action, nullptr);
}

/// Does what the signal did before, once nothing is left behind.
void OnSuddenEnd(int inSignal) {
    if (const char* const path = doomedFile) unlink(path);
    sigaction(inSignal, &Before(inSignal), nullptr);
    raise(inSignal);
}

void OnInterrupt(int inSignal) {
    const int savedError = errno;
    interrupted = 1;
    Take(inSignal, OnSuddenEnd);
    [[maybe_unused]] const ssize_t written = write(wakePipe[1], "", 1);
    errno = savedError;
}

}  // namespace

void ListenToSignals() {
    if (pipe2(wakePipe.data(), O_CLOEXEC) != 0)
        throw Failure("pipe", std::generic_category().message(errno));
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        Take(signal, OnInterrupt);
    for (const int signal : {SIGQUIT, SIGPIPE, SIGALRM, SIGXCPU, SIGUSR1, SIGUSR2, SIGABRT, SIGBUS,
                             SIGSEGV, SIGFPE, SIGILL}) {
        sigaction(signal, nullptr, &Before(signal));
        if (Before(signal).sa_handler != SIG_IGN) Take(signal, OnSuddenEnd);
    }
    std::signal(SIGXFSZ, SIG_IGN);
}

bool IsInterrupted() {
    return interrupted != 0;
}

void ThrowIfInterrupted() {
    if (IsInterrupted()) throw Failure("interrupted", "ended by a signal");
}

void RemoveAtSuddenEnd(const char* inPath) {
    doomedFile = inPath;
}

void WaitForInterrupt(std::optional<std::chrono::milliseconds> inTime) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + inTime.value_or(std::chrono::milliseconds(0));
    while (!IsInterrupted()) {
        int wait = -1;
        if (inTime) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            if (rest.count() <= 0) return;
            wait = static_cast<int>(
                std::min<std::int64_t>(rest.count(), std::numeric_limits<int>::max()));
        }
        pollfd wake{wakePipe[0], POLLIN, 0};
        poll(&wake, 1, wait);
    }
}

void WaitForInput(int inDescriptor) {
    std::array<pollfd, 2> wakes{{{inDescriptor, POLLIN, 0}, {wakePipe[0], POLLIN, 0}}};
    poll(wakes.data(), wakes.size(), -1);
}

}  // namespace vframe

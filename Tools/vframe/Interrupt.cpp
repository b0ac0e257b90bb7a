#include "Interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <limits>
#include <system_error>

#include "Failure.h"

namespace vframe {
namespace {

volatile std::sig_atomic_t interrupted = 0;
std::array<int, 2> wakePipe{-1, -1};  // a byte in it wakes whoever waits

void OnSignal(int) {
    const int savedError = errno;
    interrupted = 1;
    [[maybe_unused]] const ssize_t written = write(wakePipe[1], "", 1);
    errno = savedError;
}

}  // namespace

void ListenForInterrupts() {
    if (pipe2(wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    struct sigaction action {};
    action.sa_handler = OnSignal;
    // No restart: a read that waits for another process must end, too.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
}

bool IsInterrupted() {
    return interrupted != 0;
}

void ThrowIfInterrupted() {
    if (IsInterrupted()) throw Failure("interrupted", "ended by a signal");
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

// SIGINT, SIGTERM and SIGHUP ask the program to end; it does so where nothing is half done. The
// second of a kind ends it at once, as most other signals do.
#pragma once

#include <chrono>
#include <optional>

namespace vframe {

/// Once, before any thread is started. From then on a file that grows beyond the user's limit is a
/// failed write, and no signal.
void ListenToSignals();

bool IsInterrupted();

/// Raises Failure when the program was asked to end.
void ThrowIfInterrupted();

/// Names the file that is removed when a signal ends the program at once; null for none. The text
/// stays the caller's and has to stay for as long as it is named.
void RemoveAtSuddenEnd(const char* inPath);

/// Sleeps until the program is asked to end or the time, where one is given, has passed.
void WaitForInterrupt(std::optional<std::chrono::milliseconds> inTime);

/// Sleeps until there is something to read from the descriptor or the program is asked to end; it
/// may wake earlier.
void WaitForInput(int inDescriptor);

}  // namespace vframe

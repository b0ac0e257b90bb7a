// SIGINT, SIGTERM and SIGHUP ask the program to end; it does so where nothing is half done. The
// second one ends it at once.
#pragma once

#include <chrono>
#include <optional>

namespace vframe {

/// Once, before any thread is started.
void ListenForInterrupts();

bool IsInterrupted();

/// Raises Failure when the program was asked to end.
void ThrowIfInterrupted();

/// Sleeps until the program is asked to end or the time, where one is given, has passed.
void WaitForInterrupt(std::optional<std::chrono::milliseconds> inTime);

/// Sleeps until there is something to read from the descriptor or the program is asked to end; it
/// may wake earlier.
void WaitForInput(int inDescriptor);

}  // namespace vframe

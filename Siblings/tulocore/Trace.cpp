#include <atomic>
#include <cstdio>
#include <mutex>
#include <set>
#include <utility>

#include "contracts/TuloCore.h"

namespace tulocore::debug {
namespace {

void WriteToStandardError(std::string_view inLine) {
    std::fwrite(inLine.data(), 1, inLine.size(), stderr);
}

struct Tracing {
    std::mutex mutex;  // guards the categories
    std::set<std::string, std::less<>> enabled;
    std::atomic<int> changeCount = 0;

    // Re-entrant, so that a sink may trace.
    std::recursive_mutex sinkMutex;
    TraceSink sink = WriteToStandardError;
};

// Never destroyed: the last lines are traced while the process ends.
Tracing& State() {
    static Tracing& state = *new Tracing;
    return state;
}

}  // namespace

void Trace(const char* inLine) {
    Tracing& state = State();
    const std::lock_guard lock(state.sinkMutex);
    state.sink(inLine);
}

bool TraceEnabled(const char* inCategory, int /*inLevel*/, bool /*inFlag*/) {
    Tracing& state = State();
    const std::lock_guard lock(state.mutex);
    return state.enabled.contains(std::string_view(inCategory));
}

int TraceChangeCount() {
    return State().changeCount;
}

void SetTraceEnabled(std::string_view inCategory, bool inEnabled) {
    Tracing& state = State();
    const std::lock_guard lock(state.mutex);
    if (inEnabled) {
        state.enabled.emplace(inCategory);
    } else if (const auto found = state.enabled.find(inCategory); found != state.enabled.end()) {
        state.enabled.erase(found);
    }
    ++state.changeCount;
}

TraceSink SetTraceSink(TraceSink inSink) {
    if (!inSink) inSink = WriteToStandardError;
    Tracing& state = State();
    const std::lock_guard lock(state.sinkMutex);
    return std::exchange(state.sink, std::move(inSink));
}

}  // namespace tulocore::debug

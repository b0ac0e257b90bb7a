// The core library: Guids, contract errors, tracing, threads and the small-block allocator.
#pragma once

#include <array>
#include <bit>
#include <boost/function.hpp>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "SiblingApi.h"

namespace tulocore::utility {

/// A 128-bit identifier in the layout of RFC 4122 section 4.1.2 with the first three parts in the
/// machine's byte order. Default construction gives the nil Guid.
struct Guid {
    std::uint32_t part1 = 0;
    std::uint16_t part2 = 0;
    std::uint16_t part3 = 0;
    std::array<std::uint8_t, 8> part4{};

    constexpr Guid() = default;

    /// From its text form, 8-4-4-4-12 hexadecimal digits with or without braces. Raises
    /// std::invalid_argument for any other text; in a constant expression, does not compile.
    constexpr explicit Guid(std::string_view inText);

    /// As the constructor, but an unreadable text gives nothing.
    static constexpr std::optional<Guid> Parse(std::string_view inText);

    /// A new random Guid (version 4). Raises std::system_error when there is no randomness.
    SIBLING_API static Guid Generate();

    /// Upper-case text with braces: "{5A2A4FE9-EE01-4438-8F14-AA8946104D5F}".
    SIBLING_API std::string ToString() const;

    friend constexpr bool operator==(const Guid& inLeft, const Guid& inRight) {
        using Words = std::array<std::uint64_t, 2>;
        return std::bit_cast<Words>(inLeft) == std::bit_cast<Words>(inRight);
    }
};
static_assert(sizeof(Guid) == 16);

/// A strict order over all Guids, part by part.
constexpr bool operator<(const Guid& inLeft, const Guid& inRight) {
    if (inLeft.part1 != inRight.part1) return inLeft.part1 < inRight.part1;
    if (inLeft.part2 != inRight.part2) return inLeft.part2 < inRight.part2;
    if (inLeft.part3 != inRight.part3) return inLeft.part3 < inRight.part3;
    return inLeft.part4 < inRight.part4;
}

[[noreturn]] SIBLING_API void ThrowUnreadableGuid(std::string_view inText);

constexpr std::optional<Guid> Guid::Parse(std::string_view inText) {
    constexpr std::string_view kShape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (inText.size() == kShape.size() + 2 && inText.front() == '{' && inText.back() == '}') {
        inText = inText.substr(1, kShape.size());
    }
    if (inText.size() != kShape.size()) return std::nullopt;
    std::array<std::uint8_t, 16> bytes{};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < kShape.size(); ++i) {
        const char c = inText[i];
        if (kShape[i] == '-') {
            if (c != '-') return std::nullopt;
            continue;
        }
        int value = 0;
        if (c >= '0' && c <= '9') {
            value = c - '0';
        } else if (c >= 'a' && c <= 'f') {
            value = c - 'a' + 10;
        } else if (c >= 'A' && c <= 'F') {
            value = c - 'A' + 10;
        } else {
            return std::nullopt;
        }
        bytes[digits / 2] = static_cast<std::uint8_t>(bytes[digits / 2] << 4 | value);
        ++digits;
    }
    Guid guid;
    guid.part1 = static_cast<std::uint32_t>(bytes[0]) << 24 |
                 static_cast<std::uint32_t>(bytes[1]) << 16 |
                 static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
    guid.part2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.part3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    for (std::size_t i = 0; i < 8; ++i)
        guid.part4[i] = bytes[8 + i];
    return guid;
}

constexpr Guid::Guid(std::string_view inText) {
    const std::optional<Guid> parsed = Parse(inText);
    if (!parsed) ThrowUnreadableGuid(inText);
    *this = *parsed;
}

/// The standard-library allocator of map nodes and other small, short-lived blocks.
/// Blocks come from one process-wide pool; any thread may allocate and free.
template <class T>
class SmallBlockAllocator;

SIBLING_API void* AllocateSmallBlock(std::size_t inSize);
SIBLING_API void FreeSmallBlock(void* inBlock, std::size_t inSize) noexcept;

template <class T>
class SmallBlockAllocator {
  public:
    using value_type = T;
    static_assert(alignof(T) <= alignof(std::max_align_t));

    SmallBlockAllocator() = default;
    template <class U>
    SmallBlockAllocator(const SmallBlockAllocator<U>&) noexcept {}

    T* allocate(std::size_t inCount) {
        return static_cast<T*>(AllocateSmallBlock(inCount * sizeof(T)));
    }
    void deallocate(T* inBlock, std::size_t inCount) noexcept {
        FreeSmallBlock(inBlock, inCount * sizeof(T));
    }
    friend bool operator==(const SmallBlockAllocator&, const SmallBlockAllocator&) { return true; }
};

}  // namespace tulocore::utility

namespace tulocore::debug {

/// One broken precondition, as it was reported.
struct ContractReport {
    const char* condition;  ///< the text of the condition that did not hold
    const char* file;       ///< name of the source file, without folder or extension
    int line;
};

/// Hears of every broken precondition before the error is thrown; true asks for a break into the
/// debugger. Runs on the thread that broke the contract.
using ContractHandler = std::function<bool(const ContractReport&)>;

/// Installs the handler for the process and returns the one before. An empty handler restores the
/// default, which writes one line to standard error and returns false.
SIBLING_API ContractHandler SetContractHandler(ContractHandler inHandler);

/// Reports a broken precondition to the handler; returns what it says.
SIBLING_API bool BreakAfterContractDialog(const char* inCondition, const char* inFile, int inLine);

/// Stops in the debugger (SIGTRAP where there is none).
SIBLING_API void BreakIntoDebugger();

/// Writes one finished trace line (with its line end) to the sink.
SIBLING_API void Trace(const char* inLine);

/// Whether tracing of a category is on; every category starts off. The level and the flag are for
/// services that trace at several levels or list the categories they were asked for; this one has
/// one level and does neither.
SIBLING_API bool TraceEnabled(const char* inCategory, int inLevel, bool inFlag);

/// Goes up by one whenever a category is switched.
SIBLING_API int TraceChangeCount();

/// For hosts: switches one category on or off.
SIBLING_API void SetTraceEnabled(std::string_view inCategory, bool inEnabled);

/// Receives trace lines, one call a line, never two at once.
using TraceSink = std::function<void(std::string_view)>;

/// For hosts: installs the sink and returns the one before. An empty sink restores the default,
/// standard error.
SIBLING_API TraceSink SetTraceSink(TraceSink inSink);

}  // namespace tulocore::debug

namespace tulocore::config {

/// One value to be put into an error message. Empty ones put nothing.
struct ReplacementValue {
    std::string text;
};

/// What ThrowError throws: every argument of the call.
class SIBLING_API Error : public std::exception {
  public:
    Error(int inLevel, const char* inMessageKey, int inArea, int inNumber, bool inFlag,
          std::array<ReplacementValue, 4> inReplacements);
    Error(const Error&);
    ~Error() override;

    /// The text behind the '=' of the message key.
    const char* what() const noexcept override;

    int level;
    std::string messageKey;
    int area;
    int number;
    bool flag;
    std::array<ReplacementValue, 4> replacements;
};

/// Raises Error with these arguments.
[[noreturn]] SIBLING_API void ThrowError(int inLevel, const char* inMessageKey, int inArea,
                                         int inNumber, bool inFlag, const ReplacementValue& inFirst,
                                         const ReplacementValue& inSecond,
                                         const ReplacementValue& inThird,
                                         const ReplacementValue& inFourth);

}  // namespace tulocore::config

namespace tulocore::threads {

/// The operating system's number of the calling thread.
SIBLING_API std::uint32_t GetCurrentThreadID();

/// Queues a call for the host's main thread and returns at once. Calls run in the order in which
/// they were queued.
SIBLING_API void AsyncCallFromMainThread(const boost::function<void()>& inCall);

/// For the host's message loop: runs the calls that are waiting, those they queue included, on the
/// calling thread; returns how many ran. An exception leaves the rest waiting and is passed on.
SIBLING_API std::size_t RunMainThreadCalls();

/// Calls inTask once with every index from 0 to inCount - 1, spread over all processors with the
/// calling thread among the workers, and returns when all have run. The first exception a task
/// raises is passed on after that; the indices not yet begun are then left out. May be entered
/// from several threads at once and from within a task.
SIBLING_API void ExecuteCPUBoundTaskOnAllProcessors(const boost::function<void(int)>& inTask,
                                                    int inCount);

}  // namespace tulocore::threads

// The table through which two depth converters and the copy are called.
#pragma once

#include <array>
#include <cstdint>

namespace VF {

/// Source, destination, width, height, source stride, destination stride.
using RasterFunction = int (*)(const void*, void*, std::int32_t, std::int32_t, std::int32_t,
                               std::int32_t);

struct BaseSuite {
    struct Entry {
        std::array<std::uint64_t, 3> unused;
        RasterFunction function;
    };

    static constexpr std::size_t kCopy32 = 2;
    static constexpr std::size_t kDepthCon24To32 = 4;
    static constexpr std::size_t kDepthCon32To24 = 5;

    const char* name;
    std::uint32_t version;
    std::array<Entry, 11> entries;
};

/// Makes the library's own table the current one; VF::Initialize does.
void SetCurrentSuite();

/// A function of the current table, which is read at every call. Without one, an input contract
/// violation.
RasterFunction CurrentFunction(std::size_t inEntry);

}  // namespace VF

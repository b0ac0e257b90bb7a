// This file is compiled once for each instruction set; Highway includes it again for every one.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/Bytes.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "fast/Bytes.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<std::uint8_t> kTag;

std::size_t VectorBytes() {
    return hn::Lanes(kTag);
}

// Both take a destination that is aligned to a vector, and whole vectors of bytes.

void StreamBytes(std::uint8_t* HWY_RESTRICT outDestination,
                 const std::uint8_t* HWY_RESTRICT inSource, std::size_t inCount) {
    const std::size_t lanes = hn::Lanes(kTag);
    std::size_t i = 0;
    for (; i + 4 * lanes <= inCount; i += 4 * lanes) {
        const auto first = hn::LoadU(kTag, inSource + i);
        const auto second = hn::LoadU(kTag, inSource + i + lanes);
        const auto third = hn::LoadU(kTag, inSource + i + 2 * lanes);
        const auto fourth = hn::LoadU(kTag, inSource + i + 3 * lanes);
        hn::Stream(first, kTag, outDestination + i);
        hn::Stream(second, kTag, outDestination + i + lanes);
        hn::Stream(third, kTag, outDestination + i + 2 * lanes);
        hn::Stream(fourth, kTag, outDestination + i + 3 * lanes);
    }
    for (; i < inCount; i += lanes) {
        hn::Stream(hn::LoadU(kTag, inSource + i), kTag, outDestination + i);
    }
}

// The pattern is a vector long, or, where vectors are single bytes, a period.
void RepeatPattern(std::uint8_t* HWY_RESTRICT outDestination,
                   const std::uint8_t* HWY_RESTRICT inPattern, std::size_t inCount,
                   bool inIsStreamed) {
#if HWY_TARGET == HWY_SCALAR
    (void)inIsStreamed;
    for (std::size_t i = 0; i < inCount; ++i)
        outDestination[i] = inPattern[i % kPatternPeriod];
#else
    const std::size_t lanes = hn::Lanes(kTag);
    const auto pattern = hn::LoadU(kTag, inPattern);
    if (inIsStreamed) {
        for (std::size_t i = 0; i < inCount; i += lanes)
            hn::Stream(pattern, kTag, outDestination + i);
    } else {
        for (std::size_t i = 0; i < inCount; i += lanes)
            hn::Store(pattern, kTag, outDestination + i);
    }
#endif
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "fast/Caches.h"

namespace scanvo {
namespace {

HWY_EXPORT(VectorBytes);
HWY_EXPORT(StreamBytes);
HWY_EXPORT(RepeatPattern);

// An area as whole aligned vectors and what is left before and after them.
struct Parts {
    std::size_t head, body, tail;
};

Parts PartsOf(const void* inArea, std::size_t inCount) {
    const std::size_t step = HWY_DYNAMIC_DISPATCH(VectorBytes)();
    const std::size_t beyond = reinterpret_cast<std::uintptr_t>(inArea) % step;
    const std::size_t head = std::min((step - beyond) % step, inCount);
    const std::size_t body = (inCount - head) / step * step;
    return {head, body, inCount - head - body};
}

}  // namespace

void CopyPastCaches(void* outDestination, const void* inSource, std::size_t inCount) {
    auto* const destination = static_cast<std::uint8_t*>(outDestination);
    const auto* const source = static_cast<const std::uint8_t*>(inSource);
    const auto [head, body, tail] = PartsOf(destination, inCount);
    std::memcpy(destination, source, head);
    HWY_DYNAMIC_DISPATCH(StreamBytes)(destination + head, source + head, body);
    std::memcpy(destination + head + body, source + head + body, tail);
}

void FinishCopies() {
    hwy::FlushStream();
}

void CopyBytes(void* outDestination, const void* inSource, std::size_t inCount) {
    if (!IsWorthStreaming(2 * static_cast<std::int64_t>(inCount))) {
        std::memcpy(outDestination, inSource, inCount);
        return;
    }
    CopyPastCaches(outDestination, inSource, inCount);
    FinishCopies();
}

void RepeatBytes(const Pattern& inPattern, std::byte* outArea, std::size_t inCount,
                 bool inIsStreamed) {
    const auto [head, body, tail] = PartsOf(outArea, inCount);
    const std::byte* const rest = inPattern.data() + head % kPatternPeriod;
    std::memcpy(outArea, inPattern.data(), head);
    HWY_DYNAMIC_DISPATCH(RepeatPattern)
    (reinterpret_cast<std::uint8_t*>(outArea + head), reinterpret_cast<const std::uint8_t*>(rest),
     body, inIsStreamed);
    std::memcpy(outArea + head + body, rest, tail);
}

}  // namespace scanvo

#endif

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

std::size_t StreamedStep() {
    return 4 * hn::Lanes(kTag);
}

// Both counts are multiples of the step, the destination is aligned to it.
void StreamBytes(std::uint8_t* HWY_RESTRICT outDestination,
                 const std::uint8_t* HWY_RESTRICT inSource, std::size_t inCount) {
    const std::size_t lanes = hn::Lanes(kTag);
    for (std::size_t i = 0; i < inCount; i += 4 * lanes) {
        const auto first = hn::LoadU(kTag, inSource + i);
        const auto second = hn::LoadU(kTag, inSource + i + lanes);
        const auto third = hn::LoadU(kTag, inSource + i + 2 * lanes);
        const auto fourth = hn::LoadU(kTag, inSource + i + 3 * lanes);
        hn::Stream(first, kTag, outDestination + i);
        hn::Stream(second, kTag, outDestination + i + lanes);
        hn::Stream(third, kTag, outDestination + i + 2 * lanes);
        hn::Stream(fourth, kTag, outDestination + i + 3 * lanes);
    }
    hwy::FlushStream();
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <cstdint>
#include <cstring>

namespace scanvo {
namespace {

HWY_EXPORT(StreamedStep);
HWY_EXPORT(StreamBytes);

constexpr std::size_t kStreamedFrom = std::size_t{2} << 20;

}  // namespace

void CopyBytes(void* outDestination, const void* inSource, std::size_t inCount) {
    if (inCount < kStreamedFrom) {
        std::memcpy(outDestination, inSource, inCount);
        return;
    }
    auto* const destination = static_cast<std::uint8_t*>(outDestination);
    const auto* const source = static_cast<const std::uint8_t*>(inSource);
    const std::size_t step = HWY_DYNAMIC_DISPATCH(StreamedStep)();
    const std::size_t head = (step - reinterpret_cast<std::uintptr_t>(destination) % step) % step;
    const std::size_t body = (inCount - head) / step * step;
    std::memcpy(destination, source, head);
    HWY_DYNAMIC_DISPATCH(StreamBytes)(destination + head, source + head, body);
    std::memcpy(destination + head + body, source + head + body, inCount - head - body);
}

}  // namespace scanvo

#endif

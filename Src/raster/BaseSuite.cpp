#include "raster/BaseSuite.h"

#include <atomic>

#include "VideoFrame/Raster.h"
#include "frames/Contract.h"

namespace VF {
namespace {

int DoNothing(const void*, void*, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {
    return 0;
}

constexpr BaseSuite MakeBaseSuite() {
    BaseSuite suite{"base suite", 0x000B0001, {}};
    for (BaseSuite::Entry& entry : suite.entries)
        entry.function = DoNothing;
    suite.entries[BaseSuite::kCopy32].function = _TvCopy32;
    suite.entries[BaseSuite::kDepthCon24To32].function = _TvDepthCon24To32;
    suite.entries[BaseSuite::kDepthCon32To24].function = _TvDepthCon32To24;
    return suite;
}

constexpr BaseSuite kBaseSuite = MakeBaseSuite();

std::atomic<const BaseSuite*> gCurrentSuite = nullptr;

}  // namespace

void SetCurrentSuite() {
    gCurrentSuite.store(&kBaseSuite, std::memory_order_release);
}

RasterFunction CurrentFunction(std::size_t inEntry) {
    const BaseSuite* const suite = gCurrentSuite.load(std::memory_order_acquire);
    Require(suite != nullptr, "sCurrentSuite", "BaseSuite", __LINE__);
    return suite->entries[inEntry].function;
}

}  // namespace VF

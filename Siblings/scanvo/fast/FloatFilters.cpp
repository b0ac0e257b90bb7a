// This file is compiled once for each instruction set; Highway includes it again for every one.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS HWY_SSSE3
#endif
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/FloatFilters.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include "rows/Filters.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<float> kFloats;
constexpr hn::ScalableTag<std::int32_t> kPlaces;
using Floats = hn::Vec<decltype(kFloats)>;
constexpr auto kLanes = static_cast<std::int32_t>(HWY_LANES(float));

constexpr std::int32_t kNear = 2 * kLanes;

// The samples at places 0 to kNear - 1 from inSamples on.
HWY_INLINE Floats NearSamples(const float* inSamples, hn::Vec<decltype(kPlaces)> inPlaces) {
    const Floats low = hn::LoadU(kFloats, inSamples);
    const Floats high = hn::LoadU(kFloats, inSamples + kLanes);
#if HWY_TARGET <= HWY_AVX3
    return Floats{_mm512_permutex2var_ps(low.raw, inPlaces.raw, high.raw)};
#else
    const auto lanes = hn::Set(kPlaces, kLanes);
    const auto isHigh = hn::Gt(inPlaces, hn::Set(kPlaces, kLanes - 1));
    const auto lane = hn::IfThenElse(isHigh, hn::Sub(inPlaces, lanes), inPlaces);
    const auto indices = hn::IndicesFromVec(kFloats, lane);
    return hn::IfThenElse(hn::RebindMask(kFloats, isHigh), hn::TableLookupLanes(high, indices),
                          hn::TableLookupLanes(low, indices));
#endif
}

// The samples that a vector of destination samples is made of. Those that lie near one another are
// looked up in one vector or two. inEnd samples may be read.
HWY_INLINE Floats FilterVector(const float* inSamples, const std::int32_t* inFirst,
                               std::int32_t inTapCount, std::int32_t inEnd, const float* inWeights,
                               std::size_t inWeightStep) {
    const std::int32_t first = inFirst[0], span = inFirst[kLanes - 1] - first;
    const auto places = hn::LoadU(kPlaces, inFirst);
    const auto distances = hn::Sub(places, hn::Set(kPlaces, first));
    const auto sum = [&](const auto& samplesOfTap) HWY_ATTR {
        Floats result = hn::Zero(kFloats);
        for (std::int32_t tap = 0; tap < inTapCount; ++tap, inWeights += inWeightStep)
            result = hn::MulAdd(hn::LoadU(kFloats, inWeights), samplesOfTap(tap), result);
        return result;
    };
    const float* const near = inSamples + first;
    if (span < kLanes && first + inTapCount - 1 + kLanes <= inEnd) {
        const auto indices = hn::IndicesFromVec(kFloats, distances);
        return sum([&](std::int32_t tap) HWY_ATTR {
            return hn::TableLookupLanes(hn::LoadU(kFloats, near + tap), indices);
        });
    }
    if (span < kNear && first + inTapCount - 1 + kNear <= inEnd) {
        return sum([&](std::int32_t tap) HWY_ATTR { return NearSamples(near + tap, distances); });
    }
    return sum([&](std::int32_t tap)
                   HWY_ATTR { return hn::GatherIndex(kFloats, inSamples + tap, places); });
}

void Filter(const float* inSamples, const WeightTable& inWeights, float* HWY_RESTRICT outSamples) {
    const std::int32_t count = inWeights.Count();
    const std::int32_t end = inWeights.first.back() + inWeights.tapCount;
    std::int32_t x = 0;
    for (; x + kLanes <= count; x += kLanes) {
        hn::StoreU(FilterVector(inSamples, inWeights.first.data() + x, inWeights.tapCount, end,
                                inWeights.weightsByTap.data() + x, inWeights.first.size()),
                   kFloats, outSamples + x);
    }
    for (; x < count; ++x) {
        const float* const samples = inSamples + inWeights.first[static_cast<std::size_t>(x)];
        const float* const weights = inWeights.WeightsOf(x);
        float sum = 0;
        for (std::int32_t tap = 0; tap < inWeights.tapCount; ++tap) {
            sum += weights[tap] * samples[tap];
        }
        outSamples[x] = sum;
    }
}

void Mix(const float* const* inRows, const float* inWeights, std::int32_t inRowCount,
         std::int32_t inCount, float* HWY_RESTRICT outSamples) {
    std::int32_t x = 0;
    for (; x + kLanes <= inCount; x += kLanes) {
        Floats sum = hn::Zero(kFloats);
        for (std::int32_t row = 0; row < inRowCount; ++row) {
            const Floats samples = hn::LoadU(kFloats, inRows[row] + x);
            sum = hn::MulAdd(hn::Set(kFloats, inWeights[row]), samples, sum);
        }
        hn::StoreU(sum, kFloats, outSamples + x);
    }
    for (; x < inCount; ++x) {
        float sum = 0;
        for (std::int32_t row = 0; row < inRowCount; ++row)
            sum += inWeights[row] * inRows[row][x];
        outSamples[x] = sum;
    }
}

void Add(const float* inSamples, float inWeight, std::int32_t inCount,
         float* HWY_RESTRICT ioSamples) {
    std::int32_t i = 0;
    for (; i + kLanes <= inCount; i += kLanes) {
        const Floats sum = hn::LoadU(kFloats, ioSamples + i);
        const Floats samples = hn::LoadU(kFloats, inSamples + i);
        hn::StoreU(hn::MulAdd(hn::Set(kFloats, inWeight), samples, sum), kFloats, ioSamples + i);
    }
    for (; i < inCount; ++i) {
        ioSamples[i] += inWeight * inSamples[i];
    }
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(Filter);
HWY_EXPORT(Mix);
HWY_EXPORT(Add);

}  // namespace

void FilterAlongRow(const float* inSamples, const WeightTable& inWeights,
                    float* __restrict outSamples) {
    HWY_DYNAMIC_DISPATCH(Filter)(inSamples, inWeights, outSamples);
}

void MixWeighted(const float* const* inRows, const float* inWeights, std::int32_t inRowCount,
                 std::int32_t inCount, float* __restrict outSamples) {
    HWY_DYNAMIC_DISPATCH(Mix)(inRows, inWeights, inRowCount, inCount, outSamples);
}

void AddWeighted(const float* inSamples, float inWeight, std::int32_t inCount,
                 float* __restrict ioSamples) {
    HWY_DYNAMIC_DISPATCH(Add)(inSamples, inWeight, inCount, ioSamples);
}

}  // namespace scanvo

#endif

#include "rows/Filters.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace scanvo {
namespace {

// ---- Kernels ------------------------------------------------------------------------------------

// What a source sample at inDistance from a destination sample's centre weighs, when one
// destination sample is inStep source samples wide.
using Kernel = double (*)(double inDistance, double inStep);

// The part of the source sample, one wide, that lies under the destination sample.
double Box(double inDistance, double inStep) {
    const double begin = std::max(inDistance - 0.5, -inStep / 2);
    const double end = std::min(inDistance + 0.5, inStep / 2);
    return std::max(end - begin, 0.0);
}

double Triangle(double inDistance, double inStep) {
    return std::max(1 - std::abs(inDistance) / inStep, 0.0);
}

// Interpolates parabolas exactly; a = -0.5 in the family of cubics that go through the samples.
double CatmullRom(double inDistance, double inStep) {
    const double x = std::abs(inDistance) / inStep;
    if (x >= 2) return 0;
    if (x >= 1) return ((-0.5 * x + 2.5) * x - 4) * x + 2;
    return (1.5 * x - 2.5) * x * x + 1;
}

double Sinc(double inX) {
    const double angle = std::numbers::pi * inX;
    return angle == 0 ? 1 : std::sin(angle) / angle;
}

double Lanczos3(double inDistance, double inStep) {
    const double x = std::abs(inDistance) / inStep;
    return x < 3 ? Sinc(x) * Sinc(x / 3) : 0;
}

struct Filter {
    Kernel kernel;
    double step;
    /// No sample farther away than this weighs anything.
    double reach;
};

Filter FilterOf(double inStep, std::int32_t inQuality) {
    // The nearest sample has no kernel: it is found by rounding.
    if (inQuality <= 1) return {nullptr, inStep, 0};
    if (inQuality == 2 && inStep > 1) return {Box, inStep, inStep / 2 + 0.5};
    const double step = std::max(inStep, 1.0);
    if (inQuality <= 3) return {Triangle, step, step};
    if (inQuality == 4) return {CatmullRom, step, 2 * step};
    return {Lanczos3, step, 3 * step};
}

// ---- One destination sample ---------------------------------------------------------------------

// The weights of a run of source samples.
struct Taps {
    std::int64_t first;
    std::vector<double> weights;
};

std::int64_t MostTaps(const Filter& inFilter, std::int32_t inSourceCount) {
    const auto reached = 2 * static_cast<std::int64_t>(std::ceil(inFilter.reach)) + 1;
    return std::min<std::int64_t>(reached, inSourceCount);
}

void SetNearest(double inCentre, std::int64_t inLast, Taps& outTaps) {
    // Half way between two, the first: of 4:2:2 chroma that is the one of the pixel's own pair.
    const auto nearest = static_cast<std::int64_t>(std::ceil(inCentre - 0.5));
    outTaps.first = std::clamp<std::int64_t>(nearest, 0, inLast);
    outTaps.weights.assign(1, 1.0);
}

void SetTaps(const Filter& inFilter, double inCentre, std::int64_t inLast, Taps& outTaps) {
    if (inFilter.kernel == nullptr) {
        SetNearest(inCentre, inLast, outTaps);
        return;
    }
    // Rounding of positions must not add taps that weigh nothing: they would cost time.
    const double reach = inFilter.reach - 1e-9;
    const auto begin = static_cast<std::int64_t>(std::ceil(inCentre - reach));
    const auto end = static_cast<std::int64_t>(std::floor(inCentre + reach));
    const auto inside = [inLast](std::int64_t i) { return std::clamp<std::int64_t>(i, 0, inLast); };
    outTaps.first = inside(begin);
    outTaps.weights.assign(static_cast<std::size_t>(inside(end) - outTaps.first + 1), 0.0);
    double sum = 0;
    for (std::int64_t i = begin; i <= end; ++i) {
        const double weight = inFilter.kernel(static_cast<double>(i) - inCentre, inFilter.step);
        outTaps.weights[static_cast<std::size_t>(inside(i) - outTaps.first)] += weight;
        sum += weight;
    }
    for (double& weight : outTaps.weights) {
        weight /= sum;
    }
}

// From rows of inMostTaps weights, of which the first tapCount are used, to rows of tapCount; runs
// that would pass the source's end start earlier, with zeros before them.
void CloseUp(std::int64_t inMostTaps, std::int32_t inSourceCount, WeightTable& ioTable) {
    const std::int32_t lastFirst = inSourceCount - ioTable.tapCount;
    for (std::int32_t i = 0; i < ioTable.Count(); ++i) {
        float* const weights = ioTable.weights.data() + std::int64_t{ioTable.tapCount} * i;
        std::copy_n(ioTable.weights.data() + inMostTaps * i, ioTable.tapCount, weights);
        std::int32_t& first = ioTable.first[static_cast<std::size_t>(i)];
        if (first <= lastFirst) continue;
        std::rotate(weights, weights + ioTable.tapCount - (first - lastFirst),
                    weights + ioTable.tapCount);
        first = lastFirst;
    }
}

void OrderByTap(WeightTable& ioTable) {
    const auto tapCount = static_cast<std::size_t>(ioTable.tapCount);
    const std::size_t count = ioTable.first.size();
    ioTable.weights.resize(tapCount * count);
    ioTable.weightsByTap.resize(tapCount * count);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t tap = 0; tap < tapCount; ++tap) {
            ioTable.weightsByTap[tap * count + i] = ioTable.weights[i * tapCount + tap];
        }
    }
}

}  // namespace

WeightTable MakeWeights(const Axis& inAxis) {
    const SampleGrid& from = inAxis.source;
    const SampleGrid& to = inAxis.destination;
    // Samples that stay where they are take nothing from their neighbours, not even rounding.
    const bool staysInPlace = inAxis.scale == 1 && from == to;
    const Filter filter =
        FilterOf(inAxis.scale * to.pitch / from.pitch, staysInPlace ? 0 : inAxis.quality);
    const std::int64_t mostTaps = MostTaps(filter, from.count);
    const auto count = static_cast<std::size_t>(to.count);
    WeightTable table;
    table.first.resize(count);
    table.weights.resize(count * static_cast<std::size_t>(mostTaps));
    Taps taps{0, {}};
    taps.weights.reserve(static_cast<std::size_t>(mostTaps));
    for (std::int32_t i = 0; i < to.count; ++i) {
        const double pixel = to.first + 1.0 * to.pitch * i;
        const double sourcePixel = (pixel + 0.5) * inAxis.scale - 0.5;
        SetTaps(filter, (sourcePixel - from.first) / from.pitch, from.count - 1, taps);
        std::transform(taps.weights.begin(), taps.weights.end(),
                       table.weights.begin() + mostTaps * i,
                       [](double weight) { return static_cast<float>(weight); });
        table.first[static_cast<std::size_t>(i)] = static_cast<std::int32_t>(taps.first);
        table.tapCount = std::max(table.tapCount, static_cast<std::int32_t>(taps.weights.size()));
    }
    CloseUp(mostTaps, from.count, table);
    OrderByTap(table);
    return table;
}

void RoundWeights(const float* inWeights, std::int32_t inCount, int inBits,
                  std::int16_t* outWeights) {
    double sum = 0;
    std::int32_t roundedSum = 0;
    for (std::int32_t i = 0; i < inCount; ++i) {
        sum += inWeights[i];
        const auto next = static_cast<std::int32_t>(std::lround(std::ldexp(sum, inBits)));
        outWeights[i] = static_cast<std::int16_t>(next - roundedSum);
        roundedSum = next;
    }
}

RoundedTaps RoundedTapsOf(const WeightTable& inTable, std::size_t inDestination,
                          std::int32_t inTapCount, std::int32_t inSourceCount, int inBits) {
    const auto sample = std::min(static_cast<std::int32_t>(inDestination), inTable.Count() - 1);
    const std::int32_t first = inTable.first[static_cast<std::size_t>(sample)];
    RoundedTaps taps{std::min(first, inSourceCount - inTapCount), {}};
    taps.weights.resize(static_cast<std::size_t>(inTapCount));
    RoundWeights(inTable.WeightsOf(sample), inTable.tapCount, inBits,
                 taps.weights.data() + (first - taps.first));
    return taps;
}

}  // namespace scanvo

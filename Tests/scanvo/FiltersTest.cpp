#include "Siblings/scanvo/Filters.h"

#include <gtest/gtest.h>

#include <cmath>

namespace scanvo_test {
namespace {

using scanvo::WeightTable;

WeightTable Weights(std::int32_t inSource, std::int32_t inDestination, std::int32_t inQuality) {
    return scanvo::MakeWeights({inSource, 1, 0}, {inDestination, 1, 0},
                               static_cast<double>(inSource) / inDestination, inQuality,
                               std::pmr::new_delete_resource());
}

double WeightOf(const WeightTable& inTable, std::int32_t inDestination, std::int32_t inSource) {
    const std::int32_t tap = inSource - inTable.first[static_cast<std::size_t>(inDestination)];
    return tap >= 0 && tap < inTable.tapCount ? inTable.WeightsOf(inDestination)[tap] : 0;
}

void ExpectSound(const WeightTable& inTable, std::int32_t inSource, std::int32_t inQuality) {
    const std::int32_t count = inTable.Count();
    const double scale = static_cast<double>(inSource) / count;
    const double reach = std::max(1.0, scale);
    EXPECT_LE(inTable.tapCount, inSource == count || inQuality < 2 ? 1
                                : inQuality == 2                   ? std::ceil(reach) + 1
                                                                   : 2 * std::ceil(reach));
    for (std::int32_t i = 0; i < count; ++i) {
        const std::int32_t first = inTable.first[static_cast<std::size_t>(i)];
        EXPECT_GE(first, i == 0 ? 0 : inTable.first[static_cast<std::size_t>(i - 1)]);
        EXPECT_LE(first + inTable.tapCount, inSource);
        double sum = 0;
        double centre = 0;
        for (std::int32_t k = 0; k < inSource; ++k) {
            const double weight = WeightOf(inTable, i, k);
            sum += weight;
            centre += k * weight;
            if (inQuality >= 2) {
                EXPECT_NEAR(weight, WeightOf(inTable, count - 1 - i, inSource - 1 - k), 1e-6);
            }
        }
        EXPECT_NEAR(sum, 1, 1e-6);
        const double exact = (i + 0.5) * scale - 0.5;
        if (exact >= reach && exact <= inSource - 1 - reach) {
            EXPECT_NEAR(centre, exact, inQuality < 2 ? 0.5 : 0.04 * reach);
        }
    }
}

TEST(Filters, HoldForEveryLengthAndQuality) {
    constexpr std::int32_t kLengths[][2] = {{1, 1},   {1, 7},   {7, 1},     {2, 3},
                                            {3, 2},   {10, 5},  {5, 10},    {16, 16},
                                            {100, 7}, {7, 100}, {641, 640}, {99, 100}};
    for (const auto& [source, destination] : kLengths) {
        for (std::int32_t quality = 0; quality <= 6; ++quality) {
            SCOPED_TRACE(testing::Message()
                         << source << " to " << destination << ", quality " << quality);
            const WeightTable table = Weights(source, destination, quality);
            ASSERT_EQ(table.Count(), destination);
            ExpectSound(table, source, quality);
        }
    }
}

TEST(Filters, WeighKnownCases) {
    const struct {
        std::int32_t source, destination, quality, sample, tap;
        double weight;
    } kCases[] = {
        {4, 2, 1, 0, 0, 1},       {4, 2, 1, 1, 2, 1},        // nearest
        {4, 2, 2, 0, 0, 0.5},     {4, 2, 2, 0, 1, 0.5},      // box
        {3, 2, 2, 0, 0, 2.0 / 3}, {3, 2, 2, 0, 1, 1.0 / 3},  // box, partly covered
        {2, 4, 2, 1, 0, 0.75},    {2, 4, 2, 1, 1, 0.25},     // linear
        {2, 4, 2, 0, 0, 1},       {2, 4, 3, 3, 1, 1},        // beyond the ends
        {8, 4, 3, 1, 1, 0.125},   {8, 4, 3, 1, 2, 0.375},    // triangle, grown
    };
    for (const auto& [source, destination, quality, sample, tap, weight] : kCases) {
        EXPECT_NEAR(WeightOf(Weights(source, destination, quality), sample, tap), weight, 1e-6)
            << source << " to " << destination << ", quality " << quality << ", sample " << sample
            << ", tap " << tap;
    }
}

}  // namespace
}  // namespace scanvo_test

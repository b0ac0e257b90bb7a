#include "Siblings/scanvo/Filters.h"

#include <gtest/gtest.h>

#include <cmath>

namespace scanvo_test {
namespace {

using scanvo::MakeWeights;
using scanvo::WeightTable;

WeightTable Weights(std::int32_t inSource, std::int32_t inDestination, std::int32_t inQuality) {
    return MakeWeights({inSource, 1, 0}, {inDestination, 1, 0},
                       static_cast<double>(inSource) / inDestination, inQuality,
                       std::pmr::new_delete_resource());
}

double WeightOf(const WeightTable& inTable, std::int32_t inDestination, std::int32_t inSource) {
    const std::int32_t tap = inSource - inTable.first[static_cast<std::size_t>(inDestination)];
    return tap >= 0 && tap < inTable.tapCount ? inTable.WeightsOf(inDestination)[tap] : 0;
}

constexpr std::int32_t kLengths[][2] = {{1, 1},   {1, 7},   {7, 1},     {2, 3},
                                        {3, 2},   {10, 5},  {5, 10},    {16, 16},
                                        {100, 7}, {7, 100}, {641, 640}, {99, 100}};

TEST(Filters, HoldForEveryLengthAndQuality) {
    for (const auto& [source, destination] : kLengths) {
        for (std::int32_t quality = 0; quality <= 6; ++quality) {
            SCOPED_TRACE(testing::Message()
                         << source << " to " << destination << ", quality " << quality);
            const WeightTable table = Weights(source, destination, quality);
            ASSERT_EQ(table.Count(), destination);
            for (std::int32_t i = 0; i < destination; ++i) {
                const std::int32_t first = table.first[static_cast<std::size_t>(i)];
                EXPECT_GE(first, i == 0 ? 0 : table.first[static_cast<std::size_t>(i - 1)]);
                EXPECT_LE(first + table.tapCount, source);
                double sum = 0;
                double centre = 0;
                for (std::int32_t k = 0; k < source; ++k) {
                    sum += WeightOf(table, i, k);
                    centre += k * WeightOf(table, i, k);
                    if (quality >= 2) {
                        EXPECT_NEAR(WeightOf(table, i, k),
                                    WeightOf(table, destination - 1 - i, source - 1 - k), 1e-6);
                    }
                }
                EXPECT_NEAR(sum, 1, 1e-6);
                const double exact = (i + 0.5) * source / destination - 0.5;
                const double reach = std::max(1.0, static_cast<double>(source) / destination);
                if (exact >= reach && exact <= source - 1 - reach) {
                    EXPECT_NEAR(centre, exact, quality < 2 ? 0.5 : 0.04 * reach);
                }
            }
        }
    }
}

TEST(Filters, LeaveEqualLengthsAlone) {
    for (std::int32_t quality = 0; quality <= 6; ++quality) {
        const WeightTable table = Weights(9, 9, quality);
        EXPECT_EQ(table.tapCount, 1);
        for (std::int32_t i = 0; i < 9; ++i)
            EXPECT_EQ(WeightOf(table, i, i), 1);
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
        {8, 4, 3, 0, 0, 0.5},
    };
    for (const auto& each : kCases) {
        EXPECT_NEAR(
            WeightOf(Weights(each.source, each.destination, each.quality), each.sample, each.tap),
            each.weight, 1e-6)
            << each.source << " to " << each.destination << ", quality " << each.quality
            << ", sample " << each.sample << ", tap " << each.tap;
    }
}

TEST(Filters, TakeNoMoreTapsThanCount) {
    EXPECT_EQ(Weights(1920, 960, 2).tapCount, 2);
    EXPECT_EQ(Weights(1920, 640, 2).tapCount, 3);
    EXPECT_EQ(Weights(640, 1920, 2).tapCount, 2);
    EXPECT_EQ(Weights(1920, 960, 3).tapCount, 4);
    EXPECT_EQ(Weights(1920, 853, 1).tapCount, 1);
}

// The second field's rows lie half a field row lower, in both pictures.
TEST(Filters, KeepFieldsInTheirPlaces) {
    auto* const heap = std::pmr::new_delete_resource();
    const WeightTable upper = MakeWeights({8, 2, 0}, {4, 2, 0}, 2, 3, heap);
    const WeightTable lower = MakeWeights({8, 2, 1}, {4, 2, 1}, 2, 3, heap);
    const auto centreOf = [](const WeightTable& table) {
        double centre = 0;
        for (std::int32_t k = 0; k < 8; ++k)
            centre += k * WeightOf(table, 2, k);
        return centre;
    };
    // Frame rows 4 and 5 of 8 are centred at rows 8.5 and 10.5 of 16.
    EXPECT_NEAR(2 * centreOf(upper), 8.5, 0.2);
    EXPECT_NEAR(2 * centreOf(lower) + 1, 10.5, 0.2);
}

}  // namespace
}  // namespace scanvo_test

#include "Siblings/scanvo/Chroma.h"

#include <gmock/gmock.h>

#include <vector>

#include "Siblings/scanvo/Filters.h"
#include "Siblings/scanvo/FormatCode.h"

namespace scanvo_test {
namespace {

using ::testing::ElementsAre;
using ::testing::FloatEq;
using ::testing::Pointwise;

std::vector<float> Spread(const std::vector<float>& inHalf, std::int32_t inWidth) {
    std::vector<float> full(static_cast<std::size_t>(inWidth));
    scanvo::SpreadChroma(inHalf.data(), inWidth, full.data());
    return full;
}

std::vector<float> Halve(const std::vector<float>& inFull) {
    std::vector<float> half((inFull.size() + 1) / 2);
    scanvo::HalveChroma(inFull.data(), static_cast<std::int32_t>(inFull.size()), half.data());
    return half;
}

TEST(Chroma, LiesOnTheFirstPixelOfAPair) {
    EXPECT_THAT(Spread({0, 8}, 4), ElementsAre(0, 4, 8, 8));
    EXPECT_THAT(Spread({0, 8}, 3), ElementsAre(0, 4, 8));
    EXPECT_THAT(Spread({5}, 1), ElementsAre(5));
    EXPECT_THAT(Halve({8, 0, 0, 16, 0}), ElementsAre(6, 4, 4));
    EXPECT_THAT(Halve({8, 0, 4, 4}), ElementsAre(6, 3));
    EXPECT_THAT(Halve({5}), ElementsAre(5));
}

TEST(Chroma, IsTheTriangleFilterBetweenTheGrids) {
    for (std::int32_t width = 1; width <= 12; ++width) {
        const std::int32_t halfWidth = scanvo::HalfWidth(width);
        std::vector<float> full;
        for (std::int32_t x = 0; x < width; ++x)
            full.push_back(static_cast<float>(x * x % 7));
        const scanvo::SampleGrid fullGrid{width, 1, 0};
        const scanvo::SampleGrid halfGrid{halfWidth, 2, 0};
        auto* const heap = std::pmr::new_delete_resource();

        std::vector<float> half(static_cast<std::size_t>(halfWidth));
        scanvo::FilterAlongRow(full.data(), scanvo::MakeWeights(fullGrid, halfGrid, 1, 3, heap),
                               half.data());
        EXPECT_THAT(Halve(full), Pointwise(FloatEq(), half)) << width;

        std::vector<float> spread(static_cast<std::size_t>(width));
        scanvo::FilterAlongRow(half.data(), scanvo::MakeWeights(halfGrid, fullGrid, 1, 3, heap),
                               spread.data());
        EXPECT_THAT(Spread(half, width), Pointwise(FloatEq(), spread)) << width;
    }
}

}  // namespace
}  // namespace scanvo_test

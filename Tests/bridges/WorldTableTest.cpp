#include "Records.h"

namespace bridges_test {
namespace {

using WorldTable = BridgeTest;

TPixHand NewRecord() {
    const tagRECT bounds = Bounds(4, 4);
    return tpixNew(&bounds);
}

TEST_F(WorldTable, KindsOfWorlds) {
    const tagRECT bounds = Bounds(4, 4);
    TPixHand record = NewRecord();
    std::int16_t made = 0;
    std::int16_t given = 0;
    std::int16_t other = 0;
    std::int16_t plain = 0;
    EXPECT_EQ(twNew(&made, &bounds, nullptr, 0), 0);
    EXPECT_EQ(twNew(&given, &bounds, &record, 0), 0);
    EXPECT_EQ(twNew(&other, &bounds, &record, 2), 0);
    EXPECT_EQ(twNew(&plain, &bounds, &record, 5), 0);
    EXPECT_EQ((std::array{made, given, other, plain}), (std::array<std::int16_t, 4>{1, 2, 3, 4}));
    ASSERT_NE(twGetTPix(made), nullptr);
    EXPECT_EQ((*twGetTPix(made))->bounds.bottom, 4);
    EXPECT_EQ(twGetTPix(given), record);
    EXPECT_EQ(twGetTPix(other), nullptr);
    EXPECT_EQ(twGetTPix(plain), nullptr);
    for (const std::int16_t number : {made, other, plain, given})
        twDispose(number, 0);
    EXPECT_EQ(*record, nullptr);  // went with the world that owned it
    EXPECT_EQ(twGetTPix(given), nullptr);
}

TEST_F(WorldTable, WhoDisposesOfTheRecord) {
    const TPixHand record = NewRecord();
    twDispose(RegTWorldBits(record, 0), 0);
    EXPECT_NE(*record, nullptr);
    twDispose(RegTWorldBits(record, 1), 1);
    EXPECT_NE(*record, nullptr);
    twDispose(RegTWorldBits(record, 7), 0);
    EXPECT_EQ(*record, nullptr);
}

TEST_F(WorldTable, FullTable) {
    const tagRECT bounds = Bounds(4, 4);
    TPixHand record = NewRecord();
    for (std::int16_t number = 1; number <= 200; ++number)
        ASSERT_EQ(RegTWorldBits(record, 0), number);
    EXPECT_EQ(RegTWorldBits(record, 0), 0);
    std::int16_t number = 9;
    for (const std::int32_t kind : {1, 2}) {
        EXPECT_EQ(twNew(&number, &bounds, &record, kind), -108);
        EXPECT_EQ(number, 9);
    }
    EXPECT_EQ(twNew(&number, &bounds, &record, 0), 1);
    EXPECT_EQ(number, 0);
    EXPECT_NE(*record, nullptr);
    hoardex::FailAllocationsAfter(0);
    EXPECT_EQ(twNew(&number, &bounds, nullptr, 0), -108);
    hoardex::FailAllocationsAfter(-1);
    twDispose(77, 0);
    EXPECT_EQ(RegTWorldBits(record, 0), 77);  // the first free one
    for (number = 1; number <= 200; ++number)
        twDispose(number, 0);
    tpixDispose(record);
}

TEST_F(WorldTable, NumbersThatAreNone) {
    for (const int number : {-32768, -1, 0, 1, 200, 201, 32767}) {
        twDispose(static_cast<std::int16_t>(number), 0);
        EXPECT_EQ(twGetTPix(static_cast<std::int16_t>(number)), nullptr);
    }
}

}  // namespace
}  // namespace bridges_test

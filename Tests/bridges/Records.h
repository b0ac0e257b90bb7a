// Records in tests.
#pragma once

#include "VideoFrame/TPixBridge.h"
#include "frames/VideoFrameUtilities.h"
#include "support/Contracts.h"
#include "support/Frames.h"

namespace bridges_test {

using namespace support;

constexpr tagRECT Bounds(std::int32_t inWidth, std::int32_t inHeight) {
    return {0, 0, inWidth, inHeight};
}

inline std::vector<std::uint8_t> BytesAt(const void* inStart, std::size_t inSize) {
    const auto* const start = static_cast<const std::uint8_t*>(inStart);
    return {start, start + inSize};
}

inline TPixHand NewRecord(std::int32_t inWidth, std::int32_t inHeight) {
    const tagRECT bounds = Bounds(inWidth, inHeight);
    return tpixNew(&bounds);
}

/// What must be as before when a test ends.
class BridgeTest : public testing::Test {
  protected:
    ~BridgeTest() override {
        EXPECT_EQ(hoardex::CountBlocks(), blocks_);
        EXPECT_EQ(VF::TPixFrameMap().Frames().size(), 0U);
        EXPECT_EQ(VF::EffectWorldFrameMap().Frames().size(), 0U);
        VF::TPixFrameMap().Frames().clear();
        VF::EffectWorldFrameMap().Frames().clear();
    }

  private:
    const std::int64_t blocks_ = hoardex::CountBlocks();
};

}  // namespace bridges_test

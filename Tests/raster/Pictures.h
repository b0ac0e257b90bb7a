// Records over memory of a test, with bytes around the pixels that nobody may touch.
#pragma once

#include <memory>

#include "VideoFrame/VideoFrame.h"
#include "support/Contracts.h"
#include "support/SharedFolder.h"

namespace raster_test {

using Bytes = std::vector<std::uint8_t>;

/// Blue, green, red, alpha.
using Pixel = std::array<std::uint8_t, 4>;

inline void FillWithNoise(Bytes& outBytes, std::mt19937& ioRandom) {
    for (std::uint8_t& byte : outBytes)
        byte = static_cast<std::uint8_t>(ioRandom() >> 8);
}

/// A copy in global memory, which goes with the last pointer to it.
using GlobalBlock = std::shared_ptr<void>;

inline GlobalBlock MakeGlobal(const Bytes& inBytes) {
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, inBytes.size());
    std::copy(inBytes.begin(), inBytes.end(), static_cast<std::uint8_t*>(GlobalLock(block)));
    GlobalUnlock(block);
    return {block, GlobalFree};
}

/// With the library initialized, which puts the table of functions in place.
class RasterTest : public testing::Test {
  protected:
    RasterTest() { VF::Initialize(); }
    ~RasterTest() override { VF::Shutdown(); }

    support::SharedFolder folder_;
    std::mt19937 random_{11};
};

class LocalRecord {
  public:
    /// Noise everywhere, also in the inPadding bytes at the end of each line.
    LocalRecord(std::int32_t inWidth, std::int32_t inHeight, std::int32_t inPadding,
                std::mt19937& ioRandom)
        : memory_(kGuard + static_cast<std::size_t>((4 * inWidth + inPadding) * inHeight) +
                  kGuard) {
        FillWithNoise(memory_, ioRandom);
        record_.bounds = {0, 0, inWidth, inHeight};
        record_.rowbytes = 4 * inWidth + inPadding;
        record_.depth = 32;
        Point();
    }
    LocalRecord(const LocalRecord& inOther) : record_(inOther.record_), memory_(inOther.memory_) {
        Point();
    }
    LocalRecord& operator=(const LocalRecord&) = delete;

    const TPix* Record() const { return &record_; }
    TPixHand Handle() { return &master_; }
    std::int32_t Width() const { return record_.bounds.right; }
    std::int32_t Height() const { return record_.bounds.bottom; }

    Pixel At(std::int32_t inX, std::int32_t inY) const {
        Pixel pixel;
        std::memcpy(pixel.data(), Place(inX, inY), 4);
        return pixel;
    }
    void Set(std::int32_t inX, std::int32_t inY, const Pixel& inPixel) {
        std::memcpy(Place(inX, inY), inPixel.data(), 4);
    }

    template <class ColourAt>
    void Paint(const ColourAt& inColourAt) {
        for (std::int32_t i = 0; i < Width() * Height(); ++i)
            Set(i % Width(), i / Width(), inColourAt(i % Width(), i / Width()));
    }

    /// Pixels, paddings and guards.
    const Bytes& Memory() const { return memory_; }

  private:
    static constexpr std::size_t kGuard = 64;

    void Point() { record_.pixels = memory_.data() + kGuard; }
    std::uint8_t* Place(std::int32_t inX, std::int32_t inY) const {
        return record_.pixels + (Height() - 1 - inY) * record_.rowbytes + 4 * inX;
    }

    TPix record_{};
    TPix* master_ = &record_;
    Bytes memory_;
};

inline bool IsIn(const tagRECT& inRect, std::int32_t inX, std::int32_t inY) {
    return inX >= inRect.left && inX < inRect.right && inY >= inRect.top && inY < inRect.bottom;
}

}  // namespace raster_test

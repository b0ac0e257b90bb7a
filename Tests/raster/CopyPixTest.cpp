#include <cmath>

#include "Pictures.h"

namespace raster_test {
namespace {

class CopyPix : public RasterTest {
  protected:
    std::int32_t Random(std::int32_t inFrom, std::int32_t inTo) {
        return inFrom +
               static_cast<std::int32_t>(random_() % static_cast<std::uint32_t>(inTo - inFrom + 1));
    }
    LocalRecord RandomRecord() { return {Random(1, 40), Random(1, 30), 4 * Random(0, 2), random_}; }
    tagRECT RandomRect(std::int32_t inWidth, std::int32_t inHeight) {
        const std::int32_t left = Random(-20, 30), top = Random(-20, 30);
        return {left, top, left + inWidth, top + inHeight};
    }
};

// ---------------------------------------------------------------------------------------------
// The rules, pixel by pixel

enum class Masking { None, Region, Bits, Picture };

std::uint8_t BlendByte(int inSource, int inDestination, int inOpacity, int inRounding) {
    return static_cast<std::uint8_t>((inOpacity * inSource + inRounding) / 255 +
                                     (inDestination * (255 - inOpacity) + inRounding) / 255);
}

Pixel ThroughByte(const Pixel& inSource, const Pixel& inDestination, int inMask) {
    if (inMask == 0 || inMask == 255) return inMask == 0 ? inDestination : inSource;
    Pixel result;
    for (std::size_t c = 0; c < 3; ++c) {
        const int difference = (inDestination[c] - inSource[c]) * (255 - inMask);
        result[c] = static_cast<std::uint8_t>(inSource[c] + std::floor(difference / 256.0));
    }
    const int product = (255 - inDestination[3]) * inSource[3] * (255 - inMask);
    result[3] = static_cast<std::uint8_t>(inDestination[3] + (product >> 16));
    return result;
}

/// Mixtures without a mask come from the renderer, which may round otherwise.
void ExpectSame(const LocalRecord& inActual, const LocalRecord& inExpected, int inTolerance) {
    for (std::size_t i = 0; i < inActual.Memory().size(); ++i)
        ASSERT_NEAR(inActual.Memory()[i], inExpected.Memory()[i], inTolerance) << "byte " << i;
}

// ---------------------------------------------------------------------------------------------
// Masks

/// In every form that a caller can give.
class AnyMask {
  public:
    AnyMask(Masking inMasking, std::int32_t inWidth, std::int32_t inHeight, std::mt19937& ioRandom)
        : masking_(inMasking),
          width_(inWidth),
          lineBytes_((inWidth + 15) / 16 * 2),
          bytes_(static_cast<std::size_t>(lineBytes_ * inHeight)) {
        FillWithNoise(bytes_, ioRandom);
        if (masking_ == Masking::Bits) {
            block_ = MakeGlobal(bytes_);
        } else if (masking_ == Masking::Region) {
            region_ = {CreateRectRgn(-3, 2, inWidth / 2, inHeight + 9), DeleteObject};
        } else if (masking_ == Masking::Picture) {
            // Smaller than what it is laid on, now and then.
            const auto size = [&](std::int32_t inFull) {
                return std::max(1, inFull - static_cast<std::int32_t>(ioRandom() % 3));
            };
            picture_.bounds = {0, 0, size(inWidth), size(inHeight)};
            picture_.depth = 8;
            picture_.rowbytes = picture_.bounds.right + 3;
            bytes_.resize(static_cast<std::size_t>(picture_.rowbytes * picture_.bounds.bottom));
            for (std::uint8_t& byte : bytes_)
                byte = static_cast<std::uint8_t>(std::min(ioRandom() % 300, 255UL));
            picture_.pixels = bytes_.data();
        }
    }

    /// By the kind of masking.
    template <class Value>
    Value Of(const Value (&inValues)[4]) const {
        return inValues[static_cast<std::size_t>(masking_)];
    }
    void* Argument() {
        master_ = &picture_;
        return Of<void*>({nullptr, region_.get(), block_.get(), &master_});
    }
    int Mode() const { return Of({0, 0, int{kCopyMaskIs1Bit}, int{kCopyMaskIs8Bit}}); }
    const std::uint8_t* Bits() const { return bytes_.data(); }

    /// What it says of a pixel of the source rectangle: 0 leaves, 255 copies.
    int At(std::int32_t inX, std::int32_t inY) const {
        if (masking_ == Masking::Picture) {
            const std::int32_t line = picture_.bounds.bottom - 1 - inY;
            const bool isThere = IsIn(picture_.bounds, inX, inY);
            return isThere ? picture_.pixels[line * picture_.rowbytes + inX] : 0;
        }
        const int byte = bytes_[static_cast<std::size_t>(lineBytes_ * inY + inX / 8)];
        const bool isSet = (byte >> (7 - inX % 8) & 1) != 0;
        return Of({true, inX < width_ / 2 && inY >= 2, isSet, false}) ? 255 : 0;
    }

  private:
    Masking masking_;
    std::int32_t width_, lineBytes_;
    Bytes bytes_;
    std::shared_ptr<void> block_, region_;
    TPix picture_{};
    TPix* master_ = nullptr;
};

struct Copy {
    tagRECT from, to;
    Masking masking;
    int opacity;
};

void CopyByTheRules(const LocalRecord& inSource, LocalRecord& ioDestination, const Copy& inCopy,
                    const AnyMask& inMask, int inRounding) {
    if (inCopy.opacity == 0) return;
    const tagRECT &from = inCopy.from, &to = inCopy.to;
    ioDestination.Paint([&](int x, int y) {
        const int maskX = x - to.left, maskY = y - to.top;
        const int fromX = from.left + maskX, fromY = from.top + maskY;
        const Pixel destination = ioDestination.At(x, y);
        if (!IsIn(to, x, y) || !IsIn(inSource.Record()->bounds, fromX, fromY)) return destination;
        const Pixel source = inSource.At(fromX, fromY);
        const int mask = inMask.At(maskX, maskY);
        if (inCopy.masking == Masking::Picture || mask == 0 || inCopy.opacity == 255)
            return ThroughByte(source, destination, mask);
        Pixel mixed;
        for (std::size_t c = 0; c < 4; ++c)
            mixed[c] = BlendByte(source[c], destination[c], inCopy.opacity, inRounding);
        return mixed;
    });
}

// ---------------------------------------------------------------------------------------------
// Tests

TEST_F(CopyPix, RandomRectanglesMasksAndOpacities) {
    EXPECT_EQ((ThroughByte({200, 0, 0, 0}, {100, 0, 0, 0}, 128)[0]), 150);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        LocalRecord source = RandomRecord();
        // Whole pictures with the same lines are copied at once.
        const bool isWhole = Random(0, 7) == 0;
        LocalRecord actual =
            isWhole ? LocalRecord(source.Width(), source.Height(),
                                  source.Record()->rowbytes - 4 * source.Width(), random_)
                    : RandomRecord();
        LocalRecord expected = actual;
        const tagRECT all = source.Record()->bounds;
        const std::int32_t width = isWhole ? all.right : Random(1, 45);
        const std::int32_t height = isWhole ? all.bottom : Random(1, 35);
        Copy copy{RandomRect(width, height), RandomRect(width, height),
                  static_cast<Masking>(Random(0, 3)), 255};
        if (isWhole) copy.from = copy.to = all;
        const bool isMixed = Random(0, 1) == 1;
        if (isMixed) copy.opacity = std::min(Random(0, 300), 255);
        AnyMask mask(copy.masking, width, height, random_);
        const auto mode = static_cast<std::uint16_t>(
            mask.Mode() | (isMixed ? kCopyWithOpacity | copy.opacity : 0));
        // Bits in plain memory are taken too, where nothing is to be cut off.
        const bool isPlain = isWhole && copy.masking == Masking::Bits && Random(0, 1) == 1;
        CopyByTheRules(source, expected, copy, mask, isPlain ? 0 : 127);
        if (isPlain) {
            CopyMaskTPix(source.Record(), actual.Record(), &copy.from, &copy.to, mode, mask.Bits());
        } else {
            tpixCopyRgn(source.Handle(), actual.Handle(), &copy.from, &copy.to, mode,
                        mask.Argument());
        }
        const bool isMixedByRenderer = copy.masking == Masking::None && copy.opacity < 255;
        ExpectSame(actual, expected, isMixedByRenderer ? 1 : 0);
        if (HasFailure()) return;
    }
}

// What hangs out is taken off the other rectangle in proportion.
TEST_F(CopyPix, ScaledRectanglesAreCutInProportion) {
    struct Case {
        tagRECT from, to, drawn;
    };
    constexpr Case kCases[] = {
        {{-10, 0, 90, 100}, {0, 0, 50, 50}, {5, 0, 50, 50}},
        {{0, 0, 100, 100}, {-10, 0, 40, 50}, {0, 0, 40, 50}},
        {{0, 0, 150, 100}, {0, 0, 60, 20}, {0, 0, 40, 20}},
        {{0, 60, 100, 160}, {10, 0, 60, 50}, {10, 0, 60, 20}},
        {{0, 0, 50, 100}, {20, 20, 120, 120}, {20, 20, 120, 120}},
        {{100, 0, 200, 100}, {0, 0, 50, 50}, {0, 0, 0, 0}},
        {{-3, 0, 1, 4}, {0, 0, 2, 4}, {1, 0, 2, 4}},
        {{-1, 0, 1, 4}, {0, 0, 1, 2}, {0, 0, 1, 2}},
    };
    LocalRecord source(100, 100, 4, random_);
    source.Paint([](std::int32_t, std::int32_t) { return Pixel{1, 2, 3, 255}; });
    for (const Case& one : kCases) {
        SCOPED_TRACE(&one - kCases);
        LocalRecord actual(120, 120, 0, random_);
        LocalRecord expected = actual;
        expected.Paint([&](int x, int y) {
            return IsIn(one.drawn, x, y) ? Pixel{1, 2, 3, 255} : actual.At(x, y);
        });
        tpixCopy(source.Handle(), actual.Handle(), &one.from, &one.to, 0x8000 | 77);
        ExpectSame(actual, expected, 0);
    }
    // A share that does not fit 16 bits moves the source's left edge out of its record.
    LocalRecord wide(70000, 1, 0, random_);
    LocalRecord actual(120, 1, 0, random_);
    const LocalRecord expected = actual;
    const tagRECT all = {0, 0, 70000, 1};
    const tagRECT half = {-50, 0, 50, 1};
    tpixCopy(wide.Handle(), actual.Handle(), &all, &half, 0);
    ExpectSame(actual, expected, 0);
}

TEST_F(CopyPix, BadInputDrawsNothing) {
    LocalRecord source(8, 8, 0, random_);
    LocalRecord actual(8, 8, 0, random_);
    const LocalRecord expected = actual;
    const tagRECT all = {0, 0, 8, 8};
    const auto copy = [&](const tagRECT& inFrom, const tagRECT& inTo, int inMode, void* inMask) {
        MyCopyPix(source.Record(), actual.Record(), &inFrom, &inTo,
                  static_cast<std::uint16_t>(inMode), inMask);
    };
    constexpr std::int32_t kFar = std::numeric_limits<std::int32_t>::max();
    for (const tagRECT& rect : {tagRECT{5, 0, 3, 8}, {0, 8, 8, 16}, {-kFar - 1, 0, kFar, 8}}) {
        copy(rect, all, 0, nullptr);
        copy(all, rect, 0, nullptr);
    }
    const GlobalBlock small = MakeGlobal(Bytes(3));
    const HGLOBAL freed = GlobalAlloc(GMEM_MOVEABLE, 16);
    GlobalFree(freed);
    TPix* disposed = nullptr;
    copy(all, all, 0x8000, nullptr);
    copy(all, all, kCopyMaskIs1Bit, small.get());
    copy(all, all, kCopyMaskIs1Bit, freed);
    copy(all, all, kCopyMaskIs8Bit, &disposed);
    const Bytes bits(16, 0xFF);
    const tagRECT narrower = {0, 0, 7, 8};
    CopyMaskTPix(source.Record(), actual.Record(), &all, &all, 0, nullptr);
    CopyMaskTPix(source.Record(), actual.Record(), &all, &narrower, 0, bits.data());
    ExpectSame(actual, expected, 0);
}

}  // namespace
}  // namespace raster_test

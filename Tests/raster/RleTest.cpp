
#include "Pictures.h"

namespace raster_test {
namespace {

using Bytes = std::vector<std::uint8_t>;

BITMAPINFOHEADER Header(std::int32_t inWidth, std::int32_t inHeight) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = inWidth;
    header.biHeight = inHeight;
    header.biPlanes = 1;
    header.biBitCount = 8;
    header.biCompression = BI_RLE8;
    return header;
}

std::size_t Stride(std::int32_t inWidth) {
    return static_cast<std::size_t>(inWidth + 3) / 4 * 4;
}

/// A grid of codes by line and column; nothing where none was written. One pixel at a time.
class Grid {
  public:
    Grid(std::int32_t inWidth, std::int32_t inHeight)
        : width_(static_cast<std::size_t>(inWidth)), height_(static_cast<std::size_t>(inHeight)) {}

    void Decode(const Bytes& inData) {
        for (std::size_t at = 0; at + 2 <= inData.size();) {
            const std::uint8_t first = inData[at];
            const std::uint8_t second = inData[at + 1];
            at += 2;
            if (first != 0) {
                if (!Write(Bytes(first, second))) return;
            } else if (second == 0) {
                x_ = 0;
                ++y_;
            } else if (second == 1) {
                return;
            } else if (second == 2) {
                if (at + 2 > inData.size()) return;
                x_ += inData[at];
                y_ += inData[at + 1];
                at += 2;
            } else {
                if (at + second > inData.size()) return;
                const auto start = inData.begin() + static_cast<std::ptrdiff_t>(at);
                if (!Write(Bytes(start, start + second))) return;
                at += second + second % 2U;
                if (at > inData.size()) return;
            }
        }
    }

    Bytes On(Bytes inBackground, std::size_t inStride) const {
        for (const auto& [place, code] : codes_)
            inBackground[place.second * inStride + place.first] = code;
        return inBackground;
    }

  private:
    bool Write(const Bytes& inCodes) {
        if (y_ >= height_ || x_ + inCodes.size() > (width_ + 3) / 4 * 4) return false;
        for (const std::uint8_t code : inCodes) {
            if (x_ < width_) codes_.push_back({{x_, y_}, code});
            ++x_;
        }
        return true;
    }

    std::size_t width_, height_;
    std::size_t x_ = 0;
    std::size_t y_ = 0;
    std::vector<std::pair<std::pair<std::size_t, std::size_t>, std::uint8_t>> codes_;
};

/// A packed DIB in global memory.
class Dib {
  public:
    Dib(const BITMAPINFOHEADER& inHeader, const Bytes& inBits)
        : bytes_(sizeof inHeader + inBits.size()), block_(GlobalAlloc(GMEM_MOVEABLE, bytes_)) {
        auto* const start = static_cast<std::uint8_t*>(GlobalLock(block_));
        std::memcpy(start, &inHeader, sizeof inHeader);
        std::copy(inBits.begin(), inBits.end(), start + sizeof inHeader);
    }
    ~Dib() { GlobalFree(block_); }
    Dib(const Dib&) = delete;
    Dib& operator=(const Dib&) = delete;

    HGLOBAL Block() const { return block_; }
    Bytes Bits() const {
        const auto* const start = static_cast<const std::uint8_t*>(GlobalLock(block_));
        return {start + sizeof(BITMAPINFOHEADER), start + bytes_};
    }

  private:
    std::size_t bytes_;
    HGLOBAL block_;
};

TEST(Rle, DecodesEveryKindOfPair) {
    struct Case {
        std::int32_t width, height;
        Bytes data;
        Bytes expected;  // on bytes of 9
    };
    const Case cases[] = {
        {5, 2, {3, 0x41, 0, 0, 0, 1}, {0x41, 0x41, 0x41, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}},
        {5, 2, {1, 5, 0, 0, 2, 6, 0, 1}, {5, 9, 9, 9, 9, 9, 9, 9, 6, 6, 9, 9, 9, 9, 9, 9}},
        {4, 1, {0, 3, 1, 2, 3, 0, 1, 4, 0, 1}, {1, 2, 3, 4}},
        {5, 1, {0, 4, 1, 2, 3, 4, 1, 5, 0, 1}, {1, 2, 3, 4, 5, 9, 9, 9}},
        {4, 3, {1, 7, 0, 2, 2, 2, 1, 8, 0, 1}, {7, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 8}},
        // Down in memory, whichever way the picture is stored.
        {4, -2, {4, 1, 0, 0, 4, 2, 0, 1}, {1, 1, 1, 1, 2, 2, 2, 2}},
        // What would leave the line or the picture ends it.
        {4, 1, {3, 1, 2, 2, 0, 0, 1, 3, 0, 1}, {1, 1, 1, 9}},
        {4, 1, {2, 1, 0, 3, 1, 2, 3, 0, 0, 1}, {1, 1, 9, 9}},
        {4, 1, {0, 0, 1, 5, 0, 1}, {9, 9, 9, 9}},
        {4, 1, {0, 2, 4, 0, 1, 5, 0, 1}, {9, 9, 9, 9}},
        // Encoded padding is passed over.
        {5,
         2,
         {8, 1, 0, 0, 3, 2, 0, 5, 3, 4, 5, 6, 7, 0, 0, 1},
         {1, 1, 1, 1, 1, 9, 9, 9, 2, 2, 2, 3, 4, 9, 9, 9}},
        // The low 16 bits of the width.
        {0x10004, 1, {4, 1, 1, 1, 0, 1}, {1, 1, 1, 1}},
    };
    for (const Case& one : cases) {
        const BITMAPINFOHEADER header = Header(one.width, one.height);
        Bytes actual(one.expected.size(), 9);
        DecodeRle(&header, actual.data(), one.data.data());
        EXPECT_EQ(actual, one.expected) << &one - cases;
        Bytes played(one.expected.size(), 9);
        PlayRle(&header, played.data(), one.data.data());
        EXPECT_EQ(played, one.expected);
    }
}

/// Lines of runs and noise, as an encoder might write them.
Bytes Encoded(std::int32_t inWidth, std::int32_t inHeight, std::mt19937& ioRandom) {
    Bytes data;
    const auto add = [&](std::size_t value) { data.push_back(static_cast<std::uint8_t>(value)); };
    for (std::int32_t y = 0; y < inHeight; ++y) {
        for (auto left = static_cast<std::size_t>(inWidth); left > 0;) {
            const std::size_t count = std::min<std::size_t>(left, 1 + ioRandom() % 255);
            left -= count;
            if (ioRandom() % 2 == 0 && count > 2) {
                add(0);
                add(count);
                for (std::size_t i = 0; i < count + count % 2; ++i)
                    add(ioRandom() & 255);
            } else {
                add(count);
                add(ioRandom() & 255);
            }
        }
        if (ioRandom() % 4 == 0) {
            add(0), add(2), add(0), add(1);  // straight down
            y += 1;
        }
        add(0), add(0);
    }
    add(0), add(1);
    return data;
}

// Blocks end where their memory ends, so that the address sanitizer sees every step beyond.
TEST(Rle, MutatedStreamsStayInside) {
    std::mt19937 random(5);
    for (int round = 0; round < 4000; ++round) {
        const auto width = static_cast<std::int32_t>(1 + random() % 300);
        const auto height = static_cast<std::int32_t>(1 + random() % 6);
        Bytes data = Encoded(width, height, random);
        for (std::size_t i = random() % 6; i > 0; --i)
            data[random() % data.size()] = static_cast<std::uint8_t>(random() % 6);
        data.resize(data.size() - random() % data.size());
        // Now and then, the output has fewer lines than its header says.
        const std::int32_t lines = random() % 4 == 0 ? height / 2 : height;
        const Bytes background(Stride(width) * static_cast<std::size_t>(lines), 0xEE);
        const Dib output(Header(width, height), background);
        const Dib rle(Header(width, height), data);
        PlayRleDib(output.Block(), rle.Block());
        Grid grid(width, lines);
        grid.Decode(data);
        ASSERT_EQ(output.Bits(), grid.On(background, Stride(width))) << round;
    }
}

TEST(Rle, BlocksTooSmallForTheirHeaders) {
    const Bytes bits(16, 0xEE);
    const Dib output(Header(4, 4), bits);
    const Dib rle(Header(4, 4), {4, 1, 0, 1});
    BITMAPINFOHEADER large = Header(4, 4);
    large.biClrUsed = 0x40000001;
    const Dib beyond(large, bits);
    const HGLOBAL small = GlobalAlloc(GMEM_MOVEABLE, 20);
    for (const HGLOBAL block : {small, HGLOBAL{nullptr}, beyond.Block()}) {
        PlayRleDib(block, rle.Block());
        PlayRleDib(output.Block(), block);
    }
    EXPECT_EQ(output.Bits(), bits);
    EXPECT_EQ(beyond.Bits(), bits);
    GlobalFree(small);
}

}  // namespace
}  // namespace raster_test

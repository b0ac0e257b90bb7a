#include "Pictures.h"

namespace raster_test {
namespace {

BITMAPINFOHEADER Header(std::int32_t inWidth, std::int32_t inHeight) {
    return {sizeof(BITMAPINFOHEADER), inWidth, inHeight, 1, 8, BI_RLE8, 0, 0, 0, 0, 0};
}

std::size_t Stride(std::size_t inWidth) {
    return (inWidth + 3) / 4 * 4;
}

/// What the data make of lines of pixels, one pixel at a time.
Bytes Decoded(const Bytes& inData, std::size_t inWidth, std::size_t inHeight, Bytes ioPixels) {
    std::size_t x = 0, y = 0;
    const auto write = [&](const Bytes& inCodes) {
        if (y >= inHeight || x + inCodes.size() > Stride(inWidth)) return false;
        for (const std::uint8_t code : inCodes) {
            if (x < inWidth) ioPixels[y * Stride(inWidth) + x] = code;
            ++x;
        }
        return true;
    };
    for (std::size_t at = 0; at + 2 <= inData.size();) {
        const std::uint8_t first = inData[at++];
        const std::uint8_t second = inData[at++];
        if (first != 0) {
            if (!write(Bytes(first, second))) break;
        } else if (second == 0) {
            x = 0;
            ++y;
        } else if (second == 1) {
            break;
        } else if (second == 2) {
            if (at + 2 > inData.size()) break;
            x += inData[at++];
            y += inData[at++];
        } else {
            if (at + second > inData.size()) break;
            const auto start = inData.begin() + static_cast<std::ptrdiff_t>(at);
            if (!write(Bytes(start, start + second))) break;
            at += second + second % 2U;
        }
    }
    return ioPixels;
}

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
        Bytes data, expected;  // on bytes of 9
    };
    // clang-format off
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
        {5, 2, {8, 1, 0, 0, 3, 2, 0, 5, 3, 4, 5, 6, 7, 0, 0, 1}, {1, 1, 1, 1, 1, 9, 9, 9, 2, 2, 2, 3, 4, 9, 9, 9}},
        // The low 16 bits of the width.
        {0x10004, 1, {4, 1, 1, 1, 0, 1}, {1, 1, 1, 1}},
    };
    // clang-format on
    for (const Case& one : cases) {
        const BITMAPINFOHEADER header = Header(one.width, one.height);
        for (const auto decode : {DecodeRle, PlayRle}) {
            Bytes actual(one.expected.size(), 9);
            decode(&header, actual.data(), one.data.data());
            EXPECT_EQ(actual, one.expected) << &one - cases;
        }
    }
}

/// Lines of runs and noise, as an encoder might write them.
Bytes Encoded(std::size_t inWidth, std::size_t inHeight, std::mt19937& ioRandom) {
    Bytes data;
    const auto add = [&](auto... inBytes) {
        (data.push_back(static_cast<std::uint8_t>(inBytes)), ...);
    };
    for (std::size_t y = 0; y < inHeight; ++y) {
        for (std::size_t left = inWidth; left > 0;) {
            const std::size_t count = std::min<std::size_t>(left, 1 + ioRandom() % 255);
            left -= count;
            if (ioRandom() % 2 == 0 && count > 2) {
                add(0, count);
                for (std::size_t i = 0; i < count + count % 2; ++i)
                    add(ioRandom() & 255);
            } else {
                add(count, ioRandom() & 255);
            }
        }
        if (ioRandom() % 4 == 0) {
            add(0, 2, 0, 1);  // straight down
            y += 1;
        }
        add(0, 0);
    }
    add(0, 1);
    return data;
}

// Blocks end where their memory ends, so that the address sanitizer sees every step beyond.
TEST(Rle, MutatedStreamsStayInside) {
    std::mt19937 random(5);
    for (int round = 0; round < 4000; ++round) {
        const std::size_t width = 1 + random() % 300;
        const std::size_t height = 1 + random() % 6;
        Bytes data = Encoded(width, height, random);
        for (std::size_t i = random() % 6; i > 0; --i)
            data[random() % data.size()] = static_cast<std::uint8_t>(random() % 6);
        data.resize(data.size() - random() % data.size());
        // Now and then, the output has fewer lines than its header says.
        const std::size_t lines = random() % 4 == 0 ? height / 2 : height;
        const Bytes background(Stride(width) * lines, 0xEE);
        const auto header =
            Header(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
        const Dib output(header, background);
        const Dib rle(header, data);
        PlayRleDib(output.Block(), rle.Block());
        ASSERT_EQ(output.Bits(), Decoded(data, width, lines, background)) << round;
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

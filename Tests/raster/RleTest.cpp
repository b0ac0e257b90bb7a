#include "Pictures.h"

namespace raster_test {
namespace {

BITMAPINFOHEADER Header(std::int32_t inWidth, std::int32_t inHeight) {
    return {sizeof(BITMAPINFOHEADER), inWidth, inHeight, 1, 8, BI_RLE8, 0, 0, 0, 0, 0};
}

std::size_t Stride(std::size_t inWidth) {
    return (inWidth + 3) / 4 * 4;
}

/// What the data make of those pixels, one at a time.
Bytes Decoded(const Bytes& inData, std::size_t inWidth, Bytes ioPixels) {
    std::size_t place = 0, column = 0;
    const auto write = [&](std::uint8_t inCode) {
        if (place < ioPixels.size() && place % Stride(inWidth) < inWidth) ioPixels[place] = inCode;
        ++place;
        ++column;
    };
    for (std::size_t at = 0; at + 2 <= inData.size();) {
        const std::size_t first = inData[at++];
        const std::uint8_t second = inData[at++];
        if (first != 0) {
            for (std::size_t i = 0; i < first; ++i)
                write(second);
        } else if (second == 0) {
            place += Stride(inWidth) - column;
            column = 0;
        } else if (second == 1) {
            break;
        } else if (at + second > inData.size()) {
            break;
        } else if (second == 2) {
            place += inData[at] + inData[at + 1] * Stride(inWidth);
            column += inData[at];
            at += 2;
        } else {
            for (std::size_t i = 0; i < second; ++i)
                write(inData[at + i]);
            at += second + second % 2U;
        }
    }
    return ioPixels;
}

/// A packed DIB.
Bytes Dib(const BITMAPINFOHEADER& inHeader, const Bytes& inBits) {
    Bytes dib(sizeof inHeader + inBits.size());
    std::memcpy(dib.data(), &inHeader, sizeof inHeader);
    std::copy(inBits.begin(), inBits.end(), dib.data() + sizeof inHeader);
    return dib;
}

Bytes BytesOf(const GlobalBlock& inBlock) {
    const auto* const start = static_cast<const std::uint8_t*>(GlobalLock(inBlock.get()));
    return {start, start + GlobalSize(inBlock.get())};
}

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
        // A line that is too long goes on in the next one, which begins where it should.
        {4, 2, {3, 1, 2, 2, 0, 0, 1, 3, 0, 1}, {1, 1, 1, 2, 3, 9, 9, 9}},
        {4, 2, {3, 1, 0, 3, 2, 3, 4, 0, 0, 0, 1, 5, 0, 1}, {1, 1, 1, 2, 5, 4, 9, 9}},
        {4, 3, {9, 1, 0, 0, 4, 2, 0, 0, 4, 3, 0, 1}, {1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3}},
        {4, 2, {0, 2, 5, 0, 1, 5, 0, 0, 1, 6, 0, 1}, {9, 9, 9, 9, 6, 5, 9, 9}},
        // Without ends of lines pixels run on, over the padding too.
        {4, 2, {6, 1, 0, 3, 2, 3, 4, 0, 0, 1}, {1, 1, 1, 1, 1, 1, 2, 3}},
        {3, 2, {2, 1, 3, 2, 0, 1}, {1, 1, 2, 9, 2, 9, 9, 9}},
        // What comes after the last line is not written, but its line may still end in the picture.
        {4, 1, {0, 0, 1, 5, 0, 1}, {9, 9, 9, 9}},
        {4, 2, {12, 1, 0, 0, 2, 2, 0, 1}, {1, 1, 1, 1, 2, 2, 1, 1}},
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

// A line's length is told in 16 bits.
TEST(Rle, LinesOf65536PixelsAndMoreEndElsewhere) {
    const auto header = Header(40000, 3);
    Bytes data(800, 200);  // 80,000 pixels
    data.insert(data.end(), {0, 0, 1, 7, 0, 1});
    Bytes actual(120000, 9);
    DecodeRle(&header, actual.data(), data.data());
    EXPECT_EQ(actual[80000 + 40000 - (80000 - 65536)], 7);
}

// Blocks end where their memory ends, so that the address sanitizer sees every step beyond. Small
// numbers are escapes, larger ones lines that are too long; the output has fewer bytes, now and
// then, than its header says.
TEST(Rle, RandomStreamsStayInside) {
    std::mt19937 random(5);
    for (int round = 0; round < 4000; ++round) {
        const std::size_t width = 1 + random() % 40, height = 1 + random() % 20;
        Bytes data(random() % 400);
        const std::size_t most = 4 + random() % 30;
        for (std::uint8_t& byte : data)
            byte = static_cast<std::uint8_t>(random() % 3 == 0 ? 0 : 2 + random() % most);
        const std::size_t bytes = Stride(width) * height;
        const Bytes background(random() % 4 == 0 ? random() % bytes : bytes, 0xEE);
        const auto header =
            Header(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
        const GlobalBlock output = MakeGlobal(Dib(header, background));
        PlayRleDib(output.get(), MakeGlobal(Dib(Header(1, 1), data)).get());
        ASSERT_EQ(BytesOf(output), Dib(header, Decoded(data, width, background))) << round;
    }
}

TEST(Rle, BlocksTooSmallForTheirHeaders) {
    const Bytes dib = Dib(Header(4, 4), Bytes(16, 0xEE));
    BITMAPINFOHEADER header = Header(4, 4);
    header.biClrUsed = 0x40000001;
    const Bytes dibBeyond = Dib(header, Bytes(16, 0xEE));
    const GlobalBlock output = MakeGlobal(dib), beyond = MakeGlobal(dibBeyond);
    const GlobalBlock rle = MakeGlobal(Dib(Header(4, 4), {4, 1, 0, 1})),
                      small = MakeGlobal(Bytes(20));
    for (const HGLOBAL block : {small.get(), HGLOBAL{nullptr}, beyond.get()}) {
        PlayRleDib(block, rle.get());
        PlayRleDib(output.get(), block);
    }
    EXPECT_EQ(BytesOf(output), dib);
    EXPECT_EQ(BytesOf(beyond), dibBeyond);
}

}  // namespace
}  // namespace raster_test

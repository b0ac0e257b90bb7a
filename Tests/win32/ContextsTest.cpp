#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "Grids.h"

namespace win32_test {
namespace {

std::string Bytes(HBITMAP inBitmap, std::size_t inCount) {
    std::string bytes(64, '.');
    const LONG copied = GetBitmapBits(inBitmap, static_cast<LONG>(inCount), bytes.data());
    return bytes.substr(0, static_cast<std::size_t>(copied)) +
           (bytes[static_cast<std::size_t>(copied)] == '.' ? "" : "+");
}

TEST(Bitmaps, HaveTheirLinesInOrder) {
    struct Case {
        int width, height;
        UINT bits;
        std::size_t bytes;
    };
    std::string source = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (const auto& [width, height, bits, bytes] : std::initializer_list<Case>{
             {1, 3, 1, 6}, {16, 3, 1, 6}, {17, 3, 1, 12}, {33, 2, 1, 12}, {3, 2, 32, 24}}) {
        const HBITMAP bitmap = CreateBitmap(width, height, 1, bits, source.data());
        EXPECT_EQ(Bytes(bitmap, 60), source.substr(0, bytes)) << width;
        EXPECT_EQ(Bytes(bitmap, 5), source.substr(0, 5)) << width;
        EXPECT_EQ(GetBitmapBits(bitmap, -1, source.data()), 0);
        EXPECT_EQ(GetBitmapBits(bitmap, 8, nullptr), 0);
        EXPECT_TRUE(DeleteObject(bitmap));
    }
    for (const int height : {3, -3}) {
        void* bits = nullptr;
        const HBITMAP section = Section(1, height, &bits);
        EXPECT_EQ(Bytes(section, 60), std::string(12, '\0'));
        std::memcpy(bits, "0000111122223", 12);
        EXPECT_EQ(Bytes(section, 10), height > 0 ? "2222111100" : "0000111122");
        EXPECT_TRUE(DeleteObject(section));
    }
}

TEST(Bitmaps, AreMadeOfKnownKindsOnly) {
    const std::int64_t before = win32::CountObjects();
    struct Case {
        int width, height;
        UINT planes, bits;
    };
    for (const auto& [width, height, planes, bits] :
         std::initializer_list<Case>{{0, 1, 1, 1}, {1, -1, 1, 1}, {1, 1, 2, 1}, {1, 1, 1, 8}})
        EXPECT_EQ(CreateBitmap(width, height, planes, bits, nullptr), nullptr) << width;
    const HDC screen = GetDC(nullptr);
    void* bits = nullptr;
    BITMAPINFO info{Header(2, 2), {}};
    const auto create = [&](HDC inContext, UINT inUsage, HANDLE inSection, DWORD inOffset) {
        bits = &info;
        return CreateDIBSection(inContext, &info, inUsage, &bits, inSection, inOffset);
    };
    const HBITMAP section = create(screen, 0, nullptr, 0);
    EXPECT_NE(section, nullptr);
    EXPECT_EQ(create(screen, 1, nullptr, 0), nullptr);
    EXPECT_EQ(bits, nullptr);
    EXPECT_EQ(create(screen, 0, screen, 0), nullptr);
    EXPECT_EQ(create(screen, 0, nullptr, 4), nullptr);
    EXPECT_EQ(CreateDIBSection(screen, &info, 0, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(CreateDIBSection(screen, nullptr, 0, &bits, nullptr, 0), nullptr);
    info.bmiHeader.biBitCount = 8;
    EXPECT_EQ(create(screen, 0, nullptr, 0), nullptr);
    EXPECT_TRUE(DeleteObject(section));
    EXPECT_EQ(ReleaseDC(nullptr, screen), 1);
    EXPECT_EQ(win32::CountObjects(), before);
}

TEST(Contexts, KeepTheirBitmap) {
    const std::int64_t before = win32::CountObjects();
    const HDC first = CreateCompatibleDC(nullptr), second = CreateCompatibleDC(first);
    const HBITMAP bitmap = CreateBitmap(2, 2, 1, 1, nullptr);
    const HBITMAP other = CreateBitmap(2, 2, 1, 32, nullptr);
    const HGDIOBJ pixel = SelectObject(first, bitmap);
    EXPECT_EQ(Bytes(static_cast<HBITMAP>(pixel), 60), std::string(2, '\0'));
    EXPECT_EQ(SelectObject(first, bitmap), bitmap);
    EXPECT_EQ(SelectObject(second, bitmap), nullptr);
    EXPECT_EQ(SelectObject(second, pixel), nullptr);
    EXPECT_EQ(SelectObject(second, White()), nullptr);
    EXPECT_FALSE(DeleteObject(bitmap));
    EXPECT_EQ(SelectObject(first, other), bitmap);
    EXPECT_NE(SelectObject(second, bitmap), nullptr);
    EXPECT_TRUE(DeleteObject(pixel));
    EXPECT_EQ(SelectObject(first, pixel), other);
    EXPECT_TRUE(DeleteObject(other));
    EXPECT_TRUE(DeleteDC(first));
    EXPECT_FALSE(DeleteObject(pixel));
    EXPECT_TRUE(DeleteDC(second));
    EXPECT_TRUE(DeleteObject(bitmap));
    EXPECT_TRUE(DeleteObject(White()));
    EXPECT_EQ(White(), GetStockObject(WHITE_BRUSH));
    EXPECT_EQ(GetStockObject(1), nullptr);
    EXPECT_EQ(win32::CountObjects(), before);
}

TEST(Contexts, FillRectangles) {
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    constexpr int kWidth = 35, kHeight = 3;
    for (int left = -1; left <= kWidth; ++left) {
        for (int right = left; right <= kWidth + 1; ++right) {
            for (const bool isWhite : {true, false}) {
                const Canvas canvas(kWidth, kHeight);
                const RECT all{kLeast, kLeast, kMost, kMost}, part{left, 1, right, 2};
                EXPECT_EQ(FillRect(canvas.Context(), &all, isWhite ? Black() : White()), 1);
                EXPECT_EQ(FillRect(canvas.Context(), &part, isWhite ? White() : Black()), 1);
                std::vector<bool> expected;
                for (int at = 0; at < kWidth * kHeight; ++at) {
                    const int x = at % kWidth;
                    const bool isIn = at / kWidth == 1 && x >= left && x < right;
                    expected.push_back(isIn == isWhite);
                }
                ASSERT_EQ(canvas.Bits(kHeight), expected) << left << " to " << right;
            }
        }
    }
    const Canvas colours(CreateBitmap(3, 1, 1, 32, nullptr), 3);
    const RECT last{1, 0, 9, 9};
    EXPECT_EQ(FillRect(colours.Context(), &last, White()), 1);
    EXPECT_EQ(colours.Pixels(1), (std::vector<std::uint32_t>{0, 0xFFFFFF, 0xFFFFFF}));
    EXPECT_EQ(FillRect(colours.Context(), nullptr, White()), 0);

    RECT moved{1, 2, 3, kMost};
    EXPECT_TRUE(OffsetRect(&moved, -4, 1));
    EXPECT_TRUE(moved.left == -3 && moved.top == 3 && moved.right == -1 && moved.bottom == kLeast);
    EXPECT_FALSE(OffsetRect(nullptr, 1, 1));
}

}  // namespace
}  // namespace win32_test

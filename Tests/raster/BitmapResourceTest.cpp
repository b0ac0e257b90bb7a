// Bitmap resources against what another program wrote and reads.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Pictures.h"
#include "support/SharedFolder.h"

namespace raster_test {
namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<std::uint8_t>;

Bytes ReadFile(const fs::path& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A folder of bitmaps as a module.
class BitmapResource : public testing::Test {
  protected:
    BitmapResource() {
        VF::Initialize();
        module_ = win32::RegisterModule(folder_.Path().c_str());
        EXPECT_NE(module_, nullptr);
    }
    ~BitmapResource() override {
        win32::UnregisterModule(module_);
        VF::Shutdown();
    }

    std::string File(int inNumber) const {
        return (folder_.Path() / (std::to_string(inNumber) + ".bmp")).string();
    }
    void Write(int inNumber, const Bytes& inBytes) const {
        std::ofstream(File(inNumber), std::ios::binary)
            .write(reinterpret_cast<const char*>(inBytes.data()),
                   static_cast<std::streamsize>(inBytes.size()));
    }
    TPixHand Load(int inNumber, const tagRECT* inRect = nullptr) const {
        return Bmp2TPix(MAKEINTRESOURCEW(static_cast<WORD>(inNumber)), module_, inRect);
    }

    support::SharedFolder folder_;
    HMODULE module_ = nullptr;
};

/// Top-down BGRA of a picture of that size, by ImageMagick.
Bytes Decoded(const std::string& inPath) {
    const std::string raw = inPath + ".raw";
    const std::string command = "convert " + inPath + " -alpha off -alpha on -depth 8 bgra:" + raw;
    EXPECT_EQ(std::system(command.c_str()), 0);
    return ReadFile(raw);
}

void ExpectShows(TPixHand inHandle, std::int32_t inWidth, std::int32_t inHeight,
                 const Bytes& inExpected) {
    ASSERT_NE(inHandle, nullptr);
    const TPix& record = **inHandle;
    ASSERT_EQ(record.bounds.right, inWidth);
    ASSERT_EQ(record.bounds.bottom, inHeight);
    for (std::int32_t y = 0; y < inHeight; ++y) {
        const std::uint8_t* const line = record.pixels + (inHeight - 1 - y) * record.rowbytes;
        const auto offset = static_cast<std::size_t>(4 * inWidth * y);
        ASSERT_EQ(
            std::memcmp(line, inExpected.data() + offset, static_cast<std::size_t>(4 * inWidth)), 0)
            << "line " << y;
    }
}

TEST_F(BitmapResource, ShowsWhatAnotherProgramWrote) {
    constexpr const char* kOptions[] = {
        "-colors 12 -type Palette",                  // 4 bits
        "-colors 200 -type Palette -compress None",  // 8 bits
        "-colors 200 -type Palette -compress RLE",   // 8 bits, run-length-encoded
        "-type TrueColor",                           // 24 bits
    };
    constexpr int kBits[] = {4, 8, 8, 24};
    int number = 1;
    for (const auto& [width, height] : {std::pair{13, 7}, {1, 1}, {64, 33}, {301, 5}}) {
        for (std::size_t i = 0; i < std::size(kOptions); ++i, ++number) {
            SCOPED_TRACE(std::string(kOptions[i]) + " " + std::to_string(width));
            const std::string size = std::to_string(width) + "x" + std::to_string(height);
            const std::string command = "convert -seed 3 -size " + size + " plasma:red-blue " +
                                        kOptions[i] + " BMP3:" + File(number);
            ASSERT_EQ(std::system(command.c_str()), 0);
            // One colour makes a bitmap of another kind.
            if (width > 1) {
                ASSERT_EQ(ReadFile(File(number)).at(28), kBits[i]);
            }
            if (ReadFile(File(number)).at(28) == 1) continue;
            const TPixHand handle = Load(number);
            ExpectShows(handle, width, height, Decoded(File(number)));
            tpixDispose(handle);
        }
    }
}

/// A file with one line of 8-bit codes 0, 1, 2, 3 under as many colours.
Bytes SmallBitmap(std::int32_t inWidth, std::int32_t inHeight, std::uint32_t inColours,
                  std::uint16_t inBits = 8) {
    BITMAPINFOHEADER header{};
    header.biSize = 40;
    header.biWidth = inWidth;
    header.biHeight = inHeight;
    header.biPlanes = 1;
    header.biBitCount = inBits;
    header.biClrUsed = inColours;
    Bytes file(14 + 40 + 16 + 4);
    file[0] = 'B';
    file[1] = 'M';
    const auto size = static_cast<std::uint32_t>(file.size());
    std::memcpy(&file[2], &size, 4);
    std::memcpy(&file[14], &header, 40);
    for (std::uint8_t i = 0; i < 4; ++i) {
        file[54 + 4U * i] = static_cast<std::uint8_t>(10 * (i + 1));
        file[70 + i] = i;
    }
    return file;
}

TEST_F(BitmapResource, ScalesIntoAnotherRectangle) {
    Write(1, SmallBitmap(4, 1, 4));
    const tagRECT same = {7, 7, 11, 8};
    const tagRECT larger = {0, 0, 8, 4};
    const TPixHand whole = Load(1, &same);
    ExpectShows(whole, 4, 1, {10, 0, 0, 255, 20, 0, 0, 255, 30, 0, 0, 255, 40, 0, 0, 255});
    const TPixHand scaled = Load(1, &larger);
    ASSERT_NE(scaled, nullptr);
    EXPECT_EQ((*scaled)->bounds.right, 8);
    EXPECT_EQ((*scaled)->bounds.bottom, 4);
    EXPECT_EQ(tpixGetPixel(scaled, 0, 0), 10U);
    EXPECT_EQ(tpixGetPixel(scaled, 7, 3), 40U);
    tpixDispose(whole);
    tpixDispose(scaled);
}

TEST_F(BitmapResource, BadBitmaps) {
    EXPECT_EQ(Load(1), nullptr);
    EXPECT_EQ(Bmp2TPix(MAKEINTRESOURCEW(1), nullptr, nullptr), nullptr);
    for (const auto& [width, height] : {std::pair{0, 1}, {4, 0}, {-4, 1}, {4, -1}, {0x10000, 1}}) {
        Write(2, SmallBitmap(width, height, 4));
        EXPECT_EQ(Load(2), nullptr) << width << ", " << height;
    }
    const Bytes good = SmallBitmap(4, 1, 4);
    int number = 3;
    for (const std::size_t length : {15UL, 53UL, 54UL, 60UL, 73UL}) {
        Bytes cut = good;
        cut.resize(length);
        Write(number, cut);
        const TPixHand handle = Load(number++);
        ASSERT_EQ(handle != nullptr, length >= 54) << length;
        if (!handle) continue;
        EXPECT_EQ(tpixGetPixel(handle, 3, 0), 0U);
        tpixDispose(handle);
    }
    // More colours than there are bytes, and codes beyond the colours.
    Write(20, SmallBitmap(4, 1, 60000));
    Write(21, SmallBitmap(4, 1, 2));
    Write(22, SmallBitmap(4, 1, 4, 16));  // a depth that is not read
    for (const int each : {20, 21, 22}) {
        const TPixHand handle = Load(each);
        ASSERT_NE(handle, nullptr);
        tpixDispose(handle);
    }
    Write(23, good);
    hoardex::FailAllocationsAfter(0);
    EXPECT_EQ(Load(23), nullptr);
    hoardex::FailAllocationsAfter(1);
    const tagRECT larger = {0, 0, 8, 4};
    EXPECT_EQ(Load(23, &larger), nullptr);
    hoardex::FailAllocationsAfter(-1);
}

}  // namespace
}  // namespace raster_test

// Bitmap resources against what another program wrote and reads.

#include <memory>

#include "Pictures.h"

namespace raster_test {
namespace {

Bytes ReadFile(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct Dispose {
    void operator()(TPix** inHandle) const { tpixDispose(inHandle); }
};
using Loaded = std::unique_ptr<TPix*, Dispose>;

/// A folder of bitmaps as a module.
class BitmapResource : public RasterTest {
  protected:
    ~BitmapResource() override { win32::UnregisterModule(module_); }

    /// Of a new number.
    std::string NewFile() {
        return folder_.Path().string() + "/" + std::to_string(++number_) + ".bmp";
    }
    Loaded Load(const tagRECT* inRect = nullptr) const {
        return Loaded(Bmp2TPix(MAKEINTRESOURCEW(static_cast<WORD>(number_)), module_, inRect));
    }
    Loaded Load(const Bytes& inFile, const tagRECT* inRect = nullptr) {
        std::ofstream(NewFile(), std::ios::binary)
            .write(reinterpret_cast<const char*>(inFile.data()),
                   static_cast<std::streamsize>(inFile.size()));
        return Load(inRect);
    }

    int number_ = 0;
    HMODULE module_ = win32::RegisterModule(folder_.Path().c_str());
};

/// Top-down BGRA of a picture of that size, by ImageMagick.
Bytes Decoded(const std::string& inPath) {
    const std::string raw = inPath + ".raw";
    const std::string command = "convert " + inPath + " -alpha off -alpha on -depth 8 bgra:" + raw;
    EXPECT_EQ(std::system(command.c_str()), 0);
    return ReadFile(raw);
}

void ExpectShows(const Loaded& inHandle, std::int32_t inWidth, std::int32_t inHeight,
                 const Bytes& inExpected) {
    ASSERT_TRUE(inHandle);
    const TPix& record = **inHandle;
    ASSERT_EQ(record.bounds.right, inWidth);
    ASSERT_EQ(record.bounds.bottom, inHeight);
    const auto bytes = static_cast<std::size_t>(4 * inWidth);
    for (std::int32_t y = 0; y < inHeight; ++y) {
        const std::uint8_t* const line = record.pixels + (inHeight - 1 - y) * record.rowbytes;
        ASSERT_EQ(std::memcmp(line, inExpected.data() + bytes * static_cast<std::size_t>(y), bytes),
                  0)
            << y;
    }
}

TEST_F(BitmapResource, ShowsWhatAnotherProgramWrote) {
    constexpr std::pair<const char*, int> kKinds[] = {
        {"-colors 12 -type Palette", 4},
        {"-colors 200 -type Palette -compress None", 8},
        {"-colors 200 -type Palette -compress RLE", 8},
        {"-type TrueColor", 24},
    };
    for (const auto& [width, height] : {std::pair{13, 7}, {1, 1}, {64, 33}, {301, 5}}) {
        for (const auto& [options, bits] : kKinds) {
            SCOPED_TRACE(std::string(options) + " " + std::to_string(width));
            const std::string size = std::to_string(width) + "x" + std::to_string(height);
            const std::string file = NewFile();
            const std::string command =
                "convert -seed 3 -size " + size + " plasma:red-blue " + options + " BMP3:" + file;
            ASSERT_EQ(std::system(command.c_str()), 0);
            // One colour makes a bitmap of another kind.
            const int found = ReadFile(file).at(28);
            ASSERT_TRUE(width == 1 || found == bits);
            if (found != 1) ExpectShows(Load(), width, height, Decoded(file));
        }
    }
}

/// A file with one line of 8-bit codes 0, 1, 2, 3 under as many colours.
Bytes SmallBitmap(std::int32_t inWidth, std::int32_t inHeight, std::uint32_t inColours,
                  std::uint16_t inBits = 8) {
    const BITMAPINFOHEADER header{40, inWidth, inHeight, 1, inBits, BI_RGB, 0, 0, 0, inColours, 0};
    Bytes file(14 + 40 + 16 + 4);
    file[0] = 'B';
    file[1] = 'M';
    file[2] = static_cast<std::uint8_t>(file.size());
    std::memcpy(&file[14], &header, 40);
    for (std::uint8_t i = 0; i < 4; ++i) {
        file[54 + 4U * i] = static_cast<std::uint8_t>(10 * (i + 1));
        file[70 + i] = i;
    }
    return file;
}

TEST_F(BitmapResource, ScalesIntoAnotherRectangle) {
    const tagRECT same = {7, 7, 11, 8}, larger = {0, 0, 8, 4};
    ExpectShows(Load(SmallBitmap(4, 1, 4), &same), 4, 1,
                {10, 0, 0, 255, 20, 0, 0, 255, 30, 0, 0, 255, 40, 0, 0, 255});
    const Loaded scaled = Load(&larger);
    ASSERT_TRUE(scaled);
    EXPECT_EQ((*scaled)->bounds.right, 8);
    EXPECT_EQ((*scaled)->bounds.bottom, 4);
    EXPECT_EQ(tpixGetPixel(scaled.get(), 0, 0), 10U);
    EXPECT_EQ(tpixGetPixel(scaled.get(), 7, 3), 40U);
}

TEST_F(BitmapResource, BadBitmaps) {
    EXPECT_FALSE(Load());
    EXPECT_EQ(Bmp2TPix(MAKEINTRESOURCEW(1), nullptr, nullptr), nullptr);
    for (const auto& [width, height] : {std::pair{0, 1}, {4, 0}, {-4, 1}, {4, -1}, {0x10000, 1}})
        EXPECT_FALSE(Load(SmallBitmap(width, height, 4))) << width << ", " << height;
    for (const std::size_t length : {15U, 53U, 54U, 60U, 73U}) {
        Bytes cut = SmallBitmap(4, 1, 4);
        cut.resize(length);
        const Loaded handle = Load(cut);
        ASSERT_EQ(handle != nullptr, length >= 54) << length;
        EXPECT_EQ(handle ? tpixGetPixel(handle.get(), 3, 0) : 0U, 0U);
    }
    // Fewer bytes than the line, which is more of them than 16 bits tell.
    EXPECT_EQ(tpixGetPixel(Load(SmallBitmap(21846, 1, 4, 24)).get(), 0, 0), 0U);
    EXPECT_TRUE(Load(SmallBitmap(4, 1, 60000)));  // more colours than there are bytes
    EXPECT_TRUE(Load(SmallBitmap(4, 1, 2)));      // codes beyond the colours
    EXPECT_TRUE(Load(SmallBitmap(4, 1, 4, 16)));  // a depth that is not read
    const tagRECT larger = {0, 0, 8, 4};
    for (const int allocations : {0, 1}) {
        hoardex::FailAllocationsAfter(allocations);
        EXPECT_FALSE(Load(SmallBitmap(4, 1, 4), allocations == 0 ? nullptr : &larger));
        hoardex::FailAllocationsAfter(-1);
    }
}

}  // namespace
}  // namespace raster_test

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "Grids.h"

namespace win32_test {
namespace {

namespace fs = std::filesystem;

class Resources : public ::testing::Test {
  protected:
    Resources() { fs::create_directories(folder_); }
    ~Resources() override {
        win32::UnregisterModule(module_);
        fs::remove_all(folder_);
    }

    void Write(const std::string& inName, const std::string& inBytes) {
        std::ofstream(folder_ / inName, std::ios::binary) << inBytes;
    }

    HRSRC Find(WORD inNumber) {
        return FindResourceW(module_, MAKEINTRESOURCEW(inNumber), RT_BITMAP);
    }

    std::string Data(HRSRC inResource) {
        const void* const data = LockResource(LoadResource(module_, inResource));
        const DWORD size = SizeofResource(module_, inResource);
        return data ? std::string(static_cast<const char*>(data), size) : "none";
    }

    fs::path folder_ = fs::temp_directory_path() / ("win32-resources-" + std::to_string(getpid()));
    HMODULE module_ = (fs::create_directories(folder_), win32::RegisterModule(folder_.c_str()));
};

// A header and two pixels.
std::string Bitmap() {
    const BITMAPINFOHEADER header = Header(2, 1);
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
    return bytes + "12345678";
}

std::string File(const std::string& inBitmap) {
    return "BM" + std::string("\x3E\0\0\0\0\0\0\0\x36\0\0\0", 12) + inBitmap;
}

TEST_F(Resources, AreTheFilesWithoutTheirHeader) {
    Write("1.bmp", File(Bitmap()));
    Write("65535.bmp", File(Bitmap().substr(0, 21)));
    Write("3.bmp", "BN" + File(Bitmap()).substr(2));
    Write("4.bmp", File("").substr(0, 13));
    fs::create_directory(folder_ / "5.bmp");
    EXPECT_EQ(Data(Find(1)), Bitmap());
    EXPECT_EQ(Data(Find(65535)), Bitmap().substr(0, 21));
    for (const WORD number : {WORD{3}, WORD{4}, WORD{5}, WORD{6}}) {
        EXPECT_EQ(Data(Find(number)), "none") << number;
        EXPECT_EQ(SizeofResource(module_, Find(number)), 0U) << number;
    }
    EXPECT_EQ(FindResourceW(module_, L"1", RT_BITMAP), nullptr);
    EXPECT_EQ(FindResourceW(module_, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(3)), nullptr);
    EXPECT_EQ(FindResourceW(nullptr, MAKEINTRESOURCEW(1), RT_BITMAP), nullptr);
    EXPECT_EQ(win32::RegisterModule((folder_ / "1.bmp").c_str()), nullptr);
    EXPECT_EQ(win32::RegisterModule(nullptr), nullptr);
}

TEST_F(Resources, AreKeptUntilTheirModuleGoes) {
    const std::int64_t before = win32::CountObjects();
    Write("1.bmp", File(Bitmap()));
    const HRSRC resource = Find(1);
    const DWORD size = SizeofResource(module_, resource);
    Write("1.bmp", File("other"));
    EXPECT_EQ(SizeofResource(module_, resource), size);
    EXPECT_EQ(Data(resource), Bitmap());
    const HGLOBAL loaded = LoadResource(module_, resource);
    EXPECT_FALSE(FreeResource(loaded));
    EXPECT_NE(LockResource(loaded), nullptr);

    const HMODULE other = win32::RegisterModule(folder_.c_str());
    EXPECT_EQ(LoadResource(other, resource), nullptr);
    win32::UnregisterModule(other);
    win32::UnregisterModule(module_);
    EXPECT_EQ(Find(1), nullptr);
    EXPECT_EQ(LoadResource(module_, resource), nullptr);
    EXPECT_EQ(SizeofResource(module_, resource), 0U);
    EXPECT_EQ(LockResource(loaded), nullptr);
    EXPECT_EQ(win32::CountObjects(), before);
}

TEST_F(Resources, AreLoadedWhenThereIsMemory) {
    Write("1.bmp", File(Bitmap()));
    win32::FailAllocationsAfter(0);
    EXPECT_EQ(LoadResource(module_, Find(1)), nullptr);
    EXPECT_EQ(SizeofResource(module_, Find(1)), 0U);
    win32::FailAllocationsAfter(-1);
    EXPECT_EQ(Data(Find(1)), Bitmap());
}

}  // namespace
}  // namespace win32_test

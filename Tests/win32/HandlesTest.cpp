// What handles stand for, and what they no longer stand for.
#include <unistd.h>

#include "Grids.h"

namespace win32_test {
namespace {

/// A handle for any parameter.
struct Any {
    HANDLE handle;

    template <class T>
    operator T() const {
        return static_cast<T>(handle);
    }
};

/// A test that leaves no object behind.
class Handles : public ::testing::Test {
  protected:
    ~Handles() override { EXPECT_EQ(win32::CountObjects(), before_); }

    const HBRUSH white_ = Brush(WHITE_BRUSH);
    const std::int64_t before_ = win32::CountObjects();
    const BITMAPINFO info_{Header(2, 2), {}};
    void* bits_ = nullptr;
};

std::string Bytes(HBITMAP inBitmap, LONG inCount) {
    std::string bytes(64, '.');
    const auto copied = static_cast<std::size_t>(GetBitmapBits(inBitmap, inCount, bytes.data()));
    return bytes.substr(0, copied) + (bytes[copied] == '.' ? "" : "+");
}

TEST_F(Handles, BitmapsHaveTheirLinesInOrder) {
    std::string source = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (const auto& [width, height, bits, bytes] :
         {std::tuple{1, 3, 1U, 6U}, {16, 3, 1U, 6U}, {17, 3, 1U, 12U}, {3, 2, 32U, 24U}}) {
        const HBITMAP bitmap = CreateBitmap(width, height, 1, bits, source.data());
        EXPECT_EQ(Bytes(bitmap, 60), source.substr(0, bytes)) << width;
        EXPECT_EQ(Bytes(bitmap, 5), source.substr(0, 5)) << width;
        EXPECT_EQ(GetBitmapBits(bitmap, -1, source.data()), 0);
        EXPECT_EQ(GetBitmapBits(bitmap, 8, nullptr), 0);
        EXPECT_TRUE(DeleteObject(bitmap));
    }
    for (const int height : {3, -3}) {
        const HBITMAP section = Section(1, height, &bits_);
        EXPECT_EQ(Bytes(section, 60), std::string(12, '\0'));
        std::memcpy(bits_, "000011112222", 12);
        EXPECT_EQ(Bytes(section, 10), height > 0 ? "2222111100" : "0000111122");
        EXPECT_TRUE(DeleteObject(section));
    }
}

TEST_F(Handles, ContextsKeepTheirBitmap) {
    const HDC first = CreateCompatibleDC(nullptr), second = CreateCompatibleDC(first);
    const HBITMAP bitmap = CreateBitmap(2, 2, 1, 1, nullptr);
    const HBITMAP other = CreateBitmap(2, 2, 1, 32, nullptr);
    const HGDIOBJ pixel = SelectObject(first, bitmap);
    EXPECT_EQ(Bytes(static_cast<HBITMAP>(pixel), 60), std::string(2, '\0'));
    EXPECT_EQ(SelectObject(first, bitmap), bitmap);
    for (const HGDIOBJ object : {HGDIOBJ{bitmap}, pixel, HGDIOBJ{white_}})
        EXPECT_EQ(SelectObject(second, object), nullptr);
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
    EXPECT_TRUE(DeleteObject(white_));
    EXPECT_EQ(white_, GetStockObject(WHITE_BRUSH));
    EXPECT_EQ(GetStockObject(1), nullptr);
}

// Every function fails for handles that are stale, made up or of any other kind.
TEST_F(Handles, AreRecognised) {
    const RECT rect{0, 0, 1, 1};
    const Canvas canvas(CreateBitmap(4, 4, 1, 1, nullptr), 4, 4, 1);
    const HDC memory = canvas.Context(), screen = GetDC(nullptr);
    const HDC deleted = CreateCompatibleDC(nullptr);
    const HRGN square = CreateRectRgn(0, 0, 4, 4);
    const HBITMAP bitmap = CreateBitmap(4, 4, 1, 1, nullptr);
    const HGLOBAL block = GlobalAlloc(0, 4), freed = GlobalAlloc(0, 4);
    const HDRAWDIB draw = DrawDibOpen();
    GlobalFree(freed);
    DeleteDC(deleted);
    const auto select = [&](HDC context) {
        const HGDIOBJ before = SelectObject(context, bitmap);
        return before && SelectObject(context, before) == bitmap;
    };
    // For what makes objects like the screen's, null is the screen.
    // clang-format off
    const std::pair<std::vector<HANDLE>, std::function<bool(Any)>> calls[] = {
        {{block}, [](Any h) { return GlobalLock(h); }},
        {{block}, [](Any h) { return GlobalSize(h) != 0; }},
        {{}, [](Any h) { return LoadResource(h, h); }},
        {{}, [](Any h) { return FindResourceW(h, MAKEINTRESOURCEW(1), RT_BITMAP); }},
        {{screen, memory}, [](Any h) { return GetDeviceCaps(h, PLANES); }},
        {{nullptr, screen, memory}, [](Any h) { return DeleteDC(CreateCompatibleDC(h)); }},
        {{nullptr, screen, memory}, [&](Any h) { return DeleteObject(CreateDIBSection(h, &info_, 0, &bits_, nullptr, 0)); }},
        {{bitmap}, [](Any h) { return GetBitmapBits(h, 2, &h); }},
        {{memory}, [&](Any h) { return select(h); }},
        {{memory}, [&](Any h) { return FillRect(h, &rect, white_); }},
        {{}, [&](Any h) { return FillRect(memory, &rect, h); }},
        {{memory}, [&](Any h) { return FillRgn(h, square, white_); }},
        {{square}, [&](Any h) { return FillRgn(memory, h, white_); }},
        {{}, [&](Any h) { return FillRgn(memory, square, h); }},
        {{square}, [&](Any h) { return CombineRgn(square, square, h, RGN_OR); }},
        // What ends objects comes last, in this order.
        {{screen}, [](Any h) { return ReleaseDC(nullptr, h); }},
        {{block}, [](Any h) { return h.handle && !GlobalFree(h); }},
        {{draw}, [](Any h) { return DrawDibClose(h); }},
        {{square, bitmap}, [](Any h) { return DeleteObject(h); }},
    };
    // clang-format on
    for (const auto& [accepted, succeeds] : calls) {
        for (const HANDLE handle : std::initializer_list<HANDLE>{
                 nullptr, this, freed, deleted, block, screen, memory, square, bitmap, draw}) {
            const bool isAccepted = std::ranges::find(accepted, handle) != accepted.end();
            EXPECT_EQ(succeeds({handle}), isAccepted) << accepted.size() << " of " << handle;
        }
    }
    EXPECT_FALSE(DeleteDC(screen));
    win32::UnregisterModule(Any{memory});
    EXPECT_EQ(GetDeviceCaps(memory, PLANES), 1);
}

TEST_F(Handles, FailWithoutMemoryAndLeakNothing) {
    const POINT points[] = {{0, 0}, {4, 0}, {0, 4}};
    const std::function<HANDLE()> makers[] = {
        [] { return GlobalAlloc(GMEM_ZEROINIT, 4); },
        [] { return GetDC(nullptr); },
        [] { return CreateCompatibleDC(nullptr); },
        [] { return CreateBitmap(2, 2, 1, 1, nullptr); },
        [&] { return CreateDIBSection(nullptr, &info_, 0, &bits_, nullptr, 0); },
        [] { return CreateRectRgn(0, 0, 4, 4); },
        [] { return CreateEllipticRgn(0, 0, 4, 4); },
        [&] { return CreatePolygonRgn(points, 3, WINDING); },
        [] { return DrawDibOpen(); },
    };
    for (const auto& make : makers) {
        win32::FailAllocationsAfter(1);
        const Any made{make()};
        EXPECT_EQ(make(), nullptr);
        EXPECT_EQ(bits_, nullptr);
        win32::FailAllocationsAfter(-1);
        EXPECT_EQ(win32::CountObjects(), before_ + 1);
        EXPECT_TRUE(DrawDibClose(made) || DeleteObject(made) || DeleteDC(made) ||
                    ReleaseDC(nullptr, made) || !GlobalFree(made));
        EXPECT_EQ(win32::CountObjects(), before_);
    }
}

// Threads that end the objects of others make calls fail, nothing else.
TEST_F(Handles, CanBeUsedFromAnyThread) {
    for (int round = 0; round < 50; ++round) {
        const HRGN region = CreateRectRgn(0, 0, 4, 4), other = CreateRectRgn(0, 0, 4, 4);
        const auto work = [&] {
            for (int i = 0; i < 20; ++i) {
                CombineRgn(region, other, region, 1 + i % 5);
                DeleteObject(CreateBitmap(8, 8, 1, 1, nullptr));
            }
            DeleteObject(region);
            DeleteObject(other);
        };
        std::thread thread(work);
        work();
        thread.join();
    }
}

// ---------------------------------------------------------------------------------------------
// Resources

namespace fs = std::filesystem;

class Resources : public Handles {
  protected:
    ~Resources() override {
        win32::UnregisterModule(module_);
        fs::remove_all(folder_);
    }

    void Write(const std::string& inName, const std::string& inBytes) {
        std::ofstream(folder_ / inName, std::ios::binary) << inBytes;
    }

    HRSRC Find(int inNumber) {
        return FindResourceW(module_, MAKEINTRESOURCEW(static_cast<WORD>(inNumber)), RT_BITMAP);
    }

    std::string Data(HRSRC inResource) {
        const void* const data = LockResource(LoadResource(module_, inResource));
        const DWORD size = SizeofResource(module_, inResource);
        return data ? std::string(static_cast<const char*>(data), size) : std::string(size, '?');
    }

    const fs::path folder_ =
        fs::temp_directory_path() / ("win32-resources-" + std::to_string(getpid()));
    const HMODULE module_ =
        (fs::create_directories(folder_), win32::RegisterModule(folder_.c_str()));
    const std::string bitmap_ = "a header and the pixels";
    const std::string file_ = "BM" + std::string("\x3E\0\0\0\0\0\0\0\x36\0\0\0", 12) + bitmap_;
};

TEST_F(Resources, AreTheFilesWithoutTheirHeader) {
    Write("1.bmp", file_);
    Write("65535.bmp", file_.substr(0, 21));
    Write("3.bmp", "BN" + file_.substr(2));
    Write("4.bmp", file_.substr(0, 13));
    fs::create_directory(folder_ / "5.bmp");
    EXPECT_EQ(Data(Find(1)), bitmap_);
    EXPECT_EQ(Data(Find(65535)), bitmap_.substr(0, 7));
    for (const int number : {3, 4, 5, 6})
        EXPECT_EQ(Data(Find(number)), "") << number;
    EXPECT_EQ(FindResourceW(module_, L"1", RT_BITMAP), nullptr);
    EXPECT_EQ(FindResourceW(module_, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(3)), nullptr);
    EXPECT_EQ(win32::RegisterModule((folder_ / "1.bmp").c_str()), nullptr);
    EXPECT_EQ(win32::RegisterModule(nullptr), nullptr);
}

TEST_F(Resources, AreKeptUntilTheirModuleGoes) {
    Write("1.bmp", file_);
    const HRSRC resource = Find(1);
    win32::FailAllocationsAfter(0);
    EXPECT_EQ(Data(resource), "");
    win32::FailAllocationsAfter(-1);
    EXPECT_EQ(Data(resource), bitmap_);
    Write("1.bmp", file_ + "other");
    EXPECT_EQ(Data(resource), bitmap_);
    const HGLOBAL loaded = LoadResource(module_, resource);
    EXPECT_FALSE(FreeResource(loaded));
    EXPECT_NE(LockResource(loaded), nullptr);

    const HMODULE other = win32::RegisterModule(folder_.c_str());
    EXPECT_EQ(LoadResource(other, resource), nullptr);
    win32::UnregisterModule(other);
    win32::UnregisterModule(module_);
    EXPECT_EQ(Find(1), nullptr);
    EXPECT_EQ(Data(resource), "");
    EXPECT_EQ(LockResource(loaded), nullptr);
}

}  // namespace
}  // namespace win32_test

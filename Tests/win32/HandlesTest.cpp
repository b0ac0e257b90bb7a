#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <thread>

#include "Grids.h"

namespace win32_test {
namespace {

template <class T>
T As(HANDLE inHandle) {
    return static_cast<T>(inHandle);
}

HRGN Square() {
    return CreateRectRgn(0, 0, 4, 4);
}

TEST(Blocks, StayWhereTheyAre) {
    const std::int64_t before = win32::CountObjects();
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 100);
    void* const place = GlobalLock(block);
    const char zeros[100]{};
    EXPECT_EQ(std::memcmp(place, zeros, sizeof zeros), 0);
    EXPECT_EQ(GlobalLock(block), place);
    EXPECT_GE(GlobalSize(block), 100U);
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GlobalLock(block), place);
    EXPECT_EQ(GlobalFree(block), nullptr);
    const HGLOBAL empty = GlobalAlloc(0, 0);
    EXPECT_NE(GlobalLock(empty), nullptr);
    EXPECT_EQ(GlobalFree(empty), nullptr);
    EXPECT_EQ(win32::CountObjects(), before);
}

// Every function fails for handles that are stale, made up or of any other kind.
TEST(Handles, AreRecognised) {
    void* bits = nullptr;
    const BITMAPINFO info{Header(2, 2), {}};
    const RECT rect{0, 0, 1, 1};
    const Canvas canvas(4, 4);
    const HRGN square = Square();
    const HBITMAP bitmap = CreateBitmap(4, 4, 1, 1, nullptr);
    const HGLOBAL block = GlobalAlloc(0, 4);
    const HDC screen = GetDC(nullptr);
    const HDRAWDIB draw = DrawDibOpen();
    const HGLOBAL freed = GlobalAlloc(0, 4);
    const HDC deleted = CreateCompatibleDC(nullptr);
    GlobalFree(freed);
    DeleteDC(deleted);
    int local = 0;

    struct Call {
        std::vector<HANDLE> accepted;
        std::function<bool(HANDLE)> succeeds;
    };
    const HANDLE memory = canvas.Context();
    const std::vector<Call> calls{
        {{block}, [](HANDLE h) { return GlobalLock(h) != nullptr; }},
        {{block}, [](HANDLE h) { return GlobalSize(h) != 0; }},
        {{}, [](HANDLE h) { return GlobalUnlock(h) != 0; }},
        {{}, [](HANDLE h) { return LockResource(h) != nullptr; }},
        {{}, [](HANDLE h) { return LoadResource(As<HMODULE>(h), As<HRSRC>(h)) != nullptr; }},
        {{}, [](HANDLE h) { return SizeofResource(As<HMODULE>(h), As<HRSRC>(h)) != 0; }},
        {{},
         [](HANDLE h) {
             return FindResourceW(As<HMODULE>(h), MAKEINTRESOURCEW(1), RT_BITMAP) != nullptr;
         }},
        {{screen, memory}, [](HANDLE h) { return GetDeviceCaps(As<HDC>(h), PLANES) != 0; }},
        {{screen, memory},
         [](HANDLE h) {
             const HDC made = CreateCompatibleDC(As<HDC>(h));
             return DeleteDC(made) != 0;
         }},
        {{screen, memory},
         [&](HANDLE h) {
             const HBITMAP made = CreateDIBSection(As<HDC>(h), &info, 0, &bits, nullptr, 0);
             return DeleteObject(made) != 0;
         }},
        {{bitmap}, [](HANDLE h) { return GetBitmapBits(As<HBITMAP>(h), 2, &h) != 0; }},
        {{memory},
         [&](HANDLE h) {
             const HGDIOBJ before = SelectObject(As<HDC>(h), bitmap);
             return before && SelectObject(As<HDC>(h), before) == bitmap;
         }},
        {{memory}, [&](HANDLE h) { return FillRect(As<HDC>(h), &rect, White()) != 0; }},
        {{}, [&](HANDLE h) { return FillRect(canvas.Context(), &rect, As<HBRUSH>(h)) != 0; }},
        {{memory}, [&](HANDLE h) { return FillRgn(As<HDC>(h), square, White()) != 0; }},
        {{square}, [&](HANDLE h) { return FillRgn(canvas.Context(), As<HRGN>(h), White()) != 0; }},
        {{}, [&](HANDLE h) { return FillRgn(canvas.Context(), square, As<HBRUSH>(h)) != 0; }},
        {{square}, [&](HANDLE h) { return CombineRgn(As<HRGN>(h), square, square, RGN_OR) != 0; }},
        {{square}, [&](HANDLE h) { return CombineRgn(square, As<HRGN>(h), square, RGN_OR) != 0; }},
        {{square}, [&](HANDLE h) { return CombineRgn(square, square, As<HRGN>(h), RGN_OR) != 0; }},
        // What ends objects comes last, in this order.
        {{screen}, [](HANDLE h) { return ReleaseDC(nullptr, As<HDC>(h)) != 0; }},
        {{block}, [](HANDLE h) { return h && GlobalFree(h) == nullptr; }},
        {{draw}, [](HANDLE h) { return DrawDibClose(h) != 0; }},
        {{square, bitmap}, [](HANDLE h) { return DeleteObject(h) != 0; }},
    };
    const std::vector<HANDLE> handles{nullptr, &local, freed,  deleted, block, screen,
                                      memory,  square, bitmap, draw,    &bits};
    for (std::size_t i = 0; i < calls.size(); ++i) {
        for (const HANDLE handle : handles) {
            const auto& accepted = calls[i].accepted;
            // For what makes objects like the screen's, null is the screen.
            if (!handle && (i == 8 || i == 9)) continue;
            const bool isAccepted = std::ranges::find(accepted, handle) != accepted.end();
            EXPECT_EQ(calls[i].succeeds(handle), isAccepted) << i << " of " << handle;
        }
    }
    EXPECT_EQ(CombineRgn(square, square, square, RGN_OR), 0);
    EXPECT_EQ(GetDC(As<HWND>(&local)), nullptr);
    EXPECT_FALSE(DeleteDC(screen));
    win32::UnregisterModule(As<HMODULE>(memory));
    EXPECT_EQ(GetDeviceCaps(canvas.Context(), PLANES), 1);
}

TEST(Handles, FailWithoutMemoryAndLeakNothing) {
    void* bits = nullptr;
    const BITMAPINFO info{Header(2, 2), {}};
    const POINT points[] = {{0, 0}, {4, 0}, {0, 4}};
    const std::function<HANDLE()> makers[] = {
        [] { return GlobalAlloc(GMEM_ZEROINIT, 4); },
        [] { return GetDC(nullptr); },
        [] { return CreateCompatibleDC(nullptr); },
        [] { return CreateBitmap(2, 2, 1, 1, nullptr); },
        [&] { return CreateDIBSection(nullptr, &info, 0, &bits, nullptr, 0); },
        [] { return Square(); },
        [] { return CreateEllipticRgn(0, 0, 4, 4); },
        [&] { return CreatePolygonRgn(points, 3, WINDING); },
        [] { return DrawDibOpen(); },
    };
    const std::int64_t before = win32::CountObjects();
    for (const auto& make : makers) {
        win32::FailAllocationsAfter(1);
        const HANDLE made = make();
        EXPECT_EQ(make(), nullptr);
        EXPECT_EQ(bits, nullptr);
        win32::FailAllocationsAfter(-1);
        EXPECT_EQ(win32::CountObjects(), before + 1);
        EXPECT_TRUE(DrawDibClose(made) || DeleteObject(made) || DeleteDC(As<HDC>(made)) ||
                    ReleaseDC(nullptr, As<HDC>(made)) != 0 || !GlobalFree(made));
        EXPECT_EQ(win32::CountObjects(), before);
    }
}

// Threads that end the objects of others make calls fail, nothing else.
TEST(Handles, CanBeUsedFromAnyThread) {
    const std::int64_t before = win32::CountObjects();
    for (int round = 0; round < 50; ++round) {
        const HRGN region = Square(), other = Square();
        const HBITMAP bitmap = CreateBitmap(8, 8, 1, 1, nullptr);
        const HDC context = CreateCompatibleDC(nullptr);
        const HGLOBAL block = GlobalAlloc(0, 8);
        const auto work = [&](bool inFills) {
            SelectObject(context, bitmap);
            for (int i = 0; i < 20; ++i) {
                if (inFills) FillRgn(context, region, White());
                CombineRgn(region, other, region, 1 + i % 5);
                GlobalLock(block);
                GlobalUnlock(block);
            }
            DeleteDC(context);
            DeleteObject(bitmap);
            DeleteObject(region);
            DeleteObject(other);
            GlobalFree(block);
        };
        std::thread thread(work, true);
        work(false);
        thread.join();
    }
    EXPECT_EQ(win32::CountObjects(), before);
}

}  // namespace
}  // namespace win32_test

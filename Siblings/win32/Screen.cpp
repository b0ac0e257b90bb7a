// The screen, as device contexts show it.

#include <map>
#include <memory>
#include <mutex>

#include "contracts/Win32.h"

struct HDC__ {
    win32::Screen screen;
};

namespace {

constexpr int kSystemColours = 20;  // of a palette, those that the system keeps for itself

struct Contexts {
    std::mutex mutex;
    win32::Screen screen;
    std::map<HDC, std::unique_ptr<HDC__>> open;
};

// Never destroyed: a host may ask for the screen while the process ends.
Contexts& TheContexts() {
    static Contexts& contexts = *new Contexts;
    return contexts;
}

int ColoursOf(const win32::Screen& inScreen) {
    const int bits = inScreen.bitsPerPixel * inScreen.planes;
    if (bits > 8) return -1;
    return inScreen.paletteSize != 0 ? kSystemColours : 1 << bits;
}

}  // namespace

HDC GetDC(HWND inWindow) try {
    if (inWindow) return nullptr;
    Contexts& contexts = TheContexts();
    const std::lock_guard lock(contexts.mutex);
    auto context = std::make_unique<HDC__>(HDC__{contexts.screen});
    const HDC handle = context.get();
    contexts.open.emplace(handle, std::move(context));
    return handle;
} catch (const std::bad_alloc&) {
    return nullptr;
}

int ReleaseDC(HWND, HDC inContext) {
    Contexts& contexts = TheContexts();
    const std::lock_guard lock(contexts.mutex);
    return static_cast<int>(contexts.open.erase(inContext));
}

int GetDeviceCaps(HDC inContext, int inIndex) {
    Contexts& contexts = TheContexts();
    const std::lock_guard lock(contexts.mutex);
    const auto found = contexts.open.find(inContext);
    if (found == contexts.open.end()) return 0;
    const win32::Screen& screen = found->second->screen;
    switch (inIndex) {
        case BITSPIXEL:
            return screen.bitsPerPixel;
        case PLANES:
            return screen.planes;
        case NUMCOLORS:
            return ColoursOf(screen);
        case RASTERCAPS:
            return screen.paletteSize != 0 ? RC_PALETTE : 0;
        case SIZEPALETTE:
            return screen.paletteSize;
        default:
            return 0;
    }
}

namespace win32 {

void SetScreen(const Screen& inScreen) {
    Contexts& contexts = TheContexts();
    const std::lock_guard lock(contexts.mutex);
    contexts.screen = inScreen;
}

}  // namespace win32

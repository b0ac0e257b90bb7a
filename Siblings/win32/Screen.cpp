// The screen, as device contexts show it.

#include "Contexts.h"

namespace win32 {
namespace {

constexpr int kSystemColours = 20;  // of a palette, those that the system keeps for itself

int ColoursOf(const Screen& inScreen) {
    const int bits = inScreen.bitsPerPixel * inScreen.planes;
    if (bits > 8) return -1;
    return inScreen.paletteSize != 0 ? kSystemColours : 1 << bits;
}

Screen CurrentScreen() {
    const LockedObjects objects;
    return TheScreen();
}

}  // namespace

Screen& TheScreen() {
    static Screen screen;
    return screen;
}

void SetScreen(const Screen& inScreen) {
    const LockedObjects objects;
    TheScreen() = inScreen;
}

}  // namespace win32

using namespace win32;

HDC GetDC(HWND inWindow) {
    return inWindow ? nullptr : static_cast<HDC>(Make<Context>(CurrentScreen()));
}

int ReleaseDC(HWND inWindow, HDC inContext) {
    const LockedObjects objects;
    const auto context = objects->Find<Context>(inContext);
    const bool isScreen = !inWindow && context && !context->bitmap;
    return isScreen && objects->Remove<Context>(inContext);
}

int GetDeviceCaps(HDC inContext, int inIndex) {
    const auto context = LockedObjects()->Find<Context>(inContext);
    if (!context) return 0;
    const Screen& screen = context->screen;
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

// What the legacy functions call of the Win32 kernel, USER and GDI. On Windows these are the
// system's own headers; elsewhere a small layer gives the same under the same names.
#pragma once

#if defined(_WIN32)

#include <windows.h>

#else

#include <cstdint>

#include "SiblingApi.h"

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;

/// Right and bottom are exclusive.
struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};
using RECT = tagRECT;

/// Opaque handles. The null window stands for the whole screen.
using HWND = struct HWND__*;
using HDC = struct HDC__*;

// Indices of GetDeviceCaps, and one bit of what RASTERCAPS gives.
inline constexpr int BITSPIXEL = 12;
inline constexpr int PLANES = 14;
inline constexpr int NUMCOLORS = 24;
inline constexpr int RASTERCAPS = 38;
inline constexpr int SIZEPALETTE = 104;
inline constexpr int RC_PALETTE = 0x0100;

extern "C" {

/// The screen's device context; null when there is no memory or the window is not null: this layer
/// has no windows. ReleaseDC returns 1, or 0 for a context that is not there.
SIBLING_API HDC GetDC(HWND inWindow);
SIBLING_API int ReleaseDC(HWND inWindow, HDC inContext);

/// One property of a device; 0 for an unknown index or context. NUMCOLORS is -1 for more than 8
/// bits a pixel.
SIBLING_API int GetDeviceCaps(HDC inContext, int inIndex);

}  // extern "C"

namespace win32 {

/// What the screen is like. At first it has 32 bits a pixel in one plane and no palette.
struct Screen {
    int bitsPerPixel = 32;
    int planes = 1;
    int paletteSize = 0;  ///< not 0: colours come from a palette of that many entries
};

/// For hosts: what contexts made from now on show.
SIBLING_API void SetScreen(const Screen& inScreen);

}  // namespace win32

#endif

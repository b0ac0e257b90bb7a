// What the legacy functions call of the Win32 kernel, USER, GDI and video for Windows. On Windows
// these are the system's own headers; elsewhere a small layer gives the same under the same names.
// A function that is given a handle that is not there fails as its comment says.
#pragma once

#if defined(_WIN32)

#include <windows.h>
// That must come before this.
#include <vfw.h>

#else

#include <cstddef>
#include <cstdint>

#include "SiblingApi.h"

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;
using BOOL = int;
using SIZE_T = std::size_t;
using LPVOID = void*;
using LPCWSTR = const wchar_t*;

/// Right and bottom are exclusive.
struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};
using RECT = tagRECT;

struct POINT {
    LONG x;
    LONG y;
};

/// Opaque handles. The null window stands for the whole screen.
using HWND = struct HWND__*;
using HDC = struct HDC__*;
using HGDIOBJ = void*;
using HBITMAP = struct HBITMAP__*;
using HRGN = struct HRGN__*;
using HBRUSH = struct HBRUSH__*;
using HGLOBAL = void*;
using HMODULE = struct HMODULE__*;
using HRSRC = struct HRSRC__*;
using HPALETTE = struct HPALETTE__*;
using HLOCAL = void*;
using HDRAWDIB = void*;
using HANDLE = void*;

// ---------------------------------------------------------------------------------------------
// Bitmaps in memory and in files

/// Compression of a bitmap.
inline constexpr DWORD BI_RGB = 0;
inline constexpr DWORD BI_RLE8 = 1;

#pragma pack(push, 2)
struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;  ///< negative: the first line in memory is the top one
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};
#pragma pack(pop)
static_assert(sizeof(BITMAPINFOHEADER) == 40);

struct RGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
};

struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};

/// Red in the lowest byte, then green, then blue.
using COLORREF = DWORD;

inline constexpr COLORREF RGB(BYTE inRed, BYTE inGreen, BYTE inBlue) {
    return inRed | COLORREF{inGreen} << 8 | COLORREF{inBlue} << 16;
}

struct PALETTEENTRY {
    BYTE peRed;
    BYTE peGreen;
    BYTE peBlue;
    BYTE peFlags;
};

struct LOGPALETTE {
    WORD palVersion;
    WORD palNumEntries;
    PALETTEENTRY palPalEntry[1];
};

// ---------------------------------------------------------------------------------------------
// Numbers that functions below take

// Indices of GetDeviceCaps, and one bit of what RASTERCAPS gives.
inline constexpr int BITSPIXEL = 12;
inline constexpr int PLANES = 14;
inline constexpr int NUMCOLORS = 24;
inline constexpr int RASTERCAPS = 38;
inline constexpr int SIZEPALETTE = 104;
inline constexpr int RC_PALETTE = 0x0100;

// Stock objects.
inline constexpr int WHITE_BRUSH = 0;
inline constexpr int BLACK_BRUSH = 4;

// How regions are combined, and polygons filled.
inline constexpr int RGN_AND = 1;
inline constexpr int RGN_OR = 2;
inline constexpr int RGN_XOR = 3;
inline constexpr int RGN_DIFF = 4;
inline constexpr int RGN_COPY = 5;
inline constexpr int ALTERNATE = 1;
inline constexpr int WINDING = 2;

// What combining regions gives.
inline constexpr int NULLREGION = 1;
inline constexpr int SIMPLEREGION = 2;
inline constexpr int COMPLEXREGION = 3;

inline constexpr UINT DIB_RGB_COLORS = 0;
inline constexpr UINT CLR_INVALID = 0xFFFFFFFF;
inline constexpr UINT GMEM_MOVEABLE = 0x0002;
inline constexpr UINT GMEM_ZEROINIT = 0x0040;
inline constexpr UINT LMEM_MOVEABLE = 0x0002;
inline constexpr UINT LMEM_ZEROINIT = 0x0040;

/// A resource known by a number is named by a pointer of that value.
inline LPCWSTR MAKEINTRESOURCEW(WORD inNumber) {
    return reinterpret_cast<LPCWSTR>(static_cast<std::uintptr_t>(inNumber));
}
inline const LPCWSTR RT_BITMAP = MAKEINTRESOURCEW(2);

extern "C" {

// ---------------------------------------------------------------------------------------------
// Memory

/// A block of inBytes bytes; null when there is no memory. GMEM_ZEROINIT fills it with zeros.
SIBLING_API HGLOBAL GlobalAlloc(UINT inFlags, SIZE_T inBytes);
/// Null when the block was freed, else the block.
SIBLING_API HGLOBAL GlobalFree(HGLOBAL inBlock);
/// The block's address, null when it is not there; locks are counted.
SIBLING_API LPVOID GlobalLock(HGLOBAL inBlock);
/// Whether the block is still locked.
SIBLING_API BOOL GlobalUnlock(HGLOBAL inBlock);
/// Bytes of the block, at least those asked for; 0 when it is not there.
SIBLING_API SIZE_T GlobalSize(HGLOBAL inBlock);

/// The block that begins at an address; null when there is none.
SIBLING_API HGLOBAL GlobalHandle(const void* inAddress);

/// The same for local memory, which is no other.
SIBLING_API HLOCAL LocalAlloc(UINT inFlags, SIZE_T inBytes);
SIBLING_API HLOCAL LocalFree(HLOCAL inBlock);
SIBLING_API LPVOID LocalLock(HLOCAL inBlock);
SIBLING_API BOOL LocalUnlock(HLOCAL inBlock);

// ---------------------------------------------------------------------------------------------
// Resources: of modules that a host registers, see win32::RegisterModule

/// Null when the module has no such resource. The null module has none.
SIBLING_API HRSRC FindResourceW(HMODULE inModule, LPCWSTR inName, LPCWSTR inType);
SIBLING_API HGLOBAL LoadResource(HMODULE inModule, HRSRC inResource);
SIBLING_API LPVOID LockResource(HGLOBAL inLoaded);
/// Bytes of the resource.
SIBLING_API DWORD SizeofResource(HMODULE inModule, HRSRC inResource);
/// 0: nothing has to be freed.
SIBLING_API BOOL FreeResource(HGLOBAL inLoaded);

// ---------------------------------------------------------------------------------------------
// Device contexts, bitmaps, brushes

/// The screen's device context; null when there is no memory or the window is not null: this layer
/// has no windows. ReleaseDC returns 1, or 0 for a context that is not there.
SIBLING_API HDC GetDC(HWND inWindow);
SIBLING_API int ReleaseDC(HWND inWindow, HDC inContext);

/// One property of a device; 0 for an unknown index or context. NUMCOLORS is -1 for more than 8
/// bits a pixel.
SIBLING_API int GetDeviceCaps(HDC inContext, int inIndex);

/// A context that draws into memory: at first into one black pixel of one bit.
SIBLING_API HDC CreateCompatibleDC(HDC inContext);
SIBLING_API BOOL DeleteDC(HDC inContext);

/// A bitmap of one plane and 1 or 32 bits a pixel, top line first, lines a multiple of 2 bytes; the
/// most significant bit is the leftmost pixel. Without inBits it is filled with zeros. Null for
/// other kinds, a size that is not positive, or when there is no memory.
SIBLING_API HBITMAP CreateBitmap(int inWidth, int inHeight, UINT inPlanes, UINT inBitsPerPixel,
                                 const void* inBits);

/// A bitmap of 32 bits a pixel (blue, green, red, unused) whose lines are at *outBits, the bottom
/// one first unless biHeight is negative. inSection and inOffset must be null and 0.
SIBLING_API HBITMAP CreateDIBSection(HDC inContext, const BITMAPINFO* inInfo, UINT inUsage,
                                     void** outBits, HANDLE inSection, DWORD inOffset);

/// Copies up to inBytes bytes of the bitmap's lines, the top one first; returns how many.
SIBLING_API LONG GetBitmapBits(HBITMAP inBitmap, LONG inBytes, LPVOID outBits);

/// Puts a bitmap into a memory context, and returns the one before; null when either is of another
/// kind or the bitmap is in another context.
SIBLING_API HGDIOBJ SelectObject(HDC inContext, HGDIOBJ inObject);

/// False for what is not there, is in a context, or is a stock object (which needs no deleting and
/// gives true).
SIBLING_API BOOL DeleteObject(HGDIOBJ inObject);

/// WHITE_BRUSH or BLACK_BRUSH; null for any other.
SIBLING_API HGDIOBJ GetStockObject(int inIndex);

/// Fills a rectangle or a region, in the context's coordinates; 0 when it cannot.
SIBLING_API int FillRect(HDC inContext, const RECT* inRect, HBRUSH inBrush);
SIBLING_API BOOL FillRgn(HDC inContext, HRGN inRegion, HBRUSH inBrush);

// ---------------------------------------------------------------------------------------------
// Regions

/// Any shape of pixels. Null when there is no memory. A rectangle's right and bottom are exclusive;
/// an ellipse is the one inside that rectangle; a polygon is closed by itself, and a pixel is in it
/// when its centre is, by the alternate or the winding rule.
SIBLING_API HRGN CreateRectRgn(int inLeft, int inTop, int inRight, int inBottom);
SIBLING_API HRGN CreateEllipticRgn(int inLeft, int inTop, int inRight, int inBottom);
SIBLING_API HRGN CreatePolygonRgn(const POINT* inPoints, int inCount, int inMode);

/// Makes outRegion, which must be there and may be one of the others, their combination; for
/// RGN_COPY inSecond is not looked at. Returns what kind of region it is, 0 when it cannot.
SIBLING_API int CombineRgn(HRGN outRegion, HRGN inFirst, HRGN inSecond, int inMode);

// ---------------------------------------------------------------------------------------------
// Palettes

/// A palette of 1 to 1024 entries; null for another version than 0x300, or without memory.
SIBLING_API HPALETTE CreatePalette(const LOGPALETTE* inPalette);

/// Copies entries from inStart on; returns how many, or with null how many the palette has.
SIBLING_API UINT GetPaletteEntries(HPALETTE inPalette, UINT inStart, UINT inCount,
                                   PALETTEENTRY* outEntries);

/// The entry nearest to a colour, the first of several; CLR_INVALID without a palette.
SIBLING_API UINT GetNearestPaletteIndex(HPALETTE inPalette, COLORREF inColour);

/// Copies entries of the screen's palette of 256: the twenty colours that the system keeps for
/// itself at both ends, black between them. Returns how many.
SIBLING_API UINT GetSystemPaletteEntries(HDC inContext, UINT inStart, UINT inCount,
                                         PALETTEENTRY* outEntries);

/// Of a palette: its count of entries, as a WORD. Returns the bytes written, 0 when it cannot.
SIBLING_API int GetObjectW(HGDIOBJ inObject, int inBytes, LPVOID outObject);

// ---------------------------------------------------------------------------------------------
// Video for Windows

/// Draws bitmaps, scaled, into contexts with a 32-bit bitmap.
SIBLING_API HDRAWDIB DrawDibOpen();
SIBLING_API BOOL DrawDibClose(HDRAWDIB inDraw);

/// Draws the source rectangle of an uncompressed 32-bit bitmap into the destination rectangle of
/// the context, cut to its bitmap. Source coordinates count from the top of the picture, whichever
/// way it is stored. False when it cannot: another kind of bitmap, a source rectangle that is not
/// in the picture, sides that are not positive. Sizes of -1 stand for the picture's own (source)
/// and for the source's (destination). Every byte of a pixel is scaled for itself, and copied as it
/// is when the sizes are equal. inFlags must be 0.
SIBLING_API BOOL DrawDibDraw(HDRAWDIB inDraw, HDC inContext, int inX, int inY, int inWidth,
                             int inHeight, BITMAPINFOHEADER* inHeader, LPVOID inBits, int inSourceX,
                             int inSourceY, int inSourceWidth, int inSourceHeight, UINT inFlags);

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

/// For hosts: a module whose bitmap resources are the files <number>.bmp of a folder, without the
/// 14 bytes of the file header; null when that is no folder. Files are read when they are loaded.
SIBLING_API HMODULE RegisterModule(const char* inFolder);
SIBLING_API void UnregisterModule(HMODULE inModule);

/// For tests: lets inCount further objects of this thread be made (blocks, contexts, bitmaps,
/// regions, what DrawDibOpen opens, loaded resources) and refuses all later ones; -1 ends that.
SIBLING_API void FailAllocationsAfter(std::int64_t inCount);

/// For hosts that look for leaks: blocks, contexts, bitmaps, regions and what DrawDibOpen opened,
/// as far as they are there.
SIBLING_API std::int64_t CountObjects();

}  // namespace win32

#endif

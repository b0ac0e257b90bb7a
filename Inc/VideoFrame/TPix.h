// Pictures as older code holds them: records reached through handles, field views of a record, and
// numbered worlds. Plain functions without checks: a handle must be alive, and a record is used by
// one thread at a time.
//
// A picture is stored bottom-up: the line at `pixels` is its bottom line. Coordinates of these
// functions count from the top left. Docs/legacy.md shows how frames and records go together.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Export.h"
#include "contracts/Hoardex.h"
#include "contracts/Win32.h"

/// One picture. Host code reads and writes it in place.
struct TPix {
    tagRECT bounds;            ///< of the shown picture, in pixels
    std::int32_t rowbytes;     ///< from one shown line to the next; doubled while a field is shown
    std::uint32_t depth;       ///< bits per pixel
    std::uint8_t* pixels;      ///< the shown line at the lowest address
    std::uint8_t* fullPixels;  ///< null: no field view; else `pixels` of the whole picture
    std::uint8_t* fieldStart[2];  ///< first line of each field, while fullPixels is not null
    std::uint64_t fieldbase;      ///< 0: the whole picture is shown; 1 or 2: field 0 or 1
    TvHandle fieldStateStack;     ///< states of enclosing field views; null when there are none
    std::uint64_t reservedA[4];
    std::uint64_t pixelAspectRatio;  ///< numerator << 16 | denominator in the low 32 bits
    std::uint64_t reservedB;
    std::uint8_t reservedC[168];
};
static_assert(offsetof(TPix, rowbytes) == 16 && offsetof(TPix, depth) == 20);
static_assert(offsetof(TPix, pixels) == 24 && offsetof(TPix, fullPixels) == 32);
static_assert(offsetof(TPix, fieldStart) == 40 && offsetof(TPix, fieldbase) == 56);
static_assert(offsetof(TPix, fieldStateStack) == 64 && offsetof(TPix, reservedA) == 72);
static_assert(offsetof(TPix, pixelAspectRatio) == 104 && offsetof(TPix, reservedB) == 112);
static_assert(offsetof(TPix, reservedC) == 120 && sizeof(TPix) == 288);

/// A handle of the handle library.
using TPixHand = TPix**;

extern "C" {

// ---------------------------------------------------------------------------------------------
// Making and disposing

/// A record over a new frame of 8-bit BGRA, whose pixels are undefined. A null rectangle is an
/// input contract violation. Null when there is no memory, or when no frame can be that large.
VF_EXPORT TPixHand tpixNew(const tagRECT* inBounds);

/// VF::DisposeTPixFromVideoFrame; returns 0.
VF_EXPORT std::int16_t tpixDispose(TPixHand inHandle);

/// The pixel aspect ratio of the frame behind the record, numerator << 16 | denominator, which is
/// also stored in the record; 0 when there is no frame.
VF_EXPORT std::uint32_t tpixGetPixelAspectRatio(TPixHand inHandle);

// ---------------------------------------------------------------------------------------------
// Reading a record

VF_EXPORT void tpixGetBounds(TPixHand inHandle, tagRECT* outBounds);
VF_EXPORT std::int32_t tpixGetRowbytes(TPixHand inHandle);
VF_EXPORT void* tpixGetPixels(TPixHand inHandle);

/// Pixels never move; these do nothing and return 0.
VF_EXPORT int tpixLockPixels(TPixHand inHandle);
VF_EXPORT int tpixUnlockPixels(TPixHand inHandle);

/// The top line of a picture of inLines lines whose bottom line is at inPixels.
VF_EXPORT void* tpixTopLine(void* inPixels, std::int32_t inRowBytes, std::int32_t inLines);

/// The line below inLine.
VF_EXPORT void* tpixNextLine(void* inLine, std::int32_t inRowBytes);

/// Red in bits 16 to 23, green in 8 to 15, blue in 0 to 7 of the pixel at column inX of line inY,
/// in a picture of 4-byte pixels whose top left is (0, 0); white outside of it.
VF_EXPORT std::uint32_t tpixGetPixel(TPixHand inHandle, std::int32_t inX, std::int32_t inY);

/// Sets the alpha byte of every pixel of a picture of 4-byte pixels.
VF_EXPORT void tpixFillAlpha(TPixHand inHandle, std::uint8_t inAlpha);

/// Bytes of a row of inWidth pixels: at 32 bits 4 a pixel, at 1, 4, 8, 16 and 24 bits a multiple of
/// 4 whose count keeps 16 bits only, so longer rows wrap; 0 for any other depth.
VF_EXPORT std::uint32_t CalcRowBytes(std::uint32_t inWidth, std::int32_t inDepth);

/// Colours of the screen: the size of its palette where it has one, else their number (-1 for more
/// than 8 bits a pixel).
VF_EXPORT int GetScreenColors();

/// The number of the screen's planes where it has several, else its bits per pixel.
VF_EXPORT std::int16_t GetScreenDepth();

// ---------------------------------------------------------------------------------------------
// Field views: a record that shows a whole interlaced picture shows one field, every second line,
// and back. Views nest. `bounds` stays as it is.

/// Prepares a view. Field 0 starts with the second line in memory when inOrder is 1, else with the
/// first; an odd number of lines turns that round. When a view is prepared already, its state is
/// saved, and the field that it shows is the whole picture of the new view. Without memory for
/// the state nothing changes.
VF_EXPORT void TPixFieldsPrep(TPixHand inHandle, std::uint8_t inOrder);

/// Shows field 0 or 1 of a prepared view; returns the record.
VF_EXPORT TPix* TPixFields_PointAtField(TPixHand inHandle, std::int8_t inField);

/// Shows the whole picture of a prepared view again.
VF_EXPORT void TPixFields_PointAtFull(TPixHand inHandle);

/// The record's fieldbase.
VF_EXPORT std::uint64_t GetPixFieldbase(TPixHand inHandle);

/// Ends a view: the state before it comes back.
VF_EXPORT void TPixFieldsCleanup(TPixHand inHandle);

/// A new record of the same size; when the record shows a field, the new one shows the same field
/// of a picture twice as high. Its pixels are undefined. Null when there is no memory.
VF_EXPORT TPixHand TPixFieldsClone(TPixHand inHandle);

/// Ends a view, if there is one, and disposes of the record. Null is ignored.
VF_EXPORT void TPixFieldsCloneFree(TPixHand inHandle);

// ---------------------------------------------------------------------------------------------
// Worlds: 200 numbered places, 1 to 200, for the process. Any thread may call these.

/// Gives a record the first free number, 0 when all are taken. With inOwns the record is disposed
/// of with its world.
VF_EXPORT std::int16_t RegTWorldBits(TPixHand inHandle, std::uint8_t inOwns);

/// Kind 0: a world that owns a record, the one at inHandle, or where inHandle is null a new one as
/// tpixNew makes it. Returns 0; 1 when all numbers are taken, outNumber being 0 and the record left
/// as it is; -108 when there is no record.
/// Other kinds: a world for the handle at inHandle, which twGetTPix does not give; kind 2 keeps it
/// apart from records. Returns 0, or -108 with outNumber as it was when all numbers are taken.
VF_EXPORT std::int16_t twNew(std::int16_t* outNumber, const tagRECT* inBounds, TPixHand* inHandle,
                             std::int32_t inKind);

/// Frees a number, and disposes of the record that the world owns unless inKeepRecord is not 0. A
/// number that is not in use is ignored.
VF_EXPORT void twDispose(std::int16_t inNumber, std::int32_t inKeepRecord);

/// The record of a world of kind 0 or of RegTWorldBits; null for any other number.
VF_EXPORT TPixHand twGetTPix(std::int16_t inNumber);

}  // extern "C"

/// What leads from the end of a line of inWidth 4-byte pixels to the start of the line below.
VF_EXPORT int tpixCalcNextSkip(int inRowBytes, int inWidth);

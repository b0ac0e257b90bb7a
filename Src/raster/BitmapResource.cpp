// Bitmap resources as records.
#include <algorithm>
#include <array>
#include <memory>

#include "VideoFrame/Raster.h"
#include "raster/Rectangles.h"
#include "raster/Rle.h"

namespace VF {
namespace {

constexpr std::uint32_t kOpaque = 0xFF000000;

struct FreeLoaded {
    void operator()(void* inLoaded) const { FreeResource(inLoaded); }
};

struct DisposeRecord {
    using pointer = TPixHand;
    void operator()(TPixHand inHandle) const { tpixDispose(inHandle); }
};

struct DisposeBlock {
    void operator()(std::uint8_t* inBlock) const { TvDisposePtr(inBlock); }
};

using Record = std::unique_ptr<TPixHand, DisposeRecord>;

/// A packed DIB as a resource holds it, and how much of it there is.
struct Bitmap {
    BITMAPINFOHEADER header{};
    std::int16_t width = 0;
    std::int16_t height = 0;
    std::array<std::uint32_t, 256> colours{};  // opaque
    const std::uint8_t* bits = nullptr;
    std::int64_t bitBytes = 0;

    const std::uint8_t* BitsAt(std::int64_t inOffset, std::int64_t inBytes) const {
        return inOffset + inBytes <= bitBytes ? bits + inOffset : nullptr;
    }
};

std::uint32_t ColourCount(const BITMAPINFOHEADER& inHeader) {
    std::uint32_t count = inHeader.biClrUsed & 0xFFFF;
    if (count != 0 || inHeader.biBitCount >= 9) return count;
    count = inHeader.biClrImportant & 0xFFFF;
    if (count != 0) return count;
    switch (inHeader.biBitCount) {
        case 1:
            return 2;
        case 4:
            return 16;
        case 8:
            return 256;
        default:
            return 0;
    }
}

/// False when the header is cut off or says that there is no picture.
bool Read(const std::uint8_t* inStart, std::int64_t inBytes, Bitmap& outBitmap) {
    constexpr std::int64_t kHeaderBytes = sizeof(BITMAPINFOHEADER);
    if (inBytes < kHeaderBytes) return false;
    std::memcpy(&outBitmap.header, inStart, sizeof outBitmap.header);
    outBitmap.width = static_cast<std::int16_t>(outBitmap.header.biWidth);
    outBitmap.height = static_cast<std::int16_t>(outBitmap.header.biHeight);
    if (outBitmap.width <= 0 || outBitmap.height <= 0) return false;

    const std::int64_t count = ColourCount(outBitmap.header);
    const std::int64_t there = std::min(count, (inBytes - kHeaderBytes) / 4);
    outBitmap.colours.fill(kOpaque);
    for (std::int64_t i = 0; i < std::min<std::int64_t>(there, 256); ++i) {
        outBitmap.colours[static_cast<std::size_t>(i)] |=
            LoadWord<std::uint32_t>(inStart + kHeaderBytes + 4 * i);
    }
    const std::int64_t offset = std::min(kHeaderBytes + 4 * count, inBytes);
    outBitmap.bits = inStart + offset;
    outBitmap.bitBytes = inBytes - offset;
    return true;
}

// ---------------------------------------------------------------------------------------------
// Lines

void Expand4Bits(const std::uint8_t* inLine, const Bitmap& inBitmap, std::uint8_t* outPixels) {
    for (std::int32_t x = 0; x < inBitmap.width; ++x) {
        const std::uint32_t byte = inLine[x / 2];
        StoreWord(inBitmap.colours[x % 2 == 0 ? byte >> 4 : byte & 15], outPixels + 4 * x);
    }
}

void Expand8Bits(const std::uint8_t* inLine, const Bitmap& inBitmap, std::uint8_t* outPixels) {
    DepthCon8To32(inLine, outPixels, inBitmap.width, 1, 0, 0, inBitmap.colours.data());
}

void Expand24Bits(const std::uint8_t* inLine, const Bitmap& inBitmap, std::uint8_t* outPixels) {
    _TvDepthCon24To32(inLine, outPixels, inBitmap.width, 1, 0, 0);
}

using ExpandLine = void (*)(const std::uint8_t* inLine, const Bitmap& inBitmap,
                            std::uint8_t* outPixels);

ExpandLine FindExpansion(std::uint16_t inBitCount) {
    switch (inBitCount) {
        case 4:
            return Expand4Bits;
        case 8:
            return Expand8Bits;
        case 24:
            return Expand24Bits;
        default:
            return nullptr;
    }
}

/// The lines that the bitmap holds, the first one into the record's first line in memory. From 16
/// bits of bytes on, lines are less far from each other than they are long.
void ExpandLines(const Bitmap& inBitmap, ExpandLine inExpand, const TPix& outRecord) {
    const std::int32_t bits = inBitmap.header.biBitCount;
    const std::int64_t step = CalcRowBytes(static_cast<std::uint32_t>(inBitmap.width), bits);
    const std::int64_t bytesRead = (std::int64_t{inBitmap.width} * bits + 7) / 8;
    for (std::int64_t y = 0; y < inBitmap.height; ++y) {
        const std::uint8_t* const line = inBitmap.BitsAt(y * step, bytesRead);
        if (!line) return;
        inExpand(line, inBitmap, outRecord.pixels + y * outRecord.rowbytes);
    }
}

void ExpandPixels(Bitmap inBitmap, const TPix& outRecord) {
    const ExpandLine expand = FindExpansion(inBitmap.header.biBitCount);
    if (!expand) return;
    if (inBitmap.header.biBitCount != 8 || inBitmap.header.biCompression != BI_RLE8)
        return ExpandLines(inBitmap, expand, outRecord);
    const std::int64_t bytes = std::int64_t{(inBitmap.width + 3) & 0xFFFC} * inBitmap.height;
    const std::unique_ptr<std::uint8_t, DisposeBlock> lines(
        static_cast<std::uint8_t*>(TvNewPtr(bytes)));
    if (!lines) return;
    std::memset(lines.get(), 0, static_cast<std::size_t>(bytes));
    // The header's height may have more than the 16 bits that count.
    RleOutput output(inBitmap.header, lines.get());
    output.LimitTo(static_cast<std::size_t>(bytes));
    ExpandRle8({inBitmap.bits, static_cast<std::size_t>(inBitmap.bitBytes)}, output);
    inBitmap.bits = lines.get();
    inBitmap.bitBytes = bytes;
    ExpandLines(inBitmap, expand, outRecord);
}

// ---------------------------------------------------------------------------------------------
// Records

Record MakeRecord(const tagRECT& inBounds) {
    return Record(IsEmpty(inBounds) ? nullptr : tpixNew(&inBounds));
}

Record MakeRecordOf(const Bitmap& inBitmap) {
    Record record = MakeRecord({0, 0, inBitmap.width, inBitmap.height});
    if (!record) return nullptr;
    const TPix& pixels = **record.get();
    std::memset(pixels.pixels, 0,
                static_cast<std::size_t>(std::int64_t{pixels.rowbytes} * inBitmap.height));
    ExpandPixels(inBitmap, pixels);
    return record;
}

Record ScaledInto(Record inRecord, const tagRECT& inRect) {
    const tagRECT whole = (*inRecord.get())->bounds;
    if (WidthOf(whole) == WidthOf(inRect) && HeightOf(whole) == HeightOf(inRect)) return inRecord;
    Record scaled = MakeRecord(inRect);
    if (scaled) MyCopyPix(*inRecord.get(), *scaled.get(), &whole, &inRect, 0, nullptr);
    return scaled;
}

}  // namespace
}  // namespace VF

TPixHand Bmp2TPix(LPCWSTR inResource, HMODULE inModule, const tagRECT* inDestinationRect) {
    using namespace VF;
    const HRSRC resource = FindResourceW(inModule, inResource, RT_BITMAP);
    if (!resource) return nullptr;
    const std::unique_ptr<void, FreeLoaded> loaded(LoadResource(inModule, resource));
    const auto* const start =
        loaded ? static_cast<const std::uint8_t*>(LockResource(loaded.get())) : nullptr;
    Bitmap bitmap;
    if (!start || !Read(start, SizeofResource(inModule, resource), bitmap)) return nullptr;
    Record record = MakeRecordOf(bitmap);
    if (record && inDestinationRect) record = ScaledInto(std::move(record), *inDestinationRect);
    return record.release();
}

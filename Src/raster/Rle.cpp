#include "raster/Rle.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "VideoFrame/Raster.h"
#include "raster/PixelLoops.h"

namespace VF {
namespace {

// What the second byte says when the first is 0; other numbers are lengths.
constexpr std::uint8_t kEndOfLine = 0;
constexpr std::uint8_t kEndOfBitmap = 1;
constexpr std::uint8_t kDelta = 2;

/// Hands out bytes of the data.
class Reader {
  public:
    explicit Reader(RleData inData) : next_(inData.start), left_(inData.size) {}

    /// The next bytes; null when there are not that many.
    const std::uint8_t* Take(std::size_t inCount) {
        if (inCount > left_) return nullptr;
        left_ -= inCount;
        return std::exchange(next_, next_ + inCount);
    }

  private:
    const std::uint8_t* next_;
    std::size_t left_;
};

/// Where a run goes, and how much of it.
struct Room {
    std::uint8_t* place;
    std::size_t count;
};

/// Where decoding has come to.
class Cursor {
  public:
    explicit Cursor(const RleOutput& outLines) : lines_(outLines), place_(outLines.pixels) {}

    /// Room for a run, which is passed over then. False when it would leave the line, up to its
    /// padding, or the picture. Padding is passed over, too, as encoders code it, but not written.
    bool Take(std::size_t inCount, Room& outRoom) {
        const auto count = static_cast<std::int64_t>(inCount);
        if (y_ >= lines_.height || x_ + count > lines_.stride) return false;
        const std::int64_t visible = std::clamp<std::int64_t>(lines_.width - x_, 0, count);
        outRoom = {place_, static_cast<std::size_t>(visible)};
        x_ += count;
        place_ += count;
        return true;
    }

    void NextLine() { MoveTo(0, y_ + 1); }

    void MoveBy(std::uint8_t inX, std::uint8_t inY) { MoveTo(x_ + inX, y_ + inY); }

  private:
    void MoveTo(std::int64_t inX, std::int64_t inY) {
        x_ = inX;
        y_ = inY;
        // Outside, nothing is written any more: the height is not reached from above again.
        if (y_ < lines_.height && x_ <= lines_.stride)
            place_ = lines_.pixels + y_ * lines_.stride + x_;
    }

    const RleOutput& lines_;
    std::uint8_t* place_;
    std::int64_t x_ = 0;
    std::int64_t y_ = 0;
};

bool CopyAbsolute(std::size_t inCount, Reader& ioData, Cursor& ioCursor) {
    const std::uint8_t* const codes = ioData.Take(inCount);
    Room room;
    if (!codes || !ioCursor.Take(inCount, room)) return false;
    std::memcpy(room.place, codes, room.count);
    return inCount % 2 == 0 || ioData.Take(1);
}

/// False at the end, and where decoding has to stop.
bool Escape(std::uint8_t inCode, Reader& ioData, Cursor& ioCursor) {
    switch (inCode) {
        case kEndOfLine:
            ioCursor.NextLine();
            return true;
        case kEndOfBitmap:
            return false;
        case kDelta: {
            const std::uint8_t* const distance = ioData.Take(2);
            if (distance) ioCursor.MoveBy(distance[0], distance[1]);
            return distance != nullptr;
        }
        default:
            return CopyAbsolute(inCode, ioData, ioCursor);
    }
}

}  // namespace

RleOutput::RleOutput(const BITMAPINFOHEADER& inHeader, std::uint8_t* outPixels)
    : pixels(outPixels),
      width(inHeader.biWidth & 0xFFFF),
      height(std::abs(std::int64_t{inHeader.biHeight})),
      stride((width + 3) & 0xFFFC) {}

void RleOutput::LimitTo(std::size_t inBytes) {
    const auto bytes = static_cast<std::int64_t>(
        std::min<std::size_t>(inBytes, std::numeric_limits<std::int64_t>::max()));
    height = stride == 0 ? 0 : std::min(height, bytes / stride);
}

void ExpandRle8(RleData inData, const RleOutput& outLines) {
    Reader data(inData);
    Cursor cursor(outLines);
    while (const std::uint8_t* const pair = data.Take(2)) {
        if (pair[0] == 0) {
            if (!Escape(pair[1], data, cursor)) return;
            continue;
        }
        Room room;
        if (!cursor.Take(pair[0], room)) return;
        std::memset(room.place, pair[1], room.count);
    }
}

}  // namespace VF

void DecodeRle(const BITMAPINFOHEADER* inHeader, void* outPixels, const void* inData) {
    VF::ExpandRle8({VF::AsBytes(inData)}, VF::RleOutput(*inHeader, VF::AsBytes(outPixels)));
}

void PlayRle(const BITMAPINFOHEADER* inHeader, void* outPixels, const void* inData) {
    DecodeRle(inHeader, outPixels, inData);
}

namespace VF {
namespace {

/// A packed DIB in global memory, which stays locked.
struct PackedDib {
    explicit PackedDib(HGLOBAL inBlock) {
        auto* const start = static_cast<std::uint8_t*>(GlobalLock(inBlock));
        const std::uint64_t size = start ? GlobalSize(inBlock) : 0;
        if (size < sizeof header) return;
        std::memcpy(&header, start, sizeof header);
        const std::uint64_t offset = header.biSize + std::uint64_t{4} * header.biClrUsed;
        if (offset > size) return;
        bits = start + offset;
        bitBytes = static_cast<std::size_t>(size - offset);
    }

    BITMAPINFOHEADER header{};
    std::uint8_t* bits = nullptr;  // null when there are none
    std::size_t bitBytes = 0;
};

}  // namespace
}  // namespace VF

void PlayRleDib(HGLOBAL inOutput, HGLOBAL inRle) {
    const VF::PackedDib output(inOutput);
    const VF::PackedDib rle(inRle);
    if (!output.bits || !rle.bits) return;
    VF::RleOutput lines(output.header, output.bits);
    lines.LimitTo(output.bitBytes);
    VF::ExpandRle8({rle.bits, rle.bitBytes}, lines);
}

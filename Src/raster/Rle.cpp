#include "raster/Rle.h"

#include <algorithm>
#include <array>
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

/// Where decoding has come to. Places count from the start of the output and run on from line to
/// line, so that a line may be too long, or have no end.
class Cursor {
  public:
    explicit Cursor(const RleOutput& outLines) : lines_(outLines) { MoveTo(0); }

    /// Passes over a run. Its parts in the picture are written with inWrite(pixels, offset in the
    /// run, count); the padding of a line is passed over, too, but left alone. Like the others,
    /// false when nothing that may follow would be in the picture.
    template <class Write>
    bool Pass(std::int64_t inCount, const Write& inWrite) {
        if (inCount > visibleEnd_ - place_) {
            // By value, so that the members of this one can stay in registers.
            *this = PassedInParts(*this, inCount, inWrite);
            return MayReturn();
        }
        inWrite(lines_.pixels + place_, 0, static_cast<std::size_t>(inCount));
        place_ += inCount;
        return true;
    }

    bool NextLine() {
        lineStart_ = CodedLine() + lines_.stride;
        MoveTo(lineStart_);
        return MayReturn();
    }

    bool MoveBy(std::uint8_t inX, std::uint8_t inY) {
        const std::int64_t down = inY * lines_.stride;
        lineStart_ += down;
        MoveTo(place_ + down + inX);
        return MayReturn();
    }

  private:
    /// Where the coded line began, as far as 16 bits tell how far it has come.
    std::int64_t CodedLine() const {
        return place_ - static_cast<std::uint16_t>(place_ - lineStart_);
    }

    /// The end of a line goes back, but never further.
    bool MayReturn() const { return CodedLine() < lines_.size; }

    void MoveTo(std::int64_t inPlace) {
        place_ = inPlace;
        // The next line, which is the usual one, is found without a division.
        const std::int64_t start =
            inPlace == lineEnd_ ? inPlace : inPlace - inPlace % lines_.stride;
        lineEnd_ = start + lines_.stride;
        visibleEnd_ = std::min(start + lines_.width, lines_.size);
    }

    template <class Write>
    static Cursor PassedInParts(Cursor inCursor, std::int64_t inCount, const Write& inWrite) {
        for (std::int64_t done = 0; done < inCount;) {
            const std::int64_t place = inCursor.place_;
            const std::int64_t step = std::min(inCount - done, inCursor.lineEnd_ - place);
            const std::int64_t visible = std::min(step, inCursor.visibleEnd_ - place);
            if (visible > 0)
                inWrite(inCursor.lines_.pixels + place, done, static_cast<std::size_t>(visible));
            done += step;
            inCursor.MoveTo(place + step);
        }
        return inCursor;
    }

    RleOutput lines_;
    std::int64_t place_ = 0;
    std::int64_t lineStart_ = 0;   ///< of the coded line
    std::int64_t lineEnd_ = 0;     ///< of the line in memory that the place is in
    std::int64_t visibleEnd_ = 0;  ///< where its pixels end
};

bool CopyAbsolute(std::size_t inCount, Reader& ioData, Cursor& ioCursor) {
    const std::uint8_t* const codes = ioData.Take(inCount);
    if (!codes) return false;
    const bool goesOn =
        ioCursor.Pass(static_cast<std::int64_t>(inCount),
                      [codes](std::uint8_t* pixels, std::int64_t offset, std::size_t count) {
                          std::memcpy(pixels, codes + offset, count);
                      });
    return goesOn && (inCount % 2 == 0 || ioData.Take(1));
}

/// Runs are too short for a call to be worth its while.
void FillRun(std::uint8_t inCode, std::size_t inCount, std::uint8_t* outPixels) {
    using Block = std::array<std::uint8_t, 32>;
    if (inCount < sizeof(Block)) {
        for (std::size_t i = 0; i < inCount; ++i)
            outPixels[i] = inCode;
        return;
    }
    Block block;
    block.fill(inCode);
    for (std::size_t i = 0; i + sizeof(Block) < inCount; i += sizeof(Block))
        std::memcpy(outPixels + i, block.data(), sizeof(Block));
    std::memcpy(outPixels + inCount - sizeof(Block), block.data(), sizeof(Block));
}

bool Repeat(std::uint8_t inCode, std::size_t inCount, Cursor& ioCursor) {
    return ioCursor.Pass(static_cast<std::int64_t>(inCount),
                         [inCode](std::uint8_t* pixels, std::int64_t, std::size_t count) {
                             FillRun(inCode, count, pixels);
                         });
}

/// False at the end, and when nothing that may follow would be seen.
bool Escape(std::uint8_t inCode, Reader& ioData, Cursor& ioCursor) {
    switch (inCode) {
        case kEndOfLine:
            return ioCursor.NextLine();
        case kEndOfBitmap:
            return false;
        case kDelta: {
            const std::uint8_t* const distance = ioData.Take(2);
            return distance && ioCursor.MoveBy(distance[0], distance[1]);
        }
        default:
            return CopyAbsolute(inCode, ioData, ioCursor);
    }
}

}  // namespace

RleOutput::RleOutput(const BITMAPINFOHEADER& inHeader, std::uint8_t* outPixels)
    : pixels(outPixels),
      width(inHeader.biWidth & 0xFFFF),
      stride((width + 3) & 0xFFFC),
      size(stride * std::abs(std::int64_t{inHeader.biHeight})) {}

void RleOutput::LimitTo(std::size_t inBytes) {
    if (inBytes < static_cast<std::size_t>(size)) size = static_cast<std::int64_t>(inBytes);
}

void ExpandRle8(RleData inData, const RleOutput& outLines) {
    if (outLines.size == 0) return;
    Reader data(inData);
    Cursor cursor(outLines);
    while (const std::uint8_t* const pair = data.Take(2)) {
        const bool goesOn =
            pair[0] == 0 ? Escape(pair[1], data, cursor) : Repeat(pair[1], pair[0], cursor);
        if (!goesOn) return;
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

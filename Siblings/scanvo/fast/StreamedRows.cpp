#include "fast/StreamedRows.h"

#include <algorithm>
#include <array>

#include "fast/Bytes.h"

namespace scanvo {
namespace {

// What a last-level cache may keep of both pictures together.
constexpr std::int64_t kStreamedFrom = std::int64_t{20} << 20;

// Small enough for a piece of either row to stay in the first-level cache.
constexpr std::int32_t kPieceBytes = 2048;

}  // namespace

bool IsWorthStreaming(const Source& inSource, const Destination& inDestination) {
    const Format& from = inSource.format;
    const Format& to = inDestination.format;
    const std::int64_t pixels = std::int64_t{inSource.width} * inSource.height;
    return from.layout == Layout::Packed4444 && to.layout == Layout::Packed4444 &&
           pixels * (from.unitBytes + to.unitBytes) >= kStreamedFrom &&
           inSource.start != inDestination.start;
}

void ConvertStreamed(ConvertRow inConvert, const Source& inSource,
                     const Destination& outDestination) {
    alignas(64) std::array<std::byte, kPieceBytes> piece;
    const std::int64_t fromBytes = inSource.format.unitBytes;
    const std::int64_t toBytes = outDestination.format.unitBytes;
    const auto piecePixels = static_cast<std::int32_t>(kPieceBytes / toBytes);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        const std::byte* const from = RowAt(inSource, row);
        std::byte* const to = RowAt(outDestination, row);
        for (std::int32_t x = 0; x < inSource.width; x += piecePixels) {
            const std::int32_t count = std::min(piecePixels, inSource.width - x);
            inConvert(from + fromBytes * x, piece.data(), count);
            CopyPastCaches(to + toBytes * x, piece.data(),
                           static_cast<std::size_t>(toBytes * count));
        }
    }
    FinishCopies();
}

}  // namespace scanvo

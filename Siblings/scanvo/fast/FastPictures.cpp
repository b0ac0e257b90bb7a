#include "fast/FastPictures.h"

#include <algorithm>
#include <array>
#include <limits>

#include "fast/Bytes.h"
#include "fast/Caches.h"

namespace scanvo {
namespace {

// Small enough for a piece of either row to stay in the first-level cache.
constexpr std::int32_t kPieceBytes = 2048;

// Whether rows may be converted in pieces or joined to longer ones.
bool IsPixelwise(const Format& inSource, const Format& inDestination) {
    return inSource.layout == Layout::Packed4444 && inDestination.layout == Layout::Packed4444;
}

template <class Byte>
void JoinRows(PictureOf<Byte>& ioPicture) {
    ioPicture.width *= ioPicture.height;
    ioPicture.height = 1;
}

// Where nothing lies between the rows they are as good as one.
void JoinRows(Source& ioSource, Destination& ioDestination) {
    const auto fills = [](const auto& picture) {
        return picture.rowBytes == std::int64_t{picture.width} * picture.format.unitBytes;
    };
    const std::int64_t pixels = std::int64_t{ioSource.width} * ioSource.height;
    if (!fills(ioSource) || !fills(ioDestination) ||
        pixels > std::numeric_limits<std::int32_t>::max()) {
        return;
    }
    JoinRows<const std::byte>(ioSource);
    JoinRows<std::byte>(ioDestination);
}

bool AreWorthStreaming(const Source& inSource, const Destination& inDestination) {
    const std::int64_t pixels = std::int64_t{inSource.width} * inSource.height;
    const int bytes = inSource.format.unitBytes + inDestination.format.unitBytes;
    return inSource.start != inDestination.start && IsWorthStreaming(pixels * bytes);
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
        std::int32_t count = 0;
        for (std::int32_t x = 0; x < inSource.width; x += count) {
            count = std::min(piecePixels, inSource.width - x);
            inConvert(from + fromBytes * x, piece.data(), count);
            CopyPastCaches(to + toBytes * x, piece.data(),
                           static_cast<std::size_t>(toBytes * count));
        }
    }
    FinishCopies();
}

}  // namespace

void ConvertWith(ConvertRow inConvert, const Source& inSource, const Destination& outDestination) {
    Source source = inSource;
    Destination destination = outDestination;
    if (IsPixelwise(source.format, destination.format)) {
        JoinRows(source, destination);
        if (AreWorthStreaming(source, destination)) {
            ConvertStreamed(inConvert, source, destination);
            return;
        }
    }
    for (std::int32_t row = 0; row < source.height; ++row) {
        inConvert(RowAt(source, row), RowAt(destination, row), source.width);
    }
}

}  // namespace scanvo

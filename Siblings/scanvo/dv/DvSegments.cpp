#include "dv/DvSegments.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace scanvo {
namespace {

constexpr std::size_t kBlockBytes = 80;
constexpr std::size_t kSequenceBytes = 150 * kBlockBytes;
// Of every block; what follows is its own.
constexpr std::size_t kIdBytes = 3;

// The video lies in nine parts of 15 blocks, each behind a block of audio.
constexpr std::size_t kVideoPartsFrom = 6;
constexpr std::size_t kVideoParts = 9;
constexpr std::size_t kPartBlocks = 16;
constexpr std::size_t kPartSegments = 3;
constexpr std::size_t kSegmentBlocks = 5;

// Calls inWork with the offset of every video segment, as long as it gives true. Gives what the
// last call did.
template <class Work>
bool ForEachSegment(std::size_t inBytes, const Work& inWork) {
    for (std::size_t sequence = 0; sequence < inBytes; sequence += kSequenceBytes) {
        for (std::size_t i = 0; i < kVideoParts * kPartSegments; ++i) {
            const std::size_t block = kVideoPartsFrom + i / kPartSegments * kPartBlocks + 1 +
                                      i % kPartSegments * kSegmentBlocks;
            if (!inWork(sequence + block * kBlockBytes)) return false;
        }
    }
    return true;
}

bool IsSameSegment(const std::byte* inFirst, const std::byte* inSecond) {
    for (std::size_t block = 0; block < kSegmentBlocks; ++block) {
        const std::size_t content = block * kBlockBytes + kIdBytes;
        if (std::memcmp(inFirst + content, inSecond + content, kBlockBytes - kIdBytes) != 0)
            return false;
    }
    return true;
}

}  // namespace

bool HoldsDifSequences(const std::byte* inFrame, std::size_t inBytes) {
    // The top bits of a block's first byte say what it holds: a header, two of subcode, three of
    // auxiliary data, one of audio, video.
    constexpr std::array kBlockKinds = {0, 1, 1, 2, 2, 2, 3, 4};
    for (std::size_t sequence = 0; sequence < inBytes; sequence += kSequenceBytes) {
        for (std::size_t i = 0; i < kBlockKinds.size(); ++i) {
            const std::byte id = inFrame[sequence + i * kBlockBytes];
            if (std::to_integer<int>(id >> 5) != kBlockKinds[i]) return false;
        }
    }
    return true;
}

bool HaveSameVideo(const std::byte* inFirst, const std::byte* inSecond, std::size_t inBytes) {
    return ForEachSegment(inBytes, [&](std::size_t segment) {
        return IsSameSegment(inFirst + segment, inSecond + segment);
    });
}

void TakeMergedSegments(const std::byte* inFirst, const std::byte* inSecond,
                        const std::byte* inMerged, std::byte* outFrame, std::size_t inBytes) {
    // The second frame is read up to a place before that place is written.
    std::size_t done = 0;
    ForEachSegment(inBytes, [&](std::size_t segment) {
        if (IsSameSegment(inFirst + segment, inSecond + segment)) return true;
        std::memmove(outFrame + done, inFirst + done, segment - done);
        for (std::size_t block = 0; block < kSegmentBlocks; ++block) {
            const std::size_t at = segment + block * kBlockBytes;
            std::memmove(outFrame + at, inFirst + at, kIdBytes);
            std::memcpy(outFrame + at + kIdBytes, inMerged + at + kIdBytes, kBlockBytes - kIdBytes);
        }
        done = segment + kSegmentBlocks * kBlockBytes;
        return true;
    });
    std::memmove(outFrame + done, inFirst + done, inBytes - done);
}

}  // namespace scanvo

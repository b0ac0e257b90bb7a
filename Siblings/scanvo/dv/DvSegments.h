// DV frames as they are coded: DIF sequences of 150 blocks, the video in segments of five blocks,
// each of which is decoded by itself (IEC 61834-2, SMPTE 314M, SMPTE 370M).
#pragma once

#include <cstddef>

namespace scanvo {

/// Whether the bytes begin their sequences with the kinds of blocks that a frame has.
bool HoldsDifSequences(const std::byte* inFrame, std::size_t inBytes);

/// Whether all video segments hold the same.
bool HaveSameVideo(const std::byte* inFirst, const std::byte* inSecond, std::size_t inBytes);

/// Writes the first frame with those of its video segments that are not the same in the second one
/// replaced by what inMerged has in their places. The output may be the first or the second.
void TakeMergedSegments(const std::byte* inFirst, const std::byte* inSecond,
                        const std::byte* inMerged, std::byte* outFrame, std::size_t inBytes);

}  // namespace scanvo

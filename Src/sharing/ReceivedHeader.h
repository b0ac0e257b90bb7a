// Headers that came from another process.
#pragma once

#include <cstdint>

#include "VideoFrame/FrameLayout.h"

namespace VF {

/// Copies the header at the start of received data, each of its words read once, because whoever
/// shares the memory may write it at any time, and checks the copy. Returns null when a frame with
/// this header lies wholly in the inSize bytes at inData, else why not, in a few words of English.
///
/// Memory row m lies m times the row bytes after the first pixel, before it where these are
/// negative. Every row lies between the header and the end of the data, and rows do not overlap.
const char* TakeHeader(const void* inData, std::uint64_t inSize, SharedFrameHeader& outHeader);

}  // namespace VF

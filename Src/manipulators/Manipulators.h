// What the manipulators have in common.
#pragma once

#include "VideoFrame/Status.h"
#include "frames/Contract.h"
#include "frames/FramePixels.h"

namespace VF::VideoFrameManipulators {

inline constexpr const char* kFile = "VideoFrameManipulators";

/// The quality of renderer calls that have no say in it.
inline constexpr std::int32_t kFullQuality = 4;

/// A renderer's result as a status of this library.
inline std::int32_t StatusOf(std::int32_t inResult) {
    if (inResult == kSV_Success) return kSuccess;
    return inResult == kSV_OutOfMemory ? kOutOfMemory : kGeneralFailure;
}

}  // namespace VF::VideoFrameManipulators

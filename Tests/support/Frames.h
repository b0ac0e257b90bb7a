// Making frames in tests.
#pragma once

#include "VideoFrame/VideoFrame.h"
#include "support/Testing.h"

namespace support {

inline constexpr tulomediatypes::PixelFormat kCustomFormat{tulomediatypes::FourCC("_cus"), 0};

inline VF::VideoFrameRef MakeFrame(
    std::uint32_t inWidth, std::uint32_t inHeight,
    tulomediatypes::PixelFormat inFormat = tulomediatypes::kPixelFormat_BGRA_4444_8u) {
    VF::VideoFrameRef frame;
    EXPECT_EQ(VF::CreateVideoFrame(frame, inFormat, inWidth, inHeight, {1, 1}, false, false), 0);
    return frame;
}

// 10 by 7 pixels.
inline VF::VideoFrameRef MakeCustomFrame(std::int32_t inDataSize) {
    VF::VideoFrameRef frame;
    EXPECT_EQ(VF::CreateCustomVideoFrame(frame, kCustomFormat, 10, 7, inDataSize, {1, 1}), 0);
    return frame;
}

template <class Interface>
Brix::InterfaceRef<Interface> Ask(const VF::VideoFrameRef& inFrame) {
    return Brix::QueryInterface<Interface>(inFrame);
}

inline std::byte* Data(const VF::VideoFrameRef& inFrame) {
    return static_cast<std::byte*>(Ask<VF::IVideoFrameMemoryAccess>(inFrame)->GetData());
}

}  // namespace support

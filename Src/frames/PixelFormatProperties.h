// What the frame classes read from a format's property word.
#pragma once

#include "contracts/TuloMediaTypes.h"

namespace VF {

inline bool IsPacked(tulomediatypes::PixelFormat inFormat) {
    using namespace tulomediatypes;
    return (inFormat.properties & kProperty_StorageMask) == kProperty_Packed;
}

inline bool IsSubsampled(tulomediatypes::PixelFormat inFormat) {
    return (inFormat.properties & tulomediatypes::kProperty_SubsamplingMask) != 0;
}

inline bool IsAlphaIgnored(tulomediatypes::PixelFormat inFormat) {
    using namespace tulomediatypes;
    return (inFormat.properties & kProperty_AlphaMask) == kProperty_NoAlpha;
}

/// Whether the bits are set that, in a packed format, say that rows cannot be addressed.
inline bool HasKind(tulomediatypes::PixelFormat inFormat) {
    return (inFormat.properties & tulomediatypes::kProperty_KindMask) != 0;
}

inline bool IsPlanar420(tulomediatypes::PixelFormat inFormat) {
    using namespace tulomediatypes;
    const std::uint32_t kind = (inFormat.properties & kProperty_KindMask) >> kProperty_KindShift;
    return (inFormat.properties & kProperty_YCbCr) != 0 && (kind == 9 || kind == 10) &&
           (inFormat.properties & kProperty_SubsamplingMask) == kProperty_420;
}

inline bool IsRowAddressable(tulomediatypes::PixelFormat inFormat) {
    return inFormat != tulomediatypes::kPixelFormat_Invalid &&
           !(IsPacked(inFormat) && HasKind(inFormat));
}

/// Bytes from one pixel to the next; 0 where there is no such number.
inline std::uint32_t PixelSize(tulomediatypes::PixelFormat inFormat) {
    using namespace tulomediatypes;
    if (!IsPacked(inFormat)) return 0;
    const bool subsampled = IsSubsampled(inFormat);
    switch (inFormat.properties & kProperty_ComponentTypeMask) {
        case kProperty_8u:
            return subsampled ? 2 : 4;
        case kProperty_16u:
            return 8;
        case kProperty_32f:
            return subsampled ? 8 : 16;
        default:
            return 0;
    }
}

}  // namespace VF

// What the exported calls share: arguments checked, exceptions kept inside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "contracts/Scanvo.h"
#include "formats/FormatCode.h"
#include "formats/Picture.h"

namespace scanvo {

/// Whether row number inRow lies at a distance that can be expressed.
bool IsReachable(std::int64_t inRowBytes, std::int32_t inRow);

/// Fails for formats that are compressed or none, sizes that are not positive or too large, and
/// rows that overlap. A planar picture is one block, whatever its row bytes.
std::int32_t CheckPicture(const void* inStart, std::int64_t inRowBytes, std::int32_t inWidth,
                          std::int32_t inHeight, const std::optional<Format>& inFormat);

/// The picture that the arguments of a call describe, when CheckPicture lets it pass.
template <class Byte, class Void>
std::int32_t MakePicture(Void* inStart, std::int64_t inRowBytes, std::int32_t inWidth,
                         std::int32_t inHeight, SV_PixelFormat inFormat,
                         PictureOf<Byte>& outPicture) {
    const std::optional<Format> format = DecodeFormat(inFormat);
    const std::int32_t result = CheckPicture(inStart, inRowBytes, inWidth, inHeight, format);
    if (result != kSV_Success) return result;
    auto* const start = static_cast<Byte*>(inStart);
    outPicture = format->layout == Layout::Planar
                     ? PlanarPicture(start, inWidth, inHeight, *format)
                     : PictureOf<Byte>{start, inRowBytes, inWidth, inHeight, *format};
    return kSV_Success;
}

/// Runs work that gives a result and may need memory. Nothing else of the renderer throws.
template <class Work>
std::int32_t Run(const Work& inWork) {
    try {
        return inWork();
    } catch (...) {
        return kSV_OutOfMemory;
    }
}

}  // namespace scanvo

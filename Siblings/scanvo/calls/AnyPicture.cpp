#include "calls/AnyPicture.h"

#include "calls/Checks.h"
#include "contracts/TuloMediaTypes.h"

namespace scanvo {
namespace {

std::int32_t CheckBlock(const DescribedSource& inPicture, const Format& inFormat) {
    if (inPicture.start == nullptr) return kSV_NullPointer;
    if (inFormat.layout == Layout::Compressed) {
        const tulomediatypes::DVFrame& frame = tulomediatypes::kDVFrames[inFormat.dvKind];
        const bool isStandard = inPicture.width == frame.width && inPicture.height == frame.height;
        return isStandard ? kSV_Success : kSV_BadSize;
    }
    return PictureBytes(inFormat, inPicture.width, inPicture.height) > 0 ? kSV_Success
                                                                         : kSV_BadSize;
}

}  // namespace

std::int32_t CheckAnyPicture(const DescribedSource& inPicture) {
    const std::optional<Format> format = DecodeFormat(inPicture.format);
    if (format && !HasAddressableRows(*format)) return CheckBlock(inPicture, *format);
    return CheckPicture(inPicture.start, inPicture.rowBytes, inPicture.width, inPicture.height,
                        format);
}

std::int32_t Input::Open(const DescribedSource& inPicture) {
    const std::int32_t result = CheckAnyPicture(inPicture);
    if (result != kSV_Success) return result;
    const Format format = *DecodeFormat(inPicture.format);
    const auto* const start = static_cast<const std::byte*>(inPicture.start);
    if (format.layout == Layout::Compressed) {
        decoded_ = DecodeDv(start, format);
        if (!decoded_) return kSV_BadData;
        picture_ = decoded_->AsSource();
    } else if (format.layout == Layout::Planar) {
        picture_ = PlanarPicture(start, inPicture.width, inPicture.height, format);
    } else {
        picture_ = {start, inPicture.rowBytes, inPicture.width, inPicture.height, format};
    }
    return kSV_Success;
}

std::int32_t Output::Open(const DescribedDestination& inPicture) {
    const std::int32_t result = CheckAnyPicture(
        {inPicture.start, inPicture.rowBytes, inPicture.width, inPicture.height, inPicture.format});
    if (result != kSV_Success) return result;
    const Format format = *DecodeFormat(inPicture.format);
    auto* const start = static_cast<std::byte*>(inPicture.start);
    if (format.layout == Layout::Compressed) {
        compressed_ = start;
        toEncode_.emplace(format);
        picture_ = toEncode_->AsDestination();
    } else if (format.layout == Layout::Planar) {
        picture_ = PlanarPicture(start, inPicture.width, inPicture.height, format);
    } else {
        picture_ = {start, inPicture.rowBytes, inPicture.width, inPicture.height, format};
    }
    return kSV_Success;
}

std::int32_t Output::Close() {
    if (!toEncode_) return kSV_Success;
    return EncodeDv(*toEncode_, compressed_) ? kSV_Success : kSV_UnsupportedFormat;
}

}  // namespace scanvo

#include "calls/AnyPicture.h"

#include "calls/Checks.h"
#include "contracts/TuloMediaTypes.h"

namespace scanvo {
namespace {

bool IsCompressed(const std::optional<Format>& inFormat) {
    return inFormat && inFormat->layout == Layout::Compressed;
}

std::int32_t CheckFrame(const DescribedSource& inPicture, const Format& inFormat) {
    if (inPicture.start == nullptr) return kSV_NullPointer;
    const tulomediatypes::DVFrame& frame = tulomediatypes::kDVFrames[inFormat.dvKind];
    const bool isStandard = inPicture.width == frame.width && inPicture.height == frame.height;
    return isStandard ? kSV_Success : kSV_BadSize;
}

template <class Void, class Byte>
std::int32_t Make(const Described<Void>& inPicture, PictureOf<Byte>& outPicture) {
    return MakePicture(inPicture.start, inPicture.rowBytes, inPicture.width, inPicture.height,
                       inPicture.format, outPicture);
}

}  // namespace

std::int32_t CheckAnyPicture(const DescribedSource& inPicture) {
    const std::optional<Format> format = DecodeFormat(inPicture.format);
    if (IsCompressed(format)) return CheckFrame(inPicture, *format);
    return CheckPicture(inPicture.start, inPicture.rowBytes, inPicture.width, inPicture.height,
                        format);
}

std::int32_t Input::Open(const DescribedSource& inPicture) {
    const std::optional<Format> format = DecodeFormat(inPicture.format);
    if (!IsCompressed(format)) return Make(inPicture, picture_);
    const std::int32_t result = CheckFrame(inPicture, *format);
    if (result != kSV_Success) return result;
    decoded_ = DecodeDv(inPicture.start, *format);
    if (!decoded_) return kSV_BadData;
    picture_ = decoded_->AsSource();
    return kSV_Success;
}

std::int32_t Output::Open(const DescribedDestination& inPicture) {
    const std::optional<Format> format = DecodeFormat(inPicture.format);
    if (!IsCompressed(format)) return Make(inPicture, picture_);
    const std::int32_t result = CheckFrame(
        {inPicture.start, inPicture.rowBytes, inPicture.width, inPicture.height, inPicture.format},
        *format);
    if (result != kSV_Success) return result;
    compressed_ = inPicture.start;
    toEncode_.emplace(*format);
    picture_ = toEncode_->AsDestination();
    return kSV_Success;
}

std::int32_t Output::Close() {
    if (!toEncode_) return kSV_Success;
    return EncodeDv(*toEncode_, compressed_) ? kSV_Success : kSV_UnsupportedFormat;
}

}  // namespace scanvo

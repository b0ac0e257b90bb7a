// Conversions and scales.
#include <optional>

#include "calls/AnyPicture.h"
#include "calls/Checks.h"
#include "contracts/Scanvo.h"
#include "fast/Bytes.h"
#include "operations/Conversion.h"

namespace scanvo {
namespace {

// A picture whose rows cannot be addressed is one block of bytes. It is copied as it stands into
// another of its kind, and nothing else can be done with it. Nothing for any other two pictures.
std::optional<std::int32_t> CopyBlock(const void* inSource, SV_PixelFormat inSourceFormat,
                                      void* outDestination, SV_PixelFormat inDestinationFormat,
                                      std::int32_t inWidth, std::int32_t inHeight) {
    const std::optional<Format> format = DecodeFormat(inSourceFormat);
    if (!format || HasAddressableRows(*format) || inSourceFormat != inDestinationFormat) {
        return std::nullopt;
    }
    if (inSource == nullptr || outDestination == nullptr) return kSV_NullPointer;
    const std::int64_t bytes = PictureBytes(*format, inWidth, inHeight);
    if (bytes == 0) return kSV_BadSize;
    if (inSource != outDestination) {
        CopyBytes(outDestination, inSource, static_cast<std::size_t>(bytes));
    }
    return kSV_Success;
}

bool IsField(std::uint32_t inFieldType) {
    return inFieldType == 1 || inFieldType == 2;
}

// Opens both pictures, once neither is known to be wrong, and lets inWork write the second.
template <class Work>
std::int32_t RunBetween(const DescribedSource& inSource, const DescribedDestination& inDestination,
                        const Work& inWork) {
    return Run([&]() -> std::int32_t {
        Output output;
        std::int32_t result = CheckAnyPicture(inSource);
        if (result == kSV_Success) result = output.Open(inDestination);
        Input input;
        if (result == kSV_Success) result = input.Open(inSource);
        if (result != kSV_Success) return result;
        inWork(input.Picture(), output.Picture());
        return output.Close();
    });
}

}  // namespace
}  // namespace scanvo

using namespace scanvo;

std::int32_t SV_Convert(const void* inSource, std::int64_t inSourceRowBytes,
                        SV_PixelFormat inSourceFormat, void* outDestination,
                        std::int64_t inDestinationRowBytes, SV_PixelFormat inDestinationFormat,
                        std::int32_t inWidth, std::int32_t inHeight, std::int32_t) {
    if (const auto copied = CopyBlock(inSource, inSourceFormat, outDestination, inDestinationFormat,
                                      inWidth, inHeight)) {
        return *copied;
    }
    return RunBetween(
        {inSource, inSourceRowBytes, inWidth, inHeight, inSourceFormat},
        {outDestination, inDestinationRowBytes, inWidth, inHeight, inDestinationFormat},
        ConvertPicture);
}

std::int32_t SV_ScaleConvert(const void* inSource, std::int64_t inSourceRowBytes,
                             std::int32_t inSourceWidth, std::int32_t inSourceHeight,
                             SV_PixelFormat inSourceFormat, std::uint32_t inSourceFieldType,
                             void* outDestination, std::int64_t inDestinationRowBytes,
                             std::int32_t inDestinationWidth, std::int32_t inDestinationHeight,
                             SV_PixelFormat inDestinationFormat,
                             std::uint32_t inDestinationFieldType, std::int32_t inQuality) {
    const bool isSameSize =
        inSourceWidth == inDestinationWidth && inSourceHeight == inDestinationHeight;
    if (isSameSize) {
        return SV_Convert(inSource, inSourceRowBytes, inSourceFormat, outDestination,
                          inDestinationRowBytes, inDestinationFormat, inSourceWidth, inSourceHeight,
                          inQuality);
    }
    const bool hasFields = IsField(inSourceFieldType) && IsField(inDestinationFieldType) &&
                           inSourceHeight > 1 && inDestinationHeight > 1;
    const auto scale =
        hasFields && inSourceHeight != inDestinationHeight ? ScaleFields : ScalePicture;
    return RunBetween({inSource, inSourceRowBytes, inSourceWidth, inSourceHeight, inSourceFormat},
                      {outDestination, inDestinationRowBytes, inDestinationWidth,
                       inDestinationHeight, inDestinationFormat},
                      [&](const Source& source, const Destination& destination) {
                          scale(source, destination, inQuality);
                      });
}

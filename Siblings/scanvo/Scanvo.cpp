// The exported calls: arguments checked, exceptions kept inside, work handed on.
//
// Conversions, fills and questions about formats keep nothing between calls but memory, so they
// also work outside SV_Initialize and SV_Terminate.
#include "contracts/Scanvo.h"

#include <atomic>
#include <limits>
#include <optional>

#include "Bytes.h"
#include "Conversion.h"
#include "Fill.h"
#include "FormatCode.h"
#include "Picture.h"
#include "Scratch.h"

namespace scanvo {
namespace {

std::atomic<std::int32_t> initializeCount{0};

// ---- Checks -------------------------------------------------------------------------------------

// Whether row number inRow lies at a distance that can be expressed.
bool IsReachable(std::int64_t inRowBytes, std::int32_t inRow) {
    const std::int64_t limit = std::numeric_limits<std::int64_t>::max() / (std::int64_t{inRow} + 1);
    return inRowBytes >= -limit && inRowBytes <= limit;
}

// Rows that overlap would be written over one another.
bool AreRowsApart(std::int64_t inRowBytes, std::int64_t inUsedRowBytes) {
    return inRowBytes >= inUsedRowBytes || inRowBytes <= -inUsedRowBytes;
}

template <class Byte, class Void>
std::int32_t MakePicture(Void* inStart, std::int64_t inRowBytes, std::int32_t inWidth,
                         std::int32_t inHeight, SV_PixelFormat inFormat,
                         PictureOf<Byte>& outPicture) {
    if (inStart == nullptr) return kSV_NullPointer;
    const std::optional<Format> format = DecodeFormat(inFormat);
    if (!format || !HasAddressableRows(*format)) return kSV_UnsupportedFormat;
    if (inWidth <= 0 || inHeight <= 0 || !IsReachable(inRowBytes, inHeight)) return kSV_BadSize;
    if (inHeight > 1 && !AreRowsApart(inRowBytes, UsedRowBytes(*format, inWidth))) {
        return kSV_BadSize;
    }
    outPicture = {static_cast<Byte*>(inStart), inRowBytes, inWidth, inHeight, *format};
    return kSV_Success;
}

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

// ---- Calls --------------------------------------------------------------------------------------

// Runs what may need memory. Nothing else of the renderer throws.
template <class Work>
std::int32_t Run(const Work& inWork) {
    try {
        inWork();
        return kSV_Success;
    } catch (...) {
        return kSV_OutOfMemory;
    }
}

std::int32_t Fill(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                  std::int32_t inHeight, SV_PixelFormat inFormat, FillValue inValue) {
    Destination destination;
    const std::int32_t result =
        MakePicture(outBuffer, inRowBytes, inWidth, inHeight, inFormat, destination);
    if (result != kSV_Success) return result;
    FillWithValue(destination, inValue);
    return kSV_Success;
}

}  // namespace
}  // namespace scanvo

using namespace scanvo;

void SV_Initialize() {
    ++initializeCount;
}

void SV_Terminate() {
    std::int32_t count = initializeCount;
    while (count > 0 && !initializeCount.compare_exchange_weak(count, count - 1)) {
    }
    if (count == 1) ReleaseThreadScratch();
}

std::int32_t SV_Convert(const void* inSource, std::int64_t inSourceRowBytes,
                        SV_PixelFormat inSourceFormat, void* outDestination,
                        std::int64_t inDestinationRowBytes, SV_PixelFormat inDestinationFormat,
                        std::int32_t inWidth, std::int32_t inHeight, std::int32_t) {
    if (const auto copied = CopyBlock(inSource, inSourceFormat, outDestination, inDestinationFormat,
                                      inWidth, inHeight)) {
        return *copied;
    }
    Source source;
    std::int32_t result =
        MakePicture(inSource, inSourceRowBytes, inWidth, inHeight, inSourceFormat, source);
    if (result != kSV_Success) return result;
    Destination destination;
    result = MakePicture(outDestination, inDestinationRowBytes, inWidth, inHeight,
                         inDestinationFormat, destination);
    if (result != kSV_Success) return result;
    return Run([&] { ConvertPicture(source, destination); });
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
    Source source;
    std::int32_t result = MakePicture(inSource, inSourceRowBytes, inSourceWidth, inSourceHeight,
                                      inSourceFormat, source);
    if (result != kSV_Success) return result;
    Destination destination;
    result = MakePicture(outDestination, inDestinationRowBytes, inDestinationWidth,
                         inDestinationHeight, inDestinationFormat, destination);
    if (result != kSV_Success) return result;

    const bool hasFields = IsField(inSourceFieldType) && IsField(inDestinationFieldType) &&
                           inSourceHeight > 1 && inDestinationHeight > 1;
    const auto scale =
        hasFields && inSourceHeight != inDestinationHeight ? ScaleFields : ScalePicture;
    return Run([&] { scale(source, destination, inQuality); });
}

std::int32_t SV_ClipBufferToRect(void* inBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                                 std::int32_t inHeight, SV_PixelFormat inFormat,
                                 std::int32_t inLeft, std::int32_t inTop, void** outPixel) {
    if (inBuffer == nullptr || outPixel == nullptr) return kSV_NullPointer;
    const std::optional<Format> format = DecodeFormat(inFormat);
    if (!format) return kSV_UnsupportedFormat;
    if (inWidth < 0 || inHeight < 0 || inLeft < 0 || inTop < 0) return kSV_BadSize;
    if (inLeft == 0 && inTop == 0) {
        *outPixel = inBuffer;
        return kSV_Success;
    }
    if (!HasAddressableRows(*format) || inLeft % format->unitPixels != 0 ||
        !IsReachable(inRowBytes, inTop)) {
        return kSV_BadSize;
    }
    *outPixel =
        static_cast<std::byte*>(inBuffer) + inRowBytes * inTop + UsedRowBytes(*format, inLeft);
    return kSV_Success;
}

std::int64_t SV_PixelFormatSize(SV_PixelFormat inFormat, std::int32_t inWidth,
                                std::int32_t inHeight) {
    const std::optional<Format> format = DecodeFormat(inFormat);
    return format ? PictureBytes(*format, inWidth, inHeight) : 0;
}

bool SV_IsOriginBottomLeft(SV_PixelFormat inFormat) {
    const std::optional<Format> format = DecodeFormat(inFormat);
    return format && HasAddressableRows(*format);
}

std::int32_t SV_FillWithOpaqueBlack(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                                    std::int32_t inHeight, SV_PixelFormat inFormat) {
    return Fill(outBuffer, inRowBytes, inWidth, inHeight, inFormat, FillValue::OpaqueBlack);
}

std::int32_t SV_FillWithOpaqueWhite(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                                    std::int32_t inHeight, SV_PixelFormat inFormat) {
    return Fill(outBuffer, inRowBytes, inWidth, inHeight, inFormat, FillValue::OpaqueWhite);
}

std::int32_t SV_FillWithTransparentBlack(void* outBuffer, std::int64_t inRowBytes,
                                         std::int32_t inWidth, std::int32_t inHeight,
                                         SV_PixelFormat inFormat) {
    return Fill(outBuffer, inRowBytes, inWidth, inHeight, inFormat, FillValue::TransparentBlack);
}

std::int32_t SV_FillWithTransparentWhite(void* outBuffer, std::int64_t inRowBytes,
                                         std::int32_t inWidth, std::int32_t inHeight,
                                         SV_PixelFormat inFormat) {
    return Fill(outBuffer, inRowBytes, inWidth, inHeight, inFormat, FillValue::TransparentWhite);
}

std::int32_t SV_FillWithColor(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                              std::int32_t inHeight, SV_PixelFormat inFormat, const void* inPixel,
                              SV_PixelFormat inPixelFormat) {
    Destination destination;
    std::int32_t result =
        MakePicture(outBuffer, inRowBytes, inWidth, inHeight, inFormat, destination);
    if (result != kSV_Success) return result;
    Source pixel;
    result = MakePicture(inPixel, 0, 1, 1, inPixelFormat, pixel);
    if (result != kSV_Success) return result;
    FillWithPixel(destination, pixel);
    return kSV_Success;
}

void SV_CopyMemory(void* outDestination, const void* inSource, std::uint64_t inByteCount) {
    if (outDestination == nullptr || inSource == nullptr) return;
    CopyBytes(outDestination, inSource, inByteCount);
}

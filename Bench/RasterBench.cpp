// The legacy raster functions.
#include <VideoFrame/VideoFrame.h>
#include <libyuv.h>
#include <pixman.h>

#include <cstring>
#include <random>

#include "Pictures.h"
#include "Table.h"

namespace bench {
namespace {

constexpr std::int32_t kWidth = 1920;
constexpr std::int32_t kHeight = 1080;
constexpr tagRECT kAll = {0, 0, kWidth, kHeight};
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
constexpr std::int32_t kRowBytes = 4 * kWidth;
constexpr std::size_t kMaskLineBytes = kWidth / 8;

/// Two pictures, a mask of bits and one of bytes, in blobs of noise like those of drawn masks.
struct Pictures {
    Pictures()
        : source(kPixels * 4),
          destination(kPixels * 4),
          bits(kMaskLineBytes * kHeight),
          bytes(kPixels) {
        std::mt19937 random(1);
        for (std::size_t y = 0; y < kHeight; ++y) {
            for (std::size_t x = 0; x < kMaskLineBytes; ++x) {
                const std::uint32_t kind = random() % 4;  // clear, set, or an edge
                bits[y * kMaskLineBytes + x] = static_cast<std::uint8_t>(kind == 0   ? 0
                                                                         : kind == 1 ? 255
                                                                                     : random());
            }
        }
        for (std::size_t i = 0; i < kPixels; ++i)
            bytes[i] = static_cast<std::uint8_t>(std::min(random() % 400, 255UL));
        block = GlobalAlloc(GMEM_MOVEABLE, bits.size());
        std::memcpy(GlobalLock(block), bits.data(), bits.size());
        for (const auto& [record, pixels] : {std::pair{&sourceRecord, source.Bytes()},
                                             {&destinationRecord, destination.Bytes()}}) {
            record->bounds = kAll;
            record->rowbytes = kRowBytes;
            record->depth = 32;
            record->pixels = pixels;
        }
        maskRecord = sourceRecord;
        maskRecord.rowbytes = kWidth;
        maskRecord.depth = 8;
        maskRecord.pixels = bytes.data();
    }
    ~Pictures() { GlobalFree(block); }
    Pictures(const Pictures&) = delete;
    Pictures& operator=(const Pictures&) = delete;

    Buffer source, destination;
    std::vector<std::uint8_t> bits, bytes;
    HGLOBAL block = nullptr;
    TPix sourceRecord{}, destinationRecord{}, maskRecord{};
};

template <class Work>
Run OverPictures(const Work& inWork) {
    return [=](benchmark::State& state) {
        Pictures pictures;
        for (auto _ : state) {
            inWork(pictures);
            benchmark::ClobberMemory();
        }
    };
}

Run Copy(std::uint16_t inMode, void* (*inMask)(Pictures&)) {
    return OverPictures([=](Pictures& pictures) {
        MyCopyPix(&pictures.sourceRecord, &pictures.destinationRecord, &kAll, &kAll, inMode,
                  inMask(pictures));
    });
}

void* NoMask(Pictures&) {
    return nullptr;
}

// ---- Plain loops ----------------------------------------------------------------------------

void CopyByBits(Pictures& ioPictures) {
    for (std::int32_t y = 0; y < kHeight; ++y) {
        const std::uint8_t* const mask =
            &ioPictures.bits[static_cast<std::size_t>(kHeight - 1 - y) * kMaskLineBytes];
        const auto* const source =
            reinterpret_cast<const std::uint32_t*>(ioPictures.source.Bytes() + y * kRowBytes);
        auto* const destination =
            reinterpret_cast<std::uint32_t*>(ioPictures.destination.Bytes() + y * kRowBytes);
        for (std::int32_t x = 0; x < kWidth; ++x) {
            if ((mask[x / 8] & 0x80 >> x % 8) != 0) destination[x] = source[x];
        }
    }
}

void CopyByBytes(Pictures& ioPictures) {
    for (std::int32_t y = 0; y < kHeight; ++y) {
        const std::uint8_t* const mask = &ioPictures.bytes[static_cast<std::size_t>(y) * kWidth];
        const std::uint8_t* source = ioPictures.source.Bytes() + y * kRowBytes;
        std::uint8_t* destination = ioPictures.destination.Bytes() + y * kRowBytes;
        for (std::int32_t x = 0; x < kWidth; ++x, source += 4, destination += 4) {
            if (mask[x] == 0) continue;
            if (mask[x] == 255) {
                std::memcpy(destination, source, 4);
                continue;
            }
            const int kept = 255 - mask[x];
            for (int c = 0; c < 3; ++c) {
                destination[c] = static_cast<std::uint8_t>(
                    source[c] + ((destination[c] - source[c]) * kept >> 8));
            }
            destination[3] = static_cast<std::uint8_t>(
                destination[3] + ((255 - destination[3]) * source[3] * kept >> 16));
        }
    }
}

/// Lays the source over the destination through a mask.
Run Pixman(pixman_format_code_t inFormat, std::uint8_t* (*inMask)(Pictures&),
           std::int32_t inMaskRowBytes) {
    return [=](benchmark::State& state) {
        Pictures pictures;
        const auto image = [](pixman_format_code_t format, std::uint8_t* bytes,
                              std::int32_t rowBytes) {
            return pixman_image_create_bits(format, kWidth, kHeight,
                                            reinterpret_cast<std::uint32_t*>(bytes), rowBytes);
        };
        pixman_image_t* const source = image(PIXMAN_x8r8g8b8, pictures.source.Bytes(), kRowBytes);
        pixman_image_t* const destination =
            image(PIXMAN_x8r8g8b8, pictures.destination.Bytes(), kRowBytes);
        pixman_image_t* const mask = image(inFormat, inMask(pictures), inMaskRowBytes);
        for (auto _ : state) {
            pixman_image_composite32(PIXMAN_OP_OVER, source, mask, destination, 0, 0, 0, 0, 0, 0,
                                     kWidth, kHeight);
            benchmark::ClobberMemory();
        }
        for (pixman_image_t* const each : {source, destination, mask})
            pixman_image_unref(each);
    };
}

Contestant Memcpy(std::size_t inBytes) {
    return {"memcpy of as many bytes", OverPictures([=](Pictures& pictures) {
                std::memcpy(pictures.destination.Bytes(), pictures.source.Bytes(), inBytes);
            })};
}

// ---- Depths -------------------------------------------------------------------------------------

using Converter = void (*)(const void*, void*, std::int32_t, std::int32_t, std::int32_t,
                           std::int32_t);

void From8(const void* inSource, void* outDestination, std::int32_t inWidth, std::int32_t inHeight,
           std::int32_t inSourceStride, std::int32_t inDestinationStride) {
    static const std::vector<std::uint32_t> table(256, 0xFF102030);
    DepthCon8To32(inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride,
                  table.data());
}

void From24(const void* inSource, void* outDestination, std::int32_t inWidth, std::int32_t inHeight,
            std::int32_t inSourceStride, std::int32_t inDestinationStride) {
    DepthCon24To32(inSource, outDestination, inWidth, inHeight, inSourceStride,
                   inDestinationStride);
}

void To24(const void* inSource, void* outDestination, std::int32_t inWidth, std::int32_t inHeight,
          std::int32_t inSourceStride, std::int32_t inDestinationStride) {
    DepthCon32To24(inSource, outDestination, inWidth, inHeight, inSourceStride,
                   inDestinationStride);
}

void AddDepthRow(const std::string& inName, Converter inConvert, std::int32_t inFromBytes,
                 std::int32_t inToBytes) {
    AddRow("depth " + inName + ", 1080p", OverPictures([=](Pictures& pictures) {
               inConvert(pictures.source.Bytes(), pictures.destination.Bytes(), kWidth, kHeight,
                         inFromBytes * kWidth, inToBytes * kWidth);
           }),
           {Memcpy(kPixels * static_cast<std::size_t>(inFromBytes + inToBytes) / 2)});
}

// ---- Run lengths --------------------------------------------------------------------------------

BITMAPINFOHEADER RleHeader() {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = kWidth;
    header.biHeight = kHeight;
    header.biBitCount = 8;
    header.biCompression = BI_RLE8;
    return header;
}

/// A picture of runs of that length, or with 0 of literal noise.
std::vector<std::uint8_t> Encoded(std::size_t inRun) {
    std::vector<std::uint8_t> data;
    std::mt19937 random(1);
    for (std::int32_t y = 0; y < kHeight; ++y) {
        for (std::size_t left = kWidth; left > 0;) {
            const std::size_t count = std::min<std::size_t>(left, inRun == 0 ? 255 : inRun);
            left -= count;
            if (inRun != 0 || count < 3) {
                data.push_back(static_cast<std::uint8_t>(count));
                data.push_back(static_cast<std::uint8_t>(random()));
                continue;
            }
            data.push_back(0);
            data.push_back(static_cast<std::uint8_t>(count));
            for (std::size_t i = 0; i < count + count % 2; ++i)
                data.push_back(static_cast<std::uint8_t>(random()));
        }
        data.insert(data.end(), {0, 0});
    }
    data.insert(data.end(), {0, 1});
    return data;
}

void AddRleRow(const std::string& inName, std::size_t inRun) {
    AddRow("RLE " + inName + ", 1080p (2.07 MB)",
           [=](benchmark::State& state) {
               const std::vector<std::uint8_t> data = Encoded(inRun);
               const BITMAPINFOHEADER header = RleHeader();
               std::vector<std::uint8_t> lines(kPixels);
               for (auto _ : state) {
                   DecodeRle(&header, lines.data(), data.data());
                   benchmark::ClobberMemory();
               }
           },
           {Memcpy(kPixels)});
}

}  // namespace

void AddRasterRows() {
    const auto bits = [](Pictures& pictures) -> void* { return pictures.block; };
    AddRow("copy a whole TPix, 1080p", Copy(0, NoMask), {Memcpy(kPixels * 4)});
    AddRow("copy a TPix with opacity 128, 1080p", Copy(kCopyWithOpacity | 128, NoMask),
           {{"libyuv ARGBInterpolate", OverPictures([](Pictures& pictures) {
                 libyuv::ARGBInterpolate(
                     pictures.source.Bytes(), kRowBytes, pictures.destination.Bytes(), kRowBytes,
                     pictures.destination.Bytes(), kRowBytes, kWidth, kHeight, 127);
             })},
            {"libyuv ARGBBlend", OverPictures([](Pictures& pictures) {
                 libyuv::ARGBBlend(pictures.source.Bytes(), kRowBytes, pictures.destination.Bytes(),
                                   kRowBytes, pictures.destination.Bytes(), kRowBytes, kWidth,
                                   kHeight);
             })}});
    AddRow("copy a TPix through 1-bit mask, 1080p", Copy(kCopyMaskIs1Bit, bits),
           {{"plain loop", OverPictures(CopyByBits)}});
    AddRow("copy a TPix through 1-bit mask, 1080p, beside pixman", Copy(kCopyMaskIs1Bit, bits),
           {{"pixman over, a1 mask",
             Pixman(
                 PIXMAN_a1, [](Pictures& pictures) { return pictures.bits.data(); },
                 kMaskLineBytes)}});
    const auto bytes = OverPictures([](Pictures& pictures) {
        CopyMask8(pictures.source.Bytes(), pictures.destination.Bytes(), kWidth, kHeight, kRowBytes,
                  kRowBytes, -kWidth, pictures.bytes.data());
    });
    AddRow("copy a TPix through 8-bit mask, 1080p", bytes,
           {{"plain loop", OverPictures(CopyByBytes)}});
    AddRow("copy a TPix through 8-bit mask, 1080p, beside pixman", bytes,
           {{"pixman over, a8 mask",
             Pixman(
                 PIXMAN_a8, [](Pictures& pictures) { return pictures.bytes.data(); }, kWidth)}});
    AddDepthRow("32 to 16", DepthCon32To16, 4, 2);
    AddDepthRow("16 to 32", DepthCon16To32, 2, 4);
    AddDepthRow("32 to 24", To24, 4, 3);
    AddDepthRow("24 to 32", From24, 3, 4);
    AddDepthRow("8 to 32", From8, 1, 4);
    AddRleRow("runs of 255", 255);
    AddRleRow("literal noise", 0);
    AddRleRow("runs of 1", 1);
}

}  // namespace bench

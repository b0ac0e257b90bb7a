// What converting costs between every two formats, in multiples of a copy of the same bytes.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <VideoFrame/PixelFormatUtilities.h>

#include "Pictures.h"
#include "Table.h"
#include "contracts/Scanvo.h"

namespace bench {
namespace {

constexpr Size kPairSize = {640, 360, "640x360"};  // both pictures stay in a second-level cache
constexpr double kPixels = 640 * 360;

struct PairFormat {
    std::string_view name, kind;
    SV_PixelFormat code;
    std::int64_t bytes;
};

std::string_view KindOf(std::uint32_t inCode) {
    const std::uint32_t layout = inCode & kSV_LayoutMask;
    if (layout == kSV_Planar420) return "4:2:0";
    if (layout == kSV_Packed422) return (inCode & kSV_10Bit) != 0 ? "v210" : "4:2:2";
    if ((inCode & kSV_LinearRgb) != 0) return "linear";
    const bool isYCbCr = (inCode & kSV_YCbCr) != 0;
    if ((inCode & kSV_Float) != 0) return isYCbCr ? "YCbCr float" : "float";
    if ((inCode & kSV_15Bit) != 0) return "15-bit";
    return isYCbCr ? "YCbCr 8-bit" : "8-bit";
}

// All but those of DV.
std::vector<PairFormat> PairFormats() {
    std::vector<PairFormat> formats;
    for (const auto& [name, format] : tulomediatypes::NamedPixelFormats()) {
        const SV_PixelFormat code = VF::BEPixelFormatToSVPixelFormat(format);
        if (code == kSV_PixelFormat_None || (code & kSV_LayoutMask) == kSV_Compressed) continue;
        formats.push_back({name, KindOf(code), code,
                           SV_PixelFormatSize(code, kPairSize.width, kPairSize.height)});
    }
    return formats;
}

// The median of a few runs, in nanoseconds.
template <class Work>
double TimeOf(const Work& inWork) {
    using Clock = std::chrono::steady_clock;
    constexpr int kRuns = 9;
    inWork();
    std::vector<double> times;
    for (int run = 0; run < kRuns; ++run) {
        const Clock::time_point start = Clock::now();
        inWork();
        times.push_back(std::chrono::duration<double, std::nano>(Clock::now() - start).count());
    }
    std::nth_element(times.begin(), times.begin() + kRuns / 2, times.end());
    return times[kRuns / 2];
}

struct PairResult {
    const PairFormat *from, *to;
    double nanosecondsAPixel, copies;
};

PairResult Measure(const PairFormat& inFrom, const PairFormat& inTo, const Buffer& inSource,
                   const Buffer& outDestination) {
    const auto rowBytes = [](const PairFormat& format) {
        return SV_PixelFormatSize(format.code, kPairSize.width, 1);
    };
    const double convert = TimeOf([&] {
        SV_Convert(inSource.Bytes(), rowBytes(inFrom), inFrom.code, outDestination.Bytes(),
                   rowBytes(inTo), inTo.code, kPairSize.width, kPairSize.height, 4);
    });
    // Reads and writes as many bytes together.
    const auto bytes = static_cast<std::size_t>((inFrom.bytes + inTo.bytes) / 2);
    const double copy = TimeOf([&] {
        std::memcpy(outDestination.Bytes(), inSource.Bytes(), bytes);
        benchmark::ClobberMemory();
    });
    return {&inFrom, &inTo, convert / kPixels, convert / copy};
}

double MedianOf(std::vector<double> inValues) {
    std::nth_element(inValues.begin(), inValues.begin() + inValues.size() / 2, inValues.end());
    return inValues[inValues.size() / 2];
}

void PrintSummary(const std::vector<PairResult>& inResults) {
    std::map<std::string, std::vector<double>> byKind;
    std::vector<double> all;
    for (const PairResult& each : inResults) {
        byKind[std::string(each.from->kind).append(" to ").append(each.to->kind)].push_back(
            each.copies);
        all.push_back(each.copies);
    }
    std::printf("\n%-30s %6s %8s %8s\n", "kinds", "pairs", "median", "worst");
    for (const auto& [kinds, copies] : byKind) {
        std::printf("%-30s %6zu %8.2f %8.2f\n", kinds.c_str(), copies.size(), MedianOf(copies),
                    *std::max_element(copies.begin(), copies.end()));
    }
    const auto above = [&](double limit) {
        return std::count_if(all.begin(), all.end(), [=](double each) { return each > limit; });
    };
    std::printf(
        "\n%zu pairs, median %.2f; above 12: %td, above 6: %td, above 4: %td, above 2: %td\n",
        all.size(), MedianOf(all), above(12), above(6), above(4), above(2));
}

}  // namespace

void PrintPairs() {
    const std::vector<PairFormat> formats = PairFormats();
    const Buffer source = PictureOf(kPairSize, 16);
    const Buffer destination = PictureOf(kPairSize, 16);
    std::vector<PairResult> results;
    const bool isTerminal = isatty(STDERR_FILENO) != 0;
    for (const PairFormat& from : formats) {
        // Samples that arithmetic meets, not what the bytes of other formats are as floats.
        const PairFormat& opaque = formats.front();
        const Buffer pixels = PictureOf(kPairSize, 4);
        SV_Convert(pixels.Bytes(), kPairSize.width * 4, opaque.code, source.Bytes(),
                   SV_PixelFormatSize(from.code, kPairSize.width, 1), from.code, kPairSize.width,
                   kPairSize.height, 4);
        for (const PairFormat& to : formats) {
            if (from.code != to.code) results.push_back(Measure(from, to, source, destination));
        }
        if (isTerminal) {
            std::fprintf(stderr, "\r%zu of %zu pairs", results.size(),
                         formats.size() * (formats.size() - 1));
        }
    }
    if (isTerminal) std::fprintf(stderr, "\n");
    std::sort(results.begin(), results.end(),
              [](const auto& a, const auto& b) { return a.copies > b.copies; });
    std::printf("%-42s %-42s %10s %8s\n", "from", "to", "ns a pixel", "copies");
    for (const PairResult& each : results) {
        std::printf("%-42.*s %-42.*s %10.3f %8.2f\n", static_cast<int>(each.from->name.size()),
                    each.from->name.data(), static_cast<int>(each.to->name.size()),
                    each.to->name.data(), each.nanosecondsAPixel, each.copies);
    }
    PrintSummary(results);
}

}  // namespace bench

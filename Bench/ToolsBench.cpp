// Quantisation, shapes and the tools for alpha channels and masks.
#include <VideoFrame/VideoFrame.h>
#include <cairo.h>
#include <libimagequant.h>

#include <cmath>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <random>

#include "Pictures.h"
#include "Table.h"

namespace bench {
namespace {

constexpr std::int32_t kWidth = 1920;
constexpr std::int32_t kHeight = 1080;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
constexpr std::int32_t kRowBytes = 4 * kWidth;
constexpr auto kStride = static_cast<std::int16_t>(kRowBytes);

/// Soft colours with a little noise, as cameras give them.
std::vector<std::uint8_t> MakePhotograph() {
    std::vector<std::uint8_t> pixels(kPixels * 4);
    std::mt19937 random(1);
    for (std::size_t i = 0; i < kPixels; ++i) {
        const double x = static_cast<double>(i % kWidth) / kWidth;
        const double y = static_cast<double>(i / kWidth) / kHeight;
        const double shades[] = {std::sin(5 * x + 3 * y), std::sin(9 * x * y + 1),
                                 std::cos(4 * y - 6 * x * x)};
        for (std::size_t c = 0; c < 3; ++c) {
            const double noise = static_cast<double>(random() % 9) - 4;
            pixels[4 * i + c] =
                static_cast<std::uint8_t>(std::clamp(128 + 110 * shades[c] + noise, 0.0, 255.0));
        }
        pixels[4 * i + 3] = 255;
    }
    return pixels;
}

const std::vector<std::uint8_t>& Photograph() {
    static const std::vector<std::uint8_t> photograph = MakePhotograph();
    return photograph;
}

// ---- Quantisation -------------------------------------------------------------------------------

constexpr int kColours = 236;

/// A picture of indices, and its colours as blue, green, red.
struct Indexed {
    std::vector<std::uint8_t> indices;
    std::vector<std::array<std::uint8_t, 3>> colours;
};

BITMAPINFOHEADER HeaderOf(WORD inBits) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = kWidth;
    header.biHeight = kHeight;
    header.biBitCount = inBits;
    return header;
}

void Quantise(Indexed& outPicture) {
    const BITMAPINFOHEADER source = HeaderOf(32);
    const BITMAPINFOHEADER destination = HeaderOf(8);
    std::vector<std::uint32_t> histogram(32768);
    std::vector<std::uint8_t> lookup(32768);
    Histogram32Hist(Photograph().data(), kWidth, kHeight, kStride, histogram.data());
    const HPALETTE palette = HistogramToPalette(histogram.data(), lookup.data(), kColours);
    std::array<PALETTEENTRY, 256> entries;
    const UINT count = GetPaletteEntries(palette, 0, 256, entries.data());
    outPicture.colours.clear();
    for (UINT i = 0; i < count; ++i)
        outPicture.colours.push_back({entries[i].peBlue, entries[i].peGreen, entries[i].peRed});
    outPicture.indices.resize(kPixels);
    ReducePixels(&source, Photograph().data(), &destination, outPicture.indices.data(), palette,
                 lookup.data());
    DeleteObject(palette);
}

/// Its pixels are red, green, blue, alpha; the two ends of a colour make no difference to it.
void QuantiseByLibimagequant(Indexed& outPicture) {
    liq_attr* const attributes = liq_attr_create();
    liq_set_speed(attributes, 10);
    liq_set_max_colors(attributes, kColours);
    liq_image* const image =
        liq_image_create_rgba(attributes, Photograph().data(), kWidth, kHeight, 0);
    liq_result* result = nullptr;
    if (liq_image_quantize(image, attributes, &result) == LIQ_OK) {
        liq_set_dithering_level(result, 0);
        outPicture.indices.resize(kPixels);
        liq_write_remapped_image(result, image, outPicture.indices.data(), kPixels);
        const liq_palette* const palette = liq_get_palette(result);
        outPicture.colours.clear();
        for (unsigned i = 0; i < palette->count; ++i) {
            const liq_color& colour = palette->entries[i];
            outPicture.colours.push_back({colour.r, colour.g, colour.b});
        }
        liq_result_destroy(result);
    }
    liq_image_destroy(image);
    liq_attr_destroy(attributes);
}

std::string LikenessOf(void (*inQuantise)(Indexed&)) {
    Indexed picture;
    inQuantise(picture);
    double error = 0;
    for (std::size_t i = 0; i < kPixels; ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            error += std::pow(Photograph()[4 * i + c] - picture.colours[picture.indices[i]][c], 2);
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f dB", 10 * std::log10(255 * 255 * 3 * kPixels / error));
    return text;
}

Run Quantising(void (*inQuantise)(Indexed&)) {
    return [=](benchmark::State& state) {
        Indexed picture;
        Photograph();
        for (auto _ : state)
            inQuantise(picture);
    };
}

// ---- Pictures in and out ------------------------------------------------------------------------

struct Work {
    Work() : source(kPixels * 4), destination(kPixels * 4), channel(kPixels), scratch(kPixels) {
        for (const auto& [record, pixels] : {std::pair{&sourceRecord, source.Bytes()},
                                             {&destinationRecord, destination.Bytes()}}) {
            record->bounds = {0, 0, kWidth, kHeight};
            record->rowbytes = kRowBytes;
            record->depth = 32;
            record->pixels = pixels;
        }
        // A disc.
        for (std::size_t i = 0; i < kPixels; ++i) {
            const double x = static_cast<double>(i % kWidth) - kWidth / 2;
            const double y = static_cast<double>(i / kWidth) - kHeight / 2;
            channel[i] = std::hypot(x, y) < 400 ? 31 : 0;
        }
    }

    cv::Mat Matrix(const Buffer& inBuffer) const {
        return cv::Mat(kHeight, kWidth, CV_8UC4, inBuffer.Bytes());
    }

    Buffer source, destination;
    std::vector<std::uint8_t> channel, scratch;
    TPix sourceRecord{}, destinationRecord{};
    TPix* sourceHandle = &sourceRecord;
    TPix* destinationHandle = &destinationRecord;
};

template <class Do>
Run OnWork(const Do& inDo) {
    return [=](benchmark::State& state) {
        Work work;
        for (auto _ : state) {
            inDo(work);
            benchmark::ClobberMemory();
        }
    };
}

Contestant Memcpy(std::size_t inBytesTouched) {
    return {"memcpy of as many bytes", OnWork([=](Work& work) {
                for (std::size_t left = inBytesTouched / 2; left > 0;) {
                    const std::size_t bytes = std::min(left, 4 * kPixels);
                    std::memcpy(work.destination.Bytes(), work.source.Bytes(), bytes);
                    left -= bytes;
                }
            })};
}

// ---- Shapes -------------------------------------------------------------------------------------

const std::vector<TPixPoint>& Star() {
    static const std::vector<TPixPoint> star = [] {
        std::vector<TPixPoint> points;
        for (int i = 0; i < 5; ++i) {
            const double angle = M_PI * (0.5 + 0.8 * i);
            points.push_back({static_cast<float>(960 + 500 * std::cos(angle)),
                              static_cast<float>(540 + 500 * std::sin(angle))});
        }
        return points;
    }();
    return star;
}

void FillByCairo(benchmark::State& inState) {
    const Work work;
    const auto surface = [](const Buffer& buffer) {
        return cairo_image_surface_create_for_data(buffer.Bytes(), CAIRO_FORMAT_RGB24, kWidth,
                                                   kHeight, kRowBytes);
    };
    cairo_surface_t* const source = surface(work.source);
    cairo_surface_t* const destination = surface(work.destination);
    cairo_t* const context = cairo_create(destination);
    cairo_set_antialias(context, CAIRO_ANTIALIAS_NONE);
    cairo_set_fill_rule(context, CAIRO_FILL_RULE_EVEN_ODD);
    cairo_set_source_surface(context, source, 0, 0);
    for (auto _ : inState) {
        for (const TPixPoint& point : Star())
            cairo_line_to(context, double{point.x}, double{point.y});
        cairo_fill(context);
        benchmark::ClobberMemory();
    }
    cairo_destroy(context);
    cairo_surface_destroy(source);
    cairo_surface_destroy(destination);
}

// ---- Filters and warps --------------------------------------------------------------------------

void Filter2D(Work& ioWork) {
    static const cv::Mat kernel = (cv::Mat_<float>(3, 3) << 1, 2, 1, 2, 4, 2, 1, 2, 1) / 16;
    cv::Mat output = ioWork.Matrix(ioWork.destination);
    cv::filter2D(ioWork.Matrix(ioWork.source), output, -1, kernel, cv::Point(-1, -1), 0,
                 cv::BORDER_REPLICATE);
}

constexpr float kCorners[4][2] = {{200, 100}, {1700, 40}, {1850, 1000}, {90, 900}};

void WarpPerspective(Work& ioWork) {
    const cv::Point2f half(0.5F, 0.5F);
    const cv::Point2f from[] = {cv::Point2f(0, 0) - half, cv::Point2f(kWidth, 0) - half,
                                cv::Point2f(kWidth, kHeight) - half,
                                cv::Point2f(0, kHeight) - half};
    cv::Point2f to[4];
    for (std::size_t i = 0; i < 4; ++i)
        to[i] = cv::Point2f(kCorners[i][0], kCorners[i][1]) - half;
    cv::Mat output = ioWork.Matrix(ioWork.destination);
    cv::warpPerspective(ioWork.Matrix(ioWork.source), output, cv::getPerspectiveTransform(from, to),
                        output.size(), cv::INTER_LINEAR, cv::BORDER_TRANSPARENT);
}

void Warp(Work& ioWork) {
    TPixFixedQuad to;
    for (std::size_t i = 0; i < 4; ++i)
        to.corners[i] = {static_cast<LONG>(kCorners[i][0]), static_cast<LONG>(kCorners[i][1])};
    const tagRECT all = {0, 0, kWidth, kHeight};
    bn_DistortPolygon(&ioWork.sourceHandle, &ioWork.destinationHandle, &all, &to);
}

void Convolve(Work& ioWork) {
    constexpr std::int16_t kKernel[11] = {1, 2, 1, 2, 4, 2, 1, 2, 1, 0, 16};
    DoConvolve(ioWork.source.Bytes(), ioWork.destination.Bytes(), kKernel, kStride, kWidth,
               kHeight);
}

void Map(Work& ioWork) {
    const std::uint8_t* const tables = ioWork.source.Bytes();
    bn_DoIndexMap(ioWork.source.Bytes(), ioWork.destination.Bytes(), kStride, kWidth, kHeight,
                  tables, tables + 256, tables + 512);
}

}  // namespace

void AddToolsRows() {
    AddRow("quantise to 236 colours and reduce, 1080p", Quantising(Quantise),
           {{"libimagequant, speed 10", Quantising(QuantiseByLibimagequant)}});
    AddFigures("likeness of quantised 1080p", [] {
        return std::vector<std::string>{"ours " + LikenessOf(Quantise) + ", libimagequant " +
                                        LikenessOf(QuantiseByLibimagequant)};
    });
    AddRow("fill a star 1,000 pixels across", OnWork([](Work& work) {
               DoRenderPolygon(&work.destinationHandle, &work.sourceHandle, &Star(), 0);
           }),
           {{"cairo without antialiasing", FillByCairo}});
    AddRow("3x3 convolution, 1080p", OnWork(Convolve), {{"OpenCV filter2D", OnWork(Filter2D)}});
    AddRow("legacy quad warp, 1080p", OnWork(Warp),
           {{"OpenCV warpPerspective", OnWork(WarpPerspective)}});
    AddRow("tool: look up components, 1080p", OnWork(Map), {Memcpy(8 * kPixels)});
    AddRow("tool: alpha to grey, 1080p",
           OnWork([](Work& work) { AlphaToGreyBuffer(&work.sourceHandle, work.scratch.data()); }),
           {Memcpy(5 * kPixels)});
    AddRow("tool: alpha to colour, 1080p",
           OnWork([](Work& work) { AlphaToRGB(&work.sourceHandle); }), {Memcpy(8 * kPixels)});
    AddRow("tool: paint edges, 1080p", OnWork([](Work& work) {
               EdgePaintChannel(work.source.Bytes(), kRowBytes, kWidth, kHeight, 0xFF123456,
                                work.channel.data(), work.scratch.data());
           }),
           {Memcpy(12 * kPixels)});
    AddRow("tool: soften edges, 1080p", OnWork([](Work& work) {
               EdgeAliasChannel(work.source.Bytes(), kRowBytes, kWidth, kHeight,
                                work.channel.data());
           }),
           {Memcpy(10 * kPixels)});
    AddRow("tool: choose alphas, 1080p", OnWork([](Work& work) {
               EdgeReconstructAlphas(work.scratch.data(), work.channel.data(), work.source.Bytes(),
                                     work.channel.data(), kWidth, kHeight, kRowBytes);
           }),
           {Memcpy(11 * kPixels)});
}

}  // namespace bench

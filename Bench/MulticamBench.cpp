// Four camera angles in one picture.
#include <VideoFrame/VideoFrame.h>
#include <libyuv.h>

#include <cstring>

#include "Pictures.h"
#include "Table.h"

namespace bench {
namespace {

constexpr auto kBgra = tulomediatypes::kPixelFormat_BGRA_4444_8u;
constexpr auto kUyvy = tulomediatypes::kPixelFormat_UYVY_422_8u;
constexpr std::size_t kAngles = 4;

struct Place {
    std::int32_t x, y, width, height;
};

struct View {
    std::size_t source;
    Place place;
};

/// What one output is made of. Four sources of one size and one format.
struct Job {
    std::string name = {};
    Size from, to;
    tulomediatypes::PixelFormat format;
    bool isSideBySide = false;
    std::vector<View> views = {};  // where each source goes, for the peers
    std::vector<Place> bars = {};  // what is left of the cells, for them as well

    std::size_t SourceBytes() const { return PixelsOf(from) * (format == kBgra ? 4 : 2); }
    std::size_t OutputBytes() const { return PixelsOf(to) * 4; }

    static std::size_t PixelsOf(const Size& inSize) {
        return static_cast<std::size_t>(inSize.width) * static_cast<std::size_t>(inSize.height);
    }
};

Job GridJob(const Size& inFrom, const Size& inTo, tulomediatypes::PixelFormat inFormat) {
    Job job{.from = inFrom, .to = inTo, .format = inFormat};
    job.name = std::string(inTo.name) + " grid of " + inFrom.name +
               (inFormat == kBgra ? " BGRA" : " UYVY");
    const std::int32_t width = inTo.width / 2;
    const std::int32_t height = inTo.height / 2;
    for (std::size_t i = 0; i < kAngles; ++i)
        job.views.push_back({i, {i % 2 ? width : 0, i / 2 ? height : 0, width, height}});
    return job;
}

// Cells twice as high as the angles in them, and the same to the right at twice the size.
Job SideBySideJob(const Size& inSize) {
    Job job{.from = inSize, .to = inSize, .format = kBgra, .isSideBySide = true};
    job.name = std::string(inSize.name) + " side by side of " + inSize.name + " BGRA";
    const auto add = [&](std::size_t inSource, const Place& inCell) {
        const std::int32_t height = inCell.height / 2;
        const std::int32_t above = height / 2;
        const auto& [x, y, width, whole] = inCell;
        job.views.push_back({inSource, {x, y + above, width, height}});
        job.bars.push_back({x, y, width, above});
        job.bars.push_back({x, y + above + height, width, whole - above - height});
    };
    const std::int32_t width = inSize.width / 4;
    const std::int32_t height = inSize.height / 2;
    add(0, {2 * width, 0, 2 * width, inSize.height});
    for (std::size_t i = 0; i < kAngles; ++i)
        add(i, {i % 2 ? width : 0, i / 2 ? height : 0, width, height});
    return job;
}

std::vector<Buffer> MakePictures(const Job& inJob) {
    std::vector<Buffer> pictures;
    for (std::size_t i = 0; i < kAngles; ++i) {
        Buffer& picture = pictures.emplace_back(inJob.SourceBytes());
        if (inJob.format != kBgra) continue;
        for (std::size_t alpha = 3; alpha < inJob.SourceBytes(); alpha += 4)
            picture.Bytes()[alpha] = 255;
    }
    return pictures;
}

// ---- Ours ---------------------------------------------------------------------------------------

std::vector<VF::VideoFrameRef> MakeFrames(const Job& inJob) {
    const std::vector<Buffer> pictures = MakePictures(inJob);
    std::vector<VF::VideoFrameRef> frames(kAngles);
    for (std::size_t i = 0; i < kAngles; ++i) {
        VF::CreateVideoFrame(frames[i], inJob.format, static_cast<std::uint32_t>(inJob.from.width),
                             static_cast<std::uint32_t>(inJob.from.height), {1, 1}, false, false);
        const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frames[i]);
        std::memcpy(memory->GetData(), pictures[i].Bytes(), memory->GetDataSize());
    }
    return frames;
}

Run Ours(const Job& inJob, bool inUseAllProcessors) {
    return [=](benchmark::State& state) {
        const std::vector<VF::VideoFrameRef> sources = MakeFrames(inJob);
        VF::MultiCamRenderParams params;  // its scales of 0 leave the outline without thickness
        params.width = static_cast<std::uint32_t>(inJob.to.width);
        params.height = static_cast<std::uint32_t>(inJob.to.height);
        params.pixelAspectRatio = {1, 1};
        params.pixelFormat = kBgra;
        for (auto _ : state) {
            const VF::VideoFrameRef output = VF::RenderMulticam(sources, 0, inJob.isSideBySide,
                                                                false, params, inUseAllProcessors);
            benchmark::DoNotOptimize(output.Get());
            benchmark::ClobberMemory();
        }
    };
}

// ---- Peers --------------------------------------------------------------------------------------

/// Draws a source of that size into an area whose rows are inRowBytes apart.
using DrawView = std::function<void(const std::uint8_t* inSource, const Size& inFrom,
                                    std::uint8_t* outArea, int inRowBytes, const Place& inPlace)>;

Contestant Libyuv(const Job& inJob, const std::string& inName, const DrawView& inDraw) {
    return {"libyuv " + inName, [=](benchmark::State& state) {
                const std::vector<Buffer> sources = MakePictures(inJob);
                const Buffer output(inJob.OutputBytes());
                const int rowBytes = inJob.to.width * 4;
                for (auto _ : state) {
                    for (const auto& [x, y, width, height] : inJob.bars)
                        libyuv::ARGBRect(output.Bytes(), rowBytes, x, y, width, height, 0xFF000000);
                    for (const auto& [source, place] : inJob.views) {
                        inDraw(sources[source].Bytes(), inJob.from,
                               output.Bytes() + place.y * rowBytes + place.x * 4, rowBytes, place);
                    }
                    benchmark::ClobberMemory();
                }
            }};
}

void ScaleBgra(const std::uint8_t* inSource, const Size& inFrom, std::uint8_t* outArea,
               int inRowBytes, const Place& inPlace) {
    libyuv::ARGBScale(inSource, inFrom.width * 4, inFrom.width, inFrom.height, outArea, inRowBytes,
                      inPlace.width, inPlace.height, libyuv::kFilterBox);
}

/// Halves a UYVY picture in strips of that many rows, so that what is between the steps stays in
/// the cache.
DrawView ConvertThenHalve(std::int32_t inStripRows) {
    const auto middle = std::make_shared<Buffer>(static_cast<std::size_t>(kSizes[0].width) * 4 *
                                                 static_cast<std::size_t>(inStripRows));
    return [=](const std::uint8_t* inSource, const Size& inFrom, std::uint8_t* outArea,
               int inRowBytes, const Place& inPlace) {
        for (std::int32_t y = 0; y < inFrom.height; y += inStripRows) {
            const std::int32_t rows = std::min(inStripRows, inFrom.height - y);
            libyuv::UYVYToARGB(inSource + y * inFrom.width * 2, inFrom.width * 2, middle->Bytes(),
                               inFrom.width * 4, inFrom.width, rows);
            libyuv::ARGBScale(middle->Bytes(), inFrom.width * 4, inFrom.width, rows,
                              outArea + y / 2 * inRowBytes, inRowBytes, inPlace.width, rows / 2,
                              libyuv::kFilterBox);
        }
    };
}

/// The same with the colour conversion last, at the small size: the chroma of 4:2:0 is that of half
/// the picture, so the luma alone has to be scaled.
DrawView HalveThenConvert(std::int32_t inStripRows) {
    const auto plane = [=](int inParts) {
        return std::make_shared<Buffer>(static_cast<std::size_t>(kSizes[0].width) *
                                        static_cast<std::size_t>(inStripRows / inParts));
    };
    return [=, luma = plane(1), half = plane(2), u = plane(2), v = plane(2)](
               const std::uint8_t* inSource, const Size& inFrom, std::uint8_t* outArea,
               int inRowBytes, const Place& inPlace) {
        const int width = inPlace.width;
        for (std::int32_t y = 0; y < inFrom.height; y += inStripRows) {
            const std::int32_t rows = std::min(inStripRows, inFrom.height - y);
            libyuv::UYVYToI420(inSource + y * inFrom.width * 2, inFrom.width * 2, luma->Bytes(),
                               inFrom.width, u->Bytes(), width, v->Bytes(), width, inFrom.width,
                               rows);
            libyuv::ScalePlane(luma->Bytes(), inFrom.width, inFrom.width, rows, half->Bytes(),
                               width, width, rows / 2, libyuv::kFilterBox);
            libyuv::I444ToARGB(half->Bytes(), width, u->Bytes(), width, v->Bytes(), width,
                               outArea + y / 2 * inRowBytes, inRowBytes, width, rows / 2);
        }
    };
}

std::vector<Contestant> LibyuvFor(const Job& inJob) {
    if (inJob.format == kBgra) return {Libyuv(inJob, "kFilterBox", ScaleBgra)};
    const std::int32_t whole = inJob.from.height;
    constexpr std::int32_t kStrip = 8;
    return {Libyuv(inJob, "to BGRA, half", ConvertThenHalve(whole)),
            Libyuv(inJob, "to BGRA, half, strips", ConvertThenHalve(kStrip)),
            Libyuv(inJob, "half, to BGRA", HalveThenConvert(whole)),
            Libyuv(inJob, "half, to BGRA, strips", HalveThenConvert(kStrip))};
}

// Reads and writes as many bytes as the job does.
Contestant Memcpy(const Job& inJob) {
    return {"memcpy of as many bytes", [=](benchmark::State& state) {
                const std::size_t bytes = (kAngles * inJob.SourceBytes() + inJob.OutputBytes()) / 2;
                const Buffer from(bytes);
                const Buffer to(bytes);
                for (auto _ : state) {
                    std::memcpy(to.Bytes(), from.Bytes(), bytes);
                    benchmark::ClobberMemory();
                }
            }};
}

// ---- Rows ---------------------------------------------------------------------------------------

void AddJobRows(const Job& inJob) {
    const std::string name = "multicam " + inJob.name;
    AddRow(name, Ours(inJob, false), LibyuvFor(inJob));
    AddRow(name + ", bytes", Ours(inJob, false), {Memcpy(inJob)});
    AddRow(name + ", all processors", Ours(inJob, true), {{"ours, one", Ours(inJob, false)}});
}

}  // namespace

void AddMulticamRows() {
    const auto& [k1080p, k2160p] = kSizes;
    AddJobRows(GridJob(k1080p, k1080p, kBgra));
    AddJobRows(GridJob(k1080p, k1080p, kUyvy));
    AddJobRows(GridJob(k2160p, k2160p, kBgra));
    AddJobRows(GridJob(k2160p, k1080p, kBgra));
    AddJobRows(SideBySideJob(k1080p));
}

}  // namespace bench

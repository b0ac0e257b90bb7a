// Runs each operation once for each of its allocations, refusing that one. Every run is a process
// of its own, so that nothing kept from earlier runs spares it an allocation.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Memory.h"
#include "VideoFrame/EffectWorld.h"
#include "VideoFrame/Lifecycle.h"
#include "VideoFrame/MultiCamRendering.h"
#include "VideoFrame/Quantisation.h"
#include "VideoFrame/Raster.h"
#include "VideoFrame/RasterTools.h"
#include "VideoFrame/SharedVideoFrameCache.h"
#include "VideoFrame/TPixBridge.h"
#include "VideoFrame/VideoFrameManipulators.h"
#include "VideoFrame/VideoFrameSharing.h"
#include "frames/VideoFrameUtilities.h"
#include "support/Frames.h"
#include "support/SharedFolder.h"

namespace {

namespace Cache = VF::SharedVideoFrameCache;
namespace M = VF::VideoFrameManipulators;
namespace Service = processcoordination;
using namespace support;
using namespace tulomediatypes;
using tulocore::utility::Guid;

// ---------------------------------------------------------------------------------------------
// Operations

constexpr tagRECT kBounds{0, 0, 16, 8};
constexpr PixelFormat kBgra = kPixelFormat_BGRA_4444_8u;
constexpr PixelFormat kWithoutPixels = kPixelFormat_V210_422_10u;

VF::VideoFrameRef Patterned(PixelFormat inFormat, std::uint32_t inWidth = 16,
                            std::uint32_t inHeight = 8) {
    VF::VideoFrameRef frame = MakeFrame(inWidth, inHeight, inFormat);
    const std::uint64_t size = Ask<VF::IVideoFrameMemoryAccess>(frame)->GetDataSize();
    for (std::uint64_t i = 0; i < size; ++i)
        Data(frame)[i] = static_cast<std::byte>(i % 100 + 16);
    frame->SetFieldType(1);
    return frame;
}

/// What an operation works on and what it gives.
struct Bench {
    ~Bench() { Begin(); }

    /// Lets go of what the call before gave.
    void Begin() {
        result = nullptr;
        if (handle) TvDisposeHandle(std::exchange(handle, nullptr));
        if (record) tpixDispose(std::exchange(record, nullptr));
        if (world.pixelData) VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
        if (number != 0) twDispose(std::exchange(number, {}), 0);
        if (region) DeleteObject(std::exchange(region, nullptr));
        world = {};
        guid = Guid::Generate();
    }

    VF::VideoFrameRef source = Patterned(kBgra), target = Patterned(kBgra), result;
    Service::BinaryReferencePtr received;
    Guid guid, published;
    TPixHand record = nullptr;
    TvHandle handle = nullptr;
    GF_LayerDef world{};
    std::int16_t number = 0;
    HRGN region = nullptr;
};

/// A call that returns a number reports its failures by that alone. One that returns a bool may
/// raise std::bad_alloc as well; one that returns nothing may also do less than it was asked.
struct Operation {
    template <class Call>
    Operation(const char* inName, Call inCall, std::function<void(Bench&)> inPrepare = {})
        : name(inName), prepare(std::move(inPrepare)) {
        using Result = std::invoke_result_t<Call, Bench&>;
        mayThrow = !std::is_same_v<Result, std::int32_t>;
        isQuiet = std::is_void_v<Result>;
        call = [inCall](Bench& b) {
            if constexpr (std::is_void_v<Result>)
                return inCall(b), 0;
            else
                return std::is_same_v<Result, bool> ? inCall(b) - 1 : inCall(b);
        };
    }

    std::string name;
    std::function<void(Bench&)> prepare;
    std::function<std::int32_t(Bench&)> call;
    bool mayThrow = false;
    bool isQuiet = false;

    friend void PrintTo(const Operation& inOperation, std::ostream* outText) {
        *outText << inOperation.name;
    }
};

std::int32_t StatusOf(const void* inResult) {
    return inResult ? 0 : -1;
}

std::int32_t Create(Bench& b) {
    const std::int32_t status = VF::CreateVideoFrame(b.result, kBgra, 16, 8, {1, 1}, true, false);
    return status != 0 ? status : StatusOf(b.result.Get());
}

std::int32_t Convert(Bench& b, const VF::VideoFrameRef& inSource, PixelFormat inFormat,
                     std::uint32_t inWidth, std::uint32_t inHeight, RenderQuality inQuality = 2) {
    VF::CreateVideoFrame(b.result, inFormat, inWidth, inHeight, {1, 1}, true, false);
    return b.result ? M::CopyFrame(inSource, b.result, inQuality) : -1;
}

std::int32_t ThereAndBack(Bench& b, PixelFormat inFormat, std::uint32_t inWidth,
                          std::uint32_t inHeight) {
    if (Convert(b, b.source, inFormat, inWidth, inHeight) != 0) return -1;
    return Convert(b, VF::VideoFrameRef(b.result), kBgra, inWidth, inHeight);
}

std::int32_t ConvertBetweenAll(Bench& b) {
    for (const PixelFormat format :
         {kWithoutPixels, kPixelFormat_UYVY_422_8u_709, kPixelFormat_BGRP_4444_32f_Linear,
          kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601}) {
        if (ThereAndBack(b, format, 16, 8) != 0) return -1;
    }
    return 0;
}

std::int32_t Scale(Bench& b) {
    for (const RenderQuality quality : {1, 2, 3, 4, 5}) {
        if (Convert(b, b.source, kBgra, 40, 20, quality) != 0) return -1;
        if (Convert(b, b.source, kPixelFormat_VUYA_4444_32f, 5, 3, quality) != 0) return -1;
    }
    return 0;
}

bool Multicam(Bench& b, PixelFormat inFormat, bool inUseAllProcessors) {
    const VF::MultiCamRenderParams params{32, 16, {1, 1}, inFormat, 0, 1, 1, 32, 16, {1, 1}, 0, 0};
    b.result = VF::RenderMulticam({b.source, nullptr, b.target}, 0, true, true, params,
                                  inUseAllProcessors);
    return static_cast<bool>(b.result);
}

bool RenderBlank(Bench& b) {
    const VF::MultiCamRenderParams params{32, 16, {1, 1}, kBgra, 0, 1, 1, 32, 16, {1, 1}, 0, 0};
    b.result = VF::RenderNonMulticam({}, false, params, b.guid, false);
    return static_cast<bool>(b.result);
}

void WithoutPixels(Bench& b) {
    b.source = Patterned(kWithoutPixels);
}

void Dv(Bench& b) {
    b.source = b.target = Patterned(kPixelFormat_NTSCDV25, 720, 480);
    b.source = Patterned(kBgra, 720, 480);
    EXPECT_EQ(M::CopyFrame(b.source, b.target, 2), 0);
    b.source = b.target;
}

void Share(Bench& b) {
    VF::SetCreatePublishableVideoFrames(true);
    b.source = Patterned(kBgra);
    VF::SetCreatePublishableVideoFrames(false);
}

void PublishAnother(Bench& b) {
    EXPECT_EQ(VF::PublishVideoFrame(b.source, b.published = Guid::Generate()), 0);
}

void Receive(Bench& b) {
    PublishAnother(b);
    EXPECT_EQ(Service::GetBinaryDataIfAvailable(b.published, b.received), 0);
}

void ReceiveFrame(Bench& b) {
    Receive(b);
    EXPECT_EQ(VF::WrapVideoFrameAroundBinaryReference(b.received, b.published, b.source), 0);
}

std::int32_t Publish(Bench& b) {
    return VF::PublishVideoFrame(b.source, b.guid);
}

std::int32_t ChangeHandle(Bench& b) {
    b.handle = TvNewHandle(8);
    if (!b.handle) return -1;
    const std::int16_t status = InsertHandItem(-1, b.handle, 8, &kBounds);
    return status != 0 ? status : TvSetHandleSize(b.handle, 1000);
}

std::int32_t CloneFields(Bench& b) {
    b.record = tpixNew(&kBounds);
    if (!b.record) return -1;
    TPixFieldsPrep(b.record, 0);
    TPixFields_PointAtField(b.record, 1);
    const TPixHand clone = TPixFieldsClone(b.record);
    TPixFieldsCloneFree(clone);
    TPixFieldsCleanup(b.record);
    return StatusOf(clone);
}

bool AskForUnknown(Bench& b) {
    b.record = reinterpret_cast<TPixHand>(TvNewHandleClear(sizeof(TPix)));
    return b.record && !VF::GetVideoFrameFromTPix(b.record);
}

bool MakeEffectWorld(Bench& b) {
    VF::NewGF_WorldFromExistingVideoFrame(b.source, b.world, false, 0, 0);
    return true;
}

std::int32_t Quantise(Bench& b) {
    std::uint32_t* const histogram = InitHistogram(nullptr);
    if (!histogram) return -1;
    Histogram32(Data(b.source), 16, 8, 64, histogram);
    std::array<std::uint8_t, 32768> lookup;
    const HPALETTE palette = HistogramPalette(histogram, lookup.data(), 16);
    if (palette) DeleteObject(palette);
    FreeHistogram(histogram);
    return StatusOf(palette);
}

bool Insert(Bench& b) {
    Cache::InsertIntoCache(b.source, b.guid, 1);
    b.result = Cache::RetrieveFromCache(b.guid);
    return static_cast<bool>(b.result);
}

struct Dependency {
    explicit Dependency(const Guid& inGuid) : guid(inGuid) {
        Cache::RegisterDependencyOnFrame(guid);
    }
    ~Dependency() { Cache::UnregisterDependencyOnFrame(guid); }
    const Guid guid;
};

bool DependOn(Bench& b) {
    const Dependency dependency(b.guid);
    if (!Insert(b)) return false;
    OV::GetMediaManager()->Purge();
    return static_cast<bool>(Cache::RetrieveFromCache(b.guid));
}

void DrawThroughRegion(Bench& b) {
    b.record = VF::NewTPixFromVideoFrame(b.target);
    b.region = CreateEllipticRgn(0, 0, 16, 8);
    if (!b.record || !b.region) return;
    tpixCopyRgn(b.record, b.record, &kBounds, &kBounds, 0, b.region);
    tpixOneBitMaskRegionComposite(b.record, b.record, b.record, b.region);
    const std::vector<TPixPoint> corners{{0, 0}, {16, 0}, {8, 8}};
    DoRenderPolygon(b.record, b.record, &corners, 0);
}

void Filter(Bench& b) {
    constexpr std::int16_t kKernel[] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 9};
    DoConvolve(Data(b.source), Data(b.target), kKernel, 64, 16, 8);
    std::array<std::uint8_t, 16 * 8> channel{};
    EdgeAliasChannel(Data(b.target), 64, 16, 8, channel.data());
}

const Operation kOperations[] = {
    {"Start", [](Bench&) { return VF::Initialize(), VF::Shutdown(), true; }},
    {"Frame", Create},
    {"SharedFrame", Create, [](Bench&) { VF::SetCreatePublishableVideoFrames(true); }},
    {"Duplicate", [](Bench& b) { return (b.result = b.source->Duplicate()).Get() != nullptr; }},
    {"SubFrame",
     [](Bench& b) {
         return VF::CreateVideoSubFrame(b.result, b.source, {0, 0, 4, 4}) == 0;
     }},
    {"PublishFrameCopy", Publish},
    {"PublishFrameInPlace", Publish, Share},
    {"PublishFrameAgain", Publish, ReceiveFrame},
    {"PublishError", [](Bench& b) { return Service::PutBinaryDataGenerationError(b.guid, 7); }},
    {"Receive", [](Bench& b) { return Service::GetBinaryDataIfAvailable(b.published, b.received); },
     PublishAnother},
    {"Wait",
     [](Bench& b) {
         using std::chrono_literals::operator""ms;
         return Service::WaitForBinaryData(b.guid, 1ms, b.received) - Service::kTimedOut;
     }},
    {"List", [](Bench&) { return Service::ListBinaryData(), Service::CountSharedBytes(), 0; }},
    {"Wrap",
     [](Bench& b) {
         return VF::WrapVideoFrameAroundBinaryReference(b.received, b.published, b.result);
     },
     Receive},
    {"Convert", ConvertBetweenAll},
    {"ConvertDv", [](Bench& b) { return ThereAndBack(b, kPixelFormat_NTSCDV25, 720, 480); }},
    {"Scale", Scale},
    {"CopyRect",
     [](Bench& b) {
         return M::CopyRect(b.source, {0, 0, 9, 5}, b.target, {0, 0, 16, 8}, 3, 1);
     }},
    {"MakeAddressable",
     [](Bench& b) { return M::MakeAddressableVideoFrame(b.source, b.result, kBgra, 2); },
     WithoutPixels},
    {"CopyField", [](Bench& b) { return M::CopyField(b.source, b.target, 1, 2); }, WithoutPixels},
    {"SwapFields", [](Bench& b) { M::SwapFields(b.source, b.target); }},
    {"Deinterlace", [](Bench& b) { M::DeinterlaceVideoFrame(b.target, 0); }},
    {"InterpField", [](Bench& b) { return M::InterpFieldToFrame(b.source, b.target, 1); }},
    {"Convolve", [](Bench& b) { M::VerticalConvolve(b.source, b.target); }},
    {"MergePulldown", [](Bench& b) { return M::MergePulldownFrames(b.target, b.source); }, Dv},
    {"InvertAlpha", [](Bench& b) { M::InvertAlpha(b.target); }},
    {"OpaqueAlpha", [](Bench& b) { M::OpaqueAlpha(b.target); }},
    {"AlphaBounds", [](Bench& b, Brix::Rect r = {}) { M::CalculateAlphaBounds(b.source, r); }},
    {"StoreExternal", [](Bench& b) { M::StoreExternal(b.source, Data(b.target), 8, 4, 32); }},
    {"LoadExternal", [](Bench& b) { M::LoadExternal(b.target, Data(b.source), 8, 4, 32); }},
    {"MakeWriteable",
     [](Bench& b) {
         return (b.result = VF::MakeWriteableVideoFrame(b.source, 2)).Get() != nullptr;
     },
     ReceiveFrame},
    {"Multicam", [](Bench& b) { return Multicam(b, kBgra, false); }},
    {"MulticamWithoutPixels", [](Bench& b) { return Multicam(b, kWithoutPixels, false); }},
    {"MulticamOnAllProcessors", [](Bench& b) { return Multicam(b, kBgra, true); }},
    {"BlankMulticam", RenderBlank},
    {"Quantise", Quantise},
    {"Handle", ChangeHandle},
    {"Record", [](Bench& b) { return StatusOf(b.record = VF::NewTPixFromVideoFrame(b.source)); }},
    {"NewRecord", [](Bench& b) { return StatusOf(b.record = tpixNew(&kBounds)); }},
    {"RawRecord", [](Bench& b) { return StatusOf(b.record = VF::NewTPixWithRawFrame(100, 64)); }},
    {"CustomRecord",
     [](Bench& b) {
         b.record = VF::NewCustomTPixWithVideoFrame(&kBounds, kCustomFormat, 100, {1, 1});
         return StatusOf(b.record);
     }},
    {"CloneFields", CloneFields},
    {"UnknownRecord", AskForUnknown},
    {"World", [](Bench& b) { return std::int32_t{twNew(&b.number, &kBounds, nullptr, 0)}; }},
    {"EffectWorld", MakeEffectWorld},
    {"NewEffectWorld",
     [](Bench& b) {
         return VF::NewGF_WorldWithNewVideoFrame(16, 8, kBgra, {1, 1}, b.world);
     }},
    {"CacheInsert", Insert},
    {"CacheDependency", DependOn},
    {"Region", DrawThroughRegion},
    {"Filter", Filter},
};

// ---------------------------------------------------------------------------------------------
// One run

using Picture = std::vector<std::byte>;

Picture PictureOf(const VF::VideoFrameRef& inFrame) {
    if (!inFrame) return {};
    const auto memory = Ask<VF::IVideoFrameMemoryAccess>(inFrame);
    return {Data(inFrame), Data(inFrame) + memory->GetDataSize()};
}

void Demand(bool inCondition, const char* inText) {
    if (!inCondition) throw std::runtime_error(inText);
}

bool Succeeds(const Operation& inOperation, Bench& ioBench) {
    try {
        return inOperation.call(ioBench) == 0;
    } catch (const std::bad_alloc&) {
        memory::EndRefusal();
        Demand(inOperation.mayThrow, "raised std::bad_alloc");
    } catch (const Brix::NullInterfaceException&) {
        memory::EndRefusal();
        Demand(inOperation.mayThrow, "raised Brix::NullInterfaceException");
    }
    return false;
}

void CheckPublication(const Operation& inOperation, const Bench& inBench, bool inHasSucceeded) {
    const bool isPublished = inHasSucceeded && inOperation.name.starts_with("PublishFrame");
    Service::BinaryReferencePtr data;
    Service::GetBinaryDataIfAvailable(inBench.guid, data);
    Demand(static_cast<bool>(data) == isPublished, "is not published as it said");
}

struct Outcome {
    bool wasRefused = false;
    std::int64_t blocksAtWork = 0;
    std::int64_t blocksInTheEnd = 0;
    std::int64_t descriptors = 0;
    char trouble[100] = "ended the process";
};

Picture Rehearse(const Operation& inOperation) {
    Bench bench;
    if (inOperation.prepare) inOperation.prepare(bench);
    bench.Begin();
    Demand(Succeeds(inOperation, bench), "fails from then on");
    return PictureOf(bench.result);
}

void Run(const Operation& inOperation, std::int64_t inAllocations, bool inForGood,
         Outcome& outOutcome) {
    Picture picture;
    {
        Bench bench;
        if (inOperation.prepare) inOperation.prepare(bench);
        bench.Begin();
        memory::RefuseAfter(inAllocations, inForGood);
        const bool hasSucceeded = Succeeds(inOperation, bench);
        outOutcome.wasRefused = memory::EndRefusal();
        CheckPublication(inOperation, bench, hasSucceeded);
        if (hasSucceeded && !inOperation.isQuiet) picture = PictureOf(bench.result);
        bench.Begin();
        Demand(Succeeds(inOperation, bench), "fails the next time");
    }
    std::thread([&] { Rehearse(inOperation); }).join();
    const Picture expected = Rehearse(inOperation);
    Demand(picture.empty() || picture == expected, "gave a wrong picture");
}

/// Lets go of what is kept for later.
void Settle() {
    OV::GetMediaManager()->Purge();
    tulocore::threads::RunMainThreadCalls();
    Service::SetRetainedBytesLimit(0);
    Brix::MemoryRecycler::Instance()->SetKeptBytesLimit(0);
    Demand(VF::TPixFrameMap().Frames().empty(), "left a record behind");
    Demand(VF::EffectWorldFrameMap().Frames().empty(), "left a world behind");
    for (const Service::Publication& publication : Service::ListBinaryData())
        Demand(publication.errorCode != 0, "left data behind");
}

void RunAsProcess(const Operation& inOperation, std::int64_t inAllocations, bool inForGood,
                  Outcome& outOutcome) try {
    alarm(60);
    const std::int64_t before = memory::LiveBlocks();
    const bool isStart = inOperation.name == "Start";
    if (!isStart) VF::Initialize();
    Run(inOperation, inAllocations, inForGood, outOutcome);
    if (!isStart) {
        Settle();
        outOutcome.blocksAtWork = memory::LiveBlocks() - before;
        VF::Shutdown();
    }
    outOutcome.blocksInTheEnd = memory::LiveBlocks() - before;
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    outOutcome.descriptors = std::distance(begin(descriptors), end(descriptors));
    outOutcome.trouble[0] = '\0';
} catch (const std::exception& problem) {
    std::strncpy(outOutcome.trouble, problem.what(), sizeof outOutcome.trouble - 1);
}

// ---------------------------------------------------------------------------------------------

class Allocation : public testing::TestWithParam<Operation> {
  protected:
    /// In a process of its own, so that nothing kept from earlier runs spares it an allocation.
    Outcome RunApart(std::int64_t inAllocations, bool inForGood) {
        *shared_ = {};
        const pid_t child = fork();
        if (child == 0) {
            RunAsProcess(GetParam(), inAllocations, inForGood, *shared_);
            _exit(0);
        }
        waitpid(child, nullptr, 0);
        EXPECT_STREQ(shared_->trouble, "");
        const std::filesystem::directory_iterator files(folder_.Path());
        EXPECT_LE(HasFailure() ? 0 : std::distance(begin(files), end(files)), 1) << "but sweep";
        return *shared_;
    }

    support::SharedFolder folder_;
    Outcome* const shared_ = static_cast<Outcome*>(
        mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

TEST_P(Allocation, CanFail) {
    constexpr std::int64_t kNone = 1'000'000;
    const Outcome good = RunApart(kNone, false);
    // Errors that were published stay listed; threads that may have worked keep their scratch.
    const bool keepsErrors = GetParam().name.starts_with("Publish");
    const bool isThreaded = GetParam().name == "MulticamOnAllProcessors";
    for (const bool isForGood : {false, true}) {
        for (std::int64_t n = 0; !HasFailure(); ++n) {
            SCOPED_TRACE("allocation " + std::to_string(n) + (isForGood ? " and all later" : ""));
            const Outcome outcome = RunApart(n, isForGood);
            if (!outcome.wasRefused) break;
            EXPECT_EQ(outcome.descriptors, good.descriptors);
            if (isThreaded) continue;
            EXPECT_EQ(outcome.blocksInTheEnd, good.blocksInTheEnd);
            if (!keepsErrors) {
                EXPECT_EQ(outcome.blocksAtWork, good.blocksAtWork);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, Allocation, testing::ValuesIn(kOperations),
                         [](const auto& inInfo) { return inInfo.param.name; });

}  // namespace

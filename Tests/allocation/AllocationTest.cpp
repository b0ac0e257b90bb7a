// Runs each operation once for each of its allocations, refusing that one. Every run is a process
// of its own, so that nothing kept from earlier runs spares it an allocation.
#include <sys/mman.h>
#include <sys/wait.h>

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
constexpr PixelFormat kV210 = kPixelFormat_V210_422_10u;

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
    VF::VideoFrameRef source = Patterned(kBgra), target = Patterned(kBgra), result;
    Service::BinaryReferencePtr received;
    Guid guid, published;
};

/// A call that returns a number reports its failures by that alone. One that returns a bool may
/// raise an exception as well; one that returns nothing may also do less than it was asked.
struct Operation {
    template <class Call>
    Operation(
        const char* inName, Call inCall, std::function<void(Bench&)> inPrepare = [](auto&) {})
        : name(inName), prepare(std::move(inPrepare)) {
        using Result = std::invoke_result_t<Call, Bench&>;
        mayRaise = !std::is_same_v<Result, std::int32_t>;
        isQuiet = std::is_void_v<Result>;
        succeeds = [inCall](Bench& b) {
            if constexpr (std::is_void_v<Result>)
                return inCall(b), true;
            else
                return inCall(b) == std::is_same_v<Result, bool>;
        };
    }
    friend void PrintTo(const Operation& inOperation, std::ostream* outText) {
        *outText << inOperation.name;
    }

    std::string name;
    std::function<void(Bench&)> prepare;
    std::function<bool(Bench&)> succeeds;
    bool mayRaise, isQuiet;
};

std::int32_t Create(VF::VideoFrameRef& outFrame, PixelFormat inFormat, std::uint32_t inWidth = 16,
                    std::uint32_t inHeight = 8) {
    VF::CreateVideoFrame(outFrame, inFormat, inWidth, inHeight, {1, 1}, true, false);
    return outFrame ? 0 : -1;
}

/// There and back.
std::int32_t Convert(Bench& b, PixelFormat inFormat, std::uint32_t inSide,
                     RenderQuality inQuality) {
    VF::VideoFrameRef there;
    if (Create(there, inFormat, inSide, inSide) != 0 || Create(b.result, kBgra) != 0) return -1;
    const std::int32_t status = M::CopyFrame(b.source, there, inQuality);
    return status != 0 ? status : M::CopyFrame(there, b.result, inQuality);
}

std::int32_t ConvertAndScale(Bench& b) {
    for (const std::uint32_t side : {40U, 16U, 5U}) {
        RenderQuality quality = 1;
        for (const PixelFormat format :
             {kV210, kPixelFormat_UYVY_422_8u_709, kPixelFormat_BGRP_4444_32f_Linear,
              kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601, kBgra}) {
            if (Convert(b, format, side, quality++) != 0) return -1;
        }
    }
    return 0;
}

/// Of the renderer's failures the compositor says nothing.
void Multicam(const Bench& b, PixelFormat inFormat, bool inUseAllProcessors) {
    const VF::MultiCamRenderParams params{32, 16, {1, 1}, inFormat, 0, 1, 1, 32, 16, {1, 1}, 0, 0};
    VF::RenderMulticam({b.source, nullptr, b.target}, 0, true, true, params, inUseAllProcessors);
    VF::RenderNonMulticam({}, false, params, b.guid, false);
}

void TakeV210(Bench& b) {
    b.source = Patterned(kV210);
}

void TakeDv(Bench& b) {
    b.target = Patterned(kPixelFormat_NTSCDV25, 720, 480);
    EXPECT_EQ(M::CopyFrame(b.source, b.target, 2), 0);
    b.source = b.target;
}

void TakeShared(Bench& b) {
    VF::SetCreatePublishableVideoFrames(true);
    b.source = Patterned(kBgra);
    VF::SetCreatePublishableVideoFrames(false);
}

void PublishAnother(Bench& b) {
    EXPECT_EQ(VF::PublishVideoFrame(b.source, b.published = Guid::Generate()), 0);
}

std::int32_t Receive(Bench& b) {
    return Service::GetBinaryDataIfAvailable(b.published, b.received);
}

std::int32_t Wrap(Bench& b) {
    return VF::WrapVideoFrameAroundBinaryReference(b.received, b.published, b.result);
}

void TakeReceived(Bench& b) {
    PublishAnother(b);
    EXPECT_EQ(Receive(b) + Wrap(b), 0);
    b.source = b.result;
}

std::int32_t Publish(Bench& b) {
    return VF::PublishVideoFrame(b.source, b.guid);
}

std::int32_t ChangeHandle(Bench&) {
    const TvHandle handle = TvNewHandle(8);
    const bool isChanged = InsertHandItem(-1, handle, 8, &kBounds) == 0;
    const bool isGrown = TvSetHandleSize(handle, 1000) == 0;
    TvDisposeHandle(handle);
    return isChanged && isGrown ? 0 : -1;
}

template <class Make>
std::int32_t MakeRecord(const Make& inMake) {
    const TPixHand record = inMake();
    return record ? tpixDispose(record) : -1;
}

std::int32_t CloneFields(Bench&) {
    const TPixHand record = tpixNew(&kBounds);
    if (!record) return -1;
    TPixFieldsPrep(record, 0);
    TPixFields_PointAtField(record, 1);
    const TPixHand clone = TPixFieldsClone(record);
    TPixFieldsCloneFree(clone);
    TPixFieldsCloneFree(record);
    return clone ? 0 : -1;
}

std::int32_t MakeWorld(Bench&) {
    std::int16_t number = 0;
    const std::int16_t status = twNew(&number, &kBounds, nullptr, 0);
    twDispose(number, 0);
    return status;
}

bool MakeEffectWorlds(Bench& b) {
    GF_LayerDef world{};
    VF::NewGF_WorldFromExistingVideoFrame(b.source, world, false, 0, 0);
    VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
    if (!VF::NewGF_WorldWithNewVideoFrame(16, 8, kBgra, {1, 1}, world)) return false;
    VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
    return true;
}

std::int32_t Quantise(Bench& b) {
    std::uint32_t* const histogram = InitHistogram(nullptr);
    if (!histogram) return -1;
    Histogram32(Data(b.source), 16, 8, 64, histogram);
    const HPALETTE palette = HistogramPalette(histogram, nullptr, 16);
    DeleteObject(palette);
    FreeHistogram(histogram);
    return palette ? 0 : -1;
}

void DrawShapes(Bench& b) {
    MakeRecord([&] {
        const TPixHand record = VF::NewTPixFromVideoFrame(b.target);
        const HRGN region = CreateEllipticRgn(0, 0, 16, 8);
        if (record) tpixCopyRgn(record, record, &kBounds, &kBounds, 0, region);
        if (record) tpixOneBitMaskRegionComposite(record, record, record, region);
        DeleteObject(region);
        return record;
    });
}

struct Dependency {
    explicit Dependency(const Guid& inGuid) : guid(inGuid) {
        Cache::RegisterDependencyOnFrame(guid);
    }
    ~Dependency() { Cache::UnregisterDependencyOnFrame(guid); }
    const Guid guid;
};

bool KeepInCache(Bench& b) {
    const Dependency dependency(b.guid);
    Cache::InsertIntoCache(b.source, b.guid, 1);
    OV::GetMediaManager()->Purge();
    b.result = Cache::RetrieveFromCache(b.guid);
    return static_cast<bool>(b.result);
}

const Operation kOperations[] = {
    {"Start", [](Bench&) { return VF::Initialize(), VF::Shutdown(), true; }},
    {"Frame", [](Bench& b) { return Create(b.result, kBgra); }},
    {"SharedFrame", [](Bench& b) { return Create(b.result, kBgra); },
     [](Bench&) { VF::SetCreatePublishableVideoFrames(true); }},
    {"Duplicate", [](Bench& b) { return (b.result = b.source->Duplicate()).Get() != nullptr; }},
    {"SubFrame",
     [](Bench& b) {
         return VF::CreateVideoSubFrame(b.result, b.source, {0, 0, 4, 4}) == 0;
     }},
    {"PublishCopy", Publish},
    {"PublishInPlace", Publish, TakeShared},
    {"PublishAgain", Publish, TakeReceived},
    {"ErrorOfPublisher", [](Bench& b) { return Service::PutBinaryDataGenerationError(b.guid, 7); }},
    {"Receive", Receive, PublishAnother},
    {"List", [](Bench&) { return Service::ListBinaryData(), Service::CountSharedBytes(), 0; }},
    {"Wrap", Wrap, TakeReceived},
    {"Convert", ConvertAndScale},
    {"CopyRect",
     [](Bench& b) {
         return M::CopyRect(b.source, {0, 0, 9, 5}, b.target, {0, 0, 16, 8}, 3, 1);
     }},
    {"MakeAddressable",
     [](Bench& b) { return M::MakeAddressableVideoFrame(b.source, b.result, kBgra, 2); }, TakeV210},
    {"CopyField", [](Bench& b) { return M::CopyField(b.source, b.target, 1, 2); }, TakeV210},
    {"SwapFields", [](Bench& b) { M::SwapFields(b.source, b.target); }},
    {"Deinterlace", [](Bench& b) { M::DeinterlaceVideoFrame(b.target, 0); }},
    {"InterpField", [](Bench& b) { return M::InterpFieldToFrame(b.source, b.target, 1); }},
    {"Convolve", [](Bench& b) { M::VerticalConvolve(b.source, b.target); }},
    {"MergePulldown", [](Bench& b) { return M::MergePulldownFrames(b.target, b.source); }, TakeDv},
    {"InvertAlpha", [](Bench& b) { M::InvertAlpha(b.target); }},
    {"OpaqueAlpha", [](Bench& b) { M::OpaqueAlpha(b.target); }},
    {"StoreExternal", [](Bench& b) { M::StoreExternal(b.source, Data(b.target), 8, 4, 32); }},
    {"LoadExternal", [](Bench& b) { M::LoadExternal(b.target, Data(b.source), 8, 4, 32); }},
    {"MakeWriteable",
     [](Bench& b) { return static_cast<bool>(VF::MakeWriteableVideoFrame(b.source, 2)); },
     TakeReceived},
    {"Multicam", [](Bench& b) { Multicam(b, kV210, false); }},
    {"MulticamOnAllProcessors", [](Bench& b) { Multicam(b, kBgra, true); }},
    {"Quantise", Quantise},
    {"Handle", ChangeHandle},
    {"Record",
     [](Bench& b) { return MakeRecord([&] { return VF::NewTPixFromVideoFrame(b.source); }); }},
    {"NewRecord", [](Bench&) { return MakeRecord([] { return tpixNew(&kBounds); }); }},
    {"RawRecord",
     [](Bench&) { return MakeRecord([] { return VF::NewTPixWithRawFrame(100, 64); }); }},
    {"CloneFields", CloneFields},
    {"World", MakeWorld},
    {"EffectWorlds", MakeEffectWorlds},
    {"Cache", KeepInCache},
    {"Shapes", DrawShapes},
};

// ---------------------------------------------------------------------------------------------
// One run

using Picture = std::vector<std::byte>;

void Demand(bool inCondition, const char* inText) {
    if (!inCondition) throw std::runtime_error(inText);
}

bool Succeeds(const Operation& inOperation, Bench& ioBench) {
    ioBench.guid = Guid::Generate();
    try {
        return inOperation.succeeds(ioBench);
    } catch (const std::bad_alloc&) {
    } catch (const Brix::NullInterfaceException&) {  // what the compositor makes of no frame
    }
    memory::EndRefusal();
    Demand(inOperation.mayRaise, "raised an exception");
    return false;
}

void DemandPublication(const std::string& inName, bool inHasSucceeded, const Guid& inGuid) {
    Service::BinaryReferencePtr data;
    const std::int32_t status = Service::GetBinaryDataIfAvailable(inGuid, data);
    const bool isPublished = inName == "ErrorOfPublisher" ? status != Service::kNotAvailable
                                                          : status == Service::kSuccess;
    const bool isExpected = inName.starts_with("Publish") || inName == "ErrorOfPublisher";
    Demand(isPublished == (isExpected && inHasSucceeded), "is not published as it said");
}

/// On a bench of its own; the picture that it gave.
Picture Run(const Operation& inOperation, const std::function<void(Bench&)>& inCall) {
    Bench bench;
    inOperation.prepare(bench);
    inCall(bench);
    if (!bench.result || inOperation.isQuiet) return {};
    const auto memory = Ask<VF::IVideoFrameMemoryAccess>(bench.result);
    return {Data(bench.result), Data(bench.result) + memory->GetDataSize()};
}

/// Whether an allocation was refused.
bool RunRefused(const Operation& inOperation, std::int64_t inAllocations, bool inForGood) {
    bool wasRefused = false, hasSucceeded = false;
    const Picture picture = Run(inOperation, [&](Bench& b) {
        memory::RefuseAfter(inAllocations, inForGood);
        hasSucceeded = Succeeds(inOperation, b);
        wasRefused = memory::EndRefusal();
        DemandPublication(inOperation.name, hasSucceeded, b.guid);
        Bench again = b;
        Demand(Succeeds(inOperation, again), "fails the next time");
    });
    const auto runAgain = [&] {
        return Run(inOperation,
                   [&](Bench& b) { Demand(Succeeds(inOperation, b), "fails from then on"); });
    };
    std::thread(runAgain).join();
    Demand(runAgain() == picture || !hasSucceeded, "gave a wrong picture");
    return wasRefused;
}

/// Lets go of what is kept for later.
void Settle() {
    OV::GetMediaManager()->Purge();
    tulocore::threads::RunMainThreadCalls();
    Service::SetRetainedBytesLimit(0);
    Brix::MemoryRecycler::Instance()->SetKeptBytesLimit(0);
    Demand(VF::TPixFrameMap().Frames().empty(), "left a record behind");
    Demand(VF::EffectWorldFrameMap().Frames().empty(), "left a world behind");
    const std::uint64_t errorBytes = 4096 * Service::ListBinaryData().size();  // a page for each
    Demand(Service::CountSharedBytes() == errorBytes, "left data behind");
}

struct Outcome {
    bool wasRefused = false;
    std::int64_t blocksBeforeStop = 0, blocksInTheEnd = 0, descriptors = 0;
    char trouble[100] = "ended the process";
};

void RunAsProcess(const Operation& inOperation, std::int64_t inAllocations, bool inForGood,
                  Outcome& outOutcome) try {
    alarm(60);  // for who waits for a lock
    const std::int64_t before = memory::LiveBlocks();
    const bool isStart = inOperation.name == "Start";
    if (!isStart) VF::Initialize();
    outOutcome.wasRefused = RunRefused(inOperation, inAllocations, inForGood);
    if (!isStart) Settle();
    outOutcome.blocksBeforeStop = memory::LiveBlocks() - before;
    if (!isStart) VF::Shutdown();
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
        EXPECT_LE(HasFailure() ? 0 : std::distance(begin(files), end(files)), 1) << "not one lock";
        return *shared_;
    }

    support::SharedFolder folder_;
    Outcome* const shared_ = static_cast<Outcome*>(
        mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

TEST_P(Allocation, MayFail) {
    constexpr std::int64_t kNever = 1'000'000;
    const std::string& name = GetParam().name;
    const Outcome good = RunApart(kNever, false);
    for (const bool isForGood : {false, true}) {
        for (std::int64_t n = 0; !HasFailure(); ++n) {
            SCOPED_TRACE("allocation " + std::to_string(n) + (isForGood ? " and all later" : ""));
            const Outcome outcome = RunApart(n, isForGood);
            if (!outcome.wasRefused) break;
            EXPECT_EQ(outcome.descriptors, good.descriptors);
            if (name == "MulticamOnAllProcessors") continue;  // threads keep what they work with
            EXPECT_EQ(outcome.blocksInTheEnd, good.blocksInTheEnd);
            if (name.starts_with("Publish") || name == "ErrorOfPublisher") continue;  // listed
            EXPECT_EQ(outcome.blocksBeforeStop, good.blocksBeforeStop);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, Allocation, testing::ValuesIn(kOperations),
                         [](const auto& inInfo) { return inInfo.param.name; });

}  // namespace

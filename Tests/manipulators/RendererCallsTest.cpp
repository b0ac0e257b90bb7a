// What the manipulators ask of the renderer, where that is fixed. The renderer here writes down
// what it is called with and does nothing.
#include <gmock/gmock.h>

#include <sstream>
#include <string>

#include "Patterns.h"

namespace {

std::vector<std::string> gCalls;
std::int32_t gResult = 0;

template <class... Arguments>
std::int32_t WriteDown(const char* inName, const Arguments&... inArguments) {
    std::ostringstream call;
    call << inName;
    ((call << ' ' << inArguments), ...);
    gCalls.push_back(call.str());
    return gResult;
}

}  // namespace

std::int32_t SV_ScaleConvert(const void*, std::int64_t inSourceRowBytes, std::int32_t inSourceWidth,
                             std::int32_t inSourceHeight, SV_PixelFormat inSourceFormat,
                             std::uint32_t inSourceFieldType, void*, std::int64_t inRowBytes,
                             std::int32_t inWidth, std::int32_t inHeight, SV_PixelFormat inFormat,
                             std::uint32_t inFieldType, std::int32_t inQuality) {
    return WriteDown("scale", inSourceRowBytes, inSourceWidth, inSourceHeight, inSourceFormat,
                     inSourceFieldType, "to", inRowBytes, inWidth, inHeight, inFormat, inFieldType,
                     "quality", inQuality);
}

std::int32_t SV_CrossDissolve(const void*, std::int64_t inFirstRowBytes, SV_PixelFormat,
                              const void*, std::int64_t inSecondRowBytes, SV_PixelFormat, void*,
                              std::int64_t inRowBytes, SV_PixelFormat inFormat,
                              std::int32_t inWidth, std::int32_t inHeight, float inAmount,
                              std::int32_t inQuality) {
    return WriteDown("mix", inFirstRowBytes, inSecondRowBytes, inRowBytes, inFormat, inWidth,
                     inHeight, inAmount, inQuality);
}

std::int32_t SV_MergeDV(const void*, const void*, void*, std::int32_t inFrameBytes,
                        std::int32_t inQuality) {
    return WriteDown("merge", inFrameBytes, inQuality);
}

std::int32_t SV_MergeDVCPRO(const void*, const void*, void*, SV_PixelFormat inFormat,
                            std::int32_t inQuality) {
    return WriteDown("merge pro", inFormat, inQuality);
}

namespace manipulators_test {
namespace {

using tulomediatypes::kPixelFormat_BGRA_4444_8u;

template <class Call>
std::vector<std::string> CallsOf(const Call& inCall) {
    gCalls.clear();
    inCall();
    return gCalls;
}

TEST(RendererCalls, AreThoseOfTheManipulators) {
    using namespace tulomediatypes;
    using testing::ElementsAre;
    const VF::VideoFrameRef frame = MakeFrame(720, 480);
    const VF::VideoFrameRef half = MakeFrame(360, 240);
    const VF::VideoFrameRef dv = MakeFrame(720, 480, kPixelFormat_NTSCDV25);
    const VF::VideoFrameRef pro = MakeFrame(1280, 1080, kPixelFormat_NTSC_DV100_1080i);
    const Brix::Rect whole{0, 0, 720, 480};
    frame->SetFieldType(1);
    half->SetFieldType(1);

    for (const auto& [quality, text] : {std::pair{4, "3"}, {3, "3"}, {2, "2"}, {-1, "2"}}) {
        EXPECT_THAT(
            CallsOf([&] {
                CopyRect(frame, whole, half, {0, 0, 360, 240}, quality, 3);
            }),
            ElementsAre("scale 2880 720 480 4 0 to 1440 360 240 4 0 quality " + std::string(text)));
    }
    EXPECT_THAT(CallsOf([&] {
                    CopyRect(frame, whole, frame, {0, 0, 720, 240}, 4, 0);
                }),
                ElementsAre("scale 5760 720 240 4 0 to 2880 720 240 4 0 quality 3"));
    // Row bytes of a frame without rows are its data size.
    EXPECT_THAT(CallsOf([&] { CopyFrame(dv, frame, 5); }),
                ElementsAre("scale 120000 720 480 16777249 3 to 2880 720 480 4 3 quality 5"));
    frame->SetFieldType(1);
    half->SetFieldType(2);
    EXPECT_THAT(CallsOf([&] { CopyFrameWithFields(frame, half, 3, 2); }),
                ElementsAre("scale 2880 720 480 4 2 to 1440 360 240 4 2 quality 3"));
    // Alpha as the type of the frame wants it understood.
    for (const auto& [alphaType, format] : {std::pair{2u, "8"}, {3u, "12"}, {1u, "4"}}) {
        frame->SetAlphaType(alphaType);
        EXPECT_THAT(CallsOf([&] { CopyFrame(frame, half, 3); }),
                    ElementsAre(std::string("scale 2880 720 480 ") + format +
                                " 1 to 1440 360 240 " + format + " 2 quality 3"));
    }
    EXPECT_THAT(CallsOf([&] { CopyField(half, half, 0, 2); }),
                ElementsAre("scale 2880 360 120 4 0 to 2880 360 120 4 0 quality 4"));
    EXPECT_THAT(CallsOf([&] { DeinterlaceVideoFrame(half, 0); }),
                ElementsAre("mix 2880 2880 2880 4 360 119 0.5 4"));
    const auto mixes = CallsOf([&] { VerticalConvolve(frame, frame); });
    EXPECT_EQ(mixes.size(), 958u);
    EXPECT_THAT(mixes, testing::Each("mix 0 0 0 4 720 1 0.5 4"));
    EXPECT_THAT(CallsOf([&] { MergePulldownFrames(dv, dv); }), ElementsAre("merge 120000 4"));
    EXPECT_THAT(CallsOf([&] { MergePulldownFrames(pro, pro); }),
                ElementsAre("merge pro 83886625 4"));
}

TEST(RendererCalls, FailAsTheStatusesSay) {
    const VF::VideoFrameRef frame = MakeFrame(8, 8);
    const VF::VideoFrameRef other = MakeFrame(8, 8);
    const VF::VideoFrameRef uyvy = MakeFrame(8, 8, tulomediatypes::kPixelFormat_UYVY_422_8u);
    const Brix::Rect whole{0, 0, 8, 8};
    const struct {
        std::int32_t result, ofRect, ofFrame;
    } kCases[] = {{-16, VF::kOutOfMemory, VF::kOutOfMemory},
                  {-51, 0, VF::kGeneralFailure},
                  {7, 0, VF::kGeneralFailure}};
    for (const auto& [result, ofRect, ofFrame] : kCases) {
        gResult = result;
        EXPECT_EQ(CopyRect(frame, whole, other, whole, 4, 3), ofRect);
        EXPECT_EQ(CopyFrame(frame, other, 4), ofFrame);
        EXPECT_EQ(CopyField(frame, other, 0, 4), ofFrame);
        VF::VideoFrameRef made = frame;
        EXPECT_EQ(MakeAddressableVideoFrame(uyvy, made, kPixelFormat_BGRA_4444_8u, 4), ofFrame);
        EXPECT_EQ(made, frame);
        other->SetFieldType(2);
        EXPECT_EQ(InterpFieldToFrame(frame, other, 0), ofFrame);
        EXPECT_EQ(other->GetFieldType(), 2u);
    }
    gResult = 0;
}

}  // namespace
}  // namespace manipulators_test

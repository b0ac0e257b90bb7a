// What the manipulators ask of the renderer, where that is fixed. The renderer here writes down
// what it is called with and does nothing.
#include <gmock/gmock.h>

#include <functional>
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

using Format = SV_PixelFormat;
using Int = std::int32_t;
using Wide = std::int64_t;

Int SV_ScaleConvert(const void*, Wide inBytes, Int inWidth, Int inHeight, Format inFormat,
                    std::uint32_t inField, void*, Wide toBytes, Int toWidth, Int toHeight,
                    Format toFormat, std::uint32_t toField, Int inQuality) {
    return WriteDown("scale", inBytes, inWidth, inHeight, inFormat, inField, "to", toBytes, toWidth,
                     toHeight, toFormat, toField, "quality", inQuality);
}

Int SV_CrossDissolve(const void*, Wide inFirstBytes, Format, const void*, Wide inSecondBytes,
                     Format, void*, Wide toBytes, Format toFormat, Int inWidth, Int inHeight,
                     float inAmount, Int inQuality) {
    return WriteDown("mix", inFirstBytes, inSecondBytes, toBytes, toFormat, inWidth, inHeight,
                     inAmount, inQuality);
}

Int SV_MergeDV(const void*, const void*, void*, Int inFrameBytes, Int inQuality) {
    return WriteDown("merge", inFrameBytes, inQuality);
}

Int SV_MergeDVCPRO(const void*, const void*, void*, Format inFormat, Int inQuality) {
    return WriteDown("merge pro", inFormat, inQuality);
}

namespace manipulators_test {
namespace {

using tulomediatypes::kPixelFormat_BGRA_4444_8u;

void Expect(const std::string& inExpected, const std::function<void()>& inCall) {
    gCalls.clear();
    inCall();
    EXPECT_THAT(gCalls, testing::ElementsAre(inExpected));
}

TEST(RendererCalls, AreThoseOfTheManipulators) {
    using namespace tulomediatypes;
    const VF::VideoFrameRef frame = MakeFrame(720, 480), half = MakeFrame(360, 240);
    const VF::VideoFrameRef dv = MakeFrame(720, 480, kPixelFormat_NTSCDV25);
    const VF::VideoFrameRef pro = MakeFrame(1280, 1080, kPixelFormat_NTSC_DV100_1080i);
    const Brix::Rect whole{0, 0, 720, 480}, field{0, 0, 720, 240};
    frame->SetFieldType(1);
    half->SetFieldType(1);
    for (const auto& [quality, text] : {std::pair{4, "3"}, {3, "3"}, {2, "2"}, {-1, "2"}}) {
        Expect(std::string("scale 2880 720 480 4 0 to 1440 360 240 4 0 quality ") + text,
               [&, given = quality] { CopyRect(frame, whole, half, half->GetBounds(), given, 3); });
    }
    Expect("scale 5760 720 240 4 0 to 2880 720 240 4 0 quality 3",
           [&] { CopyRect(frame, whole, frame, field, 4, 0); });
    // Row bytes of a frame without rows are its data size.
    Expect("scale 120000 720 480 16777249 3 to 2880 720 480 4 3 quality 5",
           [&] { CopyFrame(dv, frame, 5); });
    frame->SetFieldType(1);
    half->SetFieldType(2);
    Expect("scale 2880 720 480 4 2 to 1440 360 240 4 2 quality 3",
           [&] { CopyFrameWithFields(frame, half, 3, 2); });
    // Alpha as the type of the frame wants it understood.
    for (const auto& [alphaType, format] : {std::pair{2u, "8"}, {3u, "12"}, {1u, "4"}}) {
        frame->SetAlphaType(alphaType);
        Expect(std::string("scale 2880 720 480 ") + format + " 1 to 1440 360 240 " + format +
                   " 2 quality 3",
               [&] { CopyFrame(frame, half, 3); });
    }
    Expect("scale 2880 360 120 4 0 to 2880 360 120 4 0 quality 4",
           [&] { CopyField(half, half, 0, 2); });
    Expect("mix 2880 2880 2880 4 360 119 0.5 4", [&] { DeinterlaceVideoFrame(half, 0); });
    Expect("merge 120000 4", [&] { MergePulldownFrames(dv, dv); });
    Expect("merge pro 83886625 4", [&] { MergePulldownFrames(pro, pro); });
    gCalls.clear();
    VerticalConvolve(frame, frame);
    EXPECT_EQ(gCalls.size(), 958u);
    EXPECT_THAT(gCalls, testing::Each("mix 0 0 0 4 720 1 0.5 4"));
}

TEST(RendererCalls, FailAsTheStatusesSay) {
    const VF::VideoFrameRef frame = MakeFrame(8, 8), other = MakeFrame(8, 8);
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

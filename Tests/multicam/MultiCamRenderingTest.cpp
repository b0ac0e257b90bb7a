#include "VideoFrame/MultiCamRendering.h"

#include "VideoFrame/SharedVideoFrameCache.h"
#include "support/Canvas.h"
#include "support/Contracts.h"
#include "support/FrameWithoutMemory.h"
#include "support/RecordingMediaManager.h"
#include "support/SharedFolder.h"

using namespace support;
using tulocore::utility::Guid;

namespace {

constexpr auto kBgra = tulomediatypes::kPixelFormat_BGRA_4444_8u;
constexpr Pixel kBlack = {0, 0, 0, 255};
constexpr Pixel kRed = {0, 0, 255, 255};
constexpr Pixel kYellow = {0, 255, 255, 255};
constexpr Pixel kColours[] = {
    {200, 10, 20, 255}, {30, 190, 40, 255}, {50, 60, 180, 255}, {170, 160, 50, 255}, kBlack};

struct Size {
    std::int32_t width, height;
};

/// A rectangle of one colour in display coordinates.
struct Patch {
    Pixel colour;
    std::int32_t x, y, width, height;
};

VF::MultiCamRenderParams Params(std::uint32_t inWidth, std::uint32_t inHeight, double inScale = 1,
                                tulomediatypes::PixelFormat inFormat = kBgra) {
    return {inWidth, inHeight, {10, 11}, inFormat, 99, inScale, inScale, 0, 0, {}, 99, 99};
}

/// One frame for each size, each of its own colour; none where the width is 0.
std::vector<VF::VideoFrameRef> Sources(const std::vector<Size>& inSizes) {
    std::vector<VF::VideoFrameRef> sources;
    for (const Size& size : inSizes) {
        const auto colour = [&, i = sources.size()](int, int) { return kColours[i]; };
        sources.push_back(size.width == 0 ? nullptr : Paint(size.width, size.height, colour).frame);
    }
    return sources;
}

/// Black but for the patches, the later ones on top.
Canvas PaintPatches(Size inSize, const std::vector<Patch>& inPatches) {
    return Paint(inSize.width, inSize.height, [&](int inX, int inY) {
        Pixel colour = kBlack;
        for (const Patch& patch : inPatches) {
            if (inX >= patch.x && inX < patch.x + patch.width && inY >= patch.y &&
                inY < patch.y + patch.height)
                colour = patch.colour;
        }
        return colour;
    });
}

void ExpectSamePixels(const VF::VideoFrameRef& inFrame, const Canvas& inExpected) {
    ExpectPixels({inFrame}, [&](int inX, int inY) { return inExpected.At(inX, inY); });
}

// ---------------------------------------------------------------------------------------------
// Where everything goes

struct Case {
    const char* what;
    Size output;
    std::vector<Size> sources;
    unsigned long long selected;
    bool isSideBySide;
    bool isRed;
    double scale;
    std::vector<Patch> patches;  // on black
};

constexpr unsigned long long kNone = std::numeric_limits<unsigned long long>::max();
constexpr auto &A = kColours[0], &B = kColours[1], &C = kColours[2], &D = kColours[3];

// clang-format off
const Case kCases[] = {
    {"side by side, the third one outlined and large",
     {80, 40}, {{40, 20}, {40, 20}, {40, 20}, {40, 20}}, 2, true, false, 0.25,
     {{A, 0, 5, 20, 10}, {B, 20, 5, 20, 10}, {kYellow, 0, 20, 20, 20}, {kBlack, 1, 21, 18, 18},
      {C, 1, 25, 18, 10}, {D, 20, 25, 20, 10}, {C, 40, 10, 40, 20}}},
    {"bars of odd sizes; an odd output leaves its last column and row",
     {83, 43}, {{10, 10}, {20, 4}, {36, 24}, {2, 40}}, kNone, false, false, 1,
     {{A, 10, 0, 21, 21}, {B, 41, 6, 41, 8}, {C, 5, 21, 31, 21}, {D, 61, 21, 1, 21}}},
    {"an odd size side by side",
     {83, 43}, {{20, 21}, {41, 43}}, 1, true, false, 0,
     {{A, 0, 0, 20, 21}, {B, 20, 0, 20, 20}, {B, 41, 0, 41, 43}}},
    {"a null source selected, and one too many",
     {40, 20}, {{20, 10}, {0, 0}, {20, 10}, {20, 10}, {20, 10}}, 1, false, false, 0.25,
     {{A, 0, 0, 20, 10}, {kYellow, 20, 0, 20, 10}, {kBlack, 21, 1, 18, 8}, {C, 0, 10, 20, 10},
      {D, 20, 10, 20, 10}}},
    {"the one too many selected",
     {40, 20}, {{20, 10}, {0, 0}, {0, 0}, {0, 0}, {20, 10}}, 4, true, true, 1, {{A, 0, 2, 10, 5}}},
    {"an outline thicker than the cell",
     {40, 20}, {{20, 10}, {20, 10}, {20, 10}}, 2, false, false, 1e30,
     {{A, 0, 0, 20, 10}, {B, 20, 0, 20, 10}, {kYellow, 0, 10, 20, 10}}},
    {"no outline of a thickness that is no number",
     {4, 2}, {{2, 1}}, 0, false, false, std::numeric_limits<double>::quiet_NaN(), {{A, 0, 0, 2, 1}}},
    {"a picture too flat for its cell", {8, 8}, {{100, 2}}, kNone, false, false, 1, {}},
    {"no room for a cell", {1, 1}, {{8, 8}}, 0, true, true, 1, {}},
    {"no source", {8, 8}, {}, 0, true, true, 1, {}},
};
// clang-format on

TEST(RenderMulticam, PutsEverySourceInItsPlaceInBothModes) {
    for (const Case& one : kCases) {
        SCOPED_TRACE(one.what);
        const auto params = Params(static_cast<std::uint32_t>(one.output.width),
                                   static_cast<std::uint32_t>(one.output.height), one.scale);
        const Canvas expected = PaintPatches(one.output, one.patches);
        for (const bool useAllProcessors : {false, true}) {
            const VF::VideoFrameRef output =
                VF::RenderMulticam(Sources(one.sources), one.selected, one.isSideBySide, one.isRed,
                                   params, useAllProcessors);
            ASSERT_TRUE(output);
            ASSERT_EQ(output->GetBounds(), expected.frame->GetBounds());
            EXPECT_EQ(output->GetPixelAspectRatio().numerator, 10U);
            ExpectSamePixels(output, expected);
        }
    }
}

// Two pixels share a unit: nothing may begin or end inside one, or its colours would go astray.
TEST(RenderMulticam, KeepsUnitsOf422Whole) {
    const auto format = tulomediatypes::kPixelFormat_UYVY_422_8u;
    const auto params = Params(86, 42, 0.3, format);  // outline of one pixel, cells of 43
    const VF::VideoFrameRef output = VF::RenderMulticam(
        Sources({{10, 10}, {15, 10}, {36, 24}, {42, 21}}), 2, false, true, params, true);
    // clang-format off
    const Canvas expected = PaintPatches({86, 42}, {{A, 10, 0, 20, 21}, {B, 48, 0, 30, 21},
        {kRed, 0, 21, 42, 21}, {kBlack, 2, 22, 38, 19}, {C, 6, 22, 30, 19}, {D, 42, 21, 42, 21}});
    // clang-format on
    const auto rows = Ask<VF::IVideoFrame2DPixelMemoryAccess>(output);
    for (int y = 0; y < 42; ++y) {
        for (int x = 0; x < 86; x += 2) {
            const Pixel colour = expected.At(x, y);
            Pixel unit{};
            VF::ConvertColorToPixelFormattedData(format, 1, colour[2] / 255.0F, colour[1] / 255.0F,
                                                 colour[0] / 255.0F, unit.data());
            Pixel found;
            std::memcpy(found.data(),
                        Data(output) + std::int64_t{rows->GetRowBytes()} * (41 - y) + 2 * x, 4);
            ASSERT_EQ(found, unit) << x << ", " << y;
        }
    }
}

// Formats without addressable pixels, some of them stored the other way up.
TEST(RenderMulticam, DrawsEveryFormatUpright) {
    using namespace tulomediatypes;
    for (const PixelFormat format :
         {kPixelFormat_V210_422_10u, kPixelFormat_NTSCDV25,
          kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601, kPixelFormat_VUYA_4444_32f,
          kPixelFormat_BGRA_4444_32f_Linear}) {
        const VF::VideoFrameRef output =
            VF::RenderMulticam(Sources({{36, 24}, {36, 24}, {36, 24}, {36, 24}}), 0, false, true,
                               Params(720, 480, 4, format), false);
        SCOPED_TRACE(output->GetPixelType().code);
        ASSERT_EQ(output->GetPixelType(), format);
        const Canvas seen{MakeFrame(720, 480)};
        ASSERT_EQ(VF::VideoFrameManipulators::CopyFrame(output, seen.frame, 4), 0);
        // clang-format off
        const Patch places[] = {{kRed, 8, 8, 0, 0}, {A, 180, 120, 0, 0}, {B, 540, 120, 0, 0},
                                {C, 180, 360, 0, 0}, {D, 540, 360, 0, 0}};
        // clang-format on
        for (const Patch& place : places) {
            const Pixel found = seen.At(place.x, place.y);
            for (std::size_t i = 0; i < 4; ++i)
                EXPECT_NEAR(found[i], place.colour[i], 4) << place.x << ", " << place.y;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// One source

// Also in formats that nothing can be drawn in.
TEST(RenderNonMulticam, TakesWhatFillsItWithoutDetour) {
    using namespace tulomediatypes;
    constexpr PixelFormat kPlanar = kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601;
    const auto fill = [](const VF::VideoFrameRef& frame) {
        const auto size = Ask<VF::IVideoFrameMemoryAccess>(frame)->GetDataSize();
        for (std::size_t i = 0; i < size; ++i)
            Data(frame)[i] = static_cast<std::byte>(i % 63);
        return frame;
    };
    const VF::VideoFrameRef small = fill(MakeFrame(36, 24));
    const VF::VideoFrameRef tall = fill(MakeFrame(720, 960, kPlanar));  // can be read at half
    for (const PixelFormat format : {kPixelFormat_V210_422_10u, kPixelFormat_NTSCDV25, kPlanar}) {
        const VF::VideoFrameRef same = fill(MakeFrame(720, 480, format));
        for (const VF::VideoFrameRef& source : {same, small, tall}) {
            const VF::VideoFrameRef expected = fill(MakeFrame(720, 480, format));
            if (source != same) VF::VideoFrameManipulators::CopyFrame(source, expected, 2);
            const VF::VideoFrameRef output =
                VF::RenderNonMulticam({source}, false, Params(720, 480, 1, format), {}, false);
            const auto size = Ask<VF::IVideoFrameMemoryAccess>(output)->GetDataSize();
            EXPECT_EQ(std::memcmp(Data(output), Data(expected), size), 0) << format.code;
        }
    }
}

TEST(RenderNonMulticam, KeepsItsBlankFrameInTheCache) {
    const SharedFolder folder;
    const RecordingMediaManager manager;
    const auto params = Params(4, 4);
    const auto render = [&](const Guid& inGuid) {
        return VF::RenderNonMulticam({nullptr, MakeFrame(4, 4)}, false, params, inGuid, false);
    };
    const Guid guid = Guid::Generate();
    ExpectBroken("sCache", "SharedVideoFrameCache", 0, [&] { render(guid); });
    EXPECT_NE(render({}), render({}));

    VF::Initialize();
    const VF::VideoFrameRef blank = render(guid);
    EXPECT_EQ(VF::RenderNonMulticam({}, true, params, guid, true), blank);
    EXPECT_TRUE(blank->GetReadOnly());
    EXPECT_EQ((Canvas{blank}.At(0, 0)), Pixel{});
    EXPECT_EQ(manager.calls, "4 5:1/10 6:1");
    manager.map->FlushItem(1);
    EXPECT_NE(render(guid), blank);
    VF::Shutdown();
}

// ---------------------------------------------------------------------------------------------
// Bad input

TEST(RenderMulticam, RaisesWhatCannotBeDrawn) {
    FrameWithoutMemory bare;
    const VF::VideoFrameRef source(&bare);
    const auto params = Params(8, 8);
    for (const bool useAllProcessors : {false, true}) {
        EXPECT_THROW(VF::RenderMulticam({source}, 0, false, false, params, useAllProcessors),
                     Brix::NullInterfaceException);
        EXPECT_THROW(VF::RenderNonMulticam({source}, true, params, {}, useAllProcessors),
                     Brix::NullInterfaceException);
    }
    const auto render = [](std::uint32_t width, std::uint32_t height,
                           tulomediatypes::PixelFormat format) {
        VF::RenderMulticam({}, 0, false, false, Params(width, height, 1, format), false);
    };
    // Created with success, but there is no frame.
    EXPECT_THROW(render(0x7FFFFFFF, 0x7FFFFFFF, kBgra), Brix::NullInterfaceException);
    ExpectBroken("rowbytes != 0", "MultiCamRendering", 0,
                 [&] { render(8, 8, OV::kPixelFormat_Invalid); });
    ExpectBroken("inHeight != 0", "VideoFrameFactory", 80, [&] { render(8, 0, kBgra); });
}

// ---------------------------------------------------------------------------------------------
// Render parameters

// clang-format off
struct ParamsCase {
    std::uint32_t width, height;
    double scale;
    bool isSelected, isSideBySide;
    double expectedScale;
    std::array<std::uint32_t, 4> expectedSizes;  // then at scale 1
} constexpr kParamsCases[] = {
    {1920, 1080, 1, true, true, 1, {960, 1080, 960, 1080}},
    {1920, 1080, 1, true, false, 0.5, {960, 540, 1920, 1080}},
    {1922, 1081, 0.75, false, false, 0.375, {961, 540, 2562, 1440}},
    {1922, 1081, 0.75, false, true, 0.375, {480, 540, 1280, 1440}},
    {640, 480, 0, true, true, 0, {320, 480, 0xFFFFFFFF, 0xFFFFFFFF}},
    {1, 1, 0, false, false, 0, {0, 0, 0, 0}}};
// clang-format on

TEST(MultiCamRenderParams, AreDerivedForCells) {
    for (const ParamsCase& one : kParamsCases) {
        auto params = Params(one.width, one.height, one.scale, OV::kPixelFormat_VUYA_4444_16u);
        const auto derived = one.isSelected ? VF::SelectedRenderParams(params, one.isSideBySide)
                                            : VF::UnSelectedRenderParams(params, one.isSideBySide);
        SCOPED_TRACE(&one - kParamsCases);
        EXPECT_EQ(
            (std::array{derived.width, derived.height, derived.fullWidth, derived.fullHeight}),
            one.expectedSizes);
        EXPECT_EQ(derived.scaleX, one.expectedScale);
        EXPECT_EQ(derived.scaleY, one.expectedScale);
        EXPECT_EQ(derived.fullPixelAspectRatio.denominator, 11U);
        EXPECT_EQ(derived.pixelFormat, params.pixelFormat);
        EXPECT_EQ((std::array{derived.settingA, derived.settingB, derived.settingC}),
                  (std::array{1U, 0U, 1U}));
    }
}

}  // namespace

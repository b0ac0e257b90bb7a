// vframe convert.

#include "Tool.h"

using namespace vframe_test;

namespace {

using ConvertTest = ToolTest;

// Memory rows run from the bottom up, components from blue to alpha.
TEST_F(ConvertTest, WritesFrameMemoryAsItStandsAndReadsItAgain) {
    Picture picture = MakeGradient(5, 3);
    picture.pixels[0] = {1, 2, 3, 4};
    WritePng("in.png", picture);
    ExpectRuns("convert in.png frame.raw");
    std::string expected;
    for (const int y : {2, 1, 0}) {
        for (int x = 0; x < 5; ++x) {
            for (const std::size_t component : {2U, 1U, 0U, 3U})
                expected += static_cast<char>(picture.At(x, y)[component]);
        }
    }
    EXPECT_EQ(ReadFile("frame.raw"), expected);

    ExpectRuns("convert frame.raw out.png --input-format BGRA_4444_8u --input-size 5x3");
    EXPECT_EQ(Compare(ReadPng("out.png"), picture).largest, 0);
    EXPECT_TRUE(ReadPng("out.png").hasAlpha);
}

// Through frame memory: what is written is read from the picture turned, mirrored or of the wrong
// matrix otherwise.
TEST_F(ConvertTest, KeepsThePictureThroughEveryKindOfFormat) {
    const std::tuple<std::string, int, int, int> kCases[] = {
        {"BGRA_4444_15u", 61, 33, 0},
        {"BGRP_4444_32f_Linear", 61, 33, 0},
        {"VUYA_4444_32f_709", 61, 33, 0},
        {"UYVY_422_8u", 62, 33, 5},
        {"V210_422_10u_709", 62, 33, 4},
        {"YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709", 62, 48, 20},
        {"YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601", 62, 48, 10},
        {"NTSCDV25", 720, 480, 8},
        {"PAL_DV100_720p", 960, 720, 8},
    };
    for (const auto& [format, width, height, tolerance] : kCases) {
        SCOPED_TRACE(format);
        const Picture picture = MakeGradient(width, height);
        const std::string layout = " --input-format " + format + " --input-size " +
                                   std::to_string(width) + "x" + std::to_string(height);
        WritePng("in.png", picture);
        ExpectRuns("convert in.png frame.raw --format " + format);
        ExpectRuns("convert frame.raw out.png" + layout);
        EXPECT_LE(Compare(ReadPng("out.png"), picture).largest, tolerance);
        ExpectRuns("convert frame.raw same.raw" + layout + " --format " + format);
        EXPECT_TRUE(ReadFile("same.raw") == ReadFile("frame.raw"));
    }
}

// One picture in, its rows and columns told apart by their colours.
TEST_F(ConvertTest, EditsFrames) {
    Picture picture{4, 4, {}};
    for (std::uint8_t i = 0; i < 16; ++i)
        picture.pixels.push_back({static_cast<std::uint8_t>(10 * i), 7, 9, 255});
    WritePng("in.png", picture);
    const std::tuple<std::string, int, int, std::vector<int>> kCases[] = {
        {"--crop 1,2,3,4", 2, 2, {90, 100, 130, 140}},
        {"--field 0", 4, 2, {0, 10, 20, 30, 80, 90, 100, 110}},
        {"--field 1 --crop 0,0,1,4", 1, 2, {40, 120}},
        {"--crop 0,0,1,4 --swap-fields", 1, 4, {0, 0, 40, 80}},
        {"--crop 0,0,1,4 --smooth", 1, 4, {20, 40, 80, 100}},
        {"--crop 0,0,1,4 --deinterlace 1", 1, 4, {0, 40, 80, 80}},
    };
    for (const auto& [options, width, height, reds] : kCases) {
        ExpectRuns("convert in.png out.png " + options);
        const Picture edited = ReadPng("out.png");
        EXPECT_FALSE(edited.hasAlpha);
        ASSERT_EQ(std::pair(edited.width, edited.height), std::pair(width, height)) << options;
        for (std::size_t i = 0; i < reds.size(); ++i)
            EXPECT_EQ(edited.pixels[i][0], reds[i]) << options << ' ' << i;
    }
    ExpectRuns("convert in.png clear.png --invert-alpha");
    EXPECT_TRUE(ReadPng("clear.png").hasAlpha);
    ExpectRuns("convert clear.png out.png --opaque");
    EXPECT_EQ(ReadPng("out.png").At(1, 1), picture.At(1, 1));
}

Picture FromBytes(const std::string& inBytes) {
    Picture picture = MakeSolid(1, static_cast<int>(inBytes.size() / 4), {});
    std::memcpy(picture.pixels.data(), inBytes.data(), inBytes.size());
    return picture;
}

TEST_F(ConvertTest, KeepsCountOrderAndColoursOfClips) {
    std::string before;
    for (const int number : {4, 3, 2, 1, 1, 4, 3}) {
        ExpectRuns("convert " + Sample(number) + " one.raw --size 160x90");
        before += ReadFile("one.raw");
    }
    WriteFile("in.raw", before);
    for (const std::string ending : {"mkv", "mp4", "mov", "avi", "webm"}) {
        SCOPED_TRACE(ending);
        ExpectRuns("convert in.raw clip." + ending +
                   " --input-format BGRA_4444_8u --input-size 160x90");
        ExpectRuns("convert clip." + ending + " out.raw");
        const std::string after = ReadFile("out.raw");
        ASSERT_EQ(after.size(), before.size());
        // Another frame in the place of one, or the wrong range or matrix, gives 8 and more.
        EXPECT_LE(Compare(FromBytes(before), FromBytes(after)).mean, ending == "mkv" ? 0 : 3);
    }
    ExpectRuns("convert clip.mkv first.png");
    ExpectRuns("convert " + Sample(4) + " expected.png --size 160x90");
    EXPECT_EQ(Compare(ReadPng("first.png"), ReadPng("expected.png")).largest, 0);
}

}  // namespace

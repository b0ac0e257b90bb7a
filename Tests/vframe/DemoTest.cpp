// vframe demo.

#include <sys/stat.h>

#include "Tool.h"

namespace vframe_test {
namespace {

using DemoTest = ToolTest;

TEST_F(DemoTest, SendsScalesAndWritesTheSamples) {
    const std::string output = ExpectRuns("demo out");
    for (const int number : {1, 2, 3, 4}) {
        const std::string name = "angle-" + std::to_string(number) + ".png";
        EXPECT_NE(output.find(name), std::string::npos) << output;
        ExpectRuns("convert " + Sample(number) + " expected.png --size 480x270");
        EXPECT_EQ(LargestDifference(ReadPng("out/" + name), ReadPng("expected.png")), 0);
    }
}

// Pictures of one name are kept apart, and what went well before a failure stays.
TEST_F(DemoTest, TellsWhatThePublishingProcessStumbledOver) {
    for (const int width : {20, 10}) {
        std::filesystem::create_directory(std::to_string(width));
        WritePng(std::to_string(width) + "/one.png", MakeGradient(width, 10));
    }
    WriteFile("text.png", "text");
    ExpectFails("demo out 20/one.png 10/one.png text.png", 1, "text.png: ");
    EXPECT_EQ(ReadPng("out/one.png").width, 10);
    EXPECT_EQ(ReadPng("out/one-2.png").width, 5);
}

TEST_F(DemoTest, TellsWhenThePublishingProcessDies) {
    ASSERT_EQ(mkfifo("pipe.png", 0600), 0);  // it waits there for ever
    RunningTool demo("demo out pipe.png");
    int publisher = 0;
    ASSERT_TRUE(Eventually([&] {
        return std::sscanf(demo.OutputSoFar().c_str(), "Process %d makes", &publisher) == 1;
    }));
    kill(publisher, SIGKILL);
    const Result result = demo.Wait();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "vframe: publisher: it ended too early (killed by signal 9)\n");
}

}  // namespace
}  // namespace vframe_test

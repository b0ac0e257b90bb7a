// vframe demo.

#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "Png.h"
#include "Tool.h"

namespace vframe_test {
namespace {

using DemoTest = ToolTest;

TEST_F(DemoTest, SendsScalesAndWritesTheSamples) {
    const Result result = RunTool({"demo", Path("out")});
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    for (int number = 1; number <= 4; ++number) {
        const std::string name = "angle-" + std::to_string(number) + ".png";
        EXPECT_NE(result.output.find(name), std::string::npos) << result.output;
        ExpectRuns({"convert", Sample(number), Path("expected.png"), "--size", "480x270"});
        EXPECT_EQ(LargestDifference(ReadPng(Path("out/" + name)), ReadPng(Path("expected.png"))),
                  0);
    }
}

TEST_F(DemoTest, KeepsPicturesOfOneNameApart) {
    std::filesystem::create_directory(Path("a"));
    std::filesystem::create_directory(Path("b"));
    WritePng(Path("a/one.png"), MakeGradient(20, 10));
    WritePng(Path("b/one.png"), MakeGradient(1, 1));
    ExpectRuns({"demo", Path("out"), Path("a/one.png"), Path("b/one.png")});
    EXPECT_EQ(ReadPng(Path("out/one.png")).width, 10);
    EXPECT_EQ(ReadPng(Path("out/one-2.png")).width, 1);
}

TEST_F(DemoTest, TellsWhatThePublishingProcessStumbledOver) {
    WriteBytes(Path("text.png"), {'t', 'e', 'x', 't'});
    ExpectFails({"demo", Path("out"), Sample(1), Path("text.png")}, 1, "text.png: ");
    EXPECT_TRUE(std::filesystem::exists(Path("out/angle-1.png")));
}

TEST_F(DemoTest, TellsWhenThePublishingProcessDies) {
    ASSERT_EQ(mkfifo(Path("pipe.png").c_str(), 0600), 0);  // it waits there for ever
    RunningTool demo({"demo", Path("out"), Path("pipe.png")});
    int publisher = 0;
    while (std::sscanf(demo.OutputSoFar().c_str(), "Process %d makes", &publisher) != 1 &&
           demo.IsRunning())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_GT(publisher, 1) << demo.Wait().errors;
    kill(publisher, SIGKILL);
    const Result result = demo.Wait();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "vframe: publisher: it ended too early (killed by signal 9)\n");
}

}  // namespace
}  // namespace vframe_test

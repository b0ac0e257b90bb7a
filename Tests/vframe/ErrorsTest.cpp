// What the program says when it cannot do what it is asked to.

#include "Tool.h"

using namespace vframe_test;

namespace {

class ErrorsTest : public ToolTest {
  protected:
    ErrorsTest() {
        WritePng("good.png", MakeGradient(40, 30));
        WriteFile("text.png", "text");
        WriteFile("three.raw", "123");
        WriteFile("zeros.raw", std::string(120000, '\0'));
    }
};

TEST_F(ErrorsTest, AreOneLineAndLeaveNothingBehind) {
    const std::tuple<std::string, int, std::string> kMistakes[] = {
        {"", 2, "a command is needed"},
        {"convert good.png out.png --sise 1x1", 2, "--sise"},
        {"info 'two\nlines.png'", 1, "two lines.png: No such file"},
        {"convert text.png out.png", 1, "text.png: "},
        {"convert good.png out.jpg", 2, "the ending says nothing"},
        {"convert good.png no/out.png", 1, "cannot be written"},
        {"convert good.png out.mp4 --size 31x30", 1, "even"},
        {"convert good.png a.raw --format V210_422_10u --size 3x3", 1, "even"},
        {"convert three.raw out.png", 2, "--input-format"},
        {"convert good.png out.png --crop 0,0,9999,1", 1, "no part"},
        {"convert zeros.raw out.png --input-format NTSCDV25 --input-size 720x480", 1,
         "NTSCDV25: its bytes are no frame"},
        {"info three.raw --input-format BGRA_4444_8u --input-size 1x1", 1, "3 bytes"},
        {"multicam good.png out.png --selected 2", 2, "no angle 2 among 1"},
        {"multicam good.png out.png --size 2147483647x2147483647", 1, "memory"},
        {"quantise good.png out.bmp --colours 1", 2, "--colours"},
        {"cut good.png good.png out.png --polygon '1,1' --bezier '1,1'", 2, "shape"},
    };
    const std::set<std::string> before = Files();
    for (const auto& [arguments, status, partOfLine] : kMistakes) {
        ExpectFails(arguments, status, partOfLine);
        EXPECT_EQ(Files(), before);
    }
    EXPECT_EQ(Compare(ReadPng("good.png"), MakeGradient(40, 30)).largest, 0);
}

}  // namespace

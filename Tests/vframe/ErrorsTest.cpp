// What the program says when it cannot do what it is asked to.

#include "Png.h"
#include "Tool.h"

namespace vframe_test {
namespace {

struct Mistake {
    std::vector<std::string> arguments;  ///< "@" in a word stands for the temporary folder
    int status;
    std::string partOfLine;
};

class ErrorsTest : public ToolTest {
  protected:
    ErrorsTest() {
        WritePng(Path("good.png"), MakeGradient(40, 30));
        WriteBytes(Path("text.png"), {'t', 'e', 'x', 't'});
        WriteBytes(Path("empty.png"), {});
        WriteBytes(Path("three.raw"), {1, 2, 3});
        std::vector<std::uint8_t> damaged = ReadBytes(Sample(1));
        damaged.resize(damaged.size() / 2);
        WriteBytes(Path("damaged.png"), damaged);
        before_ = Files();
    }

    void Check(Mistake inMistake) {
        for (std::string& word : inMistake.arguments) {
            if (const std::size_t at = word.find('@'); at != word.npos)
                word.replace(at, 1, Path(""));
        }
        ExpectFails(inMistake.arguments, inMistake.status, inMistake.partOfLine);
        EXPECT_EQ(Files(), before_);
    }

  private:
    std::vector<std::string> before_;
};

TEST_F(ErrorsTest, AreOneLineAndLeaveNothingBehind) {
    const std::string guid = "6A0B4E0C-9A57-4C55-8C2A-51A7A2A1B001";
    const Mistake mistakes[] = {
        {{}, 2, "a command is needed"},
        {{"convrt"}, 2, "convrt"},
        {{"convert"}, 2, "INPUT"},
        {{"convert", "@good.png"}, 2, "OUTPUT"},
        {{"convert", "@good.png", "@out.png", "--sise", "1x1"}, 2, "--sise"},
        {{"convert", "@absent.png", "@out.png"}, 1, "absent.png: No such file"},
        {{"convert", "@", "@out.png"}, 1, "is a folder"},
        {{"convert", "@text.png", "@out.png"}, 1, "text.png: "},
        {{"convert", "@empty.png", "@out.png"}, 1, "empty.png: "},
        {{"convert", "@damaged.png", "@out.png"}, 1, "is damaged"},
        {{"convert", "@damaged.png", "@out.mkv"}, 1, "is damaged"},
        {{"convert", "@good.png", "@out.jpg"}, 2, "the ending says nothing"},
        {{"convert", "@good.png", "@"}, 2, ""},
        {{"convert", "@good.png", "@no/out.png"}, 1, "cannot be written"},
        {{"convert", "@good.png", "/proc/out.png"}, 1, "cannot be written"},
        {{"convert", "@good.png", "@out.mp4", "--size", "31x30"}, 1, "even"},
        {{"convert", "@good.png", "@out.png", "--size", "0x10"}, 2, "'0x10' is no size"},
        {{"convert", "@good.png", "@out.png", "--size", "-4x10"}, 2, "--size"},
        {{"convert", "@good.png", "@out.png", "--size", "10"}, 2, "'10' is no size"},
        {{"convert", "@good.png", "@out.png", "--size", "99999999999x1"}, 2, "no size"},
        {{"convert", "@good.png", "@out.png", "--size", "400000x400000"}, 1, "memory"},
        {{"convert", "@good.png", "@out.png", "--size", "2147483647x2147483647"}, 1, "memory"},
        {{"convert", "@good.png", "@out.png", "--quality", "6"}, 2, "--quality"},
        {{"convert", "@good.png", "@out.png", "--format", "UYVI"}, 2, "near: UYVY_422_8u"},
        {{"convert", "@good.png", "@out.png", "--format", "q"}, 2, "'vframe formats'"},
        {{"convert", "@good.png", "@out.png", "--format", "BGRA_4444_16u"}, 1, "BGRA_4444_16u"},
        {{"convert", "@good.png", "@out.png", "--format", "UYVY_422_8u", "--size", "31x30"},
         1,
         "even"},
        {{"convert", "@good.png", "@out.png", "--format", "PALDV25"}, 1, "--size 720x576"},
        {{"convert", "@three.raw", "@out.png"}, 2, "--input-format"},
        {{"convert", "@good.png", "@out.png", "--input-size", "4x4"}, 2, ".raw"},
        {{"convert", "@three.raw", "@out.png", "--input-format", "BGRA_4444_8u", "--input-size",
          "1x1"},
         1,
         "holds 3 bytes"},
        {{"convert", "@empty.raw", "@out.png", "--input-format", "BGRA_4444_8u", "--input-size",
          "1x1"},
         1,
         "No such file"},
        {{"info", "@absent.png"}, 1, "No such file"},
        {{"publish", "@good.png"}, 2, "--guid"},
        {{"publish", "@good.png", "--guid", "12"}, 2, "'12' is no Guid"},
        {{"publish", "@absent.png", "--guid", guid}, 1, "No such file"},
        {{"publish", "@good.png", "--guid", guid, "--hold", "-1"}, 2, "--hold"},
        {{"receive", "@out.png", "--guid", guid + "0"}, 2, "is no Guid"},
        {{"receive", "@out.png", "--guid", guid, "--timeout", "soon"}, 2, "--timeout"},
        {{"demo", "@good.png/folder"}, 1, "the folder cannot be made"},
    };
    for (const Mistake& mistake : mistakes)
        Check(mistake);
}

TEST_F(ErrorsTest, LeaveTheFileAloneThatWasToBeReplaced) {
    ExpectFails({"convert", Path("damaged.png"), Path("good.png")}, 1, "is damaged");
    EXPECT_EQ(LargestDifference(ReadPng(Path("good.png")), MakeGradient(40, 30)), 0);
    std::filesystem::create_symlink("/dev/null", Path("device.png"));
    ExpectFails({"convert", Sample(1), Path("device.png")}, 1, "is not an ordinary file");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("device.png")));
}

}  // namespace
}  // namespace vframe_test

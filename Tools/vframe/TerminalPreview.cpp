#include "TerminalPreview.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Frames.h"
#include "StandardStreams.h"

namespace vframe {
namespace {

constexpr int kColumns = 80;
constexpr int kMostLines = 40;

bool IsColourTerminal() {
    const char* const terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && terminal && std::strcmp(terminal, "dumb") != 0 &&
           !std::getenv("NO_COLOR");
}

std::string ColourText(const std::uint8_t* inBgra) {
    return std::to_string(inBgra[2]) + ";" + std::to_string(inBgra[1]) + ";" +
           std::to_string(inBgra[0]);
}

}  // namespace

void ShowPreview(const VF::VideoFrameRef& inFrame) {
    if (!IsColourTerminal()) return;
    const PictureView whole = ViewFrame(inFrame);
    const int lines =
        std::clamp(kColumns * whole.size.height / whole.size.width / 2, 1, kMostLines);
    const TopDownPicture picture =
        ToTopDownPicture(MakeFrameOf(whole, {.size = Size{kColumns, 2 * lines}}));
    std::string text;
    for (int line = 0; line < lines; ++line) {
        const std::uint8_t* upper = picture.Row(2 * line);
        const std::uint8_t* lower = picture.Row(2 * line + 1);
        for (int column = 0; column < kColumns; ++column, upper += 4, lower += 4)
            text += "\033[38;2;" + ColourText(upper) + ";48;2;" + ColourText(lower) + "m▀";
        text += "\033[0m\n";
    }
    std::fputs(text.c_str(), stdout);
    FlushOutput();
}

}  // namespace vframe

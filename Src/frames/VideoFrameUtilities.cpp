#include "frames/VideoFrameUtilities.h"

#include <array>
#include <charconv>
#include <string>
#include <string_view>

#include "VideoFrame/FrameInterfaces.h"
#include "frames/Contract.h"

namespace VF {

FrameMap<TPixHand>& TPixFrameMap() {
    // Never destroyed: a host may dispose of handles while the process ends.
    static auto& map = *new FrameMap<TPixHand>;
    return map;
}

FrameMap<GF_Pixel*>& EffectWorldFrameMap() {
    static auto& map = *new FrameMap<GF_Pixel*>;
    return map;
}

void RegisterTPixFrame(TPixHand inHandle, const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    Require(static_cast<bool>(inFrame), "videoFrame != 0", "VideoFrameUtilities", 113);
    TPixFrameMap().Register(inHandle, inFrame);
}

void RegisterEffectWorldFrame(GF_Pixel* inWorld,
                              const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    Require(static_cast<bool>(inFrame), "videoFrame != 0", "VideoFrameUtilities", 139);
    EffectWorldFrameMap().Register(inWorld, inFrame);
}

// ---------------------------------------------------------------------------------------------
// The leak report

namespace {

constexpr const char* kCategory = "TPix";

// One line of the report. Asking whether its category is on costs, so the answer is kept until
// some category is switched.
class TraceLine {
  public:
    void Write(std::string_view inMessage) {
        if (!IsOn()) return;
        std::string line = "<" + std::to_string(tulocore::threads::GetCurrentThreadID()) + "> <";
        line.append(kCategory).append("> <0> ").append(inMessage).append("\r\n");
        tulocore::debug::Trace(line.c_str());
    }

  private:
    bool IsOn() {
        const int changeCount = tulocore::debug::TraceChangeCount();
        if (changeCount != seenChangeCount_) {
            seenChangeCount_ = changeCount;
            isOn_ = tulocore::debug::TraceEnabled(kCategory, 0, true);
        }
        return isOn_;
    }

    int seenChangeCount_ = -1;
    bool isOn_ = false;
};

// No stream writes the lines: it would write numbers as the host's locale has them.
std::string Hexadecimal(std::uintptr_t inNumber) {
    std::array<char, 2 * sizeof inNumber> digits;
    char* const end = std::to_chars(digits.begin(), digits.end(), inNumber, 16).ptr;
    return {digits.begin(), end};
}

void ReportTPixFrame(TPixHand inHandle, const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    const auto memory = Brix::QueryInterface<IVideoFrameMemoryAccess>(inFrame);
    if (!memory) return;
    const std::string start =
        "<Leaked Video frame,0x" + Hexadecimal(reinterpret_cast<std::uintptr_t>(inHandle)) + "> ";
    const std::string size = "data size:" + std::to_string(memory->GetDataSize());
    if (const auto rows = Brix::QueryInterface<IVideoFrame2DPixelMemoryAccess>(memory)) {
        static TraceLine rowsLine;
        rowsLine.Write(start + "row bytes:" + std::to_string(rows->GetRowBytes()) + ", " + size);
    } else {
        static TraceLine bytesLine;
        bytesLine.Write(start + size);
    }
}

}  // namespace

void ReportAndForgetLeaks() {
    if (auto& frames = TPixFrameMap().Frames(); !frames.empty()) {
        static TraceLine countLine;
        countLine.Write(std::to_string(frames.size()) + " TPix frames were leaked at shutdown!");
        for (const auto& [handle, frame] : frames)
            ReportTPixFrame(handle, frame);
        frames.clear();
    }
    if (auto& frames = EffectWorldFrameMap().Frames(); !frames.empty()) {
        static TraceLine worldsLine;
        worldsLine.Write(std::to_string(frames.size()) + " GFWorlds were leaked at shutdown!");
        frames.clear();
    }
}

}  // namespace VF
